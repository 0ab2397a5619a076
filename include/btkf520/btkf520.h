/* clang-format off */
/* btkf520.h: the archive toolkit: archives of revisions, their configuration, users and promotion
 * models.
 *
 * Plain C99. All that one call leaves to the next is a state: the current configuration and the
 * registered functions. docs/configuration.md describes the configuration language,
 * docs/reports.md the forms of reports and differences, docs/archive-format.md the archive file.
 *
 * Threads    one at a time; the caller sees to it.
 * Ownership  strings in are NUL-terminated and read during the call only. Buffers are the caller's.
 *            Registered functions are kept until others replace them.
 * Text       bytes, never converted: names keep the code page of the file that they come from.
 * Sizes      in bytes, the NUL at the end included.
 * Rights     in a program with rights that its user has not (set-user-id, set-group-id, or with
 *            capabilities from its file) environment variables count as not set: those of conditions
 *            and of the user id in a configuration, too. Commands find none of them.
 * Memory     whatever the size S of a file, to check it in or out, verify or compare it takes no more
 *            than 64 MB and half of S of memory that the system can't take back. What is wide
 *            besides stands in nameless files in $TMPDIR, else in /var/tmp, on a disk: up to six
 *            times S while it lasts, or ten times for less than 350 MB. Where these have no room
 *            it is ordinary memory after all, but TRVS_NO_MEMORY, before anything is changed, if
 *            the system tells that it has not as much. So a file of 5 GB goes in and out on a
 *            machine with 4 GB free. A content of 2 GB and more may be stored whole each time.
 * Failure    every function gives a TrvsStatus, TRVS_DONE for success, unless told otherwise. What
 *            a function would fill is untouched with any other. All may give TRVS_INTERNAL_ERROR,
 *            TRVS_MISUSE and TRVS_NO_MEMORY, and those with a buffer TRVS_BUFFER_TOO_SMALL: each
 *            function names the others. TrvsStatusText says them in words. */
/* clang-format on */
#ifndef BTKF520_BTKF520_H
#define BTKF520_BTKF520_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef _WIN32
#define TRVS_EXPORT
#else
#define TRVS_EXPORT __attribute__((visibility("default")))
#endif

/* The version that this header describes; TrvsVersion gives that of the loaded library. A client
 * works with each library of the same major version that is not older. */
#define TRVS_VERSION_MAJOR 1
#define TRVS_VERSION_MINOR 1
#define TRVS_VERSION_PATCH 0
#define TRVS_VERSION (TRVS_VERSION_MAJOR * 10000 + TRVS_VERSION_MINOR * 100 + TRVS_VERSION_PATCH)

/* Gives TRVS_VERSION of the library. */
TRVS_EXPORT int32_t TrvsVersion(void);

/* ---- Statuses ---- */

/* What functions give and callbacks are told. */
typedef enum TrvsStatus {
  TRVS_DONE = 0,
  TRVS_INTERNAL_ERROR = 1,
  TRVS_NO_ARCHIVE = 2,          /* no such archive; in a comparison: no such file */
  TRVS_ARCHIVE_EXISTS = 3,      /* there is a file of that name */
  TRVS_INVALID_LINE = 4,        /* not a directive, or not with this value */
  TRVS_CANNOT_OPEN = 5,         /* the archive, or the workfile, can't be opened; or the archive
                                   can't be changed, as its file system has no locks */
  TRVS_IN_USE = 6,              /* the file is being changed by another */
  TRVS_BUFFER_TOO_SMALL = 8,    /* call again with a larger one */
  TRVS_BAD_NAME = 9,            /* not a path, not a name for a label, user or group, or not a
                                   lock's note */
  TRVS_MISUSE = 10,             /* an argument that no correct program passes, such as null */
  TRVS_NO_SUCH_LABEL = 11,      /* no such version label */
  TRVS_LABEL_EXISTS = 12,       /* the label has another target */
  TRVS_NO_ACCESS = 13,          /* the user is neither on the access list nor the owner */
  TRVS_LOCKED = 14,             /* the revision is locked already */
  TRVS_CANCELLED = 15,          /* a callback did not want to go on */
  TRVS_NO_MEMORY = 16,          /* out of memory */
  TRVS_BAD_DATE = 17,           /* not a date in the words and the format that are set, or a packed
                                   time that there can't be */
  TRVS_NO_REVISION = 18,        /* no such revision, or none of that time */
  TRVS_BAD_NUMBER = 19,         /* not a number of a revision, or not a possible one */
  TRVS_NO_REVISIONS = 20,       /* the archive, or its trunk, has no revisions */
  TRVS_NESTED_TOO_DEEP = 21,    /* INCLUDE of an open file, or below 20 levels of files */
  TRVS_SAME_NAMES = 22,         /* the workfile, or the output, is the archive or input itself */
  TRVS_WOULD_OVERWRITE = 24,    /* there is a file already, and it may not be replaced */
  TRVS_NOT_AN_ARCHIVE = 27,     /* the file is no archive, or damaged where it was read, or has a
                                   workfile's name that leads out of a directory, or control
                                   characters in names */
  TRVS_CANNOT_LOCK = 29,        /* locks aren't checked, or the archive allows one only */
  TRVS_NO_LOCK = 30,            /* the user has not locked the revision, or nothing */
  TRVS_NO_WORKFILE = 32,        /* no such workfile */
  TRVS_CANNOT_PROMOTE = 34,     /* the group is the top one, or has no revision */
  TRVS_SEVERAL_TOP_GROUPS = 35, /* so has the promotion model */
  TRVS_NO_HIGHER_GROUP = 36,    /* the group has none above it */
  TRVS_NO_SUCH_GROUP = 37,      /* not in the promotion model, or there is no model */
  TRVS_NO_TOP_GROUP = 37,       /* the promotion model is a circle */
  TRVS_BUSY_ARCHIVE = 38,       /* TRVS_CALLBACK_RETRY only: another updates the archive */
  TRVS_GROUP_IN_THE_WAY = 40,   /* the group stands at another revision, or at this one */
  TRVS_NO_GROUP_REVISION = 41,  /* no revision in the group */
  TRVS_NO_JOURNAL = 43,         /* TRVS_CALLBACK_MESSAGE only: the journal could not be written,
                                   or may not be */
  TRVS_NEEDS_DEVELOPMENT_GROUP = 45, /* not such a group, or none given and there are several */
  TRVS_GROUP_LOCKED = 46,            /* a revision in the group is locked */
  TRVS_WOULD_BRANCH = 47,            /* the lock would lead to a branch: BRANCHWARN */
  TRVS_OTHER_BRANCH = 49,            /* the next group stands at a revision on another branch */
  TRVS_NO_USER_ID = 50,              /* the source that the configuration names has none */
  TRVS_OLDER = 51,                   /* the workfile is older than the parent's was */
  TRVS_UNCHANGED = 52,               /* the workfile is equal to the parent */
  TRVS_BAD_INCLUDE = 57,             /* INCLUDE without a path, or of a file that can't be read */
  TRVS_BAD_COLUMNS = 60,             /* not a list of columns */
  TRVS_BAD_CONDITIONAL = 62,         /* malformed, out of place or not closed */
  TRVS_CANNOT_WRITE = 77,            /* the disk is full, or something can't be written */
  TRVS_HAS_BRANCHES = 78,            /* a branch starts at the revision */
  TRVS_NOT_IN_ACCESS_LIST = 95,      /* the user to be taken off is not on it */
  TRVS_TRIGGER_REFUSED = 103,        /* the event trigger before the operation said no */
  TRVS_TRIGGER_FAILED = 106,         /* the event trigger could not be run, or may not be */
  TRVS_CANNOT_READ_CONFIGURATION = 107, /* not a regular file, too large, or unreadable */
  TRVS_DISALLOWED = 109,                /* the master file disallows this directive */
  TRVS_TOO_LARGE = 110,                 /* the content of a revision: see TrvsSetLargestContent */
  TRVS_NEEDS_BRANCH = 112,              /* TRVS_PUT_NO_BRANCH: the parent is no tip any more, or the
                                           number is one of a new branch */
  TRVS_REVISION_EXISTS = 113, /* TRVS_PUT_NEW_NUMBER: there is a revision of that number */
  TRVS_TORN_END = 114,        /* TrvsVerifyArchive: bytes at the end of the archive don't count */
  TRVS_LIMIT = 115,           /* more than any archive can hold: see the limits below */
  TRVS_NEEDS_REWRITE = 116 /* the archive has to be written anew, which can't be done: see below */
} TrvsStatus;

