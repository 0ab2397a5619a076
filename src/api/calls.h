// api/calls.h: the few kinds of call that every exported function is one of.
//
// Each resolves the client's tokens, catches whatever is thrown and keeps alive what the client may
// still use: the exported functions (exports.cpp) are one line each over these.
#pragma once

#include <initializer_list>
#include <memory>
#include <new>

#include "core/childlist.h"
#include "core/clienthandles.h"
#include "core/handle.h"
#include "core/lockscope.h"
#include "foldapi/foldapi.h"

namespace foldapi::api {

// The child list that the last find on a closed parent left behind. It lives through the next call,
// which may be handed the handle that was found.
std::unique_ptr<TVChildList>& theParkedList();

// A text in a ring of buffers of the calling thread.
const char* clientText(const VString& text);

// Adds to the messages of this call that there was no memory.
void tellNoMemory() noexcept;

// Runs what may come between two calls of a client, in a thread of anybody's: whatever is thrown
// ends as `fallback`.
template <typename Result, typename Call>
Result guardedAside(Result fallback, Call call) {
  TVApiSink::forgetTold();
  try {
    return call();
  } catch (const std::bad_alloc&) {
    tellNoMemory();
    return fallback;
  } catch (...) {
    return fallback;
  }
}

// Runs a call for a client.
template <typename Result, typename Call>
Result guarded(Result fallback, Call call) {
  return guardedAside(fallback, [&] {
    const std::unique_ptr<TVChildList> parked = std::move(theParkedList());
    return call();
  });
}

template <typename Call>
void guarded(Call call) {
  guarded(0, [&] {
    call();
    return 0;
  });
}

// Stands for several classes where a call wants one.
template <typename... Classes>
struct AnyOf {};

template <typename Class>
struct Kind {
  static bool holds(const foldapi::TVHandle& handle) { return handle.as<Class>() != nullptr; }
};
template <typename... Classes>
struct Kind<AnyOf<Classes...>> {
  static bool holds(const foldapi::TVHandle& handle) {
    return (Kind<Classes>::holds(handle) || ...);
  }
};

// The handle that a token names, or one without an object if its object is none of `Class`.
template <typename Class>
foldapi::TVHandle& resolve(const ::TVHandle* token) {
  foldapi::TVHandle* handle = clientHandle(token);
  return handle == nullptr || !Kind<Class>::holds(*handle) ? theNullHandle() : *handle;
}

inline ::TVHandle* tokenOf(foldapi::TVHandle& handle) {
  return static_cast<::TVHandle*>(clientToken(handle));
}

// Open and close.
template <typename Class>
int32_t open(const ::TVHandle* token) {
  return guarded(-1, [&] { return resolve<Class>(token).open(); });
}

template <typename Class>
int32_t close(const ::TVHandle* token) {
  return guarded(-1, [&] { return resolve<Class>(token).close(); });
}

template <typename Class>
void destroy(const ::TVHandle* token) {
  guarded([&] { resolve<Class>(token).destroy(theNoLock()); });
}

// An open count on a handle for the length of a block, or beyond it.
class [[nodiscard]] OpenScope {
 public:
  // Where the count is the last one, the child list goes to *parked, if that is not null.
  explicit OpenScope(foldapi::TVHandle& handle, std::unique_ptr<TVChildList>* parked = nullptr)
      : handle_(&handle), parked_(parked) {
    handle.open();
  }
  OpenScope(const OpenScope&) = delete;
  OpenScope& operator=(const OpenScope&) = delete;
  ~OpenScope() {
    if (handle_ != nullptr) handle_->close(parked_);
  }

  // Leaves the count: a close elsewhere will give it back.
  void keep() { handle_ = nullptr; }

 private:
  foldapi::TVHandle* handle_;
  std::unique_ptr<TVChildList>* parked_;
};

// Walks: the first step takes an open count on the parent, and the end of the walk gives it back.
template <typename Class, typename Child>
::TVHandle* first(const ::TVHandle* token) {
  return guarded<::TVHandle*>(nullptr, [&] {
    foldapi::TVHandle& parent = resolve<Class>(token);
    OpenScope open(parent);
    ::TVHandle* child = tokenOf(parent.first(&Child::theClass));
    if (child != nullptr) open.keep();
    return child;
  });
}

template <typename Class, typename Child>
::TVHandle* next(const ::TVHandle* token) {
  return guarded<::TVHandle*>(nullptr, [&] {
    foldapi::TVHandle& parent = resolve<Class>(token);
    ::TVHandle* child = nullptr;
    try {
      child = tokenOf(parent.next(&Child::theClass));
    } catch (...) {
      parent.close();
      throw;
    }
    if (child == nullptr) parent.close();
    return child;
  });
}

// How a key is looked for.
struct Look {
  TVSortType sortType;
  VCase letterCase = VCase::kIgnored;
};

// Gives what the first of the looks finds that finds anything. The parent is open during them
// alone. Where that was its only count, the list is deleted, and the result with it after the next
// call.
template <typename Class, typename Child>
::TVHandle* find(const ::TVHandle* token, const char* key, std::initializer_list<Look> looks) {
  return guarded<::TVHandle*>(nullptr, [&]() -> ::TVHandle* {
    foldapi::TVHandle& parent = resolve<Class>(token);
    const OpenScope open(parent, &theParkedList());
    for (const Look& look : looks) {
      auto& found = parent.find(key, look.letterCase, &Child::theClass, look.sortType);
      if (!found.isNull()) return tokenOf(found);
    }
    return nullptr;
  });
}

// By the whole name, then by the ordering number: that is what the default sort type knows items
// by.
template <typename Class, typename Child>
::TVHandle* findItem(const ::TVHandle* token, const char* key) {
  return find<Class, Child>(token, key, {{TVSortType::kName}, {TVSortType::kDefault}});
}

template <typename Class, typename Child>
void sort(const ::TVHandle* token, TVSortType sortType) {
  guarded([&] { resolve<Class>(token).setSortType(&Child::theClass, sortType); });
}

// Queries on the typed handle of a class.
template <typename Class, typename TypedHandle, typename Query>
const char* text(const ::TVHandle* token, Query query) {
  return guarded("", [&] {
    TypedHandle handle(resolve<Class>(token));
    return clientText(query(handle));
  });
}

// Queries that fill an out value, which stays 0 or empty on failure.
template <typename Class, typename TypedHandle, typename Value>
Value filled(const ::TVHandle* token, int (TypedHandle::*query)(Value*)) {
  TypedHandle handle(resolve<Class>(token));
  Value value = Value();
  (handle.*query)(&value);
  return value;
}

}  // namespace foldapi::api
