// cli/archives/promotion.cpp: the engine's list of pairs as chains.
#include "cli/archives/promotion.h"

#include <fmt/format.h>

#include <algorithm>

#include "btkf520/btkf520.h"
#include "cli/archives/engine.h"
#include "cli/problem.h"
#include "cli/text/text.h"

namespace cli {

PromotionModel PromotionModel::present() {
  const auto names = fetchList(
      [](char* buffer, int32_t size) {
        return TrvsQueryConfigurationItem(TRVS_ITEM_PROMOTION_GROUPS, buffer, size);
      },
      {.file = "trevault"});
  PromotionModel model;
  if (names.size() == 1) model.links_.emplace_back(names.front(), "");
  for (size_t i = 0; i + 1 < names.size(); i += 2) {
    model.links_.emplace_back(names[i], names[i + 1]);
  }
  return model;
}

bool PromotionModel::has(std::string_view group) const {
  return std::any_of(links_.begin(), links_.end(), [&](const auto& link) {
    return !group.empty() && (link.first == group || link.second == group);
  });
}

bool PromotionModel::isDevelopment(std::string_view group) const {
  return has(group) && std::none_of(links_.begin(), links_.end(),
                                    [&](const auto& link) { return link.second == group; });
}

std::vector<std::string> PromotionModel::developmentGroups() const {
  std::vector<std::string> groups;
  for (const auto& [group, next] : links_) {
    if (isDevelopment(group)) groups.push_back(group);
  }
  return groups;
}

std::string PromotionModel::next(std::string_view group) const {
  for (const auto& [below, above] : links_) {
    if (below == group) return above;
  }
  return "";
}

std::vector<std::vector<std::string>> PromotionModel::chains() const {
  std::vector<std::vector<std::string>> chains;
  for (const std::string& start : developmentGroups()) {
    chains.emplace_back();
    for (std::string group = start; !group.empty(); group = next(group)) {
      chains.back().push_back(group);
    }
  }
  return chains;
}

std::string PromotionModel::chosen(const std::string& named, const std::string& project) const {
  const auto groups = developmentGroups();
  if (named.empty()) {
    if (groups.size() < 2) return "";
    throw misuse(project, fmt::format("{} development groups, {}", groups.size(), listed(groups)),
                 "choose one with -g");
  }
  if (isDevelopment(named)) return named;
  if (isEmpty()) {
    throw misuse(named, "no such group",
                 "this project has none, see 'trevault config set PROMOTE'");
  }
  throw misuse(
      named, has(named) ? "no development group" : "no such group",
      offerNearest(named, groups, fmt::format("development groups are {}", listed(groups))));
}

void PromotionModel::refuseUnknown(const std::string& group) const {
  if (has(group)) return;
  std::vector<std::string> known;
  for (const auto& [below, above] : links_) known.insert(known.end(), {below, above});
  throw misuse(group, "no such group", offerNearest(group, known, "'trevault groups' lists them"));
}

}  // namespace cli
