// cli/moving/rcsfile.cpp: words of an RCS file to revisions.
#include "cli/moving/rcsfile.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "cli/problem.h"

namespace cli {
namespace {

constexpr size_t kMostComponents = 64;

size_t dotsIn(std::string_view number) {
  return static_cast<size_t>(std::count(number.begin(), number.end(), '.'));
}

// Digits with single dots between.
bool isNumber(std::string_view text) {
  bool wantsDigit = true;
  for (const char c : text) {
    const bool isDigit = c >= '0' && c <= '9';
    if (!isDigit && (c != '.' || wantsDigit)) return false;
    wantsDigit = !isDigit;
  }
  return !wantsDigit && dotsIn(text) < kMostComponents;
}

bool isRevision(std::string_view text) { return isNumber(text) && dotsIn(text) % 2 == 1; }

}  // namespace

std::string_view withoutLast(std::string_view number) {
  const size_t dot = number.rfind('.');
  return dot == std::string_view::npos ? "" : number.substr(0, dot);
}
std::string_view lastOf(std::string_view number) { return number.substr(number.rfind('.') + 1); }

bool isLess(std::string_view left, std::string_view right) {
  const auto next = [](std::string_view* text) {
    const size_t end = std::min(text->find('.'), text->size());
    std::string_view digits = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return std::pair(digits.size(), digits);
  };
  while (!left.empty() && !right.empty()) {
    const auto first = next(&left);
    const auto second = next(&right);
    if (first != second) return first < second;
  }
  return left.empty() && !right.empty();
}

// Words one after the other. Strings lose their doubled "@" where they stand.
class RcsFile::Reader {
 public:
  explicit Reader(RcsFile* file) : file_(*file), bytes_(file->bytes_) {}

  void readAll() {
    readHead();
    while (peek() != "desc") readRevision();
    take("desc");
    file_.description_ = string();
    for (skipSpace(); place_ < bytes_.size(); skipSpace()) readText();
  }

  [[noreturn]] void fail() const {
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(std::min(place_, bytes_.size()));
    const auto lines = std::count(bytes_.begin(), end, '\n');
    throw Problem{file_.name_, fmt::format("not an RCS file (line {})", lines + 1), ""};
  }

 private:
  static bool isSpace(char c) { return c == ' ' || (c >= '\b' && c <= '\r'); }
  void skipSpace() {
    while (place_ < bytes_.size() && isSpace(bytes_[place_])) ++place_;
  }

  std::string_view peek() {
    skipSpace();
    const std::string_view rest = std::string_view(bytes_).substr(place_);
    if (rest.empty()) fail();
    if (rest.front() == ';' || rest.front() == ':' || rest.front() == '@') return rest.substr(0, 1);
    size_t size = 0;
    while (size < rest.size() && !isSpace(rest[size]) && rest[size] != ';' && rest[size] != ':' &&
           rest[size] != '@') {
      ++size;
    }
    return rest.substr(0, size);
  }

  std::string_view word() {
    const std::string_view found = peek();
    if (found == "@") fail();
    place_ += found.size();
    return found;
  }
  void take(std::string_view wanted) {
    if (peek() != wanted) fail();
    place_ += wanted.size();
  }
  std::string name() {
    const std::string_view found = word();
    if (found == ";" || found == ":") fail();
    return std::string(found);
  }
  std::string revision() {
    std::string number = name();
    if (!isRevision(number)) fail();
    return number;
  }
  std::string revisionOrNone() { return peek() == ";" ? "" : revision(); }

  std::string_view string() {
    take("@");
    const size_t begin = place_;
    size_t to = begin;
    for (;;) {
      const size_t at = bytes_.find('@', place_);
      if (at == std::string::npos) {
        place_ = bytes_.size();
        fail();
      }
      const bool isDoubled = at + 1 < bytes_.size() && bytes_[at + 1] == '@';
      const size_t size = at - place_ + (isDoubled ? 1 : 0);
      if (to != place_) std::copy_n(&bytes_[place_], size, &bytes_[to]);
      to += size;
      place_ = at + (isDoubled ? 2 : 1);
      if (isDoubled) continue;
      // The place that was won would count twice when lines are counted.
      std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(to),
                bytes_.begin() + static_cast<std::ptrdiff_t>(at), '\0');
      return std::string_view(bytes_).substr(begin, to - begin);
    }
  }

