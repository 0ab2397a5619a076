// os/terminal.h: who is at the other end of the process's three streams.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace os {

enum class Stream { kInput, kOutput, kErrors };

bool isTerminal(Stream stream);
// In columns; 80 where nobody can tell.
int terminalWidth();
// In lines; 24 where nobody can tell.
int terminalHeight();
// From now on what is written to the standard output goes to this command of the shell, which shows
// it page by page. False if it can't be started. A user who closes it early has seen enough.
bool startPager(const std::string& command);
// Waits until the user closes it; the standard output is as before then. False if there is no such
// command, so that nobody has seen anything.
bool endPager();
// Writes all of `text`. False if the other end takes no more.
bool writeTo(Stream stream, std::string_view text);
// All that the standard input has. Nothing if it can't be read.
std::optional<std::string> readInput();
// One line, without its end, from the terminal that the process was started at, whatever its
// standard input is. Nothing without one.
std::optional<std::string> readFromTerminal(std::string_view question);
// From now on only writeTo(Stream::kOutput) reaches the standard output: what libraries and other
// programs print there goes to the standard error.
void keepOutputForResults();

}  // namespace os
