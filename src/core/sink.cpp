// core/sink.cpp: the answers of a sink that nobody has refined.
#include "core/sink.h"

namespace foldapi {

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

TVErrorSink& theDefaultSink() {
  static auto* sink = new TVErrorSink;
  return *sink;
}

TVApiSink& theApiSink() {
  static auto* sink = new TVApiSink;
  return *sink;
}

}  // namespace foldapi
