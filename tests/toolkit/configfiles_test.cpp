// Which files the toolkit is given, in which order and mode, and what is added to them.
#include "toolkit/configfiles.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/files.h"
#include "support/limits.h"
#include "support/recordingsink.h"
#include "toolkit/faketoolkit.h"

namespace foldapi {
namespace {

using support::readFile;
using support::writeFile;
using toolkit_test::fakeToolkit;
using enum LocalFile;
using enum TellUser;

class ToolkitConfiguration : public testing::Test {
 protected:
  ToolkitConfiguration() : old_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory.path());  // So that paths in tables are short.
    fakeToolkit().readCalls();
  }
  ~ToolkitConfiguration() override { std::filesystem::current_path(old_); }

  support::TemporaryDirectory directory;
  support::RecordingSink sink;
  TVHandle context{&sink, nullptr};

 private:
  std::filesystem::path old_;
};

TEST_F(ToolkitConfiguration, ReadsMasterThenProjectThenLocal) {
  writeFile(directory / "root.cfg", "DISALLOW = DATEFORMAT\nVCSDIR = master\n");
  writeFile(directory / "own.cfg", "VCSDIR = own\n");
  writeFile(directory / "vcs.cfg", "VCSDIR = local\n");
  std::filesystem::create_directory("unreadable");  // There, but no file to read.
  const struct {
    const char* root;
    const char* project;
    LocalFile local;
    const char* calls;
    Loaded result;
    const char* dirs;
  } cases[] = {
      {"root.cfg", "own.cfg", kLeftOut, "10 root.cfg\n9 own.cfg\n", Loaded::kAll, "own"},
      {"root.cfg", "own.cfg", kRead, "10 root.cfg\n9 own.cfg\n9 vcs.cfg\n", Loaded::kAll, "local"},
      {"", "own.cfg", kRead, "8 own.cfg\n9 vcs.cfg\n", Loaded::kAll, "local"},
      {"none.cfg", "own.cfg", kLeftOut, "8 own.cfg\n", Loaded::kAll, "own"},
      {"root.cfg", "ROOT.CFG", kLeftOut, "10 root.cfg\n", Loaded::kAll, "master"},
      {"root.cfg", "none.cfg", kLeftOut, "10 root.cfg\n", Loaded::kProjectMissing, "master"},
      {"unreadable", "own.cfg", kLeftOut, "10 unreadable\n", Loaded::kFailed, ""},
      {"root.cfg", "unreadable", kRead, "10 root.cfg\n9 unreadable\n", Loaded::kFailed, "master"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.root) + " " + c.project);
    EXPECT_EQ(LoadConfiguration(c.root, c.project, c.local), c.result);
    EXPECT_EQ(fakeToolkit().readCalls(), c.calls);
    EXPECT_EQ(configurationText(TRVS_ITEM_ARCHIVE_DIRECTORIES).str(), c.dirs);
  }
}

constexpr const char* kTail =
    ". The archive directory could not be set. Before you can check files into archives, you must "
    "use Project / Configure Project / Archive Directories in TRVS Trevault to select an archive "
    "directory for this project.\n";

TEST_F(ToolkitConfiguration, ReportsWhatCannotBeAppended) {
  TVProjectConfig missing("none.cfg");
  missing.archiveDirs = "old";
  appendArchiveDirs(&missing, "new", context);
  EXPECT_EQ(sink.told(),
            std::string("error Error opening project configuration file none.cfg") + kTail);
  EXPECT_EQ(missing.archiveDirs.str(), "old");

  writeFile(directory / "own.cfg", "A=1\r\n");
  TVProjectConfig full("own.cfg");
  appendArchiveDirs(&full, "new", context);
  EXPECT_EQ(sink.told(), std::string("error Nothing was added, as there is no directive among the "
                                     "lines of project configuration file own.cfg") +
                             kTail);
  EXPECT_EQ(readFile(directory / "own.cfg"), "A=1\r\n");
  EXPECT_EQ(full.archiveDirs.str(), "");

  writeFile(directory / "own.cfg", "#=1\r\n");
  {
    const support::SizeLimit limit(6);
    appendArchiveDirs(&full, "new", context);
  }
  EXPECT_EQ(sink.told(),
            std::string("error Error writing to project configuration file own.cfg") + kTail);
  EXPECT_EQ(full.archiveDirs.str(), "new");
}

TEST_F(ToolkitConfiguration, AppendsArchiveSuffixes) {
  const std::string refused =
      "notice Error opening project configuration file none.cfg. Unable to set the archive suffix "
      "for file extension c\n";
  const std::string done =
      "notice The project configuration file own.cfg has been update with the archive suffix _v "
      "for all files with the extension c.\n\n See online documentation for more information about "
      "archive suffixes.\n";
  const struct {
    const char* file;
    const char* extension;
    const char* suffix;
    TellUser tell;
    bool result;
    std::string told;
  } cases[] = {
      {"own.cfg", "c", "_v", kSuccessToo, true, done},
      {"own.cfg", "c", "_v", kFailures, true, ""},
      {"own.cfg", "", "_v", kSuccessToo, false, ""},
      {"own.cfg", "c", "", kSuccessToo, false, ""},
      {"none.cfg", "c", "_v", kFailures, false, refused},
  };
  for (const auto& c : cases) {
    writeFile(directory / "own.cfg", "#=1\r\n");
    const TVProjectConfig config{VPathString(c.file)};
    EXPECT_EQ(appendArchiveSuffix(config, c.extension, c.suffix, c.tell, context), c.result);
    EXPECT_EQ(sink.told(), c.told);
    EXPECT_EQ(readFile(directory / "own.cfg"),
              c.result ? "#=1\r\nARCHIVESUFFIX c = _v\r\n" : "#=1\r\n");
  }
}

}  // namespace
}  // namespace foldapi
