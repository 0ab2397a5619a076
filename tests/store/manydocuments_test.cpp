// A project of many documents: its records after a rewrite are in the order that linked chains
// would have given them, and its memory goes with the last close.
#include <malloc.h>

#include <cstdint>
#include <string>
#include <vector>

#include "runtime/bulkmemory.h"
#include "store/storefixture.h"

namespace store_test {
namespace {

using std::string;

// What a table of children does with records that all differ, reduced to what decides their order:
// the length of each chain and the counts of lookups.
class Chains {
 public:
  explicit Chains(const std::vector<int>& hashes) : hashes_(hashes) {}

  // A lookup, and the addition.
  void read(int record) {
    lookUpInVain(record);
    add(record);
  }
  // In a walk: each stands at the start of its chain, and nothing grows.
  void removeAll() {
    for (std::vector<int>& chain : buckets_) {
      hits_ += static_cast<int>(chain.size());
      chain.clear();
    }
    count_ = 0;
  }
  void remove(int record) {
    grow();
    std::vector<int>& chain = chainOf(record);
    const auto place = std::find(chain.begin(), chain.end(), record);
    passed_ += static_cast<int>(place - chain.begin());
    ++hits_;
    --count_;
    chain.erase(place);
  }
  std::vector<int> order() const {
    std::vector<int> all;
    for (const std::vector<int>& chain : buckets_)
      all.insert(all.end(), chain.begin(), chain.end());
    return all;
  }

 private:
  std::vector<int>& chainOf(int record) {
    return buckets_[static_cast<size_t>(hashes_[static_cast<size_t>(record)]) % buckets_.size()];
  }
  void lookUpInVain(int record) {
    grow();
    ++misses_;
    passed_ += static_cast<int>(chainOf(record).size());
  }
  void add(int record) {
    lookUpInVain(record);
    chainOf(record).push_back(record);
    ++count_;
  }
  void grow() {
    static constexpr size_t kSizes[] = {17,     41,     79,     137,   223,   347,    541,
                                        821,    1229,   1847,   2767,  4139,  6197,   9277,
                                        13901,  20849,  31247,  46853, 70237, 105319, 157931,
                                        236867, 355211, 532733, 799003};
    int all = hits_ + misses_ + passed_;
    if (all < 100) return;
    if (hits_ + misses_ > all / 2) {
      for (; all > 30000; all /= 2) {
        hits_ /= 2;
        misses_ /= 2;
        passed_ /= 2;
      }
      return;
    }
    const size_t* size = kSizes;
    while (size != std::end(kSizes) && *size <= buckets_.size()) ++size;
    if (count_ * 4 < buckets_.size() || size == std::end(kSizes)) return;
    const std::vector<int> records = order();
    buckets_.assign(*size, {});
    count_ = 0;
    hits_ = misses_ = passed_ = 0;
    for (auto record = records.rbegin(); record != records.rend(); ++record) add(*record);
  }

  const std::vector<int>& hashes_;
  std::vector<std::vector<int>> buckets_ = std::vector<std::vector<int>>(17);
  size_t count_ = 0;
  int hits_ = 0;
  int misses_ = 0;
  int passed_ = 0;
};

class ManyDocuments : public Store {
 protected:
  static constexpr int kCount = 100000;

  ManyDocuments() {
    const auto weakHash = [](const string& text) {
      int sum = 0;
      for (size_t i = 0; i < text.size(); i += 2) sum += text[i];
      return sum;
    };
    string all = kHead;
    for (int i = 0; i < kCount; ++i) {
      const string number = std::to_string(1000000 + i * 7919LL % kCount);
      const string path = "/v/m" + number.substr(4);
      const string archive = "f" + number + ".c_v";
      hashes_.push_back(weakHash(path) + weakHash(archive));
      records_.push_back("[DOCUMENT=" + path + ";" + archive + ";w;f" + number + ".c]\n");
      all += records_.back();
    }
    putProject();
    put("pub/p/trvsfold.pub", all);
    root_.open();
    project_ = support::child(root_, "P");
  }

  const string kHead = "[FORMAT=TRVS_GUI]\nVersion=5.2\n\n";
  std::vector<string> records_;
  std::vector<int> hashes_;
  TVHandle root_ = makeRoot();
  TVHandle project_;
};

TEST_F(ManyDocuments, AreRewrittenInTheOrderOfLinkedChains) {
  Chains chains(hashes_);
  for (int use = 0; use < 2; ++use) {
    project_.open();
    for (int i = 0; i < kCount; ++i) chains.read(i);
    if (use == 0) {
      project_.close();
      chains.removeAll();
    }
  }
  for (const size_t gone : {size_t{kCount} / 3, size_t{0}, size_t{500}, size_t{kCount} - 4}) {
    const int record = chains.order()[gone];
    const string& text = records_[static_cast<size_t>(record)];
    const string name = text.substr(text.rfind(';') + 1, 10);
    TVHandle& archive = project_.find(VString(name), VCase::kExact, &TVArchiveMember::theClass,
                                      TVSortType::kWorkName);
    ASSERT_FALSE(archive.isNull());
    archive.destroy(theNoLock());
    chains.remove(record);
    string want = kHead;
    for (const int each : chains.order()) want += records_[static_cast<size_t>(each)];
    EXPECT_TRUE(get("pub/p/trvsfold.pub") == want);
  }
}

TEST_F(ManyDocuments, GiveTheirMemoryBackButForOneThatLivesOn) {
  const size_t before = BulkMemory::pagesInUse();
  project_.open();
  const size_t all = BulkMemory::pagesInUse();
  EXPECT_GT(all, before + 5);
  put("pub/p/trvsfold.pub", get("pub/p/trvsfold.pub") + "[DOCUMENT=/v;new_v;;new]\n");
  TVHandle(project_).open();  // Reads all again.
  EXPECT_LE(BulkMemory::pagesInUse(), all + 1);
  TVHandle held(support::child(project_, "new"));
  ASSERT_FALSE(held.isNull());
  project_.close();
  EXPECT_LE(BulkMemory::pagesInUse(), before + 2);
  EXPECT_EQ(held.as<TVArchiveMember>()->pairedName(), "new(/v/new_v)");
  held.attach(nullptr);
  EXPECT_EQ(BulkMemory::pagesInUse(), before);
}

// What the second opening takes in another order than the first one must find its place in what
// that left.
TEST_F(ManyDocuments, LeaveNoHolesThatTheNextOpeningGrowsBy) {
  const auto heap = [] { return mallinfo2().arena + mallinfo2().hblkhd; };
  size_t first = 0;
  for (int round = 0; round < 4; ++round) {
    project_.open();
    project_.close();
    if (round == 0) first = heap();
  }
  EXPECT_LE(heap(), first + first / 50);
}

}  // namespace
}  // namespace store_test
