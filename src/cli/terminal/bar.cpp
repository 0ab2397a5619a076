// cli/terminal/bar.cpp: the line of the bar, and when it is drawn.
#include "cli/terminal/bar.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "cli/text/text.h"
#include "os/clock.h"
#include "os/terminal.h"

namespace cli {
namespace {

// Milliseconds.
constexpr int64_t kPatience = 1000;
constexpr int64_t kPause = 100;

void write(std::string_view text) { static_cast<void>(os::writeTo(os::Stream::kErrors, text)); }

}  // namespace

std::string textOf(const Advance& now) {
  std::string text =
      fmt::format("{}  {} of {}  {}%", now.doing, number(now.done), number(now.total),
                  now.total == 0 ? 100 : now.done * 100 / now.total);
  if (now.milliseconds <= 0) return text;
  const auto passed = static_cast<uint64_t>(now.milliseconds);
  if (now.bytes > 0) text += fmt::format("  {}/s", sizeText(now.bytes * 1000 / passed));
  if (now.done == 0) return text;
  const uint64_t left = passed * (now.total - now.done) / now.done / 1000;
  return text + fmt::format("  {}:{:02} left", left / 60, left % 60);
}

void Bar::begin(std::string doing, uint64_t total, bool isShown) {
  hide();
  now_ = {.doing = std::move(doing), .total = total};
  isShown_ = isShown;
  begun_ = os::steadyMilliseconds();
}

void Bar::step() {
  ++now_.done;
  if (!isShown_) return;
  const int64_t clock = os::steadyMilliseconds();
  now_.milliseconds = clock - begun_;
  if (now_.milliseconds < kPatience || clock - drawn_ < kPause || now_.done == now_.total) return;
  std::string text = textOf(now_);
  const auto width = static_cast<size_t>(os::terminalWidth());
  text.resize(std::min(text.size(), width - 1));
  const size_t before = std::exchange(columns_, text.size());
  write('\r' + padded(text, before));
  drawn_ = clock;
}

void Bar::hide() {
  if (columns_ == 0) return;
  write('\r' + std::string(std::exchange(columns_, 0), ' ') + '\r');
  drawn_ = 0;
}

void Bar::end() {
  hide();
  isShown_ = false;
  now_ = {};
}

}  // namespace cli
