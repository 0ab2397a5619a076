// os/rights_posix.cpp: owners, modes, access lists and attributes.
#include "os/rights_posix.h"

#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "os/calls_posix.h"

namespace os {
namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kListOfNewFiles[] = "system.posix_acl_default";
constexpr std::string_view kUsersAttribute = "user.";

// Has `call` fill *bytes, with nothing if there is no such attribute or the file system has none.
// False on failure.
template <typename Call>
bool fill(std::string* bytes, Call call) {
  static_assert(XATTR_SIZE_MAX == XATTR_LIST_MAX);
  bytes->clear();
  ssize_t size = uninterrupted([&] { return call(nullptr, 0); });  // Most files have none.
  if (size > 0) {
    bytes->resize(XATTR_SIZE_MAX);
    size = uninterrupted([&] { return call(bytes->data(), bytes->size()); });
  }
  const bool isKnown = size >= 0 || errno == ENODATA || errno == EOPNOTSUPP || errno == ENOSYS;
  bytes->resize(size > 0 ? static_cast<size_t>(size) : 0);
  return isKnown;
}

bool readAttribute(int file, const char* name, std::string* value) {
  return fill(value,
              [=](char* buffer, size_t size) { return ::fgetxattr(file, name, buffer, size); });
}

bool setAttribute(int file, const char* name, const std::string& value) {
  return uninterrupted([&] { return ::fsetxattr(file, name, value.data(), value.size(), 0); }) == 0;
}

// An access list is a head, the owner's entry, those of users, and more. An entry is a tag, rights
// and an id, each with its lowest byte first.
constexpr size_t kHeadSize = 4;
constexpr size_t kEntrySize = 8;
constexpr size_t kPlaceOfId = 4;
constexpr char kUserTag = 2;

std::string idOf(uid_t user) {
  std::string id;
  for (unsigned shift = 0; shift < 32; shift += 8) id += static_cast<char>(user >> shift);
  return id;
}

// Lets `user` do all that the owner may.
void addUser(uid_t user, std::string* list) {
  constexpr size_t kFirstUser = kHeadSize + kEntrySize;
  if (list->size() < kFirstUser) return;
  std::string entry = list->substr(kHeadSize, kPlaceOfId) + idOf(user);
  entry[0] = kUserTag;
  size_t place = kFirstUser;
  while (place < list->size() &&
         (list->at(place) != kUserTag ||
          list->compare(place + kPlaceOfId, kEntrySize - kPlaceOfId, entry, kPlaceOfId) != 0)) {
    place += kEntrySize;
  }
  const bool isThere = place < list->size();
  list->replace(isThere ? place : kFirstUser, isThere ? kEntrySize : 0, entry);
}

// False with errno set.
bool changeOwner(int file, uid_t owner, gid_t group) {
  return uninterrupted([=] { return ::fchown(file, owner, group); }) == 0;
}

// A change of owner may well be refused.
bool copyGroup(const struct stat& model, int file) {
  constexpr auto kSameOwner = static_cast<uid_t>(-1);
  struct stat own;
  return changeOwner(file, model.st_uid, model.st_gid) ||
         (askStatus(file, &own) && model.st_gid == own.st_gid) ||
         changeOwner(file, kSameOwner, model.st_gid);
}

// Who shares his file by a list must not be shut out when it becomes another's.
bool copyAccessList(int model, uid_t owner, int file) {
  std::string list, own;  // A new file may have got one from its directory.
  struct stat status;
  if (!readAttribute(model, kAccessList, &list) || !readAttribute(file, kAccessList, &own) ||
      !askStatus(file, &status)) {
    return false;
  }
  if (status.st_uid != owner) addUser(owner, &list);
  if (list == own) return true;
  if (!list.empty()) return setAttribute(file, kAccessList, list);
  return uninterrupted([=] { return ::fremovexattr(file, kAccessList); }) == 0;
}

bool copyUsersAttributes(int model, int file) {
  std::string names, value;
  bool isDone =
      fill(&names, [=](char* buffer, size_t size) { return ::flistxattr(model, buffer, size); });
  for (const char* name = names.c_str(); *name != '\0'; name += std::strlen(name) + 1) {
    if (!std::string_view(name).starts_with(kUsersAttribute)) continue;
    isDone = readAttribute(model, name, &value) && setAttribute(file, name, value) && isDone;
  }
  return isDone;
}

// To ask the system for it is to change it, for other threads as well: only where no file tells it.
mode_t currentUmask() {
  char text[128] = "";
  File status;
  if (status.open("/proc/self/status", File::Access::kRead) == FileResult::kDone &&
      status.readAt(0, text, sizeof text - 1)) {
    constexpr std::string_view kKey = "\nUmask:";
    const char* const line = std::strstr(text, kKey.data());
    if (line != nullptr) {
      return static_cast<mode_t>(std::strtoul(line + kKey.size(), nullptr, 8));
    }
  }
  const mode_t mask = ::umask(S_IRWXG | S_IRWXO);
  ::umask(mask);
  return mask;
}

}  // namespace

// The owner first: a change of owner may take bits from the mode.
FileResult copyRights(int model, int file, mode_t* mode) {
  struct stat status;
  if (!askStatus(model, &status)) return FileResult::kFailed;
  *mode = status.st_mode;
  const bool isGroupKept = copyGroup(status, file);
  const bool isListKept = copyAccessList(model, status.st_uid, file);
  // The mode tells what the list allows at most, which its group may not have.
  if (!isListKept) *mode &= ~static_cast<mode_t>(S_IRWXG);
  const bool areAttributesKept = copyUsersAttributes(model, file);
  const bool isAllKept = isGroupKept && isListKept && areAttributesKept;
  return isAllKept ? FileResult::kDone : FileResult::kRefused;
}

// A directory's own list takes the place of the umask.
FileResult giveUsualRights(int directory, int file, mode_t* mode) {
  std::string list;
  // One that may not be read is open for looking up names only, and is asked by its number.
  const std::string number = "/proc/self/fd/" + std::to_string(directory);
  if (!readAttribute(directory, kListOfNewFiles, &list) &&
      (errno != EBADF || !fill(&list, [&](char* buffer, size_t size) {
         return ::getxattr(number.c_str(), kListOfNewFiles, buffer, size);
       }))) {
    return FileResult::kFailed;
  }
  if (list.empty()) {
    *mode = kRightsOfNewFile & ~currentUmask();
    return FileResult::kDone;
  }
  struct stat status;
  if (!setAttribute(file, kAccessList, list) || !askStatus(file, &status)) {
    return FileResult::kFailed;
  }
  *mode = status.st_mode & kRightsOfNewFile;
  return FileResult::kDone;
}

}  // namespace os
