// btkf520/archive_process_test.cpp: several processes with one archive, and processes that die.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "btkf520/history.h"
#include "support/childprocess.h"

namespace btkf520_test {
namespace {

using btkf::Archive;
using support::ChildProcess;

// What a revision with this tag holds, so that anybody can tell whether it is right.
std::string contentOf(const std::string& tag) {
  return Contents(7).text(30) + tag + Contents(8).text(30);
}

std::string tagOf(int writer, int count) {
  return std::to_string(writer) + "." + std::to_string(count);
}

// Checks in a revision whose change description is `tag`. 0, or the first status that says why not.
TrvsStatus checkIn(const std::string& path, const std::string& tag) {
  std::unique_ptr<Archive> archive;
  if (const TrvsStatus status = Archive::openToUpdate(path, &archive)) return status;
  btkf::ArchiveModel model = archive->model();
  const std::string content = contentOf(tag);
  btkf::Revision revision;
  const btkf::Revision* const tip = model.trunk().tip();
  revision.number = tip == nullptr ? number("1.0") : tip->number.next();
  revision.changeDescription = tag;
  revision.content = archive->put(content);
  model.trunk().revisions.push_back(revision);
  return archive->commit(model);
}

// Every revision must be what its tag says, by both readers. Gives the tags.
std::set<std::string> tagsOf(const std::string& path) {
  std::set<std::string> result;
  const auto archive = History::toRead(path);
  EXPECT_EQ(archive->verify(nullptr), TRVS_DONE);
  const support::SlowArchive slow(support::readFile(path));
  for (const auto& [revisionNumber, revision] : slow.revisions) {
    result.insert(revision.changeDescription);
    EXPECT_TRUE(slow.content(revision.content) == contentOf(revision.changeDescription));
  }
  return result;
}

TEST(ArchiveProcesses, LoseNoAcknowledgedRevisionWhenKilled) {
  History history;
  const std::string& path = history.path();
  std::set<std::string> acknowledged;
  Contents random(11);
  for (int life = 0; life < 50; ++life) {
    ChildProcess writer([&](ChildProcess& self) {
      for (int count = 0;; ++count) {
        if (const TrvsStatus status = checkIn(path, tagOf(life, count))) {
          return static_cast<int>(status);
        }
        self.signal();
      }
    });
    ::usleep(static_cast<useconds_t>(random.below(40000)));
    EXPECT_TRUE(writer.isRunning());
    writer.kill();
    for (int count = writer.countSignals(); count > 0; --count) {
      acknowledged.insert(tagOf(life, count - 1));
    }
    ASSERT_EQ(History::toRead(path)->verify(nullptr), TRVS_DONE) << "life " << life;
  }
  EXPECT_EQ(checkIn(path, "last"), TRVS_DONE);
  const std::set<std::string> there = tagsOf(path);
  EXPECT_TRUE(std::includes(there.begin(), there.end(), acknowledged.begin(), acknowledged.end()));
  EXPECT_FALSE(std::filesystem::exists(path + ".trvs-new"));
}

TEST(ArchiveProcesses, AreServedOneAfterTheOtherWhileOthersRead) {
  constexpr int kWriters = 8;
  constexpr int kRevisions = 12;
  History history;
  const std::string& path = history.path();
  const auto writers = support::startProcesses(kWriters, [&](int writer, ChildProcess&) {
    for (int count = 0; count < kRevisions;) {
      const TrvsStatus status = checkIn(path, tagOf(writer, count));
      if (status != TRVS_DONE && status != TRVS_IN_USE) return static_cast<int>(status);
      if (status == TRVS_IN_USE) ::usleep(500);
      if (status == TRVS_DONE) ++count;
    }
    return 0;
  });
  size_t seen = 0;
  for (size_t done = 0; done < writers.size();) {
    const auto archive = History::toRead(path);
    const size_t count = archive->model().revisionCount();
    EXPECT_GE(count, seen) << "what was seen is there the next time";
    seen = count;
    EXPECT_EQ(archive->verify(nullptr), TRVS_DONE);
    if (writers[done]->isRunning()) continue;
    EXPECT_EQ(writers[done]->finish(), 0);
    ++done;
  }
  std::set<std::string> acknowledged;
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int count = 0; count < kRevisions; ++count) acknowledged.insert(tagOf(writer, count));
  }
  EXPECT_EQ(tagsOf(path), acknowledged);
}

// Of several that make one archive at once, one does, and the others are told so.
TEST(ArchiveProcesses, MakeAnArchiveOnce) {
  support::TemporaryDirectory directory;
  for (int round = 0; round < 20; ++round) {
    const std::string path = directory / std::to_string(round);
    const auto makers = support::startProcesses(4, [&](int maker, ChildProcess&) {
      btkf::ArchiveModel model;
      model.owner = std::to_string(maker);
      return static_cast<int>(Archive::forNew(path)->commit(model));
    });
    std::string winner;
    for (int maker = 0; maker < 4; ++maker) {
      const int status = makers[static_cast<size_t>(maker)]->finish();
      if (status == TRVS_DONE) {
        EXPECT_EQ(winner, "");
        winner = std::to_string(maker);
      } else {
        EXPECT_TRUE(status == TRVS_ARCHIVE_EXISTS || status == TRVS_IN_USE) << status;
      }
    }
    ASSERT_NE(winner, "");
    EXPECT_EQ(History::toRead(path)->model().owner, winner);
  }
}

}  // namespace
}  // namespace btkf520_test
