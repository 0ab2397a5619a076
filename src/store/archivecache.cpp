// store/archivecache.cpp: the ".ack" file of a project.
//
// Its text is an archive of one object, the queue: a count, then the summaries from the oldest to
// the newest, each an object of its own.
#include "store/archivecache.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "base/varchiver.h"
#include "os/file.h"
#include "runtime/files.h"
#include "runtime/paths.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

constexpr uint64_t kStart = 16;  // Bytes, more than a number takes.

}  // namespace

uint64_t TVArchiveCache::losses_ = 0;

TVArchiveCache::TVArchiveCache(VPathString path, int capacity)
    : queue_(capacity), path_(std::move(path)) {}

TVArchiveCache::~TVArchiveCache() { clear(); }

void TVArchiveCache::clear() {
  ++losses_;
  queue_.clearAndDelete();
}

bool TVArchiveCache::readFileText(std::string* text) const {
  return !path_.isEmpty() && readFile(path_.view(), text);
}

// The number stands at the very start: the rest of the file need not be read for it.
int32_t TVArchiveCache::readVersion() {
  version_ = 0;
  os::File file;
  if (openFile(path_.view(), os::File::Access::kRead, &file) != os::FileResult::kDone) return 0;
  std::string start(static_cast<size_t>(std::min(file.size(), kStart)), '\0');
  if (!file.readAt(0, start.data(), start.size())) return 0;
  return VArchiver(start).getNumber(&version_) ? version_ : 0;
}

bool TVArchiveCache::load(Keep keep) {
  if (keep == Keep::kNothing) clear();
  std::string text;
  if (!readFileText(&text)) return false;
  VArchiver archive(text);
  if (!archive.getNumber(&version_) || !readQueue(archive)) clear();
  return true;
}

void TVArchiveCache::loadIfCurrent() {
  if (readVersion() != kVersion || !load(Keep::kNothing)) clear();
  setVersion(kVersion);
}

bool TVArchiveCache::readQueue(VArchiver& archive) {
  int32_t count = 0;
  if (!archive.getHead(TVQueuedHash::theClass) || !archive.getNumber(&count) || count < 0) {
    return false;
  }
  for (; count != 0; --count) {
    auto info = std::make_unique<TVArchiveInfo52>();
    if (!archive.getHead(TVArchiveInfo52::theClass) || !info->getFrom(archive)) return false;
    add(std::move(info));
  }
  return true;
}

bool TVArchiveCache::save() {
  if (path_.isEmpty()) return false;
  if (queue_.isEmpty()) {
    removeFile(path_.view());
    return true;
  }
  VArchiver archive;
  archive.putNumber(version_);
  archive.putHead(TVQueuedHash::theClass);
  archive.putNumber(queue_.size());
  TVIterator walk(queue_);
  while (VObject* const value = walk.next()) {
    archive.putHead(TVArchiveInfo52::theClass);
    static_cast<TVArchiveInfo52*>(value)->putTo(archive);
  }
  std::string old;
  if (readFileText(&old) && old == archive.text()) return true;
  // A file that can't be written is done without.
  if (makeDirectories(path_.view()) == 0)
    static_cast<void>(replaceFile(path_.view(), archive.text()));
  return true;
}

int32_t TVArchiveCache::fetch(const VPathString& archivePath, TVArchiveInfo52** info) {
  try {
    *info = find(archivePath.view());
    if (*info != nullptr) return fetchAgain(*info);
    auto fresh = std::make_unique<TVArchiveInfo52>(archivePath);
    if (fresh->Load() != 0) return kFolderNotAnArchive;
    *info = add(std::move(fresh));
    return 0;
  } catch (const std::bad_alloc&) {
    return kFolderNoMemory;
  }
}

int32_t TVArchiveCache::fetchAgain(TVArchiveInfo52* info) {
  try {
    queue_.use(info);
    if (info->IsCurrent() || info->Load() == 0) return 0;
    ++losses_;
    delete queue_.removeIdentical(info);
    return kFolderNotAnArchive;
  } catch (const std::bad_alloc&) {
    return kFolderNoMemory;
  }
}

TVArchiveInfo52* TVArchiveCache::find(std::string_view archivePath) {
  const TVArchiveKey key(archivePath);
  return static_cast<TVArchiveInfo52*>(queue_.find(&key));
}

TVArchiveInfo52* TVArchiveCache::add(std::unique_ptr<TVArchiveInfo52> info) {
  const int before = queue_.size();
  auto* const added = static_cast<TVArchiveInfo52*>(queue_.add(info.get()));
  if (queue_.size() <= before) ++losses_;
  if (added != nullptr) static_cast<void>(info.release());  // The queue's now.
  return added;
}

}  // namespace foldapi
