// cli/commands/message.cpp: messages from options, files and editors.
#include "cli/commands/message.h"

#include "cli/problem.h"
#include "cli/session.h"
#include "os/file.h"
#include "os/terminal.h"

namespace cli {
namespace {

constexpr uint64_t kLongest = 1 << 20;

}  // namespace

std::string messageFrom(const Session& session, const std::string& text, const std::string& file) {
  if (file.empty()) return text;
  if (!text.empty()) throw misuse("-m", "and -F exclude each other");
  std::string message;
  if (file == "-") {
    message = os::readInput().value_or("");
  } else if (os::readFile(session.absolute(file).c_str(), kLongest, &message) !=
             os::FileResult::kDone) {
    throw misuse(file, "can't be read");
  }
  while (message.ends_with('\n')) message.pop_back();
  return message;
}

}  // namespace cli
