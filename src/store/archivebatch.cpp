// store/archivebatch.cpp: the end of a batch: what failed, and what is stored.
#include "store/archivebatch.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "core/result.h"
#include "store/52arfld.h"
#include "toolkit/bracket.h"
#include "toolkit/messages.h"

namespace foldapi {

TVArchiveBatch::TVArchiveBatch(TVHandle& context)
    : context_(context), isOuter_(current_ == nullptr) {
  if (!isOuter_) return;
  TVToolkitSession::Instance().beginBatch(context);
  current_ = this;
}

TVArchiveBatch::~TVArchiveBatch() {
  if (current_ != this) return;
  current_ = nullptr;
  static_cast<void>(TVToolkitSession::Instance().endBatch(context_));
}

void TVArchiveBatch::storeLater(TVArchiveMember52* member, TVObject* folder,
                                const TVMemberNames& names, const VPathString& archive) {
  later_.emplace_back(new Later{member, TVReferenceHold(member), folder, TVReferenceHold(folder),
                                names, archive.str()});
}

int TVArchiveBatch::end(int result) {
  if (current_ != this) return result;
  current_ = nullptr;
  const auto undone = TVToolkitSession::Instance().endBatch(context_);
  for (const UndoneChange& each : undone) {
    std::erase_if(later_, [&](const auto& later) { return later->archive == each.archive; });
    const int failed = reportToolkitStatus(context_, each.status, each.archive.c_str());
    if (result == kResultDone) result = failed;
  }
  const int stored = storeAll();
  return result == kResultDone ? stored : result;
}

int TVArchiveBatch::storeAll() {
  std::stable_sort(later_.begin(), later_.end(), [](const auto& left, const auto& right) {
    return std::less<>()(left->folder, right->folder);
  });
  int result = kResultDone;
  for (auto first = later_.begin(); first != later_.end();) {
    std::vector<TVArchiveMember52::Unstored> members;
    TVObject* const folder = (*first)->folder;
    for (; first != later_.end() && (*first)->folder == folder; ++first) {
      members.push_back({(*first)->member, (*first)->names});
    }
    const int stored = TVArchiveMember52::storeIn(folder, context_, members);
    if (result == kResultDone) result = stored;
  }
  return result;
}

}  // namespace foldapi
