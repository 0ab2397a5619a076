// cli/archives/history.cpp: the engine's tree of records as a list of revisions.
#include "cli/archives/history.h"

#include <algorithm>
#include <cstdlib>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/text/text.h"

namespace cli {
namespace {

bool has(const std::vector<std::string>& list, std::string_view name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

void take(const TrvsRevTree& record, std::vector<RevisionInfo>* to) {
  const std::string text = record.text;
  if ((record.flags & TRVS_TREE_REVISION) != 0) {
    to->emplace_back().number = text;
    to->back().branch = branchOf(text);
  }
  if (to->empty()) return;
  RevisionInfo& revision = to->back();
  if ((record.flags & TRVS_TREE_TIME) != 0) revision.time = text;
  if ((record.flags & TRVS_TREE_AUTHOR) != 0) revision.author = text;
  if ((record.flags & TRVS_TREE_CHANGE) != 0) revision.message = text;
  if ((record.flags & TRVS_TREE_LABEL) != 0) revision.labels.push_back(text);
  if ((record.flags & TRVS_TREE_GROUP) != 0) revision.groups.push_back(text);
  if ((record.flags & TRVS_TREE_LOCKER) != 0) revision.lockers.push_back(text);
}

}  // namespace

std::string isoTime(std::string time) {
  std::replace(time.begin(), time.end(), ' ', 'T');
  return time;
}

std::string noted(const std::string& text, const LockInfo& lock) {
  return lock.note.empty() ? text : text + " (" + lock.note + ')';
}

bool RevisionInfo::isLockedBy(std::string_view user) const { return has(lockers, user); }

std::map<std::string, std::string> floatingLabels(const std::string& archive,
                                                  const std::string& file) {
  const auto texts = fetchList(
      [&](char* buffer, int32_t size) {
        return TrvsListLabels(TRVS_CONTEXT, archive.c_str(), buffer, size);
      },
      {.file = file, .archive = archive});
  std::map<std::string, std::string> found;
  for (size_t i = 0; i + 1 < texts.size(); i += 2) {
    const std::string& target = texts[i + 1];
    const bool isBranch = std::count(target.begin(), target.end(), '.') % 2 == 0;
    if (isBranch) found[texts[i]] = target;
  }
  return found;
}

std::map<std::string, StoredContent> contentsOf(const std::string& archive,
                                                const std::string& file) {
  const auto texts = fetchList(
      [&](char* buffer, int32_t size) {
        return TrvsListContents(TRVS_CONTEXT, archive.c_str(), nullptr, buffer, size);
      },
      {.file = file, .archive = archive});
  constexpr size_t kTexts = 5;  // Of each revision.
  std::map<std::string, StoredContent> contents;
  for (size_t i = 0; i + kTexts <= texts.size(); i += kTexts) {
    contents[texts[i]] = {std::strtoll(texts[i + 1].c_str(), nullptr, 10), texts[i + 2]};
  }
  return contents;
}

std::string descriptionOf(const std::string& archive, const std::string& number,
                          const std::string& file) {
  std::string text;
  int32_t status = TRVS_BUFFER_TOO_SMALL;
  for (size_t size = 4096; status == TRVS_BUFFER_TOO_SMALL && size < (1U << 30); size *= 4) {
    text.assign(size, '\0');
    status =
        TrvsGetDescription(TRVS_CONTEXT, archive.c_str(), number.empty() ? nullptr : number.c_str(),
                           text.data(), static_cast<int32_t>(size));
  }
  check(status, {.file = file, .archive = archive, .revision = number});
  return text.substr(0, text.find('\0'));
}

std::string branchOf(std::string_view number) {
  const auto dots = std::count(number.begin(), number.end(), '.');
  return dots < 2 ? "1" : std::string(number.substr(0, number.rfind('.')));
}

std::string startOf(std::string_view branch) {
  return std::string(branch.substr(0, std::min(branch.rfind('.'), branch.size())));
}

Problem unknownLabel(const std::string& label, const std::vector<std::string>& known) {
  return {label, "no file has this label",
          offerNearest(label, known, "'trevault labels' lists them")};
}

std::vector<LockInfo> locksOf(const std::string& archive, const std::string& file) {
  const std::vector<std::string> texts = fetchList(
      [&](char* buffer, int32_t size) {
        return TrvsListLocks(TRVS_CONTEXT, archive.c_str(), buffer, size);
      },
      {.file = file, .archive = archive});
  std::vector<LockInfo> locks;
  for (size_t i = 0; i + 3 < texts.size(); i += 4) {
    locks.push_back({texts[i], texts[i + 1], texts[i + 2], texts[i + 3]});
  }
  return locks;
}

History::History(const std::string& archive, const std::string& file) {
  TrvsRevTree* tree = nullptr;
  check(TrvsRevTreeInfo(TRVS_CONTEXT, archive.c_str(), &tree, TRVS_TREE_FETCH),
        {.file = file, .archive = archive});
  for (const TrvsRevTree* record = tree; record != nullptr; record = record->next) {
    take(*record, &revisions_);
  }
  static_cast<void>(TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &tree, TRVS_TREE_RETURN));
  const bool hasLocks = std::any_of(revisions_.begin(), revisions_.end(),
                                    [](const RevisionInfo& each) { return !each.lockers.empty(); });
  if (hasLocks) locks_ = locksOf(archive, file);
}

const LockInfo* History::lockOfOther(std::string_view number, std::string_view user) const {
  const auto found = std::find_if(locks_.begin(), locks_.end(), [&](const LockInfo& each) {
    return each.number == number && each.user != user;
  });
  return found == locks_.end() ? nullptr : &*found;
}

template <typename Fits>
const RevisionInfo* History::last(const Fits& fits) const {
  const auto found = std::find_if(revisions_.rbegin(), revisions_.rend(), fits);
  return found == revisions_.rend() ? nullptr : &*found;
}

const RevisionInfo* History::find(std::string_view number) const {
  return last([&](const RevisionInfo& each) { return each.number == number; });
}
const RevisionInfo* History::tipOf(std::string_view branch) const {
  return last([&](const RevisionInfo& each) { return each.branch == branch; });
}
const RevisionInfo* History::withLabel(std::string_view label) const {
  return last([&](const RevisionInfo& each) { return has(each.labels, label); });
}
const RevisionInfo* History::inGroup(std::string_view group) const {
  return last([&](const RevisionInfo& each) { return has(each.groups, group); });
}
const RevisionInfo* History::newestUpTo(std::string_view time, std::string_view branch) const {
  return last([&](const RevisionInfo& each) { return each.branch == branch && each.time <= time; });
}
const RevisionInfo* History::parentOf(const RevisionInfo& revision) const {
  const RevisionInfo* parent = find(revision.branch == "1" ? "" : startOf(revision.branch));
  for (const RevisionInfo& each : revisions_) {
    if (&each == &revision) break;
    if (each.branch == revision.branch) parent = &each;
  }
  return parent;
}
const RevisionInfo* History::lockedBy(std::string_view user) const {
  return last([&](const RevisionInfo& each) { return each.isLockedBy(user); });
}

std::vector<std::string> History::marks() const {
  std::vector<std::string> marks;
  for (const RevisionInfo& each : revisions_) {
    marks.insert(marks.end(), each.labels.begin(), each.labels.end());
    marks.insert(marks.end(), each.groups.begin(), each.groups.end());
  }
  return marks;
}

std::string History::nextBranch(const std::string& number) const {
  for (int i = 1;; ++i) {
    std::string branch = number + '.' + std::to_string(i);
    if (tipOf(branch) == nullptr) return branch;
  }
}

}  // namespace cli
