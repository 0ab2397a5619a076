// The profile library through its C functions, on files of a directory made for each test.
#include "kstrinin/kstrinin.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>

#include "support/files.h"

namespace {

namespace fs = std::filesystem;

class ProfileTest : public testing::Test {
 protected:
  void put(const std::string& text) const { support::writeFile(path_, text); }
  std::string content() const { return support::readFile(path_); }
  bool write(const char* section, const char* key, const char* value) const {
    const intptr_t handle = KSTRIniOpen(path_.c_str());
    const bool done = KSTRWriteProfileString(handle, section, key, value) != 0;
    const int code = KSTRIniGetError();
    EXPECT_NE(KSTRIniClose(handle), 0);
    error_ = code;
    return done;
  }
  std::optional<std::string> query(const char* section, const char* key,
                                   uint16_t size = 100) const {
    const intptr_t handle = KSTRIniOpen(path_.c_str());
    char buffer[100] = "untouched";
    const bool done = KSTRQueryProfileString(handle, section, key, buffer, size) != 0;
    error_ = KSTRIniGetError();
    KSTRIniClose(handle);
    if (!done) {
      EXPECT_STREQ(buffer, "untouched");
    }
    return done ? std::optional<std::string>(buffer) : std::nullopt;
  }

  const support::TemporaryDirectory directory_;
  std::string path_ = directory_ / "KSTR.INI";
  mutable int error_ = 0;
};

TEST_F(ProfileTest, QueryFindsTheFirstKeyInASectionOfThatName) {
  put("\xEF\xBB\xBF[First]\r\n"
      "TRVSPROJ=wrong section\r\n"
      "[TRVSGUI]\n"
      "; TRVSPROJ=a comment\n"
      "#TRVSPROJ=another\n"
      "  trvsProj\t=  V:\\db  \r\n"
      "TRVSPROJ=later\r\n"
      "EMPTY=\r\n"
      "QUOTED=\" both blanks \"\r\n"
      "EQUALS=a=b\r\n"
      "no line of a key\r\n"
      " [Other] \r\n"
      "FOREIGN=1\r\n"
      "[trvsgui]\r\n"
      "AGAIN=second part\r\n"
      "LAST=no line end");
  struct Case {
    const char* section;
    const char* key;
    std::optional<std::string> want;
  };
  const Case cases[] = {
      {"[TRVSGUI]", "TRVSPROJ", "V:\\db"},
      {"[First]", "trvsproj", "wrong section"},
      {"[TRVSGUI]", "EMPTY", ""},
      {"[TRVSGUI]", "QUOTED", " both blanks "},
      {"[TRVSGUI]", "EQUALS", "a=b"},
      {"[TRVSGUI]", "AGAIN", "second part"},
      {"[TRVSGUI]", "LAST", "no line end"},
      {"[Other]", "FOREIGN", "1"},
      {"[TRVSGUI]", "FOREIGN", std::nullopt},
      {"[TRVSGUI]", "TRVSPRO", std::nullopt},
      {"[Absent]", "TRVSPROJ", std::nullopt},
      {"[TRVSGUI]", "LASTX", std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.section) + c.key);
    EXPECT_EQ(query(c.section, c.key), c.want);
    EXPECT_EQ(error_, 0);
  }
  EXPECT_EQ(query("[TRVSGUI]", "LAST", 4), "no ") << "cut to the buffer";
  EXPECT_EQ(query("[TRVSGUI]", "LAST", 1), "");
}

