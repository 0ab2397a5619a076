// toolkit/faketoolkit.h: a toolkit without archives. The functions of this program stand in front
// of the library's own; each writes down what it was given and answers as a test wants.
//
// Configuration items and promotion groups are the real ones until a test answers for them; reads
// of configuration files and registrations are always handed on.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "btkf520/btkf520.h"

namespace toolkit_test {

struct FakeToolkit {
  // Coming statuses by function, without its "Trvs"; the last one holds on. None: 0.
  std::map<std::string, std::deque<int32_t>> statuses;
  std::string computedName;               // Of TrvsComputeArchiveName.
  std::map<int32_t, std::string> items;   // Of TrvsQueryConfigurationItem, by their number.
  std::map<std::string, int16_t> groups;  // Of TrvsVerifyPromoTreeNodeExist; if any, others are 1.
  std::string lockedRevision;             // Of TrvsGetLockInfo.
  int16_t differ = 0;                     // Of TrvsTestDifferences.

  // Since the last look: the calls, one line each, the function and its arguments, where a null is
  // "-"; the configuration files read, "10 <path>" for each; the callbacks registered, by id.
  std::string calls() { return std::exchange(log, ""); }
  std::string readCalls() { return std::exchange(reads, ""); }
  std::map<int32_t, TrvsCallback> registeredCallbacks() { return std::exchange(registered, {}); }

  std::string log;
  std::string reads;
  std::map<int32_t, TrvsCallback> registered;
};

FakeToolkit& fakeToolkit();

}  // namespace toolkit_test
