// cli/database/messages.h: what the library has to say while the program uses it.
#pragma once

#include <string>
#include <vector>

#include "core/sink.h"

namespace cli {

// Keeps messages till somebody asks why nothing happened; says yes where the library asks.
class Messages : public foldapi::TVErrorSink {
 public:
  static Messages& instance();

  void notice(foldapi::TVHandle& context, const foldapi::VString& message) override;
  void error(foldapi::TVHandle& context, const foldapi::VString& message) override;

  void forget() { texts_.clear(); }
  bool areNone() const { return texts_.empty(); }
  // The messages since the last time, in one line.
  std::string take();

 private:
  std::vector<std::string> texts_;
};

// `why`, and after it what the library said, in parentheses.
std::string withMessages(std::string why);

}  // namespace cli
