// What branches and revisions make of lists of records, in order and out of it, and who gives which
// list back. The lists are made by hand: the engine makes none that is out of order.
#include "store/52branch.h"

#include <dlfcn.h>

#include <deque>
#include <map>
#include <sstream>

#include "store/storefixture.h"

namespace {

// A list from one record a line: the level, what it is ("R" a revision, "^" a head, "+" has a
// branch, "t" time, "a" author, "c" change, "!" locker, "#" label, "~" group), the text.
class List {
 public:
  explicit List(const std::string& lines) {
    static const std::map<char, int> kFlags = {{'R', TRVS_TREE_REVISION},   {'^', TRVS_TREE_HEAD},
                                               {'+', TRVS_TREE_HAS_BRANCH}, {'t', TRVS_TREE_TIME},
                                               {'a', TRVS_TREE_AUTHOR},     {'c', TRVS_TREE_CHANGE},
                                               {'!', TRVS_TREE_LOCKER},     {'#', TRVS_TREE_LABEL},
                                               {'~', TRVS_TREE_GROUP},      {'-', 0}};
    std::istringstream in(lines);
    int level;
    for (std::string signs, text; in >> level >> signs && std::getline(in >> std::ws, text);) {
      int flags = 0;
      for (const char sign : signs) flags |= kFlags.at(sign);
      texts_.push_back(text == "\"\"" ? "" : text);
      records_.push_back({nullptr, static_cast<uint16_t>(flags), static_cast<int16_t>(level),
                          texts_.back().c_str()});
      if (records_.size() > 1) records_[records_.size() - 2].next = &records_.back();
    }
  }
  TrvsRevTree* first() { return records_.empty() ? nullptr : &records_.front(); }

 private:
  std::deque<TrvsRevTree> records_;
  std::deque<std::string> texts_;
};

// While there is one, it answers for the toolkit.
struct FakeToolkit {
  TrvsRevTree* list = nullptr;  // To be fetched next.
  int32_t status = 0;
  std::string calls = {};
};
FakeToolkit* theFake = nullptr;

}  // namespace

int32_t TrvsRevTreeInfo(int32_t context, const char* archive, TrvsRevTree** tree, int32_t fetch) {
  if (theFake == nullptr) {
    static const auto real =
        reinterpret_cast<decltype(&TrvsRevTreeInfo)>(dlsym(RTLD_NEXT, "TrvsRevTreeInfo"));
    return real(context, archive, tree, fetch);
  }
  std::string& calls = theFake->calls;
  if (context != -1 || (fetch == 0) != (archive == nullptr)) calls += "wrong arguments ";
  if (fetch == 0) {
    calls += std::string("return ") + (*tree)->text + " ";
    *tree = nullptr;
    return 0;
  }
  calls += std::string("fetch ") + archive + (*tree != nullptr ? " over another " : " ");
  if (theFake->status == 0) *tree = theFake->list;
  return theFake->status;
}

