// cli/database/origin.cpp: what a project's list of files was made from, so that who has the list
// can tell whether it is still the same without reading any of it.
//
// The list comes from the record of the project, which is read anyway, from its data files and
// those of its folders. A file that looks as it did has not changed since: its last change was long
// past when it was read, so the time of another one would show.
#include <fmt/format.h>

#include "cli/database/database.h"
#include "cli/database/handles.h"
#include "cli/text/paths.h"
#include "os/clock.h"
#include "os/file.h"
#include "store/52arfld.h"
#include "store/52proj.h"

namespace cli {
namespace {

using foldapi::TVHandle;

// One data file as it is now. A path with a line end is told from all others by the text after it.
std::string lineOf(const std::string& path, const std::optional<os::FileMark>& mark) {
  if (!mark) return "-\t" + path + '\n';
  return textOf(*mark) + '\t' + path + '\n';
}

// False for one whose next change might not show, and for one that was not read as it is.
template <typename Owner>
bool addFilesOf(TVHandle& handle, int64_t readAt, std::string* to) {
  auto* const owner = dynamic_cast<Owner*>(handle.object());
  if (owner == nullptr || !owner->readWasComplete() || owner->isStale(handle)) return false;
  for (const foldapi::VPathString& each : owner->dataFiles()) {
    const std::string path = native(each);
    const auto mark = os::fileMark(path.c_str());
    const bool isSettled =
        !mark || (os::isSettled(mark->modified, readAt) && os::isSettled(mark->changed, readAt));
    if (!isSettled || path.find('\n') != std::string::npos) return false;
    *to += lineOf(path, mark);
  }
  return true;
}

}  // namespace

std::string textOf(const os::FileMark& mark) {
  return fmt::format("{:x} {} {} {} {}", mark.identity.device, mark.identity.inode, mark.size,
                     mark.modified, mark.changed);
}

std::string Project::Impl::record() const {
  const auto* const project = dynamic_cast<const foldapi::TVProjectFolder52*>(handle.object());
  if (project == nullptr) return "";
  std::string text = project->folderName().str();
  for (const std::string& each :
       {native(project->privateWorkDir()), native(project->storageDir(foldapi::Side::kPublic)),
        native(project->storageDir(foldapi::Side::kPrivate))}) {
    text += '\t' + each;
  }
  return text.find('\n') == std::string::npos ? text + '\n' : "";
}

std::string Project::origin() const {
  std::string text = impl_->record();
  bool isKnown = !text.empty() && impl_->isPlain && impl_->damage.empty() &&
                 addFilesOf<foldapi::TVProjectFolder52>(impl_->opened(), impl_->readAt, &text);
  forEach<foldapi::TVArchiveFolder>(impl_->opened(), [&](TVHandle& child) {
    isKnown = isKnown && addFilesOf<foldapi::TVArchiveFolder52>(child, impl_->readAt, &text);
  });
  return isKnown ? text : "";
}

bool Project::isStill(std::string_view origin) const {
  const std::string record = impl_->record();
  if (record.empty() || !impl_->damage.empty() || !origin.starts_with(record)) return false;
  for (origin.remove_prefix(record.size()); !origin.empty();) {
    const size_t tab = origin.find('\t');
    const size_t end = origin.find('\n');
    if (tab >= end || end == std::string_view::npos) return false;
    const std::string path(origin.substr(tab + 1, end - tab - 1));
    const std::string found = foldapi::nativePath(path);
    if (!origin.starts_with(lineOf(found, os::fileMark(found.c_str())))) return false;
    origin.remove_prefix(end + 1);
  }
  return true;
}

bool Project::isNamed(const FileRecord& file) const {
  const auto isName = [](const std::string& path) { return foldapi::nativePath(path) == path; };
  return isName(absolutePath(workDirectory(), file.path)) && isName(file.archive);
}

}  // namespace cli
