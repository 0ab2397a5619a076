// cli/local/state.cpp: reads and writes ".trevault/state".
#include "cli/local/state.h"

#include <fmt/format.h>

#include <charconv>

#include "cli/local/directory.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/sibling.h"

namespace cli {
namespace {

constexpr std::string_view kHead = "trevault state 1";
constexpr uint64_t kLargest = uint64_t{1} << 31;
constexpr int kTries = 50;
constexpr unsigned kPause = 100;  // Milliseconds.
constexpr size_t kFields = 6;

template <typename Number>
bool read(const std::string& text, Number* to) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *to);
  return error == std::errc() && end == text.data() + text.size();
}

// "here size time inode locked path", with tabs between: a path may have one as well.
bool readLine(std::string_view line, std::string* path, FileState* state) {
  std::string fields[kFields];
  for (size_t i = 0; i + 1 < kFields; ++i) {
    const size_t tab = line.find('\t');
    if (tab == std::string_view::npos) return false;
    fields[i] = line.substr(0, tab);
    line.remove_prefix(tab + 1);
  }
  *path = line;
  state->here = fields[0];
  state->isLockedFromHere = fields[4] == "locked";
  return read(fields[1], &state->stamp.size) && read(fields[2], &state->stamp.nanoseconds) &&
         read(fields[3], &state->stamp.inode) && !path->empty();
}

}  // namespace

State::State(std::string top, Use use) : top_(joined(top, kMemory)), use_(use) {
  if (use == Use::kChange) lock();
  read();
}

void State::lock() {
  const std::string path = joined(top_, "lock");
  if (!os::makeDirectories(top_) || os::makeFile(path) != os::FileResult::kDone) {
    throw Problem{top_, "can't be made or written", "see who owns the directory"};
  }
  for (int tries = 0; tries < kTries; ++tries) {
    const os::FileResult result = lock_.openLocked(path.c_str());
    if (result != os::FileResult::kBusy) return;  // Without locks it goes as well as it can.
    os::sleepMilliseconds(kPause);
  }
  throw Problem{"trevault", fmt::format("another trevault works in {}", os::parentOf(top_)),
                "try again"};
}

void State::read() {
  std::string text;
  os::FileStatus status;
  if (os::readFile(path().c_str(), kLargest, &text, &status) != os::FileResult::kDone) return;
  std::vector<std::string> lines = split(text, '\n');
  if (lines.empty() || lines.front() != kHead) return;
  read_ = status;
  for (size_t i = 1; i < lines.size(); ++i) {
    std::string file;
    FileState state;
    if (readLine(lines[i], &file, &state)) files_[file] = std::move(state);
  }
}

const FileState* State::find(const std::string& path) const {
  const auto found = files_.find(path);
  return found == files_.end() ? nullptr : &found->second;
}

void State::set(const std::string& path, FileState state) {
  files_[path] = std::move(state);
  isChanged_ = true;
}

void State::forget(const std::string& path) { isChanged_ = files_.erase(path) > 0 || isChanged_; }

std::string State::path() const { return joined(top_, "state"); }

bool State::mayWrite() {
  if (use_ == Use::kChange) return true;
  os::FileStatus now;
  const std::string path = joined(top_, "lock");
  if (os::makeFile(path) != os::FileResult::kDone ||
      lock_.openLocked(path.c_str()) != os::FileResult::kDone) {
    return false;
  }
  static_cast<void>(os::readStatus(this->path().c_str(), &now));
  return now == read_;
}

void State::save() {
  if (!isChanged_ || !mayWrite()) return;
  std::string text = std::string(kHead) + '\n';
  for (const auto& [path, state] : files_) {
    text += fmt::format("{}\t{}\t{}\t{}\t{}\t{}\n", state.here, state.stamp.size,
                        state.stamp.nanoseconds, state.stamp.inode,
                        state.isLockedFromHere ? "locked" : "free", path);
  }
  os::SiblingFile file;
  const bool isWritten = file.open(path()) == os::FileResult::kDone &&
                         file.write(text) == os::FileResult::kDone &&
                         file.giveRights(nullptr) == os::FileResult::kDone;
  if (!isWritten) return;
  static_cast<void>(
      file.finish(os::SiblingFile::Naming::kReplace, os::SiblingFile::Safety::kSoon, nullptr));
  isChanged_ = false;
}

}  // namespace cli
