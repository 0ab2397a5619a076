// runtime/textfile.cpp: who may have a data file, and how a change reaches it.
//
// A lock belongs to the file that was opened, while others know the file by its path, and a commit
// puts another file there. So every lock is followed by a look whether the path still names what
// was locked. A reader without the lock needs no more than that each file is whole at any time: a
// rewrite makes a new file, and an append stays within one page, which the system changes at once,
// or is a line that counts for nothing before its end is there.
#include "runtime/textfile.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#include "os/clock.h"
#include "os/sibling.h"
#include "runtime/nativepath.h"
#include "runtime/textbuffer.h"

namespace foldapi {
namespace {

using os::File;
using os::FileResult;
using os::FileStatus;

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
  void add(const File& file) { files_.push_back(file.status().identity); }
  void remove(const File& file) {
    const auto found = find(file);
    if (found != files_.end()) files_.erase(found);
  }
  bool contains(const File& file) { return find(file) != files_.end(); }

 private:
  std::vector<os::FileIdentity>::iterator find(const File& file) {
    return std::find(files_.begin(), files_.end(), file.status().identity);
  }
  std::vector<os::FileIdentity> files_;
};

ExclusiveHolds& exclusiveHolds() {
  static ExclusiveHolds& files =
      *new ExclusiveHolds;  // Never destroyed: clients may close at exit.
  return files;
}

TextFile::Failure failureOf(FileResult result) {
  switch (result) {
    case FileResult::kDone:
      return TextFile::Failure::kNone;
    case FileResult::kMissing:
      return TextFile::Failure::kMissing;
    case FileResult::kBusy:
      return TextFile::Failure::kBusy;
    case FileResult::kNoLocks:
      return TextFile::Failure::kNoLocks;
    case FileResult::kForeignLink:
      return TextFile::Failure::kForeignLink;
    case FileResult::kTooLarge:
      return TextFile::Failure::kNoMemory;
    default:
      return TextFile::Failure::kRefused;
  }
}

bool isUnchanged(const FileStatus& before, const FileStatus& now) {
  return before.identity == now.identity && before.size == now.size &&
         before.nanoseconds == now.nanoseconds;
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
    char* const rest = found + 1;  // `found` is dropped if a LF follows.
    if (rest == end || *rest != '\n') *out++ = '\r';
    found = rest == end ? nullptr : nextReturn(rest);
    const auto run = static_cast<size_t>((found == nullptr ? end : found) - rest);
    std::memmove(out, rest, run);
    out += run;
  }
  text->setSize(static_cast<size_t>(out - text->data()));
}

size_t countLines(std::string_view text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Turns each LF of `text` into CR LF, in place: what is there first makes room before it.
void addCarriageReturns(TextBuffer* text) {
  const size_t size = text->size();
  const size_t lines = countLines(text->view());
  if (lines == 0) return;
  text->reserve(size + lines);
  char* to = text->data();
  char* from = to + lines;
  char* const end = from + size;
  std::memmove(from, to, size);
  while (to != from) {
    char* const found =
        static_cast<char*>(std::memchr(from, '\n', static_cast<size_t>(end - from)));
    const auto run = static_cast<size_t>(found - from);
    std::memmove(to, from, run);
    to += run;
    *to++ = '\r';
    *to++ = '\n';
    from = found + 1;
  }
  text->setSize(size + lines);
}

// Takes lines that are in `text` exactly once out of it.
bool cutLines(TextBuffer* text, std::string_view lines) {
  const std::boyer_moore_horspool_searcher seek(lines.begin(), lines.end());
  char* const end = text->data() + text->size();
  char* const found = std::search(text->data(), end, seek);
  if (found == end || (found != text->data() && found[-1] != '\n')) return false;
  char* const rest = found + lines.size();
  if (std::search(rest, end, seek) != end) return false;
  std::memmove(found, rest, static_cast<size_t>(end - rest));
  text->setSize(text->size() - lines.size());
  return true;
}

// An open data file, held as it was asked for.
struct HeldFile {
  File file;
  bool isLocked = false;  // Else others may change it now.

  // Reads the whole content as it is on disk, where nobody changes it meanwhile.
  FileResult read(TextBuffer* text) {
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
      const FileStatus before = file.status();
      if (before.size > kLargestFile) return FileResult::kTooLarge;
      const auto size = static_cast<size_t>(before.size);
      text->clear();
      text->reserve(size);
      const bool isWhole = file.readAt(0, text->data(), size);
      text->setSize(size);
      if (!isLocked && !file.refresh()) return file.failure();
      if (!isUnchanged(before, file.status())) continue;
      return isWhole ? FileResult::kDone : file.failure();
    }
    return FileResult::kBusy;
  }

  // Reads the last byte, 0 of an empty file.
  FileResult readLast(char* last) {
    const uint64_t size = file.size();
    if (size > kLargestFile) return FileResult::kTooLarge;
    *last = '\0';
    return size == 0 || file.readAt(size - 1, last, 1) ? FileResult::kDone : file.failure();
  }
};

