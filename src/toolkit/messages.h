// toolkit/messages.h: the text of every message that the library sends to a sink.
//
// One builder for each family of codes; the same number means different things in different
// families. A code has no severity: the caller picks the sink operation that gets the text. The
// builders are pure and never fail: a code that a family doesn't know has a text that says so.
#pragma once

#include <cstdint>

#include "base/vstring.h"

namespace foldapi {

// The codes of the folder family, by the builder that serves each.
enum FolderCode : int32_t {
  // FolderMessage
  kFolderNoMemory = 1,
  kFolderLicence = 3,
  kFolderNoPublicRoot = 14,
  kFolderNoPrivateRoot = 15,
  kFolderNoProjectName = 17,
  kFolderNoArchiveName = 18,
  kFolderNoWorkfileName = 19,
  kFolderNoArchiveDirectories = 20,
  kFolderRevisionWithGroup = 26,
  kFolderGroupNeeded = 27,
  // FolderFileMessage
  kFolderReadFailed = 4,
  kFolderDirectoryNotMade = 5,
  kFolderFileNotMade = 6,
  kFolderWriteFailed = 7,
  kFolderFileMissing = 8,
  kFolderFileBusy = 9,
  kFolderDirFieldMissing = 10,
  kFolderConfigFieldMissing = 11,
  kFolderPrivateOnly = 12,
  kFolderCorrupted = 13,
  kFolderNotDevelopmentGroup = 24,
  kFolderUnknownGroup = 25,
  kFolderNotAnArchive = 28,
  kFolderNoArchiveInfo = 29,
  // DirectiveMessage and DateMessage
  kFolderDirective = 21,
  kFolderDate = 23,
};

// A toolkit status. A `path` that is not null, even an empty one, stands after the text.
VString ToolkitMessage(int32_t code, const char* path);
VString FolderMessage(int32_t code);
// `text` is what the message is about: a file, or the name of a promotion group.
VString FolderFileMessage(int32_t code, const char* text);
// Why the project or folder of that name can't be changed.
VString GoneMessage(const char* name);
// Why the file at `path` can't be changed.
VString NoLocksMessage(const char* path);
VString ForeignLinkMessage(const char* path);
// Why what the configuration wants at `event` isn't done. `profile` is where that can be allowed.
VString TriggerMessage(const char* event, const char* value, const char* profile);
VString DateMessage(int32_t code, const char* date, const char* format);
// Line 0 stands for an error without a line, and leaves `lineText` out. Gives an empty text for any
// other code than 21.
VString DirectiveMessage(int32_t code, int32_t line, const char* file, const char* lineText,
                         const char* explanation);
// A code of the profile library. `text` is the profile's path, a section or a key.
VString IniFileMessage(int32_t code, const VString& text);

}  // namespace foldapi
