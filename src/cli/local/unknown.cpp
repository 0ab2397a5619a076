// cli/local/unknown.cpp: a walk beside the list of the project's files.
//
// Most directories hold what they held before. Of one in which all is known it is remembered how it
// was: as long as it is so still, nothing can have come. That holds where no rule ignores anything,
// and for the same list of files.
#include "cli/local/unknown.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "cli/local/walk.h"
#include "cli/text/paths.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

// The place of the first path in an order of paths that isn't before `path`.
template <typename Paths, typename PathOf>
auto firstFrom(const Paths& paths, const std::string& path, PathOf pathOf) {
  return std::ranges::lower_bound(paths, path, {}, pathOf);
}

class Search : public Familiar {
 public:
  Search(LocalFiles& local, const std::vector<std::string>& gone,
         const std::function<void(const std::string&)>& take)
      : local_(local), top_(local.directory().top), gone_(gone), take_(take) {}

  void run() {
    const PassedOver passed = walk(
        top_, ".", Ignoring::kByRules,
        [this](const std::string& path) {
          if (!isFile(path) && !isGone(path)) take_(path);
        },
        [this](const std::string& directory) { return mayEnter(directory); }, this);
    tellUnreadable(local_.session(), passed);
  }

  std::optional<std::vector<std::string>> below(const std::string& directory) override {
    before_ = os::fileMark(joined(top_, directory).c_str());
    const std::string* const familiar = local_.familiar(directory);
    if (!before_ || familiar == nullptr || *familiar != textOf(*before_)) return {};
    return directoriesIn(directory);
  }

  // What came while it was read shows, if it had not changed for long.
  void read(const std::string& directory, const Entries& entries) override {
    const auto now = os::wallClockNanoseconds();
    const bool isQuiet = before_ && os::isSettled(before_->modified, now) &&
                         os::isSettled(before_->changed, now) &&
                         before_ == os::fileMark(joined(top_, directory).c_str());
    const bool isFamiliar =
        isQuiet && std::ranges::all_of(entries, [&](const Entries::value_type& entry) {
          const auto& [name, kind] = entry;
          const std::string path = joined(directory, name);
          if (isMemory(name)) return true;
          if (kind == os::EntryKind::kDirectory) return holdsFiles(path);
          if (kind == os::EntryKind::kFile) return isFile(path);
          return kind != os::EntryKind::kUnknown && (isFile(path) || holdsFiles(path));
        });
    local_.setFamiliar(directory, isFamiliar ? textOf(*before_) : "");
  }

 private:
  bool mayEnter(const std::string& directory) {
    if (isKnown(directory)) return true;
    bool hasFiles = false;
    tellUnreadable(local_.session(), walk(top_, directory, Ignoring::kByRules,
                                          [&](const std::string&) { hasFiles = true; }));
    if (hasFiles) take_(directory + '/');
    return false;
  }

  // Most are asked about in their order.
  bool isFile(const std::string& path) {
    const auto& files = local_.files();
    const bool isNext = next_ < files.size() && files[next_].path == path;
    if (!isNext) {
      next_ = static_cast<size_t>(firstFrom(files, path, &FileRecord::path) - files.begin());
    }
    const bool isExact = next_ < files.size() && files[next_].path == path;
    if (isExact) ++next_;
    return isExact || isInOtherLetters(path);
  }

  bool holdsFiles(const std::string& directory) {
    const auto first = firstFrom(local_.files(), directory + '/', &FileRecord::path);
    const bool isExact = first != local_.files().end() && first->path.starts_with(directory + '/');
    return isExact || isInOtherLetters(directory);
  }

  // Whether the project writes that name of a file, or of a directory with files, in other letters.
  bool isInOtherLetters(const std::string& path) {
    if (!os::hasDrives()) return false;
    if (folded_.empty()) {
      for (const FileRecord& file : local_.files()) {
        std::string_view each = file.path;
        while (!each.empty() && folded_.insert(os::foldedPath(each)).second) {
          each = directoryPart(each);
        }
      }
    }
    return folded_.contains(os::foldedPath(path));
  }

  bool isGone(const std::string& path) const {
    const auto same = firstFrom(gone_, path, std::identity());
    const auto below = firstFrom(gone_, path + '/', std::identity());
    return (same != gone_.end() && *same == path) ||
           (below != gone_.end() && below->starts_with(path + '/'));
  }

  bool isKnown(const std::string& path) { return isFile(path) || holdsFiles(path) || isGone(path); }

  // Those that files of the project are in, by their names.
  std::vector<std::string> directoriesIn(const std::string& directory) const {
    const auto& files = local_.files();
    const std::string start = directory.empty() ? "" : directory + '/';
    std::vector<std::string> found;
    for (auto each = firstFrom(files, start, &FileRecord::path);
         each != files.end() && each->path.starts_with(start);) {
      const size_t end = each->path.find('/', start.size());
      if (end == std::string::npos) {
        ++each;
        continue;
      }
      const std::string path = each->path.substr(0, end);
      const std::string_view name = namePart(path);
      const bool isOutside = name.empty() || name == "." || name == "..";  // A record may say so.
      if (!isOutside && !isMemory(name)) found.push_back(path);
      constexpr char kAfterSeparator = '/' + 1;
      each = firstFrom(files, path + kAfterSeparator, &FileRecord::path);
    }
    std::ranges::sort(found);  // "src-a/b" comes before "src/b".
    return found;
  }

  LocalFiles& local_;
  const std::string& top_;
  const std::vector<std::string>& gone_;
  const std::function<void(const std::string&)>& take_;
  std::optional<os::FileMark> before_;  // Of the directory at hand, before it is read.
  size_t next_ = 0;                     // After the last file that was asked about.
  std::unordered_set<std::string> folded_;
};

}  // namespace

void forEachUnknown(LocalFiles& local, const std::vector<std::string>& gone,
                    const std::function<void(const std::string& path)>& take) {
  Search(local, gone, take).run();
}

}  // namespace cli
