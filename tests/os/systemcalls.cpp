// os/systemcalls.cpp: functions in front of the C library's.
#include "os/systemcalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
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

bool SystemCalls::fails(const char* name, int descriptor, const char* path, int flags,
                        std::string_view bytes, int64_t number) {
  SystemCalls* const self = std::exchange(theCalls, nullptr);
  if (self == nullptr) return false;
  const Call call{name, nameOf(descriptor, path), flags, descriptor, bytes, number};
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

namespace {

// The C library's function of that name: of those that a 32-bit machine has twice the wide one.
template <auto Function>
auto next(const char* name) {
  static const auto found = reinterpret_cast<decltype(Function)>(::dlsym(RTLD_NEXT, name));
  return found;
}

// The rule's error, or what the C library's own function `own` answers.
template <auto Function, typename... Arguments>
auto answer(const char* name, int descriptor, const char* path, int flags, const char* own,
            Arguments... arguments) -> decltype(Function(arguments...)) {
  if (SystemCalls::fails(name, descriptor, path, flags)) return -1;
  return next<Function>(own)(arguments...);
}

// Whether the machine has these functions once only.
constexpr bool kIsWide = sizeof(long) == 8;

template <auto Function>
int sync(const char* name, int file) {
  if (SystemCalls::areSyncsReal) return answer<Function>(name, file, nullptr, 0, name, file);
  return SystemCalls::fails(name, file, nullptr) ? -1 : 0;
}

}  // namespace

extern "C" {

int openat(int directory, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
  va_end(rest);
  return answer<&::openat>("open", -1, path, flags, "openat64", directory, path, flags, mode);
}

ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  return answer<&::pread>("pread", file, nullptr, 0, "pread64", file, buffer, size, offset);
}

ssize_t pwrite(int file, const void* buffer, size_t size, off_t offset) {
  const std::string_view bytes(static_cast<const char*>(buffer), size);
  if (SystemCalls::fails("pwrite", file, nullptr, 0, bytes, offset)) return -1;
  return next<&::pwrite>("pwrite64")(file, buffer, size, offset);
}

ssize_t copy_file_range(int from, off64_t* begin, int to, off64_t* place, size_t size,
                        unsigned flags) {
  return answer<&::copy_file_range>("copy_file_range", to, nullptr, 0, "copy_file_range", from,
                                    begin, to, place, size, flags);
}

// These stand in front of shared libraries' calls as well.
#pragma GCC visibility push(default)
int fsync(int file) { return sync<&::fsync>("fsync", file); }

int fdatasync(int file) { return sync<&::fdatasync>("fdatasync", file); }

int syncfs(int file) noexcept { return sync<&::syncfs>("syncfs", file); }
#pragma GCC visibility pop

int ftruncate(int file, off_t size) noexcept {
  if (SystemCalls::fails("ftruncate", file, nullptr, 0, {}, size)) return -1;
  return next<&::ftruncate>("ftruncate64")(file, size);
}

void* mmap(void* place, size_t size, int protection, int flags, int file, off_t offset) noexcept {
  if (SystemCalls::fails("mmap", file, nullptr, flags)) return MAP_FAILED;
  return next<&::mmap>("mmap64")(place, size, protection, flags, file, offset);
}

ssize_t write(int file, const void* buffer, size_t size) {
  return answer<&::write>("write", file, nullptr, 0, "write", file, buffer, size);
}

int fallocate(int file, int mode, off_t offset, off_t size) {
  return answer<&::fallocate>("fallocate", file, nullptr, mode, "fallocate64", file, mode, offset,
                              size);
}

int flock(int file, int operation) noexcept {
  return answer<&::flock>("flock", file, nullptr, operation, "flock", file, operation);
}

int fchown(int file, uid_t owner, gid_t group) noexcept {
  return answer<&::fchown>("fchown", file, nullptr, 0, "fchown", file, owner, group);
}

int fchmod(int file, mode_t mode) noexcept {
  return answer<&::fchmod>("fchmod", file, nullptr, 0, "fchmod", file, mode);
}

ssize_t fgetxattr(int file, const char* name, void* value, size_t size) noexcept {
  return answer<&::fgetxattr>("fgetxattr", file, nullptr, 0, "fgetxattr", file, name, value, size);
}

int fsetxattr(int file, const char* name, const void* value, size_t size, int flags) noexcept {
  return answer<&::fsetxattr>("fsetxattr", file, nullptr, flags, "fsetxattr", file, name, value,
                              size, flags);
}

int renameat(int from, const char* old, int to, const char* name) noexcept {
  if (SystemCalls::fails("rename", -1, name, 0, old)) return -1;
  return next<&::renameat>("renameat")(from, old, to, name);
}

int renameat2(int from, const char* old, int to, const char* name, unsigned flags) noexcept {
  if (SystemCalls::fails("renameat2", -1, name, 0, old)) return -1;
  return next<&::renameat2>("renameat2")(from, old, to, name, flags);
}

int linkat(int from, const char* old, int to, const char* name, int flags) noexcept {
  return answer<&::linkat>("link", -1, name, 0, "linkat", from, old, to, name, flags);
}

int unlink(const char* path) noexcept {
  return answer<&::unlink>("unlink", -1, path, 0, "unlink", path);
}

int unlinkat(int directory, const char* path, int flags) noexcept {
  return answer<&::unlinkat>("unlink", -1, path, 0, "unlinkat", directory, path, flags);
}

int mkdir(const char* path, mode_t mode) noexcept {
  return answer<&::mkdir>("mkdir", -1, path, 0, "mkdir", path, mode);
}

int fstat(int file, struct stat* status) noexcept {
  const char* const own = kIsWide ? "fstat" : "__fstat64_time64";
  return answer<&::fstat>("fstat", file, nullptr, 0, own, file, status);
}

int fstatfs(int file, struct statfs* status) noexcept {
  return answer<&::fstatfs>("fstatfs", file, nullptr, 0, "fstatfs64", file, status);
}

int futimens(int file, const timespec times[2]) noexcept {
  const char* const own = kIsWide ? "futimens" : "__futimens64";
  return answer<&::futimens>("futimens", file, nullptr, 0, own, file, times);
}

int statx(int directory, const char* path, int flags, unsigned mask,
          struct statx* status) noexcept {
  return answer<&::statx>("statx", directory, path, flags, "statx", directory, path, flags, mask,
                          status);
}

}  // extern "C"
