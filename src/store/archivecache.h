// store/archivecache.h: TVArchiveCache, the summaries of a project's archives between runs.
//
// A bounded map from archive path to summary that forgets what was not found for the longest time.
// Each project has one while its children are in memory; it is read from the ".ack" file in the
// project's private directory and written there when the project object is destroyed. It is only an
// accelerator: a missing, damaged or outdated file changes nothing but speed.
//
// The file knows the time of an archive in two-second ticks only. So a summary that was read from
// it is trusted if the tick is the same, and nothing else is compared.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "base/vpathstring.h"
#include "core/queuedhash.h"
#include "toolkit/archiveinfo.h"

namespace foldapi {

class VArchiver;

class TVArchiveCache {
 public:
  static constexpr int32_t kVersion = 14;

  // Holds at most `capacity` summaries. An empty `path` makes a cache without a file.
  TVArchiveCache(VPathString path, int capacity);
  TVArchiveCache(const TVArchiveCache&) = delete;
  TVArchiveCache& operator=(const TVArchiveCache&) = delete;
  virtual ~TVArchiveCache();

  // The version that the file has, 0 without a file that says so. It becomes the cache's.
  int32_t readVersion();
  // Adds what the file holds, whatever its version, to what is kept. True if there was a file. The
  // first error in the file leaves an empty cache.
  enum class Keep { kNothing, kSummaries };
  bool load(Keep keep);
  // load() for a file of the present version. Any other leaves an empty cache, which replaces the
  // file when it is saved.
  void loadIfCurrent();
  // Writes the file, or removes it if the cache is empty. True if there is a path: a failed write
  // is not reported. A file that says the same already is left alone.
  bool save();

  // Destroys all summaries.
  void clear();

  // The summary of an archive as its file is now: read from the file only if the cache has none, or
  // if the file changed. 0; kFolderNoMemory; kFolderNotAnArchive, and the cache then has no
  // summary. *info is the cache's, until it is asked or filled again.
  [[nodiscard]] int32_t fetch(const VPathString& archivePath, TVArchiveInfo52** info);

  // As fetch(), of a summary that it gave since losses() changed last.
  [[nodiscard]] int32_t fetchAgain(TVArchiveInfo52* info);
  // Counts the losses of summaries by all caches.
  static uint64_t losses() { return losses_; }

  // The summary that is here for an archive, which becomes the newest, or null.
  TVArchiveInfo52* find(std::string_view archivePath);
  // Takes a summary as the newest, and destroys the oldest that don't fit. Gives it; null, and
  // `info` is gone, if there is one for that path.
  TVArchiveInfo52* add(std::unique_ptr<TVArchiveInfo52> info);

  int32_t version() const { return version_; }
  void setVersion(int32_t version) { version_ = version; }
  const VPathString& path() const { return path_; }
  int size() const { return queue_.size(); }

 private:
  bool readFileText(std::string* text) const;
  bool readQueue(VArchiver& archive);

  static uint64_t losses_;

  int32_t version_ = kVersion;
  TVQueuedHash queue_;
  VPathString path_;
};

}  // namespace foldapi
