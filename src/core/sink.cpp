// core/sink.cpp: the answers of a sink that nobody has refined.
#include "core/sink.h"

#include <algorithm>

namespace foldapi {

namespace {

// Of a fixed size, so that a message can be kept when there is no memory, and never destroyed, so
// that a client's exit code may still ask.
struct Told {
  size_t length;
  char text[4096];
};
thread_local Told theTold = {};

void append(std::string_view text) {
  const size_t room = sizeof theTold.text - 1 - theTold.length;
  theTold.length += text.copy(theTold.text + theTold.length, std::min(text.size(), room));
  theTold.text[theTold.length] = '\0';
}

void keep(const VString& message) {
  if (theTold.length != 0) append("\n");
  append(message.view());
}

}  // namespace

int TVErrorSink::canContinue(TVHandle&) { return 1; }
int TVErrorSink::canRetry(TVHandle&, int, const VPathString&) { return 1; }
int TVErrorSink::isCancelled(TVHandle&) { return 0; }
int TVErrorSink::sinkKind(TVHandle&, const VString&, int) { return 3; }
void TVErrorSink::notice(TVHandle&, const VString&) {}
void TVErrorSink::alert(TVHandle&) {}
void TVErrorSink::error(TVHandle&, const VString&) {}
int TVErrorSink::confirm(TVHandle&, const VString&, const VString&, VString*) { return 1; }
int TVErrorSink::confirmSecond(TVHandle&, const VString&, const VString&, VString*) { return 1; }
int TVErrorSink::askString(TVHandle&, const VString&, int, VString*) { return 1; }
void TVErrorSink::notifyFour(TVHandle&, const VString&, const VString&, const VString&,
                             const VString&, int) {}
void TVErrorSink::notifyTwo(TVHandle&, const VString&, const VString&, int) {}

int TVApiSink::sinkKind(TVHandle&, const VString&, int) { return 2; }
void TVApiSink::notice(TVHandle&, const VString& message) { keep(message); }
void TVApiSink::error(TVHandle&, const VString& message) { keep(message); }
const char* TVApiSink::told() { return theTold.text; }
void TVApiSink::forgetTold() {
  theTold.length = 0;
  theTold.text[0] = '\0';
}

TVErrorSink& theDefaultSink() {
  static auto* sink = new TVErrorSink;
  return *sink;
}

TVApiSink& theApiSink() {
  static auto* sink = new TVApiSink;
  return *sink;
}

}  // namespace foldapi
