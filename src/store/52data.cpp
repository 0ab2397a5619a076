// store/52data.cpp: what the project's text files have in common.
//
// A record stands in a public file that a team shares, in a private file that overlays it for one
// user, or in both. This file keeps the rule that joins the two in one place; 52root, 52proj and
// 52arfld say only which file, which sections and which text. The public file is read first; then:
//   project   private WKDIR wins; each file sets its own DIR; private only: a stray
//   folder    public WKDIR stays; each file sets its own DIR; private only: a private folder, or a
//             stray, if it says OWNERSHIP
// A stray makes no object, and is kept as text.
#include "store/52data.h"

#include <algorithm>
#include <new>

#include "core/handle.h"
#include "domain/projectroot.h"
#include "os/clock.h"
#include "runtime/assertion.h"
#include "runtime/files.h"
#include "runtime/paths.h"
#include "store/52arfld.h"
#include "store/52proj.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int kAttempts = 10;
constexpr unsigned kRetryMilliseconds = 500;
constexpr int kLooks = 5;
constexpr unsigned kLookMilliseconds = 2;
constexpr int kTryAgain = -1;  // Beside the codes of the folder messages.

// How far the wait notices have come; they tell the sink.
constexpr int kFirstNotice = 1;
constexpr int kLaterNotice = 2;
constexpr int kNoNotice = 3;

constexpr size_t kShortNameLimit = 8;
constexpr size_t kMostCuts = 16;  // Each looks through the whole file.
constexpr KeyTableEntry kAllRecords[] = {
    {"Format", kSectionSkipped}, {"*", kSectionDocument}, {nullptr, kSectionSkipped}};

constexpr std::string_view kFormatHead = "[FORMAT=TRVS_GUI]\nVersion=5.2\n\n";

// In an order of their own: that in the file means nothing.
std::vector<std::string> recordsOf(std::string_view text) {
  std::vector<std::string> records;
  TVKeyFile file(text, kAllRecords);
  static_cast<void>(file.parse([&](SectionId, std::string_view, OptionalText) {
    std::string_view key;
    OptionalText value;
    while (file.nextKey(&key, &value) == kKeyFileDone) continue;
    const std::string_view record = file.sectionText();
    records.emplace_back(record.substr(0, record.find_last_not_of('\n') + 1));
    return kRecordTaken;
  }));
  std::sort(records.begin(), records.end());
  return records;
}

}  // namespace

// TVDataFile --------------------------------------------------------------------------------------

TVDataFile::TVDataFile(TVHandle& context, Missing missing, Failures failures, Access access)
    : context_(context), missing_(missing), report_(failures == Failures::kTold), access_(access) {}

void TVDataFile::report(int code, const VPathString& path) const {
  const VString message =
      code == kFolderNoMemory ? FolderMessage(code) : FolderFileMessage(code, path.text());
  context_.sink().error(context_, message);
}

int TVDataFile::openLocked(const VPathString& path, std::unique_ptr<TextFile>* stream) {
  if (makeDirectories(path.view()) != 0) return failed(kFolderDirectoryNotMade, path);
  unsigned silence = kRetryMilliseconds;
  int notice = kNoNotice;
  int code = kTryAgain;
  for (int left = kAttempts; left > 0 && code == kTryAgain; --left) {
    code = attempt(path, left < kAttempts, stream);
    if (code == kTryAgain && !waitToRetry(path, &notice, &silence)) break;
  }
  if (notice != kNoNotice) context_.sink().canRetry(context_, kNoNotice, path);
  if (code == kTryAgain) return failed(report_ ? kFolderFileBusy : missingCode(), path);
  if (code != 0) return code;
  code = dropTornEnd(**stream);
  if (code == 0) return 0;
  stream->reset();
  return failed(code, path);
}

// Of what a power cut left behind nothing shows, and the next change doesn't make it last. Only now
// is an updater's file read for that.
int TVDataFile::dropTornEnd(TextFile& stream) const {
  if (stream.endsInLine()) return 0;
  try {
    stream.dropEnd(wholeSize(stream.text()));
  } catch (const std::bad_alloc&) {
    return kFolderNoMemory;
  }
  if (!stream.failed()) return 0;
  return access_ == Access::kUpdate ? kFolderWriteFailed : kFolderReadFailed;
}

