// cli/local/localfiles.cpp: names to files, and files to revisions.
#include "cli/local/localfiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <set>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/local/moment.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/pattern.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/parallel.h"

namespace cli {
namespace {

constexpr std::string_view kGroupMark = "group:";
constexpr std::string_view kLabelMark = "label:";

// Where the date of "REL_1@yesterday" begins, its "@" before it; npos for none. A label that is
// said to be one may hold an "@".
size_t dateIn(const std::string& text) {
  return text.starts_with(kLabelMark) ? std::string::npos : text.find('@');
}

// Whether a path from the top surely leads to a place that files of a project may have.
bool isPlain(std::string_view path) {
  return !path.empty() && path.front() != '.' && path.front() != '/' &&
         path.find("/.") == std::string_view::npos && path.find("//") == std::string_view::npos;
}

// Which project's memory it is.
std::string ownerOf(Session& session) {
  return session.project().publicDirectory() + ' ' + session.project().name();
}

}  // namespace

LocalFiles::LocalFiles(Session& session, State::Use use, Looking looking)
    : session_(session),
      directory_(session.work()),
      state_(directory_.top, ownerOf(session), use),
      kept_(directory_.top),
      use_(use) {
  if (use == State::Use::kChange || looking == Looking::kRecords || !takeKept(looking)) {
    files_ = session.project().files();
    state_.keepFiles(files_, session.project().origin());
  }
  session.project().useConfiguration();
  attachEngine(trustsConfigurations);
  user_ = presentUser();
  state_.follow(nameFollowed());
}

LocalFiles::LocalFiles(Session& session, const std::vector<std::string>& archives)
    : session_(session),
      directory_{.top = "/", .project = ""},
      state_(directory_.top, "", State::Use::kRead),
      kept_(directory_.top),
      use_(State::Use::kRead),
      isOfProject_(false) {
  for (const std::string& archive : archives) {
    files_.push_back({archive, archive, ""});
  }
  attachEngine(trustsConfigurations);
  user_ = presentUser();
}

// The list that is remembered, if it is the project's still. Names that differ in letter case are
// left: what is there by the name remembered has no other.
bool LocalFiles::takeKept(Looking looking) {
  const Project& project = session_.project();
  if (state_.origin().empty() || !project.isStill(state_.origin())) return false;
  files_ = state_.files();
  lookAtAll(looking);
  const bool isAtTop = directory_.top == project.workDirectory();
  for (size_t i = 0; i < files_.size(); ++i) {
    const bool isFound = isAtTop && filesSeen_[i].stamp &&
                         (looking == Looking::kFilesOnly || archivesSeen_[i].stamp);
    if (isFound || project.isNamed(files_[i])) continue;
    filesSeen_.clear();
    archivesSeen_.clear();
    return false;
  }
  return true;
}

std::string LocalFiles::nameFollowed() {
  const std::string& follows = directory_.follows;
  const bool isPlain =
      follows == "trunk" || follows.starts_with(kGroupMark) || follows.starts_with(kLabelMark);
  if (isPlain) return follows;
  return std::string(promotion().has(follows) ? kGroupMark : kLabelMark) + follows;
}

std::string LocalFiles::pathOf(const FileRecord& file) const {
  std::string path = absolutePath(directory_.top, file.path);
  const bool isInside = path != directory_.top && isBelow(directory_.top, path);
  const auto parts = split(relativePath(directory_.top, path), '/');
  const bool isKept = std::any_of(parts.begin(), parts.end(), isMemory);
  if (isInside && !isKept) return path;
  const std::string why = fmt::format("lies outside of {}", shown(directory_.top));
  throw Problem{file.path, isInside ? "is no place for files of a project" : why,
                "take it off the project with 'trevault remove', or ask who put it there"};
}

std::string LocalFiles::pathToWrite(const FileRecord& file) const {
  std::string path = pathOf(file);
  const std::string above = os::thereOf(os::parentOf(path));
  if (isBelow(os::realPath(directory_.top), os::realPath(above))) {
    if (os::directoryState(above.c_str())) return path;
    throw Problem{file.path, fmt::format("{} is no directory", shown(session_.fromHere(above))),
                  "move that away"};
  }
  throw Problem{file.path, fmt::format("{} is a link that leads out of the work directory", above),
                "remove the link"};
}

void LocalFiles::refuseCrossing(const std::string& path, const std::string& moved) const {
  const auto from = [this](const std::string& first) {
    return std::ranges::lower_bound(files_, first, {}, &FileRecord::path);
  };
  const auto refuse = [&](const std::string& name, const char* why) {
    const std::string other = pathFromHere({name, "", ""});
    throw Problem{
        shownPath({path, "", ""}), fmt::format(fmt::runtime(why), shown(other)),
        fmt::format("choose another name, or 'trevault remove {}' first", shellWord(other))};
  };
  for (auto each = from(path + '/'); each != files_.end() && isBelow(path, each->path); ++each) {
    if (each->path != moved) refuse(path, "files of the project are below that name");
  }
  for (std::string above(directoryPart(path)); !above.empty(); above = directoryPart(above)) {
    const auto found = from(above);
    const bool isFile = found != files_.end() && found->path == above && above != moved;
    if (isFile) refuse(above, "{} is a file of the project");
  }
}

std::string LocalFiles::pathFromHere(const FileRecord& file) const {
  const std::string path = absolutePath(directory_.top, file.path);
  if (!isOfProject_) return session_.fromHere(path);
  const bool isInside = isBelow(directory_.top, session_.here());
  return isInside ? relativePath(session_.here(), path) : file.path;
}

std::string LocalFiles::shownPath(const FileRecord& file) const {
  return shown(pathFromHere(file));
}

std::string LocalFiles::fromTop(const std::string& typed) const {
  const bool isFromTop = typed.starts_with(":/");
  const bool isInside = isBelow(directory_.top, session_.here());
  const std::string& base = isInside && !isFromTop ? session_.here() : directory_.top;
  const std::string path = absolutePath(base, isFromTop ? typed.substr(2) : typed);
  if (!isBelow(directory_.top, path)) {
    throw misuse(typed, fmt::format("lies outside of {}", shown(directory_.top)));
  }
  return relativePath(directory_.top, path);
}

LocalFiles::Files LocalFiles::exactly(const std::string& typed, const Files& records) const {
  Files found;
  for (const FileRecord* each : records) {
    if (found.empty() || found.front()->archive != each->archive) found.push_back(each);
  }
  if (found.size() < 2 || use_ == State::Use::kRead) return found;
  std::vector<std::string> folders;
  for (const FileRecord* each : found) {
    folders.push_back(each->folder.empty() ? "none" : each->folder);
  }
  throw Problem{typed, fmt::format("in folders {} with different archives", listed(folders)),
                "choose one with -f"};
}

LocalFiles::Files LocalFiles::matching(const std::string& typed, const Files& all) const {
  const auto owner = std::find_if(all.begin(), all.end(), [&](const FileRecord* file) {
    return os::isSamePath(file->archive, session_.absolute(typed));
  });
  if (owner != all.end()) return {*owner};
  const std::string path = fromTop(typed);
  Files exact;
  Files below;
  Files fitting;
  for (const FileRecord* file : all) {
    if (os::isSamePath(file->path, path)) exact.push_back(file);
    if (path == "." || isBelow(path, file->path)) below.push_back(file);
    if (matches(path, file->path)) fitting.push_back(file);
  }
  if (!exact.empty()) return exactly(typed, exact);
  if (!below.empty() || path == ".") return below;
  if (!fitting.empty() && isPattern(path)) return fitting;
  std::vector<std::string> known;
  for (const FileRecord* file : all) known.push_back(file->path);
  std::string near = nearest(path, known);
  if (!near.empty()) near = fmt::format("did you mean {}?", shown(near));
  const bool isThere = os::hasEntry(absolutePath(directory_.top, path).c_str());
  if (near.empty() && isThere)
    near = fmt::format("'trevault add {}' puts it there", shellWord(typed));
  throw Problem{typed, fmt::format("not in project {}", directory_.project), near};
}

std::vector<const FileRecord*> LocalFiles::choose(const std::vector<std::string>& names,
                                                  const std::string& folder) {
  if (!folder.empty()) static_cast<void>(session_.project().folder(folder));
  Files all;
  std::map<std::string_view, Files> byPath;  // Many names are most often those of files.
  for (const FileRecord& file : files_) {
    if (!folder.empty() && file.folder != folder) continue;
    all.push_back(&file);
    if (names.size() > 1) byPath[file.path].push_back(&file);
  }
  if (names.empty()) return all;
  Files chosen;
  std::set<const FileRecord*> taken;
  for (const std::string& name : names) {
    try {
      const auto known = name.starts_with('/') ? byPath.end() : byPath.find(fromTop(name));
      const Files found =
          known == byPath.end() ? matching(name, all) : exactly(name, known->second);
      for (const FileRecord* file : found) {
        if (taken.insert(file).second) chosen.push_back(file);
      }
    } catch (const Problem& problem) {
      session_.output().problem(problem);
    }
  }
  return chosen;
}

// A file is what has the name; an archive is what the name leads to.
template <typename Ask>
LocalFiles::Look LocalFiles::lookBy(const Ask& ask) {
  os::FileStatus status;
  const os::FileResult result = ask(&status);
  if (result != os::FileResult::kDone) return {result};
  return {result, Stamp::of(status), status.isRegular, status.ownerMayWrite};
}

// A system call for each: as soon as there are enough, a second thread pays.
void LocalFiles::lookAtAll(Looking looking) {
  constexpr size_t kFew = 500;
  if (!filesSeen_.empty()) return;
  filesSeen_.resize(files_.size());
  if (looking == Looking::kArchivesToo) archivesSeen_.resize(files_.size());
  const auto look = [this](size_t begin, size_t end) {
    os::StatusReader files;
    os::StatusReader archives;
    for (size_t i = begin; i < end; ++i) {
      const FileRecord& file = files_[i];
      if (isPlain(file.path)) {
        filesSeen_[i] = lookBy([&](os::FileStatus* to) {
          return files.readEntryStatus(joined(directory_.top, file.path), to);
        });
      }
      if (archivesSeen_.empty()) continue;
      archivesSeen_[i] =
          lookBy([&](os::FileStatus* to) { return archives.readStatus(file.archive, to); });
    }
  };
  files_.size() < kFew ? look(0, files_.size()) : os::shareWork(files_.size(), look);
}

size_t LocalFiles::placeOf(const FileRecord& file) const {
  const std::less<const FileRecord*> isBefore;
  const FileRecord* const end = files_.data() + files_.size();
  if (isBefore(&file, files_.data()) || !isBefore(&file, end)) return files_.size();
  return static_cast<size_t>(&file - files_.data());
}

LocalFiles::Look LocalFiles::lookAtFile(const FileRecord& file) const {
  const size_t place = placeOf(file);
  const bool isSeen = place < filesSeen_.size() && isPlain(file.path);
  if (isSeen) return filesSeen_[place];
  const std::string path = pathOf(file);
  return lookBy([&](os::FileStatus* to) { return os::readEntryStatus(path.c_str(), to); });
}

LocalFiles::Look LocalFiles::lookAtArchive(const FileRecord& file) const {
  const size_t place = placeOf(file);
  if (place < archivesSeen_.size()) return archivesSeen_[place];
  return lookBy([&](os::FileStatus* to) { return os::readStatus(file.archive.c_str(), to); });
}

void LocalFiles::refuseUnreadable(const FileRecord& file, os::FileResult result) const {
  if (result == os::FileResult::kDone || result == os::FileResult::kMissing) return;
  throw closed(shownPath(file), session_.fromHere(os::thereOf(pathOf(file))));
}

// The stamp tells it in nearly all cases. Else the engine compares, and what is found equal gets a
// new stamp.
Standing LocalFiles::standingOf(const FileRecord& file) {
  const FileState* const state = stateOf(file);
  const Look look = lookAtFile(file);
  refuseUnreadable(file, look.result);
  if (!look.stamp) return state == nullptr ? Standing::kNone : Standing::kMissing;
  const Stamp stamp = *look.stamp;
  if (state != nullptr && state->stamp == stamp && isSafe(stamp)) return Standing::kSame;
  if (!look.isRegular) return Standing::kUnknown;
  const RevisionInfo* here = hereOf(file);
  if (here == nullptr) here = findByContent(file);
  if (here == nullptr) return Standing::kUnknown;
  if (!isThere(file, here->number)) {
    here = foundCut(file, look);
    if (here == nullptr) return Standing::kChanged;
  }
  note(file, here->number, stamp, state != nullptr && state->isLockedFromHere);
  return Standing::kSame;
}

// A command that was killed had done its work on the file, and not remembered it: nobody can have
// changed it, or the lock for it was given back, and it is a revision.
const RevisionInfo* LocalFiles::foundCut(const FileRecord& file, const Look& look) {
  const FileState* const state = stateOf(file);
  const bool mayBe = !look.isWritable || (state != nullptr && state->isLockedFromHere);
  if (!mayBe || historyOf(file).lockedBy(user_) != nullptr) return nullptr;
  return findByContent(file);
}

bool LocalFiles::settleLost(const FileRecord& file) {
  const FileState* const state = stateOf(file);
  if (state == nullptr || !state->isLockedFromHere) return false;
  if (historyOf(file).lockedBy(user_) != nullptr || standingOf(file) != Standing::kSame) {
    return false;
  }
  if (os::setWritable(pathToWrite(file).c_str(), false) != os::FileResult::kDone) return false;
  noteLock(file, false);
  return true;
}

bool LocalFiles::isThere(const FileRecord& file, const std::string& number) const {
  const std::string path = pathOf(file);
  int16_t differs = 1;
  check(TrvsTestDifferences(TRVS_CONTEXT, target(file.archive, path).c_str(), number.c_str(),
                            path.c_str(), nullptr, &differs, 0, nullptr, 0),
        {.file = file.path, .archive = file.archive, .workfile = path, .revision = number});
  return differs == 0;
}

const PromotionModel& LocalFiles::promotion() {
  if (!promotion_) promotion_ = PromotionModel::present();
  return *promotion_;
}

// Without a memory of it: another client has checked it out, or ".trevault" was lost.
const RevisionInfo* LocalFiles::findByContent(const FileRecord& file) {
  char number[256];
  const int32_t status = TrvsFindContent(TRVS_CONTEXT, target(file.archive, pathOf(file)).c_str(),
                                         number, sizeof number);
  return status == TRVS_DONE ? historyOf(file).find(number) : nullptr;
}

// The look at the archive comes first: what changes after it shows by the next one.
const LocalFiles::Read& LocalFiles::readingOf(const FileRecord& file) {
  const auto found = histories_.find(file.archive);
  if (found != histories_.end()) return found->second;
  os::FileStatus status;
  static_cast<void>(os::readStatus(file.archive.c_str(), &status));
  return histories_[file.archive] = {Stamp::of(status), History(file.archive, file.path)};
}

const History& LocalFiles::historyOf(const FileRecord& file) { return readingOf(file).history; }

const Told* LocalFiles::toldOf(const FileRecord& file, Reading reading) {
  const Told* const known = state_.told(file.path, file.archive);
  if (reading == Reading::kNever) return known;
  const Look look = lookAtArchive(file);
  if (look.stamp && known != nullptr && known->archive == *look.stamp && isSafe(*look.stamp)) {
    return known;
  }
  state_.setTold(file.path, file.archive, toldBy(readingOf(file), file));
  return state_.told(file.path, file.archive);
}

Told LocalFiles::toldBy(const Read& read, const FileRecord& file) {
  Told told;
  told.archive = read.archive;
  told.hasHere = hereOf(file) != nullptr;
  told.locks = read.history.locks();
  if (const RevisionInfo* const followed = followedOf(file)) {
    told.followed = followed->number;
    told.author = followed->author;
    told.time = followed->time;
  }
  return told;
}

void LocalFiles::save() {
  if (!isOfProject_) return;
  for (const FileRecord& file : files_) {
    const auto read = histories_.find(file.archive);
    if (read == histories_.end() || state_.told(file.path, file.archive) != nullptr) continue;
    state_.setTold(file.path, file.archive, toldBy(read->second, file));
  }
  state_.save();
}

const RevisionInfo* LocalFiles::hereOf(const FileRecord& file) {
  const FileState* const state = stateOf(file);
  return state == nullptr || state->here.empty() ? nullptr : historyOf(file).find(state->here);
}

const RevisionInfo* LocalFiles::followedOf(const FileRecord& file) {
  const std::string& follows = directory_.follows;
  return follows == "trunk" ? historyOf(file).tipOf("1") : markedOf(file, follows);
}

const RevisionInfo* LocalFiles::markedOf(const FileRecord& file, const std::string& name) {
  const History& history = historyOf(file);
  if (name.starts_with(kGroupMark)) return history.inGroup(name.substr(kGroupMark.size()));
  if (name.starts_with(kLabelMark)) return history.withLabel(name.substr(kLabelMark.size()));
  return promotion().has(name) ? history.inGroup(name) : history.withLabel(name);
}

std::string LocalFiles::followedLabel() { return labelIn(directory_.follows); }

std::string LocalFiles::labelIn(const std::string& revision) {
  if (revision.starts_with(kLabelMark)) return revision.substr(kLabelMark.size());
  for (const char* word : {"trunk", "here", "followed", "tip"}) {
    if (revision == word) return "";
  }
  const bool isOther = isNumber(revision) || revision.starts_with(kGroupMark) ||
                       promotion().has(revision) || dateIn(revision) != std::string::npos;
  return isOther ? "" : revision;
}

std::vector<std::string> LocalFiles::listedLabels() const {
  return cli::listedLabels(session_.project().publicDirectory());
}

LabelList LocalFiles::labelList(const std::string& label) const {
  return LabelList(session_.project().publicDirectory(), label);
}

void LocalFiles::listLabelled(const std::string& label,
                              const std::vector<LabelledFile>& files) const {
  if (label.empty() || files.empty()) return;
  labelList(label).set(files);
}

std::vector<FileRecord> LocalFiles::formerFiles(const std::string& label) {
  std::vector<FileRecord> former;
  if (label.empty() || !isOfProject_) return former;
  std::set<std::pair<std::string, std::string>> present;
  for (const FileRecord& each : files_) present.emplace(each.archive, each.path);
  const auto tried = [&](const auto& step) {
    try {
      step();
    } catch (const Problem& problem) {
      session_.output().problem(problem);
    }
  };
  tried([&] {
    const LabelList list = labelList(label);
    for (const LabelledFile& each : list.files()) {
      const FileRecord file{each.path, each.archive, ""};
      if (present.contains({file.archive, file.path})) continue;
      tried([&] {
        if (historyOf(file).withLabel(label) != nullptr) former.push_back(file);
      });
    }
  });
  return former;
}

const RevisionInfo* LocalFiles::find(const FileRecord& file, const std::string& text) {
  const History& history = historyOf(file);
  const size_t date = dateIn(text);
  if (date != std::string::npos) {
    const std::string before = text.substr(0, date);
    const RevisionInfo* const on = find(file, before.empty() ? "trunk" : before);
    const std::string last = spanNamed(text.substr(date + 1)).last;
    return on == nullptr ? nullptr : history.newestUpTo(last, on->branch);
  }
  if (isNumber(text)) {
    const RevisionInfo* const found = history.find(text);
    return found == nullptr ? history.tipOf(text) : found;
  }
  if (text == "here") return hereOf(file);
  if (text == "followed") return followedOf(file);
  if (text == "trunk") return history.tipOf("1");
  if (text == "tip") {
    const RevisionInfo* const here = hereOf(file);
    return history.tipOf(here == nullptr ? "1" : here->branch);
  }
  return markedOf(file, text);
}

void LocalFiles::refuseUnknown(const std::string& revision, const Files& chosen) {
  const size_t date = dateIn(revision);
  if (date != std::string::npos) static_cast<void>(spanNamed(revision.substr(date + 1)));
  const std::string text = revision.substr(0, date);
  const std::string label = labelIn(text);
  if (text.starts_with(kGroupMark)) promotion().refuseUnknown(text.substr(kGroupMark.size()));
  if (label.empty() && !isNumber(text)) return;
  Files all = chosen;
  for (const FileRecord& file : files_) all.push_back(&file);
  std::vector<std::string> known;
  for (const FileRecord* file : all) {
    session_.output().mayStop();
    try {
      const History& history = historyOf(*file);
      const bool isLabelled = !label.empty() && history.withLabel(label) != nullptr;
      if (isLabelled || history.find(text) != nullptr || history.tipOf(text) != nullptr) return;
      const auto marks = history.marks();
      known.insert(known.end(), marks.begin(), marks.end());
    } catch (const Problem&) {
      return;  // It may have it; what is wrong with it is told when its turn comes.
    }
  }
  if (isNumber(text)) throw Problem{text, "no file has this revision", "see 'trevault log'"};
  if (formerFiles(label).empty()) throw unknownLabel(label, known);
}

const RevisionInfo& LocalFiles::revisionOf(const FileRecord& file, const std::string& text) {
  if (const RevisionInfo* const found = find(file, text)) return *found;
  const History& history = historyOf(file);
  const RevisionInfo* const tip = history.tipOf("1");
  std::string why = isNumber(text) ? "no revision " + text : text + " is in no revision of it";
  if (promotion().has(text)) why = fmt::format("none of its revisions is in group {}", text);
  if (dateIn(text) != std::string::npos) why = "no revision up to " + text.substr(dateIn(text) + 1);
  if (text == "here") why = "no revision here yet";
  if (text == "followed") return revisionOf(file, directory_.follows);
  if (tip != nullptr && isNumber(text)) why += "; the trunk ends at " + tip->number;
  throw Problem{shownPath(file), why,
                isNumber(text) || promotion().has(text) ? "" : offerNearest(text, history.marks())};
}

Subject LocalFiles::subjectOf(const FileRecord& file, const std::string& revision,
                              const std::string& group) {
  const auto groups = promotion().developmentGroups();
  Subject subject{.file = shownPath(file),
                  .archive = file.archive,
                  .workfile = pathOf(file),
                  .revision = revision,
                  .group = group.empty() && groups.size() == 1 ? groups.front() : group,
                  .groups = listed(groups)};
  const History& history = historyOf(file);
  if (!history.locks().empty()) {
    subject.user = history.locks().front().user;
    subject.lockedAt = history.locks().front().number;
  }
  const RevisionInfo* const at = history.inGroup(subject.group);
  if (at == nullptr) return subject;
  subject.standing = at->number;
  if (!at->lockers.empty()) subject.user = at->lockers.front();
  return subject;
}

Stamp LocalFiles::stampOf(const FileRecord& file) const {
  os::FileStatus status;
  refuseUnreadable(file, os::readEntryStatus(pathOf(file).c_str(), &status));
  return Stamp::of(status);
}

void LocalFiles::note(const FileRecord& file, const std::string& revision, bool isLocked) {
  const Stamp stamp = stampOf(file);
  if (stamp == Stamp()) return;
  note(file, revision, stamp, isLocked);
  session_.output().count(stamp.size);
}

// Keywords are expanded in a file of another inode. Rights change in any case.
void LocalFiles::noteStored(const FileRecord& file, const std::string& revision,
                            const Stamp& before, bool isLocked) {
  const Stamp stamp = stampOf(file);
  const bool isStored = stamp == before.withChanged(stamp.changed) || isThere(file, revision);
  note(file, revision, isStored ? stamp : Stamp(), isLocked);
  session_.output().count(stamp.size);
}

void LocalFiles::note(const FileRecord& file, const std::string& revision, const Stamp& stamp,
                      bool isLocked) {
  state_.set(file, {revision, stamp, isLocked});
}

void LocalFiles::noteChanged(const FileRecord& file, const std::string& revision) {
  note(file, revision, Stamp(), false);
}

void LocalFiles::follow(const std::string& follows, const std::string& group) {
  const Roots& roots = session_.database().roots();
  directory_.publicRoot = roots.publicRoot.path;
  directory_.privateRoot = roots.privateRoot.path;
  directory_.follows = follows;
  directory_.group = group;
  storeWorkDirectory(directory_);
  state_.follow(nameFollowed());
}

void LocalFiles::rename(const FileRecord& file, const FileRecord& renamed) {
  const FileState* const state = stateOf(file);
  if (state != nullptr) state_.set(renamed, *state);
  state_.forget(file.path);
}

std::vector<LocalFiles::GoneFile> LocalFiles::gone() {
  std::vector<GoneFile> gone;
  for (const FileRecord& file : state_.unlisted()) {
    const bool isGone = !std::ranges::binary_search(files_, file.path, {}, &FileRecord::path) &&
                        os::hasEntry(absolutePath(directory_.top, file.path).c_str());
    if (!isGone) continue;
    bool isUntouched = false;
    try {
      isUntouched = standingOf(file) == Standing::kSame;
    } catch (const Problem&) {
      // Without its archive nobody can tell: it counts as changed.
    }
    gone.push_back({file, stateOf(file)->here, isUntouched});
  }
  return gone;
}

bool LocalFiles::areGone(const std::vector<GoneFile>& gone) {
  if (gone.empty()) return true;
  try {
    session_.project().refuseCut();
    for (const GoneFile& each : gone) session_.project().refuseLostList(each.file.folder);
    return true;
  } catch (const Problem& problem) {
    session_.output().problem(problem);
    return false;
  }
}

void LocalFiles::noteLock(const FileRecord& file, bool isLocked) {
  const FileState* const state = stateOf(file);
  if (state == nullptr) return;
  FileState changed = *state;
  changed.isLockedFromHere = isLocked;
  state_.set(file, changed);
}

}  // namespace cli
