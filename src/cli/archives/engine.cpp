// cli/archives/engine.cpp: a status of the engine, the why and what to do about it.
#include "cli/archives/engine.h"

#include <fmt/args.h>
#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/text/shellword.h"
#include "cli/text/text.h"
#include "os/directory.h"
#include "os/stop.h"

namespace cli {
namespace {

struct Words {
  int32_t status;
  const char* why;
  const char* todo = "";
};

// Names in braces are those of a Subject.
constexpr Words kWords[] = {
    {TRVS_INTERNAL_ERROR, "a fault of trevault, please report: 1"},
    {TRVS_NO_ARCHIVE, "no archive at {archive}",
     "restore it from a back-up, or 'trevault remove {file}'"},
    {TRVS_ARCHIVE_EXISTS, "there is an archive {archive} that no project names",
     "take it with 'trevault import', or choose a place with --archive"},
    {TRVS_INVALID_LINE, "no directive of a configuration"},
    {TRVS_CANNOT_OPEN, "{archive} can't be opened", "see who owns it"},
    {TRVS_IN_USE, "another program is changing the archive", "try again"},
    {TRVS_BUFFER_TOO_SMALL, "a fault of trevault, please report: 8"},
    {TRVS_BAD_NAME, "not a name that can be here", "choose another, without a drive such as C:"},
    {TRVS_MISUSE, "a fault of trevault, please report: 10"},
    {TRVS_NO_SUCH_LABEL, "no label {label}", "'trevault labels' lists them"},
    {TRVS_LABEL_EXISTS, "{label} stands at another revision already", "'--move' moves it"},
    {TRVS_NO_ACCESS, "only those on its access list and its owner may change it",
     "'trevault access {file}' lists them"},
    {TRVS_LOCKED, "{user} has locked {revision}{lockedSince}",
     "ask {user}, or look at 'trevault locks'"},
    {TRVS_CANCELLED, "cancelled"},
    {TRVS_NO_MEMORY, "no memory"},
    {TRVS_BAD_DATE, "not a date", "write 2026-11-23, 2026-11-23T10:30, today or yesterday"},
    {TRVS_NO_REVISION, "no revision {revision}", "'trevault log {file}' lists them"},
    {TRVS_BAD_NUMBER, "{revision} is not a number that can be here"},
    {TRVS_NO_REVISIONS, "has no revisions yet"},
    {TRVS_NESTED_TOO_DEEP, "configuration files include one another"},
    {TRVS_SAME_NAMES, "is the archive itself"},
    {TRVS_WOULD_OVERWRITE, "is there already"},
    {TRVS_NOT_AN_ARCHIVE, "{archive} is not an archive, or damaged", "'trevault verify {file}'"},
    {TRVS_CANNOT_LOCK, "{lockRule}", "see 'trevault locks'"},
    {TRVS_NO_LOCK, "you have not locked it", "'trevault lock {file}'"},
    {TRVS_NO_WORKFILE, "no such file"},
    {TRVS_CANNOT_PROMOTE, "nothing is in {group}"},
    {TRVS_SEVERAL_TOP_GROUPS, "the promotion model has several top groups"},
    {TRVS_NO_HIGHER_GROUP, "{group} is the top group", "there is nothing above it"},
    {TRVS_NO_SUCH_GROUP, "no such group {group}", "'trevault groups' lists them"},
    {TRVS_BUSY_ARCHIVE, "another program is changing the archive", "try again"},
    {TRVS_GROUP_IN_THE_WAY, "group {group} stands at {standing}",
     "lock in another group with -g, or promote {standing} first"},
    {TRVS_NO_GROUP_REVISION, "none in group {group}"},
    {TRVS_NO_JOURNAL, "the journal could not be written"},
    {TRVS_NEEDS_DEVELOPMENT_GROUP, "development groups are {groups}", "choose one with -g"},
    {TRVS_GROUP_LOCKED, "group {group} is locked at {standing}{byUser}",
     "lock in another group with -g"},
    {TRVS_WOULD_BRANCH, "the check-in would start a branch, and BRANCHWARN forbids it"},
    {TRVS_OTHER_BRANCH, "a revision on another branch is in the next group now", "use '--across'"},
    {TRVS_NO_USER_ID, "nobody knows who you are: the variable that USERID names is not set"},
    {TRVS_OLDER, "older than {revision}", "'--older' checks it in all the same"},
    {TRVS_UNCHANGED, "unchanged since {revision}", "'trevault unlock {file}' gives the lock back"},
    {TRVS_BAD_INCLUDE, "a configuration file includes one that can't be read"},
    {TRVS_BAD_COLUMNS, "not a list of columns"},
    {TRVS_BAD_CONDITIONAL, "a conditional of the configuration is not closed"},
    {TRVS_CANNOT_WRITE, "{workfile} or its archive can't be written",
     "see whether the disk is full, and who owns both"},
    {TRVS_HAS_BRANCHES, "a branch starts at {revision}", "'--branches' deletes it too"},
    {TRVS_NOT_IN_ACCESS_LIST, "{user} is not on its access list"},
    {TRVS_TRIGGER_REFUSED, "the event trigger said no"},
    {TRVS_TRIGGER_FAILED, "the event trigger could not be run, or may not be",
     "TRVSTRIGGERS=ON in section [TRVSGUI] of your profile trusts the team's commands"},
    {TRVS_CANNOT_READ_CONFIGURATION, "the configuration can't be read"},
    {TRVS_REVISION_EXISTS, "{revision} is there already", "choose another number"},
    {TRVS_TORN_END, "bytes at the end of {archive} don't count"},
    {TRVS_LIMIT, "more than {archive} can hold", "shorten descriptions, or delete labels"},
    {TRVS_NEEDS_REWRITE, "{archive} is full of what counts no longer, and you can't make a new one",
     "have it changed by a member of its group who may write its directory"},
    {TRVS_TOO_LARGE, "has more bytes than may be taken from an archive"},
    {TRVS_NEEDS_BRANCH, "another revision came after {revision}",
     "see 'trevault diff -r here..followed {file}'"},
    {TRVS_DISALLOWED, "the master file does not allow it"},
};

// `file` is how its name stands there.
std::string filled(const char* words, const Subject& subject, const std::string& file) {
  const auto orElse = [](const std::string& text, const char* fallback) {
    return text.empty() ? std::string(fallback) : shown(text);
  };
  const std::string since = subject.lockedSince.empty() ? "" : " since " + subject.lockedSince;
  const std::string rule = subject.lockedAt.empty()
                               ? "the archive takes no locks"
                               : fmt::format("the archive allows one lock, and {} has it on {}",
                                             shown(subject.user), subject.lockedAt);
  const std::string by = subject.user.empty() ? "" : " by " + subject.user;
  return fmt::format(fmt::runtime(words), fmt::arg("file", file),
                     fmt::arg("archive", orElse(subject.archive, "that place")),
                     fmt::arg("workfile", orElse(subject.workfile, "the file")),
                     fmt::arg("revision", orElse(subject.revision, "it")),
                     fmt::arg("label", orElse(subject.label, "of that name")),
                     fmt::arg("group", orElse(subject.group, "that group")),
                     fmt::arg("user", orElse(subject.user, "another user")),
                     fmt::arg("lockedSince", since), fmt::arg("byUser", by),
                     fmt::arg("lockRule", rule),
                     fmt::arg("standing", orElse(subject.standing, "another revision")),
                     fmt::arg("groups", orElse(subject.groups, "several")));
}

int32_t waitForOthers(int32_t code, const char*) {
  return code == TRVS_BUSY_ARCHIVE && !os::isStopWanted() ? TRVS_GO_ON : TRVS_REFUSE;
}

bool (*theTrust)() = nullptr;

int32_t allowTrigger(const char* /*event*/, const char* /*command*/) {
  return theTrust != nullptr && theTrust() ? TRVS_GO_ON : TRVS_REFUSE;
}

std::vector<std::string>* theLines = nullptr;  // Of the report that is being written.

int32_t takeLine(const char* text, int32_t) {
  if (theLines != nullptr) theLines->emplace_back(text);
  return TRVS_GO_ON;
}

}  // namespace

Problem missingPlace(const std::string& what, const std::string& directory, int32_t status) {
  const std::string there = os::thereOf(directory);
  if (os::hasEntry(there.c_str()) && !os::directoryState(there.c_str())) {
    return {what, "is no directory", "move that away", Exit::kFailed, status, there};
  }
  const std::string missing = directory.substr(0, directory.find('/', there.size() + 1));
  return {what, "is not there", "is its share mounted?", Exit::kFailed, status, missing};
}

// The fault may lie above an archive.
Problem problemOf(int32_t status, const Subject& subject) {
  const std::string place = os::parentOf(subject.archive);
  if (status == TRVS_NO_ARCHIVE && !os::directoryState(place.c_str())) {
    return missingPlace(subject.file, place, status);
  }
  if (status == TRVS_CANNOT_OPEN && !os::hasEntry(subject.archive.c_str())) {
    return closed(subject.file, os::thereOf(place), status);
  }
  const auto* const found = std::find_if(std::begin(kWords), std::end(kWords),
                                         [&](const Words& each) { return each.status == status; });
  if (found == std::end(kWords)) {
    return {subject.file, fmt::format("a fault of trevault, please report: {}", status), "",
            Exit::kFailed, status};
  }
  return {subject.file, filled(found->why, subject, shown(subject.file)),
          filled(found->todo, subject, shellWord(subject.file)), Exit::kFailed, status};
}

void check(int32_t status, const Subject& subject) {
  if (status != TRVS_DONE) throw problemOf(status, subject);
}

std::string target(const std::string& archive, const std::string& workfile) {
  return archive + '(' + workfile + ')';
}

std::vector<std::string> fetchList(const std::function<int32_t(char* buffer, int32_t size)>& fetch,
                                   const Subject& subject) {
  constexpr size_t kFirstSize = 4096;
  constexpr size_t kLargest = size_t{1} << 30;
  std::string buffer;
  int32_t status = TRVS_BUFFER_TOO_SMALL;
  for (size_t size = kFirstSize; status == TRVS_BUFFER_TOO_SMALL && size <= kLargest; size *= 4) {
    buffer.assign(size, '\x01');  // So that the end shows: no text has this byte.
    status = fetch(buffer.data(), static_cast<int32_t>(size));
  }
  check(status, subject);
  buffer.resize(buffer.find('\x01') == std::string::npos ? buffer.size() : buffer.find('\x01'));
  std::vector<std::string> texts;
  for (size_t place = 0; place < buffer.size();) {
    const size_t end = std::min(buffer.find('\0', place), buffer.size());
    texts.push_back(buffer.substr(place, end - place));
    place = end + 1;
  }
  if (!texts.empty()) texts.pop_back();  // The empty one that ends the list.
  return texts;
}

std::vector<std::string> linesOf(const std::function<int32_t()>& run, const Subject& subject) {
  std::vector<std::string> lines;
  theLines = &lines;
  const int32_t status = run();
  theLines = nullptr;
  check(status, subject);
  return lines;
}

std::string presentUser() {
  char user[256];
  check(TrvsGetUserInfo(user, sizeof user, nullptr, 0, nullptr), {.file = "trevault"});
  return user;
}

void attachEngine(bool (*trusts)()) {
  theTrust = trusts;
  attachEngine(TRVS_CALLBACK_RETRY, &waitForOthers);
  attachEngine(TRVS_CALLBACK_OUTPUT, &takeLine);
  attachEngine(TRVS_CALLBACK_TRIGGER, &allowTrigger);
}

}  // namespace cli
