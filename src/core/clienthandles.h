// core/clienthandles.h: the names under which flat clients know handles.
//
// A client never gets an address: it gets a token that looks like a pointer and names a slot and a
// generation. A token of a handle that is gone is thus told apart for good from the tokens of those
// that came later, whatever memory they live in, and a made-up one finds nothing.
#pragma once

namespace foldapi {

class TVHandle;

// The token of a handle: the same one as long as the handle lives. Null for a handle without
// object. Throws std::bad_alloc where all tokens are in use.
void* clientToken(TVHandle& handle);

// The handle that a token names; null for a null token and for one that names no living handle.
TVHandle* clientHandle(const void* token);

// Called when a handle dies that has a token.
void forgetClientHandle(TVHandle& handle);

}  // namespace foldapi
