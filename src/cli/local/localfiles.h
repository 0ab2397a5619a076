// cli/local/localfiles.h: a project's files as they are in the user's work directory.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/archives/engine.h"
#include "cli/archives/history.h"
#include "cli/archives/promotion.h"
#include "cli/database/database.h"
#include "cli/database/labellist.h"
#include "cli/local/directory.h"
#include "cli/local/kept.h"
#include "cli/local/state.h"

namespace cli {

class Session;

// How a file stands to the revision that it came from.
enum class Standing {
  kNone,     // It is not there, and never was here.
  kMissing,  // It was here.
  kSame,
  kChanged,
  kUnknown,  // It is there, and is no revision that is known.
};

class LocalFiles {
 public:
  // What is looked at besides files where the list of them is remembered. With kRecords the
  // project's records are read whatever is remembered.
  enum class Looking { kFilesOnly, kArchivesToo, kRecords };
  LocalFiles(Session& session, State::Use use, Looking looking = Looking::kArchivesToo);
  // Archives as they are, of no project: files with their absolute paths. To be read only.
  LocalFiles(Session& session, const std::vector<std::string>& archives);

  const WorkDirectory& directory() const { return directory_; }
  const std::vector<FileRecord>& files() const { return files_; }
  bool isOfProject() const { return isOfProject_; }
  const std::string& user() const { return user_; }
  const PromotionModel& promotion();

  // The files that names mean, each once, in their order: a file, all below a directory, a pattern.
  // Problems with single names are told, and the others chosen. No names: all files.
  // With a folder only files of that one.
  std::vector<const FileRecord*> choose(const std::vector<std::string>& names,
                                        const std::string& folder = "");
  // The files that had `label` when it was given to the project and are no longer in it, or not by
  // that name: as they were then. Only where the archive still has the label.
  std::vector<FileRecord> formerFiles(const std::string& label);
  // The labels that have a list of their files, and the list of one.
  std::vector<std::string> listedLabels() const;
  LabelList labelList(const std::string& label) const;
  // Puts `files` on it, which have the label now.
  void listLabelled(const std::string& label, const std::vector<LabelledFile>& files) const;
  // The same text, without what says that it is a label; empty if it means none.
  std::string labelIn(const std::string& revision);
  // The place of a typed name from the top; misuse if it lies outside.
  std::string fromTop(const std::string& typed) const;

  // A record may say anything: Problem for a file that isn't below the top. Who writes it asks for
  // the second one, which also looks whether links lead out on the way.
  std::string pathOf(const FileRecord& file) const;  // Absolute.
  std::string pathToWrite(const FileRecord& file) const;
  // Throws Problem where the project has files below `path`, or has a directory above it as a file:
  // it can have no file by that name. The file `moved` away counts for nothing; empty for none.
  void refuseCrossing(const std::string& path, const std::string& moved = "") const;
  // From the directory of the shell: as it is, and as people see it.
  std::string pathFromHere(const FileRecord& file) const;
  std::string shownPath(const FileRecord& file) const;

  // Looks at all files and archives, in several threads: what is asked of them from now on is
  // answered by that. For commands that change no files.
  void lookAtAll(Looking looking);

  const FileState* stateOf(const FileRecord& file) const {
    return state_.find(file.path, file.archive);
  }
  // Throws Problem where nobody can tell, as stampOf() does.
  Standing standingOf(const FileRecord& file);
  const History& historyOf(const FileRecord& file);
  void forgetHistory(const FileRecord& file) { histories_.erase(file.archive); }
  // What the archive says of the file, in short: it is only read if it is not the one that said so
  // before, or, with kNever, not at all. Null if nothing is known. Throws Problem.
  enum class Reading { kIfChanged, kNever };
  const Told* toldOf(const FileRecord& file, Reading reading);
  // When the work directory's memory was written, in nanoseconds since 1970; 0 for never.
  int64_t remembered() const { return state_.written(); }
  // The revision that is here; null for none.
  const RevisionInfo* hereOf(const FileRecord& file);
  // What a check-out would give; null for none.
  const RevisionInfo* followedOf(const FileRecord& file);
  // With that label or in that group; "label:" or "group:" before the name says which, else it is
  // a group if the promotion model has it. Null for none.
  const RevisionInfo* markedOf(const FileRecord& file, const std::string& name);
  // The label that is followed, and moves along; empty if it is the trunk or a group.
  std::string followedLabel();
  // Whether what is there is that revision.
  bool isThere(const FileRecord& file, const std::string& number) const;
  // The revision that a text means: a number, "here", "followed", "tip", "trunk", a group, a label;
  // with a date after "@" the newest one up to then, on the branch of that revision. Throws
  // Problem; the first one gives null where the file has no such revision.
  const RevisionInfo* find(const FileRecord& file, const std::string& text);
  const RevisionInfo& revisionOf(const FileRecord& file, const std::string& text);
  // Throws Problem for a date that is none, and for a number, a label or a group that no file of
  // the whole project has. Those of the `chosen` are looked at first.
  void refuseUnknown(const std::string& revision, const std::vector<const FileRecord*>& chosen);

