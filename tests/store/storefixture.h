// store/storefixture.h: a database in a directory of its own, written and read as plain text.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/childlist.h"
#include "runtime/assertion.h"
#include "store/52arfld.h"
#include "store/52proj.h"
#include "store/52root.h"
#include "store/format52.h"
#include "support/files.h"
#include "support/handles.h"
#include "support/recordingsink.h"

namespace store_test {

using namespace foldapi;
using support::replaced;

class Store : public testing::Test {
 protected:
  Store() {
    registerFormat52();
    setAssertionTarget([](const char* text) { assertions += text; });
    assertions.clear();
  }
  ~Store() override { setAssertionTarget(nullptr); }

  std::string path(std::string_view name) const { return directory / name; }
  // Line ends are LF here and CR LF on disk.
  void put(std::string_view name, std::string_view text) const {
    support::writeFile(path(name), replaced(text, "\n", "\r\n"));
  }
  std::string get(std::string_view name) const {
    return replaced(support::readFile(path(name)), "\r\n", "\n");
  }
  // Paths in what comes back are relative to the directory.
  std::string told() { return shortened(sink.told()); }

  TVProjectRootHandle makeRoot() {
    return TVProjectRootHandle::create(path("pub"), path("prv"), theNullHandle(),
                                       {.sink = &sink, .version = kFormat52});
  }
  // A root with the one project P, whose files are in pub/p and prv/p.
  void putProject(const std::string& config = "") const {
    put("pub/trvsproj.pub", "[Project=P]\nCFG=" + config + "\nDIR=p\n");
    put("prv/trvsproj.prv", "[Project=P]\nCFG=\nDIR=p\n");
  }

  // The children of a handle, one line each in sorted order: what it is, then its fields.
  // Read by a use of its own; where there is none before, the files are read.
  std::string listing(const TVHandle& handle) const {
    TVHandle fresh(handle);
    fresh.open();
    return listingOfOpen(fresh);
  }
  std::string listingOfOpen(TVHandle& handle) const {
    std::string text;
    for (const TVHandle* child : support::children(handle)) text += line(*child) + "\n";
    return shortened(text);
  }
  // The child of that name. The handle stays open.
  TVHandle& child(TVHandle& handle, const char* name) {
    handle.open();
    TVHandle& child = support::child(handle, name);
    EXPECT_FALSE(child.isNull()) << "no child " << name;
    return child;
  }

  support::TemporaryDirectory directory;
  support::ScopedEnvironment noCache{"TRVS_TVAPI_NOCACHE", "1"};
  support::RecordingSink sink;
  static inline std::string assertions;

 private:
  std::string shortened(const std::string& text) const {
    return replaced(text, directory / "", "");
  }

  static std::string line(const TVHandle& handle) {
    if (const auto* project = handle.as<TVProjectFolder>()) {
      const auto* stored = static_cast<const TVProjectFolder52*>(project);
      return "project " + project->folderName().str() + "|" + project->config().path.str() + "|" +
             project->publicWorkDir().str() + "|" + project->privateWorkDir().str() + "|" +
             stored->storageDir(Side::kPublic).str() + "|" +
             stored->storageDir(Side::kPrivate).str();
    }
    if (const auto* folder = handle.as<TVArchiveFolder>()) {
      const auto* stored = static_cast<const TVArchiveFolder52*>(folder);
      return (folder->isPrivate() ? "private " : "public ") + folder->folderName().str() + "|" +
             folder->privateWorkDir().str() + "|" + stored->storageDir(Side::kPublic).str() + "|" +
             stored->storageDir(Side::kPrivate).str();
    }
    if (const auto* member = handle.as<TVArchiveMember>()) {
      const auto names = TVMemberNames::of(member->names());
      return "document " + names.archivePath.str() + "|" + names.archiveName.str() + "|" +
             names.workPath.str() + "|" + names.workName.str();
    }
    return "group " + handle.name().str();
  }
};

}  // namespace store_test
