// btkf520/operations/times.cpp: a scanner for dates in the words and the order of a configuration.
//
// A number in a date text can be a day, a month, a year or a part of a time. What it is follows
// from its size and from what stands beside it: each token says by a mask what it may belong to and
// what it makes of a number before or after it. What the text leaves out comes from today, or from
// the earliest or latest date there can be.
#include "btkf520/operations/times.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "btkf520/configuration/text.h"
#include "btkf520/operations/surroundings.h"
#include "btkf520/platform_workfile.h"

namespace btkf {
namespace {

// What a token may belong to, and what it makes of its neighbours.
enum : int {
  kDate = 0x80,
  kTime = 0x40,
  kDateBefore = 0x200,  // A number before it belongs to a date,
  kTimeBefore = 0x800,  // to a time;
  kDateAfter = 0x100,   // a number after it belongs to a date,
  kTimeAfter = 0x400,   // to a time.
};
enum Token : int {
  kEnd = 0,
  kMonthWord = 0x81,
  kYear = 0x82,
  kDateNumber = 0x88,
  kTimeNumber = 0x49,
  kAnyNumber = 0xc7,
  kDateSeparator = 0x383,
  kTimeSeparator = 0xc46,
  kAm = 0x944,
  kPm = 0x945,
};

enum Field { kYearField, kMonthField, kDayField, kHour, kMinute, kSecond, kFieldCount };
using Fields = std::array<int, kFieldCount>;
constexpr int kMissing = -1;
constexpr Fields kEarliest = {1980, 1, 1, 0, 0, 0};
constexpr Fields kLatest = {2100, 12, kMissing, 23, 59, 59};  // Its day is the month's last.

constexpr std::string_view kWordEnds = " \t,/.-:";
constexpr size_t kLongestWord = 30;
constexpr size_t kMonths = 12;

struct Word {
  std::string text;  // In upper case.
  int token;
  int value;
};

// The words in the order in which an abbreviation is looked for.
std::vector<Word> sortedWords(std::string_view text) {
  std::vector<Word> words;
  for (std::string_view piece : pieces(text, " ")) {
    const size_t i = words.size();
    const int token = i < kMonths ? kMonthWord : i == kMonths ? kAm : kPm;
    words.push_back({upperCase(piece), token, static_cast<int>(i < kMonths ? i + 1 : i - kMonths)});
  }
  std::sort(words.begin(), words.end(),
            [](const Word& a, const Word& b) { return a.text < b.text; });
  return words;
}

// What a format says: the order of day, month and year, and what may stand between fields.
struct Layout {
  std::array<Field, 3> order{kMonthField, kDayField, kYearField};
  std::string dateSeparators;
  std::string timeSeparators;

  static Layout of(std::string_view format);
};

Layout Layout::of(std::string_view format) {
  Layout layout;
  size_t at = 0;
  for (int field = 0; field < 6; ++field) {
    const auto place = static_cast<size_t>(field);
    if (field < 3) {
      const char initial = upperCase(format[at]);
      layout.order[place] = initial == 'D' ? kDayField : initial == 'M' ? kMonthField : kYearField;
    }
    while (at < format.size() && isLetter(format[at])) ++at;
    std::string* separators = field < 2    ? &layout.dateSeparators
                              : field == 2 ? nullptr
                                           : &layout.timeSeparators;
    for (; at < format.size() && !isLetter(format[at]); ++at) {
      if (separators != nullptr) separators->push_back(format[at]);
    }
    if (at == format.size()) break;
  }
  return layout;
}

int daysIn(int month, int year) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && year % 4 == 0 ? 1 : 0);
}

Fields unpacked(PackedTime time) {
  const auto field = [time](int shift, int bits) {
    return static_cast<int>(time >> shift & ((1u << bits) - 1));
  };
  return {1980 + field(25, 7), field(21, 4), field(16, 5),
          field(11, 5),        field(5, 6),  field(0, 5) * 2};
}

// Cuts a text into tokens. `isBad` ends everything.
class Scanner {
 public:
  Scanner(std::string_view text, const DateRules& rules)
      : text_(text), layout_(Layout::of(rules.format)), words_(sortedWords(rules.words)) {}

