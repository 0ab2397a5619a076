// domain/projectroot.h: TVProjectRoot, the top of the database: its two root directories and the
// configuration that projects inherit. It has no owner, so every create builds a new one.
#pragma once

#include "core/createobject.h"
#include "core/folderoptions.h"
#include "core/handle.h"

namespace foldapi {

class TVProjectRoot : public TVObject {
 public:
  static const VClassRecord theClass;

  TVProjectRoot(VString publicDir, VString privateDir, TVObject* owner,
                TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  // The public directory is the identity; the private one takes no part.
  bool isEqual(const VObject* other) const override;
  int32_t computeHash() const override { return publicDir_.hash(); }
  uint64_t computeFingerprint() const override;
  const TVProjectConfig& rootConfig() const override { return config_; }
  // Nothing asks it: for roots that a client derives.
  virtual VBool rootHook() const { return false; }

  const VString& publicDir() const { return publicDir_; }
  const VString& privateDir() const { return privateDir_; }
  const TVProjectConfig& config() const { return config_; }
  void setConfig(TVProjectConfig config) { config_ = std::move(config); }

 protected:
  void setDirectories(VString publicDir, VString privateDir);

 private:
  VString publicDir_;   // Where "trvsproj.pub" lies.
  VString privateDir_;  // Where "trvsproj.prv" lies.
  TVProjectConfig config_;
};

class TVProjectRootOptions : public TVFolderOptions {
 public:
  explicit TVProjectRootOptions(int version = kAbstractVersion);
  virtual std::unique_ptr<TVObject> makeObject(const VString& publicDir, const VString& privateDir,
                                               TVHandle& context, TVObject* owner,
                                               TVCaching caching);
};

class TVProjectRootHandle : public TVHandle {
 public:
  using TVHandle::TVHandle;
  explicit TVProjectRootHandle(const TVHandle& other) : TVHandle(other) {}

  VString publicDir() const;
  VString privateDir() const;
  // Stores a configuration in memory; nothing is written.
  void setConfig(const TVProjectConfig& config, TVLockScope& scope);

  static TVProjectRootHandle create(const VString& publicDir, const VString& privateDir,
                                    const TVHandle& owner, const TVCreateOptions& options = {});
};

}  // namespace foldapi
