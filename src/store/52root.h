// store/52root.h: TVProjectRoot52, the project root that keeps the list of projects in
// "trvsproj.pub" and "trvsproj.prv".
#pragma once

#include "domain/projectroot.h"
#include "store/fileowner.h"

namespace foldapi {

class TVProjectRoot52 : public TVFileOwner52<TVProjectRoot> {
 public:
  // An empty directory is looked up in the profile, each by itself.
  TVProjectRoot52(const VString& publicDir, const VString& privateDir, TVHandle& context,
                  TVObject* owner, TVCaching caching = TVCaching::kCached);

  bool unlockStorage(TVHandle& context, std::unique_ptr<TVStorageLock> lock, bool keep) override;

 private:
  // 0, 1 out of memory, or 4 for any other failure, which has been reported.
  int readFiles(TVHandle& context, const TVDataFileWriter* writer) override;
  int readSide(Side side, TVHandle& context, TVDataFile::Access access,
               const TVDataFileWriter* writer);

  bool onlyReads_ = false;  // The next read, since an update has just failed.
};

class TVProjectRoot52Options : public TVProjectRootOptions {
 public:
  TVProjectRoot52Options() : TVProjectRootOptions(kFormat52) {}
  std::unique_ptr<TVObject> makeObject(const VString& publicDir, const VString& privateDir,
                                       TVHandle& context, TVObject* owner,
                                       TVCaching caching) override;
};

}  // namespace foldapi