// Waits for another updater, with a notice that may end it. A file that reports nothing gives no
// notices either and waits half a second in all: another process may just be reading it.
bool TVDataFile::waitToRetry(const VPathString& path, int* notice, unsigned* silence) const {
  if (!report_) {
    *silence = waitForTextFile(path.view(), *silence);
    return *silence > 0;
  }
  *notice = *notice == kNoNotice ? kFirstNotice : kLaterNotice;
  if (context_.sink().canRetry(context_, *notice, path) == 0) return false;
  waitForTextFile(path.view(), kRetryMilliseconds);
  return true;
}

int TVDataFile::missingCode() const {
  return missing_ == Missing::kMade ? kFolderFileNotMade : kFolderFileMissing;
}

int TVDataFile::failed(int code, const VPathString& path) const {
  if (report_) report(code, path);
  return code;
}

// One try, `again` if it isn't the first. kTryAgain says that another one may help.
int TVDataFile::attempt(const VPathString& path, bool again,
                        std::unique_ptr<TextFile>* stream) const {
  const bool update = access_ == Access::kUpdate;
  if (update && fileExists(path.view())) {
    const os::FileResult access = checkAccess(path.view(), os::File::Access::kUpdate);
    if (access != os::FileResult::kDone) return failed(kFolderWriteFailed, path);
  } else if (update && missing_ == Missing::kMade) {
    static_cast<void>(TextFile::create(path.view()));  // The open tells.
  }
  TextFile::Failure why = TextFile::Failure::kNone;
  *stream = TextFile::open(path.view(),
                           update ? TextFile::Access::kUpdate : TextFile::Access::kRead, &why);
  if (*stream != nullptr) return 0;
  if (why == TextFile::Failure::kNoMemory) return failed(kFolderNoMemory, path);
  if (why == TextFile::Failure::kMissing) return failed(missingCode(), path);
  if (!update) {
    // Only an update by this very process keeps a reader out, and waiting for oneself is no use.
    if (!report_) return missingCode();
    return failed(why == TextFile::Failure::kBusy ? kFolderFileBusy : kFolderReadFailed, path);
  }
  if (why == TextFile::Failure::kNoLocks) return openWithoutLocks(path, stream);
  if (why == TextFile::Failure::kForeignLink) {
    if (report_) context_.sink().error(context_, ForeignLinkMessage(path.text()));
    return kFolderWriteFailed;
  }
  if (why != TextFile::Failure::kBusy) return failed(kFolderWriteFailed, path);
  return report_ ? probe(path, again, stream) : kTryAgain;
}

// A file that others read can't be taken exclusively, and that is told at once. A later try takes
// such a file for reading: its first write will ask again. Who only looked whether the file is
// shared, or was about to be done with it, is no reader: so a few looks must agree.
int TVDataFile::probe(const VPathString& path, bool again,
                      std::unique_ptr<TextFile>* stream) const {
  TextFile::Failure why = TextFile::Failure::kNone;
  for (int look = 0; look < kLooks; ++look) {
    if (!isTextFileShared(path.view())) return kTryAgain;
    os::sleepMilliseconds(kLookMilliseconds);
    *stream = TextFile::open(path.view(), TextFile::Access::kUpdate, &why);
    if (*stream != nullptr) return 0;
  }
  if (again) {
    *stream = TextFile::open(path.view(), TextFile::Access::kProbe, &why);
    return *stream == nullptr ? kTryAgain : 0;
  }
  report(kFolderWriteFailed, path);
  return kFolderWriteFailed;
}

int TVDataFile::openWithoutLocks(const VPathString& path, std::unique_ptr<TextFile>* stream) const {
  TextFile::Failure why = TextFile::Failure::kNone;
  if (onlyReads_) *stream = TextFile::open(path.view(), TextFile::Access::kRead, &why);
  if (*stream != nullptr) return 0;
  if (report_) context_.sink().error(context_, NoLocksMessage(path.text()));
  return kFolderWriteFailed;
}

