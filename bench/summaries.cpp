// bench/summaries.cpp: what a client pays to see the state of each archive of a large project.
//
// The floor is what no reader of archives can do without: the system calls. A summary is built from
// the last bytes of each file, compared with a loop that opens, asks for the size, reads the
// trailer and the block it points to, and closes. A summary that is in memory has to be shown to be
// current, compared with a bare stat. Where the library's own calls are others than those of the
// peer, they stand alone beside it: below their ratio to the peer no library comes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "bigproject.h"
#include "toolkit/archiveinfo.h"

namespace {

using foldapi::TVArchiveInfo52;
using foldapi::VPathString;

constexpr int kArchives = 20000;

// The distance from the trailer back to the block.
uint32_t blockSize(const unsigned char* trailer) {
  const uint32_t back = static_cast<uint32_t>(trailer[5]) << 24 |
                        static_cast<uint32_t>(trailer[6]) << 16 |
                        static_cast<uint32_t>(trailer[7]) << 8 | trailer[8];
  return 0U - back;
}

// Gives whether the block that was read ends as one does.
bool readBlock(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  struct stat status;
  unsigned char trailer[9];
  char block[4096];
  if (file < 0 || fstat(file, &status) != 0 || pread(file, trailer, 9, status.st_size - 9) != 9) {
    return false;
  }
  const uint32_t size = blockSize(trailer);
  if (size > sizeof block) return false;
  const ssize_t count = pread(file, block, size, status.st_size - 9 - static_cast<off_t>(size));
  close(file);
  return count == static_cast<ssize_t>(size) && block[size - 1] == '@';
}

// The calls that a summary takes, and nothing else.
bool readEnd(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  struct stat status;
  char bytes[4096];
  if (file < 0 || fstat(file, &status) != 0) return false;
  const off_t size = std::min<off_t>(status.st_size, sizeof bytes);
  const ssize_t count = pread(file, bytes, static_cast<size_t>(size), status.st_size - size);
  close(file);
  return count == size;
}

// What the archives' records of revision counts add up to, found without the library.
int64_t revisionsIn(const std::vector<std::string>& natives) {
  int64_t sum = 0;
  for (const std::string& native : natives) {
    const std::string bytes = support::readFile(native);
    const size_t record = bytes.rfind(std::string("J\0\2", 3));
    bench::check(record != std::string::npos, "an archive with a revision count");
    sum += static_cast<unsigned char>(bytes[record + 3]) * 256 +
           static_cast<unsigned char>(bytes[record + 4]);
  }
  return sum;
}

class Summaries {
 public:
  Summaries() {
    for (int i = 0; i < kArchives; ++i) {
      const bench::Document document = database_.document(i);
      natives_.push_back(database_.nativePath(document));
      paths_.emplace_back(database_.textPath(document));
    }
    revisions_ = revisionsIn(natives_);
  }

  void run() {
    bench::printHead();
    bench::compare("read a summary", kArchives, [this] { return loadAll(); },
                   {{"open, fstat, 2 preads, close", [this] { return eachFound(readBlock); }, 0.9},
                    {"open, fstat, pread, close", [this] { return eachFound(readEnd); }}});
    std::vector<TVArchiveInfo52> infos;
    for (const VPathString& path : paths_) {
      bench::check(infos.emplace_back(path).Load() == 0, "a summary that can be read");
    }
    bench::compare("see that a summary is current", kArchives, [&] { return areCurrent(&infos); },
                   {{"stat", [this] { return statAll(); }, 1.35}});
    const bench::OpenBigProject project;
    const std::vector<TVHandle*> archives = project.archives();
    bench::compare("ask an archive that is unchanged", kArchives, [&] { return askAll(archives); },
                   {{"stat", [this] { return statAll(); }, 1.35}});
    bench::compare("ask for its status word", kArchives, [&] { return askStates(archives); },
                   {{"stat", [this] { return statAll(); }, 1.5},
                    {"stat, stat of configuration, user", [this] { return statBoth(); }}});
  }

 private:
  double loadAll() const {
    int64_t revisions = 0;
    const double seconds = bench::secondsOf([&] {
      for (const VPathString& path : paths_) {
        TVArchiveInfo52 info(path);
        if (info.Load() == 0) revisions += info.summary().revisionCount;
      }
    });
    bench::check(revisions == revisions_, "the revisions of all summaries");
    return seconds;
  }

  static double areCurrent(std::vector<TVArchiveInfo52>* infos) {
    int current = 0;
    const double seconds = bench::secondsOf([&] {
      for (TVArchiveInfo52& info : *infos) current += info.IsCurrent() ? 1 : 0;
    });
    bench::check(current == kArchives, "summaries that are current");
    return seconds;
  }

  double statAll() const {
    return eachFound([](const char* path) {
      struct stat status;
      return stat(path, &status) == 0;
    });
  }

  // The user's locks are told apart by the configuration and the account that count now.
  double statBoth() const {
    const std::string configuration = database_.configuration();
    return eachFound([&](const char* path) {
      struct stat status;
      const uid_t user = geteuid();
      return stat(configuration.c_str(), &status) == 0 && stat(path, &status) == 0 && user == user_;
    });
  }

  template <typename Find>
  double eachFound(Find find) const {
    int found = 0;
    const double seconds = bench::secondsOf([&] {
      for (const std::string& native : natives_) found += find(native.c_str()) ? 1 : 0;
    });
    bench::check(found == kArchives, "files that are there");
    return seconds;
  }

  // Through the C interface, the project's cache and the summary's own look at its file.
  double askAll(const std::vector<TVHandle*>& archives) const {
    int64_t revisions = 0;
    const double seconds = bench::secondsOf([&] {
      for (TVHandle* archive : archives) revisions += GetNumRevisions(archive);
    });
    bench::check(revisions == revisions_, "the revisions of all archives");
    return seconds;
  }

  // Asks as well who the user is, since the word tells whose locks there are.
  double askStates(const std::vector<TVHandle*>& archives) const {
    int64_t readable = 0;
    const double seconds = bench::secondsOf([&] {
      for (TVHandle* archive : archives) readable += GetArchiveStatus(archive) & 1;
    });
    bench::check(readable == kArchives, "archives that can be read");
    return seconds;
  }

  const bench::BigDatabase database_{kArchives, true};
  std::vector<std::string> natives_;
  std::vector<VPathString> paths_;
  const uid_t user_ = geteuid();
  int64_t revisions_ = 0;
};

void run() { Summaries().run(); }

}  // namespace

int main() { return bench::runAll(run); }
