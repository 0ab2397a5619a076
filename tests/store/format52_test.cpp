// Which class may stand under which, as objects of both versions say.
#include "store/format52.h"

#include <gtest/gtest.h>

#include "domain/lockedbyfolder.h"
#include "store/52branch.h"
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
    const char* allowed;  // By the letters below.
  } cases[] = {
      {"project 1", new TVProjectFolder("", config, "", "", nullptr), "--fmgl------"},
      {"locked by 1", new TVLockedByFolder("", "", nullptr), "---m--------"},
      {"revision 1", new TVRevision("", {}, false, 0, nullptr), "------brvFPL"},
      {"root 2", new TVProjectRoot52("a", "b", context, nullptr), "-p----------"},
      {"project 2", new TVProjectFolder52("", config, "", "", nullptr), "--fm-l------"},
      {"folder 2", new TVArchiveFolder52("", "", TVPrivacy::kPublic, nullptr), "---m--------"},
      {"member 2", new TVArchiveMember52(names, nullptr), "------b-----"},
      {"group 2", new TVPromotionFolder52("", nullptr, nullptr), "-p----------"},
      {"branch 2", new TVBranch52("", 1, 0, nullptr, nullptr), "------br----"},
      {"revision 2", new TVRevision52("", {}, false, 1, nullptr, nullptr), "------brv-PL"},
      {"label 2", new TVVersionLabel52("", 0, nullptr), "------------"},
  };
  const std::pair<char, const VClassRecord*> classes[] = {
      {'r', &TVProjectRoot::theClass},     {'p', &TVProjectFolder::theClass},
      {'f', &TVArchiveFolder::theClass},   {'m', &TVArchiveMember::theClass},
      {'g', &TVPromotionFolder::theClass}, {'l', &TVLockedByFolder::theClass},
      {'b', &TVBranch::theClass},          {'r', &TVRevision::theClass},
      {'v', &TVVersionLabel::theClass},    {'F', &TVFloatingLabel::theClass},
      {'P', &TVPromotionLabel::theClass},  {'L', &TVLocker::theClass}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.parent);
    const TVHandle parent(nullptr, c.object);
    std::string allowed;
    for (const auto& [letter, record] : classes) {
      const TVFolderOptions* options = TVFolderOptions::lookup(record, parent.version());
      allowed += options->isAllowedUnder(parent) ? letter : '-';
    }
    EXPECT_EQ(allowed, c.allowed);
  }
  const TVHandle revision(nullptr, new TVRevision52("", {}, false, 1, nullptr, nullptr));
  EXPECT_TRUE(TVFloatingLabelHandle::create("F", revision).isNull());
  EXPECT_FALSE(TVFloatingLabelHandle::create("F", revision, {.version = 1}).isNull());
  EXPECT_TRUE(TVVersionLabelHandle::create("V", revision, {.version = 1}).isNull());
  EXPECT_EQ(TVFolderOptions::lookup(&TVBranch::theClass, 7),
            TVFolderOptions::lookup(&TVBranch::theClass, 1));
  EXPECT_EQ(TVFolderOptions::lookup(&TVObject::theClass, 1), nullptr);
}

}  // namespace
}  // namespace store_test