// TVDataFileReader --------------------------------------------------------------------------------

TVDataFileReader::TVDataFileReader(TVObject* owner, TVHandle& context, const VPathString& path,
                                   const VString& directory, const KeyTableEntry* sections,
                                   Side source, Access access)
    : TVDataFile(context, Missing::kMade,
                 source == Side::kPublic ? Failures::kTold : Failures::kNotTold, access),
      owner_(owner),
      path_(path),
      directory_(directory),
      sections_(sections),
      source_(source) {
  if (owner == nullptr || sections == nullptr) assertFail("52data.cpp", 266);
  onlyReads_ = true;
}

TVDataFileReader::~TVDataFileReader() = default;

int TVDataFileReader::readFile(const TextFile* stream) {
  std::unique_ptr<TextFile> own;
  if (stream == nullptr) {
    const int code = openLocked(path_, &own);
    if (code != 0) return code;
    stream = own.get();
  }
  if (own != nullptr) own->letGo();  // Others need not wait until all is parsed.
  try {
    isWhole_ = !stream->hasDroppedEnd() && !stream->text().empty();
    if (parse(*stream)) return 0;
  } catch (const std::bad_alloc&) {
    context().sink().error(context(), FolderMessage(kFolderNoMemory));
    return kFolderNoMemory;
  }
  context().sink().error(context(), FolderFileMessage(kFolderReadFailed, path_.text()));
  return kFolderReadFailed;
}

bool TVDataFileReader::parse(const TextFile& stream) {
  const std::string_view text = stream.text();
  if (stream.failed() || !isKeyFile(text)) return false;
  TVKeyFile file(text, sections_);
  const KeyFileResult result = file.parse([&](SectionId id, std::string_view, OptionalText value) {
    return readRecord(file, id, value);
  });
  mergeDocument();
  return result == kKeyFileDone;
}

RecordResult TVDataFileReader::readRecord(TVKeyFile& file, SectionId id, OptionalText value) {
  if (id != kSectionDocument) mergeDocument();
  switch (id) {
    case kSectionProject:
      return readProjectRecord(file, value);
    case kSectionFolder:
      return readFolderRecord(file, value);
    case kSectionDocument:
      return readDocumentRecord(value);
    default:
      return kRecordDropped;
  }
}

// The keys that records of all kinds share. A key without a value counts as missing.
TVDataFileReader::RecordKeys TVDataFileReader::readKeys(TVKeyFile& file) {
  RecordKeys keys;
  std::string_view key;
  OptionalText value;
  while (file.nextKey(&key, &value) == kKeyFileDone) {
    if (compareNoCase(key, "OWNERSHIP") == 0) {
      keys.overlay = true;
    } else if (compareNoCase(key, "WKDIR") == 0) {
      keys.workDir = value.value_or("");
    } else if (compareNoCase(key, "DIR") == 0) {
      keys.dir = value;
    } else if (compareNoCase(key, "CFG") == 0) {
      keys.config = value;
    }
  }
  return keys;
}

RecordResult TVDataFileReader::readProjectRecord(TVKeyFile& file, OptionalText value) {
  if (!value) assertFail("52data.cpp", 348);
  const std::string name(value.value_or(""));
  const RecordKeys keys = readKeys(file);
  if (source_ == Side::kPrivate && findChild(name) == nullptr) return keepStray(name, file);
  int code = 0;
  if (!keys.dir) {
    code = kFolderDirFieldMissing;
  } else if (!keys.config) {
    code = kFolderConfigFieldMissing;
  } else {
    code = mergeProject(name, keys);
  }
  return code == 0 ? kRecordTaken : recordFailed(code, name);
}

// A record of the public file that can't be used is a question: 1 goes on without it, anything else
// ends the read. A private one is dropped.
RecordResult TVDataFileReader::recordFailed(int code, const std::string& name) {
  if (source_ == Side::kPrivate) return kRecordTaken;
  const VString message = FolderFileMessage(code, name.c_str());
  VString answer;
  const int goOn = context().sink().askString(context(), message, code, &answer);
  return goOn == 1 ? kRecordDropped : kRecordAbort;
}

