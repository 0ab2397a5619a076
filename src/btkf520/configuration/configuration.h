// btkf520/configuration/configuration.h: what a set of configuration files settles.
//
// How those files are read, line by line and file by file, is in configurationreader.h; here is
// what each directive means. docs/configuration.md describes the whole language.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/configuration/origin.h"
#include "btkf520/configuration/promotion.h"
#include "dates/language.h"

namespace btkf {

// What a configuration has the process do outside of archives: run a command, write a file.
struct Demand {
  std::string text;  // A command or a path text. Empty for none.
  Origin origin;
};

// A directive as a file would have it, with the value that holds.
struct Setting {
  std::string name;
  std::string value;
  Origin origin;  // Without a file it is a default.
};

// A value, copied freely. A new one holds the defaults. Its size is bounded, whatever set() is
// given.
class Configuration {
 public:
  // Archive directories as written: separated by ";", path text, maybe with empty places.
  const std::string& archiveDirectoryText() const { return archiveDirectories_; }
  // The same cut up, without the empty places.
  std::vector<std::string> archiveDirectories() const;
  // What is put after a workfile's name to make its archive's name. `extension` is with or without
  // its dot, and is matched case-blind.
  std::string archiveSuffix(std::string_view extension) const;

  const PromotionModel& promotion() const { return promotion_; }
  // Fourteen words with a blank between two.
  const std::string& dateWords() const { return dateWords_; }
  const std::string& dateFormat() const { return dateFormat_; }

  // Whether a new archive allows one lock at a time only.
  bool exclusiveLock() const { return exclusiveLock_; }
  // Whether several users may lock one revision.
  bool multipleLocks() const { return multipleLocks_; }
  // Whether keywords are expanded when revisions of a new archive are checked out.
  bool expandKeywords() const { return expandKeywords_; }
  // Whether a lock that will lead to a branch is refused.
  bool branchWarning() const { return branchWarning_; }
  // Path text of the journal file.
  const Demand& journal() const { return journal_; }
  // The environment variable that holds the user id. Empty: the account name is the user id.
  const std::string& userVariable() const { return userVariable_; }
  // Users and groups who may work with a new archive. Empty: everybody.
  const std::vector<std::string>& accessList() const { return accessList_; }
  // The command for an event such as "PRECHECKIN" (upper case).
  Demand eventTrigger(std::string_view event) const;
  bool stopsOnError() const { return stopsOnError_; }

  // Takes in one directive. `name` is in upper case, `value` is trimmed; an empty value sets
  // the default, or turns a switch on. False, and nothing changes, for a name that isn't a
  // setting or a value that this setting can't have.
  [[nodiscard]] bool set(const std::string& name, std::string_view value,
                         const Origin& origin = {});
  static bool isSetting(const std::string& name);
  // All that holds. Each directive is there once or, if it settles several things, once for each.
  std::vector<Setting> settings() const;

  // Directives that files after the master file may not use, by names in upper case.
  void disallow(const std::string& name, const Origin& origin) { disallowed_[name] = origin; }
  bool isDisallowed(const std::string& name) const { return disallowed_.contains(name); }

  // Goes back to an earlier promotion model.
  void restorePromotion(const PromotionModel& model) { promotion_ = model; }

  static constexpr size_t kMostSuffixes = 1000;
  static constexpr std::string_view kDefaultSuffix = "_v";

 private:
  using Setter = bool (Configuration::*)(std::string_view value);
  static const std::map<std::string, Setter>& setters();
  Origin originOf(const std::string& name) const;

  bool setArchiveDirectories(std::string_view value);
  bool setArchiveSuffix(std::string_view value);
  bool setPromotion(std::string_view value);
  bool setDateWords(std::string_view value);
  bool setDateFormat(std::string_view value);
  bool setExclusiveLock(std::string_view value);
  bool setMultipleLocks(std::string_view value);
  bool setExpandKeywords(std::string_view value);
  bool setBranchWarning(std::string_view value);
  bool setJournal(std::string_view value);
  bool setUserSource(std::string_view value);
  bool setAccessList(std::string_view value);
  bool setEventTrigger(std::string_view value);
  bool setErrorRule(std::string_view value);

  std::string archiveDirectories_;
  struct Suffix {
    std::string text;
    Origin origin;
  };
  std::map<std::string, Suffix> archiveSuffixes_;  // Extension in upper case, no dot; or "*".
  PromotionModel promotion_;
  std::string dateWords_{dates::kDefaultWords};
  std::string dateFormat_{dates::kDefaultFormat};
  bool exclusiveLock_ = false;
  bool multipleLocks_ = false;
  bool expandKeywords_ = false;
  bool branchWarning_ = false;
  Demand journal_;
  std::string userVariable_;
  std::vector<std::string> accessList_;
  std::map<std::string, Demand> eventTriggers_;
  bool stopsOnError_ = false;
  std::map<std::string, Origin> disallowed_;
  std::map<std::string, Origin> origins_;  // Of the last directive of each name.
  Origin origin_;                          // Of the directive that is being set.
};

}  // namespace btkf
