// cli/pictures/treestyle.cpp: each colour stands beside the one that replaces it in the dark. No
// variables: some programs that show pictures know none.
#include "cli/pictures/treestyle.h"

#include <fmt/format.h>

namespace cli {
namespace {

constexpr const char* kShapes = R"(
.trevault-tree{color-scheme:light dark;font-family:system-ui,sans-serif}
.trevault-tree .title{font-size:20px;font-weight:600}
.trevault-tree .summary{font-size:13px}
.trevault-tree .number,.trevault-tree .time,.trevault-tree .name{font-family:ui-monospace,monospace}
.trevault-tree .number{font-size:13px}
.trevault-tree .newest .number{font-weight:700}
.trevault-tree .time,.trevault-tree .name{font-size:12px}
.trevault-tree .author,.trevault-tree .message{font-size:14px}
.trevault-tree .name{text-anchor:middle}
.trevault-tree .here .name{font-weight:700}
.trevault-tree .line{fill:none;stroke:currentColor;stroke-width:2.5}
.trevault-tree .line.c0{stroke-width:3.5}
.trevault-tree .leader{fill:none;stroke-dasharray:1 4}
.trevault-tree .node{fill:currentColor;stroke-width:2}
.trevault-tree .strip{fill:none;fill-opacity:.13;pointer-events:all}
.trevault-tree .shape{stroke-width:1}
.trevault-tree .icon{fill:none;stroke-width:1.4}
.trevault-tree .pole{fill:none;stroke-width:2;stroke-linecap:round}
.trevault-tree .tip .shape{stroke:currentColor}
.trevault-tree .tip .name{fill:currentColor}
)";

struct Colour {
  const char* selector;
  const char* property;
  const char* light;
  const char* dark;
};

constexpr Colour kColours[] = {
    {".paper", "fill", "#ffffff", "#0d1117"},
    {"text", "fill", "#1f2328", "#e6edf3"},
    {".summary,.time", "fill", "#59636e", "#9198a1"},
    {".author", "fill", "#3d444d", "#c0c7d0"},
    {".row:hover .strip", "fill", "#818b98", "#818b98"},
    {".leader", "stroke", "#818b98", "#656c76"},
    {".band", "fill", "#dafbe1", "#12311f"},
    {".node", "stroke", "#ffffff", "#0d1117"},
    {".eye", "fill", "#ffffff", "#0d1117"},
    {".tip .shape", "fill", "#ffffff", "#0d1117"},
    {".here .shape", "fill", "#1a7f37", "#3fb950"},
    {".here .name", "fill", "#ffffff", "#04260f"},
    {".lock .shape", "fill", "#ffebe9", "#3c1418"},
    {".lock .shape,.lock .icon", "stroke", "#cf222e", "#f85149"},
    {".lock .name", "fill", "#a40e26", "#ffa198"},
    {".group .shape", "fill", "#ffeff7", "#42102b"},
    {".group .shape,.group .pole", "stroke", "#bf3989", "#db61a2"},
    {".group .name", "fill", "#99286e", "#ffadd6"},
    {".label .shape", "fill", "#fff8c5", "#341a00"},
    {".label .shape", "stroke", "#bf8700", "#bb8009"},
    {".label .name", "fill", "#6c4400", "#eac54f"},
    {".label .hole", "fill", "#bf8700", "#bb8009"},
    {".c0", "color", "#0969da", "#58a6ff"},
    {".c1", "color", "#bc4c00", "#f0883e"},
    {".c2", "color", "#1a7f37", "#3fb950"},
    {".c3", "color", "#8250df", "#bc8cff"},
    {".c4", "color", "#0e7c86", "#39c5cf"},
    {".c5", "color", "#b3267a", "#f778ba"},
    {".c6", "color", "#7d6200", "#c9a227"},
};
constexpr size_t kBranchColours = 6;  // Besides the trunk's.

// "a,b" inside of the picture.
std::string inside(std::string selector) {
  constexpr const char* kPicture = ".trevault-tree ";
  for (size_t place = selector.find(','); place != std::string::npos;
       place = selector.find(',', place + 1)) {
    selector.insert(place + 1, kPicture);
  }
  return kPicture + selector;
}

std::string colours(const char* Colour::*shade) {
  std::string rules;
  for (const Colour& each : kColours) {
    rules += fmt::format("{}{{{}:{}}}\n", inside(each.selector), each.property, each.*shade);
  }
  return rules;
}

}  // namespace

std::string treeStyle() {
  return fmt::format("{}{}@media (prefers-color-scheme:dark){{\n{}}}\n", kShapes,
                     colours(&Colour::light), colours(&Colour::dark));
}

std::string branchColour(size_t branch) {
  return fmt::format("c{}", branch == 0 ? 0 : 1 + (branch - 1) % kBranchColours);
}

}  // namespace cli
