// cli/commands/cat.cpp: cat: contents of revisions, as they are.
#include "btkf520/btkf520.h"
#include "cli/archives/content.h"
#include "cli/command.h"
#include "cli/commands/bulk.h"
#include "cli/commands/commands.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "os/terminal.h"

namespace cli {
namespace {

class Cat : public Command {
 public:
  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one here");
    options.flag(&isForced_, "--force", "also what is binary, to a terminal");
    options.words(&names_, "FILE", Options::Need::kRequired, "files and directories");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    forEachFile(session, "cat", local.choose(names_), [&](const FileRecord& file) {
      const std::string path = local.shownPath(file);
      if (revision_.empty() && local.hereOf(file) == nullptr) {
        throw Problem{path, "no revision here yet", "name one with -r"};
      }
      const std::string number =
          local.revisionOf(file, revision_.empty() ? "here" : revision_).number;
      const std::string content = contentOf(
          {.file = path, .archive = file.archive, .revision = number}, Keywords::kExpanded);
      if (!session.output().isText()) {
        session.output().result({{"file", file.path},
                                 {"revision", number},
                                 {"size", content.size()},
                                 {"content", content}},
                                "");
        return;
      }
      if (!isForced_ && isBinary(content) && os::isTerminal(os::Stream::kOutput)) {
        throw Problem{path, "binary, and this is a terminal", "redirect it, or --force"};
      }
      session.output().bytes(content);
    });
  }

 private:
  static bool isBinary(const std::string& content) {
    constexpr size_t kLooked = 8000;
    return content.substr(0, kLooked).find('\0') != std::string::npos;
  }

  std::string revision_;
  bool isForced_ = false;
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Command> makeCat() { return makeCommand<Cat>(); }

}  // namespace cli
