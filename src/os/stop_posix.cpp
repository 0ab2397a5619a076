// os/stop_posix.cpp: the signals that ask a process to end.
#include <csignal>
#include <initializer_list>

#include "os/stop.h"

namespace os {
namespace {

volatile std::sig_atomic_t theWish = 0;

void rememberStop(int number) {
  if (theWish != 0) {
    std::signal(number, SIG_DFL);
    std::raise(number);
  }
  theWish = 1;
}

void doNothing(int /*number*/) {}

void handle(int number, void (*handler)(int)) {
  struct sigaction action = {};
  struct sigaction before = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  const bool isIgnored = ::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
  if (!isIgnored) ::sigaction(number, &action, nullptr);
}

}  // namespace

// A handler, as what is ignored would be ignored by the programs that are started.
void deferStops() {
  for (int number : {SIGINT, SIGTERM, SIGHUP}) handle(number, rememberStop);
  handle(SIGPIPE, doNothing);
  handle(SIGXFSZ, doNothing);
}

bool isStopWanted() { return theWish != 0; }

}  // namespace os
