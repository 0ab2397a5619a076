// btkf520/archive_test.cpp: what is written to an archive file is read again, and what can't is
// told.
#include "btkf520/archive/archive.h"

#include <filesystem>
#include <set>

#include "archivefile/checksum.h"
#include "btkf520/archive/passages.h"
#include "btkf520/archive/plan.h"
#include "btkf520/history.h"

namespace btkf520_test {
namespace {

using btkf::ArchiveModel;
using btkf::Number;
using std::string_literals::operator""s;

TEST(Plan, HasNoCirclesAndFewAncestorsWhateverHasBeenDeleted) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Contents random(seed);
    std::vector<uint32_t> positions;
    const size_t density = 1 + random.below(9);
    const bool isRegular = seed < 10;  // Every so many are left, so that many have one rank.
    for (uint32_t position = 0; position < 300; ++position) {
      if (isRegular ? (position + 1) % (seed + 1) == 0 : random.below(10) < density) {
        positions.push_back(position);
      }
    }
    const auto plan = btkf::planParents(positions);
    for (size_t place = 0; place < positions.size(); ++place) {
      std::set<size_t> ancestors;
      std::vector<size_t> open{place};
      while (!open.empty()) {
        const btkf::Parents& parents = plan[open.back()];
        open.pop_back();
        for (const size_t parent : {parents.older, parents.newer}) {
          ASSERT_NE(parent, place) << "seed " << seed << ": a circle";
          const bool isParent = parent != btkf::Parents::kNoParent;
          if (isParent && ancestors.insert(parent).second) open.push_back(parent);
        }
      }
      EXPECT_LE(ancestors.size(), 2 * 9u + 4) << "seed " << seed << " place " << place;
      EXPECT_EQ(ancestors.empty(), place + 1 == positions.size()) << "seed " << seed;
    }
  }
}

// The delta that comes of wrong passages is never stored, but the content would be stored whole
// instead, and only its size would tell.
TEST(Passages, RebuildTheContent) {
  for (unsigned seed = 0; seed < 3000; ++seed) {
    Contents random(seed);
    std::string prefix = random.below(2) == 0 ? random.text(random.below(60)) : "";
    for (char& byte : prefix += random.bytes(random.below(300))) {
      if (seed % 3 == 0) byte = static_cast<char>('a' + (byte & 1));
    }
    std::string content = random.changed(prefix + prefix.substr(0, random.below(90)));
    if (random.below(4) == 0) content = random.changed(content.substr(content.size() / 2));
    std::string rebuilt = prefix;
    size_t begin = 0;
    btkf::PassageFinder finder;
    finder.begin(content, prefix);
    while (const auto passage = finder.next()) {
      rebuilt += content.substr(begin, passage->skipped);
      ASSERT_LE(passage->distance, rebuilt.size()) << "seed " << seed;
      for (uint32_t left = passage->length; left > 0; --left) {
        rebuilt += rebuilt[rebuilt.size() - passage->distance];
      }
      begin = rebuilt.size() - prefix.size();
      ASSERT_LE(begin, content.size()) << "seed " << seed;
    }
    rebuilt += content.substr(begin);
    ASSERT_EQ(rebuilt, prefix + content) << "seed " << seed;
  }
}

TEST(ArchiveFile, GivesBackContentsOfEveryKind) {
  Contents random(1);
  const std::string wide = random.bytes(3 << 20);
  const std::string turned = wide.substr(1000) + wide.substr(0, 1000);
  const std::string zeros(70000, '\0'), many(2 << 20, 'x'), text = random.text(3000);
  const std::string ends = "a\r\nb\nc\r", changed = random.changed(wide);
  History history;
  for (const std::string& content : {""s, ""s, "x"s, "no end"s, ends, "\0"s, "\x1a\xff\xfe"s, zeros,
                                     wide, changed, turned, ""s, wide, wide, text, many, "x"s}) {
    history.checkIn("1", content);
  }
  history.expectWhole();
}

