// bench/open_project.cpp: what it takes to open a project of many documents from cold.
//
// The floor is reading its data file and splitting it into lines. One peer is GLib's key file
// parser on the same bytes, which makes as many groups as we make archives, though no key of it has
// a value to parse. Closing frees what was made, on both sides, and is timed by itself. The other
// is a program that keeps the same four texts for each document in a table of SQLite's, and reads
// them into four strings. It looks for no second record of an archive, and makes neither objects
// with handles nor an order: what it does takes about half of our time, and these the other half.
#include <glib.h>
#include <sqlite3.h>

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

// A table with a row for each document, in a file.
class SqlTable {
 public:
  explicit SqlTable(const bench::BigDatabase& documents) {
    Connection file(path_);
    file.run("CREATE TABLE document (archive_path, archive_name, work_path, work_name)");
    file.run("BEGIN");
    for (int i = 0; i < documents.size(); ++i) {
      const bench::Document each = documents.document(i);
      file.run("INSERT INTO document VALUES ('" + each.archiveDirectory + "','" + each.archiveName +
               "','" + each.workDirectory + "','" + each.workName + "')");
    }
    file.run("COMMIT");
  }

  std::vector<bench::Document> read() const {
    std::vector<bench::Document> all;
    const Connection file(path_);
    sqlite3_stmt* rows = nullptr;
    bench::check(
        sqlite3_prepare_v2(file.get(), "SELECT * FROM document", -1, &rows, nullptr) == SQLITE_OK,
        "the table is there");
    while (sqlite3_step(rows) == SQLITE_ROW) {
      all.push_back({text(rows, 0), text(rows, 1), text(rows, 2), text(rows, 3)});
    }
    sqlite3_finalize(rows);
    return all;
  }

 private:
  class Connection {
   public:
    explicit Connection(const std::string& path) {
      bench::check(sqlite3_open(path.c_str(), &file_) == SQLITE_OK, "SQLite's file opens");
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { sqlite3_close(file_); }

    sqlite3* get() const { return file_; }
    void run(const std::string& statement) const {
      const int result = sqlite3_exec(file_, statement.c_str(), nullptr, nullptr, nullptr);
      bench::check(result == SQLITE_OK, "SQLite does: " + statement);
    }

   private:
    sqlite3* file_ = nullptr;
  };

  static std::string text(sqlite3_stmt* rows, int column) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(rows, column));
    return {bytes, static_cast<size_t>(sqlite3_column_bytes(rows, column))};
  }

  support::TemporaryDirectory directory_;
  std::string path_ = directory_ / "documents.sqlite";
};

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
                    {"GLib parses the same bytes", [this] { return parse(); }, 0.42},
                    {"SQLite reads four columns", [this] { return readRows(); }, 1.0}});
    bench::compare("close it", kDocuments, [] { return close(); },
                   {{"GLib frees its groups", [this] { return freeGroups(); }, 0.5}});
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

  double readRows() const {
    std::vector<bench::Document> rows;
    const double seconds = bench::secondsOf([&] { rows = table_.read(); });
    bench::check(rows.size() == kDocuments &&
                     rows.back().workName == database_.document(kDocuments - 1).workName,
                 "one row for each document");
    return seconds;
  }

  double freeGroups() const {
    KeyFile file = parsed(bytes_);
    checkGroups(file);
    return bench::secondsOf([&] { file.reset(); });
  }

  const bench::BigDatabase database_{kDocuments, false};
  const SqlTable table_{database_};
  const std::string bytes_ = readAtOnce(database_.dataFile());
};

void run() { Opening().run(); }

}  // namespace

int main() { return bench::runAll(run); }
