// support/childprocess.h: pieces of a test that run in processes of their own.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace support {

// Runs `body` in a forked process, whose exit code it gives. Both sides can signal steps to each
// other. The process is killed with the object if it still runs.
class ChildProcess {
 public:
  using Body = std::function<int(ChildProcess&)>;

  explicit ChildProcess(const Body& body) {
    int up[2], down[2];
    if (::pipe2(up, O_CLOEXEC) != 0 || ::pipe2(down, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    id_ = ::fork();
    if (id_ < 0) throw std::runtime_error("no process");
    const bool isChild = id_ == 0;
    read_ = isChild ? down[0] : up[0];
    write_ = isChild ? up[1] : down[1];
    ::close(isChild ? up[0] : down[0]);
    ::close(isChild ? down[1] : up[1]);
    if (isChild) ::_exit(run(body));
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() {
    kill();
    ::close(read_);
    ::close(write_);
  }

  // Tells the other side that a step is done, and waits for such a word: false if the other side is
  // gone or silent for ten seconds.
  void signal() { static_cast<void>(!::write(write_, "", 1)); }
  bool await() {
    pollfd ready{read_, POLLIN, 0};
    char byte;
    return ::poll(&ready, 1, 10000) == 1 && ::read(read_, &byte, 1) == 1;
  }
  // How many words of the other side wait to be taken; for after its end.
  int countSignals() {
    int count = 0;
    while (await()) ++count;
    return count;
  }

  bool isRunning() {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
  }
  void kill() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    finish();
  }
  // Waits for the end; the exit code, 99 after an exception, -1 if it did not exit by itself.
  int finish() {
    int status = 0;
    ::waitpid(id_, &status, 0);
    id_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  int run(const Body& body) {
    try {
      return body(*this);
    } catch (...) {
      return 99;
    }
  }

  pid_t id_ = 0;
  int read_ = -1;
  int write_ = -1;
};

// Runs `work` in a process of its own, whose exit code it gives.
inline int inProcess(const std::function<int()>& work) {
  return ChildProcess([&](ChildProcess&) { return work(); }).finish();
}

// Starts `count` processes, each with its number, which begin when all of them are there.
using ChildProcesses = std::vector<std::unique_ptr<ChildProcess>>;
inline ChildProcesses startProcesses(int count,
                                     const std::function<int(int, ChildProcess&)>& body) {
  ChildProcesses all;
  for (int i = 0; i < count; ++i) {
    all.push_back(std::make_unique<ChildProcess>(
        [i, &body](ChildProcess& self) { return self.await() ? body(i, self) : 98; }));
  }
  for (const auto& process : all) process->signal();
  return all;
}

}  // namespace support
