// btkf520/session_test.cpp: promotion groups, texts of statuses and whole states through the C
// functions.
#include <algorithm>

#include "btkf520/toolkit.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

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

TEST_F(Session, StatusesHaveTexts) {
  EXPECT_STREQ(TrvsStatusText(TRVS_WOULD_OVERWRITE), "there is a file already");
  for (const int32_t none : {-1, 7, 111, 117, INT32_MAX}) {
    EXPECT_STREQ(TrvsStatusText(none), "unknown status");
  }
  EXPECT_EQ(TrvsVersion(), TRVS_VERSION);
}

TEST_F(Session, NullArgumentsAreMisuse) {
  write("a_v", "");
  const std::string file = path("a_v");
  const char* const archive = file.c_str();
  char buffer[40];
  int16_t number = 1;
  TrvsRevTree* tree = nullptr;
  const int32_t none[] = {
      TrvsGetUserInfo(nullptr, 40, nullptr, 0, nullptr),
      TrvsQueryConfiguration(nullptr, 0, 0, TRVS_READ_FIRST),
      TrvsQueryConfigurationItem(TRVS_ITEM_DATE_WORDS, nullptr, 40),
      TrvsVerifyPromoTreeNodeExist(nullptr, &number),
      TrvsVerifyPromoTreeNodeExist("dev", nullptr),
      TrvsComputeArchiveName(nullptr, buffer, 40),
      TrvsComputeArchiveName("a", nullptr, 40),
      TrvsGetLockInfo(TRVS_CONTEXT, archive, 0, nullptr, nullptr, buffer, 40),
      TrvsGetLockInfo(TRVS_CONTEXT, archive, 0, nullptr, &number, nullptr, 40),
      TrvsRevTreeInfo(TRVS_CONTEXT, archive, nullptr, TRVS_TREE_FETCH),
      TrvsGetDescription(TRVS_CONTEXT, archive, nullptr, nullptr, 40),
      TrvsGetAttributes(TRVS_CONTEXT, archive, nullptr),
      TrvsListRevisions(TRVS_CONTEXT, archive, nullptr, nullptr, 40),
      TrvsTestDifferences(TRVS_CONTEXT, archive, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0),
      TrvsTestDifferences(TRVS_CONTEXT, nullptr, nullptr, nullptr, nullptr, &number, 0, nullptr, 0),
      TrvsDeleteRevisions(TRVS_CONTEXT, nullptr, "1.0"),
      TrvsCreateArchive(nullptr, nullptr, nullptr, nullptr, 0, 0),
      TrvsVerifyArchive(TRVS_CONTEXT, nullptr, buffer, 40),
      TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &tree, TRVS_TREE_FETCH),
      TrvsSetLabel(TRVS_CONTEXT, archive, nullptr, "1.0", 0),
      TrvsAddAccess(TRVS_CONTEXT, archive, nullptr)};
  for (const int32_t& status : none) EXPECT_EQ(status, TRVS_MISUSE) << &status - none;
}

TEST_F(Session, StatesKnowNothingOfOneAnother) {
  load("VCSDIR=first\n");
  TrvsState* state = nullptr;
  ASSERT_EQ(TrvsNewState(&state), TRVS_DONE);
  TrvsState* const second = state;
  ASSERT_EQ(TrvsExchangeState(&state), TRVS_DONE);
  EXPECT_EQ(directories(), "");
  load("NONSENSE\nVCSDIR=second\n");
  EXPECT_EQ(told(), "") << "nothing is registered here";
  EXPECT_EQ(TrvsFreeState(second), TRVS_MISUSE) << "in place";
  ASSERT_EQ(TrvsExchangeState(&state), TRVS_DONE);
  EXPECT_EQ(state, second);
  EXPECT_EQ(directories(), "first");
  load("NONSENSE\n");
  EXPECT_EQ(told(), "line@1");
  EXPECT_EQ(TrvsFreeState(second), TRVS_DONE);
  state = nullptr;
  EXPECT_EQ(TrvsExchangeState(&state), TRVS_MISUSE);
  EXPECT_EQ(TrvsExchangeState(nullptr), TRVS_MISUSE);
  EXPECT_EQ(TrvsNewState(nullptr), TRVS_MISUSE);
  EXPECT_EQ(TrvsFreeState(nullptr), TRVS_DONE);
}

}  // namespace
}  // namespace btkf520_test
