// base/vfile.h: VFile, a file used as a stream of bytes: configuration files and archives of
// objects. No line end is translated.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/vbool.h"
#include "base/vpathstring.h"
#include "base/vstring.h"
#include "os/file.h"

namespace foldapi {

// The file is named by the constructor and opened by open().
//
// What is written at the end of an existing file goes there at once, by one write, under a lock
// that lasts until close(). Any other change is made in memory and replaces the file in close(),
// all or nothing. So text that counts as written may still fail in close() there.
class VFile {
 public:
  // The values of the modes are those that callers pass as numbers.
  enum Mode {
    kCreate = 0,  // A new empty file, or an old one emptied; then as kWrite.
    kRead = 2,
    kWrite = 4,
    kReadWrite = 6,
    kPrinter = 7,  // Standard streams that this platform doesn't have: opening them fails.
    kAuxiliary = 8,
    kStandardInput = 9,
    kStandardOutput = 10,
    kStandardError = 11,
  };
  static constexpr int64_t kEnd = 0x7fffffff;  // The position that means the end of the file.

  explicit VFile(VPathString path) : path_(std::move(path)) {}
  VFile(const VFile&) = delete;
  VFile& operator=(const VFile&) = delete;
  // Closes. To know whether that works, call close() before.
  ~VFile();

  const VPathString& path() const { return path_; }

  // Closes first, and fails where that does. Starts at position 0. Only kCreate makes a file.
  [[nodiscard]] VBool open(int mode);
  VBool isOpen() const { return mode_ != kClosed; }
  // Brings what was written to the device. False if that fails: a file that was to be replaced is
  // as it was. Does nothing if the file is not open, and leaves standard streams open.
  [[nodiscard]] VBool close();

  // Goes to a position; one past the end is the end. Standard streams have no position.
  [[nodiscard]] VBool seek(int64_t position);

  // Writes at the position and moves it past that. Gives the number of bytes, -1 on failure.
  [[nodiscard]] int32_t writeText(const VString& text) { return writeBytes(text.view()); }
  [[nodiscard]] int32_t writeBytes(std::string_view bytes);
  // Why it could not be opened, or the lock for a write could not be taken.
  os::FileResult failure() const { return failure_; }
  // Reads up to `size` bytes at the position and moves it past them: fewer at the end.
  std::string_view readBytes(size_t size);
  // All that follows the position, which moves to the end. Good until the next operation.
  std::string_view readAll() { return readBytes(std::string_view::npos); }

 private:
  static constexpr int kClosed = -1;

  bool isWritable() const { return mode_ == kCreate || mode_ == kWrite || mode_ == kReadWrite; }
  bool isStandard() const { return mode_ >= kPrinter; }
  [[nodiscard]] bool openFile(int mode);
  [[nodiscard]] bool lockToAppend();

  VPathString path_;
  int mode_ = kClosed;
  os::File file_;
  std::string content_;  // As it is in the file, or will be after close().
  size_t position_ = 0;
  bool isAppended_ = false;  // Something was written at the end, and the lock is held.
  bool isReplaced_ = false;  // close() replaces the file by the content.
  os::FileResult failure_ = os::FileResult::kDone;
};

}  // namespace foldapi
