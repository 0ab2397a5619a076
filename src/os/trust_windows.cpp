// os/trust_windows.cpp: owners and access lists of a path's parts on Windows.
#include <aclapi.h>

#include <vector>

#include "os/calls_windows.h"
#include "os/directory.h"
#include "os/trust.h"

namespace os {
namespace {

constexpr DWORD kAdministrators[] = {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS};
// The system's own installer, who owns what came with it.
constexpr DWORD kInstaller[] = {80, 956008885, 3418522649, 1831038044, 1853292631, 2271478464};
// Who may do that can put something else in the place of a file or of what is in a directory.
constexpr ACCESS_MASK kToChangeAny = DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
constexpr ACCESS_MASK kToChangeFile =
    kToChangeAny | GENERIC_WRITE | FILE_WRITE_DATA | FILE_APPEND_DATA;
constexpr ACCESS_MASK kToChangeDirectory = kToChangeAny | FILE_DELETE_CHILD;

bool isAccount(PSID account, const DWORD* numbers, BYTE count) {
  const SID_IDENTIFIER_AUTHORITY system = SECURITY_NT_AUTHORITY;
  const SID_IDENTIFIER_AUTHORITY* const own = ::GetSidIdentifierAuthority(account);
  if (!std::equal(own->Value, own->Value + 6, system.Value)) return false;
  if (*::GetSidSubAuthorityCount(account) != count) return false;
  for (BYTE i = 0; i < count; ++i) {
    if (*::GetSidSubAuthority(account, i) != numbers[i]) return false;
  }
  return true;
}

bool isSystem(PSID account) {
  constexpr DWORD kSystem[] = {SECURITY_LOCAL_SYSTEM_RID};
  return isAccount(account, kSystem, 1) || isAccount(account, kAdministrators, 2) ||
         isAccount(account, kInstaller, 6);
}

bool isUser(PSID account) {
  HANDLE raw = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &raw)) return false;
  const Handle token(raw);
  alignas(TOKEN_USER) char room[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  DWORD size = 0;
  return ::GetTokenInformation(token.get(), TokenUser, room, sizeof room, &size) &&
         ::EqualSid(reinterpret_cast<TOKEN_USER*>(room)->User.Sid, account);
}

bool isTrusted(PSID account, Trusted whom) {
  return isSystem(account) || (whom == Trusted::kRootAndUser && isUser(account));
}

// Whether it belongs to the trusted, and lets none but them change it.
bool isOurs(const std::wstring& path, bool isDirectory, Trusted whom) {
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR all = nullptr;
  if (::GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT,
                              OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                              nullptr, &list, nullptr, &all) != ERROR_SUCCESS) {
    return false;
  }
  bool isOurs = owner != nullptr && list != nullptr && isTrusted(owner, whom);
  for (DWORD i = 0; isOurs && i < list->AceCount; ++i) {
    void* entry = nullptr;
    if (!::GetAce(list, i, &entry)) isOurs = false;
    const auto* const head = static_cast<const ACE_HEADER*>(entry);
    if (!isOurs || head->AceType == ACCESS_DENIED_ACE_TYPE ||
        (head->AceFlags & INHERIT_ONLY_ACE) != 0) {
      continue;
    }
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    const ACCESS_MASK changes = isDirectory ? kToChangeDirectory : kToChangeFile;
    isOurs = head->AceType == ACCESS_ALLOWED_ACE_TYPE &&
             ((allowed->Mask & changes) == 0 || isTrusted(&allowed->SidStart, whom));
  }
  ::LocalFree(all);
  return isOurs;
}

}  // namespace

bool isOurs(const FileStatus& /*entry*/) { return true; }

bool isOursAlone(const std::string& path, Trusted whom) {
  std::string step = realPath(path);
  FileStatus status;
  if (readStatus(step.c_str(), &status) != FileResult::kDone || !status.isRegular) return false;
  for (bool isDirectory = false;; isDirectory = true) {
    const auto whole = systemPath(step);
    if (!whole || !isOurs(*whole, isDirectory, whom)) return false;
    const std::string parent = parentOf(step);
    if (parent == step) return true;
    step = parent;
  }
}

}  // namespace os
