// btkf520/labels_test.cpp: locks, labels, promotion, access, deletion and what the client is asked
// meanwhile, and the revision tree that shows them.
#include <algorithm>
#include <memory>

#include "btkf520/archive/archive.h"
#include "btkf520/archives.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

class Locks : public Archives {};
class Labels : public Archives {};
class Promotion : public Archives {};
class Upkeep : public Archives {};
class Events : public Archives {};

TEST_F(Locks, FollowTheRulesOfArchiveAndConfiguration) {
  // What the archive and the configuration say; what bob has locked; what is asked for, "~" before
  // a group; the status (11, 18 and 37: no such thing; 14: locked; 29: one lock only; 47: would
  // branch).
  const auto cases = support::table<4>(R"(
      -> -> -> 0                  | -> -> 1.0 -> 0                 | -> 1.1 -> -> 14
      -> 1.0 -> -> 0              | MULTILOCK -> 1.1 -> -> 0       | EXCLUSIVE -> 1.0 -> -> 29
      EXCLUSIVE -> -> -> 0        | EXCLUSIVE MULTILOCK -> 1.1 -> -> 29
      BRANCHWARN -> -> -> 0       | BRANCHWARN -> -> 1.0 -> 47     | -> -> 1.5 -> 18
      BRANCHWARN MULTILOCK -> 1.1 -> -> 47       | -> -> REL -> 11 | -> -> ~dev -> 37)");
  for (const auto& [rules, other, wanted, status] : cases) {
    SCOPED_TRACE(testing::Message() << rules << ", " << other << ", " << wanted);
    std::string configuration = rules;
    const bool isExclusive = configuration.starts_with("EXCLUSIVE");
    if (isExclusive) configuration.erase(0, 9);
    std::replace(configuration.begin(), configuration.end(), ' ', '\n');
    configure(configuration + "\n");
    support::removeFile(archive());
    ASSERT_EQ(create(), TRVS_DONE);
    EXPECT_EQ(lock(), TRVS_NO_REVISIONS);
    ASSERT_EQ(put("0", {.flags = TRVS_PUT_KEEP_LOCK}), TRVS_DONE);
    ASSERT_EQ(put("1", {}), TRVS_DONE);
    become("bob");
    if (!other.empty()) {
      ASSERT_EQ(lock(other.c_str()), TRVS_DONE);
    }
    become("ann");
    const uint32_t attributes = isExclusive ? TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS : 0;
    ASSERT_EQ(setAttributes(attributes), TRVS_DONE);
    const bool isGroup = wanted.starts_with("~");
    const int32_t got = isGroup ? lock(nullptr, wanted.c_str() + 1) : lock(wanted.c_str());
    EXPECT_EQ(std::to_string(got), status);
    EXPECT_EQ(unlock(), got == TRVS_DONE ? TRVS_DONE : TRVS_NO_LOCK);
    EXPECT_EQ(unlock("bob"), !other.empty() ? TRVS_DONE : TRVS_NO_LOCK) << "others' locks stay";
  }
  ASSERT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
  EXPECT_EQ(lock(), TRVS_CANNOT_LOCK) << "locks are not checked";
  EXPECT_EQ(setAttributes(0x40), TRVS_MISUSE);
  EXPECT_EQ(setAttributes(1, 1), TRVS_MISUSE);
  uint32_t attributes = 0;
  EXPECT_EQ(TrvsGetAttributes(TRVS_CONTEXT, archive().c_str(), &attributes), TRVS_DONE);
  EXPECT_EQ(attributes, uint32_t{TRVS_ATTRIBUTE_READ_ONLY});
  configure("EXCLUSIVELOCK\n");
  support::removeFile(archive());
  ASSERT_EQ(create(), TRVS_DONE);
  TrvsGetAttributes(TRVS_CONTEXT, archive().c_str(), &attributes);
  EXPECT_EQ(attributes, 0x1cu);
}

