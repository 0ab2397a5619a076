// fuzz/fuzz_dates.cpp: any bytes as a date, a format and words: no crash, nothing read after an
// end, and the promises of the functions kept. Build with -fsanitize=fuzzer and the library's
// sources.
//
// The first byte chooses a character table and what ends a date. The rest are three texts with
// "\n" between: what is read, a format, the words. Texts lie in buffers of their own size, so that
// the address sanitizer sees a byte that is read after them.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "dates/reader.h"
#include "fuzz_support.h"
#include "runtime/dateparse.h"
#include "runtime/mbstring.h"

namespace fuzz {
namespace {

const dates::PackedTime kNow = dates::packTime({2026, 5, 17, 13, 45, 30});

// Sets the character table, and puts all settings back in the end.
class DateScene {
 public:
  explicit DateScene(bool hasTwoByteCharacters) {
    if (!hasTwoByteCharacters) return;
    foldapi::CharacterTable table = foldapi::characterTable();
    for (size_t c = 0x81; c <= 0x9f; ++c) table[c].classes |= foldapi::kCharLead;
    foldapi::setCharacterTable(&table);
  }
  DateScene(const DateScene&) = delete;
  DateScene& operator=(const DateScene&) = delete;
  ~DateScene() {
    foldapi::dateLanguage() = before_;
    foldapi::setCharacterTable(nullptr);
  }

 private:
  const dates::Language before_ = foldapi::dateLanguage();
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

// Gives whether the setting was taken.
bool checkSetting(std::string_view text, int32_t (*set)(const char*),
                  int32_t (*get)(char*, int32_t)) {
  const auto told = [get] {
    std::string now(1 << 12, '\0');
    require(get(now.data(), static_cast<int32_t>(now.size())) == 0, "a setting can be fetched");
    return std::string(now.c_str());
  };
  const std::string before = told();
  const bool isTaken = set(ExactText(text).get()) == 0;
  const std::string now = told();
  require(isTaken || now == before, "a setting that is refused changes nothing");
  require(set(now.c_str()) == 0 && told() == now, "what is told can be set");
  return isTaken;
}

// Whether a date in `text` may be read up to `end`.
bool endsWell(std::string_view text, size_t end, std::string_view endSet) {
  return end == text.size() || (end < text.size() && endSet.find(text[end]) < endSet.size());
}

dates::Reading checkOneDate(std::string_view text, const char* endSet, dates::Fill fill) {
  ExactText exact(text);
  const std::string_view bytes(exact.get(), text.size());
  const auto date = dates::readDate(bytes, foldapi::dateLanguage(), kNow, fill, endSet);
  if (date.status != dates::kGood) {
    require(date.status == dates::kSyntaxError || date.status == dates::kValueError, "a status");
    return date;
  }
  require(endsWell(text, date.end, endSet), "a date is read to its end");
  const dates::LocalTime time = dates::unpackTime(date.time);
  require(dates::isTime(time) || (time.year == 2100 && time.month == 2 && time.day == 29),
          "dates are legal");
  require(time.year <= 2100, "dates end with 2100");
  return date;
}

// The same by the library's functions, whose answer depends on the day.
void checkLibrary(std::string_view text, const char* endSet, int latest) {
  ExactText exact(text);
  const char* rest = exact.get();
  uint32_t packed = 0, from = 0, to = 0;
  const int32_t status = foldapi::ParseDate(&rest, &packed, endSet, latest);
  require(status >= 0 && status <= 2, "the codes are 0, 1 and 2");
  require((packed == 0) == (status != 0), "a time is set without an error");
  const auto end = static_cast<size_t>(rest - exact.get());
  require(status == 0 ? endsWell(text, end, endSet) : end == 0, "an error moves nothing");
  const int32_t both = foldapi::ParseDateRange(exact.get(), &from, &to);
  require(both >= 0 && both <= 3, "the codes of two dates are joined");
  require(both != 0 || (from != 0 && to != 0), "both ends are set without an error");
}

void checkRange(std::string_view text) {
  const auto stretch = dates::readStretch(text, foldapi::dateLanguage(), kNow);
  if (text.find('*') != std::string_view::npos) return;
  if (text.find_first_not_of(dates::kWordEnds) == std::string_view::npos) {
    require(stretch.from.time == kNow && stretch.to.time == kNow, "nothing is now");
  } else {
    const auto earliest = checkOneDate(text, "", dates::Fill::kEarliest);
    const auto latest = checkOneDate(text, "", dates::Fill::kLatest);
    require(stretch.from.time == earliest.time && stretch.to.time == latest.time,
            "a date spans all it may mean");
  }
}

// What a configuration takes, every reader understands.
void checkConfigured(std::string_view format, std::string_view words) {
  dates::Language language;
  require(!dates::isConfiguredFormat(format) || language.setFormat(format), "a format is read");
  const auto configured = dates::configuredWords(words);
  if (!configured) return;
  require(language.setWords(*configured) && dates::joined(language.words) == *configured,
          "words are read as they were joined");
}

void checkDates(std::string_view bytes) {
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
  const bool isStandard = !checkSetting(texts[1], foldapi::SetDateFormat, foldapi::GetDateFormat);
  checkSetting(texts[2], foldapi::SetDateWords, foldapi::GetDateWords);
  checkConfigured(texts[1], texts[2]);

  const dates::Reading earliest = checkOneDate(texts[0], endSet, dates::Fill::kEarliest);
  const dates::Reading latest = checkOneDate(texts[0], endSet, dates::Fill::kLatest);
  require(earliest.status == latest.status, "both fillings agree on errors");
  if (earliest.status == dates::kGood) {
    require(earliest.time <= latest.time, "the earliest isn't later than the latest");
    const std::string written = foldapi::FormatDate(earliest.time);
    const dates::Reading reread = checkOneDate(written, "", dates::Fill::kLatest);
    require(!isStandard || (reread.status == dates::kGood && reread.time == earliest.time),
            "what is written can be read");
  }
  checkRange(texts[0]);
  checkLibrary(texts[0], endSet, bytes.size() % 2 == 0 ? 0 : 1);
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::checkDates({reinterpret_cast<const char*>(data), size});
  return 0;
}
