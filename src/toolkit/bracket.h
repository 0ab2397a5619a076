// toolkit/bracket.h: the one place that owns the toolkit's process-wide state.
//
// The toolkit knows one current configuration and one set of callbacks. So every toolkit call
// stands between enter() and leave(): these make the caller's sink the target of the callbacks, and
// see to it that the configuration files of the object that is worked on are loaded.
#pragma once

#include "base/vbool.h"
#include "core/handle.h"

namespace foldapi {

class TVToolkitSession {
 public:
  static TVToolkitSession& Instance();

  // Waits for the one before to leave; reads the configuration of the handle's object again only if
  // it is another one, or changed. `context` stays the caller's. Where that throws, the bracket is
  // left.
  VBool enter(TVHandle& context);
  VBool leave();
  // Where callbacks report to: the context of the present bracket, else the null handle.
  TVHandle& Sink() const;

 private:
  TVToolkitSession() = default;

  void load(TVHandle& context);
  bool isLoaded(const TVProjectConfig& project, const TVProjectConfig& root) const;

  bool busy_ = false;
  TVProjectConfig projectFile_;
  TVProjectConfig rootFile_;
  TVHandle* sink_ = nullptr;  // Not owned.
};

// A bracket for the length of a block.
class TVToolkitBracket {
 public:
  explicit TVToolkitBracket(TVHandle& context) { TVToolkitSession::Instance().enter(context); }
  TVToolkitBracket(const TVToolkitBracket&) = delete;
  TVToolkitBracket& operator=(const TVToolkitBracket&) = delete;
  ~TVToolkitBracket() { TVToolkitSession::Instance().leave(); }
};

// What a toolkit status means to an operation: reports any but 0 to the context's sink, with `path`
// after the text unless it is null, and gives the operation result. To be called outside of
// brackets, so that the sink may use the library.
[[nodiscard]] int reportToolkitStatus(TVHandle& context, int32_t status, const char* path);

// Fetches the present user's id, in a bracket of its own. An operation result.
[[nodiscard]] int fetchUser(TVHandle& context, VString* user);

// The start that runs when the library is attached: enables the toolkit and registers the
// callbacks.
[[nodiscard]] VBool EnableToolkit(TVErrorSink& sink);
// The start for a client that wants the toolkit to find out first who the user is; nothing in the
// library calls it.
[[nodiscard]] VBool StartToolkit(TVErrorSink& sink);
void RegisterToolkitCallbacks();
// Makes `sink` the sink of operations that report through the null handle; null the default one.
void SetGlobalHandler(TVErrorSink* sink);

}  // namespace foldapi
