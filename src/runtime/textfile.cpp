// runtime/textfile.cpp: who may have a data file, and how a change reaches it.
//
// A lock belongs to the file that was opened, while others know the file by its path, and a commit
// puts another file there. So every lock is followed by a look whether the path still names what
// was locked. A reader without the lock needs no more than that each file is whole at any time: a
// rewrite makes a new file, and an append stays within one page, which the system changes at once.
#include "runtime/textfile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "runtime/bytefile.h"
#include "runtime/platform_file.h"
#include "runtime/platform_time.h"
#include "runtime/textbuffer.h"

namespace foldapi {
namespace {

constexpr int kOpenAttempts = 100;  // Each means that somebody committed in between.
constexpr unsigned kWaitPause = 2;  // Milliseconds between two looks at a lock.
// An updater looks again soon, since one that waits for the lock takes it for an instant to see.
constexpr int kUpdateAttempts = 3;
constexpr unsigned kUpdatePause = 1;
constexpr uint64_t kPageSize = 4096;
constexpr uint64_t kLargestFile = uint64_t{1} << 31;

// The data files that this process holds exclusively.
class ExclusiveHolds {
 public:
  void add(const FileStatus& file) { files_.push_back(file); }
  void remove(const FileStatus& file) {
    const auto found = find(file);
    if (found != files_.end()) files_.erase(found);
  }
  bool contains(const FileStatus& file) { return find(file) != files_.end(); }

 private:
  std::vector<FileStatus>::iterator find(const FileStatus& file) {
    return std::find_if(files_.begin(), files_.end(),
                        [&](const FileStatus& held) { return held.isSameFile(file); });
  }
  std::vector<FileStatus> files_;
};

ExclusiveHolds& exclusiveHolds() {
  static ExclusiveHolds& files =
      *new ExclusiveHolds;  // Never destroyed: clients may close at exit.
  return files;
}

TextFile::Failure failureOf(FileResult result) {
  switch (result) {
    case FileResult::kOk:
      return TextFile::Failure::kNone;
    case FileResult::kMissing:
      return TextFile::Failure::kMissing;
    case FileResult::kBusy:
      return TextFile::Failure::kBusy;
    case FileResult::kNoMemory:
      return TextFile::Failure::kNoMemory;
    case FileResult::kRefused:
      break;
  }
  return TextFile::Failure::kRefused;
}

bool isUnchanged(const FileStatus& before, const FileStatus& now) {
  return before.isSameFile(now) && before.size == now.size && before.nanoseconds == now.nanoseconds;
}

// Turns each CR LF of `text` into LF, in place. Most of the work is finding the first CR.
void dropCarriageReturns(TextBuffer* text) {
  char* const end = text->data() + text->size();
  const auto nextReturn = [end](char* from) {
    return static_cast<char*>(std::memchr(from, '\r', static_cast<size_t>(end - from)));
  };
  if (text->isEmpty()) return;
  char* found = nextReturn(text->data());
  if (found == nullptr) return;
  char* out = found;
  while (found != nullptr) {
    char* const rest = found + 1;  // `found` goes if a LF follows.
    if (rest == end || *rest != '\n') *out++ = '\r';
    found = rest == end ? nullptr : nextReturn(rest);
    const auto run = static_cast<size_t>((found == nullptr ? end : found) - rest);
    std::memmove(out, rest, run);
    out += run;
  }
  text->setSize(static_cast<size_t>(out - text->data()));
}

std::string withCarriageReturns(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() + static_cast<size_t>(std::count(text.begin(), text.end(), '\n')));
  while (!text.empty()) {
    const size_t end = text.find('\n');
    bytes += text.substr(0, end);
    if (end == std::string_view::npos) break;
    bytes += "\r\n";
    text.remove_prefix(end + 1);
  }
  return bytes;
}

// An open data file, held as it was asked for.
struct HeldFile {
  ByteFile file;
  FileStatus status;      // When it was held, before the read.
  bool isLocked = false;  // Else others may change it now.

  bool isNamedBy(std::string_view path) const {
    FileStatus named;
    return readStat(path, &named) && named.isSameFile(status);
  }

  // Reads the whole content as it is on disk.
  FileResult read(TextBuffer* text) {
    FileStatus after;
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
      const FileResult result = readOnce(text);
      if (result != FileResult::kOk || isLocked) return result;
      if (!file.readStatus(&after)) return FileResult::kRefused;
      if (isUnchanged(status, after)) return FileResult::kOk;
      status = after;
    }
    return FileResult::kBusy;
  }

