// cli/database/messages.cpp: the library's texts, kept till somebody wants to know why.
#include "cli/database/messages.h"

#include <fmt/format.h>

#include <algorithm>

namespace cli {

Messages& Messages::instance() {
  static auto* messages = new Messages;
  return *messages;
}

void Messages::notice(foldapi::TVHandle&, const foldapi::VString& message) {
  texts_.push_back(message.str());
}
void Messages::error(foldapi::TVHandle&, const foldapi::VString& message) {
  texts_.push_back(message.str());
}

std::string Messages::take() {
  std::string text;
  for (std::string& each : texts_) {
    std::replace(each.begin(), each.end(), '\n', ' ');
    text += (text.empty() ? "" : "; ") + each;
  }
  texts_.clear();
  return text;
}

std::string withMessages(std::string why) {
  const std::string said = Messages::instance().take();
  return said.empty() ? why : fmt::format("{} ({})", why, said);
}

}  // namespace cli
