// btkf520/operations/task.cpp: what all operations have in common, step by step.
#include "btkf520/operations/task.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "btkf520/configuration/text.h"
#include "btkf520/operations/surroundings.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/place.h"

namespace btkf {
namespace {

// A client that always says yes must not wait for ever: 5 seconds.
constexpr int kMostRetries = 50;
constexpr unsigned kPause = 100;  // Milliseconds.

// Whether the step ran to its end.
template <typename Step>
bool attempt(const Step& step) noexcept {
  try {
    step();
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace

TrvsStatus Task::openToTell(const char* target) {
  if (const TrvsStatus status = findArchive(target)) return status;
  if (const TrvsStatus status = Archive::openToRead(path_, &archive_)) return status;
  archive_->boundContents(Surroundings::current().largestContent());
  model = archive_->model();
  return client().goOn();
}

// To ask the system for an account takes as long as to read a small archive. So only he who has to
// be let in is asked for.
TrvsStatus Task::openContents(const char* target) {
  if (const TrvsStatus status = openToTell(target)) return status;
  if (model.accessList.empty()) return TRVS_DONE;
  if (const TrvsStatus status = findUser()) return status;
  return checkAccess();
}

TrvsStatus Task::openToUpdate(const char* target, const std::string& event) {
  if (const TrvsStatus status = findUser()) return status;
  if (const TrvsStatus status = findArchive(target)) return status;
  if (const TrvsStatus status = ask(event)) return status;
  if (const TrvsStatus status = openPatiently()) return status;
  archive_->boundContents(Surroundings::current().largestContent());
  model = archive_->model();
  if (const TrvsStatus status = checkAccess()) return status;
  return client().goOn();
}

TrvsStatus Task::openNew(const char* archive, const char* workfile) {
  if (archive == nullptr || workfile == nullptr) return TRVS_MISUSE;
  const std::string_view name = fileName(workfile);
  if (fileName(archive).empty() || name.empty() || !isWorkfileName(name)) return TRVS_BAD_NAME;
  names_ = {archive, workfile};
  const auto path = systemPath(names_.archive);
  if (!path) return TRVS_BAD_NAME;
  path_ = *path;
  if (const TrvsStatus status = findUser()) return status;
  if (const TrvsStatus status = ask("CREATE")) return status;
  archive_ = Archive::forNew(path_);
  return client().goOn();
}

TrvsStatus Task::commit(const Event& event) {
  if (const TrvsStatus status = store()) return status;
  announce(event);
  return TRVS_DONE;
}

TrvsStatus Task::store() {
  if (const TrvsStatus status = archive_->commit(std::move(model))) return status;
  close();  // Triggers find it free.
  return TRVS_DONE;
}

bool Task::takeBack(ArchiveModel before) noexcept {
  TrvsStatus status = TRVS_NO_MEMORY;
  attempt([&] { status = archive_->commit(std::move(before)); });
  return status == TRVS_DONE;
}

void Task::announce(const Event& event) const noexcept {
  if (!attempt([&] { writeJournal(accountOf(event)); })) warn(TRVS_NO_JOURNAL);
  // It is done, whatever the trigger says.
  attempt([&] {
    const auto found = triggersAfter_.find(event.name);
    if (found == triggersAfter_.end()) return;
    static_cast<void>(runTrigger(found->second, accountOf({"POST" + event.name, event.what})));
  });
  attempt([&] { client().done(event.name, names_.archive, names_.workfile, event.what); });
}

void Task::warn(TrvsStatus code) const noexcept {
  attempt([code] { client().message(code); });
}

TrvsStatus Task::ask(const std::string& event, const std::string& what) {
  const std::string before = "PRE" + event;
  std::string command;
  if (const TrvsStatus status = findTrigger(before, &command)) return status;
  if (const TrvsStatus status = findTrigger("POST" + event, &triggersAfter_[event])) return status;
  return runTrigger(command, accountOf({before, what}));
}

Account Task::accountOf(const Event& event) const {
  return {event.name, names_.archive, names_.workfile, event.what};
}

TrvsStatus Task::findWorkfile(std::string* path) {
  if (names_.workfile.empty()) names_.workfile = model.workName;
  if (fileName(names_.workfile).empty()) return TRVS_BAD_NAME;
  auto found = systemPath(names_.workfile);
  if (!found) return TRVS_BAD_NAME;
  if (os::isSameFile(*found, path_)) return TRVS_SAME_NAMES;
  *path = std::move(*found);
  return TRVS_DONE;
}

TrvsStatus Task::findArchive(const char* target) {
  if (target == nullptr) return TRVS_MISUSE;
  names_ = Target::parse(target);
  if (fileName(names_.archive).empty()) return TRVS_BAD_NAME;
  auto path = systemPath(names_.archive);
  if (!path) return TRVS_BAD_NAME;
  path_ = std::move(*path);
  return TRVS_DONE;
}

TrvsStatus Task::findUser() {
  auto user = userId();
  if (!user) return TRVS_NO_USER_ID;
  user_ = std::move(*user);
  return TRVS_DONE;
}

// The owner is never locked out.
TrvsStatus Task::checkAccess() const {
  const std::vector<std::string>& list = model.accessList;
  const bool isAllowed = list.empty() || user_ == model.owner ||
                         std::find(list.begin(), list.end(), user_) != list.end();
  return isAllowed ? TRVS_DONE : TRVS_NO_ACCESS;
}

void Task::tellOfLink() const {
  os::Place unused;
  if (os::Place::find(path_, &unused) != os::FileResult::kForeignLink) return;
  client().text(names_.archive + " is a link of another user to a file that is not his");
}

TrvsStatus Task::openPatiently() {
  for (int tries = 0;; ++tries) {
    const TrvsStatus status = Archive::openToUpdate(path_, &archive_);
    if (status == TRVS_CANNOT_OPEN) tellOfLink();
    if (status != TRVS_IN_USE || tries == kMostRetries) return status;
    if (!client().retries(TRVS_BUSY_ARCHIVE, names_.archive)) return status;
    client().idle();
    os::sleepMilliseconds(kPause);
  }
}

}  // namespace btkf
