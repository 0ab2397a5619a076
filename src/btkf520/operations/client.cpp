// btkf520/operations/client.cpp: the way from the toolkit to the functions that a client has
// registered.
#include "btkf520/operations/client.h"

#include <algorithm>
#include <iterator>

namespace btkf {
namespace {

constexpr int32_t kCallbackIds[] = {1, 3, 4, 5, 6, 9, 10, 16, 17, 18, 19, 20, 23};

}  // namespace

bool Client::registerCallback(int32_t id, TrvsCallback callback) {
  if (std::find(std::begin(kCallbackIds), std::end(kCallbackIds), id) == std::end(kCallbackIds)) {
    return false;
  }
  callbacks_[id] = callback;
  return true;
}

// The client's function for `id` as the type that it really has, null for none.
template <typename Callback>
Callback Client::registered(int32_t id) const {
  const auto found = callbacks_.find(id);
  if (found == callbacks_.end()) return nullptr;
  // By way of the one function type that compilers let stand for all others.
  return reinterpret_cast<Callback>(reinterpret_cast<void (*)()>(found->second));
}

// Callbacks 5 and 6. What the client stores is given back in any case.
bool Client::confirms(int32_t id, const std::string& first, const std::string& second,
                      std::string* answer) const {
  const auto ask = registered<TrvsConfirmCallback>(id);
  if (ask == nullptr) return false;
  char* stored = nullptr;
  const bool accepted = ask(first.c_str(), second.c_str(), &stored) == 0;
  if (stored == nullptr) return accepted;
  *answer = stored;
  if (const auto giveBack = registered<TrvsFreeCallback>(9)) giveBack(stored);
  return accepted;
}

Status Client::goOn() const {
  const auto ask = registered<TrvsContinueCallback>(1);
  return ask == nullptr || ask() == 0 ? kDone : kCancelled;
}

bool Client::retries(Status obstacle, const std::string& path) const {
  const auto ask = registered<TrvsRetryCallback>(3);
  return ask != nullptr && ask(obstacle, path.c_str()) == 0;
}

Flow Client::output(const std::string& line, Output kind) const {
  const auto put = registered<TrvsOutputCallback>(4);
  if (put == nullptr) return Flow::kEnough;
  const int32_t answer = put(line.c_str(), static_cast<int32_t>(kind));
  return answer == 0 ? Flow::kGoOn : answer == 1 ? Flow::kEnough : Flow::kCancelled;
}

bool Client::overwrites(const std::string& workfile, const std::string& archive) const {
  std::string unused;
  return confirms(5, workfile, archive, &unused);
}

bool Client::moves(std::string* label, const std::string& archive) const {
  std::string other;
  if (!confirms(6, *label, archive, &other)) return false;
  if (!other.empty()) *label = other;
  return true;
}

bool Client::accepts(const std::string& workfile, Status why) const {
  const auto ask = registered<TrvsAskCallback>(10);
  return ask != nullptr && ask(workfile.c_str(), why) == 0;
}

void Client::idle() const {
  if (const auto rest = registered<TrvsIdleCallback>(17)) rest();
}

void Client::done(const std::string& event, const std::string& archive, const std::string& workfile,
                  const std::string& what) const {
  if (const auto notify = registered<TrvsNotifyFourCallback>(18)) {
    notify(event.c_str(), archive.c_str(), workfile.c_str(), what.c_str(), 0);
  }
}

bool Client::goesOnAfter(const BadDirective& directive) const {
  const auto tell = registered<TrvsBadDirectiveCallback>(19);
  return tell == nullptr || tell(directive.code, directive.line.c_str(), directive.file.c_str(),
                                 directive.number) == 0;
}

void Client::message(Status code) const {
  if (const auto tell = registered<TrvsMessageCallback>(20)) tell(code);
}

}  // namespace btkf
