// Disks that are full, files that may not be written and files that can't be read: what is on disk
// stays as it is, and the session goes on with what is true.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/client.h"
#include "support/limits.h"

namespace {

using std::string;
using support::kHead;
using Names = std::vector<string>;

// Each kind of change, made to an open session.
struct Change {
  const char* why;
  void (*make)(TVHandle* root, TVHandle* project);
};
const Change kChanges[] = {
    {"add", [](TVHandle*, TVHandle* p) { AddExistingArchive(p, "new", "/v/new_v"); }},
    {"add to a folder",
     [](TVHandle*, TVHandle* p) { AddExistingArchive(FindFolder(p, "f"), "new", "/v/new_v"); }},
    {"destroy an archive",
     [](TVHandle*, TVHandle* p) { DestroyArchive(FindArchiveByWorkName(p, "a")); }},
    {"destroy a folder", [](TVHandle*, TVHandle* p) { DestroyFolder(FindFolder(p, "f")); }},
    {"destroy a project", [](TVHandle* r, TVHandle*) { DestroyProject(FindProject(r, "Q")); }},
    {"public directory", [](TVHandle*, TVHandle* p) { SetProjectPublicDir(p, "/moved"); }},
    {"private directory", [](TVHandle*, TVHandle* p) { SetProjectPrivateDir(p, "/moved"); }},
    {"archive directories", [](TVHandle*, TVHandle* p) { SetProjectVCSDirs(p, "/moved"); }},
};

// Two projects; the first has two archives, two folders and a long line that nobody knows.
struct Filled : support::ScratchDatabase {
  Filled() {
    TVHandle* root = openRoot();
    CreateProject(root, "P", "/ann", "/team");
    CreateProject(root, "Q", "/ann", "/team");
    write("pub/P.prj/trvsfold.pub",
          kHead + "; " + string(5000, '-') +
              "\n[DOCUMENT=/v;a_v;;a]\n[DOCUMENT=/v;b_v;;b]\n[FOLDER=f]\nDIR=f\n\n");
    write("prv/P.prj/trvsfold.prv",
          kHead + "[FOLDER=mine]\nDIR=mine\nWKDIR=" + string(900, 'w') + "\n\n");
    write("pub/P.prj/f/trvsfold.pub", kHead + "[DOCUMENT=/v;in f_v;;in f]\n");
  }
};

// A file that could not be read is read again before anything is written.
TEST(Unwritable, FilesThatCouldNotBeReadAreNeverOverwritten) {
  for (const char* file : {"pub/trvsproj.pub", "prv/trvsproj.prv", "pub/P.prj/trvsfold.pub",
                           "prv/P.prj/trvsfold.prv"}) {
    SCOPED_TRACE(file);
    const Filled filled;
    const string path = filled.path(file);
    const string aside = filled.path("aside");
    std::filesystem::rename(path, aside);
    std::filesystem::create_directory(path);  // Nobody can read this, not even root.
    TVHandle* root = filled.openRoot();
    TVHandle* project = FindProject(root, "P");
    OpenProject(project);
    CreateProject(root, "R", "/ann", "/team");
    AddExistingArchive(project, "new", "/v/new_v");
    EXPECT_TRUE(std::filesystem::is_directory(path));

    std::filesystem::remove(path);
    std::filesystem::rename(aside, path);
    SetProjectPublicDir(project, "/team");
    SetProjectPrivateDir(project, "/ann");
    DestroyArchive(FindArchiveByWorkName(project, "new"));
    DestroyProject(FindProject(root, "R"));
    project = filled.openProject("P");
    EXPECT_EQ(support::folderNames(project), (Names{"f", "mine"}));
    EXPECT_EQ(support::workfileNames(project), (Names{"a", "b"}));
    EXPECT_STREQ(GetProjectPrivateDir(project), "/ann");
    EXPECT_EQ(support::projectNames(filled.openRoot()), (Names{"P", "Q"}));
  }
}

// All that a session shows while it keeps a root and a project open.
Names shownNow(TVHandle* root, TVHandle* project) {
  TVHandle* folder = FindFolder(project, "f");
  OpenFolder(folder);
  Names all = support::projectNames(root);
  for (const auto get : {GetProjectName, GetProjectPublicDir, GetProjectPrivateDir}) {
    all.emplace_back(get(project));
  }
  all.emplace_back(GetFolderName(folder));
  for (const Names& names : {support::folderNames(project), support::workfileNames(project),
                             support::workfileNames(folder)}) {
    all.emplace_back("|");
    all.insert(all.end(), names.begin(), names.end());
  }
  return all;
}

// A real fault: a session went on with what had never reached the disk.
TEST(Unwritable, WhatIsNotWrittenIsNotShown) {
  std::vector<Change> changes(std::begin(kChanges), std::end(kChanges));
  changes.push_back({"create", [](TVHandle* r, TVHandle*) { CreateProject(r, "R", "", ""); }});
  const struct {
    const char* why;
    rlim_t room;
    const char* readOnly;  // It became so since it was read.
  } obstacles[] = {{"on a full disk", 10, ""},
                   {"with a file", RLIM_INFINITY, "pub/trvsproj.pub"},
                   {"with a file", RLIM_INFINITY, "prv/trvsproj.prv"},
                   {"with a file", RLIM_INFINITY, "pub/P.prj/trvsfold.pub"},
                   {"with a file", RLIM_INFINITY, "prv/P.prj/trvsfold.prv"},
                   {"with a file", RLIM_INFINITY, "pub/P.prj/f/trvsfold.pub"}};
  for (const auto& obstacle : obstacles) {
    for (const Change& change : changes) {
      SCOPED_TRACE(string(change.why) + " " + obstacle.why + " " + obstacle.readOnly);
      const Filled filled;
      TVHandle* root = filled.openRoot();
      TVHandle* project = FindProject(root, "P");
      OpenProject(project);
      const Names before = shownNow(root, project);
      ASSERT_EQ(before.size(), 14U);
      {
        const support::SizeLimit room(obstacle.room);
        if (*obstacle.readOnly != 0) chmod(filled.path(obstacle.readOnly).c_str(), 0444);
        change.make(root, project);
      }
      if (*obstacle.readOnly != 0) chmod(filled.path(obstacle.readOnly).c_str(), 0644);
      const Names now = shownNow(root, project);
      if (*obstacle.readOnly == 0) {
        EXPECT_EQ(now, before);
      }
      root = filled.openRoot();
      project = FindProject(root, "P");
      OpenProject(project);
      EXPECT_EQ(now, shownNow(root, project));
    }
  }
}

}  // namespace
