// btkf520/archive/model.cpp: finding one's way in a model, and what a file can hold.
#include "btkf520/archive/model.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "btkf520/archive/indexvalues.h"

namespace btkf {
namespace {

bool isBefore(const Branch& branch, const Number& number) { return branch.number < number; }

// The branch that a revision of this number stands on.
Number branchOf(const Number& revision) {
  return revision.components().size() == 2 ? Number::trunk() : revision.parent();
}

// Branches and revisions are found by bisection, for a model that may be changed or not.
template <typename Branches>
auto findBranchIn(Branches& branches, const Number& number) -> decltype(branches.data()) {
  const auto found = std::lower_bound(branches.begin(), branches.end(), number, isBefore);
  return found == branches.end() || found->number != number ? nullptr : &*found;
}

template <typename Model>
auto findRevisionIn(Model& model, const Number& number) -> decltype(model.trunk().tip()) {
  if (!number.isRevision()) return nullptr;
  auto* branch = model.findBranch(branchOf(number));
  if (branch == nullptr) return nullptr;
  return branch->revisions.find(number);
}

template <typename Labels>
auto findLabelIn(Labels& labels, std::string_view name) -> decltype(labels.data()) {
  const auto found = std::find_if(labels.begin(), labels.end(),
                                  [&](const Label& label) { return label.name == name; });
  return found == labels.end() ? nullptr : &*found;
}

}  // namespace

bool isWorkfileName(std::string_view name) {
  const bool hasDrive = name.size() > 1 && name[1] == ':' &&
                        ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
  return name != "." && name != ".." && !hasDrive && !hasControls(name) &&
         name.find_first_of("/\\") == std::string_view::npos;
}

bool isNote(std::string_view text) {
  constexpr size_t kLongestNote = 255;
  return text.size() <= kLongestNote && !hasControls(text);
}

const Branch* ArchiveModel::findBranch(const Number& number) const {
  return findBranchIn(branches, number);
}
Branch* ArchiveModel::findBranch(const Number& number) { return findBranchIn(branches, number); }

const Revision* ArchiveModel::findRevision(const Number& number) const {
  return findRevisionIn(*this, number);
}
Revision* ArchiveModel::findRevision(const Number& number) { return findRevisionIn(*this, number); }

const Label* ArchiveModel::findLabel(std::string_view name) const {
  return findLabelIn(labels, name);
}
Label* ArchiveModel::findLabel(std::string_view name) { return findLabelIn(labels, name); }

const Revision* ArchiveModel::labelled(const Label& label) const {
  if (!label.isFloating()) return findRevision(label.target);
  const Branch* branch = findBranch(label.target);
  return branch == nullptr ? nullptr : branch->tip();
}

std::vector<const Branch*> ArchiveModel::branchesAt(const Number& revision) const {
  std::vector<const Branch*> result;
  auto branch = std::lower_bound(branches.begin(), branches.end(), revision, isBefore);
  const size_t depth = revision.components().size();
  for (; branch != branches.end(); ++branch) {
    const Number::Components& components = branch->number.components();
    if (components.size() <= depth ||
        !std::equal(revision.components().begin(), revision.components().end(),
                    components.begin())) {
      break;
    }
    if (components.size() == depth + 1) result.push_back(&*branch);
  }
  return result;
}

Number ArchiveModel::newBranchAt(const Number& revision) const {
  const std::vector<const Branch*> there = branchesAt(revision);
  return there.empty() ? revision.child(1) : there.back()->number.next();
}

Branch& ArchiveModel::addBranch(const Number& number) {
  const auto place = std::lower_bound(branches.begin(), branches.end(), number, isBefore);
  return *branches.insert(place, Branch{number, {}});
}

size_t ArchiveModel::revisionCount() const {
  size_t count = 0;
  for (const Branch& branch : branches) count += branch.revisions.size();
  return count;
}

size_t ArchiveModel::lockCount() const {
  size_t count = 0;
  forEachMarked([&](const Revision& revision) { count += revision.locks.size(); });
  return count;
}

bool ArchiveModel::hasLongText() const {
  bool hasLong = description.size() > kLongestText;
  forEachRevision([&](const Revision& each) {
    hasLong = hasLong || each.changeDescription.size() > kLongestText;
  });
  return hasLong;
}

bool ArchiveModel::isSound() const {
  if (branches.empty() || trunk().number != Number::trunk()) return false;
  if (!isSoundText(workName) || !isWorkfileName(workName)) return false;
  if (!isSoundName(owner) || !isSoundText(description)) return false;
  if (!areSoundNames(accessList)) return false;
  std::vector<uint32_t> contents;
  contents.reserve(revisionCount());
  for (const Branch& branch : branches) {
    const bool isFirst = &branch == &trunk();
    if (!isSoundNumber(branch.number) || !branch.number.isBranch()) return false;
    if (!isFirst && (&branch)[-1].number >= branch.number) return false;
    if (!branch.revisions.areSoundOn(branch.number)) return false;
    for (size_t place = 0; place < branch.revisions.size(); ++place) {
      contents.push_back(branch.revisions.content(place).id);
    }
  }
  if (!std::is_sorted(contents.begin(), contents.end())) {
    std::sort(contents.begin(), contents.end());
  }
  if (std::adjacent_find(contents.begin(), contents.end()) != contents.end()) return false;
  // Ordered by what takes less time to compare.
  std::vector<std::pair<size_t, std::string_view>> names;
  names.reserve(labels.size());
  for (const Label& label : labels) {
    if (label.name.empty() || !isSoundName(label.name) || !isSoundNumber(label.target))
      return false;
    names.emplace_back(std::hash<std::string_view>()(label.name), label.name);
  }
  std::sort(names.begin(), names.end());
  return std::adjacent_find(names.begin(), names.end()) == names.end();
}

bool ArchiveModel::isConnected() const {
  return std::all_of(branches.begin(), branches.end(),
                     [this](const Branch& branch) {
                       return branch.number.isTrunk() ||
                              findRevision(branch.number.parent()) != nullptr;
                     }) &&
         std::all_of(labels.begin(), labels.end(),
                     [this](const Label& label) { return labelled(label) != nullptr; });
}

}  // namespace btkf
