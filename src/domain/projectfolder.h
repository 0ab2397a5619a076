// domain/projectfolder.h: TVProjectFolder, a folder that the root holds and that carries what only
// a project has: a configuration, and a public work directory beside the private one.
#pragma once

#include "domain/archivefolder.h"

namespace foldapi {

class TVProjectFolder : public TVArchiveFolder {
 public:
  static const VClassRecord theClass;

  TVProjectFolder(VString name, TVProjectConfig config, VString privateWorkDir,
                  VString publicWorkDir, TVObject* owner, VBool transient);

  const VClassRecord* isA() const override { return &theClass; }
  VString name(const TVOptionArray& options) const override;
  int attribute(const TVOptionArray& options) const override;
  TVProjectConfig projectConfig() const override { return config_; }

  const VString& publicWorkDir() const { return publicWorkDir_; }
  void setPublicWorkDir(const VString& dir) { publicWorkDir_ = dir; }
  const TVProjectConfig& config() const { return config_; }
  void setConfig(const TVProjectConfig& config) { config_ = config; }

 private:
  VString publicWorkDir_;
  TVProjectConfig config_;
};

class TVProjectFolderOptions : public TVFolderOptions {
 public:
  explicit TVProjectFolderOptions(int version = 1);
  virtual TVObject* makeObject(const VString& name, const TVProjectConfig& config,
                               const VString& privateWorkDir, const VString& publicWorkDir,
                               TVHandle& context, TVObject* owner, VBool transient);
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

  static TVProjectFolderHandle create(const VString& name, const TVProjectConfig& config,
                                      const VString& privateDir, const VString& publicDir,
                                      const TVHandle& parent, TVLockScope& scope, TVErrorSink* sink,
                                      int mode, int version);

 private:
  void setDirectory(void (TVProjectFolder::*setter)(const VString&), const VString& dir);
};

}  // namespace foldapi
