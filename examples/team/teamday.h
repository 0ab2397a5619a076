// team/teamday.h: one day of a small team at a new project, through the C interfaces.
#pragma once

#include <string>

#include "teamwork.h"

namespace team {

// Adds the project "Pump Station" to the database in `place`, whose profile KSTR_INI names, and
// works in it. `me` is one of the three members. Gives what was done, one line a step. Whatever
// fails throws.
std::string spendDay(const Place& place, const std::string& me);

}  // namespace team
