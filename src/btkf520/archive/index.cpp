// btkf520/archive/index.cpp: the layout of the index, writer and reader side by side, and the
// checks on what was read.
#include "btkf520/archive/index.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archivefile/bytecodec.h"
#include "btkf520/archive/indexvalues.h"

namespace btkf {
namespace {

using archivefile::ByteReader;
using archivefile::ByteWriter;

constexpr uint64_t kVersion = 2;
// No frame takes fewer bytes.
constexpr size_t kLeastFrame = 10;
constexpr size_t kMostThings = 1 << 16;  // In any index, and kThingsPerByte more.

void putModel(ByteWriter* to, const ArchiveModel& model) {
  to->put(model.workName);
  to->put(model.owner);
  to->put(model.description);
  to->putFixed(model.creationTime, 4);
  to->put(model.attributes);
  putTexts(to, model.accessList);
  to->put(model.branches.size());
  for (const Branch& branch : model.branches) {
    putNumber(to, branch.number);
    branch.revisions.write(to);
  }
  to->put(model.labels.size());
  for (const Label& label : model.labels) {
    to->put(label.name);
    putNumber(to, label.target);
  }
}

ArchiveModel getModel(ByteReader* from, const SharedBytes& bytes) {
  ArchiveModel model;
  model.workName = from->text();
  model.owner = from->text();
  model.description = from->text();
  model.creationTime = static_cast<PackedTime>(from->fixed(4));
  model.attributes = from->number32();
  getTexts(from, &model.accessList);
  model.branches.clear();
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    Branch& branch = model.branches.emplace_back();
    branch.number = getNumber(from);
    branch.revisions.read(from, branch.number, bytes);
  }
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    std::string name = from->text();
    model.labels.push_back({std::move(name), getNumber(from)});
  }
  return model;
}

// `end` is where the frame before ended.
void putFrame(ByteWriter* to, const Frame& frame, uint64_t end) {
  to->put(frame.content);
  to->put(frame.position);
  to->put(frame.olderParent);
  to->put(frame.newerParent);
  to->put(frame.offset - end);
  to->put(frame.size);
  to->putFixed(frame.checksum, 4);
}

Frame getFrame(ByteReader* from, uint64_t end) {
  Frame frame;
  frame.content = from->number32();
  frame.position = from->number32(INT32_MAX);
  frame.olderParent = from->number32();
  frame.newerParent = from->number32();
  frame.offset = end + from->number(INT64_MAX - end);
  frame.size = from->number(INT64_MAX - frame.offset);
  frame.checksum = static_cast<uint32_t>(from->fixed(4));
  return frame;
}

// Whether every content has one frame and every frame a content.
bool framesMatch(const Index& index, const FramePlaces& places) {
  if (!places.areDistinct()) return false;
  if (index.model.revisionCount() != index.frames.size()) return false;
  for (const Branch& branch : index.model.branches) {
    for (size_t place = 0; place < branch.revisions.size(); ++place) {
      const uint32_t id = branch.revisions.content(place).id;
      if (id > index.lastContent || !places.find(id)) return false;
    }
  }
  return true;
}

// The places of a frame's parents, or kNowhere for none.
using ParentPlaces = std::array<Place, 2>;
constexpr Place kNowhere = UINT32_MAX;

// One for each frame. Nothing if a parent is missing.
std::optional<std::vector<ParentPlaces>> placesOfParents(const Frames& frames,
                                                         const FramePlaces& places) {
  std::vector<ParentPlaces> result;
  result.reserve(frames.size());
  for (const Frame& frame : frames) {
    ParentPlaces& parents = result.emplace_back(ParentPlaces{kNowhere, kNowhere});
    for (size_t i = 0; i < parents.size(); ++i) {
      const uint32_t id = frame.parents()[i];
      if (id == 0) continue;
      const std::optional<Place> place = places.find(id);
      if (!place) return {};
      parents[i] = *place;
    }
  }
  return result;
}

