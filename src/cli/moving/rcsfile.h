// cli/moving/rcsfile.h: an RCS file: the revisions of one file, as rcsfile(5) describes them.
//
// The newest revision of the trunk is whole. Each one before it is told as the change that leads
// back to it, and each one on a branch as the change from the one before.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

struct RcsRevision {
  std::string number;
  std::string date;  // "2026.11.23.10.31.06" UTC; of a year before 2000 maybe the last two digits.
  std::string author;
  std::string state;
  std::vector<std::string> branches;  // The first revisions of the branches that start here.
  std::string next;                   // The one before, on the trunk; the one after, on a branch.
  std::string_view message;
  std::string_view text;  // The content or a change.
  bool hasText = false;
};

class RcsFile {
 public:
  // Takes the file's bytes: views lead into them. Throws Problem about `name` for anything but an
  // RCS file whose revisions all can be reached.
  RcsFile(std::string bytes, std::string name);
  RcsFile(const RcsFile&) = delete;
  RcsFile& operator=(const RcsFile&) = delete;

  const std::string& name() const { return name_; }
  const std::string& head() const { return head_; }
  const std::map<std::string, RcsRevision>& revisions() const { return revisions_; }
  const RcsRevision& at(const std::string& number) const { return revisions_.at(number); }
  // Names and what they stand for: revisions, branches, or a branch that nobody has begun.
  const std::vector<std::pair<std::string, std::string>>& symbols() const { return symbols_; }
  const std::vector<std::string>& access() const { return access_; }
  std::string_view description() const { return description_; }
  // "kv" unless it says otherwise: see co(1).
  const std::string& keywordMode() const { return keywordMode_; }
  uint64_t size() const { return bytes_.size(); }
  // Whether one of `words` stands anywhere.
  bool holdsAny(const std::vector<std::string>& words) const;

 private:
  class Reader;

  void checkTree() const;

  std::string bytes_;
  std::string name_;
  std::string head_;
  std::map<std::string, RcsRevision> revisions_;
  std::vector<std::pair<std::string, std::string>> symbols_;
  std::vector<std::string> access_;
  std::string_view description_;
  std::string keywordMode_ = "kv";
};

// "1.2" for "1.2.4", "" for "1": without the last number; and that number.
std::string_view withoutLast(std::string_view number);
std::string_view lastOf(std::string_view number);
// As numbers, one by one.
bool isLess(std::string_view left, std::string_view right);

}  // namespace cli
