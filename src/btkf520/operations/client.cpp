// btkf520/operations/client.cpp: the way from the toolkit to the functions that a client has
// registered.
#include "btkf520/operations/client.h"

#include <algorithm>
#include <iterator>

namespace btkf {
namespace {

constexpr int32_t kCallbackIds[] = {
    TRVS_CALLBACK_CONTINUE,  TRVS_CALLBACK_RETRY,         TRVS_CALLBACK_OUTPUT,
    TRVS_CALLBACK_OVERWRITE, TRVS_CALLBACK_MOVE_LABEL,    TRVS_CALLBACK_FREE,
    TRVS_CALLBACK_CHECK_IN,  TRVS_CALLBACK_NEWS_TWO,      TRVS_CALLBACK_IDLE,
    TRVS_CALLBACK_OPERATION, TRVS_CALLBACK_BAD_DIRECTIVE, TRVS_CALLBACK_MESSAGE,
    TRVS_CALLBACK_TEXT,      TRVS_CALLBACK_TRIGGER,       TRVS_CALLBACK_UNDONE};

}  // namespace

bool Client::registerCallback(int32_t id, TrvsCallback callback) {
  if (std::find(std::begin(kCallbackIds), std::end(kCallbackIds), id) == std::end(kCallbackIds)) {
    return false;
  }
  callbacks_[static_cast<size_t>(id)] = callback;
  return true;
}

// The client's function for `id` as the type that it really has, null for none.
template <typename Callback>
Callback Client::registered(int32_t id) const {
  // By way of the one function type that compilers let stand for all others.
  return reinterpret_cast<Callback>(
      reinterpret_cast<void (*)()>(callbacks_[static_cast<size_t>(id)]));
}

// What the client stores is given back in any case.
bool Client::confirms(int32_t id, const std::string& first, const std::string& second,
                      std::string* answer) const {
  const auto ask = registered<TrvsConfirmCallback>(id);
  if (ask == nullptr) return false;
  char* stored = nullptr;
  const bool accepted = ask(first.c_str(), second.c_str(), &stored) == TRVS_GO_ON;
  if (stored == nullptr) return accepted;
  *answer = stored;
  if (const auto giveBack = registered<TrvsFreeCallback>(TRVS_CALLBACK_FREE)) giveBack(stored);
  return accepted;
}

TrvsStatus Client::goOn() const {
  const auto ask = registered<TrvsContinueCallback>(TRVS_CALLBACK_CONTINUE);
  return ask == nullptr || ask() == TRVS_GO_ON ? TRVS_DONE : TRVS_CANCELLED;
}

bool Client::retries(TrvsStatus obstacle, const std::string& path) const {
  const auto ask = registered<TrvsRetryCallback>(TRVS_CALLBACK_RETRY);
  return ask != nullptr && ask(obstacle, path.c_str()) == TRVS_GO_ON;
}

int32_t Client::output(const std::string& line, TrvsOutput kind) const {
  const auto put = registered<TrvsOutputCallback>(TRVS_CALLBACK_OUTPUT);
  return put == nullptr ? TRVS_ENOUGH : put(line.c_str(), kind);
}

bool Client::overwrites(const std::string& workfile, const std::string& archive) const {
  std::string unused;
  return confirms(TRVS_CALLBACK_OVERWRITE, workfile, archive, &unused);
}

bool Client::moves(std::string* label, const std::string& archive) const {
  std::string other;
  if (!confirms(TRVS_CALLBACK_MOVE_LABEL, *label, archive, &other)) return false;
  if (!other.empty()) *label = other;
  return true;
}

bool Client::accepts(const std::string& workfile, TrvsStatus why) const {
  const auto ask = registered<TrvsAskCallback>(TRVS_CALLBACK_CHECK_IN);
  return ask != nullptr && ask(workfile.c_str(), why) == TRVS_GO_ON;
}

bool Client::permits(const std::string& event, const Demand& demand) const {
  if (demand.text.empty() || demand.origin.isTrusted) return true;
  const auto ask = registered<TrvsTriggerCallback>(TRVS_CALLBACK_TRIGGER);
  return ask != nullptr && ask(event.c_str(), demand.text.c_str()) == TRVS_GO_ON;
}

void Client::idle() const {
  if (const auto rest = registered<TrvsIdleCallback>(TRVS_CALLBACK_IDLE)) rest();
}

void Client::done(const std::string& event, const std::string& archive, const std::string& workfile,
                  const std::string& what) const {
  if (const auto notify = registered<TrvsNotifyFourCallback>(TRVS_CALLBACK_OPERATION)) {
    notify(event.c_str(), archive.c_str(), workfile.c_str(), what.c_str(), 0);
  }
}

void Client::undone(const std::string& archive, const std::string& event, TrvsStatus status) const {
  if (const auto tell = registered<TrvsUndoneCallback>(TRVS_CALLBACK_UNDONE)) {
    tell(archive.c_str(), event.c_str(), status);
  }
}

bool Client::goesOnAfter(const BadDirective& directive) const {
  const auto tell = registered<TrvsBadDirectiveCallback>(TRVS_CALLBACK_BAD_DIRECTIVE);
  return tell == nullptr || tell(directive.code, directive.line.c_str(), directive.file.c_str(),
                                 directive.number) == TRVS_GO_ON;
}

void Client::message(TrvsStatus code) const {
  if (const auto tell = registered<TrvsMessageCallback>(TRVS_CALLBACK_MESSAGE)) tell(code);
}

void Client::text(const std::string& text) const {
  if (const auto tell = registered<TrvsTextCallback>(TRVS_CALLBACK_TEXT)) tell(text.c_str());
}

}  // namespace btkf
