// pages/parts.h: what several pages have in common: the frame around each, and how a revision, a
// mark or a number stands in it.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "pages/addresses.h"
#include "pages/html.h"
#include "pages/source.h"

namespace pages {

// kServed: forms that ask for a page are answered.
enum class Outlet { kServed, kWritten };

// What a page of a project is made from.
struct Context {
  const Source& source;
  const Project& project;
  Addresses addresses;
  Outlet outlet;
};

struct Heading {
  std::string title;                 // Of the page, as it is shown.
  const Context* context = nullptr;  // Null: it is about all projects.
  std::string_view tab = "";         // The part of the project that it belongs to.
};

inline constexpr std::string_view kFilesTab = "Files";

// How many files can't be read.
size_t brokenIn(const Project& project);

// The whole page, with what `content` writes.
void writePage(Html& html, const Heading& heading, const std::function<void()>& content);

// Whether that is the text of a page that was written here.
bool isOurs(std::string_view page);

// Whether a page is so long, from `since` on, that what is still to come is better left to a
// command.
bool isFull(const Html& html, size_t since = 0);
// The place of a letter of UTF-8, `place` or soon after it.
size_t letterAt(std::string_view text, size_t place);
// The text, or the beginning of a long one and how much was left out.
std::string shortened(std::string_view text, size_t most = 4000);
// The first line of a message, where one line is its place.
std::string firstLineOf(const cli::RevisionInfo& revision);
// "'trevault log valve.c' tells all".
std::string toldBy(std::string_view command, const std::string& path = "");

// A line below the heading: what there is, in few words.
void writeSummary(Html& html, std::string_view text);
// Where there would be something, if there were anything.
void writeNothing(Html& html, std::string_view text);
void writeProblem(Html& html, std::string_view text);
void writeTime(Html& html, std::string_view time);
void writeLink(Html& html, std::string_view address, std::string_view text);
// The name of a file, leading to its page.
void writeFileLink(Html& html, const Context& context, const std::string& path);

enum class Mark { kLabel, kGroup, kLock, kBroken, kTip, kNote };
void writeMark(Html& html, Mark mark, std::string_view text, std::string_view meaning);
// All marks of a revision; `archive` tells more about its locks.
void writeMarks(Html& html, const Context& context, const Archive& archive,
                const cli::RevisionInfo& revision);
void writeLock(Html& html, const cli::LockInfo& lock);

// The page of two revisions, the older one first.
void writeAgainst(Html& html, const Context& context, const std::string& path,
                  const cli::RevisionInfo& older, const cli::RevisionInfo& newer,
                  std::string_view text);

}  // namespace pages
