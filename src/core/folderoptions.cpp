// core/folderoptions.cpp: the one set of all rule records, and the links between them.
#include "core/folderoptions.h"

#include "core/handle.h"

namespace foldapi {

const VClassRecord TVFolderOptions::theClass = {"TVFolderOptions", &VObject::theClass, 2, nullptr};

const VClassRecord TVFactoryKey::theClass = {"TVFactoryKey", &VObject::theClass, 4, nullptr};

namespace {

// Containment is linked on the first question, when all options stand.
struct OptionsSet {
  VSet all;
  bool linked = false;
};

OptionsSet& theFolderOptions() {
  static auto* set = new OptionsSet;
  return *set;
}

TVFolderOptions* lookupExactly(const VClassRecord* objectClass, int version) {
  const TVFactoryKey key(objectClass, version);
  return static_cast<TVFolderOptions*>(theFolderOptions().all.find(&key));
}

}  // namespace

TVFolderOptions::TVFolderOptions(const VClassRecord* objectClass, int version,
                                 TVSortType defaultSortType,
                                 std::vector<const VClassRecord*> childClasses)
    : objectClass_(objectClass),
      version_(version),
      defaultSortType_(defaultSortType),
      childClasses_(std::move(childClasses)) {}

bool TVFolderOptions::isEqual(const VObject* other) const {
  if (other->isA() == &TVFactoryKey::theClass) {
    const auto* key = static_cast<const TVFactoryKey*>(other);
    return key->objectClass() == objectClass_ && key->version() == version_;
  }
  return this == other;  // A set holds one for each class and version.
}

int32_t TVFolderOptions::hash() const { return TVFactoryKey(objectClass_, version_).hash(); }

TVFolderOptions* TVFolderOptions::lookup(const VClassRecord* objectClass, int version) {
  TVFolderOptions* options = lookupExactly(objectClass, version);
  return options != nullptr || version == kAbstractVersion
             ? options
             : lookupExactly(objectClass, kAbstractVersion);
}

void TVFolderOptions::add(TVFolderOptions* options) {
  OptionsSet& set = theFolderOptions();
  if (lookupExactly(options->objectClass(), options->version()) != nullptr) {
    delete options;
    return;
  }
  set.all.add(options);
  set.linked = false;
}

VBool TVFolderOptions::isAllowedUnder(const TVHandle& owner) const {
  if (owner.isNull()) return true;
  OptionsSet& set = theFolderOptions();
  if (!set.linked) {
    set.linked = true;
    for (VObject* options : set.all.elements()) {
      static_cast<TVFolderOptions*>(options)->registerContainment();
    }
  }
  const TVFolderOptions* parent = lookup(owner.isA(), owner.version());
  return parent != nullptr && parents_.contains(parent);
}

void TVFolderOptions::registerContainment() {
  if (registered_) return;
  registered_ = true;
  for (const VClassRecord* childClass : childClasses_) {
    TVFolderOptions* child = lookup(childClass, version_);
    if (child != nullptr) addChild(child);
  }
}

// Each side closes the other; a repeat does nothing.
void TVFolderOptions::addParent(TVFolderOptions* parent) {
  if (parents_.add(parent) != nullptr) parent->addChild(this);
}

void TVFolderOptions::addChild(TVFolderOptions* child) {
  if (children_.add(child) != nullptr) child->addParent(this);
}

}  // namespace foldapi
