// btkf520/operations/labels.cpp: setting, moving, deleting and listing labels.
#include "btkf520/operations/labels.h"

#include "btkf520/operations/revisions.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/task.h"

namespace btkf {

TrvsStatus setLabel(ArchiveModel* model, std::string* label, const Number& target, Moving moving,
                    const std::string& archive) {
  for (;;) {
    if (!isGoodLabel(*label)) return TRVS_BAD_NAME;
    Label* old = model->findLabel(*label);
    if (old == nullptr) {
      model->labels.push_back({*label, target});
      return TRVS_DONE;
    }
    if (old->target == target || moving == Moving::kAlways) {
      old->target = target;
      return TRVS_DONE;
    }
    if (moving == Moving::kNever) return TRVS_LABEL_EXISTS;
    std::string chosen = *label;
    if (!client().moves(&chosen, archive)) return TRVS_LABEL_EXISTS;
    // Another label, that may exist as well, is moved only after another question.
    if (chosen == *label) moving = Moving::kAlways;
    *label = chosen;
  }
}

TrvsStatus label(const char* archive, const char* label, const char* revision, bool floats,
                 Moving moving) {
  if (label == nullptr) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "LABEL")) return status;
  const Revision* found = nullptr;
  if (const TrvsStatus status = findRevision(task.model, revision, &found)) return status;
  const Number target = floats ? branchNumber(found->number) : found->number;
  std::string name = label;
  if (const TrvsStatus status = setLabel(&task.model, &name, target, moving, task.archiveText())) {
    return status;
  }
  return task.commit({"LABEL", name});
}

TrvsStatus deleteLabel(const char* archive, const char* label) {
  if (label == nullptr) return TRVS_MISUSE;
  Task task;
  if (const TrvsStatus status = task.openToUpdate(archive, "LABEL")) return status;
  const Label* found = task.model.findLabel(label);
  if (found == nullptr) return TRVS_NO_SUCH_LABEL;
  task.model.labels.erase(task.model.labels.begin() + (found - task.model.labels.data()));
  return task.commit({"LABEL", label});
}

TrvsStatus listLabels(const char* archive, std::vector<std::string>* pairs) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  for (const Label& each : task.model.labels) {
    pairs->push_back(each.name);
    pairs->push_back(each.target.text());
  }
  return TRVS_DONE;
}

}  // namespace btkf
