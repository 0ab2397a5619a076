// Tests of where the user's files are.
#include "os/environment.h"

#include <gtest/gtest.h>

#include "support/files.h"
#include "support/table.h"

namespace os {
namespace {

TEST(UserDirectories, ComeFromTheEnvironment) {
  // The variable, the home. Empty or relative ones count as none.
  const auto cases = support::table<3>("/x -> /h -> /x | -> /h -> /h/.w | x -> /h -> /h/.w");
  for (const auto& [own, home, want] : cases) {
    const support::ScopedEnvironment homeSet("HOME", home);
    const support::ScopedEnvironment configuration("XDG_CONFIG_HOME", own);
    const support::ScopedEnvironment data("XDG_DATA_HOME", own);
    const bool isOwn = want == own;
    EXPECT_EQ(configurationDirectory(), isOwn ? want : "/h/.config");
    EXPECT_EQ(dataDirectory(), isOwn ? want : "/h/.local/share");
  }
  const support::ScopedEnvironment home("HOME", "");
  const support::ScopedEnvironment data("XDG_DATA_HOME", "");
  EXPECT_TRUE(dataDirectory().ends_with("/.local/share") && dataDirectory().starts_with("/"))
      << "the account's own home: " << dataDirectory();
}

}  // namespace
}  // namespace os
