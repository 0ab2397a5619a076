// The names of members and folders: how they are joined, sorted, compared with keys and shown.
#include "domain/archivemember.h"

#include <gtest/gtest.h>

#include "core/optionarray.h"
#include "domain/projectfolder.h"
#include "domain/projectroot.h"
#include "domain/promotionfolder.h"
#include "store/format52.h"
#include "support/recordingsink.h"

namespace foldapi {
namespace {

// Asks for the long form of the names of one class.
struct LongForm : TVOptionArray {
  explicit LongForm(const VClassRecord* record, bool first = true) {
    add(std::make_unique<TVDisplayOption>(record, first));
  }
};

class DomainNames : public testing::Test {
 protected:
  DomainNames() { registerFormat52(); }

  // A member below a folder of a project of a root, each with the work directory given.
  TVHandle member(TVMemberNames names, const char* projectDir, const char* folderDir) {
    auto* root = new TVProjectRoot("", "", nullptr, false);
    keep_.attach(root);
    TVObject* project = TVObject::mergeIntoCache(
        new TVProjectFolder("P", TVProjectConfig(), projectDir, "public", root, false), nullptr);
    TVObject* folder = TVObject::mergeIntoCache(
        new TVArchiveFolder("F", folderDir, false, project, false), nullptr);
    return TVHandle(&sink,
                    TVObject::mergeIntoCache(new TVArchiveMember(names, folder, false), nullptr));
  }
  support::RecordingSink sink;

