// store/profile.cpp: how the library uses the profile library.
//
// The profile is the one file that is read before any root is known, so it is named by an operating
// system path and never by path text of the database.
#include "store/profile.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "kstrinin/kstrinin.h"
#include "os/program.h"
#include "runtime/files.h"
#include "runtime/nativepath.h"
#include "toolkit/messages.h"

namespace foldapi {
namespace {

constexpr char kDefaultSection[] = "[TRVSGUI]";
constexpr char kVersionText[] = "TRVS Trevault_5.2.00";
constexpr char kManager[] = "TRVSTVNT.EXE";
constexpr size_t kPathSize = 0x800;
constexpr size_t kNumberSize = 10;
constexpr size_t kProjectNameSize = 42;  // The graphical program's list holds no longer names.

const char* sectionOrDefault(const char* section) {
  return section == nullptr || *section == '\0' ? kDefaultSection : section;
}

// An open profile, closed with its owner at the latest.
class OpenProfile {
 public:
  explicit OpenProfile(const VPathString& path) : handle_(KSTRIniOpen(path.text())) {}
  OpenProfile(const OpenProfile&) = delete;
  OpenProfile& operator=(const OpenProfile&) = delete;
  ~OpenProfile() { close(); }

  bool isOpen() const { return handle_ != 0; }
  intptr_t handle() const { return handle_; }
  bool close() {
    const intptr_t handle = handle_;
    handle_ = 0;
    return handle == 0 || KSTRIniClose(handle) != 0;
  }

 private:
  intptr_t handle_;
};

// The path of the user's profile, empty if the profile library knows none.
VPathString userProfile() {
  char path[kPathSize] = "";
  return KSTRGetKESTRIANINI(path, sizeof path) != 0 ? VPathString(path) : VPathString();
}

// A name in the user's data directory, empty where there is no such directory.
VPathString userDataPath(const char* name) {
  VPathString path(userDataDirectory());
  if (!path.isEmpty()) path.join(VString(name));
  return path;
}

VPathString readRoot(const VPathString& profile, const char* key, TVHandle& context) {
  VPathString root(readProfile(profile, nullptr, key, nullptr, kPathSize, context));
  if (!root.isEmpty()) return root;
  root = userDataPath(key);
  if (!root.isEmpty()) writeProfile(profile, nullptr, key, root, context);
  return root;
}

// The key under which the list of opened projects has `project`, or the first free one.
VString findProjectKey(const VPathString& profile, const VString& project, bool* isFree,
                       TVHandle& context) {
  for (int i = 1;; ++i) {
    const VString key = VString::format("OPENPROJ%d", i);
    const VString listed =
        readProfile(profile, nullptr, key.text(), nullptr, kProjectNameSize, context);
    *isFree = listed.isEmpty();
    if (*isFree || listed == project) return key;
  }
}

const char* detailOf(os::StartResult result) {
  switch (result) {
    case os::StartResult::kNoMemory:
      return "Out of memory or resources.";
    case os::StartResult::kNotFound:
      return "TRVSTVNT.EXE not found in path.";
    case os::StartResult::kCorrupt:
      return "TRVSTVNT.EXE is corrupt.";
    case os::StartResult::kStarted:
    case os::StartResult::kFailed:
      break;
  }
  return "";
}

}  // namespace

void reportProfileError(int code, const VPathString& profile, const char* section, const char* key,
                        TVHandle& context) {
  if (code == 0) return;
  VString subject;
  if (code == -6) {
    subject = VString(section);
  } else if (code <= -7 && code >= -9) {
    subject = VString(key);
  } else {
    subject = profile;
  }
  context.sink().notice(context, IniFileMessage(code, subject));
}

void writeProfile(const VPathString& profile, const char* section, const char* key,
                  const VString& value, TVHandle& context) {
  if (profile.isEmpty()) return;
  section = sectionOrDefault(section);
  OpenProfile file(profile);
  if (!file.isOpen()) {
    reportProfileError(KSTRIniGetError(), profile, nullptr, nullptr, context);
  } else if (KSTRWriteProfileString(file.handle(), section, key, value.text()) == 0) {
    reportProfileError(KSTRIniGetError(), profile, section, key, context);
  } else if (!file.close()) {
    reportProfileError(KSTRIniGetError(), profile, nullptr, nullptr, context);
  }
}

VString readProfile(const VPathString& profile, const char* section, const char* key,
                    const char* fallback, size_t size, TVHandle& context) {
  if (profile.isEmpty() || size == 0) return VString(fallback);
  section = sectionOrDefault(section);
  OpenProfile file(profile);
  if (!file.isOpen()) {
    reportProfileError(KSTRIniGetError(), profile, nullptr, nullptr, context);
    return VString(fallback);
  }
  const size_t limit = std::min<size_t>(size, std::numeric_limits<uint16_t>::max());
  std::string value(limit, '\0');
  if (KSTRQueryProfileString(file.handle(), section, key, value.data(),
                             static_cast<uint16_t>(limit)) == 0) {
    reportProfileError(KSTRIniGetError(), profile, section, key, context);
    return VString(fallback);
  }
  if (!file.close()) reportProfileError(KSTRIniGetError(), profile, nullptr, nullptr, context);
  return VString(value.c_str());
}

void findRootDirectories(VPathString* publicRoot, VPathString* privateRoot, TVHandle& context) {
  VPathString profile = userProfile();
  if (profile.isEmpty()) profile = userDataPath("KSTR.INI");
  if (!fileExists(profile.view())) writeProfile(profile, nullptr, "VERSION", kVersionText, context);
  *publicRoot = readRoot(profile, "TRVSPROJ", context);
  *privateRoot = readRoot(profile, "TRVSPRIV", context);
}

int16_t profileNumber(const char* section, const char* key, int16_t fallback) {
  const VPathString profile = userProfile();
  if (profile.isEmpty()) return fallback;
  const OpenProfile file(profile);
  char text[kNumberSize] = "";
  if (!file.isOpen() || KSTRQueryProfileString(file.handle(), sectionOrDefault(section), key, text,
                                               kNumberSize) == 0) {
    return fallback;
  }
  return static_cast<int16_t>(std::strtol(text, nullptr, 10));
}

VBool launchManager(const VString& project, TVHandle& context) {
  const VPathString profile = userProfile();
  if (profile.isEmpty()) {
    context.sink().notice(context, VString("Could not find KSTR.INI."));
    return false;
  }
  bool isFree = false;
  const VString key = findProjectKey(profile, project, &isFree, context);
  if (isFree) writeProfile(profile, nullptr, key.text(), project, context);
  writeProfile(profile, nullptr, "OPENPROJTOP", key, context);
  const os::StartResult result = os::startProgram(kManager);
  if (result == os::StartResult::kStarted) return true;
  context.sink().notice(context,
                        VString("Unable to launch TRVS Trevault: ") + VString(detailOf(result)));
  return false;
}

}  // namespace foldapi