TEST(ArchiveFile, KeepsSeededHistoriesOfBranchesAndDeletions) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    SCOPED_TRACE(seed);
    Contents random(seed);
    History history;
    history.checkIn("1", random.below(2) == 0 ? random.text(40) : random.bytes(3000));
    for (size_t left = 40; left > 0; --left) {
      auto from = history.plain().begin();
      std::advance(from, static_cast<std::ptrdiff_t>(random.below(history.plain().size())));
      const Number origin = number(from->first);
      const size_t kind = random.below(10);
      if (kind == 0 && from != history.plain().begin()) {
        history.remove(from->first);
      } else if (kind < 3 && origin.components().size() < 6) {
        history.checkIn(origin.child(1).text(), random.changed(from->second));
      } else {
        history.checkIn("1", random.changed(from->second));
      }
    }
    history.expectWhole();
  }
}

// A long history stays cheap: to rebuild, to add to, and for clients that read its summary.
TEST(ArchiveFile, ChangesFewFramesWithEachRevision) {
  constexpr int kRevisions = 300;
  Contents random(5);
  History history;
  std::string content = random.text(20);
  std::map<uint64_t, support::SlowFrame> before;
  int changedFrames = 0;
  size_t informationSize = 0;
  for (int revision = 0; revision < kRevisions; ++revision) {
    history.checkIn("1", content = random.changed(content));
    const support::SlowArchive slow(history.file());
    for (const auto& [id, frame] : slow.frames) {
      const auto old = before.find(id);
      if (old != before.end() && old->second.parents != frame.parents) ++changedFrames;
    }
    before = slow.frames;
    informationSize = slow.informationSize;
  }
  history.expectWhole();
  EXPECT_LE(changedFrames, 2 * kRevisions);
  EXPECT_LT(informationSize, 100u);
}

// What did not change from one revision to the next is not stored again, even where a revision that
// was packed against distant ones lies between.
TEST(ArchiveFile, StoresAPassageOnce) {
  Contents random(7);
  History history;
  std::string content = random.bytes(20000);
  size_t changes = 0;
  for (int revision = 0; revision < 64; ++revision) {
    history.checkIn("1", content);
    content.replace(random.below(19000), 300, random.bytes(300));
    changes += 300;
  }
  EXPECT_LT(history.file().size(), 20000 + changes + 64 * 150);
}

// A wide index is copied, and the next one packed against it.
TEST(ArchiveFile, KeepsAWideIndexWhenItIsWrittenAnew) {
  Contents random(11);
  History history;
  history.change([&](ArchiveModel* model) {
    for (int left = 2000; left > 0; --left) {
      std::string name = random.bytes(40);
      for (char& byte : name) byte = static_cast<char>('A' + (byte & 31));
      model->labels.push_back({name, number("1")});
    }
  });
  const std::string before = history.file();
  for (int left = 3; left > 0; --left) history.checkIn("1", random.text(9));
  EXPECT_EQ(support::SlowArchive(history.file()).part, 0u);
  EXPECT_NE(history.file().find(before.substr(before.size() - 9000, 8000)), std::string::npos);
  EXPECT_EQ(history.toRead()->model().labels.size(), 2000u);
  history.expectWhole();
}

