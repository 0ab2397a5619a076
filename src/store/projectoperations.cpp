// store/projectoperations.cpp: what TVProjectFolder52 asks the toolkit: are these options
// possible in the project's configuration, what happened in an archive, how do two contents differ.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "btkf520/btkf520.h"
#include "core/result.h"
#include "domain/tvopts.h"
#include "runtime/dateparse.h"
#include "store/52proj.h"
#include "toolkit/arguments.h"
#include "toolkit/bracket.h"
#include "toolkit/configfiles.h"
#include "toolkit/messages.h"

namespace foldapi {

namespace {

constexpr int kLatestDefaults = 1;
constexpr int kQueryTries = 3;  // For an item that the toolkit fails to give.

// Says what a check found, to the caller's text or to the sink.
class Complaints {
 public:
  Complaints(TVHandle& context, VString* errorText) : context_(context), errorText_(errorText) {}

  // Takes the place of what the caller's text holds.
  void replace(const VString& message) {
    if (errorText_ != nullptr) errorText_->clear();
    add(message);
  }
  void add(const VString& message) {
    messages_.push_back(message);
    if (errorText_ != nullptr) errorText_->append(message.view());
  }
  bool none() const { return messages_.empty(); }
  // To be called outside of brackets.
  void deliver() const {
    for (const VString& message : messages_) {
      if (errorText_ == nullptr) context_.sink().notice(context_, message);
    }
  }

 private:
  TVHandle& context_;
  VString* errorText_;
  std::vector<VString> messages_;
};

// The query of an item, with a second and third try where the toolkit fails.
int32_t queryStubbornly(int32_t item, std::string* answer) {
  int32_t status = 0;
  for (int tries = 0; tries < kQueryTries; ++tries) {
    status = QueryConfigurationItem(item, answer);
    if (status == TRVS_DONE) break;
  }
  return status;
}

// How many groups of the model one can start in: those with nothing below.
int countDevelopmentGroups() {
  std::string names;
  if (queryStubbornly(TRVS_ITEM_PROMOTION_GROUPS, &names) != TRVS_DONE) return 0;
  int count = 0;
  std::string_view rest = names;
  while (!rest.empty() && rest.front() != '\0') {
    int16_t kind = 0;
    const int32_t status = TrvsVerifyPromoTreeNodeExist(rest.data(), &kind);
    if (status == TRVS_DONE && kind == TRVS_GROUP_DEVELOPMENT) ++count;
    rest.remove_prefix(std::min(rest.find('\0'), rest.size() - 1) + 1);
  }
  return count;
}

void checkGroup(const TVGetOptions& options, Complaints* complaints) {
  const char* group = options.promotionGroup.text();
  const bool locks = (options.flags & TVGetOptions::kLock) != 0;
  int16_t kind = 0;
  // Without an answer nothing speaks against the group.
  static_cast<void>(TrvsVerifyPromoTreeNodeExist(group, &kind));
  if (kind == TRVS_GROUP_NONE) {
    complaints->replace(FolderFileMessage(kFolderUnknownGroup, group));
  } else if ((kind == TRVS_GROUP_BETWEEN || kind == TRVS_GROUP_TOP) && locks) {
    complaints->replace(FolderFileMessage(kFolderNotDevelopmentGroup, group));
  }
  if (!options.revision.isEmpty() && !locks) {
    complaints->add(FolderMessage(kFolderRevisionWithGroup));
  }
}

// "from*to", or nothing if both ends are open.
VString rangeOf(const VString& from, const VString& to) {
  return from.isEmpty() && to.isEmpty() ? VString() : from + "*" + to;
}

int32_t compare(TVDiffOptions& options) {
  const char* const first = options.first.text();
  const char* const firstRevision = nullIfEmpty(options.second);
  const char* const second = nullIfEmpty(options.third);
  const char* const secondRevision = nullIfEmpty(options.fourth);
  const char* const columns = nullIfEmpty(options.text5);
  switch (options.kind) {
    case TVDiffOptions::kTest: {
      int16_t differ = 0;
      const int32_t status =
          TrvsTestDifferences(TRVS_CONTEXT, first, firstRevision, second, secondRevision, &differ,
                              options.short1, columns, options.flags);
      options.testResult = differ;
      return status;
    }
    case TVDiffOptions::kReport:
      return TrvsReportDifferences(TRVS_CONTEXT, first, firstRevision, second, secondRevision,
                                   nullIfEmpty(options.text6), options.short2, options.short3,
                                   options.short1, columns, options.flags);
    default:
      return TrvsGenGuiDelta(TRVS_CONTEXT, first, firstRevision, second, secondRevision,
                             options.short1, columns, nullIfEmpty(options.text7), options.long1,
                             options.short4, options.long2, options.short5, options.long3,
                             options.short6, 0, options.flags);
  }
}

}  // namespace

VBool TVProjectFolder52::validateDate(TVHandle& context, const VString& date, VString* errorText) {
  if (date.isEmpty()) return true;
  std::string text = date.str();
  TrimRight(text.data(), " \t");
  if (std::string_view(text.c_str()) == "*") return true;
  Complaints complaints(context, errorText);
  {
    TVToolkitBracket bracket(context);
    SetDateWords(configurationText(TRVS_ITEM_DATE_WORDS).text());
    const VString format = configurationText(TRVS_ITEM_DATE_FORMAT);
    SetDateFormat(format.text());
    const char* at = text.c_str();
    uint32_t time = 0;
    if (ParseDate(&at, &time, "", kLatestDefaults) != 0) {
      complaints.replace(DateMessage(kFolderDate, text.c_str(), format.text()));
    }
  }
  complaints.deliver();
  return complaints.none();
}

VBool TVProjectFolder52::validatePromotion(TVHandle& context, const TVGetOptions& options,
                                           VString* errorText) {
  Complaints complaints(context, errorText);
  {
    TVToolkitBracket bracket(context);
    if (!options.promotionGroup.isEmpty()) {
      checkGroup(options, &complaints);
    } else if ((options.flags & TVGetOptions::kLock) != 0 && countDevelopmentGroups() >= 2) {
      complaints.replace(FolderMessage(kFolderGroupNeeded));
    }
  }
  complaints.deliver();
  return complaints.none();
}

int TVProjectFolder52::reportLog(TVHandle& context, const char* archive,
                                 const TVLogOptions& options) {
  if (archive == nullptr || *archive == '\0') {
    context.sink().notice(context, FolderMessage(kFolderNoArchiveName));
    return kResultMissing;
  }
  const VString revisions = rangeOf(options.revisionFrom, options.revisionTo);
  const VString dates = rangeOf(options.dateFrom, options.dateTo);
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = TrvsLog(TRVS_CONTEXT, archive, nullIfEmpty(revisions), nullIfEmpty(options.text1),
                     nullIfEmpty(options.text2), nullIfEmpty(options.text3),
                     nullIfEmpty(options.text4), nullIfEmpty(options.text5), nullIfEmpty(dates),
                     options.outputText.text(), options.flags);
  }
  return reportToolkitStatus(context, status, archive);
}

// Without a first side the toolkit is asked all the same: its answer is the result.
int TVProjectFolder52::differences(TVHandle& context, TVDiffOptions& options) {
  if (options.first.isEmpty()) context.sink().notice(context, FolderMessage(kFolderNoArchiveName));
  int32_t status;
  {
    TVToolkitBracket bracket(context);
    status = compare(options);
  }
  return reportToolkitStatus(context, status, nullptr);
}

}  // namespace foldapi