  // Goes on to the next token.
  void next() {
    previous_ = token_;
    value_ = 0;
    if (at_ >= text_.size() || isBad_) {
      token_ = kEnd;
    } else if (layout_.dateSeparators.find(text_[at_]) != std::string::npos) {
      take(kDateSeparator);
    } else if (layout_.timeSeparators.find(text_[at_]) != std::string::npos) {
      take(kTimeSeparator);
    } else if (isLetter(text_[at_])) {
      takeWord();
    } else if (isDigit(text_[at_])) {
      takeNumber();
    } else {  // Of the nature of what stood before.
      take((previous_ & (kDateAfter | kDateBefore)) != 0 ? kDateSeparator : kTimeSeparator);
    }
  }

  int token() const { return token_; }
  int value() const { return value_; }
  bool isBad() const { return isBad_; }
  void setBad() {
    isBad_ = true;
    token_ = kEnd;
  }
  const Layout& layout() const { return layout_; }

 private:
  void take(int token) {
    token_ = token;
    ++at_;
  }

  void takeWord() {
    const size_t end = std::min(text_.find_first_of(kWordEnds, at_), text_.size());
    const std::string word = upperCase(text_.substr(at_, end - at_));
    const auto begins = [&word](const Word& row) { return row.text.starts_with(word); };
    const auto row = std::find_if(words_.begin(), words_.end(), begins);
    const bool isKnown = word.size() <= kLongestWord && row != words_.end();
    if (!isKnown || (row + 1 != words_.end() && begins(row[1]))) return setBad();
    at_ = end;
    token_ = row->token;
    value_ = row->value;
  }

  void takeNumber() {
    constexpr int kLargest = 100000;
    for (; at_ < text_.size() && isDigit(text_[at_]); ++at_) {
      value_ = std::min(value_ * 10 + (text_[at_] - '0'), kLargest);
    }
    token_ = kYear;
    if (value_ >= 1980) return;
    if (value_ >= 80 && value_ <= 199) {
      value_ += 1900;
      return;
    }
    token_ = natureOfNumber();
  }

  int natureOfNumber() const {
    Scanner ahead(*this);
    ahead.token_ = previous_;  // The number itself doesn't count for what follows it.
    ahead.next();
    int mask = ahead.isBad_ ? 0 : ahead.token_ & (kDateBefore | kTimeBefore);
    if (mask == 0) mask = previous_ & (kDateAfter | kTimeAfter);
    if (mask == 0) return kAnyNumber;
    return (mask & (kDateBefore | kDateAfter)) != 0 ? kDateNumber : kTimeNumber;
  }

  std::string_view text_;
  Layout layout_;
  std::vector<Word> words_;
  size_t at_ = 0;
  int token_ = kEnd;
  int previous_ = kEnd;
  int value_ = 0;
  bool isBad_ = false;
};

// Reads one date.
class DateReader {
 public:
  DateReader(const DateRules& rules, std::string_view text, Fill fill)
      : scanner_(text, rules),
        today_(unpacked(rules.now)),
        filling_(fill == Fill::kLatest ? kLatest : kEarliest) {
    fields_.fill(kMissing);
  }

  std::optional<PackedTime> read() {
    scanner_.next();
    if (scanner_.token() == kEnd && !scanner_.isBad()) {
      fields_ = filling_;
      if (field(kDayField) == kMissing) field(kDayField) = 31;
    } else {
      readDate();
      readTime();
      readDate();
      if (scanner_.token() != kEnd || scanner_.isBad()) return {};
      complete();
    }
    return isLegal() ? std::optional(packed()) : std::nullopt;
  }

 private:
  int& field(Field which) { return fields_[which]; }
  int today(Field which) const { return today_[which]; }

  // A field may be given once.
  void set(Field which, int value) {
    if (field(which) != kMissing) return scanner_.setBad();
    field(which) = value;
  }

  // A date stands before or behind the time: once.
  void readDate() {
    if (dateCount_ != 0) return;
    std::vector<int> numbers;
    int named = 0;
    for (; (scanner_.token() & kDate) != 0; scanner_.next()) {
      switch (scanner_.token()) {
        case kDateNumber:
        case kAnyNumber:
          numbers.push_back(scanner_.value());
          if (numbers.size() > 3) return scanner_.setBad();
          break;
        case kMonthWord:
        case kYear:
          set(scanner_.token() == kYear ? kYearField : kMonthField, scanner_.value());
          if (scanner_.isBad()) return;
          ++named;
          break;
        default:
          break;
      }
    }
    dateCount_ = named + static_cast<int>(numbers.size());
    place(numbers, named);
  }

