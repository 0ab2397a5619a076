// btkf520/operations/revisions.cpp: from texts to revisions.
#include "btkf520/operations/revisions.h"

#include <algorithm>

namespace btkf {
namespace {

TrvsStatus findTip(const Branch* branch, const Revision** revision) {
  if (branch == nullptr || branch->tip() == nullptr) return TRVS_NO_REVISION;
  *revision = branch->tip();
  return TRVS_DONE;
}

TrvsStatus findNumbered(const ArchiveModel& model, const Number& number,
                        const Revision** revision) {
  if (number.isBranch()) return findTip(model.findBranch(number), revision);
  const Revision* found = model.findRevision(number);
  if (found == nullptr) return TRVS_NO_REVISION;
  *revision = found;
  return TRVS_DONE;
}

}  // namespace

TrvsStatus findRevision(const ArchiveModel& model, const char* text, const Revision** revision) {
  if (model.revisionCount() == 0) return TRVS_NO_REVISIONS;
  const std::string_view name = textOf(text);
  if (name.empty())
    return findTip(&model.trunk(), revision) == TRVS_DONE ? TRVS_DONE : TRVS_NO_REVISIONS;
  if (const auto number = Number::parse(name)) return findNumbered(model, *number, revision);
  const Label* label = model.findLabel(name);
  const Revision* found = label == nullptr ? nullptr : model.labelled(*label);
  if (found == nullptr) return TRVS_NO_SUCH_LABEL;
  *revision = found;
  return TRVS_DONE;
}

Number branchNumber(const Number& revision) {
  return revision.level() == 1 ? Number::trunk() : revision.parent();
}

const Branch* branchOf(const ArchiveModel& model, const Number& revision) {
  return model.findBranch(branchNumber(revision));
}

bool isTip(const ArchiveModel& model, const Revision& revision) {
  const Branch* branch = branchOf(model, revision.number);
  return branch != nullptr && branch->tip() == &revision;
}

const Revision* revisionInGroup(const ArchiveModel& model, std::string_view group) {
  const Revision* found = nullptr;
  model.forEachMarked([&](const Revision& revision) {
    const auto& groups = revision.promotionGroups;
    if (std::find(groups.begin(), groups.end(), group) != groups.end()) found = &revision;
  });
  return found;
}

bool isLockedBy(const Revision& revision, std::string_view user) {
  return lockOf(revision, user) != nullptr;
}

const Lock* lockOf(const Revision& revision, std::string_view user) {
  const auto found = std::find_if(revision.locks.begin(), revision.locks.end(),
                                  [user](const Lock& lock) { return lock.user == user; });
  return found == revision.locks.end() ? nullptr : &*found;
}

std::vector<std::string> lockersOf(const Revision& revision) {
  std::vector<std::string> users;
  for (const Lock& lock : revision.locks) users.push_back(lock.user);
  return users;
}

void removeLock(Revision* revision, std::string_view user) {
  std::erase_if(revision->locks, [user](const Lock& lock) { return lock.user == user; });
}

std::vector<const Revision*> lockedBy(const ArchiveModel& model, std::string_view user) {
  std::vector<const Revision*> found;
  model.forEachMarked([&](const Revision& revision) {
    if (isLockedBy(revision, user)) found.push_back(&revision);
  });
  return found;
}

TrvsStatus RevisionRange::parse(const ArchiveModel& model, const char* text, RevisionRange* range) {
  RevisionRange parsed;
  const std::string_view all = textOf(text);
  const size_t star = all.find('*');
  const auto alone = Number::parse(all);
  if (alone && alone->isBranch()) {
    if (model.findBranch(*alone) == nullptr) return TRVS_NO_REVISION;
    parsed.branch_ = *alone;
    *range = parsed;
    return TRVS_DONE;
  }
  const auto findEnd = [&model](std::string_view name, Number* end) {
    if (name.empty()) return TRVS_DONE;
    const Revision* revision = nullptr;
    const TrvsStatus status = findRevision(model, std::string(name).c_str(), &revision);
    if (status == TRVS_DONE) *end = revision->number;
    return status;
  };
  const std::string_view last = star == std::string_view::npos ? all : all.substr(star + 1);
  if (const TrvsStatus status = findEnd(all.substr(0, star), &parsed.from_)) return status;
  if (const TrvsStatus status = findEnd(last, &parsed.to_)) return status;
  *range = parsed;
  return TRVS_DONE;
}

bool RevisionRange::contains(const Revision& revision) const {
  const Number& number = revision.number;
  if (!branch_.isEmpty()) return branchNumber(number) == branch_;
  return (from_.isEmpty() || from_ <= number) && (to_.isEmpty() || number <= to_);
}

}  // namespace btkf
