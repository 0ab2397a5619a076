// runtime/child_process.h: a piece of a test that runs in a process of its own.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

namespace foldapi {

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
    const bool isChild = id_ == 0;
    read_ = isChild ? down[0] : up[0];
    write_ = isChild ? up[1] : down[1];
    ::close(isChild ? up[0] : down[0]);
    ::close(isChild ? down[1] : up[1]);
    if (isChild) ::_exit(body(*this));
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
  // How many words of the other side wait to be taken, up to `most`; for after its end.
  int countSignals(int most) {
    int count = 0;
    while (count < most && await()) ++count;
    return count;
  }

  void kill() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
    id_ = 0;
  }
  // Waits for the end; the exit code, -1 if it did not exit by itself.
  int finish() {
    int status = 0;
    ::waitpid(id_, &status, 0);
    id_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t id_ = 0;
  int read_ = -1;
  int write_ = -1;
};

}  // namespace foldapi
