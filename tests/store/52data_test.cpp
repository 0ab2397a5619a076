// The four text files: how they are opened, what their records become, and what keeps them whole.
#include "store/52data.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "os/systemcalls.h"
#include "store/storefixture.h"
#include "support/limits.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace store_test {
namespace {

using Access = TVDataFile::Access;
using Missing = TVDataFile::Missing;
using Failures = TVDataFile::Failures;

// Opening -----------------------------------------------------------------------------------------

class OpenLocked : public Store {
 protected:
  OpenLocked() { put("F", "text\n"); }

  int open(const char* name, Access access, Missing missing = Missing::kMade,
           Failures failures = Failures::kTold) {
    TVHandle context(&sink, nullptr);
    TVDataFile file(context, missing, failures, access);
    stream.reset();
    return file.openLocked(path(name), &stream);
  }
  std::unique_ptr<TextFile> hold(TextFile::Access access) const {
    TextFile::Failure why;
    return TextFile::open(path("F"), access, &why);
  }

  std::unique_ptr<TextFile> stream;
};

// Another process, as far as locks can tell.
class Holder {
 public:
  Holder(const std::string& path, int lock) : file_(::open(path.c_str(), O_RDONLY)) { take(lock); }
  ~Holder() { ::close(file_); }
  void take(int lock) const { EXPECT_EQ(::flock(file_, lock), 0); }

 private:
  int file_;
};

TEST_F(OpenLocked, ReportsWhyAFileCannotBeOpened) {
  put("readonly", "");
  ::chmod(path("readonly").c_str(), 0444);
  std::filesystem::create_directory(path("dir"));
  const auto message = [](int code, const char* name) {
    return "error " + FolderFileMessage(code, name).str() + "\n";
  };
  const struct {
    const char* name;
    Access access;
    Missing missing;
    int code;
  } cases[] = {
      {"F", Access::kRead, Missing::kRefused, 0},
      {"F", Access::kUpdate, Missing::kMade, 0},
      {"F/x/G", Access::kRead, Missing::kMade, 5},
      {"none", Access::kRead, Missing::kMade, 6},
      {"none", Access::kRead, Missing::kRefused, 8},
      {"none", Access::kUpdate, Missing::kRefused, 8},
      {"readonly", Access::kUpdate, Missing::kMade, 7},
      {"readonly", Access::kRead, Missing::kMade, 0},
      {"dir", Access::kUpdate, Missing::kMade, 7},
      {"dir", Access::kRead, Missing::kMade, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.code));
    EXPECT_EQ(open(c.name, c.access, c.missing), c.code);
    EXPECT_EQ(stream != nullptr, c.code == 0);
    EXPECT_EQ(told(), c.code == 0 ? "" : message(c.code, c.name));
    EXPECT_EQ(open(c.name, c.access, c.missing, Failures::kNotTold) != 0, c.code != 0);
    EXPECT_EQ(told(), "");
  }
  put("torn", "[Project=P]\nCFG=");
  {
    int reads = 0;
    const os_test::SystemCalls calls([&reads](const os_test::Call& call) {
      return call.name == "pread" && ++reads == 2 ? EIO : 0;  // After that of the last byte.
    });
    EXPECT_EQ(open("torn", Access::kUpdate), 7);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(told(), message(7, "torn"));
  }
  EXPECT_EQ(open("a/b/new", Access::kUpdate), 0);
  EXPECT_EQ(get("a/b/new"), "");
  EXPECT_NE(open("c/d/new", Access::kRead), 0);
  EXPECT_TRUE(std::filesystem::is_directory(path("c/d")));
}

TEST_F(OpenLocked, TellsAnUpdaterOfReadersAtOnce) {
  const Holder reader(path("F"), LOCK_SH);
  EXPECT_EQ(open("F", Access::kUpdate), 7);
  EXPECT_TRUE(told().starts_with("error Unable to write F."));
  EXPECT_EQ(open("F", Access::kRead), 0);
  EXPECT_EQ(told(), "");
}

TEST_F(OpenLocked, LetsAReaderPassAnotherProcessButNotThisOne) {
  {
    const Holder updater(path("F"), LOCK_EX);
    EXPECT_EQ(open("F", Access::kRead), 0);
    EXPECT_EQ(told(), "");
  }
  const auto self = hold(TextFile::Access::kUpdate);
  EXPECT_EQ(open("F", Access::kRead, Missing::kMade, Failures::kNotTold), 6);
  EXPECT_EQ(told(), "");
}

