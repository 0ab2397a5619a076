// btkf520/interface/exports_archives.cpp: the C functions on archives: arguments in, statuses and
// buffers out.
//
// What the functions promise is told in btkf520.h; each operation stands in operations/.
#include <algorithm>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/interface/boundary.h"
#include "btkf520/operations/checkin.h"
#include "btkf520/operations/checkout.h"
#include "btkf520/operations/contents.h"
#include "btkf520/operations/edit.h"
#include "btkf520/operations/labels.h"
#include "btkf520/operations/locks.h"
#include "btkf520/operations/names.h"
#include "btkf520/operations/promote.h"
#include "btkf520/operations/revtree.h"
#include "os/file.h"

namespace {

using btkf::boundary::guarded;
using btkf::boundary::handOut;
using btkf::boundary::isContext;
using btkf::boundary::listText;

using Names = std::vector<std::string>;

// Hands out the names that `operation` finds.
template <typename Operation>
int32_t listed(int32_t context, char* buffer, int32_t size, const Operation& operation) noexcept {
  return guarded([&] {
    if (!isContext(context) || buffer == nullptr) return TRVS_MISUSE;
    Names names;
    if (const TrvsStatus status = operation(&names)) return status;
    return handOut(listText(names), buffer, size);
  });
}

// Hands out the text that `operation` finds.
template <typename Operation>
int32_t told(int32_t context, char* buffer, int32_t size, const Operation& operation) noexcept {
  return guarded([&] {
    if (!isContext(context) || buffer == nullptr) return TRVS_MISUSE;
    std::string text;
    if (const TrvsStatus status = operation(&text)) return status;
    return handOut(text, buffer, size);
  });
}

// Pointers to texts that follow them in the buffer.
TrvsStatus handOutPointers(const Names& names, size_t count, char* buffer, int32_t size) {
  size_t needed = count * sizeof(char*);
  for (size_t i = 0; i < count; ++i) needed += names[i].size() + 1;
  if (size < 0 || needed > static_cast<size_t>(size)) return TRVS_BUFFER_TOO_SMALL;
  char* text = buffer + count * sizeof(char*);
  for (size_t i = 0; i < count; ++i) {
    std::memcpy(buffer + i * sizeof(char*), &text, sizeof text);
    btkf::boundary::fill(text, names[i]);
    text += names[i].size() + 1;
  }
  return TRVS_DONE;
}

btkf::Moving movingOf(uint32_t flags) {
  if ((flags & TRVS_LABEL_MOVE) != 0) return btkf::Moving::kAlways;
  return (flags & TRVS_LABEL_ASK) != 0 ? btkf::Moving::kAsk : btkf::Moving::kNever;
}

bool isTreeCall(int32_t fetch) { return fetch == TRVS_TREE_FETCH || fetch == TRVS_TREE_RETURN; }

}  // namespace

int32_t TrvsComputeArchiveName(const char* workfile, char* buffer, int32_t size) {
  return guarded([&] {
    if (workfile == nullptr || buffer == nullptr) return TRVS_MISUSE;
    if (btkf::fileName(workfile).empty()) return TRVS_BAD_NAME;
    return handOut(btkf::archivePathText(workfile), buffer, size);
  });
}

int32_t TrvsCreateArchive(const char* archive, const char* workfile, const char* description,
                          const char* owner, uint32_t time, int32_t reserved) {
  return guarded([&] {
    if (reserved != 0) return TRVS_MISUSE;
    return btkf::createArchive({archive, workfile, description, owner, time});
  });
}

int32_t TrvsCreateWithRevision(int32_t context, const char* archive, const char* workfile,
                               const char* owner, const char* revision, const char* label,
                               const char* description, const char* change, const char* group,
                               const char* author, uint32_t time, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context)) return TRVS_MISUSE;
    return btkf::createWithRevision(
        {archive, workfile, description, owner, time},
        {archive, revision, label, nullptr, change, group, author, time, flags});
  });
}

int32_t TrvsPutRevision(int32_t context, int32_t reserved1, const char* archive, int32_t reserved2,
                        const char* revision, const char* label, const char* description,
                        const char* change, const char* group, const char* author, uint32_t time,
                        uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || reserved1 != 0 || reserved2 != 0) return TRVS_MISUSE;
    return btkf::checkIn(
        {archive, revision, label, description, change, group, author, time, flags});
  });
}

