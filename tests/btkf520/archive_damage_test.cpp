// btkf520/archive_damage_test.cpp: damage is found, told, and never delivered.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include "../../fuzz/check_archive.h"
#include "../../fuzz/check_operations.h"
#include "archivefile/bytecodec.h"
#include "btkf520/archive/archivereader.h"
#include "btkf520/archive/tail.h"
#include "btkf520/history.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "support/limits.h"

namespace btkf520_test {
namespace {

using btkf::Archive;

// Two branches, a label, a lock, an empty content: all that a file is made of, in few bytes.
void fill(History* history, int revisions) {
  Contents random(3);
  std::string content = random.text(4);
  for (int count = revisions; count > 0; --count) {
    history->checkIn("1", content = random.changed(content));
  }
  history->checkIn("1.0.1", "");
  history->checkIn("1.0.1", "branch");
  history->change([](btkf::ArchiveModel* model) {
    model->trunk().tip()->locks = {{"ann", 1, "why"}};
    model->labels = {{"REL", number("1.1")}};
  });
}

// Opens damaged bytes as an archive. What is not told as damaged is read, and right.
TrvsStatus verified(const std::string& path, const History& history,
                    std::vector<btkf::Content>* damaged) {
  std::unique_ptr<Archive> archive;
  if (const TrvsStatus status = Archive::openToRead(path, &archive)) return status;
  const TrvsStatus result = archive->verify(damaged);
  archive->model().forEachRevision([&](const btkf::Revision& revision) {
    btkf::Bytes bytes;
    const bool isRead = archive->read(revision.content, &bytes) == TRVS_DONE;
    EXPECT_EQ(std::count(damaged->begin(), damaged->end(), revision.content), isRead ? 0 : 1);
    if (!isRead) return;
    EXPECT_TRUE(bytes.view() == history.plain().at(revision.number.text()));
  });
  return result;
}

TEST(ArchiveDamage, IsFoundInEveryBitOfAFile) {
  History history;
  fill(&history, 6);
  const std::string whole = history.file();
  std::vector<btkf::Content> lost;
  for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    std::string file = whole;
    file[bit / 8] = static_cast<char>(file[bit / 8] ^ (1 << bit % 8));
    const fuzz::MemoryFile damaged(file);
    ASSERT_EQ(verified(damaged.path(), history, &lost), TRVS_NOT_AN_ARCHIVE) << "bit " << bit;
  }
  for (size_t size = whole.size() - support::SlowArchive(whole).partSize; size-- > 0;) {
    const fuzz::MemoryFile cut(whole.substr(0, size));
    ASSERT_EQ(verified(cut.path(), history, &lost), TRVS_NOT_AN_ARCHIVE) << "cut to " << size;
  }
}

// Changes that were promised were once taken for torn ones, and cut off by the next change.
TEST(ArchiveDamage, IsNeverTakenForATornChange) {
  Contents random(1);
  History history;
  fill(&history, 2);
  const size_t first = history.file().size();
  for (int change = 0; change < 6; ++change) {
    history.change([&](btkf::ArchiveModel* model) {
      if (change % 4 == 2) model->description = random.text(150);
      model->owner = "ann" + std::string(random.below(99), 'n');
    });
    const std::string whole = history.file();
    const btkf::ArchiveModel model = history.toRead()->model();
    for (size_t place = first; place < whole.size(); ++place) {
      std::string file = whole;
      file[place] = static_cast<char>(file[place] ^ (1 << place % 8));
      const fuzz::MemoryFile damaged(file);
      std::unique_ptr<Archive> archive;
      const TrvsStatus status = Archive::openToRead(damaged.path(), &archive);
      const bool isGood =
          status == TRVS_DONE ? archive->model() == model : status == TRVS_NOT_AN_ARCHIVE;
      ASSERT_TRUE(isGood) << "change " << change << ", byte " << place << " of " << whole.size();
    }
  }
}

TrvsStatus openStatus(const std::string& bytes) {
  const fuzz::MemoryFile file(bytes);
  std::unique_ptr<Archive> archive;
  return Archive::openToRead(file.path(), &archive);
}

void setOwner(const History& history, const std::string& owner) {
  history.change([&](btkf::ArchiveModel* model) { model->owner = owner; });
}

// A real fault: where a header begins shortly before the end of a sector, the zeros that it has
// there in any case were taken for a lost sector.
TEST(ArchiveDamage, IsFoundWhereverInASectorAPartBegins) {
  for (size_t begin = 498; begin < 514; ++begin) {
    History history;
    size_t size = 400;
    do {
      history.remove("1.0");
      history.checkIn("1", Contents(1).bytes(size));
      size = 400 + (size + 112 + begin + 512 - history.file().size() % 512) % 512;
    } while (history.file().size() % 512 != begin % 512);
    const size_t place = history.file().size();
    setOwner(history, "b");
    const size_t end = history.file().size();
    ASSERT_LT(end - place, 256u);
    setOwner(history, "bo");
    for (const size_t cut : {end, end + 40}) {  // Alone, and with a torn part after it.
      const std::string whole = history.file().substr(0, cut);
      for (size_t bit = 8 * place; bit < 8 * end; bit += bit < 8 * (place + 12) ? 1 : 5) {
        std::string damaged = whole;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        ASSERT_EQ(openStatus(damaged), TRVS_NOT_AN_ARCHIVE)
            << "begin " << begin << ", bit " << bit - 8 * place << ", " << cut - end << " after it";
      }
    }
  }
}

// A real fault: so were zeros where the header of a promised part was, and those after it were
// lost with it.
TEST(ArchiveDamage, IsProvedByAWholePartAfterIt) {
  const auto spoiled = [](const History& history, size_t place, size_t size) {
    return history.file().replace(place, size, size, '\0');
  };
  History narrow;
  narrow.checkIn("1", Contents(1).bytes(40000));
  const size_t place = narrow.file().size();
  for (int part = 0; part < 30; ++part) setOwner(narrow, std::string(20, "ab"[part % 2]));
  std::filesystem::resize_file(narrow.path(), narrow.file().size() - 1);
  EXPECT_EQ(openStatus(narrow.file()), TRVS_DONE);
  EXPECT_EQ(openStatus(spoiled(narrow, place, 512 - place % 512)), TRVS_NOT_AN_ARCHIVE);
  EXPECT_EQ(openStatus(spoiled(narrow, place, 12)), TRVS_NOT_AN_ARCHIVE);
  // No reader looks at more than a few bytes of what is torn. Who cuts it off does, and keeps it.
  History wide;
  wide.checkIn("1", Contents(1).bytes(1000000));
  const std::string before = wide.file();
  wide.change([](btkf::ArchiveModel* model) { model->description = Contents(1).text(4000); });
  setOwner(wide, "b");
  setOwner(wide, "bo");
  std::filesystem::resize_file(wide.path(), wide.file().size() - 1);
  const std::string torn = spoiled(wide, before.size(), 12);
  support::writeFile(wide.path(), torn);
  // What was cut off before stays, however often that was.
  const auto cutNamed = [&](const std::string& number) {
    return wide.path() + ".trvs-cut" + number;
  };
  for (const char* number : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
    support::writeFile(cutNamed(number), "older");
  }
  setOwner(wide, "bob");
  EXPECT_EQ(support::readFile(cutNamed("9")), "older");
  EXPECT_TRUE(support::readFile(cutNamed("10")) == torn.substr(before.size()));
}

// A real fault: what the disk couldn't read was taken for torn, and the archive said what it had
// said before.
TEST(ArchiveDamage, IsNotSeenInAnEndThatCantBeRead) {
  History history;
  history.checkIn("1", Contents(1).bytes(40000));
  setOwner(history, "b");
  for (unsigned lost = 0; lost < 1 << 12; ++lost) {  // Of the first reads those whose bits are set.
    unsigned count = 0;
    const os_test::SystemCalls broken([&](const os_test::Call& call) {
      return call.name == "pread" && (lost >> std::min(count++, 31u) & 1) != 0 ? EIO : 0;
    });
    std::unique_ptr<Archive> archive;
    const TrvsStatus status = Archive::openToUpdate(history.path(), &archive);
    ASSERT_TRUE(status == TRVS_CANNOT_OPEN ||
                (status == TRVS_DONE && archive->model().owner == "b"))
        << lost << ": " << status;
  }
}

// Ends in the last bytes, each of a part with a header of its own that takes all of the file.
TEST(ArchiveDamage, MakesNobodyProveManyParts) {
  History history;
  fill(&history, 2);
  std::string file = history.file();
  const size_t whole = file.size();
  constexpr size_t kTorn = 256 << 10;
  constexpr size_t kEnds = 600;
  file.resize(whole + kTorn);
  archivefile::EndRecord record;
  const std::string tail = archivefile::encodeTail(std::string(kTorn / 2, 'x'), "", &record);
  for (size_t i = 0; i < kEnds; ++i) {
    const size_t begin = whole + (i + 1) * archivefile::kPartHeaderSize;
    const size_t end = file.size() - 1 - i * archivefile::kEndSize;
    const std::string header = archivefile::encodePartHeader(begin, end - begin);
    file.replace(begin, header.size(), header);
    file.replace(end - archivefile::kEndSize, archivefile::kEndSize,
                 tail.substr(tail.size() - archivefile::kEndSize));
    file.replace(end - archivefile::kEndSize + 3, 8, header.substr(0, 8));
  }
  support::writeFile(history.path(), file);
  const os_test::SystemCalls calls;
  std::unique_ptr<Archive> archive;
  EXPECT_EQ(Archive::openToRead(history.path(), &archive), TRVS_NOT_AN_ARCHIVE);
  const std::string log = calls.log("pread");
  EXPECT_LT(std::count(log.begin(), log.end(), ','), 2000);
}

// What a power cut may leave of a change: any sectors of it, and all of what was before. Each of
// the two looks is the old archive or the new one, and takes the next change.
TEST(ArchiveDamage, OfATornEndLeavesTheArchiveBeforeIt) {
  for (unsigned run = 0; run < 9; ++run) {
    const bool isWide = run % 4 == 0;
    SCOPED_TRACE(run);
    Contents random(run);
    History history;
    history.checkIn("1", random.bytes(run * 41));
    const std::string before = history.file();
    const btkf::ArchiveModel old = history.toRead()->model();
    // Two changes. If they are narrow, nobody knows whether the first was ever synced.
    history.change([](btkf::ArchiveModel* model) {
      model->trunk().tip()->locks = {{"ann", 0, ""}};
    });
    const std::string between = history.file();
    const btkf::ArchiveModel locked = history.toRead()->model();
    history.change([&](btkf::ArchiveModel* model) {
      if (isWide) model->description = random.text(150);
      model->labels = {{"REL", number("1.0")}};
    });
    const std::string after = history.file();
    ASSERT_TRUE(between.starts_with(before) && after.starts_with(between));
    ASSERT_EQ(after.size() - between.size() > 4096, isWide);
    const auto modelOf = [](const std::string& bytes) {
      const fuzz::MemoryFile file(bytes);
      return History::toRead(file.path())->model();
    };
    const btkf::ArchiveModel labelled = modelOf(after);
    // A wide part is on the disk before its end, and all that is before it.
    const size_t blockSize = support::SlowArchive(after).informationSize;
    const size_t tail = after.size() - 9 - blockSize;
    for (size_t place = before.size(); place < after.size(); ++place) {
      const bool isFirst = place < between.size();
      SCOPED_TRACE(place);
      ASSERT_EQ(modelOf(after.substr(0, place)), isFirst ? old : locked);
      const size_t sector = place / 512 * 512;
      const bool isNewSector = place == sector || place == before.size() || place == tail;
      if (!isNewSector || (isWide && place < tail)) continue;
      const size_t lost = std::max(sector, isWide ? tail : before.size());
      const size_t next = std::min(sector + 512, after.size());
      std::string zeros = after.substr(0, lost);
      zeros.resize(after.size());
      std::string hole = after;
      hole.replace(lost, next - lost, next - lost, '\0');
      const btkf::ArchiveModel& want = lost < between.size() ? old : locked;
      ASSERT_EQ(modelOf(zeros), want);
      ASSERT_EQ(modelOf(hole), want);
      support::writeFile(history.path(), hole);
      EXPECT_EQ(history.toRead()->verify(nullptr), TRVS_TORN_END);
      history.change([](btkf::ArchiveModel* model) { model->owner = "bo"; });
      const std::string& kept = lost < between.size() ? before : between;
      EXPECT_TRUE(history.file().starts_with(kept));
      // All of it is there, and so it may be damaged; unless it has neither header nor end.
      const bool isCutOff =
          hole.substr(kept.size(), 12) == std::string(12, '\0') && next + 77 > hole.size();
      const std::string beside = history.path() + ".trvs-cut";
      ASSERT_EQ(std::filesystem::exists(beside), !isCutOff);
      EXPECT_TRUE(isCutOff || support::readFile(beside) == hole.substr(kept.size()));
      std::filesystem::remove(beside);
      history.expectWhole();
      EXPECT_EQ(history.toRead()->model().owner, "bo");
      EXPECT_EQ(history.toRead()->model().labels, want.labels);
    }
    EXPECT_EQ(modelOf(after), labelled);
    // A writer is at work. Nothing is told of what it hasn't finished, or kept.
    support::writeFile(history.path(), after.substr(0, after.size() - 1));
    {
      os::File writer;
      ASSERT_EQ(writer.openLocked(history.path().c_str()), os::FileResult::kDone);
      EXPECT_EQ(history.toRead()->verify(nullptr), TRVS_DONE);
    }
    EXPECT_EQ(history.toRead()->verify(nullptr), TRVS_TORN_END);
    history.change([](btkf::ArchiveModel* model) { model->owner = "bo"; });
    EXPECT_EQ(support::entryCount(history.path().substr(0, history.path().rfind('/'))), 1);
  }
}

TEST(ArchiveDamage, SurvivesSeededMutations) {
  History history;
  fill(&history, 12);
  const std::string whole = history.file();
  for (unsigned seed = 0; seed < 5000; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkArchive(fuzz::damaged(whole, seed));
  }
  btkf::Index index{history.toRead()->model(), {}, 100};
  index.model.forEachRevision([&](const btkf::Revision& revision) {
    index.frames.push_back({revision.content.id, 0, 0, 0, index.frames.size(), 1, 0});
  });
  for (size_t place = 2; place < index.frames.size(); ++place) {
    index.frames[place].olderParent = index.frames[place - 1].content;
    index.frames[place].newerParent = index.frames[place - 2].content;
  }
  const std::string bytes = btkf::encodeIndex(index);
  ASSERT_TRUE(btkf::decodeIndex(bytes));
  for (unsigned seed = 0; seed < 20000; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkIndex(fuzz::damaged(bytes, seed));
  }
}

TEST(ArchiveDamage, SurvivesSeededOperations) {
  for (unsigned seed = 0; seed < 50; ++seed) {
    SCOPED_TRACE(seed);
    fuzz::checkOperations(Contents(seed).bytes(16));
  }
}

TEST(ArchiveDamage, IsRefusedInAnIndexThatContradictsItself) {
  // A circle; its own parent; a parent that isn't there; a frame too few; a frame twice; a content
  // beyond the last; revisions out of order.
  void (*const spoilers[])(btkf::Index*) = {
      [](btkf::Index* index) {
        index->frames[0].newerParent = 2;
        index->frames[1].newerParent = 1;
      },
      [](btkf::Index* index) { index->frames[0].olderParent = 1; },
      [](btkf::Index* index) { index->frames[0].newerParent = 7; },
      [](btkf::Index* index) { index->frames.pop_back(); },
      [](btkf::Index* index) { index->frames[1].content = 1; },
      [](btkf::Index* index) { index->lastContent = 1; },
      [](btkf::Index* index) { index->model.trunk().revisions[0].number = number("1.2"); }};
  btkf::Index sound;
  sound.lastContent = 2;
  for (const uint32_t id : {1u, 2u}) {
    btkf::Revision revision;
    revision.number = number("1").child(id - 1);
    revision.content.id = id;
    sound.model.trunk().revisions.push_back(revision);
    sound.frames.push_back({id, id, 0, 0, 0, 0, 0});
  }
  ASSERT_TRUE(btkf::decodeIndex(btkf::encodeIndex(sound)));
  EXPECT_FALSE(btkf::decodeIndex(btkf::encodeIndex(sound) + '\0'));
  for (const auto& spoil : spoilers) {
    btkf::Index index = sound;
    spoil(&index);
    EXPECT_FALSE(btkf::decodeIndex(btkf::encodeIndex(index))) << &spoil - spoilers;
  }
  // Real faults: a check-out wrote wherever the archive said, and names moved the cursor of whoever
  // listed them.
  const auto isRead = [&sound](auto change) {
    btkf::Index index = sound;
    change(index.model, *index.model.trunk().tip());
    return btkf::decodeIndex(btkf::encodeIndex(index)).has_value();
  };
  const auto isWorkName = [&](const char* name) {
    return isRead([=](auto& model, auto&) { model.workName = name; });
  };
  for (const char* good : {"", "m.c", "..m", "12:30 notes.txt", "m\xfcll; $(id)"}) {
    EXPECT_TRUE(isWorkName(good)) << good;
  }
  for (const char* bad :
       {".", "..", "/m", "d/m", "..\\m", "m/", "V:m", "v:", "m\n", "\x1bm", "m\x7f"}) {
    EXPECT_FALSE(isWorkName(bad)) << bad;
  }
  for (const std::string name : {"a b/..", "a\x1b"}) {
    const bool isGood = name == "a b/..";
    EXPECT_EQ(isRead([&](auto& model, auto&) { model.owner = name; }), isGood);
    EXPECT_EQ(isRead([&](auto& model, auto&) { model.accessList = {name}; }), isGood);
    EXPECT_EQ(isRead([&](auto&, auto& tip) { tip.author = name; }), isGood);
    EXPECT_EQ(isRead([&](auto&, auto& tip) { tip.locks = {{name, 0, ""}}; }), isGood);
    EXPECT_EQ(isRead([&](auto&, auto& tip) { tip.locks = {{"ann", 0, name}}; }), isGood);
    EXPECT_EQ(isRead([&](auto&, auto& tip) { tip.promotionGroups = {name}; }), isGood);
    EXPECT_EQ(isRead([&](auto& model, auto&) { model.labels = {{name, number("1.0")}}; }), isGood);
  }
  // Real faults: the first ended a list of labels early, and the other counted as five locks.
  EXPECT_FALSE(isRead([](auto& model, auto&) { model.labels = {{"", number("1.0")}}; }));
  EXPECT_FALSE(isRead([](auto&, auto& tip) { tip.locks.assign(5, {"ann", 0, ""}); }));
}

// What was judged when it was read is judged again where it may have become wrong: in a long list
// the neighbours of what was changed, and all of it on another branch.
TEST(ArchiveDamage, IsSeenWhereAChangedRevisionMeetsWhatWasRead) {
  constexpr uint32_t kCount = 200;
  btkf::Index plain;
  plain.lastContent = kCount;
  for (uint32_t id = 1; id <= kCount; ++id) {
    btkf::Revision revision;
    revision.number = number("1").child(2 * id);
    revision.content.id = id;
    plain.model.trunk().revisions.push_back(revision);
    plain.frames.push_back({id, id, 0, 0, 0, 0, 0});
  }
  const btkf::Index read = btkf::decodeIndex(btkf::encodeIndex(plain)).value();
  for (const uint32_t place : {0u, 63u, 64u, 100u, 127u, 128u, kCount - 1}) {
    SCOPED_TRACE(place);
    const auto with = [&](uint32_t last, uint32_t content) {
      btkf::ArchiveModel model = read.model;
      model.trunk().revisions[place].number = number("1").child(last);
      model.trunk().revisions[place].content.id = content;
      return model.isSound();
    };
    const uint32_t own = 2 * (place + 1);
    EXPECT_TRUE(with(own - 1, place + 1));
    EXPECT_TRUE(with(own + 1, place + 1));
    EXPECT_EQ(with(own - 2, place + 1), place == 0);
    EXPECT_EQ(with(own + 2, place + 1), place == kCount - 1);
    EXPECT_FALSE(with(own, (place + 1) % kCount + 1)) << "a content of two revisions";
    btkf::Index changed = read;
    btkf::Index changedPlain = plain;
    for (btkf::Index* each : {&changed, &changedPlain}) {
      btkf::Revision* const revision = each->model.findRevision(number("1").child(own));
      ASSERT_NE(revision, nullptr);
      revision->locks = {{"ann", 1, "why"}};
      revision->changeDescription = std::string(300, 'x');
    }
    EXPECT_EQ(btkf::encodeIndex(changed), btkf::encodeIndex(changedPlain));
    EXPECT_EQ(changed.model.lockCount(), 1u);
    EXPECT_EQ(read.model.lockCount(), 0u) << "a copy has revisions of its own";
    EXPECT_EQ(read.model.findRevision(number("1").child(own + 1)), nullptr);
  }
  btkf::ArchiveModel moved = read.model;
  moved.addBranch(number("1.2.1")).revisions = std::exchange(moved.trunk().revisions, {});
  EXPECT_FALSE(moved.isSound());
}

// An archive of one revision for each of `contents`, of which each needs the one before. *frames is
// the start of its file.
btkf::Index chainOf(const std::vector<std::string>& contents, std::string* frames) {
  btkf::Index index;
  for (const std::string& content : contents) {
    const btkf::Bytes frame =
        btkf::FrameCodec().pack(content, {}, btkf::checksumOf(content)).value();
    btkf::Revision revision;
    revision.number = number("1").child(index.lastContent);
    revision.content = {index.lastContent + 1, content.size(), btkf::checksumOf(content)};
    index.model.trunk().revisions.push_back(revision);
    index.frames.push_back({revision.content.id, 0, 0, index.lastContent++, frames->size(),
                            frame.size(), static_cast<uint32_t>(btkf::checksumOf(frame.view()))});
    *frames += frame.view();
  }
  return index;
}

std::string forged(const btkf::Index& index, const std::string& frames, uint32_t part = 0) {
  const std::string bytes = btkf::encodeIndex(index);
  const btkf::Bytes packed = btkf::FrameCodec().pack(bytes, {}, btkf::checksumOf(bytes)).value();
  archivefile::EndRecord record;
  record.index = {0, static_cast<uint32_t>(packed.size()), static_cast<uint32_t>(bytes.size()),
                  btkf::checksumOf(packed.view())};
  const std::string records = btkf::encodeRecords(index.model);
  record.partSize = frames.size() - 8 + packed.size() + records.size() + archivefile::kEndSize;
  record.part = part;
  std::string file = frames;
  file.replace(8, 12, archivefile::encodePartHeader(8, record.partSize));
  return file + std::string(packed.view()) + archivefile::encodeTail(records, {}, &record);
}

// Opens a file and reads one of its revisions.
int readStatus(const fuzz::MemoryFile& file, size_t revision) {
  std::unique_ptr<Archive> archive;
  if (const TrvsStatus status = Archive::openToRead(file.path(), &archive)) return status;
  btkf::Bytes bytes;
  return archive->read(archive->model().trunk().revisions[revision].content, &bytes);
}

TEST(ArchiveDamage, IsToldOfWhatLeadsNowhere) {
  std::string frames(archivefile::kHeader);
  frames.resize(20);
  const btkf::Index sound = chainOf({"one", "two"}, &frames);
  const auto verifiedWith = [&](uint32_t part, auto change) {
    btkf::Index index = sound;
    change(&index.model);
    const fuzz::MemoryFile file(forged(index, frames, part));
    std::unique_ptr<Archive> archive;
    const TrvsStatus status = Archive::openToRead(file.path(), &archive);
    return status == TRVS_DONE ? archive->verify(nullptr) : status;
  };
  const auto withLabel = [&](const char* target) {
    return verifiedWith(0, [=](btkf::ArchiveModel* model) {
      model->labels = {{"REL", number("1.0")}, {"L", number(target)}};
    });
  };
  const auto withBranch = [&](const char* branch) {
    return verifiedWith(0, [=](btkf::ArchiveModel* model) {
      btkf::Revision moved = model->trunk().revisions[1];
      moved.number = number(branch).child(0);
      model->trunk().revisions.eraseIf([](const auto& each) { return each.number.last() == 1; });
      model->addBranch(number(branch)).revisions.push_back(moved);
    });
  };
  for (const char* target : {"1.0", "1.1", "1"}) EXPECT_EQ(withLabel(target), TRVS_DONE);
  for (const char* target : {"1.2", "1.0.1"}) EXPECT_EQ(withLabel(target), TRVS_NOT_AN_ARCHIVE);
  EXPECT_EQ(withBranch("1.0.1"), TRVS_DONE);
  EXPECT_EQ(withBranch("1.9.1"), TRVS_NOT_AN_ARCHIVE);
  for (const uint32_t part : {1u, 1024u}) {
    EXPECT_EQ(verifiedWith(part, [](btkf::ArchiveModel*) {}), TRVS_NOT_AN_ARCHIVE);
  }
}

// A real fault: the change was done, and no reader took the number that it had given.
TEST(ArchiveDamage, LeavesNoNumberForAnotherContent) {
  std::string frames(archivefile::kHeader);
  frames.resize(20);
  btkf::Index index = chainOf({"content"}, &frames);
  const auto statusOfCheckIn = [&](uint32_t lastContent, uint32_t position) {
    index.lastContent = lastContent;
    index.frames[0].position = position;
    const std::string path = fuzz::scratchPath("numbered");
    std::ofstream(path) << forged(index, frames);
    std::unique_ptr<Archive> archive;
    EXPECT_EQ(Archive::openToUpdate(path, &archive), TRVS_DONE);
    btkf::ArchiveModel model = archive->model();
    btkf::Revision revision;
    revision.number = number("1.1");
    revision.content = archive->put("next");
    model.trunk().revisions.push_back(revision);
    const TrvsStatus status = archive->commit(model);
    EXPECT_EQ(Archive::openToRead(path, &archive), TRVS_DONE);
    return status;
  };
  EXPECT_EQ(statusOfCheckIn(INT32_MAX - 1, 0), TRVS_DONE);
  EXPECT_EQ(statusOfCheckIn(INT32_MAX, 0), TRVS_LIMIT);
  EXPECT_EQ(statusOfCheckIn(1, INT32_MAX), TRVS_LIMIT);
}

// Real faults: files of some KB took gigabytes, or minutes.
TEST(ArchiveDamage, CostsNoMoreThanAFileCanHold) {
  std::string frames(archivefile::kHeader);
  frames.resize(20);
  btkf::Index index = chainOf(std::vector<std::string>(257, "content"), &frames);
  const auto statusOf = [&](size_t revision) {
    return readStatus(fuzz::MemoryFile(forged(index, frames)), revision);
  };
  EXPECT_EQ(statusOf(255), 0);
  EXPECT_EQ(statusOf(256), TRVS_NOT_AN_ARCHIVE) << "a chain longer than any writer's";
  index.model.accessList.assign(200000, "a");
  EXPECT_EQ(statusOf(0), TRVS_NOT_AN_ARCHIVE) << "more names than come of so few bytes";
  index.model.accessList.clear();
  index.model.trunk().revisions[0].content.length = 1 << 30;
  const auto refusesHole = [&](const archivefile::IndexPlace& place, uint32_t tailSize) {
    const fuzz::MemoryFile file(archivefile::kHeader);
    std::filesystem::resize_file(file.path(), 100 << 20);
    archivefile::ByteWriter trailer;
    trailer.putFixed(4, 1);
    trailer.putFixed(0 - tailSize, 4);
    trailer.putFixed(9 - tailSize, 4);
    archivefile::EndRecord record;
    record.index = place;
    const std::string records = btkf::encodeRecords(index.model);
    record.partSize = (100 << 20) - 8 + records.size() + archivefile::kEndSize;
    const std::string tail = archivefile::encodeTail(records, {}, &record);
    std::ofstream(file.path(), std::ios::app)
        << tail.substr(0, tail.size() - archivefile::kTrailerSize) + trailer.take();
    return readStatus(file, 0) == TRVS_NOT_AN_ARCHIVE;
  };
  const int failed = support::inProcess([&] {
    support::limitMemory(32 << 20);
    if (statusOf(0) != TRVS_NOT_AN_ARCHIVE) return 1;  // A content of a gigabyte.
    if (!refusesHole({0, 64 << 20, 64 << 20, 0}, 100)) return 2;
    if (!refusesHole({0, 100, 1 << 20, 0}, 90 << 20)) return 3;
    return refusesHole({0, 100, 64 << 20, 0}, 100) ? 0 : 4;
  });
  EXPECT_EQ(failed, 0);
}

// One damaged frame costs the revisions that need it and no others; work goes on; and when those
// revisions are deleted the archive is whole again.
TEST(ArchiveDamage, CostsNoOtherRevisions) {
  for (int damagedRevision = 0; damagedRevision < 9; ++damagedRevision) {
    SCOPED_TRACE(damagedRevision);
    History history;
    fill(&history, 9);
    const support::SlowArchive slow(history.file());
    const std::string revision = "1." + std::to_string(damagedRevision);
    const std::string frame = slow.frames.at(slow.revisions.at(revision).content).bytes;
    std::string file = history.file();
    const size_t place = file.find(frame);
    file[place + frame.size() / 2] = static_cast<char>(~file[place + frame.size() / 2]);
    support::writeFile(history.path(), file);

    std::vector<btkf::Content> damaged;
    EXPECT_EQ(history.toRead()->verify(&damaged), TRVS_NOT_AN_ARCHIVE);
    const std::string name = history.path();
    char told[100] = "";
    EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, name.c_str(), told, 3), TRVS_BUFFER_TOO_SMALL);
    EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, name.c_str(), told, 100), TRVS_NOT_AN_ARCHIVE);
    for (int more = 0; more < 9; ++more) history.checkIn("1", "more " + std::to_string(more));
    history.remove("1.10");
    const size_t lost = damaged.size();
    damaged.clear();
    EXPECT_EQ(verified(name, history, &damaged), TRVS_NOT_AN_ARCHIVE);
    EXPECT_EQ(damaged.size(), lost);
    std::set<std::string> gone;
    for (const char* next = told; *next != '\0'; next += std::strlen(next) + 1) gone.insert(next);
    EXPECT_TRUE(gone.contains(revision));
    EXPECT_EQ(gone.size(), lost);
    for (const std::string& number : gone) history.remove(number);
    history.expectWhole();
  }
}

