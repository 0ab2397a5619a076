// toolkit/bracket.cpp: the bracket, and the two ways to start.
#include "toolkit/bracket.h"

#include <atomic>
#include <new>
#include <utility>

#include "btkf520/btkf520.h"
#include "core/result.h"
#include "runtime/nativepath.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int32_t kUserSize = 257;

// Path texts mean the same to the toolkit as to the library.
int32_t resolvePath(const char* text, char* buffer, int32_t size) {
  try {
    const std::string path = nativePath(text);
    if (path.empty()) return TRVS_BAD_NAME;
    if (size < 0 || path.size() >= static_cast<size_t>(size)) return TRVS_BUFFER_TOO_SMALL;
    path.copy(buffer, path.size());
    buffer[path.size()] = '\0';
    return TRVS_DONE;
  } catch (...) {
    return TRVS_BAD_NAME;
  }
}

VString missingFileMessage(const TVProjectConfig& config) {
  return FolderFileMessage(kFolderFileMissing, config.path.text());
}

void registerWithToolkit() {
  connectToolkit();
  RegisterToolkitCallbacks();
}

int32_t askForUser(char (&user)[kUserSize]) {
  char second[kUserSize] = {};
  int16_t kind = 0;
  return TrvsGetUserInfo(user, kUserSize, second, kUserSize, &kind);
}

}  // namespace

// A public record says which file is the master file: the user may own it and not have written it.
void connectToolkit() {
  TrvsRegisterPathResolver(resolvePath);
  static_cast<void>(TrvsTrustMaster(TRVS_TRUST_ROOT));
}

TVToolkitSession& TVToolkitSession::Instance() {
  static auto* session = new TVToolkitSession;
  return *session;
}

TVHandle& TVToolkitSession::Sink() const { return sink_ == nullptr ? theNullHandle() : *sink_; }

// The wait only stops a bad nesting from going on: no callback calls an operation that enters.
void TVToolkitSession::take(TVHandle& context) {
  while (busy_) std::atomic_signal_fence(std::memory_order_seq_cst);
  if (state_ == nullptr) makeState();
  exchangeStates();
  busy_ = true;
  sink_ = &context;
}

VBool TVToolkitSession::enter(TVHandle& context) {
  take(context);
  try {
    load(context);
  } catch (...) {
    leave();
    throw;
  }
  return true;
}

// A batch needs no configuration: each change keeps what it needs of its own.
void TVToolkitSession::beginBatch(TVHandle& context) {
  take(context);
  undone_.clear();
  static_cast<void>(TrvsBeginBatch(TRVS_CONTEXT));
  leave();
}

std::vector<UndoneChange> TVToolkitSession::endBatch(TVHandle& context) noexcept {
  take(context);
  static_cast<void>(TrvsEndBatch(TRVS_CONTEXT));
  leave();
  return std::exchange(undone_, {});
}

void TVToolkitSession::makeState() {
  if (TrvsNewState(&state_) != TRVS_DONE) throw std::bad_alloc();
  exchangeStates();
  registerWithToolkit();
  exchangeStates();
}

// Can't fail with a state that the toolkit made.
void TVToolkitSession::exchangeStates() noexcept { static_cast<void>(TrvsExchangeState(&state_)); }

void TVToolkitSession::load(TVHandle& context) {
  const bool none = context.isNull();
  const TVProjectConfig& project = none ? theEmptyConfig() : context.object()->projectConfig();
  const TVProjectConfig& root = none ? theEmptyConfig() : context.object()->rootConfig();
  if (!isLoaded(project, root)) loadAnew(project, root);
}

void TVToolkitSession::loadAnew(TVProjectConfig project, TVProjectConfig root) {
  projectFile_ = TVProjectConfig();  // Nobody knows what is loaded until all is read.
  project.recordTime();              // Before the load: what changes meanwhile is loaded again.
  root.recordTime();
  // The call goes on with what could be read, and the next bracket tries once more.
  const Loaded loaded = LoadConfiguration(root.path, project.path, LocalFile::kLeftOut);
  if (loaded == Loaded::kFailed) return;
  if (loaded == Loaded::kProjectMissing) tellLater(missingFileMessage(project));
  projectFile_ = std::move(project);
  rootFile_ = std::move(root);
}

bool TVToolkitSession::isLoaded(const TVProjectConfig& project, const TVProjectConfig& root) const {
  return project.path == projectFile_.path && !projectFile_.hasChanged() &&
         root.path == rootFile_.path && !rootFile_.hasChanged();
}

VBool TVToolkitSession::leave() {
  TVHandle& context = Sink();
  const std::vector<VString> errors = std::exchange(errors_, {});
  exchangeStates();
  busy_ = false;
  sink_ = nullptr;
  for (const VString& error : errors) {
    try {
      context.sink().error(context, error);
    } catch (...) {  // The call that it is about is over.
    }
  }
  return true;
}

int reportToolkitStatus(TVHandle& context, int32_t status, const char* path) {
  if (status == TRVS_DONE) return kResultDone;
  context.sink().notice(context, ToolkitMessage(status, path));
  return status == TRVS_CANCELLED ? kResultCancelled : kResultFailed;
}

int fetchUser(TVHandle& context, VString* user) {
  char name[kUserSize] = {};
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = askForUser(name);
  }
  if (status == TRVS_DONE) *user = name;
  return reportToolkitStatus(context, status, nullptr);
}

VBool EnableToolkit(TVErrorSink& sink) {
  TVHandle context(&sink, nullptr);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsOEMEnable();
    registerWithToolkit();
  }
  if (status != TRVS_DONE) sink.error(context, FolderMessage(kFolderLicence));
  return status == TRVS_DONE;
}

VBool StartToolkit(TVErrorSink& sink) {
  TVHandle context(&sink, nullptr);
  { TVToolkitBracket loadOnly(context); }
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsInit("TVGUI");
    if (status == TRVS_DONE) {
      registerWithToolkit();
      char user[kUserSize] = {};
      static_cast<void>(askForUser(user));  // What it says is the toolkit's affair.
    }
  }
  if (status != TRVS_DONE) sink.error(context, ToolkitMessage(status, nullptr));
  return status == TRVS_DONE;
}

VBool useInClientState(TVHandle& context) {
  if (context.isNull()) return false;
  connectToolkit();
  const TVProjectConfig project = context.object()->projectConfig();
  const Loaded loaded =
      LoadConfiguration(context.object()->rootConfig().path, project.path, LocalFile::kLeftOut);
  if (loaded == Loaded::kProjectMissing) {
    context.sink().error(context, missingFileMessage(project));
  }
  return loaded != Loaded::kFailed;
}

void SetGlobalHandler(TVErrorSink* sink) { theNullHandle().setSink(sink); }

}  // namespace foldapi
