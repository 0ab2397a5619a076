// Tests of what nobody but Windows does with files: names that it takes for something else, files
// that nothing can replace while they are open, and disks that are blind to letter case.
//
// With arguments the program is a writer that never comes to an end, for a test that kills it:
// files_test --write FILE.
#include "runtime/files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "os/directory.h"
#include "os/file.h"
#include "os/sibling.h"
#include "runtime/nativepath.h"
#include "runtime/textfile.h"
#include "support/files.h"

namespace {

using foldapi::TextFile;
using os::File;
using os::FileResult;
using support::readFile;
using support::TemporaryDirectory;
using support::writeFile;

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  os::forEachEntry(directory.c_str(), [&](const char* name) { names.push_back(name); });
  return names;
}

std::unique_ptr<TextFile> openText(const std::string& path, TextFile::Access access) {
  TextFile::Failure failure;
  return TextFile::open(path, access, &failure);
}

bool addLine(const std::string& path, const std::string& line) {
  const auto file = openText(path, TextFile::Access::kUpdate);
  if (file == nullptr) return false;
  const std::string text = std::string(file->text()) + line + "\n";
  file->clear();
  file->append(text);
  return file->commit();
}

TEST(Replacing, LeavesReadersTheOldFileAndOthersNothingInBetween) {
  const TemporaryDirectory directory;
  const std::string path = directory / "list.pub";
  writeFile(path, "old\r\n");
  const auto reader = openText(path, TextFile::Access::kRead);
  ASSERT_NE(reader, nullptr);
  File open;
  ASSERT_EQ(open.open(path.c_str(), File::Access::kRead), FileResult::kDone);
  ASSERT_TRUE(foldapi::replaceFile(path, "new\r\n"));
  std::string seen;
  EXPECT_EQ(open.readAll(100, &seen), FileResult::kDone);
  EXPECT_EQ(seen, "old\r\n");
  EXPECT_EQ(readFile(path), "new\r\n");
  EXPECT_FALSE(open.confirm(path.c_str()));
}

TEST(Replacing, KeepsTheHoldOnWhatTakesTheName) {
  const TemporaryDirectory directory;
  const std::string path = directory / "list.pub";
  writeFile(path, "one\r\n");
  const auto first = openText(path, TextFile::Access::kUpdate);
  ASSERT_NE(first, nullptr);
  for (const char* line : {"two\n", "three\n"}) {
    first->clear();
    first->append(line);
    ASSERT_TRUE(first->commit());
    TextFile::Failure failure;
    EXPECT_EQ(TextFile::open(path, TextFile::Access::kUpdate, &failure), nullptr);
    EXPECT_EQ(failure, TextFile::Failure::kBusy);
  }
  EXPECT_EQ(readFile(path), "three\r\n");
}

TEST(Replacing, TakesReadOnlyFilesAndKeepsThemSo) {
  const TemporaryDirectory directory;
  const std::string path = directory / "list.pub";
  writeFile(path, "old");
  ASSERT_EQ(os::setWritable(path.c_str(), false), FileResult::kDone);
  File model;
  ASSERT_EQ(model.open(path.c_str(), File::Access::kRead), FileResult::kDone);
  os::SiblingFile sibling;
  ASSERT_EQ(sibling.open(path), FileResult::kDone);
  ASSERT_EQ(sibling.write("new"), FileResult::kDone);
  ASSERT_EQ(sibling.giveRights(&model), FileResult::kDone);
  ASSERT_EQ(
      sibling.finish(os::SiblingFile::Naming::kReplace, os::SiblingFile::Safety::kSoon, nullptr),
      FileResult::kDone);
  model.close();
  EXPECT_EQ(readFile(path), "new");
  EXPECT_EQ(namesIn(directory.path()), std::vector<std::string>{"list.pub"});
  os::FileStatus status;
  ASSERT_EQ(os::readStatus(path.c_str(), &status), FileResult::kDone);
  EXPECT_FALSE(status.ownerMayWrite);
  EXPECT_EQ(os::removeFile(path.c_str()), FileResult::kDone);
}

