// bench/archive_history.cpp: what a long history costs: to add to, to look back into, and to keep.
//
// The peer is RCS, whole process against whole process, over the same files. `ci` and `co` are used
// as they are installed: on Debian they are shell scripts that start `rcs`, so the cost of a shell
// is printed as well. Our process is archive_client, which links the toolkit and nothing else; our
// call is the same function in a process that runs already.
//
// Below that are floors: writing the bytes of our archive, syncing and renaming as little as a safe
// commit needs; zstd alone, packing what a check-in has to pack; and cat, copying what a check-out
// gives.
//
// Runs in $TMPDIR, else in /tmp. With TMPDIR=/dev/shm the disk has no part in it.
#define ZSTD_STATIC_LINKING_ONLY
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <zstd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "materials.h"
#include "processes.h"
#include "support/files.h"

namespace {

// How often the toolkit asked for bytes to be brought to the disk.
struct Syncs {
  int files = 0;
  int directories = 0;
} syncs;

int countedSync(long call, int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) == 0)
    ++(S_ISDIR(status.st_mode) ? syncs.directories : syncs.files);
  return static_cast<int>(syscall(call, descriptor));
}

}  // namespace

// The loader prefers these to the C library's, for the shared library too.
extern "C" {
__attribute__((visibility("default"))) int fsync(int descriptor) {
  return countedSync(SYS_fsync, descriptor);
}
__attribute__((visibility("default"))) int fdatasync(int descriptor) {
  return countedSync(SYS_fdatasync, descriptor);
}
}

namespace {

using bench::check;
using bench::Cost;
using bench::costOf;
using bench::costOfProcess;
using bench::Way;

struct Aims {
  double checkIn, call, tip, oldest, stored;
};

void writeSyncRename(const std::string& path, const std::string& bytes) {
  const std::string other = path + ".new";
  const int file = open(other.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  check(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a write");
  check(fsync(file) == 0 && close(file) == 0, "a sync");
  check(rename(other.c_str(), path.c_str()) == 0, "a new name");
  const int directory = open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY);
  check(fsync(directory) == 0 && close(directory) == 0, "a sync");
}

// What a check-in can't do without: the new content by itself, and the one before packed against
// it. zstd finds by itself what they have in common.
class Packer {
 public:
  size_t pack(const std::string& content, const std::string& before) {
    std::string room(ZSTD_compressBound(std::max(content.size(), before.size())), '\0');
    const size_t whole = packOne(content, {}, &room);
    return whole + packOne(before, content, &room);
  }

 private:
  size_t packOne(const std::string& content, const std::string& prefix, std::string* room) {
    ZSTD_CCtx_reset(context_.get(), ZSTD_reset_session_and_parameters);
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_compressionLevel, 1);
    if (!prefix.empty()) {
      ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_windowLog, 25);
      ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_enableLongDistanceMatching, 1);
      ZSTD_CCtx_refPrefix(context_.get(), prefix.data(), prefix.size());
    }
    const size_t size =
        ZSTD_compress2(context_.get(), room->data(), room->size(), content.data(), content.size());
    check(ZSTD_isError(size) == 0, "a frame");
    return size;
  }

  struct Free {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
  };
  std::unique_ptr<ZSTD_CCtx, Free> context_{ZSTD_createCCtx()};
};

// One file and its history, kept by our process, by our call and by RCS, in files of their own.
class Histories {
 public:
  Histories(const char* name, bench::Material* material, size_t count, const Aims& aims)
      : name_(name), aims_(aims), material_(*material), count_(count) {
    for (const char* each : {"process", "call"}) {
      costOfProcess({ARCHIVE_CLIENT, "make", archive(each), work(each)});
    }
    costOfProcess({"rcs", "-i", "-kb", "-q", "-t-text", archive("rcs")});
  }

  void run() {
    std::printf("\n%s: %zu revisions\n", name_, count_);
    bench::printCostHead();
    checkInAll();
    checkOut("the tip", "", revisions_.back(), aims_.tip, 0);
    checkOut("the oldest", "1.0", revisions_.front(), 0, aims_.oldest);
    compareSizes();
  }

 private:
  std::string archive(const char* which) const { return directory_ / (std::string(which) + ",v"); }
  std::string work(const char* which) const { return directory_ / which; }

  void checkInAll() {
    const std::string rcsArchive = archive("rcs");
    std::string stored;  // Our archive as it was before, for the floor.
    std::vector<Way> ways{
        {"our process",
         [&] {
           return costOfProcess({ARCHIVE_CLIENT, "ci", archive("process"), work("process")});
         }},
        {"our call", [&] { return checkInByCall(); }},
        {"ci",
         [&] {
           return costOfProcess({"ci", "-l", "-q", "-mchanged", work("rcs"), rcsArchive});
         }},
        {"write, sync, rename",
         [&] { return costOf([&] { writeSyncRename(work("floor"), stored); }); }},
        {"zstd alone", [&] {
           const std::string& before =
               revisions_[revisions_.size() < 2 ? 0 : revisions_.size() - 2];
           return costOf([&] { check(packer_.pack(revisions_.back(), before) > 0, "frames"); });
         }}};
    for (size_t round = 0; round < count_; ++round) {
      revisions_.push_back(material_.next());
      for (const char* each : {"process", "call", "rcs"}) {
        support::writeFile(work(each), revisions_.back());
      }
      bench::runInTurn(&ways, round);
      stored = support::readFile(archive("process"));
    }
    for (Way& way : ways) {  // The first one makes a history; the others add to it.
      way.clocks.erase(way.clocks.begin());
      way.processors.erase(way.processors.begin());
    }
    printRatio("check in, process", ways[0], ways[2], aims_.checkIn);
    printRatio("check in, call", ways[1], ways[2], aims_.call);
    printRatio("check in, call", ways[1], ways[3]);
    printRatio("check in, call", ways[1], ways[4]);
    check(syncs.files > 0, "a sync that was counted");
    std::printf("syncs in one check-in: %d of files, %d of directories\n", syncsOfCall_.files,
                syncsOfCall_.directories);
  }

