// btkf520/configuration/conditionals.h: which lines of one configuration file count.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace btkf {

// The conditional constructs that are open at one point of one file; none of them outlives it.
class Conditionals {
 public:
  // A construct's first line, for a report that it was never closed.
  struct Opening {
    int line = 0;
    std::string text;
  };

  bool isReading() const { return open_.empty() || open_.back().reading; }
  // Whether the condition of an IF, or of an ELSEIF, would make a difference here.
  bool asksForIf() const { return isReading(); }
  bool asksForElseif() const;

  // Each follows one line, and is false if that line is out of place. A condition that could not
  // be understood is passed as nullopt: then this branch and all further ones are skipped, since
  // nobody knows which of them was meant.
  void open(std::optional<bool> condition, Opening opening);
  [[nodiscard]] bool elseif(std::optional<bool> condition);
  [[nodiscard]] bool otherwise();
  [[nodiscard]] bool close();

  // The innermost construct that is still open.
  std::optional<Opening> unclosed() const;

 private:
  struct Construct {
    Opening opening;
    bool outerReading;
    bool reading;  // Whether lines of the present branch count.
    bool settled;  // No further branch will count.
    bool elseSeen = false;
  };

  std::vector<Construct> open_;
};

}  // namespace btkf
