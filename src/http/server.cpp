// http/server.cpp: HTTP for pages that are only read.
//
// Each connection has one request, which must be there whole within some seconds and kilobytes, and
// is answered or closed. So nobody can hold a thread for long, and those who come at once wait for
// one another. A page of another site can have a browser ask here, but with the name of that site:
// so the name is looked at. What comes back runs no script but the pages' own, whatever is in it.
#include <httplib.h>

#include <algorithm>
#include <string>
#include <utility>

#include "http/service.h"
#include "os/clock.h"
#include "os/socket.h"

namespace http {
namespace {

constexpr size_t kThreads = 128;  // Most of them wait for a slow browser, if for anything.
constexpr size_t kLargestRequest = 32 << 10;
constexpr int kRequestSeconds = 5;
constexpr int kAnswerSeconds = 60;
constexpr int kEndSeconds = 2;
constexpr int64_t kMostMilliseconds = 5000;  // Without a byte taken.
constexpr int kWaiting = 1024;
constexpr time_t kLookMicroseconds = 200'000;  // How soon a wish to stop is seen.

// Names of machines are the same in capitals.
std::string lowered(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return name;
}

// A connection that ends in time.
class Connection : public httplib::Stream {
 public:
  explicit Connection(socket_t socket) : socket_(socket) { endWithin(kRequestSeconds); }
  // From now on.
  void endWithin(int seconds) { until_ = os::steadyMilliseconds() + int64_t{seconds} * 1000; }

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }

  ssize_t read(char* bytes, size_t size) override {
    size = std::min(size, kLargestRequest - read_);
    const int64_t left = timeLeft();
    if (size == 0 || left <= 0) return -1;
    const ptrdiff_t count = os::receive(socket_, bytes, size, left);
    if (count > 0) read_ += static_cast<size_t>(count);
    return count;
  }

  ssize_t write(const char* bytes, size_t size) override {
    if (!isAnswered_) endWithin(kAnswerSeconds);
    isAnswered_ = true;
    const int64_t left = timeLeft();
    return left > 0 ? os::send(socket_, bytes, size, std::min(left, kMostMilliseconds)) : -1;
  }

  void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  socket_t socket() const override { return socket_; }

 private:
  int64_t timeLeft() const { return until_ - os::steadyMilliseconds(); }

  socket_t socket_;
  int64_t until_ = 0;
  size_t read_ = 0;
  bool isAnswered_ = false;
};

class Server : public httplib::Server {
 public:
  explicit Server(const Service& service) : service_(service) {
    // Of what the library refuses by itself, too.
    set_default_headers({{"Content-Security-Policy",
                          "default-src 'none'; style-src 'self'; script-src 'self'; img-src data:; "
                          "form-action 'self'; base-uri 'none'; frame-ancestors 'none'"},
                         {"X-Content-Type-Options", "nosniff"},
                         {"X-Frame-Options", "DENY"},
                         {"Referrer-Policy", "no-referrer"},
                         {"Cross-Origin-Resource-Policy", "same-origin"},
                         {"Cache-Control", "no-cache"}});
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      answer(request, response);
      return HandlerResponse::Handled;
    });
    set_expect_100_continue_handler(
        [](const httplib::Request& /*request*/, httplib::Response& response) {
          response.status = 417;
          return -1;  // With 417 the library would answer once more.
        });
    set_socket_options([](socket_t socket) { os::listenAlone(socket); });
    set_idle_interval(0, kLookMicroseconds);
    new_task_queue = [this] { return new Queue(*this); };
  }

  bool serve() {
    set_address_family(AF_UNSPEC);
    int port = service_.port;
    if (port == 0) {
      port = bind_to_any_port(service_.address);
    } else if (!bind_to_port(service_.address, port)) {
      port = -1;
    }
    // The library has only a few wait.
    if (port < 0 || !os::listenAt(svr_sock_, kWaiting)) return false;
    service_.begin(port);
    return listen_after_bind();
  }

 private:
  // Looks whether to stop, too.
  class Queue : public httplib::TaskQueue {
   public:
    explicit Queue(Server& server) : server_(server), threads_(kThreads) {}
    void enqueue(std::function<void()> task) override {
      on_idle();
      threads_.enqueue(std::move(task));
    }
    void on_idle() override {
      if (server_.service_.isStopWanted()) server_.stop();
    }
    void shutdown() override { threads_.shutdown(); }

   private:
    Server& server_;
    httplib::ThreadPool threads_;
  };

  bool process_and_close_socket(socket_t socket) override {
    Connection connection(socket);
    bool isClosed = false;
    const bool isDone = process_request(connection, true, isClosed, [](httplib::Request& request) {
      // Pages go as a whole, and as they are. Ranges that make no sense never come here: the
      // library refuses them, and browsers ask for none.
      request.ranges.clear();
      request.headers.erase("Accept-Encoding");
    });
    // What is still to be read would have the system drop what is still to be sent.
    os::endSending(socket);
    connection.endWithin(kEndSeconds);
    char rest[4096];
    while (isDone && connection.read(rest, sizeof rest) > 0) {
    }
    os::closeSocket(socket);
    return isDone;
  }

  static void say(httplib::Response& response, int status, const char* text) {
    response.status = status;
    response.set_content(std::string(text) + "\n", "text/plain; charset=utf-8");
  }

  void answer(const httplib::Request& request, httplib::Response& response) const {
    if (request.method != "GET" && request.method != "HEAD") {
      response.set_header("Allow", "GET, HEAD");
      return say(response, 405, "Pages are only read here.");
    }
    const auto [host, path] = targetOf(request);
    if (!isOurs(host)) return say(response, 421, "This is not the server of that name.");
    Fields fields;
    for (const auto& [name, value] : request.params) fields.emplace(name, value);
    Answer answer = service_.answer(path, fields);
    response.status = answer.status;
    if (!answer.location.empty()) response.set_header("Location", answer.location);
    if (answer.body == nullptr) return;
    const auto body = answer.body;
    response.set_content_provider(body->size(), std::string(answer.type),
                                  [body](size_t offset, size_t length, httplib::DataSink& sink) {
                                    return sink.write(body->data() + offset,
                                                      std::min(length, body->size() - offset));
                                  });
  }

  // What is asked for, and who: "GET http://localhost/index.html" is the same as "GET /index.html".
  struct Target {
    std::string host;
    std::string path;
  };
  static Target targetOf(const httplib::Request& request) {
    if (request.get_header_value_count("Host") != 1) return {};
    constexpr std::string_view kScheme = "http://";
    const std::string& path = request.path;
    if (!lowered(path).starts_with(kScheme)) return {request.get_header_value("Host"), path};
    const size_t slash = std::min(path.find('/', kScheme.size()), path.size());
    return {path.substr(kScheme.size(), slash - kScheme.size()), path.substr(slash)};
  }

  // With or without a port.
  bool isOurs(std::string host) const {
    const size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos &&
                         host.find_first_not_of("0123456789", colon + 1) == std::string::npos;
    if (hasPort) host.resize(colon);
    return std::any_of(service_.hosts.begin(), service_.hosts.end(),
                       [&](const std::string& each) { return lowered(each) == lowered(host); });
  }

  const Service& service_;
};

}  // namespace
}  // namespace http

extern "C" __attribute__((visibility("default"))) bool trevaultServe(const http::Service& service);
bool trevaultServe(const http::Service& service) { return http::Server(service).serve(); }
