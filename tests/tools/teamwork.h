// tools/teamwork.h: what the members of a team do to archives, through the toolkit's C interface.
//
// All that depends on the clock is told: the same work makes the same archives. Paths are relative
// to the database and have "/". Whatever fails throws.
#pragma once

#include <string>

#include "support/database.h"
#include "support/files.h"

namespace team {

struct File {
  std::string archive;
  std::string workfile;
};

struct CheckIn {
  const char* number;
  const char* parent;  // Is locked first; null for the first revision.
  const char* change;
};

class Teamwork {
 public:
  explicit Teamwork(const support::Database& database) : database_(database) {}

  // Has the following done in the configuration of a project: its file as the project names it.
  void useConfiguration(const std::string& path) { configuration_ = path; }

  void create(const std::string& member, const File& file, const std::string& description,
              const support::Moment& time);
  void allow(const File& file, const std::string& member);
  void lockExclusively(const File& file);
  void checkIn(const std::string& member, const File& file, const CheckIn& what,
               const support::Moment& time);
  void lock(const std::string& member, const File& file, const char* revision);
  void label(const std::string& member, const File& file, const char* label, const char* revision,
             bool floats);
  void promote(const std::string& member, const File& file, const char* group);

 private:
  void become(const std::string& member);
  std::string archive(const File& file) const { return database_.text(file.archive); }

  const support::Database& database_;
  support::TemporaryDirectory directory_;
  std::string configuration_;
};

}  // namespace team
