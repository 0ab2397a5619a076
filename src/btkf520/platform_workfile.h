// btkf520/platform_workfile.h: the clock, workfiles as their users see them, and the few other
// things that operations ask of the operating system. Implemented by platform_workfile_posix.cpp.
//
// Paths are the operating system's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/archive/model.h"
#include "btkf520/platform.h"

namespace btkf {

// The present time of the local zone.
PackedTime presentTime();

struct WorkfileState {
  bool isRegular = false;
  bool isWritable = false;  // By its owner, whoever asks: a read-only mark binds everybody.
  PackedTime changeTime = 0;
  // With which two states differ if the file was changed in between.
  uint64_t size = 0;
  int64_t changeNanoseconds = 0;
  FileIdentity identity;

  bool operator==(const WorkfileState&) const = default;
};

// Nothing if there is no such file.
std::optional<WorkfileState> workfileState(const std::string& path);

// Whether the directory is there that `path` names a file in.
bool hasDirectory(const std::string& path);

// Whether both paths mean one file, or would if it were there.
bool isSameFile(const std::string& first, const std::string& second);

// Seconds since 1970. Nothing for a time that there wasn't.
std::optional<int64_t> secondsOf(PackedTime time);

// Each is false if that failed.
bool setWritable(const std::string& path, bool isWritable);
bool removeFile(const std::string& path);
// Adds to the end of a file, in one piece; makes the file.
bool appendToFile(const std::string& path, std::string_view text);

// Lets a tenth of a second pass.
void waitAMoment();

// Runs a command of the shell and waits for its end. `variables` join its environment. Gives its
// exit code, 128 and more if a signal ended it, and nothing if it could not be started.
std::optional<int> runCommand(const std::string& command,
                              const std::vector<std::pair<std::string, std::string>>& variables);

}  // namespace btkf
