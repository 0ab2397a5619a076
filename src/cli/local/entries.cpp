// cli/local/entries.cpp: each check-in goes to the last entry of its author and message, if that
// is recent enough, and if nothing came to the file since.
#include "cli/local/entries.h"

#include <map>
#include <utility>

#include "dates/packedtime.h"
#include "os/clock.h"

namespace cli {
namespace {

dates::LocalTime timeOf(const std::string& text) {
  dates::LocalTime time;
  size_t place = 0;
  for (int* part :
       {&time.year, &time.month, &time.day, &time.hours, &time.minutes, &time.seconds}) {
    for (*part = 0; place < text.size() && text[place] >= '0' && text[place] <= '9'; ++place) {
      *part = *part * 10 + (text[place] - '0');
    }
    ++place;
  }
  return time;
}

}  // namespace

int64_t secondsOf(const std::string& time) { return dates::secondsOf(timeOf(time)); }
int64_t utcOfSeconds(int64_t seconds) {
  // The offset belongs to the moment looked for, so a first guess finds the place to ask at.
  return seconds - os::zoneOffset(seconds - os::zoneOffset(seconds));
}
int64_t utcOf(const std::string& time) { return utcOfSeconds(secondsOf(time)); }

std::vector<Entry> entriesOf(const std::vector<CheckIn>& checkIns, int64_t window) {
  std::vector<Entry> entries;
  std::map<std::pair<std::string, std::string>, size_t> latest;  // By author and message.
  std::map<const FileRecord*, size_t> ends;                      // The entry after the file's last.
  for (const CheckIn& each : checkIns) {
    const auto [found, isFirst] =
        latest.try_emplace({each.revision->author, each.revision->message}, entries.size());
    const bool isNew = isFirst || found->second < ends[each.file] ||
                       each.seconds - entries[found->second].back().seconds > window;
    if (isNew) {
      found->second = entries.size();
      entries.emplace_back();
    }
    entries[found->second].push_back(each);
    ends[each.file] = found->second + 1;
  }
  return entries;
}

}  // namespace cli
