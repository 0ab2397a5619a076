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
      {"the tip", "", 0, nullptr, nullptr, TRVS_DONE},
      {"an old one", "", 0, nullptr, "1.0", TRVS_DONE},
      {"another's", "", 0, "1.1", nullptr, TRVS_LOCKED},
      {"beside another's", "", 0, "1.0", nullptr, TRVS_DONE},
      {"shared", "MULTILOCK\n", 0, "1.1", nullptr, TRVS_DONE},
      {"exclusive", "", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, "1.0", nullptr, TRVS_CANNOT_LOCK},
      {"exclusive, the first", "", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, nullptr, nullptr, TRVS_DONE},
      {"exclusive wins", "MULTILOCK\n", TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, "1.1", nullptr,
       TRVS_CANNOT_LOCK},
      {"warned, the tip", "BRANCHWARN\n", 0, nullptr, nullptr, TRVS_DONE},
      {"warned, an old one", "BRANCHWARN\n", 0, nullptr, "1.0", TRVS_WOULD_BRANCH},
      {"warned, shared", "BRANCHWARN\nMULTILOCK\n", 0, "1.1", nullptr, TRVS_WOULD_BRANCH},
      {"no such revision", "", 0, nullptr, "1.5", TRVS_NO_REVISION},
      {"no such label", "", 0, nullptr, "REL", TRVS_NO_SUCH_LABEL},
      {"no such group", "", 0, nullptr, nullptr, TRVS_NO_SUCH_GROUP},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    configure(c.configuration);
    unlink(archive().c_str());
    ASSERT_EQ(create(), 0);
    EXPECT_EQ(lock(), TRVS_NO_REVISIONS);
    ASSERT_EQ(put("0", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
    ASSERT_EQ(put("1", {}), 0);
    become("bob");
    if (c.other != nullptr) {
      ASSERT_EQ(lock(c.other), 0);
    }
    become("ann");
    ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), c.attributes, 0), 0);
    EXPECT_EQ(lock(c.revision, c.status == TRVS_NO_SUCH_GROUP ? "dev" : nullptr), c.status);
    EXPECT_EQ(unlock(), c.status == 0 ? TRVS_DONE : TRVS_NO_LOCK);
    EXPECT_EQ(unlock("bob"), c.other != nullptr ? TRVS_DONE : TRVS_NO_LOCK) << "others' locks stay";
  }
  ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
  EXPECT_EQ(lock(), TRVS_CANNOT_LOCK) << "locks are not checked";
  EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0x20, 0), TRVS_MISUSE);
  EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 1, 1), TRVS_MISUSE);
  uint32_t attributes = 0;
  EXPECT_EQ(TrvsGetAttributes(TRVS_CONTEXT, archive().c_str(), &attributes), 0);
  EXPECT_EQ(attributes, uint32_t{TRVS_ATTRIBUTE_READ_ONLY});
  configure("EXCLUSIVELOCK\n");
  unlink(archive().c_str());
  ASSERT_EQ(create(), 0);
  TrvsGetAttributes(TRVS_CONTEXT, archive().c_str(), &attributes);
  EXPECT_EQ(attributes, 0x1cu);
}

