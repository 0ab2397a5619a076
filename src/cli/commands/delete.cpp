// cli/commands/delete.cpp: delete: revisions that are to go for good.
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/commands/commands.h"
#include "cli/commands/filecommand.h"
#include "cli/text/text.h"

namespace cli {
namespace {

class Delete : public FileCommand {
 public:
  Delete() : FileCommand("delete", State::Use::kRead) {}

  void declare(Options& options) override {
    options.text(&range_, "-r,--revision", "RANGE", "which: REV or FROM..TO");
    options.flag(&branches_, "--branches", "also the branches that start there");
    options.flag(&isForced_, "--force", "with --yes: without a question");
    declareDry(options);
    declareFiles(options, Need::kRequired);
  }

 private:
  void work() override {
    if (range_.empty()) {
      throw misuse("delete", "which revisions? give -r",
                   "'trevault remove' takes a file out of the project");
    }
    const bool isSaid = output().manner().yes;
    if (!isDry_ && !isForced_ && (isSaid || !output().isAnswered())) {
      throw Problem{"delete", "revisions would be gone for good", "'--force --yes' says so",
                    isSaid ? Exit::kMisused : Exit::kFailed};
    }
    std::vector<Plan> plans = collect(chosen());
    size_t count = 0;
    for (const Plan& each : plans) count += each.numbers.size();
    if (count == 0) return;
    if (!isDry_) list(plans);
    beSure(fmt::format("delete {} for good", counted(count, "revision")));
    for (const Plan& each : plans) remove(each);
  }

  struct Plan {
    const FileRecord* file;
    std::string range;  // As the engine takes it.
    std::vector<std::string> numbers;
  };

  std::vector<Plan> collect(const Files& files) {
    std::vector<Plan> plans;
    forEach(files, [&](const FileRecord& file) {
      Plan plan{&file, rangeOf(file), {}};
      plan.numbers = fetchList(
          [&](char* buffer, int32_t size) {
            return TrvsListRevisions(TRVS_CONTEXT, file.archive.c_str(), plan.range.c_str(), buffer,
                                     size);
          },
          about(file, range_));
      if (branches_) addBranches(file, &plan);
      if (plan.numbers.empty()) {
        throw Problem{shownPath(file), fmt::format("no revisions from {}", range_)};
      }
      if (branches_) plan.range += '+';
      plans.push_back(std::move(plan));
    });
    return plans;
  }

  std::string rangeOf(const FileRecord& file) {
    const Ends ends = endsOf(range_);
    if (!ends.isRange) return local().revisionOf(file, range_).number;
    const auto end = [&](const std::string& text) {
      return text.empty() ? text : local().revisionOf(file, text).number;
    };
    return end(ends.first) + '*' + end(ends.last);
  }

  void addBranches(const FileRecord& file, Plan* plan) {
    const std::vector<std::string> named = plan->numbers;
    for (const RevisionInfo& each : local().historyOf(file).revisions()) {
      const bool isIn =
          std::find(plan->numbers.begin(), plan->numbers.end(), each.number) != plan->numbers.end();
      const bool isAfter = std::any_of(named.begin(), named.end(), [&](const std::string& start) {
        return each.number.starts_with(start + '.');
      });
      if (isAfter && !isIn) plan->numbers.push_back(each.number);
    }
  }

  // A question about loss shows what is lost, and where the question stands.
  void list(const std::vector<Plan>& plans) {
    if (output().manner().yes) return;
    std::vector<std::vector<std::string>> rows;
    for (const Plan& plan : plans) {
      for (const std::string& number : plan.numbers) {
        const RevisionInfo* const found = local().historyOf(*plan.file).find(number);
        if (found == nullptr) continue;
        rows.push_back({local().shownPath(*plan.file), number, found->minute(), found->author,
                        shown(found->firstLine())});
      }
    }
    for (const std::string& line : table(rows)) output().line(line);
  }

  void remove(const Plan& plan) {
    const FileRecord& file = *plan.file;
    try {
      if (!isDry_) {
        check(TrvsDeleteRevisions(TRVS_CONTEXT, file.archive.c_str(), plan.range.c_str()),
              about(file, range_));
      }
      for (const std::string& number : plan.numbers) {
        tell(file, said({"delete", "deleted"}), number);
      }
    } catch (const Problem& problem) {
      output().problem(problem);
    }
  }

  std::string range_;
  bool branches_ = false;
  bool isForced_ = false;
};

}  // namespace

std::unique_ptr<Command> makeDelete() { return makeCommand<Delete>(); }

}  // namespace cli
