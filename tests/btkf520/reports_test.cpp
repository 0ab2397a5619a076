// btkf520/reports_test.cpp: logs and differences.
#include <algorithm>
#include <filesystem>
#include <random>

#include "btkf520/archives.h"
#include "btkf520/operations/editplaces.h"
#include "btkf520/operations/linediff.h"
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
size_t slowCommon(const btkf::Lines& first, const btkf::Lines& second,
                  const btkf::LineRules& rules) {
  std::map<std::string, size_t> known;
  const auto numbers = [&](const btkf::Lines& lines) {
    std::vector<size_t> result;
    for (size_t i = 0; i < lines.size(); ++i)
      result.push_back(known.try_emplace(rules.whatCounts(lines[i]), known.size()).first->second);
    return result;
  };
  const std::vector<size_t> columns = numbers(second);
  std::vector<size_t> best(columns.size() + 1);
  for (const size_t number : numbers(first)) {
    size_t corner = 0;
    for (size_t j = 0; j < columns.size(); ++j) {
      const size_t above = best[j + 1];
      best[j + 1] = columns[j] == number ? corner + 1 : std::max(above, best[j]);
      corner = above;
    }
  }
  return best.back();
}

// How many lines the edits leave. They must be in order and apart, and all between them equal.
size_t commonByEdits(const btkf::Lines& first, const btkf::Lines& second,
                     const btkf::LineRules& rules) {
  size_t i = 0;
  size_t j = 0;
  size_t common = 0;
  size_t wrong = 0;
  std::vector<btkf::Edit> edits = btkf::compareLines(first, second, rules);
  edits.push_back({first.size(), 0, second.size(), 0});
  for (const btkf::Edit& edit : edits) {
    if (edit.first == i && common != 0 && edit != edits.back()) ++wrong;
    for (; i < edit.first && j < edit.second; ++i, ++j, ++common) {
      if (!rules.areEqual(first[i], second[j])) ++wrong;
    }
    if (i != edit.first || j != edit.second) ++wrong;
    i = edit.firstEnd();
    j = edit.secondEnd();
  }
  EXPECT_EQ(wrong, 0u);
  return common;
}

std::string numberedLines(size_t begin, size_t end) {
  std::string result;
  for (size_t i = begin; i < end; ++i) result += std::to_string(i) + "\n";
  return result;
}

// Lines of few kinds or many, and another such text, or this one after some changes: lines that are
// new, gone or others, and blocks that have moved or come twice.
std::pair<std::string, std::string> anyTexts(unsigned seed) {
  std::mt19937 random(seed);
  const std::string parts[] = {"a\n", "A\n", "b\n", "b \n", "\n", "b\r\n", "\t\n"};
  const size_t kinds = random() % 2 == 0 ? std::size(parts) : 1 + random() % 300;
  const auto line = [&] {
    const size_t kind = random() % kinds;
    return kinds == std::size(parts) ? parts[kind] : std::to_string(kind) + "\n";
  };
  const size_t most = random() % 8 == 0 ? 400 : 15;
  std::vector<std::string> first(random() % most);
  std::generate(first.begin(), first.end(), line);
  std::vector<std::string> second = first;
  if (random() % 3 == 0) {
    second.resize(random() % most);
    std::generate(second.begin(), second.end(), line);
  }
  for (size_t left = random() % 12; left > 0 && !second.empty(); --left) {
    const auto at = second.begin() + static_cast<std::ptrdiff_t>(random() % second.size());
    const auto end = at + std::min<std::ptrdiff_t>(second.end() - at, random() % 9);
    const std::vector<std::string> block(at, end);
    if (random() % 2 == 0) second.erase(at, end);
    if (second.empty() || random() % 2 == 0) {
      second.push_back(line());
    } else if (random() % 2 == 0) {
      second[random() % second.size()] = line();
    } else {
      second.insert(second.begin() + static_cast<std::ptrdiff_t>(random() % second.size()),
                    block.begin(), block.end());
    }
  }
  const auto text = [&random](const std::vector<std::string>& lines) {
    std::string result;
    for (const std::string& each : lines) result += each;
    if (!result.empty() && random() % 4 == 0) result.pop_back();
    return result;
  };
  return {text(first), text(second)};
}

