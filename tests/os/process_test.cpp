// Tests of what surrounds the process: its user's places, and the programs that it starts.
#include <gtest/gtest.h>

#include "os/environment.h"
#include "os/program.h"
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

TEST(Programs, TellHowTheyEnded) {
  EXPECT_EQ(runCommand("test \"$A$B\" = 'x y'", {{"A", "x "}, {"B", "y"}}), 0);
  EXPECT_EQ(runCommand("exit 3", {}), 3);
  EXPECT_EQ(runCommand("kill -9 $$", {}), 128 + 9);
  const support::TemporaryDirectory directory;
  const support::ScopedEnvironment path("PATH", directory.path());
  EXPECT_EQ(startProgram("none"), StartResult::kNotFound);
}

}  // namespace
}  // namespace os
