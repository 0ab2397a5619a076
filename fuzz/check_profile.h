// fuzz/check_profile.h: any bytes as a profile: no crash, no hang, and a write changes one value.
#pragma once

#include <string_view>

#include "fuzz_support.h"
#include "kstrinin/kstrinin.h"

namespace fuzz {

inline void checkProfile(std::string_view bytes) {
  static const std::string path = scratchPath("profile");
  writeFile(path, bytes);
  const intptr_t handle = KSTRIniOpen(path.c_str());
  if (handle == 0) {
    require(KSTRIniGetError() == -12, "what can't be opened is no text");
    return;
  }
  std::string before;
  for (const char* value : {"one", "two", "", " ", "\"", "\"q\""}) {
    require(KSTRWriteProfileString(handle, "[S]", "K", value) != 0, "a value is written");
    char read[10] = "?";
    require(KSTRQueryProfileString(handle, "[S]", "K", read, sizeof read) != 0 &&
                std::string_view(read) == value,
            "what was written is read");
    std::string now = readFile(path);
    if (std::string_view(value) == "two") {
      const auto place = std::mismatch(before.begin(), before.end(), now.begin(), now.end());
      now.replace(static_cast<size_t>(place.second - now.begin()), 3, "one");
      require(now == before, "every other byte stays");
    }
    before = now;
  }
  KSTRIniClose(handle);
}

}  // namespace fuzz
