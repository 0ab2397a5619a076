// core/optionarray.h: TVOptionArray, the display options that a name query receives.
#pragma once

#include <memory>

#include "base/containers.h"
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
class TVOptionArray : private VObjArray {
 public:
  TVOptionArray() = default;
  TVOptionArray(const TVOptionArray&) = delete;
  TVOptionArray& operator=(const TVOptionArray&) = delete;
  ~TVOptionArray() { deleteAll(); }

  // One that stays empty, for the many queries without options: an array has its slots allocated
  // from the start.
  static const TVOptionArray& none() {
    static const auto* empty = new TVOptionArray;
    return *empty;
  }

  void add(std::unique_ptr<TVDisplayOption> option) {
    const int index = option->hash();
    remove(index);
    slot(index) = option.release();
  }
  void remove(int index) {
    delete at(index);
    if (index < size()) slot(index) = nullptr;
  }
  // The first option for a class; null if there is none. *index, if given, receives its place.
  const TVDisplayOption* find(const VClassRecord* record, int* index = nullptr) const {
    for (int i = 0; i < size(); ++i) {
      if (at(i) == nullptr || at(i)->isA() != record) continue;
      if (index != nullptr) *index = i;
      return static_cast<const TVDisplayOption*>(at(i));
    }
    return nullptr;
  }
  // Whether the long form is asked for.
  bool wantsLongForm(const VClassRecord* record) const {
    const TVDisplayOption* option = find(record);
    return option != nullptr && option->first();
  }
};

}  // namespace foldapi
