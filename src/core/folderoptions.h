// core/folderoptions.h: TVFolderOptions, the rule record of one class at one format version.
//
// It says which classes may contain the class, how the class is sorted unless told otherwise, and
// (in subclasses, which know the class's fields) how to build an object. Version 1 stands for the
// abstract classes; format 5.2 registers version 2 for those that it stores.
#pragma once

#include <memory>
#include <vector>

#include "base/vobject.h"
#include "core/sorttype.h"

namespace foldapi {

class TVHandle;
class TVObject;

class TVFolderOptions : public VObject {
 public:
  static const VClassRecord theClass;

  // `childClasses` are those that the class may contain, at the same version where they have one.
  TVFolderOptions(const VClassRecord* objectClass, int version, TVSortType defaultSortType,
                  std::vector<const VClassRecord*> childClasses);

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override;
  int32_t hash() const override;

  const VClassRecord* objectClass() const { return objectClass_; }
  int version() const { return version_; }
  int groupOrder() const { return 0; }
  TVSortType defaultSortType() const { return defaultSortType_; }
  // For clients that show a tree; the library itself asks isAllowedUnder().
  bool hasChildClasses() const { return !childClasses_.empty(); }

  // Whether the class may live under the owner's. No owner is allowed: a root needs none. Where
  // `version` asks for the abstract one, a class that has no other may live under all whose
  // abstract class names it.
  VBool isAllowedUnder(const TVHandle& owner, int version = 0) const;

  // The options of a class and version, else of version 1, else null.
  static TVFolderOptions* lookup(const VClassRecord* objectClass, int version);
  // Adds options for the life of the process. A second set for a class and version is dropped.
  static void add(std::unique_ptr<TVFolderOptions> options);

 private:
  bool names(const VClassRecord* childClass) const;

  const VClassRecord* objectClass_;
  int version_;
  TVSortType defaultSortType_;
  std::vector<const VClassRecord*> childClasses_;
};

// Finds the options of a class and version in a set.
class TVFactoryKey : public VObject {
 public:
  static const VClassRecord theClass;

  TVFactoryKey(const VClassRecord* objectClass, int version)
      : objectClass_(objectClass), version_(version) {}

  const VClassRecord* isA() const override { return &theClass; }
  int32_t hash() const override { return objectClass_->ordinal + version_; }
  const VClassRecord* objectClass() const { return objectClass_; }
  int version() const { return version_; }

 private:
  const VClassRecord* objectClass_;
  int version_;
};

}  // namespace foldapi
