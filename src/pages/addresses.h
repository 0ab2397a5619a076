// pages/addresses.h: what the pages are called, from the top of all pages.
//
// They are names of files too, on systems that are blind to letter case as well. So what users
// have named becomes a name of small letters, digits and a few signs; where that loses anything, a
// number that hardly any other name has comes after it. Nothing is ever made of an address but a
// comparison with those of the things that there are.
#pragma once

#include <string>
#include <string_view>

namespace pages {

inline constexpr std::string_view kProjects = "index.html";
inline constexpr std::string_view kStyle = "style.css";
inline constexpr std::string_view kScript = "script.js";

// "src+valve.c" for "src/valve.c".
std::string slugOf(std::string_view name);

// The pages of a project, by its name.
class Addresses {
 public:
  explicit Addresses(std::string_view project);

  std::string files() const { return top_ + "index.html"; }
  std::string labels() const { return top_ + "labels.html"; }
  std::string locks() const { return top_ + "locks.html"; }
  std::string days() const { return top_ + "days.html"; }
  std::string file(std::string_view path) const { return top_ + "files/" + slugOf(path) + ".html"; }
  // Two revisions of a file, side by side; and where a form asks for two.
  std::string revisions(std::string_view path, std::string_view from, std::string_view to) const;
  std::string chosenRevisions(std::string_view path) const;
  std::string label(std::string_view name) const {
    return top_ + "labels/" + slugOf(name) + ".html";
  }
  // A label against an older one; and where a form asks for that.
  std::string between(std::string_view label, std::string_view older) const;
  std::string chosenLabel(std::string_view name) const;

  const std::string& top() const { return top_; }

 private:
  std::string top_;
};

}  // namespace pages