TEST_F(OpenLocked, WaitsForAnUpdaterWithNotices) {
  constexpr const char* kBusy =
      "error Cannot lock folder file F. The file is in use by another process. \n";
  const auto notices = [](const std::string& kinds) {
    std::string text;
    for (const char kind : kinds) text += std::string("retry ") + kind + " F\n";
    return text;
  };
  const struct {
    int last;    // The notice at which something happens.
    bool frees;  // The updater is done, or else the sink gives up.
    int code;
    std::string told;
  } cases[] = {{1, true, 0, notices("13")},
               {3, true, 0, notices("1223")},
               {1, false, 9, notices("13") + kBusy},
               {2, false, 9, notices("123") + kBusy},
               {99, false, 9, notices("12222222223") + kBusy}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.last);
    Holder updater(path("F"), LOCK_EX);
    int count = 0;
    sink.onRetry = [&](int) {
      if (++count != c.last) return 1;
      if (c.frees) updater.take(LOCK_UN);
      return c.frees ? 1 : 0;
    };
    EXPECT_EQ(open("F", Access::kUpdate), c.code);
    EXPECT_EQ(told(), c.told);
    EXPECT_EQ(stream != nullptr, c.frees);
    stream.reset();
  }
  const Holder updater(path("F"), LOCK_EX);
  EXPECT_EQ(open("F", Access::kUpdate, Missing::kMade, Failures::kNotTold), 6);
  EXPECT_EQ(told(), "");
}

// A file that was taken for reading only is good as long as nobody else needs it.
TEST_F(OpenLocked, AsksAgainAtTheFirstWriteAfterAReadOnlyRetry) {
  for (const bool readerGoes : {true, false}) {
    Holder other(path("F"), LOCK_EX);
    sink.onRetry = [&](int) {
      other.take(LOCK_SH);
      return 1;
    };
    ASSERT_EQ(open("F", Access::kUpdate), 0);
    EXPECT_EQ(told(), "retry 1 F\nretry 3 F\n");
    if (readerGoes) other.take(LOCK_UN);
    stream->append("more\n");
    EXPECT_EQ(stream->commit(), readerGoes);
    EXPECT_EQ(get("F"), "text\nmore\n");
    stream.reset();
  }
}

TEST_F(OpenLocked, TellsThatThereAreNoLocksAndThatALinkIsNotFollowed) {
  put("F", "# text\n");
  for (const bool isLink : {false, true}) {
    if (isLink) {
      if (::geteuid() != 0) GTEST_SKIP() << "only root can give links away";
      std::filesystem::rename(path("F"), path("own"));
      std::filesystem::create_symlink("own", path("F"));
      ASSERT_EQ(::lchown(path("F").c_str(), 65534, 65534), 0);
    }
    const os_test::SystemCalls calls(
        [=](const os_test::Call& call) { return call.name == "flock" && !isLink ? ENOLCK : 0; });
    const std::string why = std::string("F cannot be changed, since ") +
                            (isLink ? "it is a link of another user to a file that is not his."
                                    : "the file system that it is on has no locks.");
    EXPECT_EQ(open("F", Access::kRead), 0);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(open("F", Access::kUpdate), 7);
    EXPECT_EQ(told(), "error " + why + "\n");
    TVHandle context(&sink, nullptr);
    TVProjectConfig config(path("F"));
    appendArchiveDirs(&config, "dir", context);
    EXPECT_FALSE(appendArchiveSuffix(config, "c", "_v", TellUser::kFailures, context));
    const std::string text = told();
    for (const std::string& told : {"error " + why, "\nnotice " + why}) {
      EXPECT_NE(text.find(told), std::string::npos) << text;
    }
    EXPECT_EQ(get("F"), "# text\n");
  }
}

// What the records of both files make -------------------------------------------------------------

class Merge : public Store {};

