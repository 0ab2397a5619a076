// cli/moving/gitexport.cpp: contents first, then the commits of main, the branches, and the tags.
#include "cli/moving/gitexport.h"

#include <fmt/format.h>

#include <algorithm>
#include <compare>
#include <deque>
#include <functional>
#include <limits>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "btkf520/btkf520.h"
#include "cli/archives/content.h"
#include "cli/archives/engine.h"
#include "cli/local/entries.h"
#include "cli/moving/gitstream.h"
#include "cli/text/text.h"

namespace cli {
namespace {

using Mark = GitStream::Mark;

constexpr const char* kUs = "trevault <trevault>";  // Who makes what nobody checked in.

// When something came. What came in one second is put in order by the labels: what an older one
// has came before what it has not.
struct Moment {
  int64_t seconds = std::numeric_limits<int64_t>::min();
  size_t label = 0;  // The first one that has it, counted by age.
  auto operator<=>(const Moment&) const = default;
};
constexpr Moment kForever{std::numeric_limits<int64_t>::max(), 0};

// One file under all its names.
struct Line {
  FileRecord file;
  bool isRemoved = false;  // The project has it no more.
  const History* history = nullptr;
  bool isExecutable = false;
  bool hasKeywords = false;
  // Of its revisions, in their order: what they hold, when they came, which is never before what
  // they come from, and the commits that have them first, with the paths there.
  const std::vector<Mark>* contents = nullptr;
  std::vector<Moment> moments;
  std::vector<Mark> commits;
  std::vector<std::string> paths;
  struct Name {
    std::string path;  // Empty: it has left the project.
    Moment until;      // When the last label came that knows it by that name.
  };
  std::vector<Name> names;
  size_t name = 0;

  size_t indexOf(const RevisionInfo* revision) const {
    return static_cast<size_t>(revision - history->revisions().data());
  }
};

struct Leaf {
  Mark content = 0;
  bool isExecutable = false;
  bool operator==(const Leaf&) const = default;
};

// The files that a commit has.
class Tree {
 public:
  void set(const std::string& path, const Leaf& leaf) {
    remove(path);
    hash_ += hashOf(path, leaf);
    leaves_[path] = leaf;
  }
  void remove(const std::string& path) {
    const auto found = leaves_.find(path);
    if (found == leaves_.end()) return;
    hash_ -= hashOf(path, found->second);
    leaves_.erase(found);
  }
  // Equal for equal trees, and hardly ever for others.
  uint64_t hash() const { return hash_; }
  const std::map<std::string, Leaf>& leaves() const { return leaves_; }

 private:
  static uint64_t hashOf(const std::string& path, const Leaf& leaf) {
    constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;
    return (std::hash<std::string>()(path) ^ static_cast<uint64_t>(leaf.content) * kSpread) *
           kSpread;
  }

  std::map<std::string, Leaf> leaves_;
  uint64_t hash_ = 0;
};

// A file in what a label stands for, or in what a branch starts with.
struct Pin {
  Line* line;
  std::string path;
  size_t revision;
};
using Pins = std::vector<Pin>;

// Revisions of one file on one branch.
struct Limb {
  Line* line;
  std::string branch;
};

struct Branch {
  std::string label;  // Empty: one limb without a label.
  std::vector<Limb> limbs;
  std::string reference = {};

  auto depth() const {
    const std::string& branch = limbs.front().branch;
    return std::count(branch.begin(), branch.end(), '.');
  }
};

class Export {
 public:
  Export(LocalFiles& local, const std::vector<const FileRecord*>& files, const ExportWishes& wishes,
         const std::function<void(std::string_view)>& write, Output& output)
      : local_(local), files_(files), wishes_(wishes), stream_(write), output_(output) {}

  ExportCount run() {
    findLines();
    findNames();
    findBranches();
    output_.begin(lines_.size());
    for (Line& each : lines_) {
      writeContents(&each);
      output_.step();
    }
    output_.end();
    expectStates();
    writeMain();
    for (const Branch& each : branches_) each.label.empty() ? writeLimb(each) : writeBranch(each);
    writeTags();
    stream_.finish();
    count_.files = lines_.size();
    return count_;
  }

