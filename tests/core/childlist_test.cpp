// Walking, sorting and finding in open handles. Finds are compared with a slow twin that looks at
// every child, by the keys themselves, and remembers nothing.
#include "core/childlist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "domain/archivemember.h"
#include "domain/nameditems.h"
#include "domain/projectfolder.h"
#include "domain/promotionfolder.h"
#include "store/format52.h"
#include "support/handles.h"

namespace foldapi {
namespace {

using support::children;
using support::names;

const VClassRecord* const kMember = &TVArchiveMember::theClass;
const VClassRecord* const kFolder = &TVArchiveFolder::theClass;
const VClassRecord* const kGroup = &TVPromotionFolder::theClass;
const VClassRecord* const kLabel = &TVVersionLabel::theClass;

// A project whose children are those in memory.
class Shelf : public TVProjectFolder {
 public:
  Shelf() : TVProjectFolder("", TVProjectConfig(), "/work", "", nullptr) {}
  bool readWasComplete() const override { return false; }  // Nothing is stored: all stay.
};

class ChildLists : public testing::Test {
 protected:
  ChildLists() { registerFormat52(); }

  template <typename Object, typename... Fields>
  TVObject* add(Fields... fields) {
    return TVObject::mergeIntoCache(std::make_unique<Object>(fields..., shelf.object()));
  }
  TVObject* addMember(const char* dir, const char* name) {
    return add<TVArchiveMember>(TVMemberNames{"v", "x_v", dir, name});
  }
  TVHandle shelf{nullptr, new Shelf};
};

// What items are sorted by unless it is their names.
bool isByNumber(TVSortType type) {
  return type == TVSortType::kDefault || type == TVSortType::kNumber;
}

// The rules of a list as they were set, and what they mean, word for word.
struct Rules {
  struct Row {
    TVSortType sortType;
    int groupOrder = 0;
  };
  std::map<const VClassRecord*, Row> rows = {{kMember, {TVSortType::kWorkPath}},
                                             {kFolder, {TVSortType::kName}},
                                             {kGroup, {TVSortType::kName}},
                                             {kLabel, {TVSortType::kNumber}}};
  bool ascending = true;
  VCase letterCase = VCase::kIgnored;

