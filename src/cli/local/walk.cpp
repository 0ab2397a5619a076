// cli/local/walk.cpp: one walk, directory by directory.
#include "cli/local/walk.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/local/directory.h"
#include "cli/local/ignore.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/entries.h"
#include "os/file.h"
#include "os/sibling.h"

namespace cli {
namespace {

class Walk {
 public:
  Walk(const std::string& top, Ignoring ignoring,
       const std::function<void(const std::string&)>& take,
       const std::function<bool(const std::string&)>& mayEnter, Familiar* familiar)
      : top_(top), ignoring_(ignoring), take_(take), mayEnter_(mayEnter), familiar_(familiar) {}

  PassedOver run(const std::string& start) {
    std::string above;
    if (start != ".") {
      for (const std::string& part : split(start, '/')) {
        readRules(above);
        above = joined(above, part);
      }
    }
    visit(above, os::EntryKind::kUnknown);
    return passedOver_;
  }

 private:
  void readRules(const std::string& directory) {
    if (ignoring_ == Ignoring::kByRules) rules_.read(top_, directory);
  }

  void visit(const std::string& path, os::EntryKind kind) {
    using Kind = os::EntryKind;
    if (kind == Kind::kUnknown) kind = kindOf(joined(top_, path));
    if (kind == Kind::kDirectory) return enter(path);
    if (kind == Kind::kFile) return take_(path);
    if (kind == Kind::kLink) ++passedOver_.links;
    if (kind == Kind::kOther) ++passedOver_.others;
  }

  // kUnknown for what is not there.
  static os::EntryKind kindOf(const std::string& path) {
    os::FileStatus status;
    if (os::readEntryStatus(path.c_str(), &status) != os::FileResult::kDone) {
      return os::EntryKind::kUnknown;
    }
    if (status.isDirectory) return os::EntryKind::kDirectory;
    if (status.isRegular) return os::EntryKind::kFile;
    return status.isLink ? os::EntryKind::kLink : os::EntryKind::kOther;
  }

  void enter(const std::string& directory) {
    Familiar* const familiar = rules_.areNone() ? familiar_ : nullptr;
    if (const auto below = familiar == nullptr ? std::nullopt : familiar->below(directory)) {
      for (const std::string& each : *below) visit(each, os::EntryKind::kUnknown);
      return;
    }
    Familiar::Entries entries;
    bool hasRules = false;
    const std::string whole = joined(top_, directory);
    const bool isWhole =
        os::forEachEntryOfKind(whole.c_str(), [&](const char* name, os::EntryKind kind) {
          entries.emplace_back(name, kind);
          hasRules = hasRules || entries.back().first == kIgnoreFile;
        });
    if (!isWhole) passedOver_.unreadable.push_back(whole);
    std::sort(entries.begin(), entries.end());
    if (hasRules) {
      readRules(directory);
    } else if (isWhole && familiar != nullptr) {
      familiar->read(directory, entries);
    }
    for (const auto& [name, kind] : entries) {
      if (isMemory(name) || os::SiblingFile::hasName(name)) continue;
      const std::string path = joined(directory, name);
      const bool isDirectory = kind == os::EntryKind::kDirectory ||
                               (kind != os::EntryKind::kFile &&
                                os::directoryState(joined(top_, path).c_str()).has_value());
      if (ignoring_ == Ignoring::kByRules && rules_.ignores(path, isDirectory)) continue;
      if (isDirectory && mayEnter_ && !mayEnter_(path)) continue;
      visit(path, kind);
    }
    rules_.leave(directory);
  }

  const std::string& top_;
  Ignoring ignoring_;
  const std::function<void(const std::string&)>& take_;
  const std::function<bool(const std::string&)>& mayEnter_;
  Familiar* familiar_;
  IgnoreRules rules_;
  PassedOver passedOver_;
};

}  // namespace

void tellUnreadable(Session& session, const PassedOver& passed) {
  for (const std::string& path : passed.unreadable) {
    session.output().problem(closed(session.fromHere(path), session.fromHere(os::thereOf(path))));
  }
}

PassedOver walk(const std::string& top, const std::string& start, Ignoring ignoring,
                const std::function<void(const std::string& path)>& take,
                const std::function<bool(const std::string& directory)>& mayEnter,
                Familiar* familiar) {
  return Walk(top, ignoring, take, mayEnter, familiar).run(start);
}

bool isEmptyDirectory(const std::string& directory) {
  bool isEmpty = true;
  const bool isWhole =
      os::forEachEntry(directory.c_str(), [&](const char* /*name*/) { isEmpty = false; });
  if (isEmpty && !isWhole && os::hasEntry(directory.c_str())) {
    throw Problem{directory, "can't be read", "see what it is, and who owns it"};
  }
  return isEmpty;
}

}  // namespace cli
