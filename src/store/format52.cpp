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

void registerItems() {
  using ItemClasses = std::vector<const VClassRecord*>;
  TVFolderOptions::add(new TVNamedItemOptions<TVBranch>(
      kAbstractVersion, ItemClasses{&TVBranch::theClass, &TVRevision::theClass}));
  TVFolderOptions::add(new TVRevisionOptions);
  TVFolderOptions::add(new TVNamedItemOptions<TVVersionLabel>(kAbstractVersion));
  TVFolderOptions::add(new TVNamedItemOptions<TVFloatingLabel>(kAbstractVersion));
  TVFolderOptions::add(new TVNamedItemOptions<TVPromotionLabel>(kAbstractVersion));
  TVFolderOptions::add(new TVNamedItemOptions<TVLocker>(kAbstractVersion));
  TVFolderOptions::add(new TVBranch52Options);
  TVFolderOptions::add(new TVRevision52Options);
  TVFolderOptions::add(new TVNamedItemOptions<TVVersionLabel52>(kFormat52));
  TVFolderOptions::add(new TVNamedItemOptions<TVPromotionLabel52>(kFormat52));
  TVFolderOptions::add(new TVNamedItemOptions<TVLocker52>(kFormat52));
}

}  // namespace

void registerFormat52() {
  static bool done = false;
  if (done) return;
  done = true;
  TVFolderOptions::add(new TVProjectRootOptions);
  TVFolderOptions::add(new TVProjectFolderOptions);
  TVFolderOptions::add(new TVArchiveFolderOptions);
  TVFolderOptions::add(new TVArchiveMemberOptions);
  TVFolderOptions::add(new TVPromotionFolderOptions);
  TVFolderOptions::add(new TVLockedByFolderOptions);
  TVFolderOptions::add(new TVProjectRoot52Options);
  TVFolderOptions::add(new TVProjectFolder52Options);
  TVFolderOptions::add(new TVArchiveFolder52Options);
  TVFolderOptions::add(new TVArchiveMember52Options);
  TVFolderOptions::add(new TVPromotionFolder52Options);
  registerItems();
}

}  // namespace foldapi