  // Gives numbers without a name to the fields that are left, in the order of the format.
  void place(const std::vector<int>& numbers, int named) {
    if (named == 0 && numbers.size() == 1) {
      fields_[kDayField] = numbers[0];
      fields_[kMonthField] = today(kMonthField);
      fields_[kYearField] = today(kYearField);
      return;
    }
    auto number = numbers.begin();
    for (const Field which : scanner_.layout().order) {
      if (number == numbers.end()) return;
      if (field(which) == kMissing) field(which) = *number++;
    }
    if (number != numbers.end()) scanner_.setBad();
  }

  void readTime() {
    for (; (scanner_.token() & kTime) != 0; scanner_.next()) {
      switch (scanner_.token()) {
        case kTimeNumber:
        case kAnyNumber:
          if (timeCount_ == 3) return scanner_.setBad();
          set(static_cast<Field>(kHour + timeCount_++), scanner_.value());
          break;
        case kAm:
        case kPm:
          if (half_ != kMissing) return scanner_.setBad();
          half_ = scanner_.value();
          break;
        default:
          break;
      }
      if (scanner_.isBad()) return;
    }
  }

  void complete() {
    if (field(kMonthField) == kMissing) {
      field(kMonthField) =
          field(kYearField) == kMissing ? today(kMonthField) : filling_[kMonthField];
    }
    if (field(kDayField) == kMissing) {
      field(kDayField) = dateCount_ == 0 ? today(kDayField) : filling_[kDayField];
    }
    int& year = field(kYearField);
    if (year == kMissing) year = today(kYearField);
    if (year < 80) {
      year += 2000;
    } else if (year < 1000) {
      year += 1980;  // 200 becomes 2180, which is too late.
    }
    const int month = field(kMonthField);
    if (field(kDayField) == kMissing && month >= 1 && month <= 12) {
      field(kDayField) = daysIn(month, year);
    }
    completeTime();
  }

  void completeTime() {
    if (half_ != kMissing && timeCount_ != 0) {
      field(kHour) = (field(kHour) == 12 ? 0 : field(kHour)) + 12 * half_;
    } else if (half_ != kMissing) {
      field(kHour) = 12 * half_ + (filling_ == kLatest ? 11 : 0);
      timeCount_ = 1;
    }
    for (size_t i = static_cast<size_t>(kHour + timeCount_); i < fields_.size(); ++i) {
      fields_[i] = filling_[i];
    }
  }

  bool isLegal() {
    const auto isIn = [this](Field which, int low, int high) {
      return field(which) >= low && field(which) <= high;
    };
    return isIn(kYearField, 1980, 2100) && isIn(kMonthField, 1, 12) &&
           isIn(kDayField, 1, daysIn(field(kMonthField), field(kYearField))) &&
           isIn(kHour, 0, 23) && isIn(kMinute, 0, 59) && isIn(kSecond, 0, 59);
  }

  PackedTime packed() {
    const auto shifted = [this](Field which, int shift) {
      return static_cast<PackedTime>(field(which)) << shift;
    };
    return (static_cast<PackedTime>(field(kYearField) - 1980) << 25) | shifted(kMonthField, 21) |
           shifted(kDayField, 16) | shifted(kHour, 11) | shifted(kMinute, 5) |
           static_cast<PackedTime>(field(kSecond) / 2);
  }

  Scanner scanner_;
  Fields fields_;
  const Fields today_;
  const Fields filling_;
  int dateCount_ = 0;
  int timeCount_ = 0;
  int half_ = kMissing;  // 0 is AM, 1 is PM.
};

}  // namespace

DateRules DateRules::current() {
  return {configuration().dateWords(), configuration().dateFormat(), presentTime()};
}

std::optional<PackedTime> parseDate(const DateRules& rules, std::string_view text, Fill fill) {
  return DateReader(rules, text, fill).read();
}

std::optional<TimeRange> parseDateRange(const DateRules& rules, std::string_view text) {
  if (text.find_first_not_of(kWordEnds) == std::string_view::npos) {
    return TimeRange{rules.now, rules.now};
  }
  const size_t star = text.find('*');
  const std::string_view last = star == std::string_view::npos ? text : text.substr(star + 1);
  const auto from = parseDate(rules, text.substr(0, star), Fill::kEarliest);
  const auto to = parseDate(rules, last, Fill::kLatest);
  if (!from || !to) return {};
  return TimeRange{*from, *to};
}

std::string isoTime(PackedTime time) {
  const Fields fields = unpacked(time);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", fields[kYearField],
                fields[kMonthField], fields[kDayField], fields[kHour], fields[kMinute],
                fields[kSecond]);
  return text;
}

}  // namespace btkf
