// btkf520/operations/report.cpp: picks revisions, puts them in order, and writes them in one of the
// forms.
#include "btkf520/operations/report.h"

#include <algorithm>
#include <string>
#include <string_view>
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

Names listOf(const char* text) {
  Names names;
  for (std::string_view piece : pieces(textOf(text), ",")) {
    if (!trimmed(piece).empty()) names.emplace_back(trimmed(piece));
  }
  return names;
}

bool contains(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Whether a list that asks for nothing in particular, or for one of `names`, is satisfied.
bool agrees(const Names& wanted, const Names& names) {
  return wanted.empty() || std::any_of(names.begin(), names.end(), [&](const std::string& name) {
           return contains(wanted, name);
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
  Status parse(const ArchiveModel& model, const ReportRequest& request) {
    if (const Status status = RevisionRange::parse(model, request.revisions, &range_)) {
      return status;
    }
    if (!textOf(request.dates).empty()) {
      const auto dates = parseDateRange(request.dates);
      if (!dates) return kBadDate;
      dates_ = *dates;
    }
    authors_ = listOf(request.authors);
    lockers_ = listOf(request.lockers);
    labels_ = listOf(request.labels);
    groups_ = listOf(request.groups);
    words_ = upperCase(textOf(request.words));
    return kDone;
  }

  bool takes(const Revision& revision, const Names& labels) const {
    return range_.contains(revision) && dates_.contains(revision.checkInTime) &&
           agrees(authors_, {revision.author}) && agrees(lockers_, revision.lockers) &&
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

  Status run();

 private:
  bool has(uint32_t option) const { return (request_.flags & option) != 0; }

  Status pick();
  void order();
  Status writeHeading();
  Status writeBody();
  Status writeFull(const Revision& revision);
  Status writeByAuthor();
  Status writeLabels();
  Status writeEach(const Revision& revision, const Names& names);
  std::string brief(const Revision& revision) const;
  Names labelsOf(const Revision& revision) const;
  Status title(std::string_view name, std::string_view text, Output kind) {
    return text.empty() ? kDone : output_.line(titled(name, text), kind);
  }

  const ReportRequest& request_;
  const uint32_t mode_;
  Task task_;
  ReportOutput output_;
  std::vector<const Revision*> revisions_;
};

Status Report::run() {
  if (std::find(std::begin(kModes), std::end(kModes), mode_) == std::end(kModes)) return kMisuse;
  if (const Status status = task_.openToTell(request_.archive)) return status;
  if (const Status status = output_.open(request_.output)) return status;
  if (const Status status = pick()) return status;
  if (!has(TRVS_LOG_NO_HEADING)) {
    if (const Status status = writeHeading()) return status;
  }
  if (const Status status = writeBody()) return status;
  return output_.close();
}

Status Report::pick() {
  Selection selection;
  if (const Status status = selection.parse(task_.model, request_)) return status;
  task_.model.forEachRevision([&](const Revision& revision) {
    const bool isWanted = (mode_ != TRVS_LOG_NEWEST || isTip(task_.model, revision)) &&
                          (mode_ != TRVS_LOG_LOCKED || !revision.lockers.empty()) &&
                          (mode_ != TRVS_LOG_GROUPS || !revision.promotionGroups.empty());
    if (isWanted && selection.takes(revision, labelsOf(revision))) revisions_.push_back(&revision);
  });
  order();
  return kDone;
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

Status Report::writeHeading() {
  const ArchiveModel& model = task_.model;
  Names attributes;
  if (model.has(kCheckLocks)) attributes.emplace_back("locks are checked");
  if (model.has(kExclusiveLocks)) attributes.emplace_back("one lock at a time");
  if (model.has(kWriteProtected)) attributes.emplace_back("workfiles are read-only");
  if (model.has(kExpandKeywords)) attributes.emplace_back("keywords are expanded");
  if (model.has(kBinary)) attributes.emplace_back("binary");
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
    if (const Status status = title(name, text, Output::kHeading)) return status;
  }
  if (!model.description.empty()) {
    if (const Status status = output_.line("Description:", Output::kHeading)) return status;
    if (const Status status = output_.lines(model.description, "    ", Output::kHeading)) {
      return status;
    }
  }
  return output_.line("", Output::kHeading);
}

Status Report::writeBody() {
  if (mode_ == TRVS_LOG_BY_AUTHOR) return writeByAuthor();
  if (mode_ == TRVS_LOG_LABELS) return writeLabels();
  for (const Revision* revision : revisions_) {
    if (const Status status = client().goOn()) return status;
    Status status = kDone;
    switch (mode_) {
      case TRVS_LOG_LOCKED:
        status = writeEach(*revision, revision->lockers);
        break;
      case TRVS_LOG_GROUPS:
        status = writeEach(*revision, revision->promotionGroups);
        break;
      case TRVS_LOG_BRIEF:
      case TRVS_LOG_BY_DATE:
        status = output_.line(brief(*revision), Output::kRevision);
        break;
      default:
        status = writeFull(*revision);
        break;
    }
    if (status != kDone) return status;
  }
  return kDone;
}

Status Report::writeFull(const Revision& revision) {
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
      {"Locked by", joinedNames(revision.lockers)},
      {"Labels", joinedNames(labelsOf(revision))},
      {"Groups", joinedNames(revision.promotionGroups)},
      {"Branches", joinedNames(branches)},
  };
  for (const auto& [name, text] : lines) {
    if (const Status status = title(name, text, Output::kRevision)) return status;
  }
  if (const Status status = output_.lines(revision.changeDescription, "    ", Output::kText)) {
    return status;
  }
  return output_.line("", Output::kRevision);
}

Status Report::writeByAuthor() {
  Names authors;
  for (const Revision* revision : revisions_) {
    if (!contains(authors, revision->author)) authors.push_back(revision->author);
  }
  std::sort(authors.begin(), authors.end());
  for (const std::string& author : authors) {
    if (const Status status = output_.line(author + ":", Output::kHeading)) return status;
    for (const Revision* revision : revisions_) {
      if (revision->author != author) continue;
      if (const Status status = output_.line("    " + brief(*revision), Output::kRevision)) {
        return status;
      }
    }
  }
  return kDone;
}

// In the order in which the labels were made: that is how people tell releases.
Status Report::writeLabels() {
  for (const Label& label : task_.model.labels) {
    const Revision* revision = task_.model.labelled(label);
    if (std::find(revisions_.begin(), revisions_.end(), revision) == revisions_.end()) continue;
    const std::string floats =
        label.isFloating() ? " (floats with " + label.target.text() + ")" : "";
    if (const Status status =
            output_.line(label.name + floats + "  " + brief(*revision), Output::kRevision)) {
      return status;
    }
  }
  return kDone;
}

// One line for each locker or group.
Status Report::writeEach(const Revision& revision, const Names& names) {
  for (const std::string& name : names) {
    if (const Status status = output_.line(name + "  " + brief(revision), Output::kRevision)) {
      return status;
    }
  }
  return kDone;
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
  Names names;
  for (const Label& label : task_.model.labels) {
    if (task_.model.labelled(label) == &revision) names.push_back(label.name);
  }
  return names;
}

}  // namespace

Status reportLog(const ReportRequest& request) { return Report(request).run(); }

}  // namespace btkf
