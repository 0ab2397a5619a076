// runtime/textfile.h: TextFile, one open text data file of the project database.
//
// The one place that knows how a data file is kept from others and how it reaches the disk whole.
//
// Sharing. An updater holds the file exclusively until it closes it; a reader takes a shared hold
// without waiting. The hold is flock() on the data file itself, so it belongs to this open file,
// ends with the process, and also counts between two opens of one process. Where the file system
// knows no locks a file can be read, but not be updated.
// Content. Opening reads the whole file; an updater's is read when its text is asked for. Changes
// are made in memory and reach the disk in commit(): a sibling file, synced and renamed over the
// data file, or one write where an append fits into its page. A kill at any instant leaves the old
// content or the new, and so does a read at any instant. A single line in brackets is appended page
// by page: that leaves a part of it too, which readers know by the missing bracket (keyfile.h). All
// happens where the path led when the file was locked, links included: see os/place.h. Where the
// directory takes no sibling the file is written in place.
// Lines end in CR LF on disk and in LF here; both are read. Every other byte is text.
#pragma once

#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

#include "runtime/files.h"

namespace foldapi {

class TextFile {
 public:
  enum class Access {
    kRead,    // Shared hold. Reads on unlocked when another process updates the file, and fails
              // when this very process does.
    kProbe,   // As kRead, but fails whenever the shared hold is refused.
    kUpdate,  // Exclusive hold, or failure at once: a caller that wants to wait tries again.
  };
  enum class Failure {
    kNone,
    kMissing,      // No such file.
    kBusy,         // Held by another open file.
    kNoLocks,      // An update where the file system knows no locks.
    kForeignLink,  // An update by a link of another user that is not followed: see os/place.h.
    kRefused,      // No right to open, a directory, a drive that is not ready, or a failed read.
    kNoMemory,
  };

  // Opens an existing file. Null on failure, with the reason in *failure.
  static std::unique_ptr<TextFile> open(std::string_view path, Access access, Failure* failure);
  // Makes an empty file if there is none. False if that fails.
  [[nodiscard]] static bool create(std::string_view path);

  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;
  ~TextFile();  // Gives up the hold. What was not committed is dropped.

  // The text as it now stands, changes included, with LF line ends. Good until the next change.
  // Where it is read only now, and can't be, failed() is true.
  std::string_view text() const;
  // Whether the last line has its end; true without a line. Reads nothing.
  bool endsInLine() const;

  // Gives up the hold before the end, when the text is all that is still asked for.
  void letGo();
  // Drops what comes after the first `size` bytes of the text, which is no change by itself: it
  // stays on disk until a change is committed.
  void dropEnd(size_t size);
  bool hasDroppedEnd() const;

  // Whether changes were made that are not on disk yet.
  bool isChanged() const;
  // Whether what was there stays, and something comes after it.
  bool isAddedTo() const;
  // Empties the text.
  void clear();
  // Takes some records out, whole lines with LF at their ends. False, with nothing changed, unless
  // each of them stands at the start of a line and nowhere else, and it is the first change.
  [[nodiscard]] bool cut(const std::vector<std::string_view>& records);
  // Adds at the end. Line ends are LF. On a file opened for reading the first change tries to
  // become the exclusive holder, goes on if that works and the file is unchanged since it was
  // opened, and fails otherwise: failed() is then true.
  void append(std::initializer_list<std::string_view> pieces);
  void append(std::string_view text) { append({text}); }
  // Adds a line end if the last line has none.
  void endLastLine();
  // Whether a change was refused or a commit failed.
  bool failed() const;

  // Brings the changes to the disk, all or nothing; nothing to do without changes. The hold stays,
  // on the new file too. False on failure, with the old file as it was.
  [[nodiscard]] bool commit();
  // Takes back a commit() that only added. False if that fails: what was added stays on disk then.
  [[nodiscard]] bool takeBack();

  // The stamp of the file as it now stands on disk, taken through the open file.
  FileStamp stamp() const;

 private:
  struct State;
  explicit TextFile(std::unique_ptr<State> state);

  bool becomeUpdater();
  std::unique_ptr<State> state_;
};

// Waits until the file can be locked exclusively or `milliseconds` have passed, whichever is first,
// looking again every few milliseconds. Gives the milliseconds that are left.
unsigned waitForTextFile(std::string_view path, unsigned milliseconds);

// Whether the file can be locked for reading: if it can't be locked exclusively all the same, then
// only readers are in the way.
bool isTextFileShared(std::string_view path);

}  // namespace foldapi
