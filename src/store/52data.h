// store/52data.h: what the four text files of the project database have in common: how one is
// opened and kept from other processes, its format head, the reader that turns records into
// objects, and the writer that holds a pair of files open during an update.
//
// A public file is shared by a team; a private one overlays it for one user. Which files belong to
// an owner, and which records they hold, is told in 52root, 52proj and 52arfld.
#pragma once

#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/vpathstring.h"
#include "core/object.h"
#include "runtime/textfile.h"
#include "store/keyfile.h"

namespace foldapi {

class TVArchiveFolder;
class TVArchiveFolder52;
class TVArchiveMember52;

enum class Side { kPrivate = 0, kPublic = 1 };

// In the order in which the two are read and written.
inline constexpr Side kBothSides[] = {Side::kPublic, Side::kPrivate};

// One text file of an owner, to be opened. Nothing is copied.
class TVDataFile {
 public:
  enum class Access { kRead = 0, kUpdate = 1 };
  enum class Missing { kMade, kRefused };   // What a file is that is missing.
  enum class Failures { kTold, kNotTold };  // To the context's sink.

  TVDataFile(TVHandle& context, Missing missing, Failures failures, Access access);

  // Opens the file at `path`. An update waits for another updater, with wait notices that may end
  // it, up to five seconds. 0, or a code of the folder messages.
  [[nodiscard]] int openLocked(const VPathString& path, std::unique_ptr<TextFile>* stream);

 protected:
  TVHandle& context() const { return context_; }

  bool onlyReads_ = false;  // An update changes nothing: it is a read where there are no locks.

 private:
  void report(int code, const VPathString& path) const;
  int failed(int code, const VPathString& path) const;
  int missingCode() const;
  int dropTornEnd(TextFile& stream) const;
  bool waitToRetry(const VPathString& path, int* notice, unsigned* silence) const;
  int attempt(const VPathString& path, bool again, std::unique_ptr<TextFile>* stream) const;
  int probe(const VPathString& path, bool again, std::unique_ptr<TextFile>* stream) const;
  int openWithoutLocks(const VPathString& path, std::unique_ptr<TextFile>* stream) const;

  TVHandle& context_;
  Missing missing_;
  bool report_;
  Access access_;
};

// A private record that overlays nothing: what it belongs to stands in another public file, or is
// gone. It means nothing here, and is kept word for word.
struct StrayRecord {
  std::string name;
  std::string text;
};

// Reads one file into the children of `owner`, in one pass, and is then thrown away. A private file
// never reports that it can't be opened.
class TVDataFileReader : public TVDataFile {
 public:
  // `directory` is the owner's storage directory on the side read: records name theirs below it.
  TVDataFileReader(TVObject* owner, TVHandle& context, const VPathString& path,
                   const VString& directory, const KeyTableEntry* sections, Side source,
                   Access access);
  ~TVDataFileReader();

  // Reads `stream`, or opens the file if it is null, and closes it again. 0, or the code of what
  // ended it. Objects built before stay with the owner.
  [[nodiscard]] int readFile(const TextFile* stream);
  std::vector<StrayRecord> takeStrays() { return std::move(strays_); }
  // Whether nothing shows that it had more once: it has a text, and its last record an end.
  bool isWhole() const { return isWhole_; }

 private:
  struct RecordKeys {
    std::string workDir;
    std::optional<std::string> dir;
    std::optional<std::string> config;
    bool overlay = false;  // OWNERSHIP was there: the record overlays a public object.
  };

  static RecordKeys readKeys(TVKeyFile& file);
  bool parse(const TextFile& stream);
  RecordResult readRecord(TVKeyFile& file, SectionId id, OptionalText value);
  RecordResult readProjectRecord(TVKeyFile& file, OptionalText value);
  RecordResult readFolderRecord(TVKeyFile& file, OptionalText value);
  RecordResult readDocumentRecord(OptionalText value);
  void mergeDocument();

  int mergeProject(const std::string& name, const RecordKeys& keys);
  void mergeFolder(const std::string& name, const RecordKeys& keys);
  TVArchiveFolder52* addFolder(const std::string& name, const RecordKeys& keys);
  RecordResult recordFailed(int code, const std::string& name);
  RecordResult keepStray(const std::string& name, const TVKeyFile& file);
  TVArchiveFolder* findChild(const std::string& name);

  TVObject* owner_;
  const VPathString& path_;
  const VString& directory_;
  const KeyTableEntry* sections_;
  Side source_;
  // The folders and projects of the owner by name, for a private pass; made on first use.
  std::unordered_map<std::string_view, std::vector<TVArchiveFolder*>> byName_;
  bool byNameFilled_ = false;
  std::vector<StrayRecord> strays_;
  bool isWhole_ = false;
  // The projects and folders that this file has told of: a further record only moves them.
  std::unordered_set<const TVObject*> met_;
  std::unique_ptr<TVArchiveMember52> document_;  // Of the last record, not yet in the table.
};

// Holds the files of an owner for an update, exclusively, from open() to its end.
class TVDataFileWriter : public TVDataFile, public TVStorageLock {
 public:
  // An empty path stands for a file that the owner doesn't have.
  TVDataFileWriter(TVHandle& context, VPathString publicPath, VPathString privatePath);

  // 0, or the code of a failure. With two paths one open file is enough.
  [[nodiscard]] int open();

  // Null when the file isn't open.
  TextFile* stream(Side side) const {
    return side == Side::kPublic ? public_.get() : private_.get();
  }
  const VPathString& path(Side side) const {
    return side == Side::kPublic ? publicPath_ : privatePath_;
  }

