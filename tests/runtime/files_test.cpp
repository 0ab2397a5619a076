// Tests of files by path text: the path map, names in another case, and attributes.
#include "runtime/files.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "runtime/nativepath.h"
#include "runtime/paths.h"
#include "support/files.h"
#include "support/table.h"

namespace {

int theListings = 0;
bool theListingsFail = false;

}  // namespace

// In front of the C library's.
extern "C" DIR* opendir(const char* path) {
  ++theListings;
  if (theListingsFail) {
    errno = EMFILE;
    return nullptr;
  }
  return reinterpret_cast<decltype(&opendir)>(::dlsym(RTLD_NEXT, "opendir"))(path);
}

namespace foldapi {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

void setModified(const std::string& path, int64_t nanoseconds) {
  const timespec times[] = {{0, UTIME_OMIT},
                            {nanoseconds / kSecond, static_cast<long>(nanoseconds % kSecond)}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// A profile that maps V: and a share into a temporary directory.
class PathMap : public testing::Test {
 protected:
  PathMap() {
    support::writeFile(directory_ / "kstr.ini",
                       "[TRVSPATHS]\r\nV: = " + (directory_ / "vol") +
                           "\r\nW: = " + (directory_ / "gone") +
                           "\r\n\\\\Srv\\team = " + (directory_ / "team/") + "\r\n");
    support::writeFile(directory_ / "vol/Proj/Main.C", "main");
    support::writeFile(directory_ / "team/File", "team");
    reloadPathMap();
  }
  ~PathMap() override { reloadPathMap(); }

  const support::TemporaryDirectory directory_;
  const support::ScopedEnvironment profile_{"KSTR_INI", directory_ / "kstr.ini"};
};

TEST_F(PathMap, LeadsDrivesAndSharesToTheirPlaces) {
  const std::string vol = directory_ / "vol";
  const auto cases = support::table<2>(R"(
      v:\Proj\Main.C -> vol/Proj/Main.C | V:proj/MAIN.c -> vol/Proj/Main.C | V: -> vol
      V:\PROJ\new\File -> vol/Proj/new/File | \\srv\TEAM\file -> team/File
      //SRV/team/file -> team/File)");
  for (const auto& [path, want] : cases) EXPECT_EQ(nativePath(path), directory_ / want) << path;
  for (const char* path : {"\\\\srv\\other\\file", "U:\\x", ""})
    EXPECT_EQ(nativePath(path), "") << path;
  EXPECT_EQ(nativePath("/" + vol + "/proj"), "/" + vol + "/Proj") << "doubled slash, no share";
  EXPECT_TRUE(fileExists("V:\\proj\\main.c"));
  EXPECT_FALSE(fileExists("U:\\x"));
  EXPECT_EQ(makeDirectories("V:\\PROJ\\Sub\\x"), 0);
  EXPECT_TRUE(isDirectory(vol + "/Proj/Sub"));
}

TEST(CaseBlindNames, MeanTheOnlyEntryThatEqualsThem) {
  const support::TemporaryDirectory directory;
  for (const char* name : {"One.txt", "two.TXT", "TWO.txt", "Sub/Deep/File", "d\xfcr"}) {
    support::writeFile(directory / name, "");
  }
  const auto cases = support::table<2>(
      "ONE.TXT -> One.txt | One.txt -> One.txt | two.txt -> two.txt | TWO.txt -> TWO.txt | "
      "sub\\DEEP\\file -> Sub/Deep/File | SUB/deep/new/A -> Sub/Deep/new/A | sub/ -> Sub/ | "
      "D\xfcR -> d\xfcr | D\xdcR -> D\xdcR");
  // Where the time doesn't say that the directory changed just now, its listing is kept.
  for (const int64_t seconds : {int64_t{0}, int64_t{1'000'000'000}, int64_t{4'000'000'000}}) {
    for (const char* below : {"", "Sub", "Sub/Deep"}) {
      if (seconds != 0) setModified(directory / below, seconds * kSecond);
    }
    theListings = 0;
    for (const auto& [name, want] : cases) {
      EXPECT_EQ(nativePath(directory / name), directory / want) << name << ", time " << seconds;
    }
    EXPECT_EQ(theListings <= 3, seconds != 0) << theListings;
  }
  setModified(directory.path(), 5 * kSecond);
  theListingsFail = true;
  EXPECT_EQ(nativePath(directory / "ONE.TXT"), directory / "ONE.TXT");
  theListingsFail = false;
  EXPECT_EQ(nativePath(directory / "ONE.TXT"), directory / "One.txt") << "asked again";
}

TEST(FileTests, TellKindAndRights) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "f";
  support::writeFile(path, "");
  EXPECT_EQ(getAttributes(path), 0);
  EXPECT_EQ(checkAccess(path, os::File::Access::kUpdate), os::FileResult::kDone);
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  EXPECT_EQ(getAttributes(path), kAttributeReadOnly);
  EXPECT_EQ(checkAccess(path, os::File::Access::kUpdate), os::FileResult::kRefused) << "root too";
  EXPECT_EQ(checkAccess(path, os::File::Access::kRead), os::FileResult::kDone);
  EXPECT_EQ(checkAccess(directory / "none", os::File::Access::kRead), os::FileResult::kMissing);
  EXPECT_EQ(getAttributes(directory.path()), kAttributeDirectory);
  EXPECT_EQ(getAttributes(directory / "none"), -1);
  EXPECT_EQ(getAttributes(""), -1);
  EXPECT_TRUE(fileExists(directory.path()));
  EXPECT_FALSE(fileExists(""));
  EXPECT_FALSE(fileExists(std::string_view("f\0g", 3)));
  for (const char* path_ : {"", "/", "\\", "c:", "Q:"}) EXPECT_TRUE(isDirectory(path_)) << path_;
  EXPECT_TRUE(isDirectory(directory.path() + "\\"));
  EXPECT_FALSE(isDirectory(path));
  EXPECT_EQ(makeDirectories(directory / "12:/30:/file"), 0) << "a colon belongs to a name";
  EXPECT_TRUE(isDirectory(directory / "12:/30:"));
  EXPECT_EQ(driveLetter("q:\\x"), 'q');
  EXPECT_EQ(driveLetter("q"), 0);
}

}  // namespace
}  // namespace foldapi
