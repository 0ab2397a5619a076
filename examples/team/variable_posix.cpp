// team/variable_posix.cpp: the environment of POSIX systems.
#include <stdlib.h>

#include "teamwork.h"

void team::setVariable(const char* name, const std::string& value) {
  ::setenv(name, value.c_str(), 1);
}
