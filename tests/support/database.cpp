// support/database.cpp: what the data files and archives look like, written down a second time.
#include "support/database.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <stdexcept>

#include "support/files.h"

namespace support {
namespace {

using std::string;

const string kEnd = "\r\n";
const string kHead = "[FORMAT=TRVS_GUI]\r\nVersion=5.2\r\n\r\n";
const string kVersion = "# VERSION TRVS Trevault_5.2.00\r\n";
const string kOwnership = "OWNERSHIP=PUBLIC\r\n";

string bigEndian(uint32_t value, int bytes) {
  string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> shift & 0xff);
  }
  return text;
}

string joinLines(const std::vector<string>& lines) {
  string text;
  for (const string& line : lines) text += line + kEnd;
  return text;
}

string folderRecord(const Folder& folder, bool inPrivateFile) {
  string text = "[FOLDER=" + folder.name + "]" + kEnd + "DIR=" + folder.directory + kEnd +
                "WKDIR=" + folder.workDirectory + kEnd;
  if (inPrivateFile && !folder.isPrivate) text += kOwnership;
  return text + kEnd;
}

string documentRecord(const Document& document) {
  return "[DOCUMENT=" + document.archiveDirectory + ";" + document.archiveName + ";" +
         document.workDirectory + ";" + document.workName + "]" + kEnd;
}

string documentRecords(const std::vector<Document>& documents) {
  string text;
  for (const Document& document : documents) text += documentRecord(document);
  return text;
}

// "motor.cfg" for "motor.prj".
string configurationName(const string& directory) {
  return std::filesystem::path(directory).replace_extension(".cfg").string();
}

string padded(int number, size_t width) {
  const string digits = std::to_string(number);
  return string(width - std::min(width, digits.size()), '0') + digits;
}

// Anything from no revision to a hundred, and from no lock to three.
Archive randomArchive(std::mt19937_64& random) {
  static const char* const kUsers[] = {"ann", "bob", "cy", "dana", "eli"};
  const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
  Archive archive;
  archive.revisions = below(101);
  for (int locks = std::max(0, below(6) - 2); locks > 0; --locks) {
    archive.lockers.emplace_back(kUsers[below(5)]);
  }
  if (below(3) == 0) archive.access = "ann,bob,cy";
  archive.attributes = below(2) * kExclusiveLocks;
  archive.description = string(static_cast<size_t>(below(200)), 'd');
  archive.created = {1980 + below(60), 1 + below(12), 1 + below(28),
                     below(24),        below(60),     2 * below(30)};
  return archive;
}

}  // namespace

uint32_t packedTime(const Moment& m) {
  return static_cast<uint32_t>((m.year - 1980) << 25 | m.month << 21 | m.day << 16 | m.hour << 11 |
                               m.minute << 5 | m.second / 2);
}

int32_t clientTime(const Moment& m) {
  return static_cast<int32_t>(static_cast<uint32_t>(m.second / 2) << 27 |
                              static_cast<uint32_t>(m.minute << 21 | m.hour << 16 | m.day << 11 |
                                                    m.month << 7 | (m.year - 1980)));
}

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

void Database::writeProfile(bool withRoots) const {
  string bytes = "[TRVSGUI]\r\nVERSION=TRVS Trevault_5.2.00\r\n";
  if (withRoots) {
    bytes += "TRVSPROJ=" + text("pub") + kEnd + "TRVSPRIV=" + text("prv") + kEnd;
  }
  if (!drive_.empty()) bytes += "[TRVSPATHS]\r\n" + drive_ + "=" + directory_ + kEnd;
  writeFile(profile(), bytes);
}

void Database::writeArchive(std::string_view relative, const Archive& archive) const {
  writeFile(path(relative), archiveBytes(archive));
}

void Database::writeProjects(const std::vector<Project>& projects,
                             const std::vector<BigProject>& big) const {
  string publicFile = kHead;
  string privateFile = kHead;
  const auto record = [this](const string& name, const string& directory, const string& workDir) {
    return "[Project=" + name + "]" + kEnd +
           "CFG=" + text("pub/" + directory + "/" + configurationName(directory)) + kEnd +
           "DIR=" + directory + kEnd + "WKDIR=" + workDir + kEnd;
  };
  for (const Project& project : projects) {
    publicFile += record(project.name, project.directory, project.publicWorkDirectory) + kEnd;
    if (project.privateWorkDirectory) {
      privateFile += record(project.name, project.directory, *project.privateWorkDirectory) +
                     kOwnership + kEnd;
    }
    writeProject(project);
  }
  for (const BigProject& project : big) {
    publicFile += record(project.name, project.directory, text("work/big")) + kEnd;
    writeBigProject(project);
  }
  writeFile(path("pub/trvsproj.pub"), publicFile);
  writeFile(path("prv/trvsproj.prv"), privateFile);
}

void Database::writeProject(const Project& project) const {
  const string publicDirectory = path("pub/" + project.directory) + "/";
  const string privateDirectory = path("prv/" + project.directory) + "/";
  string publicFile = kHead;
  string privateFile = kHead;
  for (const Folder& folder : project.folders) {
    const string documents = kHead + documentRecords(folder.documents);
    if (!folder.isPrivate) {
      publicFile += folderRecord(folder, false);
      writeFile(publicDirectory + folder.directory + "/trvsfold.pub", documents);
    } else {
      writeFile(privateDirectory + folder.directory + "/trvsfold.prv", documents);
    }
    if (folder.isPrivate || folder.isOverlaid) privateFile += folderRecord(folder, true);
  }
  publicFile += documentRecords(project.documents) + joinLines(project.publicLines);
  privateFile += joinLines(project.privateLines);
  writeFile(publicDirectory + "trvsfold.pub", publicFile);
  if (project.privateWorkDirectory) writeFile(privateDirectory + "trvsfold.prv", privateFile);
  writeFile(publicDirectory + configurationName(project.directory),
            kVersion + joinLines(project.configuration));
}

Document Database::bigDocument(const BigProject& project, int index) const {
  // A stride without a common divisor visits every number once.
  uint64_t stride = 7919 + 2 * (project.seed % 1000);
  const auto count = static_cast<uint64_t>(project.documents);
  while (std::gcd(stride, count) != 1) ++stride;
  const auto number =
      static_cast<int>((static_cast<uint64_t>(index) * stride + project.seed) % count);
  const string module = "module" + padded(number % 500, 3);
  const string name = "file" + padded(number, 6) + ".c";
  return {text("vault/" + module), name + "_v", module, name};
}

void Database::writeBigProject(const BigProject& project) const {
  const string directory = path("pub/" + project.directory) + "/";
  writeFile(directory + configurationName(project.directory), kVersion);
  std::mt19937_64 random(project.seed);
  std::ofstream out(directory + "trvsfold.pub", std::ios::binary);
  out << kHead;
  for (int i = 0; i < project.documents; ++i) {
    const Document document = bigDocument(project, i);
    out << documentRecord(document);
    if (project.archives) {
      writeArchive("vault/" + document.workDirectory + "/" + document.archiveName,
                   randomArchive(random));
    }
  }
  out.close();
  if (!out) throw std::runtime_error("can't write the documents of " + project.name);
}

}  // namespace support