RecordResult TVDataFileReader::keepStray(const std::string& name, const TVKeyFile& file) {
  strays_.push_back({name, std::string(file.sectionText())});
  return kRecordDropped;
}

int TVDataFileReader::mergeProject(const std::string& name, const RecordKeys& keys) {
  if (source_ == Side::kPrivate) {
    auto* project = static_cast<TVProjectFolder52*>(findChild(name));
    if (!project->isDirty()) project->setPrivateWorkDir(keys.workDir);
    project->setStorageDir(source_, storageDirectory(directory_, *keys.dir));
    return 0;
  }
  const TVProjectConfig config{VPathString(*keys.config)};
  auto* project = TVObject::mergeIntoCache(
      std::make_unique<TVProjectFolder52>(name, config, keys.workDir, keys.workDir, owner_));
  // One that was cached before follows the file, unless it holds a change that is yet to be
  // written.
  if (met_.insert(project).second && !project->isDirty()) {
    project->setConfig(config);
    project->setPublicWorkDir(keys.workDir);
    project->setPrivateWorkDir(keys.workDir);
  }
  project->setStorageDir(source_, storageDirectory(directory_, *keys.dir));
  if (name == "Master Project") static_cast<TVProjectRoot*>(owner_)->setConfig(config);
  return 0;
}

RecordResult TVDataFileReader::readFolderRecord(TVKeyFile& file, OptionalText value) {
  if (!value) {
    assertFail("52data.cpp", 546);
    return kRecordDropped;
  }
  const std::string name(*value);
  const RecordKeys keys = readKeys(file);
  if (source_ == Side::kPrivate && keys.overlay && findChild(name) == nullptr) {
    return keepStray(name, file);
  }
  if (!keys.dir) return kRecordDropped;
  mergeFolder(name, keys);
  return kRecordTaken;
}

void TVDataFileReader::mergeFolder(const std::string& name, const RecordKeys& keys) {
  TVArchiveFolder52* folder = nullptr;
  if (source_ == Side::kPrivate) folder = static_cast<TVArchiveFolder52*>(findChild(name));
  if (folder == nullptr) folder = addFolder(name, keys);
  const bool ownRecord = source_ == Side::kPublic || folder->isPrivate();
  const bool isFirst = met_.insert(folder).second;
  if (ownRecord && isFirst && !folder->isDirty()) folder->setPrivateWorkDir(keys.workDir);
  folder->setStorageDir(source_, storageDirectory(directory_, *keys.dir));
}

TVArchiveFolder52* TVDataFileReader::addFolder(const std::string& name, const RecordKeys& keys) {
  const auto privacy = source_ == Side::kPrivate ? TVPrivacy::kPrivate : TVPrivacy::kPublic;
  auto* folder = TVObject::mergeIntoCache(
      std::make_unique<TVArchiveFolder52>(name, keys.workDir, privacy, owner_));
  if (privacy == TVPrivacy::kPrivate) byName_[folder->folderName().view()].push_back(folder);
  return folder;
}

// The first child in table order of a name that this read has met: one that is cached from before
// counts only once its own record comes, as if it were read for the first time. Folders are known
// by their class, so a member or a group of the same name is none.
TVArchiveFolder* TVDataFileReader::findChild(const std::string& name) {
  if (!byNameFilled_) {
    byNameFilled_ = true;
    for (TVObject* child : owner_->childrenInOrder()) {
      if (!child->isKindOf(&TVArchiveFolder::theClass)) continue;
      auto* folder = static_cast<TVArchiveFolder*>(child);
      byName_[folder->folderName().view()].push_back(folder);
    }
  }
  const auto found = byName_.find(name);
  if (found == byName_.end()) return nullptr;
  for (TVArchiveFolder* folder : found->second) {
    if (!folder->isUnseen()) return folder;
  }
  return nullptr;
}

