// cli/commands/properties.cpp: describe, access and attributes: what an archive says of its file.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/commands/message.h"
#include "cli/text/text.h"

namespace cli {
namespace {

class Describe : public FileCommand {
 public:
  Describe() : FileCommand("describe", State::Use::kRead) {}

  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "the message of this revision");
    options.text(&message_, "-m,--message", "TEXT", "what it is to be");
    options.text(&messageFile_, "-F,--file", "FILE", "the same from a file, - for the input");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    const bool isChange = !message_.empty() || !messageFile_.empty();
    message_ = messageFrom(session(), message_, messageFile_);
    const auto files = chosen();
    isOne_ = files.size() == 1;
    forEach(files, [&](const FileRecord& file) {
      const std::string number =
          revision_.empty() ? "" : local().revisionOf(file, revision_).number;
      isChange ? replace(file, number) : print(file, number);
    });
  }

  // Of the engine: null for the description of the file.
  static const char* orNone(const std::string& number) {
    return number.empty() ? nullptr : number.c_str();
  }

  void replace(const FileRecord& file, const std::string& number) const {
    if (!isDry_) {
      check(
          TrvsSetDescription(TRVS_CONTEXT, file.archive.c_str(), orNone(number), message_.c_str()),
          about(file));
    }
    tell(file, said({"describe", "described"}), number);
  }

  void print(const FileRecord& file, const std::string& number) const {
    const std::string text = descriptionOf(file.archive, number, shownPath(file));
    Output& output = session().output();
    output.result({{"file", file.path},
                   {"revision", orNull(number)},
                   {number.empty() ? "description" : "message", text}},
                  isOne_ ? "" : shownPath(file));
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

  std::string revision_;
  std::string message_;
  std::string messageFile_;
  bool isOne_ = false;
};

class Access : public FileCommand {
 public:
  Access() : FileCommand("access", State::Use::kRead) {}

  void declare(Options& options) override {
    options.texts(&added_, "--add", "USER", "let this user in");
    options.texts(&removed_, "--remove", "USER", "take this user off");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    for (const auto* list : {&added_, &removed_}) {
      for (const std::string& user : *list) {
        if (user.empty() || user.find_first_of(",\n") != std::string::npos) {
          throw misuse(user, "a user's name can't hold \",\" or a line end, nor be empty");
        }
      }
    }
    const auto files = chosen();
    if (!added_.empty()) askFor(files);
    forEach(files, [&](const FileRecord& file) {
      change(file);
      later([this, &file] { tell(file); });  // To read it now would wait for the disk.
    });
  }

  void tell(const FileRecord& file) const {
    const auto users = accessOf(file);
    const std::string owner = ownerOf(file);
    output().result({{"file", file.path}, {"owner", owner}, {"users", users}},
                    fmt::format("{}  {}, owner {}", shownPath(file),
                                users.empty() ? "everybody" : listed(users), owner));
  }

  // The first name on a list shuts everybody else out.
  void askFor(const Files& files) const {
    Files open;
    for (const FileRecord* file : files) {
      try {
        if (accessOf(*file).empty()) open.push_back(file);
      } catch (const Problem&) {  // Told when it is the file's turn.
      }
    }
    if (open.empty()) return;
    const std::string who = listed(added_);
    beSure(open.size() == 1 ? fmt::format("only {} and its owner, {}, may use {} then; go on", who,
                                          ownerOf(*open.front()), shownPath(*open.front()))
                            : fmt::format("only {} and their owners may use {} then; go on", who,
                                          counted(open.size(), "file")));
  }

  std::string ownerOf(const FileRecord& file) const {
    std::string owner(4096, '\0');
    check(TrvsGetOwner(TRVS_CONTEXT, file.archive.c_str(), owner.data(),
                       static_cast<int32_t>(owner.size())),
          about(file));
    return owner.substr(0, owner.find('\0'));
  }

  std::vector<std::string> accessOf(const FileRecord& file) const {
    return fetchList(
        [&](char* buffer, int32_t size) {
          return TrvsListAccess(TRVS_CONTEXT, file.archive.c_str(), buffer, size);
        },
        about(file));
  }

  Subject about(const FileRecord& file) const {
    Subject subject = FileCommand::about(file);
    subject.user = local().user();
    return subject;
  }

  void change(const FileRecord& file) const {
    if (isDry_) return;
    for (const std::string& user : added_) {
      check(TrvsAddAccess(TRVS_CONTEXT, file.archive.c_str(), user.c_str()), about(file));
    }
    for (const std::string& user : removed_) {
      Subject subject = about(file);
      subject.user = user;
      check(TrvsRemoveAccess(TRVS_CONTEXT, file.archive.c_str(), user.c_str()), subject);
    }
  }

  std::vector<std::string> added_;
  std::vector<std::string> removed_;
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
      throw misuse(each, "no such attribute",
                   offerNearest(each, known, "there are " + listed(known)));
    }
    sum |= kAttributes[found - known.begin()].second;
  }
  return sum;
}

class Attributes : public FileCommand {
 public:
  Attributes() : FileCommand("attributes", State::Use::kRead) {}

  void declare(Options& options) override {
    options.texts(&set_, "--set", "NAME",
                  "binary, check-locks, exclusive-locks, keywords or read-only");
    options.texts(&cleared_, "--clear", "NAME", "one of the same");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    const uint32_t set = sumOf(set_);
    const uint32_t cleared = sumOf(cleared_);
    if ((set & cleared) != 0) throw misuse("attributes", "one is both set and cleared");
    const auto files = chosen();
    if ((cleared & TRVS_ATTRIBUTE_CHECK_LOCKS) != 0 && !files.empty()) {
      beSure(fmt::format("colleagues may check in {} without locks then; go on",
                         counted(files.size(), "file")));
    }
    forEach(files, [&](const FileRecord& file) {
      if (!isDry_ && (set | cleared) != 0) {
        check(TrvsSetAttributes(TRVS_CONTEXT, file.archive.c_str(), set, cleared), about(file));
      }
      later([=, this, &file] { tell(file, isDry_ ? set : 0, isDry_ ? cleared : 0); });
    });
  }

  // With what would be set and cleared.
  void tell(const FileRecord& file, uint32_t set, uint32_t cleared) const {
    uint32_t has = 0;
    check(TrvsGetAttributes(TRVS_CONTEXT, file.archive.c_str(), &has), about(file));
    has = (has | set) & ~cleared;
    std::vector<std::string> names;
    for (const auto& [name, bit] : kAttributes) {
      if ((has & bit) != 0) names.emplace_back(name);
    }
    output().result(
        {{"file", file.path}, {"attributes", names}},
        fmt::format("{}  {}", shownPath(file),
                    names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
  }

  std::vector<std::string> set_;
  std::vector<std::string> cleared_;
};

}  // namespace

std::unique_ptr<Command> makeDescribe() { return makeCommand<Describe>(); }
std::unique_ptr<Command> makeAccess() { return makeCommand<Access>(); }
std::unique_ptr<Command> makeAttributes() { return makeCommand<Attributes>(); }

}  // namespace cli
