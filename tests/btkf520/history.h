// btkf520/history.h: an archive beside plain copies of all it should hold.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "btkf520/archive/archive.h"
#include "support/files.h"
#include "support/slowarchive.h"

namespace btkf520_test {

inline btkf::Number number(std::string_view text) {
  return btkf::Number::parse(text).value_or(btkf::Number());
}

// Contents as a team's files have them: some lines or some bytes of the one before are changed.
class Contents {
 public:
  explicit Contents(unsigned seed) : random_(seed) {}

  size_t below(size_t limit) { return random_() % limit; }

  std::string text(size_t lines) {
    std::string result;
    for (; lines > 0; --lines) result += line();
    return result;
  }
  std::string bytes(size_t size) {
    std::string result(size, '\0');
    for (char& byte : result) byte = static_cast<char>(random_());
    return result;
  }
  // Replaces, adds or removes a passage.
  std::string changed(std::string content) {
    const size_t place = below(content.size() + 1);
    switch (below(3)) {
      case 0:
        return content.insert(place, line());
      case 1:
        return content.erase(place, below(90));
      default:
        return content.replace(place, below(40), bytes(below(40)));
    }
  }

 private:
  std::string line() {
    std::string result = "line " + std::to_string(random_()) + " of " + std::to_string(below(99));
    return result + (below(9) == 0 ? "\r\n" : "\n");
  }

  std::mt19937 random_;
};

// An archive in a directory of its own. Every operation opens it anew, as a process would.
class History {
 public:
  History() : path_(directory_ / "file.c_v") {
    const auto archive = btkf::Archive::forNew(path_);
    btkf::ArchiveModel model;
    model.workName = "file.c";
    EXPECT_EQ(archive->commit(model), TRVS_DONE);
  }

  const std::string& path() const { return path_; }
  const std::map<std::string, std::string>& plain() const { return plain_; }
  std::string file() const { return support::readFile(path_); }

  static std::unique_ptr<btkf::Archive> toRead(const std::string& path) {
    std::unique_ptr<btkf::Archive> archive;
    EXPECT_EQ(btkf::Archive::openToRead(path, &archive), TRVS_DONE);
    return archive;
  }
  std::unique_ptr<btkf::Archive> toRead() const { return toRead(path_); }
  std::unique_ptr<btkf::Archive> toUpdate() const {
    std::unique_ptr<btkf::Archive> archive;
    EXPECT_EQ(btkf::Archive::openToUpdate(path_, &archive), TRVS_DONE);
    return archive;
  }

  // Adds a revision after the tip of `branch`, which is made if there is none.
  static TrvsStatus add(const std::string& path, const std::string& branch,
                        std::string_view content, btkf::Revision revision) {
    std::unique_ptr<btkf::Archive> archive;
    if (const auto status = btkf::Archive::openToUpdate(path, &archive)) return status;
    btkf::ArchiveModel model = archive->takeModel();
    btkf::Branch* place = model.findBranch(number(branch));
    if (place == nullptr) place = &model.addBranch(number(branch));
    const btkf::Revision* const tip = place->tip();
    revision.number = tip == nullptr ? place->number.child(0) : tip->number.next();
    revision.content = archive->put(content);
    place->revisions.push_back(revision);
    return archive->commit(model);
  }
  void checkIn(const std::string& branch, const std::string& content) {
    ASSERT_EQ(add(path_, branch, content, {}), TRVS_DONE);
    plain_[toRead()->model().findBranch(number(branch))->tip()->number.text()] = content;
  }

  void change(const std::function<void(btkf::ArchiveModel*)>& edit) const {
    const auto archive = toUpdate();
    btkf::ArchiveModel model = archive->model();
    edit(&model);
    ASSERT_EQ(archive->commit(model), TRVS_DONE);
  }
  // With the branches that start there, and the labels of all that. By value: what is removed may
  // have held the text.
  void remove(std::string revision) {
    const auto isGone = [&](const std::string& each) {
      return each == revision || each.starts_with(revision + ".");
    };
    change([&](btkf::ArchiveModel* model) {
      for (btkf::Branch& branch : model->branches) {
        branch.revisions.eraseIf(
            [&](const btkf::Revision& each) { return isGone(each.number.text()); });
      }
      std::erase_if(model->labels,
                    [&](const btkf::Label& label) { return model->labelled(label) == nullptr; });
    });
    std::erase_if(plain_, [&](const auto& each) { return isGone(each.first); });
  }

  // Compares all contents with the plain ones, by both readers, and lets the archive verify itself.
  void expectWhole() const {
    const support::SlowArchive slow(file());
    const auto archive = toRead();
    size_t count = 0;
    archive->model().forEachRevision([&](const btkf::Revision& revision) {
      SCOPED_TRACE(revision.number.text());
      ++count;
      const auto plain = plain_.find(revision.number.text());
      ASSERT_NE(plain, plain_.end());
      btkf::Bytes bytes;
      ASSERT_EQ(archive->read(revision.content, &bytes), TRVS_DONE);
      EXPECT_TRUE(bytes.view() == plain->second);
      const support::SlowRevision& found = slow.revisions.at(revision.number.text());
      EXPECT_TRUE(slow.content(found.content) == plain->second);
      EXPECT_EQ(found.length, plain->second.size());
    });
    EXPECT_EQ(count, plain_.size());
    EXPECT_EQ(slow.revisions.size(), plain_.size());
    EXPECT_EQ(archive->verify(nullptr), TRVS_DONE);
    expectFewFrames(*archive, slow);
  }

 private:
  // Tips take one frame, others about two times the logarithm of the length of their branch; small
  // branches have a few more, relatively.
  static void expectFewFrames(const btkf::Archive& archive, const support::SlowArchive& slow) {
    for (const btkf::Branch& branch : archive.model().branches) {
      if (branch.tip() == nullptr) continue;
      const uint32_t positions = branch.tip()->number.last() + 1;
      const size_t most = 2 + 2 * static_cast<size_t>(std::log2(positions));
      for (size_t i = 0; i < branch.revisions.size(); ++i) {
        const btkf::Revision& revision = branch.revisions[i];
        const size_t frames = slow.frameCount(revision.content.id);
        EXPECT_LE(frames, &revision == branch.tip() ? 1 : most) << revision.number.text();
      }
    }
  }

  support::TemporaryDirectory directory_;
  std::string path_;
  std::map<std::string, std::string> plain_;
};

}  // namespace btkf520_test
