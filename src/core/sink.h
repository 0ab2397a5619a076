// core/sink.h: TVErrorSink, where every message and question of an operation goes.
//
// Each operation takes a context handle and reports through that handle's sink, so a client hears
// of what it asked for itself. A message has no severity of its own: the operation chosen is the
// severity. `error` ends something larger, `notice` refuses one operation, `alert` tells, without a
// text, that checked options failed.
#pragma once

#include "base/vpathstring.h"
#include "base/vstring.h"

namespace foldapi {

class TVHandle;

class TVErrorSink {
 public:
  virtual ~TVErrorSink() = default;

  // Whether a long operation may go on. 1 goes on.
  virtual int canContinue(TVHandle& context);
  // Whether to try again. `kind` says what is waited for: while a data file is locked 1 is the
  // first notice, 2 a later one and 3 the last; from the toolkit 1 to 3 are the busy archive, the
  // missing group and the group on another branch, 0 anything else. 1 tries again, 0 gives up.
  virtual int canRetry(TVHandle& context, int kind, const VPathString& path);
  virtual int isCancelled(TVHandle& context);
  // Takes a line of a report (codes 0 to 14). 0 refuses, 2 asks to stop, others go on.
  virtual int sinkKind(TVHandle& context, const VString& text, int code);
  virtual void notice(TVHandle& context, const VString& message);
  virtual void alert(TVHandle& context);
  virtual void error(TVHandle& context, const VString& message);
  // Questions with an answer text; 1 or 2 accept.
  virtual int confirm(TVHandle& context, const VString& first, const VString& second,
                      VString* answer);
  virtual int confirmSecond(TVHandle& context, const VString& first, const VString& second,
                            VString* answer);
  // Asks whether to go on after `text`; `value` is its code. 1 goes on.
  virtual int askString(TVHandle& context, const VString& text, int value, VString* answer);
  virtual void notifyFour(TVHandle& context, const VString& first, const VString& second,
                          const VString& third, const VString& fourth, int value);
  virtual void notifyTwo(TVHandle& context, const VString& first, const VString& second, int value);
};

// The sink of flat clients: it goes on where it is asked, and keeps messages for a client that
// wants to know why nothing happened.
class TVApiSink : public TVErrorSink {
 public:
  int sinkKind(TVHandle& context, const VString& text, int code) override;
  void notice(TVHandle& context, const VString& message) override;
  void error(TVHandle& context, const VString& message) override;

  // The calling thread's messages since it forgot them last, with a line end between two; as much
  // as there is room for. Lies in a buffer of the thread.
  static const char* told();
  static void forgetTold();
};

// The sink of handles built without one. Like all statics it is built on first use and never
// destroyed, so that a client's own exit code may still call in.
TVErrorSink& theDefaultSink();
TVApiSink& theApiSink();

}  // namespace foldapi