namespace store_test {
namespace {

// All below a branch as text: "Trunk 1.0*{time|author|change}[#label ~group !locker](branches)",
// where "*" marks a locked revision. What has no number stands in the order of the owner's table.
std::string shown(TVHandle& handle) {
  std::string text;
  const auto* item = handle.as<TVArchiveItem>();
  const bool isRevision = handle.as<TVRevision>() != nullptr;
  if (isRevision) {
    text = " " + item->itemName().str() +
           (handle.attribute() == TVAttribute::kLockedRevision ? "*{" : "{") +
           item->firstAttribute().str() + "|" + item->secondAttribute().str() + "|" +
           item->thirdAttribute().str() + "}";
  } else {
    const char* const sign = handle.as<TVVersionLabel>() != nullptr     ? "#"
                             : handle.as<TVPromotionLabel>() != nullptr ? "~"
                             : handle.as<TVLocker>() != nullptr         ? "!"
                                                                        : "";
    text = sign + item->itemName().str();
  }
  handle.open();
  for (TVHandle* child : support::children(handle)) {
    text += isRevision ? "(" + shown(*child) + ")" : shown(*child);
  }
  handle.close();
  return text;
}

const char* const kAssertion = "Assertion Failed: 52branch.cpp 96\n";

TEST_F(Store, BranchesTakeWhatIsTheirsFromAList) {
  const struct {
    const char* why;
    const char* list;
    const char* want;
    int assertions = 0;
  } cases[] = {
      {"no list", "", "Trunk"},
      {"no revisions", "1 - \"\"", "Trunk"},
      {"all that hangs on a revision",
       "1 R^ 1.0\n1 t T0\n1 a ann\n1 c new\n1 ! ben\n1 ! cy\n1 # B\n1 # A\n1 ~ dev\n"
       "1 R 1.1\n1 t T1\n1 a ben\n1 c \"\"",
       "Trunk 1.0*{T0|ann|new}(!ben)(!cy)(#A)(~dev)(#B) 1.1{T1|ben|}"},
      {"branches in branches, several off one revision, and a label after them all",
       "1 R^+ 1.0\n1 t 1\n1 a 1\n1 c 1\n"
       "2 R^+ 1.0.1.0\n2 t 2\n2 a 2\n2 c 2\n2 # IN\n"
       "3 R^ 1.0.1.0.1.0\n3 t 3\n3 a 3\n3 c 3\n"
       "3 R 1.0.1.0.1.1\n3 t 4\n3 a 4\n3 c 4\n3 ! ann\n"
       "2 R 1.0.1.1\n2 t 5\n2 a 5\n2 c 5\n"
       "2 R^ 1.0.2.0\n2 t 6\n2 a 6\n2 c 6\n"
       "1 R 1.1\n1 t 7\n1 a 7\n1 c 7\n1 # END",
       "Trunk 1.0{1|1|1}"
       "(1.0.1 1.0.1.0{2|2|2}(#IN)(1.0.1.0.1 1.0.1.0.1.0{3|3|3} 1.0.1.0.1.1*{4|4|4}(!ann))"
       " 1.0.1.1{5|5|5})"
       "(1.0.2 1.0.2.0{6|6|6})"
       " 1.1{7|7|7}(#END)"},
      {"texts that are missing, one at a time",
       "1 R^ 1.0\n1 a b\n1 c c\n1 R 1.1\n1 t a\n1 c c\n1 R 1.2\n1 t a\n1 a b\n1 R 1.3",
       "Trunk 1.0{|b|c} 1.1{a||c} 1.2{a|b|} 1.3{||}", 4},
      {"texts of a branch are not those of its origin",
       "1 R^+ 1.0\n2 R^ 1.0.1.0\n2 t t\n2 a a\n2 c c", "Trunk 1.0{||}(1.0.1 1.0.1.0{t|a|c})", 1},
      {"nothing is taken before the first revision",
       "1 t t\n1 ! ann\n1 # L\n5 R 5.5\n1 R 1.0\n1 t 1", "Trunk 1.0{1||}", 1},
      {"one number twice is one revision, as it came last",
       "1 R^ 1.0\n1 t 1\n1 a 1\n1 c 1\n1 ! ann\n1 # OLD\n1 R 1.0\n1 t 2\n1 a 2\n1 c 2\n1 # NEW",
       "Trunk 1.0{2|2|2}(#NEW)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    assertions.clear();
    List list(c.list);
    TVHandle trunk(&sink, new TVBranch52("Trunk", 1, 1, list.first(), nullptr));
    EXPECT_EQ(shown(trunk), c.want);
    std::string fired;
    for (int i = 0; i < c.assertions; ++i) fired += kAssertion;
    EXPECT_EQ(assertions, fired);
  }
}

std::string withTexts(const std::string& revisions) {
  std::string list;
  std::istringstream in(revisions);
  for (std::string line; std::getline(in, line);) {
    list += line + "\n";
    const std::string level = line.substr(0, 2);
    if (line[2] == 'R') list += level + "t t\n" + level + "a a\n" + level + "c c\n";
  }
  return list;
}

// A client that holds handles sees them follow the archive; the lists go back as they came, each
// once, and nobody looks into one that has gone.
TEST_F(Store, MembersMoveOverFromListToList) {
  FakeToolkit fake;
  theFake = &fake;
  auto first = std::make_unique<List>(
      withTexts("1 R^+ 1.0\n2 R^ 1.0.1.0\n2 # OLD\n1 R 1.1\n1 # GONE\n1 R 1.2"));
  List second(withTexts("1 R^+ 1.0\n1 ! ann\n2 R^ 1.0.1.0\n2 # NEW\n1 R 1.2\n1 R 1.3"));
  {
    TVHandle member(&sink, new TVArchiveMember52({"/v", "a_v", "/w", "a"}, nullptr));
    fake.list = first->first();
    member.open();
    EXPECT_EQ(std::exchange(fake.calls, ""), "fetch /v/a_v(/w/a) ");
    TVHandle trunk(member.first(nullptr));
    EXPECT_EQ(shown(trunk),
              "Trunk 1.0{t|a|c}(1.0.1 1.0.1.0{t|a|c}(#OLD)) 1.1{t|a|c}(#GONE) 1.2{t|a|c}");
    trunk.open();
    const TVHandle origin(trunk.find("0", VCase::kIgnored, nullptr, TVSortType::kDefault));
    TVHandle gone(trunk.find("1", VCase::kIgnored, nullptr, TVSortType::kDefault));
    TVHandle branch(child(trunk.first(nullptr), "1.0.1"));
    member.close();
    trunk.close();

    fake.list = second.first();
    member.open();
    EXPECT_EQ(std::exchange(fake.calls, ""), "fetch /v/a_v(/w/a) return 1.0 ");
    first.reset();
    EXPECT_EQ(trunk.object(), member.first(nullptr).object());
    EXPECT_EQ(shown(branch), "1.0.1");  // It has lost its list, and gets the new one from above.
    EXPECT_EQ(shown(trunk),
              "Trunk 1.0*{t|a|c}(!ann)(1.0.1 1.0.1.0{t|a|c}(#NEW)) 1.2{t|a|c} 1.3{t|a|c}");
    EXPECT_EQ(shown(branch), "1.0.1 1.0.1.0{t|a|c}(#NEW)");
    EXPECT_EQ(static_cast<const TVRevision52*>(origin.object())->owner(), trunk.object());
    EXPECT_TRUE(gone.isNull());
    member.close();

    for (const auto& [status, result] :
         {std::pair{TRVS_NO_ARCHIVE, 2}, {TRVS_CANCELLED, 3}, {TRVS_NOT_AN_ARCHIVE, 2}}) {
      fake.status = status;
      fake.calls.clear();
      EXPECT_EQ(member.object()->readData(member, nullptr), result);
      EXPECT_EQ(fake.calls, std::string("fetch /v/a_v(/w/a) ") +
                                (status == TRVS_NO_ARCHIVE ? "return 1.0 " : ""));
      EXPECT_NE(told(), "");
    }
    EXPECT_EQ(shown(trunk), "Trunk");
    fake.status = 0;
    List third(withTexts("1 R^ 1.1"));
    fake.list = third.first();
    member.open();
    EXPECT_EQ(shown(trunk), "Trunk 1.1{t|a|c}");
    fake.calls.clear();
    EXPECT_TRUE(gone.isNull());
    member.attach(nullptr);
    EXPECT_EQ(fake.calls, "");  // The trunk is still held, and with it its member.
    trunk.attach(nullptr);
    EXPECT_EQ(fake.calls, "return 1.1 ");
  }
  theFake = nullptr;
}

}  // namespace
}  // namespace store_test
