// cli/commands/message.h: the text that a command gives to revisions and files.
#pragma once

#include <string>

namespace cli {

class Session;

// What a file holds, "-" being the standard input. Throws Problem.
std::string textOf(const Session& session, const std::string& file);

// What -m says, else what the file of -F holds, "-" being the standard input; without line ends at
// its end. Throws Problem for a file that can't be read.
std::string messageFrom(const Session& session, const std::string& text, const std::string& file);

// What the user writes in the editor that VISUAL or EDITOR names, else vi, above `about`, which he
// sees as comments. It begins with what he wrote last and forgetMessage() has not taken since, so a
// message outlives a command that fails. Throws Problem if the editor does, and for no message.
std::string messageFromEditor(Session& session, const std::string& about);
void forgetMessage(Session& session);

}  // namespace cli
