// btkf520/operations/report.cpp: picks revisions, puts them in order, and writes them in one of the
// forms.
#include "btkf520/operations/report.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/text.h"
#include "btkf520/operations/output.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/times.h"
#include "dates/packedtime.h"

namespace btkf {
namespace {

constexpr uint32_t kOptions = TRVS_LOG_OLDEST_FIRST | TRVS_LOG_NO_HEADING;
constexpr uint32_t kModes[] = {TRVS_LOG_FULL,    TRVS_LOG_BRIEF,  TRVS_LOG_NEWEST,
                               TRVS_LOG_LABELS,  TRVS_LOG_LOCKED, TRVS_LOG_BY_AUTHOR,
                               TRVS_LOG_BY_DATE, TRVS_LOG_GROUPS};
constexpr size_t kTitleWidth = 14;

using Names = std::vector<std::string>;

// In order, to be searched: both a client and an archive may tell any number of names.
Names listOf(const char* text) {
  Names names;
  for (std::string_view piece : pieces(textOf(text), ",")) {
    if (!trimmed(piece).empty()) names.emplace_back(trimmed(piece));
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Whether a list that asks for nothing in particular, or for one of `names`, is satisfied.
bool agrees(const Names& wanted, const Names& names) {
  return wanted.empty() || std::any_of(names.begin(), names.end(), [&](const std::string& name) {
           return std::binary_search(wanted.begin(), wanted.end(), name);
         });
}

std::string joinedNames(const Names& names) {
  std::string result;
  for (const std::string& name : names) result.append(result.empty() ? "" : ", ").append(name);
  return result;
}

std::string titled(std::string_view title, std::string_view text) {
  std::string result(title);
  result.append(":");
  result.append(kTitleWidth - std::min(result.size(), kTitleWidth - 1), ' ');
  return result.append(text);
}

// Which revisions a report is about.
class Selection {
 public:
  TrvsStatus parse(const ArchiveModel& model, const ReportRequest& request) {
    if (const TrvsStatus status = RevisionRange::parse(model, request.revisions, &range_)) {
      return status;
    }
    if (!textOf(request.dates).empty()) {
      const auto dates = parseDateRange(request.dates);
      if (!dates) return TRVS_BAD_DATE;
      dates_ = *dates;
    }
    authors_ = listOf(request.authors);
    lockers_ = listOf(request.lockers);
    labels_ = listOf(request.labels);
    groups_ = listOf(request.groups);
    words_ = upperCase(textOf(request.words));
    return TRVS_DONE;
  }

  bool takes(const Revision& revision, const Names& labels) const {
    return range_.contains(revision) && dates_.contains(revision.checkInTime) &&
           agrees(authors_, {revision.author}) && agrees(lockers_, lockersOf(revision)) &&
           agrees(labels_, labels) && agrees(groups_, revision.promotionGroups) &&
           upperCase(revision.changeDescription).find(words_) != std::string::npos;
  }

 private:
  RevisionRange range_;
  TimeRange dates_;
  Names authors_, lockers_, labels_, groups_;
  std::string words_;  // In upper case.
};

class Report {
 public:
  explicit Report(const ReportRequest& request)
      : request_(request), mode_(request.flags & ~kOptions) {}

  TrvsStatus run();

 private:
  bool has(uint32_t option) const { return (request_.flags & option) != 0; }

  void collectLabels();
  TrvsStatus pick();
  void order();
  TrvsStatus writeHeading();
  TrvsStatus writeBody();
  TrvsStatus writeFull(const Revision& revision);
  TrvsStatus writeByAuthor();
  TrvsStatus writeLabels();
  TrvsStatus writeEach(const Revision& revision, const Names& names);
  std::string brief(const Revision& revision) const;
  Names labelsOf(const Revision& revision) const;
  TrvsStatus title(std::string_view name, std::string_view text, TrvsOutput kind) {
    return text.empty() ? TRVS_DONE : output_.line(titled(name, text), kind);
  }

  const ReportRequest& request_;
  const uint32_t mode_;
  Task task_;
  ReportOutput output_;
  std::unordered_map<const Revision*, Names> labels_;  // Empty where nobody asks for them.
  std::vector<const Revision*> revisions_;
};

TrvsStatus Report::run() {
  if (std::find(std::begin(kModes), std::end(kModes), mode_) == std::end(kModes))
    return TRVS_MISUSE;
  if (const TrvsStatus status = task_.openToTell(request_.archive)) return status;
  if (const TrvsStatus status = output_.open(request_.output, {task_.archivePath()})) {
    return status;
  }
  if (const TrvsStatus status = pick()) return status;
  if (!has(TRVS_LOG_NO_HEADING)) {
    if (const TrvsStatus status = writeHeading()) return status;
  }
  if (const TrvsStatus status = writeBody()) return status;
  return output_.close();
}

void Report::collectLabels() {
  const bool areShown = mode_ == TRVS_LOG_FULL || mode_ == TRVS_LOG_NEWEST;
  if (!areShown && textOf(request_.labels).empty()) return;
  for (const Label& label : task_.model.labels) {
    labels_[task_.model.labelled(label)].push_back(label.name);
  }
}

TrvsStatus Report::pick() {
  collectLabels();
  Selection selection;
  if (const TrvsStatus status = selection.parse(task_.model, request_)) return status;
  task_.model.forEachRevision([&](const Revision& revision) {
    const bool isWanted = (mode_ != TRVS_LOG_NEWEST || isTip(task_.model, revision)) &&
                          (mode_ != TRVS_LOG_LOCKED || !revision.locks.empty()) &&
                          (mode_ != TRVS_LOG_GROUPS || !revision.promotionGroups.empty());
    if (isWanted && selection.takes(revision, labelsOf(revision))) revisions_.push_back(&revision);
  });
  order();
  return TRVS_DONE;
}

// Newest first, which for revisions of one branch is the order of their numbers.
void Report::order() {
  std::sort(revisions_.begin(), revisions_.end(), [this](const Revision* a, const Revision* b) {
    if (mode_ == TRVS_LOG_BY_DATE && a->checkInTime != b->checkInTime) {
      return a->checkInTime > b->checkInTime;
    }
    return a->number > b->number;
  });
  if (has(TRVS_LOG_OLDEST_FIRST)) std::reverse(revisions_.begin(), revisions_.end());
}

TrvsStatus Report::writeHeading() {
  const ArchiveModel& model = task_.model;
  Names attributes;
  if (model.has(TRVS_ATTRIBUTE_CHECK_LOCKS)) attributes.emplace_back("locks are checked");
  if (model.has(TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS)) attributes.emplace_back("one lock at a time");
  if (model.has(TRVS_ATTRIBUTE_READ_ONLY)) attributes.emplace_back("workfiles are read-only");
  if (model.has(TRVS_ATTRIBUTE_KEYWORDS)) attributes.emplace_back("keywords are expanded");
  if (model.has(TRVS_ATTRIBUTE_BINARY)) attributes.emplace_back("binary");
  if (model.has(TRVS_ATTRIBUTE_EXECUTABLE)) attributes.emplace_back("executable");
  const std::pair<const char*, std::string> lines[] = {
      {"Archive", task_.archiveText()},
      {"Workfile", model.workName},
      {"Owner", model.owner},
      {"Created", dates::isoText(model.creationTime)},
      {"Attributes", joinedNames(attributes)},
      {"Access", model.accessList.empty() ? "everybody" : joinedNames(model.accessList)},
      {"Revisions", std::to_string(model.revisionCount())},
      {"Locks", std::to_string(model.lockCount())},
  };
  for (const auto& [name, text] : lines) {
    if (const TrvsStatus status = title(name, text, TRVS_OUTPUT_HEADING)) return status;
  }
  if (!model.description.empty()) {
    if (const TrvsStatus status = output_.line("Description:", TRVS_OUTPUT_HEADING)) return status;
    if (const TrvsStatus status = output_.lines(model.description, "    ", TRVS_OUTPUT_HEADING)) {
      return status;
    }
  }
  return output_.line("", TRVS_OUTPUT_HEADING);
}

TrvsStatus Report::writeBody() {
  if (mode_ == TRVS_LOG_BY_AUTHOR) return writeByAuthor();
  if (mode_ == TRVS_LOG_LABELS) return writeLabels();
  for (const Revision* revision : revisions_) {
    if (const TrvsStatus status = client().goOn()) return status;
    TrvsStatus status = TRVS_DONE;
    switch (mode_) {
      case TRVS_LOG_LOCKED:
        status = writeEach(*revision, lockersOf(*revision));
        break;
      case TRVS_LOG_GROUPS:
        status = writeEach(*revision, revision->promotionGroups);
        break;
      case TRVS_LOG_BRIEF:
      case TRVS_LOG_BY_DATE:
        status = output_.line(brief(*revision), TRVS_OUTPUT_REVISION);
        break;
      default:
        status = writeFull(*revision);
        break;
    }
    if (status != TRVS_DONE) return status;
  }
  return TRVS_DONE;
}

TrvsStatus Report::writeFull(const Revision& revision) {
  Names branches;
  for (const Branch* branch : task_.model.branchesAt(revision.number)) {
    branches.push_back(branch->number.text());
  }
  const std::pair<const char*, std::string> lines[] = {
      {"Revision", revision.number.text()},
      {"Checked in", dates::isoText(revision.checkInTime)},
      {"Changed", dates::isoText(revision.workfileTime)},
      {"Author", revision.author},
      {"Size", std::to_string(revision.content.length)},
      {"Locked by", joinedNames(lockersOf(revision))},
      {"Labels", joinedNames(labelsOf(revision))},
      {"Groups", joinedNames(revision.promotionGroups)},
      {"Branches", joinedNames(branches)},
  };
  for (const auto& [name, text] : lines) {
    if (const TrvsStatus status = title(name, text, TRVS_OUTPUT_REVISION)) return status;
  }
  if (const TrvsStatus status =
          output_.lines(revision.changeDescription, "    ", TRVS_OUTPUT_CHANGE)) {
    return status;
  }
  return output_.line("", TRVS_OUTPUT_REVISION);
}

TrvsStatus Report::writeByAuthor() {
  std::map<std::string, std::vector<const Revision*>> authors;
  for (const Revision* revision : revisions_) authors[revision->author].push_back(revision);
  for (const auto& [author, revisions] : authors) {
    if (const TrvsStatus status = output_.line(author + ":", TRVS_OUTPUT_HEADING)) return status;
    for (const Revision* revision : revisions) {
      if (const TrvsStatus status = output_.line("    " + brief(*revision), TRVS_OUTPUT_REVISION)) {
        return status;
      }
    }
  }
  return TRVS_DONE;
}

// In the order in which the labels were made: that is how people tell releases.
TrvsStatus Report::writeLabels() {
  const std::unordered_set<const Revision*> picked(revisions_.begin(), revisions_.end());
  for (const Label& label : task_.model.labels) {
    const Revision* revision = task_.model.labelled(label);
    if (!picked.contains(revision)) continue;
    const std::string floats =
        label.isFloating() ? " (floats with " + label.target.text() + ")" : "";
    if (const TrvsStatus status =
            output_.line(label.name + floats + "  " + brief(*revision), TRVS_OUTPUT_REVISION)) {
      return status;
    }
  }
  return TRVS_DONE;
}

// One line for each locker or group.
TrvsStatus Report::writeEach(const Revision& revision, const Names& names) {
  for (const std::string& name : names) {
    if (const TrvsStatus status =
            output_.line(name + "  " + brief(revision), TRVS_OUTPUT_REVISION)) {
      return status;
    }
  }
  return TRVS_DONE;
}

std::string Report::brief(const Revision& revision) const {
  const std::string& change = revision.changeDescription;
  std::string result =
      revision.number.text() + "  " + dates::isoText(revision.checkInTime) + "  " + revision.author;
  const std::string_view first = trimmed(std::string_view(change).substr(0, change.find('\n')));
  if (!first.empty()) result.append("  ").append(first);
  return result;
}

Names Report::labelsOf(const Revision& revision) const {
  const auto found = labels_.find(&revision);
  return found == labels_.end() ? Names() : found->second;
}

}  // namespace

TrvsStatus reportLog(const ReportRequest& request) { return Report(request).run(); }

}  // namespace btkf
