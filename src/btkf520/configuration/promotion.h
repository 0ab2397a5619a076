// btkf520/configuration/promotion.h: the promotion model: named groups, each promoting to the one
// above it.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/origin.h"

namespace btkf {

// A value: the links from groups to the groups above them, in the order in which they were made. A
// group exists as long as a link names it. Names are case-sensitive. Links may be made in any
// order, so a model under construction can be broken; ask fault() when it is complete.
class PromotionModel {
 public:
  enum class Fault { kNone, kSeveralTops, kCycle };

  // Lets `child` promote to `parent` and to nothing else. With an empty `parent` the group merely
  // exists, unless it is linked already. False, and nothing changes, for an empty or overlong name,
  // a group above itself, or a model that clients could no longer fetch.
  [[nodiscard]] bool link(std::string_view child, std::string_view parent,
                          const Origin& origin = {});

  Fault fault() const;
  bool isEmpty() const { return links_.empty(); }
  // A group that is the whole model is a development group: revisions have to start somewhere.
  TrvsGroupKind kindOf(std::string_view group) const;
  // In the order of their links.
  std::vector<std::string> developmentGroups() const;
  // The group that `group` promotes to, empty for none.
  std::string parentOf(std::string_view group) const;

  // Every link as "child NUL parent NUL", one to the top group last; a single group as "name NUL".
  // Followed by one more NUL this is what clients get. For a model without fault.
  std::string listing() const;

  struct Link {
    std::string child;
    std::string parent;  // Empty: none.
    Origin origin;
    size_t listedSize() const { return child.size() + parent.size() + 2; }
  };
  const std::vector<Link>& links() const { return links_; }

  static constexpr size_t kLongestListing =
      32767;  // Its last NUL included: clients count in 16 bits.

 private:
  const Link* find(std::string_view child) const;
  bool hasParent(std::string_view group) const;
  bool hasChild(std::string_view group) const;

  std::vector<Link> links_;
  std::map<std::string, size_t, std::less<>> places_;  // Child to its place in links_.
  size_t listedSize_ = 1;
};

}  // namespace btkf