TEST_F(Labels, AreSetMovedAndDeleted) {
  const std::map<std::string, uint32_t> flags = {
      {"move", TRVS_LABEL_MOVE}, {"ask", TRVS_LABEL_ASK}, {"float", TRVS_LABEL_FLOATS}};
  // A label, its revision, flags, the client's answer ("no", "yes" or another name); what was asked
  // and done or the status (9: no name; 10: misuse; 12: it exists; 18: no revision); all labels.
  const auto steps = support::table<6>(R"(
      A -> 1.0 -> -> no -> done:LABEL:A -> A 1.0   | A -> 1.0 -> -> no -> done:LABEL:A -> A 1.0
      A -> 1.1 -> -> yes -> 12 -> A 1.0     | A -> 1.1 -> move -> no -> done:LABEL:A -> A 1.1
      A -> 1.0 -> ask -> no -> move:A 12 -> A 1.1
      A -> 1.0 -> ask -> yes -> move:A done:LABEL:A -> A 1.0
      A -> 1.2 -> ask -> B -> move:A free:B done:LABEL:B -> A 1.0 B 1.2
      A -> 1.1 -> ask -> B -> move:A free:B move:B done:LABEL:B -> A 1.0 B 1.1
      A -> 1.1 -> ask -> 1.1 -> move:A free:1.1 9 -> A 1.0 B 1.1
      A -> 1.1.1 -> float move -> no -> done:LABEL:A -> A 1.1.1 B 1.1
      C -> -> float -> no -> done:LABEL:C -> A 1.1.1 B 1.1 C 1
      A -> 1.0 -> ask move -> yes -> 10 -> A 1.1.1 B 1.1 C 1
      D -> 1.9 -> -> yes -> 18 -> A 1.1.1 B 1.1 C 1)");
  makeBranches();
  answerQuestions();
  for (const auto& [name, revision, how, answered, want, left] : steps) {
    SCOPED_TRACE(testing::Message() << name << " " << revision << " " << how << " " << answered);
    asked.clear();
    answers[TRVS_CALLBACK_MOVE_LABEL] = answered == "no" ? TRVS_REFUSE : TRVS_GO_ON;
    otherLabel = answered == "no" || answered == "yes" ? "" : answered;
    const int32_t status = label(name.c_str(), revision.c_str(), allOf(how, flags));
    EXPECT_EQ(asked + (status == TRVS_DONE ? "" : std::to_string(status)),
              want + (status == TRVS_DONE ? " " : ""));
    EXPECT_EQ(labels(), left);
  }
  for (const char* bad : {"", "1.2", "a*b", "a,b", "a+", "a\nb"}) {
    EXPECT_EQ(label(bad, "1.0"), TRVS_BAD_NAME) << bad;
  }
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^#A 1.1.2.0^> 1.2#C");
  EXPECT_EQ(put("x", {.revision = "1.1.1.0"}), TRVS_DONE);
  EXPECT_EQ(put("y", {}), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^ 1.1+#B< 1.1.1.0^ 1.1.1.1#A 1.1.2.0^> 1.2 1.3#C");
  EXPECT_EQ(put("z", {.label = "B"}), TRVS_LABEL_EXISTS);
  EXPECT_EQ(revisions("1"), "1.0 1.1 1.2 1.3") << "nothing of it was done";
  EXPECT_EQ(put("z", {.label = "B", .flags = TRVS_PUT_MOVE_LABEL}), TRVS_DONE);
  EXPECT_EQ(labels(), "A 1.1.1 B 1.4 C 1");
  EXPECT_EQ(TrvsDeleteLabel(TRVS_CONTEXT, archive().c_str(), "A"), TRVS_DONE);
  EXPECT_EQ(TrvsDeleteLabel(TRVS_CONTEXT, archive().c_str(), "A"), TRVS_NO_SUCH_LABEL);
  EXPECT_EQ(labels(), "B 1.4 C 1");
}

TEST_F(Promotion, GoesUpGroupByGroup) {
  configure("PROMOTE dev = test\nPROMOTE test = prod\n");
  ASSERT_EQ(create(), TRVS_DONE);
  EXPECT_EQ(promote("dev"), TRVS_CANNOT_PROMOTE) << "no revision there";
  EXPECT_EQ(promote("Dev"), TRVS_NO_SUCH_GROUP);
  EXPECT_EQ(put("0", {.group = "test"}), TRVS_NEEDS_DEVELOPMENT_GROUP);
  EXPECT_EQ(put("0", {.group = "Dev"}), TRVS_NO_SUCH_GROUP);
  ASSERT_EQ(put("0", {}), TRVS_DONE) << "the only development group";
  ASSERT_EQ(lock(), TRVS_DONE);
  EXPECT_EQ(lock(), TRVS_LOCKED);
  become("bob");
  EXPECT_EQ(lock("1.0"), TRVS_LOCKED);
  become("ann");
  ASSERT_EQ(put("1", {}), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^ 1.1~dev") << "the group moves on";
  EXPECT_EQ(lock("1.0"), TRVS_GROUP_IN_THE_WAY) << "the group is at another revision";
  ASSERT_EQ(promote("dev"), TRVS_DONE);
  EXPECT_EQ(lock("1.0", "test"), TRVS_NEEDS_DEVELOPMENT_GROUP);
  ASSERT_EQ(lock("1.0", "dev"), TRVS_DONE) << "the group is free";
  EXPECT_EQ(tree(), "1.0^!ann~dev 1.1~test");
  EXPECT_EQ(lock(nullptr, "dev"), TRVS_LOCKED) << "the group's revision";
  EXPECT_EQ(lock("1.1", "dev"), TRVS_GROUP_LOCKED);
  ASSERT_EQ(put("b", {}), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~dev> 1.1~test");
  EXPECT_EQ(promote("dev"), TRVS_OTHER_BRANCH) << "nobody to ask";
  answerQuestions();
  answers[TRVS_CALLBACK_RETRY] = TRVS_REFUSE;
  EXPECT_EQ(promote("dev"), TRVS_OTHER_BRANCH);
  EXPECT_EQ(asked, "branch ");
  answers[TRVS_CALLBACK_RETRY] = TRVS_GO_ON;
  EXPECT_EQ(promote("dev"), TRVS_DONE);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~test> 1.1");
  EXPECT_EQ(promote("test"), TRVS_DONE);
  EXPECT_EQ(promote("prod"), TRVS_CANNOT_PROMOTE);
  EXPECT_EQ(promote("dev", 2), TRVS_MISUSE);
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1");

  configure("PROMOTE dev = test\nPROMOTE hot = test\n");
  EXPECT_EQ(lock("1.1"), TRVS_NEEDS_DEVELOPMENT_GROUP) << "which one?";
  EXPECT_EQ(lock("1.1", "hot"), TRVS_DONE);
  EXPECT_EQ(put("2", {}), TRVS_DONE) << "the parent's";
  EXPECT_EQ(tree(), "1.0^+< 1.0.1.0^~prod> 1.1 1.2~hot");
  EXPECT_EQ(promote("hot", TRVS_PROMOTE_ACROSS), TRVS_DONE);
  configure("PROMOTE alone\n");
  EXPECT_EQ(promote("alone"), TRVS_NO_HIGHER_GROUP);
}

TEST_F(Upkeep, DeletesRangesThatNothingHolds) {
  // A range, and what it leaves or the status (18: no such revision; 19: no range; 78: a branch).
  const auto cases = support::table<2>(R"(
      -> status 19           | + -> status 19                          | 1.7 -> status 18
      1.1 -> status 78       | 1.2*1.1 -> status 18                    | 1.1+ -> 1.0 1.2
      1.1*+ -> 1.0           | *1.1+ -> 1.2                            | REL*1.1+ -> 1.2
      1.1*1.2+ -> 1.0        | 1.1*1.2 -> status 78                    | * -> status 78
      1.2 -> 1.0 1.1 1.1.1.0 1.1.2.0     | 1.0 -> 1.1 1.2 1.1.1.0 1.1.2.0
      1.1.1 -> 1.0 1.1 1.2 1.1.2.0)");
  for (const auto& [range, want] : cases) {
    SCOPED_TRACE(range);
    support::removeFile(archive());
    makeBranches();
    label("REL", "1.0");
    label("FLOAT", "1.1.1", TRVS_LABEL_FLOATS);
    const std::string before = revisions();
    const int32_t status = deleteRange(range.c_str());
    const std::string after = revisions();
    EXPECT_EQ(status == TRVS_DONE ? after : statusText(status), want);
    if (status != TRVS_DONE) {
      EXPECT_EQ(after, before);
    }
    EXPECT_EQ(labels().find("REL") == std::string::npos,
              (" " + after).find(" 1.0") == std::string::npos);
    EXPECT_EQ(labels().find("FLOAT") == std::string::npos,
              after.find("1.1.1.0") == std::string::npos);
    EXPECT_EQ(verify(), TRVS_DONE);
    if (after.starts_with("1.0 1.1 1.2")) {
      EXPECT_EQ(content("1.2"), "2\n");
    }
  }
  support::removeFile(archive());
  makeBranches();
  setAttributes(TRVS_ATTRIBUTE_CHECK_LOCKS);
  ASSERT_EQ(lock("1.2"), TRVS_DONE);
  EXPECT_EQ(deleteRange("1.2"), TRVS_LOCKED);
  unlock();
  configure("PROMOTE dev = test\n");
  ASSERT_EQ(lock("1.2"), TRVS_DONE);
  unlock();
  EXPECT_EQ(deleteRange("1.2"), TRVS_GROUP_IN_THE_WAY);
}

// A label that a script sets again with each build once made the archive grow each time.
TEST_F(Upkeep, OfWhatIsSoAlreadyWritesNothing) {
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("0", {.change = "why"}), TRVS_DONE);
  ASSERT_EQ(label("REL", "1.0"), TRVS_DONE);
  ASSERT_EQ(label("FLOAT", nullptr, TRVS_LABEL_FLOATS), TRVS_DONE);
  const std::string name = archive();
  const auto describe = [&](const char* revision, const char* text) {
    return TrvsSetDescription(TRVS_CONTEXT, name.c_str(), revision, text);
  };
  answerQuestions();
  // Until the file would be written anew, and once more.
  for (int change = 0; change < 30; ++change) {
    SCOPED_TRACE(change);
    const std::string text = "change " + std::to_string(change);
    ASSERT_EQ(describe(nullptr, text.c_str()), TRVS_DONE);
    const std::string before = support::readFile(name);
    asked.clear();
    if (change % 2 == 1) {
      ASSERT_EQ(TrvsBeginBatch(TRVS_CONTEXT), TRVS_DONE);
    }
    EXPECT_EQ(label("REL", "1.0", TRVS_LABEL_MOVE), TRVS_DONE);
    EXPECT_EQ(label("FLOAT", nullptr, TRVS_LABEL_FLOATS), TRVS_DONE);
    EXPECT_EQ(describe(nullptr, text.c_str()), TRVS_DONE);
    EXPECT_EQ(describe("1.0", "why"), TRVS_DONE);
    EXPECT_EQ(TrvsSetAttributes(TRVS_CONTEXT, name.c_str(), 0, 0), TRVS_DONE);
    if (change % 2 == 1) {
      ASSERT_EQ(TrvsEndBatch(TRVS_CONTEXT), TRVS_DONE);
    }
    EXPECT_EQ(asked,
              "done:LABEL:REL done:LABEL:FLOAT done:DESCRIBE: done:DESCRIBE:1.0 done:ATTRIBUTES: ");
    ASSERT_TRUE(support::readFile(name) == before);
  }
}

TEST_F(Upkeep, AccessIsForTheListAndTheOwner) {
  configure("ACCESSLIST = bob, eve\n");
  ASSERT_EQ(create(), TRVS_DONE);
  ASSERT_EQ(put("0", {}), TRVS_DONE) << "the owner";
  become("zoe");
  EXPECT_EQ(lock(), TRVS_NO_ACCESS);
  EXPECT_EQ(get({}), TRVS_NO_ACCESS);
  EXPECT_EQ(tree(), "1.0^") << "what the archive tells is open";
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "zoe"), TRVS_NO_ACCESS);
  become("eve");
  EXPECT_EQ(content("1.0"), "0");
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "a,b"), TRVS_BAD_NAME);
  EXPECT_EQ(TrvsAddAccess(TRVS_CONTEXT, archive().c_str(), "zoe"), TRVS_DONE);
  EXPECT_EQ(TrvsRemoveAccess(TRVS_CONTEXT, archive().c_str(), "bob"), TRVS_DONE);
  EXPECT_EQ(TrvsRemoveAccess(TRVS_CONTEXT, archive().c_str(), "bob"), TRVS_NOT_IN_ACCESS_LIST);
  EXPECT_EQ(list([&](char* buffer, int32_t size) {
              return TrvsListAccess(TRVS_CONTEXT, archive().c_str(), buffer, size);
            }),
            "eve zoe");
  become("zoe");
  EXPECT_EQ(lock(), TRVS_DONE);
  become("bob");
  EXPECT_EQ(unlock("zoe"), TRVS_NO_ACCESS);
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
  ASSERT_EQ(btkf::Archive::openToUpdate(archive(), &holder), TRVS_DONE);
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
  EXPECT_EQ(put("3", {}), TRVS_DONE);
  EXPECT_EQ(asked, "busy busy busy done:CHECKIN:1.3 ");
  EXPECT_EQ(content("1.3"), "3");
}

}  // namespace
}  // namespace btkf520_test