TEST_F(Locks, AreListedForAUser) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  ASSERT_EQ(put("1", {.flags = TRVS_PUT_KEEP_LOCK}), 0);
  EXPECT_EQ(lock(), TRVS_LOCKED) << "mine already";
  ASSERT_EQ(lock("1.0"), 0);
  char* buffer[8];
  auto* bytes = reinterpret_cast<char*>(buffer);
  int16_t count = 1;
  const int32_t exact = sizeof(char*) + 4;
  const auto ask = [&](const char* user, int32_t size) {
    return TrvsGetLockInfo(TRVS_CONTEXT, archive().c_str(), 0, user, &count, bytes, size);
  };
  EXPECT_EQ(ask(nullptr, exact - 1), TRVS_BUFFER_TOO_SMALL);
  EXPECT_EQ(ask("ann", exact), 0);
  EXPECT_STREQ(buffer[0], "1.0");
  EXPECT_EQ(count, 1);
  count = 9;
  EXPECT_EQ(ask("", sizeof buffer), 0);
  EXPECT_EQ(count, 2);
  EXPECT_STREQ(buffer[1], "1.1");
  EXPECT_EQ(ask("bob", sizeof buffer), TRVS_NO_LOCK);
  count = 0;
  EXPECT_EQ(ask(nullptr, sizeof buffer), TRVS_MISUSE);
  EXPECT_EQ(unlock(nullptr, "1.1"), 0);
  EXPECT_EQ(unlock(nullptr, "1.1"), TRVS_NO_LOCK);
  EXPECT_EQ(unlock("ann", "REL"), TRVS_NO_SUCH_LABEL);
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
      {"new", "A", "1.0", 0, TRVS_REFUSE, "", TRVS_DONE, "", "A 1.0"},
      {"there already", "A", "1.0", 0, TRVS_REFUSE, "", TRVS_DONE, "", "A 1.0"},
      {"elsewhere", "A", "1.1", 0, TRVS_GO_ON, "", TRVS_LABEL_EXISTS, "", "A 1.0"},
      {"moved", "A", "1.1", TRVS_LABEL_MOVE, TRVS_REFUSE, "", TRVS_DONE, "", "A 1.1"},
      {"asked, no", "A", "1.0", TRVS_LABEL_ASK, TRVS_REFUSE, "", TRVS_LABEL_EXISTS, "move:A ",
       "A 1.1"},
      {"asked, yes", "A", "1.0", TRVS_LABEL_ASK, TRVS_GO_ON, "", TRVS_DONE, "move:A ", "A 1.0"},
      {"asked, another", "A", "1.2", TRVS_LABEL_ASK, TRVS_GO_ON, "B", TRVS_DONE, "move:A free:B ",
       "A 1.0 B 1.2"},
      {"asked, another that exists", "A", "1.1", TRVS_LABEL_ASK, TRVS_GO_ON, "B", TRVS_DONE,
       "move:A free:B move:B ", "A 1.0 B 1.1"},
      {"asked, no name", "A", "1.1", TRVS_LABEL_ASK, TRVS_GO_ON, "1.1", TRVS_BAD_NAME,
       "move:A free:1.1 ", "A 1.0 B 1.1"},
      {"floating", "A", "1.1.1", TRVS_LABEL_FLOATS | TRVS_LABEL_MOVE, TRVS_REFUSE, "", TRVS_DONE,
       "", "A 1.1.1 B 1.1"},
      {"floating with the trunk", "C", nullptr, TRVS_LABEL_FLOATS, TRVS_REFUSE, "", TRVS_DONE, "",
       "A 1.1.1 B 1.1 C 1"},
      {"contradiction", "A", "1.0", TRVS_LABEL_ASK | TRVS_LABEL_MOVE, TRVS_GO_ON, "", TRVS_MISUSE,
       "", "A 1.1.1 B 1.1 C 1"},
      {"no revision", "D", "1.9", 0, TRVS_GO_ON, "", TRVS_NO_REVISION, "", "A 1.1.1 B 1.1 C 1"},
  };
  makeBranches();
  answerQuestions();
  for (const Step& step : steps) {
    SCOPED_TRACE(step.why);
    asked.clear();
    answers[TRVS_CALLBACK_MOVE_LABEL] = step.answer;
    otherLabel = step.other;
    EXPECT_EQ(label(step.name, step.revision, step.flags), step.status);
    const size_t news = asked.find("done:");
    EXPECT_EQ(asked.substr(0, news), step.asked);
    EXPECT_EQ(news != std::string::npos, step.status == 0);
    const std::string set = *step.other == '\0' ? step.name : step.other;
    if (step.status == 0) {
      EXPECT_EQ(asked.substr(news), "done:LABEL:" + set + " ");
    }
    EXPECT_EQ(labels(), step.labels);
  }
  for (const char* bad : {"", "1.2", "a*b", "a,b", "a+", "a\nb"}) {
    EXPECT_EQ(label(bad, "1.0"), TRVS_BAD_NAME) << bad;
  }
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^#A 1.1.2.0^> 1.2#C");
  EXPECT_EQ(put("x", {.revision = "1.1.1.0"}), 0);
  EXPECT_EQ(put("y", {}), 0);
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^ 1.1.1.1#A 1.1.2.0^> 1.2 1.3#C");
  EXPECT_EQ(put("z", {.label = "B"}), TRVS_LABEL_EXISTS);
  EXPECT_EQ(revisions("1"), "1.0 1.1 1.2 1.3") << "nothing of it was done";
  EXPECT_EQ(put("z", {.label = "B", .flags = TRVS_PUT_MOVE_LABEL}), 0);
  EXPECT_EQ(labels(), "A 1.1.1 B 1.4 C 1");
  EXPECT_EQ(TrvsDeleteLabel(TRVS_CONTEXT, archive().c_str(), "A"), 0);
  EXPECT_EQ(TrvsDeleteLabel(TRVS_CONTEXT, archive().c_str(), "A"), TRVS_NO_SUCH_LABEL);
  EXPECT_EQ(labels(), "B 1.4 C 1");
}