TEST_F(Merge, ProjectsComeFromThePublicFile) {
  const std::string full = "[Project=A]\nCFG=a.cfg\nDIR=a\nWKDIR=wa\n";
  const std::string last = "[Project=Z]\nCFG=z.cfg\nDIR=/z\n";
  const std::string z = "project Z|z.cfg|||/z|\n";
  const std::string a = "project A|a.cfg|wa|wa|pub/a|\n";
  const struct {
    const char* why;
    std::string pub, prv;
    int answer;
    std::string want, told;
  } cases[] = {
      {"public only", full + last, "", 1, a + z, ""},
      {"in both, private first wins", full + last,
       "[Project=Z]\nCFG=\nDIR=zz\nWKDIR=wz\n[Project=A]\nCFG=\nDIR=aa\nWKDIR=wb\nOWNERSHIP="
       "PUBLIC\n",
       1, "project A|a.cfg|wa|wb|pub/a|prv/aa\nproject Z|z.cfg||wz|/z|prv/zz\n", ""},
      {"private only", last, full, 1, z, ""},
      {"names are case sensitive", full, "[Project=a]\nCFG=\nDIR=aa\nWKDIR=wb\n", 1, a, ""},
      {"a private record without DIR", full, "[Project=A]\nCFG=\nWKDIR=wb\n", 1, a, ""},
      {"a private record without CFG", full, "[Project=A]\nDIR=aa\nWKDIR=wb\n", 1, a, ""},
      {"no DIR, go on", "[Project=B]\nCFG=\nDIR\n" + last, "", 1, z,
       "ask 10 Corrupted folder file B. Missing DIR= field.\n"},
      {"no CFG, go on", "[Project=B]\nDIR=b\n" + last, "", 1, z,
       "ask 11 Corrupted folder file B. Missing CONFIG= field.\n"},
      {"no DIR, stop", full + "[Project=B]\nCFG=\n" + last, "[Project=A]\nCFG=\nDIR=aa\nWKDIR=wb\n",
       2, a,
       "ask 10 Corrupted folder file B. Missing DIR= field.\n"
       "error An error occured while attempting to read pub/trvsproj.pub.\n"},
      {"twice: only the directory follows", full + "[Project=A]\nCFG=b\nDIR=/b\nWKDIR=wb\n", "", 1,
       "project A|a.cfg|wa|wa|/b|\n", ""},
      {"the master", "[Project=Master Project]\nCFG=m.cfg\nDIR=m\n", "", 1,
       "project Master Project|m.cfg|||pub/m|\n", ""},
      {"keys of any case, unknown and twice",
       "[PROJECT=A]\nwkdir=x\nNOTE=1\ndir=x\nCfg=a.cfg\nDIR=a\nwkDir=wa\n", "", 1, a, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    put("pub/trvsproj.pub", c.pub);
    put("prv/trvsproj.prv", c.prv);
    sink.answer = c.answer;
    TVProjectRootHandle root = makeRoot();
    EXPECT_EQ(listing(root), c.want);
    EXPECT_EQ(told(), c.told);
    root.open();
    put("pub/trvsproj.pub", c.pub + "\n");
    EXPECT_EQ(listing(root), c.want) << "read again";
    told();
    const bool isMaster = c.want.starts_with("project Master");
    EXPECT_EQ(root.object()->rootConfig().path.str(), isMaster ? "m.cfg" : "");
  }
}

TEST_F(Merge, OthersMayUpdateWhatIsBeingParsed) {
  put("pub/trvsproj.pub", "[Project=B]\nCFG=\nDIR\n");
  int free = 0;
  sink.onQuestion = [&] {
    const int file = ::open(path("pub/trvsproj.pub").c_str(), O_RDONLY);
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) ++free;
    ::close(file);
  };
  TVProjectRootHandle root = makeRoot();
  listing(root);
  EXPECT_EQ(free, 1);
  sink.onQuestion = nullptr;
}

