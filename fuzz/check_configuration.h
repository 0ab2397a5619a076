// fuzz/check_configuration.h: any bytes as configuration files: no crash, no hang, sound answers.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/configuration/configurationreader.h"
#include "btkf520/configuration/text.h"
#include "dates/language.h"
#include "fuzz_support.h"

namespace fuzz {

// Files in memory: the input cut at "\f", the first one read first. INCLUDE gets the file that the
// last byte of its path counts out, so an input can include all its files and itself.
class ConfigurationFiles : public btkf::ConfigurationHost {
 public:
  ConfigurationFiles(std::string_view input, size_t patience) : patience_(patience) {
    do {
      const size_t end = std::min(input.find('\f'), input.size());
      files_.emplace_back(input.substr(0, end));
      input.remove_prefix(std::min(end + 1, input.size()));
    } while (!input.empty());
  }

  os::FileResult readFile(const std::string& path, size_t largest, btkf::FileText* file) override {
    require(++reads_ <= 2 * btkf::ConfigurationReader::kMostBytes, "reads are bounded");
    const size_t index = path.empty() ? 0 : static_cast<unsigned char>(path.back()) % files_.size();
    if (files_[index].size() > largest) return os::FileResult::kTooLarge;
    *file = {files_[index], {0, index}, 0, index % 2 == 0};
    return os::FileResult::kDone;
  }
  std::optional<std::string> variable(const std::string& name) override {
    return name.size() % 2 == 0 ? std::optional(name) : std::nullopt;
  }
  bool report(const btkf::BadDirective& directive) override {
    require(directive.number > 0 || directive.line.empty(), "a line that is told has a number");
    require(directive.line.size() <= btkf::ConfigurationReader::kReportedLine,
            "lines told are cut");
    return patience_ == 0 || ++reports_ < patience_;
  }

 private:
  std::vector<std::string> files_;
  size_t patience_;  // Reports until one is answered with false. 0: for ever.
  size_t reports_ = 0;
  size_t reads_ = 0;
};

inline void checkPromotion(const btkf::PromotionModel& model) {
  const std::string listing = model.listing();
  require(listing.size() < btkf::PromotionModel::kLongestListing, "the listing can be fetched");
  const std::vector<std::string_view> names = btkf::pieces(listing, std::string_view("\0", 1));
  require(names.empty() == model.isEmpty(), "only an empty model lists nothing");
  require(names.size() <= 1 || names.size() % 2 == 0, "groups are listed in pairs");
  for (std::string_view name : names) {
    const bool isTop = model.kindOf(name) == TRVS_GROUP_TOP;
    require(isTop == (names.size() > 1 && name == names.back()), "the top group comes last");
  }
}

inline void check(const btkf::Configuration& configuration) {
  checkPromotion(configuration.promotion());
  require(dates::configuredWords(configuration.dateWords()) == configuration.dateWords(),
          "date words stay good");
  require(dates::isConfiguredFormat(configuration.dateFormat()), "the date format stays good");
  require(configuration.archiveDirectoryText().size() <= btkf::ConfigurationReader::kLongestLine,
          "archive directories can be fetched");
  for (const std::string& directory : configuration.archiveDirectories()) {
    require(!directory.empty(), "no archive directory is empty");
  }
}

// The first byte tells whether there is a master file and when reports end the read.
inline void checkConfiguration(std::string_view bytes) {
  if (bytes.empty()) return;
  const auto first = static_cast<unsigned char>(bytes[0]);
  ConfigurationFiles host(bytes.substr(1), first >> 2);
  btkf::Configuration configuration;
  // A master file and one that follows it, or the same text with no master.
  for (const auto mode :
       {first % 2 == 0 ? TRVS_READ_MASTER : TRVS_READ_FIRST, TRVS_READ_FOLLOWING}) {
    const TrvsStatus status = btkf::ConfigurationReader(&host, mode, &configuration).read("\x01");
    require(
        status == TRVS_DONE || status == TRVS_CANCELLED || status == TRVS_CANNOT_READ_CONFIGURATION,
        "a load is done, cancelled or not begun");
    check(configuration);
  }
}

}  // namespace fuzz
