// domain/revision.cpp: revisions in memory.
#include "domain/revision.h"

#include <charconv>

#include "domain/branch.h"
#include "domain/nameditems.h"

namespace foldapi {

const VClassRecord TVRevision::theClass = {"TVRevision", &TVArchiveItem::theClass, 22,
                                           []() -> VObject* { return new TVRevisionHandle; }};

TVRevision::TVRevision(VString itemName, TVRevisionTexts texts, VBool isLocked, int32_t itemNumber,
                       TVObject* owner, TVCaching caching)
    : TVArchiveItem(std::move(itemName), itemNumber, owner, caching),
      texts_(std::move(texts)),
      isLocked_(isLocked) {}

void TVRevision::setDetails(TVRevisionTexts texts, VBool isLocked) {
  texts_ = std::move(texts);
  isLocked_ = isLocked;
}

VString TVRevision::lockerText() {
  VString text;
  TVUseScope use(this, theNullHandle());
  for (const TVObject* child : childrenInOrder()) {
    if (!child->isKindOf(&TVLocker::theClass)) continue;
    if (!text.isEmpty()) text.append(',');
    text.append(static_cast<const TVLocker*>(child)->itemName().view());
  }
  return text;
}

namespace {

// Format 5.2 keeps no floating labels.
std::vector<const VClassRecord*> revisionChildren(int version) {
  std::vector<const VClassRecord*> classes = {&TVBranch::theClass, &TVRevision::theClass,
                                              &TVVersionLabel::theClass,
                                              &TVPromotionLabel::theClass, &TVLocker::theClass};
  if (version == kAbstractVersion) classes.push_back(&TVFloatingLabel::theClass);
  return classes;
}

}  // namespace

TVRevisionOptions::TVRevisionOptions(int version)
    : TVFolderOptions(&TVRevision::theClass, version, TVSortType::kNumber,
                      revisionChildren(version)) {}

std::unique_ptr<TVObject> TVRevisionOptions::makeObject(const VString& name,
                                                        const TVRevisionTexts& texts,
                                                        VBool isLocked, TVObject* owner,
                                                        TVCaching caching) {
  return std::make_unique<TVRevision>(name, texts, isLocked, lastNumber(name.view()), owner,
                                      caching);
}

TVRevisionHandle TVRevisionHandle::create(const VString& name, const TVRevisionTexts& texts,
                                          VBool isLocked, const TVHandle& parent,
                                          const TVCreateOptions& options) {
  return TVRevisionHandle(
      createObject(&TVRevision::theClass, parent, options,
                   [&](TVFolderOptions& rules, TVHandle&, TVObject* owner, TVCaching caching) {
                     return static_cast<TVRevisionOptions&>(rules).makeObject(name, texts, isLocked,
                                                                              owner, caching);
                   }));
}

int32_t lastNumber(std::string_view number) {
  const size_t dot = number.rfind('.');
  if (dot != std::string_view::npos) number.remove_prefix(dot + 1);
  int32_t value = 0;
  std::from_chars(number.data(), number.data() + number.size(), value);
  return value;
}

}  // namespace foldapi