// Four fields, cut at the first three ";": a further one belongs to the workfile's name.
RecordResult TVDataFileReader::readDocumentRecord(OptionalText value) {
  if (!value) {
    assertFail("52data.cpp", 719);
    return kRecordDropped;
  }
  TVNameViews names;
  for (std::string_view* field : {&names.archivePath, &names.archiveName, &names.workPath}) {
    const size_t end = value->find(';');
    if (end == std::string_view::npos) return kRecordDropped;
    *field = value->substr(0, end);
    value->remove_prefix(end + 1);
  }
  names.workName = *value;
  auto fresh = std::make_unique<TVArchiveMember52>(names, owner_);
  owner_->children().foresee(fresh.get());
  mergeDocument();
  document_ = std::move(fresh);
  return kRecordTaken;
}

// The one that was read before: until now its place in the table was on its way from the memory.
void TVDataFileReader::mergeDocument() {
  if (document_ != nullptr) TVObject::mergeIntoCache(std::move(document_));
}

// TVDataFileWriter --------------------------------------------------------------------------------

TVDataFileWriter::TVDataFileWriter(TVHandle& context, VPathString publicPath,
                                   VPathString privatePath)
    : TVDataFile(context, Missing::kMade, Failures::kTold, Access::kUpdate) {
  // The paths are looked at before they are stored, so this check speaks up every time. Kept so.
  if (publicPath_.isEmpty() && privatePath_.isEmpty()) assertFail("52data.cpp", 838);
  publicPath_ = std::move(publicPath);
  privatePath_ = std::move(privatePath);
}

int TVDataFileWriter::open() {
  int code = kFolderWriteFailed;
  if (!publicPath_.isEmpty()) {
    code = openLocked(publicPath_, &public_);
    if (privatePath_.isEmpty()) return code;
  }
  if (!privatePath_.isEmpty()) {
    code = openLocked(privatePath_, &private_);
    if (publicPath_.isEmpty()) return code;
  }
  return public_ != nullptr || private_ != nullptr ? 0 : kFolderWriteFailed;
}

void writeHeader(TextFile* stream) {
  if (stream == nullptr) return;
  stream->clear();
  stream->append(kFormatHead);
}

void TVDataFileWriter::truncate(Side side) {
  writeHeader(stream(side));
  if (stream(side) == nullptr) missed(side) = {true, ""};
}

bool TVDataFileWriter::isMissed(Side side) const {
  const Missed& lost = missed_[side == Side::kPublic ? 0 : 1];
  if (!lost.isRewritten) return !lost.records.empty();
  if (path(side).isEmpty()) return false;
  TextFile::Failure why;
  const auto file = TextFile::open(path(side).view(), TextFile::Access::kRead, &why);
  return recordsOf(lost.records) != recordsOf(file == nullptr ? "" : file->text());
}

bool TVDataFileWriter::writeRecord(Side side, std::initializer_list<std::string_view> record,
                                   TVHandle& context) {
  if (isRemoving_) return noteRemoved(side, record);
  TextFile* file = stream(side);
  if (file == nullptr) {
    for (const std::string_view piece : record) missed(side).records += piece;
    return true;
  }
  file->endLastLine();
  file->append(record);
  if (!file->failed()) return true;
  reportWriteFailure(side, context);
  return false;
}

bool TVDataFileWriter::noteRemoved(Side side, std::initializer_list<std::string_view> record) {
  if (stream(side) == nullptr || removed_.size() == kMostCuts) return false;
  std::string text;
  for (const std::string_view piece : record) text += piece;
  removed_.push_back({side, std::move(text)});
  return true;
}

bool TVDataFileWriter::cutRemoved(bool keep) {
  if (removed_.empty()) return true;
  if (!keep) return false;
  for (const Side side : kBothSides) {
    if (stream(side) == nullptr && !path(side).isEmpty()) return false;
    std::vector<std::string_view> records;
    for (const Removed& each : removed_) {
      if (each.side == side) records.push_back(each.record);
    }
    if (!records.empty() && !stream(side)->cut(records)) return false;
  }
  return true;
}

