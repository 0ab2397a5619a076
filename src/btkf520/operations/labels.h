// btkf520/operations/labels.h: version labels.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/archive/model.h"
#include "btkf520/archive/status.h"

namespace btkf {

// What becomes of a label that another revision has.
enum class Moving { kNever, kAsk, kAlways };

// Gives a label to a revision, or with the number of a branch to whatever is its tip. The client
// may choose another label when it is asked: *label becomes the one that was set.
//   kBadName (9)       not a name for labels
//   kLabelExists (12)  it has another target, and stays there
Status setLabel(ArchiveModel* model, std::string* label, const Number& target, Moving moving,
                const std::string& archive);

// The whole operations. `revision` as findRevision() takes it; with `floats`, its branch.
Status label(const char* archive, const char* label, const char* revision, bool floats,
             Moving moving);
// kNoSuchLabel (11).
Status deleteLabel(const char* archive, const char* label);
// Pairs of a label and the number of its revision or branch.
Status listLabels(const char* archive, std::vector<std::string>* pairs);

}  // namespace btkf
