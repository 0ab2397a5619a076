// core/result.h: the results of operations on objects, by the numbers that clients know.
#pragma once

namespace foldapi {

enum TVResult : int {
  kResultDone = 0,
  kResultNoMemory = 1,
  kResultFailed = 2,      // The toolkit, or a file.
  kResultCancelled = 3,   // The user did not want to go on; the only one that stops a broadcast.
  kResultNotWritten = 4,  // A data file.
  kResultMissing = 5,     // A name or an object.
};

}  // namespace foldapi
