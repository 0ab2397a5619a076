// btkf520/platform.h: all that the toolkit asks of the operating system. Implemented by
// platform_posix.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace btkf {

// Which file it is, whatever its name: two paths lead to one file if these are equal.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t number = 0;
  bool operator==(const FileIdentity&) const = default;
};

struct FileText {
  std::string text;
  FileIdentity identity;
};

// The content of the regular file `path`. Nothing for any other kind of file, for one of more than
// `largest` bytes and for one that can't be read. Never waits, not for a pipe either.
std::optional<FileText> readFile(const std::string& path, size_t largest);

// Nothing for a variable that isn't set.
std::optional<std::string> environmentVariable(const std::string& name);

// The account name of the effective user, or the number as text if the account has no name.
std::string accountName();

}  // namespace btkf
