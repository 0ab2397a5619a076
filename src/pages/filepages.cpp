// pages/filepages.cpp: the page of a file: facts, tree, log.
#include "pages/filepages.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <vector>

#include "cli/archives/engine.h"
#include "cli/pictures/treepicture.h"
#include "cli/text/text.h"
#include "pages/contents.h"

namespace pages {
namespace {

using Revisions = std::vector<const cli::RevisionInfo*>;

class FilePage {
 public:
  FilePage(Html& html, const Context& context, const File& file)
      : html_(html), context_(context), file_(file), archive_(*file.archive) {}

  void write() {
    writeFacts();
    if (!archive_.problem.empty()) return writeProblem(html_, archive_.problem);
    if (archive_.newest == nullptr) return writeNothing(html_, "It has no revisions yet.");
    try {
      sizes_ = cli::contentsOf(file_.record.archive, path());
      const cli::RevisionInfo& shown = archive_.tip == nullptr ? *archive_.newest : *archive_.tip;
      const Content content = contentOf(file_.record, shown.number);
      isBinary_ = content.kind != Kind::kText;
      if (isBinary_) {
        html_.put("h2", "Content of " + shown.number);
        writeContent(html_, content, path());
        if (content.kind == Kind::kTooLarge) {
          writeTooLarge(html_, fmt::format("cat -r {}", shown.number), path());
        }
      }
    } catch (const cli::Problem& problem) {
      writeProblem(html_, cli::reasonOf(problem));
    }
    html_.put("h2", "Revisions");
    writePicture();
    html_.put("h2", "Log");
    writeLog();
  }

 private:
  const std::string& path() const { return file_.record.path; }

  void writeFact(std::string_view name, std::string_view value) {
    html_.put("dt", name);
    html_.put("dd", cli::shown(value));
  }

  void writeFacts() {
    std::string description;
    try {
      if (archive_.problem.empty()) {
        description = cli::descriptionOf(file_.record.archive, "", path());
      }
    } catch (const cli::Problem&) {  // The revisions tell it.
    }
    const auto facts = html_.in("dl", {{"class", "facts"}});
    if (!description.empty()) {
      html_.put("dt", "Description");
      html_.put("dd", {{"class", "message"}}, shortened(description));
    }
    for (const cli::LockInfo& each : archive_.history.locks()) {
      html_.put("dt", "Locked");
      const auto value = html_.in("dd");
      html_.put("strong", cli::shown(each.user));
      html_.text(" has locked " + each.number);
      if (!each.time.empty()) {
        html_.text(" since ");
        writeTime(html_, each.time);
      }
      if (!each.note.empty()) html_.text(": " + shortened(each.note));
    }
    if (!file_.record.folder.empty()) writeFact("Folder", file_.record.folder);
    writeFact("Archive", file_.record.archive);
  }

  void writePicture() {
    constexpr size_t kMost = 5000;
    auto revisions = archive_.history.revisions();
    if (revisions.size() > kMost) {
      return writeNothing(html_, cli::counted(revisions.size(), "revision") +
                                     " are too many to be drawn here; " + toldBy("tree", path()));
    }
    for (cli::RevisionInfo& each : revisions) each.message = shortened(each.message, 300);
    const auto scroll = html_.in(
        "div", {{"class", "picture"}, {"tabindex", "0"}, {"aria-label", "The tree of revisions"}});
    html_.add(cli::drawingOf({.title = path(),
                              .revisions = revisions,
                              .locks = archive_.history.locks(),
                              .isOfPage = true}));
  }

  // The newest first, as the picture.
  Revisions byTime() const {
    Revisions revisions;
    for (const cli::RevisionInfo& each : archive_.history.revisions()) revisions.push_back(&each);
    std::reverse(revisions.begin(), revisions.end());
    std::stable_sort(revisions.begin(), revisions.end(),
                     [](const auto* left, const auto* right) { return left->time > right->time; });
    return revisions;
  }

