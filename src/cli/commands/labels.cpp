// cli/commands/labels.cpp: label and labels.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/commands/bulk.h"
#include "cli/commands/commands.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Need = Options::Need;

bool isReserved(const std::string& name) {
  for (const char* word : {"here", "followed", "tip", "trunk"}) {
    if (name == word) return true;
  }
  return name.find("..") != std::string::npos || name.find_first_of("@:") != std::string::npos;
}

class Label : public Command {
 public:
  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "other revisions than those here");
    options.flag(&moves_, "--move", "it may stand at others until now");
    options.flag(&floats_, "--float", "keep to the tip of the revision's branch");
    options.flag(&deletes_, "-d,--delete", "delete it");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.word(&name_, "NAME", Need::kRequired, "the label");
    options.words(&names_, "FILE", Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kChange);
    session_ = &session;
    local_ = &local;
    if (isReserved(name_))
      throw misuse(name_, "a label can't be called that", "choose another name");
    auto files = local.choose(names_);
    const auto former =
        names_.empty() && deletes_ ? local.formerFiles(name_) : std::vector<FileRecord>();
    for (const FileRecord& each : former) files.push_back(&each);
    if (deletes_) return remove(files);
    std::vector<std::string> numbers;
    if (!findAll(files, &numbers)) {
      throw Problem{"label", "nothing was labelled", ""};
    }
    size_t place = 0;
    const size_t done = forEachFile(session, "label", files,
                                    [&](const FileRecord& file) { set(file, numbers[place++]); });
    if (!isDry_) remember(files, numbers);
    session.output().line(fmt::format("{} {} with {}", isDry_ ? "would label" : "labelled",
                                      counted(done, "file"), name_));
    local.save();
  }

 private:
  // All files are looked at first: all get the label, or none.
  bool findAll(const std::vector<const FileRecord*>& files, std::vector<std::string>* numbers) {
    bool areAll = true;
    for (const FileRecord* file : files) {
      try {
        numbers->push_back(find(*file));
      } catch (const Problem& problem) {
        session_->output().problem(problem);
        areAll = false;
      }
    }
    return areAll;
  }

  std::string find(const FileRecord& file) {
    const std::string path = local_->shownPath(file);
    if (revision_.empty() && local_->standingOf(file) == Standing::kChanged) {
      throw Problem{
          path,
          fmt::format("changed since {}, and changes have no label", local_->hereOf(file)->number),
          "check it in, or label the tips with '-r tip'"};
    }
    const RevisionInfo& wanted = local_->revisionOf(file, revision_.empty() ? "here" : revision_);
    const RevisionInfo* const now = local_->historyOf(file).withLabel(name_);
    if (now != nullptr && now != &wanted && !moves_) {
      throw Problem{path, fmt::format("{} stands at {} already", name_, now->number),
                    fmt::format("'--move' puts it on {}", wanted.number)};
    }
    return wanted.number;
  }

  void set(const FileRecord& file, const std::string& number) {
    const RevisionInfo* const now = local_->historyOf(file).withLabel(name_);
    const std::string before = now == nullptr ? "" : now->number;
    if (!isDry_) {
      uint32_t flags = moves_ ? uint32_t{TRVS_LABEL_MOVE} : 0;
      if (floats_) flags |= TRVS_LABEL_FLOATS;
      check(TrvsSetLabel(TRVS_CONTEXT, file.archive.c_str(), name_.c_str(), number.c_str(), flags),
            {.file = local_->shownPath(file),
             .archive = file.archive,
             .revision = number,
             .label = name_});
    }
    const bool isMoved = !before.empty() && before != number;
    const std::string line =
        fmt::format("moved {} of {} from {} to {}", name_, local_->shownPath(file), before, number);
    session_->output().result({{"file", file.path},
                               {"action", "labelled"},
                               {"revision", number},
                               {"before", before.empty() ? Value() : Value(before)}},
                              isMoved ? line : "");
  }

  // Those that have it now, whether by this command or before.
  void remember(const std::vector<const FileRecord*>& files,
                const std::vector<std::string>& numbers) {
    LabelList list = local_->labelList(name_);
    for (size_t i = 0; i < files.size(); ++i) {
      local_->forgetHistory(*files[i]);
      const RevisionInfo* const now = local_->historyOf(*files[i]).withLabel(name_);
      if (now == nullptr || now->number != numbers[i]) continue;
      list.set({files[i]->path, files[i]->archive, now->number});
    }
    list.store();
  }

  void remove(std::vector<const FileRecord*> files) {
    std::erase_if(files, [&](const FileRecord* file) {
      return local_->historyOf(*file).withLabel(name_) == nullptr;
    });
    if (files.empty())
      throw Problem{name_, "no file has this label", "'trevault labels' lists them"};
    const std::string question =
        fmt::format("delete the label {} of {}", name_, counted(files.size(), "file"));
    if (!isDry_ && !session_->output().ask(question)) {
      throw Problem{"label", "nothing was deleted", "'--yes' says that it is sure",
                    Exit::kCancelled};
    }
    LabelList list = local_->labelList(name_);
    const size_t done = forEachFile(*session_, "label", files, [&](const FileRecord& file) {
      if (isDry_) return;
      check(TrvsDeleteLabel(TRVS_CONTEXT, file.archive.c_str(), name_.c_str()),
            {.file = local_->shownPath(file), .archive = file.archive, .label = name_});
      list.remove(file.archive);
    });
    if (!isDry_) list.store();
    session_->output().line(fmt::format("{} {} of {}", isDry_ ? "would delete" : "deleted", name_,
                                        counted(done, "file")));
  }

  std::string revision_;
  bool moves_ = false;
  bool floats_ = false;
  bool deletes_ = false;
  bool isDry_ = false;
  std::string name_;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
};

