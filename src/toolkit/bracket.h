// toolkit/bracket.h: the one place that owns what the library leaves in the toolkit.
//
// The toolkit works in one state at a time: a configuration and a set of callbacks. The library has
// a state of its own, so that a program that uses the toolkit itself finds its own as it left it.
// Every toolkit call stands between enter() and leave(). These put the library's state in place and
// the client's back, make the caller's sink the target of the callbacks, and see to it that the
// configuration files of the object that is worked on are loaded. A sink is the client's code: it
// runs in the client's state, and is told messages once the bracket is left, so that it may use the
// library then.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/vbool.h"
#include "core/handle.h"

struct TrvsState;

namespace foldapi {

// A change of a batch that could not be brought to the disk: a path text and a toolkit status.
struct UndoneChange {
  std::string archive;
  int32_t status;
};

class TVToolkitSession {
 public:
  static TVToolkitSession& Instance();

  // Waits for the one before to leave; reads the configuration of the handle's object again only if
  // it is another one, changed, or could not be read. `context` stays the caller's. Where that
  // throws, the bracket is left.
  VBool enter(TVHandle& context);
  // Tells the sink what was kept for it. What it throws then is dropped.
  VBool leave();
  // Where callbacks report to: the context of the present bracket, else the null handle.
  TVHandle& Sink() const;

  // Begins a batch of changes. What waits when it ends is told to `context`; the changes that
  // failed since it began are given.
  void beginBatch(TVHandle& context);
  std::vector<UndoneChange> endBatch(TVHandle& context) noexcept;
  void noteUndone(UndoneChange change) { undone_.push_back(std::move(change)); }

  // Keeps an error for the sink until the bracket is left.
  void tellLater(const VString& error) { errors_.push_back(error); }
  // In a bracket: puts the client's state in place, and the library's when called again.
  void exchangeStates() noexcept;

 private:
  TVToolkitSession() = default;

  void take(TVHandle& context);
  void makeState();
  void load(TVHandle& context);
  void loadAnew(TVProjectConfig project, TVProjectConfig root);
  bool isLoaded(const TVProjectConfig& project, const TVProjectConfig& root) const;

  bool busy_ = false;
  TVProjectConfig projectFile_;
  TVProjectConfig rootFile_;
  TVHandle* sink_ = nullptr;    // Not owned.
  TrvsState* state_ = nullptr;  // The one that isn't in place: the library's between brackets.
  std::vector<VString> errors_;
  std::vector<UndoneChange> undone_;
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
// Has the state that is in place translate paths as the library does, and trust root's master files
// alone.
void connectToolkit();
// Loads the configuration of the handle's object into the client's own state of the toolkit, and
// has paths there translated as the library does. False if a file can't be read. To be called
// outside of brackets.
[[nodiscard]] VBool useInClientState(TVHandle& context);
// Makes `sink` the sink of operations that report through the null handle; null the default one.
void SetGlobalHandler(TVErrorSink* sink);

}  // namespace foldapi
