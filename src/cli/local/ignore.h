// cli/local/ignore.h: which files of a work directory nobody wants under control.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

constexpr std::string_view kIgnoreFile = ".trevaultignore";

// The rules of the ".trevaultignore" files on the way to a path. A line is a pattern: without a "/"
// in it for names at any depth, with one for paths from the file's directory; "/" at its end for
// directories only; "!" before it takes back what a line above it said; "#" begins a comment. The
// last line that fits counts, and those of deeper directories after those above.
class IgnoreRules {
 public:
  // Adds the rules of the file in `directory`, a path from the top; none if there is no file.
  void read(const std::string& top, const std::string& directory);
  // Forgets those of `directory` and of all below it.
  void leave(const std::string& directory);
  bool areNone() const { return rules_.empty(); }
  bool ignores(std::string_view path, bool isDirectory) const;

 private:
  struct Rule {
    std::string directory;
    std::string pattern;
    bool isForPaths = false;
    bool isForDirectories = false;
    bool takesBack = false;
  };
  static bool fits(const Rule& rule, std::string_view path);

  std::vector<Rule> rules_;
};

}  // namespace cli
