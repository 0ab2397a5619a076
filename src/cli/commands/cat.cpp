// cli/commands/cat.cpp: cat: contents of revisions, as they are.
#include "btkf520/btkf520.h"
#include "cli/archives/content.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "os/terminal.h"

namespace cli {
namespace {

class Cat : public FileCommand {
 public:
  Cat() : FileCommand("cat", State::Use::kRead) { takeArchives(); }

  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "another revision than the one here");
    options.flag(&isForced_, "--force", "also what is binary, to a terminal");
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    forEach(chosen(), [&](const FileRecord& file) {
      const std::string path = shownPath(file);
      if (revision_.empty() && local().hereOf(file) == nullptr) {
        throw Problem{path, "no revision here yet", "name one with -r"};
      }
      const std::string number =
          local().revisionOf(file, revision_.empty() ? "here" : revision_).number;
      const std::string content = contentOf(
          {.file = path, .archive = file.archive, .revision = number}, Keywords::kExpanded);
      if (!output().isText()) {
        output().result({{"file", file.path},
                         {"revision", number},
                         {"size", content.size()},
                         {"content", content}},
                        "");
        return;
      }
      if (!isForced_ && isBinary(content) && os::isTerminal(os::Stream::kOutput)) {
        throw Problem{path, "binary, and this is a terminal", "redirect it, or --force"};
      }
      output().bytes(content);
    });
  }

  static bool isBinary(const std::string& content) {
    constexpr size_t kLooked = 8000;
    return content.substr(0, kLooked).find('\0') != std::string::npos;
  }

  std::string revision_;
  bool isForced_ = false;
};

}  // namespace

std::unique_ptr<Command> makeCat() { return makeCommand<Cat>(); }

}  // namespace cli
