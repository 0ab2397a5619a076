// btkf520/batch_test.cpp: changes of many archives in one batch: what is promised, and what is left
// of those that are not.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <random>

#include "btkf520/archives.h"
#include "os/systemcalls.h"
#include "support/childprocess.h"
#include "support/limits.h"

namespace btkf520_test {
namespace {

using support::ChildProcess;

class Batch : public Archives {
 protected:
  void SetUp() override {
    Archives::SetUp();
    configure("JOURNAL = " + path("journal") + "\n");
    undone.clear();
    answerQuestions();
    TrvsRegisterCallback(TRVS_CALLBACK_UNDONE,
                         anyCallback(+[](const char* archive, const char* event, int32_t status) {
                           const std::string name = archive;
                           undone += name.substr(name.rfind('/') + 1) + " " + event + " " +
                                     std::to_string(status) + ", ";
                           return int32_t{TRVS_GO_ON};
                         }));
  }

  // The archive and the workfile of a number.
  std::string archiveOf(int i) const { return path(below_ + "a" + std::to_string(i)); }
  std::string workfileOf(int i) const { return path(below_ + "w" + std::to_string(i)); }
  std::string both(int i) const { return archiveOf(i) + "(" + workfileOf(i) + ")"; }

  int32_t make(int i) {
    support::writeFile(workfileOf(i), "first");
    return TrvsCreateWithRevision(TRVS_CONTEXT, archiveOf(i).c_str(), workfileOf(i).c_str(),
                                  nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                                  0);
  }
  int32_t labelOf(int i, const char* name) {
    return TrvsSetLabel(TRVS_CONTEXT, archiveOf(i).c_str(), name, "1.0", 0);
  }
  std::string labelsOf(int i) const {
    return list([&](char* buffer, int32_t size) {
      return TrvsListLabels(TRVS_CONTEXT, archiveOf(i).c_str(), buffer, size);
    });
  }
  std::string locksOf(int i) const {
    return list([&](char* buffer, int32_t size) {
      return TrvsListLocks(TRVS_CONTEXT, archiveOf(i).c_str(), buffer, size);
    });
  }
  // The content of the tip.
  std::string tipOf(int i) const {
    const int32_t status = getTo(archiveOf(i) + "(" + path("out") + ")", TRVS_GET_OVERWRITE);
    return status == TRVS_DONE ? support::readFile(path("out")) : statusText(status);
  }
  // Its content, its labels, whether it is locked and whether there is a workfile.
  std::string stateOf(int i) const {
    return tipOf(i) + " " + labelsOf(i) + (locksOf(i).starts_with("1.0 ann") ? " lock" : " ") +
           (isThere(workfileOf(i)) ? " work" : " ");
  }
  static bool isThere(const std::string& file) { return access(file.c_str(), F_OK) == 0; }
  static int32_t begin() { return TrvsBeginBatch(TRVS_CONTEXT); }
  static int32_t end() { return TrvsEndBatch(TRVS_CONTEXT); }

