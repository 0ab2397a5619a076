// store/format52.cpp: the list of all classes, abstract and stored. A list, and not an object in
// each class's file, since a linker leaves out what nobody names.
#include "store/format52.h"

#include "domain/lockedbyfolder.h"
#include "store/52arfld.h"
#include "store/52branch.h"
#include "store/52proj.h"
#include "store/52promo.h"
#include "store/52root.h"

namespace foldapi {

namespace {

void registerStored() {
  TVFolderOptions::add(std::make_unique<TVProjectRoot52Options>());
  TVFolderOptions::add(std::make_unique<TVProjectFolder52Options>());
  TVFolderOptions::add(std::make_unique<TVArchiveFolder52Options>());
  TVFolderOptions::add(std::make_unique<TVArchiveMember52Options>());
  TVFolderOptions::add(std::make_unique<TVPromotionFolder52Options>());
  TVFolderOptions::add(std::make_unique<TVBranch52Options>());
  TVFolderOptions::add(std::make_unique<TVRevision52Options>());
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVVersionLabel52>>(kFormat52));
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVPromotionLabel52>>(kFormat52));
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVLocker52>>(kFormat52));
}

void registerAbstract() {
  using ItemClasses = std::vector<const VClassRecord*>;
  TVFolderOptions::add(std::make_unique<TVProjectRootOptions>());
  TVFolderOptions::add(std::make_unique<TVProjectFolderOptions>());
  TVFolderOptions::add(std::make_unique<TVArchiveFolderOptions>());
  TVFolderOptions::add(std::make_unique<TVArchiveMemberOptions>());
  TVFolderOptions::add(std::make_unique<TVPromotionFolderOptions>());
  TVFolderOptions::add(std::make_unique<TVLockedByFolderOptions>());
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVBranch>>(
      kAbstractVersion, ItemClasses{&TVBranch::theClass, &TVRevision::theClass}));
  TVFolderOptions::add(std::make_unique<TVRevisionOptions>());
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVVersionLabel>>(kAbstractVersion));
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVFloatingLabel>>(kAbstractVersion));
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVPromotionLabel>>(kAbstractVersion));
  TVFolderOptions::add(std::make_unique<TVNamedItemOptions<TVLocker>>(kAbstractVersion));
}

}  // namespace

// Stored classes come first: where memory ends half way, no abstract class stands in for one that
// is stored. What is registered already is passed over the next time.
void registerFormat52() {
  static bool done = false;
  if (done) return;
  registerStored();
  registerAbstract();
  done = true;
}

}  // namespace foldapi
