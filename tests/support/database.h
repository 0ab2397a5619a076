// support/database.h: the place of a project database, and archives made from a description, for
// tests and benchmarks.
//
// It shares no code with the library: both must agree on the formats. A description is plain data;
// a test changes what it wants to see.
//
//     support::Database database(directory);
//     database.writeProfile();
//     database.writeArchive("vault/pid.c_v", {.revisions = 3, .lockers = {"ann"}});
//     ScopedEnvironment profile("KSTR_INI", database.profile());
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

struct Moment {
  int year = 1996, month = 5, day = 17, hour = 9, minute = 30, second = 42;
};

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
// A block of records with its end mark, after `contents` and before the trailer that points to it.
std::string archiveWithBlock(std::string_view contents, std::string_view records);
std::string archiveBytes(const Archive& archive);

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

  // The profile: the roots and the path map.
  void writeProfile() const;
  void writeArchive(std::string_view relative, const Archive& archive) const;

 private:
  std::string directory_;
  std::string drive_;
};

}  // namespace support