 private:
  TVHandle keep_;
};

TEST_F(DomainNames, FormsOfAMembersNames) {
  const struct {
    TVMemberNames names;
    const char* project;
    const char* folder;
    const char* fullWorkName;
    const char* toolkitName;
    const char* pairedName;
  } cases[] = {
      {{"V:\\vault", "m.c_v", "src", "m.c"},
       "V:\\work",
       "motor",
       "V:\\work\\motor\\src\\m.c",
       "V:\\vault\\m.c_v(V:\\work\\motor\\src\\m.c)",
       "src\\m.c(V:\\vault\\m.c_v)"},
      {{"/vault", "m.c_v", "src", "m.c"},
       "/work",
       "motor",
       "/work/motor/src/m.c",
       "/vault/m.c_v(/work/motor/src/m.c)",
       "src/m.c(/vault/m.c_v)"},
      {{"/vault/", "m.c_v", "src/", "m.c"},
       "/work/",
       "motor/",
       "/work/motor/src/m.c",
       "/vault/m.c_v(/work/motor/src/m.c)",
       "src/m.c(/vault/m.c_v)"},
      {{"v", "a_v", "C:\\x", "a"},
       "V:\\work",
       "motor",
       "C:\\x\\a",
       "v\\a_v(C:\\x\\a)",
       "C:\\x\\a(v\\a_v)"},
      {{"v", "a_v", "\\\\host\\x", "a"},
       "V:\\work",
       "m",
       "\\\\host\\x\\a",
       "v\\a_v(\\\\host\\x\\a)",
       "\\\\host\\x\\a(v\\a_v)"},
      {{"v", "a_v", "/x/y", "a"}, "/work", "m", "/x/y/a", "v/a_v(/x/y/a)", "/x/y/a(v/a_v)"},
      {{"v", "a_v", "src", "a"},
       "V:\\work",
       "C:\\f",
       "C:\\f\\src\\a",
       "v\\a_v(C:\\f\\src\\a)",
       "src\\a(v\\a_v)"},
      {{"v", "a_v", "", "a"}, "/work", "m", "/work/m/a", "v/a_v(/work/m/a)", "a(v/a_v)"},
      {{"v", "a_v", "./s/../t", "a"},
       "/work",
       "../m",
       "/m/t/a",
       "v/a_v(/m/t/a)",
       "./s/../t/a(v/a_v)"},
      {{"v", "a_v", "", "a"}, "", "", "a", "v/a_v(a)", "a(v/a_v)"},
      {{"v", "", "s", "a"}, "/w", "", "/w/s/a", "/w/s/a", "s/a(v)"},
      {{"", "a_v", "", "a"}, "/w", "", "/w/a", "a_v(/w/a)", "a(a_v)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fullWorkName);
    const TVArchiveMemberHandle handle(member(c.names, c.project, c.folder));
    EXPECT_EQ(handle.fullWorkName().str(), c.fullWorkName);
    EXPECT_EQ(handle.toolkitName().str(), c.toolkitName);
    EXPECT_EQ(handle.pairedName().str(), c.pairedName);
  }
}

TEST_F(DomainNames, KeysInTheOrderOfTheSortType) {
  const TVHandle handle = member({"ap", "an", "wp", "wn"}, "/work", "f");
  const auto keys = [](const TVObject& object, int sortType) {
    std::string text;
    std::string scratch;
    for (int position = 0, index = -1; index < 0 && position < 9; ++position) {
      index = position;
      text += std::string(object.sortKey(&index, sortType, &scratch)) + " ";
    }
    return text;
  };
  const struct {
    int sortType;
    const char* member;
    const char* folder;
  } cases[] = {
      {0, "wp wn ap an  ", "1 F dir  "},  {1, "wp wn ap an  ", "1 F dir  "},
      {2, "wp wn ap an  ", "F 1 dir  "},  {3, "wp wn ap an  ", "dir 1 F  "},
      {4, "wp wn ap an  ", "1 F dir  "},  {5, "/work/f/wp wn ap an  ", "1 F dir  "},
      {6, "wp wn ap an  ", "1 F dir  "},  {7, "wn wp ap an  ", "1 F dir  "},
      {8, "ap an wn wp  ", "1 F dir  "},  {9, "an ap wn wp  ", "1 F dir  "},
      {10, "wp wn ap an  ", "1 F dir  "},
  };
  const TVArchiveFolder folder("F", "dir", true, nullptr, false);
  for (const auto& c : cases) {
    EXPECT_EQ(keys(*handle.object(), c.sortType), c.member) << c.sortType;
    EXPECT_EQ(keys(folder, c.sortType), c.folder) << c.sortType;
  }
}

TEST_F(DomainNames, KeysCompareWithTheFieldsOfTheSortType) {
  const TVHandle handle = member({"ap", "an", "wp", "wn"}, "/work", "f");
  const TVArchiveFolder folder("F", "dir", true, nullptr, false);
  const struct {
    const char* key;
    int sortType;
    bool caseSensitive;
    int member;  // The sign.
    int folder;
  } cases[] = {
      {"wp/wn", 6, true, 0, 0},  {"wp\\wn", 0, true, 0, 1},
      {"WP/wn", 6, false, 0, 0}, {"WP/wn", 6, true, -1, 0},
      {"wp/wa", 6, true, -1, 0}, {"wq/wa", 6, true, 1, 0},
      {"wn", 6, true, -1, 0},    {"/work/f/wp/wn", 5, true, 0, 0},
      {"wp/wn", 5, true, 1, 0},  {"wn", 7, true, 0, 0},
      {"WN", 7, false, 0, 0},    {"wp/wn", 7, true, 1, 0},
      {"ap/an", 8, true, 0, 0},  {"ap/wn", 8, true, 1, 0},
      {"an", 9, true, 0, 0},     {"ap", 9, true, 1, 0},
      {"wp", 0x106, true, 0, 0}, {"wp/wn", 0x106, true, 1, 0},
      {"ap", 0x108, true, 0, 0}, {"an", 0x108, true, -1, 0},
      {"f", 2, false, 0, 0},     {"f", 2, true, 0, 1},
      {"E", 2, true, 0, -1},     {"dir", 3, true, 0, 0},
      {"DIS", 3, false, 0, 1},   {"1", 4, true, 0, 0},
      {"0", 4, true, 0, -1},     {"anything", 1, true, 0, 0},
  };
  const auto sign = [](int order) { return (order > 0) - (order < 0); };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " " + std::to_string(c.sortType));
    EXPECT_EQ(sign(handle.compareKey(c.key, c.sortType, c.caseSensitive)), c.member);
    EXPECT_EQ(sign(folder.compareKey(c.key, c.sortType, c.caseSensitive)), c.folder);
  }
}

TEST_F(DomainNames, WhatClientsAreShown) {
  const TVHandle m = member({"v", "a_v", "w", "a"}, "", "");
  const TVArchiveFolder pub("F", "dir", false, nullptr, false);
  const TVArchiveFolder prv("F", "dir", true, nullptr, false);
  TVProjectFolder project("P", TVProjectConfig(), "prv", "pub", nullptr, false);
  const TVPromotionFolder group("G", nullptr, false);
  const TVOptionArray none;
  const LongForm folders(&TVArchiveFolder::theClass);
  EXPECT_EQ(m.name().str(), "a");
  EXPECT_EQ(m.nameWith(LongForm(&TVArchiveMember::theClass)).str(), "w/a\t(v/a_v)");
  EXPECT_EQ(m.nameWith(LongForm(&TVArchiveMember::theClass, false)).str(), "a");
  EXPECT_EQ(m.nameWith(folders).str(), "a");
  EXPECT_EQ(pub.name(folders).str(), "F\tdir");
  EXPECT_EQ(project.name(folders).str(), "P");
  EXPECT_EQ(project.name(LongForm(&TVProjectFolder::theClass)).str(), "P\tprv");
  EXPECT_EQ(group.name(folders).str(), "G");
  EXPECT_EQ(m.attribute(), 3);
  EXPECT_EQ(pub.attribute(none), 2);
  EXPECT_EQ(prv.attribute(none), 1);
  EXPECT_EQ(project.attribute(none), 9);
  EXPECT_EQ(group.attribute(none), 13);
  project.setIsPrivate(true);
  EXPECT_EQ(project.attribute(none), 8);
}

// Creating and changing --------------------------------------------------------------------------

class DomainChanges : public DomainNames {
 protected:
  DomainChanges() { project.open(); }

