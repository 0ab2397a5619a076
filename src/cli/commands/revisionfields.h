// cli/commands/revisionfields.h: a revision in JSON, the same in every command that tells of some.
#pragma once

#include "cli/archives/history.h"
#include "cli/terminal/output.h"

namespace cli {

inline Fields fieldsOf(const RevisionInfo& revision) {
  return {{"revision", revision.number}, {"branch", revision.branch},
          {"author", revision.author},   {"time", isoTime(revision.time)},
          {"message", revision.message}, {"labels", revision.labels},
          {"groups", revision.groups},   {"lockers", revision.lockers}};
}

}  // namespace cli
