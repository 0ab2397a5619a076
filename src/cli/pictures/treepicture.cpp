// cli/pictures/treepicture.cpp: lanes to the left, and beside each revision its number, time,
// author, marks and message, in columns.
//
// Marks stand before the message and take as many lines as they need; all else has one line. So a
// row is as high as its marks want it, and nothing covers anything, whatever the fonts are.
#include "cli/pictures/treepicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "cli/pictures/lanes.h"
#include "cli/pictures/textwidth.h"
#include "cli/pictures/treestyle.h"
#include "cli/pictures/xml.h"
#include "cli/text/text.h"

namespace cli {
namespace {

constexpr Face kTitle{Face::Kind::kProportional, 20};
constexpr Face kSummary{Face::Kind::kProportional, 13};
constexpr Face kNumber{Face::Kind::kFixed, 13};
constexpr Face kTime{Face::Kind::kFixed, 12};
constexpr Face kPlain{Face::Kind::kProportional, 14};
constexpr Face kMark{Face::Kind::kFixed, 12};

constexpr double kMargin = 24;
constexpr double kHeading = 76;   // Above the first row.
constexpr double kLine = 30;      // A row of one line,
constexpr double kMoreLine = 26;  // and each line more.
constexpr double kGap = 18;       // Between columns.
constexpr double kContent = 560;  // Marks and message, at most.
constexpr double kAuthor = 130;   // At most.
constexpr double kName = 200;     // In a mark, at most.
constexpr double kMessage = 260;  // At least, unless it is shorter.
constexpr double kMarkHeight = 20;
constexpr double kMarkGap = 6;
constexpr double kCorner = 9;
constexpr double kNodeRadius = 5;
constexpr double kTipRadius = 7.5;

struct Mark {
  enum class Kind { kHere, kTip, kLock, kGroup, kLabel };
  Kind kind = Kind::kHere;
  std::string text;
  std::string meaning;
  double x = 0;
  double y = 0;  // Of its middle.
  double width = 0;
};

struct Row {
  double top = 0;
  double height = 0;
  std::vector<Mark> marks;
  std::string message;
  double messageX = 0;
  double messageY = 0;

  double middle() const { return top + kLine / 2; }
};

// What stands beside the text of a mark, within it.
double roomOf(Mark::Kind kind) {
  switch (kind) {
    case Mark::Kind::kLock:
      return 34;
    case Mark::Kind::kGroup:
    case Mark::Kind::kLabel:
      return 28;
    default:
      return 18;
  }
}

class Drawing {
 public:
  explicit Drawing(const TreePicture& picture)
      : picture_(picture), lanes_(lanesOf(picture.revisions)) {
    // Many lanes move together.
    laneStep_ = std::floor(std::clamp(240.0 / static_cast<double>(lanes_.count), 16.0, 24.0));
    placeColumns();
    double top = picture.isOfPage ? kMargin / 2 : kHeading;
    for (const PlacedRevision& each : lanes_.rows) {
      rows_.push_back(placeRow(each, top));
      top += rows_.back().height;
    }
    height_ = top + (picture.isOfPage ? kMargin / 2 : kMargin);
    const double heading =
        picture.isOfPage ? 0 : std::max(widthOf(title(), kTitle), widthOf(summary(), kSummary));
    width_ = std::max(contentEnd_, kMargin + heading) + kMargin;
  }

  XmlWriter draw() {
    xml_.open("svg", {{"xmlns", "http://www.w3.org/2000/svg"},
                      {"class", "trevault-tree"},
                      {"role", "graphics-document document"},
                      {"width", width_},
                      {"height", height_},
                      {"viewBox", fmt::format("0 0 {:.0f} {:.0f}", width_, height_)}});
    xml_.element("title", {}, "The revisions of " + picture_.title);
    xml_.element("desc", {}, summary() + ", the newest at the top");
    if (!picture_.isOfPage) xml_.element("style", {}, treeStyle());
    xml_.element("rect", {{"class", "paper"}, {"width", width_}, {"height", height_}});
    if (!picture_.isOfPage) {
      drawText("title", kMargin, 40, title());
      drawText("summary", kMargin, 61, summary());
    }
    for (size_t i = 0; i < rows_.size(); ++i) {
      if (isHere(i)) drawHere(rows_[i]);
    }
    drawLeaders();
    // Where several branches start at one revision the near ones are drawn over the far ones.
    for (auto each = lanes_.branches.rbegin(); each != lanes_.branches.rend(); ++each) {
      drawBranch(*each);
    }
    for (size_t i = 0; i < rows_.size(); ++i) drawRow(i);
    xml_.close();
    return std::move(xml_);
  }

