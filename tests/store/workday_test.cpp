// A day of work through the classes, with real archives: what a desktop client does from morning to
// evening, on one archive and on a whole tree of folders.
#include <sys/stat.h>

#include "btkf520/btkf520.h"
#include "core/result.h"
#include "os/systemcalls.h"
#include "store/storefixture.h"
#include "support/limits.h"
#include "toolkit/bracket.h"
#include "toolkit/messages.h"

namespace store_test {
namespace {

// A sink that says no after a number of questions whether to go on.
struct ImpatientSink : support::RecordingSink {
  int patience = -1;  // Without end if negative.
  int canContinue(Handle&) override { return patience < 0 || patience-- > 0 ? 1 : 0; }
};

class Workday : public Store {
 protected:
  Workday() {
    EXPECT_TRUE(EnableToolkit(sink));
    TVProjectRootHandle root = makeRoot();
    put("motor.cfg", "VCSDIR = " + path("vault") + "\nPROMOTE dev = test\n");
    support::writeFile(path("vault/.keep"), "");
    project_ = TVProjectFolderHandle::create("Motor", TVProjectConfig(path("motor.cfg")),
                                             path("work"), path("team"), root, {.sink = &sink});
    project_.open();
  }

  TVHandle folder(const char* name, const TVHandle& parent) {
    return TVArchiveFolderHandle::create(name, "", TVPrivacy::kPublic, parent, {.sink = &sink});
  }
  // A member without an archive; a transient one is in no folder.
  TVArchiveMemberHandle member(const char* workName, const TVHandle& parent,
                               TVCaching caching = TVCaching::kCached) {
    return TVArchiveMemberHandle::create({"", "", "", workName}, parent,
                                         {.sink = &sink, .caching = caching});
  }
  void edit(const char* workName, const std::string& text) {
    put("work/" + std::string(workName), text);
  }
  // A member whose archive holds one revision.
  TVArchiveMemberHandle archived(const char* workName, const TVHandle& parent) {
    edit(workName, std::string(workName) + "\n");
    TVArchiveMemberHandle made = member(workName, parent);
    EXPECT_EQ(made.archiveAction4(create_), 0) << told();
    return made;
  }
  uint32_t status(TVArchiveMemberHandle& handle) {
    uint32_t bits = 0;
    EXPECT_EQ(handle.status(&bits), 0) << told();
    return bits;
  }

