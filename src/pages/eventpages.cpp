// pages/eventpages.cpp: locks, and the last fortnight by day: check-ins of one author with one
// message are one entry, as they are in the log of a project.
#include "pages/eventpages.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <vector>

#include "cli/local/entries.h"
#include "cli/local/moment.h"
#include "cli/text/text.h"

namespace pages {
namespace {

constexpr int64_t kDay = 86'400;
constexpr size_t kDate = 10;       // Letters of a time that are its day.
constexpr size_t kMostFiles = 30;  // Of one entry.

struct HeldLock {
  const File* file;
  const cli::LockInfo* lock;
};

// The oldest first.
std::vector<HeldLock> locksOf(const Project& project) {
  std::vector<HeldLock> locks;
  for (const File& file : project.files) {
    for (const cli::LockInfo& lock : file.archive->history.locks()) locks.push_back({&file, &lock});
  }
  std::stable_sort(locks.begin(), locks.end(), [](const HeldLock& left, const HeldLock& right) {
    return left.lock->time < right.lock->time;
  });
  return locks;
}

// Something that happened, by which a day is ordered.
struct Event {
  std::string time;
  const HeldLock* lock = nullptr;     // Either this
  const cli::Entry* entry = nullptr;  // or this.
};

class Days {
 public:
  Days(Html& html, const Context& context, const std::string& now)
      : html_(html), context_(context), since_(fortnightBefore(now)) {}

  void write() {
    const std::vector<HeldLock> locks = locksOf(context_.project);
    const std::vector<cli::Entry> entries = cli::entriesOf(checkIns(), cli::kEntryWindow);
    std::vector<Event> events;
    for (const HeldLock& each : locks) {
      if (each.lock->time >= since_) events.push_back({each.lock->time, &each, nullptr});
    }
    for (const cli::Entry& each : entries) {
      events.push_back({each.back().revision->time, nullptr, &each});
    }
    std::reverse(events.begin(), events.end());
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& left, const Event& right) { return left.time > right.time; });
    if (events.empty()) return writeNothing(html_, "Nothing was checked in or locked.");
    for (size_t i = 0; i < events.size();) {
      if (isFull(html_)) return writeNothing(html_, "There is more; " + toldBy("log"));
      const std::string day = events[i].time.substr(0, kDate);
      html_.put("h2", day);
      const auto list = html_.in("ol", {{"class", "events"}});
      for (; i < events.size() && events[i].time.starts_with(day) && !isFull(html_); ++i) {
        writeEvent(events[i]);
      }
    }
  }

 private:
  std::vector<cli::CheckIn> checkIns() {
    std::vector<cli::CheckIn> all;
    for (const File& file : context_.project.files) {
      for (const cli::RevisionInfo& each : file.archive->history.revisions()) {
        if (each.time < since_) continue;
        all.push_back({&file.record, &each, cli::secondsOf(each.time)});
        files_[&file.record] = &file;
      }
    }
    std::stable_sort(all.begin(), all.end(), [](const auto& left, const auto& right) {
      return left.seconds < right.seconds;
    });
    return all;
  }

  void writeEvent(const Event& event) {
    const auto row = html_.in("li");
    html_.put("time", {{"title", event.time}}, event.time.substr(kDate + 1, 5));
    event.lock != nullptr ? writeLock(*event.lock) : writeEntry(*event.entry);
  }

  void writeLock(const HeldLock& held) {
    html_.put("span", {{"class", "who"}}, cli::shown(held.lock->user));
    const auto what = html_.in("div", {{"class", "what"}});
    html_.text("locked ");
    writeFileLink(html_, context_, held.file->record.path);
    html_.text(" " + held.lock->number);
    if (!held.lock->note.empty())
      html_.put("p", {{"class", "message"}}, shortened(held.lock->note));
  }

  void writeEntry(cli::Entry entry) {
    html_.put("span", {{"class", "who"}}, cli::shown(entry.back().revision->author));
    const auto what = html_.in("div", {{"class", "what"}});
    html_.put("p", {{"class", "message"}}, shortened(entry.back().revision->message));
    std::stable_sort(entry.begin(), entry.end(), [](const auto& left, const auto& right) {
      return left.file->path < right.file->path;
    });
    const auto list = html_.in("ul", {{"class", "touched"}});
    for (size_t i = 0; i < std::min(entry.size(), kMostFiles); ++i) {
      const auto item = html_.in("li");
      const std::string& path = entry[i].file->path;
      writeFileLink(html_, context_, path);
      html_.text(" ");
      const cli::RevisionInfo& revision = *entry[i].revision;
      const auto* const parent = files_[entry[i].file]->archive->history.parentOf(revision);
      if (parent == nullptr) {
        html_.put("span", {{"class", "number"}}, revision.number);
      } else {
        writeAgainst(html_, context_, path, *parent, revision, revision.number);
      }
    }
    if (entry.size() > kMostFiles) {
      html_.put("li", {{"class", "muted"}},
                fmt::format("and {} more", cli::counted(entry.size() - kMostFiles, "file")));
    }
  }

  Html& html_;
  const Context& context_;
  std::string since_;
  std::map<const cli::FileRecord*, const File*> files_;
};

}  // namespace

std::string fortnightBefore(const std::string& now) {
  return cli::momentOf(cli::utcOf(now.substr(0, kDate) + " 12:00:00") - 13 * kDay).substr(0, kDate);
}

void writeLocks(Html& html, const Context& context) {
  writePage(html, {.title = "Locks", .context = &context, .tab = "Locks"}, [&] {
    const std::vector<HeldLock> locks = locksOf(context.project);
    if (locks.empty()) return writeNothing(html, "Nobody has locked anything.");
    writeSummary(html, cli::counted(locks.size(), "lock") + ", the oldest first");
    const auto table = html.in("table", {{"class", "list"}});
    {
      const auto head = html.in("thead");
      const auto row = html.in("tr");
      for (const char* name : {"File", "Revision", "User", "Since", "Why"}) {
        html.put("th", {{"scope", "col"}}, name);
      }
    }
    const auto body = html.in("tbody");
    for (const HeldLock& each : locks) {
      const auto row = html.in("tr");
      {
        const auto cell = html.in("td");
        writeFileLink(html, context, each.file->record.path);
      }
      html.put("td", {{"class", "number"}}, each.lock->number);
      html.put("td", cli::shown(each.lock->user));
      {
        const auto cell = html.in("td");
        writeTime(html, each.lock->time);
      }
      html.put("td", {{"class", "what"}}, shortened(each.lock->note));
    }
  });
}

void writeDays(Html& html, const Context& context, const std::string& now) {
  writePage(html, {.title = "The last fortnight", .context = &context, .tab = "Last fortnight"},
            [&] {
              writeSummary(html, fmt::format("What was checked in, and what is locked, since {}",
                                             fortnightBefore(now)));
              Days(html, context, now).write();
            });
}

}  // namespace pages
