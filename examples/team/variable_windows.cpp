// team/variable_windows.cpp: the environment of Windows.
#include <stdlib.h>

#include "teamwork.h"

void team::setVariable(const char* name, const std::string& value) {
  ::_putenv_s(name, value.c_str());
}