 private:
  // What there is ---------------------------------------------------------------------------------

  Line* addLine(const FileRecord& file) {
    Line& line = lines_.emplace_back();
    line.file = file;
    line.history = &local_.historyOf(file);
    uint32_t attributes = 0;
    check(TrvsGetAttributes(TRVS_CONTEXT, file.archive.c_str(), &attributes),
          {.file = file.path, .archive = file.archive});
    line.isExecutable = (attributes & TRVS_ATTRIBUTE_EXECUTABLE) != 0;
    line.hasKeywords = (attributes & TRVS_ATTRIBUTE_KEYWORDS) != 0;
    std::map<std::string, int64_t> latest;  // By branch.
    for (const RevisionInfo& each : line.history->revisions()) {
      const auto [last, isFirst] = latest.try_emplace(each.branch, secondsOf(each.time));
      if (isFirst && each.branch != "1") {
        const RevisionInfo* const start = line.history->find(startOf(each.branch));
        last->second = line.moments[line.indexOf(start)].seconds;
      }
      last->second = std::max(last->second, secondsOf(each.time));
      line.moments.push_back({last->second, std::numeric_limits<size_t>::max()});
      labels_.insert(each.labels.begin(), each.labels.end());
    }
    line.commits.resize(line.moments.size());
    line.paths.resize(line.moments.size());
    byArchive_.emplace(file.archive, &line);
    byFile_[&line.file] = &line;
    return &line;
  }

  void findLines() {
    for (const FileRecord* file : files_) addLine(*file);
    const bool areAll = files_.size() == local_.files().size();
    std::set<std::string> labels = labels_;
    for (const std::string& each : local_.listedLabels()) labels.insert(each);
    for (const std::string& label : labels) {
      for (const FileRecord& file : local_.formerFiles(label)) {
        const auto known = byArchive_.find(file.archive);
        if (known == byArchive_.end() && !areAll) continue;
        Line* const line = known == byArchive_.end() ? addLine(file) : known->second;
        line->isRemoved = line->isRemoved || known == byArchive_.end();
        formerNames_[label][line] = file.path;
      }
    }
  }

  // What a check-out of the label brings.
  Pins pinsOf(const std::string& label) {
    Pins pins;
    const auto& former = formerNames_[label];
    for (Line& each : lines_) {
      const auto renamed = former.find(&each);
      const RevisionInfo* const revision = each.history->withLabel(label);
      if (revision == nullptr || (each.isRemoved && renamed == former.end())) continue;
      const bool isSecond = byArchive_.at(each.file.archive) != &each;
      if (isSecond && former.contains(byArchive_.at(each.file.archive))) continue;
      pins.push_back({&each, renamed == former.end() ? each.file.path : renamed->second,
                      each.indexOf(revision)});
    }
    return pins;
  }

  static Moment newestOf(const Pins& pins) {
    Moment newest;
    for (const Pin& each : pins) newest = std::max(newest, each.line->moments[each.revision]);
    return newest;
  }

  // From the oldest on, as far as anybody can tell: by the newest check-in, else by how many there
  // are, else by how many names have changed since.
  std::vector<std::string> labelsByAge() {
    std::vector<std::tuple<Moment, size_t, size_t, std::string>> order;
    for (const std::string& label : labels_) {
      const Pins pins = pinsOf(label);
      size_t checkIns = 0;
      for (const Pin& each : pins) checkIns += each.revision;
      order.emplace_back(newestOf(pins), checkIns, pins.size() - formerNames_[label].size(), label);
    }
    std::sort(order.begin(), order.end());
    std::vector<std::string> labels;
    for (auto& each : order) labels.push_back(std::move(std::get<3>(each)));
    return labels;
  }

