// btkf520/reports_test.cpp: logs and differences.
#include <algorithm>
#include <functional>
#include <random>

#include "btkf520/archives.h"
#include "btkf520/operations/linediff.h"
#include "support/childprocess.h"
#include "support/limits.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class Logs : public Archives {};
class Differences : public Archives {};

TEST_F(Logs, HaveAFormForEachQuestion) {
  makeBranches();
  become("bob");
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(put("9\n", {.change = "Mend\x1b[A\nmore", .time = minute(9)}), TRVS_DONE);
  setAttributes(TRVS_ATTRIBUTE_CHECK_LOCKS);
  ASSERT_EQ(lock(), TRVS_DONE);
  ASSERT_EQ(label("REL", "1.0"), TRVS_DONE);
  ASSERT_EQ(label("TIP", "1", TRVS_LABEL_FLOATS), TRVS_DONE);
  const std::string tip = "1.3  @9  bob  Mend\\x1b[A";
  const std::map<std::string, uint32_t> flags = {
      {"bare", TRVS_LOG_NO_HEADING},     {"brief", TRVS_LOG_NO_HEADING | TRVS_LOG_BRIEF},
      {"oldest", TRVS_LOG_OLDEST_FIRST}, {"by-date", TRVS_LOG_BY_DATE},
      {"by-author", TRVS_LOG_BY_AUTHOR}, {"labels", TRVS_LOG_LABELS},
      {"locked", TRVS_LOG_LOCKED},       {"groups", TRVS_LOG_GROUPS}};
  // The form; revisions, "=" after the name of any other filter; the lines, ";" between them, with
  // dates as "@minute" and "%" for the tip.
  const auto cases = support::table<3>(R"(
      brief -> -> %;1.2  @3  ann;1.1.2.0  @5  ann;1.1.1.0  @4  ann;1.1  @2  ann;1.0  @1  ann
      brief oldest -> 1.1*1.1.1.0 -> 1.1  @2  ann;1.1.1.0  @4  ann
      bare by-date -> 1.1*1.2 -> 1.1.2.0  @5  ann;1.1.1.0  @4  ann;1.2  @3  ann;1.1  @2  ann
      bare by-author -> 1.2* -> ann:;    1.2  @3  ann;bob:;    %
      bare labels -> -> REL  1.0  @1  ann;TIP (floats with 1)  %
      bare locked -> -> bob  %         | bare groups -> -> dev  %
      brief -> 1.1.2 -> 1.1.2.0  @5  ann
      brief -> author=eve, bob -> %    | brief -> locker=bob -> %  | brief -> locker=ann ->
      brief -> label=X,REL -> 1.0  @1  ann | brief -> group=dev -> % | brief -> words=MORE -> %
      brief -> author=ann;locker=bob -> | brief -> *REL -> 1.0  @1  ann
      brief -> dates=2/3/01 00:03*2/3/01 00:04 -> 1.2  @3  ann;1.1.1.0  @4  ann)");
  answerQuestions();
  for (const auto& [form, filters, wanted] : cases) {
    SCOPED_TRACE(form + " " + filters);
    lines.clear();
    std::map<std::string, std::string> only;
    for (const std::string& filter : support::pieces(filters, ";")) {
      const size_t at = filter.find('=');
      const bool isNamed = at != std::string::npos;
      only[isNamed ? filter.substr(0, at) : "revisions"] = filter.substr(isNamed ? at + 1 : 0);
    }
    const auto of = [&only](const char* name) { return only[name].c_str(); };
    ASSERT_EQ(TrvsLog(TRVS_CONTEXT, archive().c_str(), of("revisions"), of("author"), of("locker"),
                      of("label"), of("group"), of("words"), of("dates"), "", allOf(form, flags)),
              TRVS_DONE);
    std::string got;
    for (const std::string& line : lines) got += (got.empty() ? "" : ";") + line.substr(2);
    for (size_t at; (at = got.find("2001-02-03 00:0")) != std::string::npos;) {
      got.replace(at, 19, "@" + got.substr(at + 15, 1));
    }
    std::string want = wanted;
    if (const size_t at = want.find('%'); at != std::string::npos) want.replace(at, 1, tip);
    EXPECT_EQ(got, want);
  }
}

