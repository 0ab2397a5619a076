// btkf520/interface/statustext.cpp: the statuses in words. The compiler sees to it that none is
// missing.
#include "btkf520/btkf520.h"

const char* TrvsStatusText(int32_t status) {
  constexpr const char* kUnknown = "unknown status";
  if (status < TRVS_DONE || status > TRVS_NEEDS_REWRITE) return kUnknown;
  switch (static_cast<TrvsStatus>(status)) {
    case TRVS_DONE:
      return "done";
    case TRVS_INTERNAL_ERROR:
      return "internal error";
    case TRVS_NO_ARCHIVE:
      return "no such archive";
    case TRVS_ARCHIVE_EXISTS:
      return "there is a file of the archive's name";
    case TRVS_INVALID_LINE:
      return "invalid line in the configuration file";
    case TRVS_CANNOT_OPEN:
      return "file can't be opened";
    case TRVS_IN_USE:
      return "file is being changed by another";
    case TRVS_BUFFER_TOO_SMALL:
      return "buffer too small";
    case TRVS_BAD_NAME:
      return "not a possible path or name";
    case TRVS_MISUSE:
      return "impossible argument";
    case TRVS_NO_SUCH_LABEL:
      return "no such version label";
    case TRVS_LABEL_EXISTS:
      return "version label has another target";
    case TRVS_NO_ACCESS:
      return "user is not on the access list";
    case TRVS_LOCKED:
      return "revision is locked";
    case TRVS_CANCELLED:
      return "cancelled";
    case TRVS_NO_MEMORY:
      return "out of memory";
    case TRVS_BAD_DATE:
      return "not a date";
    case TRVS_NO_REVISION:
      return "no such revision";
    case TRVS_BAD_NUMBER:
      return "not a possible revision number";
    case TRVS_NO_REVISIONS:
      return "archive has no revisions";
    case TRVS_NESTED_TOO_DEEP:
      return "configuration files are nested too deep";
    case TRVS_SAME_NAMES:
      return "output would replace its own input";
    case TRVS_WOULD_OVERWRITE:
      return "there is a file already";
    case TRVS_NOT_AN_ARCHIVE:
      return "no archive, or a damaged one";
    case TRVS_CANNOT_LOCK:
      return "archive allows no lock";
    case TRVS_NO_LOCK:
      return "user has not locked it";
    case TRVS_NO_WORKFILE:
      return "no such workfile";
    case TRVS_CANNOT_PROMOTE:
      return "nothing to promote from the group";
    case TRVS_SEVERAL_TOP_GROUPS:
      return "promotion model has several top groups";
    case TRVS_NO_HIGHER_GROUP:
      return "no higher promotion group";
    case TRVS_NO_SUCH_GROUP:
      return "no such promotion group";
    case TRVS_BUSY_ARCHIVE:
      return "archive is being changed by another";
    case TRVS_GROUP_IN_THE_WAY:
      return "promotion group is in the way";
    case TRVS_NO_GROUP_REVISION:
      return "no revision in the promotion group";
    case TRVS_NO_JOURNAL:
      return "journal can't be written";
    case TRVS_NEEDS_DEVELOPMENT_GROUP:
      return "needs a development group";
    case TRVS_GROUP_LOCKED:
      return "a revision in the promotion group is locked";
    case TRVS_WOULD_BRANCH:
      return "lock would lead to a branch";
    case TRVS_OTHER_BRANCH:
      return "next promotion group is on another branch";
    case TRVS_NO_USER_ID:
      return "no user id";
    case TRVS_OLDER:
      return "workfile is older than its parent";
    case TRVS_UNCHANGED:
      return "workfile is unchanged";
    case TRVS_BAD_INCLUDE:
      return "included file can't be read";
    case TRVS_BAD_COLUMNS:
      return "not a list of columns";
    case TRVS_BAD_CONDITIONAL:
      return "bad conditional";
    case TRVS_CANNOT_WRITE:
      return "file can't be written";
    case TRVS_HAS_BRANCHES:
      return "revision has branches";
    case TRVS_NOT_IN_ACCESS_LIST:
      return "no such user on the access list";
    case TRVS_TRIGGER_REFUSED:
      return "event trigger refused";
    case TRVS_TRIGGER_FAILED:
      return "event trigger could not be run, or may not be";
    case TRVS_CANNOT_READ_CONFIGURATION:
      return "configuration file can't be read";
    case TRVS_DISALLOWED:
      return "master configuration disallows it";
    case TRVS_TOO_LARGE:
      return "content is larger than the client allows";
    case TRVS_NEEDS_BRANCH:
      return "a branch would be needed";
    case TRVS_REVISION_EXISTS:
      return "there is a revision of that number";
    case TRVS_TORN_END:
      return "bytes at the end of the archive don't count";
    case TRVS_LIMIT:
      return "more than an archive can hold";
    case TRVS_NEEDS_REWRITE:
      return "archive has to be written anew, but its directory or its rights don't allow it";
  }
  return kUnknown;
}
