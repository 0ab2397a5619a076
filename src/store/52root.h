// store/52root.h: TVProjectRoot52, the project root that keeps the list of projects in
// "trvsproj.pub" and "trvsproj.prv".
#pragma once

#include "domain/projectroot.h"
#include "store/52data.h"

namespace foldapi {

class TVProjectRoot52 : public TVProjectRoot {
 public:
  // An empty directory is looked up in the profile, each by itself.
  TVProjectRoot52(const VString& publicDir, const VString& privateDir, TVHandle& context,
                  TVObject* owner, TVCaching caching = TVCaching::kCached);

  int version() const override { return kFormat52; }
  TVStorageLock* lockStorage(TVHandle& context) override;
  int writeData(TVHandle& context, TVStorageLock* lock) override;
  bool unlockStorage(TVHandle& context, TVStorageLock* lock, bool keep) override;
  // 0, 1 out of memory, or 4 for any other failure, which has been reported.
  int readData(TVHandle& context, TVStorageLock* lock) override;
  bool readWasComplete() const override { return files_.isComplete(); }
  bool mayUpdate(TVHandle& context, TVStorageLock* lock) override;
  VBool isStale(TVHandle& context) override;

 private:
  int readSide(Side side, TVHandle& context, TVDataFile::Access access, const TextFile* stream);

  bool onlyReads_ = false;  // The next read, since an update has just failed.
  TVDataFilePair files_;
};

class TVProjectRoot52Options : public TVProjectRootOptions {
 public:
  TVProjectRoot52Options() : TVProjectRootOptions(kFormat52) {}
  TVObject* makeObject(const VString& publicDir, const VString& privateDir, TVHandle& context,
                       TVObject* owner, TVCaching caching) override;
};

}  // namespace foldapi
