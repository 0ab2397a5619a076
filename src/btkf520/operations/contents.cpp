// btkf520/operations/contents.cpp: contents listed, found again, and read.
#include "btkf520/operations/contents.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <tuple>

#include "btkf520/operations/comparedfile.h"
#include "btkf520/operations/keywords.h"
#include "btkf520/operations/revisions.h"
#include "btkf520/operations/task.h"
#include "btkf520/operations/workfile.h"
#include "dates/packedtime.h"

namespace btkf {
namespace {

std::string hexadecimal(uint64_t value) {
  std::array<char, 17> digits;
  std::snprintf(digits.data(), digits.size(), "%016" PRIx64, value);
  return digits.data();
}

// By the time of their check-in, and those of one time by number.
std::vector<const Revision*> newestFirst(const ArchiveModel& model) {
  std::vector<const Revision*> revisions;
  model.forEachRevision([&](const Revision& revision) { revisions.push_back(&revision); });
  const auto key = [](const Revision* each) { return std::tie(each->checkInTime, each->number); };
  std::sort(revisions.begin(), revisions.end(),
            [&](const Revision* a, const Revision* b) { return key(a) > key(b); });
  return revisions;
}

// Whether a check-out of the revision would give these bytes, where that isn't what is stored. A
// revision that can't be rebuilt would give nothing.
TrvsStatus compareExpanded(const Task& task, const Revision& revision, const ComparedFile& file,
                           bool* isEqual) {
  Bytes stored;
  const TrvsStatus status = task.archive().read(revision.content, &stored);
  if (status == TRVS_NOT_AN_ARCHIVE) return TRVS_DONE;
  if (status != TRVS_DONE) return status;
  const auto text = expanded(task.model, revision, task.archiveText(), stored.view());
  *isEqual = text && file.equals(text->view());
  return TRVS_DONE;
}

}  // namespace

TrvsStatus listContents(const char* archive, const char* range, std::vector<std::string>* texts) {
  Task task;
  if (const TrvsStatus status = task.openToTell(archive)) return status;
  RevisionRange parsed;
  if (const TrvsStatus status = RevisionRange::parse(task.model, range, &parsed)) return status;
  task.model.forEachRevision([&](const Revision& revision) {
    if (!parsed.contains(revision)) return;
    for (const std::string& text : {revision.number.text(), std::to_string(revision.content.length),
                                    hexadecimal(revision.content.checksum),
                                    dates::isoText(revision.workfileTime), revision.author}) {
      texts->push_back(text);
    }
  });
  return TRVS_DONE;
}

TrvsStatus findContent(const char* target, std::string* number) {
  Task task;
  if (const TrvsStatus status = task.openContents(target)) return status;
  std::string path;
  if (const TrvsStatus status = task.findWorkfile(&path)) return status;
  ComparedFile file;
  if (const TrvsStatus status = file.open(path)) return status;
  if (task.model.revisionCount() == 0) return TRVS_NO_REVISIONS;
  // To expand keywords each content has to be rebuilt: only for a file that has some.
  Bytes bytes;
  bool isExpanded = expandsKeywords(task.model);
  if (isExpanded) {
    if (const TrvsStatus status = readBytes(path, &bytes)) return status;
    isExpanded = hasExpandedKeywords(bytes.view());
  }
  for (const Revision* revision : newestFirst(task.model)) {
    bool isEqual = false;
    TrvsStatus status = file.compare(task.archive(), revision->content, &isEqual);
    if (status == TRVS_DONE && !isEqual && isExpanded) {
      status = compareExpanded(task, *revision, file, &isEqual);
    }
    if (status != TRVS_DONE) return status;
    if (!isEqual) continue;
    *number = revision->number.text();
    return TRVS_DONE;
  }
  return TRVS_NO_REVISION;
}

TrvsStatus readRevision(const char* archive, const char* revision, Keywords keywords,
                        const BytesSink& sink) {
  Task task;
  if (const TrvsStatus status = task.openContents(archive)) return status;
  const Revision* found = nullptr;
  if (const TrvsStatus status = findRevision(task.model, revision, &found)) return status;
  if (const TrvsStatus status = task.archive().checkSize(found->content)) return status;
  if (keywords == Keywords::kExpanded && expandsKeywords(task.model)) {
    Bytes stored;
    if (const TrvsStatus status = task.archive().read(found->content, &stored)) return status;
    const auto text = expanded(task.model, *found, task.archiveText(), stored.view());
    return sink(text ? text->view() : stored.view()) ? TRVS_DONE : TRVS_CANNOT_WRITE;
  }
  bool hasBegun = false;
  const auto noted = [&](std::string_view bytes) {
    hasBegun = true;
    return sink(bytes);
  };
  // Again if another machine has replaced the archive meanwhile, and nobody has seen anything.
  TrvsStatus status = TRVS_CANNOT_OPEN;
  for (int tries = 0; tries < Archive::kReadTries; ++tries) {
    status = task.archive().read(found->content, noted);
    if (status != TRVS_CANNOT_OPEN || hasBegun) break;
  }
  return status;
}

}  // namespace btkf
