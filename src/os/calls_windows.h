// os/calls_windows.h: what the Windows side of this folder shares: texts and paths of the wide
// calls, handles, and what failures mean.
//
// Texts of the library are in one code page, that of the data files: the system's, or the one whose
// number the environment variable TRVS_CODEPAGE gives (65001 is UTF-8). Paths that leave this
// folder are written with "/".
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "os/calls.h"
#include "os/file.h"

namespace os {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Of all texts: see above.
UINT codePage();
// Nothing for bytes, or characters, that the other side doesn't have.
std::optional<std::wstring> toWide(std::string_view text);
std::optional<std::string> toText(std::wstring_view wide);
// With "?" in the place of what the code page doesn't have: no file has such a name.
std::string toTextAnyway(std::wstring_view wide);

// Closed with the object.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() {
    if (handle_ != nullptr) ::CloseHandle(handle_);
  }
  bool isOpen() const { return handle_ != nullptr; }
  HANDLE get() const { return handle_; }
  HANDLE release() { return std::exchange(handle_, nullptr); }

 private:
  HANDLE handle_ = nullptr;
};

// Handles have 32 bits that matter, in wide processes too: -1 stands for none.
inline HANDLE handleOf(int number) {
  return reinterpret_cast<HANDLE>(static_cast<intptr_t>(number));
}
inline int numberOf(HANDLE handle) { return static_cast<int>(reinterpret_cast<intptr_t>(handle)); }

// What `error`, a value of GetLastError(), says.
FileResult resultOf(DWORD error);
inline FileResult resultOfCall(BOOL isDone) {
  return isDone ? FileResult::kDone : resultOf(::GetLastError());
}

// The whole path as the wide calls take it at any length. Nothing, with the error set, for one that
// can't be: a name of a device, one with a reserved character, a blank or a dot at the end.
std::optional<std::wstring> systemPath(std::string_view path);
std::optional<std::wstring> systemPath(const Place& place);
// The way back: without what only the calls need.
std::string pathText(std::wstring_view path);

// Opens a file or a directory that is there. While another process puts a file in its place, so
// that nothing has the name for a moment, it looks again; and it ends what a killed one has begun:
// see os/sibling_windows.cpp. `flags` of CreateFile join the usual ones.
Handle openExisting(const std::wstring& path, DWORD access, DWORD flags = 0);

bool readStatusOf(HANDLE file, FileStatus* status);

// Removes the file for good, read-only or not, once all have closed it; its name is free at once.
bool removeOpen(HANDLE file, const std::wstring& path);

bool setReadOnly(HANDLE file, bool isReadOnly);

// The look of an open that has found nothing, for the `tries`th time, counted from 0. See
// os/sibling_windows.cpp. Whether to look again.
bool bringBack(const std::wstring& path, int tries);
// Removes what replacements of that file have left. To be called before the name goes.
bool removeOld(const std::wstring& path);

}  // namespace os
