// btkf520/operations_model_test.cpp: random operations on one archive, beside a model that knows
// the rules and nothing of files.
//
// Users, revisions, labels and flags are chosen at random, wrong ones too. The model foretells each
// status; what fails must leave the file as it is, and what succeeds must be what a second reader
// finds in the file.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "btkf520/archives.h"
#include "btkf520/history.h"

namespace btkf520_test {
namespace {

using Key = std::vector<uint32_t>;

std::string textOf(const Key& key) {
  std::string text;
  for (const uint32_t component : key) {
    text += (text.empty() ? "" : ".") + std::to_string(component);
  }
  return text;
}

// Nothing for what is no number.
Key keyOf(const std::string& text) {
  const auto parsed = btkf::Number::parse(text);
  return parsed ? parsed->components() : Key();
}

Key parentOf(Key key) {
  key.pop_back();
  return key;
}
Key childOf(Key key, uint32_t last) {
  key.push_back(last);
  return key;
}
Key nextOf(Key key) {
  ++key.back();
  return key;
}
bool isRevision(const Key& key) { return !key.empty() && key.size() % 2 == 0; }
bool isBranch(const Key& key) { return key.size() % 2 == 1; }
Key branchOf(const Key& key) { return key.size() == 2 ? Key{1} : parentOf(key); }

struct Rules {
  struct Revision {
    std::string content;
    std::string change;
    std::vector<std::string> lockers;
    bool isLockedBy(const std::string& user) const {
      return std::find(lockers.begin(), lockers.end(), user) != lockers.end();
    }
  };

  std::map<Key, Revision> revisions;
  std::map<std::string, Key> labels;
  bool checksLocks = true;
  bool sharesLocks = false;

  const Key* tip(const Key& branch) const {
    const Key* found = nullptr;
    for (const auto& [key, revision] : revisions) {
      if (branchOf(key) == branch) found = &key;
    }
    return found;
  }

  int find(const std::string& text, Key* found) const {
    if (revisions.empty()) return 20;
    Key key = text.empty() ? Key{1} : keyOf(text);
    const bool isLabel = key.empty();
    if (isLabel) {
      if (!labels.contains(text)) return 11;
      key = labels.at(text);
    }
    if (isBranch(key)) {
      const Key* const newest = tip(key);
      if (newest == nullptr) return text.empty() ? 20 : 18;
      key = *newest;
    }
    if (!revisions.contains(key)) return 18;
    *found = key;
    return 0;
  }

  Key newBranchAt(const Key& revision) const {
    uint32_t last = 0;
    for (const auto& [key, unused] : revisions) {
      const Key branch = branchOf(key);
      if (branch.size() > 1 && parentOf(branch) == revision) last = std::max(last, branch.back());
    }
    return childOf(revision, last + 1);
  }

  int lock(const std::string& user, const std::string& text) {
    Key key;
    if (const int status = find(text, &key)) return status;
    Revision& revision = revisions[key];
    if (!checksLocks) return 29;
    if (revision.isLockedBy(user) || (!revision.lockers.empty() && !sharesLocks)) return 14;
    revision.lockers.push_back(user);
    return 0;
  }

  int unlock(const std::string& user, const std::string& text) {
    Key only;
    if (!text.empty()) {
      if (const int status = find(text, &only)) return status;
    }
    size_t count = 0;
    for (auto& [key, revision] : revisions) {
      if (text.empty() || key == only) count += std::erase(revision.lockers, user);
    }
    return count == 0 ? 30 : 0;
  }

  // Finds the parent, and the number if the text is that of a revision to come.
  int findParent(const std::string& user, const std::string& text, Key* parent, Key* made) const {
    if (text.empty()) {
      std::vector<Key> locked;
      for (const auto& [key, revision] : revisions) {
        if (revision.isLockedBy(user)) locked.push_back(key);
      }
      if (locked.size() > 1) return 19;
      if (locked.empty() && checksLocks) return 30;
      *parent = locked.empty() ? *tip({1}) : locked[0];
      return 0;
    }
    const int status = find(text, parent);
    const Key key = keyOf(text);
    if (status == 0 || !isRevision(key)) return status;
    *made = key;
    if (const Key* const newest = tip(branchOf(key))) {
      *parent = *newest;
      return *newest < key ? 0 : 19;
    }
    *parent = parentOf(parentOf(key));
    if (!revisions.contains(*parent)) return 18;
    return newBranchAt(*parent) == branchOf(key) ? 0 : 19;
  }

