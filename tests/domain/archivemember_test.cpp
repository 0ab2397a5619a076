// The names of members and folders: how they are joined, sorted, compared with keys and shown; and
// the texts of what is in an archive.
#include "domain/archivemember.h"

#include <gtest/gtest.h>

#include <tuple>

#include "domain/branch.h"
#include "domain/nameditems.h"
#include "domain/projectfolder.h"
#include "domain/projectroot.h"
#include "domain/promotionfolder.h"
#include "domain/revision.h"
#include "store/format52.h"
#include "support/files.h"
#include "support/recordingsink.h"

namespace foldapi {
namespace {

class DomainNames : public testing::Test {
 protected:
  DomainNames() { registerFormat52(); }

  // A member below a folder of a project of a root, each with the work directory given.
  TVHandle member(TVMemberNames names, const char* projectDir, const char* folderDir) {
    auto* root = new TVProjectRoot("", "", nullptr);
    keep_.attach(root);
    TVObject* project = TVObject::mergeIntoCache(
        std::make_unique<TVProjectFolder>("P", TVProjectConfig(), projectDir, "public", root));
    TVObject* folder = TVObject::mergeIntoCache(
        std::make_unique<TVArchiveFolder>("F", folderDir, TVPrivacy::kPublic, project));
    return TVHandle(&sink,
                    TVObject::mergeIntoCache(std::make_unique<TVArchiveMember>(names, folder)));
  }
  support::RecordingSink sink;

 private:
  TVHandle keep_;
};

// Of the sort types that no search by a name uses, what a key is compared with; and the case.
TEST_F(DomainNames, KeysCompareWithTheFieldsOfTheSortType) {
  const TVHandle m = member({"ap", "an", "wp", "wn"}, "/wk", "f");
  const TVHandle f(nullptr, new TVArchiveFolder("F", "dir", TVPrivacy::kPrivate, nullptr));
  for (const auto& [handle, sortType, key] : {std::tuple(m, TVSortType::kDefault, "wp\\wn"),
                                              {m, TVSortType::kFullWorkPath, "/wk/f/wp/wn"},
                                              {m, TVSortType::kWorkDirOfPath, "wp"},
                                              {m, TVSortType::kArchiveDirOfPath, "ap"},
                                              {f, TVSortType::kWorkDir, "dir"},
                                              {f, TVSortType::kPrivacy, "1"}}) {
    EXPECT_EQ(handle.compareKey(key, sortType, VCase::kExact), 0) << key;
    EXPECT_LT(handle.compareKey(" ", sortType, VCase::kExact), 0) << key;
    EXPECT_GT(handle.compareKey("~/~", sortType, VCase::kExact), 0) << key;
  }
  EXPECT_EQ(m.compareKey("WP/WN", TVSortType::kWorkPath, VCase::kIgnored), 0);
  EXPECT_NE(m.compareKey("WP/WN", TVSortType::kWorkPath, VCase::kExact), 0);
}

// Creating and changing --------------------------------------------------------------------------

class DomainChanges : public DomainNames {
 protected:
  DomainChanges() { project.open(); }

  TVArchiveMemberHandle create(const char* archive, const char* work,
                               const TVCreateOptions& options = {}) {
    return TVArchiveMemberHandle::create({"v", archive, "w", work}, project, options);
  }

