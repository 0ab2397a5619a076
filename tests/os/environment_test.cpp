// Tests of where the user's files are.
#include "os/environment.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "support/files.h"
#include "support/table.h"

namespace os {
namespace {

TEST(UserDirectories, ComeFromTheEnvironment) {
  const std::string account = ::getpwuid(::geteuid())->pw_dir;
  // The variable, the home. Empty or relative ones count as none, as do those that aren't set.
  const auto cases = support::table<3>(
      "/x -> /h -> /x | -> /h -> /h/.w | x -> /h -> /h/.w | -> -> account | unset -> unset -> "
      "account");
  for (const auto& [own, home, want] : cases) {
    const support::ScopedEnvironment homeSet("HOME", home);
    const support::ScopedEnvironment configuration("XDG_CONFIG_HOME", own);
    const support::ScopedEnvironment data("XDG_DATA_HOME", own);
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
      if (own == "unset") ::unsetenv(name);
    }
    const std::string below = want == "account" ? account : home;
    EXPECT_EQ(configurationDirectory(), want == own ? want : below + "/.config");
    EXPECT_EQ(dataDirectory(), want == own ? want : below + "/.local/share");
  }
}

// One that is remembered must not outlive its user.
TEST(AccountName, IsThatOfTheEffectiveUserNow) {
  const uid_t user = ::geteuid();
  const passwd other = *::getpwnam("nobody");
  const std::string name = accountName();
  const bool isChanged = ::seteuid(other.pw_uid) == 0;  // By root.
  EXPECT_EQ(accountName(), isChanged ? "nobody" : name);
  ASSERT_EQ(::seteuid(user), 0);
  EXPECT_EQ(accountName(), ::getpwuid(user)->pw_name);
}

}  // namespace
}  // namespace os
