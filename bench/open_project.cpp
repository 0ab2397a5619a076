// bench/open_project.cpp: what it takes to open a project of many documents from cold.
//
// The floor is reading its data file and splitting it into lines. The peer is GLib's key file
// parser on the same bytes, which makes as many groups as we make archives, though no key of it has
// a value to parse. Closing frees what was made, on both sides, and is timed by itself.
#include <glib.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bigproject.h"

namespace {

constexpr int kDocuments = 100000;
constexpr int kHeadLines = 3;

struct GKeyFileFree {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, GKeyFileFree>;

KeyFile parsed(const std::string& bytes) {
  KeyFile file(g_key_file_new());
  const gboolean loaded =
      g_key_file_load_from_data(file.get(), bytes.data(), bytes.size(), G_KEY_FILE_NONE, nullptr);
  bench::check(loaded, "GLib takes the file");
  return file;
}

void checkGroups(const KeyFile& file) {
  gsize count = 0;
  g_strfreev(g_key_file_get_groups(file.get(), &count));
  bench::check(count == kDocuments + 1, "one group for each document, and the head");
}

std::string readAtOnce(const std::string& path) {
  std::string bytes;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr || std::fseek(file, 0, SEEK_END) != 0) return bytes;
  bytes.resize(static_cast<size_t>(std::ftell(file)));
  std::rewind(file);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = text.find("\r\n");
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
  }
  return lines;
}

class Opening {
 public:
  void run() {
    bench::printHead();
    bench::compare("open a project, per document", kDocuments, [] { return open(); },
                   {{"read the file, split its lines", [this] { return splitLines(); }},
                    {"GLib parses the same bytes", [this] { return parse(); }, 0.125}});
    bench::compare("close it", kDocuments, [] { return close(); },
                   {{"GLib frees its groups", [this] { return freeGroups(); }}});
  }

 private:
  static void checkArchives(const bench::OpenBigProject& project) {
    bench::check(project.archives().size() == kDocuments, "one archive for each document");
  }

  static double open() {
    std::unique_ptr<bench::OpenBigProject> project;
    const double seconds =
        bench::secondsOf([&] { project = std::make_unique<bench::OpenBigProject>(); });
    checkArchives(*project);
    return seconds;
  }

  static double close() {
    auto project = std::make_unique<bench::OpenBigProject>();
    checkArchives(*project);
    return bench::secondsOf([&] { project.reset(); });
  }

  double splitLines() const {
    std::string bytes;
    std::vector<std::string_view> lines;
    const double seconds = bench::secondsOf([&] {
      bytes = readAtOnce(database_.dataFile());
      lines = linesOf(bytes);
    });
    bench::check(lines.size() == kDocuments + kHeadLines, "one line for each document");
    return seconds;
  }

  double parse() const {
    KeyFile file;
    const double seconds = bench::secondsOf([&] { file = parsed(bytes_); });
    checkGroups(file);
    return seconds;
  }

  double freeGroups() const {
    KeyFile file = parsed(bytes_);
    checkGroups(file);
    return bench::secondsOf([&] { file.reset(); });
  }

  const bench::BigDatabase database_{kDocuments, false};
  const std::string bytes_ = readAtOnce(database_.dataFile());
};

void run() { Opening().run(); }

}  // namespace

int main() { return bench::runAll(run); }
