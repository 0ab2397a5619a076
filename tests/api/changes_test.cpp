// The exact bytes on disk after each change that a client can make, and that a refused change
// leaves all of them as they were.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"
#include "support/client.h"

namespace {

using std::string;
using support::kHead;
using Names = std::vector<string>;

const string kVersionLine = "# VERSION TRVS Trevault_5.2.00\n";

string projectRecord(const string& name, const string& directory, const string& workDir) {
  const string stem = directory.substr(0, directory.find('.'));
  return "[Project=" + name + "]\nCFG=@/pub/" + directory + "/" + stem + ".cfg\nDIR=" + directory +
         "\nWKDIR=" + workDir + "\n";
}
string privateRecord(const string& name, const string& directory, const string& workDir) {
  return projectRecord(name, directory, workDir) + "OWNERSHIP=PUBLIC\n\n";
}

class Changes : public testing::Test {
 protected:
  string shown(std::string_view relative) const { return scratch_.shown(relative); }

  // Creates a project and opens it.
  TVHandle* createProject(const char* name) {
    TVHandle* root = scratch_.openRoot();
    CreateProject(root, name, "/w/ann", "/w/team");
    return scratch_.openProject(name);
  }

  support::ScratchDatabase scratch_;
};

TEST_F(Changes, RefusedChangesLeaveEveryFileAlone) {
  TVHandle* project = createProject("P");
  AddExistingArchive(project, "w", "/v/w_v");
  SetProjectVCSDirs(project, "/v");
  const auto before = scratch_.everything();
  TVHandle* root = Init("", "");
  OpenProjectRoot(root);
  CreateProject(root, "P", "/other", "/other");
  CreateProject(root, "", "/w", "/w");
  CreateProject(root, nullptr, nullptr, nullptr);
  project = FindProject(root, "P");
  AddExistingArchive(project, "w", "/v/w_v");
  for (const char* bad : {"a\nb", "a\rb", "\n"}) {
    SCOPED_TRACE(support::escaped(bad));
    CreateProject(root, bad, "/w", "/w");
    CreateProject(root, "Q", bad, "/w");
    CreateProject(root, "Q", "/w", bad);
    SetProjectPublicDir(project, bad);
    SetProjectPrivateDir(project, bad);
    SetProjectVCSDirs(project, bad);
    AddExistingArchive(project, bad, "/v/w_v");
    AddExistingArchive(project, "w", bad);
  }
  // Nor what ends a name in a section line, or a field of it: "X]1" would be read back as "X".
  for (const char* bad : {"P]1", "]"}) CreateProject(root, bad, "/w", "/w");
  // Nor what a reader takes out of a value, nor a list that is too long for a line.
  for (const char* bad : {"$()", "/a$(b)c"}) {
    CreateProject(root, bad, "/w", "/w");
    CreateProject(root, "Q", bad, "/w");
    CreateProject(root, "Q", "/w", bad);
    SetProjectPublicDir(project, bad);
    SetProjectPrivateDir(project, bad);
    EXPECT_EQ(Init(bad, scratch_.path("prv").c_str()), nullptr);
  }
  SetProjectVCSDirs(project, string(8185, 'd').c_str());
  EXPECT_STREQ(GetProjectVCSDirs(project), "/v");
  for (const auto& [work, archive] : {std::pair("a]", "/v/a_v"),
                                      {"d]/a", "/v/a_v"},
                                      {"a", "/v]/a_v"},
                                      {"a", "/v/a]_v"},
                                      {"d;e/a", "/v/a_v"},
                                      {"a", "/v;w/a_v"},
                                      {"a", "/v/a;b_v"}}) {
    AddExistingArchive(project, work, archive);
  }
  for (const auto& [work, archive] : {std::pair("", ""), {nullptr, nullptr}, {"src/", "/a/"}}) {
    AddExistingArchive(project, work, archive);
  }
  EXPECT_EQ(scratch_.changedSince(before), Names());
  EXPECT_STREQ(GetProjectPrivateDir(project), "/w/ann");
  // Nor does a refused text keep the project from what others wrote by the next change.
  scratch_.write("prv/trvsproj.prv", privateRecord("P", "P.prj", "/w/moved"));
  CreateProject(root, "Q", "", "");
  EXPECT_STREQ(GetProjectPrivateDir(project), "/w/moved");
}

TEST_F(Changes, AddExistingArchiveAppendsOneLineToItsParentsFile) {
  createProject("P");
  const string folders =
      "[FOLDER=src]\nDIR=src\nWKDIR=src\n\n[DOCUMENT=/v;old_v;;old]";  // No line end.
  scratch_.write("pub/P.prj/trvsfold.pub", folders);
  scratch_.write("prv/P.prj/trvsfold.prv", "[FOLDER=mine]\nDIR=mine\nWKDIR=mine\n\n");
  // With what is added it takes two pages.
  const string inFolder = kHead + "; " + string(4010, '-') + "\n[DOCUMENT=/v;s_v;d;s]\n\n";
  scratch_.write("pub/P.prj/src/trvsfold.pub", inFolder);
  scratch_.write("prv/P.prj/mine/trvsfold.prv", "[DOCUMENT=/v;m_v;;m]\nend");
  const struct {
    const char* why;
    const char* folder;  // Null for the project.
    const char* workfile;
    const char* archive;
    const char* file;
    string bytes;
  } cases[] = {
      {"the last line gets its end first", nullptr, "d/new.c", "/v/new.c_v",
       "pub/P.prj/trvsfold.pub", folders + "\n[DOCUMENT=/v;new.c_v;d;new.c]\n"},
      {"one archive for two workfiles, no directories", nullptr, "other.c", "new.c_v",
       "pub/P.prj/trvsfold.pub",
       folders + "\n[DOCUMENT=/v;new.c_v;d;new.c]\n[DOCUMENT=;new.c_v;;other.c]\n"},
      {"public folder", "src", "C:\\w\\a;b.c", "V:\\v\\a_v", "pub/P.prj/src/trvsfold.pub",
       inFolder + "[DOCUMENT=V:\\v;a_v;C:\\w;a;b.c]\n"},
      {"private folder", "mine", "/w.c", "C:\\w_v", "prv/P.prj/mine/trvsfold.prv",
       "[DOCUMENT=/v;m_v;;m]\nend\n[DOCUMENT=C:\\;w_v;/;w.c]\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TVHandle* project = scratch_.openProject("P");
    TVHandle* parent = c.folder == nullptr ? project : FindFolder(project, c.folder);
    const Names files = scratch_.files();
    AddExistingArchive(parent, c.workfile, c.archive);
    EXPECT_EQ(shown(c.file), c.bytes);
    EXPECT_EQ(scratch_.files(), files);
    OpenFolder(parent);
    TVHandle* archive = FindArchiveByQualWorkName(parent, c.workfile);
    EXPECT_STREQ(GetQualWorkfileName(archive), c.workfile);
    EXPECT_STREQ(GetQualArchiveName(archive), c.archive);
  }
  TVHandle* project = scratch_.openProject("P");
  EXPECT_STREQ(FoldapiFolderWorkDir(project), "/w/ann");
  EXPECT_STREQ(FoldapiFolderWorkDir(FindFolder(project, "src")), "/w/ann/src");
  EXPECT_STREQ(FoldapiFolderWorkDir(FindArchiveByWorkName(project, "other.c")), "");
  EXPECT_EQ(shown("prv/P.prj/trvsfold.prv"), "[FOLDER=mine]\nDIR=mine\nWKDIR=mine\n\n");
}

// A power cut in the middle of an append.
TEST_F(Changes, ARecordThatWasCutOffGoes) {
  createProject("P");
  const string whole = kHead + "[DOCUMENT=/v;a_v;;a]\n";
  for (const char* torn : {"[DOCUMENT=/v;b_v;;b", "[FOLDER=f]\nDIR=f\nWKDIR=/w"}) {
    scratch_.write("pub/P.prj/trvsfold.pub", whole + torn);
    TVHandle* project = scratch_.openProject("P");
    EXPECT_EQ(support::workfileNames(project), Names{"a"});
    EXPECT_EQ(support::folderNames(project), Names{});
    EXPECT_EQ(shown("pub/P.prj/trvsfold.pub"), whole + torn);
    AddExistingArchive(project, "c", "/v/c_v");
    EXPECT_EQ(shown("pub/P.prj/trvsfold.pub"), whole + "[DOCUMENT=/v;c_v;;c]\n");
  }
}

// The buckets: m_v 2, q_v 6, b_v 8, gone 9, src 10, mine 15.
TEST_F(Changes, DestroyArchiveAndFolderRewriteTheirParentsFilesInTableOrder) {
  createProject("P");
  const string kept = "[DOCUMENT=/v;b_v;;b]\n";
  scratch_.write("vault/q_v", "an archive");
  scratch_.write("pub/P.prj/trvsfold.pub",
                 "[FOLDER=gone]\nWKDIR=g\nDIR=gone\n[DOCUMENT=/v;q_v;;q]\n[DOCUMENT=/v;m_v;;m]\n" +
                     kept + "[FOLDER=src]\nWKDIR=s\nDIR=src\nNOTE=lost\n");
  scratch_.write("prv/P.prj/trvsfold.prv",
                 "[FOLDER=gone]\nDIR=gone\nWKDIR=\nOWNERSHIP=PUBLIC\n\n[FOLDER=mine]\nDIR=V:/m\n");
  for (const char* name : {"pub/P.prj/src/trvsfold.pub", "pub/P.prj/gone/trvsfold.pub"}) {
    scratch_.write(name, "[DOCUMENT=/v;q_v;;q]\n[DOCUMENT=/v;m_v;;m]\n" + kept);
  }
  const Names files = scratch_.files();
  TVHandle* project = scratch_.openProject("P");

  DestroyArchive(FindArchiveByArchiveName(project, "q_v"));
  const string src = "[FOLDER=src]\nDIR=src\nWKDIR=s\n\n";
  const string gone = "[FOLDER=gone]\nDIR=gone\nWKDIR=g\n";
  const string overlay = "[FOLDER=src]\nDIR=\nWKDIR=s\nOWNERSHIP=PUBLIC\n\n";
  const string mine = "[FOLDER=mine]\nDIR=V:/m\nWKDIR=\n\n";
  EXPECT_EQ(shown("pub/P.prj/trvsfold.pub"),
            kHead + "[DOCUMENT=/v;m_v;;m]\n" + kept + gone + "\n" + src);
  EXPECT_EQ(shown("prv/P.prj/trvsfold.prv"),
            kHead + gone + "OWNERSHIP=PUBLIC\n\n" + overlay + mine);

  DestroyFolder(FindFolder(project, "gone"));
  EXPECT_EQ(shown("pub/P.prj/trvsfold.pub"), kHead + "[DOCUMENT=/v;m_v;;m]\n" + kept + src);
  EXPECT_EQ(shown("prv/P.prj/trvsfold.prv"), kHead + overlay + mine);

  TVHandle* folder = FindFolder(project, "src");
  OpenFolder(folder);
  DestroyArchive(FindArchiveInFolder(folder, "m"));
  EXPECT_EQ(shown("pub/P.prj/src/trvsfold.pub"), kHead + "[DOCUMENT=/v;q_v;;q]\n" + kept);
  EXPECT_EQ(scratch_.files(), files);
  EXPECT_EQ(shown("vault/q_v"), "an archive");
}

TEST_F(Changes, SetProjectVCSDirsAppendsADirectiveThatCountsAtOnce) {
  TVHandle* project = createProject("P");
  string bytes = kVersionLine;
  const struct {
    const char* set;
    const char* line;
    const char* get;
  } cases[] = {
      {"/v/a;/v/b", "VCSDIR=/v/a;/v/b", "/v/a;/v/b"},
      {"d:\\arch\\", "VCSDIR=d:\\arch", "d:\\arch"},
      {"d:\\arch\\\\", "VCSDIR=d:\\arch\\", "d:\\arch\\"},
      {" d:\\x\\ \t", "VCSDIR= d:\\x", "d:\\x"},
      {"\\", "VCSDIR=", ""},
      {"/last/", "VCSDIR=/last/", "/last/"},
  };
  for (const auto& c : cases) {
    SetProjectVCSDirs(project, c.set);
    bytes += string(c.line) + "\n\n";
    EXPECT_EQ(shown("pub/P.prj/P.cfg"), bytes);
    EXPECT_STREQ(GetProjectVCSDirs(project), c.get);
  }
  EXPECT_STREQ(GetProjectVCSDirs(scratch_.openProject("P")), "/last/");
  // A last line without an end, as an editor left it, is neither lost nor carried on.
  scratch_.write("pub/P.prj/P.cfg", kVersionLine + "JOURNAL = /j");
  project = scratch_.openProject("P");
  SetProjectVCSDirs(project, "/new");
  EXPECT_EQ(shown("pub/P.prj/P.cfg"), kVersionLine + "JOURNAL = /j\nVCSDIR=/new\n\n");
  EXPECT_STREQ(GetProjectVCSDirs(project), "/new");
  scratch_.openRoot();
  EXPECT_STREQ(GetProjectCfgFile(project), "");  // Of the session before.
}

TEST_F(Changes, AddArchivesAddsAllThatCanBeByOneEdit) {
  TVHandle* project = createProject("P");
  AddExistingArchive(project, "src/a", "/v/a_v");
  const string before = shown("pub/P.prj/trvsfold.pub");
  const char* const workfiles[] = {"b", "bad]", "src/a", "b", "d/c"};
  const char* const archives[] = {"/v/b_v", "/v/bad_v", "/v/a_v", "/v/b_v", "/v/c_v"};
  EXPECT_EQ(FoldapiAddArchives(project, workfiles, archives, 5), 4);
  EXPECT_EQ(shown("pub/P.prj/trvsfold.pub"),
            before + "[DOCUMENT=/v;b_v;;b]\n[DOCUMENT=/v;c_v;d;c]\n");
  EXPECT_EQ(FoldapiAddArchives(project, workfiles, archives, 0), 0);
  EXPECT_EQ(FoldapiAddArchives(nullptr, workfiles, archives, 5), -1);
  EXPECT_EQ(FoldapiAddArchives(project, nullptr, archives, 5), -1);
}

// What the toolkit would complain about changes nothing; the rest takes the place of its like.
TEST_F(Changes, SetDirectiveReadsTheResultFirst) {
  TVHandle* project = createProject("P");
  scratch_.write("pub/P.prj/P.cfg",
                 "VCSDIR = /v\nIF X == X\nvcsdir = /other\nENDIF\nPROMOTE a = b\n");
  const auto before = scratch_.everything();
  const struct {
    const char *name, *value;
    int32_t status;
  } refused[] = {
      {"BRANCHWARN", "maybe", TRVS_INVALID_LINE},        {"NOTHING", "1", TRVS_INVALID_LINE},
      {"VCSDIR", "/a\nJOURNAL = /b", TRVS_INVALID_LINE}, {"PROMOTE", "b = a", TRVS_NO_TOP_GROUP},
      {"PROMOTE", "c = d", TRVS_SEVERAL_TOP_GROUPS},     {nullptr, "1", TRVS_INVALID_LINE}};
  for (const auto& c : refused) {
    EXPECT_EQ(FoldapiSetDirective(project, c.name, c.value), c.status) << c.value;
  }
  EXPECT_EQ(FoldapiSetDirective(nullptr, "VCSDIR", "/a"), TRVS_MISUSE);
  EXPECT_EQ(scratch_.changedSince(before), Names{});
  EXPECT_EQ(FoldapiSetDirective(project, "vcsdir", "/new"), TRVS_DONE);
  EXPECT_EQ(FoldapiSetDirective(project, "Promote", "a = c"), TRVS_DONE);
  EXPECT_EQ(FoldapiSetDirective(project, "ArchiveSuffix", ".c = _c"), TRVS_DONE);
  EXPECT_EQ(
      shown("pub/P.prj/P.cfg"),
      "VCSDIR = /new\nIF X == X\nvcsdir = /other\nENDIF\nPROMOTE a = c\nARCHIVESUFFIX .c = _c\n");
  EXPECT_EQ(scratch_.changedSince(before), Names{"pub/P.prj/P.cfg"}) << "nothing is left beside it";
  scratch_.write("pub/P.prj/P.cfg", "a letter\n");
  EXPECT_EQ(FoldapiSetDirective(project, "VCSDIR", "/a"), TRVS_INVALID_LINE);
  EXPECT_EQ(shown("pub/P.prj/P.cfg"), "a letter\n");
}

}  // namespace
