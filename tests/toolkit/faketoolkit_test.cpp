// The functions of faketoolkit.h.
#include "toolkit/faketoolkit.h"

#include <cstring>

#include "support/system.h"

namespace {

using toolkit_test::fakeToolkit;

std::string shown(const char* text) {
  return text == nullptr ? "-" : "'" + std::string(text) + "'";
}
template <typename Number>
std::string shown(Number number) {
  return std::to_string(number);
}

template <typename... Arguments>
int32_t note(const char* name, Arguments... arguments) {
  auto& fake = fakeToolkit();
  fake.log += name;
  ((fake.log += " " + shown(arguments)), ...);
  fake.log += "\n";
  std::deque<int32_t>& coming = fake.statuses[name];
  if (coming.empty()) return 0;
  const int32_t status = coming.front();
  if (coming.size() > 1) coming.pop_front();
  return status;
}

// The library's own.
template <typename Function>
Function* next(const char* name, Function*) {
  return reinterpret_cast<Function*>(support::functionOfToolkit(name));
}

}  // namespace

int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                               int32_t readMode) {
  fakeToolkit().reads += std::to_string(readMode) + " " + path + "\n";
  if (reserved1 != 0 || reserved2 != 0) fakeToolkit().reads += "reserved values used\n";
  static const auto real = next("TrvsQueryConfiguration", &TrvsQueryConfiguration);
  return real(path, reserved1, reserved2, readMode);
}

int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback) {
  fakeToolkit().registered[id] = callback;
  static const auto real = next("TrvsRegisterCallback", &TrvsRegisterCallback);
  return real(id, callback);
}

int32_t TrvsQueryConfigurationItem(int32_t item, char* buffer, int32_t size) {
  auto& fake = fakeToolkit();
  const auto known = fake.items.find(item);
  if (known == fake.items.end()) {
    static const auto real = next("TrvsQueryConfigurationItem", &TrvsQueryConfigurationItem);
    return real(item, buffer, size);
  }
  const int32_t status = note("QueryItem", item, size);
  if (status != 0) return status;
  if (known->second.size() >= static_cast<size_t>(size)) return 8;
  known->second.copy(buffer, known->second.size());
  return 0;
}

int32_t TrvsVerifyPromoTreeNodeExist(const char* group, int16_t* kind) {
  auto& fake = fakeToolkit();
  if (fake.groups.empty()) {
    static const auto real = next("TrvsVerifyPromoTreeNodeExist", &TrvsVerifyPromoTreeNodeExist);
    return real(group, kind);
  }
  const auto known = fake.groups.find(group);
  *kind = known == fake.groups.end() ? int16_t{1} : known->second;
  return note("VerifyGroup", group);
}

int32_t TrvsComputeArchiveName(const char* workfile, char* buffer, int32_t size) {
  const int32_t status = note("ComputeArchiveName", workfile, size);
  if (status == 0) std::strcpy(buffer, fakeToolkit().computedName.c_str());
  return status;
}

int32_t TrvsPutRevision(int32_t context, int32_t reserved1, const char* archive, int32_t reserved2,
                        const char* revision, const char* label, const char* description,
                        const char* change, const char* group, const char* author, uint32_t time,
                        uint32_t flags) {
  return note("PutRevision", context, reserved1, archive, reserved2, revision, label, description,
              change, group, author, time, flags);
}

int32_t TrvsGetRevision(int32_t context, const char* archive, int32_t reserved1,
                        const char* revision, const char* cutoffDate, const char* newerThan,
                        int32_t reserved2, const char* group, int32_t reserved3, uint32_t flags) {
  return note("GetRevision", context, archive, reserved1, revision, cutoffDate, newerThan,
              reserved2, group, reserved3, flags);
}

int32_t TrvsGetLockInfo(int32_t context, const char* archive, int32_t reserved, const char* user,
                        int16_t* count, char* buffer, int32_t size) {
  const int32_t status = note("GetLockInfo", context, archive, reserved, user, *count, size);
  if (status != 0) return status;
  char* const text = buffer + sizeof(char*);
  std::strcpy(text, fakeToolkit().lockedRevision.c_str());
  std::memcpy(buffer, &text, sizeof text);
  return 0;
}

int32_t TrvsUnLockRevision(int32_t context, const char* archive, const char* revision,
                           const char* user) {
  return note("UnLockRevision", context, archive, revision, user);
}

int32_t TrvsLog(int32_t context, const char* archive, const char* revisions, const char* authors,
                const char* lockers, const char* labels, const char* groups, const char* words,
                const char* dates, const char* output, uint32_t flags) {
  return note("Log", context, archive, revisions, authors, lockers, labels, groups, words, dates,
              output, flags);
}

int32_t TrvsTestDifferences(int32_t context, const char* first, const char* firstRevision,
                            const char* second, const char* secondRevision, int16_t* result,
                            int16_t tabWidth, const char* columns, uint32_t flags) {
  *result = fakeToolkit().differ;
  return note("TestDifferences", context, first, firstRevision, second, secondRevision, tabWidth,
              columns, flags);
}

int32_t TrvsReportDifferences(int32_t context, const char* first, const char* firstRevision,
                              const char* second, const char* secondRevision, const char* output,
                              int16_t contextLines, int16_t form, int16_t tabWidth,
                              const char* columns, uint32_t flags) {
  return note("ReportDifferences", context, first, firstRevision, second, secondRevision, output,
              contextLines, form, tabWidth, columns, flags);
}

int32_t TrvsGenGuiDelta(int32_t context, const char* first, const char* firstRevision,
                        const char* second, const char* secondRevision, int16_t tabWidth,
                        const char* columns, const char* output, int32_t changedColour,
                        int16_t changedStyle, int32_t addedColour, int16_t addedStyle,
                        int32_t deletedColour, int16_t deletedStyle, int32_t reserved,
                        uint32_t flags) {
  return note("GenGuiDelta", context, first, firstRevision, second, secondRevision, tabWidth,
              columns, output, changedColour, changedStyle, addedColour, addedStyle, deletedColour,
              deletedStyle, reserved, flags);
}

namespace toolkit_test {

FakeToolkit& fakeToolkit() {
  static FakeToolkit fake;
  return fake;
}

}  // namespace toolkit_test
