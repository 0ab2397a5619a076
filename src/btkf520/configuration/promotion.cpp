// btkf520/configuration/promotion.cpp: building, checking and listing a promotion model.
#include "btkf520/configuration/promotion.h"

#include <algorithm>
#include <set>

#include "btkf520/configuration/text.h"

namespace btkf {

bool PromotionModel::link(std::string_view child, std::string_view parent, const Origin& origin) {
  if (!isGoodName(child) || child == parent) return false;
  if (!parent.empty() && !isGoodName(parent)) return false;
  const auto place = places_.find(child);
  const bool isNew = place == places_.end();
  if (!isNew && parent.empty()) return true;
  Link made{std::string(child), std::string(parent), origin};
  const size_t replaced = isNew ? 0 : links_[place->second].listedSize();
  const size_t size = listedSize_ + made.listedSize() - replaced;
  if (size > kLongestListing) return false;
  listedSize_ = size;
  if (isNew) {
    places_.emplace(made.child, links_.size());
    links_.push_back(std::move(made));
  } else {
    links_[place->second] = std::move(made);
  }
  return true;
}

PromotionModel::Fault PromotionModel::fault() const {
  std::set<std::string_view> tops;
  std::set<std::string_view> reachesTop;
  for (const Link& link : links_) {
    // Up from here, as far as the way is new. More steps than links: it is a circle.
    std::vector<std::string_view> way;
    std::string_view group = link.child;
    while (!reachesTop.contains(group)) {
      if (way.size() > links_.size()) return Fault::kCycle;
      way.push_back(group);
      const Link* up = find(group);
      if (up == nullptr || up->parent.empty()) {
        tops.insert(group);
        break;
      }
      group = up->parent;
    }
    reachesTop.insert(way.begin(), way.end());
  }
  return tops.size() > 1 ? Fault::kSeveralTops : Fault::kNone;
}

TrvsGroupKind PromotionModel::kindOf(std::string_view group) const {
  const bool below = hasChild(group);
  if (!below) return find(group) == nullptr ? TRVS_GROUP_NONE : TRVS_GROUP_DEVELOPMENT;
  return hasParent(group) ? TRVS_GROUP_BETWEEN : TRVS_GROUP_TOP;
}

std::vector<std::string> PromotionModel::developmentGroups() const {
  std::vector<std::string> groups;
  for (const Link& link : links_) {
    if (kindOf(link.child) == TRVS_GROUP_DEVELOPMENT) groups.push_back(link.child);
  }
  return groups;
}

std::string PromotionModel::parentOf(std::string_view group) const {
  const Link* link = find(group);
  return link == nullptr ? "" : link->parent;
}

std::string PromotionModel::listing() const {
  std::string lower;
  std::string highest;
  std::string alone;
  for (const Link& link : links_) {
    const std::string child = link.child + '\0';
    if (link.parent.empty()) {
      alone = child;
    } else {
      (hasParent(link.parent) ? lower : highest) += child + link.parent + '\0';
    }
  }
  return highest.empty() ? alone : lower + highest;
}

const PromotionModel::Link* PromotionModel::find(std::string_view child) const {
  const auto place = places_.find(child);
  return place == places_.end() ? nullptr : &links_[place->second];
}

bool PromotionModel::hasParent(std::string_view group) const {
  const Link* link = find(group);
  return link != nullptr && !link->parent.empty();
}

bool PromotionModel::hasChild(std::string_view group) const {
  return !group.empty() && std::any_of(links_.begin(), links_.end(),
                                       [&](const Link& link) { return link.parent == group; });
}

}  // namespace btkf
