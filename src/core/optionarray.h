// core/optionarray.h: TVOptionArray, the display options that a name query receives.
#pragma once

#include <memory>
#include <vector>

#include "base/vobject.h"

namespace foldapi {

// An option for the display of one class. `first` asks a name query for the long form.
class TVDisplayOption : public VObject {
 public:
  TVDisplayOption(const VClassRecord* record, VBool first) : record_(record), first_(first) {}

  const VClassRecord* isA() const override { return record_; }
  // The place of the option in an array.
  int32_t hash() const override { return record_->ordinal; }
  VBool first() const { return first_; }

 private:
  const VClassRecord* record_;
  VBool first_;
};

// Usually empty. Owns its options, each at the index that its own hash gives.
class TVOptionArray {
 public:
  void add(std::unique_ptr<TVDisplayOption> option) {
    const auto index = static_cast<size_t>(option->hash());
    if (index >= options_.size()) options_.resize(index + 1);
    options_[index] = std::move(option);
  }
  void remove(size_t index) {
    if (index < options_.size()) options_[index].reset();
  }
  // The first option for a class; null if there is none. *index, if given, receives its place.
  const TVDisplayOption* find(const VClassRecord* record, int* index = nullptr) const {
    for (size_t i = 0; i < options_.size(); ++i) {
      if (options_[i] == nullptr || options_[i]->isA() != record) continue;
      if (index != nullptr) *index = static_cast<int>(i);
      return options_[i].get();
    }
    return nullptr;
  }
  // Whether the long form is asked for.
  bool wantsLongForm(const VClassRecord* record) const {
    const TVDisplayOption* option = find(record);
    return option != nullptr && option->first();
  }

 private:
  std::vector<std::unique_ptr<TVDisplayOption>> options_;
};

}  // namespace foldapi
