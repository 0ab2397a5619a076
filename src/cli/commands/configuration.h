// cli/commands/configuration.h: what a project's configuration settles, which line says so, and how
// a line is changed.
#pragma once

#include <string>
#include <vector>

namespace cli {

struct Setting {
  std::string name;
  std::string value;
  std::string file;  // The operating system's path. Empty: the default, which no file says.
  int line = 0;

  // "Pump.cfg:2", or "default".
  std::string place() const;
};

// All that the configuration in use settles. Throws Problem.
std::vector<Setting> presentSettings();

// `text`, the content of a configuration file, with a line for `name` and `value`: in place of the
// last one that says the same thing, outside of conditionals, else at the end. Of PROMOTE,
// ARCHIVESUFFIX and EVENTTRIGGER lines with the same left side say the same thing. `line` receives
// the line's number.
std::string withSetting(const std::string& text, const std::string& name, const std::string& value,
                        int* line);

// Has the file at `path` say so, in one change. The engine reads what comes out first, in addition
// to what holds: a problem with one of the new lines keeps the file as it is. Throws Problem.
class SettingChange {
 public:
  SettingChange(std::string path, std::string name, std::vector<std::string> values)
      : path_(std::move(path)), name_(std::move(name)), values_(std::move(values)) {}
  void run(bool isDry);

 private:
  void tryOut(const std::string& text, const std::vector<int>& lines) const;

  std::string path_;
  std::string name_;
  std::vector<std::string> values_;
};

}  // namespace cli