  TVProjectFolderHandle project_;
  TVPutOptions create_;
};

TEST_F(Workday, OnOneArchive) {
  TVHandle control = folder("control", project_);
  edit("m.c", "one\ntwo\n");
  create_.description = "Motor control";
  create_.text1 = "First version";
  create_.promotionGroup = "dev";
  create_.setKeepReadOnly();
  ASSERT_EQ(member("m.c", control, TVCaching::kTransient).archiveAction4(create_), 0) << told();
  EXPECT_EQ(listing(control), "document vault|m.c_v||m.c\n");
  EXPECT_NE(
      get("pub/Motor.prj/control/trvsfold.pub").find("[DOCUMENT=" + path("vault") + ";m.c_v;"),
      std::string::npos);
  control.open();
  TVArchiveMemberHandle motor(control.first(nullptr));
  EXPECT_EQ(status(motor), kStatusReadable | kStatusHasRevisions);

  TVGetOptions get;
  get.setLock();
  get.setOverwriteAlways();
  get.promotionGroup = "dev";
  EXPECT_TRUE(get.prepare(&motor, TVAlert::kAtEnd)) << told();
  ASSERT_EQ(motor.archiveAction1(get), 0) << told();
  EXPECT_EQ(status(motor), kStatusReadable | kStatusHasRevisions | kStatusLockedByMe);
  edit("m.c", "one\nthree\n");
  TVPutOptions putOptions;
  putOptions.text1 = "Count right";
  putOptions.text2 = "REL_1";
  putOptions.setKeepLock();
  ASSERT_EQ(motor.archiveAction2(putOptions), 0) << told();
  // Unchanged: the toolkit refuses, and the work goes on.
  EXPECT_EQ(motor.archiveAction2(putOptions), kResultFailed);
  EXPECT_NE(told().find("notice "), std::string::npos);

  TVUnlockOptions unlock;
  unlock.mode = TVUnlockOptions::kGetLockedWritable;
  edit("m.c", "spoilt\n");
  ASSERT_EQ(motor.archiveAction3(unlock), 0) << told();
  EXPECT_EQ(Store::get("work/m.c"), "one\nthree\n");
  EXPECT_EQ(status(motor), kStatusReadable | kStatusHasRevisions);
  EXPECT_EQ(motor.archiveAction3(unlock), kResultFailed);  // No lock is left.
  motor.setWorkPath("/..");  // Not the file of that name in the current directory.
  told();
  EXPECT_EQ(motor.archiveAction1(get), kResultFailed);
  EXPECT_EQ(motor.archiveAction2(putOptions), kResultFailed);
  EXPECT_EQ(motor.archiveAction3(unlock), kResultFailed);
  EXPECT_EQ(replaced(told(), ToolkitMessage(TRVS_BAD_NAME, "/../m.c").str(), "bad"),
            "notice bad\nnotice bad\nnotice bad\n");
  motor.setWorkPath("");
  told();
}

// The record of a member without an archive gives way to the one with it, also if somebody else
// wrote the folder's file meanwhile.
TEST_F(Workday, AnArchiveIsAddedToAMemberThatIsThere) {
  TVHandle control = folder("control", project_);
  for (const bool meanwhile : {false, true}) {
    const char* name = meanwhile ? "b.c" : "a.c";
    SCOPED_TRACE(name);
    edit(name, "text\n");
    TVArchiveMemberHandle made = member(name, control);
    const std::string file = "pub/Motor.prj/control/trvsfold.pub";
    if (meanwhile) {
      put(file, get(file) + "[DOCUMENT=/x;other_v;;other.c]\n");
    } else {  // Real faults: what failed could not be done again, or its names were not stored.
      EXPECT_EQ(static_cast<TVArchiveMember52*>(made.object())->computeArchiveName(made), 0);
      ASSERT_EQ(::chmod(path(file).c_str(), 0444), 0);
      EXPECT_EQ(made.archiveAction4(create_), kResultNotWritten);
      ASSERT_EQ(::chmod(path(file).c_str(), 0644), 0);
      told();
    }
    ASSERT_EQ(made.archiveAction4(create_), 0) << told();
    EXPECT_EQ(status(made), kStatusReadable | kStatusHasRevisions) << "the caller's handle lives";
  }
  EXPECT_EQ(listing(control),
            "document vault|a.c_v||a.c\ndocument vault|b.c_v||b.c\ndocument /x|other_v||other.c\n");
  EXPECT_EQ(get("pub/Motor.prj/control/trvsfold.pub").find("[DOCUMENT=;"), std::string::npos);

  // An archive that is there already is taken as it is; one that can't be made leaves no record.
  edit("new.c", "text\n");
  EXPECT_EQ(TrvsCreateArchive(path("vault/new.c_v").c_str(), "new.c", nullptr, nullptr, 0, 0),
            TRVS_DONE);
  {
    const support::SizeLimit full(10);
    EXPECT_EQ(member("new.c", control, TVCaching::kTransient).archiveAction4(create_),
              kResultNotWritten);
  }
  EXPECT_EQ(listing(control).find("new.c"), std::string::npos);
  EXPECT_EQ(member("new.c", control, TVCaching::kTransient).archiveAction4(create_), 0) << told();
  EXPECT_EQ(get("work/new.c"), "text\n");
  // One without a workfile, one without a place.
  for (const char* place : {"vault", "none"}) {
    put("motor.cfg", "VCSDIR = " + path(place) + "\n");
    EXPECT_EQ(member("lost.c", control, TVCaching::kTransient).archiveAction4(create_),
              kResultFailed);
    EXPECT_NE(told().find("notice "), std::string::npos);
    EXPECT_EQ(listing(control).find("lost.c"), std::string::npos);
    EXPECT_FALSE(VPathString(path("vault/lost.c_v")).exists());
  }
}

// A real fault: the archive was there and its record too, and the answer was that it is not stored.
TEST_F(Workday, APrivateFileWithoutAChangeIsNotMissed) {
  folder("control", project_);
  TVArchiveMemberHandle made = member("a.c", project_);
  const std::string file = "prv/Motor.prj/trvsfold.prv";
  const std::string before = get(file);
  EXPECT_EQ(::chmod(path(file).c_str(), 0444), 0);
  edit("a.c", "text\n");
  edit("b.c", "text\n");
  EXPECT_EQ(made.archiveAction4(create_), 0) << told();
  EXPECT_EQ(member("b.c", project_, TVCaching::kTransient).archiveAction4(create_), 0) << told();
  for (const char* archive : {";a.c_v;", ";b.c_v;"}) {
    EXPECT_NE(get("pub/Motor.prj/trvsfold.pub").find(archive), std::string::npos);
  }
  EXPECT_EQ(get(file), before);
}

// Real faults: the names of a member that leaves its folder while the toolkit asks meant other
// files.
TEST_F(Workday, KeepsToItsFilesWhileTheFolderIsReadAgain) {
  struct ReadingSink : support::RecordingSink {
    TVHandle* folder = nullptr;
    int canContinue(Handle&) override {
      folder->open();
      folder->close();
      return 1;
    }
  } reading;
  TVHandle control = folder("control", project_);
  reading.folder = &control;
  edit("a.c", "work\n");
  member("a.c", control);
  TVHandle kept = member("a.c", control);
  put("pub/Motor.prj/control/trvsfold.pub", "[DOCUMENT=;;;other.c]\n");
  kept.setSink(&reading);
  EXPECT_EQ(kept.archiveAction4(create_), 0) << reading.told();
  EXPECT_FALSE(VPathString(path("work/a.c")).exists()) << "checked in";
  EXPECT_TRUE(VPathString(path("vault/a.c_v")).exists());
  EXPECT_EQ(listing(control), "document vault|a.c_v||a.c\ndocument |||other.c\n");
}

// A broadcast is one batch and one edit of the folder. What can't be brought to the disk is told,
// and leaves neither an archive nor a record.
TEST_F(Workday, BroadcastsAreWrittenOnce) {
  TVHandle control = folder("control", project_);
  create_.promotionGroup = "dev";
  std::vector<TVMemberNames> all;
  for (const char* name : {"a.c", "b.c", "c]", "d.c", "e.c", "f.c"}) {
    edit(name, "text\n");
    all.push_back({"", "", "", name});
  }
  std::string written;
  {
    const os_test::SystemCalls calls;
    const auto made = TVArchiveMemberHandle::createAll(all, control, {.sink = &sink});
    written = calls.log("fsync");
    for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(made[i].isNull(), i == 2);
  }
  EXPECT_EQ(written, "fsync control, fsync trvsfold.pub") << "made, and added to once";
  const std::string before = listing(control);
  told();
  for (const bool fails : {true, false}) {
    std::string renamed;
    {
      const os_test::SystemCalls calls([fails](const os_test::Call& call) {
        const bool isArchive = call.path.find("_v") != std::string::npos;
        const bool isSync = call.name == "syncfs" || (call.name == "fsync" && isArchive);
        return fails && isSync ? EIO : 0;
      });
      EXPECT_EQ(control.archiveAction4(create_), fails ? kResultFailed : kResultDone);
      renamed = calls.log("rename");
    }
    EXPECT_EQ(renamed, fails ? "" : "rename trvsfold.pub");
    const std::string messages = told();
    for (const char* name : {"a.c", "b.c", "d.c", "e.c", "f.c"}) {
      const std::string archive = "vault/" + std::string(name) + "_v";
      const std::string message = ToolkitMessage(TRVS_CANNOT_WRITE, archive.c_str()).str();
      EXPECT_EQ(messages.find("notice " + message) != std::string::npos, fails) << name;
      EXPECT_EQ(VPathString(path(archive)).exists(), !fails);
      EXPECT_EQ(VPathString(path("work/" + std::string(name))).exists(), fails);
    }
    EXPECT_EQ(listing(control) == before, fails);
  }
  std::string stored;
  for (const char name : {'a', 'b', 'd', 'e', 'f'}) {
    stored += support::replaced("document vault|?.c_v||?.c\n", "?", std::string(1, name));
  }
  EXPECT_EQ(listing(control), stored);
}

// A failure in the middle doesn't end a broadcast; the user does.
TEST_F(Workday, OnAWholeTree) {
  TVHandle control = folder("control", project_);
  TVHandle view = folder("view", project_);
  create_.promotionGroup = "dev";
  for (const char* name : {"a.c", "b.c", "c.c"}) archived(name, control);
  member("gone.c", control);
  for (const char* name : {"d.c", "e.c"}) archived(name, view);
  told();

  ImpatientSink user;
  TVHandle day(&user, project_.object());
  const auto workfiles = [this] {
    std::string all;
    for (const char* name : {"a.c", "b.c", "c.c", "d.c", "e.c"}) {
      const VPathString file = path(std::string("work/") + name);
      if (file.remove()) all += std::string(name) + " ";
    }
    return all;
  };
  TVGetOptions get;
  get.setOverwriteAlways();
  EXPECT_EQ(day.archiveAction1(get), 0) << user.told();
  EXPECT_EQ(workfiles(), "a.c b.c c.c d.c e.c ");
  EXPECT_NE(user.told().find(FolderMessage(kFolderNoArchiveName).str()), std::string::npos);

  // From the root down each project works with its own configuration: the model asks for a group.
  TVHandle root(&user, project_.object()->owner());
  get.setLock();
  get.promotionGroup = "none";
  EXPECT_EQ(root.archiveAction1(get), kResultFailed);
  EXPECT_EQ(workfiles(), "");
  get.promotionGroup = "dev";
  EXPECT_EQ(root.archiveAction1(get), kResultDone) << user.told();
  EXPECT_EQ(workfiles(), "a.c b.c c.c d.c e.c ");
  TVUnlockOptions unlock;
  EXPECT_EQ(root.archiveAction3(unlock), kResultDone);

  user.told();
  get = TVGetOptions();
  user.patience = 2;
  EXPECT_EQ(day.archiveAction1(get), kResultCancelled);
  const std::string done = workfiles();
  EXPECT_TRUE(!done.empty() && done != "a.c b.c c.c d.c e.c ") << done;
  EXPECT_NE(user.told().find("notice Action canceled."), std::string::npos);
}

}  // namespace
}  // namespace store_test
