// cli/moving/rcsimport.cpp: revisions in an order in which each follows its parent, then labels,
// then what holds for the archive as a whole.
#include "cli/moving/rcsimport.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "btkf520/btkf520.h"
#include "cli/archives/content.h"
#include "cli/archives/engine.h"
#include "cli/archives/history.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "dates/packedtime.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/file.h"

namespace cli {
namespace {

constexpr uint64_t kLargest = uint64_t{4} << 30;
constexpr uint32_t kPutFlags =
    TRVS_PUT_OLDER | TRVS_PUT_UNCHANGED | TRVS_PUT_NEW_NUMBER | TRVS_PUT_NO_GROUP;

std::string readSource(const std::string& path, const std::string& shownPath) {
  std::string bytes;
  const os::FileResult result = os::readFile(path.c_str(), kLargest, &bytes);
  if (result == os::FileResult::kDone) return bytes;
  throw Problem{shownPath,
                result == os::FileResult::kTooLarge ? "has more than 4 GB" : "can't be read",
                "see who owns it"};
}

bool isRunnable(const std::string& path) {
  os::FileStatus status;
  return os::readStatus(path.c_str(), &status) == os::FileResult::kDone && status.ownerMayRun;
}

void writeFile(const std::string& path, const RcsContents::Lines& lines) {
  constexpr size_t kWide = 1 << 20;
  os::File file;
  uint64_t offset = 0;
  std::string pending;
  bool isGood = os::makeFile(path) == os::FileResult::kDone &&
                file.open(path.c_str(), os::File::Access::kUpdate) == os::FileResult::kDone;
  const auto flush = [&] {
    isGood = isGood && file.writeAt(offset, pending);
    offset += pending.size();
    pending.clear();
  };
  for (const std::string_view line : lines) {
    pending += line;
    if (pending.size() >= kWide) flush();
  }
  flush();
  if (!isGood || !file.close()) {
    throw Problem{path, "can't be written", "see whether the disk is full, and who owns it"};
  }
}

// Whether pieces, one after the other, are the lines.
class Comparison {
 public:
  explicit Comparison(const RcsContents::Lines& lines) : lines_(lines) {}

  void take(std::string_view bytes) {
    while (isEqual_ && !bytes.empty()) {
      if (line_ == lines_.size()) {
        isEqual_ = false;
        return;
      }
      const std::string_view rest = lines_[line_].substr(offset_);
      const size_t size = std::min(rest.size(), bytes.size());
      isEqual_ = rest.substr(0, size) == bytes.substr(0, size);
      bytes.remove_prefix(size);
      offset_ += size;
      if (size == rest.size()) {
        ++line_;
        offset_ = 0;
      }
    }
  }
  bool isEqual() const { return isEqual_ && line_ == lines_.size(); }

