// btkf520/archive/revisionlist.h: what an archive says of each revision, and the list of those of
// a branch.
//
// An archive has thousands of revisions, and most of its changes concern one. So a list that was
// read stays the bytes of the index until somebody asks for a revision: then the few that stand
// near it are made of them. What nobody has changed is written as it was read. All of it is checked
// when it is read, so nothing can be found wrong later.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archivefile/bytecodec.h"
#include "btkf520/archive/bytes.h"
#include "btkf520/archive/number.h"
#include "dates/packedtime.h"
#include "os/pages.h"

namespace btkf {

using dates::PackedTime;
using SharedBytes = std::shared_ptr<const Bytes>;

// The content of one revision, which the archive file keeps under `id`. Two equal contents of one
// length have one checksum; the reverse is as good as certain, not certain.
struct Content {
  uint32_t id = 0;  // From 1, never used twice in one archive. 0: none.
  uint64_t length = 0;
  uint64_t checksum = 0;  // See checksum.h.

  bool operator==(const Content&) const = default;
};

using Contents = std::vector<Content, os::AgainAllocator<Content>>;
using SharedContents = std::shared_ptr<const Contents>;

// A user's lock of a revision.
template <typename Text>
struct LockOf {
  Text user;
  PackedTime time = 0;  // When it was taken.
  Text note;            // One line; may be empty.

  bool operator==(const LockOf&) const = default;
};

template <typename Text>
struct RevisionOf {
  Number number;
  PackedTime checkInTime = 0;
  PackedTime workfileTime = 0;  // The workfile's time of change when it was checked in.
  Text author;
  Text changeDescription;
  std::vector<LockOf<Text>> locks;    // In the order in which they were taken.
  std::vector<Text> promotionGroups;  // In the order in which they were given.
  Content content;

  bool operator==(const RevisionOf&) const = default;
};

using Lock = LockOf<std::string>;
using Revision = RevisionOf<std::string>;

// The revisions of one branch, oldest first. References and pointers to them are good until some
// are added or erased, or the list goes; a copy has others. Who asks for one by a list that isn't
// const may change it.
class RevisionList {
 public:
  RevisionList() = default;
  RevisionList(const RevisionList&) = default;
  RevisionList(RevisionList&& other) noexcept { swap(other); }
  RevisionList& operator=(RevisionList other) noexcept {
    swap(other);
    return *this;
  }
  ~RevisionList() = default;

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const Revision& operator[](size_t place) const { return made(place / kRun)[place % kRun]; }
  Revision& operator[](size_t place) { return changed(place / kRun)[place % kRun]; }
  const Revision& back() const { return (*this)[size_ - 1]; }
  Revision& back() { return (*this)[size_ - 1]; }
  // Null for none.
  const Revision* find(const Number& number) const;
  Revision* find(const Number& number);

  Revision& emplace_back();
  void push_back(Revision revision) { emplace_back() = std::move(revision); }
  template <typename Predicate>
  void eraseIf(const Predicate& isGone) {
    RevisionList kept;
    forEach([&](const Revision& each) {
      if (!isGone(each)) kept.push_back(each);
    });
    *this = std::move(kept);
  }

  template <typename Visit>
  void forEach(const Visit& visit) const {
    for (size_t run = 0; run < runs_.size(); ++run) {
      for (const Revision& each : made(run)) visit(each);
    }
  }
  // Those that have locks or promotion groups are among the ones that are visited: few.
  template <typename Visit>
  void forEachMarked(const Visit& visit) const {
    for (size_t run = 0; run < runs_.size(); ++run) {
      if (isAsRead(run) && !pieceOf(run).isMarked) continue;
      for (const Revision& each : made(run)) visit(each);
    }
  }

  const Content& content(size_t place) const {
    return isAsRead(place / kRun) ? read_->contents[place] : (*this)[place].content;
  }
  // Of all of them, as they are now.
  SharedContents contents() const;
  // Whether contents() would give the same.
  bool hasContents(const SharedContents& contents) const;

  // Whether the file format can hold them as those of that branch.
  bool areSoundOn(const Number& branch) const;

  // Takes the next revisions from an index, which is in `bytes`. Fails unless they are sound on
  // that branch.
  void read(archivefile::ByteReader* from, const Number& branch, const SharedBytes& bytes);
  void write(archivefile::ByteWriter* to) const;
  size_t usualSize() const;  // About as many bytes as that takes, rather a few too many.

  bool operator==(const RevisionList& other) const;

 private:
  // All but the last run have that many.
  static constexpr size_t kRun = 64;
  using Revisions = std::vector<Revision>;

  // A run of them in an index.
  struct Piece {
    std::string_view bytes;
    Number first;
    bool isMarked = false;  // Whether one has locks or groups.
  };
  struct AsRead {
    SharedBytes bytes;
    Number branch;
    std::vector<Piece> pieces;
    Contents contents;
  };
  // A run as it was read has a piece, and is made of it when one of the revisions is asked for.
  struct Run {
    Run() = default;
    Run(const Run& other);
    Run(Run&&) = default;
    Run& operator=(const Run&) = delete;
    Run& operator=(Run&&) = default;
    ~Run() = default;

    bool isAsRead = false;
    mutable std::unique_ptr<Revisions> revisions;
  };

  void swap(RevisionList& other) noexcept {
    read_.swap(other.read_);
    runs_.swap(other.runs_);
    std::swap(size_, other.size_);
  }

  bool isAsRead(size_t run) const { return runs_[run].isAsRead; }
  const Piece& pieceOf(size_t run) const { return read_->pieces[run]; }
  size_t sizeOf(size_t run) const { return std::min(kRun, size_ - run * kRun); }
  const Revisions& made(size_t run) const {
    if (runs_[run].revisions == nullptr) make(run);
    return *runs_[run].revisions;
  }
  Revisions& changed(size_t run) {
    static_cast<void>(made(run));
    runs_[run].isAsRead = false;
    return *runs_[run].revisions;
  }
  void make(size_t run) const;
  const Number& firstOf(size_t run) const;
  size_t placeOf(const Number& number) const;

  std::shared_ptr<const AsRead> read_;  // Null if nothing was.
  std::vector<Run> runs_;
  size_t size_ = 0;
};

}  // namespace btkf
