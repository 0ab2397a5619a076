// btkf520/session_test.cpp: groups, users, buffers, callbacks and paths through the C functions.
#include "btkf520/toolkit.h"

namespace btkf520_test {
namespace {

using std::string_literals::operator""s;

class Session : public Toolkit {};

TEST_F(Session, PromotionModelsAreListedTopLast) {
  struct Case {
    const char* why;
    const char* text;
    std::string want;
    const char* told;
    const char* kinds;  // Of the groups dev, test, prod and Dev.
  };
  const std::string line = "dev\0test\0test\0prod\0"s;
  const Case cases[] = {
      {"none", "", "", "", "1111"},
      {"one group", "PROMOTE dev\n", "dev\0"s, "", "2111"},
      {"a line of three", "PROMOTE dev = test\nPROMOTE test = prod\n", line, "", "2341"},
      {"written upside down", "PROMOTE test = prod\nPROMOTE dev = test\n", line, "", "2341"},
      {"case matters", "PROMOTE dev = test\nPROMOTE Dev = test\n", "dev\0test\0Dev\0test\0"s, "",
       "2412"},
      {"a group named alone too", "PROMOTE test\nPROMOTE dev=test\nPROMOTE dev\n", "dev\0test\0"s,
       "", "2411"},
      {"blanks in names", "PROMOTE my dev = the top\n", "my dev\0the top\0"s, "", "1111"},
      {"the last link wins", "PROMOTE dev = prod\nPROMOTE dev = test\nPROMOTE test = prod\n", line,
       "", "2341"},
      {"cleared", "PROMOTE a = b\nPROMOTE=\nPROMOTE dev=test\nPROMOTE test=prod\n", line, "",
       "2341"},
      {"two tops", "PROMOTE dev = test\nPROMOTE a = prod\n", "", "tops@0", "1111"},
      {"two tops, one alone", "PROMOTE dev = test\nPROMOTE prod\n", "", "tops@0", "1111"},
      {"a circle", "PROMOTE dev = test\nPROMOTE test = prod\nPROMOTE prod = dev\n", "", "circle@0",
       "1111"},
      {"a circle beside a good part", "PROMOTE dev = test\nPROMOTE a = b\nPROMOTE b = a\n", "",
       "circle@0", "1111"},
      {"bad lines", "PROMOTE dev = dev\nPROMOTE = x = \nPROMOTE a = b = c\nPROMOTE dev = test\n",
       "dev\0test\0"s, "line@1 line@2 line@3", "2411"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    load(c.text);
    EXPECT_EQ(item(TRVS_ITEM_PROMOTION_GROUPS), c.want);
    EXPECT_EQ(told(), c.told);
    std::string kinds;
    for (const char* group : {"dev", "test", "prod", "Dev"}) kinds += std::to_string(kindOf(group));
    EXPECT_EQ(kinds, c.kinds);
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

TEST_F(Session, CallbacksHaveThirteenIds) {
  std::string known;
  for (int32_t id = -1; id <= 30; ++id) {
    if (TrvsRegisterCallback(id, nullptr) == 0) known += std::to_string(id) + " ";
  }
  EXPECT_EQ(known, "1 3 4 5 6 9 10 16 17 18 19 20 23 ");
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
