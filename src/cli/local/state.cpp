// cli/local/state.cpp: reads and writes ".trevault/state".
#include "cli/local/state.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "archivefile/checksum.h"
#include "cli/local/directory.h"
#include "cli/problem.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/sibling.h"
#include "os/stop.h"

namespace cli {
namespace {

constexpr std::string_view kHead = "trevault state 6";
constexpr uint64_t kLargest = uint64_t{1} << 31;
constexpr int kTries = 50;
constexpr unsigned kPause = 100;  // Milliseconds.

// Takes what stands before `separator` off a line.
std::string_view takeField(std::string_view* line, char separator = '\t') {
  const size_t end = std::min(line->find(separator), line->size());
  const std::string_view field = line->substr(0, end);
  line->remove_prefix(std::min(end + 1, line->size()));
  return field;
}

template <typename Number>
bool takeNumber(std::string_view* line, Number* to) {
  const char* const last = line->data() + line->size();
  const auto [end, error] = std::from_chars(line->data(), last, *to);
  if (error != std::errc() || end == last || *end != '\t') return false;
  line->remove_prefix(static_cast<size_t>(end + 1 - line->data()));
  return true;
}

bool takeStamp(std::string_view* line, Stamp* to) {
  return takeNumber(line, &to->size) && takeNumber(line, &to->nanoseconds) &&
         takeNumber(line, &to->changed) && takeNumber(line, &to->inode);
}

std::string textOf(const Stamp& stamp) {
  return fmt::format("{}\t{}\t{}\t{}\t", stamp.size, stamp.nanoseconds, stamp.changed, stamp.inode);
}

// The letters that end a field or a line can't be in one. Whose names have them is asked again.
bool canStand(std::string_view text) {
  return text.find_first_of("\t\n") == std::string_view::npos;
}

bool canStand(const Told& told) {
  return canStand(told.author) &&
         std::all_of(told.locks.begin(), told.locks.end(), [](const LockInfo& lock) {
           return canStand(lock.user) && canStand(lock.note);
         });
}

// The last line, which proves all of `text` before it.
std::string endOf(std::string_view text) {
  return fmt::format(".{:016x}\n", archivefile::checksumOf(text));
}

bool takeEnd(std::string_view* text) {
  const std::string_view lines = text->substr(0, text->find_last_of('.'));
  if (text->substr(lines.size()) != endOf(lines)) return false;
  *text = lines;
  return true;
}

}  // namespace

State::State(std::string top, std::string_view owner, Use use)
    : top_(joined(top, kMemory)), owner_(shown(owner)), use_(use) {
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
    if (os::isStopWanted()) throw Problem{"trevault", "stopped", "", Exit::kCancelled};
    os::sleepMilliseconds(kPause);
  }
  throw Problem{shown(os::parentOf(top_)), "another trevault works there", "try again"};
}

// A line is "+" for a file of the project, else "-", the length of the path, a blank and the path,
// which may have tabs. Then come, with a tab after each, the folder and the archive; of the file
// "-" or "here STAMP locked"; of what was told "-" or "STAMP has followed author time count", with
// "size time changed inode" for each stamp, and for each lock "number user time note".
bool State::readPath(std::string_view text, Line* line) {
  size_t size = 0;
  const char* const last = text.data() + text.size();
  if (text.empty()) return false;
  const auto [end, error] = std::from_chars(text.data() + 1, last, size);
  const auto start = static_cast<size_t>(end - text.data()) + 1;
  if (error != std::errc() || size == 0 || start >= text.size()) return false;
  if (size >= text.size() - start) return false;
  *line = {text.substr(start, size), text, text.front() == '+'};
  return true;
}

void State::readEntry(const Line& line, Entry* entry) {
  std::string_view text = line.rest();
  entry->folder = takeField(&text);
  entry->archive = takeField(&text);
  const std::string_view here = takeField(&text);
  if (here == "-") {
    entry->file.reset();
  } else {
    FileState& file = entry->file ? *entry->file : entry->file.emplace();
    file.here = here;
    if (!takeStamp(&text, &file.stamp)) file.stamp = {};
    file.isLockedFromHere = takeField(&text) == "locked";
  }
  if (text.starts_with('-')) return entry->told.reset();
  Told& told = entry->told ? *entry->told : entry->told.emplace();
  if (!takeStamp(&text, &told.archive)) told.archive = {};
  told.hasHere = takeField(&text) == "has";
  told.followed = takeField(&text);
  told.author = takeField(&text);
  told.time = takeField(&text);
  told.locks.clear();
  size_t locks = 0;
  if (!takeNumber(&text, &locks)) told.archive = {};
  for (; locks > 0 && !text.empty(); --locks) {
    LockInfo& lock = told.locks.emplace_back();
    for (std::string* each : {&lock.number, &lock.user, &lock.time, &lock.note}) {
      *each = takeField(&text);
    }
  }
}