 private:
  FileResult readOnce(TextBuffer* text) {
    if (status.size > kLargestFile) return FileResult::kNoMemory;
    text->clear();
    text->reserve(status.size);
    const int64_t count = file.readAt(0, text->data(), status.size);
    if (count < 0) return FileResult::kRefused;
    text->setSize(static_cast<size_t>(count));
    return FileResult::kOk;
  }
};

FileResult lockForUpdate(const ByteFile& file) {
  FileResult result = file.tryLock(ByteFile::Lock::kExclusive);
  for (int attempt = 1; attempt < kUpdateAttempts && result == FileResult::kBusy; ++attempt) {
    sleepMilliseconds(kUpdatePause);
    result = file.tryLock(ByteFile::Lock::kExclusive);
  }
  return result;
}

// Takes the lock that `access` needs. kOk without a lock is a reader that another process lets in.
FileResult lockFor(TextFile::Access access, HeldFile* held) {
  if (access == TextFile::Access::kUpdate) {
    if (!held->status.ownerMayWrite) return FileResult::kRefused;
    const FileResult result = lockForUpdate(held->file);
    held->isLocked = result == FileResult::kOk;
    return result;
  }
  const FileResult result = held->file.tryLock(ByteFile::Lock::kShared);
  held->isLocked = result == FileResult::kOk;
  if (held->isLocked || access == TextFile::Access::kProbe) return result;
  return exclusiveHolds().contains(held->status) ? FileResult::kBusy : FileResult::kOk;
}

FileResult openAndHold(std::string_view path, TextFile::Access access, HeldFile* held) {
  const ByteFile::Mode mode =
      access == TextFile::Access::kUpdate ? ByteFile::Mode::kUpdate : ByteFile::Mode::kRead;
  for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
    FileResult result = held->file.open(path, mode);
    if (result != FileResult::kOk) return result;
    if (!held->file.readStatus(&held->status) || !held->status.isRegular) {
      return FileResult::kRefused;
    }
    result = lockFor(access, held);
    if (result != FileResult::kOk) return result;
    if (!held->isLocked) return FileResult::kOk;  // Whole even if it is the old one by now.
    // The last holder may have changed it while it was being opened.
    if (!held->file.readStatus(&held->status)) return FileResult::kRefused;
    if (held->isNamedBy(path)) return FileResult::kOk;
  }
  return FileResult::kBusy;
}

// Whether the file can be had exclusively now, or there is nothing to wait for. It is opened for
// writing: over a network an exclusive lock asks for that.
bool isFree(std::string_view path) {
  HeldFile held;
  if (held.file.open(path, ByteFile::Mode::kUpdate) != FileResult::kOk ||
      !held.file.readStatus(&held.status)) {
    return true;
  }
  if (held.file.tryLock(ByteFile::Lock::kExclusive) != FileResult::kOk) return false;
  held.file.close();  // First of all, since others may ask just now.
  return held.isNamedBy(path);
}

}  // namespace

struct TextFile::State {
  std::string path;
  Access access = Access::kRead;
  HeldFile held;
  TextBuffer text;
  // What of `text` is on disk as it stands: all of it, or nothing after clear().
  size_t keptSize = 0;
  bool isCleared = false;
  bool hasFailed = false;

  bool isUpdater() const { return access == Access::kUpdate; }

  void startHolding(HeldFile now) {
    if (isUpdater()) exclusiveHolds().remove(held.status);
    held = std::move(now);
    access = Access::kUpdate;
    exclusiveHolds().add(held.status);
  }

  // Whether the system carries out an append of `length` bytes at once.
  bool fitsAppend(size_t length) const {
    return held.status.size % kPageSize + length <= kPageSize;
  }

  bool append(std::string_view bytes) {
    if (!held.file.append(bytes)) return false;
    if (held.file.sync()) return true;
    held.file.setSize(held.status.size);
    return false;
  }

  bool rewrite(std::string_view bytes) {
    HeldFile now;
    now.isLocked = true;
    const FileResult result = placeNewFile(path, &held.status, bytes, &now.file);
    if (result == FileResult::kMissing) {
      return overwriteInPlace(held.file, held.status.size, bytes);
    }
    if (result != FileResult::kOk || !now.file.readStatus(&now.status)) return false;
    startHolding(std::move(now));
    return true;
  }

