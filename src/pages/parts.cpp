// pages/parts.cpp: the frame, and small parts.
#include "pages/parts.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/text/shellword.h"
#include "cli/text/text.h"

namespace pages {
namespace {

constexpr std::string_view kGenerator = "trevault pages";

void writeHead(Html& html, const Heading& heading) {
  const auto head = html.in("head");
  html.lone("meta", {{"charset", "utf-8"}});
  html.lone("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
  html.lone("meta", {{"name", "generator"}, {"content", kGenerator}});
  html.lone("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
  html.lone("meta", {{"name", "referrer"}, {"content", "no-referrer"}});
  const bool isOfProject =
      heading.context != nullptr && heading.context->project.name != heading.title;
  html.put("title", isOfProject ? cli::shown(heading.title) + " \u2013 " +
                                      cli::shown(heading.context->project.name)
                                : cli::shown(heading.title));
  html.lone("link", {{"rel", "icon"}, Html::noIcon()});
  html.lone("link", {{"rel", "stylesheet"}, html.to(kStyle)});
  html.put("script", {html.runs(kScript), {"defer"}}, "");
}

void writeTabs(Html& html, const Context& context, std::string_view present) {
  if (!context.project.problem.empty()) return;
  const auto tabs = html.in("nav", {{"class", "tabs"}, {"aria-label", "Project"}});
  for (const auto& [name, address] :
       {std::pair(kFilesTab, context.addresses.files()),
        std::pair(std::string_view("Labels"), context.addresses.labels()),
        std::pair(std::string_view("Locks"), context.addresses.locks()),
        std::pair(std::string_view("Last fortnight"), context.addresses.days())}) {
    if (present == name) {
      html.put("a", {html.to(address), {"aria-current", "page"}}, name);
    } else {
      html.put("a", {html.to(address)}, name);
    }
  }
}

// What can't be read would be missed on a page about all files.
void writeUnread(Html& html, const Project& project) {
  const size_t count = brokenIn(project);
  if (count > 0) {
    writeProblem(html, cli::counted(count, "file") + " can't be read; what " +
                           (count == 1 ? "it tells" : "they tell") + " is missing here");
  }
}

}  // namespace

size_t brokenIn(const Project& project) {
  return static_cast<size_t>(
      std::count_if(project.files.begin(), project.files.end(),
                    [](const File& each) { return !each.archive->problem.empty(); }));
}

void writePage(Html& html, const Heading& heading, const std::function<void()>& content) {
  const auto page = html.in("html", {{"lang", "en"}});
  writeHead(html, heading);
  const auto body = html.in("body");
  {
    const auto header = html.in("header");
    const auto trail = html.in("div", {{"class", "trail"}});
    writeLink(html, kProjects, "Projects");
    if (heading.context != nullptr) {
      html.put("span", {{"class", "sep"}}, "/");
      html.put("a", {html.to(heading.context->addresses.files()), {"class", "project"}},
               cli::shown(heading.context->project.name));
      writeTabs(html, *heading.context, heading.tab);
    }
  }
  const auto main = html.in("main");
  html.put("h1", cli::shown(heading.title));
  const bool isOfAll = !heading.tab.empty() && heading.tab != kFilesTab;
  if (isOfAll) writeUnread(html, heading.context->project);
  content();
}

bool isOurs(std::string_view page) {
  constexpr size_t kHead = 1000;
  const std::string_view head = page.substr(0, kHead);
  return head.starts_with("<!DOCTYPE html>") && head.find(kGenerator) != std::string_view::npos;
}

bool isFull(const Html& html, size_t since) {
  constexpr size_t kLongest = 2 << 20;
  return html.written().size() - since > kLongest;
}

size_t letterAt(std::string_view text, size_t place) {
  const auto isWithin = [&](size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  for (int i = 0; i < 3 && isWithin(place); ++i) ++place;
  return place;
}

std::string shortened(std::string_view text, size_t most) {
  if (text.size() <= most) return std::string(text);
  const size_t end = letterAt(text, most);
  return fmt::format("{} \u2026 {}", text.substr(0, end),
                     cli::counted(text.size() - end, "more byte"));
}

std::string firstLineOf(const cli::RevisionInfo& revision) {
  return shortened(cli::shown(revision.firstLine()), 300);
}

std::string toldBy(std::string_view command, const std::string& path) {
  return fmt::format("'trevault {}{}{}' tells all", command, path.empty() ? "" : " ",
                     path.empty() ? "" : cli::shellWord(path));
}

void writeSummary(Html& html, std::string_view text) {
  html.put("p", {{"class", "summary"}}, text);
}
void writeNothing(Html& html, std::string_view text) {
  html.put("p", {{"class", "nothing"}}, text);
}
void writeProblem(Html& html, std::string_view text) {
  html.put("p", {{"class", "problem"}, {"role", "alert"}}, text);
}

void writeTime(Html& html, std::string_view time) {
  html.put("time", {{"title", time}}, time.substr(0, std::min<size_t>(time.size(), 16)));
}

void writeLink(Html& html, std::string_view address, std::string_view text) {
  html.put("a", {html.to(address)}, text);
}

void writeFileLink(Html& html, const Context& context, const std::string& path) {
  html.put("a", {html.to(context.addresses.file(path)), {"class", "name"}}, cli::shown(path));
}

namespace {

std::string_view classOf(Mark mark) {
  switch (mark) {
    case Mark::kLabel:
      return "mark label";
    case Mark::kGroup:
      return "mark group";
    case Mark::kLock:
      return "mark lock";
    case Mark::kBroken:
      return "mark broken";
    case Mark::kTip:
      return "mark tip";
    case Mark::kNote:
      break;
  }
  return "mark";
}

}  // namespace

void writeMark(Html& html, Mark mark, std::string_view text, std::string_view meaning) {
  html.put("span", {{"class", classOf(mark)}, {"title", meaning}}, text);
}

void writeLock(Html& html, const cli::LockInfo& lock) {
  std::string meaning = lock.number;
  if (!lock.time.empty()) meaning += " since " + lock.minute();
  if (!lock.note.empty()) meaning += ": " + shortened(lock.note);
  writeMark(html, Mark::kLock, "locked by " + cli::shown(lock.user), meaning);
}

void writeMarks(Html& html, const Context& context, const Archive& archive,
                const cli::RevisionInfo& revision) {
  for (const cli::LockInfo& each : archive.history.locks()) {
    if (each.number == revision.number) writeLock(html, each);
  }
  for (const std::string& each : revision.groups) {
    writeMark(html, Mark::kGroup, cli::shown(each), "group " + each);
  }
  for (const std::string& each : revision.labels) {
    html.put("a",
             {html.to(context.addresses.label(each)),
              {"class", classOf(Mark::kLabel)},
              {"title", "label " + each}},
             cli::shown(each));
  }
}

void writeAgainst(Html& html, const Context& context, const std::string& path,
                  const cli::RevisionInfo& older, const cli::RevisionInfo& newer,
                  std::string_view text) {
  writeLink(html, context.addresses.revisions(path, older.number, newer.number), text);
}

}  // namespace pages