TEST_F(Promotion, GoesUpGroupByGroup) {
  const auto promote = [&](const char* group, uint32_t flags = 0) {
    return TrvsPromoteRevision(TRVS_CONTEXT, archive().c_str(), group, flags);
  };
  configure("PROMOTE dev = test\nPROMOTE test = prod\n");
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(promote("dev"), TRVS_CANNOT_PROMOTE) << "no revision there";
  EXPECT_EQ(promote("Dev"), TRVS_NO_SUCH_GROUP);
  EXPECT_EQ(put("0", {.group = "test"}), TRVS_NEEDS_DEVELOPMENT_GROUP);
  EXPECT_EQ(put("0", {.group = "Dev"}), TRVS_NO_SUCH_GROUP);
  ASSERT_EQ(put("0", {}), 0) << "the only development group";
  ASSERT_EQ(lock(), 0);
  EXPECT_EQ(lock(), TRVS_LOCKED);
  become("bob");
  EXPECT_EQ(lock("1.0"), TRVS_LOCKED);
  become("ann");
  ASSERT_EQ(put("1", {}), 0);
  EXPECT_EQ(tree(), "1.0^ 1.1~dev") << "the group moves on";
  EXPECT_EQ(lock("1.0"), TRVS_GROUP_IN_THE_WAY) << "the group is at another revision";
  ASSERT_EQ(promote("dev"), 0);
  EXPECT_EQ(lock("1.0", "test"), TRVS_NEEDS_DEVELOPMENT_GROUP);
  ASSERT_EQ(lock("1.0", "dev"), 0) << "the group is free";
  EXPECT_EQ(tree(), "1.0^!ann~dev 1.1~test");
  EXPECT_EQ(lock(nullptr, "dev"), TRVS_LOCKED) << "the group's revision";
  EXPECT_EQ(lock("1.1", "dev"), TRVS_GROUP_LOCKED);
  ASSERT_EQ(put("b", {}), 0);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~dev> 1.1~test");
  EXPECT_EQ(promote("dev"), TRVS_OTHER_BRANCH) << "nobody to ask";
  answerQuestions();
  answers[TRVS_CALLBACK_RETRY] = TRVS_REFUSE;
  EXPECT_EQ(promote("dev"), TRVS_OTHER_BRANCH);
  EXPECT_EQ(asked, "branch ");
  answers[TRVS_CALLBACK_RETRY] = TRVS_GO_ON;
  EXPECT_EQ(promote("dev"), 0);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~test> 1.1");
  EXPECT_EQ(promote("test"), 0);
  EXPECT_EQ(promote("prod"), TRVS_CANNOT_PROMOTE);
  EXPECT_EQ(promote("dev", 2), TRVS_MISUSE);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1");

  configure("PROMOTE dev = test\nPROMOTE hot = test\n");
  EXPECT_EQ(lock("1.1"), TRVS_NEEDS_DEVELOPMENT_GROUP) << "which one?";
  EXPECT_EQ(lock("1.1", "hot"), 0);
  EXPECT_EQ(put("2", {}), 0) << "the parent's";
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1 1.2~hot");
  EXPECT_EQ(promote("hot", TRVS_PROMOTE_ACROSS), 0);
  configure("PROMOTE alone\n");
  EXPECT_EQ(promote("alone"), TRVS_NO_HIGHER_GROUP);
}

TEST_F(Upkeep, DeletesRangesThatNothingHolds) {
  struct Case {
    const char* why;
    const char* range;
    int32_t status;
    const char* left;
  };
  const Case cases[] = {
      {"no range", "", TRVS_BAD_NUMBER, ""},
      {"no range, with branches", "+", TRVS_BAD_NUMBER, ""},
      {"no such revision", "1.7", TRVS_NO_REVISION, ""},
      {"a branch starts there", "1.1", TRVS_HAS_BRANCHES, ""},
      {"nothing between", "1.2*1.1", TRVS_NO_REVISION, ""},
      {"one", "1.0", TRVS_DONE, "1.1 1.2 1.1.1.0 1.1.2.0"},
      {"the tip", "1.2", TRVS_DONE, "1.0 1.1 1.1.1.0 1.1.2.0"},
      {"a branch", "1.1.1", TRVS_DONE, "1.0 1.1 1.2 1.1.2.0"},
      {"with branches", "1.1+", TRVS_DONE, "1.0 1.2"},
      {"from", "1.1*+", TRVS_DONE, "1.0"},
      {"to", "*1.1+", TRVS_DONE, "1.2"},
      {"by label", "REL*1.1+", TRVS_DONE, "1.2"},
      {"all that lies between", "1.1*1.2+", TRVS_DONE, "1.0"},
      {"branches lie between", "1.1*1.2", TRVS_HAS_BRANCHES, ""},
      {"everything", "*", TRVS_HAS_BRANCHES, ""},
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
    EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), nullptr, 0), 0);
    if (after.starts_with("1.0 1.1 1.2")) {
      EXPECT_EQ(content("1.2"), "2\n");
    }
  }
  unlink(archive().c_str());
  makeBranches();
  TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), TRVS_ATTRIBUTE_CHECK_LOCKS, 0);
  ASSERT_EQ(lock("1.2"), 0);
  EXPECT_EQ(deleteRange("1.2"), TRVS_LOCKED);
  unlock();
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(lock("1.2"), 0);
  unlock();
  EXPECT_EQ(deleteRange("1.2"), TRVS_GROUP_IN_THE_WAY);
}

