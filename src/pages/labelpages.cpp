// pages/labelpages.cpp: labels tie files together: a release, and what came after another one.
#include "pages/labelpages.h"

#include <fmt/format.h>

#include <map>
#include <utility>
#include <vector>

#include "cli/text/text.h"

namespace pages {
namespace {

// The one that comes before it by time; null for the oldest.
const Label* olderThan(const Project& project, const Label& label) {
  const auto place = static_cast<size_t>(&label - project.labels.data()) + 1;
  return place < project.labels.size() ? &project.labels[place] : nullptr;
}

void writeName(Html& html, const Context& context, const Labelled& file) {
  if (file.file != nullptr) return writeFileLink(html, context, file.path);
  html.put("span", {{"class", "name"}}, cli::shown(file.path));
  html.text(" ");
  writeMark(html, Mark::kNote, "not in the project now", "it was taken off the project since");
}

// Who may be asked for is in the form: all others.
void writeChoice(Html& html, const Context& context, const Label& label) {
  const auto form = html.in("form", {html.submitsTo(context.addresses.chosenLabel(label.name)),
                                     {"method", "get"},
                                     {"class", "choose"}});
  const auto line = html.in("p");
  {
    const auto name = html.in("label");
    html.text("Against ");
    const auto select = html.in("select", {{"name", "other"}});
    for (const Label& each : context.project.labels) {
      if (&each == &label) continue;
      html.put("option", {{"value", slugOf(each.name)}}, cli::shown(each.name));
    }
  }
  html.text(" ");
  html.put("button", {{"type", "submit"}}, "Compare");
}

void writeAgainstOthers(Html& html, const Context& context, const Label& label) {
  if (context.project.labels.size() < 2) return;
  if (context.outlet == Outlet::kServed) return writeChoice(html, context, label);
  const Label* const older = olderThan(context.project, label);
  if (older == nullptr) return;
  const auto line = html.in("p");
  writeLink(html, context.addresses.between(label.name, older->name),
            "Against " + cli::shown(older->name));
}

// What the two labels say of one archive.
struct Pair {
  const Labelled* newer = nullptr;
  const Labelled* older = nullptr;
};

struct Sides {
  const Label& newer;
  const Label& older;
};

void writeDifference(Html& html, const Context& context, const Sides& sides, const Pair& pair) {
  const auto row = html.in("tr");
  const Labelled& known = pair.newer != nullptr ? *pair.newer : *pair.older;
  {
    const auto cell = html.in("td");
    writeName(html, context, known);
  }
  for (const Labelled* each : {pair.older, pair.newer}) {
    html.put("td", {{"class", "number"}}, each == nullptr ? "\u2013" : each->revision->number);
  }
  const auto cell = html.in("td", {{"class", "what"}});
  if (pair.older == nullptr || pair.newer == nullptr) {
    html.text("only in " + cli::shown(pair.older == nullptr ? sides.newer.name : sides.older.name));
  } else if (known.file == nullptr) {
    html.text("differs");
  } else {
    writeAgainst(html, context, known.path, *pair.older->revision, *pair.newer->revision,
                 "what is different");
  }
}

std::vector<Pair> pairsOf(const Label& label, const Label& older) {
  std::map<std::pair<std::string, const Archive*>, Pair> pairs;  // By path.
  std::map<const Archive*, Pair*> known;
  for (const Labelled& each : label.files) {
    Pair& pair = pairs[{each.path, each.archive.get()}];
    pair.newer = &each;
    known[each.archive.get()] = &pair;
  }
  for (const Labelled& each : older.files) {
    const auto found = known.find(each.archive.get());
    Pair& pair = found != known.end() ? *found->second : pairs[{each.path, each.archive.get()}];
    pair.older = &each;
  }
  std::vector<Pair> result;
  for (const auto& [path, pair] : pairs) result.push_back(pair);
  return result;
}

void writeHeads(Html& html, std::initializer_list<std::string> names) {
  const auto head = html.in("thead");
  const auto row = html.in("tr");
  for (const std::string& name : names) html.put("th", {{"scope", "col"}}, name);
}

}  // namespace

void writeLabels(Html& html, const Context& context) {
  writePage(html, {.title = "Labels", .context = &context, .tab = "Labels"}, [&] {
    const auto& labels = context.project.labels;
    if (labels.empty()) return writeNothing(html, "No revision has a label yet.");
    writeSummary(html, cli::counted(labels.size(), "label") + ", the newest first");
    const auto table = html.in("table", {{"class", "list"}});
    writeHeads(html, {"Label", "Files", "Newest revision", ""});
    const auto body = html.in("tbody");
    for (const Label& each : labels) {
      const auto row = html.in("tr");
      {
        const auto cell = html.in("td");
        html.put("a", {html.to(context.addresses.label(each.name)), {"class", "mark label"}},
                 cli::shown(each.name));
      }
      html.put("td", {{"class", "count"}}, cli::number(each.files.size()));
      {
        const auto cell = html.in("td");
        writeTime(html, each.newest);
      }
      const auto cell = html.in("td");
      const Label* const older = olderThan(context.project, each);
      if (older == nullptr) continue;
      writeLink(html, context.addresses.between(each.name, older->name),
                "against " + cli::shown(older->name));
    }
  });
}

void writeLabel(Html& html, const Context& context, const Label& label) {
  writePage(html, {.title = label.name, .context = &context, .tab = "Labels"}, [&] {
    writeSummary(html, cli::counted(label.files.size(), "file") + " with this label");
    writeAgainstOthers(html, context, label);
    const auto table = html.in("table", {{"class", "list"}});
    writeHeads(html, {"File", "Revision", "Time", "Author", "Message"});
    const auto body = html.in("tbody");
    for (const Labelled& each : label.files) {
      const auto row = html.in("tr");
      {
        const auto cell = html.in("td");
        writeName(html, context, each);
      }
      html.put("td", {{"class", "number"}}, each.revision->number);
      {
        const auto cell = html.in("td");
        writeTime(html, each.revision->time);
      }
      html.put("td", cli::shown(each.revision->author));
      html.put("td", {{"class", "what"}}, firstLineOf(*each.revision));
    }
  });
}

void writeBetween(Html& html, const Context& context, const Label& label, const Label& older) {
  const std::string title =
      fmt::format("{} against {}", cli::shown(label.name), cli::shown(older.name));
  writePage(html, {.title = title, .context = &context, .tab = "Labels"}, [&] {
    std::vector<Pair> pairs = pairsOf(label, older);
    const size_t all = pairs.size();
    std::erase_if(pairs, [](const Pair& each) {
      return each.newer != nullptr && each.older != nullptr &&
             each.newer->revision->number == each.older->revision->number;
    });
    {
      const auto line = html.in("p", {{"class", "summary"}});
      html.text(fmt::format(
          "{}, {} the same revision in ",
          pairs.empty()
              ? "no file differs"
              : cli::counted(pairs.size(), "file") + (pairs.size() == 1 ? " differs" : " differ"),
          cli::number(all - pairs.size()) + (all - pairs.size() == 1 ? " has" : " have")));
      writeLink(html, context.addresses.label(label.name), cli::shown(label.name));
      html.text(" and ");
      writeLink(html, context.addresses.label(older.name), cli::shown(older.name));
    }
    if (pairs.empty()) return writeNothing(html, "Both name the same revisions.");
    const auto table = html.in("table", {{"class", "list"}});
    writeHeads(html, {"File", cli::shown(older.name), cli::shown(label.name), ""});
    const auto body = html.in("tbody");
    for (const Pair& each : pairs) writeDifference(html, context, {label, older}, each);
  });
}

}  // namespace pages