void State::writeLine(const std::string& path, const Changed& changed, std::string* to) {
  const Entry& entry = changed.entry;
  *to += fmt::format("{}{} {}\t{}\t{}\t", changed.isListed ? '+' : '-', path.size(), path,
                     entry.folder, entry.archive);
  if (const auto& file = entry.file) {
    *to += fmt::format("{}\t{}{}\t", file->here, textOf(file->stamp),
                       file->isLockedFromHere ? "locked" : "free");
  } else {
    *to += "-\t";
  }
  const auto& told = entry.told;
  if (told && canStand(*told)) {
    *to += fmt::format("{}{}\t{}\t{}\t{}\t{}\t", textOf(told->archive),
                       told->hasHere ? "has" : "lacks", told->followed, told->author, told->time,
                       told->locks.size());
    for (const LockInfo& lock : told->locks) {
      *to += fmt::format("{}\t{}\t{}\t{}\t", lock.number, lock.user, lock.time, lock.note);
    }
  } else {
    *to += "-\t";
  }
  *to += '\n';
}

// After the head come the owner, what is followed, the lines of the origin, and those of familiar
// directories, "text directory" with a tab between. An empty line ends each of the two. A file that
// isn't proven, as it was cut off or damaged, lists no files.
void State::read() {
  os::FileStatus status;
  if (os::readFile(path().c_str(), kLargest, &bytes_, &status) != os::FileResult::kDone) return;
  read_ = status;
  std::string_view text = bytes_;
  const bool isProven = takeEnd(&text);
  if (takeField(&text, '\n') != kHead || takeField(&text, '\n') != owner_) return;
  follows_ = takeField(&text, '\n');
  while (!text.empty() && !text.starts_with('\n')) {
    origin_.append(takeField(&text, '\n')).append(1, '\n');
  }
  takeField(&text, '\n');
  while (!text.empty() && !text.starts_with('\n')) {
    std::string_view line = takeField(&text, '\n');
    const std::string_view said = takeField(&line);
    familiar_.emplace(line, said);
  }
  takeField(&text, '\n');
  while (!text.empty()) {
    Line line;
    const bool isLine = readPath(takeField(&text, '\n'), &line) &&
                        (lines_.empty() || lines_.back().path < line.path);
    if (isLine) lines_.push_back(line);
  }
  if (!bytes_.ends_with('\n') && !lines_.empty()) lines_.pop_back();
  if (!isProven) origin_.clear();
}

std::vector<FileRecord> State::files() const {
  std::vector<FileRecord> files;
  files.reserve(lines_.size());
  for (const Line& line : lines_) {
    if (!line.isListed) continue;
    FileRecord& file = files.emplace_back();
    file.path = line.path;
    std::string_view rest = line.rest();
    file.folder = takeField(&rest);
    file.archive = takeField(&rest);
  }
  return files;
}

void State::keepFiles(const std::vector<FileRecord>& files, const std::string& from) {
  const bool canKeep = std::all_of(files.begin(), files.end(), [](const FileRecord& each) {
    return each.path.find('\n') == each.path.npos && canStand(each.archive) &&
           canStand(each.folder);
  });
  const std::string origin = canKeep ? from : "";
  isChanged_ = isChanged_ || origin != origin_;
  origin_ = origin;
  familiar_.clear();
  for (Line& line : lines_) line.isListed = false;
  for (auto& [path, changed] : changed_) changed.isListed = false;
  for (const FileRecord& file : files) {
    const size_t line = lineOf(file.path);
    const Entry* const entry = entryOf(file.path, file.archive);
    const bool isSame = entry != nullptr && entry->folder == file.folder;
    if (line < lines_.size() && (isSame || origin.empty())) {
      lines_[line].isListed = true;
    } else if (!origin.empty() || changed_.contains(file.path)) {
      Changed& changed = changedAt(file.path);
      changed.isListed = true;
      if (changed.entry.archive != file.archive) changed.entry = {"", file.archive, {}, {}};
      changed.entry.folder = file.folder;
    }
  }
}

const std::string* State::familiar(const std::string& directory) const {
  const auto found = familiar_.find(directory);
  return found == familiar_.end() ? nullptr : &found->second;
}

void State::setFamiliar(const std::string& directory, const std::string& text) {
  const bool canKeep = !origin_.empty() && directory.find('\n') == std::string::npos;
  std::string& kept = familiar_[directory];
  const std::string wanted = canKeep ? text : "";
  isChanged_ = isChanged_ || kept != wanted;
  kept = wanted;
  if (kept.empty()) familiar_.erase(directory);
}

