// kstrinin/profilefile.cpp: the profile's file, in terms of the system's files.
#include "kstrinin/profilefile.h"

#include "os/clock.h"
#include "os/directory.h"
#include "os/environment.h"

namespace kstrinin {
namespace {

constexpr int kTries = 600;
constexpr unsigned kPause = 5;  // Milliseconds.

using os::FileResult;

}  // namespace

std::string userProfilePath() {
  const std::string named = os::environmentVariable("KSTR_INI").value_or("");
  if (!named.empty()) return named;
  const std::string directory = os::configurationDirectory();
  return directory.empty() ? "" : directory + "/trevault/KSTR.INI";
}

ProfileUpdate::ProfileUpdate(const std::string& path) {
  if (!os::makeDirectories(os::parentOf(path)) ||
      os::Place::find(path, &place_) != FileResult::kDone) {
    return;
  }
  FileResult result = hold();
  for (int tries = 1; tries < kTries && result == FileResult::kBusy; ++tries) {
    os::sleepMilliseconds(kPause);
    result = hold();
  }
  isHeld_ = result == FileResult::kDone;
}

FileResult ProfileUpdate::hold() {
  FileResult beside = sibling_.open(place_);
  const bool hasLocks = beside != FileResult::kNoLocks;
  // Where there are no locks the file is still replaced whole.
  if (!hasLocks) beside = sibling_.open(place_, os::SiblingFile::Others::kExcluded);
  if (beside != FileResult::kDone && beside != FileResult::kRefused) return beside;
  const FileResult result =
      hasLocks ? old_.openLocked(place_) : old_.open(place_, os::File::Access::kUpdate);
  if (result == FileResult::kMissing) return beside;
  const bool isReadOnly = old_.isOpen() && !old_.status().ownerMayWrite;
  return isReadOnly ? FileResult::kRefused : result;
}

bool ProfileUpdate::replace(std::string_view text) {
  const os::File* const old = old_.isOpen() ? &old_ : nullptr;
  return sibling_.replace(old, text, nullptr) == FileResult::kDone;
}

}  // namespace kstrinin
