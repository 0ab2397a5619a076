// store/format52.cpp: the list of all classes, abstract and stored. A list, and not an object in
// each class's file, since a linker leaves out what nobody names.
#include "store/format52.h"

#include "store/52arfld.h"
#include "store/52proj.h"
#include "store/52promo.h"
#include "store/52root.h"

namespace foldapi {

void registerFormat52() {
  static bool done = false;
  if (done) return;
  done = true;
  TVFolderOptions::add(new TVProjectRootOptions);
  TVFolderOptions::add(new TVProjectFolderOptions);
  TVFolderOptions::add(new TVArchiveFolderOptions);
  TVFolderOptions::add(new TVArchiveMemberOptions);
  TVFolderOptions::add(new TVPromotionFolderOptions);
  TVFolderOptions::add(new TVProjectRoot52Options);
  TVFolderOptions::add(new TVProjectFolder52Options);
  TVFolderOptions::add(new TVArchiveFolder52Options);
  TVFolderOptions::add(new TVArchiveMember52Options);
  TVFolderOptions::add(new TVPromotionFolder52Options);
}

}  // namespace foldapi
