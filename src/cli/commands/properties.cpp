// cli/commands/properties.cpp: describe, access and attributes: what an archive says of its file.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/commands/bulk.h"
#include "cli/commands/commands.h"
#include "cli/commands/message.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Need = Options::Need;

Subject subjectOf(const LocalFiles& local, const FileRecord& file) {
  return {.file = local.shownPath(file), .archive = file.archive, .user = local.user()};
}

std::string ownerOf(const LocalFiles& local, const FileRecord& file) {
  std::string owner(4096, '\0');
  check(TrvsGetOwner(TRVS_CONTEXT, file.archive.c_str(), owner.data(),
                     static_cast<int32_t>(owner.size())),
        subjectOf(local, file));
  return owner.substr(0, owner.find('\0'));
}

std::vector<std::string> accessOf(const LocalFiles& local, const FileRecord& file) {
  return fetchList(
      [&](char* buffer, int32_t size) {
        return TrvsListAccess(TRVS_CONTEXT, file.archive.c_str(), buffer, size);
      },
      subjectOf(local, file));
}

class Describe : public Command {
 public:
  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "the message of this revision");
    options.text(&message_, "-m,--message", "TEXT", "what it is to be");
    options.text(&messageFile_, "-F,--file", "FILE", "the same from a file, - for the input");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kRequired, "files and directories");
  }

  void run(Session& session) override {
    const bool isChange = !message_.empty() || !messageFile_.empty();
    LocalFiles local(session, State::Use::kRead);
    session_ = &session;
    local_ = &local;
    message_ = messageFrom(session, message_, messageFile_);
    const auto files = local.choose(names_);
    isOne_ = files.size() == 1;
    forEachFile(session, "describe", files, [&](const FileRecord& file) {
      const std::string number = revision_.empty() ? "" : local.revisionOf(file, revision_).number;
      isChange ? replace(file, number) : tell(file, number);
    });
  }

 private:
  // Of the engine: null for the description of the file.
  static const char* orNone(const std::string& number) {
    return number.empty() ? nullptr : number.c_str();
  }

  void replace(const FileRecord& file, const std::string& number) const {
    if (!isDry_) {
      check(
          TrvsSetDescription(TRVS_CONTEXT, file.archive.c_str(), orNone(number), message_.c_str()),
          subjectOf(*local_, file));
    }
    const char* const verb = isDry_ ? "would describe" : "described";
    session_->output().result(
        {{"file", file.path},
         {"action", verb},
         {"revision", number.empty() ? Value() : Value(number)}},
        fmt::format("{} {}{}{}", verb, local_->shownPath(file), number.empty() ? "" : " ", number));
  }

  void tell(const FileRecord& file, const std::string& number) const {
    const std::string text = textOf(file, number);
    Output& output = session_->output();
    output.result({{"file", file.path},
                   {"revision", number.empty() ? Value() : Value(number)},
                   {number.empty() ? "description" : "message", text}},
                  isOne_ ? "" : local_->shownPath(file));
    for (const std::string& line : split(text, '\n')) {
      output.line((isOne_ ? "" : "  ") + shownLine(line));
    }
    if (text.empty()) {
      output.line(
          fmt::format("{}no {}", isOne_ ? "" : "  ", number.empty() ? "description" : "message"));
    }
  }

  static std::string shownLine(std::string line) {
    if (line.ends_with('\r')) line.pop_back();
    return shown(line);
  }

  std::string textOf(const FileRecord& file, const std::string& number) const {
    std::string text;
    int32_t status = TRVS_BUFFER_TOO_SMALL;
    for (size_t size = 4096; status == TRVS_BUFFER_TOO_SMALL && size < (1U << 30); size *= 4) {
      text.assign(size, '\0');
      status = TrvsGetDescription(TRVS_CONTEXT, file.archive.c_str(), orNone(number), text.data(),
                                  static_cast<int32_t>(size));
    }
    check(status, subjectOf(*local_, file));
    return text.substr(0, text.find('\0'));
  }

  std::string revision_;
  std::string message_;
  std::string messageFile_;
  bool isDry_ = false;
  std::vector<std::string> names_;
  bool isOne_ = false;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
};