TEST_F(ProfileTest, WriteChangesOneValueAndKeepsTheRest) {
  struct Case {
    const char* why;
    const char* before;
    const char* key;
    const char* value;
    const char* after;
  };
  const Case cases[] = {
      {"no content", "", "K", "v", "[S]\r\nK=v\r\n"},
      {"value replaced, its line end and neighbours kept", "; top\n\n[S]\nA=1\nk = old \nB=2\n",
       "K", "new", "; top\n\n[S]\nA=1\nk =new\nB=2\n"},
      {"added behind the last line of the section, ahead of the blank ones",
       "[S]\r\nA=1\r\n\r\n[T]\r\nK=t\r\n", "K", "v", "[S]\r\nA=1\r\nK=v\r\n\r\n[T]\r\nK=t\r\n"},
      {"section added", "[T]\nK=t", "K", "v", "[T]\nK=t\r\n[S]\r\nK=v\r\n"},
      {"last line without an end", "[S]\nA=1", "K", "v", "[S]\nA=1\r\nK=v\r\n"},
      {"found in a later part of the section", "[S]\nA=1\n[T]\n[s]\nK=1\n", "K", "2",
       "[S]\nA=1\n[T]\n[s]\nK=2\n"},
      {"a comment is no key", "[S]\n;K=1\n", "K", "2", "[S]\n;K=1\nK=2\r\n"},
      {"blanks at the ends", "", "K", " v ", "[S]\r\nK=\" v \"\r\n"},
      {"quotes of its own", "", "K", "\"v\"", "[S]\r\nK=\"\"v\"\"\r\n"},
      {"Latin-1 and stray carriage return", "[S]\nA=\xE9\rx\nK=1\n", "K", "\xE9",
       "[S]\nA=\xE9\rx\nK=\xE9\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    put(c.before);
    EXPECT_TRUE(write("[S]", c.key, c.value));
    EXPECT_EQ(content(), c.after);
    EXPECT_EQ(query("[S]", c.key), c.value);
  }
}

TEST_F(ProfileTest, ErrorsTellWhatIsWrong) {
  put("[S]\r\nK=v\r\n");
  char buffer[10] = "";
  const intptr_t open = KSTRIniOpen(path_.c_str());
  ASSERT_NE(open, 0);
  EXPECT_EQ(KSTRQueryProfileString(open, "S", "K", buffer, 10), 0);
  EXPECT_EQ(KSTRIniGetError(), -6);
  EXPECT_EQ(KSTRQueryProfileString(open, "[S]", "K", nullptr, 10), 0);
  EXPECT_EQ(KSTRIniGetError(), -10);
  EXPECT_EQ(KSTRQueryProfileString(open, "[S]", "K", buffer, 0), 0);
  EXPECT_EQ(KSTRIniGetError(), -10);
  for (const char* key : {"", "a=b", "a\nb", ";a", "[a", " a"}) {
    EXPECT_EQ(KSTRWriteProfileString(open, "[S]", key, "v"), 0) << key;
    EXPECT_EQ(KSTRIniGetError(), -7) << key;
  }
  for (const char* value : {"a\r\nB=2", "a\n", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(KSTRWriteProfileString(open, "[S]", "K", value), 0);
    EXPECT_EQ(KSTRIniGetError(), -8);
  }
  EXPECT_EQ(KSTRIniClose(open), 1);
  for (const intptr_t handle : {open, intptr_t{0}, intptr_t{-1}, intptr_t{123456}}) {
    EXPECT_EQ(KSTRIniClose(handle), 0);
    EXPECT_EQ(KSTRIniGetError(), -1);
    EXPECT_EQ(KSTRQueryProfileString(handle, "[S]", "K", buffer, 10), 0);
    EXPECT_EQ(KSTRIniGetError(), -1);
  }
  EXPECT_EQ(KSTRIniOpen(directory_.path().c_str()), 0) << "a directory";
  EXPECT_EQ(KSTRIniGetError(), -4);
  EXPECT_EQ(KSTRIniOpen(""), 0);
  EXPECT_EQ(KSTRIniGetError(), -4);
  put(std::string("[S]\0K=v", 7));
  EXPECT_EQ(KSTRIniOpen(path_.c_str()), 0) << "not a text";
  EXPECT_EQ(KSTRIniGetError(), -12);
  EXPECT_EQ(content(), std::string("[S]\0K=v", 7));
}

TEST_F(ProfileTest, FirstWriteMakesTheFileAndItsDirectories) {
  path_ = directory_ / "a/b/KSTR.INI";
  EXPECT_EQ(query("[S]", "K"), std::nullopt);
  EXPECT_EQ(error_, 0);
  EXPECT_FALSE(fs::exists(directory_ / "a")) << "a query makes nothing";
  EXPECT_TRUE(write("[S]", "K", "v"));
  EXPECT_EQ(content(), "[S]\r\nK=v\r\n");
}

TEST_F(ProfileTest, WriteKeepsModeAndLinkAndRefusesAReadOnlyFile) {
  const std::string real = directory_ / "real/file.ini";
  support::writeFile(real, "[S]\n");
  fs::create_symlink("real/file.ini", path_);
  ASSERT_EQ(chmod(real.c_str(), 0640), 0);
  EXPECT_TRUE(write("[S]", "K", "1"));
  EXPECT_TRUE(fs::is_symlink(path_));
  struct stat status {};
  ASSERT_EQ(stat(real.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  ASSERT_EQ(chmod(real.c_str(), 0440), 0);
  EXPECT_FALSE(write("[S]", "K", "2"));
  EXPECT_EQ(error_, -5);
  EXPECT_EQ(content(), "[S]\nK=1\r\n");
}

TEST_F(ProfileTest, FailedWriteLeavesTheOldFileAndNothingBesideIt) {
  const std::string old = "[S]\r\nK=" + std::string(3000, 'x') + "\r\n";
  put(old);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const rlimit limit{1000, 1000};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    const intptr_t handle = KSTRIniOpen(path_.c_str());
    const bool refused = KSTRWriteProfileString(handle, "[S]", "L", "v") == 0;
    _exit(refused && KSTRIniGetError() == -5 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(content(), old);
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator()), 1);
}

TEST_F(ProfileTest, WritersInSeveralProcessesLoseNothing) {
  constexpr int kWriters = 4;
  constexpr int kKeys = 15;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child != 0) continue;
    bool done = true;
    const intptr_t handle = KSTRIniOpen(path_.c_str());  // Opened before the others wrote.
    for (int i = 0; i < kKeys; ++i) {
      const std::string key = "K" + std::to_string(writer) + "_" + std::to_string(i);
      done = KSTRWriteProfileString(handle, "[S]", key.c_str(), "v") != 0 && done;
    }
    _exit(done ? 0 : 1);
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int i = 0; i < kKeys; ++i) {
      const std::string key = "K" + std::to_string(writer) + "_" + std::to_string(i);
      EXPECT_EQ(query("[S]", key.c_str()), "v") << key;
    }
  }
}

TEST(UserProfile, ComesFromTheEnvironment) {
  struct Case {
    const char* why;
    const char* named;
    const char* config;
    const char* home;
    const char* want;
  };
  const Case cases[] = {
      {"named", "/x/my.ini", "/c", "/h", "/x/my.ini"},
      {"configuration directory", "", "/c", "/h", "/c/trevault/KSTR.INI"},
      {"empty values count as none", "", "", "/h", "/h/.config/trevault/KSTR.INI"},
      {"a relative directory counts as none", "", "c", "/h", "/h/.config/trevault/KSTR.INI"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const support::ScopedEnvironment named("KSTR_INI", c.named);
    const support::ScopedEnvironment config("XDG_CONFIG_HOME", c.config);
    const support::ScopedEnvironment home("HOME", c.home);
    char buffer[100] = "";
    EXPECT_NE(KSTRGetKESTRIANINI(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, c.want);
    EXPECT_EQ(KSTRGetKESTRIANINI(buffer, static_cast<uint32_t>(std::string(c.want).size())), 0)
        << "no room for the NUL";
  }
}

}  // namespace
