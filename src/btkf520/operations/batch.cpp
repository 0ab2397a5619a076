// btkf520/operations/batch.cpp: how a part of a batch ends.
#include "btkf520/operations/batch.h"

#include <utility>

#include "btkf520/operations/attempt.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/operations/workfile.h"
#include "os/directory.h"
#include "os/syncs.h"

namespace btkf {
namespace {

constexpr size_t kMostChanges = 1024;

using Part = std::vector<WrittenChange>;
using Rest = ArchiveChange::Rest;

template <typename Fill>
TrvsStatus syncAll(const Fill& fill) noexcept {
  TrvsStatus status = TRVS_NO_MEMORY;
  attempt([&] {
    os::Syncs syncs;
    fill(&syncs);
    status = syncs.run() ? TRVS_DONE : TRVS_CANNOT_WRITE;
  });
  return status;
}

void fail(WrittenChange* written, TrvsStatus status) {
  written->change->giveUp();
  written->outcome = {status, false};
}

void syncWritten(Part* part) {
  const TrvsStatus status = syncAll([part](os::Syncs* syncs) {
    for (const WrittenChange& each : *part) {
      const ArchiveChange& change = *each.change;
      change.isAppended() ? syncs->addContent(change.file()) : syncs->addFile(change.file());
    }
  });
  for (WrittenChange& each : *part) {
    if (status != TRVS_DONE) fail(&each, status);
  }
}

void conclude(Part* part) {
  for (WrittenChange& each : *part) {
    if (!each.outcome.isKept) continue;
    TrvsStatus status = TRVS_NO_MEMORY;
    attempt([&] { status = each.change->conclude(); });
    if (status != TRVS_DONE) fail(&each, status);
  }
}

void syncRest(Part* part) {
  const TrvsStatus status = syncAll([part](os::Syncs* syncs) {
    for (const WrittenChange& each : *part) {
      if (!each.outcome.isKept) continue;
      const ArchiveChange& change = *each.change;
      if (change.rest() == Rest::kFile) syncs->addContent(change.file());
      if (change.rest() == Rest::kName) syncs->addName(change.file());
    }
  });
  for (WrittenChange& each : *part) {
    if (status == TRVS_DONE || !each.outcome.isKept) continue;
    if (each.change->rest() == Rest::kFile) fail(&each, status);
    if (each.change->rest() == Rest::kName) each.change->doubtName();
  }
}

}  // namespace

void WrittenChange::settle() noexcept {
  if (outcome.isKept && sequel) attempt([this] { outcome = sequel(*change); });
  sequel = nullptr;
  change.reset();
}

void WrittenChange::tell() const noexcept {
  if (outcome.isKept) news.tell();
}

TrvsStatus Batch::begin() {
  if (isOpen_) return TRVS_MISUSE;
  firstFailure_ = TRVS_DONE;
  isOpen_ = true;
  return TRVS_DONE;
}

TrvsStatus Batch::end() noexcept {
  if (!isOpen_) return TRVS_MISUSE;
  endPart();
  isOpen_ = false;
  return firstFailure_;
}

Batch::Room Batch::reserve(const std::string& path) {
  waiting_.reserve(kMostChanges);
  std::set<std::string> one{path};
  return one.extract(one.begin());
}

void Batch::add(WrittenChange written, Room room) noexcept {
  waiting_.push_back(std::move(written));
  paths_.insert(std::move(room));
  const bool isFull =
      waiting_.size() == kMostChanges || waiting_.back().change->file().isAmongLast();
  if (isFull) endPart();
}

bool Batch::hasWaitingAt(const std::string& path) const {
  return !waiting_.empty() && paths_.contains(path);
}

bool Batch::hasWaiting(const std::string& path) {
  if (waiting_.empty()) return false;
  for (; keyed_ < waiting_.size(); ++keyed_) keys_.insert(keyOf(waiting_[keyed_].change->path()));
  return keys_.contains(keyOf(path));
}

// What callbacks and triggers do meanwhile finds no part any more.
bool Batch::endPart() noexcept {
  if (waiting_.empty()) return false;
  Part part = std::exchange(waiting_, {});
  paths_.clear();
  keys_.clear();
  keyed_ = 0;
  syncWritten(&part);
  conclude(&part);
  syncRest(&part);
  for (WrittenChange& each : part) each.settle();
  for (const WrittenChange& each : part) {
    each.tell();
    const TrvsStatus status = each.outcome.status;
    if (status == TRVS_DONE) continue;
    if (firstFailure_ == TRVS_DONE) firstFailure_ = status;
    attempt(
        [&] { client().undone(each.news.names.archive, each.news.events.front().name, status); });
  }
  return true;
}

Batch::Key Batch::keyOf(const std::string& path) {
  if (const auto file = statusAt(path)) return {file->identity.device, file->identity.inode, ""};
  const auto directory = statusAt(os::parentOf(path));
  if (!directory) return {0, 0, path};
  return {directory->identity.device, directory->identity.inode, path.substr(path.rfind('/') + 1)};
}

}  // namespace btkf
