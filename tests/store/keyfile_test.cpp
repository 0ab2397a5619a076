// The tokeniser on odd lines. The expected text has one line for each record: the section's id, its
// name and value, then its keys; what has no value has no "=".
#include "store/keyfile.h"

#include <gtest/gtest.h>

#include "support/table.h"

namespace foldapi {
namespace {

using namespace std::string_view_literals;

constexpr KeyTableEntry kSections[] = {
    {"Format", kSectionSkipped}, {"Project", kSectionProject}, {"Folder", kSectionFolder}, {}};

std::string pair(std::string_view name, OptionalText value) {
  return std::string(name) + (value ? "=" + std::string(*value) : "");
}

std::string records(std::string_view text, const KeyTableEntry* sections = kSections) {
  TVKeyFile file(text, sections);
  std::string result;
  EXPECT_EQ(file.parse([&](SectionId id, std::string_view name, OptionalText value) {
    result += std::to_string(id) + " " + pair(name, value);
    std::string_view key;
    OptionalText text_;
    while (file.nextKey(&key, &text_) == kKeyFileDone) result += "|" + pair(key, text_);
    result += "\n";
    return kRecordTaken;
  }),
            kKeyFileDone);
  return result;
}

TEST(KeyFile, TellsWhereAnAppendWasCutOff) {
  const std::string_view start = "[Document=a;;;]\n\n";
  const struct {
    std::string_view last;
    bool isWhole;
  } cases[] = {{"", true},
               {"[Document=b", false},
               {"[Document=b;;;]", true},
               {"[Document=b;;;]\n\0\0"sv, true},
               {"[Doc", false},
               {"[Folder=f]", false},
               {"[FOLDER=f]\nDIR=f\nWKD", false},
               {"[Project=p]\nDIR=p\nCFG=c", false},
               {"[Project=p]\nDIR=p\nCFG=c\n", true},
               {"\0\0\0"sv, true},
               {"a remark", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.last);
    const std::string text = std::string(start) + std::string(c.last);
    const size_t size = text.find_last_not_of('\0') + 1;
    EXPECT_EQ(wholeSize(text), c.isWhole ? size : start.size());
  }
  EXPECT_EQ(wholeSize("[Document=b"), 0u);
  EXPECT_EQ(wholeSize("a remark"), 8u);
}

TEST(KeyFile, ReadsOddLines) {
  const struct {
    const char* why;
    std::string_view text;
    std::string_view want;
  } cases[] = {
      {"empty", "", ""},
      {"no section", "\n\nDIR=a\nVersion=5.2\n", ""},
      {"skipped sections and their keys", "[FORMAT=x]\nVersion=9\n[Other=y]\nDIR=a\n[Project=p]\n",
       "3 Project=p\n"},
      {"names of any case", "[PROJECT=p]\n[foLder=f]\n[Folders=g]\n", "3 PROJECT=p\n1 foLder=f\n"},
      {"blanks before a head", "\t [Project=p]\nA=1\n  [Folder=f]\nB=2\n",
       "3 Project=p|A=1\n1 Folder=f|B=2\n"},
      {"blank before the name is part of it", "[ Project=p]\n[Project =p]\n", ""},
      {"text after the bracket", "[Project=p] DIR=a\nA=1\n", "3 Project=p|A=1\n"},
      {"brackets and signs in the value", "[Project=a[b=c]d]\n", "3 Project=a[b=c\n"},
      {"no value and an empty one", "[Project]\n[Project=]\n[]\n[=p]\n", "3 Project\n3 Project=\n"},
      {"no bracket but a line end", "[Project=p\n[Project\nA=1\n", "3 Project=p\n3 Project|A=1\n"},
      {"only the first sign splits", "[Project=p]\nA=1=2\n=3\nB==\n", "3 Project=p|A=1=2|=3|B==\n"},
      {"blanks around the sign stay", "[Project=p]\n \tA =\t1 \n", "3 Project=p|A =\t1 \n"},
      {"keys without a value", "[Project=p]\nDIR\n# A=1\nB=\n", "3 Project=p|DIR|# A=1|B=\n"},
      {"no final line end", "[Project=p]\nA=1", "3 Project=p|A=1\n"},
      {"a value cut off at the end", "[Project=p]\n[Folder=f", "3 Project=p\n1 Folder=f\n"},
      {"a name cut off keeps the value before", "[Project=p]\nA=1\n[Folder",
       "3 Project=p|A=1\n1 Folder=p\n"},
      {"and that there was none", "[Project=p]\n[Project]\n[Folder",
       "3 Project=p\n3 Project\n1 Folder\n"},
      {"a null ends a line", "[Project=p\0q]\nA=1\0 2\nB\0=3\n\0C=4\nD=5\n"sv,
       "3 Project=p|A=1|B|D=5\n"},
      {"a null cuts off a name", "[Folder=f]\n[Project\0]\nA=1\n"sv,
       "1 Folder=f\n3 Project=f|A=1\n"},
      {"carriage returns are text", "[Project=p\r]\r\nA=1\r\n", "3 Project=p\r|A=1\r\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(records(c.text), c.want);
  }
}

TEST(KeyFile, ExpandsMacros) {
  // A value, and what it becomes with an empty macro and with "VW". What is right after a
  // replacement is stepped over unseen.
  const auto cases = support::table<3>(
      "$(A) -> -> VW | a$(A)b$(long name)c -> abc -> aVWbVWc |"
      "$(A)$(B) -> $(B) -> VWVW | $(A)$(B)$(C) -> $(B) -> VWVWVW |"
      "$(A)x$(B) -> x -> VWxVW | a$(A -> a$(A -> a$(A | $() -> -> VW |"
      "$(A)b$(C -> b$(C -> VWb$(C | $($(A)) -> ) -> VW) |"
      "$ (A)$A)( -> $ (A)$A)( -> $ (A)$A)(");
  for (const auto& [source, withEmpty, withLong] : cases) {
    const std::string text = "[Project=$(A)]\nK=" + source + "\n";
    for (const char* macro : {"", "VW"}) {
      TVKeyFile file(text, kSections);
      file.setMacro("trvsPRIV", macro);
      std::string_view name;
      OptionalText value;
      ASSERT_EQ(file.nextSection(&name, &value), kKeyFileDone);
      EXPECT_EQ(value, "$(A)");
      ASSERT_EQ(file.nextKey(&name, &value), kKeyFileDone);
      EXPECT_EQ(value, *macro == '\0' ? withEmpty : withLong) << source;
    }
  }
}

}  // namespace
}  // namespace foldapi