  int put(const std::string& user, const std::string& text, const std::string& label,
          uint32_t flags, const std::string& content, const std::string& change) {
    Key made;
    Key parent;
    if (revisions.empty()) {
      made = text.empty() ? Key{1, 0} : keyOf(text);
      if (made.size() != 2) return 19;
    } else {
      if (const int status = findParent(user, text, &parent, &made)) return status;
      const Revision& old = revisions[parent];
      if (!old.isLockedBy(user) && (!old.lockers.empty() || checksLocks)) {
        return old.lockers.empty() ? 30 : 14;
      }
      const bool wantsBranch = (flags & TRVS_PUT_BRANCH) != 0;
      const bool startsBranch = wantsBranch || *tip(branchOf(parent)) != parent;
      if (!made.empty() && wantsBranch && made.size() == parent.size()) return 19;
      if (made.empty()) made = startsBranch ? childOf(newBranchAt(parent), 0) : nextOf(parent);
      if (old.content == content) return 52;
    }
    const bool mayMove = (flags & TRVS_PUT_MOVE_LABEL) != 0;
    if (!label.empty() && labels.contains(label) && !mayMove) return 12;
    if (!label.empty()) labels[label] = made;
    if (!parent.empty()) std::erase(revisions[parent].lockers, user);
    const bool keepsLock = checksLocks && (flags & TRVS_PUT_KEEP_LOCK) != 0;
    revisions[made] = {content, change,
                       keepsLock ? std::vector<std::string>{user} : std::vector<std::string>()};
    return 0;
  }

  int setLabel(const std::string& name, const std::string& text, uint32_t flags) {
    Key key;
    if (const int status = find(text, &key)) return status;
    if ((flags & TRVS_LABEL_FLOATS) != 0) key = branchOf(key);
    const auto old = labels.find(name);
    if (old != labels.end() && old->second != key && (flags & TRVS_LABEL_MOVE) == 0) return 12;
    labels[name] = key;
    return 0;
  }

  int remove(const std::string& from, const std::string& to, bool isRange, bool withBranches) {
    std::map<Key, bool> chosen;
    const Key branch = isRange ? Key() : keyOf(from);
    Key first;
    Key last;
    if (!isBranch(branch)) {
      if (!from.empty()) {
        if (const int status = find(from, &first)) return status;
      }
      if (!isRange) last = first;
      if (isRange && !to.empty()) {
        if (const int status = find(to, &last)) return status;
      }
    }
    for (const auto& [key, unused] : revisions) {
      const bool isIn = isBranch(branch) ? branchOf(key) == branch
                                         : first <= key && (last.empty() || key <= last);
      const bool isBelow =
          withBranches && key.size() > 2 && chosen.contains(parentOf(parentOf(key)));
      const bool isBehind = withBranches && key.size() > 2 && key.back() > 0 &&
                            chosen.contains(parentOf(branchOf(key)));
      if (isIn || isBelow || isBehind) chosen[key] = true;
    }
    if (chosen.empty()) return 18;
    for (const auto& [key, unused] : revisions) {
      if (!withBranches && key.size() > 2 && chosen.contains(parentOf(branchOf(key)))) {
        return 78;
      }
    }
    for (const auto& [key, unused] : chosen) {
      if (!revisions[key].lockers.empty()) return 14;
    }
    for (const auto& [key, unused] : chosen) revisions.erase(key);
    std::erase_if(labels, [this](const auto& label) {
      return isBranch(label.second) ? tip(label.second) == nullptr
                                    : !revisions.contains(label.second);
    });
    return 0;
  }
};

class RandomOperations : public Archives {
 protected:
  // One random operation on both; false if they part.
  void step() {
    const std::string user = pick({"ann", "bob", "eve"});
    become(user.c_str());
    const std::string text = anyText();
    const std::string name = pick({"A", "B", "C"});
    const std::string before = support::readFile(archive());
    const char* const path = archive_.c_str();
    int32_t status = 0;
    switch (random_.below(12)) {
      case 0:
        doing_ = "lock " + text;
        want_ = rules_.lock(user, text);
        status = lock(text.c_str());
        break;
      case 1:
        doing_ = "unlock " + text;
        want_ = rules_.unlock(user, text);
        status = unlock(user.c_str(), text.c_str());
        break;
      case 2: {
        const uint32_t flags = anyOf(TRVS_LABEL_FLOATS) | anyOf(TRVS_LABEL_MOVE);
        doing_ = "label " + name + " " + text;
        want_ = rules_.setLabel(name, text, flags);
        status = label(name.c_str(), text.c_str(), flags);
        break;
      }
      case 3:
        doing_ = "delete label " + name;
        want_ = rules_.labels.erase(name) == 1 ? 0 : 11;
        status = TrvsDeleteLabel(kContext, path, name.c_str());
        break;
      case 4:
        status = removeSome(text);
        break;
      case 5: {
        Key key;
        doing_ = "describe " + text;
        want_ = rules_.find(text, &key);
        if (want_ == 0) rules_.revisions[key].change = name;
        status = TrvsSetDescription(kContext, path, text.c_str(), name.c_str());
        break;
      }
      case 6:
        doing_ = "turn checks";
        want_ = 0;
        rules_.checksLocks = !rules_.checksLocks;
        status =
            TrvsSetAttributes(kContext, path, rules_.checksLocks ? TRVS_ATTRIBUTE_CHECK_LOCKS : 0,
                              rules_.checksLocks ? 0 : TRVS_ATTRIBUTE_CHECK_LOCKS);
        break;
      case 7: {
        Key key;
        doing_ = "check out " + text;
        want_ = rules_.find(text, &key);
        status = get({.revision = text.c_str()});
        if (want_ == 0 && status == 0) {
          EXPECT_TRUE(support::readFile(workfile()) == rules_.revisions[key].content);
        }
        break;
      }
      default:
        status = checkIn(user, text, name);
    }
    EXPECT_EQ(status, want_) << user << ": " << doing_;
    if (status != 0) {
      EXPECT_TRUE(support::readFile(archive()) == before) << user << ": " << doing_;
    }
  }

