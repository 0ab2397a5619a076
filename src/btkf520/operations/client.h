// btkf520/operations/client.h: what the toolkit asks and tells its client, as plain functions.
//
// Each calls the function that the client registered. Without one it gives the answer that loses
// nothing: a question is declined, and news go nowhere.
#pragma once

#include <cstdint>
#include <string>

#include "btkf520/archive/status.h"

namespace btkf {

// What callback 4 is told about a text.
enum class Output : int32_t { kHeading = 1, kRevision = 2, kText = 3, kDelta = 4 };
enum class Flow { kGoOn, kEnough, kCancelled };

namespace client {

// 1: kCancelled if the client wants to stop. Goes on without one.
Status goOn();
// 3: whether to try again, or to go on all the same.
bool retries(Status obstacle, const std::string& path);
// 4: hands out one line without its end. kEnough, without one, if nobody listens.
Flow output(const std::string& line, Output kind);
// 5: whether the workfile may be overwritten.
bool overwrites(const std::string& workfile, const std::string& archive);
// 6: whether the label may be moved. *label becomes another if the client would rather have that.
bool moves(std::string* label, const std::string& archive);
// 10: whether to check in all the same.
bool accepts(const std::string& workfile, Status why);
// 17
void idle();
// 18: an operation is done.
void done(const std::string& event, const std::string& archive, const std::string& workfile,
          const std::string& what);
// 20
void message(Status code);

}  // namespace client
}  // namespace btkf
