// cli/commands/labels.cpp: label and labels.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/text/text.h"

namespace cli {
namespace {

constexpr size_t kMinute = 16;  // Letters of a time without the seconds.

bool isReserved(const std::string& name) {
  for (const char* word : {"here", "followed", "tip", "trunk"}) {
    if (name == word) return true;
  }
  return name.empty() || isNumber(name) || name.find("..") != std::string::npos ||
         name.find_first_of("@:") != std::string::npos;
}

class Label : public FileCommand {
 public:
  Label() : FileCommand("label", State::Use::kChange) {}

  void declare(Options& options) override {
    options.text(&revision_, "-r,--revision", "REV", "other revisions than those here");
    options.flag(&moves_, "--move", "it may stand at others until now");
    options.flag(&floats_, "--float", "keep to the tip of the revision's branch");
    options.flag(&deletes_, "-d,--delete", "delete it");
    declareDry(options);
    options.word(&name_, "NAME", Need::kRequired, "the label");
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    if (!deletes_) refuseName();
    auto files = chosen();
    const auto former =
        isWhole() && deletes_ ? local().formerFiles(name_) : std::vector<FileRecord>();
    for (const FileRecord& each : former) files.push_back(&each);
    if (deletes_) return remove(files);
    local().refuseUnknown(revision_, files);
    std::vector<std::string> numbers;
    if (!findAll(files, &numbers)) {
      throw Problem{"label", "nothing was labelled", ""};
    }
    size_t place = 0;
    const size_t done =
        forEach(files, [&](const FileRecord& file) { set(file, numbers[place++]); });
    if (!isDry_) local().listLabelled(name_, labelled_);
    if (done == 0 && output().hasProblems()) return;
    output().line(
        fmt::format("{} {} with {}", said({"label", "labelled"}), counted(done, "file"), name_));
  }

  // What would mean something else where a revision is named. Other clients may have set one.
  void refuseName() const {
    const bool isGroup = local().promotion().has(name_);
    if (!isGroup && !isReserved(name_)) return;
    throw misuse(
        name_.empty() ? "''" : name_,
        isGroup ? "is a group, so no label can be called that" : "a label can't be called that",
        "choose another name");
  }

  Subject labelled(const FileRecord& file, const std::string& number = "") const {
    Subject subject = about(file, number);
    subject.label = name_;
    return subject;
  }

  // All files are looked at first: all get the label, or none.
  bool findAll(const Files& files, std::vector<std::string>* numbers) {
    bool areAll = true;
    for (const FileRecord* file : files) {
      output().mayStop();
      try {
        numbers->push_back(find(*file));
      } catch (const Problem& problem) {
        output().problem(problem);
        areAll = false;
      }
    }
    return areAll;
  }

  std::string find(const FileRecord& file) {
    const std::string path = shownPath(file);
    if (revision_.empty() && local().standingOf(file) == Standing::kChanged) {
      throw Problem{
          path,
          fmt::format("changed since {}, and changes have no label", local().hereOf(file)->number),
          "check it in, or label the tips with '-r tip'"};
    }
    const RevisionInfo& wanted = local().revisionOf(file, revision_.empty() ? "here" : revision_);
    const RevisionInfo* const now = local().historyOf(file).withLabel(name_);
    if (now != nullptr && now != &wanted && !moves_) {
      throw Problem{path, fmt::format("{} stands at {} already", name_, now->number),
                    fmt::format("'--move' puts it on {}", wanted.number)};
    }
    return wanted.number;
  }

  void set(const FileRecord& file, const std::string& number) {
    const RevisionInfo* const now = local().historyOf(file).withLabel(name_);
    const std::string before = now == nullptr ? "" : now->number;
    if (!isDry_) {
      uint32_t flags = moves_ ? uint32_t{TRVS_LABEL_MOVE} : 0;
      if (floats_) flags |= TRVS_LABEL_FLOATS;
      check(TrvsSetLabel(TRVS_CONTEXT, file.archive.c_str(), name_.c_str(), number.c_str(), flags),
            labelled(file, number));
    }
    const bool isMoved = !before.empty() && before != number;
    const std::string line =
        fmt::format("moved {} of {} from {} to {}", name_, shownPath(file), before, number);
    later([=, this, &file] {
      labelled_.push_back({file.path, file.archive, number});
      output().result({{"file", file.path},
                       {"action", "labelled"},
                       {"revision", number},
                       {"before", orNull(before)}},
                      isMoved ? line : "");
    });
  }