FileResult lockForUpdate(const File& file) {
  FileResult result = file.tryLock(File::Lock::kExclusive);
  for (int attempt = 1; attempt < kUpdateAttempts && result == FileResult::kBusy; ++attempt) {
    os::sleepMilliseconds(kUpdatePause);
    result = file.tryLock(File::Lock::kExclusive);
  }
  return result;
}

// Takes the lock that `access` needs. kDone without a lock is a reader that another process lets
// in, or one where there are no locks.
FileResult lockFor(TextFile::Access access, HeldFile* held) {
  if (access == TextFile::Access::kUpdate) {
    if (!held->file.status().ownerMayWrite) return FileResult::kRefused;
    const FileResult result = lockForUpdate(held->file);
    held->isLocked = result == FileResult::kDone;
    return result;
  }
  const FileResult result = held->file.tryLock(File::Lock::kShared);
  held->isLocked = result == FileResult::kDone;
  if (held->isLocked || access == TextFile::Access::kProbe) return result;
  return exclusiveHolds().contains(held->file) ? FileResult::kBusy : FileResult::kDone;
}

FileResult openAndHold(std::string_view path, TextFile::Access access, HeldFile* held) {
  const bool isUpdate = access == TextFile::Access::kUpdate;
  for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
    FileResult result =
        openFile(path, isUpdate ? File::Access::kUpdate : File::Access::kRead, &held->file);
    if (result == FileResult::kDone) result = lockFor(access, held);
    if (result != FileResult::kDone) return result;
    if (!held->isLocked) return FileResult::kDone;  // Whole even if it is the old one by now.
    // The last holder may have changed or replaced it while it was being opened.
    if (isUpdate ? held->file.confirm() : confirmFile(path, &held->file)) return FileResult::kDone;
  }
  return FileResult::kBusy;
}

// Opens and holds it, and reads it with `read`, as often as another machine replaces it before that
// is done.
template <typename Read>
FileResult openAndRead(std::string_view path, TextFile::Access access, HeldFile* held, Read read) {
  FileResult result = FileResult::kStale;
  for (int attempt = 0; attempt < kOpenAttempts && result == FileResult::kStale; ++attempt) {
    result = openAndHold(path, access, held);
    if (result == FileResult::kDone) result = read();
  }
  return result;
}

// Whether the file can be locked exclusively now, or there is nothing to wait for. It is opened for
// writing: over a network an exclusive lock asks for that.
bool isFree(std::string_view path) {
  File file;
  if (openFile(path, File::Access::kUpdate, &file) != FileResult::kDone) return true;
  if (file.tryLock(File::Lock::kExclusive) == FileResult::kBusy) return false;
  file.close();  // First of all, since others may ask just now.
  return file.confirm();
}

}  // namespace

struct TextFile::State {
  std::string path;
  Access access = Access::kRead;
  HeldFile held;
  // What is there, unless nobody has asked for it yet, and what was added.
  TextBuffer text;
  bool isRead = false;
  bool hasReturns = false;  // The text has its line ends as they are on disk.
  char last = '\0';         // What is there ends with it, until it is read.
  // What of `text` is on disk as it stands: all of it, or nothing after clear().
  size_t keptSize = 0;
  uint64_t sizeBefore = 0;  // On disk, before the last commit, if that only added.
  bool isCleared = false;
  bool hasDroppedEnd = false;  // On disk more follows.
  bool hasFailed = false;

  bool isUpdater() const { return access == Access::kUpdate; }