int32_t TrvsGetRevision(int32_t context, const char* archive, int32_t reserved1,
                        const char* revision, const char* cutoffDate, const char* newerThan,
                        int32_t reserved2, const char* group, int32_t reserved3, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || reserved1 != 0 || reserved2 != 0 || reserved3 != 0) {
      return TRVS_MISUSE;
    }
    return btkf::checkOut({archive, revision, cutoffDate, newerThan, group, flags});
  });
}

int32_t TrvsGetLockInfo(int32_t context, const char* archive, int32_t reserved, const char* user,
                        int16_t* count, char* buffer, int32_t size) {
  return guarded([&] {
    if (!isContext(context) || reserved != 0 || count == nullptr || *count < 1 ||
        buffer == nullptr) {
      return TRVS_MISUSE;
    }
    Names numbers;
    if (const TrvsStatus status = btkf::listLocks(archive, user, &numbers)) return status;
    const size_t most = std::min(numbers.size(), static_cast<size_t>(*count));
    const TrvsStatus status = handOutPointers(numbers, most, buffer, size);
    if (status == TRVS_DONE) *count = static_cast<int16_t>(most);
    return status;
  });
}

int32_t TrvsUnLockRevision(int32_t context, const char* archive, const char* revision,
                           const char* user) {
  return guarded(
      [&] { return isContext(context) ? btkf::unlock(archive, revision, user) : TRVS_MISUSE; });
}

int32_t TrvsRevTreeInfo(int32_t context, const char* archive, TrvsRevTree** tree, int32_t fetch) {
  return guarded([&] {
    if (!isContext(context) || tree == nullptr || !isTreeCall(fetch)) return TRVS_MISUSE;
    if (fetch == TRVS_TREE_FETCH) return btkf::fetchRevTree(archive, tree);
    btkf::freeRevTree(*tree);
    *tree = nullptr;
    return TRVS_DONE;
  });
}

int32_t TrvsLockRevision(int32_t context, const char* archive, const char* revision,
                         const char* group) {
  return guarded([&] {
    return isContext(context) ? btkf::lock(archive, revision, group, nullptr) : TRVS_MISUSE;
  });
}

int32_t TrvsLockWithNote(int32_t context, const char* archive, const char* revision,
                         const char* group, const char* note) {
  return guarded([&] {
    return isContext(context) ? btkf::lock(archive, revision, group, note) : TRVS_MISUSE;
  });
}

int32_t TrvsGetWithNote(int32_t context, const char* archive, const char* revision,
                        const char* group, const char* note, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context)) return TRVS_MISUSE;
    return btkf::checkOut(
        {archive, revision, nullptr, nullptr, group, flags | TRVS_GET_LOCK, note});
  });
}

int32_t TrvsListLocks(int32_t context, const char* archive, char* buffer, int32_t size) {
  return listed(context, buffer, size,
                [&](Names* texts) { return btkf::listAllLocks(archive, texts); });
}

int32_t TrvsSetLabel(int32_t context, const char* archive, const char* label, const char* revision,
                     uint32_t flags) {
  return guarded([&] {
    constexpr uint32_t kMoving = TRVS_LABEL_MOVE | TRVS_LABEL_ASK;
    if (!isContext(context) || (flags & ~(kMoving | TRVS_LABEL_FLOATS)) != 0 ||
        (flags & kMoving) == kMoving) {
      return TRVS_MISUSE;
    }
    const bool floats = (flags & TRVS_LABEL_FLOATS) != 0;
    return btkf::label(archive, label, revision, floats, movingOf(flags));
  });
}

int32_t TrvsDeleteLabel(int32_t context, const char* archive, const char* label) {
  return guarded(
      [&] { return isContext(context) ? btkf::deleteLabel(archive, label) : TRVS_MISUSE; });
}

int32_t TrvsListLabels(int32_t context, const char* archive, char* buffer, int32_t size) {
  return listed(context, buffer, size,
                [&](Names* names) { return btkf::listLabels(archive, names); });
}

int32_t TrvsPromoteRevision(int32_t context, const char* archive, const char* group,
                            uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || (flags & ~uint32_t{TRVS_PROMOTE_ACROSS}) != 0) return TRVS_MISUSE;
    return btkf::promote(archive, group, (flags & TRVS_PROMOTE_ACROSS) != 0);
  });
}

int32_t TrvsLeaveGroup(int32_t context, const char* archive, const char* group) {
  return guarded(
      [&] { return isContext(context) ? btkf::leaveGroup(archive, group) : TRVS_MISUSE; });
}

