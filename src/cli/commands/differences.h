// cli/commands/differences.h: what is different between revisions, in the form that patch(1) takes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/archives/engine.h"
#include "cli/terminal/output.h"

namespace cli {

constexpr int16_t kContextLines = 3;

// The lines of a report, none for equal ones. The subject's file is compared if `to` is empty.
// `flags` are TRVS_DIFF_... Throws Problem.
std::vector<std::string> differencesOf(const Subject& subject, const std::string& from,
                                       const std::string& to, int16_t contextLines, uint32_t flags);
// Whether they only say that contents differ which are no text.
bool isBinary(const std::vector<std::string>& lines);
// Shows such lines, those of text below a heading.
void tellDifferences(Output& output, const std::string& path, const std::string& from,
                     const std::string& to, const std::vector<std::string>& lines);

}  // namespace cli