bool TVDataFileWriter::commit(Side side, TVHandle& context) {
  TextFile* file = stream(side);
  if (file->commit()) return true;
  reportWriteFailure(side, context);
  return false;
}

void TVDataFileWriter::reportWriteFailure(Side side, TVHandle& context) const {
  context.sink().error(context, FolderFileMessage(kFolderWriteFailed, path(side).text()));
}

// TVDataFilePair ----------------------------------------------------------------------------------

VString storageDirectory(const VString& ownerDirectory, std::string_view dir) {
  return dir.empty() ? VString() : VString(joinPath(ownerDirectory.view(), dir));
}

VString uniqueName(const VString& directory, const VString& base, std::string_view suffix) {
  if (directory.isEmpty()) return {};
  for (int counter = -1;; ++counter) {
    const std::string digits = counter < 0 ? "" : std::to_string(counter);
    const size_t limit = digits.size() < kShortNameLimit ? kShortNameLimit - digits.size() : 0;
    std::string name = cleanFileName(base.view(), limit);
    name.append(digits).append(suffix);
    const std::string path = joinPath(directory.view(), name);
    if (!fileExists(path)) return path;
  }
}

VString makeUniqueDirectory(const VString& directory, const VString& base, std::string_view suffix,
                            TVHandle& context) {
  VString path = uniqueName(directory, base, suffix);
  if (path.isEmpty() || makeDirectories(joinPath(path.view(), ".")) == 0) return path;
  context.sink().error(context, FolderFileMessage(kFolderDirectoryNotMade, path.text()));
  return {};
}

TVDataFilePair::TVDataFilePair(const char* publicName, const char* privateName)
    : public_{.name = publicName}, private_{.name = privateName} {}

std::string recordDirectory(const VString& ownerDirectory, const VString& directory) {
  std::string relative = relativePath(ownerDirectory.view(), directory.view());
  return storageDirectory(ownerDirectory, relative) == directory ? relative : directory.str();
}

void TVDataFilePair::setDirectory(Side side, VString directory) {
  if (directory == at(side).directory) return;
  at(side) = {.name = at(side).name, .directory = std::move(directory)};
}

VPathString TVDataFilePair::path(Side side) const {
  const File& file = at(side);
  return file.directory.isEmpty() ? VPathString()
                                  : VPathString(joinPath(file.directory.view(), file.name));
}

int TVDataFilePair::read(Side side, TVObject* owner, TVHandle& context,
                         const KeyTableEntry* sections, TVDataFile::Access access,
                         const TVDataFileWriter* writer) {
  File& file = at(side);
  const VPathString filePath = path(side);
  // Taken before the open, so that what changes later counts.
  const FileStamp stamp = present(side, writer);
  file.stamp = {};
  file.unread = true;  // Until told otherwise, also by way of an exception.
  TVDataFileReader reader(owner, context, filePath, file.directory, sections, side, access);
  const int code = reader.readFile(writer == nullptr ? nullptr : writer->stream(side));
  file.unread = code != 0 && fileExists(filePath.view());
  file.absent = code != 0 && !file.unread;
  file.cut = code == 0 && !reader.isWhole();
  if (code == 0) file.stamp = stamp;
  if (side == Side::kPrivate) strays_ = reader.takeStrays();
  return code;
}

VPathString TVDataFilePair::pathOfCut() const {
  for (const Side side : kBothSides) {
    if (at(side).cut) return path(side);
  }
  return {};
}

void TVDataFilePair::skip(Side side) {
  File& file = at(side);
  file.stamp = {};
  file.absent = false;
  file.unread = !file.directory.isEmpty() && fileExists(path(side).view());
}

void TVDataFilePair::passOver(Side side) {
  File& file = at(side);
  file.stamp = {};
  file.unread = false;
  file.absent = true;
}

// A file that was missing and still is has not changed: reading a large project again for each find
// because it has no private file would be waste.
bool TVDataFilePair::hasChanged(Side side, const TVDataFileWriter* writer) const {
  const File& file = at(side);
  if (file.absent) return fileExists(path(side).view());
  return !file.stamp.isSet() || present(side, writer) != file.stamp;
}

