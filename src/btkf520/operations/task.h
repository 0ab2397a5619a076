// btkf520/operations/task.h: one operation on one archive, from its name to its commit.
//
//     Task task;
//     if (TrvsStatus status = task.openToUpdate(archive)) return status;
//     task.model.description = text;
//     return task.commit({"DESCRIBE"});
//
// What all operations have in common stands here: names become paths, the client may stop, a busy
// archive is tried again as long as the client likes, the access list is asked, the event triggers
// run, and the journal is written. In a batch a commit only writes: the rest follows later.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "btkf520/archive/archive.h"
#include "btkf520/operations/batch.h"
#include "btkf520/operations/journal.h"

namespace btkf {

class Task {
 public:
  Task() = default;
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  // Each takes a target and may be called once. Statuses besides those of Archive:
  //   TRVS_MISUSE     null
  //   TRVS_BAD_NAME   empty, or a path that is nowhere
  //   TRVS_CANCELLED  the client doesn't want to continue
  // What the archive says about itself is open to everybody; its contents and changes to it are for
  // users on its access list: TRVS_NO_ACCESS, TRVS_NO_USER_ID.
  [[nodiscard]] TrvsStatus openToTell(const char* target);
  [[nodiscard]] TrvsStatus openContents(const char* target);
  // `event` is what the trigger before it is asked about. Without a trigger for it, nothing.
  [[nodiscard]] TrvsStatus openToUpdate(const char* target, const std::string& event = "");
  // For an archive that isn't there yet.
  [[nodiscard]] TrvsStatus openNew(const char* archive, const char* workfile);

  // Makes the archive say what `model` says, closes it, does what is to follow, which may outlive
  // this, and tells everybody about it. The task is over then. What is done is done: once the
  // archive says it, nothing fails the operation but the sequel's own status.
  [[nodiscard]] TrvsStatus commitAll(std::vector<Event> events,
                                     WrittenChange::Sequel sequel = nullptr);
  [[nodiscard]] TrvsStatus commit(const Event& event) { return commitAll({event}); }
  // The same in two steps for an operation that doesn't change the archive: the first may throw.
  void expect(std::vector<Event> events);
  void tell() const noexcept { news_.tell(); }
  // Asks the trigger before an event, and before that whether those before and after it may run:
  // TRVS_TRIGGER_REFUSED or TRVS_TRIGGER_FAILED.
  [[nodiscard]] TrvsStatus ask(const std::string& event, const std::string& what = "");
  // Whether the user may change an archive of this model: TRVS_NO_ACCESS.
  [[nodiscard]] TrvsStatus checkAccess() const;

  // Of the workfile in the operating system: that of the target, else of the archive's own
  // workfile in the current directory. TRVS_BAD_NAME, TRVS_SAME_NAMES if that is the archive
  // itself.
  [[nodiscard]] TrvsStatus findWorkfile(std::string* path);

  Archive& archive() { return *archive_; }
  const Archive& archive() const { return *archive_; }
  const std::string& archiveText() const { return news_.names.archive; }
  const std::string& workfileText() const { return news_.names.workfile; }
  const std::string& archivePath() const { return path_; }
  const std::string& user() const { return news_.user; }  // After openToUpdate() and openNew().

  ArchiveModel model;  // To be changed.

 private:
  [[nodiscard]] TrvsStatus findArchive(const char* target);
  [[nodiscard]] TrvsStatus findUser();
  void tellOfLink() const;
  void tellOfCut() const;
  [[nodiscard]] TrvsStatus openPatiently();

  News news_;
  std::string path_;
  std::unique_ptr<Archive> archive_;
};

}  // namespace btkf
