// runtime/files.cpp: the questions that storage code asks about a path, in terms of one status.
#include "runtime/files.h"

#include <algorithm>

#include "runtime/mbstring.h"
#include "runtime/pathmap.h"
#include "runtime/paths.h"
#include "runtime/zone.h"

namespace foldapi {

FileStamp FileStatus::stamp() const {
  return {packNanoseconds(nanoseconds), device, inode, size, nanoseconds};
}

FileStamp fileStamp(std::string_view path) {
  FileStatus status;
  return readStat(path, &status) ? status.stamp() : FileStamp{};
}

uint32_t fileTime(std::string_view path, uint32_t* out) {
  FileStatus status;
  const uint32_t packed = readStat(path, &status) ? packNanoseconds(status.nanoseconds) : 0;
  if (out != nullptr) *out = packed;
  return packed;
}

bool fileExists(std::string_view path) {
  FileStatus status;
  return readStat(path, &status) && (status.isRegular || status.isDirectory);
}

bool isDirectory(std::string_view path) {
  if (!path.empty() && (path.back() == '\\' || path.back() == '/') &&
      mbTrailOffset(path, path.size() - 1) == 0) {
    path.remove_suffix(1);
  }
  if (path.empty() || (path.size() == 2 && hasDrive(path))) return true;
  const int32_t attributes = getAttributes(path);
  return attributes != -1 && (attributes & kAttributeDirectory) != 0;
}

int32_t getAttributes(std::string_view path) {
  FileStatus status;
  if (!readStat(path, &status)) return -1;
  return (status.isDirectory ? kAttributeDirectory : 0) |
         (status.ownerMayWrite ? 0 : kAttributeReadOnly);
}

char driveLetter(std::string_view path) {
  return path.size() >= 2 && path[1] == ':' ? path[0] : '\0';
}

bool driveNotReady(char letter) {
  const std::string* const place = mappedDrive(letter);
  return place == nullptr || !isDirectory(*place);
}

}  // namespace foldapi
