// store/archivebatch.h: a broadcast as one batch of the toolkit, and one edit of each folder.
//
// What an operation does to the archives of a folder waits for the disk together (btkf520.h). So
// whether it is done shows at the end: only then the sink is told of what failed there, and new
// members get their records, all those of a folder in one edit. A broadcast within another belongs
// to the batch of the outer one.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "domain/archivemember.h"

namespace foldapi {

class TVArchiveMember52;

class TVArchiveBatch {
 public:
  // `context` must outlive it, and tells of what fails.
  explicit TVArchiveBatch(TVHandle& context);
  TVArchiveBatch(const TVArchiveBatch&) = delete;
  TVArchiveBatch& operator=(const TVArchiveBatch&) = delete;
  // Ends it without the records, if that has not been done.
  ~TVArchiveBatch();

  // The one that is open; null for none.
  static TVArchiveBatch* current() { return current_; }

  // Has the member stored in its folder under these names once its archive is there.
  void storeLater(TVArchiveMember52* member, TVObject* folder, const TVMemberNames& names,
                  const VPathString& archive);

  // Ends it. `result`, an operation result, or that of the first failure here if it is kResultDone.
  [[nodiscard]] int end(int result);

 private:
  struct Later {
    TVArchiveMember52* member;
    TVReferenceHold memberHold;
    TVObject* folder;
    TVReferenceHold folderHold;
    TVMemberNames names;
    std::string archive;
  };

  int storeAll();

  static inline TVArchiveBatch* current_ = nullptr;

  TVHandle& context_;
  bool isOuter_;
  std::vector<std::unique_ptr<Later>> later_;
};

// The result of `broadcast`, run in a batch.
template <typename Broadcast>
int inArchiveBatch(TVHandle& context, const Broadcast& broadcast) {
  TVArchiveBatch batch(context);
  return batch.end(broadcast());
}

}  // namespace foldapi
