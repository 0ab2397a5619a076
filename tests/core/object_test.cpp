// The life of objects and handles: counts, the cache, uses, edits, destruction, lock scopes,
// tokens.
#include "core/object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "core/childlist.h"
#include "core/clienthandles.h"
#include "core/lockscope.h"
#include "core/optionarray.h"
#include "support/handles.h"
#include "support/recordingsink.h"

namespace foldapi {
namespace {

using support::child;
using support::names;

// A record known by its name, over storage that is a list of names and notes what is asked of it.
class Node : public TVObject {
 public:
  static const VClassRecord theClass;
  static inline int alive = 0;

  Node(std::string name, TVObject* owner)
      : TVObject(owner, TVCaching::kCached), name_(std::move(name)) {
    ++alive;
  }
  ~Node() override { --alive; }

  const VClassRecord* isA() const override { return &theClass; }
  bool isEqual(const VObject* other) const override {
    return TVObject::isEqual(other) && static_cast<const Node*>(other)->name_ == name_;
  }
  int32_t computeHash() const override { return 0; }  // All in one chain.
  uint64_t computeFingerprint() const override { return std::hash<std::string>()(name_); }
  VString name(const TVOptionArray&) const override { return VString(name_); }
  std::string_view sortKey(int* index, TVSortType, std::string*) const override {
    return --*index < 0 ? std::string_view(name_) : "";
  }

  std::unique_ptr<TVStorageLock> lockStorage(TVHandle& context) override {
    log += "lock ";
    return fails == "lock" ? nullptr : TVObject::lockStorage(context);
  }
  int writeData(TVHandle&, TVStorageLock&) override {
    log += "head ";
    if (fails == "memory") throw std::bad_alloc();
    return fails == "head";
  }
  int writeChild(TVHandle&, TVStorageLock&) override {
    static_cast<Node*>(owner())->log += name_ + " ";
    return static_cast<Node*>(owner())->fails == name_;
  }
  bool unlockStorage(TVHandle&, std::unique_ptr<TVStorageLock>, bool keep) override {
    log += keep ? "keep" : "drop";
    return keep && fails != "commit";
  }
  int readData(TVHandle&, TVStorageLock*) override {
    log += "read ";
    for (const std::string& child : stored) mergeIntoCache(std::make_unique<Node>(child, this));
    if (fails == "read") throw std::bad_alloc();
    return 0;
  }
  bool readWasComplete() const override { return fails != "part"; }
  bool mayUpdate(TVHandle&, TVStorageLock&) override { return fails != "part"; }
  void removeStorage(TVHandle&) override { log += "remove "; }
  VBool isStale(TVHandle&) override { return stale; }

  std::string told() { return std::exchange(log, ""); }

  std::set<std::string> stored;
  std::string fails;  // What goes wrong: a step, or the write of the child of that name.
  bool stale = false;
  std::string log;

 private:
  std::string name_;
};

const VClassRecord Node::theClass = {"Node", &TVObject::theClass, 90, nullptr};

class Objects : public testing::Test {
 protected:
  Objects() : root(&sink, new Node("root", nullptr)) {}
  ~Objects() override {
    root.attach(nullptr);
    EXPECT_EQ(Node::alive, 0);
  }

  static Node& of(const TVHandle& handle) { return *handle.as<Node>(); }

