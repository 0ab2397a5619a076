// fuzz/check_dates.h: any bytes as a date, a format and words: no crash, and nothing read after an
// end. The input is those three texts, with "\n" between.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "dates/reader.h"
#include "fuzz_support.h"
#include "runtime/dateparse.h"
#include "runtime/mbstring.h"

namespace fuzz {

// 0x81 to 0x9f lead characters of two bytes.
inline dates::Language twoByteLanguage() {
  foldapi::CharacterTable table = foldapi::characterTable();
  for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= foldapi::kCharLead;
  foldapi::setCharacterTable(&table);
  return foldapi::dateLanguage();
}

inline void checkDates(std::string_view bytes) {
  // In buffers of their own size, so that the address sanitizer sees what is read after them.
  std::vector<char> buffers[3];
  std::string_view texts[3];
  for (size_t i = 0; i < 3; ++i) {
    const size_t end = std::min(bytes.find('\n'), bytes.size());
    buffers[i].assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(end));
    texts[i] = {buffers[i].data(), end};
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  static const dates::Language standard = twoByteLanguage();
  dates::Language language = standard;
  const bool isStandard = !language.setFormat(texts[1]);
  require(!isStandard || !dates::isConfiguredFormat(texts[1]), "a configured format is taken");
  language.setWords(texts[2]);
  if (const auto words = dates::configuredWords(texts[2])) {
    require(language.setWords(*words) && dates::joined(language.words) == *words,
            "configured words are taken as they are");
  }
  const dates::PackedTime now = dates::packTime({2026, 5, 17, 13, 45, 30});
  const auto read = [&](std::string_view text, dates::Fill fill) {
    return dates::readDate(text, language, now, fill, "*");
  };
  dates::readStretch(texts[0], language, now);
  const dates::Reading earliest = read(texts[0], dates::Fill::kEarliest);
  const dates::Reading latest = read(texts[0], dates::Fill::kLatest);
  require(earliest.status == latest.status, "both fillings agree on errors");
  if (earliest.status != dates::kGood) return;
  require(earliest.time <= latest.time, "the earliest isn't later than the latest");
  require(latest.end == texts[0].size() || texts[0].at(latest.end) == '*', "it is read to its end");
  const auto again = read(dates::written(earliest.time, language), dates::Fill::kLatest);
  require(!isStandard || (again.status == dates::kGood && again.time == earliest.time),
          "what is written can be read");
}

}  // namespace fuzz