// What a writer leaves that was killed between the two steps, and after both.
TEST(Replacing, IsEndedWhereAWriterWasKilled) {
  const TemporaryDirectory directory;
  const std::string path = directory / "list.pub";
  writeFile(path + ".trvs-old", "kept\r\n");
  writeFile(path + ".trvs-new", "not wh");
  std::string text;
  EXPECT_TRUE(foldapi::readFile(path, &text));
  EXPECT_EQ(text, "kept\r\n");
  writeFile(path + ".trvs-old3", "of last year");
  EXPECT_TRUE(addLine(path, "more"));
  EXPECT_EQ(readFile(path), "kept\r\nmore\r\n");
  EXPECT_EQ(namesIn(directory.path()), std::vector<std::string>{"list.pub"});
  writeFile(path + ".trvs-old", "of last year");
  EXPECT_TRUE(foldapi::removeFile(path));
  EXPECT_FALSE(foldapi::fileExists(path)) << "It came back.";
}

TEST(Removing, FreesTheNameThoughReadersHaveTheFile) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.txt";
  writeFile(path, "old");
  File reader;
  ASSERT_EQ(reader.open(path.c_str(), File::Access::kRead), FileResult::kDone);
  ASSERT_TRUE(foldapi::removeFile(path));
  EXPECT_FALSE(foldapi::fileExists(path));
  ASSERT_TRUE(foldapi::createFile(path));
  EXPECT_EQ(readFile(path), "");
  reader.close();
  EXPECT_EQ(namesIn(directory.path()), std::vector<std::string>{"a.txt"});
}

// Adds so many lines, or with 0 one after the other. Gives the process, or null.
HANDLE startWriter(const std::string& path, int lines) {
  wchar_t program[MAX_PATH];
  ::GetModuleFileNameW(nullptr, program, MAX_PATH);
  std::wstring line = L"\"" + std::wstring(program) + L"\" --write \"" +
                      std::filesystem::path(path).wstring() + L"\" " + std::to_wstring(lines);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  if (!::CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                        &made)) {
    return nullptr;
  }
  ::CloseHandle(made.hThread);
  return made.hProcess;
}

// Each adds lines; none may get lost, whoever replaces the file meanwhile.
TEST(Replacing, LosesNothingOfSeveralWriters) {
  constexpr int kWriters = 4, kLines = 20;
  const TemporaryDirectory directory;
  const std::string path = directory / "list.pub";
  writeFile(path, "");
  std::vector<HANDLE> writers(kWriters);
  for (HANDLE& writer : writers) ASSERT_NE(writer = startWriter(path, kLines), nullptr);
  // One that is killed again and again, wherever it stands.
  for (int i = 0; i < 10; ++i) {
    const HANDLE victim = startWriter(path, 0);
    ASSERT_NE(victim, nullptr);
    ::Sleep(static_cast<DWORD>(60 + 17 * i));
    ::TerminateProcess(victim, 1);
    ::WaitForSingleObject(victim, INFINITE);
    ::CloseHandle(victim);
    std::string text;
    EXPECT_TRUE(foldapi::readFile(path, &text));
    EXPECT_TRUE(text.empty() || text.ends_with("\r\n"));
  }
  for (HANDLE writer : writers) {
    ::WaitForSingleObject(writer, INFINITE);
    DWORD code = 1;
    ::GetExitCodeProcess(writer, &code);
    EXPECT_EQ(code, 0u);
    ::CloseHandle(writer);
  }
  const std::string text = readFile(path);
  size_t lines = 0;
  for (size_t at = 0; (at = text.find("mine\r\n", at)) != text.npos; ++at) ++lines;
  EXPECT_EQ(lines, static_cast<size_t>(kWriters * kLines));
}

TEST(Names, ThatMeanSomethingElseAreRefused) {
  const TemporaryDirectory directory;
  for (const char* name : {"NUL", "aux.c", "con", "COM1.txt", "a:b", "what?", "a*", "a|b", "<a>",
                           "dot.", "blank ", "quote\"", "tab\tin"}) {
    SCOPED_TRACE(name);
    const std::string path = directory.path() + "/" + name;
    EXPECT_FALSE(foldapi::createFile(path));
    EXPECT_FALSE(foldapi::replaceFile(path, "lost?"));
    EXPECT_FALSE(foldapi::fileExists(path));
    EXPECT_FALSE(os::makeDirectory(path));
  }
  EXPECT_TRUE(namesIn(directory.path()).empty());
  for (const char* name : {"nul_", "aux", "auxiliary.c", ".hidden", "a b.c", "COM10"}) {
    SCOPED_TRACE(name);
    const bool isDevice = std::string(name) == "aux";
    EXPECT_EQ(foldapi::createFile(directory.path() + "/" + name), !isDevice);
  }
}

