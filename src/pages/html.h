// pages/html.h: HTML that is whole and escaped however it is written.
//
// Names stand in the program. Texts, values and addresses go through functions that escape them,
// and there is no other way in: an attribute that a browser would follow or run (href, src, action,
// style, on...) can't be named at all, it comes from an address or from bytes.
#pragma once

#include <initializer_list>
#include <set>
#include <string>
#include <string_view>

#include "cli/pictures/xml.h"

namespace pages {

// The name of an attribute whose value is nothing but text. Others don't compile.
class TextName {
 public:
  template <size_t kSize>
  consteval TextName(const char (&name)[kSize]) : name_(name, kSize - 1) {
    for (const std::string_view each : {"href", "src", "srcset", "action", "formaction", "style",
                                        "srcdoc", "http-equiv", "poster", "data"}) {
      if (name_ == each) throw "its value is more than text";
    }
    if (name_.starts_with("on")) throw "its value is a program";
  }
  std::string_view text() const { return name_; }

 private:
  std::string_view name_;
};

class Attribute {
 public:
  Attribute(TextName name, std::string_view value = "") : name_(name.text()), value_(value) {}

 private:
  friend class Html;
  Attribute(std::string_view name, std::string value, bool /*isMade*/)
      : name_(name), value_(std::move(value)) {}

  std::string_view name_;
  std::string value_;  // Escaped when it is written.
};
using Attributes = std::initializer_list<Attribute>;

// One page, by its address from the top of the pages, such as "pump/index.html".
class Html {
 public:
  explicit Html(std::string_view address);

  // Ends an element.
  class [[nodiscard]] Scope {
   public:
    Scope(Html& html, cli::Literal name) : html_(html), name_(name) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() { html_.end(name_); }

   private:
    Html& html_;
    cli::Literal name_;
  };

  // An element, and in it what is written while the result lives.
  Scope in(cli::Literal name, Attributes attributes = {});
  void put(cli::Literal name, Attributes attributes, std::string_view text);
  void put(cli::Literal name, std::string_view text) { put(name, {}, text); }
  // An element that can't hold anything, such as "input".
  void lone(cli::Literal name, Attributes attributes);
  void text(std::string_view text);
  void add(const cli::XmlWriter& drawing) { written_ += drawing.written(); }

  // Attributes that lead to another page, by its address from the top.
  Attribute to(std::string_view address) { return leading("href", address); }
  Attribute submitsTo(std::string_view address) { return leading("action", address); }
  Attribute runs(std::string_view address) { return leading("src", address); }
  // That hold an image.
  static Attribute shows(cli::Literal type, std::string_view bytes);
  static Attribute noIcon() { return {"href", "data:,", true}; }

  const std::string& written() const { return written_; }
  // The pages that it leads to, by their addresses from the top.
  const std::set<std::string>& links() const { return links_; }

 private:
  Attribute leading(std::string_view name, std::string_view address);
  void begin(cli::Literal name, Attributes attributes);
  void end(cli::Literal name);

  std::string written_ = "<!DOCTYPE html>\n";
  std::string up_;  // From the page to the top.
  std::set<std::string> links_;
};

}  // namespace pages
