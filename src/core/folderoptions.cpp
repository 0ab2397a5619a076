// core/folderoptions.cpp: the one set of all rule records, and the links between them.
#include "core/folderoptions.h"

#include <algorithm>
#include <functional>

#include "core/handle.h"

namespace foldapi {

const VClassRecord TVFolderOptions::theClass = {"TVFolderOptions", &VObject::theClass, 2, nullptr};

namespace {

// Containment is linked on the first question, when all options stand.
struct OptionsSet {
  std::vector<TVFolderOptions*> all;
  bool linked = false;
};

OptionsSet& theFolderOptions() {
  static auto* set = new OptionsSet;
  return *set;
}

TVFolderOptions* lookupExactly(const VClassRecord* objectClass, int version) {
  for (TVFolderOptions* options : theFolderOptions().all) {
    if (options->objectClass() == objectClass && options->version() == version) return options;
  }
  return nullptr;
}

bool addOnce(std::vector<TVFolderOptions*>* list, TVFolderOptions* options) {
  if (std::find(list->begin(), list->end(), options) != list->end()) return false;
  list->push_back(options);
  return true;
}

}  // namespace

TVFolderOptions::TVFolderOptions(const VClassRecord* objectClass, int version, int defaultSortType,
                                 std::vector<const VClassRecord*> childClasses)
    : objectClass_(objectClass),
      version_(version),
      defaultSortType_(defaultSortType),
      childClasses_(std::move(childClasses)) {}

bool TVFolderOptions::isEqual(const VObject* other) const {
  if (other->isA() != &theClass) return false;
  const auto* options = static_cast<const TVFolderOptions*>(other);
  return options->objectClass_ == objectClass_ && options->version_ == version_;
}

int32_t TVFolderOptions::hash() const { return objectClass_->ordinal + version_; }

TVFolderOptions* TVFolderOptions::lookup(const VClassRecord* objectClass, int version) {
  TVFolderOptions* options = lookupExactly(objectClass, version);
  return options != nullptr || version == 1 ? options : lookupExactly(objectClass, 1);
}

void TVFolderOptions::add(TVFolderOptions* options) {
  if (lookupExactly(options->objectClass(), options->version()) != nullptr) {
    delete options;
    return;
  }
  theFolderOptions().all.push_back(options);
  theFolderOptions().linked = false;
}

VBool TVFolderOptions::isAllowedUnder(const TVHandle& owner) const {
  if (owner.isNull()) return true;
  OptionsSet& set = theFolderOptions();
  if (!set.linked) {
    set.linked = true;
    for (TVFolderOptions* options : set.all) options->registerContainment();
  }
  TVFolderOptions* parent = lookup(owner.isA(), owner.version());
  return std::find(parents_.begin(), parents_.end(), parent) != parents_.end();
}

void TVFolderOptions::registerContainment() {
  if (registered_) return;
  registered_ = true;
  for (const VClassRecord* childClass : childClasses_) {
    TVFolderOptions* child = lookup(childClass, version_);
    if (child != nullptr) addChild(child);
  }
}

void TVFolderOptions::addParent(TVFolderOptions* parent) {
  if (addOnce(&parents_, parent)) parent->addChild(this);
}

void TVFolderOptions::addChild(TVFolderOptions* child) {
  if (addOnce(&children_, child)) child->addParent(this);
}

}  // namespace foldapi
