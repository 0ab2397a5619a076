// runtime/dateparse.cpp: puts a date together from its tokens, and fills in what they leave out.
#include "runtime/dateparse.h"

#include <cstdio>
#include <string_view>
#include <vector>

#include "runtime/datescanner.h"
#include "runtime/datesettings.h"

namespace foldapi {
namespace {

constexpr int kMissing = -1;
constexpr LocalTime kEarliest{1980, 1, 1, 0, 0, 0};
constexpr LocalTime kLatest{2100, 12, kMissing, 23, 59, 59};  // Its day is the month's last.
constexpr int kFirstLongYear = 2080;  // Its last two digits would be read as a year before 2000.

// Reads one date, and is then thrown away. After the first error there are no more tokens, so that
// every loop ends by itself.
class DateReader {
 public:
  DateReader(std::string_view text, std::string_view endSet, bool isLatest)
      : scanner_(text, endSet, dateSettings()), filling_(isLatest ? kLatest : kEarliest) {
    unpackTime(dateSettings().now(), &today_);
  }

  // 0 or the error's code.
  int32_t read() {
    advance();
    if (token_.kind != kDateEnd) {
      readDate();
      readTime();
      readDate();
      refuseToken();
      complete();
    } else {
      fields_ = filling_;
      completeDay();
    }
    if (!isLegal()) fail(kDateValueError);
    return status_;
  }

  uint32_t packed() const { return packTime(fields_); }
  size_t end() const { return token_.end; }

 private:
  void fail(int32_t status) {
    if (status_ == 0) status_ = status;
    token_.kind = kDateEnd;
  }

  void advance() {
    if (status_ != 0) return;
    token_ = scanner_.read(token_.end, token_.kind);
    if (token_.error != 0) fail(token_.error);
  }

  // A field is given once.
  void set(int* field) {
    if (*field != kMissing) return fail(kDateValueError);
    *field = token_.value;
  }

  // A date stands before the time or behind it.
  void readDate() {
    if (dateCount_ != 0) return;
    std::vector<int> numbers;
    int named = 0;
    for (; (token_.kind & kInDate) != 0; advance()) {
      if (token_.kind == kMonthWord || token_.kind == kYearNumber) {
        set(token_.kind == kMonthWord ? &fields_.month : &fields_.year);
        ++named;
      } else if (token_.kind != kDateSeparator) {
        if (numbers.size() == dateSettings().order.size()) return fail(kDateValueError);
        numbers.push_back(token_.value);
      }
    }
    dateCount_ = static_cast<int>(numbers.size()) + named;
    if (numbers.size() == 1 && named == 0) {
      fields_.year = today_.year;
      fields_.month = today_.month;
    }
    place(numbers);
  }

  // Gives the numbers to the fields that are left, in the order that is set.
  void place(const std::vector<int>& numbers) {
    auto number = numbers.begin();
    for (const DateFieldPointer field : dateSettings().order) {
      if (number == numbers.end()) return;
      if (fields_.*field == kMissing) fields_.*field = *number++;
    }
    if (number != numbers.end()) fail(kDateValueError);
  }

  void readTime() {
    constexpr DateFieldPointer kOrder[] = {&LocalTime::hours, &LocalTime::minutes,
                                           &LocalTime::seconds};
    for (; (token_.kind & kInTime) != 0; advance()) {
      if (token_.kind == kAmWord || token_.kind == kPmWord) {
        set(&half_);
      } else if (token_.kind != kTimeSeparator) {
        if (timeCount_ == std::size(kOrder)) return fail(kDateSyntaxError);
        set(&(fields_.*kOrder[timeCount_++]));
      }
    }
  }

  // What neither date nor time has taken. A second month is a month given twice.
  void refuseToken() {
    if (token_.kind == kDateEnd) return;
    const bool isTwice = token_.kind == kMonthWord && fields_.month != kMissing;
    fail(isTwice ? kDateValueError : kDateSyntaxError);
  }