  // Labels tell what each file was called, and what came before what.
  void findNames() {
    const auto labels = labelsByAge();
    for (size_t i = 0; i < labels.size(); ++i) {
      const Pins pins = pinsOf(labels[i]);
      const int64_t newest = newestOf(pins).seconds;
      for (const Pin& each : pins) {
        for (size_t j = 0; j <= each.revision; ++j) {
          size_t& label = each.line->moments[j].label;
          label = std::min(label, i);
        }
        addName(each.line, each.path, {newest, i});
      }
    }
    for (Line& each : lines_) {
      if (!each.isRemoved) {
        addName(&each, each.file.path, kForever);
        continue;
      }
      const RevisionInfo* const tip = each.history->tipOf("1");
      Moment& until = each.names.back().until;
      if (tip != nullptr) until = std::max(until, each.moments[each.indexOf(tip)]);
      each.names.push_back({"", kForever});
    }
  }

  static void addName(Line* line, const std::string& path, const Moment& until) {
    // A label that was given to an old revision after the file got this name knows no better.
    std::erase_if(line->names, [&](const Line::Name& each) { return each.path == path; });
    line->names.push_back({path, until});
  }

  // Of several labels at a tip the branch has the one that floats with it, else the one that stands
  // at the most tips.
  void findBranches() {
    std::vector<std::pair<Limb, const RevisionInfo*>> tips;
    std::map<std::string, size_t> counts;
    for (Line& each : lines_) {
      std::map<std::string, const RevisionInfo*> tipOf;
      for (const RevisionInfo& revision : each.history->revisions()) {
        if (revision.branch != "1") tipOf[revision.branch] = &revision;
      }
      for (const auto& [branch, tip] : tipOf) {
        tips.push_back({{&each, branch}, tip});
        for (const std::string& label : tip->labels) ++counts[label];
      }
    }
    std::map<std::string, Branch> labelled;
    for (const auto& [limb, tip] : tips) {
      const std::string label = nameOf(limb, *tip, counts);
      if (label.empty()) {
        branches_.push_back({"", {limb}});
      } else {
        labelled.try_emplace(label, Branch{label, {}}).first->second.limbs.push_back(limb);
      }
    }
    for (auto& [label, branch] : labelled) branches_.push_back(std::move(branch));
    // What it starts from comes before a branch.
    std::stable_sort(
        branches_.begin(), branches_.end(),
        [](const Branch& left, const Branch& right) { return left.depth() < right.depth(); });
    GitNames names("refs/heads/");
    main_ = names.take("main");
    for (const bool isLabelled : {true, false}) {
      for (Branch& each : branches_) {
        const Limb& limb = each.limbs.front();
        if (each.label.empty() == isLabelled) continue;
        each.reference = names.take(isLabelled ? each.label : nameAt(limb) + '/' + limb.branch);
        tellName("branch", each.label, each.reference);
      }
    }
    count_.branches = branches_.size();
  }

  static std::string nameAt(const Limb& limb) {
    return limb.line->isRemoved ? limb.line->names.front().path : limb.line->file.path;
  }

  static std::string nameOf(const Limb& limb, const RevisionInfo& tip,
                            const std::map<std::string, size_t>& counts) {
    if (tip.labels.size() < 2) return tip.labels.empty() ? "" : tip.labels.front();
    const FileRecord& file = limb.line->file;
    for (const std::string& each : tip.labels) {
      if (floatingLabels(file.archive, file.path).contains(each)) return each;
    }
    return *std::max_element(tip.labels.begin(), tip.labels.end(),
                             [&](const std::string& left, const std::string& right) {
                               return counts.at(left) < counts.at(right);
                             });
  }

  void tellName(const char* what, const std::string& label, const std::string& reference) const {
    const std::string name = reference.substr(reference.find('/', sizeof "refs/" - 1) + 1);
    if (!label.empty() && name != label) {
      output_.aside(fmt::format("label {} becomes the {} {}", shown(label), what, shown(name)));
    }
  }

  // Contents --------------------------------------------------------------------------------------

