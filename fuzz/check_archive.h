// fuzz/check_archive.h: any bytes as an archive file: no crash, no hang, and never a wrong content.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "archivefile/checksum.h"
#include "btkf520/archive/archive.h"
#include "btkf520/archive/index.h"
#include "fuzz_support.h"

namespace fuzz {

// An unpacked index, which damage to a file does not reach past its checksum.
inline void checkIndex(std::string_view bytes) {
  auto index = btkf::decodeIndex(bytes);
  if (!index) return;
  for (btkf::Branch& branch : index->model.branches) {  // All of it is made and judged again.
    for (size_t place = 0; place < branch.revisions.size(); ++place) {
      static_cast<void>(branch.revisions[place]);
    }
  }
  require(index->model.isSound(), "what is read is sound");
  const auto again = btkf::decodeIndex(btkf::encodeIndex(*index));
  require(again && again->model == index->model, "what is read can be written");
}

inline void checkArchive(std::string_view bytes) {
  checkIndex(bytes);
  const MemoryFile file(bytes);
  std::unique_ptr<btkf::Archive> archive;
  const TrvsStatus status = btkf::Archive::openToRead(file.path(), &archive);
  require(status == TRVS_DONE || status == TRVS_NOT_AN_ARCHIVE, "an open gives 0 or 27");
  if (status != TRVS_DONE) return;
  std::vector<btkf::Content> damaged;
  const TrvsStatus verified = archive->verify(&damaged);
  require(damaged.empty() || verified == TRVS_NOT_AN_ARCHIVE, "what is damaged is not whole");
  archive->model().forEachRevision([&](const btkf::Revision& revision) {
    btkf::Bytes content;
    if (archive->read(revision.content, &content) == TRVS_DONE) {
      require(content.size() == revision.content.length &&
                  archivefile::checksumOf(content.view()) == revision.content.checksum,
              "what is delivered is what was checked in");
    } else {
      require(verified == TRVS_NOT_AN_ARCHIVE, "what is whole can be read");
    }
  });
}

}  // namespace fuzz
