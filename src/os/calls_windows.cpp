// os/calls_windows.cpp: texts, paths and failures on Windows.
#include "os/calls_windows.h"

#include <algorithm>
#include <array>
#include <cwctype>

#include "os/place_windows.h"

namespace os {
namespace {

constexpr size_t kLongPath = 240;  // From here on the calls want the long form.
constexpr std::wstring_view kLongForm = L"\\\\?\\";
constexpr std::wstring_view kLongShare = L"\\\\?\\UNC\\";

std::string convert(std::wstring_view wide, bool* isWhole) {
  const bool isUtf8 = codePage() == CP_UTF8;
  const DWORD flags = isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;
  BOOL hasLost = FALSE;
  const auto size = static_cast<int>(wide.size());
  std::string text(wide.size() * 4, '\0');
  const int length =
      ::WideCharToMultiByte(codePage(), flags, wide.data(), size, text.data(),
                            static_cast<int>(text.size()), nullptr, isUtf8 ? nullptr : &hasLost);
  text.resize(static_cast<size_t>(std::max(length, 0)));
  *isWhole = (length > 0 || wide.empty()) && !hasLost;
  return text;
}

// "CON", "aux.c" and the like mean a device in any directory.
bool isDevice(std::wstring_view name) {
  std::wstring base(name.substr(0, name.find(L'.')));
  while (base.ends_with(L' ')) base.pop_back();
  for (wchar_t& c : base) c = static_cast<wchar_t>(std::towupper(c));
  constexpr std::wstring_view kDevices[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
  if (std::find(std::begin(kDevices), std::end(kDevices), base) != std::end(kDevices)) return true;
  const bool isNumbered = base.starts_with(L"COM") || base.starts_with(L"LPT");
  return isNumbered && base.size() == 4 && base[3] >= L'1' && base[3] <= L'9';
}

bool isUsable(std::wstring_view name) {
  if (name == L"." || name == L"..") return true;
  const bool hasReserved = std::any_of(name.begin(), name.end(), [](wchar_t c) {
    return c < L' ' || std::wstring_view(L"<>:\"|?*").find(c) != std::wstring_view::npos;
  });
  return !hasReserved && !name.ends_with(L'.') && !name.ends_with(L' ') && !isDevice(name);
}

bool isLegal(std::wstring_view path) {
  if (path.size() >= 2 && path[1] == L':') path.remove_prefix(2);
  while (!path.empty()) {
    const size_t end = std::min(path.find(L'\\'), path.size());
    if (end > 0 && !isUsable(path.substr(0, end))) return false;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return true;
}

}  // namespace

UINT codePage() {
  static const UINT page = [] {
    wchar_t text[16];
    const DWORD length = ::GetEnvironmentVariableW(L"TRVS_CODEPAGE", text, 16);
    const unsigned long number = length > 0 && length < 16 ? std::wcstoul(text, nullptr, 10) : 0;
    return ::IsValidCodePage(static_cast<UINT>(number)) ? static_cast<UINT>(number) : ::GetACP();
  }();
  return page;
}

std::optional<std::wstring> toWide(std::string_view text) {
  std::wstring wide(text.size(), L'\0');
  if (text.empty()) return wide;
  const int length = ::MultiByteToWideChar(codePage(), MB_ERR_INVALID_CHARS, text.data(),
                                           static_cast<int>(text.size()), wide.data(),
                                           static_cast<int>(wide.size()));
  if (length <= 0) return {};
  wide.resize(static_cast<size_t>(length));
  return wide;
}

std::optional<std::string> toText(std::wstring_view wide) {
  bool isWhole = false;
  std::string text = convert(wide, &isWhole);
  if (!isWhole) return {};
  return text;
}

std::string toTextAnyway(std::wstring_view wide) {
  bool isWhole = false;
  return convert(wide, &isWhole);
}

FileResult resultOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DIRECTORY:
    case ERROR_INVALID_DRIVE:
    case ERROR_NOT_READY:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DELETE_PENDING:
      return FileResult::kMissing;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return FileResult::kExists;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return FileResult::kBusy;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_PARAMETER:
    case ERROR_NO_UNICODE_TRANSLATION:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_NOT_SAME_DEVICE:
    case ERROR_DIR_NOT_EMPTY:
    case ERROR_CANT_ACCESS_FILE:
      return FileResult::kRefused;
    default:
      return FileResult::kFailed;
  }
}

std::optional<std::wstring> systemPath(std::string_view path) {
  std::optional<std::wstring> wide = toWide(path);
  if (wide) std::replace(wide->begin(), wide->end(), L'/', L'\\');
  if (!wide || !isLegal(*wide)) {
    ::SetLastError(ERROR_INVALID_NAME);
    return {};
  }
  if (wide->empty()) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return {};
  }
  std::wstring whole(wide->size() + MAX_PATH, L'\0');
  DWORD length =
      ::GetFullPathNameW(wide->c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr);
  if (length >= whole.size()) {
    whole.resize(length);
    length = ::GetFullPathNameW(wide->c_str(), length, whole.data(), nullptr);
  }
  if (length == 0) return {};
  whole.resize(length);
  if (length < kLongPath) return whole;
  const bool isShare = whole.starts_with(L"\\\\");
  return std::wstring(isShare ? kLongShare : kLongForm) + whole.substr(isShare ? 2 : 0);
}

std::optional<std::wstring> systemPath(const Place& place) {
  if (place.entry() == nullptr) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return {};
  }
  return systemPath(place.entry()->path + place.name());
}

std::string pathText(std::wstring_view path) {
  std::wstring plain(path);
  if (plain.starts_with(kLongShare)) {
    plain.replace(0, kLongShare.size(), L"\\\\");
  } else if (plain.starts_with(kLongForm)) {
    plain.erase(0, kLongForm.size());
  }
  std::replace(plain.begin(), plain.end(), L'\\', L'/');
  return toTextAnyway(plain);
}

}  // namespace os
