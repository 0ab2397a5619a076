// btkf520/session_test.cpp: groups, users, buffers, callbacks and paths through the C functions.
#include <algorithm>

#include "btkf520/toolkit.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class Session : public Toolkit {};

TEST_F(Session, PromotionModelsAreListedTopLast) {
  // What is promoted to what, with "," between; the groups listed; the kinds of the groups dev,
  // test, prod and Dev.
  const auto cases = support::table<3>(R"(
      -> -> 1111 | dev -> dev -> 2111 | dev = test, test = prod -> dev;test;test;prod -> 2341
      test = prod, dev = test -> dev;test;test;prod -> 2341 | my dev = top -> my dev;top -> 1111
      dev = test, Dev = test -> dev;test;Dev;test -> 2412   | test,dev=test,dev -> dev;test -> 2411
      dev = prod, dev = test, test = prod -> dev;test;test;prod -> 2341
      a = b, =, dev=test, test=prod -> dev;test;test;prod -> 2341
      dev = test, a = prod -> tops@0 -> 1111        | dev = test, prod -> tops@0 -> 1111
      dev = test, test = prod, prod = dev -> circle@0 -> 1111
      dev = test, a = b, b = a -> circle@0 -> 1111
      dev = dev, = x =, a = b = c, dev = test -> line@1 line@2 line@3 dev;test -> 2411)");
  for (const auto& [model, want, wantedKinds] : cases) {
    SCOPED_TRACE(model);
    std::string text;
    for (const std::string& line : support::pieces(model, ",")) text += "PROMOTE " + line + "\n";
    load(model.empty() ? "" : text);
    std::string listed = item(TRVS_ITEM_PROMOTION_GROUPS);
    std::replace(listed.begin(), listed.end(), '\0', ';');
    const std::string bad = told();
    const bool both = !bad.empty() && !listed.empty();
    EXPECT_EQ(bad + (both ? " " : "") + listed.substr(0, listed.rfind(';')), want);
    std::string kinds;
    for (const char* group : {"dev", "test", "prod", "Dev"}) kinds += std::to_string(kindOf(group));
    EXPECT_EQ(kinds, wantedKinds);
  }
  EXPECT_EQ(kindOf(""), TRVS_GROUP_NONE);
}

TEST_F(Session, ABrokenPromotionModelLeavesTheOneBefore) {
  load("PROMOTE dev = prod\n", TRVS_READ_MASTER);
  load("PROMOTE prod = dev\nVCSDIR=a\n", TRVS_READ_FOLLOWING);
  EXPECT_EQ(told(), "circle@0");
  EXPECT_EQ(item(TRVS_ITEM_PROMOTION_GROUPS), "dev\0prod\0"s);
  EXPECT_EQ(directories(), "a");
  load("PROMOTE dev = test\nPROMOTE test = prod\n", TRVS_READ_FOLLOWING);
  EXPECT_EQ(kindOf("test"), TRVS_GROUP_BETWEEN);
}

// Clients count their buffers in 16 bits: a longer answer would have them ask for ever.
TEST_F(Session, PromotionModelsStayFetchable) {
  std::string text;
  for (int i = 0; i < 6000; ++i) text += "PROMOTE group" + std::to_string(i) + " = top\n";
  load(text);
  EXPECT_LT(item(TRVS_ITEM_PROMOTION_GROUPS).size(), 32767u);
  EXPECT_GT(item(TRVS_ITEM_PROMOTION_GROUPS).size(), 32700u);
  EXPECT_EQ(reports.empty() ? 0 : reports[0].code, TRVS_INVALID_LINE);
  load("PROMOTE " + std::string(256, 'g') + " = top\n");
  EXPECT_EQ(item(TRVS_ITEM_PROMOTION_GROUPS), "");
}

TEST_F(Session, BuffersAreFilledWholeOrNotAtAll) {
  load("VCSDIR=V:\\a;b\nPROMOTE dev = test\n");
  for (const int32_t number : {TRVS_ITEM_ARCHIVE_DIRECTORIES, TRVS_ITEM_PROMOTION_GROUPS,
                               TRVS_ITEM_DATE_WORDS, TRVS_ITEM_DATE_FORMAT}) {
    SCOPED_TRACE(number);
    const std::string whole = item(number);
    std::string buffer(whole.size() + 2, '?');
    const auto size = static_cast<int32_t>(whole.size() + 1);
    EXPECT_EQ(TrvsQueryConfigurationItem(number, buffer.data(), size - 1), TRVS_BUFFER_TOO_SMALL);
    EXPECT_EQ(buffer, std::string(buffer.size(), '?'));
    EXPECT_EQ(TrvsQueryConfigurationItem(number, buffer.data(), size), 0);
    EXPECT_EQ(buffer, whole + "\0?"s);
    EXPECT_EQ(TrvsQueryConfigurationItem(number, buffer.data(), 0), TRVS_BUFFER_TOO_SMALL);
    EXPECT_EQ(TrvsQueryConfigurationItem(number, buffer.data(), -1), TRVS_BUFFER_TOO_SMALL);
    EXPECT_EQ(TrvsQueryConfigurationItem(number, nullptr, size), TRVS_MISUSE);
  }
  char buffer[8] = "?";
  EXPECT_EQ(TrvsQueryConfigurationItem(50, buffer, 8), TRVS_MISUSE);
  EXPECT_EQ(TrvsVerifyPromoTreeNodeExist(nullptr, nullptr), TRVS_MISUSE);
}

