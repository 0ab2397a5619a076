// The profile library through its C functions, on files of a directory made for each test.
#include "kstrinin/kstrinin.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>

#include "support/childprocess.h"
#include "support/files.h"
#include "support/table.h"

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
  put("\xEF\xBB\xBF[First]\r\nTRVSPROJ=wrong section\r\n[TRVSGUI]\n; TRVSPROJ=a comment\n"
      "#TRVSPROJ=another\n  trvsProj\t=  V:\\db  \r\nTRVSPROJ=later\r\nEMPTY=\r\n"
      "QUOTED=\" both blanks \"\r\nEQUALS=a=b\r\nno line of a key\r\n [Other] \r\nFOREIGN=1\r\n"
      "[trvsgui]\r\nAGAIN=second part\r\nLAST=no line end");
  const auto cases = support::table<3>(R"(
      [TRVSGUI] -> TRVSPROJ -> V:\db   | [First] -> trvsproj -> wrong section | [TRVSGUI] -> EMPTY ->
      [TRVSGUI] -> EQUALS -> a=b       | [TRVSGUI] -> AGAIN -> second part    | [Other] -> FOREIGN -> 1
      [TRVSGUI] -> LAST -> no line end | [TRVSGUI] -> FOREIGN -> none         | [TRVSGUI] -> LASTX -> none
      [TRVSGUI] -> TRVSPRO -> none     | [Absent] -> TRVSPROJ -> none)");
  for (const auto& [section, key, want] : cases) {
    SCOPED_TRACE(section + key);
    EXPECT_EQ(query(section.c_str(), key.c_str()).value_or("none"), want);
    EXPECT_EQ(error_, 0);
  }
  EXPECT_EQ(query("[TRVSGUI]", "QUOTED"), " both blanks ");
  EXPECT_EQ(query("[TRVSGUI]", "LAST", 4), "no ") << "cut to the buffer";
  EXPECT_EQ(query("[TRVSGUI]", "LAST", 1), "");
}

TEST_F(ProfileTest, WriteChangesOneValueAndKeepsTheRest) {
  struct Case {
    const char* before;
    const char* value;
    const char* after;
  };
  const Case cases[] = {
      {"", "v", "[S]\r\nK=v\r\n"},
      {"; top\n\n[S]\nA=1\nk = old \nB=2\n", "new", "; top\n\n[S]\nA=1\nk =new\nB=2\n"},
      // Added after the last line of the section, before the blank ones.
      {"[S]\r\nA=1\r\n\r\n[T]\r\nK=t\r\n", "v", "[S]\r\nA=1\r\nK=v\r\n\r\n[T]\r\nK=t\r\n"},
      {"[T]\nK=t", "v", "[T]\nK=t\r\n[S]\r\nK=v\r\n"},
      {"[S]\nA=1", "v", "[S]\nA=1\r\nK=v\r\n"},
      {"[S]\n[T]\n[s]\nK=1\n", "2", "[S]\n[T]\n[s]\nK=2\n"},
      {"[S]\n;K=1\n", "2", "[S]\n;K=1\nK=2\r\n"},
      {"", " v ", "[S]\r\nK=\" v \"\r\n"},
      {"", "\"v\"", "[S]\r\nK=\"\"v\"\"\r\n"},
      {"", "\"", "[S]\r\nK=\"\r\n"},
      {"[S]\nA=\xE9\rx\nK=1\n", "\xE9", "[S]\nA=\xE9\rx\nK=\xE9\n"},
  };
  for (const Case& c : cases) {
    put(c.before);
    EXPECT_TRUE(write("[S]", "K", c.value));
    EXPECT_EQ(content(), c.after);
    EXPECT_EQ(query("[S]", "K"), c.value);
  }
}

