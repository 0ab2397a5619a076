// cli/local/newfiles.cpp: a folder by the directory, an archive by the path.
#include "cli/local/newfiles.h"

#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/environment.h"
#include "os/trust.h"

namespace cli {
namespace {

void makeShared(const std::string& directory) {
  if (os::directoryState(directory.c_str())) return;
  if (os::parentOf(directory) != directory) makeShared(os::parentOf(directory));
  if (!os::makeDirectory(directory)) {
    throw Problem{directory, "can't be made", "see who owns the directory above"};
  }
  os::shareWithGroup(directory);
}

}  // namespace

NewFiles::NewFiles(Session& session, std::string folder, const std::vector<FileRecord>& known)
    : session_(session), folder_(std::move(folder)), folders_(session.project().folders()) {
  const auto directories = session.project().archiveDirectories();
  if (!directories.empty()) archiveDirectory_ = directories.front();
  for (const FileRecord& each : known) owners_.emplace(each.archive, each.path);
}

FileRecord NewFiles::record(const std::string& path, const std::string& archive) const {
  refuseUnstorable(path);
  return {path, archive.empty() ? archiveOf(path) : archive, folderOf(path)};
}

// The folder named, else the deepest one whose directory holds the file.
std::string NewFiles::folderOf(const std::string& path) const {
  std::string deepest;
  size_t length = 0;
  for (const FolderRecord& each : folders_) {
    const bool holds = each.directory.empty() || isBelow(each.directory, path);
    if (!folder_.empty() && each.name == folder_) {
      if (holds) return folder_;
      throw Problem{
          path,
          fmt::format("lies outside of folder {}, which is {}", folder_, shown(each.directory)),
          "leave -f away, or name another folder"};
    }
    if (folder_.empty() && holds && each.directory.size() > length) {
      deepest = each.name;
      length = each.directory.size();
    }
  }
  if (folder_.empty()) return deepest;
  throw misuse(folder_, "no such folder", "'trevault folder list' lists them");
}

std::string NewFiles::archiveOf(const std::string& path) const {
  std::string archive = archiveNamed(path);
  for (int number = 2;; ++number) {
    const auto owner = owners_.find(archive);
    if (owner == owners_.end() || owner->second == path) return archive;
    const size_t name = path.size() - namePart(path).size();
    const size_t end = std::min(path.size(), path.find('.', name + 1));
    archive = archiveNamed(fmt::format("{}-{}{}", path.substr(0, end), number, path.substr(end)));
  }
}

// Equal names in two directories never meet.
std::string NewFiles::archiveNamed(const std::string& path) const {
  if (archiveDirectory_.empty()) {
    throw Problem{path, "the project has no archive directory",
                  "'trevault project set --archives DIR' gives it one"};
  }
  std::string name(4096, '\0');
  check(TrvsComputeArchiveName(path.c_str(), name.data(), static_cast<int32_t>(name.size())),
        {.file = path});
  name.resize(name.find('\0'));
  // Its directory is a text for any system.
  const size_t separator = name.find_last_of("/\\");
  return joined(joined(archiveDirectory_, directoryPart(path)), name.substr(separator + 1));
}

// What was made where a share is to be mounted would be hidden by it.
void NewFiles::refuseMissingPlace(const char* command) const {
  if (archiveDirectory_.empty() || os::directoryState(archiveDirectory_.c_str())) return;
  for (const auto& [archive, path] : owners_) {
    if (isBelow(archiveDirectory_, archive)) throw missingPlace(command, archiveDirectory_);
  }
}

void NewFiles::askForPlace(const char* command) const {
  refuseMissingPlace(command);
  const Project& project = session_.project();
  const std::string& place = archiveDirectory_;
  if (place.empty() || os::isOursAlone(project.configurationFile())) return;
  const std::string home = os::homeDirectory();
  const bool isAtHome =
      !home.empty() && (isBelow(home, place) || isBelow(os::realPath(home), place));
  if (!isAtHome || isBelow(session_.database().roots().publicRoot.path, place)) return;
  const std::string question = fmt::format(
      "the team's configuration puts archives in {}, in your home; go on", shown(place));
  if (session_.output().ask(question)) return;
  throw Problem{command, "nothing was added",
                "'trevault project set --archives DIR' names another place",
                session_.output().exitOfNo()};
}

void makePlaceOf(const FileRecord& file) {
  constexpr size_t kLongestName = 255;
  // The archive's name is the file's with a few letters more.
  const size_t size = namePart(file.archive).size();
  if (size > kLongestName) {
    throw Problem{file.path,
                  fmt::format("its archive's name would have {} bytes, and {} is the most", size,
                              kLongestName),
                  "'trevault add --archive PATH' gives it a shorter one"};
  }
  makeShared(os::parentOf(file.archive));
}

}  // namespace cli
