// cli/local/walk.cpp: one walk, directory by directory.
#include "cli/local/walk.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "cli/local/directory.h"
#include "cli/local/ignore.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

class Walk {
 public:
  Walk(const std::string& top, Ignoring ignoring,
       const std::function<void(const std::string&)>& take,
       const std::function<bool(const std::string&)>& mayEnter)
      : top_(top), ignoring_(ignoring), take_(take), mayEnter_(mayEnter) {}

  PassedOver run(const std::string& start) {
    std::string above;
    if (start != ".") {
      for (const std::string& part : split(start, '/')) {
        readRules(above);
        above = joined(above, part);
      }
    }
    visit(above);
    return passedOver_;
  }

 private:
  void readRules(const std::string& directory) {
    if (ignoring_ == Ignoring::kByRules) rules_.read(top_, directory);
  }

  void visit(const std::string& path) {
    os::FileStatus status;
    const std::string whole = joined(top_, path);
    if (os::readEntryStatus(whole.c_str(), &status) != os::FileResult::kDone) return;
    if (status.isDirectory) {
      enter(path, whole);
    } else if (status.isRegular) {
      take_(path);
    } else {
      ++(status.isLink ? passedOver_.links : passedOver_.others);
    }
  }

  void enter(const std::string& directory, const std::string& whole) {
    readRules(directory);
    std::set<std::string> names;
    os::forEachEntry(whole.c_str(), [&](const char* name) { names.insert(name); });
    for (const std::string& name : names) {
      if (isMemory(name)) continue;
      const std::string path = joined(directory, name);
      const bool isDirectory = os::directoryState(joined(top_, path).c_str()).has_value();
      if (ignoring_ == Ignoring::kByRules && rules_.ignores(path, isDirectory)) continue;
      if (isDirectory && mayEnter_ && !mayEnter_(path)) continue;
      visit(path);
    }
    rules_.leave(directory);
  }

  const std::string& top_;
  Ignoring ignoring_;
  const std::function<void(const std::string&)>& take_;
  const std::function<bool(const std::string&)>& mayEnter_;
  IgnoreRules rules_;
  PassedOver passedOver_;
};

}  // namespace

PassedOver walk(const std::string& top, const std::string& start, Ignoring ignoring,
                const std::function<void(const std::string& path)>& take,
                const std::function<bool(const std::string& directory)>& mayEnter) {
  return Walk(top, ignoring, take, mayEnter).run(start);
}

}  // namespace cli
