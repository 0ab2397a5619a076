// btkf520/operations/client.h: what the toolkit asks and tells its client.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "btkf520/btkf520.h"
#include "btkf520/configuration/configurationreader.h"

namespace btkf {

// The functions that the client has registered. Each operation calls one of them, and does what
// btkf520.h tells if there is none: mostly a question is answered with no, and news are dropped.
class Client {
 public:
  // False, and nothing is kept, for an id that the toolkit has no use for. Null forgets.
  [[nodiscard]] bool registerCallback(int32_t id, TrvsCallback callback);

  // TRVS_CANCELLED if the client wants to stop.
  [[nodiscard]] TrvsStatus goOn() const;
  // Whether to try again, or to continue all the same.
  [[nodiscard]] bool retries(TrvsStatus obstacle, const std::string& path) const;
  // Hands out one line without its end. Gives a TrvsAnswer, TRVS_ENOUGH if nobody listens.
  [[nodiscard]] int32_t output(const std::string& line, TrvsOutput kind) const;
  // Whether the workfile may be overwritten.
  [[nodiscard]] bool overwrites(const std::string& workfile, const std::string& archive) const;
  // Whether the label may be moved. *label becomes another if the client would rather have that.
  [[nodiscard]] bool moves(std::string* label, const std::string& archive) const;
  // Whether to check in all the same.
  [[nodiscard]] bool accepts(const std::string& workfile, TrvsStatus why) const;
  // Whether to do at `event` what the configuration wants.
  [[nodiscard]] bool permits(const std::string& event, const Demand& demand) const;
  void idle() const;
  // An operation is done.
  void done(const std::string& event, const std::string& archive, const std::string& workfile,
            const std::string& what) const;
  // A change of a batch could not be promised.
  void undone(const std::string& archive, const std::string& event, TrvsStatus status) const;
  // Whether to read on.
  [[nodiscard]] bool goesOnAfter(const BadDirective& directive) const;
  void message(TrvsStatus code) const;
  void text(const std::string& text) const;

 private:
  template <typename Callback>
  Callback registered(int32_t id) const;
  bool confirms(int32_t id, const std::string& first, const std::string& second,
                std::string* answer) const;

  // By id; some ids have no meaning.
  std::array<TrvsCallback, TRVS_CALLBACK_UNDONE + 1> callbacks_ = {};
};

}  // namespace btkf
