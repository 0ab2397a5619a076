// btkf520/operations/attempt.h: steps after which what is done stays done.
#pragma once

namespace btkf {

// Whether the step ran to its end: neither memory that is short nor a function of the client that
// throws ends more than the step.
template <typename Step>
bool attempt(const Step& step) noexcept {
  try {
    step();
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace btkf