  void writeContents(Line* line) {
    const auto [found, isNew] = contents_.try_emplace(line->file.archive);
    line->contents = &found->second;
    if (!isNew) return;
    const FileRecord& file = line->file;
    auto contents = contentsOf(file.archive, file.path);
    for (const RevisionInfo& each : line->history->revisions()) {
      found->second.push_back(
          writeContent(*line, each.number, static_cast<uint64_t>(contents[each.number].size)));
    }
    count_.revisions += found->second.size();
  }

  // As a check-out gives it. How long it is then with keywords nobody knows before.
  Mark writeContent(const Line& line, const std::string& number, uint64_t size) {
    output_.mayStop();
    const FileRecord& file = line.file;
    const auto fail = [&](int32_t status) {
      throw Problem{shown(file.path),
                    number + " can't be read; nothing after it would be true, so the export stops",
                    fmt::format("'trevault verify {}' tells more", shown(file.path)), Exit::kFailed,
                    status};
    };
    const auto read = [&](const std::function<void(std::string_view)>& take) {
      const int32_t status =
          readContent({.file = file.path, .archive = file.archive, .revision = number},
                      line.hasKeywords ? Keywords::kExpanded : Keywords::kStored, take);
      if (status != TRVS_DONE) fail(status);
    };
    if (line.hasKeywords) {
      size = 0;
      read([&](std::string_view bytes) { size += bytes.size(); });
    }
    const Mark mark = stream_.content(size);
    uint64_t written = 0;
    read([&](std::string_view bytes) {
      written += bytes.size();
      stream_.write(bytes);
    });
    if (written != size) fail(TRVS_DONE);
    output_.count(written);
    stream_.write("\n");
    return mark;
  }

  // Commits ---------------------------------------------------------------------------------------

  static Leaf leafOf(const Line& line, size_t revision) {
    return {(*line.contents)[revision], line.isExecutable};
  }

  static Tree treeOf(const Pins& pins) {
    Tree tree;
    for (const Pin& each : pins) tree.set(each.path, leafOf(*each.line, each.revision));
    return tree;
  }

  // With the revisions where the branch starts.
  Pins startOfBranch(const Branch& branch) {
    Pins pins = pinsOf(branch.label);
    for (Pin& each : pins) {
      const History& history = *each.line->history;
      for (const Limb& limb : branch.limbs) {
        if (limb.line == each.line && history.revisions()[each.revision].branch == limb.branch) {
          each.revision = each.line->indexOf(history.find(startOf(limb.branch)));
          break;
        }
      }
    }
    return pins;
  }

  // What commits are looked for, by the hashes of their trees: then it need not be kept.
  struct State {
    std::function<Pins()> pins;
    Mark commit = 0;
  };

  void expectStates() {
    const auto expect = [&](State* state, std::function<Pins()> pins) {
      state->pins = std::move(pins);
      expected_.emplace(treeOf(state->pins()).hash(), state);
    };
    for (const Branch& each : branches_) {
      if (each.label.empty()) continue;
      expect(&states_[each.label], [this, &each] { return startOfBranch(each); });
    }
    for (const std::string& label : labels_) {
      if (states_.contains(label) || pinsOf(label).empty()) continue;
      expect(&states_[label], [this, label] { return pinsOf(label); });
      tags_.push_back(label);
    }
  }

  void noteState(const Tree& tree, Mark commit) {
    const auto [begin, end] = expected_.equal_range(tree.hash());
    for (auto each = begin; each != end; ++each) {
      State& state = *each->second;
      if (state.commit != 0 || treeOf(state.pins()).leaves() != tree.leaves()) continue;
      state.commit = commit;
    }
  }

  std::string identityOf(const std::string& user) const {
    const auto said = wishes_.identities.find(user);
    if (said != wishes_.identities.end()) return said->second;
    return fmt::format("{0} <{0}>", identityPart(user));
  }

  const Moment& momentOfCheckIn(const CheckIn& checkIn) const {
    const Line& line = *byFile_.at(checkIn.file);
    return line.moments[line.indexOf(checkIn.revision)];
  }

