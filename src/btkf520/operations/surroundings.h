// btkf520/operations/surroundings.h: what operations work in: the configuration, the client's
// functions, and where users and path texts are in the operating system.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/configuration.h"
#include "btkf520/configuration/configurationreader.h"
#include "btkf520/operations/batch.h"
#include "btkf520/operations/client.h"
#include "os/trust.h"

namespace btkf {

// The whole state of the toolkit: all that one call leaves to the next is in one of these. Not for
// use by two threads at a time. Operations may throw std::bad_alloc; the C functions turn that into
// a status.
class Surroundings final : private ConfigurationHost {
 public:
  // The one that all operations work in at present. The first is made at first use and never
  // destroyed, so that calls late in a process's life still find it.
  static Surroundings& current() { return *place(); }
  // Where the current one stands: a client may put one of its own there.
  static Surroundings*& place();

  const Configuration& configuration() const { return configuration_; }
  Client& client() { return client_; }
  // What it has waiting goes unpromised with the state.
  Batch& batch() { return batch_; }
  void registerPathResolver(TrvsPathResolver resolver) { resolver_ = resolver; }

  // Of contents, in bytes. What a load reads has no say in it.
  uint64_t largestContent() const { return largestContent_; }
  void setLargestContent(uint64_t bytes) { largestContent_ = bytes; }

  // Whose master files are trusted.
  void setTrusted(os::Trusted whom) { trusted_ = whom; }

  // Reads a configuration file. TRVS_READ_FIRST and TRVS_READ_MASTER first of all forget what was
  // there. See ConfigurationReader::read(); after TRVS_CANCELLED nothing of the file counts.
  [[nodiscard]] TrvsStatus load(const std::string& path, TrvsReadMode mode);

  // The user id by the source that the configuration names. Nothing if that source has none, or
  // one that is no good name: it would read as several users in a list.
  std::optional<std::string> userId();

  // Where the path text `path` is in the operating system. Nothing if it is nowhere.
  std::optional<std::string> systemPath(const std::string& path) const;

 private:
  os::FileResult readFile(const std::string& path, size_t largest, FileText* file) override;
  std::optional<std::string> variable(const std::string& name) override;
  bool report(const BadDirective& directive) override;

  Configuration configuration_;
  Client client_;
  Batch batch_;
  TrvsPathResolver resolver_ = nullptr;
  os::Trusted trusted_ = os::Trusted::kRootAndUser;
  uint64_t largestContent_ = std::numeric_limits<uint64_t>::max();
};

// What operations ask most.
inline const Configuration& configuration() { return Surroundings::current().configuration(); }
inline Client& client() { return Surroundings::current().client(); }
inline std::optional<std::string> userId() { return Surroundings::current().userId(); }
inline std::optional<std::string> systemPath(const std::string& path) {
  return Surroundings::current().systemPath(path);
}

}  // namespace btkf