 private:
  const RcsContents::Lines& lines_;
  size_t line_ = 0;
  size_t offset_ = 0;
  bool isEqual_ = true;
};

}  // namespace

RcsImport::RcsImport(const std::string& path, FileRecord file, std::string shownPath)
    : file_(std::move(file)),
      shownPath_(std::move(shownPath)),
      isExecutable_(isRunnable(path)),
      source_(readSource(path, shownPath_), shownPath_) {
  if (source_.head().empty()) throw Problem{shownPath_, "has no revisions", ""};
  findNumbers();
  findLabels();
  noteStates();
}

// The engine counts the branches of a revision without gaps.
void RcsImport::findNumbers() {
  std::vector<std::string> trunk;
  for (std::string number = source_.head(); !number.empty(); number = source_.at(number).next) {
    trunk.push_back(number);
  }
  for (auto number = trunk.rbegin(); number != trunk.rend(); ++number) {
    numbers_[*number] = *number;
    findBranches(source_.at(*number));
  }
}

void RcsImport::findBranches(const RcsRevision& revision) {
  size_t count = 0;
  for (const std::string& first : revision.branches) {
    ++branches_;
    const std::string old(withoutLast(first));
    const std::string branch = fmt::format("{}.{}", numbers_.at(revision.number), ++count);
    if (branch != old) notes_.push_back(fmt::format("branch {} became {}", old, branch));
    for (std::string number = first; !number.empty(); number = source_.at(number).next) {
      numbers_[number] = fmt::format("{}.{}", branch, lastOf(number));
      findBranches(source_.at(number));
    }
  }
}

std::string RcsImport::tipOfBranch(const std::string& branch) const {
  std::string tip;
  for (const auto& [old, number] : numbers_) {
    if (withoutLast(old) == branch && (tip.empty() || isLess(tip, old))) tip = old;
  }
  return tip;
}

// A symbol may stand for a branch, and for one that has no revisions yet: 1.2.0.4 is 1.2.4 then.
RcsImport::Found RcsImport::targetOf(const std::string& number) const {
  const auto found = numbers_.find(number);
  if (found != numbers_.end()) return {found->second};
  std::string branch = number;
  const std::string above(withoutLast(number));
  const bool isMagic = std::count(number.begin(), number.end(), '.') > 2 && lastOf(above) == "0";
  if (isMagic) branch = fmt::format("{}.{}", withoutLast(above), lastOf(number));
  const std::string tip = tipOfBranch(branch);
  const bool isOfTrunk = branch.find('.') == std::string::npos;
  if (!tip.empty()) return {numbers_.at(tip), !isOfTrunk || tip == source_.head()};
  const auto start = numbers_.find(std::string(withoutLast(branch)));
  return start == numbers_.end() || !isMagic ? Found() : Found{start->second};
}

void RcsImport::findLabels() {
  std::set<std::string> taken;
  for (const auto& [symbol, number] : source_.symbols()) {
    std::string name = symbol;
    for (char& c : name) {
      if (std::string_view("*+,").find(c) != std::string_view::npos) c = '_';
    }
    const Found target = targetOf(number);
    if (target.number.empty() || !taken.insert(name).second) {
      notes_.push_back(fmt::format(
          "left out label {}: {}", shown(symbol),
          target.number.empty() ? "no revision " + number : "there is one of that name"));
      continue;
    }
    if (name != symbol) notes_.push_back(fmt::format("label {} became {}", shown(symbol), name));
    labels_.push_back({std::move(name), target.number, target.isBranch});
  }
}

void RcsImport::noteStates() {
  std::map<std::string, size_t> states;
  for (const auto& [number, revision] : source_.revisions()) {
    if (revision.state != "Exp" && !revision.state.empty()) ++states[revision.state];
  }
  for (const auto& [state, count] : states) {
    notes_.push_back(
        fmt::format("left out state {} of {}", shown(state), counted(count, "revision")));
  }
  if (!source_.access().empty()) {
    notes_.push_back(fmt::format("left out its access list: {}", shown(listed(source_.access()))));
  }
}

uint32_t RcsImport::timeOf(const RcsRevision& revision, int64_t* moment) const {
  dates::LocalTime time;
  const auto parts = split(revision.date, '.');
  int* const fields[] = {&time.year,  &time.month,   &time.day,
                         &time.hours, &time.minutes, &time.seconds};
  bool isGood = parts.size() == std::size(fields);
  for (size_t i = 0; isGood && i < parts.size(); ++i) {
    isGood = !parts[i].empty() && parts[i].size() <= 4 &&
             parts[i].find_first_not_of("0123456789") == std::string::npos;
    if (isGood) *fields[i] = std::stoi(parts[i]);
  }
  if (isGood && parts[0].size() <= 2) time.year += 1900;
  constexpr int kFirstYear = 1980;
  if (isGood && time.year < kFirstYear) time = dates::LocalTime();
  if (time.seconds == 60) time.seconds = 59;
  if (!isGood || !dates::isTime(time)) {
    throw Problem{
        shownPath_,
        fmt::format("damaged: {} is no date of {}", shown(revision.date), revision.number),
        "see what 'rlog' says of it"};
  }
  *moment = dates::secondsOf(time);
  return dates::packSeconds(*moment + os::zoneOffset(*moment));
}

std::string RcsImport::messageOf(const RcsRevision& revision) const {
  std::string_view message = revision.message;
  while (message.ends_with('\n')) message.remove_suffix(1);
  if (message.find('\0') == std::string_view::npos) return std::string(message);
  throw Problem{shownPath_, fmt::format("the message of {} holds a NUL byte", revision.number),
                fmt::format("'rcs -m{}:TEXT' gives it another", revision.number)};
}

void RcsImport::tryOut() const {
  RcsContents contents(source_);
  int64_t moment = 0;
  while (const RcsRevision* const revision = contents.next()) {
    timeOf(*revision, &moment);
    static_cast<void>(messageOf(*revision));
  }
}

void RcsImport::check(int32_t status, const std::string& archive, const std::string& number) const {
  cli::check(status, {.file = shownPath_, .archive = archive, .revision = number});
}

bool RcsImport::step(const std::string& archive, const std::string& scratch) {
  switch (stage_) {
    case Stage::kRevisions:
      if (contents_ == nullptr) {
        contents_ = std::make_unique<RcsContents>(source_);
        pending_ = labels_;
      } else if (put_ == 1 && revisions() > 1 && !isOpen_) {
        isOpen_ = true;
        check(TrvsSetAttributes(TRVS_CONTEXT, archive.c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS),
              archive, "");
        return true;
      }
      if (const RcsRevision* const revision = contents_->next()) {
        putRevision(*revision, archive, scratch);
        return true;
      }
      contents_.reset();
      stage_ = Stage::kLabels;
      [[fallthrough]];
    case Stage::kLabels:
      if (!pending_.empty()) {
        setLabel(pending_.back(), archive);
        pending_.pop_back();
        return true;
      }
      stage_ = Stage::kAttributes;
      [[fallthrough]];
    case Stage::kAttributes:
      setAttributes(archive);
      stage_ = Stage::kDone;
      return true;
    case Stage::kDone:
      break;
  }
  return false;
}

// The first one makes the archive, which takes its file's name from the one that it is made from.
void RcsImport::putRevision(const RcsRevision& revision, const std::string& archive,
                            const std::string& scratch) {
  const bool isFirst = put_++ == 0;
  const std::string number = numbers_.at(revision.number);
  std::string workfile = fmt::format("{}.{}", scratch, put_);
  if (isFirst) {
    if (!os::makeDirectories(workfile)) {
      throw Problem{workfile, "can't be made", "see who owns the directory above"};
    }
    workfile = joined(workfile, namePart(file_.path));
  }
  int64_t moment = 0;
  const uint32_t time = timeOf(revision, &moment);
  const std::string message = messageOf(revision);
  writeFile(workfile, contents_->lines());
  static_cast<void>(os::setModificationTime(workfile.c_str(), moment));
  const auto label = std::find_if(pending_.begin(), pending_.end(), [&](const Label& each) {
    return each.revision == number && !each.floats;
  });
  const std::string name = label == pending_.end() ? "" : label->name;
  if (label != pending_.end()) pending_.erase(label);
  const std::string description(source_.description());
  const int32_t status =
      isFirst ? TrvsCreateWithRevision(TRVS_CONTEXT, archive.c_str(), workfile.c_str(), nullptr,
                                       number.c_str(), name.c_str(), description.c_str(),
                                       message.c_str(), nullptr, revision.author.c_str(), time,
                                       kPutFlags)
              : TrvsPutRevision(TRVS_CONTEXT, 0, target(archive, workfile).c_str(), 0,
                                number.c_str(), name.c_str(), nullptr, message.c_str(), nullptr,
                                revision.author.c_str(), time, kPutFlags);
  check(status, archive, number);
}

void RcsImport::setLabel(const Label& label, const std::string& archive) const {
  cli::check(
      TrvsSetLabel(TRVS_CONTEXT, archive.c_str(), label.name.c_str(), label.revision.c_str(),
                   label.floats ? uint32_t{TRVS_LABEL_FLOATS} : 0),
      {.file = shownPath_, .archive = archive, .revision = label.revision, .label = label.name});
}

// Keywords go on as they did, as far as the engine has the same ones.
void RcsImport::setAttributes(const std::string& archive) const {
  const std::string& mode = source_.keywordMode();
  const bool expands = mode == "kv" || mode == "kvl";
  uint32_t set = TRVS_ATTRIBUTE_CHECK_LOCKS;
  if (isExecutable_) set |= TRVS_ATTRIBUTE_EXECUTABLE;
  if (mode == "b") set |= TRVS_ATTRIBUTE_BINARY;
  if (expands && source_.holdsAny({"$Revision", "$Author", "$Date"}))
    set |= TRVS_ATTRIBUTE_KEYWORDS;
  check(TrvsSetAttributes(TRVS_CONTEXT, archive.c_str(), set,
                          expands ? 0 : uint32_t{TRVS_ATTRIBUTE_KEYWORDS}),
        archive, "");
}

void RcsImport::compare(const std::string& archive, size_t* compared) const {
  const auto fail = [&](const std::string& why) {
    throw Problem{shownPath_, why, "try again; please report it if that is no help"};
  };
  const History history(archive, shownPath_);
  RcsContents contents(source_);
  while (const RcsRevision* const revision = contents.next()) {
    const std::string& number = numbers_.at(revision->number);
    if (history.find(number) == nullptr) fail(number + " did not come to the archive");
    Comparison comparison(contents.lines());
    check(readContent({.file = shownPath_, .archive = archive, .revision = number},
                      Keywords::kStored, [&](std::string_view bytes) { comparison.take(bytes); }),
          archive, number);
    if (!comparison.isEqual()) fail(number + " is other than it is in RCS");
    ++*compared;
  }
  if (history.revisions().size() != revisions()) fail("the archive has more revisions");
}

}  // namespace cli