/* A status in a few English words, such as "no such archive", for a program's log. "unknown status"
 * for any other number. Lasts as long as the library. */
TRVS_EXPORT const char* TrvsStatusText(int32_t status);

/* ---- Start ---- */

/* Starts the toolkit for a program called `application`, which may be null and is not kept. Changes
 * neither the configuration nor what is registered, and no other function needs it.
 * May give TRVS_NO_USER_ID. */
TRVS_EXPORT int32_t TrvsInit(const char* application);

/* Enables the toolkit. There is nothing to check: always gives TRVS_DONE. */
TRVS_EXPORT int32_t TrvsOEMEnable(void);

/* ---- States ----
 *
 * All functions work in the state that is in place. That is one which the toolkit makes itself,
 * until a client puts another there. A library that uses the toolkit, in a program that may use it
 * too, keeps a state of its own: it puts that in place for each of its calls and the program's back
 * after it, so that neither sees the other's configuration or has the other's functions asked. */

typedef struct TrvsState TrvsState; /* Opaque. */

/* Makes a state with the defaults of the configuration and nothing registered. It is the caller's,
 * who gives it to TrvsFreeState. */
TRVS_EXPORT int32_t TrvsNewState(TrvsState** state);

/* Puts *state in place, and hands out in *state the one that was there. Does not fail with a state
 * that TrvsNewState made. A callback may do so too, if it puts the old one back before it
 * returns. */
TRVS_EXPORT int32_t TrvsExchangeState(TrvsState** state);

/* Frees a state; null is none. The one that is in place stays: TRVS_MISUSE. No function may be at
 * work in it. Changes of a batch that has not ended in it, and wait, are given up. */
TRVS_EXPORT int32_t TrvsFreeState(TrvsState* state);

/* ---- Callbacks ---- */

/* A function of the client that the toolkit calls, on the thread and during the run of one of the
 * functions below. It has one of the types that follow, by its id, and is cast to this one to be
 * registered (by way of void (*)(void), if the compiler warns). The texts that it is given are good
 * until it returns. It may query items and groups, but load nothing, and work on no archive; it
 * sees the configuration that the load which it interrupts adds to.
 *
 * Its result is a TrvsAnswer. */
typedef int32_t (*TrvsCallback)(void);

typedef enum TrvsAnswer {
  TRVS_GO_ON = 0,  /* or yes */
  TRVS_ENOUGH = 1, /* TRVS_CALLBACK_OUTPUT only: no more lines */
  TRVS_REFUSE = 2  /* or no */
} TrvsAnswer;

/* Ids of callbacks, and what the toolkit does without one. */
typedef enum TrvsCallbackId {
  TRVS_CALLBACK_CONTINUE = 1,       /* shall the operation continue? Else it continues */
  TRVS_CALLBACK_RETRY = 3,          /* try again, or all the same? Else no */
  TRVS_CALLBACK_OUTPUT = 4,         /* a line of a report. Else there are no lines */
  TRVS_CALLBACK_OVERWRITE = 5,      /* may a file be overwritten? Else no */
  TRVS_CALLBACK_MOVE_LABEL = 6,     /* may a label be moved? Else no */
  TRVS_CALLBACK_FREE = 9,           /* takes back an answer of the two before */
  TRVS_CALLBACK_CHECK_IN = 10,      /* check in all the same? Else no */
  TRVS_CALLBACK_NEWS_TWO = 16,      /* a message as a text */
  TRVS_CALLBACK_IDLE = 17,          /* a moment to let others work */
  TRVS_CALLBACK_OPERATION = 18,     /* an operation is done */
  TRVS_CALLBACK_BAD_DIRECTIVE = 19, /* a directive that was left out. Else the load continues */
  TRVS_CALLBACK_MESSAGE = 20,       /* a message by its code */
  TRVS_CALLBACK_TEXT = 23,          /* a message as a text */
  TRVS_CALLBACK_TRIGGER = 24,       /* may a shared configuration have its way? Else no */
  TRVS_CALLBACK_UNDONE = 25         /* a change of a batch that failed in the end */
} TrvsCallbackId;

/* What sort of line TRVS_CALLBACK_OUTPUT is given. */
typedef enum TrvsOutput {
  TRVS_OUTPUT_HEADING = 1,
  TRVS_OUTPUT_REVISION = 2,   /* about a revision */
  TRVS_OUTPUT_CHANGE = 3,     /* of a change description */
  TRVS_OUTPUT_DIFFERENCES = 4 /* of a comparison */
} TrvsOutput;

/* TRVS_CALLBACK_CONTINUE. Asked before anything is changed, and now and then in a long report. To
 * refuse ends the operation with TRVS_CANCELLED. */
typedef int32_t (*TrvsContinueCallback)(void);
/* TRVS_CALLBACK_RETRY: an obstacle at the archive `path` that may vanish, by its code:
 *   TRVS_BUSY_ARCHIVE  try again, or give up? Asked every tenth of a second for at most 5 seconds;
 *                      then the status is TRVS_IN_USE
 *   TRVS_OTHER_BRANCH  promote all the same? */
typedef int32_t (*TrvsRetryCallback)(int32_t code, const char* path);
/* TRVS_CALLBACK_OUTPUT: one line, without its end. `kind` is a TrvsOutput. To refuse ends the
 * operation with TRVS_CANCELLED. */
