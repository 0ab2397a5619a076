// toolkit/configfiles.cpp: master file first, project next, local last. Directives are appended
// whatever stands there, as long as it can be meant as a configuration: the file is one that a
// public record names, which may be any file of the user.
#include "toolkit/configfiles.h"

#include <algorithm>

#include "base/vfile.h"
#include "btkf520/btkf520.h"
#include "runtime/files.h"
#include "toolkit/arguments.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr size_t kLongestLine = 8191;  // That a reader takes, without its end.

constexpr const char* kDirsFailedTail =
    ". The archive directory could not be set. Before you can check files into archives, you must "
    "use Project / Configure Project / Archive Directories in TRVS Trevault to select an archive "
    "directory for this project.";

constexpr const char* kNoConfiguration =
    "Nothing was added, as there is no directive among the lines of";

[[nodiscard]] bool readConfiguration(const char* path, int32_t mode) {
  return TrvsQueryConfiguration(path, 0, 0, mode) == TRVS_DONE;
}

enum class Appended { kDone, kFailed, kRefused };

// Writes at the end of an open file, on a line of its own: people edit these files, and the last
// line may lack its end. Refused if the file is no configuration.
Appended appendLines(VFile& file, const VString& lines) {
  const std::string_view old = file.readAll();
  const size_t size = std::min(old.size(), size_t{INT32_MAX});
  if (TrvsCheckConfiguration(old.data(), static_cast<int32_t>(size)) != TRVS_DONE) {
    return Appended::kRefused;
  }
  const bool isOpen = !old.empty() && old.back() != '\n';
  const int32_t written = file.writeText(isOpen ? VString("\r\n") + lines : lines);
  return written >= 0 ? Appended::kDone : Appended::kFailed;
}

// A first file that can't be read leaves the defaults, and no file has an empty name.
void forgetConfiguration() { static_cast<void>(readConfiguration("", TRVS_READ_FIRST)); }

}  // namespace

Loaded LoadConfiguration(const VPathString& rootPath, const VPathString& projectPath,
                         LocalFile local) {
  int32_t mode = TRVS_READ_FIRST;
  if (fileExists(rootPath.view())) {
    if (!readConfiguration(rootPath.text(), TRVS_READ_MASTER)) return Loaded::kFailed;
    mode = TRVS_READ_FOLLOWING;
  }
  const bool hasOwnFile = compareNoCase(projectPath.view(), rootPath.view()) != 0;
  const bool isMissing = hasOwnFile && !fileExists(projectPath.view());
  if (hasOwnFile && !isMissing) {
    if (!readConfiguration(projectPath.text(), mode)) return Loaded::kFailed;
  } else if (mode == TRVS_READ_FIRST) {
    forgetConfiguration();  // The settings of the project before must not stay.
  }
  const bool readsLocal = local == LocalFile::kRead && fileExists("vcs.cfg");
  if (readsLocal && !readConfiguration("vcs.cfg", TRVS_READ_FOLLOWING)) return Loaded::kFailed;
  return isMissing ? Loaded::kProjectMissing : Loaded::kAll;
}

int32_t QueryConfigurationItem(int32_t item, std::string* answer) {
  std::string buffer;
  const int32_t status = fetchGrowing(&buffer, [item](char* data, int32_t size) {
    return TrvsQueryConfigurationItem(item, data, size);
  });
  if (status == TRVS_DONE) *answer = std::move(buffer);
  return status;
}

VString configurationText(int32_t item) {
  std::string text;
  const int32_t status = QueryConfigurationItem(item, &text);
  return status == TRVS_DONE ? VString(text.c_str()) : VString();
}

// Why a change of the file failed, if one message says all of it; else an empty text.
VString reasonOf(os::FileResult failure, const VPathString& path) {
  if (failure == os::FileResult::kNoLocks) return NoLocksMessage(path.text());
  return failure == os::FileResult::kForeignLink ? ForeignLinkMessage(path.text()) : VString();
}

void appendArchiveDirs(TVProjectConfig* config, const VString& dirs, TVHandle& context) {
  const auto failed = [&](const char* what) {
    context.sink().error(
        context, VString(what) + " project configuration file " + config->path + kDirsFailedTail);
  };
  VString line = VString("VCSDIR=") + dirs;
  line.trimRight();
  if (line.view().ends_with('\\')) line.truncate(line.length() - 1);
  if (line.view().size() > kLongestLine) return failed("The list is too long for a line of");
  VFile file(config->path);
  const bool isOpen = file.open(VFile::kReadWrite);
  const Appended appended = isOpen ? appendLines(file, line + "\r\n\r\n") : Appended::kFailed;
  if (appended == Appended::kRefused) return failed(kNoConfiguration);
  const VString reason = reasonOf(file.failure(), config->path);
  if (!reason.isEmpty()) {
    context.sink().error(context, reason + (kDirsFailedTail + 1));
  } else if (!isOpen) {
    failed("Error opening");
  } else if (!file.close() || appended != Appended::kDone) {
    failed("Error writing to");
  }
  if (isOpen) config->archiveDirs = dirs;
}

VBool appendArchiveSuffix(const TVProjectConfig& config, const VString& extension,
                          const VString& suffix, TellUser tell, TVHandle& context) {
  if (extension.isEmpty() || suffix.isEmpty()) return false;
  VFile file(config.path);
  Appended appended = Appended::kFailed;
  if (file.open(VFile::kReadWrite)) {
    appended = appendLines(
        file, VString::format("ARCHIVESUFFIX %s = %s\r\n", extension.text(), suffix.text()));
    if (!file.close() && appended == Appended::kDone) appended = Appended::kFailed;
  }
  const bool written = appended == Appended::kDone;
  const VString reason = reasonOf(file.failure(), config.path);
  if (!reason.isEmpty()) {
    context.sink().notice(context, reason);
  } else if (!written) {
    context.sink().notice(
        context,
        VString::format(
            "%s project configuration file %s. Unable to set the archive suffix for file extension "
            "%s",
            appended == Appended::kRefused ? kNoConfiguration : "Error opening", config.path.text(),
            extension.text()));
  } else if (tell == TellUser::kSuccessToo) {
    context.sink().notice(
        context,
        VString::format("The project configuration file %s has been update with the archive suffix "
                        "%s for all files with the extension %s.\n\n See online documentation for "
                        "more information about archive suffixes.",
                        config.path.text(), suffix.text(), extension.text()));
  }
  return written;
}

}  // namespace foldapi
