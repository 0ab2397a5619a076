// cli/moving/gitstream.cpp: the syntax of the stream, and git's rules for names.
#include "cli/moving/gitstream.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "cli/text/text.h"
#include "os/clock.h"

namespace cli {
namespace {

constexpr size_t kWideWrite = 64 << 10;

// Bytes that are no letters are written as numbers, so that any name comes through.
std::string quoted(std::string_view path) {
  std::string result = "\"";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = byte >= 0x20 && byte < 0x7F && c != '"' && c != '\\';
    result += isPlain ? std::string(1, c) : fmt::format("\\{:03o}", byte);
  }
  return result + '"';
}

std::string zoneText(int64_t moment) {
  const int minutes = os::zoneOffset(moment) / 60;
  const int distance = std::abs(minutes);
  return fmt::format("{}{:02}{:02}", minutes < 0 ? '-' : '+', distance / 60, distance % 60);
}

bool isAllowed(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte > 0x20 && byte != 0x7F &&
         std::string_view("~^:?*[\\").find(c) == std::string_view::npos;
}

std::string partOfReference(std::string part) {
  for (char& c : part) {
    if (!isAllowed(c)) c = '_';
  }
  for (const char* bad : {"..", "@{"}) {
    for (size_t at = part.find(bad); at != std::string::npos; at = part.find(bad)) part[at] = '_';
  }
  if (part.empty() || part == "@" || part == "HEAD") part += '_';
  if (part.front() == '.' || part.front() == '-') part.front() = '_';
  if (part.back() == '.') part.back() = '_';
  return part.ends_with(".lock") ? part + '_' : part;
}

}  // namespace

GitStream::GitStream(Write write) : write_(std::move(write)) {
  write_("feature done\n");  // At once: who ends after this has told git that more is to come.
}

void GitStream::write(std::string_view bytes) {
  pending_ += bytes;
  if (pending_.size() < kWideWrite) return;
  write_(pending_);
  pending_.clear();
}

GitStream::Mark GitStream::content(uint64_t size) {
  write(fmt::format("blob\nmark :{}\ndata {}\n", ++last_, size));
  return last_;
}

GitStream::Mark GitStream::commit(const Commit& commit) {
  const std::string who =
      fmt::format("{} {} {}", commit.identity, commit.moment, zoneText(commit.moment));
  write(fmt::format("commit {}\nmark :{}\nauthor {}\ncommitter {}\n", commit.reference, ++last_,
                    who, who));
  // What is no UTF-8 is nearly always this one, and all bytes have a meaning in it.
  if (!isUtf8(commit.message)) write("encoding ISO-8859-1\n");
  write(fmt::format("data {}\n{}\n", commit.message.size(), commit.message));
  if (commit.parent != 0) write(fmt::format("from :{}\n", commit.parent));
  if (commit.isWhole) write("deleteall\n");
  // First what goes: a file may give way to a directory of that name, or the other way round.
  for (const Change& each : commit.changes) {
    if (each.content == 0) write(fmt::format("D {}\n", quoted(each.path)));
  }
  for (const Change& each : commit.changes) {
    if (each.content == 0) continue;
    write(fmt::format("M {} :{} {}\n", each.isExecutable ? "100755" : "100644", each.content,
                      quoted(each.path)));
  }
  write("\n");
  return last_;
}

void GitStream::name(const std::string& reference, Mark commit) {
  write(fmt::format("reset {}\nfrom :{}\n\n", reference, commit));
}

void GitStream::finish() {
  write("done\n");
  write_(pending_);
  pending_.clear();
}

std::string GitNames::take(const std::string& wanted) {
  std::string name;
  for (const std::string& part : split(wanted, '/')) {
    name += (name.empty() ? "" : "/") + partOfReference(part);
  }
  std::string free = name;
  // One below a name that is taken will never be free.
  std::replace(name.begin(), name.end(), '/', '_');
  for (int i = 1; !isFree(free); ++i) free = i == 1 ? name : fmt::format("{}_{}", name, i);
  taken_.insert(free);
  return directory_ + free;
}

bool GitNames::isFree(const std::string& name) const {
  for (size_t end = name.find('/'); end != std::string::npos; end = name.find('/', end + 1)) {
    if (taken_.contains(name.substr(0, end))) return false;
  }
  const auto below = taken_.lower_bound(name + '/');
  return !taken_.contains(name) && (below == taken_.end() || !below->starts_with(name + '/'));
}

std::string identityPart(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c != '<' && c != '>' && static_cast<unsigned char>(c) >= 0x20) result += c;
  }
  return result.empty() ? "unknown" : result;
}

}  // namespace cli
