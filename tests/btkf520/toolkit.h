// btkf520/toolkit.h: the toolkit as a client sees it, for tests: one load after another, every
// report kept, nothing left over from the test before.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "support/files.h"

namespace btkf520_test {

template <typename Function>
TrvsCallback anyCallback(Function* callback) {
  return reinterpret_cast<TrvsCallback>(reinterpret_cast<void (*)()>(callback));
}

class Toolkit : public testing::Test {
 protected:
  struct Report {
    int32_t code;
    int32_t line;
    bool isHidden;
  };

  void SetUp() override {
    reports.clear();
    TrvsRegisterPathResolver(nullptr);
    TrvsRegisterCallback(TRVS_CALLBACK_BAD_DIRECTIVE, anyCallback(take));
    ASSERT_EQ(load("", TRVS_READ_FIRST), TRVS_DONE);
  }
  void TearDown() override {
    TrvsRegisterPathResolver(nullptr);
    TrvsRegisterCallback(TRVS_CALLBACK_BAD_DIRECTIVE, nullptr);
  }

  // Writes `text` to the file that every load reads, and reads it.
  int32_t load(std::string_view text, int32_t mode = TRVS_READ_FIRST) {
    write("project.cfg", text);
    return TrvsQueryConfiguration((directory_ / "project.cfg").c_str(), 0, 0, mode);
  }
  void write(std::string_view name, std::string_view text) {
    support::writeFile(directory_ / name, text);
  }
  std::string path(std::string_view name) const { return directory_ / name; }

  // Has `fetch` fill a buffer that grows as long as it is too small. The status.
  template <typename Fetch>
  static int32_t grown(std::string* buffer, const Fetch& fetch) {
    for (buffer->assign(33, '?');; buffer->append(32, '?')) {
      const int32_t status = fetch(buffer->data(), static_cast<int32_t>(buffer->size()));
      if (status != TRVS_BUFFER_TOO_SMALL) return status;
    }
  }
  // The item as a client gets it by growing its buffer; names with the NUL after each.
  static std::string item(int32_t number) {
    std::string buffer;
    EXPECT_EQ(grown(&buffer,
                    [&](char* bytes, int32_t size) {
                      return TrvsQueryConfigurationItem(number, bytes, size);
                    }),
              TRVS_DONE);
    if (number != TRVS_ITEM_PROMOTION_GROUPS) return buffer.c_str();
    size_t end = 0;
    while (buffer.at(end) != '\0') end = buffer.find('\0', end) + 1;
    return buffer.substr(0, end);
  }
  static std::string directories() { return item(TRVS_ITEM_ARCHIVE_DIRECTORIES); }

  static int kindOf(const char* group) {
    int16_t kind = 0;
    EXPECT_EQ(TrvsVerifyPromoTreeNodeExist(group, &kind), TRVS_DONE);
    return kind;
  }

  // "line@1 conditional@7": reason and line of each report so far, which are forgotten. "line@1-"
  // if the line's text was not told.
  static std::string told() {
    static const std::map<int32_t, std::string> reasons = {
        {TRVS_INVALID_LINE, "line"},       {TRVS_NESTED_TOO_DEEP, "nesting"},
        {TRVS_SEVERAL_TOP_GROUPS, "tops"}, {TRVS_NO_TOP_GROUP, "circle"},
        {TRVS_BAD_INCLUDE, "include"},     {TRVS_BAD_CONDITIONAL, "conditional"},
        {TRVS_DISALLOWED, "disallowed"}};
    std::string result;
    for (const Report& report : reports) {
      if (!result.empty()) result += ' ';
      result += reasons.at(report.code) + "@" + std::to_string(report.line);
      if (report.isHidden) result += '-';
    }
    reports.clear();
    return result;
  }

  static inline std::vector<Report> reports;

 private:
  static int32_t take(int32_t code, const char* text, const char*, int32_t line) {
    reports.push_back({code, line, line != 0 && *text == '\0'});
    return 0;
  }

  support::TemporaryDirectory directory_;
};

}  // namespace btkf520_test