TEST_F(Upkeep, AccessIsForTheListAndTheOwner) {
  configure("ACCESSLIST = bob, eve\n");
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(put("0", {}), 0) << "the owner";
  become("zoe");
  EXPECT_EQ(lock(), TRVS_NO_ACCESS);
  EXPECT_EQ(get({}), TRVS_NO_ACCESS);
  EXPECT_EQ(tree(), "1.0^") << "what the archive tells is open";
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "zoe"), TRVS_NO_ACCESS);
  become("eve");
  EXPECT_EQ(content("1.0"), "0");
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "a,b"), TRVS_BAD_NAME);
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "zoe"), 0);
  EXPECT_EQ(TrvsRemoveAccess(TRVS_CONTEXT, archive().c_str(), "bob"), 0);
  EXPECT_EQ(TrvsRemoveAccess(TRVS_CONTEXT, archive().c_str(), "bob"), TRVS_NOT_IN_ACCESS_LIST);
  EXPECT_EQ(list([&](char* buffer, int32_t size) {
              return TrvsListAccess(TRVS_CONTEXT, archive().c_str(), buffer, size);
            }),
            "eve zoe");
  become("zoe");
  EXPECT_EQ(lock(), 0);
  become("bob");
  EXPECT_EQ(unlock("zoe"), TRVS_NO_ACCESS);
}

TEST_F(Upkeep, TheTreeNestsBranches) {
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(tree(), "") << "no revisions, but a tree to give back";
  ASSERT_EQ(TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS), 0);
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
  EXPECT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &none, 2), TRVS_MISUSE);
  EXPECT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, path("none").c_str(), &none, TRVS_TREE_FETCH),
            TRVS_NO_ARCHIVE);
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
  EXPECT_EQ(asked, "done:CHECKIN:1.0 ");
  EXPECT_EQ(support::readFile(trace), "POSTCHECKIN 1.0 ann\n");
  EXPECT_EQ(label("REL", "1.0"), TRVS_TRIGGER_REFUSED);
  EXPECT_EQ(labels(), "");
  EXPECT_EQ(lock(), TRVS_TRIGGER_FAILED);
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
  EXPECT_EQ(asked, "no journal done:CHECKOUT:1.0 ");
}

TEST_F(Events, TheClientMayCancelAndWait) {
  makeBranches();
  answerQuestions();
  answers[TRVS_CALLBACK_CONTINUE] = TRVS_REFUSE;
  const std::string before = support::readFile(archive());
  EXPECT_EQ(put("3", {}), TRVS_CANCELLED);
  EXPECT_EQ(get({}), TRVS_CANCELLED);
  EXPECT_EQ(label("REL", "1.0"), TRVS_CANCELLED);
  EXPECT_EQ(tree(), statusText(TRVS_CANCELLED));
  EXPECT_EQ(support::readFile(archive()), before);
  answers[TRVS_CALLBACK_CONTINUE] = TRVS_GO_ON;

  // Another holds the archive, and lets it go when asked the third time.
  static std::unique_ptr<btkf::Archive> holder;
  ASSERT_EQ(btkf::Archive::openToUpdate(archive(), &holder), 0);
  answers[TRVS_CALLBACK_RETRY] = TRVS_REFUSE;
  asked.clear();
  EXPECT_EQ(put("3", {}), TRVS_IN_USE);
  EXPECT_EQ(asked, "busy ");
  TrvsRegisterCallback(TRVS_CALLBACK_IDLE, anyCallback(+[]() -> int32_t {
                         if (asked == "busy busy busy ") holder.reset();
                         return 0;
                       }));
  answers[TRVS_CALLBACK_RETRY] = TRVS_GO_ON;
  asked.clear();
  EXPECT_EQ(put("3", {}), 0);
  EXPECT_EQ(asked, "busy busy busy done:CHECKIN:1.3 ");
  EXPECT_EQ(content("1.3"), "3");
}

}  // namespace
}  // namespace btkf520_test