TEST_F(ProfileTest, ErrorsTellWhatIsWrong) {
  put("[S]\r\nK=v\r\n");
  char buffer[10] = "";
  const intptr_t open = KSTRIniOpen(path_.c_str());
  ASSERT_NE(open, 0);
  const auto error = [](intptr_t result) { return result == 0 ? KSTRIniGetError() : 0; };
  EXPECT_EQ(error(KSTRQueryProfileString(open, "S", "K", buffer, 10)), -6);
  EXPECT_EQ(error(KSTRQueryProfileString(open, "[S]", "K", nullptr, 10)), -10);
  EXPECT_EQ(error(KSTRQueryProfileString(open, "[S]", "K", buffer, 0)), -10);
  for (const char* key : {"", "a=b", "a\nb", ";a", "[a", " a"}) {
    EXPECT_EQ(error(KSTRWriteProfileString(open, "[S]", key, "v")), -7) << key;
  }
  for (const char* value : {"a\r\nB=2", "a\n", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(error(KSTRWriteProfileString(open, "[S]", "K", value)), -8);
  }
  EXPECT_EQ(KSTRIniClose(open), 1);
  for (const intptr_t handle : {open, intptr_t{0}, intptr_t{-1}, intptr_t{123456}}) {
    EXPECT_EQ(error(KSTRIniClose(handle)), -1);
    EXPECT_EQ(error(KSTRQueryProfileString(handle, "[S]", "K", buffer, 10)), -1);
  }
  EXPECT_EQ(error(KSTRIniOpen(directory_.path().c_str())), -4) << "a directory";
  EXPECT_EQ(error(KSTRIniOpen("")), -4);
  put(std::string("[S]\0K=v", 7));
  EXPECT_EQ(error(KSTRIniOpen(path_.c_str())), -12) << "not a text";
  EXPECT_EQ(content(), std::string("[S]\0K=v", 7));
}

TEST_F(ProfileTest, WriteKeepsLinksAndClearsWhatKilledWritersLeft) {
  const std::string real = directory_ / "real.ini";
  fs::create_symlink("real.ini", path_);
  EXPECT_TRUE(write("[S]", "K", "1"));
  EXPECT_TRUE(fs::is_symlink(path_)) << "also a link to nothing";
  support::writeFile(real + ".trvs-new", "left over");
  EXPECT_TRUE(write("[S]", "K", "2"));
  EXPECT_EQ(support::readFile(real), "[S]\r\nK=2\r\n");
  EXPECT_TRUE(fs::is_symlink(path_));
  ASSERT_EQ(chmod(real.c_str(), 0440), 0);
  EXPECT_FALSE(write("[S]", "K", "3"));
  EXPECT_EQ(error_, -5);
  EXPECT_EQ(content(), "[S]\r\nK=2\r\n");
  EXPECT_EQ(support::entryCount(directory_.path()), 2);
}

// All of one user; then of two, of whom each can't open what the other has begun.
TEST_F(ProfileTest, WritersInSeveralProcessesLoseNothing) {
  constexpr int kWriters = 4;
  constexpr int kKeys = 15;
  constexpr uid_t kOther = 65534;
  const auto key = [](int writer, int i) {
    return "K" + std::to_string(writer) + "_" + std::to_string(i);
  };
  for (const bool isShared : {false, true}) {
    if (isShared) {
      put("[S]\r\n");
      if (chown(path_.c_str(), kOther, kOther) != 0) GTEST_SKIP() << "only root has other users";
      ASSERT_EQ(chmod(directory_.path().c_str(), 0777), 0);
    }
    const auto writers = support::startProcesses(kWriters, [&](int writer, support::ChildProcess&) {
      const bool isOther = isShared && writer % 2 == 1;
      if (isOther && (setgid(kOther) != 0 || setuid(kOther) != 0)) return 2;
      const intptr_t handle = KSTRIniOpen(path_.c_str());  // Opened before the others wrote.
      for (int i = 0; i < kKeys; ++i) {
        if (KSTRWriteProfileString(handle, "[S]", key(writer, i).c_str(), "v") == 0) return 1;
      }
      return 0;
    });
    for (const auto& writer : writers) EXPECT_EQ(writer->finish(), 0);
    for (int writer = 0; writer < kWriters; ++writer) {
      for (int i = 0; i < kKeys; ++i) EXPECT_EQ(query("[S]", key(writer, i).c_str()), "v");
    }
  }
}

TEST(UserProfile, ComesFromTheEnvironment) {
  const support::ScopedEnvironment directory("XDG_CONFIG_HOME", "/c");
  const auto cases = support::table<2>("/x/my.ini -> /x/my.ini | -> /c/trevault/KSTR.INI");
  for (const auto& [name, want] : cases) {
    const support::ScopedEnvironment named("KSTR_INI", name);
    char buffer[100] = "";
    EXPECT_NE(KSTRGetKESTRIANINI(buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, want);
    EXPECT_EQ(KSTRGetKESTRIANINI(buffer, static_cast<uint32_t>(want.size())), 0)
        << "no room for the NUL";
  }
}

}  // namespace
