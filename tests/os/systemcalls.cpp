// os/systemcalls.cpp: functions in front of the C library's.
#include "os/systemcalls.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <utility>

namespace os_test {
namespace {

SystemCalls* theCalls = nullptr;

std::string nameOf(int descriptor, const char* path) {
  std::string whole = path == nullptr ? "" : path;
  if (whole.empty()) {
    char target[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    whole.assign(target, length < 0 ? 0 : static_cast<size_t>(length));
  }
  return whole.substr(whole.rfind('/') + 1);
}

}  // namespace

SystemCalls::SystemCalls(Rule rule) : rule_(std::move(rule)) { theCalls = this; }

SystemCalls::~SystemCalls() { theCalls = nullptr; }

bool SystemCalls::fails(const char* name, int descriptor, const char* path, int flags) {
  SystemCalls* const self = std::exchange(theCalls, nullptr);
  if (self == nullptr) return false;
  const Call call{name, nameOf(descriptor, path), flags, descriptor};
  const int error = self->rule_ ? self->rule_(call) : 0;
  if (error == 0) self->calls_.push_back(call);
  theCalls = self;
  errno = error;
  return error != 0;
}

std::string SystemCalls::log(const std::string& names) const {
  std::string result;
  for (const Call& call : calls_) {
    if ((" " + names + " ").find(" " + call.name + " ") == std::string::npos) continue;
    result += (result.empty() ? "" : ", ") + call.name + " " + call.path;
  }
  return result;
}

}  // namespace os_test

using os_test::SystemCalls;

extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
  va_end(rest);
  if (SystemCalls::fails("open", -1, path, flags)) return -1;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  if (SystemCalls::fails("pread", file, nullptr)) return -1;
  return ::syscall(SYS_pread64, file, buffer, size, offset);
}

ssize_t pwrite(int file, const void* buffer, size_t size, off_t offset) {
  if (SystemCalls::fails("pwrite", file, nullptr)) return -1;
  return ::syscall(SYS_pwrite64, file, buffer, size, offset);
}

ssize_t copy_file_range(int from, off_t* begin, int to, off_t* place, size_t size, unsigned flags) {
  if (SystemCalls::fails("copy_file_range", to, nullptr)) return -1;
  return ::syscall(SYS_copy_file_range, from, begin, to, place, size, flags);
}

int fsync(int file) {
  if (SystemCalls::fails("fsync", file, nullptr)) return -1;
  return static_cast<int>(::syscall(SYS_fsync, file));
}

int ftruncate(int file, off_t size) noexcept {
  if (SystemCalls::fails("ftruncate", file, nullptr)) return -1;
  return static_cast<int>(::syscall(SYS_ftruncate, file, size));
}

int flock(int file, int operation) noexcept {
  if (SystemCalls::fails("flock", file, nullptr, operation)) return -1;
  return static_cast<int>(::syscall(SYS_flock, file, operation));
}

int fchown(int file, uid_t owner, gid_t group) noexcept {
  if (SystemCalls::fails("fchown", file, nullptr)) return -1;
  return static_cast<int>(::syscall(SYS_fchown, file, owner, group));
}

int rename(const char* from, const char* to) noexcept {
  if (SystemCalls::fails("rename", -1, to)) return -1;
  return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat2(int from, const char* old, int to, const char* name, unsigned flags) noexcept {
  if (SystemCalls::fails("renameat2", -1, name)) return -1;
  return static_cast<int>(::syscall(SYS_renameat2, from, old, to, name, flags));
}

int link(const char* from, const char* to) noexcept {
  if (SystemCalls::fails("link", -1, to)) return -1;
  return static_cast<int>(::syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int unlink(const char* path) noexcept {
  if (SystemCalls::fails("unlink", -1, path)) return -1;
  return static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

int mkdir(const char* path, mode_t mode) noexcept {
  if (SystemCalls::fails("mkdir", -1, path)) return -1;
  return static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

int statx(int directory, const char* path, int flags, unsigned mask,
          struct statx* status) noexcept {
  if (SystemCalls::fails("statx", directory, path, flags)) return -1;
  return static_cast<int>(::syscall(SYS_statx, directory, path, flags, mask, status));
}

}  // extern "C"