// Files are mostly asked about in the order of their paths, each several times.
size_t State::lineOf(std::string_view path) const {
  const auto isAt = [&](size_t line) { return line < lines_.size() && lines_[line].path == path; };
  if (isAt(next_ + 1)) ++next_;
  if (!isAt(next_)) {
    const auto found = std::ranges::lower_bound(lines_, path, {}, &Line::path);
    next_ = static_cast<size_t>(found - lines_.begin());
  }
  return isAt(next_) && !lines_[next_].isReplaced ? next_ : lines_.size();
}

const State::Entry* State::entryOf(const std::string& path, const std::string& archive) const {
  const Entry* entry = nullptr;
  const size_t line = lineOf(path);
  if (line < lines_.size()) {
    if (line_ != &lines_[line]) readEntry(lines_[line], &entry_);
    line_ = &lines_[line];
    entry = &entry_;
  } else if (const auto found = changed_.find(path); found != changed_.end()) {
    entry = &found->second.entry;
  }
  return entry == nullptr || entry->archive != archive ? nullptr : entry;
}

State::Changed& State::changedAt(const std::string& path) {
  const size_t line = lineOf(path);
  if (line == lines_.size()) return changed_[path];
  Changed& changed = changed_[path];
  changed.isListed = lines_[line].isListed;
  readEntry(lines_[line], &changed.entry);
  lines_[line].isReplaced = true;
  return changed;
}

State::Entry& State::entryFor(const std::string& path, const std::string& archive) {
  Entry& entry = changedAt(path).entry;
  if (entry.archive != archive) entry = {"", archive, {}, {}};
  isChanged_ = true;
  return entry;
}

const FileState* State::find(const std::string& path, const std::string& archive) const {
  const Entry* const entry = entryOf(path, archive);
  return entry == nullptr || !entry->file ? nullptr : &*entry->file;
}

const Told* State::told(const std::string& path, const std::string& archive) const {
  const Entry* const entry = entryOf(path, archive);
  return entry == nullptr || !entry->told ? nullptr : &*entry->told;
}

void State::set(const FileRecord& file, FileState state) {
  Entry& entry = entryFor(file.path, file.archive);
  entry.folder = file.folder;
  entry.told.reset();
  entry.file = std::move(state);
}

void State::setTold(const std::string& path, const std::string& archive, Told told) {
  entryFor(path, archive).told = std::move(told);
}

void State::forget(const std::string& path) {
  if (lineOf(path) == lines_.size() && !changed_.contains(path)) return;
  Entry& entry = changedAt(path).entry;
  entry.file.reset();
  entry.told.reset();
  isChanged_ = true;
}

void State::follow(std::string_view follows) {
  if (follows_ == shown(follows)) return;
  follows_ = shown(follows);
  for (const Line& line : lines_) {
    if (!line.isReplaced) changedAt(std::string(line.path));
  }
  for (auto& [path, changed] : changed_) changed.entry.told.reset();
}

std::vector<FileRecord> State::unlisted() const {
  std::vector<FileRecord> found;
  const auto take = [&found](std::string_view path, const Entry& entry) {
    if (entry.file) found.push_back({std::string(path), entry.archive, entry.folder});
  };
  for (const Line& line : lines_) {
    Entry entry;
    if (line.isListed || line.isReplaced) continue;
    readEntry(line, &entry);
    take(line.path, entry);
  }
  for (const auto& [path, changed] : changed_) {
    if (!changed.isListed) take(path, changed.entry);
  }
  std::ranges::sort(found, {}, &FileRecord::path);
  return found;
}

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

// Lines that nothing has changed stay as they are.
void State::writeLines(std::string* to) const {
  auto next = changed_.begin();
  const auto writeUpTo = [&](std::string_view end) {
    for (; next != changed_.end() && (end.empty() || next->first < end); ++next) {
      const auto& [path, changed] = *next;
      const Entry& entry = changed.entry;
      const bool isKnown = (changed.isListed && !origin_.empty()) || entry.file || entry.told;
      const bool isLine = path.find('\n') == std::string::npos && canStand(entry.archive);
      if (isKnown && isLine) writeLine(path, changed, to);
    }
  };
  for (const Line& line : lines_) {
    writeUpTo(line.path);
    const bool isKnown = line.isListed || !line.text.ends_with("\t-\t-\t");
    if (line.isReplaced || !isKnown) continue;
    to->append(1, line.isListed ? '+' : '-').append(line.text.substr(1)).append(1, '\n');
  }
  writeUpTo("");
}

void State::save() {
  if (!isChanged_ || !mayWrite()) return;
  std::string text = fmt::format("{}\n{}\n{}\n{}\n", kHead, owner_, follows_, origin_);
  for (const auto& [directory, said] : familiar_) text += fmt::format("{}\t{}\n", said, directory);
  text += '\n';
  writeLines(&text);
  text += endOf(text);
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
