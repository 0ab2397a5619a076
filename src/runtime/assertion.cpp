// runtime/assertion.cpp: where the notes of failed assertions go.
#include "runtime/assertion.h"

#include <cstdio>

namespace foldapi {
namespace {

void printToStandardOutput(const char* text) {
  std::fputs(text, stdout);
  std::fflush(stdout);
}

constinit AssertionTarget theTarget = printToStandardOutput;

}  // namespace

void assertFail(const char* file, unsigned line) {
  char text[256];
  std::snprintf(text, sizeof text, "Assertion Failed: %s %u\n", file, line);
  theTarget(text);
}

AssertionTarget setAssertionTarget(AssertionTarget target) {
  const AssertionTarget old = theTarget;
  theTarget = target == nullptr ? printToStandardOutput : target;
  return old;
}

}  // namespace foldapi