  static inline std::string undone;
  std::string below_;  // Where archives and workfiles are.
};

TEST_F(Batch, TellsAndSettlesNothingBeforeItsEnd) {
  ASSERT_EQ(make(0), TRVS_DONE);
  EXPECT_EQ(end(), TRVS_MISUSE);
  EXPECT_EQ(begin(), TRVS_DONE);
  EXPECT_EQ(begin(), TRVS_MISUSE) << "they don't nest";
  const auto told = [] {
    const std::string all = std::exchange(asked, "");
    std::string result;
    for (const std::string& word : support::pieces(all, " ")) {
      if (word.starts_with("done:")) result += word.substr(5) + " ";
    }
    return result;
  };
  told();
  ASSERT_EQ(make(1), TRVS_DONE);
  ASSERT_EQ(labelOf(0, "R"), TRVS_DONE);
  {
    const os_test::SystemCalls full([](const os_test::Call& call) {
      return call.name == "pwrite" && call.path.starts_with("a2") ? ENOSPC : 0;
    });
    EXPECT_NE(make(2), TRVS_DONE);
  }
  EXPECT_EQ(labelOf(2, "R"), TRVS_NO_ARCHIVE) << "nothing of it waits";
  EXPECT_EQ(told(), "");
  EXPECT_TRUE(isThere(workfileOf(1)));
  EXPECT_FALSE(isThere(archiveOf(1)));
  const auto another = [this] { return static_cast<int>(labelOf(0, "OTHER")); };
  // What waits belongs to this process; the other one's copy of it would be given up with it.
  EXPECT_EQ(support::inProcess([&] {
              TrvsState* state = nullptr;
              if (TrvsNewState(&state) != 0 || TrvsExchangeState(&state) != 0) return -1;
              return another();
            }),
            TRVS_IN_USE);
  // A batch that has changed an archive sees it, whatever it is called.
  EXPECT_EQ(TrvsLockRevision(TRVS_CONTEXT, path("./a1").c_str(), nullptr, nullptr), TRVS_DONE);
  EXPECT_EQ(told(), "CREATE: CHECKIN:1.0 LABEL:R ");
  EXPECT_FALSE(isThere(workfileOf(1)));
  EXPECT_EQ(make(1), TRVS_ARCHIVE_EXISTS);
  EXPECT_EQ(told(), "LOCK:1.0 ");
  EXPECT_TRUE(isThere(workfileOf(1)));
  // The lock comes before the workfile.
  ASSERT_EQ(getTo(both(0), TRVS_GET_LOCK | TRVS_GET_OVERWRITE), TRVS_DONE);
  EXPECT_FALSE(isThere(workfileOf(0)));
  configure("");  // What is done already is told as it was configured.
  EXPECT_EQ(end(), TRVS_DONE);
  EXPECT_EQ(told(), "CHECKOUT:1.0 ");
  EXPECT_EQ(support::readFile(workfileOf(0)), "first");
  EXPECT_EQ(labelsOf(0), "R 1.0");
  EXPECT_EQ(undone, "");
  const std::string journal = support::readFile(path("journal"));
  EXPECT_NE(journal.find("\tCHECKOUT\t" + archiveOf(0) + "\t1.0\n"), std::string::npos);
}

// A real fault: a workfile whose time had been set back was removed with what no archive had.
TEST_F(Batch, LeavesAWorkfileThatWasChangedUnderTheSameTime) {
  ASSERT_EQ(begin(), TRVS_DONE);
  ASSERT_EQ(make(0), TRVS_DONE);
  ASSERT_EQ(make(1), TRVS_DONE);
  const auto time = std::filesystem::last_write_time(workfileOf(0));
  std::string other = support::readFile(workfileOf(0));
  other.back() = '~';
  support::writeFile(workfileOf(0), other);
  std::filesystem::last_write_time(workfileOf(0), time);
  ASSERT_EQ(end(), TRVS_DONE);
  EXPECT_EQ(support::readFile(workfileOf(0)), other);
  EXPECT_FALSE(isThere(workfileOf(1)));
}

// What can't be brought to the disk is as it was, all of it; and what is said of it is right
// whatever fails.
TEST_F(Batch, LosesNothingToASystemThatFails) {
  const os_test::QuickSyncs quick;
  for (const bool isDisk : {true, false}) {
    bool hasFailed = true;
    for (int attempt = 0; hasFailed; ++attempt) {
      ASSERT_EQ(begin(), TRVS_DONE);
      for (int i = 0; i < 5; ++i) {
        unlink(archiveOf(i).c_str());
        unlink(workfileOf(i).c_str());
        ASSERT_EQ(i == 4 ? 0 : make(i), TRVS_DONE);
      }
      ASSERT_EQ(end(), TRVS_DONE);
      write("w4", "first");
      write("w0", "second");
      ASSERT_EQ(TrvsLockRevision(TRVS_CONTEXT, archiveOf(0).c_str(), nullptr, nullptr), 0);
      undone.clear();
      asked.clear();
      hasFailed = false;
      int32_t statuses[5];
      int left = attempt;
      std::string failed;
      {
        // Either all that brings something to the disk fails from some time on, or one call.
        const os_test::SystemCalls calls([&](const os_test::Call& call) {
          const bool counts = !isDisk || call.name == "syncfs" || call.name == "fsync";
          if (!counts || left-- > 0 || (hasFailed && !isDisk)) return 0;
          // A workfile may stay.
          if (!isDisk && (call.name + call.path).starts_with("unlinkw")) return 0;
          hasFailed = true;
          failed += call.name + " " + call.path + " ";
          return EIO;
        });
        ASSERT_EQ(begin(), TRVS_DONE);
        statuses[0] = putFrom(both(0), {.flags = TRVS_PUT_OLDER});
        statuses[1] = labelOf(1, "R");
        statuses[2] = getTo(both(2), TRVS_GET_LOCK | TRVS_GET_OVERWRITE);
        statuses[3] = labelOf(3, "R");
        statuses[4] = TrvsCreateWithRevision(TRVS_CONTEXT, archiveOf(4).c_str(),
                                             workfileOf(4).c_str(), nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, 0, 0);
        const bool isDone = end() == TRVS_DONE;
        EXPECT_EQ(isDone, undone.empty());
      }
      SCOPED_TRACE(failed + "; " + undone);
      // What stateOf() says before and after.
      const struct {
        const char *event, *before, *after;
      } changes[] = {{"CHECKIN", "first  lock work", "second   "},
                     {"LABEL", "first   ", "first R 1.0  "},
                     {"CHECKOUT", "first   ", "first  lock work"},
                     {"LABEL", "first   ", "first R 1.0  "},
                     {"CREATE", "status 2 status 2  work", "first   "}};
      ASSERT_EQ(begin(), TRVS_DONE);
      for (int i = 0; i < 5; ++i) {
        const auto& [event, before, after] = changes[i];
        const std::string name = "a" + std::to_string(i);
        const bool isDone =
            statuses[i] == TRVS_DONE && undone.find(name + " " + event) == std::string::npos;
        // A workfile stays if the archive's name may not be on the disk, or if it can't be looked
        // at again.
        const bool isUnread = failed.ends_with(" w" + std::to_string(i) + " ");
        const bool stays = hasFailed && isDone && (i == 0 || i == 4) && (isDisk || isUnread);
        EXPECT_EQ(stateOf(i), (isDone ? after : before) + std::string(stays ? "work" : "")) << i;
        EXPECT_FALSE(isDisk && attempt == 0 && isDone) << i;
        EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archiveOf(i).c_str(), nullptr, 0),
                  i == 4 && !isDone ? TRVS_NO_ARCHIVE : TRVS_DONE);
        EXPECT_EQ(i == 4 && !isDone ? make(4) : labelOf(i, "AGAIN"), TRVS_DONE);
      }
      EXPECT_EQ(end(), TRVS_DONE);
      for (int i = 0; i < 5; ++i) EXPECT_FALSE(isThere(archiveOf(i) + ".trvs-new"));
    }
  }
  const os_test::SystemCalls calls([](const os_test::Call& call) {
    const bool isName = call.name == "fsync" && !call.path.ends_with(".trvs-new");
    return isName || call.name == "syncfs" ? EIO : 0;
  });
  asked.clear();
  EXPECT_EQ(make(6), TRVS_DONE);
  EXPECT_TRUE(isThere(workfileOf(6)));
  EXPECT_TRUE(asked.starts_with("? ")) << asked;
}