  FileResult readAll(TextBuffer* all) {
    const FileResult result = held.read(all);
    if (result != FileResult::kDone) return result;
    dropCarriageReturns(all);
    keptSize = all->size();
    isRead = true;
    return result;
  }

  // Nobody has changed it since it was locked.
  void readWhenAsked() {
    if (std::exchange(hasReturns, false)) dropCarriageReturns(&text);
    if (isRead || hasFailed) return;
    TextBuffer all;
    hasFailed = !held.file.refresh() || readAll(&all) != FileResult::kDone;
    if (hasFailed) return;
    all.append(text.view());
    text = std::move(all);
  }

  bool endsInLine() const {
    if (!text.isEmpty()) return text.view().ends_with('\n');
    return isRead || held.file.size() == 0 || last == '\n';
  }

  void startHolding(HeldFile now) {
    if (isUpdater()) exclusiveHolds().remove(held.file);
    held = std::move(now);
    access = Access::kUpdate;
    exclusiveHolds().add(held.file);
  }

  // How many bytes the system adds at once.
  size_t roomInPage() const { return kPageSize - held.file.size() % kPageSize; }

  // Of a line in brackets that comes page by page a reader sees nothing before its "]", and a power
  // cut leaves nothing of it.
  bool fitsAppend(std::string_view bytes) const {
    const bool isLine = bytes.starts_with('[') && bytes.find('\n') == bytes.size() - 1;
    return isLine || bytes.size() <= roomInPage();
  }

  bool append(std::string_view bytes) {
    while (!bytes.empty()) {
      const std::string_view part = bytes.substr(0, roomInPage());
      if (!held.file.append(part) || !held.file.sync() || !held.file.refresh()) {
        held.file.setSize(sizeBefore);
        return false;
      }
      bytes.remove_prefix(part.size());
    }
    return true;
  }

  bool rewrite(std::string_view bytes) {
    HeldFile now;
    now.isLocked = true;
    const os::Place place = held.file.place();
    if (os::replaceFile(place, &held.file, bytes, &now.file) != FileResult::kDone) return false;
    if (now.file.isOpen()) {
      startHolding(std::move(now));
    } else {
      static_cast<void>(held.file.refresh());  // Written where it stands.
    }
    return true;
  }

  // The text itself is used up: it is read again if somebody asks for it.
  bool write() {
    if (!held.file.confirm()) return false;
    if (hasReturns) return rewrite(text.view());
    if (isCleared || hasDroppedEnd) {
      sizeBefore = keptSize + countLines(text.view().substr(0, keptSize));
      addCarriageReturns(&text);
      return rewrite(text.view());
    }
    sizeBefore = held.file.size();
    TextBuffer added;
    added.append(text.view().substr(keptSize));
    addCarriageReturns(&added);
    if (fitsAppend(added.view())) return append(added.view());
    TextBuffer whole;  // With what was there byte for byte, whatever its line ends.
    if (held.read(&whole) != FileResult::kDone) return false;
    whole.append(added.view());
    return rewrite(whole.view());
  }
};

TextFile::TextFile(std::unique_ptr<State> state) : state_(std::move(state)) {}

TextFile::~TextFile() {
  if (state_->isUpdater()) exclusiveHolds().remove(state_->held.file);
}

std::unique_ptr<TextFile> TextFile::open(std::string_view path, Access access, Failure* failure) {
  try {
    auto state = std::make_unique<State>();
    state->path = path;
    HeldFile& held = state->held;
    const bool isUpdate = access == Access::kUpdate;
    const FileResult result = openAndRead(path, access, &held, [&] {
      return isUpdate ? held.readLast(&state->last) : state->readAll(&state->text);
    });
    *failure = failureOf(result);
    if (result == FileResult::kDone) {
      state->access = access;
      if (isUpdate) exclusiveHolds().add(held.file);
      return std::unique_ptr<TextFile>(new TextFile(std::move(state)));
    }
  } catch (const std::bad_alloc&) {
    *failure = Failure::kNoMemory;
  }
  return nullptr;
}

bool TextFile::create(std::string_view path) { return createFile(path); }

std::string_view TextFile::text() const {
  state_->readWhenAsked();
  return state_->text.view();
}

bool TextFile::endsInLine() const { return state_->endsInLine(); }

