// btkf520/operations/surroundings.cpp: connects the toolkit's parts with the client and the
// operating system.
#include "btkf520/operations/surroundings.h"

#include <algorithm>
#include <utility>

#include "btkf520/configuration/text.h"
#include "os/environment.h"
#include "os/file.h"

namespace btkf {
namespace {

constexpr size_t kLongestSystemPath = 65536;

}  // namespace

Surroundings*& Surroundings::place() {
  static auto* current = new Surroundings;
  return current;
}

TrvsStatus Surroundings::load(const std::string& path, TrvsReadMode mode) {
  if (mode != TRVS_READ_FOLLOWING) configuration_ = Configuration();
  // On a copy: a callback may ask questions meanwhile, and a cancelled load changes nothing.
  Configuration loaded = configuration_;
  const TrvsStatus status = ConfigurationReader(this, mode, &loaded).read(path);
  if (status == TRVS_DONE) configuration_ = std::move(loaded);
  return status;
}

std::optional<std::string> Surroundings::userId() {
  const std::string& name = configuration_.userVariable();
  std::optional<std::string> user =
      name.empty() ? os::accountName() : os::environmentVariable(name.c_str());
  return user && isGoodName(*user) ? user : std::nullopt;
}

std::optional<std::string> Surroundings::systemPath(const std::string& path) const {
  if (resolver_ == nullptr) {
    std::string result = path;
    std::replace(result.begin(), result.end(), '\\', '/');
    return result;
  }
  for (size_t size = 512; size <= kLongestSystemPath; size *= 2) {
    std::string buffer(size, '\0');
    const int32_t status = resolver_(path.c_str(), buffer.data(), static_cast<int32_t>(size));
    if (status == TRVS_DONE) return buffer.substr(0, buffer.find('\0'));
    if (status != TRVS_BUFFER_TOO_SMALL) return {};
  }
  return {};
}

os::FileResult Surroundings::readFile(const std::string& path, size_t largest, FileText* file) {
  const std::optional<std::string> place = systemPath(path);
  if (!place) return os::FileResult::kMissing;
  os::FileStatus status;
  file->isTrusted = os::isOursAlone(*place, trusted_);
  const os::FileResult result = os::readFile(place->c_str(), largest, &file->text, &status);
  file->identity = status.identity;
  file->owner = status.owner;
  return result;
}

std::optional<std::string> Surroundings::variable(const std::string& name) {
  return os::environmentVariable(name.c_str());
}

bool Surroundings::report(const BadDirective& directive) { return client_.goesOnAfter(directive); }

}  // namespace btkf
