// cli/local/state.cpp: reads and writes ".trevault/state".
#include "cli/local/state.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

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

constexpr std::string_view kHead = "trevault state 4";
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
         takeNumber(line, &to->inode);
}

std::string textOf(const Stamp& stamp) {
  return fmt::format("{}\t{}\t{}\t", stamp.size, stamp.nanoseconds, stamp.inode);
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

// A line is "listed folder archive file told path": of the file "-", or "here size time inode
// locked"; of what was told "-", or "size time inode has followed author time count", and for each
// lock "number user time note". Tabs stand between all of them; the path may have some as well.
bool State::readLine(std::string_view line, std::string_view* path, Entry* entry) {
  entry->isListed = takeField(&line) == "+";
  entry->folder = takeField(&line);
  entry->archive = takeField(&line);
  if (const std::string_view here = takeField(&line); here != "-") {
    FileState& file = entry->file.emplace();
    file.here = here;
    if (!takeStamp(&line, &file.stamp)) return false;
    file.isLockedFromHere = takeField(&line) == "locked";
  }
  if (line.starts_with("-\t")) {
    takeField(&line);
  } else {
    Told& told = entry->told.emplace();
    if (!takeStamp(&line, &told.archive)) return false;
    told.hasHere = takeField(&line) == "has";
    told.followed = takeField(&line);
    told.author = takeField(&line);
    told.time = takeField(&line);
    size_t locks = 0;
    if (!takeNumber(&line, &locks)) return false;
    for (; locks > 0 && !line.empty(); --locks) {
      LockInfo& lock = told.locks.emplace_back();
      for (std::string* each : {&lock.number, &lock.user, &lock.time, &lock.note}) {
        *each = takeField(&line);
      }
    }
  }
  *path = line;
  return !path->empty();
}

void State::writeLine(std::string_view path, const Entry& entry, std::string* to) {
  *to += fmt::format("{}\t{}\t{}\t", entry.isListed ? '+' : '-', entry.folder, entry.archive);
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
  to->append(path).append(1, '\n');
}

// After the head come the owner, what is followed, the lines of the origin, and those of familiar
// directories, "text directory" with a tab between. An empty line ends each of the two.
void State::read() {
  os::FileStatus status;
  if (os::readFile(path().c_str(), kLargest, &bytes_, &status) != os::FileResult::kDone) return;
  read_ = status;
  std::string_view text = bytes_;
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
    std::string_view file;
    Entry entry;
    if (readLine(takeField(&text, '\n'), &file, &entry)) {
      entries_.emplace_hint(entries_.end(), file, std::move(entry));
    } else {
      origin_.clear();  // What can't be read may have been a file of the project.
    }
  }
}

std::vector<FileRecord> State::files() const {
  std::vector<FileRecord> files;
  for (const auto& [path, entry] : entries_) {
    if (!entry.isListed) continue;
    files.push_back({std::string(path), std::string(entry.archive), std::string(entry.folder)});
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
  for (auto& [path, entry] : entries_) entry.isListed = false;
  for (const FileRecord& file : files) {
    const auto found = entries_.find(file.path);
    if (found == entries_.end() && origin.empty()) continue;
    Entry& entry = found == entries_.end() ? entries_[lasting(file.path)] : found->second;
    entry.isListed = true;
    if (origin.empty()) continue;
    if (entry.archive != file.archive) entry = {true, {}, lasting(file.archive), {}, {}};
    if (entry.folder != file.folder) entry.folder = lasting(file.folder);
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
const State::Entry* State::entryOf(const std::string& path, const std::string& archive) const {
  for (int step = 0; step < 2 && last_ != entries_.end() && last_->first != path; ++step) ++last_;
  if (last_ == entries_.end() || last_->first != path) last_ = entries_.find(path);
  const bool isIt = last_ != entries_.end() && last_->second.archive == archive;
  return isIt ? &last_->second : nullptr;
}

State::Entry& State::entryFor(const std::string& path, const std::string& archive) {
  const auto found = entries_.find(path);
  Entry& entry = found == entries_.end() ? entries_[lasting(path)] : found->second;
  if (entry.archive != archive) entry = {entry.isListed, {}, lasting(archive), {}, {}};
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

void State::set(const std::string& path, const std::string& archive, FileState state) {
  Entry& entry = entryFor(path, archive);
  entry.told.reset();
  entry.file = std::move(state);
}

void State::setTold(const std::string& path, const std::string& archive, Told told) {
  entryFor(path, archive).told = std::move(told);
}

void State::forget(const std::string& path) {
  const auto found = entries_.find(path);
  if (found == entries_.end()) return;
  found->second.file.reset();
  found->second.told.reset();
  isChanged_ = true;
}

void State::follow(std::string_view follows) {
  if (follows_ == shown(follows)) return;
  follows_ = shown(follows);
  for (auto& [path, entry] : entries_) entry.told.reset();
}

void State::forEachUnlisted(const Visit& visit) const {
  for (const auto& [path, entry] : entries_) {
    if (entry.file && !entry.isListed) visit(std::string(path), *entry.file);
  }
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

void State::save() {
  if (!isChanged_ || !mayWrite()) return;
  std::string text = fmt::format("{}\n{}\n{}\n{}\n", kHead, owner_, follows_, origin_);
  for (const auto& [directory, said] : familiar_) text += fmt::format("{}\t{}\n", said, directory);
  text += '\n';
  for (const auto& [path, entry] : entries_) {
    const bool isKnown = (entry.isListed && !origin_.empty()) || entry.file || entry.told;
    const bool isLine = path.find('\n') == path.npos && canStand(entry.archive);
    if (isKnown && isLine) writeLine(path, entry, &text);
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
