// Which class may stand under which, as objects of both versions say.
#include "store/format52.h"

#include <gtest/gtest.h>

#include "store/52promo.h"
#include "store/storefixture.h"

namespace store_test {
namespace {

TEST_F(Store, ContainmentOfBothVersions) {
  registerFormat52();  // Again: nothing is there twice.
  const TVProjectConfig config;
  const TVMemberNames names;
  TVHandle context;
  const struct {
    const char* parent;
    TVObject* object;
    const char* allowed;  // Root, project, folder, member, group.
  } cases[] = {
      {"root 1", new TVProjectRoot("a", "b", nullptr, false), "-p---"},
      {"project 1", new TVProjectFolder("", config, "", "", nullptr, false), "--fmg"},
      {"folder 1", new TVArchiveFolder("", "", false, nullptr, false), "--fm-"},
      {"member 1", new TVArchiveMember(names, nullptr, false), "-----"},
      {"group 1", new TVPromotionFolder("", nullptr, false), "----g"},
      {"root 2", new TVProjectRoot52("a", "b", context, nullptr, false), "-p---"},
      {"project 2", new TVProjectFolder52("", config, "", "", nullptr, false), "--fm-"},
      {"folder 2", new TVArchiveFolder52("", "", false, nullptr, false), "---m-"},
      {"member 2", new TVArchiveMember52(names, nullptr, false), "-----"},
      {"group 2", new TVPromotionFolder52("", nullptr, nullptr, false), "-p---"},
  };
  const VClassRecord* const classes[] = {&TVProjectRoot::theClass, &TVProjectFolder::theClass,
                                         &TVArchiveFolder::theClass, &TVArchiveMember::theClass,
                                         &TVPromotionFolder::theClass};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.parent);
    const TVHandle parent(nullptr, c.object);
    std::string allowed;
    for (size_t i = 0; i < 5; ++i) {
      const TVFolderOptions* options = TVFolderOptions::lookup(classes[i], parent.version());
      allowed += options->isAllowedUnder(parent) ? "rpfmg"[i] : '-';
      EXPECT_TRUE(options->isAllowedUnder(theNullHandle()));
      EXPECT_EQ(options->version(), parent.version());
      EXPECT_EQ(options->defaultSortType(), i == 3 ? 6 : 2);
    }
    EXPECT_EQ(allowed, c.allowed);
  }
  EXPECT_EQ(TVFolderOptions::lookup(classes[1], 7), TVFolderOptions::lookup(classes[1], 1));
  EXPECT_EQ(TVFolderOptions::lookup(&TVObject::theClass, 1), nullptr);
}

}  // namespace
}  // namespace store_test
