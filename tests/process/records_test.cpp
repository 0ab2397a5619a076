// Records that must neither vanish nor go where nobody looks: private ones without a public one,
// changes that fail half-way, and owners that other programs change meanwhile.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foldapi/foldapi.h"
#include "support/childprocess.h"
#include "support/client.h"
#include "support/limits.h"

namespace {

using std::string;
using support::kHead;
using Names = std::vector<string>;

class Records : public testing::Test {
 protected:
  // With the one private root, and another public one if `publicRoot` says so.
  TVHandle* openRoot(const char* publicRoot) const {
    TVHandle* root = Init(scratch_.path(publicRoot).c_str(), scratch_.path("prv").c_str());
    OpenProjectRoot(root);
    return root;
  }

  support::ScratchDatabase scratch_;
};

// A real fault: a rewrite under one public root lost all private records of the other one.
TEST_F(Records, OnePrivateRootServesSeveralPublicOnes) {
  const string other = "[Project=O]\nCFG=\nDIR=O.prj\nWKDIR=\n\n";
  scratch_.write("pub2/trvsproj.pub", other);
  CreateProject(openRoot("pub"), "P", "/ann", "/team");
  const string p = scratch_.shown("prv/trvsproj.prv") + "NOTE=kept\n\n";
  scratch_.write("prv/trvsproj.prv", p);
  TVHandle* root = openRoot("pub2");
  OpenProject(FindProject(root, "O"));
  const string o = "[Project=O]\nCFG=\nDIR=O.prj\nWKDIR=\nOWNERSHIP=PUBLIC\n\n";
  EXPECT_EQ(scratch_.shown("prv/trvsproj.prv"), p + o);
  EXPECT_EQ(scratch_.shown("pub2/trvsproj.pub"), other);
  CreateProject(root, "Q", "/ann2", "/team2");
  SetProjectPrivateDir(FindProject(root, "Q"), "/moved");
  DestroyProject(FindProject(root, "Q"));
  EXPECT_EQ(scratch_.shown("prv/trvsproj.prv"), kHead + p + o);
  OpenProject(FindProject(openRoot("pub"), "P"));
  EXPECT_STREQ(GetProjectPrivateDir(FindProject(openRoot("pub"), "P")), "/ann");

  // A record that a new project makes void doesn't come back when that is destroyed.
  CreateProject(root = openRoot("pub2"), "P", "", "");
  DestroyProject(FindProject(root, "P"));
  EXPECT_EQ(scratch_.shown("prv/trvsproj.prv"), kHead + o);
}

TEST_F(Records, ARewriteKeepsWhatPublicFoldersLeftBehind) {
  CreateProject(openRoot("pub"), "P", "", "");
  const string stray = "[FOLDER=gone]\nDIR=gone\nNOTE kept\n;\nOWNERSHIP=x\n";
  scratch_.write("prv/P.prj/trvsfold.prv", stray + "[FOLDER=mine]\nDIR=mine\n");
  DestroyFolder(FindFolder(scratch_.openProject("P"), "mine"));
  EXPECT_EQ(scratch_.shown("prv/P.prj/trvsfold.prv"), kHead + stray);
}

// A real fault: the public record stayed, and the project was taken for a whole one.
TEST_F(Records, ACreateIsStoredInBothFilesOrInNone) {
  TVHandle* root = openRoot("pub");
  CreateProject(root, "O", "/ann", "/team");
  const auto create = [](TVHandle* in) { CreateProject(in, "P", "/ann", "/team"); };
  const auto isHere = [](TVHandle* in) { return FindProject(in, "P") != nullptr; };
  auto before = scratch_.everything();
  const int entries = support::entryCount(scratch_.path("pub"));
  chmod(scratch_.path("prv/trvsproj.prv").c_str(), 0444);
  create(root);
  EXPECT_FALSE(isHere(root));
  EXPECT_EQ(scratch_.changedSince(before), Names());
  chmod(scratch_.path("prv/trvsproj.prv").c_str(), 0644);
  scratch_.write("file", "");
  root = Init(scratch_.path("pub").c_str(), scratch_.path("file").c_str());
  OpenProjectRoot(root);
  create(root);
  EXPECT_FALSE(isHere(root));
  EXPECT_EQ(support::entryCount(scratch_.path("pub")), entries);

  const char* const files[] = {"prv/trvsproj.prv", "pub/trvsproj.pub"};
  for (const char* full : files) {
    for (const size_t size : {5000U, 8180U}) {  // What comes next fits the last page, or doesn't.
      SCOPED_TRACE(full + std::to_string(size));
      const auto old = scratch_.everything();
      for (const char* file : files) {
        const size_t wanted = file == full ? size : size / 2;
        const size_t rest = wanted - std::filesystem::file_size(scratch_.path(file));
        scratch_.write(file, old.at(file) + string(rest - 2, '-') + "\n");
      }
      before = scratch_.everything();
      root = openRoot("pub");
      {
        const support::SizeLimit room(size + 20);
        create(root);
      }
      EXPECT_FALSE(isHere(root));
      for (const char* file : files) {
        EXPECT_EQ(scratch_.shown(file), before[file]);
        scratch_.write(file, old.at(file));
      }
    }
  }
  create(root = openRoot("pub"));
  EXPECT_TRUE(isHere(root));
  EXPECT_STREQ(GetProjectPrivateDir(FindProject(openRoot("pub"), "P")), "/ann");
}

// A real fault: what was added went to a directory that nobody reads any more.
TEST_F(Records, AddsGoWhereTheOwnerIsKeptNow) {
  TVHandle* root = openRoot("pub");
  CreateProject(root, "P", "", "");
  CreateProject(root, "O", "", "");
  scratch_.write("pub/P.prj/trvsfold.pub", "[FOLDER=f]\nDIR=f\n");
  TVHandle* project = FindProject(root, "P");
  OpenProject(project);
  TVHandle* folder = FindFolder(project, "f");
  OpenFolder(folder);
  const auto elsewhere = [&](void (*change)(TVHandle*)) {
    EXPECT_EQ(support::inProcess([&] { return change(openRoot("pub")), 0; }), 0);
  };
  elsewhere([](TVHandle* in) {
    DestroyProject(FindProject(in, "P"));
    CreateProject(in, "P", "", "");
  });
  scratch_.write("pub/P0.prj/trvsfold.pub", "[FOLDER=f]\nDIR=moved\n");
  AddExistingArchive(folder, "w", "/v/w_v");
  EXPECT_EQ(scratch_.shown("pub/P0.prj/moved/trvsfold.pub"), "[DOCUMENT=/v;w_v;;w]\n");
  AddExistingArchive(project, "w", "/v/w_v");
  EXPECT_EQ(support::workfileNames(scratch_.openProject("P")), Names{"w"});

  for (const bool adds : {true, false}) {
    CreateProject(root = openRoot("pub"), "P", "", "");
    OpenProject(project = FindProject(root, "P"));
    elsewhere([](TVHandle* in) { DestroyProject(FindProject(in, "P")); });
    const auto before = scratch_.everything();
    adds ? AddExistingArchive(project, "lost", "/v/w_v") : SetProjectVCSDirs(project, "/v");
    EXPECT_EQ(string(FoldapiLastMessage()).substr(0, 26), "P cannot be changed, since");
    EXPECT_EQ(scratch_.changedSince(before), Names());
    EXPECT_EQ(support::projectNames(root), Names{"O"});
  }
}

// A real fault: its own lock kept a private folder from being read again.
TEST_F(Records, APrivateFolderThatAnotherProcessChangedTakesEdits) {
  CreateProject(openRoot("pub"), "P", "", "");
  scratch_.write("prv/P.prj/trvsfold.prv", "[FOLDER=mine]\nDIR=mine\n");
  const string old = "[DOCUMENT=/v;old_v;;old]\n";
  scratch_.write("prv/P.prj/mine/trvsfold.prv", old);
  TVHandle* folder = FindFolder(scratch_.openProject("P"), "mine");
  OpenFolder(folder);
  scratch_.write("prv/P.prj/mine/trvsfold.prv", old + "[DOCUMENT=/v;b_v;;b]\n");
  DestroyArchive(FindArchiveByWorkName(folder, "old"));
  EXPECT_EQ(support::workfileNames(folder), Names{"b"});
  EXPECT_EQ(scratch_.shown("prv/P.prj/mine/trvsfold.prv"), kHead + "[DOCUMENT=/v;b_v;;b]\n");
}

}  // namespace