// The last part that a reader follows to may be torn like any other. Nothing comes after it.
TEST(ArchiveFile, HasNoMorePartsThanReadersFollow) {
  const os_test::QuickSyncs quick;
  History history;
  history.checkIn("1", Contents(1).bytes(1 << 20));
  const auto setOwner = [&](int change) {
    const auto archive = history.toUpdate();
    btkf::ArchiveModel model = archive->takeModel();
    model.owner = change % 2 == 0 ? "ann" : "bob";
    return archive->commit(std::move(model));
  };
  for (int part = 1; part < 1024; ++part) ASSERT_EQ(setOwner(part), TRVS_DONE);
  const std::string full = history.file();
  EXPECT_EQ(support::SlowArchive(full).part, 1023u);
  {
    const os_test::SystemCalls noNewFile([](const os_test::Call& call) {
      return call.name == "open" && (call.flags & O_CREAT) != 0 ? EACCES : 0;
    });
    EXPECT_EQ(setOwner(0), TRVS_NEEDS_REWRITE);
  }
  EXPECT_TRUE(history.file() == full);
  std::filesystem::resize_file(history.path(), full.size() - 1);
  EXPECT_EQ(history.toRead()->model().owner, "ann");
  support::writeFile(history.path(), full);
  EXPECT_EQ(setOwner(0), TRVS_DONE);
  EXPECT_EQ(support::SlowArchive(history.file()).part, 0u);
  EXPECT_EQ(history.toRead()->model().owner, "ann");
  EXPECT_EQ(history.toRead()->verify(nullptr), TRVS_DONE);
}

}  // namespace
}  // namespace btkf520_test
