// api/further.cpp: the exported functions beside the database: the version, why nothing happened,
// where a folder's files are, many records at once, and what clients of the toolkit share with the
// library.
#include <algorithm>
#include <vector>

#include "api/calls.h"
#include "domain/archivemember.h"
#include "domain/projectfolder.h"
#include "runtime/nativepath.h"
#include "store/ownplace.h"
#include "toolkit/bracket.h"
#include "toolkit/directives.h"

namespace api = foldapi::api;

int32_t FoldapiVersion(void) { return FOLDAPI_VERSION; }

const char* FoldapiLastMessage(void) { return foldapi::TVApiSink::told(); }

const char* FoldapiNativePath(const char* text) {
  return api::guarded(
      "", [&] { return api::clientText(foldapi::nativePath(foldapi::VString(text).view())); });
}

int32_t FoldapiIsInOwnPlace(TVHandle* archive) {
  return api::guarded(-1, [&] {
    const auto* object = api::resolve<foldapi::TVArchiveMember>(archive).object();
    if (object == nullptr) return -1;
    return foldapi::IsInOwnPlace(*static_cast<const foldapi::TVArchiveMember*>(object)) ? 1 : 0;
  });
}

const char* FoldapiFolderWorkDir(TVHandle* folder) {
  return api::guarded("", [&] {
    foldapi::TVObject* object = api::resolve<foldapi::TVArchiveFolder>(folder).object();
    if (object == nullptr) return "";
    const foldapi::TVArchiveMember anyFile({}, object);
    return api::clientText(anyFile.fullWorkDir());
  });
}

int32_t FoldapiAddArchives(TVHandle* parent, const char* const* workfiles,
                           const char* const* archives, int32_t count) {
  return api::guarded(-1, [&]() -> int32_t {
    const foldapi::TVHandle& folder = api::resolve<foldapi::TVArchiveFolder>(parent);
    if (folder.isNull() || workfiles == nullptr || archives == nullptr) return -1;
    std::vector<foldapi::TVMemberNames> names;
    for (int32_t i = 0; i < count; ++i) {
      names.push_back(foldapi::TVMemberNames::ofPaths(foldapi::VPathString(workfiles[i]),
                                                      foldapi::VPathString(archives[i])));
    }
    const auto made = foldapi::TVArchiveMemberHandle::createAll(names, folder);
    return static_cast<int32_t>(std::count_if(
        made.begin(), made.end(), [](const foldapi::TVHandle& each) { return !each.isNull(); }));
  });
}

int32_t FoldapiSetDirective(TVHandle* project, const char* name, const char* value) {
  return api::guarded(-1, [&] {
    return foldapi::SetDirective(api::resolve<foldapi::TVProjectFolder>(project),
                                 foldapi::VString(name).str(), {foldapi::VString(value).str()},
                                 foldapi::Trial::kThenWrite)
        .status;
  });
}

int32_t FoldapiUseProject(TVHandle* project) {
  return api::guarded(0, [&] {
    return foldapi::useInClientState(api::resolve<foldapi::TVProjectFolder>(project)) ? 1 : 0;
  });
}
