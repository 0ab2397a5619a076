// cli/archives/engine.h: calls of the engine, and its statuses in the program's words.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "cli/problem.h"

namespace cli {

// What a call was about, as far as it is known: the words of a problem are filled from it.
struct Subject {
  std::string file;  // As it was typed.
  std::string archive = {};
  std::string workfile = {};
  std::string revision = {};
  std::string label = {};
  std::string group = {};
  std::string user = {};
  std::string lockedSince = {};  // With `user`: who stands in the way.
  std::string standing = {};     // The revision that `group` stands at.
  std::string lockedAt = {};     // The revision of a lock that is the only one possible.
  std::string groups = {};       // Development groups.
};

// The status as a problem.
Problem problemOf(int32_t status, const Subject& subject);
// Throws it, unless it is TRVS_DONE.
void check(int32_t status, const Subject& subject);

// What to be told of a directory of archives that is not there, or of what is there in its place.
Problem missingPlace(const std::string& what, const std::string& directory, int32_t status = 0);

// "archive(workfile)", as the engine wants to be told of both.
std::string target(const std::string& archive, const std::string& workfile);

// The texts of a list that `fetch` puts into a buffer, which grows till they fit. A list of records
// may have empty texts: it is read up to its very end. Throws Problem.
std::vector<std::string> fetchList(const std::function<int32_t(char* buffer, int32_t size)>& fetch,
                                   const Subject& subject);

// The lines of a report that `run` has the engine write. Throws Problem for its status.
std::vector<std::string> linesOf(const std::function<int32_t()>& run, const Subject& subject);

// The user that the configuration in use tells. Throws Problem.
std::string presentUser();

// Registers what the engine asks and tells: waits are patient, and warnings become lines on the
// standard error. `trusts` is asked whether commands of the configuration may run.
void attachEngine(bool (*trusts)());
// Registers one more function, of the type that its id has.
template <typename Function>
void attachEngine(int32_t id, Function* function) {
  const auto plain = reinterpret_cast<void (*)()>(function);
  TrvsRegisterCallback(id, reinterpret_cast<TrvsCallback>(plain));
}

}  // namespace cli
