// btkf520/archives.h: archives as a client sees them, for tests: one workfile and its archive,
// users that take turns, and callbacks that answer what a test tells them to.
#pragma once

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/toolkit.h"
#include "support/table.h"

namespace btkf520_test {

// The flags whose names stand in `names`, with blanks between.
inline uint32_t allOf(const std::string& names, const std::map<std::string, uint32_t>& flags) {
  uint32_t all = 0;
  for (const std::string& name : support::pieces(names, " ")) {
    if (!name.empty()) all |= flags.at(name);
  }
  return all;
}

inline std::string statusText(int32_t status) { return "status " + std::to_string(status); }

// A packed time of 2001, by minutes.
inline uint32_t minute(uint32_t count) {
  return 21u << 25 | 2u << 21 | (3 + count / 1440) << 16 | count / 60 % 24 << 11 | count % 60 << 5;
}

class Archives : public Toolkit {
 protected:
  void SetUp() override {
    Toolkit::SetUp();
    configure("");
    answers.clear();
    asked.clear();
    lines.clear();
  }
  void TearDown() override {
    for (int32_t id = 1; id <= TRVS_CALLBACK_UNDONE; ++id) TrvsRegisterCallback(id, nullptr);
    Toolkit::TearDown();
  }

  void configure(std::string_view text) {
    ASSERT_EQ(load("USERID = ENVIRONMENT BTKF_USER\n" + std::string(text)), TRVS_DONE);
    EXPECT_EQ(told(), "");
  }
  void become(const char* user) { user_.emplace("BTKF_USER", user); }

  // The archive and the workfile of all operations.
  std::string archive() const { return path("m.c_v"); }
  std::string workfile() const { return path("m.c"); }
  std::string target() const { return archive() + "(" + workfile() + ")"; }

  int32_t create(const char* description = nullptr) {
    return TrvsCreateArchive(archive().c_str(), workfile().c_str(), description, nullptr, minute(0),
                             0);
  }

  struct Put {
    const char* revision = nullptr;
    const char* label = nullptr;
    const char* description = nullptr;
    const char* change = nullptr;
    const char* group = nullptr;
    const char* author = nullptr;
    uint32_t time = 0;
    uint32_t flags = 0;
  };
  // Checks in what the workfile holds.
  int32_t put(const Put& how) { return putFrom(target(), how); }
  // The same for "archive(workfile)".
  static int32_t putFrom(const std::string& both, const Put& how) {
    return TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, how.revision, how.label,
                           how.description, how.change, how.group, how.author, how.time, how.flags);
  }
  int32_t put(std::string_view bytes, const Put& how) {
    support::setWritable(workfile(), true);
    write("m.c", bytes);
    return put(how);
  }

  // Makes the archive with what the workfile holds.
  int32_t createWithRevision(const Put& how, const char* owner = nullptr) {
    return TrvsCreateWithRevision(TRVS_CONTEXT, archive().c_str(), workfile().c_str(), owner,
                                  how.revision, how.label, how.description, how.change, how.group,
                                  how.author, how.time, how.flags);
  }

  struct Get {
    const char* revision = nullptr;
    uint32_t flags = TRVS_GET_OVERWRITE;
    const char* cutoff = nullptr;
    const char* newerThan = nullptr;
    const char* group = nullptr;
  };
  int32_t get(const Get& how) {
    return TrvsGetRevision(TRVS_CONTEXT, target().c_str(), 0, how.revision, how.cutoff,
                           how.newerThan, 0, how.group, 0, how.flags);
  }
  static int32_t getTo(const std::string& both, uint32_t flags) {
    return TrvsGetRevision(TRVS_CONTEXT, both.c_str(), 0, nullptr, nullptr, nullptr, 0, nullptr, 0,
                           flags);
  }
  // The bytes of a revision, or statusText().
  std::string content(const char* revision) {
    const int32_t status = get({.revision = revision});
    return status == TRVS_DONE ? support::readFile(workfile()) : statusText(status);
  }

