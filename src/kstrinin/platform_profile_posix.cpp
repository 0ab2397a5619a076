// kstrinin/platform_profile_posix.cpp: the profile's file on POSIX systems.
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "kstrinin/platform_profile.h"

namespace kstrinin {
namespace {

constexpr int kLockTries = 600;
constexpr long kLockPauseNanoseconds = 5'000'000;

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  int get() const { return value_; }
  bool isOpen() const { return value_ >= 0; }

 private:
  int value_;
};

std::string absoluteFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value == '/' ? value : "";
}

std::string homeDirectory() {
  std::string home = absoluteFromEnvironment("HOME");
  if (!home.empty()) return home;
  passwd entry{};
  passwd* found = nullptr;
  std::string buffer(16384, '\0');
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_dir != nullptr) {
    home = found->pw_dir;
  }
  return home;
}

std::string parentOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool makeDirectories(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0 || errno == EEXIST) return true;
  return errno == ENOENT && parentOf(path) != path && makeDirectories(parentOf(path)) &&
         (::mkdir(path.c_str(), 0777) == 0 || errno == EEXIST);
}

// The file itself where `path` is a link to one.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real == nullptr ? path : real.get();
}

bool writeAll(int file, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(file, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<size_t>(count);
  }
  return ::fsync(file) == 0;
}

void keepModeAndOwner(int file, const struct stat& old) {
  // A refusal is fine: the writer then owns the file. The owner goes first, as it drops mode bits.
  if (::fchown(file, old.st_uid, old.st_gid) != 0) errno = 0;
  if (::fchmod(file, old.st_mode & 07777) != 0) errno = 0;
}

bool writeInPlace(const std::string& path, const std::string& text) {
  const Descriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
  return file.isOpen() && writeAll(file.get(), text) &&
         ::ftruncate(file.get(), static_cast<off_t>(text.size())) == 0 && ::fsync(file.get()) == 0;
}

}  // namespace

std::string userProfilePath() {
  const char* named = std::getenv("KSTR_INI");
  if (named != nullptr && *named != '\0') return named;
  std::string directory = absoluteFromEnvironment("XDG_CONFIG_HOME");
  if (directory.empty()) {
    directory = homeDirectory();
    if (directory.empty()) return "";
    directory += "/.config";
  }
  return directory + "/trevault/KSTR.INI";
}

ReadResult readProfileFile(const std::string& path, std::string* text) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) return errno == ENOENT ? ReadResult::kMissing : ReadResult::kCannotOpen;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return ReadResult::kCannotOpen;
  if (static_cast<uint64_t>(status.st_size) > kLargestProfile) return ReadResult::kTooLarge;
  std::string content;
  char block[4096];
  for (;;) {
    const ssize_t count = ::read(file.get(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return ReadResult::kCannotRead;
    if (count == 0) break;
    content.append(block, static_cast<size_t>(count));
    if (content.size() > kLargestProfile) return ReadResult::kTooLarge;
  }
  *text = std::move(content);
  return ReadResult::kRead;
}

ProfileLock::ProfileLock(const std::string& path) {
  const std::string directory = parentOf(resolved(path));
  if (!makeDirectories(directory)) return;
  directory_ = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  // A directory that may be used but not listed, or a file system without such locks, gives no
  // lock; the write itself is still whole.
  held_ = directory_ < 0;
  for (int i = 0; i < kLockTries && !held_; ++i) {
    if (::flock(directory_, LOCK_EX | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR)) {
      held_ = true;
      return;
    }
    const timespec pause{0, kLockPauseNanoseconds};
    ::nanosleep(&pause, nullptr);
  }
}

ProfileLock::~ProfileLock() {
  if (directory_ >= 0) ::close(directory_);
}

bool replaceProfileFile(const std::string& path, const std::string& text) {
  const std::string target = resolved(path);
  struct stat old {};
  const bool exists = ::stat(target.c_str(), &old) == 0;
  if (exists && (old.st_mode & S_IWUSR) == 0) return false;
  const std::string sibling = target + ".new" + std::to_string(::getpid());
  ::unlink(sibling.c_str());  // One that a killed process with our number left behind.
  const int created = ::open(sibling.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (created < 0) {
    const bool takesNoFile = errno == EACCES || errno == EPERM || errno == EROFS;
    return exists && takesNoFile && writeInPlace(target, text);
  }
  {
    const Descriptor file(created);
    if (exists) keepModeAndOwner(created, old);
    if (!writeAll(created, text) || ::rename(sibling.c_str(), target.c_str()) != 0) {
      ::unlink(sibling.c_str());
      return false;
    }
  }
  const Descriptor directory(::open(parentOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.isOpen()) ::fsync(directory.get());
  return true;
}

}  // namespace kstrinin