TEST_F(Logs, TellAllInFull) {
  ASSERT_EQ(create("a motor\nfor\tcars\rship"), TRVS_DONE);
  ASSERT_EQ(
      put("12345", {.label = "A", .change = "first\r\nline", .author = "zoe", .time = minute(1)}),
      TRVS_DONE);
  ASSERT_EQ(lock(), TRVS_DONE);
  const std::string output = path("log");
  const auto report = [&](uint32_t flags) {
    return TrvsLog(TRVS_CONTEXT, archive().c_str(), "", "", "", "", "", "", "", output.c_str(),
                   flags);
  };
  ASSERT_EQ(report(TRVS_LOG_FULL), TRVS_DONE);
  std::string text = support::readFile(output);
  const size_t changed = text.find("Changed:");
  ASSERT_NE(changed, std::string::npos);
  text.erase(changed, text.find('\n', changed) + 1 - changed);  // The workfile's own time.
  EXPECT_EQ(text, "Archive:      " + archive() +
                      "\nWorkfile:     m.c\nOwner:        ann\nCreated:      2001-02-03 00:00:00\n"
                      "Attributes:   locks are checked, workfiles are read-only\n"
                      "Access:       everybody\nRevisions:    1\nLocks:        1\n"
                      "Description:\n    a motor\n    for\tcars\\x0dship\n\n"
                      "Revision:     1.0\nChecked in:   2001-02-03 00:01:00\n"
                      "Author:       zoe\nSize:         5\nLocked by:    ann\nLabels:       A\n"
                      "    first\n    line\n\n");
  EXPECT_EQ(report(TRVS_LOG_FULL), TRVS_WOULD_OVERWRITE) << "nobody agreed to overwrite";
  answerQuestions();
  EXPECT_EQ(
      TrvsLog(TRVS_CONTEXT, archive().c_str(), "", "", "", "", "", "", "", archive().c_str(), 0),
      TRVS_SAME_NAMES);
  EXPECT_EQ(report(TRVS_LOG_NEWEST | TRVS_LOG_NO_HEADING), TRVS_DONE);
  EXPECT_TRUE(support::readFile(output).starts_with("Revision:     1.0\n"));
  EXPECT_EQ(report(TRVS_LOG_BRIEF | TRVS_LOG_NEWEST), TRVS_MISUSE) << "one mode";
  EXPECT_EQ(report(0x200), TRVS_MISUSE);
  const auto ranges = [&](const char* revisions, const char* dates) {
    return TrvsLog(TRVS_CONTEXT, archive().c_str(), revisions, "", "", "", "", "", dates, "", 0);
  };
  EXPECT_EQ(ranges("1.7*", nullptr), TRVS_NO_REVISION);
  EXPECT_EQ(ranges("REL*", nullptr), TRVS_NO_SUCH_LABEL);
  EXPECT_EQ(ranges(nullptr, "32/1/95*"), TRVS_BAD_DATE);

  answers[TRVS_CALLBACK_OUTPUT] = TRVS_ENOUGH;
  lines.clear();
  EXPECT_EQ(ranges(nullptr, nullptr), TRVS_DONE);
  EXPECT_EQ(lines.size(), 1u) << "enough";
  answers[TRVS_CALLBACK_OUTPUT] = TRVS_REFUSE;
  EXPECT_EQ(ranges(nullptr, nullptr), TRVS_CANCELLED);
}

// All lines of both texts once, the slow way: the length of the longest common subsequence.
size_t slowCommon(const btkf::Lines& first, const btkf::Lines& second) {
  std::vector<std::vector<size_t>> best(first.size() + 1, std::vector<size_t>(second.size() + 1));
  for (size_t i = 1; i <= first.size(); ++i) {
    for (size_t j = 1; j <= second.size(); ++j) {
      best[i][j] = first[i - 1] == second[j - 1] ? best[i - 1][j - 1] + 1
                                                 : std::max(best[i - 1][j], best[i][j - 1]);
    }
  }
  return best[first.size()][second.size()];
}

