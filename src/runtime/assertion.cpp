// runtime/assertion.cpp: where the notes of failed assertions go.
#include "runtime/assertion.h"

#include <cstdio>
#include <string>

#include "os/environment.h"

namespace foldapi {
namespace {

// The program's own output may be for another program to read, so its user can turn this away.
std::FILE* chosenStream() {
  const std::string choice = os::environmentVariable("TRVS_ASSERTIONS").value_or("stdout");
  if (choice == "none") return nullptr;
  return choice == "stderr" ? stderr : stdout;
}

void print(const char* text) {
  static std::FILE* const stream = chosenStream();
  if (stream == nullptr) return;
  std::fputs(text, stream);
  std::fflush(stream);
}

constinit AssertionTarget theTarget = print;

}  // namespace

void assertFail(const char* file, unsigned line) {
  char text[256];
  std::snprintf(text, sizeof text, "Assertion Failed: %s %u\n", file, line);
  theTarget(text);
}

AssertionTarget setAssertionTarget(AssertionTarget target) {
  const AssertionTarget old = theTarget;
  theTarget = target == nullptr ? print : target;
  return old;
}

}  // namespace foldapi