  int compare(const TVHandle& a, const TVHandle& b) const {
    const Row& left = rows.at(a.isA());
    const Row& right = rows.at(b.isA());
    int order = left.groupOrder - right.groupOrder;
    if (order == 0 && a.isA() == kLabel && isByNumber(left.sortType)) {
      order = a.as<TVVersionLabel>()->itemNumber() - b.as<TVVersionLabel>()->itemNumber();
      return ascending ? order : -order;
    }
    for (int position = 0, i = -1, j = -1; order == 0 && i < 0 && j < 0; ++position) {
      i = j = position;
      std::string first;
      std::string second;
      const std::string key(a.object()->sortKey(&i, left.sortType, &first));
      order = text(key, std::string(b.object()->sortKey(&j, right.sortType, &second)));
    }
    if (order == 0) order = a.isA()->ordinal - b.isA()->ordinal;
    return ascending ? order : -order;
  }
  int text(std::string a, std::string b) const {
    for (std::string* side : {&a, &b}) {
      for (char& c : *side) {
        if (letterCase == VCase::kIgnored && c >= 'A' && c <= 'Z')
          c = static_cast<char>(c + 'a' - 'A');
      }
    }
    return a.compare(b);
  }
};

// All that a find and its followers give.
std::vector<TVHandle*> twinFind(const Rules& rules, const std::vector<TVHandle*>& all,
                                const std::string& key, VCase letterCase,
                                const VClassRecord* record, TVSortType sortType) {
  if (record != nullptr && letterCase == rules.letterCase && sortType == TVSortType::kDefault) {
    sortType = rules.rows.at(record).sortType;
  }
  std::vector<TVHandle*> result;
  for (TVHandle* handle : all) {
    if (record != nullptr && handle->isA() != record) continue;
    if (handle->compareKey(key, sortType, letterCase) == 0) result.push_back(handle);
  }
  return result;
}

std::vector<TVHandle*> allFound(TVHandle& handle, const std::string& key, VCase letterCase,
                                const VClassRecord* record, TVSortType sortType) {
  std::vector<TVHandle*> result;
  int place = -2;
  for (TVHandle* it = &handle.find(key, letterCase, record, sortType, &place); !it->isNull();
       it = &handle.findNext(&place)) {
    EXPECT_GE(place, 0);
    result.push_back(it);
  }
  EXPECT_EQ(place, -1);
  return result;
}

class Seeded : public ChildLists {
 protected:
  int upTo(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

  // Few enough that parts of keys meet, with cases, signs and a beginning longer than what a list
  // remembers of a key.
  VPathString name() {
    static const char* const all[] = {"",     "a",  "A",   "ab", "aB", "a_b",     "a^b",
                                      "\xe4", "Z_", "B.C", "z_", "_",  "V:\\src", "V:\\SRC"};
    const std::string text = all[upTo(14)];
    return VPathString(upTo(3) == 0 ? "the same long beginning " + text : text);
  }
  void fill() {
    for (int i = upTo(40); i > 0; --i) addAny();
  }
  void addAny() {
    const int kind = kinds == 0 ? 4 : upTo(kinds);
    if (kind == 1)
      add<TVArchiveFolder>(name(), name(), upTo(2) == 0 ? TVPrivacy::kPrivate : TVPrivacy::kPublic);
    if (kind == 2) add<TVPromotionFolder>(name());
    if (kind == 4) add<TVVersionLabel>(name(), upTo(30));
    if (kind == 0 || kind == 3) add<TVArchiveMember>(TVMemberNames{name(), name(), name(), name()});
  }
  void changeRule() {
    const VClassRecord* record = kinds == 0 ? kLabel : upTo(3) == 0 ? kFolder : kMember;
    Rules::Row& row = rules.rows[record];
    switch (upTo(5)) {
      case 0:
        shelf.setGroupOrder(record, row.groupOrder = upTo(3) - 1);
        break;
      case 1:
        shelf.setAscending(rules.ascending = !rules.ascending);
        break;
      case 2:
        rules.letterCase = rules.letterCase == VCase::kExact ? VCase::kIgnored : VCase::kExact;
        shelf.setCaseSensitive(rules.letterCase == VCase::kExact);
        break;
      default:
        row.sortType = static_cast<TVSortType>(record == kFolder  ? upTo(6)
                                               : record == kLabel ? upTo(4)
                                                                  : 4 + upTo(7));
        shelf.setSortType(record, row.sortType);
    }
  }
  void changeOne() {
    TVObject* object = shelf.object()->childrenInOrder().at(0);
    const int what = upTo(8);
    if (what == 0) {
      addAny();
    } else if (what == 1) {
      if (shelf.object()->childCount() > 1) object->destroyObject(shelf, TVRemoval::kMemoryOnly);
    } else if (what == 2) {
      shelf.as<Shelf>()->setPrivateWorkDir(name());  // A part of the members' full directories.
    } else if (object->isA() == kFolder) {
      static_cast<TVArchiveFolder*>(object)->setPrivateWorkDir(name());
    } else if (object->isA() == kMember) {
      auto* member = static_cast<TVArchiveMember*>(object);
      member->setName(upTo(2) == 0 ? &TVMemberNames::workName : &TVMemberNames::archivePath,
                      name());
    } else if (object->isA() == kLabel) {
      static_cast<TVVersionLabel*>(object)->setItemName(name());
    }
  }
  std::string key() {
    if (kinds == 0 && upTo(2) == 0) return std::to_string(upTo(30));
    return upTo(2) == 0 ? name().str() : name().join(name()).str();
  }
  // In a list that a key no longer fits, halving may miss some. The first find of a kind looks at
  // each entry, the others have an index.
  void compareFinds(bool changed) {
    const std::vector<TVHandle*> all = children(shelf);
    for (int i = 0; i < 12; ++i) {
      const VClassRecord* records[] = {kMember, kMember, kFolder, kGroup, nullptr};
      const VClassRecord* record = kinds == 0 ? kLabel : records[upTo(5)];
      const int types[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x106, 0x108, 11};
      const int number = types[upTo(kinds == 0 ? 3 : 13)];
      const auto type = static_cast<TVSortType>(number);
      const VCase letterCase = upTo(3) == 0 ? VCase::kExact : VCase::kIgnored;
      const bool halves = record != nullptr && letterCase == rules.letterCase &&
                          (number == 0 || listOrderOf(type) == rules.rows[record].sortType);
      for (int repeat = 0; repeat < 3; ++repeat) {
        const std::string sought = key();
        SCOPED_TRACE("key " + sought + " type " + std::to_string(number));
        const auto found = allFound(shelf, sought, letterCase, record, type);
        const auto want = twinFind(rules, all, sought, letterCase, record, type);
        if (!changed || !halves) {
          EXPECT_EQ(found, want);
        }
        for (TVHandle* handle : found) EXPECT_EQ(std::count(want.begin(), want.end(), handle), 1);
      }
    }
  }

  std::mt19937 random;
  Rules rules;
  int kinds = 1;
};

TEST_F(Seeded, SortsAndFindsLikeTheTwin) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    random.seed(seed);
    rules = Rules();
    kinds = seed % 3 == 0 ? 0 : seed % 3 == 1 ? 1 : 4;
    shelf = TVHandle(nullptr, new Shelf);
    fill();
    shelf.open();
    const size_t count = children(shelf).size();
    for (int round = 0; round < 6; ++round) {
      const std::vector<TVHandle*> all = children(shelf);
      ASSERT_EQ(all.size(), count);
      for (size_t i = 1; i < count; ++i) EXPECT_LE(rules.compare(*all[i - 1], *all[i]), 0);
      compareFinds(false);
      changeRule();
    }
    children(shelf);
    for (int change = 0; change < 6 && count > 0; ++change) {
      changeOne();  // The order stays until a sort is due.
      compareFinds(true);
    }
  }
}

TEST_F(ChildLists, AKeyChangedBetweenFindsCounts) {
  for (const char* name : {"a", "b", "c"}) add<TVArchiveFolder>(name, name, TVPrivacy::kPublic);
  shelf.open();
  const std::vector<TVHandle*> all = children(shelf);
  EXPECT_EQ(&shelf.find("a", VCase::kIgnored, kFolder, TVSortType::kName), all[0]);
  all[1]->as<TVArchiveFolder>()->setFolderName("A");
  EXPECT_EQ(&shelf.findNext(), all[1]);
  EXPECT_TRUE(shelf.findNext().isNull());
  shelf.setSortType(kFolder, TVSortType::kWorkDir);
  children(shelf);
  all[2]->as<TVArchiveFolder>()->setPrivateWorkDir("d");
  EXPECT_EQ(&shelf.find("d", VCase::kIgnored, kFolder, TVSortType::kWorkDir), all[2]);
}

// Real faults: going back skipped the child before one that went, and a find that goes on after a
// sort compared its key with beginnings of other keys.
TEST_F(ChildLists, WalksBackAndFindsStayTrueToWhatIsThere) {
  for (const char* name : {"a", "b", "c", "d", "e"}) addMember("d", name);
  for (const auto& [gone, back, on] : {std::tuple("d", "c", "e"),
                                       {"cd", "b", "e"},
                                       {"ce", "b", ""},
                                       {"abcde", "", ""},
                                       {"abd", "c", "e"}}) {
    SCOPED_TRACE(gone);
    for (const bool goesBack : {true, false}) {
      shelf.open();
      const std::vector<TVHandle*> all = children(shelf);
      shelf.last(nullptr);
      EXPECT_EQ(shelf.previous(nullptr).name().str(), "d");
      for (TVHandle* handle : all) {
        if (std::string_view(gone).find(handle->name().view()) == std::string_view::npos) continue;
        handle->object()->destroyObject(shelf, TVRemoval::kMemoryOnly);
        shelf.current();
      }
      EXPECT_EQ((goesBack ? shelf.previous(nullptr) : shelf.next(nullptr)).name().str(),
                goesBack ? back : on);
      shelf.close();
      for (const char* name : {"a", "b", "c", "d", "e"}) addMember("d", name);
    }
  }
  for (const auto& [archive, work] : {std::pair("0", "a"), {"a", "z"}}) {
    add<TVArchiveMember>(TVMemberNames{"v", archive, "d", work});
  }
  shelf.open();
  shelf.setSortType(kMember, TVSortType::kWorkName);
  EXPECT_EQ(shelf.find("a", VCase::kIgnored, kMember, TVSortType::kWorkName).name().str(), "a");
  shelf.setSortType(kMember, TVSortType::kArchiveName);
  children(shelf);
  EXPECT_TRUE(shelf.findNext().isNull());
}

// A member that once has no memory for its sort key.
class Forgetful : public TVArchiveMember {
 public:
  using TVArchiveMember::TVArchiveMember;
  static inline int looksLeft = -1;
  std::string_view sortKey(int* index, TVSortType sortType, std::string* scratch) const override {
    if (looksLeft-- == 0) throw std::bad_alloc();
    return TVArchiveMember::sortKey(index, sortType, scratch);
  }
};

TEST_F(ChildLists, ASortThatFailsIsStillDue) {
  const std::string beginning(1000, 'x');  // Too long for prefixes: objects are compared as well.
  bool failed = true;
  for (int looks = 0; failed; ++looks) {
    SCOPED_TRACE(looks);
    for (const char* name : {"c", "b", "a", "d"}) {
      add<Forgetful>(TVMemberNames{"v", "x_v", "d", VPathString(beginning + name)});
    }
    shelf.open();
    Forgetful::looksLeft = looks;
    failed = false;
    try {
      children(shelf);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    Forgetful::looksLeft = -1;
    std::string order;
    for (const TVHandle* handle : children(shelf)) order += handle->name().str().substr(1000);
    EXPECT_EQ(order, "abcd");
    shelf.close();
  }
}

// A real fault: one promotion group made a sort compare all archives one by one.
TEST_F(ChildLists, AClassWithoutKeysCostsTheOthersNothing) {
  int looks[2];
  for (const bool withGroup : {false, true}) {
    shelf = TVHandle(nullptr, new Shelf);
    for (int i = 0; i < 1000; ++i) {
      add<Forgetful>(TVMemberNames{"v", "x_v", "d", VPathString(std::to_string(i * 7919 % 1000))});
    }
    if (withGroup) add<TVPromotionFolder>("top");
    shelf.open();
    Forgetful::looksLeft = -1;
    EXPECT_EQ(children(shelf).size(), withGroup ? 1001U : 1000U);
    looks[withGroup ? 1 : 0] = -1 - std::exchange(Forgetful::looksLeft, -1);
  }
  EXPECT_LT(looks[1], looks[0] + 50);
}

// A real fault: a find right after an add sorted the whole list.
TEST_F(ChildLists, AnAddedChildIsMergedIntoTheSortedOnes) {
  const auto addNumber = [this](int number) {
    add<Forgetful>(TVMemberNames{"v", "x_v", "d", VPathString(std::to_string(number))});
  };
  for (int i = 0; i < 2000; i += 2) addNumber(10000 + i * 7919 % 2000);
  add<TVPromotionFolder>("top");
  shelf.open();
  for (const bool isAscending : {true, false}) {
    SCOPED_TRACE(isAscending);
    shelf.setAscending(isAscending);
    children(shelf);
    Forgetful::looksLeft = -1;
    for (const int number : {10001, 11999, 9999}) {
      const VString name = std::to_string(isAscending ? number : number + 6);
      addNumber(std::stoi(name.str()));
      EXPECT_EQ(shelf.find("d/" + name, VCase::kIgnored, kMember, TVSortType::kWorkPath).name(),
                name);
    }
    EXPECT_LT(-1 - std::exchange(Forgetful::looksLeft, -1), 300);
    const std::string merged = names(shelf);
    shelf.setAscending(!isAscending);
    children(shelf);
    shelf.setAscending(isAscending);
    EXPECT_TRUE(names(shelf) == merged);  // Now all of them were sorted.
  }
}

// A real fault: the entry stayed, with the class of one object and the keys of another.
TEST_F(ChildLists, AHandleThatIsAttachedElsewhereLeaves) {
  for (const char* name : {"a", "b", "c"}) add<TVArchiveFolder>(name, "", TVPrivacy::kPublic);
  shelf.open();
  TVHandle& moved = *children(shelf)[1];
  EXPECT_EQ(moved.owner(), &shelf);
  moved.attach(moved.object());
  EXPECT_EQ(names(shelf), "a b c ");
  moved = shelf;
  EXPECT_EQ(names(shelf), "a c ");
  EXPECT_EQ(moved.owner(), nullptr);
  EXPECT_TRUE(shelf.find("b", VCase::kIgnored, nullptr, TVSortType::kName).isNull());
}

TEST_F(ChildLists, WalkBothWaysAndByClass) {
  add<TVPromotionFolder>("group");
  addMember("d", "m");
  add<TVArchiveFolder>("f", "", TVPrivacy::kPublic);
  shelf.open();
  EXPECT_EQ(names(shelf), "group m f ");
  int place = -2;
  EXPECT_EQ(shelf.last(kMember, &place).name().str(), "m");
  EXPECT_EQ(place, 1);
  EXPECT_EQ(shelf.current(&place).name().str(), "m");
  EXPECT_TRUE(shelf.previous(kMember).isNull() && shelf.previous(nullptr).isNull());
  EXPECT_EQ(shelf.next(kFolder).name().str(), "f");
  EXPECT_TRUE(shelf.next(nullptr).isNull() && shelf.current().isNull());
  EXPECT_EQ(shelf.previous(nullptr).name().str(), "f");
  EXPECT_TRUE(shelf.first(&TVProjectFolder::theClass).isNull());  // Not a folder's subclass.
}

}  // namespace
}  // namespace foldapi
