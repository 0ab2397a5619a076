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

Batch& batch() { return Surroundings::current().batch(); }

}  // namespace

TrvsStatus Task::openToTell(const char* target) {
  if (const TrvsStatus status = findArchive(target)) return status;
  if (batch().hasWaiting(path_)) batch().endPart();
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
  model = archive_->takeModel();
  if (const TrvsStatus status = checkAccess()) return status;
  return client().goOn();
}

TrvsStatus Task::openNew(const char* archive, const char* workfile) {
  if (archive == nullptr || workfile == nullptr) return TRVS_MISUSE;
  const std::string_view name = fileName(workfile);
  if (fileName(archive).empty() || name.empty() || !isWorkfileName(name)) return TRVS_BAD_NAME;
  news_.names = {archive, workfile};
  const auto path = systemPath(news_.names.archive);
  if (!path) return TRVS_BAD_NAME;
  path_ = *path;
  if (batch().hasWaiting(path_)) batch().endPart();
  if (const TrvsStatus status = findUser()) return status;
  if (const TrvsStatus status = ask("CREATE")) return status;
  archive_ = Archive::forNew(path_);
  return client().goOn();
}

void Task::expect(std::vector<Event> events) {
  news_.events = std::move(events);
  news_.journal = configuration().journal();
}

TrvsStatus Task::commitAll(std::vector<Event> events, WrittenChange::Sequel sequel) {
  const bool waits = batch().isOpen();
  expect(std::move(events));
  Batch::Room room = waits ? batch().reserve(path_) : Batch::Room();
  WrittenChange written;
  written.sequel = std::move(sequel);
  TrvsStatus status = archive_->begin(std::move(model), &written.change);
  tellOfCut();
  if (status != TRVS_DONE) return status;
  written.news = std::move(news_);
  archive_.reset();
  if (waits) {
    batch().add(std::move(written), std::move(room));
    return TRVS_DONE;
  }
  status = written.change->finish();
  if (status != TRVS_DONE) return status;
  written.settle();
  written.tell();
  return written.outcome.status;
}

TrvsStatus Task::ask(const std::string& event, const std::string& what) {
  const std::string before = "PRE" + event;
  std::string command;
  if (const TrvsStatus status = findTrigger(before, &command)) return status;
  if (const TrvsStatus status = findTrigger("POST" + event, &news_.commandsAfter[event]))
    return status;
  return runTrigger(command, news_.accountOf({before, what}));
}

TrvsStatus Task::findWorkfile(std::string* path) {
  std::string& workfile = news_.names.workfile;
  if (workfile.empty()) workfile = model.workName;
  if (fileName(workfile).empty()) return TRVS_BAD_NAME;
  auto found = systemPath(workfile);
  if (!found) return TRVS_BAD_NAME;
  if (os::isSameFile(*found, path_)) return TRVS_SAME_NAMES;
  *path = std::move(*found);
  return TRVS_DONE;
}

TrvsStatus Task::findArchive(const char* target) {
  if (target == nullptr) return TRVS_MISUSE;
  news_.names = Target::parse(target);
  if (fileName(archiveText()).empty()) return TRVS_BAD_NAME;
  auto path = systemPath(archiveText());
  if (!path) return TRVS_BAD_NAME;
  path_ = std::move(*path);
  if (batch().hasWaitingAt(path_)) batch().endPart();  // The client sees what it has changed.
  return TRVS_DONE;
}

TrvsStatus Task::findUser() {
  auto user = userId();
  if (!user) return TRVS_NO_USER_ID;
  news_.user = std::move(*user);
  return TRVS_DONE;
}

// The owner is never locked out.
TrvsStatus Task::checkAccess() const {
  const std::vector<std::string>& list = model.accessList;
  const bool isAllowed = list.empty() || user() == model.owner ||
                         std::find(list.begin(), list.end(), user()) != list.end();
  return isAllowed ? TRVS_DONE : TRVS_NO_ACCESS;
}

void Task::tellOfCut() const {
  if (archive_->cutName().empty()) return;
  const std::string bytes = "bytes at the end of " + archiveText();
  client().text(archive_->isCutKept()
                    ? bytes + " that didn't count are beside it now, as " + archive_->cutName()
                    : bytes + " don't count, and have to be kept before it changes: its " +
                          "directory doesn't take " + archive_->cutName());
}

void Task::tellOfLink() const {
  os::Place unused;
  if (os::Place::find(path_, &unused) != os::FileResult::kForeignLink) return;
  client().text(archiveText() + " is a link of another user to a file that is not his");
}

TrvsStatus Task::openPatiently() {
  for (int tries = 0;; ++tries) {
    TrvsStatus status = Archive::openToUpdate(path_, &archive_);
    // Who waits holds nothing that another may wait for; and open files may have run short. An
    // archive that is to be there when the part has ended waits under another path.
    const bool mayHelp = status == TRVS_IN_USE || status == TRVS_CANNOT_OPEN ||
                         (status == TRVS_NO_ARCHIVE && batch().hasWaiting(path_));
    if (mayHelp && batch().endPart()) status = Archive::openToUpdate(path_, &archive_);
    if (status == TRVS_CANNOT_OPEN) tellOfLink();
    if (status != TRVS_IN_USE || tries == kMostRetries) return status;
    if (!client().retries(TRVS_BUSY_ARCHIVE, archiveText())) return status;
    client().idle();
    os::sleepMilliseconds(kPause);
  }
}

}  // namespace btkf
