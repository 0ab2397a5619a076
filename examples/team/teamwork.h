// team/teamwork.h: what the members of a team do to archives, through the toolkit's C interface.
//
// All that depends on the clock is told: the same work makes the same archives. Paths are relative
// to the database and have "/". Whatever fails throws.
#pragma once

#include <filesystem>
#include <string>

#include "foldapi/foldapi.h"

namespace team {

// The directory of a database, which the data files call "V:\".
class Place {
 public:
  explicit Place(const std::string& directory) : directory_(std::filesystem::absolute(directory)) {}

  // The operating system's path of something in it.
  std::string path(const std::string& relative) const { return (directory_ / relative).string(); }
  // The same place as the data files name it.
  std::string text(std::string relative) const;

 private:
  std::filesystem::path directory_;
};

std::string readFile(const std::string& path);
// Replaces the file; makes the directories above it.
void writeFile(const std::string& path, const std::string& bytes);

// Sets an environment variable of this process.
void setVariable(const char* name, const std::string& value);

// A local time.
struct Moment {
  int year, month, day, hour, minute, second;
};

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
  explicit Teamwork(const Place& place);

  // Has the following done in the configuration of a project.
  void useProject(TVHandle* project);

  void create(const std::string& member, const File& file, const std::string& description,
              const Moment& time);
  void allow(const File& file, const std::string& member);
  void lockExclusively(const File& file);
  void checkIn(const std::string& member, const File& file, const CheckIn& what,
               const Moment& time);
  void lock(const std::string& member, const File& file, const char* revision);
  void label(const std::string& member, const File& file, const char* label, const char* revision,
             bool floats);
  void promote(const std::string& member, const File& file, const char* group);

 private:
  std::string archive(const File& file) const { return place_.path(file.archive); }

  const Place& place_;
};

}  // namespace team
