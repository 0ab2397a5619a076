// store/profile.h: the user's profile, KSTR.INI, and what the library keeps in it: the two root
// directories for callers who name none, and the list of opened projects for the graphical program.
//
// Nothing is held between calls: each one opens and closes the profile. A null or empty section is
// "[TRVSGUI]". Failures go to the notice operation of the context's sink.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/vbool.h"
#include "base/vpathstring.h"
#include "base/vstring.h"
#include "core/handle.h"

namespace foldapi {

// Sets a value in the profile at an operating system path, making the file if need be. A failure is
// reported, and the caller goes on with what it has. An empty `profile` is no failure.
void writeProfile(const VPathString& profile, const char* section, const char* key,
                  const VString& value, TVHandle& context);

// The value of a key, cut to `size` - 1 bytes; `fallback`, null for none, where it can't be read.
VString readProfile(const VPathString& profile, const char* section, const char* key,
                    const char* fallback, size_t size, TVHandle& context);

// The public and the private root. Where the profile has none, the directories TRVSPROJ and
// TRVSPRIV below the user's data directory are taken and written to the profile, so that later runs
// find the same. Both stay empty if nothing can be found. The directories are not made.
void findRootDirectories(VPathString* publicRoot, VPathString* privateRoot, TVHandle& context);

// The next two are for clients; nothing in the library calls them.

// The number under a key of the user's profile, of its first 9 characters and as far as 16 bits
// hold it; `fallback` where it can't be read. Reports nothing.
int16_t profileNumber(const char* section, const char* key, int16_t fallback);

// Puts the project at the top of the list of opened projects and starts the graphical program.
// False after a report.
VBool launchManager(const VString& project, TVHandle& context);

// Reports a code of the profile library; 0 is none.
void reportProfileError(int code, const VPathString& profile, const char* section, const char* key,
                        TVHandle& context);

}  // namespace foldapi