typedef int32_t (*TrvsOutputCallback)(const char* text, int32_t kind);
/* TRVS_CALLBACK_OVERWRITE: may the file `first` be overwritten by a check-out from the archive
 * `second`, or by a report if that is empty? TRVS_CALLBACK_MOVE_LABEL: may the label `first` of the
 * archive `second` be moved?
 * The client may store an answer in *answer, a string that it owns and that TRVS_CALLBACK_FREE
 * gives back to it. For a label an answer that isn't empty is another label, to be set instead; if
 * that exists too it is asked about in turn. For a file it counts for nothing. */
typedef int32_t (*TrvsConfirmCallback)(const char* first, const char* second, char** answer);
/* TRVS_CALLBACK_FREE: the toolkit is done with a stored answer. */
typedef int32_t (*TrvsFreeCallback)(char* answer);
/* TRVS_CALLBACK_CHECK_IN: shall the workfile `text` be checked in although the status `value`
 * forbids it: TRVS_UNCHANGED? */
typedef int32_t (*TrvsAskCallback)(const char* text, int32_t value);
/* TRVS_CALLBACK_NEWS_TWO: news with two texts and a number. */
typedef int32_t (*TrvsNotifyTwoCallback)(const char* first, const char* second, int32_t value);
/* TRVS_CALLBACK_IDLE: called while an archive is busy. The result is ignored. */
typedef int32_t (*TrvsIdleCallback)(void);
/* TRVS_CALLBACK_OPERATION. The texts are the event (docs/configuration.md lists them), the archive,
 * the workfile, which may be empty, and what it was about: a revision, a label, a group. The number
 * is 0. The result is ignored. */
typedef int32_t (*TrvsNotifyFourCallback)(const char* first, const char* second, const char* third,
                                          const char* fourth, int32_t value);
/* TRVS_CALLBACK_BAD_DIRECTIVE.
 *   code    TRVS_INVALID_LINE, TRVS_NESTED_TOO_DEEP, TRVS_SEVERAL_TOP_GROUPS, TRVS_NO_TOP_GROUP,
 *           TRVS_BAD_INCLUDE, TRVS_BAD_CONDITIONAL or TRVS_DISALLOWED
 *   line    the line as it stands in the file, at most its first 1023 bytes; empty if the promotion
 *           model as a whole is to blame, and for an included file whose owner is another one than
 *           that of the file whose load it is
 *   file    path text of the file that holds it, as the client or an INCLUDE directive gave it
 *   number  of the line in that file, from 1; 0 if the promotion model is to blame
 * Any result but TRVS_GO_ON cancels the load. */
typedef int32_t (*TrvsBadDirectiveCallback)(int32_t code, const char* line, const char* file,
                                            int32_t number);
/* TRVS_CALLBACK_MESSAGE: what went wrong after an operation was done: TRVS_NO_JOURNAL, or
 * TRVS_CANNOT_WRITE if the workfile of a check-in could not be removed or its mode changed, or was
 * left alone because the name of the archive's new file may not be on the disk. The result is
 * ignored. */
typedef int32_t (*TrvsMessageCallback)(int32_t code);
/* TRVS_CALLBACK_TEXT: why an operation is refused, where a status doesn't say it. The result is
 * ignored. */
typedef int32_t (*TrvsTextCallback)(const char* text);
/* TRVS_CALLBACK_TRIGGER: may the process do what a configuration file wants that other users can
 * change: run the command `value` at `event`, such as "PRECHECKIN"? Asked for the triggers before
 * and after an operation before it begins. To refuse ends it with TRVS_TRIGGER_FAILED: say then
 * what the user has to set. Not asked for what stands in a trusted master file: one that is read by
 * TRVS_READ_MASTER, or included there, where nobody but root and the present user can change any of
 * these files, nor the directories above them (TrvsTrustMaster).
 * It is asked about the journal too, after the operation: `event` is "JOURNAL" then, and `value`
 * the path text of the file. A journal is no part of what is done: where it may not be written, the
 * operation succeeds all the same, and TRVS_CALLBACK_MESSAGE is told TRVS_NO_JOURNAL. */
typedef int32_t (*TrvsTriggerCallback)(const char* event, const char* value);
/* TRVS_CALLBACK_UNDONE: a change that was written in a batch could not be promised. The texts are
 * the archive as the client gave it and the event (docs/configuration.md lists them). The archive
 * is as it was before, and so is the workfile. The result is ignored. */
typedef int32_t (*TrvsUndoneCallback)(const char* archive, const char* event, int32_t status);

/* Registers `callback` for `id`, in place of the one before; null for none.
 * Gives TRVS_MISUSE for an id that is not a TrvsCallbackId. */
TRVS_EXPORT int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback);

/* The client's translation of a path text, which may have a drive letter and backslashes, to a path
 * of the operating system. Fills `buffer` with a NUL-terminated path and gives TRVS_DONE; gives
 * TRVS_BUFFER_TOO_SMALL if more than `size` bytes are needed, and is then asked again with more, up
 * to 65536; gives anything else if there is no such place. */
typedef int32_t (*TrvsPathResolver)(const char* text, char* buffer, int32_t size);

/* Has all paths translated by `resolver`, those in configuration files too. With null, as at the
 * start, "\" is taken as "/" and the rest as it is. */
TRVS_EXPORT int32_t TrvsRegisterPathResolver(TrvsPathResolver resolver);

/* ---- Users ---- */

typedef enum TrvsUserSource {
  TRVS_USER_ACCOUNT = 0,    /* the account of the process's effective user */
  TRVS_USER_ENVIRONMENT = 1 /* an environment variable that the configuration names */
} TrvsUserSource;

/* Fetches the user id. An account without a name gives its number as text.
 *   user    receives the user id
 *   second  receives "": there is no second value. May be null
 *   kind    receives a TrvsUserSource. May be null
 * Gives TRVS_NO_USER_ID if the variable is not set, or empty, or not a name of a user. */
TRVS_EXPORT int32_t TrvsGetUserInfo(char* user, int32_t userSize, char* second, int32_t secondSize,
                                    int16_t* kind);

/* ---- Configuration ---- */

typedef enum TrvsReadMode {
  TRVS_READ_FIRST = 8,     /* no master file: start from the defaults */
  TRVS_READ_FOLLOWING = 9, /* add to what is there, as far as the master file allows */
  TRVS_READ_MASTER = 10    /* the master file: start from the defaults; may use DISALLOW */
} TrvsReadMode;

/* Reads the configuration file `path`, a path text, and those that it includes. Later directives
 * override earlier ones. Bad directives are reported through TRVS_CALLBACK_BAD_DIRECTIVE and left
 * out; they fail nothing. If the promotion model is broken at the end of the file, the one before
 * the call stays.
 *
 * The modes that start from the defaults forget the former configuration first, whatever the status
 * will be, unless it is TRVS_MISUSE: a file that can't be read leaves the defaults, never the
 * settings of another project. TRVS_READ_FOLLOWING adds nothing unless it gives TRVS_DONE.
 *   reserved1, reserved2  0
 * May give TRVS_CANCELLED if a callback cancelled the load; TRVS_CANNOT_READ_CONFIGURATION, also
 * for anything but a regular file, for more than 1048576 bytes, and for an included file that can't
 * be read for a reason that may pass. */
TRVS_EXPORT int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                                           int32_t readMode);