  Cost checkInByCall() {
    const std::string both = archive("call") + "(" + work("call") + ")";
    const Syncs before = syncs;
    int32_t status = -1;
    const Cost cost = costOf([&] {
      status = TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr,
                               "changed", nullptr, nullptr, 0, TRVS_PUT_KEEP_LOCK);
    });
    check(status == 0, "status " + std::to_string(status) + " of a check-in");
    syncsOfCall_ = {syncs.files - before.files, syncs.directories - before.directories};
    return cost;
  }

  void checkOut(const char* what, const std::string& revision, const std::string& bytes,
                double catAim, double rcsAim) {
    const std::string out = directory_ / "out";
    const std::string outRcs = directory_ / "out.rcs";
    const std::string outCat = directory_ / "out.cat";
    const std::string plain = directory_ / "plain";
    support::writeFile(plain, bytes);
    std::vector<std::string> ours{ARCHIVE_CLIENT, "co", archive("process"), out};
    if (!revision.empty()) ours.push_back(revision);
    const std::string rcs = revision.empty() ? "-q" : "-r1.1";
    // Each starts without an output, as after a deletion.
    const auto fresh = [](const std::string& path, const auto& round) {
      std::filesystem::remove(path);
      return round();
    };
    std::vector<Way> ways{
        {"our process", [&] { return fresh(out, [&] { return costOfProcess(ours); }); }},
        {"our call", [&] { return fresh(out, [&] { return checkOutByCall(out, revision); }); }},
        {"co -p",
         [&] {
           return fresh(outRcs, [&] {
             return costOfProcess({"co", "-p", "-q", rcs, work("rcs"), archive("rcs")}, outRcs);
           });
         }},
        {"cat",
         [&] { return fresh(outCat, [&] {
                 return costOfProcess({"cat", plain}, outCat);
               }); }},
        {"sh -c :", [] {
           return costOfProcess({"sh", "-c", ":"});
         }}};
    for (size_t round = 0; round < kCheckOuts; ++round) {
      bench::runInTurn(&ways, round);
      for (const std::string& each : {out, outRcs, outCat}) {
        check(support::readFile(each) == bytes, "bytes of " + each);
      }
    }
    const std::string process = std::string(what) + ", process";
    const std::string call = std::string(what) + ", call";
    printRatio(process.c_str(), ways[0], ways[2], rcsAim);
    printRatio(process.c_str(), ways[0], ways[3], catAim);
    printRatio(process.c_str(), ways[0], ways[4]);
    printRatio(call.c_str(), ways[1], ways[2]);
  }

  Cost checkOutByCall(const std::string& out, const std::string& revision) const {
    const std::string both = archive("process") + "(" + out + ")";
    int32_t status = -1;
    const Cost cost = costOf([&] {
      status = TrvsGetRevision(TRVS_CONTEXT, both.c_str(), 0, revision.c_str(), nullptr, nullptr, 0,
                               nullptr, 0, TRVS_GET_OVERWRITE | TRVS_GET_WRITABLE);
    });
    check(status == 0, "status " + std::to_string(status) + " of a check-out");
    return cost;
  }

  void compareSizes() const {
    const auto ours = static_cast<double>(std::filesystem::file_size(archive("process")));
    const auto theirs = static_cast<double>(std::filesystem::file_size(archive("rcs")));
    std::printf("%-34s %10.0f   %-28s %10.0f %8.3f %8s %8.3f\n", "stored [bytes]", ours, "RCS",
                theirs, ours / theirs, "", aims_.stored);
    check(TrvsVerifyArchive(TRVS_CONTEXT, archive("process").c_str(), nullptr, 0) == 0,
          "a whole archive");
  }

  static constexpr size_t kCheckOuts = 41;

  const char* name_;
  Aims aims_;
  bench::Material& material_;
  size_t count_;
  support::TemporaryDirectory directory_;
  std::vector<std::string> revisions_;
  Packer packer_;
  Syncs syncsOfCall_;
};

void race() {
  bench::SourceText text(1);
  Histories("100 KB of text", &text, 200,
            {.checkIn = 0.40, .call = 0.15, .tip = 1.25, .oldest = 0.60, .stored = 0.50})
      .run();
  bench::HalfNoise binary(2);
  Histories("10 MB, half of it noise", &binary, 20,
            {.checkIn = 0.25, .call = 0, .tip = 2.0, .oldest = 0.25, .stored = 0.50})
      .run();
}

void run() { bench::runAndTellWhere(race); }

}  // namespace

int main() { return bench::runAll(run); }
