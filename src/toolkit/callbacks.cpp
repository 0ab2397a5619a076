// toolkit/callbacks.cpp: what the toolkit asks and tells while it runs, handed to the sink of the
// present bracket. No exception leaves for the toolkit: out of memory is a refusal.
#include <cstdlib>
#include <cstring>

#include "btkf520/btkf520.h"
#include "toolkit/bracket.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int32_t kGoOn = 0;
constexpr int32_t kRefused = 2;

// Runs `ask` on the context of the bracket.
template <typename Ask>
int32_t answered(Ask ask) {
  try {
    return ask(TVToolkitSession::Instance().Sink());
  } catch (...) {
    return kRefused;
  }
}

int32_t goOnIf(bool accepted) { return accepted ? kGoOn : kRefused; }

int32_t onContinue() {
  return answered(
      [](TVHandle& context) { return goOnIf(context.sink().canContinue(context) == 1); });
}

// The obstacles that a sink tells apart.
int retryKind(int32_t code) {
  switch (code) {
    case 38:
      return 1;
    case 37:
      return 2;
    case 49:
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
  if (code < 1 || code > 15) return kGoOn;
  return answered([=](TVHandle& context) -> int32_t {
    const int answer = context.sink().sinkKind(context, text, code - 1);
    return answer == 0 ? kRefused : answer == 2 ? 1 : kGoOn;
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
  return kGoOn;
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
    return kGoOn;
  });
}

int32_t onIdle() { return kGoOn; }

int32_t onNotifyFour(const char* first, const char* second, const char* third, const char* fourth,
                     int32_t value) {
  return answered([=](TVHandle& context) {
    context.sink().notifyFour(context, first, second, third, fourth, value);
    return kGoOn;
  });
}

int32_t onBadDirective(int32_t code, const char* line, const char* file, int32_t number) {
  return answered([=](TVHandle& context) {
    const VString explanation = ToolkitMessage(code, nullptr);
    const VString lineText = line;
    const VString fileName = file;
    context.sink().error(context,
                         DirectiveMessage(kFolderDirective, lineText.isEmpty() ? 0 : number,
                                          fileName.text(), lineText.text(), explanation.text()));
    return kGoOn;
  });
}

int32_t onMessage(int32_t code) {
  return answered([=](TVHandle& context) {
    context.sink().error(context, ToolkitMessage(code, nullptr));
    return kGoOn;
  });
}

int32_t onText(const char* text) {
  return answered([=](TVHandle& context) {
    context.sink().error(context, text);
    return kGoOn;
  });
}

template <typename Function>
void registerCallback(int32_t id, Function* callback) {
  TrvsRegisterCallback(id, reinterpret_cast<TrvsCallback>(reinterpret_cast<void (*)()>(callback)));
}

}  // namespace

void RegisterToolkitCallbacks() {
  registerCallback(1, onContinue);
  registerCallback(3, onRetry);
  registerCallback(4, onOutput);
  registerCallback(5, onConfirm);
  registerCallback(6, onConfirmSecond);
  registerCallback(9, onFree);
  registerCallback(10, onAsk);
  registerCallback(17, onIdle);
  registerCallback(16, onNotifyTwo);
  registerCallback(19, onBadDirective);
  registerCallback(20, onMessage);
  registerCallback(18, onNotifyFour);
  registerCallback(23, onText);
}

}  // namespace foldapi