/* Whose files can be trusted master files, with all that they include and that leads to them. */
typedef enum TrvsTrust {
  TRVS_TRUST_USER = 0, /* root's and the present user's, as at the start */
  TRVS_TRUST_ROOT = 1  /* root's alone */
} TrvsTrust;

/* Sets that for loads to come in the state in place. TRVS_TRUST_ROOT is for a client that is told
 * by others which file is the master file: it may be one that the user has checked out, so that he
 * owns it and another has written it. TRVS_MISUSE for anything but a TrvsTrust. */
TRVS_EXPORT int32_t TrvsTrustMaster(int32_t whose);

/* Whether `size` bytes of text can be meant as a configuration file: at least one directive in it
 * is good, or it has none. Reads no other file, reports nothing, and leaves the configuration as it
 * is. For clients that write at the end of a file that another hand has named. Gives
 * TRVS_INVALID_LINE if not, and if it is larger than a configuration file can be. */
TRVS_EXPORT int32_t TrvsCheckConfiguration(const char* text, int32_t size);

typedef enum TrvsItem {
  /* As the configuration file has them, separated by ";"; maybe empty. */
  TRVS_ITEM_ARCHIVE_DIRECTORIES = 49,
  /* The promotion model as NUL-terminated names, ended by an empty name: pairs of a group and the
   * group that it promotes to, where the last pair's second name is the top group. A model of one
   * group is its name alone, a configuration without a model the empty name alone. */
  TRVS_ITEM_PROMOTION_GROUPS = 55,
  /* One blank between two: twelve months from January, then AM and PM. */
  TRVS_ITEM_DATE_WORDS = 78,
  /* Such as "mm/dd/yy hh:mm:ss". */
  TRVS_ITEM_DATE_FORMAT = 79
} TrvsItem;

/* Fetches an item of the current configuration. No answer is longer than 32767 bytes.
 * Gives TRVS_MISUSE for anything but a TrvsItem. */
TRVS_EXPORT int32_t TrvsQueryConfigurationItem(int32_t item, char* buffer, int32_t size);

/* Fetches all that the current configuration settles: a list of four texts for each directive, its
 * name, its value as a file would have it, the path text of the file that says so, as the client or
 * an INCLUDE directive gave it, and the number of the line there. What no file says is there with
 * its default, "" and "0". A directive that settles several things, such as ARCHIVESUFFIX, is there
 * once for each. Values may be empty; the empty name ends the list. DISALLOW is there for each name
 * that it forbids to later files, and not without one. */
TRVS_EXPORT int32_t TrvsListConfiguration(char* buffer, int32_t size);

typedef enum TrvsGroupKind {
  TRVS_GROUP_NONE = 1,        /* no such group */
  TRVS_GROUP_DEVELOPMENT = 2, /* no group below it; also the only group of a model */
  TRVS_GROUP_BETWEEN = 3,     /* groups below it and one above */
  TRVS_GROUP_TOP = 4          /* groups below it and none above */
} TrvsGroupKind;

/* Tells where `group` stands in the promotion model of the current configuration. Names are case
 * sensitive. *kind receives a TrvsGroupKind, and a group that does not exist is no failure. */
TRVS_EXPORT int32_t TrvsVerifyPromoTreeNodeExist(const char* group, int16_t* kind);

/* clang-format off */
/* ---- Archives ----
 *
 * For all functions from here on:
 *   context   TRVS_CONTEXT
 *   archive   "archive(workfile)", two path texts, or the archive's alone. The workfile is then the
 *             file of the archive's own workfile name in the current directory. Both names may hold
 *             parentheses: the archive is the whole text if there is such a file, else the longest
 *             part before a "(" that is one, else what stands before the last pair of parentheses
 *   revision  a number such as 1.2 or 1.2.1.0, the number of a branch such as 1.2.1 for its tip (1
 *             is the trunk), or a version label. Null: the trunk's tip, unless told otherwise
 *   user      null for the present user, as TrvsGetUserInfo gives it
 *   reserved  0 or null
 * Null and "" are the same for all texts that may be null, except for descriptions.
 *
 * Names of users, groups and labels have up to 254 bytes, no control characters and no "*", "+" or
 * ","; labels don't read as a number either. Names are case sensitive.
 *
 * All of these functions may give TRVS_NO_ARCHIVE, TRVS_CANNOT_OPEN, TRVS_NOT_AN_ARCHIVE,
 * TRVS_BAD_NAME (also if the directory of a new file isn't there), TRVS_SAME_NAMES, TRVS_CANCELLED,
 * TRVS_CANNOT_WRITE, TRVS_NO_USER_ID, and
 *   TRVS_IN_USE     TRVS_CALLBACK_RETRY was asked
 *   TRVS_NO_ACCESS  what an archive tells about itself is open to everybody
 *   TRVS_TRIGGER_REFUSED, TRVS_TRIGGER_FAILED
 * A function that finds a revision may also give TRVS_NO_SUCH_LABEL, TRVS_NO_REVISION and
 * TRVS_NO_REVISIONS. With any status but TRVS_DONE the archive is as it was before, unless told
 * otherwise.
 *
 * A change adds to the archive's file; or, now and then and with most revisions, it makes a new file
 * in the archive's directory, which takes the old one's place with its mode, group, access list of
 * the file system and user attributes; with its owner too if the process may give files away, else
 * it belongs to the present account, and an access list lets the former owner do what he could.
 * Where one of the others can't be kept, such as the group by somebody who isn't in it, or nothing
 * may be made in the directory, the old file is added to, at most 1023 times, and as long as it
 * has at most a megabyte, or three times as many bytes that count no longer as bytes that do: then
 * it is TRVS_NEEDS_REWRITE until somebody makes any change who can make a new file.
 * TRVS_CANNOT_WRITE, and no change, if the process may not write the archive; or if its owner may
 * not, so that mode 0444 refuses root too; or if a file would exceed the process's limit of size.
 * The system sends SIGXFSZ then, which ends a process that neither ignores nor handles it: the
 * archive says what it said before all the same, but a client does better to ignore it.
 * Where the path is a symbolic link the archive that it leads to changes; but TRVS_CANNOT_OPEN, told
 * to TRVS_CALLBACK_TEXT, and no change, if the link belongs to neither the present user nor root nor
 * the archive's owner. A further name of the file (a hard link) stays with the old file when a new
 * one is made, and then leads to what the archive said before.
 *
 * A change to what the archive says already succeeds like any other, and writes nothing.
 *
 * A description has up to 16777216 bytes, and all that an archive tells of itself, without contents,
 * up to 67108864: TRVS_LIMIT for a change that would exceed that, or bring more than a megabyte of
 * text that is all the same. */
/* clang-format on */

/* The only context that there is. */
enum { TRVS_CONTEXT = -1 };

/* Fetches the name of the archive of `workfile`, a path text or a name: the workfile's name with
 * the suffix for its extension. If the configuration has archive directories, it stands in the
 * first of them that has such an archive, or in the first of all if none has; else it has no
 * directory.
 * Gives TRVS_BAD_NAME if `workfile` ends with a separator or is empty. */
