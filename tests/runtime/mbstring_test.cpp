// Tests of characters of one and of two bytes.
#include "runtime/mbstring.h"

#include <gtest/gtest.h>

#include "runtime/paths.h"
#include "support/table.h"

namespace foldapi {
namespace {

// 0x81 to 0x9f lead characters of two bytes, as on several code pages in use.
class TwoByteCharacters : public testing::Test {
 protected:
  TwoByteCharacters() {
    CharacterTable table = characterTable();
    for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= kCharLead;
    setCharacterTable(&table);
  }
  ~TwoByteCharacters() override { setCharacterTable(nullptr); }
};

TEST_F(TwoByteCharacters, AreSteppedOverWhole) {
  ASSERT_TRUE(hasLeadBytes());
  EXPECT_EQ(mbLength("a\x81\\b"), 3u);
  EXPECT_EQ(mbLength("a\x81"), 1u) << "nothing after the lead byte";
  EXPECT_EQ(mbFindLastByte("x\\\x81\\", '\\'), 1u);
  EXPECT_EQ(mbSpan("\x81\\a\\", "a\x81\\"), 3u);
  EXPECT_EQ(mbSpanNot("\x81\\a\\", "\\"), 3u);
  const int offsets[] = {0, 1, 2, 0};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(mbTrailOffset("a\x81\\b", i), offsets[i]) << i;
}

TEST_F(TwoByteCharacters, OrderWithoutCase) {
  const struct {
    const char* a;
    const char* b;
    int order;
  } cases[] = {{nullptr, nullptr, 0}, {nullptr, "", -1},       {"abc", "ABC", 0},
               {"ab", "ABC", -1},     {"b", "A", 1},           {"z", "_", -1},
               {"x\x81z", "xz", 1},   {"\x81z", "\x82 a", -1}, {"x\x81z", "x\x81Z", 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.a ? c.a : "null") << " and " << (c.b ? c.b : "null"));
    EXPECT_EQ(mbCompareNoCase(c.a, c.b), c.order);
    EXPECT_EQ(mbCompareNoCase(c.b, c.a), -c.order);
  }
  EXPECT_EQ(mbCompareNoCaseN("ABx", "aby", 2), 0);
  EXPECT_EQ(mbCompareNoCaseN("\x81 a", "\x81 b", 2), -1) << "counts characters, not bytes";
}

TEST(CleanFileName, DropsNoMoreThanItMust) {
  const auto cases = support::table<2>(R"(
      My Project -> MyPrjct | Master Project -> MstrPrjc | Accounts Payable -> cntsPybl
      PROJECTS -> PROJECTS  | abcdefgh_ -> bcdfgh        | a b -> a_b       | ->)");
  for (const auto& [source, want] : cases) EXPECT_EQ(cleanFileName(source, 8), want) << source;
  EXPECT_EQ(cleanFileName("f\xfc", 8), "f_");
  EXPECT_EQ(cleanFileName("a  b", 2), "ab");
  EXPECT_EQ(cleanFileName("anything", 0), "");
}

TEST_F(TwoByteCharacters, AreNotCutByTheFileNameCleaner) {
  EXPECT_EQ(cleanFileName("\x81\\b", 8), "\x81\\b");
  EXPECT_EQ(cleanFileName("bc\x81\\\x82\\", 5), "bc\x81\\");
}

}  // namespace
}  // namespace foldapi