  TVArchiveMemberHandle create(const char* archive, const char* work, int mode = 1,
                               int version = 0) {
    return TVArchiveMemberHandle::create({"v", archive, "w", work}, project, theNoLock(), nullptr,
                                         mode, version);
  }

  TVProjectFolderHandle project{
      &sink, new TVProjectFolder("P", TVProjectConfig(), "", "", nullptr, false)};
};

TEST_F(DomainChanges, CreatingWhatExistsAnswersWithIt) {
  const TVHandle a = create("a_v", "a");
  EXPECT_EQ(create("a_v", "a").object(), a.object());
  EXPECT_NE(create("a_v", "b").object(), a.object());
  EXPECT_EQ(&a.sink(), &sink);
  const TVHandle apart = create("a_v", "a", 2);
  EXPECT_TRUE(apart.object()->isTransient());
  EXPECT_EQ(project.object()->childCount(), 2);
  EXPECT_EQ(create("c_v", "c", 1, 7).version(), 1);
  EXPECT_TRUE(TVArchiveMemberHandle::create({"v", "a_v", "w", "a"}, a, theNoLock(), nullptr, 1, 0)
                  .isNull());
  TVLockScope scope(project, true);  // Held by the caller: taking it again would never end.
  EXPECT_FALSE(
      TVArchiveFolderHandle::create("F", "d", false, project, scope, nullptr, 1, 0).isNull());
  EXPECT_EQ(sink.told(), "");
}

TEST_F(DomainChanges, LineEndsAndNullsAreRefused) {
  const std::string refusal = "notice A name or directory must not contain a line end or a null.\n";
  TVArchiveMemberHandle a = create("a_v", "a");
  for (const std::string& bad : {std::string("x\ny"), std::string("x\r"), std::string("x\0y", 3)}) {
    const VPathString text(bad);
    EXPECT_TRUE(
        TVArchiveMemberHandle::create({"v", "a_v", text, "b"}, project, theNoLock(), nullptr, 1, 0)
            .isNull());
    EXPECT_TRUE(TVArchiveFolderHandle::create(text, "", false, project, theNoLock(), nullptr, 1, 0)
                    .isNull());
    a.setArchiveName(text);
    project.setName(text);
    project.setPublicDir(text);
    project.setPrivateDir(text);
    EXPECT_EQ(sink.told(), refusal + refusal + refusal + refusal + refusal + refusal);
  }
  EXPECT_EQ(a.archiveName().str() + project.folderName().str() + project.publicDir().str() +
                project.privateDir().str(),
            "a_vP");
}

// A changed name is found under the new name, and the order of the records on disk changes only
// with what decides it.
TEST_F(DomainChanges, SettersKeepTheTableRight) {
  const auto order = [&] {
    std::string text;
    for (TVObject* child : project.object()->childrenInOrder()) {
      const TVMemberNames& names = static_cast<TVArchiveMember*>(child)->names();
      text += names.archiveName.str() + names.workName.str() + " ";
    }
    return text;
  };
  std::vector<TVArchiveMemberHandle> kept;
  for (const char* work : {"1", "2", "3"}) kept.push_back(create("a", work));
  EXPECT_EQ(order(), "a1 a2 a3 ");
  kept[0].setWorkName("x");
  kept[1].setWorkPath("y");
  EXPECT_EQ(order(), "ax a2 a3 ");
  EXPECT_EQ(create("a", "x").object(), kept[0].object());
  EXPECT_NE(create("a", "1").object(), kept[0].object());
  kept[0].setArchiveName("r");  // Of the same bucket: "a" and "r" are 17 apart.
  EXPECT_EQ(order(), "a2 a3 a1 rx ");
  EXPECT_EQ(create("r", "x").object(), kept[0].object());
  kept[2].setArchivePath("q");
  EXPECT_EQ(kept[2].qualArchiveName().str(), "q/a");
  EXPECT_EQ(project.object()->childCount(), 4);
  project.setPrivateDir("d");
  project.setPublicDir("e");
  EXPECT_EQ(project.privateDir().str() + project.publicDir().str(), "de");
}

TEST_F(DomainChanges, HandlesWithoutAnObjectAnswerNothing) {
  TVArchiveMemberHandle none(&sink, nullptr);
  TVProjectFolderHandle wrong(none);
  uint32_t status = 7;
  VString text("kept");
  EXPECT_EQ(none.status(&status) + none.creationTime(&status) + none.lockers(&text), 15);
  EXPECT_EQ(status, 7u);
  EXPECT_EQ(text.str() + none.toolkitName().str() + wrong.publicDir().str(), "kept");
  none.setWorkName("x");
  wrong.setPublicDir("x");
  wrong.setConfig(TVProjectConfig("x"), theNoLock());
  EXPECT_EQ(wrong.config().path.str(), "");
  EXPECT_EQ(TVProjectRootHandle(none).publicDir().str(), "");
}

TEST_F(DomainChanges, RootsAreEqualByTheirPublicDirectory) {
  const TVProjectRoot a("pub", "one", nullptr, false);
  const TVProjectRoot b("pub", "two", nullptr, false);
  const TVProjectRoot c("other", "one", nullptr, false);
  EXPECT_TRUE(a.isEqual(&b) && a.hash() == b.hash());
  EXPECT_FALSE(a.isEqual(&c));
  const auto create = [&](int mode, int version) {
    return TVProjectRootHandle::create("pub", "prv", theNullHandle(), theNoLock(), &sink, mode,
                                       version);
  };
  EXPECT_EQ(create(1, 0).version(), 1);
  EXPECT_EQ(create(1, 2).version(), 2);
  EXPECT_TRUE(create(2, 1).object()->isTransient());
}

}  // namespace
}  // namespace foldapi
