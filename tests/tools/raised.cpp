// What a process takes from the user who started it: `raised FILE1 FILE2` prints whether it has
// rights of another, where it looks for the user's files, whether the two files may tell it what to
// do, and whether a command finds the environment of check_raised.sh.
#include <unistd.h>

#include <cstdio>

#include "kstrinin/kstrinin.h"
#include "os/environment.h"
#include "os/program.h"
#include "os/trust.h"

int main(int, char** arguments) {
  const bool isRaised = geteuid() != getuid() || getegid() != getgid();
  char profile[4096] = "none";
  KSTRGetKESTRIANINI(profile, sizeof profile);
  const std::string data = os::dataDirectory();
  const char* const command =
      "test \"$HOME $KSTR_INI $PATH $MORE\" = '/evil /evil/ini /evil:/bin 1'";
  std::printf("raised %d profile %s data %s trusts %d %d command %d\n", isRaised, profile,
              data.empty() ? "none" : data.c_str(), os::isOursAlone(arguments[1]),
              os::isOursAlone(arguments[2]), os::runCommand(command, {{"MORE", "1"}}).value_or(-1));
}
