// The order of records on disk against a model: linked chains that are asked what the life of an
// object asks of its children's table.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/linkedhash.h"
#include "core/lockscope.h"

namespace foldapi {
namespace {

using File = std::vector<int>;  // The numbers of the records, in their order.

class Record : public TVObject {
 public:
  static const VClassRecord theClass;

  Record(int which, TVObject* owner, File* file) : TVObject(owner), number(which), file_(file) {}

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override {
    return TVObject::isEqual(other) && static_cast<const Record*>(other)->number == number;
  }
  int32_t computeHash() const override { return number % 7; }
  uint64_t computeFingerprint() const override { return static_cast<uint64_t>(number); }
  int writeChild(TVHandle&, TVStorageLock&) override {
    file_->push_back(number);
    return 0;
  }

  const int number;

 private:
  File* file_;
};

const VClassRecord Record::theClass = {"Record", &TVObject::theClass, 91, nullptr};

class Project : public TVObject {
 public:
  Project() : TVObject(nullptr) {}
  int writeData(TVHandle&, TVStorageLock&) override {
    file.clear();
    return 0;
  }
  int readData(TVHandle&, TVStorageLock*) override {
    stale = false;
    for (const int number : file) mergeIntoCache(std::make_unique<Record>(number, this, &file));
    return 0;
  }
  VBool isStale(TVHandle&) override { return stale; }

  File file;
  bool stale = false;  // As if another process had changed the file.
};

class Model {
 public:
  void open() {
    if (++uses_ == 1 || stale) reload();
  }
  void close() {
    if (--uses_ == 0) removeInWalk([](const Record&) { return true; });
  }
  void add(int number) {
    open();
    if (merge(number)) file.push_back(number);
    close();
  }
  void destroy(int number) {
    if (stale) reload();
    if (std::find(file.begin(), file.end(), number) == file.end()) return;
    table.remove(key(number), LinkedHash::Match::kIdentical);
    rewrite();
  }
  void destroyAll() {
    if (stale) reload();
    const bool dirty = table.count != 0;
    removeInWalk([](const Record&) { return true; });
    if (dirty) rewrite();
  }

  LinkedHash table;
  File file;
  bool stale = false;

 private:
  VObject* key(int number) {
    auto& known = keys_[number];
    if (known == nullptr) known = std::make_unique<Record>(number, nullptr, nullptr);
    return known.get();
  }
  // A new object is known already, and leaves again, or is added.
  bool merge(int number) {
    const Record fresh(number, nullptr, nullptr);
    if (table.find(&fresh, LinkedHash::Match::kEqual) == nullptr) return table.add(key(number));
    table.remove(&fresh, LinkedHash::Match::kIdentical);
    return false;
  }
  template <typename Doomed>
  void removeInWalk(Doomed doomed) {
    LinkedHash::Walk walk;
    table.begin(&walk);
    table.walks.push_back(&walk);
    while (VObject* value = table.next(&walk)) {
      if (doomed(*static_cast<Record*>(value))) table.remove(value, LinkedHash::Match::kIdentical);
    }
    table.walks.pop_back();
  }
  void reload() {
    stale = false;
    for (const int number : file) merge(number);
    removeInWalk([this](const Record& record) {
      return std::find(file.begin(), file.end(), record.number) == file.end();
    });
  }
  void rewrite() {
    file.clear();
    for (VObject* value : table.values()) file.push_back(static_cast<Record*>(value)->number);
  }

  std::map<int, std::unique_ptr<Record>> keys_;
  int uses_ = 0;
};

void add(TVHandle& handle, int number) {
  auto* project = static_cast<Project*>(handle.object());
  TVUseScope use(project, handle);
  TVScopedEdit edit(theNoLock(), handle);
  bool known = false;
  TVHandle record(nullptr, TVObject::mergeIntoCache(
                               std::make_unique<Record>(number, project, &project->file), &known));
  if (!known) static_cast<void>(record.object()->writeInOwner(record));
}

// A real fault: the children were released from the last to the first, so the table counted other
// lookups, grew at other times, and the next rewrite had another order.
TEST(RecordOrder, IsThatOfTheModelWhateverComesBefore) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&](int limit) {
      return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    auto* project = new Project;
    TVHandle handle(nullptr, project);
    Model model;
    std::deque<TVHandle> open;
    for (int step = 0; step < 80; ++step) {
      const int number = below(60);
      const int choice = below(100);
      if (choice < 40) {
        open.emplace_back(handle).open();
        model.open();
      } else if (choice < 74 && !open.empty()) {
        open.pop_back();
        model.close();
      } else if (choice < 78) {  // Another process destroys every third record.
        const auto isGone = [&](int other) { return (other + step) % 3 == 0; };
        std::erase_if(project->file, isGone);
        std::erase_if(model.file, isGone);
        project->stale = model.stale = true;
      } else if (choice == 99 && !open.empty()) {
        handle.destroyChildren(theNoLock());
        model.destroyAll();
      } else if (const auto all = project->childrenInOrder(); !all.empty()) {
        TVHandle record(nullptr, all[static_cast<size_t>(number) % all.size()]);
        const int doomed = record.as<Record>()->number;
        handle.destroyChild(record, theNoLock());
        model.destroy(doomed);
      }
      for (int i = 0; i < 3 && choice % 8 != 0; ++i) {
        add(handle, number + 100 * i);
        model.add(number + 100 * i);
      }
      ASSERT_EQ(project->file, model.file) << step;
      ASSERT_EQ(project->children().statistics(), model.table.statistics) << step;
    }
  }
}

}  // namespace
}  // namespace foldapi
