// btkf520/archive/archive.h: an archive file, opened.
//
//     std::unique_ptr<Archive> archive;
//     if (TrvsStatus status = Archive::openToUpdate(path, &archive)) return status;
//     const Bytes workfile = ...;
//     ArchiveModel model = archive->takeModel();
//     Revision revision = ...;
//     revision.content = archive->put(workfile.view());
//     model.trunk().revisions.push_back(revision);
//     return archive->commit(std::move(model));
//
// What stands in an archive file is never changed: a commit adds a part at its end, or writes a
// whole new file beside it and renames that over the old one. So a reader sees the archive as it
// was when it was opened, however long it reads, and never waits; a kill or a power cut leaves the
// old state or the new one. What stands where in the file is told in docs/archive-format.md.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/archive/bytes.h"
#include "btkf520/archive/model.h"
#include "btkf520/btkf520.h"
#include "os/file.h"

namespace btkf {

class ArchiveChange;

// One archive, open for reading or for update as long as the object lives. Paths are the operating
// system's. Operations may throw std::bad_alloc, which changes neither the object nor the file.
// Statuses that any operation may give, besides those told with it:
//   TRVS_CANNOT_OPEN     the file can't be opened or read
//   TRVS_NOT_AN_ARCHIVE  the file is no archive, or damaged where the operation had to read
class Archive {
 public:
  // Opens an archive for model(), read() and verify(). Never waits for a writer. TRVS_NO_ARCHIVE if
  // there is no file.
  [[nodiscard]] static TrvsStatus openToRead(const std::string& path,
                                             std::unique_ptr<Archive>* archive);

  // The same, for put() and commit() as well. As long as the object lives, no other object, in this
  // process or another, can be opened to update the same file. TRVS_IN_USE, at once, if there is
  // one; TRVS_NO_ARCHIVE; TRVS_CANNOT_WRITE if the process may not write the file, or its owner may
  // not. A link may not be followed: see os/place.h.
  [[nodiscard]] static TrvsStatus openToUpdate(const std::string& path,
                                               std::unique_ptr<Archive>* archive);

  // The same of the file at `path`, which is open and locked already.
  [[nodiscard]] static TrvsStatus openHeld(const std::string& path, os::File file,
                                           std::unique_ptr<Archive>* archive);

  // A new archive, for put() and one commit(), which makes the file in one step, with its first
  // revision if `model` has one. From then on the object is open to update. commit() gives
  // TRVS_ARCHIVE_EXISTS, and leaves what is there, if `path` names anything by then; TRVS_IN_USE if
  // another is making it.
  static std::unique_ptr<Archive> forNew(const std::string& path);

  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;
  ~Archive();

  // As read from the file or committed last. Good until the next commit().
  const ArchiveModel& model() const;
  // The same to be changed, without a copy, since it may be wide: until the next commit() model()
  // is empty, and verify() not to be used.
  ArchiveModel takeModel();

  // Rebuilds a content and checks it: TRVS_NOT_AN_ARCHIVE if it is damaged, TRVS_NO_REVISION if the
  // archive has no such content, TRVS_NO_MEMORY if it can't be held. *bytes changes only with
  // TRVS_DONE. Contents that were put and not committed yet can be read as well.
  [[nodiscard]] TrvsStatus read(const Content& content, Bytes* bytes) const;

  static constexpr int kReadTries = 8;
  // The same, to a sink, and in little memory if the content is a tip's. TRVS_CANNOT_WRITE if the
  // sink takes no more. With any status but TRVS_DONE the sink may have got bytes that are not
  // right. After TRVS_CANNOT_OPEN the next call reads the file that another machine may have put in
  // the place of this one: worth kReadTries calls.
  [[nodiscard]] TrvsStatus read(const Content& content, const BytesSink& sink) const;

  // From now on TRVS_TOO_LARGE for what would have to rebuild a content of more than `bytes`,
  // before memory is taken for it: read(), verify(), and a commit() that packs its revision, or the
  // next one, in another way. No bound at first.
  void boundContents(uint64_t bytes);
  // Whether read() would give that.
  [[nodiscard]] TrvsStatus checkSize(const Content& content) const;

  // Takes in a new content, to be kept by the next commit() whose model uses it; without one it is
  // forgotten. Nothing is copied: `bytes` must stay as they are until that commit() has returned.
  Content put(std::string_view bytes);

  // Makes the file say what `model` says, all or nothing, and on disk when this returns. Contents
  // that `model` has no longer are dropped, and gone if a new file can be written. With any status
  // but TRVS_DONE the file says what it said.
  //   TRVS_MISUSE        `model` is not sound, or uses a content that the archive does not have; or
  //                      this is not open to update
  //   TRVS_CANNOT_WRITE  no space; or no right to make a file in the directory of a new archive
  //   TRVS_LIMIT         the format can't hold so much
  //   TRVS_NEEDS_REWRITE a new file is needed, and there is no right to make one, or not with the
  //                      rights of the old one
  // The file keeps its owner, group, mode, access list and attributes. A damaged content is no
  // obstacle: it is kept as it is, and stays damaged. TRVS_IN_USE also if a content that was put is
  // found to have changed since.
  [[nodiscard]] TrvsStatus commit(ArchiveModel model);

  // The first step of commit(), for who changes many archives and lets them share their syncs: see
  // ArchiveChange. The same statuses. Once it has given TRVS_DONE, what was put isn't needed any
  // more, the change holds the archive, and this object can only be destroyed.
  [[nodiscard]] TrvsStatus begin(ArchiveModel model, std::unique_ptr<ArchiveChange>* change);

  // Reads every byte of the file and checks it, so that it finds any changed bit. TRVS_DONE if all
  // is well. TRVS_TORN_END if that is so but for bytes at the end that don't count, which no writer
  // is adding at this moment. Else TRVS_NOT_AN_ARCHIVE, and in *damaged the contents that can't be
  // rebuilt any more; if that is empty, what is damaged is outside the contents. Null for no list.
  [[nodiscard]] TrvsStatus verify(std::vector<Content>* damaged) const;

  // Of the file: how many bytes it has, and how many up to the end of its last whole part.
  struct Extent {
    uint64_t size = 0;
    uint64_t whole = 0;
  };
  Extent extent() const;
  // The same of a file that can't be opened as an archive since it is damaged after that part. All
  // 0 of any other.
  static Extent extentOfDamaged(const std::string& path);

  // The name of the file beside the archive where commit() or begin() has put what it cut off the
  // end, since that may have been promised once; empty for none.
  const std::string& cutName() const;
  // Whether it could. If not, the status was TRVS_CANNOT_WRITE.
  bool isCutKept() const;

 private:
  class Impl;
  explicit Archive(std::unique_ptr<Impl> impl);

  std::unique_ptr<Impl> impl_;
};

}  // namespace btkf
