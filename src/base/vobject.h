// base/vobject.h: VObject, the root of everything that lives in a table, and the class records that
// tell its classes apart. A class is known by the address of its record: two records bear the name
// "c".
#pragma once

#include <cstdint>

#include "base/vbool.h"

namespace foldapi {

class VObject;

struct VClassRecord {
  const char* name;
  const VClassRecord* parent;  // Null for VObject's own.
  // Orders classes where nothing else tells two records of the database apart. Fixed here, so that
  // the order is the same in every process.
  int ordinal;
  VObject* (*create)();  // A new empty instance that the caller owns; null if abstract.
};

class VObject {
 public:
  static const VClassRecord theClass;

  VObject() = default;
  virtual ~VObject() = default;

  // The record of the object's class, never null.
  virtual const VClassRecord* isA() const { return &theClass; }
  // Whether the object's class is that of `record` or derives from it.
  VBool isKindOf(const VClassRecord* record) const;

  // Equality of keys, as tables and sets ask for it; identity here.
  virtual bool isEqual(const VObject* other) const { return this == other; }
  // Decides the bucket. Equal objects have equal hashes.
  virtual int32_t hash() const { return 0; }
  // Equal objects have equal fingerprints; others almost never do.
  virtual uint64_t fingerprint() const { return 0; }
};

}  // namespace foldapi