class Access : public Command {
 public:
  void declare(Options& options) override {
    options.texts(&added_, "--add", "USER", "let this user in");
    options.texts(&removed_, "--remove", "USER", "take this user off");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kRequired, "files and directories");
  }

  void run(Session& session) override {
    for (const auto* list : {&added_, &removed_}) {
      for (const std::string& user : *list) {
        if (user.empty() || user.find_first_of(",\n") != std::string::npos) {
          throw misuse(user, "a user's name can't hold \",\" or a line end, nor be empty");
        }
      }
    }
    LocalFiles local(session, State::Use::kRead);
    const auto files = local.choose(names_);
    if (!added_.empty()) askFor(session, local, files);
    forEachFile(session, "access", files, [&](const FileRecord& file) {
      change(local, file);
      const auto users = accessOf(local, file);
      const std::string owner = ownerOf(local, file);
      session.output().result({{"file", file.path}, {"owner", owner}, {"users", users}},
                              fmt::format("{}  {}, owner {}", local.shownPath(file),
                                          users.empty() ? "everybody" : listed(users), owner));
    });
  }

 private:
  // The first name on a list shuts everybody else out.
  void askFor(Session& session, LocalFiles& local, const std::vector<const FileRecord*>& files) {
    std::vector<const FileRecord*> open;
    for (const FileRecord* file : files) {
      try {
        if (accessOf(local, *file).empty()) open.push_back(file);
      } catch (const Problem&) {  // Told when it is the file's turn.
      }
    }
    if (open.empty()) return;
    const std::string who = listed(added_);
    beSure(session, "access",
           open.size() == 1
               ? fmt::format("only {} and its owner, {}, may use {} then; go on", who,
                             ownerOf(local, *open.front()), local.shownPath(*open.front()))
               : fmt::format("only {} and their owners may use {} then; go on", who,
                             counted(open.size(), "file")),
           isDry_);
  }

  void change(const LocalFiles& local, const FileRecord& file) const {
    if (isDry_) return;
    for (const std::string& user : added_) {
      check(TrvsAddAccess(TRVS_CONTEXT, file.archive.c_str(), user.c_str()),
            subjectOf(local, file));
    }
    for (const std::string& user : removed_) {
      Subject subject = subjectOf(local, file);
      subject.user = user;
      check(TrvsRemoveAccess(TRVS_CONTEXT, file.archive.c_str(), user.c_str()), subject);
    }
  }

  std::vector<std::string> added_;
  std::vector<std::string> removed_;
  bool isDry_ = false;
  std::vector<std::string> names_;
};

constexpr std::pair<const char*, uint32_t> kAttributes[] = {
    {"binary", TRVS_ATTRIBUTE_BINARY},
    {"check-locks", TRVS_ATTRIBUTE_CHECK_LOCKS},
    {"exclusive-locks", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS},
    {"keywords", TRVS_ATTRIBUTE_KEYWORDS},
    {"read-only", TRVS_ATTRIBUTE_READ_ONLY},
};

uint32_t sumOf(const std::vector<std::string>& names) {
  uint32_t sum = 0;
  std::vector<std::string> known;
  for (const auto& [name, bit] : kAttributes) known.emplace_back(name);
  for (const std::string& each : names) {
    const auto found = std::find(known.begin(), known.end(), each);
    if (found == known.end()) {
      const std::string near = nearest(each, known);
      throw misuse(
          each, "no such attribute",
          near.empty() ? "there are " + listed(known) : fmt::format("did you mean '{}'?", near));
    }
    sum |= kAttributes[found - known.begin()].second;
  }
  return sum;
}

class Attributes : public Command {
 public:
  void declare(Options& options) override {
    options.texts(&set_, "--set", "NAME",
                  "binary, check-locks, exclusive-locks, keywords or read-only");
    options.texts(&cleared_, "--clear", "NAME", "one of the same");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kRequired, "files and directories");
  }

  void run(Session& session) override {
    const uint32_t set = sumOf(set_);
    const uint32_t cleared = sumOf(cleared_);
    if ((set & cleared) != 0) throw misuse("attributes", "one is both set and cleared");
    LocalFiles local(session, State::Use::kRead);
    const auto files = local.choose(names_);
    if ((cleared & TRVS_ATTRIBUTE_CHECK_LOCKS) != 0 && !files.empty()) {
      beSure(session, "attributes",
             fmt::format("colleagues may check in {} without locks then; go on",
                         counted(files.size(), "file")),
             isDry_);
    }
    forEachFile(session, "attributes", files, [&](const FileRecord& file) {
      const Subject subject = subjectOf(local, file);
      if (!isDry_ && (set | cleared) != 0) {
        check(TrvsSetAttributes(TRVS_CONTEXT, file.archive.c_str(), set, cleared), subject);
      }
      uint32_t has = 0;
      check(TrvsGetAttributes(TRVS_CONTEXT, file.archive.c_str(), &has), subject);
      if (isDry_) has = (has | set) & ~cleared;
      std::vector<std::string> names;
      for (const auto& [name, bit] : kAttributes) {
        if ((has & bit) != 0) names.emplace_back(name);
      }
      session.output().result(
          {{"file", file.path}, {"attributes", names}},
          fmt::format("{}  {}", subject.file,
                      names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
    });
  }

 private:
  std::vector<std::string> set_;
  std::vector<std::string> cleared_;
  bool isDry_ = false;
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Command> makeDescribe() { return makeCommand<Describe>(); }
std::unique_ptr<Command> makeAccess() { return makeCommand<Access>(); }
std::unique_ptr<Command> makeAttributes() { return makeCommand<Attributes>(); }

}  // namespace cli
