// bench/rounds.h: times two ways to one answer against each other.
//
// The speed of a machine drifts while a benchmark runs, so the ways take turns, round by round, in
// one process. Shown are the medians of the rounds, and the median of the ratios of two rounds that
// stood side by side. Every round checks its answer: a fast wrong result is no result.
//
// Times are those that the program spends on the processor, in the system too, so that the work of
// others on the machine doesn't count. Nothing that is measured here waits: all files are cached.
#pragma once

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

inline double processorSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// How long `work` takes.
template <typename Work>
double secondsOf(Work work) {
  const double start = processorSeconds();
  work();
  return processorSeconds() - start;
}

// Ends the program if an answer is wrong.
inline void check(bool isRight, const std::string& what) {
  if (!isRight) throw std::runtime_error("wrong answer: " + what);
}

// Gives the seconds of one round; what it does outside of secondsOf() is free.
using Round = std::function<double()>;

struct Peer {
  const char* name;
  Round round;
  double aim = 0;  // The ratio of our time to the peer's that we want to stay below; 0 for none.
};

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

inline void printHead() {
  std::printf("%-34s %10s   %-32s %10s %8s %8s\n", "", "ours [ns]", "peer", "peer [ns]", "ratio",
              "aim");
}

// Runs the ways in turn, once without counting, and prints a line for each peer. A round handles
// `items` items; times are those of one of them.
inline void compare(const char* what, double items, const Round& ours,
                    const std::vector<Peer>& peers, int rounds = 15) {
  std::vector<double> ourTimes;
  std::vector<std::vector<double>> peerTimes(peers.size());
  std::vector<std::vector<double>> ratios(peers.size());
  for (int i = 0; i <= rounds; ++i) {
    const double our = ours() * 1e9 / items;
    if (i != 0) ourTimes.push_back(our);
    for (size_t peer = 0; peer < peers.size(); ++peer) {
      const double theirs = peers[peer].round() * 1e9 / items;
      if (i == 0) continue;
      peerTimes[peer].push_back(theirs);
      ratios[peer].push_back(our / theirs);
    }
  }
  for (size_t peer = 0; peer < peers.size(); ++peer) {
    char aim[16] = "";
    if (peers[peer].aim != 0) std::snprintf(aim, sizeof aim, "%.3f", peers[peer].aim);
    std::printf("%-34s %10.1f   %-32s %10.1f %8.3f %8s\n", what, median(ourTimes), peers[peer].name,
                median(peerTimes[peer]), median(ratios[peer]), aim);
  }
  std::fflush(stdout);
}

// The main program of a benchmark: runs `body` and tells what went wrong.
inline int runAll(void (*body)()) {
  try {
    body();
    return 0;
  } catch (const std::exception& problem) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
  }
}

}  // namespace bench
