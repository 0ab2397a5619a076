// btkf520/archive/archivereader.h: one archive file as it is: its index, and its contents on
// demand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "archivefile/parts.h"
#include "btkf520/archive/bytes.h"
#include "btkf520/archive/contentframes.h"
#include "btkf520/archive/index.h"
#include "btkf520/btkf520.h"
#include "os/file.h"

namespace btkf {

// What a content is packed against: its parents, one after the other. One parent alone is not
// copied, so the bytes must outlive the object. May throw std::bad_alloc.
class Prefix {
 public:
  Prefix(std::string_view older, std::string_view newer);
  std::string_view view() const { return view_; }

 private:
  Bytes joined_;  // Unless one of them is empty.
  std::string_view view_;
};

// The contents that were rebuilt last, since the next is likely to have one of them as a parent.
// Few and narrow ones only, so that memory stays bounded.
class RecentContents {
 public:
  static constexpr size_t kMostBytes = 32 << 20;
  static constexpr size_t kMostContents = 64;

  SharedBytes find(uint32_t content) const;
  void add(uint32_t content, const SharedBytes& bytes);
  void clear();

 private:
  std::list<std::pair<uint32_t, SharedBytes>> entries_;  // The newest first.
  size_t size_ = 0;
};

// The file may be replaced meanwhile, or get more parts: an object continues with what it opened.
// Operations may throw std::bad_alloc.
class ArchiveReader {
 public:
  // A content and the frame that holds it.
  struct Stored {
    Content content;
    Frame frame;
  };

  // For a file that has this index, and this end of its last part. `file()` is set when it is
  // there.
  ArchiveReader(Index index, const archivefile::End& end, std::unique_ptr<FrameCodec> codec);
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // TRVS_NOT_AN_ARCHIVE if `file` is none, or if its index is damaged.
  [[nodiscard]] static TrvsStatus open(os::File file, std::unique_ptr<ArchiveReader>* reader);

  os::File& file() { return file_; }
  const Index& index() const { return index_; }
  // Its model, which is empty then. What else is asked here needs it no more, but for verify().
  ArchiveModel takeModel();
  // The contents of a branch, oldest first.
  struct Line {
    Number branch;
    SharedContents contents;
  };
  // Those of the model as it was read.
  const std::vector<Line>& lines() const;
  FrameCodec& codec() { return *codec_; }
  const archivefile::End& end() const { return end_; }
  // Whether bytes come after it that nobody is adding. If the file is open for reading alone, it is
  // locked from then on, so that no writer is.
  [[nodiscard]] bool hasTornEnd(bool isToRead);
  // What may have counted of it is in a file beside the archive before it is cut off.
  struct Cut {
    std::string name;    // Of that file, or empty.
    bool isKept = true;  // False: that file can't be made.
  };
  // Cuts off what comes after it. TRVS_CANNOT_WRITE, and nothing is cut off, if that can't be kept.
  [[nodiscard]] TrvsStatus cutTornEnd(Cut* cut);
  // Whether the index that was read is of these bytes. False if that isn't known.
  bool isIndex(std::string_view bytes) const { return last_ != nullptr && last_->view() == bytes; }
  // Where the last full index is, and what it says, to pack the next one against.
  archivefile::IndexPlace fullIndex() const;
  [[nodiscard]] TrvsStatus readFullIndex(std::string_view* bytes);

  // Contents of more than `bytes` are not rebuilt: TRVS_TOO_LARGE for them and for those that they
  // are a parent of.
  void boundContents(uint64_t bytes) { largestContent_ = bytes; }
  // Whether that keeps a content from being rebuilt, before memory is taken for it.
  [[nodiscard]] TrvsStatus checkSize(uint32_t content) const;

  // Null for none. Good as long as the object is.
  const Stored* find(uint32_t content) const;
  // Where the frame of one that was found stands among all of them.
  size_t placeOf(const Stored& stored) const {
    return static_cast<size_t>(&stored - contents_.data());
  }

  // Rebuild a content and check it: TRVS_NO_REVISION if there is none, TRVS_NOT_AN_ARCHIVE for a
  // damaged one. *bytes changes only with TRVS_DONE. read() keeps what it rebuilds for the
  // next; take() does not, and gives the memory away.
  [[nodiscard]] TrvsStatus read(uint32_t content, SharedBytes* bytes);
  [[nodiscard]] TrvsStatus take(const Content& content, Bytes* bytes);
  // The same, to a sink: TRVS_CANNOT_WRITE if that takes no more. What a sink got is worth nothing
  // with any status but TRVS_DONE.
  [[nodiscard]] TrvsStatus give(const Content& content, const BytesSink& sink);

  // See Archive.
  [[nodiscard]] TrvsStatus verify(std::vector<Content>* damaged);

 private:
  // `known`: its bytes, if they have been read already.
  [[nodiscard]] static bool readIndex(const os::File& file, const archivefile::IndexPlace& place,
                                      std::string_view known, std::string_view full,
                                      FrameCodec* codec, SharedBytes* bytes);
  [[nodiscard]] bool partsAreWhole();
  [[nodiscard]] os::FileResult keepTornEnd(std::string* name) const;

  bool isTooLarge(const std::vector<const Stored*>& frames) const;
  bool needsTooMany(const Stored& target) const;
  std::vector<const Stored*> framesFor(const Stored& target) const;
  // Keeps what it rebuilds for the next call if `keeps`.
  [[nodiscard]] TrvsStatus rebuild(const Stored& target, bool keeps, std::shared_ptr<Bytes>* bytes);
  // Hands the frame to `work`, which unpacks all of it. False if that is, or the frame is damaged.
  [[nodiscard]] bool withFrame(const Stored& stored,
                               const std::function<bool(const FramePieces&)>& work) const;
  [[nodiscard]] bool unpack(const Stored& stored, std::string_view prefix, Bytes* content,
                            Checksum* checksum);

  os::File file_;
  Index index_;
  archivefile::End end_;
  SharedBytes last_;                 // The index as it was read, unpacked; or null.
  SharedBytes full_;                 // The last full one; null if it has not been read.
  mutable std::vector<Line> lines_;  // Made when they are asked for, or the model is taken.
  // In the order of the frames. Both are made when the first content is looked for.
  mutable std::vector<Stored, os::AgainAllocator<Stored>> contents_;
  mutable FramePlaces places_;
  std::unique_ptr<FrameCodec> codec_;
  RecentContents recent_;
  uint64_t largestContent_ = std::numeric_limits<uint64_t>::max();
};

}  // namespace btkf
