// cli/commands/pages.cpp: pages: the projects as pages for a browser, in a directory.
#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <set>

#include "cli/commands/commands.h"
#include "cli/local/walk.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/file.h"
#include "os/sibling.h"
#include "pages/addresses.h"
#include "pages/site.h"

namespace cli {
namespace {

class PagesCommand : public Command {
 public:
  void declare(Options& options) override {
    options.word(&directory_, "DIR", Options::Need::kRequired, "where they go");
  }

  void run(Session& session) override {
    Output& output = session.output();
    const std::string top = session.absolute(directory_);
    refuseOther(top);
    pages::Source source(session.roots(), session.globals().project);
    pages::Site site(source, pages::Outlet::kWritten);
    site.refresh();
    write(output, site, top);
    output.result({{"directory", top}, {"action", "written"}, {"pages", count_}},
                  fmt::format("wrote {} to {}", counted(count_, "page"), shown(directory_)));
    output.hint(fmt::format("begin with {}", shown(joined(directory_, "index.html"))));
  }

 private:
  // Each page that another one leads to.
  void write(Output& output, pages::Site& site, const std::string& top) {
    std::deque<std::string> left{std::string(pages::kProjects)};
    std::set<std::string> seen(left.begin(), left.end());
    while (!left.empty()) {
      output.mayStop();
      const std::string address = left.front();
      left.pop_front();
      const auto page = site.page(address);
      if (page == nullptr) continue;
      store(joined(top, address), page->body);
      if (address.ends_with(".html")) ++count_;
      for (const std::string& each : page->links) {
        if (seen.insert(each).second) left.push_back(each);
      }
    }
  }

  // Soon on the disk: they can be written again.
  static void store(const std::string& path, const std::string& bytes) {
    const auto must = [&](bool isDone) {
      if (!isDone) throw Problem{path, "can't be written", "see who owns it and its directory"};
    };
    const auto mustBe = [&](os::FileResult result) { must(result == os::FileResult::kDone); };
    os::SiblingFile file;
    must(os::makeDirectories(os::parentOf(path)));
    mustBe(file.open(path));
    mustBe(file.write(bytes));
    mustBe(file.giveRights(nullptr));
    mustBe(file.finish(os::SiblingFile::Naming::kReplace, os::SiblingFile::Safety::kSoon, nullptr));
  }

  // Files of others might have the names of pages.
  void refuseOther(const std::string& top) const {
    if (isEmptyDirectory(top)) return;
    constexpr uint64_t kLargest = uint64_t{1} << 30;
    std::string text;
    const std::string begin = joined(top, pages::kProjects);
    const bool isRead = os::readFile(begin.c_str(), kLargest, &text) == os::FileResult::kDone;
    if (isRead && pages::isOurs(text)) return;
    throw misuse(directory_, "is not empty, and holds no pages that trevault has written",
                 "choose another directory");
  }

  std::string directory_;
  size_t count_ = 0;
};

}  // namespace

std::unique_ptr<Command> makePages() { return makeCommand<PagesCommand>(); }

}  // namespace cli
