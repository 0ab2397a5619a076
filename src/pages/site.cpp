// pages/site.cpp: from an address to what writes its page; pages are kept until something changes.
#include "pages/site.h"

#include <utility>
#include <vector>

#include "cli/local/moment.h"
#include "cli/problem.h"
#include "cli/text/text.h"
#include "os/clock.h"
#include "pages/eventpages.h"
#include "pages/filepages.h"
#include "pages/labelpages.h"
#include "pages/looks.h"
#include "pages/projectpages.h"

namespace pages {
namespace {

constexpr size_t kMostKept = 64 << 20;
constexpr std::string_view kEnd = ".html";

std::string present() { return cli::momentOf(os::wallClockNanoseconds() / 1'000'000'000); }

// What stands before the end of all pages; empty without it.
std::string nameOf(std::string_view address) {
  return address.ends_with(kEnd) ? std::string(address.substr(0, address.size() - kEnd.size()))
                                 : "";
}

template <typename Map>
auto found(const Map& map, const std::string& name) {
  const auto place = map.find(name);
  return place == map.end() ? nullptr : place->second;
}

}  // namespace

void Site::refresh() {
  source_.refresh();
  const std::string today = present().substr(0, 10);
  if (source_.version() == version_ && today == today_) return;
  version_ = source_.version();
  today_ = today;
  names_.clear();
  known_.clear();
  size_ = 0;
}

std::shared_ptr<const Page> Site::page(const std::string& address) {
  if (const auto known = found(known_, address)) return known;
  auto page = std::make_shared<Page>();
  if (address == kStyle) {
    *page = {"text/css; charset=utf-8", styleSheet(), {}};
  } else if (address == kScript) {
    *page = {"text/javascript; charset=utf-8", std::string(script()), {}};
  } else {
    const Writer writer = writerOf(address);
    if (!writer) return nullptr;
    Html html(address);
    writer(html);
    *page = {"text/html; charset=utf-8", html.written(), html.links()};
  }
  if (size_ > kMostKept) known_.clear();
  size_ = (known_.empty() ? 0 : size_) + page->body.size();
  return known_[address] = page;
}

Site::Writer Site::writerOf(const std::string& address) {
  if (address == kProjects) {
    return [this](Html& html) { writeProjects(html, source_); };
  }
  for (const Project& each : source_.projects()) {
    const Context context = contextOf(each);
    const std::string& top = context.addresses.top();
    if (!address.starts_with(top)) continue;
    if (!each.problem.empty() && address != context.addresses.files()) return {};
    if (each.problem.empty()) source_.use(each);
    return writerIn(context, address.substr(top.size()));
  }
  return {};
}

Site::Writer Site::writerIn(const Context& context, const std::string& rest) {
  if (rest == "index.html") return [context](Html& html) { writeFiles(html, context); };
  if (rest == "labels.html") return [context](Html& html) { writeLabels(html, context); };
  if (rest == "locks.html") return [context](Html& html) { writeLocks(html, context); };
  if (rest == "days.html") {
    return [context](Html& html) { writeDays(html, context, present()); };
  }
  const size_t slash = rest.find('/');
  if (slash == std::string::npos) return {};
  const std::string kind = rest.substr(0, slash);
  const std::string name = rest.substr(slash + 1);
  if (kind == "files") {
    const File* const file = found(namesOf(context.project).files, nameOf(name));
    if (file == nullptr) return {};
    return [context, file](Html& html) { writeFile(html, context, *file); };
  }
  if (kind == "labels") {
    const Label* const label = found(namesOf(context.project).labels, nameOf(name));
    if (label == nullptr) return {};
    return [context, label](Html& html) { writeLabel(html, context, *label); };
  }
  if (kind == "revisions") return writerOfRevisions(context, name);
  if (kind == "between") return writerOfBetween(context, name);
  return {};
}

// "src+valve.c/1.0..1.1.html"
Site::Writer Site::writerOfRevisions(const Context& context, const std::string& rest) {
  const auto parts = cli::split(rest, '/');
  if (parts.size() != 2) return {};
  const File* const file = found(namesOf(context.project).files, parts[0]);
  const std::string range = nameOf(parts[1]);
  const size_t dots = range.find("..");
  if (file == nullptr || dots == std::string::npos) return {};
  const cli::History& history = file->archive->history;
  const cli::RevisionInfo* const older = history.find(range.substr(0, dots));
  const cli::RevisionInfo* const newer = history.find(range.substr(dots + 2));
  if (older == nullptr || newer == nullptr) return {};
  return [=](Html& html) { writeRevisions(html, context, *file, *older, *newer); };
}

// "rel_2/rel_1.html"
Site::Writer Site::writerOfBetween(const Context& context, const std::string& rest) {
  const auto parts = cli::split(rest, '/');
  if (parts.size() != 2) return {};
  const auto& labels = namesOf(context.project).labels;
  const Label* const label = found(labels, parts[0]);
  const Label* const older = found(labels, nameOf(parts[1]));
  if (label == nullptr || older == nullptr) return {};
  return [=](Html& html) { writeBetween(html, context, *label, *older); };
}

std::optional<std::string> Site::chosen(const std::string& address, const Fields& fields) {
  const auto parts = cli::split(address, '/');
  if (parts.size() != 4 || parts[3] != "choose") return {};
  const auto field = [&](const char* name) {
    const auto place = fields.find(name);
    return place == fields.end() ? std::string() : place->second;
  };
  for (const Project& each : source_.projects()) {
    const Addresses addresses(each.name);
    if (parts[0] + '/' != addresses.top()) continue;
    std::string there;
    if (parts[1] == "revisions") {
      const File* const file = found(namesOf(each).files, parts[2]);
      if (file == nullptr) return {};
      there = addresses.revisions(file->record.path, field("from"), field("to"));
    } else if (parts[1] == "between") {
      const Label* const label = found(namesOf(each).labels, parts[2]);
      const Label* const other = found(namesOf(each).labels, field("other"));
      if (label == nullptr || other == nullptr) return {};
      there = addresses.between(label->name, other->name);
    }
    if (writerOf(there)) return there;
  }
  return {};
}

const Site::Names& Site::namesOf(const Project& project) {
  const auto [place, isNew] = names_.try_emplace(&project);
  Names& names = place->second;
  if (!isNew) return names;
  for (const File& each : project.files) names.files[slugOf(each.record.path)] = &each;
  for (const Label& each : project.labels) names.labels[slugOf(each.name)] = &each;
  return names;
}

}  // namespace pages