  // Empties a file and writes the format head.
  void truncate(Side side);
  // Adds a record, in pieces, at the end of a file, on a line of its own. False after a report, and
  // for one to be removed that can't be noted.
  [[nodiscard]] bool writeRecord(Side side, std::initializer_list<std::string_view> record,
                                 TVHandle& context);
  // Whether something was written to a file that isn't open, and so goes nowhere. A rewrite with
  // the records that are there anyway isn't missed.
  [[nodiscard]] bool isMissed(Side side) const;
  // Brings the changes of one file to the disk. False after a report.
  [[nodiscard]] bool commit(Side side, TVHandle& context);

  bool setRemoving(bool isRemoving) override { return isRemoving_ = isRemoving; }
  bool cutRemoved(bool keep) override;

 private:
  bool noteRemoved(Side side, std::initializer_list<std::string_view> record);
  void reportWriteFailure(Side side, TVHandle& context) const;

  // What goes to a side without an open file.
  struct Missed {
    bool isRewritten = false;
    std::string records;
  };
  Missed& missed(Side side) { return missed_[side == Side::kPublic ? 0 : 1]; }

  VPathString publicPath_;
  VPathString privatePath_;
  std::unique_ptr<TextFile> public_;
  std::unique_ptr<TextFile> private_;
  Missed missed_[2];
  bool isRemoving_ = false;
  struct Removed {
    Side side;
    std::string record;
  };
  std::vector<Removed> removed_;
};

// What the lock of a root, project or folder is.
inline TVDataFileWriter& writerOf(TVStorageLock& lock) {
  return static_cast<TVDataFileWriter&>(lock);
}
inline const TVDataFileWriter& writerOf(const TVStorageLock& lock) {
  return static_cast<const TVDataFileWriter&>(lock);
}

// What every keyed data file begins with after a rewrite. Readers pass over it.
void writeHeader(TextFile* stream);

// `dir` of a record below an owner's storage directory; empty if it is empty.
VString storageDirectory(const VString& ownerDirectory, std::string_view dir);
// The way back, for a record: relative where that reads back as the same directory, else in full.
std::string recordDirectory(const VString& ownerDirectory, const VString& directory);

// A new path in `directory`: `base` shortened to 8 bytes, with a number where that is taken, and
// `suffix` after it. Empty for an empty directory.
VString uniqueName(const VString& directory, const VString& base, std::string_view suffix);
// The same, and the directory is made at once: a free name is one that nothing on disk has, so the
// next one of the same short name would get it as well. Empty, after a report, if that fails.
VString makeUniqueDirectory(const VString& directory, const VString& base, std::string_view suffix,
                            TVHandle& context);

// The pair of files of one owner: where they lie, when they were read or written last, and whether
// that told everything.
class TVDataFilePair {
 public:
  TVDataFilePair(const char* publicName, const char* privateName);

  const VString& directory(Side side) const { return at(side).directory; }
  // Another one than before has files that nobody has read yet.
  void setDirectory(Side side, VString directory);
  // Empty where there is no directory.
  VPathString path(Side side) const;

  // Reads one side, from `writer` where that holds the file. 0, or the code of the failure; the
  // file then counts as unread.
  [[nodiscard]] int read(Side side, TVObject* owner, TVHandle& context,
                         const KeyTableEntry* sections, TVDataFile::Access access,
                         const TVDataFileWriter* writer);
  // Notes that a side has nothing to read.
  void passOver(Side side);
  // Notes that a side says nothing because another could not be read: it was not read itself, or
  // its records found nothing that they could overlay.
  void skip(Side side);
  // Whether all that exists was read to its end.
  bool isComplete() const { return !at(Side::kPublic).unread && !at(Side::kPrivate).unread; }
  // The file that was read, but may have lost records: see TVDataFileReader. Empty for none.
  VPathString pathOfCut() const;
  // Whether a side was never read, or changed since. `writer`, which may be null, tells of what it
  // holds.
  bool hasChanged(Side side, const TVDataFileWriter* writer) const;

  // The writer for an update of those sides; null after a report. A side without a directory is
  // left out.
  [[nodiscard]] std::unique_ptr<TVDataFileWriter> beginWrite(TVHandle& context,
                                                             std::span<const Side> sides) const;
  // Forgets the stray records of what is now a child of `owner`: they are out of date, and must not
  // come back when that goes.
  void dropStraysOf(const TVObject& owner);
  // Writes the others. False after a report.
  [[nodiscard]] bool writeStrays(TVDataFileWriter& writer, TVHandle& context) const;
  // False, after a report, where the writer holds a file that could not be read: what can't be read
  // is never overwritten.
  [[nodiscard]] bool mayUpdate(const TVDataFileWriter& writer, TVHandle& context) const;
  // Commits or drops what was written, and takes the stamps. Tells whether all of it is stored: not
  // so if `keep` is false, a commit failed, or something is missed.
  [[nodiscard]] bool endWrite(TVDataFileWriter& writer, TVHandle& context, bool keep);

 private:
  struct File {
    const char* name;
    VString directory = {};
    FileStamp stamp = {};
    bool unread = false;  // It exists, and was not read to its end.
    bool cut = false;     // It was, and is not whole.
    bool absent = false;  // It was not there when it was to be read.
  };
  const File& at(Side side) const { return side == Side::kPublic ? public_ : private_; }
  File& at(Side side) { return side == Side::kPublic ? public_ : private_; }
  FileStamp present(Side side, const TVDataFileWriter* writer) const;
  bool endSides(TVDataFileWriter& writer, TVHandle& context, bool keep);
  bool endSide(Side side, TVDataFileWriter& writer, TVHandle& context, bool keep);

  File public_;
  File private_;
  std::vector<StrayRecord> strays_;  // Of the private file.
};

}  // namespace foldapi