 private:
  const RevisionInfo& revisionOf(size_t row) const { return *lanes_.rows[row].revision; }
  const PlacedBranch& branchOfRow(size_t row) const {
    return lanes_.branches[lanes_.rows[row].branch];
  }
  bool isHere(size_t row) const { return revisionOf(row).number == picture_.here; }
  bool isTip(size_t row) const { return branchOfRow(row).last == row; }
  double laneX(size_t lane) const { return kMargin + 10 + laneStep_ * static_cast<double>(lane); }

  std::string title() const { return shortened(picture_.title, kTitle, kContent); }

  std::string summary() const {
    size_t labels = 0;
    std::set<std::string> lockers;
    for (const RevisionInfo& each : picture_.revisions) {
      labels += each.labels.size();
      lockers.insert(each.lockers.begin(), each.lockers.end());
    }
    std::string text = counted(picture_.revisions.size(), "revision");
    if (lanes_.branches.size() > 1) {
      text += " · " + counted(lanes_.branches.size() - 1, "branch");
    }
    if (labels > 0) text += " · " + counted(labels, "label");
    if (!lockers.empty()) text += " · locked by " + listed({lockers.begin(), lockers.end()});
    return text;
  }

  // What is placed.

  void placeColumns() {
    double number = 0;
    double author = 0;
    for (const RevisionInfo& each : picture_.revisions) {
      number = std::max(number, widthOf(each.number, kNumber));
      author = std::max(author, widthOf(each.author, kPlain));
    }
    numberX_ = laneX(lanes_.count - 1) + 10 + kGap;
    timeX_ = numberX_ + number + kGap;
    authorX_ = timeX_ + widthOf("2026-11-23 10:31", kTime) + kGap;
    contentX_ = authorX_ + std::min(author, kAuthor) + kGap;
    contentEnd_ = contentX_;
  }

  Row placeRow(const PlacedRevision& placed, double top) {
    Row row;
    row.top = top;
    row.marks = marksOf(placed);
    const double end = contentX_ + kContent;
    double x = contentX_;
    double y = row.middle();
    const auto makeRoom = [&](double width) {
      if (x == contentX_ || x + width <= end) return;
      x = contentX_;
      y += kMoreLine;
    };
    for (Mark& mark : row.marks) {
      mark.text = shortened(mark.text, kMark, kName);
      mark.width = widthOf(mark.text, kMark) + roomOf(mark.kind);
      makeRoom(mark.width);
      mark.x = x;
      mark.y = y;
      contentEnd_ = std::max(contentEnd_, x + mark.width);
      x += mark.width + kMarkGap;
    }
    const std::string& message = placed.revision->message;
    makeRoom(std::min(widthOf(placed.revision->firstLine(), kPlain), kMessage));
    row.message = shortened(message, kPlain, end - x);
    row.messageX = x;
    row.messageY = y;
    contentEnd_ = std::max(contentEnd_, x + widthOf(row.message, kPlain));
    row.height = y - row.middle() + kLine;
    return row;
  }

