// bench/load_scale.cpp: whether the time and the memory of opening a project grow with its size
// and no faster.
//
// With the weak text hash all documents share some forty chains of the table that keeps them, so a
// lookup that walked its chain would make the time grow with the square. Each size is opened in
// processes of its own, since only a new one has a peak of memory that belongs to it.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "bigproject.h"

namespace {

// The peak of this process's resident memory, in bytes.
double peakMemory() {
  std::FILE* const status = std::fopen("/proc/self/status", "r");
  double kilobytes = 0;
  char line[256];
  while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr) {
    if (std::sscanf(line, "VmHWM: %lf kB", &kilobytes) == 1) break;
  }
  if (status != nullptr) std::fclose(status);
  bench::check(kilobytes > 0, "a peak of memory");
  return kilobytes * 1024;
}

struct Load {
  double seconds;
  double bytes;
};

Load openOnce(int documents) {
  const double before = peakMemory();
  std::unique_ptr<bench::OpenBigProject> project;
  Load load;
  load.seconds = bench::secondsOf([&] { project = std::make_unique<bench::OpenBigProject>(); });
  load.bytes = peakMemory() - before;
  bench::check(project->archives().size() == static_cast<size_t>(documents),
               "one archive for each document");
  return load;
}

// Runs openOnce() in a child.
Load openInChild(int documents) {
  int ends[2];
  bench::check(pipe(ends) == 0, "a pipe");
  const pid_t child = fork();
  if (child == 0) {
    const Load load = openOnce(documents);
    const ssize_t written = write(ends[1], &load, sizeof load);
    _exit(written == sizeof load ? 0 : 1);
  }
  close(ends[1]);
  Load load = {};
  const ssize_t count = read(ends[0], &load, sizeof load);
  close(ends[0]);
  int status = 1;
  waitpid(child, &status, 0);
  bench::check(count == sizeof load && status == 0, "the child's load");
  return load;
}

// What is to be reached; 0 for nothing.
struct Size {
  int documents;
  double bytesAim;
};

void run() {
  constexpr int kUsual = 100000;
  constexpr double kGrowthAim = 1.1;
  double usualTime = 0;
  std::printf("%12s %18s %24s %8s\n", "documents", "ns per document", "peak bytes per document",
              "aim");
  std::fflush(stdout);  // Or each child has it to print as well.
  for (const auto& [documents, bytesAim] :
       {Size{1000, 0}, Size{10000, 0}, Size{kUsual, 365}, Size{10 * kUsual, 325}}) {
    const bench::BigDatabase database(documents, false);
    std::vector<double> times;
    std::vector<double> bytes;
    for (int round = 0; round < (documents > 100000 ? 5 : 15); ++round) {
      const Load load = openInChild(documents);
      times.push_back(load.seconds * 1e9 / documents);
      bytes.push_back(load.bytes / documents);
    }
    char aim[16] = "";
    if (bytesAim != 0) std::snprintf(aim, sizeof aim, "%.0f", bytesAim);
    const double time = bench::median(times);
    std::printf("%12d %18.1f %24.1f %8s\n", documents, time, bench::median(bytes), aim);
    std::fflush(stdout);
    if (documents == kUsual) usualTime = time;
    if (documents > kUsual) {
      std::printf("time per document at %d against at %d: %.3f, aim %.3f\n", documents, kUsual,
                  time / usualTime, kGrowthAim);
    }
  }
}

}  // namespace

int main() { return bench::runAll(run); }