  void complete() {
    LocalTime& date = fields_;
    if (date.month == kMissing) date.month = (date.year == kMissing ? today_ : filling_).month;
    if (date.day == kMissing) date.day = (dateCount_ == 0 ? today_ : filling_).day;
    if (date.year == kMissing) date.year = today_.year;
    if (date.year < 80) {
      date.year += 2000;
    } else if (date.year < 1000) {
      date.year += 1980;  // 200 to 999 become years that are too late: they are no short years.
    }
    completeDay();
    completeTime();
  }

  int lastDay() const { return daysOfMonth(fields_.month, fields_.year % 4 == 0); }

  void completeDay() {
    if (fields_.day == kMissing) fields_.day = lastDay();
  }

  void completeTime() {
    if (half_ != kMissing && timeCount_ != 0) {
      fields_.hours = (fields_.hours == 12 ? 0 : fields_.hours) + 12 * half_;
    } else if (half_ != kMissing) {
      fields_.hours = 12 * half_ + (filling_ == kLatest ? 11 : 0);
      timeCount_ = 1;
    }
    if (timeCount_ < 1) fields_.hours = filling_.hours;
    if (timeCount_ < 2) fields_.minutes = filling_.minutes;
    if (timeCount_ < 3) fields_.seconds = filling_.seconds;
  }

  bool isLegal() const {
    return fields_.year >= kEarliest.year && fields_.year <= kLatest.year && fields_.day >= 1 &&
           fields_.day <= lastDay() && fields_.hours < 24 && fields_.minutes < 60 &&
           fields_.seconds < 60;
  }

  DateScanner scanner_;
  DateScanner::Token token_;
  int32_t status_ = 0;
  LocalTime today_;
  const LocalTime filling_;
  LocalTime fields_{kMissing, kMissing, kMissing, kMissing, kMissing, kMissing};
  int half_ = kMissing;   // 0 is AM, 1 is PM.
  int dateCount_ = 0;     // Fields of the date that were given,
  size_t timeCount_ = 0;  // and of the time.
};

std::string_view firstCharacter(std::string_view text) {
  return text.substr(0, mbCharLength(text, 0));
}

}  // namespace

int32_t ParseDate(const char** text, uint32_t* result, const char* endSet, int latest) {
  DateReader reader(*text, endSet == nullptr ? "" : endSet, latest != 0);
  const int32_t status = reader.read();
  if (status != 0) return status;
  *result = reader.packed();
  *text += reader.end();
  return 0;
}

int32_t ParseDateRange(const char* text, uint32_t* from, uint32_t* to) {
  const std::string_view whole = text;
  if (mbSpan(whole, kDateWordEnds) == whole.size()) {
    *from = *to = dateSettings().now();
    return 0;
  }
  const char* rest = text;
  const int32_t status = ParseDate(&rest, from, "*", 0);
  rest = *rest == '*' ? rest + 1 : text;
  return status | ParseDate(&rest, to, "", 1);
}

const char* FormatDate(uint32_t packed) {
  static thread_local char text[64];
  const DateSettings& settings = dateSettings();
  LocalTime time;
  unpackTime(packed, &time);
  if (time.year < kFirstLongYear) time.year %= 100;
  const std::string_view d = firstCharacter(settings.dateSeparators);
  const std::string_view t = firstCharacter(settings.timeSeparators);
  const auto [first, second, third] = settings.order;
  std::snprintf(text, sizeof text, "%02d%.*s%02d%.*s%02d %02d%.*s%02d%.*s%02d", time.*first,
                static_cast<int>(d.size()), d.data(), time.*second, static_cast<int>(d.size()),
                d.data(), time.*third, time.hours, static_cast<int>(t.size()), t.data(),
                time.minutes, static_cast<int>(t.size()), t.data(), time.seconds);
  return text;
}

void TrimRight(char* text, const char* set) {
  const std::string_view whole = text;
  for (size_t at = 0;;) {
    at += mbSpanNot(whole.substr(at), set);
    const size_t run = mbSpan(whole.substr(at), set);
    if (at + run == whole.size()) text[at] = '\0';
    if (run == 0 || at + run == whole.size()) return;
    at += run;
  }
}

}  // namespace foldapi
