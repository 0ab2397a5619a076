// cli/commands/differences.cpp: the engine's report, and its colours.
#include "cli/commands/differences.h"

#include <fmt/format.h>

#include "btkf520/btkf520.h"

namespace cli {
namespace {

constexpr std::string_view kBinary = "Binary files ";

Colour colourOf(const std::string& line) {
  if (line.starts_with("@@")) return Colour::kCyan;
  if (line.starts_with('+')) return Colour::kGreen;
  return line.starts_with('-') ? Colour::kRed : Colour::kPlain;
}

}  // namespace

std::vector<std::string> differencesOf(const Subject& subject, const std::string& from,
                                       const std::string& to, int16_t contextLines,
                                       uint32_t flags) {
  const bool isFile = to.empty();
  const std::string first = target(subject.archive, subject.workfile);
  auto lines = linesOf(
      [&] {
        return TrvsReportDifferences(TRVS_CONTEXT, first.c_str(), from.c_str(),
                                     isFile ? subject.workfile.c_str() : first.c_str(),
                                     isFile ? nullptr : to.c_str(), nullptr, contextLines, 0, 0,
                                     nullptr, flags | TRVS_DIFF_NO_HEADING);
      },
      subject);
  if (isBinary(lines)) {
    const std::string second = isFile ? subject.file : fmt::format("{} {}", subject.file, to);
    lines = {fmt::format("{}{} {} and {} differ", kBinary, subject.file, from, second)};
  }
  return lines;
}

// Lines of text begin with other letters.
bool isBinary(const std::vector<std::string>& lines) {
  return lines.size() == 1 && lines.front().starts_with(kBinary);
}

void tellDifferences(Output& output, const std::string& path, const std::string& from,
                     const std::string& to, const std::vector<std::string>& lines) {
  if (!isBinary(lines)) {
    output.line(output.coloured(fmt::format("--- {}\t{}", path, from), Colour::kBold));
    output.line(output.coloured(to.empty() ? "+++ " + path : fmt::format("+++ {}\t{}", path, to),
                                Colour::kBold));
  }
  for (const std::string& line : lines) output.line(output.coloured(line, colourOf(line)));
}

}  // namespace cli
