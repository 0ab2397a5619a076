// btkf520/archive/number.h: the numbers of revisions and branches.
//
// The trunk is branch "1", its revisions are 1.0, 1.1, 1.2 and so on. The first branch that starts
// at 1.2 is 1.2.1, the second 1.2.2; the revisions of 1.2.1 are 1.2.1.0, 1.2.1.1 and so on. So a
// revision has an even count of components and a branch an odd one.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace btkf {

// A value. Numbers are ordered component by component, a shorter one before those that it begins:
// 1.9, 1.9.1, 1.9.1.0, 1.10. Within one branch that is the order of age.
class Number {
 public:
  static constexpr size_t kMostComponents = 64;
  static constexpr uint32_t kLargestComponent = 999999999;

  // A list of numbers that takes no memory of its own for the two of a trunk's revision: an archive
  // may have thousands.
  using Components = std::u32string;

  Number() = default;  // No components: no number.
  explicit Number(Components components) : components_(std::move(components)) {}

  // Reads "1.2.1". Nothing for empty text, blanks, signs, empty components, or more or larger ones
  // than the limits. Leading zeros are dropped.
  static std::optional<Number> parse(std::string_view text);
  static Number trunk() { return Number({1}); }

  std::string text() const;

  bool isEmpty() const { return components_.empty(); }
  bool isRevision() const { return !isEmpty() && components_.size() % 2 == 0; }
  bool isBranch() const { return components_.size() % 2 == 1; }
  bool isTrunk() const { return components_.size() == 1; }
  const Components& components() const { return components_; }

  // The last component: the ordering number that clients see. 0 for no number.
  uint32_t last() const { return isEmpty() ? 0 : components_.back(); }
  // How deep: 1 for the trunk and its revisions, 2 for 1.2.1 and 1.2.1.0.
  int level() const { return static_cast<int>((components_.size() + 1) / 2); }

  // Without the last component: of a revision its branch, of a branch the revision where it starts
  // (nothing for the trunk).
  Number parent() const;
  // With one more component: of a revision its branch number `last`, of a branch a revision.
  Number child(uint32_t last) const;
  // With the last component one higher.
  Number next() const;

  bool operator==(const Number&) const = default;
  // Not the vector's own: on big-endian machines some libraries compare its bytes from the wrong
  // end.
  std::strong_ordering operator<=>(const Number& other) const {
    return std::lexicographical_compare_three_way(
        components_.begin(), components_.end(), other.components_.begin(), other.components_.end(),
        [](uint32_t a, uint32_t b) { return a <=> b; });
  }

 private:
  Components components_;
};

}  // namespace btkf
