// store/52promo.cpp: from the toolkit's list of pairs to a tree of groups.
#include "store/52promo.h"

namespace foldapi {

namespace {

// Takes the next name off a list; empty at its end.
std::string_view takeName(std::string_view* list) {
  const std::string_view name = list->substr(0, list->find('\0'));
  list->remove_prefix(std::min(name.size() + 1, list->size()));
  return name;
}

void mergeGroup(TVObject& owner, std::string_view name, const TVPromotionFolder52::List& list) {
  TVObject::mergeIntoCache(std::make_unique<TVPromotionFolder52>(VString(name), list, &owner))
      ->setList(list);
}

}  // namespace

TVPromotionFolder52::TVPromotionFolder52(VString promotionName, List list, TVObject* owner,
                                         TVCaching caching)
    : TVPromotionFolder(std::move(promotionName), owner, caching), list_(std::move(list)) {}

// A group that names one above itself as its child is left out: a circle would never end.
int TVPromotionFolder52::readData(TVHandle&, TVStorageLock*) {
  if (list_ == nullptr || promotionName().isEmpty()) return 0;
  std::string_view rest = *list_;
  for (;;) {
    const std::string_view child = takeName(&rest);
    const std::string_view parent = child.empty() ? child : takeName(&rest);
    if (parent.empty()) return 0;
    if (parent == promotionName().view() && !isBelow(child)) mergeGroup(*this, child, list_);
  }
}

// Whether this group is `name` or stands somewhere below it.
bool TVPromotionFolder52::isBelow(std::string_view name) const {
  for (const TVObject* group = this; group != nullptr; group = group->owner()) {
    if (!group->isKindOf(&theClass)) return false;
    if (static_cast<const TVPromotionFolder*>(group)->promotionName().view() == name) return true;
  }
  return false;
}

void mergePromotionModel(TVObject& owner, std::string names) {
  const auto list = std::make_shared<const std::string>(std::move(names));
  std::string_view rest = *list;
  std::string_view top;
  for (std::string_view name = takeName(&rest); !name.empty(); name = takeName(&rest)) top = name;
  if (!top.empty()) mergeGroup(owner, top, list);
}

}  // namespace foldapi
