// domain/attribute.h: what attribute() says an object is. Clients show a picture by it.
#pragma once

namespace foldapi {

struct TVAttribute {
  enum : int {
    kNone = 0,
    kPrivateFolder = 1,
    kPublicFolder = 2,
    kArchive = 3,
    kBranch = 4,
    kFloatingLabel = 5,
    kLockedByFolder = 6,
    kPromotionLabel = 7,
    kPrivateProject = 8,
    kPublicProject = 9,
    kLockedRevision = 10,
    kRevision = 11,
    kVersionLabel = 12,
    kPromotionGroup = 13,
    kLocker = 14,
  };
};

}  // namespace foldapi