class Labels : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isNull_, "-0,--null", "names alone, each ended by NUL");
    options.words(&names_, "FILE", Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    struct Known {
      size_t files = 0;
      std::string newest, revision;
    };
    std::map<std::string, Known> labels;
    const auto files = local.choose(names_);
    forEachFile(session, "labels", files, [&](const FileRecord& file) {
      for (const RevisionInfo& revision : local.historyOf(file).revisions()) {
        for (const std::string& name : revision.labels) {
          Known& known = labels[name];
          ++known.files;
          known.newest = std::max(known.newest, revision.minute());
          known.revision = revision.number;
        }
      }
    });
    for (auto& [name, known] : labels) {
      if (!names_.empty()) break;
      known.files += formerOf(local, name);
    }
    Output& output = session.output();
    std::vector<std::vector<std::string>> rows;
    std::vector<Fields> items;
    std::string names;
    for (const auto& [name, known] : labels) {
      names += name + '\0';
      items.push_back({{"label", name},
                       {"files", known.files},
                       {"total", files.size()},
                       {"newest", known.newest}});
      const bool isOne = files.size() == 1 && !names_.empty();
      rows.push_back({name, isOne ? known.revision : counted(known.files, "file"),
                      isOne ? known.newest : "newest " + known.newest});
    }
    if (isNull_) return output.bytes(names);
    const auto lines = table(rows);
    for (size_t i = 0; i < lines.size(); ++i) output.result(items[i], lines[i]);
  }

 private:
  // Files that are not in the project any more, by whatever name.
  static size_t formerOf(LocalFiles& local, const std::string& label) {
    size_t count = 0;
    for (const FileRecord& each : local.formerFiles(label)) {
      const auto& files = local.files();
      count += std::none_of(files.begin(), files.end(),
                            [&](const FileRecord& file) { return file.archive == each.archive; });
    }
    return count;
  }

  bool isNull_ = false;
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Command> makeLabel() { return makeCommand<Label>(); }
std::unique_ptr<Command> makeLabels() { return makeCommand<Labels>(); }

}  // namespace cli
