// team/teamwork.cpp: each operation as one member's, with what the toolkit asks to come before it.
#include "teamwork.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "btkf520/btkf520.h"

namespace team {

namespace {

void expectDone(int32_t status, const std::string& what) {
  if (status == TRVS_DONE) return;
  throw std::runtime_error("can't " + what + ": " + TrvsStatusText(status));
}

// As an archive stores it: from the highest bit years since 1980 (7), month (4), day (5), hours
// (5), minutes (6), seconds divided by two (5).
uint32_t packedTime(const Moment& m) {
  return static_cast<uint32_t>((m.year - 1980) << 25 | m.month << 21 | m.day << 16 | m.hour << 11 |
                               m.minute << 5 | m.second / 2);
}

// A workfile as it was saved at a local time.
void writeWorkfile(const std::string& path, const std::string& text, const Moment& time) {
  std::tm fields = {};
  fields.tm_year = time.year - 1900;
  fields.tm_mon = time.month - 1;
  fields.tm_mday = time.day;
  fields.tm_hour = time.hour;
  fields.tm_min = time.minute;
  fields.tm_sec = time.second;
  fields.tm_isdst = -1;
  const auto seconds = std::chrono::system_clock::from_time_t(std::mktime(&fields));
  writeFile(path, text);
  std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(seconds));
}

// The toolkit takes the user's name from where its configuration says.
constexpr const char* kMember = "TEAM_MEMBER";

void nameUsers(const Place& place, int32_t readMode) {
  const std::string path = place.path("member.cfg");
  writeFile(path, std::string("USERID = ENVIRONMENT ") + kMember + "\n");
  expectDone(TrvsQueryConfiguration(path.c_str(), 0, 0, readMode), "read the configuration");
}

void become(const std::string& member) { setVariable(kMember, member); }

}  // namespace

std::string Place::text(std::string relative) const {
  std::replace(relative.begin(), relative.end(), '/', '\\');
  return "V:\\" + relative;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  file.close();
  if (!file) throw std::runtime_error("can't write " + path);
}

Teamwork::Teamwork(const Place& place) : place_(place) { nameUsers(place, TRVS_READ_FIRST); }

void Teamwork::useProject(TVHandle* project) {
  if (FoldapiUseProject(project) != 1) throw std::runtime_error(FoldapiLastMessage());
  nameUsers(place_, TRVS_READ_FOLLOWING);
}

void Teamwork::create(const std::string& member, const File& file, const std::string& description,
                      const Moment& time) {
  become(member);
  const std::filesystem::path path = place_.path(file.archive);
  std::filesystem::create_directories(path.parent_path());
  expectDone(TrvsCreateArchive(archive(file).c_str(), place_.path(file.workfile).c_str(),
                               description.c_str(), nullptr, packedTime(time), 0),
             "create " + file.archive);
}

void Teamwork::allow(const File& file, const std::string& member) {
  expectDone(TrvsAddAccess(TRVS_CONTEXT, archive(file).c_str(), member.c_str()), "allow " + member);
}

void Teamwork::lockExclusively(const File& file) {
  expectDone(
      TrvsSetAttributes(TRVS_CONTEXT, archive(file).c_str(), TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS, 0),
      "set attributes of " + file.archive);
}

void Teamwork::checkIn(const std::string& member, const File& file, const CheckIn& what,
                       const Moment& time) {
  if (what.parent != nullptr) lock(member, file, what.parent);
  become(member);
  writeWorkfile(
      place_.path(file.workfile),
      std::string("/* ") + what.change + " */\r\nint revision = " + what.number[2] + ";\r\n", time);
  const std::string both = archive(file) + "(" + place_.path(file.workfile) + ")";
  expectDone(TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, what.number, nullptr, nullptr,
                             what.change, nullptr, nullptr, packedTime(time), 0),
             "check in " + file.workfile + " " + what.number);
}

void Teamwork::lock(const std::string& member, const File& file, const char* revision) {
  become(member);
  expectDone(TrvsLockRevision(TRVS_CONTEXT, archive(file).c_str(), revision, nullptr),
             "lock " + file.archive + " " + revision);
}

void Teamwork::label(const std::string& member, const File& file, const char* label,
                     const char* revision, bool floats) {
  become(member);
  expectDone(TrvsSetLabel(TRVS_CONTEXT, archive(file).c_str(), label, revision,
                          floats ? TRVS_LABEL_FLOATS : 0),
             std::string("set the label ") + label);
}

void Teamwork::promote(const std::string& member, const File& file, const char* group) {
  become(member);
  expectDone(TrvsPromoteRevision(TRVS_CONTEXT, archive(file).c_str(), group, 0),
             std::string("promote from ") + group);
}

}  // namespace team
