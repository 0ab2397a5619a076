// cli/moving/rcscontents.h: the contents of an RCS file's revisions, each after the one that it
// comes from.
//
// Only one content is held at a time, as lines that are views into the file, beside the changes
// that lead from one to the other, forth and back.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "cli/moving/rcsfile.h"

namespace cli {

class RcsContents {
 public:
  using Lines = std::vector<std::string_view>;  // With their ends.

  // Both throw Problem for a change that can't be made. The file has to outlive the object.
  explicit RcsContents(const RcsFile& file);
  // Goes on to the next revision; null after the last one.
  const RcsRevision* next();

  const Lines& lines() const { return lines_; }

 private:
  // `count` lines from `at` on become others.
  struct Change {
    size_t at;
    size_t count;
    Lines lines;
  };
  using Changes = std::vector<Change>;
  // One step of the way through all of them.
  struct Step {
    enum class Way { kUpTrunk, kUpBranch, kBack } way;
    const RcsRevision* revision;
  };

  void planBranches(const RcsRevision& from);
  Changes changesOf(const RcsRevision& revision) const;
  // Makes the changes, and gives those that take them back.
  Changes apply(const Changes& changes);

  const RcsFile& file_;
  Lines lines_;
  std::vector<Step> steps_;
  size_t step_ = 0;
  std::vector<Changes> forth_;  // Along the trunk, from the newest to the oldest.
  std::vector<Changes> back_;   // From where the branches have led to.
};

}  // namespace cli