void TextFile::letGo() {
  state_->readWhenAsked();
  if (state_->isUpdater()) exclusiveHolds().remove(state_->held.file);
  state_->access = Access::kRead;
  state_->held.file = {};
}

void TextFile::dropEnd(size_t size) {
  if (size >= text().size()) return;
  state_->text.setSize(size);
  state_->keptSize = size;
  state_->hasDroppedEnd = true;
}

bool TextFile::hasDroppedEnd() const { return state_->hasDroppedEnd; }

bool TextFile::isChanged() const {
  return state_->isCleared || state_->text.size() != state_->keptSize;
}

bool TextFile::isAddedTo() const { return !state_->isCleared && isChanged(); }

void TextFile::clear() {
  if (!becomeUpdater()) return;
  state_->text.clear();
  state_->isRead = state_->isCleared = true;
  state_->hasReturns = false;
  state_->keptSize = 0;
  try {  // As much as it had, which is most often all that it will have.
    state_->text.reserve(static_cast<size_t>(state_->held.file.size()));
  } catch (const std::bad_alloc&) {
    state_->hasFailed = true;
  }
}

// The bytes on disk lose the records, and nothing is turned into lines and back.
bool TextFile::cut(const std::vector<std::string_view>& records) {
  if (isChanged() || hasDroppedEnd() || !becomeUpdater() || !state_->held.file.refresh()) {
    return false;
  }
  try {
    TextBuffer all;
    if (state_->held.read(&all) != FileResult::kDone) return false;
    for (const std::string_view each : records) {
      TextBuffer lines;
      lines.append(each);
      addCarriageReturns(&lines);
      if (lines.isEmpty() || !cutLines(&all, lines.view())) return false;
    }
    state_->text = std::move(all);
  } catch (const std::bad_alloc&) {
    return false;
  }
  state_->isRead = state_->isCleared = state_->hasReturns = true;
  state_->keptSize = 0;
  return true;
}

void TextFile::append(std::initializer_list<std::string_view> pieces) {
  const bool isEmpty =
      std::all_of(pieces.begin(), pieces.end(), [](auto& each) { return each.empty(); });
  if (isEmpty || !becomeUpdater()) return;
  try {
    if (state_->hasReturns) state_->readWhenAsked();
    state_->text.append(pieces);
  } catch (const std::bad_alloc&) {
    state_->hasFailed = true;
  }
}

void TextFile::endLastLine() {
  if (!endsInLine()) append("\n");
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
  state_->last = state_->text.isEmpty() ? '\0' : state_->text.view().back();
  state_->text = {};
  state_->keptSize = 0;
  state_->isCleared = state_->hasDroppedEnd = state_->isRead = state_->hasReturns = false;
  return !state_->hasFailed;
}

bool TextFile::takeBack() {
  return state_->held.file.setSize(state_->sizeBefore) && state_->held.file.sync();
}

FileStamp TextFile::stamp() const {
  return state_->held.file.refresh() ? stampOf(state_->held.file.status()) : FileStamp{};
}

// Makes a file that was opened for reading ready for its first change.
bool TextFile::becomeUpdater() {
  State& state = *state_;
  if (state.hasFailed) return false;
  if (state.isUpdater()) return true;
  const FileStatus opened = state.held.file.status();
  state.held.file.close();  // Its own shared hold would be in the way.
  HeldFile held;
  if (openAndHold(state.path, Access::kUpdate, &held) != FileResult::kDone ||
      !isUnchanged(opened, held.file.status())) {
    state.hasFailed = true;
    return false;
  }
  state.startHolding(std::move(held));
  return true;
}

unsigned waitForTextFile(std::string_view path, unsigned milliseconds) {
  const int64_t end = os::steadyMilliseconds() + milliseconds;
  int64_t left = milliseconds;
  while (left > 0 && !isFree(path)) {
    os::sleepMilliseconds(static_cast<unsigned>(std::min<int64_t>(left, kWaitPause)));
    left = end - os::steadyMilliseconds();
  }
  return static_cast<unsigned>(std::max<int64_t>(left, 0));
}

bool isTextFileShared(std::string_view path) {
  File file;
  return openFile(path, File::Access::kRead, &file) == FileResult::kDone &&
         file.tryLock(File::Lock::kShared) == FileResult::kDone;
}

}  // namespace foldapi