TEST_F(Merge, FoldersComeFromEitherFile) {
  putProject();
  const std::string a = "[Folder=A]\nDIR=a\nWKDIR=wa\n";
  const std::string overlay = "[Folder=A]\nDIR=aa\nWKDIR=wb\nOWNERSHIP=PUBLIC\n";
  const std::string alone = "[Folder=A]\nDIR=aa\nWKDIR=wb\n";
  const std::string d = "[Document=v;d_v;w;d.c]\n";
  const std::string both = "public A|wa|pub/p/a|prv/p/aa\n";
  const struct {
    const char* why;
    std::string pub, prv, want;
  } cases[] = {
      {"public only", a, "", "public A|wa|pub/p/a|\n"},
      {"in both, marked", a, overlay, both},
      {"in both, not marked", a, alone, both},
      {"private only, marked", "", overlay, ""},
      {"any mark counts", "", alone + "ownership\n", ""},
      {"private only, not marked", "", alone, "private A|wb||prv/p/aa\n"},
      {"public twice", a + "[Folder=A]\nDIR=/b\nWKDIR=wb\n", "", "public A|wa|/b|\n"},
      {"private twice", "", alone + "[Folder=A]\nDIR=/b\nWKDIR=c\n", "private A|wb||/b\n"},
      {"no DIR", "[Folder=A]\nWKDIR=x\n" + d, "[Folder=B]\n", "document v|d_v|w|d.c\n"},
      {"no name", "[Folder]\nDIR=a\n" + d, "", "document v|d_v|w|d.c\n"},
      {"a document of that name", "[Document=v;a_v;w;A]\n", alone,
       "private A|wb||prv/p/aa\ndocument v|a_v|w|A\n"},
      {"documents of both files", d, d + "[Document=;;;]\n",
       "document |||\ndocument v|d_v|w|d.c\n"},
      {"further separators", "[Document=v;a_v;w;a;b.c]\n", "", "document v|a_v|w|a;b.c\n"},
      {"too few separators", "[Document=v;a_v;a.c]\n[Document]\n" + d, "",
       "document v|d_v|w|d.c\n"},
      {"absolute", "[Folder=A]\nDIR=V:\\a\n", "", "public A||V:\\a|\n"},
      {"empty DIR", "[Folder=A]\nDIR=\n", "", "public A|||\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    put("pub/p/trvsfold.pub", c.pub);
    put("prv/p/trvsfold.prv", c.prv);
    TVProjectRootHandle root = makeRoot();
    TVHandle& project = child(root, "P");
    EXPECT_EQ(listing(project), c.want);
    project.open();
    put("pub/p/trvsfold.pub", c.pub + "\n");
    put("prv/p/trvsfold.prv", c.prv + "\n");
    EXPECT_EQ(listing(project), c.want) << "read again";
    EXPECT_EQ(told(), "");
  }
}

// What can't be read is not lost ------------------------------------------------------------------

class Unread : public Store {};

constexpr const char* kTwo = "[Project=A]\nCFG=\nDIR=a\n[Project=B]\nCFG=\nDIR=b\n";

TEST_F(Unread, AnAbortedReadSweepsNothingAndRefusesTheUpdate) {
  put("pub/trvsproj.pub", kTwo);
  put("prv/trvsproj.prv", "");
  TVProjectRootHandle root = makeRoot();
  root.open();
  const std::string want = "project A||||pub/a|\nproject B||||pub/b|\n";
  EXPECT_EQ(listing(root), want);
  const std::string broken = "[Project=C]\nDIR=c\n" + std::string(kTwo);
  put("pub/trvsproj.pub", broken);
  sink.answer = 0;
  EXPECT_EQ(listing(root), want);
  told();
  const auto create = [&] {
    return TVProjectFolderHandle::create("N", TVProjectConfig(), "", "", root);
  };
  EXPECT_TRUE(create().isNull());
  EXPECT_TRUE(told().ends_with("notice Corrupted folder file pub/trvsproj.pub.\n"));
  EXPECT_EQ(get("pub/trvsproj.pub"), broken);
  EXPECT_EQ(get("prv/trvsproj.prv"), "");
  sink.answer = 1;
  {
    const support::SizeLimit full(10);
    EXPECT_TRUE(create().isNull());
  }
  EXPECT_EQ(listing(root), want);
  EXPECT_FALSE(create().isNull());
  EXPECT_TRUE(get("pub/trvsproj.pub").starts_with(broken + "[Project=N]\n"));
}

TEST_F(Unread, AFileOfAnotherFormIsNotOneWithoutRecords) {
  using namespace std::string_literals;
  const std::string text = replaced(kTwo, "\n", "\r\n");
  std::string wide;
  for (const char c : text) wide += c + "\0"s;
  const std::string want = "project A||||pub/a|\nproject B||||pub/b|\n";
  for (const std::string& form :
       {"\xFF\xFE"s + wide, "\xFE\xFF\0"s + wide.substr(0, wide.size() - 1), wide,
        replaced(kTwo, "\n", "\r"), replaced(kTwo, "\n", "\r") + "\n",
        "\n" + replaced(kTwo, "\n", "\r"), "A remark\n"s}) {
    SCOPED_TRACE(support::escaped(form));
    for (const char* file : {"pub/trvsproj.pub", "prv/trvsproj.prv"}) {
      put("pub/trvsproj.pub", kTwo);
      put("prv/trvsproj.prv", "");
      TVProjectRootHandle root = makeRoot();
      root.open();
      support::writeFile(path(file), form);
      EXPECT_EQ(listing(root), want);
      EXPECT_TRUE(TVProjectFolderHandle::create("N", TVProjectConfig(), "", "", root).isNull());
      EXPECT_EQ(support::readFile(path(file)), form);
      EXPECT_EQ(listing(root), want);
    }
  }
  for (const char* text8 : {"", "\n \n", "[Project=A]\nCFG=\nDIR=a\n"}) {
    support::writeFile(path("pub/trvsproj.pub"), "\xEF\xBB\xBF"s + text8);
    put("prv/trvsproj.prv", "");
    TVProjectRootHandle root = makeRoot();
    EXPECT_EQ(listing(root), *text8 == '[' ? "project A||||pub/a|\n" : "");
    EXPECT_FALSE(TVProjectFolderHandle::create("N", TVProjectConfig(), "", "", root).isNull());
  }
}

// A real fault: the children had gone with their handles, and the rewrite emptied the file.
TEST_F(Unread, AnEditOfWhatNobodyUsesWritesAllThatIsStored) {
  put("pub/trvsproj.pub", kTwo);
  put("prv/trvsproj.prv", "");
  TVProjectRootHandle root = makeRoot();
  TVHandle b(child(root, "B"));
  root.close();
  ASSERT_TRUE(root.object()->beginEdit(root));
  root.markDirty();
  EXPECT_TRUE(root.object()->endEdit(root));
  EXPECT_EQ(listing(root), "project A||||pub/a|\nproject B||||pub/b|\n");
}

TEST_F(Unread, StampsTellOwnWritesFromThoseOfOthers) {
  putProject();
  put("pub/p/trvsfold.pub", "[Folder=A]\nDIR=a\n");
  TVProjectRootHandle root = makeRoot();
  TVHandle& project = child(root, "P");
  project.open();
  EXPECT_FALSE(project.object()->isStale(project));
  const auto create = [&](const char* name, TVPrivacy privacy) {
    return TVArchiveFolderHandle::create(name, "", privacy, project);
  };
  ASSERT_FALSE(create("B", TVPrivacy::kPublic).isNull());
  auto* a = child(project, "A").as<TVArchiveFolder>();
  a->setPrivateWorkDir("yet to be written");
  a->setDirty(true);
  EXPECT_FALSE(project.object()->isStale(project));
  put("pub/p/trvsfold.pub", replaced(get("pub/p/trvsfold.pub"), "FOLDER=B", "FOLDER=C"));
  EXPECT_TRUE(project.object()->isStale(project));
  EXPECT_FALSE(create("D", TVPrivacy::kPrivate).isNull());
  EXPECT_EQ(listingOfOpen(project),
            "public A|yet to be written|pub/p/a|\npublic C||pub/p/B|\nprivate D|||prv/p/D\n");
  EXPECT_FALSE(project.object()->isStale(project));
}

// The records of what is destroyed are cut out of files that say the rest, and what stays is what a
// rewrite gives. Only files that change are replaced then.
TEST_F(Unread, CutsOutWhatIsDestroyed) {
  putProject();
  std::string records = "[Folder=A]\nDIR=a\n[Folder=B]\nDIR=b\n";
  for (int i = 0; i < 30; ++i) {
    records += "[Document=v;d" + std::to_string(i) + "_v;w;d" + std::to_string(i) + ".c]\n";
  }
  put("pub/p/trvsfold.pub", records);
  TVProjectRootHandle root = makeRoot();
  TVHandle& project = child(root, "P");
  project.open();
  TVObject& object = *project.object();
  const auto edit = [&](const auto& change) {
    EXPECT_TRUE(object.beginEdit(project));
    change();
    object.setDirty(true);
    return object.endEdit(project);
  };
  const auto destroy = [&](int index) {
    std::vector<TVObject*> all = object.childrenInOrder();
    std::erase_if(all, [](TVObject* each) { return !each->isKindOf(&TVArchiveMember::theClass); });
    all[static_cast<size_t>(index) % all.size()]->destroyObject(project, TVRemoval::kStored);
  };
  const auto destroyNamed = [&](const char* name) {
    support::child(project, name).object()->destroyObject(project, TVRemoval::kStored);
  };
  const auto both = [&] { return get("pub/p/trvsfold.pub") + get("prv/p/trvsfold.prv"); };
  const auto inode = [&](const char* name) {
    struct stat status = {};
    EXPECT_EQ(::stat(path(name).c_str(), &status), 0);
    return status.st_ino;
  };
  const struct {
    const char* why;
    std::function<void()> change;
    bool isCut;
  } cases[] = {
      {"the first", [&] { destroy(0); }, true},
      {"the last", [&] { destroy(28); }, true},
      {"some",
       [&] {
         for (const int i : {3, 9, 4}) destroy(i);
       },
       true},
      {"in both files", [&] { destroyNamed("A"); }, false},
      {"an archive and a changed folder",
       [&] {
         destroy(5);
         support::child(project, "B").as<TVArchiveFolder52>()->setPrivateWorkDir("w");
       },
       false},
      {"in a file that ends in another way",
       [&] {
         support::writeFile(path("pub/p/trvsfold.pub"), get("pub/p/trvsfold.pub"));
         destroy(2);
       },
       false},
      {"more than can be looked for",
       [&] {
         for (int i = 0; i < 17; ++i) destroy(0);
       },
       false},
  };
  EXPECT_TRUE(edit([&] { object.children().noteChange(); }));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const ino_t before = inode("prv/p/trvsfold.prv");
    const std::string old = both();
    EXPECT_TRUE(edit(c.change));
    const std::string cut = both();
    EXPECT_NE(cut, old);
    EXPECT_EQ(inode("prv/p/trvsfold.prv") == before, c.isCut);
    EXPECT_TRUE(edit([&] { object.children().noteChange(); }));
    EXPECT_EQ(cut, both());
  }
  std::vector<TVHandle> last;
  for (const TVHandle* each : support::children(project)) {
    if (each->as<TVArchiveMember>() != nullptr) last.emplace_back(*each);
  }
  ASSERT_GE(last.size(), 2u);
  auto* const other = last[0].as<TVArchiveMember>();
  other->setNames(last[1].as<TVArchiveMember>()->names());
  EXPECT_TRUE(edit([&] { object.children().noteChange(); }));
  const std::string kept = both();
  EXPECT_TRUE(edit([&] { other->destroyObject(project, TVRemoval::kStored); }));
  EXPECT_EQ(both(), kept) << "the record of another that has the same names";
}

