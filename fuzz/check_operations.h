// fuzz/check_operations.h: operations on an archive that is damaged: no crash, no hang, what could
// be read can be read afterwards, and nothing wrong is ever delivered.
//
// The input is a count of damages, three bytes for each, and a byte for each operation.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "btkf520/btkf520.h"
#include "fuzz_support.h"

namespace fuzz {

class DamagedArchive {
 public:
  // Its text goes on from one revision to the next; a branch leaves the third.
  DamagedArchive() {
    std::remove(path_.c_str());
    int32_t status = TrvsCreateArchive(path_.c_str(), "work", nullptr, nullptr, 0, 0);
    status += TrvsSetAttributes(TRVS_CONTEXT, path_.c_str(), 0, TRVS_ATTRIBUTE_CHECK_LOCKS);
    for (int count = 0; count < 9; ++count) put(count < 7 ? nullptr : "1.2");
    require(status == 0 && contents_.size() == 9, "an archive could be made");
    whole_ = readFile(path_);
  }

  void damage(std::string_view bytes) {
    std::string file = whole_;
    for (; bytes.size() >= 3; bytes.remove_prefix(3)) {
      const size_t place = byte(bytes[0]) * 256 + byte(bytes[1]);
      file[place % file.size()] = bytes[2];
    }
    writeFile(path_, file);
  }

  // Does what `choice` says, and looks at all contents.
  void work(size_t choice) {
    const std::string revision = "1." + std::to_string(choice / 8 % 8);
    const char* const name = path_.c_str();
    const std::map<std::string, std::string> before = readable();
    TrvsRevTree* tree = nullptr;
    const bool isDeletion = choice % 8 == 0;
    if (isDeletion) static_cast<void>(TrvsDeleteRevisions(TRVS_CONTEXT, name, revision.c_str()));
    if (choice % 8 == 1) put(revision.c_str());
    if (choice % 8 == 2) put(nullptr);
    if (choice % 8 == 3) TrvsLockRevision(TRVS_CONTEXT, name, revision.c_str(), nullptr);
    if (choice % 8 == 4) TrvsSetLabel(TRVS_CONTEXT, name, "REL", revision.c_str(), TRVS_LABEL_MOVE);
    if (choice % 8 == 5) TrvsSetDescription(TRVS_CONTEXT, name, nullptr, revision.c_str());
    if (choice % 8 == 6) TrvsVerifyArchive(TRVS_CONTEXT, name, nullptr, 0);
    if (choice % 8 == 7) TrvsRevTreeInfo(TRVS_CONTEXT, name, &tree, TRVS_TREE_FETCH);
    if (tree != nullptr) TrvsRevTreeInfo(TRVS_CONTEXT, nullptr, &tree, TRVS_TREE_RETURN);
    const std::map<std::string, std::string> after = readable();
    for (const auto& [number, content] : before) {
      require(after.contains(number) || (isDeletion && number == revision), "nothing is lost");
    }
  }

 private:
  static size_t byte(char c) { return static_cast<unsigned char>(c); }

  // Checks in a new text. Its change description is the text as well.
  void put(const char* parent) {
    const std::string text =
        "line " + std::to_string(++texts_ * 7919) + "\n" + whole_.substr(0, 50);
    writeFile(workfile_, last_ = text + last_.substr(0, 300));
    const std::string both = path_ + "(" + workfile_ + ")";
    const std::string change = std::to_string(texts_);
    if (TrvsPutRevision(TRVS_CONTEXT, 0, both.c_str(), 0, parent, nullptr, nullptr, change.c_str(),
                        nullptr, nullptr, 0, TRVS_PUT_READ_ONLY) == TRVS_DONE) {
      contents_[change] = last_;
    }
  }

  // The contents that can be read, by number, each the one that was checked in.
  std::map<std::string, std::string> readable() const {
    std::map<std::string, std::string> result;
    char numbers[4000] = "";
    if (TrvsListRevisions(TRVS_CONTEXT, path_.c_str(), nullptr, numbers, sizeof numbers) != 0) {
      return result;
    }
    const std::string both = path_ + "(" + workfile_ + ")";
    for (const char* number = numbers; *number != '\0';
         number += std::string_view(number).size() + 1) {
      if (TrvsGetRevision(TRVS_CONTEXT, both.c_str(), 0, number, nullptr, nullptr, 0, nullptr, 0,
                          TRVS_GET_OVERWRITE) != TRVS_DONE) {
        continue;
      }
      char change[20] = "";
      TrvsGetDescription(TRVS_CONTEXT, path_.c_str(), number, change, sizeof change);
      result[number] = readFile(workfile_);
      require(result[number] == contents_.at(change), "what is delivered is what was checked in");
    }
    return result;
  }

  const std::string path_ = scratchPath("archive");
  const std::string workfile_ = scratchPath("work");
  std::string whole_ = "";
  std::string last_ = "";
  int texts_ = 0;
  std::map<std::string, std::string> contents_ = {};  // By change description.
};

inline void checkOperations(std::string_view bytes) {
  static DamagedArchive archive;
  if (bytes.empty()) return;
  const size_t damages = std::min<size_t>(3 * (bytes[0] & 7), bytes.size() - 1);
  archive.damage(bytes.substr(1, damages));
  for (const char choice : bytes.substr(1 + damages).substr(0, 8)) {
    archive.work(static_cast<unsigned char>(choice));
  }
}

}  // namespace fuzz
