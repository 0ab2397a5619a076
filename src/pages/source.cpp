// pages/source.cpp: lists by the library's classes, archives by the engine.
#include "pages/source.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

#include "cli/archives/engine.h"
#include "cli/archives/promotion.h"
#include "cli/database/labellist.h"
#include "cli/text/paths.h"
#include "os/clock.h"

namespace pages {
namespace {

std::shared_ptr<const Archive> readArchive(const std::string& path, const std::string& file) {
  auto archive = std::make_shared<Archive>();
  try {
    archive->history = cli::History(path, file);
  } catch (const cli::Problem& problem) {
    archive->problem = cli::reasonOf(problem);
  }
  archive->tip = archive->history.tipOf("1");
  for (const cli::RevisionInfo& each : archive->history.revisions()) {
    if (archive->newest == nullptr || each.time >= archive->newest->time) archive->newest = &each;
  }
  return archive;
}

void addGroups(Project* project) {
  for (const auto& chain : cli::PromotionModel::present().chains()) {
    for (const std::string& group : chain) {
      std::erase(project->groups, group);
      project->groups.push_back(group);
    }
  }
}

}  // namespace

const Label* Project::label(std::string_view wanted) const {
  const auto found = std::find_if(labels.begin(), labels.end(),
                                  [&](const Label& each) { return each.name == wanted; });
  return found == labels.end() ? nullptr : &*found;
}

Source::Source(cli::Roots roots, std::string only)
    : roots_(std::move(roots)), only_(std::move(only)) {
  cli::attachEngine(cli::trustsConfigurations);
}

Source::~Source() = default;

std::string Source::rootMark() const {
  std::string text;
  const int64_t now = os::wallClockNanoseconds();
  for (const auto& [root, side] : {std::pair(&roots_.publicRoot, foldapi::Side::kPublic),
                                   std::pair(&roots_.privateRoot, foldapi::Side::kPrivate)}) {
    const auto mark = os::fileMark(cli::listOfProjects(root->path, side).c_str());
    // What changed just now may do so again, and look the same.
    if (mark && !os::isSettled(mark->changed, now)) return "";
    text += (mark ? cli::textOf(*mark) : "-") + '\n';
  }
  return text;
}

bool Source::areListsSame() const {
  if (rootMark_.empty() || rootMark() != rootMark_) return false;
  return std::all_of(opened_.begin(), opened_.end(), [](const Opened& each) {
    return !each.origin.empty() && each.project.isStill(each.origin);
  });
}

void Source::readLists() {
  opened_.clear();
  projects_.clear();
  database_.reset();
  rootMark_ = rootMark();
  database_ = std::make_unique<cli::Database>(roots_, cli::Database::Making::kNot);
  const auto names = only_.empty() ? database_->projects() : std::vector<std::string>{only_};
  for (const std::string& name : names) {
    Opened& opened = opened_.emplace_back(Opened{database_->open(name), "", ""});
    Project& project = projects_.emplace_back();
    project.name = name;
    try {
      opened.project.useConfiguration();
      addGroups(&project);
      for (cli::FileRecord& each : opened.project.files()) {
        project.files.push_back({std::move(each), nullptr});
      }
      opened.origin = opened.project.origin();
      opened.directory = opened.project.publicDirectory();
    } catch (const cli::Problem& problem) {
      project.problem = problem.why;
    }
  }
}

void Source::use(const Project& project) const {
  opened_[static_cast<size_t>(&project - projects_.data())].project.useConfiguration();
}

std::shared_ptr<const Archive> Source::archiveAt(const std::string& path, const std::string& file,
                                                 bool* isNew) {
  Known& known = archives_[path];
  if (known.round == round_) return known.archive;
  known.round = round_;
  const int64_t now = os::wallClockNanoseconds();
  const auto mark = os::fileMark(path.c_str());
  const bool isSame = known.archive != nullptr && mark == known.mark && mark &&
                      os::isSettled(mark->changed, known.readAt);
  if (isSame) return known.archive;
  const auto read = readArchive(path, file);
  // One that may change unseen is read each time, and mostly says the same.
  const bool isKnown = known.archive != nullptr && mark == known.mark && mark &&
                       known.archive->problem == read->problem &&
                       known.archive->history == read->history;
  known.mark = mark;
  known.readAt = now;
  if (isKnown) return known.archive;
  *isNew = true;
  return known.archive = read;
}

void Source::refresh() {
  ++round_;
  // After one that ended with an exception nothing that was read is believed.
  bool isNew = !std::exchange(isWhole_, false) || !areListsSame();
  if (isNew) readLists();
  for (size_t i = 0; i < projects_.size(); ++i) {
    bool isOther = false;
    for (File& each : projects_[i].files) {
      each.archive = archiveAt(each.record.archive, each.record.path, &isOther);
    }
    if (!isOther && !isNew) continue;
    isNew = true;
    readLabels(opened_[i], &projects_[i]);
  }
  isWhole_ = true;
  if (!isNew) return;
  ++version_;
  std::erase_if(archives_, [this](const auto& each) { return each.second.round != round_; });
}

// Lists of labels tell of files that the project has no more.
void Source::readLabels(const Opened& opened, Project* project) {
  std::map<std::string, Label> labels;
  std::unordered_set<std::string> archives;
  for (const File& file : project->files) {
    archives.insert(file.record.archive);
    for (const cli::RevisionInfo& revision : file.archive->history.revisions()) {
      for (const std::string& name : revision.labels) {
        labels[name].files.push_back({file.record.path, &file, file.archive, &revision});
      }
    }
  }
  for (const std::string& name : cli::listedLabels(opened.directory)) {
    const cli::LabelList list(opened.directory, name);
    for (const cli::LabelledFile& each : list.files()) {
      if (archives.contains(each.archive)) continue;
      bool isNew = false;
      const auto archive = archiveAt(each.archive, each.path, &isNew);
      const cli::RevisionInfo* const revision = archive->history.withLabel(name);
      if (revision != nullptr)
        labels[name].files.push_back({each.path, nullptr, archive, revision});
    }
  }
  project->labels.clear();
  for (auto& [name, label] : labels) {
    label.name = name;
    std::stable_sort(
        label.files.begin(), label.files.end(),
        [](const Labelled& left, const Labelled& right) { return left.path < right.path; });
    for (const Labelled& each : label.files) {
      label.newest = std::max(label.newest, each.revision->time);
    }
    project->labels.push_back(std::move(label));
  }
  std::stable_sort(
      project->labels.begin(), project->labels.end(),
      [](const Label& left, const Label& right) { return left.newest > right.newest; });
}

}  // namespace pages
