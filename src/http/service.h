// http/service.h: between trevault and what speaks HTTP for it.
//
// That is a library of its own, which 'trevault serve' alone loads: what it needs in its turn would
// cost every other command milliseconds of its start. Both are built together.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace http {

struct Answer {
  int status = 200;
  std::string_view type = "text/plain; charset=utf-8";
  std::shared_ptr<const std::string> body = {};
  std::string location = {};  // With status 303.
};

using Fields = std::map<std::string, std::string>;

// All members are set. The functions may be called by several threads at a time, and throw nothing.
struct Service {
  std::string address;             // To listen at.
  int port = 0;                    // 0: one that is free.
  std::vector<std::string> hosts;  // By what names it may be asked, besides those of the machine
                                   // itself for itself.
  std::function<Answer(const std::string& path, const Fields& fields)> answer;
  std::function<void(int port)> begin;  // It listens from now on.
  std::function<bool()> isStopWanted;
};

inline constexpr const char* kLibrary = "trevault-serve.so";
inline constexpr const char* kFunction = "trevaultServe";

// Serves until it is to stop. False: it can't listen there.
using Serve = bool(const Service& service);

}  // namespace http
