// cli/archives/history.h: what an archive tells about its revisions.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cli/problem.h"

namespace cli {

// "2026-11-23T10:31:06" for "2026-11-23 10:31:06".
std::string isoTime(std::string time);

struct RevisionInfo {
  std::string number;
  std::string branch;  // "1" for the trunk, else the number of the branch.
  std::string time;    // "2026-11-23 10:31:06", local to who made it.
  std::string author;
  std::string message;
  std::vector<std::string> labels;
  std::vector<std::string> groups;
  std::vector<std::string> lockers;

  std::string minute() const { return time.substr(0, 16); }
  std::string firstLine() const { return message.substr(0, message.find_first_of("\r\n")); }
  bool isLockedBy(std::string_view user) const;
  bool operator==(const RevisionInfo&) const = default;
};

struct LockInfo {
  std::string number;
  std::string user;
  std::string time;  // As that of a revision.
  std::string note;

  std::string minute() const { return time.substr(0, 16); }
  bool operator==(const LockInfo&) const = default;
};

// "bob", or with the note of the lock "bob (dry run of the pump)".
std::string noted(const std::string& text, const LockInfo& lock);

// These throw Problem; `file` is what they are about.
// All locks, whoever has them.
std::vector<LockInfo> locksOf(const std::string& archive, const std::string& file);
// The labels that keep to the tip of a branch, and its number.
std::map<std::string, std::string> floatingLabels(const std::string& archive,
                                                  const std::string& file);
// What the revisions hold, by their numbers.
struct StoredContent {
  int64_t size = 0;      // In bytes.
  std::string checksum;  // XXH64, 16 hexadecimal digits.
};
std::map<std::string, StoredContent> contentsOf(const std::string& archive,
                                                const std::string& file);
// What is said of the file; or, with a number, the message of that revision.
std::string descriptionOf(const std::string& archive, const std::string& number,
                          const std::string& file);

// The branch of a revision's number, and the revision where a branch starts.
std::string branchOf(std::string_view number);
std::string startOf(std::string_view branch);

// Where no file has `label`, and all have the labels and groups `known`.
Problem unknownLabel(const std::string& label, const std::vector<std::string>& known);

class History {
 public:
  // Throws Problem; `file` is what it is about.
  History(const std::string& archive, const std::string& file);
  History() = default;
  bool operator==(const History&) const = default;

  // The trunk's from the oldest on; each branch after the revision where it starts.
  const std::vector<RevisionInfo>& revisions() const { return revisions_; }
  const std::vector<LockInfo>& locks() const { return locks_; }
  // The lock of a revision that another user has; null for none.
  const LockInfo* lockOfOther(std::string_view number, std::string_view user) const;
  // Null for none, all of them.
  const RevisionInfo* find(std::string_view number) const;
  const RevisionInfo* tipOf(std::string_view branch) const;
  const RevisionInfo* withLabel(std::string_view label) const;
  const RevisionInfo* inGroup(std::string_view group) const;
  const RevisionInfo* newestUpTo(std::string_view time, std::string_view branch) const;
  // The one that a revision was made from.
  const RevisionInfo* parentOf(const RevisionInfo& revision) const;
  const RevisionInfo* lockedBy(std::string_view user) const;
  // The labels and groups of all of them.
  std::vector<std::string> marks() const;
  // The number of the branch that would start there next.
  std::string nextBranch(const std::string& number) const;

 private:
  template <typename Fits>
  const RevisionInfo* last(const Fits& fits) const;

  std::vector<RevisionInfo> revisions_;
  std::vector<LockInfo> locks_;
};

}  // namespace cli