  // A phrase of a kind that came later, up to its ";".
  void skipPhrase() {
    while (peek() != ";") peek() == "@" ? static_cast<void>(string()) : static_cast<void>(word());
    take(";");
  }

  void readHead() {
    take("head");
    file_.head_ = revisionOrNone();
    take(";");
    for (std::string_view key = peek(); key != "desc" && !isNumber(key); key = peek()) {
      const std::string phrase = name();
      if (phrase == "access") {
        while (peek() != ";") file_.access_.push_back(name());
      } else if (phrase == "symbols") {
        while (peek() != ";") {
          std::string symbol = name();
          take(":");
          const std::string number = name();
          if (!isNumber(number)) fail();
          file_.symbols_.emplace_back(std::move(symbol), number);
        }
      } else if (phrase == "expand" && peek() == "@") {
        file_.keywordMode_ = string();
      }
      skipPhrase();
    }
  }

  void readRevision() {
    RcsRevision read;
    read.number = revision();
    take("date");
    read.date = name();
    take(";");
    take("author");
    read.author = name();
    take(";");
    take("state");
    if (peek() != ";") read.state = name();
    take(";");
    take("branches");
    while (peek() != ";") read.branches.push_back(revision());
    take(";");
    take("next");
    read.next = revisionOrNone();
    take(";");
    while (peek() != "desc" && !isNumber(peek())) skipPhrase();
    std::sort(read.branches.begin(), read.branches.end(), isLess);
    const std::string number = read.number;
    if (!file_.revisions_.emplace(number, std::move(read)).second) fail();
  }

  void readText() {
    const auto found = file_.revisions_.find(revision());
    if (found == file_.revisions_.end() || found->second.hasText) fail();
    take("log");
    found->second.message = string();
    while (peek() != "text") skipPhrase();
    take("text");
    found->second.text = string();
    found->second.hasText = true;
    for (skipSpace(); place_ < bytes_.size() && !isNumber(peek()); skipSpace()) skipPhrase();
  }

  RcsFile& file_;
  std::string& bytes_;
  size_t place_ = 0;
};

RcsFile::RcsFile(std::string bytes, std::string name)
    : bytes_(std::move(bytes)), name_(std::move(name)) {
  Reader(this).readAll();
  checkTree();
}

bool RcsFile::holdsAny(const std::vector<std::string>& words) const {
  return std::any_of(words.begin(), words.end(), [&](const std::string& each) {
    return bytes_.find(each) != std::string::npos;
  });
}

// Every revision is reached once, from a number that it can follow.
void RcsFile::checkTree() const {
  std::set<std::string> seen;
  std::vector<std::string> open;
  const auto fail = [&](const std::string& number) {
    throw Problem{name_, fmt::format("damaged: {} has no place or no text", number),
                  "see what 'rlog' says of it"};
  };
  const auto reach = [&](const std::string& number, bool isGood) {
    const auto found = revisions_.find(number);
    if (!isGood || found == revisions_.end() || !found->second.hasText ||
        !seen.insert(number).second) {
      fail(number);
    }
    open.push_back(number);
  };
  if (!head_.empty()) reach(head_, dotsIn(head_) == 1);
  while (!open.empty()) {
    const RcsRevision& revision = at(open.back());
    open.pop_back();
    const bool isTrunk = dotsIn(revision.number) == 1;
    if (!revision.next.empty()) {
      const bool isOnBranch = withoutLast(revision.next) == withoutLast(revision.number);
      reach(revision.next,
            isTrunk ? dotsIn(revision.next) == 1 && isLess(revision.next, revision.number)
                    : isOnBranch && isLess(revision.number, revision.next));
    }
    for (const std::string& each : revision.branches) {
      reach(each, withoutLast(withoutLast(each)) == revision.number);
    }
  }
  for (const auto& [number, revision] : revisions_) {
    if (!seen.contains(number)) fail(number);
  }
}

}  // namespace cli