TRVS_EXPORT int32_t TrvsComputeArchiveName(const char* workfile, char* buffer, int32_t size);

/* clang-format off */
/* Creates an archive without revisions. Exclusive locks, keyword expansion and access list are
 * taken from the configuration; locks are checked, and workfiles read-only.
 *   archive      path text of the archive alone
 *   workfile     path text; the archive keeps its name, which has no control characters, is not
 *                ".." and does not begin with a drive. The file need not be there
 *   description  may be null
 *   owner        null for the present user
 *   time         packed time of creation, 0 for the present; see TrvsPutRevision
 * May give TRVS_ARCHIVE_EXISTS; TRVS_SAME_NAMES; TRVS_BAD_DATE. */
/* clang-format on */
TRVS_EXPORT int32_t TrvsCreateArchive(const char* archive, const char* workfile,
                                      const char* description, const char* owner, uint32_t time,
                                      int32_t reserved);

enum {
  TRVS_PUT_KEEP_LOCK = 0x1,         /* the workfile stays, writable, and the new revision is locked,
                                       if the archive checks locks */
  TRVS_PUT_READ_ONLY = 0x2,         /* the workfile stays, read-only; with neither it is removed */
  TRVS_PUT_BRANCH = 0x4,            /* start a branch even from a tip */
  TRVS_PUT_OLDER = 0x8,             /* even if the workfile is older than the parent's was */
  TRVS_PUT_MOVE_LABEL = 0x10,       /* `label` may have another target until now */
  TRVS_PUT_ASK_UNCHANGED = 0x20,    /* ask TRVS_CALLBACK_CHECK_IN about an unchanged workfile */
  TRVS_PUT_REFUSE_UNCHANGED = 0x40, /* refuse an unchanged workfile, unless the one before is given
                                       too; the default of these three */
  TRVS_PUT_UNCHANGED = 0x80,     /* check in an unchanged workfile, whatever the two before say */
  TRVS_PUT_ASK_LABEL = 0x4000,   /* ask TRVS_CALLBACK_MOVE_LABEL if it has */
  TRVS_PUT_NO_BRANCH = 0x10000,  /* continue a branch or refuse: TRVS_NEEDS_BRANCH */
  TRVS_PUT_NEW_NUMBER = 0x20000, /* `revision` is the number of the new revision, never of its
                                    parent: TRVS_REVISION_EXISTS if there is one already */
  TRVS_PUT_NO_GROUP = 0x40000    /* put it into no development group, and leave that of the parent
                                    where it is; `group` counts for nothing */
};

/* Checks in the workfile: makes a revision from it.
 *   revision     the parent that the new revision follows, locked by the present user if the
 *                archive checks locks; or the number of the new revision: greater than the tip of
 *                its branch, or the first one of the branch that comes next at its parent. Null:
 *                the parent is the one revision that the present user has locked or, if there is
 *                none and locks are not checked, the trunk's tip
 *   label        version label for the new revision; may be null
 *   description  a new description of the archive; null leaves the old one
 *   change       change description of the revision; may be null
 *   group        its development group; null for that of the parent, or the only one
 *   author       null for the present user
 *   time         packed time of the check-in, 0 for the present. From the highest bit: 7 bits years
 *                since 1980, 4 month, 5 day, 5 hours, 6 minutes, 5 seconds divided by two
 *   flags        TRVS_PUT_...
 * The first revision of an archive is 1.0 or the number given, such as 2.0; if its workfile's owner
 * may run that, the archive gets TRVS_ATTRIBUTE_EXECUTABLE. A revision whose parent
 * is the tip of its branch continues it; any other starts a branch. A client that was told a number
 * some time ago can't know whether it is still free, or still a tip: TRVS_PUT_NEW_NUMBER and
 * TRVS_PUT_NO_BRANCH refuse what others have overtaken. The present user's lock of the parent is
 * removed. A development group moves from the parent to the new revision.
 *
 * A workfile that changes during the check-in stays where it is, whatever `flags` says:
 * TRVS_CANNOT_OPEN, and no revision, if it is cut short while it is read. One of any size is read
 * whole, see Memory above. A workfile that can't be removed, or its mode changed, fails nothing:
 * TRVS_CALLBACK_MESSAGE is told.
 *
 * May give TRVS_LABEL_EXISTS; TRVS_LOCKED if another has locked the parent; TRVS_BAD_NUMBER, also
 * for several locks and no number; TRVS_NO_LOCK; TRVS_NO_WORKFILE; TRVS_NO_SUCH_GROUP;
 * TRVS_GROUP_IN_THE_WAY; TRVS_NEEDS_DEVELOPMENT_GROUP; TRVS_OLDER; TRVS_UNCHANGED; TRVS_BAD_DATE;
 * TRVS_NEEDS_BRANCH; TRVS_REVISION_EXISTS. */
TRVS_EXPORT int32_t TrvsPutRevision(int32_t context, int32_t reserved1, const char* archive,
                                    int32_t reserved2, const char* revision, const char* label,
                                    const char* description, const char* change, const char* group,
                                    const char* author, uint32_t time, uint32_t flags);

enum {
  TRVS_GET_LOCK = 0x2,         /* lock it, as TrvsLockRevision; the workfile is writable */
  TRVS_GET_IF_NEWER = 0x4,     /* only if it was checked in after `newerThan` */
  TRVS_GET_ARCHIVE_TIME = 0x8, /* give the workfile the check-in time, not the present one */
  TRVS_GET_WRITABLE = 0x10,    /* make the workfile writable without a lock */
  TRVS_GET_OVERWRITE = 0x20,   /* overwrite an existing workfile */
  TRVS_GET_KEEP = 0x40,        /* don't; with neither, TRVS_CALLBACK_OVERWRITE is asked */
  TRVS_GET_LATEST = 0x80       /* dates don't count */
};

/* Checks out a revision to the workfile. It is read-only unless locked, asked to be writable, or if
 * the archive doesn't want that. Keywords are expanded if the archive wants that.
 *   revision    null: the one in `group`, else the trunk's tip
 *   cutoffDate  the newest revision of its branch, up to `revision`, that was checked in by then;
 *               null or "*" for any. In the words and the format of the configuration
 *   newerThan   for TRVS_GET_IF_NEWER; null or "*" for the time of the workfile that is there
 *   group       promotion group; with a lock the development group that it is for
 *   flags       TRVS_GET_...
 * With a lock, dates don't count. A workfile that is equal already stays, without a question: only
 * its mode changes, and with TRVS_GET_ARCHIVE_TIME its time. One that came or changed since the
 * question isn't replaced. A symbolic link, also one to
 * nothing, is a workfile that is there: it is asked about and replaced itself, and what it leads to
 * stays as it is. A lock is given back if the workfile can't be written.
 *
 * May give TRVS_BAD_DATE; TRVS_WOULD_OVERWRITE; TRVS_NO_GROUP_REVISION; with a lock also the
 * statuses of TrvsLockRevision. */
