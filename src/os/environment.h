// os/environment.h: who runs the process, and what the process was told about it.
//
// A set-user-id or set-group-id program, and one with capabilities from its file, has rights that
// the user who started it has not. All that this user says is data there: the environment, and the
// files of the effective user too if that is the same user.
#pragma once

#include <optional>
#include <string>

namespace os {

// Whether the process has rights that whoever started it has not.
bool hasRaisedRights();

// Whether what belongs to the effective user may tell the process what to do.
bool heedsUser();

// Nothing for a variable that isn't set, and for any in a process with raised rights.
std::optional<std::string> environmentVariable(const char* name);

// The account name of the effective user, or the number as text if the account has no name.
std::string accountName();

// The effective user's home: "" without one, and for a user who isn't heeded.
std::string homeDirectory();

// Whether what the user's programs read in his home of their own accord is below names that begin
// with a dot.
bool hidesSettingsByDots();

// Where the effective user's programs keep their own files, by the XDG rules: "" without a home,
// and for a user who isn't heeded. With raised rights the home is the account's.
std::string configurationDirectory();
std::string dataDirectory();

}  // namespace os
