// domain/projectroot.cpp: the root in memory.
#include "domain/projectroot.h"

#include "domain/projectfolder.h"
#include "os/fingerprint.h"

namespace foldapi {

const VClassRecord TVProjectRoot::theClass = {"TVProjectRoot", &TVObject::theClass, 10,
                                              []() -> VObject* { return new TVProjectRootHandle; }};

TVProjectRoot::TVProjectRoot(VString publicDir, VString privateDir, TVObject* owner,
                             TVCaching caching)
    : TVObject(owner, caching),
      publicDir_(std::move(publicDir)),
      privateDir_(std::move(privateDir)) {}

bool TVProjectRoot::isEqual(const VObject* other) const {
  return TVObject::isEqual(other) &&
         static_cast<const TVProjectRoot*>(other)->publicDir_ == publicDir_;
}

uint64_t TVProjectRoot::computeFingerprint() const {
  return os::fingerprintText(publicDir_.view(), 1);
}

void TVProjectRoot::setDirectories(VString publicDir, VString privateDir) {
  publicDir_ = std::move(publicDir);
  privateDir_ = std::move(privateDir);
}

TVProjectRootOptions::TVProjectRootOptions(int version)
    : TVFolderOptions(&TVProjectRoot::theClass, version, TVSortType::kName,
                      {&TVProjectFolder::theClass}) {}

std::unique_ptr<TVObject> TVProjectRootOptions::makeObject(const VString& publicDir,
                                                           const VString& privateDir, TVHandle&,
                                                           TVObject* owner, TVCaching caching) {
  return std::make_unique<TVProjectRoot>(publicDir, privateDir, owner, caching);
}

VString TVProjectRootHandle::publicDir() const {
  const auto* root = as<TVProjectRoot>();
  return root == nullptr ? VString() : root->publicDir();
}

VString TVProjectRootHandle::privateDir() const {
  const auto* root = as<TVProjectRoot>();
  return root == nullptr ? VString() : root->privateDir();
}

void TVProjectRootHandle::setConfig(const TVProjectConfig& config, TVLockScope& scope) {
  auto* root = as<TVProjectRoot>();
  if (root == nullptr || !scope.lockOwner(*this)) return;
  root->setConfig(config);
  static_cast<void>(scope.unlockOwner(*this));  // No file has the configuration.
}

TVProjectRootHandle TVProjectRootHandle::create(const VString& publicDir, const VString& privateDir,
                                                const TVHandle& owner,
                                                const TVCreateOptions& options) {
  return TVProjectRootHandle(createObject(
      &TVProjectRoot::theClass, owner, options,
      [&](TVFolderOptions& rules, TVHandle& context, TVObject* parent, TVCaching caching) {
        return static_cast<TVProjectRootOptions&>(rules).makeObject(publicDir, privateDir, context,
                                                                    parent, caching);
      }));
}

}  // namespace foldapi
