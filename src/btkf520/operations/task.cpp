// btkf520/operations/task.cpp: what all operations have in common, step by step.
#include "btkf520/operations/task.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "btkf520/operations/surroundings.h"
#include "btkf520/platform_workfile.h"

namespace btkf {
namespace {

// A client that always says yes must not wait for ever: 5 seconds.
constexpr int kMostRetries = 50;

}  // namespace

Status Task::openToTell(const char* target) {
  if (const Status status = findArchive(target)) return status;
  if (const Status status = Archive::openToRead(path_, &archive_)) return status;
  model = archive_->model();
  return client().goOn();
}

// To ask the system for an account takes as long as to read a small archive. So only he who has to
// be let in is asked for.
Status Task::openContents(const char* target) {
  if (const Status status = openToTell(target)) return status;
  if (model.accessList.empty()) return kDone;
  if (const Status status = findUser()) return status;
  return checkAccess();
}

Status Task::openToUpdate(const char* target, const std::string& event) {
  if (const Status status = findUser()) return status;
  if (const Status status = findArchive(target)) return status;
  if (const Status status = ask(event)) return status;
  if (const Status status = openPatiently()) return status;
  model = archive_->model();
  if (const Status status = checkAccess()) return status;
  return client().goOn();
}

Status Task::openNew(const char* archive, const char* workfile) {
  if (archive == nullptr || workfile == nullptr) return kMisuse;
  if (fileName(archive).empty() || fileName(workfile).empty()) return kBadName;
  names_ = {archive, workfile};
  const auto path = systemPath(names_.archive);
  if (!path) return kBadName;
  path_ = *path;
  if (const Status status = findUser()) return status;
  if (const Status status = ask("CREATE")) return status;
  archive_ = Archive::forNew(path_);
  return client().goOn();
}

Status Task::commit(const Event& event) {
  if (const Status status = store()) return status;
  announce(event);
  return kDone;
}

Status Task::store() {
  if (const Status status = archive_->commit(std::move(model))) return status;
  archive_.reset();  // Triggers find it free.
  return kDone;
}

void Task::announce(const Event& event) const {
  const Account account = accountOf(event);
  writeJournal(account);
  runTrigger("POST" + event.name, account);
  client().done(event.name, names_.archive, names_.workfile, event.what);
}

Status Task::ask(const std::string& event, const std::string& what) const {
  return runTrigger("PRE" + event, accountOf({event, what}));
}

Account Task::accountOf(const Event& event) const {
  return {event.name, names_.archive, names_.workfile, event.what};
}

Status Task::findWorkfile(std::string* path) {
  if (names_.workfile.empty()) names_.workfile = model.workName;
  if (fileName(names_.workfile).empty()) return kBadName;
  auto found = systemPath(names_.workfile);
  if (!found) return kBadName;
  if (isSameFile(*found, path_)) return kSameNames;
  *path = std::move(*found);
  return kDone;
}

Status Task::findArchive(const char* target) {
  if (target == nullptr) return kMisuse;
  names_ = Target::parse(target);
  if (fileName(names_.archive).empty()) return kBadName;
  auto path = systemPath(names_.archive);
  if (!path) return kBadName;
  path_ = std::move(*path);
  return kDone;
}

Status Task::findUser() {
  auto user = userId();
  if (!user || !isGoodName(*user)) return kNoUserId;
  user_ = std::move(*user);
  return kDone;
}

// The owner is never locked out.
Status Task::checkAccess() const {
  const std::vector<std::string>& list = model.accessList;
  const bool isAllowed = list.empty() || user_ == model.owner ||
                         std::find(list.begin(), list.end(), user_) != list.end();
  return isAllowed ? kDone : kNoAccess;
}

Status Task::openPatiently() {
  for (int tries = 0;; ++tries) {
    const Status status = Archive::openToUpdate(path_, &archive_);
    if (status != kInUse || tries == kMostRetries) return status;
    if (!client().retries(kBusyArchive, names_.archive)) return status;
    client().idle();
    waitAMoment();
  }
}

}  // namespace btkf
