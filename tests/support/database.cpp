// support/database.cpp: what a profile and the end of an archive look like, written down again.
#include "support/database.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "support/files.h"

namespace support {
namespace {

using std::string;

const string kEnd = "\r\n";

string bigEndian(uint32_t value, int bytes) {
  string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> shift & 0xff);
  }
  return text;
}

// From the highest bit years since 1980 (7), month (4), day (5), hours (5), minutes (6), seconds
// divided by two (5).
uint32_t packedTime(const Moment& m) {
  return static_cast<uint32_t>((m.year - 1980) << 25 | m.month << 21 | m.day << 16 | m.hour << 11 |
                               m.minute << 5 | m.second / 2);
}

}  // namespace

string archiveRecord(char tag, std::string_view payload) {
  const auto size = static_cast<uint32_t>(payload.size());
  const string length = size < 0x8000 ? bigEndian(size, 2) : bigEndian(0x80000000 | size, 4);
  return tag + length + string(payload);
}

string archiveWithBlock(std::string_view contents, std::string_view records) {
  const auto back = 0U - static_cast<uint32_t>(records.size() + 1);  // From the trailer.
  return string(contents) + string(records) + "@\4" + bigEndian(back - 9, 4) + bigEndian(back, 4);
}

string archiveBytes(const Archive& archive) {
  const auto counted = [](std::string_view text) { return '\0' + string(text) + '\0'; };
  string records = archiveRecord('H', counted("TVGUI")) +
                   archiveRecord('X', bigEndian(packedTime(archive.created), 4)) +
                   archiveRecord('P', bigEndian(static_cast<uint32_t>(archive.attributes), 2)) +
                   archiveRecord('Q', "of no interest here") +
                   archiveRecord('J', bigEndian(static_cast<uint32_t>(archive.revisions), 2));
  for (const string& user : archive.lockers) records += archiveRecord('R', '\1' + user + '\0');
  if (archive.access) records += archiveRecord('V', counted(*archive.access));
  records += archiveRecord('I', archive.description);
  return archiveWithBlock(string(archive.contents, '@'), records);
}

Database::Database(string directory, string drive)
    : directory_(std::filesystem::absolute(directory).string()), drive_(std::move(drive)) {}

string Database::path(std::string_view relative) const {
  return (std::filesystem::path(directory_) / relative).string();
}

string Database::text(std::string_view relative) const {
  if (drive_.empty()) return path(relative);
  string text = drive_ + "\\" + string(relative);
  std::replace(text.begin(), text.end(), '/', '\\');
  return text;
}

void Database::writeProfile() const {
  string bytes = "[TRVSGUI]\r\nVERSION=TRVS Trevault_5.2.00\r\nTRVSPROJ=" + text("pub") +
                 "\r\nTRVSPRIV=" + text("prv") + kEnd;
  if (!drive_.empty()) bytes += "[TRVSPATHS]\r\n" + drive_ + "=" + directory_ + kEnd;
  writeFile(profile(), bytes);
}

void Database::writeArchive(std::string_view relative, const Archive& archive) const {
  writeFile(path(relative), archiveBytes(archive));
}

}  // namespace support