// A folder without a directory has no file: none that could change, and none that wasn't read.
TEST_F(Unread, ASideThatIsPassedOverIsReadForGood) {
  putProject();
  put("pub/p/trvsfold.pub", "[Folder=A]\nDIR=a\n");
  put("pub/p/a/trvsfold.pub", "[Document=v;d_v;w;d.c]\n");
  TVProjectRootHandle root = makeRoot();
  TVHandle& project = child(root, "P");
  TVHandle& folder = child(project, "A");
  folder.open();
  std::filesystem::remove(path("pub/p/a/trvsfold.pub"));
  std::filesystem::create_directory(path("pub/p/a/trvsfold.pub"));
  EXPECT_EQ(listing(folder), "document v|d_v|w|d.c\n") << "unread";
  put("pub/p/trvsfold.pub", "[Folder=A]\nDIR=\n");
  EXPECT_EQ(listing(project), "public A|||\n");
  EXPECT_TRUE(folder.object()->isStale(folder));
  EXPECT_EQ(listing(folder), "");
  EXPECT_FALSE(folder.object()->isStale(folder));
  // Without the public file private records find nothing to overlay: they count as unread.
  std::filesystem::remove(path("pub/p/trvsfold.pub"));
  put("prv/p/trvsfold.prv", "[Folder=A]\nDIR=a\nOWNERSHIP=PUBLIC\n");
  listing(project);
  EXPECT_FALSE(project.object()->readWasComplete());
}

}  // namespace
}  // namespace store_test
