// os/systemcalls.h: a file system that fails, interrupts, lies or lets others in between.
//
// A program that has this linked in asks its own functions where the C library's would be: they ask
// the rule of the living SystemCalls, if there is one, and then the system.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace os_test {

struct Call {
  std::string name;  // "open", "fsync", ...
  std::string path;  // Of the file asked for, open or not, without its directory.
  int flags = 0;     // Of open, flock and statx.
  int descriptor = -1;
  std::string_view bytes = {};  // Of pwrite, and of rename the old name. For the rule alone.
  int64_t number = 0;           // Of pwrite where, of ftruncate the size.
};

class SystemCalls {
 public:
  // What the call fails with, a value of errno; 0 to let the system answer.
  using Rule = std::function<int(const Call&)>;

  explicit SystemCalls(Rule rule = nullptr);
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;
  ~SystemCalls();

  // The calls that the system was left to answer, without those of the rule itself: those whose
  // names `names` has, as in "fsync f.trvs-new, rename f".
  std::string log(const std::string& names) const;

  // Whether syncs reach the system.
  static inline bool areSyncsReal = true;

  // For the functions in front of the C library's: whether the call is to fail, with errno set.
  static bool fails(const char* name, int descriptor, const char* path, int flags = 0,
                    std::string_view bytes = {}, int64_t number = 0);

 private:
  Rule rule_;
  std::vector<Call> calls_;
};

// While it lives syncs cost nothing: thousands of them would take long.
struct QuickSyncs {
  QuickSyncs() { SystemCalls::areSyncsReal = false; }
  QuickSyncs(const QuickSyncs&) = delete;
  QuickSyncs& operator=(const QuickSyncs&) = delete;
  ~QuickSyncs() { SystemCalls::areSyncsReal = true; }
};

}  // namespace os_test
