// btkf520/operations/surroundings.h: the toolkit's process-wide state.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "btkf520/archive/status.h"
#include "btkf520/btkf520.h"
#include "btkf520/configuration/configuration.h"
#include "btkf520/configuration/configurationreader.h"

namespace btkf {

// The current configuration, and what the client has registered. There is one, made at first use
// and never destroyed, so that calls late in a process's life still find it. Not for use by two
// threads at a time. Operations may throw std::bad_alloc; the C functions turn that into a status.
class Session final : private ConfigurationHost {
 public:
  static Session& instance();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Configuration& configuration() const { return configuration_; }

  // False, and nothing is kept, for an id that the toolkit has no use for. Null forgets.
  bool registerCallback(int32_t id, TrvsCallback callback);
  void registerPathResolver(TrvsPathResolver resolver) { resolver_ = resolver; }

  // Reads a configuration file. kFirst and kMaster forget what was there before they do anything
  // else. See ConfigurationReader::read(); after kCancelled nothing of the file counts.
  Status load(const std::string& path, ReadMode mode);

  // The user id by the source that the configuration names. Nothing if that source has none.
  std::optional<std::string> userId() const;

  // Where the path text `path` is in the operating system. Nothing if it is nowhere.
  std::optional<std::string> systemPath(const std::string& path) const;

  // The client's function for `id` as the type that it really has, null if there is none.
  template <typename Callback>
  Callback registered(int32_t id) const {
    const auto found = callbacks_.find(id);
    if (found == callbacks_.end()) return nullptr;
    // By way of the one function type that compilers let stand for all others.
    return reinterpret_cast<Callback>(reinterpret_cast<void (*)()>(found->second));
  }

 private:
  Session() = default;
  ~Session() override = default;

  std::optional<FileText> readFile(const std::string& path, size_t largest) override;
  std::optional<std::string> variable(const std::string& name) override;
  bool report(const BadDirective& directive) override;

  Configuration configuration_;
  std::map<int32_t, TrvsCallback> callbacks_;
  TrvsPathResolver resolver_ = nullptr;
};

}  // namespace btkf
