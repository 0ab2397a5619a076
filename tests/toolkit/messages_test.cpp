// Every message text, with its arguments in place, against messages.golden: one line for each code,
// known or not, with "\n" for a line feed.
#include "toolkit/messages.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/files.h"

namespace foldapi {
namespace {

// What the builders give for every code of every family and some on either side.
std::string allMessages() {
  const char* path =
      "V:\\a%s";  // Neither the backslash nor the "%s" of an argument means anything.
  std::string lines;
  const auto add = [&](const std::string& family, int code, const VString& text) {
    lines += family + " " + std::to_string(code) + ": " + support::escaped(text.view()) + "\n";
  };
  for (int code = -1; code <= 117; ++code) add("toolkit", code, ToolkitMessage(code, nullptr));
  for (int code : {1, 38, 109}) add("toolkit+path", code, ToolkitMessage(code, path));
  for (int code = -1; code <= 31; ++code) add("folder", code, FolderMessage(code));
  for (int code = -1; code <= 31; ++code) add("file", code, FolderFileMessage(code, path));
  for (int code : {22, 23, 24}) add("date", code, DateMessage(code, "31/31/99", "MM/DD/YY"));
  for (int code : {20, 21, 22}) {
    for (int line : {0, 7, -1}) {
      add("directive" + std::to_string(line), code,
          DirectiveMessage(code, line, "f.cfg", "x = %s", "why"));
    }
  }
  for (int code = -15; code <= 1; ++code) add("ini", code, IniFileMessage(code, path));
  return lines;
}

TEST(Messages, EveryTextIsThatOfTheGoldenFile) {
  const auto golden = std::filesystem::path(__FILE__).replace_filename("messages.golden");
  EXPECT_EQ(allMessages(), support::readFile(golden.string()));
}

}  // namespace
}  // namespace foldapi