  void writeLog() {
    const Revisions revisions = byTime();
    const bool asks = context_.outlet == Outlet::kServed && revisions.size() > 1;
    if (!asks) return writeTable(revisions, false);
    const auto form = html_.in(
        "form", {html_.submitsTo(context_.addresses.chosenRevisions(path())), {"method", "get"}});
    {
      const auto line = html_.in("p", {{"class", "choose"}});
      html_.put("button", {{"type", "submit"}}, "Compare the two chosen");
      html_.put("span", {{"class", "muted"}}, " the left one with the right one");
    }
    writeTable(revisions, true);
  }

  void writeTable(const Revisions& revisions, bool asks) {
    const size_t left = revisions.size() - writeRows(revisions, asks);
    if (left > 0) {
      writeNothing(html_, cli::counted(left, "more revision") + "; " + toldBy("log", path()));
    }
  }

  // Gives how many.
  size_t writeRows(const Revisions& revisions, bool asks) {
    std::map<std::string, const cli::RevisionInfo*> newestOf;  // By branch, so far.
    std::map<const cli::RevisionInfo*, const cli::RevisionInfo*> parents;
    for (const cli::RevisionInfo& each : archive_.history.revisions()) {
      auto& before = newestOf[each.branch];
      parents[&each] = before != nullptr    ? before
                       : each.branch == "1" ? nullptr
                                            : archive_.history.find(cli::startOf(each.branch));
      before = &each;
    }
    const size_t start = html_.written().size();
    const auto list = html_.in("ol", {{"class", "log"}});
    size_t i = 0;
    for (; i < revisions.size() && !isFull(html_, start); ++i) {
      const cli::RevisionInfo& each = *revisions[i];
      const auto row = html_.in("li", {{"id", each.number}});
      if (asks) {
        const auto choice = html_.in("span", {{"class", "choice"}});
        writeChoice("from", each, i == 1);
        writeChoice("to", each, i == 0);
      }
      writeRevision(each, parents[&each]);
    }
    return i;
  }

  void writeChoice(std::string_view side, const cli::RevisionInfo& revision, bool isChosen) {
    const std::string label = fmt::format("{} {}", side, revision.number);
    if (isChosen) {
      html_.lone("input", {{"type", "radio"},
                           {"name", side},
                           {"value", revision.number},
                           {"aria-label", label},
                           {"title", label},
                           {"checked"}});
    } else {
      html_.lone("input", {{"type", "radio"},
                           {"name", side},
                           {"value", revision.number},
                           {"aria-label", label},
                           {"title", label}});
    }
  }

  void writeRevision(const cli::RevisionInfo& revision, const cli::RevisionInfo* parent) {
    html_.put("span", {{"class", "number"}}, revision.number);
    writeTime(html_, revision.time);
    html_.put("span", {{"class", "who"}}, cli::shown(revision.author));
    {
      const auto text = html_.in("span", {{"class", "what"}});
      html_.put("span", {{"class", "message"}}, shortened(revision.message));
      const auto marks = html_.in("span", {{"class", "marks"}});
      writeMarks(html_, context_, archive_, revision);
    }
    const auto more = html_.in("span", {{"class", "more"}});
    const auto stored = sizes_.find(revision.number);
    if (stored != sizes_.end()) {
      const std::string size = cli::sizeText(static_cast<uint64_t>(stored->second.size));
      html_.put("span", {{"class", "muted"}, {"title", "XXH64 " + stored->second.checksum}}, size);
      if (isBinary_) html_.put("span", {{"class", "muted checksum"}}, stored->second.checksum);
    }
    if (parent != nullptr) {
      writeAgainst(html_, context_, path(), *parent, revision, "against " + parent->number);
    }
  }

  Html& html_;
  const Context& context_;
  const File& file_;
  const Archive& archive_;
  std::map<std::string, cli::StoredContent> sizes_;
  bool isBinary_ = false;
};

}  // namespace

void writeFile(Html& html, const Context& context, const File& file) {
  writePage(html, {.title = file.record.path, .context = &context, .tab = ""},
            [&] { FilePage(html, context, file).write(); });
}

}  // namespace pages
