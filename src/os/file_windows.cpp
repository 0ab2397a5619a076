// os/file_windows.cpp: files on Windows.
//
// All is opened so that others may open, rename and remove it as well: who may change a file is
// settled by the lock alone, as on other systems. The lock is one byte far behind any end, which no
// reader of the content meets.
#include <algorithm>

#include "os/calls_windows.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/filetime_windows.h"

namespace os {
namespace {

constexpr DWORD kReadAccess = GENERIC_READ | FILE_WRITE_ATTRIBUTES;
constexpr DWORD kUpdateAccess = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kLargestTransfer = 1 << 30;
constexpr unsigned kPause = 2;  // Milliseconds between two looks at a name that leads nowhere.

OVERLAPPED placeOfLock() {
  OVERLAPPED place{};
  place.OffsetHigh = 0x4000'0000;
  return place;
}

OVERLAPPED placeAt(uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

template <typename Information>
bool ask(HANDLE file, FILE_INFO_BY_HANDLE_CLASS which, Information* information) {
  return ::GetFileInformationByHandleEx(file, which, information, sizeof *information);
}

// Of a drive that knows only short numbers of files, those.
bool readIdentity(HANDLE file, FileIdentity* identity) {
  FILE_ID_INFO id;
  if (ask(file, FileIdInfo, &id)) {
    *identity = {id.VolumeSerialNumber, 0};
    for (size_t i = 0; i < sizeof id.FileId.Identifier; ++i) {
      identity->inode ^= uint64_t{id.FileId.Identifier[i]} << (i % 8 * 8);
    }
    return true;
  }
  BY_HANDLE_FILE_INFORMATION raw;
  if (!::GetFileInformationByHandle(file, &raw)) return false;
  *identity = {raw.dwVolumeSerialNumber, uint64_t{raw.nFileIndexHigh} << 32 | raw.nFileIndexLow};
  return true;
}

bool isSymbolicLink(HANDLE file, DWORD attributes) {
  FILE_ATTRIBUTE_TAG_INFO info;
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         ask(file, FileAttributeTagInfo, &info) && info.ReparseTag == IO_REPARSE_TAG_SYMLINK;
}

FileResult readStatusBy(const char* path, DWORD flags, FileStatus* status) {
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  const Handle file = openExisting(*whole, FILE_READ_ATTRIBUTES, flags);
  return resultOfCall(file.isOpen() && readStatusOf(file.get(), status));
}

bool isFileAt(const std::optional<std::wstring>& path, DWORD flags, const FileIdentity& file,
              FileStatus* now) {
  FileStatus status;
  if (!path) return false;
  const Handle named = openExisting(*path, FILE_READ_ATTRIBUTES, flags);
  if (!named.isOpen() || !readStatusOf(named.get(), &status) || status.identity != file) {
    return false;
  }
  if (now != nullptr) *now = status;
  return true;
}

// As many rights as there are.
int openToRead(const std::wstring& path, DWORD flags) {
  Handle file = openExisting(path, kReadAccess, flags);
  if (!file.isOpen() && ::GetLastError() == ERROR_ACCESS_DENIED) {
    file = openExisting(path, GENERIC_READ, flags);
  }
  return file.isOpen() ? numberOf(file.release()) : -1;
}

bool writeAll(HANDLE file, const OVERLAPPED* start, std::string_view bytes) {
  uint64_t offset = start == nullptr ? 0 : uint64_t{start->OffsetHigh} << 32 | start->Offset;
  while (!bytes.empty()) {
    OVERLAPPED place = placeAt(offset);
    DWORD count = 0;
    const auto size = static_cast<DWORD>(std::min<size_t>(bytes.size(), kLargestTransfer));
    if (!::WriteFile(file, bytes.data(), size, &count, start == nullptr ? nullptr : &place) ||
        count == 0) {
      return false;
    }
    bytes.remove_prefix(count);
    offset += count;
  }
  return true;
}

bool setTimeOf(HANDLE file, int64_t seconds) {
  FILE_BASIC_INFO info{};  // What is 0 stays.
  info.LastWriteTime.QuadPart = stepsAt(seconds);
  return ::SetFileInformationByHandle(file, FileBasicInfo, &info, sizeof info);
}

}  // namespace

Handle openExisting(const std::wstring& path, DWORD access, DWORD flags) {
  for (int tries = 0;; ++tries) {
    Handle file(::CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
    if (file.isOpen() || ::GetLastError() != ERROR_FILE_NOT_FOUND || tries == kTries) return file;
    if (!bringBack(path, tries)) {
      ::SetLastError(ERROR_FILE_NOT_FOUND);
      return file;
    }
    sleepMilliseconds(kPause);
  }
}

bool readStatusOf(HANDLE file, FileStatus* status) {
  FILE_BASIC_INFO basic;
  FILE_STANDARD_INFO standard;
  FileStatus found;
  if (!ask(file, FileBasicInfo, &basic) || !ask(file, FileStandardInfo, &standard) ||
      !readIdentity(file, &found.identity)) {
    return false;
  }
  found.isLink = isSymbolicLink(file, basic.FileAttributes);
  found.isDirectory = standard.Directory && !found.isLink;
  found.isRegular = !found.isDirectory && !found.isLink;
  found.ownerMayWrite = found.isDirectory || (basic.FileAttributes & FILE_ATTRIBUTE_READONLY) == 0;
  found.size = static_cast<uint64_t>(standard.EndOfFile.QuadPart);
  found.nanoseconds = nanosecondsOf(basic.LastWriteTime.QuadPart);
  // Some drives don't know it.
  if (basic.ChangeTime.QuadPart != 0) found.changed = nanosecondsOf(basic.ChangeTime.QuadPart);
  *status = found;
  return true;
}

bool setReadOnly(HANDLE file, bool isReadOnly) {
  FILE_BASIC_INFO info;
  if (!ask(file, FileBasicInfo, &info)) return false;
  const DWORD others = info.FileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
  const DWORD wanted = others | (isReadOnly ? FILE_ATTRIBUTE_READONLY : 0);
  if (wanted == info.FileAttributes) return true;
  FILE_BASIC_INFO change{};
  change.FileAttributes = wanted == 0 ? FILE_ATTRIBUTE_NORMAL : wanted;
  return ::SetFileInformationByHandle(file, FileBasicInfo, &change, sizeof change);
}

bool isAt(const Place& place, const FileIdentity& file, FileStatus* now) {
  return isFileAt(systemPath(place), FILE_FLAG_OPEN_REPARSE_POINT, file, now);
}

int64_t readUpTo(int file, uint64_t offset, void* buffer, size_t size) {
  size_t done = 0;
  while (done < size) {
    OVERLAPPED place = placeAt(offset + done);
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min<size_t>(size - done, kLargestTransfer));
    if (!::ReadFile(handleOf(file), static_cast<char*>(buffer) + done, wanted, &count, &place)) {
      if (::GetLastError() == ERROR_HANDLE_EOF) break;
      return -1;
    }
    if (count == 0) break;
    done += count;
  }
  return static_cast<int64_t>(done);
}

FileResult failureOfOpenFile() { return FileResult::kFailed; }

int makeForOwner(const Place& place) {
  const auto path = systemPath(place);
  if (!path) return -1;
  constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE | WRITE_DAC;
  return numberOf(::CreateFileW(path->c_str(), kAccess, kShareAll, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

FileResult removeAt(const Place& place) {
  const auto path = systemPath(place);
  if (!path) return resultOf(::GetLastError());
  constexpr DWORD kAccess = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
  const Handle file = openExisting(*path, kAccess, FILE_FLAG_OPEN_REPARSE_POINT);
  FileStatus status;
  if (file.isOpen() && readStatusOf(file.get(), &status) && status.isDirectory) {
    return FileResult::kRefused;
  }
  return resultOfCall(file.isOpen() && removeOld(*path) && removeOpen(file.get(), *path));
}

FileResult makeNewFile(const std::string& path) {
  FileStatus status;
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  const FileResult found = readStatus(path.c_str(), &status);  // It may be brought back by that.
  if (found == FileResult::kDone) return FileResult::kExists;
  const Handle made(::CreateFileW(whole->c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
  return resultOfCall(made.isOpen());
}

FileResult askAccess(const char* path, File::Access access) {
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  const DWORD wanted = access == File::Access::kUpdate ? kUpdateAccess : GENERIC_READ;
  return resultOfCall(openExisting(*whole, wanted).isOpen());
}

FileResult removeFile(const char* path) {
  Place place;
  const FileResult result = Place::of(path, &place);
  return result == FileResult::kDone ? removeAt(place) : result;
}

FileResult readStatus(const char* path, FileStatus* status) {
  return readStatusBy(path, 0, status);
}

FileResult readEntryStatus(const char* path, FileStatus* status) {
  return readStatusBy(path, FILE_FLAG_OPEN_REPARSE_POINT, status);
}

// A look at a name costs the same wherever it is.
StatusReader::~StatusReader() = default;

FileResult StatusReader::readStatus(const std::string& path, FileStatus* status) {
  return os::readStatus(path.c_str(), status);
}

FileResult StatusReader::readEntryStatus(const std::string& path, FileStatus* status) {
  return os::readEntryStatus(path.c_str(), status);
}

std::optional<FileMark> fileMark(const char* path) {
  const auto whole = systemPath(path);
  const Handle file = whole ? openExisting(*whole, FILE_READ_ATTRIBUTES) : Handle();
  FileStatus status;
  if (!file.isOpen() || !readStatusOf(file.get(), &status)) return {};
  return FileMark{status.identity, status.size, status.nanoseconds, status.changed};
}

FileResult File::open(const char* path, Access access) {
  close();
  if (access == Access::kUpdate) {
    Place place;
    const FileResult result = Place::find(path, &place);
    return result == FileResult::kDone ? open(place, access) : result;
  }
  place_ = {};
  const auto whole = systemPath(path);
  return take(whole ? openToRead(*whole, 0) : -1);
}

FileResult File::open(const Place& place, Access access) {
  place_ = place;
  const auto path = systemPath(place);
  if (!path) return take(-1);
  if (access == Access::kRead) return take(openToRead(*path, FILE_FLAG_OPEN_REPARSE_POINT));
  Handle file = openExisting(*path, kUpdateAccess, FILE_FLAG_OPEN_REPARSE_POINT);
  return take(file.isOpen() ? numberOf(file.release()) : -1);
}

// Owns `descriptor` from now on, which may be -1 with the error set.
FileResult File::take(int descriptor) {
  const DWORD error = ::GetLastError();
  close();
  if (descriptor == -1) return resultOf(error);
  descriptor_ = descriptor;
  failure_ = FileResult::kDone;
  const bool isKnown = readStatusOf(handleOf(descriptor), &status_);
  if (isKnown && status_.isRegular) return FileResult::kDone;
  close();
  return isKnown ? FileResult::kRefused : FileResult::kFailed;
}

bool File::close() {
  return descriptor_ < 0 || ::CloseHandle(handleOf(std::exchange(descriptor_, -1))) != FALSE;
}

bool File::isAmongLast() const { return false; }  // A process may have millions.

bool File::refresh() {
  const bool isKnown = readStatusOf(handleOf(descriptor_), &status_);
  if (!isKnown) failure_ = FileResult::kFailed;
  return isKnown;
}

// A lock that this open file has already would be in its own way.
FileResult File::tryLock(Lock lock) const {
  OVERLAPPED place = placeOfLock();
  ::UnlockFileEx(handleOf(descriptor_), 0, 1, 0, &place);
  const DWORD kind = lock == Lock::kExclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0;
  if (::LockFileEx(handleOf(descriptor_), kind | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) {
    return FileResult::kDone;
  }
  const DWORD error = ::GetLastError();
  const bool knowsNone = error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
  return knowsNone ? FileResult::kNoLocks : resultOf(error);
}

bool File::confirm(const char* path) {
  return isFileAt(systemPath(path), 0, status_.identity, &status_);
}

bool File::writeAt(uint64_t offset, std::string_view bytes) const {
  const OVERLAPPED place = placeAt(offset);
  return writeAll(handleOf(descriptor_), &place, bytes);
}

bool File::append(std::string_view bytes) {
  if (!refresh()) return false;
  if (writeAt(size(), bytes)) return true;
  setSize(size());
  return false;
}

bool File::setSize(uint64_t size) const {
  FILE_END_OF_FILE_INFO info;
  info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
  return ::SetFileInformationByHandle(handleOf(descriptor_), FileEndOfFileInfo, &info, sizeof info);
}

// Who may run a file is told by its name here.
FileResult File::setWritable(bool isWritable, Running /*running*/) const {
  return resultOfCall(setReadOnly(handleOf(descriptor_), !isWritable));
}

FileResult File::setModificationTime(int64_t seconds) const {
  return resultOfCall(setTimeOf(handleOf(descriptor_), seconds));
}

bool File::sync() const { return ::FlushFileBuffers(handleOf(descriptor_)) != FALSE; }

bool File::syncContent() const { return sync(); }

FileResult appendToFile(const char* path, std::string_view text,
                        bool (*isExpected)(std::string_view start)) {
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  constexpr DWORD kAccess = GENERIC_READ | FILE_APPEND_DATA;
  const Handle file(::CreateFileW(whole->c_str(), kAccess, kShareAll, nullptr, OPEN_ALWAYS,
                                  FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file.isOpen()) return resultOf(::GetLastError());
  FileStatus status;
  char start[64];
  const bool isRegular = readStatusOf(file.get(), &status) && status.isRegular;
  const int64_t count = isRegular ? readUpTo(numberOf(file.get()), 0, start, sizeof start) : -1;
  if (count < 0 || (count > 0 && !isExpected({start, static_cast<size_t>(count)}))) {
    return FileResult::kRefused;
  }
  return writeAll(file.get(), nullptr, text) ? FileResult::kDone : FileResult::kFailed;
}

FileResult writeToDescriptor(int descriptor, std::string_view bytes) {
  return writeAll(handleOf(descriptor), nullptr, bytes) ? FileResult::kDone : FileResult::kFailed;
}

FileResult setModificationTime(const char* path, int64_t seconds) {
  const auto whole = systemPath(path);
  if (!whole) return resultOf(::GetLastError());
  const Handle file = openExisting(*whole, FILE_WRITE_ATTRIBUTES);
  return resultOfCall(file.isOpen() && setTimeOf(file.get(), seconds));
}

}  // namespace os
