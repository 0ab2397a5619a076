// support/database.h: project databases made from a description, for tests, benchmarks and the
// demo.
//
// It shares no code with the library: both must agree on the formats. A description is plain data;
// a test changes what it wants to see. Text goes to disk byte for byte, with CR LF line ends.
//
//     support::Database database(directory);
//     database.writeProfile();
//     database.writeArchive("vault/pid.c_v", {.revisions = 3, .lockers = {"ann"}});
//     database.writeProjects({{.name = "Motor", .directory = "motor.prj", ...}});
//     ScopedEnvironment profile("KSTR_INI", database.profile());
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

struct Moment {
  int year = 1996, month = 5, day = 17, hour = 9, minute = 30, second = 42;
};
// As an archive stores it: from the highest bit years since 1980 (7), month (4), day (5), hours
// (5), minutes (6), seconds divided by two (5).
uint32_t packedTime(const Moment& moment);
// As a client gets it: the same fields from the lowest bit on.
int32_t clientTime(const Moment& moment);

constexpr int kExclusiveLocks = 0x4;  // An attribute.

// The summary of an archive. The contents before it are filler that nobody reads.
struct Archive {
  int revisions = 1;
  std::vector<std::string> lockers = {};
  std::optional<std::string> access = {};  // nullopt: no record of it at all.
  std::string description = {};
  int attributes = 0;
  Moment created = {};
  size_t contents = 480;  // Bytes.
};
// One record of the information block. From 32768 bytes on its length takes two words.
std::string archiveRecord(char tag, std::string_view payload);
// A block of records with its end mark, behind `contents` and before the trailer that points to it.
std::string archiveWithBlock(std::string_view contents, std::string_view records);
std::string archiveBytes(const Archive& archive);

struct Document {
  std::string archiveDirectory = {};
  std::string archiveName = {};
  std::string workDirectory = {};
  std::string workName = {};
};

// A folder's or project's data files stand in `directory`, which is relative to its owner's.
struct Folder {
  std::string name = {};
  std::string directory = {};
  std::string workDirectory = {};
  bool isPrivate = false;   // Only the private files know it.
  bool isOverlaid = false;  // A public folder that has a record in the private file, too.
  std::vector<Document> documents = {};
};

struct Project {
  std::string name = {};
  std::string directory = {};
  std::string publicWorkDirectory = {};
  std::optional<std::string> privateWorkDirectory = {};  // nullopt: no record in the private file.
  std::vector<std::string> configuration = {};           // Lines below the version line.
  std::vector<Folder> folders = {};
  std::vector<Document> documents = {};
  std::vector<std::string> publicLines = {};   // Written as they are, at the end of trvsfold.pub
  std::vector<std::string> privateLines = {};  // and trvsfold.prv.
};

// A project of many documents, written without ever being held in memory: each in one of 500 module
// directories, their records in an order that looks random and depends on the seed.
struct BigProject {
  std::string name = "Big";
  std::string directory = "big.prj";
  int documents = 0;
  bool archives = false;  // Write an archive for each document as well.
  uint64_t seed = 1;
};

// One database in one directory: pub/ and prv/ (the roots), vault/ (archives), KSTR.INI.
class Database {
 public:
  // `directory` is the operating system's path. With a drive ("V:") the texts in the data files
  // begin with it and have "\", and the profile sends it to the directory; with "" they are POSIX
  // paths.
  explicit Database(std::string directory, std::string drive = "V:");

  // The operating system's path of something in the database.
  std::string path(std::string_view relative) const;
  // The same place as the data files name it; `relative` has "/".
  std::string text(std::string_view relative) const;
  std::string profile() const { return path("KSTR.INI"); }

  // The profile: the roots, unless they are to be left out, and the path map.
  void writeProfile(bool withRoots = true) const;
  void writeArchive(std::string_view relative, const Archive& archive) const;
  // Both root files and all files below them. `big` comes last and has no private record.
  void writeProjects(const std::vector<Project>& projects,
                     const std::vector<BigProject>& big = {}) const;

  // Document number `index` of a big project, in the order of its file.
  Document bigDocument(const BigProject& project, int index) const;

 private:
  void writeProject(const Project& project) const;
  void writeBigProject(const BigProject& project) const;

  std::string directory_;
  std::string drive_;
};

}  // namespace support