// One archive that can't be changed is no obstacle to the others; and no process waits for another
// while others wait for it.
TEST_F(Batch, GoesOnWithoutWhatOthersHold) {
  for (int i = 0; i < 3; ++i) ASSERT_EQ(make(i), TRVS_DONE);
  const auto members = support::startProcesses(2, [&](int which, ChildProcess&) {
    for (int round = 0; round < 20; ++round) {
      const std::string name = std::to_string(which) + "_" + std::to_string(round);
      if (begin() != TRVS_DONE) return 1;
      for (int i = 0; i < 3; ++i) {
        if (labelOf(which == 0 ? i : 2 - i, name.c_str()) != TRVS_DONE) return 2;
      }
      if (end() != TRVS_DONE) return 3;
    }
    return 0;
  });
  for (const auto& member : members) EXPECT_EQ(member->finish(), 0);
  TrvsRegisterCallback(TRVS_CALLBACK_RETRY, nullptr);
  ChildProcess holder([&](ChildProcess& self) {
    if (begin() != TRVS_DONE || labelOf(1, "HELD") != TRVS_DONE) return 1;
    self.signal();
    self.await();
    return static_cast<int>(end());
  });
  ASSERT_TRUE(holder.await());
  ASSERT_EQ(begin(), TRVS_DONE);
  EXPECT_EQ(labelOf(0, "R"), TRVS_DONE);
  EXPECT_EQ(labelOf(1, "R"), TRVS_IN_USE);
  {
    const support::SizeLimit full(10);
    EXPECT_EQ(labelOf(2, "FULL"), TRVS_CANNOT_WRITE);
  }
  EXPECT_EQ(labelOf(2, "R"), TRVS_DONE);
  EXPECT_EQ(end(), TRVS_DONE);
  holder.signal();
  EXPECT_EQ(holder.finish(), TRVS_DONE);
  EXPECT_TRUE(labelsOf(1).ends_with(" HELD 1.0")) << labelsOf(1);
  for (const int i : {0, 2}) EXPECT_TRUE(labelsOf(i).ends_with(" R 1.0")) << labelsOf(i);
}

