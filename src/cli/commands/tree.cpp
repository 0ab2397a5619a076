// cli/commands/tree.cpp: tree: the revisions of a file as they come from each other.
#include <fmt/format.h>

#include <map>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/commands/revisionfields.h"
#include "cli/pictures/treepicture.h"
#include "cli/text/text.h"
#include "os/file.h"
#include "os/place.h"
#include "os/sibling.h"

namespace cli {
namespace {

class Tree : public FileCommand {
 public:
  Tree() : FileCommand("tree", State::Use::kRead) { takeArchives(); }

  void declare(Options& options) override {
    options.text(&picture_, "--svg", "OUT",
                 "draw one file there, for a browser; - is the standard output");
    options.flag(&isAscii_, "--ascii", "no box characters");
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    output_ = &output();
    if (!picture_.empty()) return picture();
    isWide_ = !isAscii_ && output_->isWide();
    forEach(chosen(), [&](const FileRecord& file) {
      take(local().historyOf(file));
      here_ = local().hereOf(file);
      output_->result({{"file", file.path}, {"branches", std::vector<Value>{json("1")}}}, "");
      output_->line(shownPath(file));
      output_->line(mark(true) + "trunk");
      draw("1", "    ");
    });
  }

  void picture() {
    const Files files = chosen();
    if (files.size() > 1) throw misuse("tree", "--svg draws one file", "name it");
    for (const FileRecord* file : files) {
      const History& history = local().historyOf(*file);
      const RevisionInfo* const here = local().hereOf(*file);
      const std::string svg = svgOf({.title = file->path,
                                     .revisions = history.revisions(),
                                     .locks = history.locks(),
                                     .here = here == nullptr ? "" : here->number});
      if (picture_ == "-" && output_->isText()) {
        output_->bytes(svg);
      } else if (picture_ == "-") {
        output_->result({{"file", file->path}, {"content", svg}}, "");
      } else {
        store(session().placeToWrite(picture_), svg);
        output_->result({{"file", file->path}, {"action", "drawn"}, {"picture", picture_}},
                        fmt::format("drew {} in {}", shownPath(*file), shown(picture_)));
      }
    }
  }

  void store(const std::string& path, const std::string& svg) {
    os::Place place;
    os::File old;
    const bool hasPlace = os::Place::find(path, &place) == os::FileResult::kDone;
    const os::FileResult opened =
        hasPlace ? old.open(place, os::File::Access::kUpdate) : os::FileResult::kFailed;
    const bool isThere = opened == os::FileResult::kDone;
    const bool isDone =
        (isThere || opened == os::FileResult::kMissing) &&
        os::replaceFile(place, isThere ? &old : nullptr, svg, nullptr) == os::FileResult::kDone;
    if (!isDone) throw Problem{picture_, "can't be written", "see who owns it and its directory"};
  }

  std::string mark(bool isLast) const {
    if (isWide_) return isLast ? "└── " : "├── ";
    return isLast ? "`-- " : "|-- ";
  }
  std::string bar(bool isLast) const { return isLast ? "    " : isWide_ ? "│   " : "|   "; }

  void take(const History& history) {
    branches_.clear();
    starting_.clear();
    for (const RevisionInfo& each : history.revisions()) {
      auto& branch = branches_[each.branch];
      if (branch.empty() && each.branch != "1")
        starting_[startOf(each.branch)].push_back(each.branch);
      branch.push_back(&each);
    }
  }

  void draw(const std::string& branch, const std::string& indent) {
    const auto& revisions = branches_[branch];
    for (size_t i = 0; i < revisions.size(); ++i) {
      const bool isLast = i + 1 == revisions.size();
      const std::string begin = indent + mark(isLast);
      output_->line(begin + lineOf(*revisions[i], columnsOf(begin)));
      const auto& branches = starting_[revisions[i]->number];
      for (size_t j = 0; j < branches.size(); ++j) {
        const bool isLastBranch = j + 1 == branches.size();
        const std::string below = indent + bar(isLast);
        output_->line(below + mark(isLastBranch) + branches[j]);
        draw(branches[j], below + bar(isLastBranch));
      }
    }
  }

  // Where the line is too long the message gives way, as the marks say more.
  std::string lineOf(const RevisionInfo& revision, size_t taken) const {
    std::string text =
        fmt::format("{}  {}  {}  ", revision.number, revision.minute(), shown(revision.author));
    std::string marks;
    taken += columnsOf(text);
    const auto add = [&](const std::string& mark, Colour colour) {
      const std::string_view gap = marks.empty() ? "  " : " ";
      marks.append(gap).append(output_->coloured(mark, colour));
      taken += columnsOf(gap) + columnsOf(mark);
    };
    for (const std::string& each : revision.labels) add("[" + each + "]", Colour::kYellow);
    for (const std::string& each : revision.groups) add("<" + each + ">", Colour::kMagenta);
    if (!revision.lockers.empty()) add("locked by " + listed(revision.lockers), Colour::kRed);
    if (here_ == &revision) {
      marks += "  here";
      taken += 6;
    }
    return text + output_->fitted(shown(revision.firstLine()), taken) + marks;
  }

  Value json(const std::string& branch) {
    std::vector<Value> revisions;
    for (const RevisionInfo* each : branches_[branch]) {
      Fields item = fieldsOf(*each);
      std::vector<Value> branches;
      for (const std::string& more : starting_[each->number]) branches.push_back(json(more));
      item.emplace_back("branches", branches);
      item.emplace_back("here", here_ == each);
      revisions.emplace_back(item);
    }
    return Fields{{"branch", branch}, {"revisions", revisions}};
  }

  std::string picture_;  // Where it goes; empty for none.
  bool isAscii_ = false;
  bool isWide_ = false;
  Output* output_ = nullptr;
  std::map<std::string, std::vector<const RevisionInfo*>> branches_;
  std::map<std::string, std::vector<std::string>> starting_;  // Branches, by where they start.
  const RevisionInfo* here_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeTree() { return makeCommand<Tree>(); }

}  // namespace cli
