// cli/commands/serve.cpp: serve: the projects as pages, live, for a browser.
#include <fmt/format.h>

#include <memory>
#include <mutex>

#include "cli/commands/commands.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "http/service.h"
#include "os/clock.h"
#include "os/directory.h"
#include "os/module.h"
#include "os/stop.h"
#include "pages/addresses.h"
#include "pages/site.h"

namespace cli {
namespace {

// The pages for several threads, of which one at a time asks the library.
class LivePages {
 public:
  explicit LivePages(pages::Source& source) : site_(source, pages::Outlet::kServed) {
    site_.refresh();
  }

  http::Answer answer(const std::string& path, const http::Fields& fields) {
    const int64_t asked = os::steadyMilliseconds();
    const std::lock_guard lock(mutex_);
    try {
      // A look that began since then tells those who waited, too.
      if (lookedAt_ <= asked) {
        lookedAt_ = os::steadyMilliseconds();
        site_.refresh();
      }
      return find(path, fields);
    } catch (const Problem& problem) {
      return textOf(500, fmt::format("{}: {}", shown(problem.what), reasonOf(problem)));
    } catch (const std::exception& error) {
      return textOf(500, error.what());
    }
  }

 private:
  http::Answer find(const std::string& path, const http::Fields& fields) {
    std::string address = path.substr(path.starts_with('/') ? 1 : 0);
    if (address.empty() || address.ends_with('/')) address += "index.html";
    if (const auto page = site_.page(address)) {
      return {.type = page->type, .body = {page, &page->body}};
    }
    if (site_.page(address + "/index.html") != nullptr) {
      return {.status = 303, .location = '/' + address + '/'};
    }
    if (const auto chosen = site_.chosen(address, fields)) {
      return {.status = 303, .location = '/' + *chosen};
    }
    return textOf(404, "There is no such page.");
  }

  static http::Answer textOf(int status, const std::string& text) {
    return {.status = status, .body = std::make_shared<const std::string>(text + '\n')};
  }

  pages::Site site_;
  std::mutex mutex_;
  int64_t lookedAt_ = -1;
};

class ServeCommand : public Command {
 public:
  void declare(Options& options) override {
    options.text(&port_, "--port", "N", "else 8520; 0 for one that is free");
    options.text(&address_, "--listen", "ADDRESS", "for other machines too, else 127.0.0.1");
    options.texts(&hosts_, "--host", "NAME", "a name that browsers call this machine by");
  }

  void run(Session& session) override {
    http::Service service;
    service.port = portNumber();
    service.address = address_;
    service.hosts = {"localhost", "127.0.0.1", "[::1]", address_};
    service.hosts.insert(service.hosts.end(), hosts_.begin(), hosts_.end());
    http::Serve* const serve = loaded();
    pages::Source source(session.roots(), session.globals().project);
    LivePages pages(source);
    service.answer = [&](const std::string& path, const http::Fields& fields) {
      return pages.answer(path, fields);
    };
    service.begin = [&](int port) { tell(session.output(), port); };
    service.isStopWanted = os::isStopWanted;
    if (!serve(service)) {
      throw Problem{fmt::format("{}:{}", address_, port_), "can't be listened at",
                    "is another program there? choose another with --port"};
    }
  }

 private:
  int portNumber() const {
    const bool isNumber = !port_.empty() && port_.size() < 6 &&
                          port_.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoi(port_) > 65'535) {
      throw misuse("--port", fmt::format("'{}' is not a number up to 65535", port_));
    }
    return std::stoi(port_);
  }

  // Beside the program where that was built, else where it was installed.
  static http::Serve* loaded() {
    const std::string here = os::programDirectory();
    std::string why;
    for (const std::string& place :
         {joined(here, http::kLibrary), joined(joined(here, TREVAULT_LIBRARIES), http::kLibrary)}) {
      if (!os::hasEntry(place.c_str())) continue;
      const os::Function function = os::loadFunction(place, http::kFunction, &why);
      if (function != nullptr) return reinterpret_cast<http::Serve*>(function);
    }
    throw Problem{"serve", why.empty() ? "this build of trevault has no server" : why,
                  "'trevault pages DIR' writes the same pages as files"};
  }

  void tell(Output& output, int port) const {
    const bool isLong = address_.find(':') != std::string::npos;
    const std::string url =
        fmt::format("http://{}:{}/", isLong ? '[' + address_ + ']' : address_, port);
    // Whoever waits for the line doesn't wait for the end.
    if (!output.isText()) return output.result({{"action", "serving"}, {"url", url}}, "");
    if (!output.manner().quiet) output.bytes(fmt::format("serving {}, Ctrl-C ends it\n", url));
  }

  std::string port_ = "8520";
  std::string address_ = "127.0.0.1";
  std::vector<std::string> hosts_;
};

}  // namespace

std::unique_ptr<Command> makeServe() { return makeCommand<ServeCommand>(); }

}  // namespace cli
