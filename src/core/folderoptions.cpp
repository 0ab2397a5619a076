// core/folderoptions.cpp: the one set of all rule records.
#include "core/folderoptions.h"

#include <algorithm>

#include "base/containers.h"
#include "core/handle.h"

namespace foldapi {

const VClassRecord TVFolderOptions::theClass = {"TVFolderOptions", &VObject::theClass, 2, nullptr};

const VClassRecord TVFactoryKey::theClass = {"TVFactoryKey", &VObject::theClass, 4, nullptr};

namespace {

VSet& theFolderOptions() {
  static auto* set = new VSet;
  return *set;
}

TVFolderOptions* lookupExactly(const VClassRecord* objectClass, int version) {
  const TVFactoryKey key(objectClass, version);
  return static_cast<TVFolderOptions*>(theFolderOptions().find(&key));
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
  const TVFactoryKey key(objectClass_, version_);
  return other->isEqual(&key);
}

int32_t TVFolderOptions::hash() const { return TVFactoryKey(objectClass_, version_).hash(); }

TVFolderOptions* TVFolderOptions::lookup(const VClassRecord* objectClass, int version) {
  TVFolderOptions* options = lookupExactly(objectClass, version);
  return options != nullptr || version == kAbstractVersion
             ? options
             : lookupExactly(objectClass, kAbstractVersion);
}

void TVFolderOptions::add(std::unique_ptr<TVFolderOptions> options) {
  if (theFolderOptions().add(options.get()) != nullptr) options.release();
}

bool TVFolderOptions::names(const VClassRecord* childClass) const {
  return std::find(childClasses_.begin(), childClasses_.end(), childClass) != childClasses_.end();
}

// A class that the owner names is meant at the owner's version, where it has that one.
VBool TVFolderOptions::isAllowedUnder(const TVHandle& owner, int version) const {
  if (owner.isNull()) return true;
  const TVFolderOptions* rules = lookup(owner.isA(), owner.version());
  if (rules == nullptr || lookup(objectClass_, rules->version_) != this) return false;
  if (rules->names(objectClass_)) return true;
  const TVFolderOptions* abstractRules = lookup(owner.isA(), kAbstractVersion);
  return version == kAbstractVersion && abstractRules != nullptr &&
         abstractRules->names(objectClass_);
}

}  // namespace foldapi
