// support/files.h: temporary directories, whole files and readable bytes for tests.
//
// Paths are the operating system's. Whatever fails throws, which fails the test that asked.
#pragma once

#include <string>
#include <string_view>

namespace support {

// A directory that is removed with all in it at the end of the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::string& path() const { return path_; }
  // The path of something in it.
  std::string operator/(std::string_view relative) const;

 private:
  std::string path_;
};

std::string readFile(const std::string& path);
// Replaces the file; makes the directories above it.
void writeFile(const std::string& path, std::string_view bytes);

// Whether a file may be written by its owner; false, and nothing happens, if there is none.
bool isWritable(const std::string& path);
void setWritable(const std::string& path, bool isWritable);
// Removes a file, read-only or not, if there is one.
void removeFile(const std::string& path);

// Bytes as C source would write them ("a\r\n\xfc"), so that a failed comparison shows all of them.
std::string escaped(std::string_view bytes);

// `text` with `to` in the place of each `from`.
inline std::string replaced(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  for (size_t at; (at = text.find(from)) != std::string::npos; text.remove_prefix(at + from.size()))
    result.append(text.substr(0, at)).append(to);
  return result.append(text);
}

// How many files and directories are in a directory.
int entryCount(const std::string& directory);

// The account name of the effective user.
std::string currentUser();

// Sets an environment variable, and puts the old value back in the end.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::string& value);
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment();

 private:
  std::string name_;
  std::string old_;
  bool wasSet_;
};

}  // namespace support
