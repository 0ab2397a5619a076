// What is made for new projects and folders, and what a project shows that no file lists.
#include "store/52proj.h"

#include <cerrno>
#include <filesystem>

#include "os/systemcalls.h"
#include "store/52promo.h"
#include "store/storefixture.h"
#include "support/limits.h"

namespace store_test {
namespace {

// A project of old, without a private record: its first use gives it a directory.
TEST_F(Store, ProjectsWithoutADirectoryGetOneWithTheCache) {
  put("pub/trvsproj.pub", "[Project=P]\nCFG=\nDIR=p\nWKDIR=w\n");
  ::unsetenv("TRVS_TVAPI_NOCACHE");
  TVProjectRootHandle root = makeRoot();
  {
    const support::SizeLimit full(10);
    EXPECT_EQ(listing(child(root, "P")), "");
    EXPECT_EQ(listing(root), "project P||w|w|pub/p|\n");
    std::filesystem::remove(path("prv/P.prj"));
  }
  EXPECT_EQ(listing(child(root, "P")), "");
  EXPECT_EQ(get("prv/trvsproj.prv"), "[Project=P]\nCFG=\nDIR=P.prj\nWKDIR=w\nOWNERSHIP=PUBLIC\n\n");
  const auto* project = static_cast<TVProjectFolder52*>(child(root, "P").object());
  ASSERT_NE(project->archiveCache(), nullptr);
  EXPECT_EQ(project->archiveCache()->path().str(), path("prv/P.prj/P.ack"));
}

TEST_F(Store, NothingIsStoredWithoutItsDirectories) {
  putProject();
  TVProjectRootHandle root = makeRoot();
  TVHandle& project = child(root, "P");
  put("pub/p/trvsfold.pub", "");
  const std::string projects = get("pub/trvsproj.pub");
  for (const std::string refused : {"pub/N.prj", "prv/N.prj", "pub/p/N", "prv/p/N"}) {
    SCOPED_TRACE(refused);
    const bool isProject = refused.ends_with(".prj");
    int toCome = refused.starts_with("pub") ? 1 : 2;
    const os_test::SystemCalls calls([&](const os_test::Call& call) {
      return call.name == "mkdir" && call.path == refused.substr(isProject ? 4 : 6) && --toCome == 0
                 ? EACCES
                 : 0;
    });
    EXPECT_TRUE(isProject
                    ? TVProjectFolderHandle::create("N", TVProjectConfig(), "", "", root).isNull()
                    : TVArchiveFolderHandle::create("N", "", TVPrivacy::kPublic, project).isNull());
    EXPECT_TRUE(told().starts_with("error Cannot create directory " + refused));
    EXPECT_EQ(get("pub/trvsproj.pub"), projects);
    EXPECT_EQ(listing(project), "");
  }
}

// Each group with those below it, in brackets.
std::string tree(TVHandle& handle) {
  std::string text = handle.name().str();
  handle.open();
  for (TVHandle* child : support::children(handle)) text += "(" + tree(*child) + ")";
  handle.close();
  return text;
}

TEST_F(Store, PromotionListsThatGoInCirclesEnd) {
  using namespace std::string_literals;
  for (const auto& [list, want] : {std::pair("a\0b\0b\0a\0\0"s, "(a(b))"),
                                   {"a\0a\0\0"s, "(a)"},
                                   {"a\0b\0b\0c\0c\0b\0\0"s, "(b(a)(c))"},
                                   {"a\0b\0c"s, "(c)"},
                                   {""s, ""},
                                   {"\0\0"s, ""}}) {
    TVHandle owner(&sink, new TVArchiveFolder("", "", TVPrivacy::kPublic, nullptr));
    mergePromotionModel(*owner.object(), list);
    std::string text;
    for (TVObject* top : owner.object()->childrenInOrder()) {
      TVHandle group(&sink, top);
      text += "(" + tree(group) + ")";
    }
    EXPECT_EQ(text, want);
  }
}

}  // namespace
}  // namespace store_test