// From a file that is held: what its path tells may be old on a network mount.
FileStamp TVDataFilePair::present(Side side, const TVDataFileWriter* writer) const {
  const TextFile* const stream = writer == nullptr ? nullptr : writer->stream(side);
  return stream == nullptr ? fileStamp(path(side).view()) : stream->stamp();
}

std::unique_ptr<TVDataFileWriter> TVDataFilePair::beginWrite(TVHandle& context,
                                                             std::span<const Side> sides) const {
  VPathString publicPath;
  VPathString privatePath;
  for (const Side side : sides) (side == Side::kPublic ? publicPath : privatePath) = path(side);
  if (publicPath.isEmpty() && privatePath.isEmpty()) {
    context.sink().error(context, FolderFileMessage(kFolderWriteFailed, at(sides.front()).name));
    return nullptr;
  }
  auto writer = std::make_unique<TVDataFileWriter>(context, publicPath, privatePath);
  return writer->open() == 0 ? std::move(writer) : nullptr;
}

void TVDataFilePair::dropStraysOf(const TVObject& owner) {
  if (strays_.empty()) return;
  for (const TVObject* child : owner.childrenInOrder()) {
    if (!child->isKindOf(&TVArchiveFolder::theClass)) continue;
    const VString& name = static_cast<const TVArchiveFolder*>(child)->folderName();
    std::erase_if(strays_, [&](const StrayRecord& stray) { return name.view() == stray.name; });
  }
}

bool TVDataFilePair::writeStrays(TVDataFileWriter& writer, TVHandle& context) const {
  return std::all_of(strays_.begin(), strays_.end(), [&](const StrayRecord& stray) {
    return writer.writeRecord(Side::kPrivate, {stray.text}, context);
  });
}

bool TVDataFilePair::mayUpdate(const TVDataFileWriter& writer, TVHandle& context) const {
  for (const Side side : kBothSides) {
    const TextFile* stream = writer.stream(side);
    if (stream == nullptr || !at(side).unread || stream->text().empty()) continue;
    context.sink().notice(context, FolderFileMessage(kFolderCorrupted, writer.path(side).text()));
    return false;
  }
  return true;
}

bool TVDataFilePair::endWrite(TVDataFileWriter& writer, TVHandle& context, bool keep) {
  const bool isMissed = writer.isMissed(Side::kPublic) || writer.isMissed(Side::kPrivate);
  return endSides(writer, context, keep) && !isMissed;
}

// A private record means nothing without its public one. So where records are only added the
// private file comes first, and whatever happens no public record lacks its private one; a rewrite,
// which may drop records, goes the other way round.
bool TVDataFilePair::endSides(TVDataFileWriter& writer, TVHandle& context, bool keep) {
  TextFile* const prv = writer.stream(Side::kPrivate);
  const bool addsToPrivate = prv != nullptr && prv->isAddedTo();
  if (addsToPrivate) keep = endSide(Side::kPrivate, writer, context, keep);
  const bool isAdded = addsToPrivate && keep;
  if (writer.stream(Side::kPublic) != nullptr) keep = endSide(Side::kPublic, writer, context, keep);
  if (prv != nullptr && !addsToPrivate) keep = endSide(Side::kPrivate, writer, context, keep);
  if (isAdded && !keep) {
    at(Side::kPrivate).stamp = {};
    static_cast<void>(prv->takeBack());  // What stays means nothing.
  }
  return keep;
}

// The stamp is taken while the file is still held. Objects that did not reach the disk must go with
// the next read, so a write that failed or was dropped leaves no stamp.
bool TVDataFilePair::endSide(Side side, TVDataFileWriter& writer, TVHandle& context, bool keep) {
  File& file = at(side);
  const TextFile& stream = *writer.stream(side);
  file.absent = false;
  file.stamp = {};
  const bool written = keep && writer.commit(side, context);
  file.stamp = written && !file.unread ? stream.stamp() : FileStamp();
  return written;
}

}  // namespace foldapi
