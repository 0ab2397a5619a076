// btkf520/checkin_process_test.cpp: a team of processes that check in to one archive at once.
#include <map>
#include <set>
#include <sstream>

#include "btkf520/archives.h"
#include "support/childprocess.h"

namespace btkf520_test {
namespace {

class Team : public Archives {
 protected:
  static constexpr int kMembers = 8;
  static constexpr int kRounds = 6;

  // One member's day: what was checked in, by its text, is added to the member's own file. 0, or
  // the first status that must not be.
  int32_t work(int member, bool withLocks) {
    become(("user" + std::to_string(member)).c_str());
    const std::string name = "work" + std::to_string(member);
    const std::string both = archive() + "(" + path(name) + ")";
    std::string acknowledged;
    for (int round = 0; round < kRounds; ++round) {
      if (withLocks) {
        const int32_t status = getTo(both, TRVS_GET_LOCK | TRVS_GET_OVERWRITE);
        if (status == TRVS_IN_USE || status == TRVS_LOCKED) continue;
        if (status != 0) return status;
      }
      const std::string text = name + " round " + std::to_string(round);
      write(name, text);
      const int32_t status =
          putFrom(both, {.change = text.c_str(), .flags = TRVS_PUT_OLDER | TRVS_PUT_READ_ONLY});
      if (status == 0) acknowledged += text + "\n";
      if (status == TRVS_IN_USE && withLocks)
        TrvsUnLockRevision(TRVS_CONTEXT, both.c_str(), nullptr, nullptr);
      if (status != 0 && status != TRVS_IN_USE) return status;
      chmod(path(name).c_str(), 0644);
    }
    write("acknowledged" + std::to_string(member), acknowledged);
    return 0;
  }

  void run(bool withLocks) {
    const auto members = support::startProcesses(
        kMembers, [&](int member, support::ChildProcess&) { return work(member, withLocks); });
    size_t seen = 0;
    for (size_t done = 0; done < members.size();) {
      const std::string now = revisions();
      EXPECT_GE(now.size(), seen) << "what was seen is there the next time";
      seen = now.size();
      EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), nullptr, 0), 0);
      if (members[done]->isRunning()) continue;
      EXPECT_EQ(members[done++]->finish(), 0);
    }
  }

  // Everything acknowledged is there, once and whole; gives how many there are.
  size_t check() {
    std::map<std::string, std::string> contents;  // By change description.
    std::istringstream numbers(revisions());
    for (std::string number; numbers >> number;) {
      char change[100] = "";
      EXPECT_EQ(TrvsGetDescription(TRVS_CONTEXT, archive().c_str(), number.c_str(), change, 100),
                0);
      EXPECT_TRUE(contents.emplace(change, content(number.c_str())).second) << change;
    }
    std::set<std::string> acknowledged;
    for (int member = 0; member < kMembers; ++member) {
      std::istringstream mine(support::readFile(path("acknowledged" + std::to_string(member))));
      for (std::string text; std::getline(mine, text);) acknowledged.insert(text);
    }
    for (const std::string& text : acknowledged) EXPECT_EQ(contents[text], text);
    EXPECT_EQ(contents.size(), acknowledged.size() + 1) << "nothing that nobody knows of";
    EXPECT_EQ(TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), nullptr, 0), 0);
    return acknowledged.size();
  }
};

TEST_F(Team, LosesNothing) {
  struct Case {
    const char* why;
    bool withLocks;
    bool waits;
  };
  for (const Case& c : {Case{"without locks", false, false},
                        {"waiting", false, true},
                        {"with locks", true, true}}) {
    SCOPED_TRACE(c.why);
    unlink(archive().c_str());
    ASSERT_EQ(create(), 0);
    TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), c.withLocks ? TRVS_ATTRIBUTE_CHECK_LOCKS : 0,
                      c.withLocks ? 0 : TRVS_ATTRIBUTE_CHECK_LOCKS);
    ASSERT_EQ(put("first", {.change = "first"}), 0);
    if (c.waits) answerQuestions();
    run(c.withLocks);
    EXPECT_GE(check(), 1u);
  }
}

}  // namespace
}  // namespace btkf520_test
