// os/stop_windows.cpp: how a console asks a process to end.
#include <atomic>

#include "os/calls_windows.h"
#include "os/stop.h"

namespace os {
namespace {

std::atomic<bool> theWish = false;

// The second wish is left to the system, which ends the process.
BOOL WINAPI rememberStop(DWORD /*kind*/) { return theWish.exchange(true) ? FALSE : TRUE; }

}  // namespace

void deferStops() { ::SetConsoleCtrlHandler(rememberStop, TRUE); }

bool isStopWanted() { return theWish; }

}  // namespace os