  TVProjectFolderHandle project{&sink,
                                new TVProjectFolder("P", TVProjectConfig(), "", "", nullptr)};
};

TEST_F(DomainChanges, CreatingWhatExistsAnswersWithIt) {
  const TVHandle a = create("a_v", "a");
  EXPECT_EQ(create("a_v", "a").object(), a.object());
  EXPECT_NE(create("a_v", "b").object(), a.object());
  EXPECT_EQ(&a.sink(), &sink);
  const TVHandle apart = create("a_v", "a", {.caching = TVCaching::kTransient});
  EXPECT_TRUE(apart.object()->isTransient());
  EXPECT_EQ(project.object()->childCount(), 2);
  EXPECT_EQ(create("c_v", "c", {.version = 7}).version(), 1);
  EXPECT_TRUE(TVArchiveMemberHandle::create({"v", "a_v", "w", "a"}, a).isNull());
  TVLockScope scope(project);  // Held by the caller: taking it again would never end.
  EXPECT_FALSE(
      TVArchiveFolderHandle::create("F", "d", TVPrivacy::kPublic, project, {.scope = scope})
          .isNull());
  EXPECT_EQ(sink.told(), "");
}

TEST_F(DomainChanges, LineEndsAndNullsAreRefused) {
  const std::string refusal = "notice A name or directory must not contain a line end or a null.\n";
  TVArchiveMemberHandle a = create("a_v", "a");
  for (const std::string& bad : {std::string("x\ny"), std::string("x\r"), std::string("x\0y", 3)}) {
    const VPathString text(bad);
    EXPECT_TRUE(TVArchiveFolderHandle::create(text, "", TVPrivacy::kPublic, project).isNull());
    a.setArchiveName(text);
    project.setName(text);
    EXPECT_EQ(sink.told(), refusal + refusal + refusal);
  }
  // What would end a name or a field where it stands in a section line.
  project.setName("]");
  for (const char* bad : {"]", ";"}) {
    a.setArchivePath(bad);
    a.setArchiveName(bad);
    a.setWorkPath(bad);
    // Joined with what the system has between the parts of a path.
    EXPECT_EQ(support::replaced(a.pairedName().str(), "\\", "/") + project.folderName().str(),
              "w/a(v/a_v)P");
  }
  a.setWorkName("]");
  EXPECT_NE(sink.told().find("notice A name in brackets must not contain \"]\".\n"),
            std::string::npos);
  a.setWorkName(";$(");
  EXPECT_EQ(a.workName().str(), ";$(");
  EXPECT_TRUE(TVArchiveFolderHandle::create("F]", "", TVPrivacy::kPublic, project).isNull());
  // What a reader would take out of a value.
  const std::string before = project.config().path.str();
  project.setConfig(TVProjectConfig("a$(b)c"), theNoLock());
  project.setName("$()");
  EXPECT_EQ(project.config().path.str() + project.folderName().str(), before + "P");
  EXPECT_TRUE(TVArchiveFolderHandle::create("F", "$(b)", TVPrivacy::kPublic, project).isNull());
}

// A changed name is found under the new name, and the order of the records on disk changes only
// with what decides it.
TEST_F(DomainChanges, SettersKeepTheTableRight) {
  const auto order = [&] {
    std::string text;
    for (TVObject* child : project.object()->childrenInOrder()) {
      const TVNameViews names = static_cast<TVArchiveMember*>(child)->names();
      text.append(names.archiveName).append(names.workName).append(" ");
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
  EXPECT_EQ(TVArchiveMemberHandle::create({"q", "a", "w", "3"}, project).object(),
            kept[2].object());
  EXPECT_EQ(project.object()->childCount(), 4);
  kept[1].setWorkName("1");  // Not the same names yet,
  kept[1].setWorkPath("w");  // but now: refused.
  EXPECT_EQ(kept[1].workPath().str(), "y");
  EXPECT_EQ(create("a", "1").object()->owner(), project.object());
  EXPECT_EQ(project.object()->childCount(), 4);
}

// What is in an archive, and groups --------------------------------------------------------------

class Items : public DomainNames {
 protected:
  template <typename Item>
  Item* add(const char* name, int32_t number, TVObject* owner) {
    return TVObject::mergeIntoCache(std::make_unique<Item>(name, number, owner));
  }
  TVRevision* addRevision(const char* name, int32_t number, TVObject* owner) {
    return TVObject::mergeIntoCache(std::make_unique<TVRevision>(
        name, TVRevisionTexts{"time", "author", "change"}, false, number, owner));
  }

  TVHandle trunk{&sink, new TVBranch("Trunk", 1, nullptr)};
  TVHandle project{&sink, new TVProjectFolder("P", TVProjectConfig(), "", "", nullptr)};
};

TEST_F(Items, AnswerForTheRevisionAroundThem) {
  trunk.open();
  TVRevision* revision = addRevision("1.0", 0, trunk.object());
  TVHandle held(&sink, revision);
  held.open();
  for (const char* user : {"ann", "ben"}) add<TVLocker>(user, 0, revision);
  TVArchiveItemHandle label(TVHandle(&sink, add<TVVersionLabel>("L", 0, revision)));
  const auto texts = [](const TVArchiveItemHandle& item) {
    return item.firstAttribute().str() + "|" + item.secondAttribute().str() + "|" +
           item.thirdAttribute().str() + "|" + item.lockerText().str();
  };
  EXPECT_EQ(texts(label), "time|author|change|ann,ben");
  EXPECT_EQ(texts(TVArchiveItemHandle(trunk)), "|||");
  EXPECT_EQ(texts(TVArchiveItemHandle()), "|||");
  label.setItemName("M");
  EXPECT_EQ(add<TVVersionLabel>("M", 7, revision), label.object());  // The name is all.
  EXPECT_NE(add<TVVersionLabel>("L", 0, revision), label.object());
  EXPECT_NE(static_cast<TVObject*>(add<TVPromotionLabel>("M", 0, revision)), label.object());
}

TEST_F(Items, PromotionGroupsHaveNoKeyOfTheirOwn) {
  const auto create = [](const char* name, const TVHandle& parent, int version = 0) {
    return TVPromotionFolderHandle::create(name, parent, {.version = version});
  };
  project.open();
  TVPromotionFolderHandle group = create("dev", project);
  EXPECT_EQ(group.compareKey("any key", TVSortType::kName, VCase::kExact), 0);
  group.setName("test");
  EXPECT_EQ(create("test", project).object(), group.object());
  EXPECT_FALSE(create("below", group).isNull());
  EXPECT_TRUE(create("stored", project, 2).isNull());  // Those come from configurations alone.
  EXPECT_EQ(TVPromotionFolderHandle().promotionName().str(), "");
}

}  // namespace
}  // namespace foldapi
