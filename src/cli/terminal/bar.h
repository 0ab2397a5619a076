// cli/terminal/bar.h: a line on the terminal that tells how far a long piece of work has come.
#pragma once

#include <cstdint>
#include <string>

namespace cli {

// How far it is, as the line tells it.
struct Advance {
  std::string doing;  // "checking out"
  uint64_t done = 0;
  uint64_t total = 0;
  uint64_t bytes = 0;
  int64_t milliseconds = 0;  // Since it began.
};

// "checking out  4,211 of 10,000  42%  38.1 MB/s  0:07 left": the rate only where bytes are
// counted.
std::string textOf(const Advance& advance);

// Nothing is shown in the first second: most work is done by then. What else is written to the
// terminal is written while the line is hidden.
class Bar {
 public:
  // `isShown`: whether there is somebody to look at it.
  void begin(std::string doing, uint64_t total, bool isShown);
  void step();
  void count(uint64_t bytes) { now_.bytes += bytes; }
  void hide();
  void end();

  const Advance& now() const { return now_; }

 private:
  Advance now_;
  bool isShown_ = false;
  int64_t begun_ = 0;
  int64_t drawn_ = 0;   // When it was drawn last.
  size_t columns_ = 0;  // Of the line that stands on the terminal.
};

}  // namespace cli