TEST(Names, MayBeLongerThanAPathOnceWas) {
  const TemporaryDirectory directory;
  std::string path = directory.path();
  for (int i = 0; i < 4; ++i) path += "/" + std::string(100, static_cast<char>('a' + i));
  ASSERT_TRUE(os::makeDirectories(path));
  path += "/file.txt";
  ASSERT_TRUE(foldapi::replaceFile(path, "text"));
  ASSERT_TRUE(foldapi::replaceFile(path, "other text"));
  std::string text;
  EXPECT_TRUE(foldapi::readFile(path, &text));
  EXPECT_EQ(text, "other text");
  EXPECT_TRUE(foldapi::removeFile(path));
}

// Wine carries the rename out without a change of the letters.
TEST(Names, AreBlindToLetterCase) {
  const TemporaryDirectory directory;
  writeFile(directory / "Main.C", "text");
  EXPECT_TRUE(foldapi::fileExists(directory / "main.c"));
  EXPECT_TRUE(os::isSameFile(directory / "MAIN.C", directory / "main.c"));
  EXPECT_TRUE(os::isSamePath("V:/S\xe4ge/Main.C", "v:/S\xc4GE/mAIN.c"));
  EXPECT_FALSE(os::isSamePath("V:/S\xe4ge", "V:/S\xe4ge/a"));
  EXPECT_FALSE(os::isSamePath("V:/S\xe4ge", "V:/Sage"));
  EXPECT_EQ(os::moveFile(directory / "Main.C", directory / "main.c"), FileResult::kDone);
  EXPECT_EQ(readFile(directory / "MAIN.C"), "text");
  writeFile(directory / "other.c", "");
  EXPECT_EQ(os::moveFile(directory / "other.c", directory / "MAIN.c"), FileResult::kExists);
}

// Nobody can set when a file was changed, as its time can be.
TEST(Marks, TellAChangeThatKeepsSizeAndTime) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.c";
  writeFile(path, "text");
  ASSERT_EQ(os::setModificationTime(path.c_str(), 1'000'000'000), FileResult::kDone);
  const auto before = os::fileMark(path.c_str());
  ASSERT_GT(before->changed, before->modified);
  os::FileStatus status;
  do {
    writeFile(path, "TEXT");
    ASSERT_EQ(os::setModificationTime(path.c_str(), 1'000'000'000), FileResult::kDone);
    ASSERT_EQ(os::readStatus(path.c_str(), &status), FileResult::kDone);
  } while (status.changed == before->changed);
  EXPECT_GT(status.changed, before->changed);
  EXPECT_EQ(status.nanoseconds, before->modified);
}

TEST(Drives, AreTheSystemsOwnUnlessTheProfileHasThem) {
  const TemporaryDirectory directory;
  const std::string profile = directory / "KSTR.INI";
  writeFile(profile, "[TRVSPATHS]\r\nV:=" + directory.path() + "\r\n");
  const support::ScopedEnvironment named("KSTR_INI", profile);
  foldapi::reloadPathMap();
  writeFile(directory / "a.txt", "text");
  EXPECT_EQ(foldapi::nativePath("C:\\windows\\a.c"), "C:/windows/a.c");
  EXPECT_EQ(foldapi::nativePath("V:\\a.txt"), directory / "a.txt");
  EXPECT_EQ(foldapi::nativePath("\\\\server\\share\\a"), "//server/share/a");
  EXPECT_TRUE(foldapi::fileExists("v:\\A.TXT"));
  EXPECT_FALSE(foldapi::driveNotReady('C'));
  EXPECT_FALSE(foldapi::driveNotReady('V'));
  EXPECT_TRUE(foldapi::driveNotReady('Q'));
  EXPECT_TRUE(foldapi::driveNotReady('1'));
  EXPECT_FALSE(foldapi::fileExists("Q:\\a.txt"));
  EXPECT_FALSE(foldapi::createFile("Q:\\a.txt"));
  foldapi::reloadPathMap();
}

}  // namespace

int main(int count, char** words) {
  if (count == 4 && std::string(words[1]) == "--write") {
    const int lines = std::stoi(words[3]);
    for (int i = 0; lines == 0 || i < lines;) {
      if (addLine(words[2], lines == 0 ? "theirs" : "mine")) ++i;
    }
    return 0;
  }
  testing::InitGoogleTest(&count, words);
  return RUN_ALL_TESTS();
}
