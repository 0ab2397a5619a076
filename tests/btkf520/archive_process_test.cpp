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
  btkf::Revision revision;
  revision.changeDescription = tag;
  return History::add(path, "1", contentOf(tag), revision);
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