  std::vector<Mark> marksOf(const PlacedRevision& placed) const {
    const RevisionInfo& revision = *placed.revision;
    std::vector<Mark> marks;
    const auto add = [&](Mark::Kind kind, const std::string& text, std::string meaning) {
      Mark& mark = marks.emplace_back();
      mark.kind = kind;
      mark.text = text;
      mark.meaning = std::move(meaning);
    };
    if (revision.number == picture_.here) {
      add(Mark::Kind::kHere, "here", "the revision in the work directory");
    }
    if (lanes_.branches[placed.branch].tip == &revision) {
      const bool isTrunk = lanes_.branches[placed.branch].lane == 0;
      const std::string text = isTrunk ? "tip" : "tip of " + revision.branch;
      add(Mark::Kind::kTip, text, isTrunk ? "the newest on the trunk" : text);
    }
    for (const std::string& each : revision.lockers) {
      add(Mark::Kind::kLock, each, meaningOfLock(revision, each));
    }
    for (const std::string& each : revision.groups) add(Mark::Kind::kGroup, each, "group " + each);
    for (const std::string& each : revision.labels) add(Mark::Kind::kLabel, each, "label " + each);
    return marks;
  }

  std::string meaningOfLock(const RevisionInfo& revision, const std::string& user) const {
    std::string text = "locked by " + user;
    for (const LockInfo& each : picture_.locks) {
      if (each.number != revision.number || each.user != user) continue;
      if (!each.time.empty()) text += " since " + each.minute();
      if (!each.note.empty()) text += ": " + each.note;
    }
    return text;
  }

  // What is drawn.

  void drawText(std::string_view kind, double x, double baseline, std::string_view text) {
    xml_.element("text", {{"class", kind}, {"x", x}, {"y", baseline}}, text);
  }

  void drawHere(const Row& row) {
    xml_.element("rect", {{"class", "band"},
                          {"x", kMargin / 2},
                          {"y", row.top + 1},
                          {"width", width_ - kMargin},
                          {"height", row.height - 2},
                          {"rx", 6.0}});
  }

  // From revisions that stand far from their texts.
  void drawLeaders() {
    std::string path;
    for (size_t i = 0; i < rows_.size(); ++i) {
      const size_t lane = branchOfRow(i).lane;
      if (lane + 2 < lanes_.count) {
        path += fmt::format("M{} {}H{}", laneX(lane) + kTipRadius, rows_[i].middle(), numberX_ - 8);
      }
    }
    if (!path.empty()) xml_.element("path", {{"class", "leader"}, {"d", path}});
  }

  // One line from where it starts to its tip.
  void drawBranch(const PlacedBranch& branch) {
    const double x = laneX(branch.lane);
    const double tip = rows_[branch.last].middle();
    std::string path;
    if (branch.start) {
      const double y = rows_[*branch.start].middle();
      const size_t origin = branchOfRow(*branch.start).lane;
      path = fmt::format("M{} {}H{}Q{} {} {} {}V{}", laneX(origin), y, x - kCorner, x, y, x,
                         y - kCorner, tip);
    } else {
      path = fmt::format("M{} {}V{}", x, rows_[branch.first].middle(), tip);
    }
    xml_.element("path", {{"class", "line " + colourOf(branch)}, {"d", path}});
  }

  void drawRow(size_t index) {
    const Row& row = rows_[index];
    const RevisionInfo& revision = revisionOf(index);
    const double baseline = row.middle() + 4.5;
    xml_.open("g", {{"class", isTip(index) ? "row newest" : "row"}});
    xml_.element("title", {}, meaningOf(revision));
    xml_.element("rect", {{"class", "strip"},
                          {"x", kMargin / 2},
                          {"y", row.top + 1},
                          {"width", width_ - kMargin},
                          {"height", row.height - 2},
                          {"rx", 6.0}});
    drawNode(index);
    drawText("number", numberX_, baseline, revision.number);
    drawText("time", timeX_, baseline, revision.minute());
    drawText("author", authorX_, baseline, shortened(revision.author, kPlain, kAuthor));
    for (const Mark& each : row.marks) drawMark(each, colourOf(branchOfRow(index)));
    if (!row.message.empty()) {
      drawText("message", row.messageX, row.messageY + 4.5, row.message);
    }
    xml_.close();
  }

  void drawNode(size_t index) {
    const double x = laneX(branchOfRow(index).lane);
    const double y = rows_[index].middle();
    const std::string colour = colourOf(branchOfRow(index));
    const auto circle = [&](const std::string& kind, double radius) {
      xml_.element("circle", {{"class", kind}, {"cx", x}, {"cy", y}, {"r", radius}});
    };
    circle("node " + colour, isTip(index) ? kTipRadius : kNodeRadius);
    if (isTip(index)) circle("eye", 3);
  }

