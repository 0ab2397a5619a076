// btkf520/configuration/configurationreader.h: reads configuration files into a Configuration.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/conditionals.h"
#include "btkf520/configuration/configuration.h"
#include "os/file.h"

namespace btkf {

// One directive that could not be taken in. Good during the report only.
struct BadDirective {
  TrvsStatus code;
  std::string line;  // Its beginning, up to kReportedLine bytes. Empty if no line is to blame, or
                     // if the file's owner is another one than the first file's.
  std::string file;  // Path text.
  int number;        // Counted from 1. 0 if no line is to blame.
};

struct FileText {
  std::string text;
  os::FileIdentity identity;
  uint32_t owner = 0;
  bool isTrusted = false;  // Root and the present user alone can change it.
};

// What the reader needs from outside: files, variables and someone to complain to.
class ConfigurationHost {
 public:
  virtual ~ConfigurationHost() = default;
  // Fills *file from `path`, a path text, if that has up to `largest` bytes.
  virtual os::FileResult readFile(const std::string& path, size_t largest, FileText* file) = 0;
  virtual std::optional<std::string> variable(const std::string& name) = 0;
  // False ends the reading.
  [[nodiscard]] virtual bool report(const BadDirective& directive) = 0;
};

// Reads one file, and those that it includes, into a configuration, and is then thrown away.
class ConfigurationReader {
 public:
  // Both pointers must outlive the reader.
  ConfigurationReader(ConfigurationHost* host, TrvsReadMode mode, Configuration* configuration);

  // Gives TRVS_DONE whatever the lines were like, TRVS_CANNOT_READ_CONFIGURATION, also if an
  // included file can't be read for a reason that may pass, or TRVS_CANCELLED when a report was
  // answered with false. What was read up to then has been set.
  [[nodiscard]] TrvsStatus read(const std::string& path);
  // Whether a directive was good, DISALLOW and INCLUDE too.
  bool hasTakenAny() const { return hasTakenAny_; }

  // Bounds on what any set of files can cost: beyond them, files are not included and lines are
  // bad.
  static constexpr size_t kDeepestNesting = 20;
  static constexpr size_t kMostFiles = 256;
  static constexpr size_t kLargestFile = 1 << 20;
  static constexpr size_t kMostBytes = 4 << 20;
  static constexpr size_t kLongestLine = 8191;
  static constexpr size_t kReportedLine = 1023;

 private:
  enum class State { kReading, kStopped, kCancelled, kUnreadable };
  // A file between its first and its last line.
  struct OpenFile {
    std::shared_ptr<const std::string> path;
    os::FileIdentity identity;
    uint32_t owner;
    bool isTrusted;  // So is each file that includes it, and the first is a master file.
    Conditionals conditionals;
    std::string_view line;  // The present one, without its end.
    int number = 0;
  };

  void readText(const std::string& path, const FileText& file);
  [[nodiscard]] TrvsStatus takeLine();
  [[nodiscard]] TrvsStatus takeConditional(const std::string& name, std::string_view value);
  [[nodiscard]] TrvsStatus takeDirective(const std::string& name, std::string_view value);
  [[nodiscard]] TrvsStatus include(std::string_view value);
  [[nodiscard]] TrvsStatus disallow(std::string_view value);
  Origin origin() const;  // Of the present line.
  std::optional<bool> evaluate(std::string_view condition) const;
  void checkPromotion(const std::string& path, const PromotionModel& before);
  void report(TrvsStatus code, std::string_view line, const std::string& path, int number);

  ConfigurationHost* host_;
  TrvsReadMode mode_;
  Configuration* configuration_;
  std::vector<OpenFile> open_;  // The innermost last.
  size_t files_ = 0;
  size_t bytes_ = 0;
  State state_ = State::kReading;
  bool hasTakenAny_ = false;
};

// Whether `text` can be meant as a configuration file: one of its directives is good, or none is
// bad. No file is included.
bool readsAsConfiguration(std::string_view text);

}  // namespace btkf
