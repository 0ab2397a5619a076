// cli/commands/export.cpp: export: the project's history for git.
#include <fmt/format.h>

#include "cli/command.h"
#include "cli/commands/commands.h"
#include "cli/local/entries.h"
#include "cli/local/localfiles.h"
#include "cli/moving/gitexport.h"
#include "cli/moving/gitstream.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"
#include "os/file.h"
#include "os/sibling.h"
#include "os/terminal.h"

namespace cli {
namespace {

class ExportCommand : public Command {
 public:
  void declare(Options& options) override {
    options.text(&window_, "--window", "MINUTES",
                 "within which check-ins become one commit, else 5");
    options.text(&path_, "-o,--output", "FILE", "there, not to the standard output");
    options.text(&users_, "--users", "FILE", "lines 'ann = Ann Lee <ann@example.com>'");
    options.words(&names_, "FILE", Options::Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    session_ = &session;
    const char* const advice = "pipe it to 'git fast-import', or -o FILE";
    if (path_.empty() && os::isTerminal(os::Stream::kOutput)) {
      throw misuse("export", "this is a terminal", advice);
    }
    if (path_.empty() && !session.output().isText()) {
      throw misuse("export", "--json takes the standard output", "-o FILE names another place");
    }
    ExportWishes wishes{.window = windowOf(), .identities = {}};
    if (!users_.empty()) readUsers(&wishes);
    LocalFiles local(session, State::Use::kRead);
    path_.empty()
        ? exportTo([&](std::string_view bytes) { session.output().bytes(bytes); }, local, wishes)
        : exportToFile(local, wishes);
  }

 private:
  int64_t windowOf() const {
    if (window_.empty()) return kEntryWindow;
    const bool isNumber =
        window_.size() < 10 && window_.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber)
      throw misuse("--window", fmt::format("'{}' is not a number of minutes", window_));
    return std::stoll(window_) * 60;
  }

  void readUsers(ExportWishes* wishes) const {
    constexpr uint64_t kLargest = 16 << 20;
    std::string text;
    if (os::readFile(session_->absolute(users_).c_str(), kLargest, &text) !=
        os::FileResult::kDone) {
      throw misuse(users_, "can't be read");
    }
    const auto lines = split(text, '\n');
    for (size_t i = 0; i < lines.size(); ++i) {
      const std::string line = trimmed(lines[i]);
      if (line.empty() || line.starts_with('#')) continue;
      const size_t is = line.find('=');
      const size_t mail = line.find('<', is);
      const std::string user = trimmed(line.substr(0, is));
      if (user.empty() || mail == std::string::npos || !line.ends_with('>')) {
        throw misuse(fmt::format("{}:{}", users_, i + 1),
                     "not as 'ann = Ann Lee <ann@example.com>'");
      }
      wishes->identities[user] =
          fmt::format("{} <{}>", identityPart(trimmed(line.substr(is + 1, mail - is - 1))),
                      identityPart(line.substr(mail)));
    }
  }

  static std::string trimmed(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
  }

  void exportToFile(LocalFiles& local, const ExportWishes& wishes) {
    os::SiblingFile file;
    const auto must = [&](os::FileResult result) {
      if (result == os::FileResult::kDone) return;
      throw Problem{path_, "can't be written", "see whether the disk is full, and who owns it"};
    };
    must(file.open(session_->placeToWrite(path_)));
    exportTo([&](std::string_view bytes) { must(file.write(bytes)); }, local, wishes);
    must(file.giveRights(nullptr));
    must(file.finish(os::SiblingFile::Naming::kReplace, os::SiblingFile::Safety::kSoon, nullptr));
  }

  void exportTo(const std::function<void(std::string_view)>& write, LocalFiles& local,
                const ExportWishes& wishes) {
    Output& output = session_->output();
    std::vector<const FileRecord*> files;
    for (const FileRecord* file : local.choose(names_)) {
      try {
        static_cast<void>(local.pathOf(*file));
        files.push_back(file);
      } catch (const Problem& problem) {
        output.problem(problem);
      }
    }
    const ExportCount count = exportToGit(local, files, wishes, write, output);
    output.result({{"action", "exported"},
                   {"files", count.files},
                   {"revisions", count.revisions},
                   {"commits", count.commits},
                   {"branches", count.branches},
                   {"tags", count.tags}},
                  "");
    output.aside(fmt::format("exported {}, {}: {}, {}, {}", counted(count.files, "file"),
                             counted(count.revisions, "revision"), counted(count.commits, "commit"),
                             counted(count.branches, "branch"), counted(count.tags, "tag")));
  }

  std::string window_;
  std::string path_;
  std::string users_;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeExport() { return makeCommand<ExportCommand>(); }

}  // namespace cli