// Whether all parents exist and nothing forms a circle. Frames that no other needs are set aside,
// then those that only such ones need, and so on. What is left forms a circle.
bool parentsAreSound(const Frames& frames, const FramePlaces& places) {
  const auto parents = placesOfParents(frames, places);
  if (!parents) return false;
  std::vector<uint32_t> needs(frames.size());  // How many need each frame, but for those set aside.
  for (const ParentPlaces& both : *parents) {
    for (const Place parent : both) {
      if (parent != kNowhere) ++needs[parent];
    }
  }
  std::vector<Place> aside;
  aside.reserve(frames.size());
  for (Place place = 0; place < frames.size(); ++place) {
    if (needs[place] == 0) aside.push_back(place);
  }
  for (size_t i = 0; i < aside.size(); ++i) {  // It grows on the way.
    for (const Place parent : (*parents)[aside[i]]) {
      if (parent != kNowhere && --needs[parent] == 0) aside.push_back(parent);
    }
  }
  return aside.size() == frames.size();
}

// About as many bytes as an index takes, rather a few too many.
size_t usualSize(const Index& index) {
  size_t size = 256 + index.model.description.size() + 16 * index.frames.size();
  for (const Branch& branch : index.model.branches) size += branch.revisions.usualSize();
  for (const Label& label : index.model.labels) size += 8 + label.name.size();
  return size;
}

}  // namespace

FramePlaces::FramePlaces(const Frames& frames) {
  uint32_t largest = 0;
  for (const Frame& frame : frames) largest = std::max(largest, frame.content);
  const bool areDense = largest / 8 <= frames.size();
  if (areDense) places_.assign(size_t{largest} + 1, kNowhere);
  for (Place place = 0; place < frames.size(); ++place) {
    if (!areDense) {
      pairs_.emplace_back(frames[place].content, place);
    } else if (std::exchange(places_[frames[place].content], place) != kNowhere) {
      areDistinct_ = false;
    }
  }
  std::sort(pairs_.begin(), pairs_.end());
  const auto isSameContent = [](const auto& a, const auto& b) { return a.first == b.first; };
  if (std::adjacent_find(pairs_.begin(), pairs_.end(), isSameContent) != pairs_.end()) {
    areDistinct_ = false;
  }
}

std::optional<Place> FramePlaces::find(uint32_t content) const {
  if (content < places_.size()) {
    const Place place = places_[content];
    return place == kNowhere ? std::nullopt : std::optional(place);
  }
  const auto found = std::lower_bound(pairs_.begin(), pairs_.end(), std::pair(content, Place{0}));
  if (found == pairs_.end() || found->first != content) return {};
  return found->second;
}

std::string encodeIndex(const Index& index) {
  ByteWriter to(usualSize(index));
  to.put(kVersion);
  putModel(&to, index.model);
  to.put(index.lastContent);
  to.put(index.frames.size());
  uint64_t end = 0;
  for (const Frame& frame : index.frames) {
    putFrame(&to, frame, end);
    end = frame.end();
  }
  return to.take();
}

std::optional<Index> decodeIndex(std::string_view bytes, size_t storedSize) {
  const auto copy = std::make_shared<Bytes>(bytes.size());
  bytes.copy(copy->data(), bytes.size());
  return decodeIndex(SharedBytes(copy), storedSize);
}

std::optional<Index> decodeIndex(const SharedBytes& bytes, size_t storedSize) {
  ByteReader from(bytes->view(), kMostThings + kThingsPerByte * storedSize);
  if (from.number() != kVersion) return {};
  Index index;
  index.model = getModel(&from, bytes);
  index.lastContent = from.number32(INT32_MAX);
  const size_t count = from.count();
  index.frames.reserve(std::min(count, from.left() / kLeastFrame));
  for (size_t left = count; left > 0 && from.isGood(); --left) {
    index.frames.push_back(getFrame(&from, index.frames.empty() ? 0 : index.frames.back().end()));
  }
  if (!from.isGood() || !from.isAtEnd()) return {};
  const FramePlaces places(index.frames);
  const bool isSound =
      index.model.isSound() && framesMatch(index, places) && parentsAreSound(index.frames, places);
  if (!isSound) return {};
  return index;
}

}  // namespace btkf
