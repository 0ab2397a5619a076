// cli/commands/groups.cpp: promote and groups.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "btkf520/btkf520.h"
#include "cli/archives/promotion.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/text/text.h"

namespace cli {
namespace {

class Promote : public FileCommand {
 public:
  Promote() : FileCommand("promote", State::Use::kRead) {}

  void declare(Options& options) override {
    options.text(&group_, "-g,--group", "NAME", "from this group; else the one worked in");
    options.flag(&isAcross_, "--across", "even if the next group stands on another branch");
    declareDry(options);
    declareFiles(options, Need::kOptional);
  }

 private:
  void work() override {
    chooseGroup();
    const auto files = chosen();
    forEach(files, [&](const FileRecord& file) { promote(file); });
    if (done_ > 1) tellCount(done_, kPromote, " to " + next_);
    if (lacking_ > 0) output().line(lacking(lacking_, "nothing in " + group_));
  }

  void chooseGroup() {
    const PromotionModel& model = local().promotion();
    const std::string& project = local().directory().project;
    if (!group_.empty() && !model.isEmpty()) model.refuseUnknown(group_);
    if (group_.empty()) group_ = local().directory().group;
    if (!model.has(group_)) group_ = model.chosen(group_, project);
    if (group_.empty() && !model.isEmpty()) group_ = model.developmentGroups().front();
    if (group_.empty()) {
      throw misuse(project, "no promotion model",
                   "make one with 'trevault config set PROMOTE ...'");
    }
    next_ = model.next(group_);
    if (next_.empty()) throw misuse(group_, "the top group", "there is nothing above it");
  }

  void promote(const FileRecord& file) {
    const History& history = local().historyOf(file);
    const RevisionInfo* const lower = history.inGroup(group_);
    if (lower == nullptr) {
      ++lacking_;
      return;
    }
    const RevisionInfo* const higher = history.inGroup(next_);
    const bool isElsewhere = higher != nullptr && higher->branch != lower->branch;
    if (isElsewhere && !isAcross_) {
      throw Problem{shownPath(file),
                    fmt::format("{} on another branch is in {} now", higher->number, next_),
                    fmt::format("put {} there with '--across'", lower->number), Exit::kFailed,
                    TRVS_OTHER_BRANCH};
    }
    if (!isDry_) {
      Subject subject = about(file);
      subject.group = group_;
      check(TrvsPromoteRevision(TRVS_CONTEXT, file.archive.c_str(), group_.c_str(),
                                isAcross_ ? uint32_t{TRVS_PROMOTE_ACROSS} : 0),
            subject);
    }
    later([this] { ++done_; });
    std::string rest = " to " + next_;
    if (higher != nullptr && higher != lower) rest += fmt::format(", {} left it", higher->number);
    tell(file, said(kPromote), lower->number, rest,
         {{"before", numberOrNull(higher)}, {"group", next_}});
  }

  static constexpr Verb kPromote{"promote", "promoted"};

  std::string group_;
  std::string next_;
  bool isAcross_ = false;
  size_t done_ = 0;
  size_t lacking_ = 0;
};

class Groups : public FileCommand {
 public:
  Groups() : FileCommand("groups", State::Use::kRead) {}

  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also how many files each has");
  }

 private:
  void work() override {
    session().project().useConfiguration();
    const PromotionModel model = PromotionModel::present();
    if (model.isEmpty()) {
      return output().problem({session().project().name(), "no promotion model",
                               "make one with 'trevault config set PROMOTE ...'", Exit::kDone});
    }
    for (const std::string& line : linesOf(model.chains())) output().line(line);
    const auto counts = isAll_ ? countFiles() : std::map<std::string, size_t>();
    std::vector<std::vector<std::string>> rows;
    for (const auto& [group, kind] : groupsOf(model)) {
      const auto count = counts.find(group);
      const size_t files = count == counts.end() ? 0 : count->second;
      output().result({{"group", group},
                       {"next", model.next(group)},
                       {"kind", kind},
                       {"files", isAll_ ? Value(files) : Value()}},
                      "");
      rows.push_back({group, counted(files, "file")});
    }
    if (!isAll_) return;
    output().line("");
    for (const std::string& line : table(rows)) output().line(line);
  }

  // As a table with arrows between its columns.
  static std::vector<std::string> linesOf(const std::vector<std::vector<std::string>>& chains) {
    std::vector<size_t> widths;
    for (const auto& chain : chains) {
      widths.resize(std::max(widths.size(), chain.size()));
      for (size_t i = 0; i < chain.size(); ++i) {
        widths[i] = std::max(widths[i], columnsOf(chain[i]));
      }
    }
    std::vector<std::string> lines;
    for (const auto& chain : chains) {
      lines.emplace_back();
      for (size_t i = 0; i < chain.size(); ++i) {
        const bool isLast = i + 1 == chain.size();
        lines.back() += isLast ? chain[i] : padded(chain[i], widths[i]) + " -> ";
      }
    }
    return lines;
  }

  // Each with its kind, those below before those above.
  static std::vector<std::pair<std::string, std::string>> groupsOf(const PromotionModel& model) {
    std::vector<std::pair<std::string, std::string>> groups;
    for (const auto& chain : model.chains()) {
      for (const std::string& group : chain) {
        const auto known = std::find_if(groups.begin(), groups.end(),
                                        [&](const auto& each) { return each.first == group; });
        if (known != groups.end()) groups.erase(known);
        const bool isTop = model.next(group).empty();
        groups.emplace_back(group, model.isDevelopment(group) ? "development"
                                   : isTop                    ? "top"
                                                              : "between");
      }
    }
    return groups;
  }

  std::map<std::string, size_t> countFiles() {
    std::map<std::string, size_t> counts;
    forEach(local().choose({}), [&](const FileRecord& file) {
      for (const RevisionInfo& revision : local().historyOf(file).revisions()) {
        for (const std::string& group : revision.groups) ++counts[group];
      }
    });
    return counts;
  }

  bool isAll_ = false;
};

}  // namespace

std::unique_ptr<Command> makePromote() { return makeCommand<Promote>(); }
std::unique_ptr<Command> makeGroups() { return makeCommand<Groups>(); }

}  // namespace cli
