// btkf520/further_test.cpp: what clients ask an archive for beyond revisions: notes of locks.
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

}  // namespace
}  // namespace btkf520_test
