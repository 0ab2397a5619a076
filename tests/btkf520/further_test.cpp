// btkf520/further_test.cpp: what clients ask an archive for beyond revisions: notes of locks,
// numbers that stay free, a group that is left, workfiles that stay,
// contents that are listed, found and read.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <string>

#include "btkf520/archives.h"

namespace btkf520_test {
namespace {

class Further : public Archives {
 protected:
  // "1.0 ann why|...", without the times, each of which must have the form of one.
  std::string locks() const {
    const std::vector<std::string> texts = textsOf([&](char* buffer, int32_t size) {
      return TrvsListLocks(TRVS_CONTEXT, archive().c_str(), buffer, size);
    });
    std::string result;
    for (size_t i = 0; i + 3 < texts.size(); i += 4) {
      EXPECT_EQ(texts[i + 2].size(), std::string("2026-11-21 04:05:46").size()) << texts[i + 2];
      result += texts[i] + " " + texts[i + 1] + " " + texts[i + 3] + "|";
    }
    return result;
  }
  int32_t lockWith(const char* revision, const std::string& note) {
    return TrvsLockWithNote(TRVS_CONTEXT, archive().c_str(), revision, nullptr, note.c_str());
  }

  static struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status;
  }

  // A list whose texts may be empty, up to where nothing follows.
  template <typename Fetch>
  static std::vector<std::string> textsOf(const Fetch& fetch) {
    std::string buffer(1 << 16, '?');
    if (const int32_t status = fetch(buffer.data(), static_cast<int32_t>(buffer.size()))) {
      return {statusText(status)};
    }
    EXPECT_EQ(fetch(buffer.data(), 0), TRVS_BUFFER_TOO_SMALL);
    std::vector<std::string> texts;
    for (const char* text = buffer.data(); *text != '?'; text += std::strlen(text) + 1) {
      texts.emplace_back(text);
    }
    EXPECT_EQ(texts.back(), "");
    texts.pop_back();
    return texts;
  }
};

TEST_F(Further, LocksKeepTheirNotesAndTimes) {
  makeBranches();
  ASSERT_EQ(setAttributes(TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
  configure("MULTILOCK\n");
  EXPECT_EQ(locks(), "");
  for (const std::string& bad :
       {std::string(256, 'n'), std::string("two\nlines"), std::string("\x1b[2J")}) {
    EXPECT_EQ(lockWith("1.2", bad), TRVS_BAD_NAME);
  }
  ASSERT_EQ(lock("1.2"), TRVS_DONE);
  become("bob");
  const std::string longest(255, '\xE4');
  ASSERT_EQ(lockWith("1.2", longest), TRVS_DONE);
  become("cy");
  ASSERT_EQ(TrvsGetWithNote(TRVS_CONTEXT, target().c_str(), "1.1.1", nullptr, "the valve",
                            TRVS_GET_OVERWRITE),
            TRVS_DONE);
  EXPECT_TRUE(isWorkfileWritable());
  EXPECT_EQ(locks(), "1.2 ann |1.2 bob " + longest + "|1.1.1.0 cy the valve|");
  ASSERT_EQ(put("more\n", {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
  EXPECT_EQ(unlock("ann"), TRVS_DONE);
  EXPECT_EQ(locks(), "1.2 bob " + longest + "|1.1.1.1 cy the valve|") << "a lock that is kept";
  ASSERT_EQ(put("and more\n", {.flags = TRVS_PUT_READ_ONLY}), TRVS_DONE);
  EXPECT_EQ(unlock("bob"), TRVS_DONE);
  EXPECT_EQ(locks(), "");
}

// Where two check-ins meet, the second is told so if it wants to know.
TEST_F(Further, CheckInsStartNoBranchAndTakeNoNumberUnasked) {
  const std::map<std::string, uint32_t> flags = {{"-", 0},
                                                 {"tip", TRVS_PUT_NO_BRANCH},
                                                 {"new", TRVS_PUT_NEW_NUMBER},
                                                 {"branch", TRVS_PUT_BRANCH}};
  // The number that is asked for, "." for none; the flags; the status (10: misuse, 18, 19: no
  // number, 112: needs a branch, 113: exists), and the tip that the trunk has then, or the branch.
  const auto cases = support::table<4>(R"(
      1.2 -> tip -> 0 -> 1.3     | 1.1 -> tip -> 112 -> 1.2       | . -> tip -> 0 -> 1.3
      1.2 -> - -> 0 -> 1.3       | 1.2 -> new -> 113 -> 1.2       | 1.1 -> new -> 113 -> 1.2
      1.3 -> new -> 0 -> 1.3     | 1.7 -> new tip -> 0 -> 1.7     | 0.9 -> new -> 19 -> 1.2
      1.2.1.0 -> new -> 0 -> 1.2.1.0 | 1.2.1.0 -> tip -> 112 -> 1.2  | 1.1.1.1 -> tip -> 0 -> 1.1.1.1
      1.1.1 -> new -> 19 -> 1.2  | REL -> new -> 19 -> 1.2        | . -> new -> 19 -> 1.2
      REL -> tip -> 112 -> 1.2   | 1.2 -> tip branch -> 10 -> 1.2 | 1.3 -> new branch -> 19 -> 1.2)");
  for (const auto& [revision, names, status, want] : cases) {
    SCOPED_TRACE(revision + " " + names);
    unlink(archive().c_str());
    makeBranches();
    ASSERT_EQ(label("REL", "1.0"), TRVS_DONE);
    const char* const number = revision == "." ? nullptr : revision.c_str();
    EXPECT_EQ(std::to_string(put("new\n", {.revision = number, .flags = allOf(names, flags)})),
              status);
    const std::string all = " " + revisions() + " ";
    EXPECT_NE(all.find(" " + want + " "), std::string::npos) << all;
    EXPECT_EQ(support::pieces(revisions(), " ").size(), status == "0" ? 6u : 5u) << all;
  }
}

TEST_F(Further, ARevisionLeavesItsGroup) {
  configure("PROMOTE only\nEVENTTRIGGER PRELEAVE = echo $BTKF_EVENT $BTKF_WHAT\n");
  answerQuestions();
  const auto leave = [this](const char* group) {
    return TrvsLeaveGroup(TRVS_CONTEXT, archive().c_str(), group);
  };
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("0", {}), TRVS_DONE);
  ASSERT_EQ(lock(), TRVS_DONE);
  become("bob");
  EXPECT_EQ(leave("only"), TRVS_GROUP_LOCKED);
  become("ann");
  ASSERT_EQ(put("1", {}), TRVS_DONE);
  EXPECT_EQ(lock("1.0"), TRVS_GROUP_IN_THE_WAY);
  asked.clear();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(leave("only"), TRVS_DONE);
  // Whatever a trigger says: the output is the client's own.
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "PRELEAVE\n");
  EXPECT_TRUE(asked.ends_with("done:LEAVE:only ")) << asked;
  EXPECT_EQ(tree(), "1.0^ 1.1");
  EXPECT_EQ(lock("1.0"), TRVS_DONE);
  EXPECT_EQ(leave("only"), TRVS_DONE) << "the user's own lock is no obstacle";
  EXPECT_EQ(leave("only"), TRVS_NO_GROUP_REVISION);
  EXPECT_EQ(leave(nullptr), TRVS_MISUSE);
  const std::string owner = list([&](char* buffer, int32_t size) {
    std::fill_n(buffer, size, '\0');
    return TrvsGetOwner(TRVS_CONTEXT, archive().c_str(), buffer, size);
  });
  EXPECT_EQ(owner, "ann");
}

TEST_F(Further, WorkfilesMayBeRunIfTheFirstOneCould) {
  const auto modeAfter = [this](mode_t before, uint32_t flags) {
    unlink(workfile().c_str());
    if (before != 0) {
      write("m.c", "another");
      chmod(workfile().c_str(), before);
    }
    EXPECT_EQ(get({.flags = flags | TRVS_GET_OVERWRITE}), TRVS_DONE);
    return statusOf(workfile()).st_mode & 0777;
  };
  const mode_t old = umask(027);
  for (const bool isProgram : {false, true}) {
    SCOPED_TRACE(isProgram);
    unlink(archive().c_str());
    write("m.c", "echo");
    chmod(workfile().c_str(), isProgram ? 0744 : 0655);
    ASSERT_EQ(create(), TRVS_DONE);
    ASSERT_EQ(put({}), TRVS_DONE);
    uint32_t attributes = 0;
    ASSERT_EQ(TrvsGetAttributes(TRVS_CONTEXT, archive().c_str(), &attributes), TRVS_DONE);
    EXPECT_EQ((attributes & TRVS_ATTRIBUTE_EXECUTABLE) != 0, isProgram);
    EXPECT_EQ(modeAfter(0, 0), isProgram ? 0550u : 0440u);
    EXPECT_EQ(modeAfter(0, TRVS_GET_WRITABLE), isProgram ? 0750u : 0640u);
    EXPECT_EQ(modeAfter(0604, 0), isProgram ? 0505u : 0404u);
    ASSERT_EQ(setAttributes(isProgram ? 0 : 0x20u, isProgram ? 0x20u : 0), TRVS_DONE);
    EXPECT_EQ(modeAfter(0, 0), isProgram ? 0440u : 0550u);
    EXPECT_EQ(modeAfter(0711, 0), 0511u) << "as it was";
  }
  umask(old);
}

TEST_F(Further, WorkfilesThatAreEqualStay) {
  const utimbuf past{1000000000, 1000000000};
  const std::string wide = std::string(100000, 'w') + "$Author: ann $";
  for (const bool hasKeywords : {false, true}) {
    SCOPED_TRACE(hasKeywords);
    unlink(archive().c_str());
    configure(hasKeywords ? "EXPANDKEYWORDS\n" : "");
    ASSERT_EQ(create(), TRVS_DONE);
    ASSERT_EQ(put(hasKeywords ? std::string(100000, 'w') + "$Author$" : wide, {.time = minute(9)}),
              TRVS_DONE);
    // What the workfile holds; the flags, and whether it stays then.
    const std::tuple<std::string, uint32_t, bool> cases[] = {
        {wide, 0, true},
        {wide, TRVS_GET_OVERWRITE, true},
        {wide, TRVS_GET_OVERWRITE | TRVS_GET_LOCK, true},
        {wide, TRVS_GET_OVERWRITE | TRVS_GET_ARCHIVE_TIME, true},
        {wide, TRVS_GET_OVERWRITE | TRVS_GET_WRITABLE, true},
        {wide + "$", TRVS_GET_OVERWRITE, false},
        {std::string(100014, 'w'), TRVS_GET_OVERWRITE, false},
    };
    for (const auto& [bytes, flags, stays] : cases) {
      SCOPED_TRACE(testing::Message() << bytes.size() << " " << flags);
      unlink(workfile().c_str());
      write("m.c", bytes);
      chmod(workfile().c_str(), (flags & TRVS_GET_WRITABLE) != 0 ? 0444 : 0644);
      link(workfile().c_str(), path("old").c_str());  // So that its inode isn't free.
      utime(workfile().c_str(), &past);
      const struct stat before = statusOf(workfile());
      ASSERT_EQ(get({.flags = flags}), TRVS_DONE);
      const struct stat after = statusOf(workfile());
      EXPECT_EQ(before.st_ino == after.st_ino, stays);
      const bool hasTime = (flags & TRVS_GET_ARCHIVE_TIME) != 0;
      EXPECT_EQ(before.st_mtime == after.st_mtime, stays && !hasTime);
      EXPECT_EQ(after.st_mtime < before.st_mtime, hasTime) << "the check-in was before";
      EXPECT_EQ(isWorkfileWritable(), (flags & (TRVS_GET_WRITABLE | TRVS_GET_LOCK)) != 0);
      EXPECT_EQ(support::readFile(workfile()), wide);
      unlink(path("old").c_str());
    }
    const std::string held = list([this](char* buffer, int32_t size) {
      return TrvsListLocks(TRVS_CONTEXT, archive().c_str(), buffer, size);
    });
    EXPECT_TRUE(held.starts_with("1.0 ann ")) << held;
  }
}

TEST_F(Further, ContentsAreListedFoundAndRead) {
  const auto listed = [this](const char* range) {
    std::string all;
    for (const std::string& text : textsOf([&](char*buffer, int32_t size) {
           return TrvsListContents(TRVS_CONTEXT, archive().c_str(), range, buffer, size);
         })) {
      all += text + "|";
    }
    return all;
  };
  const auto found = [this](std::string_view bytes) {
    char number[40] = "";
    write("other", bytes);
    const int32_t status = TrvsFindContent(
        TRVS_CONTEXT, (archive() + "(" + path("other") + ")").c_str(), number, sizeof number);
    return status == TRVS_DONE ? number : statusText(status);
  };
  const auto read = [this](const char* revision, uint32_t flags) {
    std::string taken;
    const auto take = [](void* client, const void* bytes, uint64_t size) -> int32_t {
      static_cast<std::string*>(client)->append(static_cast<const char*>(bytes),
                                                static_cast<size_t>(size));
      return TRVS_GO_ON;
    };
    const int32_t status =
        TrvsReadRevision(TRVS_CONTEXT, archive().c_str(), revision, -1, take, &taken, flags);
    const int file = open(path("out").c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
    EXPECT_EQ(
        TrvsReadRevision(TRVS_CONTEXT, archive().c_str(), revision, file, nullptr, nullptr, flags),
        status);
    close(file);
    if (status != TRVS_DONE) return statusText(status);
    EXPECT_TRUE(support::readFile(path("out")) == taken);
    return taken;
  };
  configure("EXPANDKEYWORDS\n");
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
  EXPECT_EQ(found(""), statusText(TRVS_NO_REVISIONS));
  const std::string wide(3 << 20, 'w');
  const std::string contents[] = {"$Revision$", "", "$Revision$\n", wide, "$Revision$"};
  for (const std::string& content : contents) {
    write("m.c", content);
    const utimbuf time{1000000000, 1000000000};
    utime(workfile().c_str(), &time);
    ASSERT_EQ(put({.author = content.empty() ? nullptr : "bo", .time = minute(1)}), TRVS_DONE);
  }
  ASSERT_EQ(put("", {.revision = "1.0", .time = minute(2), .flags = TRVS_PUT_OLDER}), TRVS_DONE);
  char time[40];
  const time_t seconds = 1000000000;
  strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S", localtime(&seconds));
  EXPECT_EQ(listed("1.0"), "1.0|10|89bb3cc7f90ecf34|" + std::string(time) + "|bo|");
  EXPECT_EQ(listed("1.1"), "1.1|0|ef46db3751d8e999|" + std::string(time) + "|ann|");
  EXPECT_EQ(listed("1.9"), statusText(TRVS_NO_REVISION) + "|");
  // As it is stored, then as it is checked out; the branch is newer than 1.1.
  EXPECT_EQ(found("$Revision$"), "1.4");
  EXPECT_EQ(found("$Revision: 1.0 $"), "1.0");
  EXPECT_EQ(found("$Revision: 1.2 $\n"), "1.2");
  EXPECT_EQ(found("$Revision: 1.1 $"), statusText(TRVS_NO_REVISION));
  EXPECT_EQ(found(""), "1.0.1.0");
  EXPECT_EQ(found(wide), "1.3");
  EXPECT_EQ(found(wide.substr(1) + "v"), statusText(TRVS_NO_REVISION));
  unlink(path("other").c_str());
  char number[4];
  EXPECT_EQ(TrvsFindContent(TRVS_CONTEXT, archive().c_str(), number, 4), TRVS_NO_WORKFILE);
  EXPECT_EQ(read("1.2", 0), "$Revision$\n");
  EXPECT_EQ(read(nullptr, TRVS_READ_EXPANDED), "$Revision: 1.4 $");
  EXPECT_TRUE(read("1.3", TRVS_READ_EXPANDED) == wide);
  EXPECT_EQ(read("1.1", 0), "");
  EXPECT_EQ(read("1.7", 0), statusText(TRVS_NO_REVISION));
  EXPECT_EQ(read(nullptr, 2), statusText(TRVS_MISUSE));
  const auto refuse = [](void*, const void*, uint64_t) -> int32_t { return TRVS_REFUSE; };
  const auto readTo = [&](int descriptor, TrvsContentCallback callback) {
    return TrvsReadRevision(TRVS_CONTEXT, archive().c_str(), "1.3", descriptor, callback, nullptr,
                            0);
  };
  EXPECT_EQ(readTo(-1, refuse), TRVS_CANCELLED);
  EXPECT_EQ(readTo(0, refuse), TRVS_MISUSE) << "both";
  EXPECT_EQ(readTo(-1, nullptr), TRVS_MISUSE);
  const int full = open("/dev/full", O_WRONLY);
  EXPECT_EQ(readTo(full, nullptr), TRVS_CANNOT_WRITE);
  close(full);
  become("zoe");
  ASSERT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "bo"), TRVS_DONE);
  EXPECT_EQ(read("1.2", 0), statusText(TRVS_NO_ACCESS));
  EXPECT_EQ(found(""), statusText(TRVS_NO_ACCESS));
}

}  // namespace
}  // namespace btkf520_test
