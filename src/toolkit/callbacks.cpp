// toolkit/callbacks.cpp: what the toolkit asks and tells while it runs, handed to the sink of the
// present bracket; messages are kept until it is left. No exception leaves for the toolkit: out of
// memory is a refusal.
#include <cstdlib>
#include <cstring>

#include "btkf520/btkf520.h"
#include "runtime/nativepath.h"
#include "toolkit/bracket.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

// The client's state for the length of a block.
class ClientState {
 public:
  ClientState() { TVToolkitSession::Instance().exchangeStates(); }
  ClientState(const ClientState&) = delete;
  ClientState& operator=(const ClientState&) = delete;
  ~ClientState() { TVToolkitSession::Instance().exchangeStates(); }
};

// Runs `ask` on the context of the bracket.
template <typename Ask>
int32_t answered(Ask ask) {
  try {
    const ClientState outside;
    return ask(TVToolkitSession::Instance().Sink());
  } catch (...) {
    return TRVS_REFUSE;
  }
}

// Keeps what `message` gives for the sink.
template <typename Message>
int32_t kept(Message message) {
  try {
    TVToolkitSession::Instance().tellLater(message());
    return TRVS_GO_ON;
  } catch (...) {
    return TRVS_REFUSE;
  }
}

int32_t goOnIf(bool accepted) { return accepted ? TRVS_GO_ON : TRVS_REFUSE; }

int32_t onContinue() {
  return answered(
      [](TVHandle& context) { return goOnIf(context.sink().canContinue(context) == 1); });
}

// The obstacles that a sink tells apart.
int retryKind(int32_t code) {
  switch (code) {
    case TRVS_BUSY_ARCHIVE:
      return 1;
    case TRVS_NO_SUCH_GROUP:
      return 2;
    case TRVS_OTHER_BRANCH:
      return 3;
    default:
      return 0;
  }
}

int32_t onRetry(int32_t code, const char* path) {
  return answered([=](TVHandle& context) {
    return goOnIf(context.sink().canRetry(context, retryKind(code), VPathString(path)) == 1);
  });
}

int32_t onOutput(const char* text, int32_t code) {
  if (code < 1 || code > 15) return TRVS_GO_ON;
  return answered([=](TVHandle& context) -> int32_t {
    const int answer = context.sink().sinkKind(context, text, code - 1);
    return answer == 0 ? TRVS_REFUSE : answer == 2 ? TRVS_ENOUGH : TRVS_GO_ON;
  });
}

using Question = int (TVErrorSink::*)(TVHandle&, const VString&, const VString&, VString*);

int32_t confirmWith(Question question, const char* first, const char* second, char** answer) {
  return answered([=](TVHandle& context) {
    VString text;
    const int result = (context.sink().*question)(context, first, second, &text);
    *answer = strdup(text.text());
    return goOnIf(result >= 1 && result <= 2);
  });
}

int32_t onConfirm(const char* first, const char* second, char** answer) {
  return confirmWith(&TVErrorSink::confirm, first, second, answer);
}

int32_t onConfirmSecond(const char* first, const char* second, char** answer) {
  return confirmWith(&TVErrorSink::confirmSecond, first, second, answer);
}

int32_t onFree(char* answer) {
  std::free(answer);
  return TRVS_GO_ON;
}

int32_t onAsk(const char* text, int32_t value) {
  return answered([=](TVHandle& context) {
    VString answer;
    return goOnIf(context.sink().askString(context, text, value, &answer) == 1);
  });
}

int32_t onNotifyTwo(const char* first, const char* second, int32_t value) {
  return answered([=](TVHandle& context) {
    context.sink().notifyTwo(context, first, second, value);
    return TRVS_GO_ON;
  });
}

int32_t onIdle() { return TRVS_GO_ON; }

int32_t onNotifyFour(const char* first, const char* second, const char* third, const char* fourth,
                     int32_t value) {
  return answered([=](TVHandle& context) {
    context.sink().notifyFour(context, first, second, third, fourth, value);
    return TRVS_GO_ON;
  });
}

int32_t onBadDirective(int32_t code, const char* line, const char* file, int32_t number) {
  return kept([=] {
    const VString explanation = ToolkitMessage(code, nullptr);
    const VString lineText = *line == '\0' ? "(not shown here)" : line;
    const VString fileName = file;
    return DirectiveMessage(kFolderDirective, number, fileName.text(), lineText.text(),
                            explanation.text());
  });
}

int32_t onMessage(int32_t code) {
  return kept([=] { return ToolkitMessage(code, nullptr); });
}

int32_t onText(const char* text) {
  return kept([=] { return VString(text); });
}

// Yes only if the user says so: the configuration is the team's.
int32_t onTrigger(const char* event, const char* value) {
  try {
    if (profileAllows("TRVSTRIGGERS")) return TRVS_GO_ON;
  } catch (...) {
    return TRVS_REFUSE;
  }
  kept([=] { return TriggerMessage(event, value, profilePath().c_str()); });
  return TRVS_REFUSE;
}

int32_t onUndone(const char* archive, const char* /*event*/, int32_t status) {
  try {
    TVToolkitSession::Instance().noteUndone({archive, status});
    return TRVS_GO_ON;
  } catch (...) {
    return TRVS_REFUSE;
  }
}

template <typename Function>
void registerCallback(int32_t id, Function* callback) {
  TrvsRegisterCallback(id, reinterpret_cast<TrvsCallback>(reinterpret_cast<void (*)()>(callback)));
}

}  // namespace

void RegisterToolkitCallbacks() {
  registerCallback(TRVS_CALLBACK_CONTINUE, onContinue);
  registerCallback(TRVS_CALLBACK_RETRY, onRetry);
  registerCallback(TRVS_CALLBACK_OUTPUT, onOutput);
  registerCallback(TRVS_CALLBACK_OVERWRITE, onConfirm);
  registerCallback(TRVS_CALLBACK_MOVE_LABEL, onConfirmSecond);
  registerCallback(TRVS_CALLBACK_FREE, onFree);
  registerCallback(TRVS_CALLBACK_CHECK_IN, onAsk);
  registerCallback(TRVS_CALLBACK_IDLE, onIdle);
  registerCallback(TRVS_CALLBACK_NEWS_TWO, onNotifyTwo);
  registerCallback(TRVS_CALLBACK_BAD_DIRECTIVE, onBadDirective);
  registerCallback(TRVS_CALLBACK_MESSAGE, onMessage);
  registerCallback(TRVS_CALLBACK_OPERATION, onNotifyFour);
  registerCallback(TRVS_CALLBACK_TEXT, onText);
  registerCallback(TRVS_CALLBACK_TRIGGER, onTrigger);
  registerCallback(TRVS_CALLBACK_UNDONE, onUndone);
}

}  // namespace foldapi