  // What may stand in the way of a lock or a check-in of `revision` in `group`, for the words of a
  // problem. An empty group is the only one.
  Subject subjectOf(const FileRecord& file, const std::string& revision, const std::string& group);

  Session& session() { return session_; }
  Kept& kept() { return kept_; }

  // The file is `revision` now.
  void note(const FileRecord& file, const std::string& revision, bool isLocked);
  // The file was stored as `revision`, and looked as `before` tells before it was read: what has
  // changed since is no part of that.
  void noteStored(const FileRecord& file, const std::string& revision, const Stamp& before,
                  bool isLocked);
  // How it looks now; as no file does if it is not there.
  Stamp stampOf(const FileRecord& file) const;
  // The file comes from `revision`, and differs from it.
  void noteChanged(const FileRecord& file, const std::string& revision);
  // Only the lock has changed.
  void noteLock(const FileRecord& file, bool isLocked);
  // A file that was locked from here and no longer is, by whatever hand, is read-only from now on
  // if it is unchanged. Whether it is such a file.
  bool settleLost(const FileRecord& file);
  void forget(const FileRecord& file) { state_.forget(file.path); }
  // What is known of `file` holds for the other one from now on.
  void rename(const FileRecord& file, const FileRecord& renamed);
  // A file that was checked out here, and that the project has no more.
  struct GoneFile {
    FileRecord file;
    std::string here;
    bool isUntouched;  // It is as it was checked out.
  };
  std::vector<GoneFile> gone();
  // Whether `gone` may be believed, and removed. If not, as the project's list is not whole, that
  // is told.
  bool areGone(const std::vector<GoneFile>& gone);
  // See State.
  const std::string* familiar(const std::string& directory) const {
    return state_.familiar(directory);
  }
  void setFamiliar(const std::string& directory, const std::string& text) {
    state_.setFamiliar(directory, text);
  }
  // Stores what is known now.
  void save();
  // Has the work directory follow something else, from now on and for good. Throws Problem.
  void follow(const std::string& follows, const std::string& group);

 private:
  // What was read of an archive, and how that was before.
  struct Read {
    Stamp archive;
    History history;
  };

  // What is there by a path. No stamp: nothing, or nobody can tell.
  struct Look {
    os::FileResult result = os::FileResult::kMissing;
    std::optional<Stamp> stamp = {};
    bool isRegular = false;
    bool isWritable = false;
  };

  template <typename Ask>
  static Look lookBy(const Ask& ask);
  Look lookAtFile(const FileRecord& file) const;
  void refuseUnreadable(const FileRecord& file, os::FileResult result) const;
  Look lookAtArchive(const FileRecord& file) const;
  // The place of `file` among all, past the end if it is none of them.
  size_t placeOf(const FileRecord& file) const;
  const Read& readingOf(const FileRecord& file);
  Told toldBy(const Read& read, const FileRecord& file);
  const RevisionInfo* findByContent(const FileRecord& file);
  const RevisionInfo* foundCut(const FileRecord& file, const Look& look);
  // The times of files move in steps: what changed in the step of its last look shows the same.
  bool isSafe(const Stamp& stamp) const {
    constexpr int64_t kStep = 10'000'000;
    return std::max(stamp.nanoseconds, stamp.changed) < state_.written() - kStep;
  }
  void note(const FileRecord& file, const std::string& revision, const Stamp& stamp, bool isLocked);
  bool takeKept(Looking looking);
  std::string nameFollowed();
  using Files = std::vector<const FileRecord*>;
  // What a name means among all files; and the one file that several records tell of, or each if
  // they have different archives: a change has to be told which.
  Files matching(const std::string& typed, const Files& all) const;
  Files exactly(const std::string& typed, const Files& records) const;

  Session& session_;
  WorkDirectory directory_;
  std::vector<FileRecord> files_;
  State state_;
  Kept kept_;
  State::Use use_;
  bool isOfProject_ = true;
  std::vector<Look> filesSeen_;  // By their places; empty if all weren't looked at, as the next.
  std::vector<Look> archivesSeen_;
  std::string user_;
  std::map<std::string, Read> histories_;  // By archive.
  std::optional<PromotionModel> promotion_;
};

}  // namespace cli
