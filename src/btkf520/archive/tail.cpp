// btkf520/archive/tail.cpp: writes the records of the information block and reads the last of them.
#include "btkf520/archive/tail.h"

#include <algorithm>

#include "btkf520/archive/bytecodec.h"

namespace btkf {
namespace {

constexpr uint8_t kTrailerTag = 4;
constexpr char kEndTag = '@';
constexpr char kIndexTag = 'Z';
constexpr size_t kIndexPayload = 16;
constexpr size_t kLongLength = 0x8000;

void putRecord(ByteWriter* to, char tag, std::string_view payload) {
  to->putFixed(static_cast<uint8_t>(tag), 1);
  if (payload.size() < kLongLength) {
    to->putFixed(payload.size(), 2);
  } else {
    to->putFixed(kLongLength | payload.size() >> 16, 2);
    to->putFixed(payload.size(), 2);
  }
  to->putRaw(payload);
}

void putNumber(ByteWriter* to, char tag, uint64_t value, int width) {
  ByteWriter payload;
  payload.putFixed(value, width);
  putRecord(to, tag, payload.bytes());
}

// A text as a name: a byte that says nothing, the text, a NUL.
void putName(ByteWriter* to, char tag, const std::string& name) {
  putRecord(to, tag, '\0' + name + '\0');
}

std::string joined(const std::vector<std::string>& names) {
  std::string result;
  for (const std::string& name : names) {
    if (!result.empty()) result += ',';
    result += name;
  }
  return result;
}

void putIndexPlace(ByteWriter* to, const IndexPlace& place) {
  ByteWriter payload;
  payload.putFixed(place.storedSize, 4);
  payload.putFixed(place.size, 4);
  payload.putFixed(place.checksum, 8);
  putRecord(to, kIndexTag, payload.bytes());
}

}  // namespace

std::string encodeTail(const ArchiveModel& model, const IndexPlace& place) {
  ByteWriter to;
  putName(&to, 'H', model.workName);
  putNumber(&to, 'X', model.creationTime, 4);
  putNumber(&to, 'P', model.attributes, 2);
  putNumber(&to, 'J', std::min<size_t>(model.revisionCount(), 0xFFFF), 2);
  model.forEachRevision([&](const Revision& revision) {
    for (const Lock& lock : revision.locks) putName(&to, 'R', lock.user);
  });
  if (!model.accessList.empty()) putName(&to, 'V', joined(model.accessList));
  putRecord(&to, 'I', model.description);
  putIndexPlace(&to, place);
  to.putFixed(static_cast<uint8_t>(kEndTag), 1);

  const auto distance = static_cast<uint32_t>(to.bytes().size());
  to.putFixed(kTrailerTag, 1);
  to.putFixed(0 - (distance + kTrailerSize), 4);
  to.putFixed(0 - distance, 4);
  return to.take();
}

std::optional<uint32_t> tailSize(std::string_view trailer) {
  ByteReader from(trailer);
  const auto tag = static_cast<uint8_t>(from.fixed(1));
  const auto first = static_cast<uint32_t>(from.fixed(4));
  const auto second = static_cast<uint32_t>(from.fixed(4));
  if (!from.isGood() || tag != kTrailerTag || second - first != kTrailerSize) return {};
  if (static_cast<int32_t>(first) >= 0 || static_cast<int32_t>(second) > 0) return {};
  return 0 - first;
}

std::optional<IndexPlace> findIndex(std::string_view end) {
  ByteReader from(end);
  const bool isRecord = from.fixed(1) == kIndexTag && from.fixed(2) == kIndexPayload;
  IndexPlace place;
  place.storedSize = static_cast<uint32_t>(from.fixed(4));
  place.size = static_cast<uint32_t>(from.fixed(4));
  place.checksum = from.fixed(8);
  const bool isLast = from.fixed(1) == kEndTag;
  if (!isRecord || !isLast || from.left() != kTrailerSize) return {};
  return place;
}

}  // namespace btkf
