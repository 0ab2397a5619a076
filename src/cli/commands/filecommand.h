// cli/commands/filecommand.h: what commands over files of a project have in common: the files are
// chosen by names, the same is done to each, and what fails with one of them is told while the
// others go on.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/archives/engine.h"
#include "cli/command.h"
#include "cli/local/localfiles.h"
#include "cli/problem.h"
#include "cli/session.h"

namespace cli {

// What is said of a deed: "locked", and in a dry run "would lock".
struct Verb {
  const char* plain;
  const char* done;
};
std::string saidOf(const Verb& verb, bool isDry);

class FileCommand : public Command {
 public:
  void run(Session& session) final;

 protected:
  using Need = Options::Need;
  using Files = std::vector<const FileRecord*>;
  using Step = std::function<void(const FileRecord& file)>;

  // `name` is that of the command. What it uses the local files for is known before the first.
  FileCommand(const char* name, State::Use use) : use_(use), name_(name) {}

  // The whole command.
  virtual void work() = 0;

  void declareDry(Options& options);
  // The files that it is about. `help` tells which they are if none are named, or what may be.
  void declareFiles(Options& options, Need need, const char* help = nullptr);
  // The same for names of which a folder makes no choice.
  void declareNames(Options& options, Need need, const char* help = nullptr,
                    const char* word = "FILE");
  // For commands that can list names alone; before the two.
  void declareNull(Options& options, const char* help = "names alone, each ended by NUL");

  Session& session() const { return *session_; }
  Output& output() const { return session_->output(); }
  // Opened when it is first asked for: what can be refused without them comes before.
  LocalFiles& local() const;
  std::string shownPath(const FileRecord& file) const { return local().shownPath(file); }
  Files chosen() const { return local().choose(names_, folder_); }
  // Whether it is about the whole project.
  bool isWhole() const { return names_.empty() && folder_.empty(); }
  // Of the whole project some files have a revision: the others are counted on the standard error.
  void leaveOutLacking(const std::string& revision, Files* files) const;
  // For commands that read archives without a project too, where these are named.
  void takeArchives() { takesArchives_ = true; }
  // For the words of a problem.
  Subject about(const FileRecord& file, const std::string& revision = "") const;

  // To how many files it was done. `step` gets each and may throw Problem. What the steps change in
  // archives waits for the disk in groups; what they leave to later() is done file by file when
  // their group is there, and is not done for a file whose change did not get there. `last` comes
  // after all of them, and before it is told that the user has stopped the command.
  using Deed = std::function<void()>;
  size_t forEach(const Files& files, const Step& step, const Deed& last = {});
  void later(Deed deed) const;
  // A question about one of the files comes when all is told of those before it.
  bool ask(const std::string& question) const;
  void beSure(const std::string& question) const;
  // Asks about one file of forEach(). False: it is spared. Without an answer it is a problem that
  // `why` words, as is a no where the file is the only one.
  bool isSure(const FileRecord& file, const std::string& question, const char* why) const;

  std::string said(const Verb& verb) const { return saidOf(verb, isDry_); }
  // "locked pump.c 1.0" and `rest`. The number may be empty; `more` are further fields.
  void tell(const FileRecord& file, const std::string& said, const std::string& number,
            std::string_view rest = "", const Fields& more = {}) const;
  // That there is nothing to do; where problems were told that says less than they do.
  void tellNothing(std::string_view line) const {
    if (!output().hasProblems()) output().line(line);
  }
  // "2 files locked", or "2 files to lock".
  void tellCount(size_t count, const Verb& verb, std::string_view rest = "") const;

  bool isDry_ = false;
  bool isNull_ = false;
  std::vector<std::string> names_;
  std::string folder_;
  State::Use use_;
  LocalFiles::Looking looking_ = LocalFiles::Looking::kArchivesToo;

 private:
  // A group of files that wait for the disk.
  class Group;

  void readNames();
  std::vector<std::string> archivesNamed() const;

  const char* name_;
  bool takesArchives_ = false;
  Group* group_ = nullptr;
  std::string namesFile_;
  bool hasNull_ = false;
  Session* session_ = nullptr;
  mutable std::optional<LocalFiles> local_;
  size_t count_ = 0;  // Of the files that forEach() goes through.
};

// The same without groups, where a command chooses its files otherwise and changes none.
size_t forEachFile(Session& session, std::string_view command,
                   const std::vector<const FileRecord*>& files,
                   const std::function<void(const FileRecord& file)>& step);

// A question that stands for the whole command: "no" ends it. In a dry run nothing is asked.
void beSure(Session& session, std::string_view command, const std::string& question, bool isDry);

// The text, or null for none.
inline Value orNull(const std::string& text) { return text.empty() ? Value() : Value(text); }
inline Value numberOrNull(const RevisionInfo* revision) {
  return revision == nullptr ? Value() : Value(revision->number);
}

}  // namespace cli
