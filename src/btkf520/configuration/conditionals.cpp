// btkf520/configuration/conditionals.cpp: IF, ELSEIF, ELSE and ENDIF as a stack.
#include "btkf520/configuration/conditionals.h"

#include <utility>

namespace btkf {

bool Conditionals::asksForElseif() const {
  return !open_.empty() && open_.back().outerReading && !open_.back().settled;
}

void Conditionals::open(std::optional<bool> condition, Opening opening) {
  const bool outer = isReading();
  open_.push_back(
      {std::move(opening), outer, outer && condition.value_or(false), condition.value_or(true)});
}

bool Conditionals::elseif(std::optional<bool> condition) {
  if (open_.empty()) return false;
  Construct& construct = open_.back();
  construct.reading = construct.outerReading && !construct.settled && condition.value_or(false);
  construct.settled = construct.settled || condition.value_or(true);
  return !construct.elseSeen;
}

bool Conditionals::otherwise() {
  // Settles the construct too, so that whatever stands after ELSE is skipped.
  const bool first = elseif(true);
  if (!open_.empty()) open_.back().elseSeen = true;
  return first;
}

bool Conditionals::close() {
  if (open_.empty()) return false;
  open_.pop_back();
  return true;
}

std::optional<Conditionals::Opening> Conditionals::unclosed() const {
  return open_.empty() ? std::nullopt : std::optional(open_.back().opening);
}

}  // namespace btkf
