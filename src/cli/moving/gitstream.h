// cli/moving/gitstream.h: the input of 'git fast-import': contents, commits and names for them.
//
// It begins and ends with words by which git knows that it has all: of a stream that stops early no
// branch and no tag comes to be.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

class GitStream {
 public:
  using Write = std::function<void(std::string_view bytes)>;
  // By which the stream speaks of a content or a commit; 0 is none.
  using Mark = int;

  explicit GitStream(Write write);

  // `size` bytes follow by write().
  Mark content(uint64_t size);
  void write(std::string_view bytes);

  struct Change {
    std::string path;
    Mark content = 0;  // None: the file goes.
    bool isExecutable = false;
  };
  struct Commit {
    std::string reference;  // "refs/heads/main".
    std::string identity;   // "Ann Lee <ann@example.com>".
    int64_t moment = 0;     // In seconds since 1970.
    std::string message = {};
    Mark parent = 0;       // None: what the reference has, if anything.
    bool isWhole = false;  // It has the files of `changes`, and no others.
    std::vector<Change> changes = {};
  };
  Mark commit(const Commit& commit);
  void name(const std::string& reference, Mark commit);
  void finish();

 private:
  Write write_;
  std::string pending_;
  Mark last_ = 0;
};

// Names below one directory of references, each given once: git allows less in them than labels and
// files have, and no name that goes on where another one ends.
class GitNames {
 public:
  explicit GitNames(std::string directory) : directory_(std::move(directory)) {}
  // The whole reference.
  std::string take(const std::string& wanted);

 private:
  bool isFree(const std::string& name) const;

  std::string directory_;
  std::set<std::string> taken_;
};

// `text` without what can't stand in an identity.
std::string identityPart(std::string_view text);

}  // namespace cli
