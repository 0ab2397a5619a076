// core/createobject.h: the steps that every create of a record takes.
#pragma once

#include <functional>
#include <vector>

#include "core/folderoptions.h"
#include "core/handle.h"
#include "core/lockscope.h"

namespace foldapi {

// What every create may be told beside the fields of its class.
struct TVCreateOptions {
  TVLockScope& scope = theNoLock();  // What the caller has locked.
  TVErrorSink* sink = nullptr;       // Null for the parent's. The new handle keeps it.
  TVCaching caching = TVCaching::kCached;
  int version = 0;  // A format version (object.h); 0 for the parent's.

  // A handle without an object that reports where the new one will.
  TVHandle context(const TVHandle& parent) const {
    return TVHandle(sink != nullptr ? sink : &parent.sink(), nullptr);
  }
};

// Builds the object by the rules found for it; null to give up, after a report to the context.
using TVMakeObject = std::function<std::unique_ptr<TVObject>(
    TVFolderOptions& rules, TVHandle& context, TVObject* owner, TVCaching caching)>;

// Creates a record of a class under its parent, or answers with the one that exists. A new one
// makes its storage and is appended to its owner's file. Gives a handle without an object where the
// parent may not contain the class, where its storage can't be locked, where nothing was made, or
// where the record could not be stored. Under a caller's edit the last shows only at the end of
// that.
TVHandle createObject(const VClassRecord* record, const TVHandle& parent,
                      const TVCreateOptions& options, const TVMakeObject& make);

// Creates many by one edit of the parent: a handle for each of `makes`. What can't be made is left
// out; where a record can't be written none is stored.
std::vector<TVHandle> createObjects(const VClassRecord* record, const TVHandle& parent,
                                    const TVCreateOptions& options,
                                    const std::vector<TVMakeObject>& makes);

// Whether a text may go into a name or a directory. The data files have no way to hold a line end,
// nor, where the text stands in a section line, what ends it there: that is `refused`. Reports a
// refusal to the sink.
[[nodiscard]] bool isStorableText(TVHandle& context, std::string_view text,
                                  std::string_view refused = "");

// The same for a text that stands, or gives its name to what stands, after a key: a reader takes
// "$(" out of that, with all up to a ")".
[[nodiscard]] bool isStorableValue(TVHandle& context, std::string_view text,
                                   std::string_view refused = "");

// For `refused`: what ends the name in a section line, and a field of several in one.
constexpr std::string_view kEndsSectionName = "]";
constexpr std::string_view kEndsSectionField = "];";

}  // namespace foldapi
