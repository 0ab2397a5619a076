// cli/main.cpp: the program: reads the command line, runs one command, gives its exit code.
#include <fmt/format.h>

#include <exception>
#include <new>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/session.h"
#include "foldapi/foldapi.h"
#include "os/stop.h"
#include "os/terminal.h"
#include "runtime/assertion.h"

namespace cli {
namespace {

Exit runCommand(Invocation& call, Output& output) {
  try {
    Session session(call.globals, output);
    call.command->run(session);
    return Exit::kDone;
  } catch (const Problem& problem) {
    output.problem(problem);
    return problem.exit;
  } catch (const std::bad_alloc&) {
    output.problem({call.name, "no memory", "", Exit::kFailed});
  } catch (const std::exception& error) {
    output.problem(
        {call.name, fmt::format("a fault of trevault, please report: {}", error.what())});
  }
  return Exit::kFailed;
}

bool mayBeLong(std::string_view command) {
  for (const char* each : {"log", "diff", "tree", "list", "help"}) {
    if (command == each) return true;
  }
  return false;
}

// Whether the reader has seen the manual's page; without one there is the page of help.
bool openManual(const std::string& page) {
  return !page.empty() && os::isTerminal(os::Stream::kOutput) && os::showManual(page);
}

Exit run(const std::vector<std::string>& words) {
  Output plain({}, "");
  try {
    Invocation call = readCommandLine(words);
    Output output(call.globals.manner, call.name);
    if (call.globals.version) {
      output.line(fmt::format("trevault {}.{}.{}", FOLDAPI_VERSION_MAJOR, FOLDAPI_VERSION_MINOR,
                              FOLDAPI_VERSION_PATCH));
    } else if (call.globals.help || call.command == nullptr) {
      if (!openManual(call.manual)) {
        output.usePager();
        output.line(call.help);
      }
    } else {
      if (mayBeLong(call.name)) output.usePager();
      const Exit exit = runCommand(call, output);
      // What the command knows goes with the process. Volatile, so that checkers of leaks find it.
      static const Command* const volatile theLast = call.command.release();
      static_cast<void>(theLast);
      return output.finish(exit);
    }
    return output.finish(call.command == nullptr && words.empty() ? Exit::kMisused : Exit::kDone);
  } catch (const Problem& problem) {
    plain.problem(problem);
    return plain.finish(problem.exit);
  }
}

}  // namespace
}  // namespace cli

int main(int count, char** words) {
  foldapi::setAssertionTarget([](const char*) {});  // They mean nothing to people.
  os::keepOutputForResults();
  os::deferStops();
  return static_cast<int>(cli::run(os::commandLine(count, words)));
}
