// btkf520/operations/labels.h: version labels.
#pragma once

#include <string>
#include <vector>

#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"

namespace btkf {

// What becomes of a label that another revision has.
enum class Moving { kNever, kAsk, kAlways };

// Gives a label to a revision, or with the number of a branch to whatever is its tip. The client
// may choose another label when it is asked: *label becomes the one that was set.
//   TRVS_BAD_NAME      not a name for labels
//   TRVS_LABEL_EXISTS  it has another target, and stays there
[[nodiscard]] TrvsStatus setLabel(ArchiveModel* model, std::string* label, const Number& target,
                                  Moving moving, const std::string& archive);

// The whole operations. `revision` as findRevision() takes it; with `floats`, its branch.
[[nodiscard]] TrvsStatus label(const char* archive, const char* label, const char* revision,
                               bool floats, Moving moving);
// TRVS_NO_SUCH_LABEL.
[[nodiscard]] TrvsStatus deleteLabel(const char* archive, const char* label);
// Pairs of a label and the number of its revision or branch.
[[nodiscard]] TrvsStatus listLabels(const char* archive, std::vector<std::string>* pairs);

}  // namespace btkf
