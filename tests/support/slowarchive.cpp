// support/slowarchive.cpp: docs/archive-format.md, step by step.
#include "support/slowarchive.h"

#include <zstd.h>

#include <set>
#include <stdexcept>
#include <utility>

namespace support {
namespace {

// Values from the start of a text on.
class Values {
 public:
  explicit Values(std::string bytes) : bytes_(std::move(bytes)) {}

  bool isAtEnd() const { return at_ == bytes_.size(); }
  std::string raw(uint64_t claimed) {
    if (claimed > bytes_.size() - at_) throw std::runtime_error("archive: a value is cut off");
    const auto size = static_cast<size_t>(claimed);
    at_ += size;
    return bytes_.substr(at_ - size, size);
  }
  uint64_t fixed(int size) {
    uint64_t value = 0;
    for (const char byte : raw(static_cast<uint64_t>(size))) value = value * 256 + (byte & 255);
    return value;
  }
  uint64_t number() {
    const uint64_t byte = fixed(1);
    return byte < 128 ? byte : byte - 128 + 128 * number();
  }
  std::string text() { return raw(number()); }
  std::string revisionNumber() {
    std::string result;
    for (uint64_t left = number(); left > 0; --left) {
      result += (result.empty() ? "" : ".") + std::to_string(number());
    }
    return result;
  }

 private:
  std::string bytes_;
  size_t at_ = 0;
};

std::string unpacked(const std::string& frame, const std::string& prefix) {
  if (frame.empty()) return "";
  const auto length = ZSTD_getFrameContentSize(frame.data(), frame.size());
  std::string result(static_cast<size_t>(length), '\0');
  ZSTD_DCtx* context = ZSTD_createDCtx();
  ZSTD_DCtx_refPrefix(context, prefix.data(), prefix.size());
  const size_t size =
      ZSTD_decompressDCtx(context, result.data(), result.size(), frame.data(), frame.size());
  ZSTD_freeDCtx(context);
  if (size != result.size()) throw std::runtime_error("archive: a frame is damaged");
  return result;
}

}  // namespace

SlowArchive::SlowArchive(const std::string& file) {
  const std::string header =
      "\x89"
      "BTKF\r\n\x1a";
  if (file.substr(0, header.size()) != header) throw std::runtime_error("archive: no header");
  Values trailer(file.substr(file.size() - 9));
  const uint64_t tag = trailer.fixed(1);
  const auto whole = static_cast<size_t>((1ull << 32) - trailer.fixed(4));
  informationSize = static_cast<size_t>((1ull << 32) - trailer.fixed(4));
  if (tag != 4 || whole != informationSize + 9) throw std::runtime_error("archive: no trailer");
  readBlock(file.substr(file.size() - whole, informationSize));

  Values end(records.at('Z'));
  partSize = end.fixed(8);
  part = end.fixed(4);
  const auto indexSize = static_cast<size_t>(end.fixed(4));
  const uint64_t size = end.fixed(4);
  end.fixed(8);
  const auto fullBegin = static_cast<size_t>(end.fixed(8));
  const auto fullSize = static_cast<size_t>(end.fixed(4));
  const std::string full = fullBegin == 0 ? "" : unpacked(file.substr(fullBegin, fullSize), "");
  const std::string index = unpacked(file.substr(file.size() - whole - indexSize, indexSize), full);
  if (index.size() != size) throw std::runtime_error("archive: size of the index");
  readIndex(index, file);
}

void SlowArchive::readBlock(const std::string& block) {
  Values values(block);
  for (char tag; (tag = values.raw(1)[0]) != '@';) {
    uint64_t length = values.fixed(2);
    if (length >= 32768) length = (length - 32768) * 65536 + values.fixed(2);
    records[tag] += values.raw(length);
  }
  if (!values.isAtEnd()) throw std::runtime_error("archive: bytes after the block");
}

void SlowArchive::readIndex(const std::string& index, const std::string& file) {
  Values values(index);
  if (values.number() != 2) throw std::runtime_error("archive: version");
  const auto note = [this](const std::string& text) {
    told += text + "|";
    return text;
  };
  const auto noteNumber = [&](uint64_t value) { note(std::to_string(value)); };
  const auto noteTexts = [&] {
    for (uint64_t left = values.number(); left > 0; --left) note(values.text());
  };
  for (int left = 3; left > 0; --left) note(values.text());
  noteNumber(values.fixed(4));
  noteNumber(values.number());
  noteTexts();
  for (uint64_t branchesLeft = values.number(); branchesLeft > 0; --branchesLeft) {
    note("branch " + values.revisionNumber());
    for (uint64_t left = values.number(); left > 0; --left) {
      SlowRevision& revision = revisions[note(values.revisionNumber())];
      noteNumber(values.fixed(4));
      noteNumber(values.fixed(4));
      note(values.text());
      revision.changeDescription = note(values.text());
      for (uint64_t locks = values.number(); locks > 0; --locks) {
        note(values.text());
        noteNumber(values.fixed(4));
        note(values.text());
      }
      noteTexts();
      revision.content = values.number();
      revision.length = values.number();
      values.fixed(8);
    }
  }
  for (uint64_t left = values.number(); left > 0; --left) {
    note("label " + values.text());
    note(values.revisionNumber());
  }
  values.number();
  Values packed(file);
  for (uint64_t left = values.number(); left > 0; --left) {
    SlowFrame& frame = frames[values.number()];
    frame.position = values.number();
    for (int parents = 2; parents > 0; --parents) {
      if (const uint64_t parent = values.number()) frame.parents.push_back(parent);
    }
    packed.raw(values.number());
    frame.bytes = packed.raw(values.number());
    values.fixed(4);
  }
  if (!values.isAtEnd()) throw std::runtime_error("archive: bytes left over");
}

std::string SlowArchive::content(uint64_t id) const {
  const SlowFrame& frame = frames.at(id);
  std::string prefix;
  for (const uint64_t parent : frame.parents) prefix += content(parent);
  return unpacked(frame.bytes, prefix);
}

size_t SlowArchive::frameCount(uint64_t id) const {
  std::set<uint64_t> needed{id};
  for (bool grew = true; grew;) {
    const size_t before = needed.size();
    for (const uint64_t one : std::set<uint64_t>(needed)) {
      needed.insert(frames.at(one).parents.begin(), frames.at(one).parents.end());
    }
    grew = needed.size() != before;
  }
  return needed.size();
}

}  // namespace support
