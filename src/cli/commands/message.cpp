// cli/commands/message.cpp: messages from options, files and editors.
#include "cli/commands/message.h"

#include <fmt/format.h>

#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "os/environment.h"
#include "os/file.h"
#include "os/terminal.h"

namespace cli {
namespace {

constexpr uint64_t kLongest = 1 << 30;

std::string editor() {
  for (const char* name : {"VISUAL", "EDITOR"}) {
    const std::string command = os::environmentVariable(name).value_or("");
    if (!command.empty()) return command;
  }
  return os::usualEditor();
}

// The lines that are no comments, without empty ones at both ends.
std::string withoutComments(const std::string& text) {
  std::string message;
  for (std::string& line : split(text, '\n')) {
    if (line.ends_with('\r')) line.pop_back();
    const bool isComment = line.starts_with('#');
    const bool isLeading = message.empty() && line.empty();
    if (!isComment && !isLeading) message += line + '\n';
  }
  while (message.ends_with('\n') || message.ends_with(' ')) message.pop_back();
  return message;
}

std::string draftOf(Session& session) {
  return joined(joined(session.work().top, kMemory), "message");
}

std::string readDraft(const std::string& path) {
  std::string text;
  const bool isRead = os::readFile(path.c_str(), kLongest, &text) == os::FileResult::kDone;
  return isRead ? withoutComments(text) : "";
}

void writeDraft(const std::string& path, std::string_view message, const std::string& about) {
  std::string text = fmt::format(
      "{}\n\n# Lines that begin with # are left out; an empty message cancels.\n", message);
  for (const std::string& line : split(about, '\n'))
    text += (line.empty() ? "#" : "# ") + line + '\n';
  static_cast<void>(os::removeFile(path.c_str()));
  const auto isExpected = [](std::string_view) { return false; };
  if (os::appendToFile(path.c_str(), text, isExpected) == os::FileResult::kDone) return;
  throw Problem{path, "can't be written", "give the message with -m or -F"};
}

}  // namespace

std::string textOf(const Session& session, const std::string& file) {
  if (file == "-") return os::readInput().value_or("");
  std::string text;
  if (os::readFile(session.absolute(file).c_str(), kLongest, &text) == os::FileResult::kDone) {
    return text;
  }
  throw misuse(file, "can't be read");
}

std::string messageFrom(const Session& session, const std::string& text, const std::string& file) {
  if (file.empty()) return text;
  if (!text.empty()) throw misuse("-m", "and -F exclude each other");
  std::string message = textOf(session, file);
  while (message.ends_with('\n')) message.pop_back();
  return message;
}

std::string messageFromEditor(Session& session, const std::string& about) {
  const std::string path = draftOf(session);
  const std::string command = editor();
  writeDraft(path, readDraft(path), about);
  const std::optional<int> code = os::runOnTerminal(command, path);
  constexpr int kNotFound = 127;
  if (!code || *code == kNotFound) {
    throw Problem{command, "no such editor", "set VISUAL or EDITOR, or give the message with -m"};
  }
  if (*code != 0) {
    throw Problem{command, fmt::format("the editor gave {}, and nothing was done", *code),
                  "give the message with -m or -F"};
  }
  const std::string message = readDraft(path);
  if (message.empty()) {
    forgetMessage(session);
    throw Problem{"checkin", "no message, and nothing was checked in", "", Exit::kCancelled};
  }
  return message;
}

void forgetMessage(Session& session) {
  static_cast<void>(os::removeFile(draftOf(session).c_str()));
}

}  // namespace cli
