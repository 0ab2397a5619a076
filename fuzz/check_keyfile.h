// fuzz/check_keyfile.h: any bytes as a data file: no crash, no hang, and nothing told that isn't
// there.
#pragma once

#include <string_view>

#include "fuzz_support.h"
#include "store/keyfile.h"

namespace fuzz {

inline void checkKeyFile(std::string_view bytes) {
  const size_t whole = foldapi::wholeSize(bytes);
  require(whole <= bytes.size() && foldapi::wholeSize(bytes.substr(0, whole)) == whole,
          "what is whole stays whole");
  constexpr foldapi::KeyTableEntry kSections[] = {{"Format", foldapi::kSectionSkipped},
                                                  {"Project", foldapi::kSectionProject},
                                                  {"Folder", foldapi::kSectionFolder},
                                                  {}};
  foldapi::TVKeyFile file(bytes, kSections);
  size_t told = 0;
  const int result = file.parse([&](int id, std::string_view, foldapi::OptionalText) {
    require(id == foldapi::kSectionProject || id == foldapi::kSectionFolder, "a section is known");
    std::string_view key;
    foldapi::OptionalText value;
    while (file.nextKey(&key, &value) == foldapi::kKeyFileDone) {
      require(key.find('\n') == std::string_view::npos, "a key is of one line");
      told += key.size() + value.value_or("").size();
    }
    require(bytes.find(file.sectionText()) != std::string_view::npos, "a section is word for word");
    return foldapi::kRecordTaken;
  });
  require(result == foldapi::kKeyFileDone && told <= bytes.size(), "all is read once");
}

}  // namespace fuzz
