// dates/reader.cpp: puts a date together from its tokens, and fills in what they leave out.
#include "dates/reader.h"

#include <iterator>
#include <vector>

namespace dates {
namespace {

constexpr int kMissing = -1;
constexpr LocalTime kEarliest{1980, 1, 1, 0, 0, 0};
constexpr LocalTime kLatest{2100, 12, kMissing, 23, 59, 59};  // Its day is the month's last.
constexpr int kFirstLongYear = 2080;  // Its last two digits would be read as a year before 2000.

// Reads one date, and is then thrown away. After the first error there are no more tokens, so that
// every loop ends by itself.
class DateReader {
 public:
  DateReader(std::string_view text, std::string_view endSet, const Language& language,
             PackedTime now, Fill fill)
      : language_(language),
        scanner_(text, endSet, language),
        today_(unpackTime(now)),
        filling_(fill == Fill::kLatest ? kLatest : kEarliest) {}

  Reading read() {
    advance();
    if (token_.kind != kEnd) {
      readDatePart();
      readTimePart();
      readDatePart();
      refuseToken();
      complete();
    } else {
      fields_ = filling_;
      completeDay();
    }
    if (!isLegal()) fail(kValueError);
    if (status_ != kGood) return {.status = status_};
    return {kGood, packTime(fields_), token_.end};
  }

 private:
  void fail(Status status) {
    if (status_ == kGood) status_ = status;
    token_.kind = kEnd;
  }

  void advance() {
    if (status_ != kGood) return;
    token_ = scanner_.read(token_.end, token_.kind);
    if (token_.status != kGood) fail(token_.status);
  }

  // A field is given once.
  void set(int* field) {
    if (*field != kMissing) return fail(kValueError);
    *field = token_.value;
  }

  // A date stands before the time or after it.
  void readDatePart() {
    if (dateCount_ != 0) return;
    std::vector<int> numbers;
    int named = 0;
    for (; (token_.kind & kInDate) != 0; advance()) {
      if (token_.kind == kMonthWord || token_.kind == kYearNumber) {
        set(token_.kind == kMonthWord ? &fields_.month : &fields_.year);
        ++named;
      } else if (token_.kind != kDateSeparator) {
        if (numbers.size() == language_.order.size()) return fail(kValueError);
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

  // Gives the numbers to the fields that are left, in the order of the language.
  void place(const std::vector<int>& numbers) {
    auto number = numbers.begin();
    for (int LocalTime::*const field : language_.order) {
      if (number == numbers.end()) return;
      if (fields_.*field == kMissing) fields_.*field = *number++;
    }
    if (number != numbers.end()) fail(kValueError);
  }

  void readTimePart() {
    int* const order[] = {&fields_.hours, &fields_.minutes, &fields_.seconds};
    for (; (token_.kind & kInTime) != 0; advance()) {
      if (token_.kind == kAmWord || token_.kind == kPmWord) {
        set(&half_);
      } else if (token_.kind != kTimeSeparator) {
        if (timeCount_ == std::size(order)) return fail(kSyntaxError);
        set(order[timeCount_++]);
      }
    }
  }

  // What neither date nor time has taken. A second month is a month given twice.
  void refuseToken() {
    if (token_.kind == kEnd) return;
    const bool isTwice = token_.kind == kMonthWord && fields_.month != kMissing;
    fail(isTwice ? kValueError : kSyntaxError);
  }

  void complete() {
    LocalTime& date = fields_;
    if (date.month == kMissing) date.month = (date.year == kMissing ? today_ : filling_).month;
    if (date.day == kMissing) date.day = (dateCount_ == 0 ? today_ : filling_).day;
    if (date.year == kMissing) date.year = today_.year;
    if (date.year < 80) date.year += 2000;  // The scanner has read 80 to 199.
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

  const Language& language_;
  const Scanner scanner_;
  const LocalTime today_;
  const LocalTime filling_;
  Token token_;
  Status status_ = kGood;
  LocalTime fields_{kMissing, kMissing, kMissing, kMissing, kMissing, kMissing};
  int half_ = kMissing;   // 0 is AM, 1 is PM.
  int dateCount_ = 0;     // Fields of the date that were given,
  size_t timeCount_ = 0;  // and of the time.
};

}  // namespace

Reading readDate(std::string_view text, const Language& language, PackedTime now, Fill fill,
                 std::string_view endSet) {
  return DateReader(text, endSet, language, now, fill).read();
}

Stretch readStretch(std::string_view text, const Language& language, PackedTime now) {
  if (language.characters.span(text, kWordEnds) == text.size()) {
    const Reading present{kGood, now, text.size()};
    return {present, present};
  }
  const Reading from = readDate(text, language, now, Fill::kEarliest, "*");
  const bool hasStar = text.substr(from.end).starts_with('*');
  const std::string_view last = hasStar ? text.substr(from.end + 1) : text;
  return {from, readDate(last, language, now, Fill::kLatest)};
}

std::string written(PackedTime packed, const Language& language) {
  LocalTime time = unpackTime(packed);
  if (time.year < kFirstLongYear) time.year %= 100;
  const auto twoDigits = [](int value) {
    const std::string digits = std::to_string(value);
    return digits.size() < 2 ? "0" + digits : digits;
  };
  const auto row = [&](int first, int second, int third, std::string_view separators) {
    const auto apart = separators.substr(0, language.characters.length(separators, 0));
    return twoDigits(first).append(apart) + twoDigits(second).append(apart) + twoDigits(third);
  };
  const auto [first, second, third] = language.order;
  return row(time.*first, time.*second, time.*third, language.dateSeparators) + " " +
         row(time.hours, time.minutes, time.seconds, language.timeSeparators);
}

}  // namespace dates