// How many lines the edits leave, which make the second text of the first.
size_t commonByEdits(const btkf::Lines& first, const btkf::Lines& second,
                     const std::string& secondText) {
  std::string rebuilt;
  size_t count = 0;  // Of rebuilt lines.
  size_t at = 0;
  size_t common = 0;
  const auto takeUpTo = [&](size_t end) {
    for (; at < end; ++at, ++common, ++count) rebuilt += first[at];
  };
  for (const btkf::Edit& edit : btkf::compareLines(first, second, {})) {
    EXPECT_TRUE(edit.first > at || edit.first == 0) << "one that continues the last";
    takeUpTo(edit.first);
    EXPECT_EQ(edit.second, count);
    for (size_t i = 0; i < edit.secondCount; ++i, ++count) rebuilt += second[edit.second + i];
    at += edit.firstCount;
  }
  takeUpTo(first.size());
  EXPECT_TRUE(rebuilt == secondText);
  return common;
}

// The library's search leaves a line out now and then that could have stayed.
TEST(LineDifferences, AreValidAndAsGoodAsShortest) {
  size_t missed = 0;
  const std::string_view parts[] = {"a\n", "A\n", "b\n", "b \n", "\n", "b\r\n", "c"};
  for (unsigned seed = 0; seed < 2000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string texts[2];
    for (std::string& text : texts) {
      for (size_t left = random() % 15; left > 0; --left)
        text += parts[random() % std::size(parts)];
    }
    const btkf::Lines first(texts[0]);
    const btkf::Lines second(texts[1]);
    missed += slowCommon(first, second) - commonByEdits(first, second, texts[1]);
  }
  EXPECT_LE(missed, 10u);
}

