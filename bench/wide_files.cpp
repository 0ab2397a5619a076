// bench/wide_files.cpp: how much memory a file of a gigabyte takes to go in and out.
//
// What counts is memory that the system can't take back from the process while it runs: its own
// pages and those of files in memory, but not those of files on a disk. The system keeps no peak of
// that, so it is looked at every two milliseconds. The floor is the size of the file.
//
// Runs in $TMPDIR, else in /tmp, with seven gigabytes there and, without TMPDIR, in /var/tmp.
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "processes.h"
#include "support/files.h"

namespace {

using bench::check;

constexpr size_t kSize = 1'000'000'000;
constexpr size_t kBlock = 1'000'000;
constexpr double kAim = 1.25;

// In bytes; 0 for a process that is gone.
double memoryOf(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  double kilobytes = 0;
  for (std::string word; status >> word;) {
    double value = 0;
    if ((word == "RssAnon:" || word == "RssShmem:") && status >> value) kilobytes += value;
  }
  return kilobytes * 1024;
}

// The most that a process has from its start until it is gone.
double peakOfProcess(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  check(posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0,
        "a process");
  double peak = 0;
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    peak = std::max(peak, memoryOf(child));
    const timespec pause = {0, 2'000'000};
    nanosleep(&pause, nullptr);
  }
  check(status == 0, words[1] + " gave " + std::to_string(WEXITSTATUS(status)));
  return peak;
}

std::string noise(unsigned seed) {
  std::mt19937_64 random(seed);
  std::string bytes;
  while (bytes.size() < kBlock) {
    const uint64_t word = random();
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
  }
  return bytes;
}

// A block of noise for each `block` up to the size; `every` so many have another seed.
void writeNoise(const std::string& path, unsigned every) {
  std::ofstream file(path, std::ios::binary);
  for (unsigned block = 0; block < kSize / kBlock; ++block) {
    file << noise(every != 0 && block % every == 0 ? block + 1'000'000 : block);
  }
  check(file.good(), "a wide file");
}

// As writeNoise() has it.
void checkNoise(const std::string& path, unsigned every) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(kBlock, '\0');
  for (unsigned block = 0; block < kSize / kBlock; ++block) {
    file.read(bytes.data(), kBlock);
    check(bytes == noise(every != 0 && block % every == 0 ? block + 1'000'000 : block), path);
  }
  check(file.good() && file.get() == EOF, "the end of " + path);
}

void run() {
  const support::TemporaryDirectory directory;
  const std::string archive = directory / "wide,v";
  const std::string work = directory / "wide";
  const std::string out = directory / "out";
  std::printf("%-34s %10s   %-28s %10s %8s %8s %8s\n", "", "ours [MB]", "floor", "size [MB]",
              "ratio", "", "aim");
  const auto show = [](const char* what, double peak) {
    std::printf("%-34s %10.1f   %-28s %10.1f %8.3f %8s %8.3f\n", what, peak / 1e6,
                "the file's size", kSize / 1e6, peak / kSize, "", kAim);
    std::fflush(stdout);
  };
  bench::costOfProcess({ARCHIVE_CLIENT, "make", archive, work});
  writeNoise(work, 0);
  show("memory: check in 1 GB", peakOfProcess({ARCHIVE_CLIENT, "ci", archive, work}));
  writeNoise(work, 100);
  show("memory: check in 1 GB, 1% changed", peakOfProcess({ARCHIVE_CLIENT, "ci", archive, work}));
  show("memory: check the tip out", peakOfProcess({ARCHIVE_CLIENT, "co", archive, out}));
  checkNoise(out, 100);
  show("memory: check the oldest out", peakOfProcess({ARCHIVE_CLIENT, "co", archive, out, "1.0"}));
  checkNoise(out, 0);
}

}  // namespace

int main() { return bench::runAll(run); }
