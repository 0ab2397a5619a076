// btkf520/events_posix_test.cpp: the journal and the triggers of events: what the shell runs, and
// by whose word.
#include <sys/stat.h>
#include <unistd.h>

#include "btkf520/archives.h"
#include "support/childprocess.h"
#include "support/table.h"

namespace btkf520_test {
namespace {

class Triggers : public Archives {};

TEST_F(Triggers, GoToTheJournalTheTriggersAndTheClient) {
  const std::string journal = path("journal");
  const std::string trace = path("trace");
  configure("JOURNAL = " + journal +
            "\nEVENTTRIGGER POSTCHECKIN = echo $BTKF_EVENT $BTKF_WHAT $BTKF_USER >> " + trace +
            "\nEVENTTRIGGER POSTCREATE = echo $BTKF_EVENT >> " + trace +
            "\nEVENTTRIGGER PRELABEL = exit 3\nEVENTTRIGGER PRELOCK = exit 127\n");
  answerQuestions();
  write("m.c", "0");
  ASSERT_EQ(createWithRevision({}), TRVS_DONE);
  EXPECT_EQ(asked.find("may:POSTCREATE:echo $BTKF_EVENT "), 0u);
  EXPECT_NE(asked.find("may:POSTCHECKIN:echo $BTKF_EVENT "), std::string::npos);
  EXPECT_NE(asked.find(" done:CREATE: "), std::string::npos);
  EXPECT_TRUE(asked.ends_with(" done:CHECKIN:1.0 "));
  EXPECT_EQ(support::readFile(trace), "POSTCREATE\nPOSTCHECKIN 1.0 ann\n");
  EXPECT_EQ(label("REL", "1.0"), TRVS_TRIGGER_REFUSED);
  EXPECT_EQ(labels(), "");
  EXPECT_EQ(lock(), TRVS_TRIGGER_FAILED);
  ASSERT_EQ(get({}), TRVS_DONE);
  const std::string text = support::readFile(journal);
  std::string events;
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    events += text.substr(at + 19, text.find('\n', at) - at - 19) + "|";
  }
  EXPECT_EQ(events, "\tann\tCREATE\t" + archive() + "\t|\tann\tCHECKIN\t" + archive() +
                        "\t1.0|\tann\tCHECKOUT\t" + archive() + "\t1.0|");
}

// Real faults: a line of chosen text was added to any file, and through links.
TEST_F(Triggers, GoToNothingButAJournal) {
  const std::string journal = path("journal");
  const std::string target = path("target");
  const std::string archive = path("m\tb\n\x1b\x7f\xc2\x9b\xe4_v");
  const std::string line = "\tCREATE\t" + path(R"(m\x09b\x0a\x1b\x7f)") + "\xc2\\x9b\xe4_v\t\n";
  ASSERT_EQ(load("JOURNAL = " + journal + "\n"), TRVS_DONE);
  const struct {
    const char* old;
    bool isLink, isAllowed, isWritten;
  } cases[] = {{"", false, true, true},
               {"2026-11-21 04:05:46\tann\n", false, true, true},
               {"", false, false, false},
               {"", true, true, false},
               {"2026-11-21 04:05:46\tann\n", true, true, false},
               {"2026-11-21 04:05:46 ann\n", false, true, false},
               {"alias ls=ls\n", false, true, false}};
  for (const auto& [old, isLink, isAllowed, isWritten] : cases) {
    SCOPED_TRACE(old);
    unlink(archive.c_str());
    unlink(journal.c_str());
    write("target", old);
    ASSERT_EQ((isLink ? symlink : link)(target.c_str(), journal.c_str()), 0);
    answerQuestions();
    if (!isAllowed) TrvsRegisterCallback(TRVS_CALLBACK_TRIGGER, nullptr);
    asked.clear();
    EXPECT_EQ(TrvsCreateArchive(archive.c_str(), "m", nullptr, nullptr, 0, 0), TRVS_DONE);
    EXPECT_EQ(asked.find("no journal ") == std::string::npos, isWritten) << asked;
    const std::string now = support::readFile(target);
    EXPECT_TRUE(now.starts_with(old) && now.ends_with(isWritten ? line : old)) << now;
    EXPECT_EQ(now.size() > std::strlen(old), isWritten);
  }
}

// Real faults: whoever could write the configuration ran commands as his colleagues, and so did who
// gave a file its name.
TEST_F(Triggers, RunWhatTheClientOrATrustedMasterFileAllows) {
  const std::string trigger =
      "EVENTTRIGGER POSTCREATE = printf %s, $BTKF_WORKFILE >> " + path("ran");
  const std::string archive = path("new_v");
  const std::string workfile = path("a *;$(id)'b c'");
  // How the first file is read; modes of it, of the one that it may include, and of their
  // directory; which of them has the trigger.
  const auto cases = support::table<5>(R"(
      master -> 644 -> 644 -> 755 -> first      | master -> 644 -> 644 -> 1777 -> second
      project -> 644 -> 644 -> 755 -> neither   | master -> 664 -> 644 -> 755 -> neither first
      master -> 646 -> 644 -> 755 -> neither second | master -> 644 -> 664 -> 755 -> neither second
      master -> 644 -> 644 -> 777 -> neither first)");
  for (const auto& [mode, first, second, directory, which] : cases) {
    SCOPED_TRACE(mode + first + second + directory + which);
    const bool isInFirst = !which.ends_with("second");
    write("v/second", trigger);
    write("v/first", isInFirst ? trigger : "INCLUDE second");
    for (const auto& [name, bits] :
         {std::pair("v/first", first), {"v/second", second}, {"v", directory}}) {
      chmod(path(name).c_str(), static_cast<mode_t>(std::stoul(bits, nullptr, 8)));
    }
    for (const bool isAllowed : {!which.starts_with("neither"), true}) {
      unlink(archive.c_str());
      write("ran", "");
      const int32_t how = mode == "master" ? TRVS_READ_MASTER : TRVS_READ_FIRST;
      ASSERT_EQ(TrvsQueryConfiguration(path("v/first").c_str(), 0, 0, how), TRVS_DONE);
      EXPECT_EQ(TrvsCreateArchive(archive.c_str(), workfile.c_str(), nullptr, nullptr, 0, 0),
                isAllowed ? TRVS_DONE : TRVS_TRIGGER_FAILED);
      EXPECT_EQ(access(archive.c_str(), F_OK) == 0, isAllowed);
      EXPECT_EQ(support::readFile(path("ran")), isAllowed ? workfile + "," : "");
      answerQuestions();  // Yes.
    }
    TrvsRegisterCallback(TRVS_CALLBACK_TRIGGER, nullptr);
  }
}

// A real fault: whoever could name a master file named one that he had had others check out.
TEST_F(Triggers, RunWhatRootSaysWhereOthersNameTheMasterFile) {
  write("first.cfg", "EVENTTRIGGER POSTCREATE = true");
  EXPECT_EQ(TrvsTrustMaster(2), TRVS_MISUSE);
  const int untrusted = support::inProcess([&] {
    constexpr uid_t kOther = 65534;
    if (geteuid() == 0) {
      for (const std::string& own : {path(""), path("first.cfg")}) {
        if (chown(own.c_str(), kOther, kOther) != 0) return 99;
      }
      if (setuid(kOther) != 0) return 99;
    }
    int result = 0;
    for (const int32_t whose : {TRVS_TRUST_USER, TRVS_TRUST_ROOT}) {
      TrvsTrustMaster(whose);
      TrvsQueryConfiguration(path("first.cfg").c_str(), 0, 0, TRVS_READ_MASTER);
      if (create() == TRVS_TRIGGER_FAILED) result += 1 + whose;
      unlink(archive().c_str());
    }
    return result;
  });
  EXPECT_EQ(untrusted, 1 + TRVS_TRUST_ROOT) << "the second time alone";
}

}  // namespace
}  // namespace btkf520_test
