// toolkit/archiveinfo.h: TVArchiveInfo52, what the tail of an archive file tells about the archive.
//
// Listing thousands of archives must not go through the toolkit for each one, so the summary is
// read straight from the file's end: a block of tagged records and the trailer that says where the
// block begins. Nothing before the block is looked at. A summary lives in the project's cache
// (store/archivecache.h), or with whoever asked for it, and is loaded again when the file changed.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/vobject.h"
#include "base/vpathstring.h"
#include "base/vstring.h"
#include "core/queuedhash.h"
#include "runtime/files.h"

namespace archivefile {
class LastBytes;
}

namespace foldapi {

class VArchiver;

// The summary. All empty and 0 where nothing was read.
struct ArchiveSummary {
  uint32_t fileTime = 0;      // Of the file as read, packed.
  uint32_t creationTime = 0;  // Packed in the clients' order.
  int32_t attributes = 0;     // A sum of TrvsAttribute.
  int32_t revisionCount = 0;
  int32_t lockCount = 0;
  VString accessList = {};
  VString description = {};
  VString lockers = {};  // Joined by ",".
  VString headerText = {};
};

// The summary of the archive at a path, with what tells whether it is still that of the file.
class TVArchiveInfo52 : public TVQueuedValue {
 public:
  static const VClassRecord theClass;

  TVArchiveInfo52() = default;
  explicit TVArchiveInfo52(VPathString path, ArchiveSummary summary = {})
      : path_(std::move(path)), summary_(std::move(summary)) {}

  const VClassRecord* isA() const override { return &theClass; }
  // The path is the key: another summary or a TVArchiveKey of the same path is equal.
  bool isEqual(const VObject* other) const override;
  int32_t hash() const override { return path_.hash(); }
  uint64_t fingerprint() const override;

  // Whether the file is still the one that was read. A summary that came from the cache's file
  // knows the time in two-second ticks only; one that proves current by it remembers the file from
  // then on, and one that was loaded here does from the start.
  [[nodiscard]] bool IsCurrent();
  // Reads the summary from the file. 0, or kFolderNotAnArchive for anything that is wrong with the
  // file: all but the path is then empty and 0.
  [[nodiscard]] int32_t Load();

  // The fields in the order in which the cache's file has them. The time of a file that was read
  // within seconds of its last change is given as 0: nobody could tell the next change by it.
  void putTo(VArchiver& archive) const;
  [[nodiscard]] bool getFrom(VArchiver& archive);

  const VPathString& path() const { return path_; }
  const ArchiveSummary& summary() const { return summary_; }

  // Until the next load. For a client that has just changed it; nothing in the library does.
  void SetDescription(const VString& description) { summary_.description = description; }
  // Makes the next use read the file again.
  void ClearFileTime();

 private:
  void clear();
  bool readTail();
  bool readTailOf(os::File* file);
  bool readLast(const archivefile::LastBytes& bytes, os::File* file);
  void readBlock(std::string_view block);
  void takeRecord(char tag, std::string_view payload);

  VPathString path_;
  ArchiveSummary summary_;
  FileStamp stamp_;  // Of the file as read; not set where only the summary's fileTime is known.
  // Whether the file was so new when it was read that a later change may bear the same fileTime.
  bool isFresh_ = false;
};

// Finds a summary by path. The text must outlive the key.
class TVArchiveKey : public VObject {
 public:
  static const VClassRecord theClass;

  explicit TVArchiveKey(std::string_view path) : path_(path) {}

  const VClassRecord* isA() const override { return &theClass; }
  int32_t hash() const override { return VString::hashText(path_); }
  uint64_t fingerprint() const override;
  std::string_view path() const { return path_; }

 private:
  std::string_view path_;
};

// Reads a summary without any cache. 0, kFolderNotAnArchive as Load(), or kFolderNoMemory. *summary
// changes only with 0.
[[nodiscard]] int32_t ReadArchiveInfo(const VPathString& path, ArchiveSummary* summary);

}  // namespace foldapi
