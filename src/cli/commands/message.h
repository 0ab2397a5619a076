// cli/commands/message.h: the text that a command gives to revisions and files.
#pragma once

#include <string>

namespace cli {

class Session;

// What -m says, else what the file of -F holds, "-" being the standard input; without line ends at
// its end. Throws Problem for a file that can't be read.
std::string messageFrom(const Session& session, const std::string& text, const std::string& file);

}  // namespace cli