  void remove(Files files) {
    local().refuseUnknown("label:" + name_, files);
    std::erase_if(files, [&](const FileRecord* file) {
      return local().historyOf(*file).withLabel(name_) == nullptr;
    });
    if (files.empty())
      throw Problem{name_, "no file has this label", "'trevault labels' lists them"};
    const std::string question =
        fmt::format("delete the label {} of {}", name_, counted(files.size(), "file"));
    if (!isDry_ && !ask(question)) {
      throw Problem{"label", "nothing was deleted", "'--yes' says that it is sure",
                    output().exitOfNo()};
    }
    std::set<std::string> archives;
    const size_t done = forEach(files, [&](const FileRecord& file) {
      if (isDry_) return;
      check(TrvsDeleteLabel(TRVS_CONTEXT, file.archive.c_str(), name_.c_str()), labelled(file));
      later([&] { archives.insert(file.archive); });
    });
    if (!isDry_) local().labelList(name_).remove(archives);
    output().line(
        fmt::format("{} {} of {}", said({"delete", "deleted"}), name_, counted(done, "file")));
  }

  std::string revision_;
  bool moves_ = false;
  bool floats_ = false;
  bool deletes_ = false;
  std::vector<LabelledFile> labelled_;
  std::string name_;
};

class Labels : public FileCommand {
 public:
  Labels() : FileCommand("labels", State::Use::kRead) {}

  void declare(Options& options) override {
    declareNull(options);
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    const auto files = chosen();
    const bool isOne = files.size() == 1 && !names_.empty();
    const auto labels = labelsOf(files, isOne || !output().isText());
    std::vector<std::vector<std::string>> rows;
    std::vector<Fields> items;
    std::string names;
    for (const auto& [name, known] : labels) {
      names += name + '\0';
      items.push_back({{"label", name},
                       {"files", known.files},
                       {"total", files.size()},
                       {"newest", isoTime(known.newest)},
                       {"floats", !known.branch.empty()}});
      rows.push_back({name, isOne ? known.revision : counted(known.files, "file"),
                      (isOne ? "" : "newest ") + known.newest.substr(0, kMinute),
                      isOne ? floatText(known.branch) : ""});
    }
    if (isNull_) return output().bytes(names);
    output().results(items, rows);
    if (rows.empty()) tellNothing("no labels");
  }

  struct Known {
    size_t files = 0;
    std::string newest, revision;
    std::string branch;  // That it floats with in some file.
  };

  std::map<std::string, Known> labelsOf(const Files& files, bool asksForBranches) {
    std::map<std::string, Known> labels;
    forEach(files, [&](const FileRecord& file) {
      if (asksForBranches) {
        for (const auto& [name, branch] : floatingLabels(file.archive, shownPath(file))) {
          labels[name].branch = branch;
        }
      }
      for (const RevisionInfo& revision : local().historyOf(file).revisions()) {
        for (const std::string& name : revision.labels) {
          Known& known = labels[name];
          ++known.files;
          known.newest = std::max(known.newest, revision.time);
          known.revision = revision.number;
        }
      }
    });
    for (auto& [name, known] : labels) {
      if (isWhole()) known.files += formerOf(name);
    }
    return labels;
  }

  static std::string floatText(const std::string& branch) {
    if (branch.empty()) return "";
    return "floats with " + (branch == "1" ? "trunk" : branch);
  }

  // Files that are not in the project any more, by whatever name.
  size_t formerOf(const std::string& label) const {
    size_t count = 0;
    for (const FileRecord& each : local().formerFiles(label)) {
      const auto& files = local().files();
      count += std::none_of(files.begin(), files.end(),
                            [&](const FileRecord& file) { return file.archive == each.archive; });
    }
    return count;
  }
};

}  // namespace

std::unique_ptr<Command> makeLabel() { return makeCommand<Label>(); }
std::unique_ptr<Command> makeLabels() { return makeCommand<Labels>(); }

}  // namespace cli
