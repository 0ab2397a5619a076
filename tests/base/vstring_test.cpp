// tests/base/vstring_test.cpp: texts, their weak hash and their order.
#include "base/vstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace foldapi {
namespace {

int signOf(int value) { return value < 0 ? -1 : static_cast<int>(value > 0); }

// Byte by byte, as it is meant.
int slowCompareNoCase(const std::string& a, const std::string& b) {
  const auto folded = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
  };
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (folded(a[i]) != folded(b[i])) return folded(a[i]) - folded(b[i]);
  }
  return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

TEST(CompareNoCase, OrdersAsAByteByByteLoop) {
  const unsigned seed = 20;
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  // The neighbours of A, Z, a and z, with their twins above 0x7f.
  const std::string bytes = "@AZ[`az{_\x7f\x80\xc1\xda\xe1\xfa\xff 09";
  for (int round = 0; round < 200000; ++round) {
    std::string a;
    for (size_t length = random() % 28; a.size() < length;) a += bytes[random() % bytes.size()];
    std::string b = a;
    for (char& c : b) {
      const bool letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
      if (letter && random() % 2 == 0) c = static_cast<char>(c ^ 0x20);
    }
    if (!b.empty() && random() % 4 != 0) b[random() % b.size()] = bytes[random() % bytes.size()];
    if (random() % 4 == 0) b.resize(random() % (b.size() + 1));
    ASSERT_EQ(signOf(compareNoCase(a, b)), signOf(slowCompareNoCase(a, b))) << a << " and " << b;
    ASSERT_EQ(signOf(compareText(a, b, true)), signOf(a.compare(b)));
  }
}

// The order of records on disk hangs on these.
TEST(String, HashesTheLowBitsOfEveryOtherByte) {
  struct Case {
    const char* text;
    int32_t want;
  };
  const Case cases[] = {
      {"", 0}, {"a", 'a'}, {"ab", 'a'}, {"ax", 'a'}, {"abc", 'a' + 'c'}, {"\xe1", 'a'},
  };
  for (const Case& c : cases) EXPECT_EQ(VString(c.text).hash(), c.want) << c.text;
}

TEST(String, ToleratesNullsAndIndexesOutOfRange) {
  VString text(static_cast<const char*>(nullptr));
  EXPECT_STREQ(text.text(), "");
  EXPECT_FALSE(text.trimRight());
  text = "ab \t\r\n";
  VString copy = text;
  EXPECT_TRUE(text.trimRight());
  EXPECT_EQ(copy.length(), 6u);
  text.setCharAt(-1, 'x');
  text.setCharAt(2, 'x');
  text.setCharAt(1, 'x');
  EXPECT_EQ(text, VString("ax"));
  EXPECT_EQ(text.charAt(2), 0xff);
  EXPECT_FALSE(VString(" \t").trimRight());
}

TEST(String, FormatsTextsOfAnyLength) {
  const std::string longText(100000, 'x');
  EXPECT_EQ(VString::format("[%s=%d]", longText.c_str(), 7).str(), "[" + longText + "=7]");
  EXPECT_TRUE(VString::format("%s", "").isEmpty());
}

}  // namespace
}  // namespace foldapi