// The cost of a change follows the change: most add to the file, and yet it stays small.
TEST(ArchiveFile, GrowsByPartsAndStaysSmall) {
  Contents random(9);
  History history;
  history.checkIn("1", random.bytes(500));
  const size_t packed = history.file().size();
  int rewrites = 0;
  const auto isAppended = [&](const auto& change) {
    const std::string before = history.file();
    change();
    return history.file().starts_with(before);
  };
  for (uint32_t minute = 0; minute < 100; ++minute) {
    rewrites += !isAppended([&] {
      history.change([=](ArchiveModel* model) {
        model->trunk().tip()->locks = {{"ann", minute, std::string(minute % 7, 'n')}};
      });
    });
    ASSERT_LE(history.file().size(), packed + 6000);
  }
  EXPECT_LE(rewrites, 8);

  std::string wide = random.bytes(200 << 10);
  for (const char* branch : {"1", "1.0.1", "1.0.2", "1.0.3", "1.0.4", "1.0.5", "1.0.6"}) {
    history.checkIn(branch, wide = random.changed(random.bytes(200 << 10)));
  }
  EXPECT_TRUE(isAppended([&] { history.checkIn("1.0.7", wide); })) << "what is there stays";
  EXPECT_TRUE(isAppended([&] { history.checkIn("1.0.1", wide); })) << "an eighth is replaced";
  rewrites = 0;
  for (int left = 8; left > 0; --left) {
    rewrites += !isAppended([&] { history.checkIn("1.0.1", wide = random.changed(wide)); });
  }
  EXPECT_TRUE(rewrites > 1 && rewrites < 5) << rewrites;
  history.expectWhole();
  history.remove("1.0.2.0");
  EXPECT_EQ(support::SlowArchive(history.file()).part, 0u) << "what was deleted is gone";
  history.expectWhole();
}

TEST(ArchiveFile, KeepsWhatTheModelSays) {
  History history;
  for (const char* branch : {"1", "1", "1", "1.1.1", "1.1.1", "1.1.2", "1.1.1.1.1"}) {
    history.checkIn(branch, branch);
  }
  const auto archive = history.toUpdate();
  ArchiveModel model = archive->model();
  model.workName = "h\xE4user.c";
  model.owner = "ann";
  model.description = std::string(40000, 'd') + "\r\n\xFC";
  model.creationTime = 0x1f9953ca;
  model.attributes = TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS | 0x80010001;
  model.accessList = {"ann", "a,b"};
  btkf::Revision& revision = *model.findRevision(number("1.1.1.1"));
  revision.checkInTime = 0xFFFFFFFF;
  revision.workfileTime = 1;
  revision.author = "bo";
  revision.changeDescription = "why\nand how";
  revision.locks = {{"bo", 7, "the valve"}, {"ann", 8, ""}};
  revision.promotionGroups = {"dev", "test"};
  model.findRevision(number("1.0"))->locks = {{"cy", 9, std::string(255, 'n')}};
  model.labels = {{"REL_1", number("1.1")}, {"tip of it", number("1.1.1")}, {"*", number("1.0")}};
  model.addBranch(number("1.0.1"));  // Without a revision: not kept.
  ASSERT_EQ(archive->commit(model), TRVS_DONE);
  std::erase_if(model.branches, [](const btkf::Branch& each) { return each.revisions.empty(); });
  EXPECT_EQ(archive->model(), model);
  EXPECT_EQ(history.toRead()->model(), model);
  history.expectWhole();

  support::SlowArchive slow(history.file());
  EXPECT_EQ(
      slow.told,
      "h\xE4user.c|ann|" + model.description +
          "|530142154|2147549189|ann|a,b|branch 1|1.0|0|0|||cy|9|" + std::string(255, 'n') +
          "|1.1|0|0|||1.2|0|0|||"
          "branch 1.1.1|1.1.1.0|0|0|||1.1.1.1|4294967295|1|bo|why\nand how|bo|7|the valve|ann|8||"
          "dev|test|branch 1.1.1.1.1|1.1.1.1.1.0|0|0|||branch 1.1.2|1.1.2.0|0|0|||"
          "label REL_1|1.1|label tip of it|1.1.1|label *|1.0|");
  slow.records.erase('Z');  // Where the index is.
  EXPECT_EQ(slow.records, (std::map<char, std::string>{{'H', "\0h\xE4user.c\0"s},
                                                       {'X', "\x1f\x99\x53\xca"},
                                                       {'P', "\0\5"s},
                                                       {'J', "\0\7"s},
                                                       {'R', "\0cy\0\0bo\0\0ann\0"s},
                                                       {'V', "\0ann,a,b\0"s},
                                                       {'I', model.description}}));

  EXPECT_EQ(model.lockCount(), 3u);
}

}  // namespace
}  // namespace btkf520_test
