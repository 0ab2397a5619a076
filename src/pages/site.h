// pages/site.h: all pages by their addresses, as they are now.
//
// Nothing is made of an address but a comparison: what no page leads to is not there.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "pages/parts.h"
#include "pages/source.h"

namespace pages {

struct Page {
  std::string_view type;  // Of its content, for a browser.
  std::string body;
  std::set<std::string> links;  // The addresses that it leads to.
};

class Site {
 public:
  // The pages of `source`, which outlives it.
  Site(Source& source, Outlet outlet) : source_(source), outlet_(outlet) {}

  // Looks whether anything has changed. Throws Problem.
  void refresh();
  // Nothing if there is no such page. Good until the next refresh(). Throws Problem.
  std::shared_ptr<const Page> page(const std::string& address);
  // Where a form leads whose fields are these.
  using Fields = std::map<std::string, std::string>;
  std::optional<std::string> chosen(const std::string& address, const Fields& fields);

 private:
  using Writer = std::function<void(Html& html)>;

  // What addresses of files and labels mean, by project.
  struct Names {
    std::unordered_map<std::string, const File*> files;    // By slug.
    std::unordered_map<std::string, const Label*> labels;  // The same.
  };

  Context contextOf(const Project& project) const {
    return {source_, project, Addresses(project.name), outlet_};
  }
  Writer writerOf(const std::string& address);
  Writer writerIn(const Context& context, const std::string& rest);
  Writer writerOfRevisions(const Context& context, const std::string& rest);
  Writer writerOfBetween(const Context& context, const std::string& rest);
  const Names& namesOf(const Project& project);

  Source& source_;
  Outlet outlet_;
  uint64_t version_ = 0;
  std::string today_;
  std::map<const Project*, Names> names_;
  std::unordered_map<std::string, std::shared_ptr<const Page>> known_;
  size_t size_ = 0;  // Bytes of known_.
};

}  // namespace pages
