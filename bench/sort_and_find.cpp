// bench/sort_and_find.cpp: sorting the archives of a large project, and finding them by name.
//
// The peer is what a program does that keeps the data file as plain structs of pointers into its
// bytes: std::sort with strcasecmp, and a binary search. Both sides sort a list that was just read.
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bigproject.h"

namespace {

constexpr int kDocuments = 100000;

struct Plain {
  const char* archivePath;
  const char* archiveName;
  const char* workPath;
  const char* workName;
};
using Field = const char* Plain::*;

// The fields by which a list is sorted, in the order in which they decide.
struct Order {
  Field fields[4];

  bool operator()(const Plain& a, const Plain& b) const {
    for (const Field field : fields) {
      const int order = strcasecmp(a.*field, b.*field);
      if (order != 0) return order < 0;
    }
    return false;
  }
};
constexpr Order kByWorkName = {
    {&Plain::workName, &Plain::workPath, &Plain::archivePath, &Plain::archiveName}};
constexpr Order kByQualWorkName = {
    {&Plain::workPath, &Plain::workName, &Plain::archivePath, &Plain::archiveName}};

// How a list is sorted and searched, on both sides.
struct Kind {
  const char* sortName;
  double sortAim;
  const char* findName;
  Order order;
  void (*setSort)(TVHandle*);  // Null for the order that a list has by itself.
  TVHandle* (*find)(TVHandle*, const char*);
  const char* (*name)(TVHandle*);
  std::string (*key)(const Plain&);
};
const Kind kWork = {
    "sort by workfile",  0.9,
    "find by workfile",  kByWorkName,
    SetSortTypeWorkName, FindArchiveByWorkName,
    GetWorkfileName,     [](const Plain& plain) { return std::string(plain.workName); }};
const Kind kQualWork = {
    "sort by directory and workfile",
    0.7,
    "find by directory and workfile",
    kByQualWorkName,
    nullptr,
    FindArchiveByQualWorkName,
    GetQualWorkfileName,
    [](const Plain& plain) { return std::string(plain.workPath) + "\\" + plain.workName; }};

class Lists {
 public:
  Lists() {
    for (int i = 0; i < kDocuments; ++i) documents_.push_back(database_.document(i));
    for (const bench::Document& document : documents_) {
      plain_.push_back({document.archiveDirectory.c_str(), document.archiveName.c_str(),
                        document.workDirectory.c_str(), document.workName.c_str()});
    }
  }

  void run() {
    bench::printHead();
    for (const Kind* kind : {&kWork, &kQualWork}) {
      bench::compare(
          kind->sortName, kDocuments, [&] { return sort(*kind); },
          {{"std::sort with strcasecmp", [&] { return sortPlain(*kind); }, kind->sortAim}});
    }
    for (const Kind* kind : {&kWork, &kQualWork}) compareFinds(*kind);
  }

 private:
  // A list has its first order when another one is asked for, so sorting by workfile starts there.
  double sort(const Kind& kind) const {
    const bench::OpenBigProject project;
    if (kind.setSort != nullptr) kind.setSort(project.handle());
    TVHandle* first = nullptr;
    const double seconds = bench::secondsOf([&] { first = GetFirstArchive(project.handle()); });
    std::string before = kind.name(first);
    int count = 0;
    for (; first != nullptr; first = GetNextArchive(project.handle())) {
      const std::string name = kind.name(first);
      bench::check(strcasecmp(before.c_str(), name.c_str()) <= 0, "names that ascend");
      before = name;
      ++count;
    }
    bench::check(count == kDocuments, "all archives in the sorted list");
    return seconds;
  }

  double sortPlain(const Kind& kind) const {
    std::vector<Plain> list = plain_;
    if (kind.setSort != nullptr) std::sort(list.begin(), list.end(), kQualWork.order);
    const double seconds =
        bench::secondsOf([&] { std::sort(list.begin(), list.end(), kind.order); });
    bench::check(std::is_sorted(list.begin(), list.end(), kind.order), "plain names that ascend");
    return seconds;
  }

  // Finds each archive once, in an order of its own.
  void compareFinds(const Kind& kind) const {
    const bench::OpenBigProject project;
    if (kind.setSort != nullptr) kind.setSort(project.handle());
    std::vector<Plain> list = plain_;
    std::sort(list.begin(), list.end(), kind.order);
    std::vector<std::string> keys;
    for (const Plain& plain : plain_) keys.push_back(kind.key(plain));
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    for (const std::string& key : keys) {
      bench::check(kind.name(kind.find(project.handle(), key.c_str())) == key, "the one asked for");
    }
    bench::compare(
        kind.findName, kDocuments, [&] { return findAll(kind, project, keys); },
        {{"binary search with strcasecmp", [&] { return findPlain(kind, list, keys); }, 0.75}});
  }

  static double findAll(const Kind& kind, const bench::OpenBigProject& project,
                        const std::vector<std::string>& keys) {
    int found = 0;
    const double seconds = bench::secondsOf([&] {
      for (const std::string& key : keys) {
        found += kind.find(project.handle(), key.c_str()) != nullptr ? 1 : 0;
      }
    });
    bench::check(found == kDocuments, "all archives found");
    return seconds;
  }

  static double findPlain(const Kind& kind, const std::vector<Plain>& list,
                          const std::vector<std::string>& keys) {
    int found = 0;
    const double seconds = bench::secondsOf([&] {
      for (const std::string& key : keys) found += searched(kind, list, key) ? 1 : 0;
    });
    bench::check(found == kDocuments, "all plain structs found");
    return seconds;
  }

  // Looks for a key by the one field or the two that it holds.
  static bool searched(const Kind& kind, const std::vector<Plain>& list, const std::string& key) {
    const size_t cut = key.rfind('\\');
    const std::string directory = cut == std::string::npos ? "" : key.substr(0, cut);
    const char* const name = key.c_str() + (cut == std::string::npos ? 0 : cut + 1);
    const Field first = kind.order.fields[0];
    const Field second = kind.order.fields[1];
    const auto compare = [&](const Plain& plain) {
      if (cut == std::string::npos) return strcasecmp(plain.*first, name);
      const int order = strcasecmp(plain.*first, directory.c_str());
      return order != 0 ? order : strcasecmp(plain.*second, name);
    };
    const auto place = std::partition_point(list.begin(), list.end(),
                                            [&](const Plain& plain) { return compare(plain) < 0; });
    return place != list.end() && compare(*place) == 0;
  }

  const bench::BigDatabase database_{kDocuments, false};
  std::vector<bench::Document> documents_;
  std::vector<Plain> plain_;
};

void run() { Lists().run(); }

}  // namespace

int main() { return bench::runAll(run); }
