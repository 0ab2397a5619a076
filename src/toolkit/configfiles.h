// toolkit/configfiles.h: which configuration files the toolkit reads, what is asked of them, and
// the directives that are added to a project's file.
#pragma once

#include <cstdint>
#include <string>

#include "core/handle.h"
#include "core/projectconfig.h"

namespace foldapi {

// Whether "vcs.cfg" in the current directory counts. Nothing in the library reads it.
enum class LocalFile { kLeftOut, kRead };

// What came of a load: all files that are there were taken in; the same, but the project's is not
// there; one could not be taken in, and what comes after it was not read.
enum class Loaded { kAll, kProjectMissing, kFailed };

// Has the toolkit read the root's file, then the project's, then the local one, in the state that
// is in place. Later files override earlier ones. With neither of the first two files the toolkit
// is left with its defaults.
[[nodiscard]] Loaded LoadConfiguration(const VPathString& rootPath, const VPathString& projectPath,
                                       LocalFile local);

// Fetches a TrvsItem into a growing buffer, inside a bracket of the caller's. Gives the toolkit's
// status; *answer, which changes only with 0, is the whole buffer, nulls included.
[[nodiscard]] int32_t QueryConfigurationItem(int32_t item, std::string* answer);
// An item that is one text; empty also where the toolkit gives none.
VString configurationText(int32_t item);

// Adds a VCSDIR directive to the configuration's file, without one "\" at the end of `dirs`, and
// takes `dirs` over, also after a write that failed. Failures go to the sink: a list that is too
// long for a line is one, and a file that isn't empty and can't be meant as a configuration.
void appendArchiveDirs(TVProjectConfig* config, const VString& dirs, TVHandle& context);

// Adds an ARCHIVESUFFIX directive, for clients that set up projects; nothing in the library does.
// False, after a report, when that failed; without a report when one of the texts is empty.
enum class TellUser { kFailures, kSuccessToo };
[[nodiscard]] VBool appendArchiveSuffix(const TVProjectConfig& config, const VString& extension,
                                        const VString& suffix, TellUser tell, TVHandle& context);

}  // namespace foldapi
