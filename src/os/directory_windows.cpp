// os/directory_windows.cpp: directories on Windows.
#include "os/calls_windows.h"
#include "os/directory.h"
#include "os/entries.h"

namespace os {
namespace {

bool isRoot(std::string_view path) {
  return path == "/" || (path.size() == 3 && path.ends_with(":/"));
}

EntryKind kindOf(const WIN32_FIND_DATAW& entry) {
  if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
      entry.dwReserved0 == IO_REPARSE_TAG_SYMLINK) {
    return EntryKind::kLink;
  }
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::kDirectory
                                                                  : EntryKind::kFile;
}

}  // namespace

bool hasDrives() { return true; }

// By the system's own rules; what these would take out of the code page stays as it is.
std::string foldedPath(std::string_view path) {
  std::wstring wide = toWide(path).value_or(L"");
  const auto size = static_cast<int>(wide.size());
  ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, wide.data(), size, wide.data(), size,
                  nullptr, nullptr, 0);
  return wide.empty() ? std::string(path) : toText(wide).value_or(std::string(path));
}

bool isSamePath(std::string_view first, std::string_view second) {
  return first == second || foldedPath(first) == foldedPath(second);
}

std::string parentOf(std::string_view path) {
  while (!isRoot(path) && path.ends_with('/')) path.remove_suffix(1);
  if (isRoot(path)) return std::string(path);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) {
    return path.size() >= 2 && path[1] == ':' ? std::string(path.substr(0, 2)) + "." : ".";
  }
  const bool isInRoot = isRoot(path.substr(0, slash + 1));
  return std::string(path.substr(0, isInRoot ? slash + 1 : slash));
}

std::string currentDirectory() {
  std::wstring path(::GetCurrentDirectoryW(0, nullptr), L'\0');
  path.resize(::GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data()));
  std::wstring written(32768, L'\0');  // As it is in its directory, not as it was typed.
  written.resize(::GetLongPathNameW(path.c_str(), written.data(), 32768));
  std::string text = pathText(written.empty() ? path : written);
  if (text.substr(1, 2) == ":/") text[0] = static_cast<char>(text[0] & ~0x20);
  return text;
}

bool changeDirectory(const std::string& path) {
  const auto whole = systemPath(path);
  return whole && ::SetCurrentDirectoryW(whole->c_str());
}

std::string realPath(const std::string& path) {
  const auto whole = systemPath(path);
  const Handle file = whole ? openExisting(*whole, FILE_READ_ATTRIBUTES) : Handle();
  if (!file.isOpen()) return path;
  std::wstring real(::GetFinalPathNameByHandleW(file.get(), nullptr, 0, 0), L'\0');
  real.resize(
      ::GetFinalPathNameByHandleW(file.get(), real.data(), static_cast<DWORD>(real.size()), 0));
  return real.empty() ? path : pathText(real);
}

// Names that differ only in letter case mean one file.
bool isSameFile(const std::string& first, const std::string& second) {
  FileStatus one, other;
  const FileResult found = readStatus(first.c_str(), &one);
  if (readStatus(second.c_str(), &other) != found) return false;
  if (found == FileResult::kDone) return one.identity == other.identity;
  const auto path = systemPath(first);
  const auto otherPath = systemPath(second);
  return path && otherPath && isSamePath(pathText(*path), pathText(*otherPath));
}

bool hasEntry(const char* path) {
  const auto whole = systemPath(path);
  return whole && openExisting(*whole, FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT).isOpen();
}

bool makeDirectory(const std::string& path) {
  const auto whole = systemPath(path);
  if (!whole) return false;
  if (::CreateDirectoryW(whole->c_str(), nullptr)) return true;
  const DWORD error = ::GetLastError();
  const bool isThere = error != ERROR_PATH_NOT_FOUND && directoryState(path.c_str()).has_value();
  ::SetLastError(error);
  return isThere;
}

bool makeDirectories(const std::string& path) {
  if (makeDirectory(path)) return true;
  const std::string parent = parentOf(path);
  return ::GetLastError() == ERROR_PATH_NOT_FOUND && parent != path && makeDirectories(parent) &&
         makeDirectory(path);
}

// What is made in a directory gets its access list here: nothing is left to do.
std::string shareWithGroup(const std::string& /*path*/) { return ""; }

bool removeDirectory(const std::string& path) {
  const auto whole = systemPath(path);
  return whole && ::RemoveDirectoryW(whole->c_str());
}

FileResult moveFile(const std::string& from, const std::string& to) {
  const auto source = systemPath(from);
  const auto target = source ? systemPath(to) : std::nullopt;
  if (!target) return resultOf(::GetLastError());
  removeOld(*source);
  return resultOfCall(::MoveFileExW(source->c_str(), target->c_str(), MOVEFILE_WRITE_THROUGH));
}

std::optional<DirectoryState> directoryState(const char* path) {
  const auto whole = systemPath(path);
  if (!whole) return {};
  const Handle directory = openExisting(*whole, FILE_READ_ATTRIBUTES);
  FileStatus status;
  if (!directory.isOpen() || !readStatusOf(directory.get(), &status) || !status.isDirectory) {
    return {};
  }
  return DirectoryState{status.identity, status.nanoseconds, status.changed};
}

bool forEachEntryOfKind(const char* path,
                        const std::function<void(const char* name, EntryKind kind)>& take) {
  const auto whole = systemPath(path);
  if (!whole) return false;
  WIN32_FIND_DATAW entry;
  const std::wstring all = *whole + (whole->ends_with(L'\\') ? L"*" : L"\\*");
  const HANDLE search =
      ::FindFirstFileExW(all.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) return false;
  do {
    const std::string name = toTextAnyway(entry.cFileName);
    if (name != "." && name != "..") take(name.c_str(), kindOf(entry));
  } while (::FindNextFileW(search, &entry));
  const bool isWhole = ::GetLastError() == ERROR_NO_MORE_FILES;
  ::FindClose(search);
  return isWhole;
}

bool forEachEntry(const char* path, const std::function<void(const char* name)>& take) {
  return forEachEntryOfKind(path, [&](const char* name, EntryKind /*kind*/) { take(name); });
}

}  // namespace os