  // The same without a workfile.
  static std::string contentIn(const std::string& archive, const std::string& revision) {
    std::string bytes;
    const auto take = [](void* to, const void* data, uint64_t size) {
      static_cast<std::string*>(to)->append(static_cast<const char*>(data),
                                            static_cast<size_t>(size));
      return int32_t{TRVS_GO_ON};
    };
    const int32_t status =
        TrvsReadRevision(TRVS_CONTEXT, archive.c_str(), revision.c_str(), -1, take, &bytes, 0);
    return status == TRVS_DONE ? bytes : statusText(status);
  }

  int32_t lock(const char* revision = nullptr, const char* group = nullptr) {
    return TrvsLockRevision(TRVS_CONTEXT, archive().c_str(), revision, group);
  }
  int32_t unlock(const char* user = nullptr, const char* revision = nullptr) {
    return TrvsUnLockRevision(TRVS_CONTEXT, archive().c_str(), revision, user);
  }
  int32_t label(const char* name, const char* revision, uint32_t flags = 0) {
    return TrvsSetLabel(TRVS_CONTEXT, archive().c_str(), name, revision, flags);
  }
  int32_t deleteRange(const char* range) {
    return TrvsDeleteRevisions(TRVS_CONTEXT, archive().c_str(), range);
  }

  int32_t promote(const char* group, uint32_t flags = 0) {
    return TrvsPromoteRevision(TRVS_CONTEXT, archive().c_str(), group, flags);
  }
  int32_t setAttributes(uint32_t set, uint32_t cleared = 0) {
    return TrvsSetAttributes(TRVS_CONTEXT, archive().c_str(), set, cleared);
  }
  int32_t verify() const { return TrvsVerifyArchive(TRVS_CONTEXT, archive().c_str(), nullptr, 0); }

  // An archive with 1.0, 1.1, 1.2 of contents "0\n", "1\n", "2\n", and 1.1.1.0 and 1.1.2.0; locks
  // are not checked. Minutes 1 to 5 are their times, of 2001-02-03.
  void makeBranches() {
    ASSERT_EQ(create("motor"), TRVS_DONE);
    ASSERT_EQ(setAttributes(0, TRVS_ATTRIBUTE_CHECK_LOCKS), TRVS_DONE);
    uint32_t time = 0;
    for (const char* bytes : {"0\n", "1\n", "2\n"}) {
      ASSERT_EQ(put(bytes, {.time = minute(++time)}), TRVS_DONE);
    }
    ASSERT_EQ(put("b\n", {.revision = "1.1", .time = minute(4)}), TRVS_DONE);
    ASSERT_EQ(put("c\n", {.revision = "1.1", .time = minute(5)}), TRVS_DONE);
  }

