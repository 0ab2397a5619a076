// runtime/assertion.h: assertions print and go on.
#pragma once

namespace foldapi {

// Writes "Assertion Failed: %s %u\n" with the source file's name and the line to the assertion
// target, and returns. `line` names the check; it is fixed and need not be the line it stands on.
void assertFail(const char* file, unsigned line);

// Where assertions go: takes the finished text. Null restores what is there at first: standard
// output, or what the environment variable TRVS_ASSERTIONS names at the first assertion ("stdout",
// "stderr" or "none"). Gives the old target.
using AssertionTarget = void (*)(const char* text);
AssertionTarget setAssertionTarget(AssertionTarget target);

}  // namespace foldapi
