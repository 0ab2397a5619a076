// btkf520/archive_process_test.cpp: several processes with one archive, and processes that die.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <set>
#include <utility>

#include "btkf520/history.h"

namespace btkf520_test {
namespace {

using btkf::Archive;

// What a revision with this tag holds, so that anybody can tell whether it is right.
std::string contentOf(const std::string& tag) {
  return Contents(7).text(30) + tag + Contents(8).text(30);
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

// Starts a process that runs `work` with the write end of a pipe, whose read end is *acknowledged.
template <typename Work>
pid_t start(const Work& work, int* acknowledged) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work(ends[1]));
  ::close(ends[1]);
  *acknowledged = ends[0];
  return child;
}

void acknowledge(int pipe, const std::string& tag) {
  if (::write(pipe, (tag + "\n").data(), tag.size() + 1) < 0) ::_exit(9);
}

// The tags that came through a pipe whose other end is closed.
std::set<std::string> receive(int pipe) {
  std::set<std::string> result;
  std::string tag;
  for (char c; ::read(pipe, &c, 1) == 1;) {
    if (c != '\n') {
      tag += c;
    } else {
      result.insert(std::exchange(tag, ""));
    }
  }
  ::close(pipe);
  return result;
}

int exitStatus(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
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
    int pipe = -1;
    const pid_t child = start(
        [&](int to) {
          for (int count = 0;; ++count) {
            const std::string tag = std::to_string(life) + "." + std::to_string(count);
            if (const TrvsStatus status = checkIn(path, tag)) return static_cast<int>(status);
            acknowledge(to, tag);
          }
        },
        &pipe);
    ::usleep(static_cast<useconds_t>(random.below(40000)));
    ::kill(child, SIGKILL);
    EXPECT_EQ(exitStatus(child), -SIGKILL);
    acknowledged.merge(receive(pipe));
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
  std::array<int, kWriters> pipes{};
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    const auto work = [&](int to) {
      for (int count = 0; count < kRevisions;) {
        const std::string tag = std::to_string(writer) + "." + std::to_string(count);
        const TrvsStatus status = checkIn(path, tag);
        if (status != TRVS_DONE && status != TRVS_IN_USE) return static_cast<int>(status);
        if (status == TRVS_IN_USE) ::usleep(500);
        if (status == TRVS_DONE) acknowledge(to, tag), ++count;
      }
      return 0;
    };
    writers.push_back(start(work, &pipes[static_cast<size_t>(writer)]));
  }
  size_t seen = 0;
  for (size_t done = 0; done < writers.size();) {
    const auto archive = History::toRead(path);
    const size_t count = archive->model().revisionCount();
    EXPECT_GE(count, seen) << "what was seen is there the next time";
    seen = count;
    EXPECT_EQ(archive->verify(nullptr), TRVS_DONE);
    int status = 0;
    if (::waitpid(writers[done], &status, WNOHANG) == 0) continue;
    EXPECT_EQ(status, 0);
    ++done;
  }
  std::set<std::string> acknowledged;
  for (const int pipe : pipes) acknowledged.merge(receive(pipe));
  EXPECT_EQ(acknowledged.size(), size_t{kWriters * kRevisions});
  EXPECT_EQ(tagsOf(path), acknowledged);
}

// Of several that make one archive at once, one does, and the others are told so.
TEST(ArchiveProcesses, MakeAnArchiveOnce) {
  support::TemporaryDirectory directory;
  for (int round = 0; round < 20; ++round) {
    const std::string path = directory / std::to_string(round);
    std::vector<pid_t> makers;
    std::array<int, 4> pipes{};
    for (int& pipe : pipes) {
      const auto make = [&](int) {
        btkf::ArchiveModel model;
        model.owner = std::to_string(::getpid());
        return static_cast<int>(Archive::forNew(path)->commit(model));
      };
      makers.push_back(start(make, &pipe));
    }
    std::string winner;
    for (const pid_t maker : makers) {
      const int status = exitStatus(maker);
      if (status == TRVS_DONE) {
        EXPECT_EQ(winner, "");
        winner = std::to_string(maker);
      } else {
        EXPECT_TRUE(status == TRVS_ARCHIVE_EXISTS || status == TRVS_IN_USE) << status;
      }
    }
    for (const int pipe : pipes) ::close(pipe);
    ASSERT_NE(winner, "");
    EXPECT_EQ(History::toRead(path)->model().owner, winner);
  }
}

}  // namespace
}  // namespace btkf520_test
