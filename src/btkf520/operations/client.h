// btkf520/operations/client.h: what the toolkit asks and tells its client.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "btkf520/archive/status.h"
#include "btkf520/btkf520.h"
#include "btkf520/configuration/configurationreader.h"

namespace btkf {

// What callback 4 is told about a text.
enum class Output : int32_t { kHeading = 1, kRevision = 2, kText = 3, kDelta = 4 };
enum class Flow { kGoOn, kEnough, kCancelled };

// The functions that the client has registered. Each operation calls one of them. Without one it
// gives the answer that loses nothing: a question is declined, and news go nowhere.
class Client {
 public:
  // False, and nothing is kept, for an id that the toolkit has no use for. Null forgets.
  bool registerCallback(int32_t id, TrvsCallback callback);

  // 1: kCancelled if the client wants to stop. Goes on without one.
  Status goOn() const;
  // 3: whether to try again, or to go on all the same.
  bool retries(Status obstacle, const std::string& path) const;
  // 4: hands out one line without its end. kEnough, without one, if nobody listens.
  Flow output(const std::string& line, Output kind) const;
  // 5: whether the workfile may be overwritten.
  bool overwrites(const std::string& workfile, const std::string& archive) const;
  // 6: whether the label may be moved. *label becomes another if the client would rather have that.
  bool moves(std::string* label, const std::string& archive) const;
  // 10: whether to check in all the same.
  bool accepts(const std::string& workfile, Status why) const;
  // 17
  void idle() const;
  // 18: an operation is done.
  void done(const std::string& event, const std::string& archive, const std::string& workfile,
            const std::string& what) const;
  // 19: whether to read on. Goes on without one.
  bool goesOnAfter(const BadDirective& directive) const;
  // 20
  void message(Status code) const;

 private:
  template <typename Callback>
  Callback registered(int32_t id) const;
  bool confirms(int32_t id, const std::string& first, const std::string& second,
                std::string* answer) const;

  std::map<int32_t, TrvsCallback> callbacks_;
};

}  // namespace btkf