// Long texts are compared stretch by stretch, and the stretches must find to each other again.
TEST(LineDifferences, OfLongTextsAreFoundStretchByStretch) {
  constexpr size_t kLines = 110'000;
  const auto text = [](const char* what, size_t begin, size_t end) {
    std::string result;
    for (size_t i = begin; i < end; ++i) result += what + std::to_string(i) + "\n";
    return result;
  };
  const std::string plain = text("", 0, kLines);
  std::string scattered;
  for (size_t i = 0; i < kLines; i += 1000) {
    scattered += "other\n" + text("", i, i + 990) + (i % 3000 == 0 ? "one\nmore\n" : "");
  }
  const std::string start = text("", 0, 30'000);
  const std::string rest = text("", 30'000, kLines);
  const std::tuple<std::string, size_t> cases[] = {
      {scattered, kLines / 1000 * 990},
      {start + text("new", 0, 60'000) + rest, kLines},
      {start + text("new", 0, 450'000) + rest, 30'000},  // More than is looked at.
      {start, 30'000},
      {text("", 60'000, kLines), kLines - 60'000},
      {"", 0}};
  const btkf::Lines first(plain);
  for (const auto& [other, want] : cases) {
    const btkf::Lines second(other);
    EXPECT_EQ(commonByEdits(first, second, other), want);
  }
}

TEST_F(Differences, CountOnlyWhatTheyAreToldTo) {
  const uint32_t noCase = TRVS_DIFF_IGNORE_CASE;
  const uint32_t noSpace = TRVS_DIFF_IGNORE_SPACE;
  struct Case {
    std::string first;
    std::string second;
    int want;
    uint32_t flags = 0;
    int16_t tabWidth = 0;
    const char* columns = nullptr;
  };
  const Case cases[] = {
      {"a\n", "a\n", 0},
      {"a\n", "b\n", 1},
      {"", "a\n", 1},
      {"a B\n", "A b\n", 0, noCase},
      {"a\n", "A\n", 1, noSpace},
      {"a \t b  \n", "a b\r\n", 0, noSpace},
      {"a b\n", "ab\n", 1, noSpace},
      {"a\r\nb", "a\nb\n", 0, TRVS_DIFF_IGNORE_LINE_ENDS},
      {"a\r\n", "a\n", 1},
      {"a", "a\n", 1},
      {"a\tb\n", "a   b\n", 0, 0, 4},
      {"a\tb\n", "a   b\n", 1, 0, 8},
      {"a  b\n", "a 2 b\n", 1, 0, 4},
      {"\ta1 \n", "  \tb1 \n", 0, 0, 4, "5-6"},
      {"001 a 9\n", "002 a 8\n", 0, 0, 0, "1-3, 7"},
      {"001 a 9\n", "002 a 8\n", 1, 0, 0, "1-3"},
      {"a\0b"s, "a\0B"s, 1, noCase},
      {"a\0b"s, "a\0b"s, 0},
  };
  const std::string first = path("first");
  const std::string second = path("second(2)");
  int16_t result = -1;
  const auto test = [&](const std::string& one, const std::string& other, uint32_t flags = 0,
                        int16_t tabWidth = 0, const char* columns = nullptr) {
    return TrvsTestDifferences(TRVS_CONTEXT, one.c_str(), "", other.c_str(), "", &result, tabWidth,
                               columns, flags);
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.first + " " + c.second);
    write("first", c.first);
    write("second(2)", c.second);
    EXPECT_EQ(test(first, second, c.flags, c.tabWidth, c.columns), TRVS_DONE);
    EXPECT_EQ(result, c.want);
  }
  // Real faults: a line of tabs took gigabytes, and who cut a file short killed whoever compared it
  // or checked it in.
  static std::string theFile;
  const auto survives = [](const std::string& file, const std::function<int()>& work) {
    return support::inProcess([&] {
      theFile = file;
      support::writeFile(file, std::string(4 << 20, '\t'));
      support::limitMemory(100 << 20);
      static int calls = 0;
      TrvsRegisterCallback(TRVS_CALLBACK_CONTINUE, anyCallback(+[]() -> int32_t {
                             return ++calls == 2 ? truncate(theFile.c_str(), 0) : 0;
                           }));
      return work();
    });
  };
  write("second(2)", "a\n");
  EXPECT_EQ(survives(first, [&] { return test(first, second, 0, 64); }), 0);
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(survives(workfile(), [&] { return put({}); }), 0);
  for (const char* bad : {"1-", "0", "5-3", "x", ","})
    EXPECT_EQ(test(first, second, 0, 0, bad), TRVS_BAD_COLUMNS) << bad;
  EXPECT_EQ(test(first, second, 0x20), TRVS_MISUSE);
  EXPECT_EQ(test(first, second, 0, 65), TRVS_MISUSE);
  EXPECT_EQ(test("", first), TRVS_MISUSE);
  EXPECT_EQ(test(first, ""), TRVS_MISUSE);
  EXPECT_EQ(test(path("no"), ""), TRVS_NO_ARCHIVE);
}

TEST_F(Differences, FindBothSides) {
  makeBranches();
  write("m.c", "2\n");
  write("plain", "1\n");
  // Two names and their revisions; the status and whether there are differences.
  const auto cases = support::table<5>(R"(
      m.c_v(%m.c) -> -> -> -> 0 0      | m.c_v(%m.c) -> 1.0 -> -> -> 0 1
      m.c_v -> 1.0 -> -> 1.1 -> 0 1    | m.c_v -> 1.1 -> plain -> -> 0 0
      plain -> -> m.c_v -> -> 0 1      | plain -> 1.1 -> m.c_v -> -> 27 7
      m.c_v -> 1.0 -> -> 1.7 -> 18 7   | m.c_v(%no) -> -> -> -> 32 7)");
  const auto test = [&](std::string first, const std::string& firstRevision,
                        const std::string& second, const std::string& secondRevision) {
    if (const size_t at = first.find('%'); at != std::string::npos) first.replace(at, 1, path(""));
    int16_t result = 7;
    const int32_t status = TrvsTestDifferences(
        TRVS_CONTEXT, path(first).c_str(), firstRevision.c_str(),
        second.empty() ? "" : path(second).c_str(), secondRevision.c_str(), &result, 0, nullptr, 0);
    return std::to_string(status) + " " + std::to_string(result);
  };
  for (const auto& [first, firstRevision, second, secondRevision, want] : cases) {
    EXPECT_EQ(test(first, firstRevision, second, secondRevision), want)
        << first << firstRevision << second << secondRevision;
  }
  // A damaged archive is not compared as if it were any file.
  std::string bytes = support::readFile(archive());
  bytes.back() ^= 1;
  support::writeFile(archive(), bytes);
  EXPECT_EQ(test("m.c_v", "", "plain", ""), "27 7");
}

TEST_F(Differences, AreWrittenForPeopleAndForViewers) {
  write("first", "1\n2\n3\n4\n5\n6\n7\n8\n9\n");
  write("second", "0\n1\n2\n3\nfour\n5\n6\n8\n9");
  const std::string first = path("first");
  const std::string second = path("second");
  const std::string output = path("out");
  const std::string heading = "--- " + first + "\n+++ " + second + "\n";
  const auto report = [&](int16_t context, uint32_t flags) {
    unlink(output.c_str());
    EXPECT_EQ(TrvsReportDifferences(TRVS_CONTEXT, first.c_str(), nullptr, second.c_str(), nullptr,
                                    output.c_str(), context, 0, 0, nullptr, flags),
              TRVS_DONE);
    return support::readFile(output);
  };
  EXPECT_EQ(report(1, 0), heading +
                              "@@ -1 +1,2 @@\n+0\n 1\n"
                              "@@ -3,7 +4,6 @@\n 3\n-4\n+four\n 5\n 6\n-7\n 8\n-9\n+9\n"
                              "\\ No newline at end of file\n");
  EXPECT_EQ(report(0, TRVS_DIFF_NO_HEADING | TRVS_DIFF_IGNORE_LINE_ENDS),
            "@@ -0,0 +1 @@\n+0\n@@ -4 +5 @@\n-4\n+four\n@@ -7 +7,0 @@\n-7\n");
  const std::string whole = report(-1, TRVS_DIFF_NO_HEADING);
  EXPECT_TRUE(whole.starts_with("@@ -1,9 +1,9 @@\n+0\n 1\n 2\n 3\n-4\n")) << whole;

  answerQuestions();
  const auto delta = [&](uint32_t flags) {
    lines.clear();
    EXPECT_EQ(TrvsGenGuiDelta(TRVS_CONTEXT, first.c_str(), nullptr, second.c_str(), nullptr, 0,
                              nullptr, nullptr, 255, 1, -2, 2, 3, 3, 0, flags),
              TRVS_DONE);
    std::string text;
    for (const std::string& line : lines) text += line.substr(2) + "|";
    return text;
  };
  EXPECT_EQ(delta(TRVS_DIFF_IGNORE_LINE_ENDS),
            "delta 1|first 9 " + first + "|second 9 " + second +
                "|viewer 255 1 -2 2 3 3|added 1 0 1 1|same 1 3 2 3|changed 4 1 5 1|same 5 2 6 2|"
                "deleted 7 1 8 0|same 8 2 8 2|");
  symlink(second.c_str(), path("link").c_str());
  for (const std::string& input : {first, path("link")}) {
    EXPECT_EQ(TrvsReportDifferences(TRVS_CONTEXT, first.c_str(), nullptr, second.c_str(), nullptr,
                                    input.c_str(), 3, 0, 0, nullptr, 0),
              TRVS_SAME_NAMES);
  }
  write("second", "\0"s);
  EXPECT_EQ(delta(TRVS_DIFF_NO_HEADING), "binary differ|");
  EXPECT_EQ(report(3, 0), "Binary files " + first + " and " + second + " differ\n");
  write("second", support::readFile(first));
  EXPECT_EQ(delta(TRVS_DIFF_NO_HEADING), "same 1 9 1 9|");
  EXPECT_EQ(report(3, 0), "");
}

}  // namespace
}  // namespace btkf520_test
