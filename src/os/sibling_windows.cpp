// os/sibling_windows.cpp: how a file takes another's name on Windows, though others have that open.
//
// Newer systems do it in one step on their own disks. Others, and network drives, let no file take
// the name of an open one, while the open one may take another name. So there it goes in two steps:
// the old file is called NAME.trvs-old, then the new one NAME; last the old one is removed. Between
// the steps nothing has the name: whoever looks for it then finds the old one beside it, and waits.
// If the writer was killed there the name stays missing, and who has waited long enough gives the
// old file its name back. That takes nothing from a writer who is only slow: he finds the name
// taken and begins again. The lock on the old file stays through all of it, and the new one is
// locked before it gets the name, so of those who change files nobody sees a file that is free.
//
// Of the files with that mark none but that of a replacement under way holds what the name stands
// for. So those that were left after both steps are removed before the next one begins. What is
// removed stays as long as a reader has it open, and gets a name that nobody looks for before:
// NAME.trvs-gone.
#include <aclapi.h>

#include <cstring>
#include <vector>

#include "os/calls_windows.h"
#include "os/sibling.h"

namespace os {
namespace {

constexpr wchar_t kMarkOfOld[] = L".trvs-old";
constexpr wchar_t kMarkOfGone[] = L".trvs-gone";
constexpr int kNames = 10;     // Of old files that readers still have.
constexpr int kPatience = 10;  // Looks at a missing name before it is given back.
constexpr size_t kLongestName = 255;
constexpr DWORD kToMove = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;

// Of the system's headers only the newest have these.
constexpr auto kRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr auto kDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
constexpr DWORD kReplaceIfExists = 0x1;
constexpr DWORD kPosixRename = 0x2;
constexpr DWORD kIgnoreReadOnly = 0x40;
constexpr DWORD kDelete = 0x1;
constexpr DWORD kPosixDelete = 0x2;
constexpr DWORD kDeleteReadOnly = 0x10;

std::wstring nameBeside(const std::wstring& path, const wchar_t* mark, int number) {
  return path + mark + (number == 0 ? L"" : std::to_wstring(number));
}

bool hasRoomForMark(const std::wstring& path) {
  return nameBeside(path, kMarkOfGone, 1).size() - path.rfind(L'\\') <= kLongestName;
}

// Gives an open file another name; `flags` of the newer call, or of the older with none.
bool renameOpen(HANDLE file, const std::wstring& to, DWORD flags) {
  const size_t size = to.size() * sizeof(wchar_t);
  std::vector<char> room(sizeof(FILE_RENAME_INFO) + size);
  auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(room.data());
  static_assert(sizeof info->ReplaceIfExists <= sizeof flags);
  std::memcpy(room.data(), &flags, sizeof flags);  // Both calls begin with them.
  info->FileNameLength = static_cast<DWORD>(size);
  std::memcpy(info->FileName, to.data(), size);
  return ::SetFileInformationByHandle(file, flags == 0 ? FileRenameInfo : kRenameInfoEx, info,
                                      static_cast<DWORD>(room.size()));
}

bool hasBeside(const std::wstring& path, const wchar_t* mark) {
  WIN32_FIND_DATAW found;
  const HANDLE search = ::FindFirstFileW((path + mark + L"*").c_str(), &found);
  return search != INVALID_HANDLE_VALUE && ::FindClose(search);
}

Handle openToMove(const std::wstring& path) {
  return Handle(::CreateFileW(path.c_str(), kToMove, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

// Takes the name from an open file. Names of files that are going are taken as long as these are.
bool moveAside(HANDLE file, const std::wstring& path, const wchar_t* mark) {
  for (int number = 0; number < kNames; ++number) {
    if (renameOpen(file, nameBeside(path, mark, number), 0)) return true;
    const DWORD error = ::GetLastError();
    if (error != ERROR_ALREADY_EXISTS && error != ERROR_ACCESS_DENIED) return false;
  }
  return false;
}

bool markRemoved(HANDLE file) {
  FILE_DISPOSITION_INFO removal;
  removal.DeleteFile = TRUE;
  return setReadOnly(file, false) &&
         ::SetFileInformationByHandle(file, FileDispositionInfo, &removal, sizeof removal);
}

// An open file of any name, for what `path` stood for.
bool removeAside(HANDLE file, const std::wstring& path) {
  return moveAside(file, path, kMarkOfGone) && markRemoved(file);
}

// The two steps. kExists if another has put a file there between them.
FileResult replaceInSteps(HANDLE file, const std::wstring& to) {
  const Handle old = openToMove(to);
  if (!old.isOpen()) {
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND ? resultOfCall(renameOpen(file, to, 0)) : resultOf(error);
  }
  if (!hasRoomForMark(to) || !removeOld(to)) return FileResult::kRefused;
  if (!moveAside(old.get(), to, kMarkOfOld)) return resultOf(::GetLastError());
  if (renameOpen(file, to, 0)) {
    removeAside(old.get(), to);
    return FileResult::kDone;
  }
  const FileResult result = resultOf(::GetLastError());
  renameOpen(old.get(), to, 0);  // That fails too if there is another.
  return result;
}

// Gives the access list of `model` to `file`, unless it has the same from the directory.
bool copyAccessList(HANDLE model, HANDLE file) {
  PSECURITY_DESCRIPTOR wanted = nullptr;
  PSECURITY_DESCRIPTOR present = nullptr;
  PACL list = nullptr;
  PACL own = nullptr;
  bool isDone = ::GetSecurityInfo(model, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &list, nullptr, &wanted) == ERROR_SUCCESS &&
                ::GetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                  &own, nullptr, &present) == ERROR_SUCCESS;
  const bool isSame =
      list == own || (list != nullptr && own != nullptr && list->AclSize == own->AclSize &&
                      std::memcmp(list, own, list->AclSize) == 0);
  if (isDone && !isSame) {
    isDone = ::SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                               list, nullptr) == ERROR_SUCCESS;
  }
  ::LocalFree(wanted);
  ::LocalFree(present);
  return isDone;
}

}  // namespace

bool removeOld(const std::wstring& path) {
  bool isDone = true;
  for (const wchar_t* const mark : {kMarkOfOld, kMarkOfGone}) {
    for (int number = 0; number < kNames && hasBeside(path, mark); ++number) {
      const Handle old = openToMove(nameBeside(path, mark, number));
      if (!old.isOpen()) continue;
      const bool isGone = mark == kMarkOfGone;
      if (!(isGone ? markRemoved(old.get()) : removeAside(old.get(), path))) isDone = false;
    }
  }
  return isDone;
}

bool bringBack(const std::wstring& path, int tries) {
  if (!hasBeside(path, kMarkOfOld)) return false;
  for (int number = 0; number < kNames; ++number) {
    const Handle old = openToMove(nameBeside(path, kMarkOfOld, number));
    if (!old.isOpen()) continue;
    if (tries >= kPatience) renameOpen(old.get(), path, 0);
    return true;
  }
  return true;  // It has just got its name back.
}

bool removeOpen(HANDLE file, const std::wstring& path) {
  const DWORD flags = kDelete | kPosixDelete | kDeleteReadOnly;
  if (::SetFileInformationByHandle(file, kDispositionInfoEx, const_cast<DWORD*>(&flags),
                                   sizeof flags)) {
    return true;
  }
  return hasRoomForMark(path) ? removeAside(file, path) : markRemoved(file);
}

FileResult SiblingFile::copyInSystem(const File& /*from*/, uint64_t* /*offset*/,
                                     uint64_t* /*size*/) {
  return FileResult::kDone;
}

// Who may do what comes from the directory, and then from `model`.
FileResult SiblingFile::takeRights(const File* model, Writing writing, Running /*running*/) {
  const HANDLE file = handleOf(file_.descriptor_);
  const bool isKept = model == nullptr || copyAccessList(handleOf(model->descriptor_), file);
  const bool isWritable = writing == Writing::kAsBefore
                              ? model == nullptr || model->status().ownerMayWrite
                              : writing == Writing::kAllowed;
  const FileResult result = file_.setWritable(isWritable);
  return isKept ? result : FileResult::kRefused;
}

FileResult SiblingFile::rename(Naming naming) {
  const auto to = systemPath(place_);
  if (!to) return resultOf(::GetLastError());
  const auto from = systemPath(ownPlace_);
  if (!from) return resultOf(::GetLastError());
  // Closed at once: programs that open a file as usual can't while somebody may rename it.
  const Handle file = openToMove(*from);
  if (!file.isOpen()) return resultOf(::GetLastError());
  if (naming == Naming::kNew) return resultOfCall(renameOpen(file.get(), *to, 0));
  if (renameOpen(file.get(), *to, kReplaceIfExists | kPosixRename | kIgnoreReadOnly)) {
    return FileResult::kDone;
  }
  FileResult result = FileResult::kExists;
  for (int tries = 0; tries < kTries && result == FileResult::kExists; ++tries) {
    if (model_ && !isAt(place_, *model_, nullptr)) return FileResult::kBusy;
    result = replaceInSteps(file.get(), *to);
  }
  return result;
}

}  // namespace os
