// cli/commands/configuration.cpp: lists what the engine says of its configuration.
#include "cli/commands/configuration.h"

#include <fmt/format.h>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/text/paths.h"
#include "cli/text/text.h"
#include "runtime/nativepath.h"

namespace cli {

std::string Setting::place() const {
  return file.empty() ? "default" : fmt::format("{}:{}", shown(namePart(file)), line);
}

std::vector<Setting> presentSettings() {
  const auto texts =
      fetchList([](char* buffer, int32_t size) { return TrvsListConfiguration(buffer, size); },
                {.file = "trevault"});
  std::vector<Setting> settings;
  for (size_t i = 0; i + 3 < texts.size(); i += 4) {
    const std::string file = texts[i + 2].empty() ? "" : foldapi::nativePath(texts[i + 2]);
    settings.push_back({texts[i], texts[i + 1], file, std::stoi(texts[i + 3])});
  }
  return settings;
}

}  // namespace cli
