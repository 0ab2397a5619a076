// btkf520/labels_test.cpp: locks, labels, promotion, access, deletion, journal and triggers, and
// the revision tree that shows them.
#include <memory>

#include "btkf520/archive/archive.h"
#include "btkf520/archives.h"

namespace btkf520_test {
namespace {

class Locks : public Archives {};
class Labels : public Archives {};
class Promotion : public Archives {};
class Upkeep : public Archives {};
class Events : public Archives {};

TEST_F(Locks, FollowTheRulesOfArchiveAndConfiguration) {
  struct Case {
    const char* why;
    const char* configuration;
    uint32_t attributes;  // Besides those of a new archive.
    const char* other;    // What bob has locked, null for nothing.
    const char* revision;
    int32_t status;
  };
  const Case cases[] = {
      {"the tip", "", 0, nullptr, nullptr, 0},
      {"an old one", "", 0, nullptr, "1.0", 0},
      {"another's", "", 0, "1.1", nullptr, 14},
      {"beside another's", "", 0, "1.0", nullptr, 0},
      {"shared", "MULTILOCK\n", 0, "1.1", nullptr, 0},
      {"exclusive", "", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, "1.0", nullptr, 29},
      {"exclusive, the first", "", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, nullptr, nullptr, 0},
      {"exclusive wins", "MULTILOCK\n", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, "1.1", nullptr, 29},
      {"warned, the tip", "BRANCHWARN\n", 0, nullptr, nullptr, 0},
      {"warned, an old one", "BRANCHWARN\n", 0, nullptr, "1.0", 47},
      {"warned, shared", "BRANCHWARN\nMULTILOCK\n", 0, "1.1", nullptr, 47},
      {"no such revision", "", 0, nullptr, "1.5", 18},
      {"no such label", "", 0, nullptr, "REL", 11},
      {"no such group", "", 0, nullptr, nullptr, 37},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    configure(c.configuration);
    unlink(archive().c_str());
    ASSERT_EQ(create(), 0);
    EXPECT_EQ(lock(), 20);
    ASSERT_EQ(put("0", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
    ASSERT_EQ(put("1", {}), 0);
    become("bob");
    if (c.other != nullptr) {
      ASSERT_EQ(lock(c.other), 0);
    }
    become("ann");
    ASSERT_EQ(TrvsSetAttributes(kContext, archive().c_str(), c.attributes, 0), 0);
    EXPECT_EQ(lock(c.revision, c.status == 37 ? "dev" : nullptr), c.status);
    EXPECT_EQ(unlock(), c.status == 0 ? 0 : 30);
    EXPECT_EQ(unlock("bob"), c.other != nullptr ? 0 : 30) << "others' locks stay";
  }
  ASSERT_EQ(TrvsSetAttributes(kContext, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  EXPECT_EQ(lock(), 29) << "locks are not checked";
  EXPECT_EQ(TrvsSetAttributes(kContext, archive().c_str(), 0x20, 0), 10);
  EXPECT_EQ(TrvsSetAttributes(kContext, archive().c_str(), 1, 1), 10);
  uint32_t attributes = 0;
  EXPECT_EQ(TrvsGetAttributes(kContext, archive().c_str(), &attributes), 0);
  EXPECT_EQ(attributes, uint32_t{TRVS_ATTRIBUTE_READ_ONLY});
  configure("EXCLUSIVELOCK\n");
  unlink(archive().c_str());
  ASSERT_EQ(create(), 0);
  TrvsGetAttributes(kContext, archive().c_str(), &attributes);
  EXPECT_EQ(attributes, 0x1cu);
}

TEST_F(Locks, AreListedForAUser) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  ASSERT_EQ(put("1", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  EXPECT_EQ(lock(), 14) << "mine already";
  ASSERT_EQ(lock("1.0"), 0);
  char* buffer[8];
  auto* bytes = reinterpret_cast<char*>(buffer);
  int16_t count = 1;
  const int32_t exact = sizeof(char*) + 4;
  const auto ask = [&](const char* user, int32_t size) {
    return TrvsGetLockInfo(kContext, archive().c_str(), 0, user, &count, bytes, size);
  };
  EXPECT_EQ(ask(nullptr, exact - 1), 8);
  EXPECT_EQ(ask("ann", exact), 0);
  EXPECT_STREQ(buffer[0], "1.0");
  EXPECT_EQ(count, 1);
  count = 9;
  EXPECT_EQ(ask("", sizeof buffer), 0);
  EXPECT_EQ(count, 2);
  EXPECT_STREQ(buffer[1], "1.1");
  EXPECT_EQ(ask("bob", sizeof buffer), 30);
  count = 0;
  EXPECT_EQ(ask(nullptr, sizeof buffer), 10);
  EXPECT_EQ(unlock(nullptr, "1.1"), 0);
  EXPECT_EQ(unlock(nullptr, "1.1"), 30);
  EXPECT_EQ(unlock("ann", "REL"), 11);
  EXPECT_EQ(tree(), "1.0^!ann 1.1");
}

TEST_F(Labels, AreSetMovedAndDeleted) {
  struct Step {
    const char* why;
    const char* name;
    const char* revision;
    uint32_t flags;
    int32_t answer;
    const char* other;
    int32_t status;
    const char* asked;
    const char* labels;
  };
  const Step steps[] = {
      {"new", "A", "1.0", 0, 2, "", 0, "", "A 1.0"},
      {"there already", "A", "1.0", 0, 2, "", 0, "", "A 1.0"},
      {"elsewhere", "A", "1.1", 0, 0, "", 12, "", "A 1.0"},
      {"moved", "A", "1.1", TRVS_LABEL_MOVE, 2, "", 0, "", "A 1.1"},
      {"asked, no", "A", "1.0", TRVS_LABEL_ASK, 2, "", 12, "6:A ", "A 1.1"},
      {"asked, yes", "A", "1.0", TRVS_LABEL_ASK, 0, "", 0, "6:A ", "A 1.0"},
      {"asked, another", "A", "1.2", TRVS_LABEL_ASK, 0, "B", 0, "6:A 9:B ", "A 1.0 B 1.2"},
      {"asked, another that exists", "A", "1.1", TRVS_LABEL_ASK, 0, "B", 0, "6:A 9:B 6:B ",
       "A 1.0 B 1.1"},
      {"asked, no name", "A", "1.1", TRVS_LABEL_ASK, 0, "1.1", 9, "6:A 9:1.1 ", "A 1.0 B 1.1"},
      {"floating", "A", "1.1.1", TRVS_LABEL_FLOATS | TRVS_LABEL_MOVE, 2, "", 0, "",
       "A 1.1.1 B 1.1"},
      {"floating with the trunk", "C", nullptr, TRVS_LABEL_FLOATS, 2, "", 0, "",
       "A 1.1.1 B 1.1 C 1"},
      {"contradiction", "A", "1.0", TRVS_LABEL_ASK | TRVS_LABEL_MOVE, 0, "", 10, "",
       "A 1.1.1 B 1.1 C 1"},
      {"no revision", "D", "1.9", 0, 0, "", 18, "", "A 1.1.1 B 1.1 C 1"},
  };
  makeBranches();
  answerQuestions();
  for (const Step& step : steps) {
    SCOPED_TRACE(step.why);
    asked.clear();
    answers[6] = step.answer;
    otherLabel = step.other;
    EXPECT_EQ(label(step.name, step.revision, step.flags), step.status);
    const size_t news = asked.find("18:");
    EXPECT_EQ(asked.substr(0, news), step.asked);
    EXPECT_EQ(news != std::string::npos, step.status == 0);
    const std::string set = *step.other == '\0' ? step.name : step.other;
    if (step.status == 0) {
      EXPECT_EQ(asked.substr(news), "18:LABEL:" + set + " ");
    }
    EXPECT_EQ(labels(), step.labels);
  }
  for (const char* bad : {"", "1.2", "a*b", "a,b", "a+", "a\nb"}) {
    EXPECT_EQ(label(bad, "1.0"), 9) << bad;
  }
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^#A 1.1.2.0^> 1.2#C");
  EXPECT_EQ(put("x", {.revision = "1.1.1.0"}), 0);
  EXPECT_EQ(put("y", {}), 0);
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^ 1.1.1.1#A 1.1.2.0^> 1.2 1.3#C");
  EXPECT_EQ(put("z", {.label = "B"}), 12);
  EXPECT_EQ(revisions("1"), "1.0 1.1 1.2 1.3") << "nothing of it was done";
  EXPECT_EQ(put("z", {.label = "B", .flags = TRVS_PUT_MOVE_LABEL}), 0);
  EXPECT_EQ(labels(), "A 1.1.1 B 1.4 C 1");
  EXPECT_EQ(TrvsDeleteLabel(kContext, archive().c_str(), "A"), 0);
  EXPECT_EQ(TrvsDeleteLabel(kContext, archive().c_str(), "A"), 11);
  EXPECT_EQ(labels(), "B 1.4 C 1");
}

TEST_F(Promotion, GoesUpGroupByGroup) {
  const auto promote = [&](const char* group, uint32_t flags = 0) {
    return TrvsPromoteRevision(kContext, archive().c_str(), group, flags);
  };
  configure("PROMOTE dev = test\nPROMOTE test = prod\n");
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(promote("dev"), 34) << "no revision there";
  EXPECT_EQ(promote("Dev"), 37);
  EXPECT_EQ(put("0", {.group = "test"}), 45);
  EXPECT_EQ(put("0", {.group = "Dev"}), 37);
  ASSERT_EQ(put("0", {}), 0) << "the only development group";
  ASSERT_EQ(lock(), 0);
  EXPECT_EQ(lock(), 14);
  become("bob");
  EXPECT_EQ(lock("1.0"), 14);
  become("ann");
  ASSERT_EQ(put("1", {}), 0);
  EXPECT_EQ(tree(), "1.0^ 1.1~dev") << "the group moves on";
  EXPECT_EQ(lock("1.0"), 40) << "the group is at another revision";
  ASSERT_EQ(promote("dev"), 0);
  EXPECT_EQ(lock("1.0", "test"), 45);
  ASSERT_EQ(lock("1.0", "dev"), 0) << "the group is free";
  EXPECT_EQ(tree(), "1.0^!ann~dev 1.1~test");
  EXPECT_EQ(lock(nullptr, "dev"), 14) << "the group's revision";
  EXPECT_EQ(lock("1.1", "dev"), 46);
  ASSERT_EQ(put("b", {}), 0);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~dev> 1.1~test");
  EXPECT_EQ(promote("dev"), 49) << "nobody to ask";
  answerQuestions();
  answers[3] = 2;
  EXPECT_EQ(promote("dev"), 49);
  EXPECT_EQ(asked, "3:49 ");
  answers[3] = 0;
  EXPECT_EQ(promote("dev"), 0);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~test> 1.1");
  EXPECT_EQ(promote("test"), 0);
  EXPECT_EQ(promote("prod"), 34);
  EXPECT_EQ(promote("dev", 2), 10);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1");

  configure("PROMOTE dev = test\nPROMOTE hot = test\n");
  EXPECT_EQ(lock("1.1"), 45) << "which one?";
  EXPECT_EQ(lock("1.1", "hot"), 0);
  EXPECT_EQ(put("2", {}), 0) << "the parent's";
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1 1.2~hot");
  EXPECT_EQ(promote("hot", TRVS_PROMOTE_ACROSS), 0);
  configure("PROMOTE alone\n");
  EXPECT_EQ(promote("alone"), 36);
}

TEST_F(Upkeep, DeletesRangesThatNothingHolds) {
  struct Case {
    const char* why;
    const char* range;
    int32_t status;
    const char* left;
  };
  const Case cases[] = {
      {"no range", "", 19, ""},
      {"no range, with branches", "+", 19, ""},
      {"no such revision", "1.7", 18, ""},
      {"a branch starts there", "1.1", 78, ""},
      {"nothing between", "1.2*1.1", 18, ""},
      {"one", "1.0", 0, "1.1 1.2 1.1.1.0 1.1.2.0"},
      {"the tip", "1.2", 0, "1.0 1.1 1.1.1.0 1.1.2.0"},
      {"a branch", "1.1.1", 0, "1.0 1.1 1.2 1.1.2.0"},
      {"with branches", "1.1+", 0, "1.0 1.2"},
      {"from", "1.1*+", 0, "1.0"},
      {"to", "*1.1+", 0, "1.2"},
      {"by label", "REL*1.1+", 0, "1.2"},
      {"all that lies between", "1.1*1.2+", 0, "1.0"},
      {"branches lie between", "1.1*1.2", 78, ""},
      {"everything", "*", 78, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    unlink(archive().c_str());
    makeBranches();
    label("REL", "1.0");
    label("FLOAT", "1.1.1", TRVS_LABEL_FLOATS);
    const std::string before = revisions();
    EXPECT_EQ(deleteRange(c.range), c.status);
    const std::string after = revisions();
    EXPECT_EQ(after, c.status == 0 ? c.left : before);
    EXPECT_EQ(labels().find("REL") == std::string::npos,
              (" " + after).find(" 1.0") == std::string::npos);
    EXPECT_EQ(labels().find("FLOAT") == std::string::npos,
              after.find("1.1.1.0") == std::string::npos);
    EXPECT_EQ(TrvsVerifyArchive(kContext, archive().c_str(), nullptr, 0), 0);
    if (after.starts_with("1.0 1.1 1.2")) {
      EXPECT_EQ(content("1.2"), "2\n");
    }
  }
  unlink(archive().c_str());
  makeBranches();
  TrvsSetAttributes(kContext, archive().c_str(), TRVS_ATTRIBUTE_CHECK_LOCKS, 0);
  ASSERT_EQ(lock("1.2"), 0);
  EXPECT_EQ(deleteRange("1.2"), 14);
  unlock();
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(lock("1.2"), 0);
  unlock();
  EXPECT_EQ(deleteRange("1.2"), 40);
}

TEST_F(Upkeep, AccessIsForTheListAndTheOwner) {
  configure("ACCESSLIST = bob, eve\n");
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {}), 0) << "the owner";
  become("zoe");
  EXPECT_EQ(lock(), 13);
  EXPECT_EQ(get({}), 13);
  EXPECT_EQ(tree(), "1.0^") << "what the archive tells is open";
  EXPECT_EQ(TrvsAddAccess(kContext, archive().c_str(), "zoe"), 13);
  become("eve");
  EXPECT_EQ(content("1.0"), "0");
  EXPECT_EQ(TrvsAddAccess(kContext, archive().c_str(), "a,b"), 9);
  EXPECT_EQ(TrvsAddAccess(kContext, archive().c_str(), "zoe"), 0);
  EXPECT_EQ(TrvsRemoveAccess(kContext, archive().c_str(), "bob"), 0);
  EXPECT_EQ(TrvsRemoveAccess(kContext, archive().c_str(), "bob"), 95);
  EXPECT_EQ(list([&](char* buffer, int32_t size) {
              return TrvsListAccess(kContext, archive().c_str(), buffer, size);
            }),
            "eve zoe");
  become("zoe");
  EXPECT_EQ(lock(), 0);
  become("bob");
  EXPECT_EQ(unlock("zoe"), 13);
}

TEST_F(Upkeep, TheTreeNestsBranches) {
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(tree(), "") << "no revisions, but a tree to give back";
  ASSERT_EQ(TrvsSetAttributes(kContext, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  int count = 0;
  for (const char* parent : {"", "", "1.0", "1.0.1", "1.0.1.0", "1.0", "1.0.1.0.1", "1.0.1.0",
                             "1.0.1.0.1.0", "1.1", "1.0.2"}) {
    const uint32_t flags = std::string(parent) == "1.1" ? TRVS_PUT_BRANCH : 0;
    ASSERT_EQ(put(std::to_string(++count), {.revision = parent, .flags = flags}), 0) << parent;
  }
  EXPECT_EQ(tree(),
            "1.0^+< 1.0.1.0^+< 1.0.1.0.1.0^+< 1.0.1.0.1.0.1.0^> 1.0.1.0.1.1 1.0.1.0.2.0^> 1.0.1.1 "
            "1.0.2.0^ 1.0.2.1> 1.1+< 1.1.1.0^>");
  TrvsRevTree* none = nullptr;
  EXPECT_EQ(TrvsRevTreeInfo(kContext, nullptr, &none, 2), 10);
  EXPECT_EQ(TrvsRevTreeInfo(kContext, path("none").c_str(), &none, 1), 2);
  EXPECT_EQ(none, nullptr);
}

TEST_F(Events, GoToTheJournalTheTriggersAndTheClient) {
  const std::string journal = path("journal");
  const std::string trace = path("trace");
  configure("JOURNAL = " + journal +
            "\nEVENTTRIGGER POSTCHECKIN = echo $BTKF_EVENT $BTKF_WHAT $BTKF_USER >> " + trace +
            "\nEVENTTRIGGER PRELABEL = exit 3\nEVENTTRIGGER PRELOCK = exit 127\n");
  ASSERT_EQ(create(), 0);
  answerQuestions();
  asked.clear();
  ASSERT_EQ(put("0", {}), 0);
  EXPECT_EQ(asked, "18:CHECKIN:1.0 ");
  EXPECT_EQ(support::readFile(trace), "POSTCHECKIN 1.0 ann\n");
  EXPECT_EQ(label("REL", "1.0"), 103);
  EXPECT_EQ(labels(), "");
  EXPECT_EQ(lock(), 106);
  ASSERT_EQ(get({}), 0);
  const std::string text = support::readFile(journal);
  std::string events;
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    events += text.substr(at + 19, text.find('\n', at) - at - 19) + "|";
  }
  EXPECT_EQ(events, "\tann\tCREATE\t" + archive() + "\t|\tann\tCHECKIN\t" + archive() +
                        "\t1.0|\tann\tCHECKOUT\t" + archive() + "\t1.0|");
  configure("JOURNAL = " + path("none/journal") + "\n");
  asked.clear();
  EXPECT_EQ(get({}), 0);
  EXPECT_EQ(asked, "20:43 18:CHECKOUT:1.0 ");
}

TEST_F(Events, TheClientMayCancelAndWait) {
  makeBranches();
  answerQuestions();
  answers[1] = 2;
  const std::string before = support::readFile(archive());
  EXPECT_EQ(put("3", {}), 15);
  EXPECT_EQ(get({}), 15);
  EXPECT_EQ(label("REL", "1.0"), 15);
  EXPECT_EQ(tree(), "status 15");
  EXPECT_EQ(support::readFile(archive()), before);
  answers[1] = 0;

  // Another holds the archive, and lets it go when asked the third time.
  static std::unique_ptr<btkf::Archive> holder;
  ASSERT_EQ(btkf::Archive::openToUpdate(archive(), &holder), 0);
  answers[3] = 2;
  asked.clear();
  EXPECT_EQ(put("3", {}), 6);
  EXPECT_EQ(asked, "3:38 ");
  TrvsRegisterCallback(17, anyCallback(+[]() -> int32_t {
                         if (asked.size() >= 15) holder.reset();
                         return 0;
                       }));
  answers[3] = 0;
  asked.clear();
  EXPECT_EQ(put("3", {}), 0);
  EXPECT_EQ(asked, "3:38 3:38 3:38 18:CHECKIN:1.3 ");
  EXPECT_EQ(content("1.3"), "3");
}

}  // namespace
}  // namespace btkf520_test
