// btkf520/archive/index.cpp: the layout of the index, writer and reader side by side, and the
// checks on what was read.
#include "btkf520/archive/index.h"

#include <algorithm>
#include <array>
#include <utility>

#include "btkf520/archive/bytecodec.h"

namespace btkf {
namespace {

constexpr uint64_t kVersion = 2;
constexpr size_t kMostThings = 1 << 16;  // In any index, and kThingsPerByte more.

void putTexts(ByteWriter* to, const std::vector<std::string>& texts) {
  to->put(texts.size());
  for (const std::string& text : texts) to->put(text);
}

// Names, none of which is empty.
std::vector<std::string> getTexts(ByteReader* from) {
  std::vector<std::string> texts;
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    texts.push_back(from->text());
    if (texts.back().empty()) from->fail();
  }
  return texts;
}

void putLocks(ByteWriter* to, const std::vector<Lock>& locks) {
  to->put(locks.size());
  for (const Lock& lock : locks) {
    to->put(lock.user);
    to->putFixed(lock.time, 4);
    to->put(lock.note);
  }
}

std::vector<Lock> getLocks(ByteReader* from) {
  std::vector<Lock> locks;
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    Lock& lock = locks.emplace_back();
    lock.user = from->text();
    lock.time = static_cast<PackedTime>(from->fixed(4));
    lock.note = from->text();
  }
  return locks;
}

void putNumber(ByteWriter* to, const Number& number) {
  to->put(number.components().size());
  for (const uint32_t component : number.components()) to->put(component);
}

Number getNumber(ByteReader* from) {
  std::vector<uint32_t> components(from->count());
  for (uint32_t& component : components) component = from->number32();
  return Number(std::move(components));
}

void putRevision(ByteWriter* to, const Revision& revision) {
  putNumber(to, revision.number);
  to->putFixed(revision.checkInTime, 4);
  to->putFixed(revision.workfileTime, 4);
  to->put(revision.author);
  to->put(revision.changeDescription);
  putLocks(to, revision.locks);
  putTexts(to, revision.promotionGroups);
  to->put(revision.content.id);
  to->put(revision.content.length);
  to->putFixed(revision.content.checksum, 8);
}

Revision getRevision(ByteReader* from) {
  Revision revision;
  revision.number = getNumber(from);
  revision.checkInTime = static_cast<PackedTime>(from->fixed(4));
  revision.workfileTime = static_cast<PackedTime>(from->fixed(4));
  revision.author = from->text();
  revision.changeDescription = from->text();
  revision.locks = getLocks(from);
  revision.promotionGroups = getTexts(from);
  revision.content.id = from->number32();
  revision.content.length = from->number();
  revision.content.checksum = from->fixed(8);
  return revision;
}

void putBranch(ByteWriter* to, const Branch& branch) {
  putNumber(to, branch.number);
  to->put(branch.revisions.size());
  for (const Revision& revision : branch.revisions) putRevision(to, revision);
}

Branch getBranch(ByteReader* from) {
  Branch branch;
  branch.number = getNumber(from);
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    branch.revisions.push_back(getRevision(from));
  }
  return branch;
}

void putModel(ByteWriter* to, const ArchiveModel& model) {
  to->put(model.workName);
  to->put(model.owner);
  to->put(model.description);
  to->putFixed(model.creationTime, 4);
  to->put(model.attributes);
  putTexts(to, model.accessList);
  to->put(model.branches.size());
  for (const Branch& branch : model.branches) putBranch(to, branch);
  to->put(model.labels.size());
  for (const Label& label : model.labels) {
    to->put(label.name);
    putNumber(to, label.target);
  }
}

ArchiveModel getModel(ByteReader* from) {
  ArchiveModel model;
  model.workName = from->text();
  model.owner = from->text();
  model.description = from->text();
  model.creationTime = static_cast<PackedTime>(from->fixed(4));
  model.attributes = from->number32();
  model.accessList = getTexts(from);
  model.branches.clear();
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    model.branches.push_back(getBranch(from));
  }
  for (size_t left = from->count(); left > 0 && from->isGood(); --left) {
    std::string name = from->text();
    model.labels.push_back({std::move(name), getNumber(from)});
  }
  return model;
}

void putFrame(ByteWriter* to, const Frame& frame) {
  to->put(frame.content);
  to->put(frame.position);
  to->put(frame.olderParent);
  to->put(frame.newerParent);
  to->put(frame.size);
  to->putFixed(frame.checksum, 4);
}

Frame getFrame(ByteReader* from) {
  Frame frame;
  frame.content = from->number32();
  frame.position = from->number32(INT32_MAX);
  frame.olderParent = from->number32();
  frame.newerParent = from->number32();
  frame.size = from->number(INT64_MAX);
  frame.checksum = static_cast<uint32_t>(from->fixed(4));
  return frame;
}

// Whether every content has one frame and every frame a content.
bool framesMatch(const Index& index) {
  std::vector<uint32_t> used;
  index.model.forEachRevision(
      [&](const Revision& revision) { used.push_back(revision.content.id); });
  std::vector<uint32_t> stored;
  for (const Frame& frame : index.frames) stored.push_back(frame.content);
  std::sort(used.begin(), used.end());
  std::sort(stored.begin(), stored.end());
  return used == stored && (used.empty() || used.back() <= index.lastContent);
}

// Where a frame stands among all of them. The size of an index bounds their number.
using Place = uint32_t;

class Places {
 public:
  explicit Places(const std::vector<Frame>& frames) {
    places_.reserve(frames.size());
    for (const Frame& frame : frames) {
      places_.emplace_back(frame.content, static_cast<Place>(places_.size()));
    }
    std::sort(places_.begin(), places_.end());
  }

  std::optional<Place> find(uint32_t content) const {
    const auto found =
        std::lower_bound(places_.begin(), places_.end(), std::pair(content, Place{0}));
    if (found == places_.end() || found->first != content) return {};
    return found->second;
  }

 private:
  std::vector<std::pair<uint32_t, Place>> places_;
};

// The places of a frame's parents, or kNowhere for none.
using ParentPlaces = std::array<Place, 2>;
constexpr Place kNowhere = UINT32_MAX;

// One for each frame. Nothing if a parent is missing.
std::optional<std::vector<ParentPlaces>> placesOfParents(const std::vector<Frame>& frames) {
  const Places places(frames);
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
bool parentsAreSound(const std::vector<Frame>& frames) {
  const auto parents = placesOfParents(frames);
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

}  // namespace

std::string encodeIndex(const Index& index) {
  ByteWriter to;
  to.put(kVersion);
  putModel(&to, index.model);
  to.put(index.lastContent);
  to.put(index.frames.size());
  for (const Frame& frame : index.frames) putFrame(&to, frame);
  return to.take();
}

std::optional<Index> decodeIndex(std::string_view bytes, size_t storedSize) {
  ByteReader from(bytes, kMostThings + kThingsPerByte * storedSize);
  if (from.number() != kVersion) return {};
  Index index;
  index.model = getModel(&from);
  index.lastContent = from.number32(INT32_MAX);
  for (size_t left = from.count(); left > 0 && from.isGood(); --left) {
    index.frames.push_back(getFrame(&from));
  }
  if (!from.isGood() || !from.isAtEnd()) return {};
  if (!index.model.isSound() || !framesMatch(index) || !parentsAreSound(index.frames)) return {};
  return index;
}

}  // namespace btkf