TRVS_EXPORT int32_t TrvsGetRevision(int32_t context, const char* archive, int32_t reserved1,
                                    const char* revision, const char* cutoffDate,
                                    const char* newerThan, int32_t reserved2, const char* group,
                                    int32_t reserved3, uint32_t flags);

/* Fetches the revisions that a user has locked.
 *   count   the most that are asked for, 1 or more; receives how many there are in the buffer
 *   buffer  receives that many pointers, to texts that follow them in the buffer: numbers such as
 *           "1.2". It must be aligned for pointers
 * May give TRVS_NO_LOCK. */
TRVS_EXPORT int32_t TrvsGetLockInfo(int32_t context, const char* archive, int32_t reserved,
                                    const char* user, int16_t* count, char* buffer, int32_t size);

/* Takes back the locks of a user, who need not be the present one.
 *   revision  null for all locks of that user
 * May give TRVS_NO_LOCK. */
TRVS_EXPORT int32_t TrvsUnLockRevision(int32_t context, const char* archive, const char* revision,
                                       const char* user);

/* ---- Revision tree ---- */

/* One record of an archive's revision tree. A tree is a list: for each revision its record, then
 * its three texts, its lockers, labels and promotion groups, then the branches that start there,
 * each one level deeper and its first record marked as a head. The trunk's revisions come in the
 * order of age, and so do those of each branch. An archive without revisions has one record with no
 * flags. */
typedef struct TrvsRevTree {
  struct TrvsRevTree* next; /* null at the end */
  uint16_t flags;           /* TRVS_TREE_... */
  int16_t level;            /* 1 for the trunk */
  const char* text;         /* never null */
} TrvsRevTree;

enum {
  TRVS_TREE_REVISION = 0x0001,  /* the text is the revision's number */
  TRVS_TREE_LABEL = 0x0002,     /* a version label */
  TRVS_TREE_GROUP = 0x0004,     /* a promotion group */
  TRVS_TREE_CHANGE = 0x0008,    /* the change description of the revision */
  TRVS_TREE_AUTHOR = 0x0010,    /* its author */
  TRVS_TREE_TIME = 0x0020,      /* its check-in time, as "2026-11-21 04:05:46" */
  TRVS_TREE_LOCKER = 0x0040,    /* a user who has locked it */
  TRVS_TREE_HEAD = 0x1000,      /* also set for the first revision of a branch */
  TRVS_TREE_HAS_BRANCH = 0x8000 /* also set for a revision where a branch starts */
};

/* What TrvsRevTreeInfo is to do. */
enum { TRVS_TREE_RETURN = 0, TRVS_TREE_FETCH = 1 };

/* Fetches the revision tree of an archive or takes one back.
 *   archive  as told under "Archives"; null when taking back
 *   tree     fetching: receives a tree that the caller returns here, never by free()
 *            taking back: the tree is freed, and *tree becomes null
 *   fetch    TRVS_TREE_FETCH or TRVS_TREE_RETURN
 * *tree changes only with TRVS_DONE. */
TRVS_EXPORT int32_t TrvsRevTreeInfo(int32_t context, const char* archive, TrvsRevTree** tree,
                                    int32_t fetch);

/* ---- Reports and differences ---- */

enum {
  /* Modes, of which one counts. */
  TRVS_LOG_FULL = 0,        /* all about each revision */
  TRVS_LOG_BY_AUTHOR = 0x1, /* one line for each revision, under its author */
  TRVS_LOG_BY_DATE = 0x2,   /* one line for each revision, in the order of time */
  TRVS_LOG_GROUPS = 0x8,    /* one line for each promotion group */
  TRVS_LOG_LABELS = 0x10,   /* one line for each version label */
  TRVS_LOG_BRIEF = 0x20,    /* one line for each revision */
  TRVS_LOG_LOCKED = 0x40,   /* one line for each lock */
  TRVS_LOG_NEWEST = 0x80,   /* all about the tips of branches */
  /* Options. */
  TRVS_LOG_OLDEST_FIRST = 0x4,
  TRVS_LOG_NO_HEADING = 0x100 /* nothing about the archive itself */
};

/* Reports what happened in an archive.
 *   revisions  "from*to", either may be missing; or one revision, or the number of one branch for
 *              all that it has. Null for all
 *   authors, lockers, labels, groups  only revisions with one of these; names separated by ",".
 *              Null for any
 *   words      only revisions whose change description holds this text, case-blind
 *   dates      "from*to" of check-in times, either may be missing; or one date for all the time
 *              that it may mean, so that a day is a whole day. Null for any
 *   output     path text of a file for the report; null or "" for TRVS_CALLBACK_OUTPUT. An
 *              existing file is replaced if TRVS_CALLBACK_OVERWRITE agrees, but never one that the
 *              report is about: TRVS_SAME_NAMES. A symbolic link is such a file, and is replaced
 *              itself
 *   flags      TRVS_LOG_...
 * A revision must satisfy all that is given.
 * May give TRVS_BAD_DATE; TRVS_WOULD_OVERWRITE. */
TRVS_EXPORT int32_t TrvsLog(int32_t context, const char* archive, const char* revisions,
                            const char* authors, const char* lockers, const char* labels,
                            const char* groups, const char* words, const char* dates,
                            const char* output, uint32_t flags);

enum {
  TRVS_DIFF_IGNORE_SPACE = 0x1,     /* how much white space stands in a line, and any at its end */
  TRVS_DIFF_IGNORE_CASE = 0x2,      /* of A to Z */
  TRVS_DIFF_IGNORE_LINE_ENDS = 0x4, /* CR LF or LF, or neither at the end of a text */
  TRVS_DIFF_NO_HEADING = 0x8,       /* leave out what the report says about the two sides */
  TRVS_DIFF_STORED = 0x10           /* compare revisions as stored, without keywords expanded */
};

/* The three functions that compare take two sides, each a file and a revision.
 *   first           an archive, as above, or the path text of any file; not null
 *   firstRevision   null: the trunk's tip if `first` is an archive, else the file itself
 *   second          the same; null: the archive of `first`, or if there is no `secondRevision`
 *                   either, the workfile of `first`
 *   secondRevision
 *   tabWidth        0 to 64. Tabs count as blanks up to the next multiple; 0: tabs are tabs
 *   columns         columns that don't count, such as "1-6,73-80"; null for none
 *   flags           TRVS_DIFF_...
 * Contents with a NUL in their first 8000 bytes are binary: they are compared byte by byte, and
 * said to differ.
 * They give TRVS_NO_ARCHIVE or TRVS_NO_WORKFILE for a missing file, TRVS_BAD_COLUMNS, and those
 * that write also TRVS_WOULD_OVERWRITE. */

/* Tells in *result whether the two sides differ (1) or not (0). */
TRVS_EXPORT int32_t TrvsTestDifferences(int32_t context, const char* first,
                                        const char* firstRevision, const char* second,
                                        const char* secondRevision, int16_t* result,
                                        int16_t tabWidth, const char* columns, uint32_t flags);

/* Writes a unified report: nothing if the two sides don't differ.
 *   output        as for TrvsLog
 *   contextLines  around each difference; negative for the whole text
 *   form          0: there is no other one */