  // A list that a function hands out, as "a b c"; or statusText().
  template <typename Fetch>
  static std::string list(const Fetch& fetch) {
    std::string buffer;
    if (const int32_t status = grown(&buffer, fetch)) return statusText(status);
    std::string result;
    for (const char* name = buffer.data(); *name != '\0'; name += std::strlen(name) + 1) {
      result.append(result.empty() ? "" : " ").append(name);
    }
    return result;
  }
  std::string revisions(const char* range = nullptr) const {
    return list([&](char* buffer, int32_t size) {
      return TrvsListRevisions(TRVS_CONTEXT, archive().c_str(), range, buffer, size);
    });
  }
  std::string labels() const {
    return list([&](char* buffer, int32_t size) {
      return TrvsListLabels(TRVS_CONTEXT, archive().c_str(), buffer, size);
    });
  }
  // The revision tree: "1.1^+ ann #REL ~dev", where "^" is a head, "+" has a branch, "!" is a
  // locker; deeper levels stand in "<>".
  std::string tree() const { return treeOf(target()); }
  static std::string treeOf(const std::string& archive) {
    TrvsRevTree* first = nullptr;
    const int32_t status = TrvsRevTreeInfo(TRVS_CONTEXT, archive.c_str(), &first, TRVS_TREE_FETCH);
    if (status != TRVS_DONE) return statusText(status);
    std::string result;
    int level = 1;
    for (const TrvsRevTree* record = first; record != nullptr; record = record->next) {
      for (; level < record->level; ++level) result += "<";
      for (; level > record->level; --level) result += ">";
      const auto has = [record](int flag) { return (record->flags & flag) != 0; };
      if (has(TRVS_TREE_REVISION)) result.append(result.empty() ? "" : " ").append(record->text);
      if (has(TRVS_TREE_HEAD)) result += "^";
      if (has(TRVS_TREE_HAS_BRANCH)) result += "+";
      if (has(TRVS_TREE_LOCKER)) result.append("!").append(record->text);
      if (has(TRVS_TREE_LABEL)) result.append("#").append(record->text);
      if (has(TRVS_TREE_GROUP)) result.append("~").append(record->text);
    }
    for (; level > 1; --level) result += ">";
    EXPECT_EQ(TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &first, TRVS_TREE_RETURN), TRVS_DONE);
    EXPECT_EQ(first, nullptr);
    return result;
  }

  bool isWorkfileWritable() const { return support::isWritable(workfile()); }

  // Has all callbacks of questions answer from `answers`, by id, 0 if nothing stands there; what
  // they are asked is added to `asked`, and lines of reports to `lines`.
  static void answerQuestions() {
    const auto on = [](int32_t id, auto callback) {
      TrvsRegisterCallback(id, anyCallback(+callback));
    };
    on(TRVS_CALLBACK_CONTINUE, [] { return reply(TRVS_CALLBACK_CONTINUE, ""); });
    on(TRVS_CALLBACK_RETRY, [](int32_t code, const char*) {
      return reply(TRVS_CALLBACK_RETRY, code == TRVS_BUSY_ARCHIVE ? "busy " : "branch ");
    });
    on(TRVS_CALLBACK_OUTPUT, [](const char* text, int32_t kind) {
      lines.push_back(std::to_string(kind) + " " + text);
      return reply(TRVS_CALLBACK_OUTPUT, "");
    });
    on(TRVS_CALLBACK_OVERWRITE, [](const char*, const char*, char**) {
      return reply(TRVS_CALLBACK_OVERWRITE, "overwrite ");
    });
    on(TRVS_CALLBACK_MOVE_LABEL, [](const char* name, const char*, char** other) {
      if (!otherLabel.empty()) *other = otherLabel.data();
      return reply(TRVS_CALLBACK_MOVE_LABEL, "move:" + std::string(name) + " ");
    });
    on(TRVS_CALLBACK_FREE, [](char* text) {
      const std::string freed = "free:" + std::string(text) + " ";
      otherLabel.clear();
      return reply(TRVS_CALLBACK_FREE, freed);
    });
    on(TRVS_CALLBACK_CHECK_IN, [](const char*, int32_t value) {
      return reply(TRVS_CALLBACK_CHECK_IN, value == TRVS_UNCHANGED ? "unchanged " : "? ");
    });
    on(TRVS_CALLBACK_OPERATION,
       [](const char* event, const char*, const char*, const char* what, int32_t) {
         return reply(TRVS_CALLBACK_OPERATION, "done:" + std::string(event) + ":" + what + " ");
       });
    on(TRVS_CALLBACK_TRIGGER, [](const char* event, const char* value) {
      return reply(TRVS_CALLBACK_TRIGGER, "may:" + std::string(event) + ":" + value + " ");
    });
    on(TRVS_CALLBACK_MESSAGE, [](int32_t code) {
      return reply(TRVS_CALLBACK_MESSAGE, code == TRVS_NO_JOURNAL ? "no journal " : "? ");
    });
    on(TRVS_CALLBACK_TEXT, [](const char* text) {
      const bool isLink =
          std::string(text).ends_with(" is a link of another user to a file that is not his");
      return reply(TRVS_CALLBACK_TEXT, isLink ? "link " : "? ");
    });
  }

  static inline std::map<int32_t, int32_t> answers;
  static inline std::string asked;
  static inline std::string otherLabel;
  static inline std::vector<std::string> lines;

 private:
  static int32_t reply(int32_t id, const std::string& question) {
    asked += question;
    return answers[id];
  }

  std::optional<support::ScopedEnvironment> user_{std::in_place, "BTKF_USER", "ann"};
};

}  // namespace btkf520_test
