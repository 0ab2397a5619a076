// cli/commands/groups.cpp: promote and groups.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/archives/promotion.h"
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

class Promote : public Command {
 public:
  void declare(Options& options) override {
    options.text(&group_, "-g,--group", "NAME", "from this group; else the one worked in");
    options.flag(&isAcross_, "--across", "even if the next group stands on another branch");
    options.flag(&isDry_, "-n,--dry-run", "say what would be done");
    options.words(&names_, "FILE", Need::kOptional, "else all of the project");
  }

  void run(Session& session) override {
    LocalFiles local(session, State::Use::kRead);
    session_ = &session;
    local_ = &local;
    chooseGroup();
    const auto files = local.choose(names_);
    forEachFile(session, "promote", files, [&](const FileRecord& file) { promote(file); });
    if (done_ > 1) {
      session.output().line(fmt::format("{} {} to {}", counted(done_, "file"),
                                        isDry_ ? "to promote" : "promoted", next_));
    }
    if (lacking_ > 0) {
      session.output().line(fmt::format("{} {} nothing in {}", counted(lacking_, "file"),
                                        lacking_ == 1 ? "has" : "have", group_));
    }
  }

 private:
  void chooseGroup() {
    const PromotionModel& model = local_->promotion();
    const std::string& project = local_->directory().project;
    if (group_.empty()) group_ = local_->directory().group;
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
    const History& history = local_->historyOf(file);
    const RevisionInfo* const lower = history.inGroup(group_);
    if (lower == nullptr) {
      ++lacking_;
      return;
    }
    const RevisionInfo* const higher = history.inGroup(next_);
    const bool isElsewhere = higher != nullptr && higher->branch != lower->branch;
    if (isElsewhere && !isAcross_) {
      throw Problem{local_->shownPath(file),
                    fmt::format("{} on another branch is in {} now", higher->number, next_),
                    fmt::format("put {} there with '--across'", lower->number), Exit::kFailed,
                    TRVS_OTHER_BRANCH};
    }
    if (!isDry_) {
      check(TrvsPromoteRevision(TRVS_CONTEXT, file.archive.c_str(), group_.c_str(),
                                isAcross_ ? uint32_t{TRVS_PROMOTE_ACROSS} : 0),
            {.file = local_->shownPath(file), .archive = file.archive, .group = group_});
    }
    ++done_;
    tell(file, lower->number, higher == nullptr ? "" : higher->number);
  }

  void tell(const FileRecord& file, const std::string& number, const std::string& before) const {
    const char* const verb = isDry_ ? "would promote" : "promoted";
    std::string line = fmt::format("{} {} {} to {}", verb, local_->shownPath(file), number, next_);
    if (!before.empty() && before != number) line += fmt::format(", {} left it", before);
    session_->output().result({{"file", file.path},
                               {"action", verb},
                               {"revision", number},
                               {"before", before.empty() ? Value() : Value(before)},
                               {"group", next_}},
                              line);
  }

  std::string group_;
  std::string next_;
  bool isAcross_ = false;
  bool isDry_ = false;
  std::vector<std::string> names_;
  Session* session_ = nullptr;
  LocalFiles* local_ = nullptr;
  size_t done_ = 0;
  size_t lacking_ = 0;
};

class Groups : public Command {
 public:
  void declare(Options& options) override {
    options.flag(&isAll_, "-a,--all", "also how many files each has");
  }

  void run(Session& session) override {
    session.project().useConfiguration();
    const PromotionModel model = PromotionModel::present();
    if (model.isEmpty()) {
      return session.output().problem({session.project().name(), "no promotion model",
                                       "make one with 'trevault config set PROMOTE ...'",
                                       Exit::kDone});
    }
    for (const std::string& line : linesOf(model.chains())) session.output().line(line);
    const auto counts = isAll_ ? countFiles(session) : std::map<std::string, size_t>();
    std::vector<std::vector<std::string>> rows;
    for (const auto& [group, kind] : groupsOf(model)) {
      const auto count = counts.find(group);
      const size_t files = count == counts.end() ? 0 : count->second;
      session.output().result({{"group", group},
                               {"next", model.next(group)},
                               {"kind", kind},
                               {"files", isAll_ ? Value(files) : Value()}},
                              "");
      rows.push_back({group, counted(files, "file")});
    }
    if (!isAll_) return;
    session.output().line("");
    for (const std::string& line : table(rows)) session.output().line(line);
  }

 private:
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

  static std::map<std::string, size_t> countFiles(Session& session) {
    LocalFiles local(session, State::Use::kRead);
    std::map<std::string, size_t> counts;
    forEachFile(session, "groups", local.choose({}), [&](const FileRecord& file) {
      for (const RevisionInfo& revision : local.historyOf(file).revisions()) {
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
