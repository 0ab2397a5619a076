// cli/moving/rcscontents.cpp: back to the oldest revision, then up the trunk, and out each branch
// and back.
#include "cli/moving/rcscontents.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/problem.h"

namespace cli {
namespace {

RcsContents::Lines linesOf(std::string_view text) {
  RcsContents::Lines lines;
  while (!text.empty()) {
    const size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

// The number that `text` begins with, of which it loses it; -1 for none.
int64_t takeNumber(std::string_view* text) {
  int64_t number = 0;
  size_t size = 0;
  for (; size < text->size() && (*text)[size] >= '0' && (*text)[size] <= '9'; ++size) {
    if (size > 15) return -1;
    number = number * 10 + ((*text)[size] - '0');
  }
  text->remove_prefix(size);
  return size == 0 ? -1 : number;
}

}  // namespace

RcsContents::RcsContents(const RcsFile& file) : file_(file) {
  std::vector<const RcsRevision*> trunk;
  for (std::string number = file.head(); !number.empty(); number = trunk.back()->next) {
    trunk.push_back(&file.at(number));
  }
  if (trunk.empty()) return;
  lines_ = linesOf(trunk.front()->text);
  for (size_t i = 1; i < trunk.size(); ++i) forth_.push_back(apply(changesOf(*trunk[i])));
  for (auto each = trunk.rbegin(); each != trunk.rend(); ++each) {
    steps_.push_back({Step::Way::kUpTrunk, *each});
    planBranches(**each);
  }
}

// How deep they nest is bounded by the length of numbers.
void RcsContents::planBranches(const RcsRevision& from) {
  for (const std::string& first : from.branches) {
    const size_t begin = steps_.size();
    size_t length = 0;
    for (const RcsRevision* each = &file_.at(first);; each = &file_.at(each->next)) {
      steps_.push_back({Step::Way::kUpBranch, each});
      ++length;
      planBranches(*each);
      if (each->next.empty()) break;
    }
    steps_.insert(steps_.end(), length, {Step::Way::kBack, steps_[begin].revision});
  }
}

const RcsRevision* RcsContents::next() {
  while (step_ < steps_.size()) {
    const bool isFirst = step_ == 0;
    const Step step = steps_[step_++];
    if (step.way == Step::Way::kBack) {
      apply(back_.back());
      back_.pop_back();
      continue;
    }
    if (step.way == Step::Way::kUpBranch) {
      back_.push_back(apply(changesOf(*step.revision)));
    } else if (!isFirst) {
      apply(forth_.back());
      forth_.pop_back();
    }
    return step.revision;
  }
  return nullptr;
}

// "d3 2": two lines go, from the third on. "a4 1": one line comes after the fourth. Both count in
// the text before.
RcsContents::Changes RcsContents::changesOf(const RcsRevision& revision) const {
  const auto fail = [&] {
    throw Problem{file_.name(),
                  fmt::format("damaged: the text of {} makes no sense", revision.number),
                  "see what 'co' says of it"};
  };
  Changes changes;
  std::string_view text = revision.text;
  size_t end = 0;  // Of the lines that have been changed.
  while (!text.empty()) {
    const char what = text.front();
    text.remove_prefix(1);
    const int64_t from = takeNumber(&text);
    if (text.empty() || text.front() != ' ') fail();
    text.remove_prefix(1);
    const int64_t count = takeNumber(&text);
    if (text.empty() || text.front() != '\n' || from < 0 || count < 1) fail();
    text.remove_prefix(1);
    const auto size = static_cast<size_t>(count);
    Change change{static_cast<size_t>(from), 0, {}};
    if (what == 'd') {
      if (from < 1) fail();
      --change.at;
      change.count = size;
    } else if (what == 'a') {
      for (size_t i = 0; i < size; ++i) {
        if (text.empty()) fail();
        const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        change.lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
      }
    } else {
      fail();
    }
    if (change.at < end || change.at > lines_.size() || change.count > lines_.size() - change.at)
      fail();
    end = change.at + change.count;
    changes.push_back(std::move(change));
  }
  return changes;
}

RcsContents::Changes RcsContents::apply(const Changes& changes) {
  Changes back;
  Lines lines;
  lines.reserve(lines_.size());
  size_t place = 0;
  const auto copyTo = [&](size_t end) {
    lines.insert(lines.end(), lines_.begin() + static_cast<std::ptrdiff_t>(place),
                 lines_.begin() + static_cast<std::ptrdiff_t>(end));
  };
  for (const Change& each : changes) {
    copyTo(each.at);
    place = each.at + each.count;
    back.push_back({lines.size(),
                    each.lines.size(),
                    {lines_.begin() + static_cast<std::ptrdiff_t>(each.at),
                     lines_.begin() + static_cast<std::ptrdiff_t>(place)}});
    lines.insert(lines.end(), each.lines.begin(), each.lines.end());
  }
  copyTo(lines_.size());
  lines_ = std::move(lines);
  return back;
}

}  // namespace cli