  bool write() {
    FileStatus present;
    if (!held.file.readStatus(&present) || !held.isNamedBy(path)) return false;
    held.status = present;
    if (isCleared) return rewrite(withCarriageReturns(text.view()));
    const std::string added = withCarriageReturns(text.view().substr(keptSize));
    if (fitsAppend(added.size())) return append(added);
    TextBuffer whole;  // With what was there byte for byte, whatever its line ends.
    whole.reserve(held.status.size + added.size());
    if (held.read(&whole) != FileResult::kOk) return false;
    whole.append(added);
    return rewrite(whole.view());
  }
};

TextFile::TextFile(std::unique_ptr<State> state) : state_(std::move(state)) {}

TextFile::~TextFile() {
  if (state_->isUpdater()) exclusiveHolds().remove(state_->held.status);
}

std::unique_ptr<TextFile> TextFile::open(std::string_view path, Access access, Failure* failure) {
  FileResult result = FileResult::kNoMemory;
  try {
    auto state = std::make_unique<State>();
    state->path = path;
    HeldFile held;
    result = openAndHold(path, access, &held);
    if (result == FileResult::kOk) result = held.read(&state->text);
    if (result == FileResult::kOk) {
      dropCarriageReturns(&state->text);
      state->keptSize = state->text.size();
      if (access == Access::kUpdate) {
        state->startHolding(std::move(held));
      } else {
        state->held = std::move(held);
        state->access = access;
      }
      *failure = Failure::kNone;
      return std::unique_ptr<TextFile>(new TextFile(std::move(state)));
    }
  } catch (const std::bad_alloc&) {
    result = FileResult::kNoMemory;
  }
  *failure = failureOf(result);
  return nullptr;
}

bool TextFile::create(std::string_view path) { return createFile(path); }

std::string_view TextFile::text() const { return state_->text.view(); }

bool TextFile::isChanged() const {
  return state_->isCleared || state_->text.size() != state_->keptSize;
}

void TextFile::clear() {
  if (!becomeUpdater()) return;
  state_->text.clear();
  state_->isCleared = true;
  state_->keptSize = 0;
}

void TextFile::append(std::string_view text) {
  if (text.empty() || !becomeUpdater()) return;
  try {
    state_->text.append(text);
  } catch (const std::bad_alloc&) {
    state_->hasFailed = true;
  }
}

void TextFile::endLastLine() {
  if (!state_->text.isEmpty() && !state_->text.view().ends_with('\n')) append("\n");
}

bool TextFile::failed() const { return state_->hasFailed; }

bool TextFile::commit() {
  if (state_->hasFailed) return false;
  if (!isChanged()) return true;
  try {
    state_->hasFailed = !state_->write();
  } catch (const std::bad_alloc&) {
    state_->hasFailed = true;
  }
  if (state_->hasFailed) return false;
  state_->isCleared = false;
  state_->keptSize = state_->text.size();
  return true;
}

FileStamp TextFile::stamp() const { return state_->held.file.stamp(); }

// Makes a file that was opened for reading ready for its first change.
bool TextFile::becomeUpdater() {
  State& state = *state_;
  if (state.hasFailed) return false;
  if (state.isUpdater()) return true;
  const FileStatus opened = state.held.status;
  state.held.file.close();  // Its own shared hold would be in the way.
  HeldFile held;
  if (openAndHold(state.path, Access::kUpdate, &held) != FileResult::kOk ||
      !isUnchanged(opened, held.status)) {
    state.hasFailed = true;
    return false;
  }
  state.startHolding(std::move(held));
  return true;
}

unsigned waitForTextFile(std::string_view path, unsigned milliseconds) {
  const int64_t end = steadyMilliseconds() + milliseconds;
  int64_t left = milliseconds;
  while (left > 0 && !isFree(path)) {
    sleepMilliseconds(static_cast<unsigned>(std::min<int64_t>(left, kWaitPause)));
    left = end - steadyMilliseconds();
  }
  return static_cast<unsigned>(std::max<int64_t>(left, 0));
}

bool isTextFileShared(std::string_view path) {
  ByteFile file;
  return file.openRead(path) && file.tryLock(ByteFile::Lock::kShared) == FileResult::kOk;
}

}  // namespace foldapi