  std::vector<Entry> entriesOn(const std::vector<Limb>& limbs) const {
    std::vector<CheckIn> checkIns;
    for (const Limb& limb : limbs) {
      for (const RevisionInfo& each : limb.line->history->revisions()) {
        if (each.branch != limb.branch) continue;
        checkIns.push_back({&limb.line->file, &each, 0});
        checkIns.back().seconds = momentOfCheckIn(checkIns.back()).seconds;
      }
    }
    std::stable_sort(checkIns.begin(), checkIns.end(),
                     [&](const CheckIn& left, const CheckIn& right) {
                       return momentOfCheckIn(left) < momentOfCheckIn(right);
                     });
    return entriesOf(checkIns, wishes_.window);
  }

  // `pathOf` tells what each file is called there.
  template <typename PathOf>
  Mark writeEntry(const Entry& entry, const std::string& reference, Mark parent,
                  const PathOf& pathOf, Tree* tree) {
    const RevisionInfo& last = *entry.back().revision;
    GitStream::Commit commit{.reference = reference,
                             .identity = identityOf(last.author),
                             .moment = utcOf(last.time),
                             .message = last.message,
                             .parent = parent};
    std::vector<std::pair<Line*, size_t>> done;
    for (const CheckIn& each : entry) {
      Line* const line = byFile_.at(each.file);
      const size_t revision = line->indexOf(each.revision);
      line->paths[revision] = pathOf(*line);
      const Leaf leaf = leafOf(*line, revision);
      commit.changes.push_back({line->paths[revision], leaf.content, leaf.isExecutable});
      tree->set(line->paths[revision], leaf);
      done.emplace_back(line, revision);
    }
    const Mark mark = write(commit);
    for (const auto& [line, revision] : done) line->commits[revision] = mark;
    return mark;
  }

  Mark write(const GitStream::Commit& commit) {
    output_.mayStop();
    ++count_.commits;
    return stream_.commit(commit);
  }

  using Moves = std::vector<std::pair<Moment, Line*>>;

