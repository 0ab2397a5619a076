// btkf520/operations/client.cpp: the way from the toolkit to the functions that a client has
// registered.
#include "btkf520/operations/client.h"

#include "btkf520/operations/surroundings.h"

namespace btkf::client {
namespace {

// The client's function for `id`, null for none.
template <typename Callback>
Callback registered(int32_t id) {
  return Session::instance().registered<Callback>(id);
}

// Callbacks 5 and 6. What the client stores is given back in any case.
bool confirmed(int32_t id, const std::string& first, const std::string& second,
               std::string* answer) {
  const auto ask = registered<TrvsConfirmCallback>(id);
  if (ask == nullptr) return false;
  char* stored = nullptr;
  const bool accepted = ask(first.c_str(), second.c_str(), &stored) == 0;
  if (stored == nullptr) return accepted;
  *answer = stored;
  if (const auto giveBack = registered<TrvsFreeCallback>(9)) giveBack(stored);
  return accepted;
}

}  // namespace

Status goOn() {
  const auto ask = registered<TrvsContinueCallback>(1);
  return ask == nullptr || ask() == 0 ? kDone : kCancelled;
}

bool retries(Status obstacle, const std::string& path) {
  const auto ask = registered<TrvsRetryCallback>(3);
  return ask != nullptr && ask(obstacle, path.c_str()) == 0;
}

Flow output(const std::string& line, Output kind) {
  const auto put = registered<TrvsOutputCallback>(4);
  if (put == nullptr) return Flow::kEnough;
  const int32_t answer = put(line.c_str(), static_cast<int32_t>(kind));
  return answer == 0 ? Flow::kGoOn : answer == 1 ? Flow::kEnough : Flow::kCancelled;
}

bool overwrites(const std::string& workfile, const std::string& archive) {
  std::string unused;
  return confirmed(5, workfile, archive, &unused);
}

bool moves(std::string* label, const std::string& archive) {
  std::string other;
  if (!confirmed(6, *label, archive, &other)) return false;
  if (!other.empty()) *label = other;
  return true;
}

bool accepts(const std::string& workfile, Status why) {
  const auto ask = registered<TrvsAskCallback>(10);
  return ask != nullptr && ask(workfile.c_str(), why) == 0;
}

void idle() {
  if (const auto rest = registered<TrvsIdleCallback>(17)) rest();
}

void done(const std::string& event, const std::string& archive, const std::string& workfile,
          const std::string& what) {
  if (const auto notify = registered<TrvsNotifyFourCallback>(18)) {
    notify(event.c_str(), archive.c_str(), workfile.c_str(), what.c_str(), 0);
  }
}

void message(Status code) {
  if (const auto tell = registered<TrvsMessageCallback>(20)) tell(code);
}

}  // namespace btkf::client
