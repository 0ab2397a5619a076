// fuzz/check_dates.h: any bytes as a date, a format and words: no crash, nothing read behind an
// end, and the promises of the functions kept.
//
// The first byte chooses a character table and what ends a date. The rest are three texts with
// "\n" between: what is read, a format, the words. Texts lie in buffers of their own size, so that
// the address sanitizer sees a byte that is read behind them.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz_support.h"
#include "runtime/dateparse.h"
#include "runtime/datesettings.h"

namespace fuzz {

// Sets the clock and the character table, and puts all settings back in the end.
class DateScene {
 public:
  explicit DateScene(bool hasTwoByteCharacters) {
    foldapi::dateSettings() = foldapi::DateSettings();
    foldapi::dateSettings().now = [] { return foldapi::packTime({2026, 5, 17, 13, 45, 30}); };
    if (!hasTwoByteCharacters) return;
    foldapi::CharacterTable table = foldapi::characterTable();
    for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= foldapi::kCharLead;
    foldapi::setCharacterTable(&table);
  }
  DateScene(const DateScene&) = delete;
  DateScene& operator=(const DateScene&) = delete;
  ~DateScene() {
    foldapi::dateSettings() = foldapi::DateSettings();
    foldapi::setCharacterTable(nullptr);
  }
};

// A text with its NUL and not a byte more.
class ExactText {
 public:
  explicit ExactText(std::string_view text) : bytes_(new char[text.size() + 1]) {
    *std::copy(text.begin(), text.end(), bytes_.get()) = '\0';
  }
  char* get() { return bytes_.get(); }

 private:
  std::unique_ptr<char[]> bytes_;
};

// What `get` tells; it fits exactly, and not into one byte less.
inline std::string setting(int32_t (*get)(char*, int32_t)) {
  std::string text(1 << 12, '\0');
  require(get(text.data(), static_cast<int32_t>(text.size())) == 0, "a setting can be fetched");
  text.resize(std::strlen(text.c_str()));
  ExactText exact(text);
  const auto size = static_cast<int32_t>(text.size()) + 1;
  require(get(exact.get(), size - 1) == 1, "a buffer that is too small is refused");
  require(get(exact.get(), size) == 0 && text == exact.get(), "a setting fits into its own size");
  return text;
}

// Gives the status.
inline int32_t checkSetting(std::string_view text, int32_t (*set)(const char*),
                            int32_t (*get)(char*, int32_t)) {
  const std::string before = setting(get);
  const int32_t status = set(ExactText(text).get());
  require(status == 0 || status == 1, "a setting is taken or refused");
  const std::string now = setting(get);
  require(status == 0 || now == before, "a setting that is refused changes nothing");
  require(set(now.c_str()) == 0 && setting(get) == now, "what is told can be set");
  return status;
}

// Gives the status; *packed is 0 after an error.
inline int32_t checkOneDate(std::string_view text, const char* endSet, int latest,
                            uint32_t* packed) {
  ExactText exact(text);
  const char* rest = exact.get();
  *packed = 0;
  const int32_t status = foldapi::ParseDate(&rest, packed, endSet, latest);
  require(status >= 0 && status <= 2, "the codes are 0, 1 and 2");
  if (status != 0) {
    require(rest == exact.get() && *packed == 0, "an error changes nothing");
    return status;
  }
  require(rest >= exact.get() && rest <= exact.get() + text.size(), "the rest is of the text");
  require(*rest == '\0' || std::strchr(endSet, *rest) != nullptr, "a date is read to its end");
  foldapi::LocalTime time;
  const bool isLegal = foldapi::unpackTime(*packed, &time);
  require(isLegal || (time.year == 2100 && time.month == 2 && time.day == 29), "dates are legal");
  require(time.year <= 2100, "dates end with 2100");
  return 0;
}

inline void checkRange(std::string_view text, uint32_t earliest, uint32_t latest, int32_t status) {
  uint32_t from = 0, to = 0;
  const int32_t both = foldapi::ParseDateRange(ExactText(text).get(), &from, &to);
  require(both >= 0 && both <= 3, "the codes of two dates are joined");
  if (text.find('*') != std::string_view::npos) return;
  if (text.find_first_not_of(" \t,/.-:") == std::string_view::npos) {
    require(both == 0 && from == foldapi::dateSettings().now() && to == from, "nothing is now");
  } else {
    require(both == status && from == earliest && to == latest, "a date spans all it may mean");
  }
}

inline void checkTrim(std::string_view text, std::string_view set) {
  ExactText exact(text), exactSet(set);
  foldapi::TrimRight(exact.get(), exactSet.get());
  const std::string once = exact.get();
  require(text.substr(0, once.size()) == once, "what is left is the beginning");
  require(text.substr(once.size()).find_first_not_of(set) == std::string_view::npos,
          "only characters of the set are cut");
  foldapi::TrimRight(exact.get(), exactSet.get());
  require(once == exact.get(), "a trimmed text can't be trimmed");
}

inline void checkDates(std::string_view bytes) {
  if (bytes.empty()) return;
  const DateScene scene((bytes[0] & 1) != 0);
  const char* endSet = (bytes[0] & 2) != 0 ? "*;" : "";
  std::string_view texts[3];
  bytes.remove_prefix(1);
  for (std::string_view& text : texts) {
    const size_t end = std::min(bytes.find('\n'), bytes.size());
    text = bytes.substr(0, std::min(bytes.substr(0, end).find('\0'), end));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  const bool isStandard =
      checkSetting(texts[1], foldapi::SetDateFormat, foldapi::GetDateFormat) != 0;
  checkSetting(texts[2], foldapi::SetDateWords, foldapi::GetDateWords);
  checkTrim(texts[0], texts[1]);

  uint32_t earliest, latest;
  const int32_t status = checkOneDate(texts[0], endSet, 0, &earliest);
  require(checkOneDate(texts[0], endSet, 1, &latest) == status, "both defaults agree on errors");
  require(earliest <= latest, "the earliest isn't later than the latest");
  if (status == 0) {
    const std::string written = foldapi::FormatDate(earliest);
    uint32_t again = 0;
    const int32_t reread = checkOneDate(written, "", 1, &again);
    require(!isStandard || (reread == 0 && again == earliest), "what is written can be read");
  }
  const int32_t whole = checkOneDate(texts[0], "", 0, &earliest);
  checkOneDate(texts[0], "", 1, &latest);
  checkRange(texts[0], earliest, latest, whole);
}

}  // namespace fuzz
