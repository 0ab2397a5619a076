// base/vbool.h: VBool, the status of almost every operation. Always 0 or 1; false by default.
//
// A bool becomes one by itself. A number must be named one: the results of operations are 0 for
// success, so that one taken for a VBool would say the opposite.
#pragma once

#include <concepts>

namespace foldapi {

class VBool {
 public:
  constexpr VBool() = default;
  template <std::same_as<bool> Bool>
  constexpr VBool(Bool value) : value_(value) {}
  constexpr explicit VBool(int value) : value_(value != 0) {}

  constexpr operator bool() const { return value_; }
  constexpr int value() const { return value_ ? 1 : 0; }

 private:
  bool value_ = false;
};

}  // namespace foldapi
