// domain/projectfolder.h: TVProjectFolder, a folder that the root holds and that carries what only
// a project has: a configuration, and a public work directory beside the private one.
#pragma once

#include "domain/archivefolder.h"

namespace foldapi {

class TVDiffOptions;
class TVGetOptions;
class TVLogOptions;

class TVProjectFolder : public TVArchiveFolder {
 public:
  static const VClassRecord theClass;

  TVProjectFolder(VString name, TVProjectConfig config, VString privateWorkDir,
                  VString publicWorkDir, TVObject* owner, TVCaching caching = TVCaching::kCached);

  const VClassRecord* isA() const override { return &theClass; }
  VString name(const TVOptionArray& options) const override;
  int attribute(const TVOptionArray& options) const override;
  const TVProjectConfig& projectConfig() const override { return config_; }

  // What only the format subclass can do, with the toolkit. The checks tell what is wrong in
  // *errorText or, where that is null, to the context's sink.
  // Whether `date` is a date in the words and the format of the project's configuration. An empty
  // one is, and "*".
  [[nodiscard]] virtual VBool validateDate(TVHandle& context, const VString& date,
                                           VString* errorText);
  // Whether lock, promotion group and revision of a check-out go together in the project's
  // promotion model.
  [[nodiscard]] virtual VBool validatePromotion(TVHandle& context, const TVGetOptions& options,
                                                VString* errorText);
  // Reports on `archive`, "archive(workfile)" or a path. An operation result.
  [[nodiscard]] virtual int reportLog(TVHandle& context, const char* archive,
                                      const TVLogOptions& options);
  // Compares two contents. An operation result.
  [[nodiscard]] virtual int differences(TVHandle& context, TVDiffOptions& options);

  const VString& publicWorkDir() const { return publicWorkDir_; }
  void setPublicWorkDir(const VString& dir) {
    publicWorkDir_ = dir;
    recordChanged();
  }
  const TVProjectConfig& config() const { return config_; }
  void setConfig(const TVProjectConfig& config) {
    config_ = config;
    recordChanged();
  }

 private:
  VString publicWorkDir_;
  TVProjectConfig config_;
};

class TVProjectFolderOptions : public TVFolderOptions {
 public:
  explicit TVProjectFolderOptions(int version = kAbstractVersion);
  virtual std::unique_ptr<TVObject> makeObject(const VString& name, const TVProjectConfig& config,
                                               const VString& privateWorkDir,
                                               const VString& publicWorkDir, TVHandle& context,
                                               TVObject* owner, TVCaching caching);
};

class TVProjectFolderHandle : public TVArchiveFolderHandle {
 public:
  using TVArchiveFolderHandle::TVArchiveFolderHandle;
  explicit TVProjectFolderHandle(const TVHandle& other) : TVArchiveFolderHandle(other) {}

  VString publicDir() const;  // The public work directory.
  TVProjectConfig config() const;
  // The directories stand in the root's files, so their setters change those as well. The private
  // one also has the project's own pair written anew.
  void setPublicDir(const VString& dir);
  void setPrivateDir(const VString& dir) override;
  // Stores a configuration in memory; `scope` may hold the project already.
  void setConfig(const TVProjectConfig& config, TVLockScope& scope);

  // As those of the object. Without one the checks give false, the others kResultMissing.
  [[nodiscard]] VBool validateDate(const VString& date, VString* errorText);
  [[nodiscard]] VBool validatePromotion(const TVGetOptions& options, VString* errorText);
  [[nodiscard]] int reportLog(const char* archive, const TVLogOptions& options);
  [[nodiscard]] int differences(TVDiffOptions& options);

  static TVProjectFolderHandle create(const VString& name, const TVProjectConfig& config,
                                      const VString& privateDir, const VString& publicDir,
                                      const TVHandle& parent, const TVCreateOptions& options = {});

 private:
  void setDirectory(void (TVProjectFolder::*setter)(const VString&), const VString& dir);
};

}  // namespace foldapi
