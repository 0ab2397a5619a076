// base/vbool.h: VBool, the status of almost every operation. Always 0 or 1; false by default.
#pragma once

namespace foldapi {

class VBool {
 public:
  constexpr VBool() = default;
  constexpr VBool(bool value) : value_(value) {}
  constexpr VBool(int value) : value_(value != 0) {}

  constexpr operator bool() const { return value_; }
  constexpr int value() const { return value_ ? 1 : 0; }

 private:
  bool value_ = false;
};

}  // namespace foldapi