  void drawMark(const Mark& mark, const std::string& colour) {
    const double top = mark.y - kMarkHeight / 2;
    const double end = mark.x + mark.width;
    const auto outline = [&](const std::string& path) {
      xml_.element("path", {{"class", "shape"}, {"d", path}});
    };
    double before = 0;  // What stands before the text,
    double after = 0;   // and after it.
    double baseline = mark.y + 4.2;
    switch (mark.kind) {
      case Mark::Kind::kHere:
        openMark("mark here", mark);
        outline(pill(mark.x, top, end));
        break;
      case Mark::Kind::kTip:
        openMark("mark tip " + colour, mark);
        outline(pill(mark.x, top, end));
        break;
      case Mark::Kind::kLock:
        openMark("mark lock", mark);
        outline(pill(mark.x, top, end));
        xml_.element("path", {{"class", "icon"}, {"d", padlock(mark.x + 10, mark.y)}});
        before = 14;
        break;
      case Mark::Kind::kGroup:
        openMark("mark group", mark);
        // A pole and a flag with a notch.
        outline(fmt::format("M{} {}H{}l-6 {}l6 {}H{}z", mark.x + 2, top + 1, end,
                            kMarkHeight / 2 - 2, kMarkHeight / 2 - 2, mark.x + 2));
        xml_.element("path",
                     {{"class", "pole"},
                      {"d", fmt::format("M{} {}v{}", mark.x + 1, top - 1, kMarkHeight + 3)}});
        after = 8;
        baseline -= 1;
        break;
      case Mark::Kind::kLabel:
        openMark("mark label", mark);
        // A tag with a hole.
        outline(fmt::format("M{} {}l7 -10H{}q4 0 4 4v12q0 4 -4 4H{}z", mark.x, mark.y, end - 4,
                            mark.x + 7));
        xml_.element("circle", {{"class", "hole"}, {"cx", mark.x + 9}, {"cy", mark.y}, {"r", 2.0}});
        before = 10;
        break;
    }
    drawText("name", (mark.x + before + end - after) / 2, baseline, mark.text);
    xml_.close();
  }

  void openMark(const std::string& kind, const Mark& mark) {
    xml_.open("g", {{"class", kind}});
    xml_.element("title", {}, mark.meaning);
  }

  static std::string pill(double x, double top, double end) {
    const double radius = kMarkHeight / 2;
    return fmt::format("M{0} {1}H{2}a{3} {3} 0 0 1 0 {4}H{0}a{3} {3} 0 0 1 0 -{4}z", x + radius,
                       top, end - radius, radius, kMarkHeight);
  }

  static std::string padlock(double x, double y) {
    return fmt::format("M{} {}h9v7h-9zm1.5 0v-2.5a3 3 0 0 1 6 0v2.5", x, y - 1.5);
  }

  // All that a reader may want to know.
  static std::string meaningOf(const RevisionInfo& revision) {
    std::string text =
        fmt::format("{}  {}  {}", revision.number, revision.minute(), revision.author);
    std::string message = revision.message;
    std::erase(message, '\r');
    if (!message.empty()) text += "\n" + message;
    return text;
  }

  std::string colourOf(const PlacedBranch& branch) const {
    const auto index = static_cast<size_t>(&branch - lanes_.branches.data());
    return branchColour(branch.lane == 0 ? 0 : 1 + index);
  }

  const TreePicture& picture_;
  Lanes lanes_;
  std::vector<Row> rows_;  // From the top on.
  XmlWriter xml_;
  double laneStep_ = 0;
  double numberX_ = 0;
  double timeX_ = 0;
  double authorX_ = 0;
  double contentX_ = 0;
  double contentEnd_ = 0;
  double width_ = 0;
  double height_ = 0;
};

}  // namespace

XmlWriter drawingOf(const TreePicture& picture) { return Drawing(picture).draw(); }

}  // namespace cli
