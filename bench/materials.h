// bench/materials.h: files as teams keep them, revision by revision, made from a seed.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Gives one revision after the other, the first with the first call.
class Material {
 public:
  virtual ~Material() = default;
  virtual std::string next() = 0;

 protected:
  explicit Material(unsigned seed) : random_(seed) {}
  size_t below(size_t limit) { return random_() % limit; }
  char byte() { return static_cast<char>(random_()); }

 private:
  std::mt19937 random_;
};

// 2,500 lines of 40 bytes on average, made of the words of a program. From one revision to the next
// 1% of the lines change, in places of a few lines: three of five lines are replaced, one comes and
// one goes.
class SourceText : public Material {
 public:
  explicit SourceText(unsigned seed) : Material(seed) {
    for (int i = 0; i < 800; ++i) words_.push_back(word());
    for (int i = 0; i < kLines; ++i) lines_.push_back(line());
  }

  std::string next() override {
    if (std::exchange(isFirst_, false)) return joined();
    for (int place = 0; place < kLines / 500; ++place) {
      const auto at = lines_.begin() + static_cast<std::ptrdiff_t>(below(lines_.size() - 10));
      for (auto each = at; each != at + 3; ++each) *each = line();
      lines_.insert(at + 1, line());
      lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(below(lines_.size())));
    }
    return joined();
  }

 private:
  static constexpr int kLines = 2500;

  std::string word() {
    std::string result;
    for (size_t left = 2 + below(9); left > 0; --left) result += static_cast<char>('a' + below(26));
    return result;
  }
  // Some words are used far more often than others.
  const std::string& anyWord() {
    return words_[std::min(below(words_.size()), below(words_.size()))];
  }
  std::string line() {
    static constexpr const char* kBetween[] = {" ", " ", ".", "(", ", ", " = ", "->", ");", " + "};
    std::string result(2 * below(6), ' ');
    const size_t size = result.size() + 10 + below(46);
    while (result.size() < size) result += anyWord() + kBetween[below(std::size(kBetween))];
    return result + "\n";
  }
  std::string joined() const {
    std::string result;
    for (const std::string& each : lines_) result += each;
    return result;
  }

  std::vector<std::string> words_;
  std::vector<std::string> lines_;
  bool isFirst_ = true;
};

// 10 MB, half of which is records of a table and half noise, in turns of 64 KiB. From one revision
// to the next 1% changes: a hundred places of about 1,000 bytes.
class HalfNoise : public Material {
 public:
  explicit HalfNoise(unsigned seed) : Material(seed), bytes_(kSize, '\0') { fill(0, kSize); }

  std::string next() override {
    if (std::exchange(isFirst_, false)) return bytes_;
    for (size_t left = kSize / 100; left > 0;) {
      const size_t size = std::min(left, 500 + below(1000));
      fill(below(kSize - size), size);
      left -= size;
    }
    return bytes_;
  }

 private:
  static constexpr size_t kSize = 10'000'000;
  static constexpr size_t kTurn = 64 << 10;
  static constexpr size_t kRecord = 32;

  void fill(size_t at, size_t size) {
    for (const size_t end = at + size; at < end; ++at) {
      const bool isNoise = at / kTurn % 2 == 1;
      // Of a record two bytes are anything, four are one of a few, and the others are always there.
      const size_t place = at % kRecord;
      const bool isFree = isNoise || place < 2;
      bytes_[at] = isFree ? byte() : static_cast<char>(place < 6 ? below(4) : place);
    }
  }

  std::string bytes_;
  bool isFirst_ = true;
};

}  // namespace bench