int32_t TrvsSetDescription(int32_t context, const char* archive, const char* revision,
                           const char* text) {
  return guarded([&] {
    return isContext(context) ? btkf::setDescription(archive, revision, text) : TRVS_MISUSE;
  });
}

int32_t TrvsGetDescription(int32_t context, const char* archive, const char* revision, char* buffer,
                           int32_t size) {
  return told(context, buffer, size,
              [&](std::string* text) { return btkf::getDescription(archive, revision, text); });
}

int32_t TrvsGetOwner(int32_t context, const char* archive, char* buffer, int32_t size) {
  return told(context, buffer, size,
              [&](std::string* user) { return btkf::getOwner(archive, user); });
}

int32_t TrvsSetAttributes(int32_t context, const char* archive, uint32_t set, uint32_t clear) {
  return guarded(
      [&] { return isContext(context) ? btkf::setAttributes(archive, set, clear) : TRVS_MISUSE; });
}

int32_t TrvsGetAttributes(int32_t context, const char* archive, uint32_t* attributes) {
  return guarded([&] {
    if (!isContext(context) || attributes == nullptr) return TRVS_MISUSE;
    return btkf::getAttributes(archive, attributes);
  });
}

int32_t TrvsAddAccess(int32_t context, const char* archive, const char* user) {
  return guarded([&] { return isContext(context) ? btkf::addAccess(archive, user) : TRVS_MISUSE; });
}

int32_t TrvsRemoveAccess(int32_t context, const char* archive, const char* user) {
  return guarded(
      [&] { return isContext(context) ? btkf::removeAccess(archive, user) : TRVS_MISUSE; });
}

int32_t TrvsListAccess(int32_t context, const char* archive, char* buffer, int32_t size) {
  return listed(context, buffer, size,
                [&](Names* names) { return btkf::listAccess(archive, names); });
}

int32_t TrvsDeleteRevisions(int32_t context, const char* archive, const char* range) {
  return guarded(
      [&] { return isContext(context) ? btkf::deleteRevisions(archive, range) : TRVS_MISUSE; });
}

int32_t TrvsListRevisions(int32_t context, const char* archive, const char* range, char* buffer,
                          int32_t size) {
  return listed(context, buffer, size,
                [&](Names* names) { return btkf::listRevisions(archive, range, names); });
}

int32_t TrvsListContents(int32_t context, const char* archive, const char* range, char* buffer,
                         int32_t size) {
  return listed(context, buffer, size,
                [&](Names* texts) { return btkf::listContents(archive, range, texts); });
}

int32_t TrvsFindContent(int32_t context, const char* archive, char* buffer, int32_t size) {
  return told(context, buffer, size,
              [&](std::string* number) { return btkf::findContent(archive, number); });
}

int32_t TrvsReadRevision(int32_t context, const char* archive, const char* revision,
                         int32_t descriptor, TrvsContentCallback callback, void* client,
                         uint32_t flags) {
  return guarded([&] {
    const bool isOne = (descriptor >= 0) != (callback != nullptr);
    if (!isContext(context) || !isOne || (flags & ~uint32_t{TRVS_READ_EXPANDED}) != 0) {
      return TRVS_MISUSE;
    }
    bool isCancelled = false;
    const TrvsStatus status = btkf::readRevision(
        archive, revision,
        (flags & TRVS_READ_EXPANDED) != 0 ? btkf::Keywords::kExpanded : btkf::Keywords::kAsStored,
        [&](std::string_view bytes) {
          if (callback == nullptr) {
            return os::writeToDescriptor(descriptor, bytes) == os::FileResult::kDone;
          }
          isCancelled = callback(client, bytes.data(), bytes.size()) != TRVS_GO_ON;
          return !isCancelled;
        });
    return isCancelled ? TRVS_CANCELLED : status;
  });
}

int32_t TrvsVerifyArchive(int32_t context, const char* archive, char* buffer, int32_t size) {
  return guarded([&] {
    if (!isContext(context)) return TRVS_MISUSE;
    Names damaged;
    const TrvsStatus status = btkf::verify(archive, &damaged);
    if (buffer == nullptr || (status != TRVS_DONE && status != TRVS_NOT_AN_ARCHIVE)) {
      return status;
    }
    const TrvsStatus handed = handOut(listText(damaged), buffer, size);
    return handed == TRVS_DONE ? status : handed;
  });
}