TRVS_EXPORT int32_t TrvsReportDifferences(int32_t context, const char* first,
                                          const char* firstRevision, const char* second,
                                          const char* secondRevision, const char* output,
                                          int16_t contextLines, int16_t form, int16_t tabWidth,
                                          const char* columns, uint32_t flags);

/* Writes the ranges of lines that are the same, changed, added and deleted, for a program that
 * shows both sides. Colours and styles are the viewer's own, for changed, added and deleted lines:
 * they stand in the heading as they are. */
TRVS_EXPORT int32_t TrvsGenGuiDelta(int32_t context, const char* first, const char* firstRevision,
                                    const char* second, const char* secondRevision,
                                    int16_t tabWidth, const char* columns, const char* output,
                                    int32_t changedColour, int16_t changedStyle,
                                    int32_t addedColour, int16_t addedStyle, int32_t deletedColour,
                                    int16_t deletedStyle, int32_t reserved, uint32_t flags);

/* ---- More about archives ----
 *
 * Lists are NUL-terminated names, one after the other, ended by an empty name. */

/* Begins a batch: changes of many archives that wait for the disk together. Until TrvsEndBatch a
 * function that changes an archive checks and writes all that it has to, and gives the status of
 * that; what it changes is promised later, many archives at once. Only then a workfile is removed,
 * gets its mode or, with a new lock, its content; and only then the journal, the triggers after the
 * event and TRVS_CALLBACK_OPERATION are told, in the order of the changes. Who reads an archive may
 * see its change sooner. A check-out without a lock waits for nothing, and triggers before an event
 * run at once.
 *
 * What waits is promised with the batch, and in between: when 1,024 archives wait, or when half of
 * the files are open that the process may have open; before a function that has to do with one of
 * these archives, so that a client sees its own changes; and before a wait for an archive that
 * another process changes. All of this may happen in any function of this state, which calls the
 * callbacks then.
 *
 * A failure to bring what waits to the disk fails all of it, and one that comes later, such as a
 * workfile that can't be written, fails that change: TRVS_CALLBACK_UNDONE is told of each. If the
 * process dies each archive says all of its change or nothing of it, and each workfile is still
 * there whose content is in no archive for certain.
 *
 * Until then other processes, and other states of this one, find the archives that wait in use.
 * Gives TRVS_MISUSE in a batch: they don't nest. */
TRVS_EXPORT int32_t TrvsBeginBatch(int32_t context);

/* Ends a batch and promises all that waits. Gives TRVS_MISUSE without one; else the first status
 * that TRVS_CALLBACK_UNDONE was told since it began, TRVS_DONE for none. It has ended in any
 * case. */
TRVS_EXPORT int32_t TrvsEndBatch(int32_t context);

/* Creates an archive with its first revision, in one step: as TrvsCreateArchive and TrvsPutRevision
 * do one after the other, but with any status other than TRVS_DONE there is no archive.
 *   archive, workfile, description, owner  as for TrvsCreateArchive; the workfile must be there
 *   revision, label, change, group, author, flags  as for TrvsPutRevision
 *   time                                   of both, 0 for the present
 * CREATE and CHECKIN are two events: the triggers before both run before anything is done, and the
 * client, the journal and the triggers after them are told of both in that order.
 * May give what those two may. */
TRVS_EXPORT int32_t TrvsCreateWithRevision(int32_t context, const char* archive,
                                           const char* workfile, const char* owner,
                                           const char* revision, const char* label,
                                           const char* description, const char* change,
                                           const char* group, const char* author, uint32_t time,
                                           uint32_t flags);

/* Locks a revision for the present user. The lock keeps the present time.
 *   revision  null: the one in `group`, else the trunk's tip
 *   group     the development group that the lock is for; null for the only one. The revision is
 *             put into it. Without a promotion model there is none
 * May give TRVS_LOCKED if the present user has locked it, or another and MULTILOCK is off;
 * TRVS_CANNOT_LOCK; TRVS_NO_SUCH_GROUP; TRVS_GROUP_IN_THE_WAY; TRVS_NEEDS_DEVELOPMENT_GROUP;
 * TRVS_GROUP_LOCKED; TRVS_WOULD_BRANCH. */
TRVS_EXPORT int32_t TrvsLockRevision(int32_t context, const char* archive, const char* revision,
                                     const char* group);

/* The same, with a note that the lock keeps: one line of up to 255 bytes without control
 * characters, such as what the lock is for. Null or "" for none. A lock that a check-in keeps
 * (TRVS_PUT_KEEP_LOCK) keeps its time and its note, too.
 * May give what TrvsLockRevision may; TRVS_BAD_NAME for anything that is no such note. */
TRVS_EXPORT int32_t TrvsLockWithNote(int32_t context, const char* archive, const char* revision,
                                     const char* group, const char* note);

/* Checks out a revision and locks it with a note: TrvsGetRevision with TRVS_GET_LOCK, which need
 * not be among the `flags`. */
TRVS_EXPORT int32_t TrvsGetWithNote(int32_t context, const char* archive, const char* revision,
                                    const char* group, const char* note, uint32_t flags);

/* Fetches all locks of an archive, whoever has them: a list of four texts for each, the number of
 * the revision, the user, the time as "2026-11-21 04:05:46", and the note, which may be empty. The
 * empty number ends the list. TrvsGetLockInfo tells about one user. */
TRVS_EXPORT int32_t TrvsListLocks(int32_t context, const char* archive, char* buffer, int32_t size);

enum {
  TRVS_LABEL_FLOATS = 0x1, /* with the tip of the revision's branch */
  TRVS_LABEL_MOVE = 0x10,  /* it may have another target until now */
  TRVS_LABEL_ASK = 0x4000  /* ask TRVS_CALLBACK_MOVE_LABEL if it has */
};

/* Sets a version label at a revision. May give TRVS_BAD_NAME; TRVS_LABEL_EXISTS. */
TRVS_EXPORT int32_t TrvsSetLabel(int32_t context, const char* archive, const char* label,
                                 const char* revision, uint32_t flags);

/* May give TRVS_NO_SUCH_LABEL. */
TRVS_EXPORT int32_t TrvsDeleteLabel(int32_t context, const char* archive, const char* label);

/* Fetches a list of pairs: a label, and the number of its revision, or of its branch if it
 * floats. */
TRVS_EXPORT int32_t TrvsListLabels(int32_t context, const char* archive, char* buffer,
                                   int32_t size);

enum { TRVS_PROMOTE_ACROSS = 0x1 /* even if the next group stands on another branch */ };

/* Promotes the revision in `group` to the next higher group, which leaves the revision where it
 * stood before.
 * May give TRVS_CANNOT_PROMOTE; TRVS_NO_HIGHER_GROUP; TRVS_NO_SUCH_GROUP; TRVS_OTHER_BRANCH if
 * TRVS_CALLBACK_RETRY did not agree. */
TRVS_EXPORT int32_t TrvsPromoteRevision(int32_t context, const char* archive, const char* group,
                                        uint32_t flags);

