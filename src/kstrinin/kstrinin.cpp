// kstrinin/kstrinin.cpp: the C functions of the profile library: handles, arguments and errors.
//
// What a line of a profile means is in profiletext.cpp; how it reaches the disk is in
// profilefile.cpp.
#include "kstrinin/kstrinin.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "kstrinin/profilefile.h"
#include "kstrinin/profiletext.h"
#include "os/file.h"

namespace kstrinin {
namespace {

constexpr int kBadHandle = -1;
constexpr int kNoMemory = -2;
constexpr int kCannotRead = -3;
constexpr int kCannotOpen = -4;
constexpr int kCannotWrite = -5;
constexpr int kBadSection = -6;
constexpr int kBadKey = -7;
constexpr int kBadValue = -8;
constexpr int kBadBuffer = -10;
constexpr int kNotAProfile = -12;

struct Profile {
  std::string path;
  std::string text;
};

// Handles are numbers and not addresses, so that one closed or made up is known as such.
struct HandleTable {
  std::mutex mutex;
  std::map<intptr_t, std::shared_ptr<Profile>> profiles;
  intptr_t last = 0;
};

// Built on first use and never destroyed: a client may close handles while the process ends.
HandleTable& handleTable() {
  static HandleTable& table = *new HandleTable;
  return table;
}

std::shared_ptr<Profile> findProfile(intptr_t handle) {
  HandleTable& table = handleTable();
  const std::lock_guard<std::mutex> guard(table.mutex);
  const auto found = table.profiles.find(handle);
  return found == table.profiles.end() ? nullptr : found->second;
}

thread_local int theError = 0;

// The result of a function that failed with `code`.
int failWith(int code) {
  theError = code;
  return 0;
}

// Runs the body of a C function: no exception leaves it, and the error starts at 0.
template <typename Body>
auto guarded(Body body) -> decltype(body()) {
  theError = 0;
  try {
    return body();
  } catch (const std::bad_alloc&) {
    theError = kNoMemory;
  } catch (...) {
    theError = kBadHandle;  // A lock that the system refuses; nothing else is thrown.
  }
  return 0;
}

// Reads the profile; 0, or the code of the failure. A missing file is an empty text.
int readText(const std::string& path, std::string* text) {
  text->clear();
  switch (os::readFile(path.c_str(), kLargestProfile, text)) {
    case os::FileResult::kDone:
    case os::FileResult::kMissing:
      break;
    case os::FileResult::kTooLarge:
      return kNotAProfile;
    case os::FileResult::kFailed:
      return kCannotRead;
    default:
      return kCannotOpen;
  }
  return text->find('\0') == std::string::npos ? 0 : kNotAProfile;
}

// Copies `text` with its NUL, cut to `size` bytes, which is not 0.
void copyOut(const std::string& text, char* buffer, size_t size) {
  const size_t length = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

// What is wrong with a section and a key, or 0.
int checkNames(const char* section, const char* key) {
  if (section == nullptr || !isSectionName(section)) return kBadSection;
  return key == nullptr || !isKeyName(key) ? kBadKey : 0;
}

int getUserProfile(char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return failWith(kBadBuffer);
  const std::string path = userProfilePath();
  if (path.empty() || path.size() >= size) return 0;
  copyOut(path, buffer, size);
  return 1;
}

intptr_t openProfile(const char* path) {
  if (path == nullptr || *path == '\0') return failWith(kCannotOpen);
  auto profile = std::make_shared<Profile>();
  profile->path = path;
  if (const int code = readText(profile->path, &profile->text)) return failWith(code);
  HandleTable& table = handleTable();
  const std::lock_guard<std::mutex> guard(table.mutex);
  table.profiles.emplace(table.last + 1, std::move(profile));
  return ++table.last;
}

int closeProfile(intptr_t handle) {
  HandleTable& table = handleTable();
  const std::lock_guard<std::mutex> guard(table.mutex);
  return table.profiles.erase(handle) == 1 ? 1 : failWith(kBadHandle);
}

int query(intptr_t handle, const char* section, const char* key, char* buffer, uint16_t size) {
  const std::shared_ptr<Profile> profile = findProfile(handle);
  if (profile == nullptr) return failWith(kBadHandle);
  if (buffer == nullptr || size == 0) return failWith(kBadBuffer);
  if (const int code = checkNames(section, key)) return failWith(code);
  const std::optional<std::string> value = findValue(profile->text, section, key);
  if (!value) return 0;
  copyOut(*value, buffer, size);
  return 1;
}

int write(intptr_t handle, const char* section, const char* key, const char* value) {
  const std::shared_ptr<Profile> profile = findProfile(handle);
  if (profile == nullptr) return failWith(kBadHandle);
  if (const int code = checkNames(section, key)) return failWith(code);
  if (value == nullptr || std::strpbrk(value, "\r\n") != nullptr) return failWith(kBadValue);
  ProfileUpdate update(profile->path);
  if (!update.isHeld()) return failWith(kCannotWrite);
  std::string text;
  if (const int code = readText(profile->path, &text)) return failWith(code);
  setValue(&text, section, key, value);
  if (text.size() > kLargestProfile || !update.replace(text)) {
    return failWith(kCannotWrite);
  }
  profile->text = std::move(text);
  return 1;
}

}  // namespace
}  // namespace kstrinin

int KSTRGetKESTRIANINI(char* buffer, uint32_t size) {
  return kstrinin::guarded([&] { return kstrinin::getUserProfile(buffer, size); });
}

intptr_t KSTRIniOpen(const char* path) {
  return kstrinin::guarded([&] { return kstrinin::openProfile(path); });
}

int KSTRIniClose(intptr_t handle) {
  return kstrinin::guarded([&] { return kstrinin::closeProfile(handle); });
}

int KSTRQueryProfileString(intptr_t handle, const char* section, const char* key, char* buffer,
                           uint16_t size) {
  return kstrinin::guarded([&] { return kstrinin::query(handle, section, key, buffer, size); });
}

int KSTRWriteProfileString(intptr_t handle, const char* section, const char* key,
                           const char* value) {
  return kstrinin::guarded([&] { return kstrinin::write(handle, section, key, value); });
}

int KSTRIniGetError(void) { return kstrinin::theError; }
