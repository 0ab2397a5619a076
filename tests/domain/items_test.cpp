// What stands inside an archive, and the folders that are made in memory alone: keys, order, the
// texts of the revision around an item, titles.
#include <gtest/gtest.h>

#include "core/optionarray.h"
#include "domain/branch.h"
#include "domain/lockedbyfolder.h"
#include "domain/nameditems.h"
#include "domain/projectfolder.h"
#include "domain/promotionfolder.h"
#include "domain/revision.h"
#include "store/format52.h"
#include "support/recordingsink.h"

namespace foldapi {
namespace {

class Items : public testing::Test {
 protected:
  Items() { registerFormat52(); }

  template <typename Item>
  Item* add(const char* name, int32_t number, TVObject* owner) {
    return TVObject::mergeIntoCache(std::make_unique<Item>(name, number, owner));
  }
  TVRevision* addRevision(const char* name, int32_t number, TVObject* owner) {
    return TVObject::mergeIntoCache(std::make_unique<TVRevision>(
        name, TVRevisionTexts{"time", "author", "change"}, false, number, owner));
  }

  support::RecordingSink sink;
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