// On a small file system of its own: some check-ins find no room.
TEST_F(Batch, LosesNothingToAFullDisk) {
  below_ = "small/";
  std::filesystem::create_directory(path(below_));
  const int result = support::inProcess([&] {
    if (unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", path(below_).c_str(), "tmpfs", 0, "size=800k") != 0) {
      return 77;
    }
    constexpr int kCount = 12;
    std::mt19937 random(3);
    std::string noise(30000, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    for (int i = 0; i < kCount; ++i) {
      EXPECT_EQ(make(i), TRVS_DONE);
      EXPECT_EQ(TrvsLockRevision(TRVS_CONTEXT, archiveOf(i).c_str(), nullptr, nullptr), TRVS_DONE);
      support::writeFile(workfileOf(i), noise + std::to_string(i));
    }
    support::writeFile(path(below_ + "filler"), noise + noise + noise);
    std::string done;
    for (const char* const want : {"some", "all"}) {
      undone.clear();
      int32_t statuses[kCount] = {};
      EXPECT_EQ(begin(), TRVS_DONE);
      for (int i = 0; i < kCount; ++i) {
        const bool isLeft = done.find(" " + std::to_string(i) + " ") == std::string::npos;
        if (isLeft) statuses[i] = putFrom(both(i), {.flags = TRVS_PUT_OLDER});
      }
      EXPECT_EQ(end(), TRVS_DONE) << "what waits has its room: " << undone;
      done.clear();
      for (int i = 0; i < kCount; ++i) {
        const bool isDone = statuses[i] == TRVS_DONE;
        if (isDone) done += " " + std::to_string(i) + " ";
        EXPECT_TRUE(isDone || statuses[i] == TRVS_CANNOT_WRITE) << statuses[i];
        EXPECT_EQ(isThere(workfileOf(i)), !isDone);
        EXPECT_TRUE(tipOf(i) == (isDone ? noise + std::to_string(i) : "first"));
        EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archiveOf(i).c_str(), nullptr, 0), TRVS_DONE);
        EXPECT_FALSE(isThere(archiveOf(i) + ".trvs-new"));
      }
      EXPECT_FALSE(done.empty());
      EXPECT_EQ(done.ends_with(" 11 "), std::string_view(want) == "all") << done;
      std::filesystem::remove(path(below_ + "filler"));
    }
    return HasFailure() ? 1 : 0;
  });
  if (result == 77) GTEST_SKIP() << "no file system of its own can be mounted";
  EXPECT_EQ(result, 0);
}

// The directory takes no names from some time on: what is added to a file is done all the same.
TEST_F(Batch, LosesNothingToADirectoryThatIsClosed) {
  below_ = "closed/";
  chmod(path("").c_str(), 0777);
  EXPECT_EQ(support::inProcess([&] {
              if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 99;
              std::filesystem::create_directory(path(below_));
              EXPECT_EQ(make(0), TRVS_DONE);
              EXPECT_EQ(make(1), TRVS_DONE);
              EXPECT_EQ(begin(), TRVS_DONE);
              EXPECT_EQ(labelOf(0, "R"), TRVS_DONE);
              EXPECT_EQ(make(2), TRVS_DONE) << "it has no name yet";
              chmod(path(below_).c_str(), 0555);
              EXPECT_EQ(labelOf(1, "R"), TRVS_DONE);
              EXPECT_EQ(end(), TRVS_CANNOT_WRITE);
              EXPECT_EQ(undone, "a2 CREATE 77, ");
              for (const int i : {0, 1}) EXPECT_EQ(labelsOf(i), "R 1.0");
              EXPECT_FALSE(isThere(archiveOf(2)));
              EXPECT_EQ(support::readFile(workfileOf(2)), "first");
              chmod(path(below_).c_str(), 0755);
              EXPECT_EQ(make(2), TRVS_DONE);
              EXPECT_FALSE(isThere(archiveOf(2) + ".trvs-new"));
              return HasFailure() ? 1 : 0;
            }),
            0);
}

// More archives than files may be open, at once or in one process at all.
TEST_F(Batch, IsAsLongAsItHasTo) {
  for (const auto& [most, count] : {std::pair<rlim_t, int>{24, 20}, {64, 80}, {4096, 1030}}) {
    const int failed = support::inProcess([&, most = most, count = count] {
      const rlimit limit{most, most};
      if (setrlimit(RLIMIT_NOFILE, &limit) != 0 || begin() != TRVS_DONE) return 1;
      for (int i = 0; i < count; ++i) {
        if (const int32_t status = make(i)) return static_cast<int>(status) + 100;
        if (i % 3 == 0 && getTo(both(i), TRVS_GET_LOCK) != TRVS_DONE) return 2;
      }
      if (end() != TRVS_DONE) return 3;
      for (int i = 0; i < count; ++i) {
        if (tipOf(i) != "first" || isThere(workfileOf(i)) != (i % 3 == 0)) return 4;
        unlink(archiveOf(i).c_str());
        unlink(workfileOf(i).c_str());
      }
      return 0;
    });
    EXPECT_EQ(failed, 0) << most;
  }
}

}  // namespace
}  // namespace btkf520_test
