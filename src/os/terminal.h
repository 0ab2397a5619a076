// os/terminal.h: who is at the other end of the process's three streams.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace os {

enum class Stream { kInput, kOutput, kErrors };

bool isTerminal(Stream stream);
// Whether the one at the standard output obeys codes for colours.
bool takesColours();
// Whether it shows box characters and the like, in UTF-8.
bool showsUtf8();
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
enum class Written { kAll, kNobodyReads, kFailed };
Written writeTo(Stream stream, std::string_view text);
// Has the system's manual show a page. False if it has none, or not that one.
bool showManual(const std::string& page);
// All that the standard input has. Nothing if it can't be read.
std::optional<std::string> readInput();
// One line, without its end, from the terminal that the process was started at, whatever its
// standard input is. Nothing without one, and if the user wants to stop.
std::optional<std::string> readFromTerminal(std::string_view question);
// Has a command of the shell work on a file, with the terminal for itself. Gives its exit code,
// nothing if it could not be started; 127 means that there is no such command.
std::optional<int> runOnTerminal(const std::string& command, const std::string& file);
// The editor of those who have named none.
std::string usualEditor();
// What was typed after the program's name, as texts of the library. Takes main()'s own.
std::vector<std::string> commandLine(int count, char** words);
// From now on only writeTo(Stream::kOutput) reaches the standard output: what libraries and other
// programs print there goes to the standard error.
void keepOutputForResults();

}  // namespace os
