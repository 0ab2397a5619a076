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
  const support::ScopedEnvironment configuration("XDG_CONFIG_HOME", "");
  const support::ScopedEnvironment data("XDG_DATA_HOME", "");
  const std::string own = ::getpwuid(::geteuid())->pw_dir;
  for (const bool isSet : {true, false}) {
    EXPECT_EQ(configurationDirectory(), own + "/.config");
    EXPECT_EQ(dataDirectory(), own + "/.local/share");
    if (!isSet) continue;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) ::unsetenv(name);
  }
}

}  // namespace
}  // namespace os
