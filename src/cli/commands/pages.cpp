// cli/commands/pages.cpp: pages: the projects as pages for a browser, in a directory.
#include <fmt/format.h>
#include <fmt/ranges.h>

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
    const std::set<std::string> before = listed(top);
    const std::set<std::string> written = write(output, site, top);
    for (const std::string& each : before) {
      if (!written.contains(each)) remove(top, each);
    }
    store(joined(top, kList), fmt::format("{}\n", fmt::join(written, "\n")));
    output.result({{"directory", top}, {"action", "written"}, {"pages", count_}},
                  fmt::format("wrote {} to {}", counted(count_, "page"), shown(directory_)));
    output.hint(fmt::format("begin with {}", shown(joined(directory_, "index.html"))));
    for (const pages::Project& each : source.projects()) tellProblems(output, each);
  }

 private:
  // Each page that another one leads to. Gives their addresses.
  std::set<std::string> write(Output& output, pages::Site& site, const std::string& top) {
    std::set<std::string> written;
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
      written.insert(address);
      for (const std::string& each : page->links) {
        if (seen.insert(each).second) left.push_back(each);
      }
    }
    return written;
  }

  // What the last run wrote. A line that would lead out of the directory is nobody's page.
  static std::set<std::string> listed(const std::string& top) {
    std::string text;
    if (os::readFile(joined(top, kList).c_str(), kLargest, &text) != os::FileResult::kDone)
      return {};
    std::set<std::string> addresses;
    for (const std::string& each : split(text, '\n')) {
      const auto parts = split(each, '/');
      const bool isWithin = std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
        return !part.empty() && part.front() != '.' &&
               part.find_first_of("\\:") == std::string::npos;
      });
      if (isWithin) addresses.insert(each);
    }
    return addresses;
  }

  // If it is still ours, and the directories that it leaves empty.
  static void remove(const std::string& top, const std::string& address) {
    std::string place = joined(top, address);
    if (!isOurs(place) || os::removeFile(place.c_str()) != os::FileResult::kDone) return;
    while ((place = os::parentOf(place)) != top && os::removeDirectory(place)) {
    }
  }

  static bool isOurs(const std::string& path) {
    std::string text;
    return os::readFile(path.c_str(), kLargest, &text) == os::FileResult::kDone &&
           pages::isOurs(text);
  }

  // Who has the pages written each night doesn't look at them all.
  static void tellProblems(Output& output, const pages::Project& project) {
    if (!project.problem.empty()) return output.problem({project.name, project.problem});
    const size_t broken = pages::brokenIn(project);
    if (broken == 0) return;
    output.problem({project.name,
                    fmt::format("{} can't be read, as the pages say", counted(broken, "archive")),
                    "'trevault verify' tells more"});
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
    if (isOurs(joined(top, pages::kProjects))) return;
    throw misuse(directory_, "is not empty, and holds no pages that trevault has written",
                 "choose another directory");
  }

  static constexpr std::string_view kList = ".trevault-pages";
  static constexpr uint64_t kLargest = uint64_t{1} << 30;

  std::string directory_;
  size_t count_ = 0;
};

}  // namespace

std::unique_ptr<Command> makePages() { return makeCommand<PagesCommand>(); }

}  // namespace cli
