// os/stop_windows.cpp: how a console asks a process to end.
#include <atomic>

#include "os/calls_windows.h"
#include "os/stop.h"

namespace os {
namespace {

std::atomic<bool> theWish = false;

// The second wish is left to the system, which ends the process. Where the console goes, or the
// user does, it ends it once this returns, or some seconds later: these are for the work at hand.
BOOL WINAPI rememberStop(DWORD kind) {
  const bool isSecond = theWish.exchange(true);
  if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return isSecond ? FALSE : TRUE;
}

}  // namespace

void deferStops() { ::SetConsoleCtrlHandler(rememberStop, TRUE); }

bool isStopWanted() { return theWish; }

}  // namespace os
