// cli/archives/promotion.h: the promotion model: named groups, and to which one each promotes.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

class PromotionModel {
 public:
  PromotionModel() = default;
  // That of the configuration in use. Throws Problem.
  static PromotionModel present();

  bool isEmpty() const { return links_.empty(); }
  bool has(std::string_view group) const;
  // Throws Problem for a group that it does not have.
  void refuseUnknown(const std::string& group) const;
  bool isDevelopment(std::string_view group) const;
  // Where nothing promotes to: revisions begin there.
  std::vector<std::string> developmentGroups() const;
  // The group that it promotes to, empty for the top one.
  std::string next(std::string_view group) const;
  // From each development group up to the top.
  std::vector<std::vector<std::string>> chains() const;

  // The development group that a user means who may have named one and may work in another. Empty:
  // none named, and there is none or only one. Throws Problem; `project` is for its words.
  std::string chosen(const std::string& named, const std::string& project) const;

 private:
  std::vector<std::pair<std::string, std::string>> links_;
};

}  // namespace cli
