// bench/processes.h: races of whole processes, and of calls that wait for the disk.
//
// Where the disk has a part in it, the time of the processor tells half of the story and the time
// of the clock is at the mercy of others. So both are taken: of the clock, and of the processor as
// far as it worked for us or our children.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "rounds.h"

extern char** environ;

namespace bench {

// In seconds.
struct Cost {
  double clock = 0;
  double processor = 0;
};

namespace internal {

inline double seconds(clockid_t clock) {
  timespec time;
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace internal

// What `work` costs in this process.
template <typename Work>
Cost costOf(Work work) {
  const double clock = internal::seconds(CLOCK_MONOTONIC);
  const double processor = processorSeconds();
  work();
  return {internal::seconds(CLOCK_MONOTONIC) - clock, processorSeconds() - processor};
}

// What a process costs from its start until it is gone, with all that it starts itself. Its output
// replaces the file `output`, if that is given. Throws unless it gives `wanted`.
inline Cost costOfProcess(std::vector<std::string> words, const std::string& output = "",
                          int wanted = 0) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!output.empty()) {
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0666);
  }
  const double start = internal::seconds(CLOCK_MONOTONIC);
  pid_t child = 0;
  int status = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  rusage usage{};
  if (status == 0) wait4(child, &status, 0, &usage);
  const double clock = internal::seconds(CLOCK_MONOTONIC) - start;
  posix_spawn_file_actions_destroy(&actions);
  check(WIFEXITED(status) && WEXITSTATUS(status) == wanted, words[0] + " " + words[1]);
  return {clock, internal::seconds(usage.ru_utime) + internal::seconds(usage.ru_stime)};
}

// Costs of one way to an answer, round by round.
struct Way {
  const char* name;
  std::function<Cost()> round;
  std::vector<double> clocks{};
  std::vector<double> processors{};

  void run() {
    const Cost cost = round();
    clocks.push_back(cost.clock);
    processors.push_back(cost.processor);
  }
};

// One round of each way, each time another one first.
inline void runInTurn(std::vector<Way>* ways, size_t round) {
  for (size_t i = 0; i < ways->size(); ++i) (*ways)[(round + i) % ways->size()].run();
}

inline void printCostHead() {
  std::printf("%-34s %10s   %-28s %10s %8s %8s %8s\n", "", "ours [ms]", "peer", "peer [ms]",
              "ratio", "of cpu", "aim");
}

// A line for our way and a peer whose rounds stood side by side: medians of the clock, and the
// medians of the ratios, of the clock and of the processor. `aim` 0 for none.
inline void printRatio(const char* what, const Way& ours, const Way& peer, double aim = 0) {
  const auto ratio = [](const std::vector<double>& left, const std::vector<double>& right) {
    std::vector<double> ratios;
    for (size_t i = 0; i < left.size(); ++i) ratios.push_back(left[i] / right[i]);
    return median(ratios);
  };
  char text[16] = "";
  if (aim != 0) std::snprintf(text, sizeof text, "%.3f", aim);
  std::printf("%-34s %10.3f   %-28s %10.3f %8.3f %8.3f %8s\n", what, median(ours.clocks) * 1e3,
              peer.name, median(peer.clocks) * 1e3, ratio(ours.clocks, peer.clocks),
              ratio(ours.processors, peer.processors), text);
  std::fflush(stdout);
}

// The kind of the file system that `path` lies in.
inline std::string fileSystemOf(const std::string& path) {
  struct statfs status {};
  check(statfs(path.c_str(), &status) == 0, "a file system");
  const auto type = static_cast<unsigned long>(status.f_type);
  const std::pair<unsigned long, const char*> known[] = {
      {0xEF53, "ext4"},      {0x01021994, "tmpfs"},   {0x58465342, "xfs"},
      {0x9123683E, "btrfs"}, {0x794C7630, "overlay"}, {0x6969, "nfs"}};
  for (const auto& [magic, name] : known) {
    if (type == magic) return name;
  }
  char text[24];
  std::snprintf(text, sizeof text, "kind 0x%lx", type);
  return text;
}

// "load 0.97": how much others have to do.
inline std::string loadText() {
  double load = -1;
  if (getloadavg(&load, 1) != 1) return "load unknown";
  char text[24];
  std::snprintf(text, sizeof text, "load %.2f", load);
  return text;
}

// Runs `race` between lines that tell what its times depend on: the file system of the files, and
// the load.
inline void runAndTellWhere(const std::function<void()>& race) {
  const std::string directory = std::filesystem::temp_directory_path();
  std::printf("in %s (%s), %s at the start\n", directory.c_str(), fileSystemOf(directory).c_str(),
              loadText().c_str());
  race();
  std::printf("%s at the end\n", loadText().c_str());
}

}  // namespace bench
