// btkf520/operations/task.h: one operation on one archive, from its name to its commit.
//
//     Task task;
//     if (TrvsStatus status = task.openToUpdate(archive)) return status;
//     task.model.description = text;
//     return task.commit({"DESCRIBE"});
//
// What all operations have in common stands here: names become paths, the client may stop, a busy
// archive is tried again as long as the client likes, the access list is asked, the event triggers
// run, and the journal is written.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "btkf520/archive/archive.h"
#include "btkf520/operations/journal.h"
#include "btkf520/operations/names.h"

namespace btkf {

// What an operation did, for triggers, the journal and the client.
struct Event {
  std::string name;  // Upper case; such as "CHECKIN".
  std::string what;  // A revision, a label, a group; may be empty.
};

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

  // Makes the archive say what `model` says, which is gone then, closes it, and tells everybody
  // about it.
  [[nodiscard]] TrvsStatus commit(const Event& event);
  // The same in steps, for operations that do more in between. What is done is done: once the
  // archive says it, nothing fails the operation, neither memory that is short nor a function of
  // the client that throws.
  [[nodiscard]] TrvsStatus store();
  // Makes the archive, which is still open, say `before` again. Whether that worked.
  [[nodiscard]] bool takeBack(ArchiveModel before) noexcept;
  void close() { archive_.reset(); }
  void announce(const Event& event) const noexcept;
  // Tells the client of something that went wrong afterwards.
  void warn(TrvsStatus code) const noexcept;
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
  const std::string& archiveText() const { return names_.archive; }
  const std::string& workfileText() const { return names_.workfile; }
  const std::string& archivePath() const { return path_; }
  const std::string& user() const { return user_; }  // After openToUpdate() and openNew().

  ArchiveModel model;  // A copy to be changed.

 private:
  Account accountOf(const Event& event) const;
  [[nodiscard]] TrvsStatus findArchive(const char* target);
  [[nodiscard]] TrvsStatus findUser();
  void tellOfLink() const;
  [[nodiscard]] TrvsStatus openPatiently();

  Target names_;
  std::string path_;
  std::string user_;
  std::map<std::string, std::string> triggersAfter_;  // By event: the command that may run then.
  std::unique_ptr<Archive> archive_;
};

}  // namespace btkf