/* Takes the revision in `group` out of that group, which is then free for another. The group need
 * not be in the promotion model any more.
 * May give TRVS_NO_GROUP_REVISION; TRVS_GROUP_LOCKED if another user has locked the revision. */
TRVS_EXPORT int32_t TrvsLeaveGroup(int32_t context, const char* archive, const char* group);

/* Sets or fetches the change description of a revision or, with `revision` null, the description of
 * the archive. "" is the trunk's tip. */
TRVS_EXPORT int32_t TrvsSetDescription(int32_t context, const char* archive, const char* revision,
                                       const char* text);
TRVS_EXPORT int32_t TrvsGetDescription(int32_t context, const char* archive, const char* revision,
                                       char* buffer, int32_t size);

/* Fetches the user id of the archive's owner, who is never locked out. */
TRVS_EXPORT int32_t TrvsGetOwner(int32_t context, const char* archive, char* buffer, int32_t size);

typedef enum TrvsAttribute {
  TRVS_ATTRIBUTE_BINARY = 0x1,          /* contents are never text */
  TRVS_ATTRIBUTE_KEYWORDS = 0x2,        /* keywords are expanded in workfiles */
  TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS = 0x4, /* one lock at a time */
  TRVS_ATTRIBUTE_READ_ONLY = 0x8,       /* workfiles are read-only unless locked */
  TRVS_ATTRIBUTE_CHECK_LOCKS = 0x10,    /* a check-in needs a lock */
  TRVS_ATTRIBUTE_EXECUTABLE = 0x20      /* who may read a workfile may run it, after a check-out */
} TrvsAttribute;

/* Sets and clears attributes, each a sum of TrvsAttribute. Locks that are there stay. May give
 * TRVS_MISUSE for unknown ones. */
TRVS_EXPORT int32_t TrvsSetAttributes(int32_t context, const char* archive, uint32_t set,
                                      uint32_t clear);
TRVS_EXPORT int32_t TrvsGetAttributes(int32_t context, const char* archive, uint32_t* attributes);

/* Adds a user to the access list or takes one off. An empty list is open to everybody.
 * May give TRVS_BAD_NAME; TRVS_NOT_IN_ACCESS_LIST. */
TRVS_EXPORT int32_t TrvsAddAccess(int32_t context, const char* archive, const char* user);
TRVS_EXPORT int32_t TrvsRemoveAccess(int32_t context, const char* archive, const char* user);
TRVS_EXPORT int32_t TrvsListAccess(int32_t context, const char* archive, char* buffer,
                                   int32_t size);

/* Deletes revisions and the labels that they leave without a revision. Contents of the others stay.
 *   range  as for TrvsLog, but never null; "+" after it takes in all branches that start there
 * May give TRVS_LOCKED; TRVS_BAD_NUMBER for an empty range; TRVS_GROUP_IN_THE_WAY if a revision is
 * in a promotion group; TRVS_HAS_BRANCHES if a branch starts at one and there is no "+". */
TRVS_EXPORT int32_t TrvsDeleteRevisions(int32_t context, const char* archive, const char* range);

/* Fetches the numbers of revisions: the trunk's from the oldest on, then those of each branch.
 *   range  as for TrvsLog */
TRVS_EXPORT int32_t TrvsListRevisions(int32_t context, const char* archive, const char* range,
                                      char* buffer, int32_t size);

/* Fetches what is stored of revisions, in the order of TrvsListRevisions: a list of five texts for
 * each, the number, the length of the content in bytes, its checksum (XXH64 with seed 0, as 16
 * hexadecimal digits), the workfile's time of change when it was checked in, as
 * "2026-11-21 04:05:46", and the author, which may be empty. The empty number ends the list.
 *   range  as for TrvsLog */
TRVS_EXPORT int32_t TrvsListContents(int32_t context, const char* archive, const char* range,
                                     char* buffer, int32_t size);

/* Fetches the number of the newest revision, by check-in time, whose content the workfile has: as
 * it is stored or, if the archive wants keywords expanded, as a check-out would give it. The file
 * may have any name: "archive(file)". Gives TRVS_NO_REVISION if there is none. May give
 * TRVS_NO_WORKFILE. */
TRVS_EXPORT int32_t TrvsFindContent(int32_t context, const char* archive, char* buffer,
                                    int32_t size);

/* Takes the next bytes of a content, which are good until it returns; `client` is what the client
 * gave. To refuse ends the operation with TRVS_CANCELLED. It may use no other function here. */
typedef int32_t (*TrvsContentCallback)(void* client, const void* bytes, uint64_t size);

enum { TRVS_READ_EXPANDED = 0x1 /* keywords, if the archive wants that */ };

/* Hands out the content of a revision, without a workfile. No event, as for a comparison.
 *   descriptor  one to write to; it stays open. -1 with a callback. TRVS_CANNOT_WRITE if it doesn't
 *               take everything; a pipe that nobody reads sends SIGPIPE to a process that doesn't
 *               ignore that
 *   callback    null with a descriptor
 *   client      for the callback
 *   flags       TRVS_READ_...
 * With any status but TRVS_DONE what was handed out is worth nothing. */
TRVS_EXPORT int32_t TrvsReadRevision(int32_t context, const char* archive, const char* revision,
                                     int32_t descriptor, TrvsContentCallback callback, void* client,
                                     uint32_t flags);

/* Reads every byte of an archive and checks it. The buffer, which may be null, receives the numbers
 * of the revisions that can't be checked out any more, with TRVS_DONE and
 * TRVS_NOT_AN_ARCHIVE; an empty list with the latter means that what is damaged stands outside
 * their contents, or that all is. Gives TRVS_NOT_AN_ARCHIVE if anything is damaged; if
 * that stands at the end, TRVS_CALLBACK_TEXT tells from where on. Gives TRVS_TORN_END, with an
 * empty list and such a text, if all that counts is whole, but bytes come after it that don't, and
 * no writer is at work. Its writer was killed or the power was cut then, and nobody was told that
 * the change was done; or, if what is there now is what a power cut leaves too, they are damaged.
 * The next change cuts them off. If they may be damaged, they are in a file beside the archive
 * then, with ".trvs-cut" after its name, and TRVS_CALLBACK_TEXT says so; as it does if the
 * archive's directory doesn't take that file, with TRVS_CANNOT_WRITE for the change. */
TRVS_EXPORT int32_t TrvsVerifyArchive(int32_t context, const char* archive, char* buffer,
                                      int32_t size);

/* Has the state in place refuse contents of more than `bytes`, 0 for no bound, as at the start. A
 * small archive can hold a content 32768 times its size (docs/security.md): set this where archives
 * come from strangers. TRVS_TOO_LARGE is what functions give then that would check in such
 * a workfile, or unpack such a content: to hand it out, to compare or verify it, or to rebuild or
 * pack another revision that is stored as a difference from it. It comes before memory is taken for
 * the content and before anything is written, and the archive stays as it is. What an archive tells
 * of itself, and changes that leave contents as they are, have no bound. */
TRVS_EXPORT int32_t TrvsSetLargestContent(uint64_t bytes);

#ifdef __cplusplus
}
#endif

#endif
