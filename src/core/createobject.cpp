// core/createobject.cpp: create means merge into the cache, then write what was not known.
#include "core/createobject.h"

#include "core/result.h"

namespace foldapi {

namespace {

// One object under `owner`, which is in use and edited.
TVHandle createUnder(TVObject* owner, TVFolderOptions& rules, const TVHandle& context,
                     TVCaching caching, const TVMakeObject& make) {
  TVHandle result = context;
  std::unique_ptr<TVObject> fresh = make(rules, result, owner, caching);
  if (fresh == nullptr) return TVHandle();
  bool known = false;
  result.attach(TVObject::mergeIntoCache(std::move(fresh), &known));
  if (known) return result;
  // The edit's end may be a caller's: until then nobody is to find what will not be stored.
  const auto takeBack = [&] {
    if (owner != nullptr) owner->dropWrites();
    result.object()->destroyObject(result, TVRemoval::kMemoryOnly);
  };
  try {
    if (result.object()->createStorage(result) &&
        result.object()->writeInOwner(result) == kResultDone) {
      return result;
    }
  } catch (...) {
    takeBack();
    throw;
  }
  takeBack();
  return TVHandle();
}

}  // namespace

std::vector<TVHandle> createObjects(const VClassRecord* record, const TVHandle& parentHandle,
                                    const TVCreateOptions& options,
                                    const std::vector<TVMakeObject>& makes) {
  std::vector<TVHandle> results(makes.size());
  TVHandle parent(parentHandle);
  TVObject* owner = parent.object();
  const int version = options.version != 0 ? options.version : parent.version();
  TVFolderOptions* rules = TVFolderOptions::lookup(record, version);
  if (rules == nullptr || !rules->isAllowedUnder(parent, options.version)) return results;
  TVUseScope use(owner, parent);
  TVScopedEdit edit(options.scope, parent);
  if (!edit.taken() || (owner != nullptr && owner->isDeleted())) return results;
  for (size_t i = 0; i < makes.size(); ++i) {
    results[i] = createUnder(owner, *rules, options.context(parent), options.caching, makes[i]);
  }
  return results;
}

TVHandle createObject(const VClassRecord* record, const TVHandle& parent,
                      const TVCreateOptions& options, const TVMakeObject& make) {
  return createObjects(record, parent, options, {make}).front();
}

bool isStorableText(TVHandle& context, std::string_view text, std::string_view refused) {
  VString message;
  if (text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos) {
    message = "A name or directory must not contain a line end or a null.";
  } else if (const size_t at = text.find_first_of(refused); at != std::string_view::npos) {
    message = VString("A name in brackets must not contain \"") + text.substr(at, 1) + "\".";
  } else {
    return true;
  }
  context.sink().notice(context, message);
  return false;
}

bool isStorableValue(TVHandle& context, std::string_view text, std::string_view refused) {
  const size_t macro = text.find("$(");
  if (macro == std::string_view::npos || text.find(')', macro) == std::string_view::npos) {
    return isStorableText(context, text, refused);
  }
  context.sink().notice(context,
                        "A name or directory must not contain \"$(\" with a \")\" after it.");
  return false;
}

}  // namespace foldapi