  support::RecordingSink sink;
  TVHandle root;
};

// A real fault: the use that had failed was never ended.
TEST_F(Objects, AUseThatFailsLeavesNothingOpen) {
  Node& node = of(root);
  node.stored = {"a"};
  node.fails = "read";
  EXPECT_THROW(root.open(), std::bad_alloc);
  EXPECT_EQ(node.useCount(), 0);
  EXPECT_EQ(node.referenceCount(), 1);
  node.fails = "";
  EXPECT_EQ(root.open(), 1);
  EXPECT_EQ(names(root), "a ");
  node.fails = "read";
  node.stale = true;
  EXPECT_FALSE(node.storageLock() != nullptr);
  EXPECT_THROW(static_cast<void>(node.beginEdit(root)), std::bad_alloc);
  EXPECT_EQ(node.storageLock(), nullptr);
  node.fails = "memory";
  node.stale = false;
  ASSERT_TRUE(node.beginEdit(root));
  child(root, "a").object()->destroyObject(root, TVRemoval::kStored);
  EXPECT_THROW(static_cast<void>(node.endEdit(root)), std::bad_alloc);
  EXPECT_EQ(node.storageLock(), nullptr);
  EXPECT_EQ(names(root), "a ");
}

TEST_F(Objects, EditsWriteWhatIsDirtyOnce) {
  const struct {
    const char* why;
    const char* fails;
    bool dirty, stale, begun, ended;
    const char* log;
  } cases[] = {
      {"nothing changed", "", false, false, true, true, "lock keep"},
      {"dirty", "", true, false, true, true, "lock head a b c keep"},
      {"dirty and stale", "", true, true, true, true, "lock read head a b c keep"},
      {"no lock", "lock", true, false, false, false, "lock "},
      {"what was not read whole", "part", true, true, false, false, "lock read drop"},
      {"the head fails", "head", true, false, true, false, "lock head dropread "},
      {"a child fails", "b", true, false, true, false, "lock head a b dropread "},
      {"the end fails", "commit", true, false, true, false, "lock head a b c keepread "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Node& node = of(root);
    node.stored = {"a", "b", "c"};
    root.open();
    node.told();
    node.fails = c.fails;
    node.stale = c.stale;
    EXPECT_EQ(node.beginEdit(root), c.begun);
    node.setDirty(c.dirty);
    EXPECT_EQ(node.endEdit(root), c.ended);
    EXPECT_EQ(node.told(), c.log);
    EXPECT_EQ(node.isDirty(), !c.begun);
    EXPECT_EQ(node.storageLock(), nullptr);
    node.setDirty(false);
    node.fails = "";
    node.stale = false;
    root.close();
  }
}

TEST_F(Objects, HandlesDestroyUnderTheLockOfTheParent) {
  Node& node = of(root);
  node.stored = {"a", "b", "c", "d"};
  root.open();
  TVHandle& b = child(root, "b");
  node.told();
  {
    TVLockScope scope(root);
    child(root, "a").destroy(scope);
    EXPECT_EQ(node.told(), "lock ");
    EXPECT_TRUE(scope.holds(root) && scope.holdsOwner(b));
    EXPECT_FALSE(scope.holds(b) || scope.holdsOwner(root) || scope.holds(theNullHandle()));
  }
  EXPECT_EQ(node.told(), "head b c d keep");
  TVHandle stranger(&sink, new Node("b", nullptr));
  root.destroyChild(stranger, theNoLock());
  b.destroyChild(child(root, "c"), theNoLock());
  EXPECT_EQ(node.told(), "");
  root.destroyChild(b, theNoLock());
  EXPECT_EQ(node.told(), "lock head c d keep");
  TVObject::mergeIntoCache(std::make_unique<Node>("b", &node));  // It comes back.
  EXPECT_EQ(names(root), "b c d ");
  node.fails = "lock";
  child(root, "c").destroy(theNoLock());
  EXPECT_EQ(names(root), "b c d ");
  node.fails = "";
  node.stale = true;
  node.stored = {"d"};
  child(root, "c").destroy(theNoLock());  // Gone by another hand, as it turns out.
  EXPECT_EQ(names(root), "d ");
  EXPECT_FALSE(node.isDirty());
  node.told();
  root.destroyChildren(theNoLock());
  EXPECT_EQ(node.told(), "lock read head keep");
  EXPECT_EQ(names(root), "");
  root.destroy(theNoLock());
  EXPECT_TRUE(root.isNull());
}

// The order of the records on disk comes of it. A real fault: children were released from the last
// to the first, so the table counted other lookups, and grew at other times.
TEST_F(Objects, AskTheTableOfChildrenAlwaysTheSame) {
  Node& node = of(root);
  // Hits, misses and entries passed since the table grew, and its buckets.
  const auto counts = [&table = node.children()] {
    const auto& [hits, misses, probes] = table.statistics();
    return testing::PrintToString(std::vector{hits, misses, probes, table.capacity()});
  };
  node.stored = {"a", "b", "c", "d", "e", "f", "g", "h", "i"};
  root.open();
  EXPECT_EQ(counts(), "{ 0, 18, 72, 17 }") << "each is looked for, and added";
  TVObject::mergeIntoCache(std::make_unique<Node>("i", &node));
  EXPECT_EQ(counts(), "{ 1, 19, 89, 17 }") << "a new one that is known leaves again";
  root.close();
  EXPECT_EQ(counts(), "{ 10, 19, 89, 17 }") << "the first leaves, nine times, and nothing grows";
  root.open();
  EXPECT_EQ(counts(), "{ 0, 13, 62, 41 }")
      << "the sixth makes it grow: those before are added from the last on";
  node.told();
  node.stale = true;
  node.stored = {"b", "c", "d", "x", "y"};
  ASSERT_TRUE(node.beginEdit(root));
  EXPECT_EQ(counts(), "{ 9, 20, 148, 41 }");
  node.stale = false;
  node.setDirty(true);
  EXPECT_TRUE(node.endEdit(root));
  EXPECT_EQ(node.told(), "lock read head d c b x y keep");
  child(root, "c").destroy(theNoLock());
  EXPECT_EQ(node.told(), "lock head d b x y keep");
  EXPECT_EQ(counts(), "{ 10, 20, 149, 41 }");
  node.stale = true;  // What nobody has read yet is read first.
  node.stored = {"b", "x", "z"};
  child(root, "b").destroy(theNoLock());
  EXPECT_EQ(node.told(), "lock read head x z keep");
  EXPECT_EQ(counts(), "{ 15, 24, 170, 41 }");
  node.stale = false;
  root.destroyChildren(theNoLock());
  EXPECT_EQ(counts(), "{ 17, 24, 170, 41 }");
}

// In the owner's table live those with a handle and, while it is in use, all of them.
TEST_F(Objects, LiveForTheirHandlesAndTheUsesOfTheirOwner) {
  const std::set<std::string> all = {"a", "b", "c", "d", "e", "f", "g", "h"};
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Node& node = of(root);
    node.stored = all;
    int uses = 0;
    std::set<std::string> cached;
    std::vector<TVHandle> handles;
    const auto hasHandle = [&](const std::string& name) {
      return std::any_of(handles.begin(), handles.end(),
                         [&](const TVHandle& each) { return each.name() == name; });
    };
    const auto dropUnheld = [&] {
      if (uses == 0) std::erase_if(cached, [&](const auto& name) { return !hasHandle(name); });
    };
    for (int step = 0; step < 60 || uses > 0; ++step) {
      const auto children = node.childrenInOrder();
      TVObject* const some = children.empty() ? nullptr : children[random() % children.size()];
      const auto what = step < 60 ? random() % 6 : 1;
      if (what == 0) {
        if (uses++ == 0) cached = all;
        node.beginUse(root);
      } else if (what == 1 && uses > 0) {
        --uses;
        node.endUse();
      } else if (what <= 3 && some != nullptr) {
        handles.emplace_back(&sink, some);
      } else if (what == 4 && !handles.empty()) {
        std::swap(handles[random() % handles.size()], handles.back());
        handles.pop_back();
      } else if (what == 5 && some != nullptr) {
        cached.erase(some->name(TVOptionArray::none()).str());
        some->destroyObject(root, TVRemoval::kMemoryOnly);
        std::erase_if(handles, [](const TVHandle& each) { return each.isNull(); });
      }
      dropUnheld();
      std::set<std::string> living;
      for (TVObject* each : node.childrenInOrder()) {
        living.insert(each->name(TVOptionArray::none()).str());
      }
      ASSERT_EQ(living, cached);
      ASSERT_EQ(Node::alive, 1 + static_cast<int>(cached.size()));
      ASSERT_EQ(node.useCount(), uses);
    }
  }
}

// A rewrite that would say what the last one said is left out.
TEST_F(Objects, AreNotWrittenTwice) {
  Node& node = of(root);
  node.stored = {"a", "b", "c", "d", "e", "f"};
  root.open();
  const auto edit = [&] {
    EXPECT_TRUE(node.beginEdit(root));
    node.setDirty(true);
    node.told();
    EXPECT_TRUE(node.endEdit(root));
    return node.told();
  };
  EXPECT_EQ(edit(), "head a b c d e f keep");
  EXPECT_EQ(edit(), "keep");
  TVObject::mergeIntoCache(std::make_unique<Node>("x", &node));
  EXPECT_EQ(edit(), "head a b c d e f x keep");
  child(root, "a").object()->destroyObject(root, TVRemoval::kMemoryOnly);
  EXPECT_EQ(edit(), "head b c d e f x keep");
  const Node none("none", nullptr);
  for (int i = 0; i < 100; ++i) node.children().find(&none);
  EXPECT_EQ(edit(), "head x f e d c b keep") << "in the order of the table that grew";
  node.stale = true;
  EXPECT_EQ(edit(), "head f e d c b a keep") << "what was read says what is stored";
  node.stale = false;
  EXPECT_EQ(edit(), "keep");
}

TEST_F(Objects, WhatEndsWhileItIsDeletedStillGivesItsStorageUp) {
  of(root).stored = {"a"};
  root.open();
  TVHandle a(child(root, "a"));
  TVReferenceHold hold(a.object());
  auto* node = a.as<Node>();
  ASSERT_TRUE(node->beginEdit(a));
  node->setDirty(true);
  node->destroyObject(root, TVRemoval::kMemoryOnly);
  EXPECT_FALSE(node->endEdit(a));
  EXPECT_EQ(node->told(), "lock keep");
  EXPECT_FALSE(node->endEdit(a));
}

TEST_F(Objects, LockScopesLockWhatNobodyHolds) {
  of(root).stored = {"a"};
  root.open();
  TVHandle& a = child(root, "a");
  of(root).told();
  EXPECT_TRUE(theNoLock().lockOwner(a) && theNoLock().unlockOwner(a));
  EXPECT_EQ(of(root).told(), "lock keep");
  EXPECT_TRUE(theNoLock().lock(a) && theNoLock().unlock(a));
  EXPECT_EQ(of(a).told(), "lock keep");
  EXPECT_TRUE(theNoLock().lockOwner(root) && theNoLock().unlockOwner(root));
  EXPECT_TRUE(theNoLock().lock(theNullHandle()) && theNoLock().unlockOwner(theNullHandle()));
  TVLockScope scope(a);
  EXPECT_TRUE(scope.lock(a) && scope.unlock(a) && scope.lockOwner(a));
  EXPECT_EQ(of(a).told(), "lock ");
  EXPECT_EQ(of(root).told(), "lock ");
  EXPECT_TRUE(scope.unlockOwner(a));
  const TVLockScope idle(theNullHandle());
  EXPECT_EQ(of(root).told(), "keep");
  of(root).fails = "lock";
  EXPECT_FALSE(theNoLock().lock(root));
  EXPECT_FALSE(TVLockScope(root).holds(root));
}

TEST_F(Objects, ClientTokensNameOneLivingHandle) {
  EXPECT_EQ(clientToken(theNullHandle()), nullptr);
  TVHandle held = root;
  void* const token = clientToken(held);
  EXPECT_EQ(clientToken(held), token);
  EXPECT_EQ(clientHandle(token), &held);
  EXPECT_NE(clientToken(root), token);
  held.attach(nullptr);
  EXPECT_EQ(clientHandle(token), &held);
  EXPECT_EQ(clientToken(held), nullptr);

  std::vector<TVHandle> many(300'000, root);  // As many as a walk of large folders needs.
  for (TVHandle& each : many) ASSERT_EQ(clientHandle(clientToken(each)), &each);
}

}  // namespace
}  // namespace foldapi
