// btkf520/interface/exports_configuration.cpp: the C functions about states and batches, and about
// what a state holds: configuration, callbacks and users.
//
// What the functions promise is told in btkf520.h; the work is done by Surroundings and what stands
// in it.
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btkf520/btkf520.h"
#include "btkf520/interface/boundary.h"
#include "btkf520/operations/surroundings.h"

namespace {

using btkf::Surroundings;
using btkf::boundary::fill;
using btkf::boundary::fits;
using btkf::boundary::guarded;

std::optional<std::string> itemText(int32_t item) {
  const btkf::Configuration& configuration = btkf::configuration();
  switch (item) {
    case TRVS_ITEM_ARCHIVE_DIRECTORIES:
      return configuration.archiveDirectoryText();
    case TRVS_ITEM_PROMOTION_GROUPS:
      return configuration.promotion().listing();
    case TRVS_ITEM_DATE_WORDS:
      return configuration.dateWords();
    case TRVS_ITEM_DATE_FORMAT:
      return configuration.dateFormat();
    default:
      return {};
  }
}

// What a client holds is one of ours.
Surroundings* stateOf(TrvsState* state) { return reinterpret_cast<Surroundings*>(state); }
TrvsState* tokenOf(Surroundings* state) { return reinterpret_cast<TrvsState*>(state); }

bool isReadMode(int32_t mode) {
  return mode == TRVS_READ_FIRST || mode == TRVS_READ_FOLLOWING || mode == TRVS_READ_MASTER;
}

}  // namespace

int32_t TrvsVersion(void) { return TRVS_VERSION; }

int32_t TrvsNewState(TrvsState** state) {
  return guarded([&] {
    if (state == nullptr) return TRVS_MISUSE;
    Surroundings::place();  // So that no exchange has to make the first one.
    *state = tokenOf(new Surroundings);
    return TRVS_DONE;
  });
}

int32_t TrvsExchangeState(TrvsState** state) {
  return guarded([&] {
    if (state == nullptr || *state == nullptr) return TRVS_MISUSE;
    *state = tokenOf(std::exchange(Surroundings::place(), stateOf(*state)));
    return TRVS_DONE;
  });
}

int32_t TrvsFreeState(TrvsState* state) {
  return guarded([&] {
    if (stateOf(state) == Surroundings::place()) return TRVS_MISUSE;
    delete stateOf(state);
    return TRVS_DONE;
  });
}

int32_t TrvsBeginBatch(int32_t context) {
  return guarded([&] {
    return btkf::boundary::isContext(context) ? Surroundings::current().batch().begin()
                                              : TRVS_MISUSE;
  });
}

int32_t TrvsEndBatch(int32_t context) {
  return guarded([&] {
    return btkf::boundary::isContext(context) ? Surroundings::current().batch().end() : TRVS_MISUSE;
  });
}

int32_t TrvsInit(const char* /*application*/) {
  return guarded([] { return btkf::userId() ? TRVS_DONE : TRVS_NO_USER_ID; });
}

int32_t TrvsOEMEnable(void) { return TRVS_DONE; }

int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback) {
  return guarded(
      [&] { return btkf::client().registerCallback(id, callback) ? TRVS_DONE : TRVS_MISUSE; });
}

int32_t TrvsRegisterPathResolver(TrvsPathResolver resolver) {
  return guarded([&] {
    Surroundings::current().registerPathResolver(resolver);
    return TRVS_DONE;
  });
}

int32_t TrvsSetLargestContent(uint64_t bytes) {
  return guarded([&] {
    const uint64_t none = std::numeric_limits<uint64_t>::max();
    Surroundings::current().setLargestContent(bytes == 0 ? none : bytes);
    return TRVS_DONE;
  });
}

int32_t TrvsGetUserInfo(char* user, int32_t userSize, char* second, int32_t secondSize,
                        int16_t* kind) {
  return guarded([&] {
    if (user == nullptr) return TRVS_MISUSE;
    const std::optional<std::string> id = btkf::userId();
    if (!id) return TRVS_NO_USER_ID;
    if (!fits(*id, userSize)) return TRVS_BUFFER_TOO_SMALL;
    if (second != nullptr && !fits("", secondSize)) return TRVS_BUFFER_TOO_SMALL;
    fill(user, *id);
    if (second != nullptr) fill(second, "");
    const bool isAccount = btkf::configuration().userVariable().empty();
    if (kind != nullptr) *kind = isAccount ? TRVS_USER_ACCOUNT : TRVS_USER_ENVIRONMENT;
    return TRVS_DONE;
  });
}

int32_t TrvsTrustMaster(int32_t whose) {
  return guarded([&] {
    if (whose != TRVS_TRUST_USER && whose != TRVS_TRUST_ROOT) return TRVS_MISUSE;
    Surroundings::current().setTrusted(whose == TRVS_TRUST_ROOT ? os::Trusted::kRoot
                                                                : os::Trusted::kRootAndUser);
    return TRVS_DONE;
  });
}

int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                               int32_t readMode) {
  return guarded([&] {
    if (path == nullptr || reserved1 != 0 || reserved2 != 0 || !isReadMode(readMode)) {
      return TRVS_MISUSE;
    }
    return Surroundings::current().load(path, static_cast<TrvsReadMode>(readMode));
  });
}

int32_t TrvsCheckConfiguration(const char* text, int32_t size) {
  return guarded([&] {
    if (size < 0 || (text == nullptr && size != 0)) return TRVS_MISUSE;
    const std::string_view bytes(text, static_cast<size_t>(size));
    return btkf::readsAsConfiguration(bytes) ? TRVS_DONE : TRVS_INVALID_LINE;
  });
}

int32_t TrvsQueryConfigurationItem(int32_t item, char* buffer, int32_t size) {
  return guarded([&] {
    const std::optional<std::string> text = itemText(item);
    if (!text || buffer == nullptr) return TRVS_MISUSE;
    if (!fits(*text, size)) return TRVS_BUFFER_TOO_SMALL;
    fill(buffer, *text);
    return TRVS_DONE;
  });
}

int32_t TrvsListConfiguration(char* buffer, int32_t size) {
  return guarded([&] {
    if (buffer == nullptr) return TRVS_MISUSE;
    std::vector<std::string> texts;
    for (const btkf::Setting& setting : btkf::configuration().settings()) {
      const btkf::Origin& origin = setting.origin;
      texts.insert(texts.end(), {setting.name, setting.value, origin.file ? *origin.file : "",
                                 std::to_string(origin.line)});
    }
    return btkf::boundary::handOut(btkf::boundary::listText(texts), buffer, size);
  });
}

int32_t TrvsVerifyPromoTreeNodeExist(const char* group, int16_t* kind) {
  return guarded([&] {
    if (group == nullptr || kind == nullptr) return TRVS_MISUSE;
    *kind = static_cast<int16_t>(btkf::configuration().promotion().kindOf(group));
    return TRVS_DONE;
  });
}
