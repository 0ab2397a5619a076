// toolkit/faketoolkit.h: a toolkit without archives. The functions of this program stand in front
// of the library's own; each writes down what it was given and answers as a test wants.
//
// Users, configuration items and promotion groups are the real ones until a test answers for them.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>

namespace toolkit_test {

struct FakeToolkit {
  // Coming statuses by function, without its "Trvs"; the last one holds on. None: 0.
  std::map<std::string, std::deque<int32_t>> statuses;
  std::string computedName;               // Of TrvsComputeArchiveName.
  std::map<int32_t, std::string> items;   // Of TrvsQueryConfigurationItem, by their number.
  std::map<std::string, int16_t> groups;  // Of TrvsVerifyPromoTreeNodeExist; if any, others are 1.
  std::string lockedRevision;             // Of TrvsGetLockInfo.
  int16_t differ = 0;                     // Of TrvsTestDifferences.

  // The calls since the last look, one line each: the function, then its arguments. A null is "-".
  std::string calls();
  std::string log;
};

FakeToolkit& fakeToolkit();

}  // namespace toolkit_test
