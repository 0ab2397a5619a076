// bench/single_change.cpp: what one change costs in an archive that is large, or has a long
// history.
//
// The cost of a change has to follow the change and not the archive. So the peer is the same call
// in a small archive, or in one with a short history, and the ratio tells what the rest of the
// archive adds. A round of check-ins is long enough to hold its part of the archives that are
// written anew, and tells the time of the processor only.
//
//     single_change [REVISIONS]    of the long history: 10,000, which take half a minute to make,
//                                  if it is not given; 3,000 at least
//
// Runs in $TMPDIR, else in /tmp, and needs 3 GB there.
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "processes.h"
#include "support/files.h"

namespace {

// Nobody waits for the disk while the archives are made: ten thousand times would take too long.
bool isMaking = false;

int syncUnlessMaking(long call, int descriptor) {
  return isMaking ? 0 : static_cast<int>(syscall(call, descriptor));
}

}  // namespace

// The loader prefers these to the C library's, for the shared library too.
extern "C" {
__attribute__((visibility("default"))) int fsync(int descriptor) {
  return syncUnlessMaking(SYS_fsync, descriptor);
}
__attribute__((visibility("default"))) int fdatasync(int descriptor) {
  return syncUnlessMaking(SYS_fdatasync, descriptor);
}
}

namespace {

using bench::check;
using bench::Cost;
using bench::costOf;
using bench::Way;

constexpr size_t kLocks = 41;
constexpr size_t kCheckInRounds = 9;
constexpr size_t kCheckInsInRound = 20;
constexpr int kLabels = 1000;
constexpr int kFewest = 3000;

int revisions = 10'000;

void checkDone(int32_t status, const char* what) {
  check(status == TRVS_DONE, std::string(what) + ": status " + std::to_string(status));
}

class Archives {
 public:
  void run() {
    isMaking = true;
    const Cost cost = costOf([&] {
      makeOfNoise("large", size_t{1} << 30);
      makeOfNoise("small", 10 << 10);
      makeHistories();
    });
    isMaking = false;
    sync();
    std::printf("\narchives made in %.1f s\n", cost.clock);
    bench::printCostHead();
    lock("lock, 1 GB", "large", "10 KB", "small", 3);
    lock(("lock, " + std::to_string(revisions) + " revisions").c_str(), "long", "10 revisions",
         "10", revisions >= 10'000 ? 10 : 0);
    checkIn();
  }

 private:
  std::string archive(const std::string& name) const { return directory_ / (name + "_v"); }
  std::string both(const std::string& name) const {
    return archive(name) + "(" + (directory_ / name) + ")";
  }

  // One revision that can't be packed.
  void makeOfNoise(const char* name, size_t size) {
    {
      std::ofstream file(directory_ / name, std::ios::binary);
      std::vector<uint64_t> block(1 << 10);
      for (size_t left = size; left > 0;) {
        for (uint64_t& each : block) each = random_();
        const size_t part = std::min(left, block.size() * sizeof block[0]);
        file.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(part));
        left -= part;
      }
      check(file.flush().good(), "a workfile");
    }
    checkDone(
        TrvsCreateWithRevision(TRVS_CONTEXT, archive(name).c_str(), (directory_ / name).c_str(),
                               nullptr, nullptr, nullptr, nullptr, "new", nullptr, nullptr, 0, 0),
        "a creation");
    check(std::filesystem::file_size(archive(name)) >= size, "all bytes in the archive");
  }

  // One history, with a copy of the archive when it has as many revisions as its name says.
  void makeHistories() {
    const std::string work = directory_ / "history";
    checkDone(TrvsCreateArchive(archive("history").c_str(), work.c_str(), nullptr, nullptr, 0, 0),
              "a creation");
    for (int count = 1; count <= revisions; ++count) {
      checkInOne("history");
      if (count == 10 || count == 300 || count == 3000) copyHistory(std::to_string(count));
    }
    for (int label = 0; label < kLabels; ++label) {
      checkDone(TrvsSetLabel(TRVS_CONTEXT, archive("history").c_str(),
                             ("REL_" + std::to_string(label)).c_str(),
                             ("1." + std::to_string(label * (revisions / kLabels))).c_str(), 0),
                "a label");
    }
    copyHistory("long");
    unlock("10");
    unlock("long");
  }

  void copyHistory(const std::string& name) const {
    std::filesystem::copy_file(archive("history"), archive(name));
  }

  // A text of 40 lines, one of which is new. The new revision stays locked.
  void checkInOne(const std::string& name) {
    writeNext(name);
    putRevision(name);
  }

  void writeNext(const std::string& name) {
    lines_[random_() % lines_.size()] = "a line with " + std::to_string(random_()) + "\n";
    std::string text;
    for (const std::string& line : lines_) text += line;
    support::writeFile(directory_ / name, text);
  }

  void putRevision(const std::string& name) const {
    checkDone(TrvsPutRevision(TRVS_CONTEXT, 0, both(name).c_str(), 0, nullptr, nullptr, nullptr,
                              "changed", nullptr, nullptr, 0, TRVS_PUT_KEEP_LOCK | TRVS_PUT_OLDER),
              "a check-in");
  }

  void unlock(const std::string& name) const {
    checkDone(TrvsUnLockRevision(TRVS_CONTEXT, archive(name).c_str(), nullptr, nullptr),
              "an unlock");
  }

  void lock(const char* what, const char* ours, const char* peerText, const char* peer,
            double aim) const {
    const auto way = [&](const char* text, const std::string& name) {
      return Way{text, [this, name] {
                   const std::string path = archive(name);
                   const Cost cost = costOf([&] {
                     checkDone(TrvsLockRevision(TRVS_CONTEXT, path.c_str(), nullptr, nullptr),
                               "a lock");
                   });
                   unlock(name);
                   return cost;
                 }};
    };
    std::vector<Way> ways{way(what, ours), way(peerText, peer)};
    for (size_t round = 0; round < kLocks; ++round) bench::runInTurn(&ways, round);
    printRatio(what, ways[0], ways[1], aim);
  }

  void checkIn() {
    const auto way = [&](const char* text, const std::string& name) {
      return Way{text, [this, name] {
                   double processor = 0;
                   for (size_t i = 0; i < kCheckInsInRound; ++i) {
                     writeNext(name);
                     processor += costOf([&] { putRevision(name); }).processor / kCheckInsInRound;
                   }
                   return Cost{processor, processor};
                 }};
    };
    std::vector<Way> ways{way("3,000 revisions", "3000"), way("300 revisions", "300")};
    for (size_t round = 0; round < kCheckInRounds; ++round) bench::runInTurn(&ways, round);
    printRatio("CPU of a check-in, 3,000 revisions", ways[0], ways[1], 2);
    for (const char* each : {"300", "3000"}) {
      checkDone(TrvsVerifyArchive(TRVS_CONTEXT, archive(each).c_str(), nullptr, 0),
                "a whole archive");
    }
  }

  support::TemporaryDirectory directory_;
  std::mt19937_64 random_{1};
  std::vector<std::string> lines_ = std::vector<std::string>(40, "a line\n");
};

void run() {
  bench::runAndTellWhere([] { Archives().run(); });
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) revisions = std::max(std::atoi(arguments[1]), kFewest);
  return bench::runAll(run);
}