  void writeMain() {
    std::vector<Limb> trunks;
    Moves moves;
    for (Line& each : lines_) {
      trunks.push_back({&each, "1"});
      for (size_t i = 0; i + 1 < each.names.size(); ++i) {
        moves.emplace_back(each.names[i].until, &each);
      }
    }
    std::stable_sort(moves.begin(), moves.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    Tree tree;
    auto move = moves.begin();
    const auto moveUntil = [&](const Moment& moment) {
      while (move != moves.end() && move->first < moment) {
        const auto begin = move;
        while (move != moves.end() && move->first == begin->first) ++move;
        writeMoves({begin, move}, &tree);
      }
    };
    const auto entries = entriesOn(trunks);
    for (const Entry& entry : entries) {
      moveUntil(momentOfCheckIn(entry.front()));
      lastOfMain_ = writeEntry(
          entry, main_, 0, [](const Line& line) { return line.names[line.name].path; }, &tree);
      noteState(tree, lastOfMain_);
    }
    if (!entries.empty()) ++count_.branches;
    moveUntil(kForever);
  }

  // All at one moment. A file whose trunk has not begun is not there yet.
  void writeMoves(const Moves& moves, Tree* tree) {
    GitStream::Commit commit{.reference = main_, .identity = kUs};
    std::vector<std::pair<std::string, Leaf>> arrived;
    for (const auto& [moment, line] : moves) {
      const std::string old = line->names[line->name].path;
      const std::string now = line->names[++line->name].path;
      const auto found = tree->leaves().find(old);
      if (found == tree->leaves().end()) continue;
      const std::string said = now.empty() ? fmt::format("Take {} off the project", shown(old))
                                           : fmt::format("Rename {} to {}", shown(old), shown(now));
      commit.message += (commit.message.empty() ? "" : "\n") + said;
      commit.changes.push_back({old});
      if (!now.empty()) arrived.emplace_back(now, found->second);
      tree->remove(old);
    }
    for (const auto& [path, leaf] : arrived) {
      tree->set(path, leaf);
      commit.changes.push_back({path, leaf.content, leaf.isExecutable});
    }
    if (commit.changes.empty()) return;
    commit.moment = utcOfSeconds(moves.front().first.seconds);
    lastOfMain_ = write(commit);
    noteState(*tree, lastOfMain_);
  }

  // A commit with just these files. What comes nearest is its parent: where the newest came.
  Mark writeWhole(const Pins& pins, const std::string& reference, const std::string& message) {
    GitStream::Commit commit{.reference = reference,
                             .identity = kUs,
                             .moment = utcOfSeconds(newestOf(pins).seconds),
                             .message = message,
                             .parent = lastOfMain_,
                             .isWhole = true};
    Moment newest;
    for (const Pin& each : pins) {
      const Leaf leaf = leafOf(*each.line, each.revision);
      commit.changes.push_back({each.path, leaf.content, leaf.isExecutable});
      const Mark came = each.line->commits[each.revision];
      if (came == 0 || each.line->moments[each.revision] <= newest) continue;
      newest = each.line->moments[each.revision];
      commit.parent = came;
    }
    return write(commit);
  }

  void writeBranch(const Branch& branch) {
    State& start = states_[branch.label];
    const Pins pins = start.pins();
    Tree tree = treeOf(pins);
    Mark parent = start.commit;
    if (parent == 0) {
      parent = writeWhole(pins, branch.reference,
                          fmt::format("The files of {} where it branches", branch.label));
      noteState(tree, parent);
    }
    std::map<const Line*, std::string> paths;
    for (const Pin& each : pins) paths[each.line] = each.path;
    for (const Entry& entry : entriesOn(branch.limbs)) {
      parent = writeEntry(
          entry, branch.reference, parent,
          [&](const Line& line) {
            const auto found = paths.find(&line);
            return found == paths.end() ? line.names.front().path : found->second;
          },
          &tree);
      noteState(tree, parent);
    }
  }

  // Changes to a single file, on whatever the project was when it branched.
  void writeLimb(const Branch& branch) {
    const Limb& limb = branch.limbs.front();
    const Line& line = *limb.line;
    const size_t start = line.indexOf(line.history->find(startOf(limb.branch)));
    const bool isKnown = line.commits[start] != 0;
    Mark parent = isKnown ? line.commits[start] : lastOfMain_;
    const std::string path = isKnown ? line.paths[start] : line.names.front().path;
    Tree tree;
    for (const Entry& entry : entriesOn(branch.limbs)) {
      parent = writeEntry(
          entry, branch.reference, parent, [&](const Line&) { return path; }, &tree);
    }
  }

  void writeTags() {
    GitNames names("refs/tags/");
    for (const std::string& label : tags_) {
      const std::string reference = names.take(label);
      tellName("tag", label, reference);
      const State& state = states_[label];
      if (state.commit != 0) {
        stream_.name(reference, state.commit);
      } else {
        writeWhole(state.pins(), reference, fmt::format("The files of {}", label));
      }
    }
    count_.tags = tags_.size();
  }

  LocalFiles& local_;
  const std::vector<const FileRecord*>& files_;
  const ExportWishes& wishes_;
  GitStream stream_;
  Output& output_;
  ExportCount count_;
  std::deque<Line> lines_;
  std::map<std::string, Line*> byArchive_;  // The first one of each.
  std::map<const FileRecord*, Line*> byFile_;
  std::set<std::string> labels_;
  std::map<std::string, std::map<const Line*, std::string>> formerNames_;  // By label.
  std::map<std::string, std::vector<Mark>> contents_;                      // By archive.
  std::vector<Branch> branches_;
  std::vector<std::string> tags_;  // Labels.
  std::map<std::string, State> states_;
  std::unordered_multimap<uint64_t, State*> expected_;
  std::string main_;
  Mark lastOfMain_ = 0;
};

}  // namespace

ExportCount exportToGit(LocalFiles& local, const std::vector<const FileRecord*>& files,
                        const ExportWishes& wishes,
                        const std::function<void(std::string_view bytes)>& write, Output& output) {
  return Export(local, files, wishes, write, output).run();
}

}  // namespace cli