TEST(LineDifferences, AreTheShortest) {
  const btkf::LineRules allRules[] = {
      {}, {}, {true, false, false, 0, {}}, {false, true, true, 0, {}}};
  for (unsigned seed = 0; seed < 2500; ++seed) {
    SCOPED_TRACE(seed);
    const auto [one, other] = anyTexts(seed);
    const btkf::LineRules& rules = allRules[seed % std::size(allRules)];
    const btkf::Lines first(one);
    const btkf::Lines second(other);
    ASSERT_EQ(commonByEdits(first, second, rules), slowCommon(first, second, rules));
  }
}

// Where the shortest list would take too long, a good one will do: lines that moved cost no others.
TEST(LineDifferences, OfLongTextsAreGood) {
  constexpr size_t kLines = 50'000;
  constexpr size_t kMoved = 750;
  std::string blocks;  // Of twenty equal ones the last part stands first.
  for (size_t i = 0; i < kLines; i += kLines / 20) {
    const size_t end = i + kLines / 20;
    blocks += numberedLines(end - kMoved, end) + numberedLines(i, end - kMoved);
  }
  struct Case {
    const char* why;
    std::string first;
    std::string second;
    size_t want;
  };
  const std::string plain = numberedLines(0, kLines);
  const Case cases[] = {
      {"moved", plain, blocks, kLines - 20 * kMoved},
      {"no line is alone", plain + plain,
       plain + numberedLines(kLines - 5'000, kLines) + numberedLines(0, kLines - 5'000), kLines},
      {"nothing new", plain, numberedLines(0, 10'000) + "new\n" + numberedLines(10'000, kLines),
       kLines},
      {"nothing in common", plain, numberedLines(kLines, 2 * kLines), 0},
      {"empty", plain, "", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_GE(commonByEdits(btkf::Lines(c.first), btkf::Lines(c.second), {}), c.want);
  }
}

// Both texts and what became of their lines: each line has "=", "-" or "+" before it and "/" after.
struct Listing {
  explicit Listing(const std::string& text) {
    btkf::Edit edit;
    for (const std::string& line : support::pieces(text, "/")) {
      if (line[0] != '+') first += line.substr(1) + "\n";
      if (line[0] != '-') second += line.substr(1) + "\n";
      if (line[0] != '=') {
        ++(line[0] == '-' ? edit.firstCount : edit.secondCount);
        continue;
      }
      if (edit != btkf::Edit{edit.first, 0, edit.second, 0}) edits.push_back(edit);
      edit = {edit.firstEnd() + 1, 0, edit.secondEnd() + 1, 0};
    }
    if (edit != btkf::Edit{edit.first, 0, edit.second, 0}) edits.push_back(edit);
  }

  std::string first;
  std::string second;
  std::vector<btkf::Edit> edits;
};

TEST(LineDifferences, StandWhereReadersExpectThem) {
  const auto cases = support::table<2>(R"(
      =f {/=  x/=}/+/+g {/+  x/+}/=/=h {/=  y/=} -> =f {/=  x/=}/=/+g {/+  x/+}/+/=h {/=  y/=}
      =f {/=  x/+}/+/+g {/+  x/=} -> =f {/=  x/=}/+/+g {/+  x/+}
      =f {/= i {/=  x/+ }/+ w {/+  x/= }/= y/=} -> =f {/= i {/=  x/= }/+ w {/+  x/+ }/= y/=}
      =#/=a/=/=#/-b/-/-#/=c -> =#/=a/=/-#/-b/-/=#/=c
      =a/+x/=x/=b -> =a/=x/+x/=b
      =a/-q/=x/+x/=b -> =a/-q/+x/=x/=b
      =a/+x/=x/-q/=b -> =a/=x/-q/+x/=b
      =a/-x/=x/=x/-x/-q/=b -> =a/=x/=x/-x/-x/-q/=b)");
  for (const auto& [from, to] : cases) {
    SCOPED_TRACE(from);
    Listing listing(from);
    const Listing want(to);
    EXPECT_EQ(listing.first + listing.second, want.first + want.second) << "a wrong case";
    const btkf::Lines first(listing.first);
    const btkf::Lines second(listing.second);
    btkf::placeEdits(first, second, {}, &listing.edits);
    EXPECT_TRUE(listing.edits == want.edits);
    EXPECT_TRUE(btkf::compareLines(first, second, {}) == want.edits);
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
    support::removeFile(output);
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
  std::filesystem::create_hard_link(second, path("link"));
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
