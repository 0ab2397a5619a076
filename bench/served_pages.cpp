// bench/served_pages.cpp: how long a browser waits for the server of pages.
//
//     served_pages [FILES [REVISIONS]]    10,000 files and 1,000 revisions if they are not given
//
// The first one who asks a server that has just begun waits for the page to be made, the next ones
// get it from memory once the server has seen that nothing changed. Times are from the connection
// to the last byte.
#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "btkf520/btkf520.h"
#include "materials.h"
#include "processes.h"
#include "support/files.h"

namespace {

using bench::check;
using bench::Cost;

size_t files = 10'000;
size_t revisions = 1'000;

constexpr size_t kRounds = 7;
constexpr size_t kInDirectory = 100;
constexpr double kAim = 300;  // Milliseconds.

// One that serves until it is destroyed.
class Server {
 public:
  Server() {
    int output[2];
    check(pipe2(output, O_CLOEXEC) == 0, "a pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    std::vector<std::string> words{TREVAULT, "serve", "--port", "0"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    check(posix_spawn(&child_, TREVAULT, &actions, nullptr, arguments.data(), environ) == 0,
          "a start");
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    std::string line;
    for (char c = 0; c != '\n' && read(output[0], &c, 1) == 1;) line += c;
    close(output[0]);
    const size_t place = line.find("127.0.0.1:");
    check(place != std::string::npos && clock_getcpuclockid(child_, &processor_) == 0, "a server");
    port_ = static_cast<uint16_t>(std::strtoul(line.c_str() + place + 10, nullptr, 10));
  }
  ~Server() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  Cost ask(const std::string& path, const std::string& wanted) const {
    const double clock = bench::internal::seconds(CLOCK_MONOTONIC);
    const double processor = bench::internal::seconds(processor_);
    const std::string page = answer("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const Cost cost{bench::internal::seconds(CLOCK_MONOTONIC) - clock,
                    bench::internal::seconds(processor_) - processor};
    check(page.starts_with("HTTP/1.1 200 ") && page.ends_with("</html>") &&
              page.find(wanted) != std::string::npos,
          "the page " + path);
    return cost;
  }

 private:
  std::string answer(const std::string& request) const {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
              write(socket, request.data(), request.size()) == static_cast<ssize_t>(request.size()),
          "a connection");
    std::string text;
    std::vector<char> piece(64 << 10);
    for (ssize_t count; (count = read(socket, piece.data(), piece.size())) > 0;) {
      text.append(piece.data(), static_cast<size_t>(count));
    }
    close(socket);
    return text;
  }

  pid_t child_ = 0;
  clockid_t processor_ = 0;
  uint16_t port_ = 0;
};

class Pages {
 public:
  Pages() {
    setenv("HOME", at("home").c_str(), 1);
    for (const char* each : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "KSTR_INI"}) unsetenv(each);
    support::writeFile(at("home/.keep"), "");
    for (size_t i = 0; i < files; ++i) {
      support::writeFile(
          at("wide/d" + std::to_string(i / kInDirectory) + "/f" + std::to_string(i) + ".c"),
          std::to_string(i) + "\n");
    }
    add("wide");
    bench::SourceText source(1);
    support::writeFile(at("deep/a.c"), source.next());
    add("deep");
    const std::string archive = archiveOfDeep();
    const std::string both = archive + "(" + at("deep/a.c") + ")";
    for (size_t i = 1; i < revisions; ++i) {
      support::writeFile(at("deep/a.c"), source.next());
      check(TrvsLockRevision(TRVS_CONTEXT, archive.c_str(), nullptr, nullptr) == TRVS_DONE &&
                TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, nullptr, nullptr, nullptr,
                                "One change of many", nullptr, nullptr, 0,
                                TRVS_PUT_OLDER) == TRVS_DONE,
            "a check-in");
    }
  }

  void run() const {
    std::printf("\n%-34s %10s %10s %10s %8s\n", "", "first [ms]", "again [ms]", "cpu [ms]", "aim");
    measure(std::to_string(files) + " files", "/wide/",
            ">f" + std::to_string(files - 1) + ".c</a>");
    measure(std::to_string(revisions) + " revisions", "/deep/files/a.c.html",
            "against 1." + std::to_string(revisions - 2));
  }

 private:
  std::string at(const std::string& name) const { return directory_ / name; }

  void trevault(const std::string& project, std::vector<std::string> words) const {
    words.insert(words.begin(), {TREVAULT, "-q", "-C", at(project)});
    bench::costOfProcess(words, at("output"));
  }

  void add(const std::string& project) const {
    trevault(project, {"project", "add", project});
    trevault(project, {"add", "."});
  }

  std::string archiveOfDeep() const {
    trevault("deep", {"list", "--json"});
    const std::string told = support::readFile(at("output"));
    const std::string before = "\"archive\":\"";
    const size_t start = told.find(before) + before.size();
    return told.substr(start, told.find('"', start) - start);
  }

  // The processor is the server's, for the first one.
  static void measure(const std::string& what, const std::string& path, const std::string& wanted) {
    std::vector<double> first, again, processor;
    for (size_t round = 0; round < kRounds; ++round) {
      const Server server;
      const Cost cost = server.ask(path, wanted);
      first.push_back(cost.clock * 1e3);
      processor.push_back(cost.processor * 1e3);
      again.push_back(server.ask(path, wanted).clock * 1e3);
    }
    std::printf("%-34s %10.1f %10.1f %10.1f %8.0f\n", what.c_str(), bench::median(first),
                bench::median(again), bench::median(processor), kAim);
    std::fflush(stdout);
  }

  support::TemporaryDirectory directory_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) files = std::strtoul(arguments[1], nullptr, 10);
  if (argumentCount > 2) revisions = std::strtoul(arguments[2], nullptr, 10);
  return bench::runAll([] { bench::runAndTellWhere([] { Pages().run(); }); });
}
