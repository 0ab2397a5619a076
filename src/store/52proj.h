// store/52proj.h: TVProjectFolder52, a project in format 5.2.
//
// It is stored in two places: its record lies in the root's files, its contents in a pair of its
// own, "trvsfold.pub" and "trvsfold.prv". Four directories belong to it: the public and the private
// work directory of the base class, for workfiles, and the public and the private storage directory
// here, for that pair.
#pragma once

#include <memory>

#include "domain/projectfolder.h"
#include "store/archivecache.h"
#include "store/fileowner.h"

namespace foldapi {

class TVProjectFolder52 : public TVFileOwner52<TVProjectFolder> {
 public:
  TVProjectFolder52(VString name, TVProjectConfig config, VString privateWorkDir,
                    VString publicWorkDir, TVObject* owner, TVCaching caching = TVCaching::kCached);
  ~TVProjectFolder52() override;  // Saves the archive cache.

  // Gives a new project its directories, its pair of files and its configuration file.
  bool createStorage(TVHandle& context) override;
  // The configuration with the archive directories that the toolkit finds in it.
  TVProjectConfig effectiveConfig(TVHandle& context) override;

  // Through the toolkit (store/projectoperations.cpp).
  VBool validateDate(TVHandle& context, const VString& date, VString* errorText) override;
  VBool validatePromotion(TVHandle& context, const TVGetOptions& options,
                          VString* errorText) override;
  int reportLog(TVHandle& context, const char* archive, const TVLogOptions& options) override;
  int differences(TVHandle& context, TVDiffOptions& options) override;

  // The store of archive summaries; null while the project was not read, has no private directory,
  // or if it is switched off.
  TVArchiveCache* archiveCache() const { return cache_.get(); }

 private:
  // Reads folders and documents, then the promotion groups, then the archive cache. Files that
  // can't be read leave a project with what was read, and give 0.
  int readFiles(TVHandle& context, const TVDataFileWriter* writer) override;
  // In both of the root's files.
  std::span<const Side> recordSides() const override { return kBothSides; }
  std::string record(Side side) const override;
  int readSide(Side side, TVHandle& context, const TVDataFileWriter* writer);
  bool nameDirectory(Side side, TVHandle& context);
  bool assignDirectories(TVHandle& context);
  void createConfigFile(TVHandle& context) const;
  void readPromotionGroups(TVHandle& context);
  void loadCache(TVHandle& context);

  std::unique_ptr<TVArchiveCache> cache_;
};

class TVProjectFolder52Options : public TVProjectFolderOptions {
 public:
  TVProjectFolder52Options() : TVProjectFolderOptions(kFormat52) {}
  std::unique_ptr<TVObject> makeObject(const VString& name, const TVProjectConfig& config,
                                       const VString& privateWorkDir, const VString& publicWorkDir,
                                       TVHandle& context, TVObject* owner,
                                       TVCaching caching) override;
};

}  // namespace foldapi