TEST_F(Session, TheUserIdComesFromTheAccountOrAVariable) {
  const std::string account = support::currentUser();
  char user[129] = "?";
  char second[129] = "?";
  int16_t kind = -1;
  EXPECT_EQ(TrvsInit("TVGUI"), 0);
  EXPECT_EQ(TrvsOEMEnable(), 0);
  EXPECT_EQ(TrvsGetUserInfo(user, 129, second, 129, &kind), 0);
  EXPECT_EQ(user, account);
  EXPECT_STREQ(second, "");
  EXPECT_EQ(kind, TRVS_USER_ACCOUNT);

  load("USERID = ENVIRONMENT BTKF_USER\n");
  EXPECT_EQ(TrvsGetUserInfo(user, 129, second, 129, &kind), TRVS_NO_USER_ID);
  EXPECT_EQ(TrvsInit(nullptr), TRVS_NO_USER_ID);
  const support::ScopedEnvironment variable("BTKF_USER", "ann");
  EXPECT_EQ(TrvsGetUserInfo(user, 3, second, 129, &kind), TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(TrvsGetUserInfo(user, 129, second, 0, &kind), TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(user, account) << "untouched";
  EXPECT_EQ(TrvsGetUserInfo(user, 4, nullptr, 0, &kind), 0);
  EXPECT_STREQ(user, "ann");
  EXPECT_EQ(kind, TRVS_USER_ENVIRONMENT);
  {
    const support::ScopedEnvironment two("BTKF_USER", "ann,bob");
    EXPECT_EQ(TrvsGetUserInfo(user, 129, nullptr, 0, nullptr), TRVS_NO_USER_ID);
  }
  EXPECT_EQ(TrvsInit("TVGUI"), 0);
  EXPECT_EQ(TrvsGetUserInfo(nullptr, 4, nullptr, 0, nullptr), TRVS_MISUSE);
}

TEST_F(Session, StatusesHaveTexts) {
  EXPECT_STREQ(TrvsStatusText(TRVS_WOULD_OVERWRITE), "there is a file already");
  for (const int32_t none : {-1, 7, 110, INT32_MAX}) {
    EXPECT_STREQ(TrvsStatusText(none), "unknown status");
  }
  EXPECT_EQ(TrvsVersion(), TRVS_VERSION);
}

TEST_F(Session, StatesKnowNothingOfOneAnother) {
  load("VCSDIR=first\n");
  TrvsState* state = nullptr;
  ASSERT_EQ(TrvsNewState(&state), 0);
  TrvsState* const second = state;
  ASSERT_EQ(TrvsExchangeState(&state), 0);
  EXPECT_EQ(directories(), "");
  load("NONSENSE\nVCSDIR=second\n");
  EXPECT_EQ(told(), "") << "nothing is registered here";
  EXPECT_EQ(TrvsFreeState(second), 10) << "in place";
  ASSERT_EQ(TrvsExchangeState(&state), 0);
  EXPECT_EQ(state, second);
  EXPECT_EQ(directories(), "first");
  load("NONSENSE\n");
  EXPECT_EQ(told(), "line@1");
  EXPECT_EQ(TrvsFreeState(second), 0);
  state = nullptr;
  EXPECT_EQ(TrvsExchangeState(&state), 10);
  EXPECT_EQ(TrvsExchangeState(nullptr), 10);
  EXPECT_EQ(TrvsNewState(nullptr), 10);
  EXPECT_EQ(TrvsFreeState(nullptr), 0);
}

// The test's drive: "P:\name" is a file of the directory, everything else is nowhere.
std::string theDrive;
int theCalls = 0;
int32_t onDrive(const char* text, char* buffer, int32_t size) {
  ++theCalls;
  const std::string asked(text);
  if (asked.rfind("P:\\", 0) != 0) return TRVS_BAD_NAME;
  const std::string place = theDrive + asked.substr(3);
  if (place.size() >= static_cast<size_t>(size)) return TRVS_BUFFER_TOO_SMALL;
  place.copy(buffer, place.size());
  buffer[place.size()] = '\0';
  return 0;
}

TEST_F(Session, PathsGoThroughTheResolver) {
  write("more.cfg", "VCSDIR=more\n");
  write("project.cfg", "INCLUDE more.cfg\nINCLUDE Q:\\more.cfg\nINCLUDE \\more.cfg\n");
  TrvsRegisterPathResolver(onDrive);
  theDrive = path("");
  EXPECT_EQ(TrvsQueryConfiguration("P:\\project.cfg", 0, 0, TRVS_READ_FIRST), 0);
  EXPECT_EQ(told(), "include@2 include@3");
  EXPECT_EQ(directories(), "more");
  EXPECT_EQ(TrvsQueryConfiguration("Q:\\project.cfg", 0, 0, TRVS_READ_FIRST),
            TRVS_CANNOT_READ_CONFIGURATION);

  theCalls = 0;
  for (int i = 0; i < 300; ++i) theDrive += "./";
  EXPECT_EQ(TrvsQueryConfiguration("P:\\more.cfg", 0, 0, TRVS_READ_FIRST), 0);
  EXPECT_EQ(theCalls, 2) << "asked again with a larger buffer";
  EXPECT_EQ(directories(), "more");
  theDrive.assign(100000, '/');
  EXPECT_EQ(TrvsQueryConfiguration("P:\\more.cfg", 0, 0, TRVS_READ_FIRST),
            TRVS_CANNOT_READ_CONFIGURATION);
}

}  // namespace
}  // namespace btkf520_test
