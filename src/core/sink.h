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

  // Whether a long operation may continue. 1 continues, any other answer cancels it.
  virtual int canContinue(TVHandle& context);
  // Whether to try again. `kind` says what is waited for: while a data file is locked 1 is the
  // first notice, 2 a later one and 3 the last; from the toolkit 1 to 3 are the busy archive, the
  // missing group and the group on another branch, 0 anything else. 1 tries again, 0 gives up.
  virtual int canRetry(TVHandle& context, int kind, const VPathString& path);
  // Whether the user has cancelled. The library asks canContinue(): this is for clients.
  virtual int isCancelled(TVHandle& context);
  // Takes a line of a report; `code` is a TrvsOutput (btkf520.h) less 1. 0 refuses and cancels the
  // report, 2 wants no more lines, any other answer wants the next one.
  virtual int sinkKind(TVHandle& context, const VString& text, int code);
  virtual void notice(TVHandle& context, const VString& message);
  virtual void alert(TVHandle& context);
  virtual void error(TVHandle& context, const VString& message);
  // Whether the file `first` may be overwritten by a check-out from the archive `second`, or by a
  // report if that is empty. 1 and 2 say yes.
  virtual int confirm(TVHandle& context, const VString& first, const VString& second,
                      VString* answer);
  // Whether the label `first` of the archive `second` may be moved. 1 and 2 say yes; with an
  // *answer they have that label set instead.
  virtual int confirmSecond(TVHandle& context, const VString& first, const VString& second,
                            VString* answer);
  // Whether to continue all the same. 1 says yes. `text` is a workfile and `value` the toolkit's
  // status that forbids its check-in, or `text` is the message on a bad record of a data file and
  // `value` the message's code.
  virtual int askString(TVHandle& context, const VString& text, int value, VString* answer);
  // The toolkit has done something: the event, the archive, the workfile, which may be empty, and
  // what it was about (a revision, a label, a group). `value` is 0.
  virtual void notifyFour(TVHandle& context, const VString& first, const VString& second,
                          const VString& third, const VString& fourth, int value);
  // News with two texts and a number, of which the toolkit has none at present.
  virtual void notifyTwo(TVHandle& context, const VString& first, const VString& second, int value);
};

// The sink of flat clients: it says yes where it is asked, and keeps messages for a client that
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
