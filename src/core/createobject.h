// core/createobject.h: the steps that every create of a record takes.
#pragma once

#include <functional>

#include "core/folderoptions.h"
#include "core/handle.h"
#include "core/lockscope.h"

namespace foldapi {

// What is the same for every class. A null sink takes the parent's, version 0 the parent's version.
// Any mode but 1 builds a transient object: it is in no cache and is never written.
struct TVCreateRequest {
  const VClassRecord* record;
  const TVHandle& parent;
  TVLockScope& scope;
  TVErrorSink* sink;
  int mode;
  int version;
};

// Builds the object by the options found for it; null to give up, after a report to the context.
using TVMakeObject = std::function<TVObject*(TVFolderOptions& options, TVHandle& context,
                                             TVObject* owner, VBool transient)>;

// Creates a record under its parent, or answers with the one that exists. A new one makes its
// storage and is appended to its owner's file. Gives a handle without an object where the parent
// may not contain the class, where its storage can't be locked, where nothing was made, or where
// the record could not be stored. Under a caller's edit the last shows only at the end of that.
TVHandle createObject(const TVCreateRequest& request, const TVMakeObject& make);

// Whether a text may go into a name or a directory. The data files have no way to hold a line end,
// nor, where the text stands in a section line, what ends it there: that is `refused`. Reports a
// refusal to the sink.
bool isStorableText(TVHandle& context, std::string_view text, std::string_view refused = "");

// For `refused`: what ends the name in a section line, and a field of several in one.
constexpr std::string_view kEndsSectionName = "]";
constexpr std::string_view kEndsSectionField = "];";

}  // namespace foldapi
