// btkf520/archive/tail.cpp: writes the records of the information block.
#include "btkf520/archive/tail.h"

#include <algorithm>

#include "archivefile/bytecodec.h"

namespace btkf {
namespace {

using archivefile::ByteWriter;

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

void putNumber(ByteWriter* to, char tag, uint64_t value, size_t width) {
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

}  // namespace

std::string encodeRecords(const ArchiveModel& model) {
  ByteWriter to;
  putName(&to, 'H', model.workName);
  putNumber(&to, 'X', model.creationTime, 4);
  putNumber(&to, 'P', model.attributes, 2);
  putNumber(&to, 'J', std::min<size_t>(model.revisionCount(), 0xFFFF), 2);
  model.forEachMarked([&](const Revision& revision) {
    for (const Lock& lock : revision.locks) putName(&to, 'R', lock.user);
  });
  if (!model.accessList.empty()) putName(&to, 'V', joined(model.accessList));
  putRecord(&to, 'I', model.description);
  return to.take();
}

}  // namespace btkf
