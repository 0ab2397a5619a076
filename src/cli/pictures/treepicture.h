// cli/pictures/treepicture.h: the history of a file as a picture: SVG, for a browser or inside of a
// page. It is light or dark as its reader wants it, needs nothing from elsewhere, and texts are
// texts.
#pragma once

#include <string>
#include <vector>

#include "cli/archives/history.h"
#include "cli/pictures/xml.h"

namespace cli {

struct TreePicture {
  std::string title;
  const std::vector<RevisionInfo>& revisions;  // Ordered as those of a History.
  const std::vector<LockInfo>& locks;
  std::string here = {};  // The number of the revision that the reader has; empty for none.
  // Inside of a page that has a heading, and treeStyle(), of its own.
  bool isOfPage = false;
};

// The newest revision is at the top. Nothing is cut but long names and messages, which show whole
// when one points at them.
XmlWriter drawingOf(const TreePicture& picture);
inline std::string svgOf(const TreePicture& picture) { return drawingOf(picture).written(); }

}  // namespace cli
