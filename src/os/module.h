// os/module.h: libraries that are loaded when they are wanted.
#pragma once

#include <string>

namespace os {

// Where the program that runs is. "" if the system can't tell.
std::string programDirectory();

// A function of the library at that path, which stays loaded. Null if there is no such library, if
// what it needs is not there, or if it has no such function: *why is what the system says of that.
using Function = void (*)();
Function loadFunction(const std::string& path, const char* name, std::string* why);

}  // namespace os