  int32_t checkIn(const std::string& user, const std::string& text, const std::string& name) {
    constexpr uint32_t kAlways = TRVS_PUT_OLDER;
    const uint32_t flags = kAlways | anyOf(TRVS_PUT_KEEP_LOCK) | anyOf(TRVS_PUT_MOVE_LABEL) |
                           (random_.below(5) == 0 ? TRVS_PUT_BRANCH : 0);
    const std::string label = random_.below(3) == 0 ? name : "";
    if (random_.below(6) != 0) content_ = random_.changed(content_);
    doing_ = "check in " + text + " label " + label;
    want_ = rules_.put(user, text, label, flags, content_, doing_);
    return put(content_, {.revision = text.c_str(),
                          .label = label.c_str(),
                          .change = doing_.c_str(),
                          .flags = flags});
  }

  int32_t removeSome(const std::string& text) {
    const bool isRange = random_.below(3) == 0;
    const bool withBranches = random_.below(2) == 0;
    const std::string to = isRange ? anyText() : "";
    const std::string range = text + (isRange ? "*" + to : "") + (withBranches ? "+" : "");
    doing_ = "delete " + range;
    want_ = text.empty() && !isRange ? 19 : rules_.remove(text, to, isRange, withBranches);
    return deleteRange(range.c_str());
  }

  // A revision, a branch, a label or none; that is there, was there or will be.
  std::string anyText() {
    const size_t kind = random_.below(10);
    if (kind == 0) return pick({"A", "B", "C"});
    if (kind < 4 || rules_.revisions.empty()) return "";
    auto place = rules_.revisions.begin();
    std::advance(place, static_cast<std::ptrdiff_t>(random_.below(rules_.revisions.size())));
    const Key& key = place->first;
    if (kind == 4) return textOf(branchOf(key));
    if (kind == 5) return textOf(nextOf(nextOf(key)));
    if (kind == 6 && key.size() < 8) return textOf(childOf(rules_.newBranchAt(key), 0));
    return textOf(key);
  }
  std::string pick(const std::vector<const char*>& names) {
    return names[random_.below(names.size())];
  }
  uint32_t anyOf(uint32_t flag) { return random_.below(2) == 0 ? flag : 0; }

  // What the file holds, by the second reader, and what the engine says of it.
  void compare() {
    const support::SlowArchive slow(support::readFile(archive()));
    ASSERT_EQ(slow.revisions.size(), rules_.revisions.size());
    for (const auto& [key, revision] : rules_.revisions) {
      const support::SlowRevision& found = slow.revisions.at(textOf(key));
      EXPECT_TRUE(slow.content(found.content) == revision.content) << textOf(key);
      EXPECT_EQ(found.lockers, revision.lockers) << textOf(key);
      EXPECT_EQ(found.changeDescription, revision.change) << textOf(key);
    }
    std::map<std::string, std::string> labels;
    for (const auto& [name, target] : rules_.labels) labels[name] = textOf(target);
    EXPECT_EQ(slow.labels, labels);
    std::map<Key, std::string> numbers;  // By branch; the trunk comes first.
    for (const auto& [key, unused] : rules_.revisions) numbers[branchOf(key)] += " " + textOf(key);
    std::string all;
    for (const auto& [branch, text] : numbers) all += text;
    EXPECT_EQ(revisions(), all.substr(all.empty() ? 0 : 1));
    EXPECT_EQ(TrvsVerifyArchive(kContext, archive().c_str(), nullptr, 0), 0);
  }

  void run(unsigned seed) {
    random_ = Contents(seed);
    rules_ = {};
    rules_.sharesLocks = seed % 2 == 1;
    configure(rules_.sharesLocks ? "MULTILOCK\n" : "");
    content_ = random_.text(40);
    archive_ = archive();
    unlink(archive_.c_str());
    ASSERT_EQ(create(), 0);
    for (int count = 0; count < 120 && !HasFailure(); ++count) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", operation " + std::to_string(count));
      step();
      if (count % 10 == 9) compare();
    }
  }

  Contents random_{0};
  Rules rules_;
  std::string archive_;
  std::string content_;
  std::string doing_;
  int32_t want_ = 0;
};

TEST_F(RandomOperations, KeepToTheRules) {
  for (unsigned seed = 0; seed < 12 && !HasFailure(); ++seed) run(seed);
}

}  // namespace
}  // namespace btkf520_test
