// base/vobject.cpp: the class record at the root, and the walk up the records.
//
// Records are constants that the compiler lays out, so that no class depends on the order in which
// files are initialised, and nothing has to be registered.
// Its test: vobject_test.cpp.
#include "base/vobject.h"

namespace foldapi {

const VClassRecord VObject::theClass = {"VObject", nullptr, 0, [] { return new VObject; }};

VBool VObject::isKindOf(const VClassRecord* record) const {
  const VClassRecord* own = isA();
  while (own != nullptr && own != record) own = own->parent;
  return own != nullptr;
}

}  // namespace foldapi
