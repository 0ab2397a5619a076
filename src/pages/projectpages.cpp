// pages/projectpages.cpp: lists. That of files is a tree of directories, which can be folded; what
// a reader types is looked for in the paths by the script.
#include "pages/projectpages.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <vector>

#include "cli/text/paths.h"
#include "cli/text/text.h"

namespace pages {
namespace {

size_t locksOf(const Project& project) {
  size_t count = 0;
  for (const File& each : project.files) count += each.archive->history.locks().size();
  return count;
}

const File* newestOf(const Project& project) {
  const File* newest = nullptr;
  for (const File& each : project.files) {
    if (each.archive->newest == nullptr) continue;
    if (newest == nullptr || each.archive->newest->time > newest->archive->newest->time) {
      newest = &each;
    }
  }
  return newest;
}

std::string summaryOf(const Project& project) {
  if (project.files.empty()) return "no files yet";
  std::string text = cli::counted(project.files.size(), "file");
  const size_t locks = locksOf(project);
  if (locks > 0) text += ", " + cli::counted(locks, "lock");
  if (!project.labels.empty()) text += ", " + cli::counted(project.labels.size(), "label");
  const size_t broken = brokenIn(project);
  if (broken > 0) text += fmt::format(", {} broken", cli::number(broken));
  return text;
}

void writeProject(Html& html, const Project& project) {
  const auto card = html.in("li");
  html.put("a", {html.to(Addresses(project.name).files()), {"class", "name"}},
           cli::shown(project.name));
  if (!project.problem.empty()) return writeProblem(html, project.problem);
  html.put("p", summaryOf(project));
  const File* const file = newestOf(project);
  if (file == nullptr) return;
  const cli::RevisionInfo& newest = *file->archive->newest;
  const auto line = html.in("p", {{"class", "muted"}});
  writeTime(html, newest.time);
  html.text(fmt::format(" {}: {} {}", cli::shown(newest.author), cli::shown(file->record.path),
                        newest.number));
}

std::string depthOf(size_t depth) { return fmt::format("d{}", std::min<size_t>(depth, 9)); }

// Groups say how far something has come, whether or not it is the tip.
void writeFileMarks(Html& html, const Context& context, const Archive& archive) {
  const auto marks = html.in("span", {{"class", "marks"}});
  if (!archive.problem.empty()) {
    return writeMark(html, Mark::kBroken, "broken", archive.problem);
  }
  for (const cli::LockInfo& each : archive.history.locks()) writeLock(html, each);
  for (const std::string& group : context.project.groups) {
    const cli::RevisionInfo* const revision = archive.history.inGroup(group);
    if (revision == nullptr) continue;
    const bool isTip = revision == archive.tip;
    writeMark(html, Mark::kGroup, isTip ? group : fmt::format("{} {}", group, revision->number),
              fmt::format("group {} stands at {}", group, revision->number));
  }
  if (archive.tip == nullptr) return;
  for (const std::string& each : archive.tip->labels) {
    html.put("a",
             {html.to(context.addresses.label(each)),
              {"class", "mark label"},
              {"title", "label " + each}},
             cli::shown(each));
  }
}

void writeFile(Html& html, const Context& context, const File& file, size_t depth) {
  const auto row = html.in("li", {{"class", depthOf(depth)}});
  html.put("a", {html.to(context.addresses.file(file.record.path)), {"class", "name"}},
           cli::shown(cli::namePart(file.record.path)));
  const cli::RevisionInfo* const tip = file.archive->tip;
  html.put("span", {{"class", "number"}}, tip == nullptr ? "" : tip->number);
  writeTime(html, tip == nullptr ? "" : tip->time);
  html.put("span", {{"class", "who"}}, tip == nullptr ? "" : cli::shown(tip->author));
  html.put("span", {{"class", "what"}}, tip == nullptr ? "" : firstLineOf(*tip));
  writeFileMarks(html, context, *file.archive);
}

// Files of one directory, which are [begin, end) and begin with its path, and the directories in
// it.
class FileTree {
 public:
  FileTree(Html& html, const Context& context) : html_(html), context_(context) {}

  void write() { write(0, context_.project.files.size(), 0, 0); }

 private:
  const std::string& pathOf(size_t file) const { return context_.project.files[file].record.path; }

  // Where the directory ends that `file` is in below the first `skipped` bytes of its path: 0 if
  // it is in none.
  size_t directoryEnd(size_t file, size_t skipped) const {
    const size_t slash = pathOf(file).find('/', skipped);
    return slash == std::string::npos || slash + 1 == pathOf(file).size() ? 0 : slash + 1;
  }

  void write(size_t begin, size_t end, size_t skipped, size_t depth) {
    for (size_t i = begin; i < end;) {
      const size_t inner = depth < kDeepest ? directoryEnd(i, skipped) : 0;
      i = inner == 0 ? writeFiles(i, end, skipped, depth)
                     : writeDirectory(i, end, skipped, inner, depth);
    }
  }

  // Gives where it ends, as the next.
  size_t writeDirectory(size_t begin, size_t end, size_t skipped, size_t inner, size_t depth) {
    const std::string name = pathOf(begin).substr(0, inner);
    size_t last = begin;
    while (last < end && pathOf(last).starts_with(name)) ++last;
    const auto directory = html_.in("details", {{"open"}});
    {
      const auto summary = html_.in("summary", {{"class", depthOf(depth)}});
      html_.put("span", {{"class", "directory"}}, cli::shown(name.substr(skipped)));
      html_.put("span", {{"class", "count"}}, cli::number(last - begin));
    }
    write(begin, last, inner, depth + 1);
    return last;
  }

  // Those up to the next directory.
  size_t writeFiles(size_t begin, size_t end, size_t skipped, size_t depth) {
    const auto list = html_.in("ul", {{"class", "files"}});
    size_t i = begin;
    for (; i < end && (depth >= kDeepest || directoryEnd(i, skipped) == 0); ++i) {
      writeFile(html_, context_, context_.project.files[i], depth);
    }
    return i;
  }

  static constexpr size_t kDeepest = 50;

  Html& html_;
  const Context& context_;
};

}  // namespace

void writeProjects(Html& html, const Source& source) {
  writePage(html, {.title = "Projects"}, [&] {
    if (source.projects().empty()) return writeNothing(html, "There are no projects yet.");
    const auto list = html.in("ul", {{"class", "cards"}});
    for (const Project& each : source.projects()) writeProject(html, each);
  });
}

void writeFiles(Html& html, const Context& context) {
  const Project& project = context.project;
  writePage(html, {.title = project.name, .context = &context, .tab = kFilesTab}, [&] {
    if (!project.problem.empty()) return writeProblem(html, project.problem);
    if (project.files.empty()) {
      return writeNothing(html, "No file is under control yet; 'trevault add' is how to begin.");
    }
    writeSummary(html, summaryOf(project));
    {
      // Of no use without the script, which shows it.
      const auto field = html.in("p", {{"class", "filter"}, {"hidden"}});
      html.lone("input", {{"type", "search"},
                          {"id", "filter"},
                          {"placeholder", "Filter by name, user, label or group"},
                          {"aria-label", "Filter"},
                          {"autocomplete", "off"},
                          {"spellcheck", "false"}});
      html.put("output", {{"id", "found"}}, "");
    }
    const auto tree = html.in("div", {{"class", "tree"}, {"id", "tree"}});
    FileTree(html, context).write();
  });
}

}  // namespace pages
