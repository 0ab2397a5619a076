/* btkf520.h: the archive toolkit: archives of revisions, their configuration, users and promotion
 * models.
 *
 * Plain C99. The toolkit keeps one state for the whole process: the current configuration, the
 * registered functions, nothing else. docs/configuration.md describes the configuration language,
 * docs/reports.md the forms of reports and differences, docs/archive-format.md the archive file.
 *
 * Threads    one at a time; the caller sees to it.
 * Ownership  strings in are NUL-terminated and read during the call only. Buffers are the caller's.
 *            Registered functions are kept until others replace them.
 * Text       bytes, never converted: names keep the code page of the file that they come from.
 * Sizes      in bytes, the NUL at the end included.
 * Failure    every function gives a status, 0 for success. What a function would fill is untouched
 *            with any other status. The same for all functions:
 *              1   internal error
 *              8   a buffer is too small: call again with a larger one
 *              10  an argument that a correct program does not pass, such as a null pointer
 *              16  out of memory
 *            The texts for these codes are the client's. */
#ifndef BTKF520_BTKF520_H
#define BTKF520_BTKF520_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TRVS_EXPORT __attribute__((visibility("default")))

/* ---- Start ---- */

/* Starts the toolkit for a program called `application`, which may be null and is not kept. Changes
 * neither the configuration nor what is registered, and no other function needs it.
 * Gives 0, or 50 if the source that the configuration names has no user id. */
TRVS_EXPORT int32_t TrvsInit(const char* application);

/* Enables the toolkit. There is nothing to check: gives 0 always. */
TRVS_EXPORT int32_t TrvsOEMEnable(void);

/* ---- Callbacks ---- */

/* A function of the client that the toolkit calls, on the thread and during the run of one of the
 * functions below. It has one of the types that follow, by its id, and is cast to this one to be
 * registered (by way of void (*)(void), if the compiler warns). The texts that it is given are good
 * until it returns. It may query items and groups, but load nothing, and work on no archive; it
 * sees the configuration that the load which it interrupts adds to.
 *
 * Results, unless told otherwise: 0 to go on, 2 to refuse. */
typedef int32_t (*TrvsCallback)(void);

/* 1: shall an operation continue? Asked before anything is changed, and now and then in a long
 * report. 2 ends the operation with status 15. None: it continues. */
typedef int32_t (*TrvsContinueCallback)(void);
/* 3: an obstacle at the archive `path` that may go away, by its code:
 *   38  another updates it: try again (0) or give up (2)? Asked every tenth of a second for at most
 *       5 seconds; then the status is 6
 *   49  a group stands at a revision on another branch: promote all the same (0) or not (2)?
 * None: 2. */
typedef int32_t (*TrvsRetryCallback)(int32_t code, const char* path);
/* 4: one line of a report, without its end. `code` says what sort of line: 1 a heading, 2 about a
 * revision, 3 a change description, 4 differences. 1 asks for no more lines, and 2 ends the
 * operation with status 15. None: no lines. */
typedef int32_t (*TrvsOutputCallback)(const char* text, int32_t code);
/* 5 and 6: a question with two texts. The client may store an answer in *answer, a string that it
 * owns and that callback 9 gives back to it. None: 2.
 *   5  may the file `first` be overwritten by a check-out from the archive `second`, or by a report
 *      if that is empty? An answer counts for nothing
 *   6  may the label `first` of the archive `second` be moved? An answer that isn't empty is
 *      another label, to be set instead; if that exists too it is asked about in turn */
typedef int32_t (*TrvsConfirmCallback)(const char* first, const char* second, char** answer);
/* 9: the toolkit is done with a string that callback 5 or 6 stored. */
typedef int32_t (*TrvsFreeCallback)(char* answer);
/* 10: shall the workfile `text` be checked in all the same? `value` is the status that forbids it:
 * 52, it is unchanged. None: 2. */
typedef int32_t (*TrvsAskCallback)(const char* text, int32_t value);
/* 16: news with two texts and a number. Kept, and never called. */
typedef int32_t (*TrvsNotifyTwoCallback)(const char* first, const char* second, int32_t value);
/* 17: a moment to let others work, while an archive is busy. The result is ignored. */
typedef int32_t (*TrvsIdleCallback)(void);
/* 18: an operation is done. The texts are the event (docs/configuration.md lists them), the
 * archive, the workfile, which may be empty, and what it was about: a revision, a label, a group.
 * The number is 0. The result is ignored. */
typedef int32_t (*TrvsNotifyFourCallback)(const char* first, const char* second, const char* third,
                                          const char* fourth, int32_t value);
/* 19: a directive that could not be taken in.
 *   code    why:  4   not a directive, or not with this value
 *                 21  INCLUDE of a file that is being read already, or below 20 levels of files
 *                 35  the promotion model has several top groups
 *                 37  the promotion model goes in a circle and has no top group
 *                 57  INCLUDE without a path, or of a file that can't be read
 *                 62  a conditional is malformed, out of place or not closed
 *                 109 the master file disallows this directive
 *   line    the line as it stands in the file, at most its first 1023 bytes; empty with 35 and 37
 *   file    path text of the file that holds it, as the client or an INCLUDE directive gave it
 *   number  of the line in that file, from 1; 0 with 35 and 37
 * Any result but 0 cancels the load. */
typedef int32_t (*TrvsBadDirectiveCallback)(int32_t code, const char* line, const char* file,
                                            int32_t number);
/* 20: a message by its code: 43, the journal could not be written. The result is ignored. */
typedef int32_t (*TrvsMessageCallback)(int32_t code);
/* 23: a message as a text. Kept, and never called. */
typedef int32_t (*TrvsTextCallback)(const char* text);

/* Registers `callback` for `id`, in place of the one before; null for none. Without one the toolkit
 * does what loses nothing, as told with each.
 * Gives 0, or 10 for an id that is not in the list above. */
TRVS_EXPORT int32_t TrvsRegisterCallback(int32_t id, TrvsCallback callback);

/* The client's translation of a path text, which may have a drive letter and backslashes, to a path
 * of the operating system. Fills `buffer` with a NUL-terminated path and gives 0; gives 8 if more
 * than `size` bytes are needed, and is then asked again with more, up to 65536; gives anything else
 * if there is no such place. */
typedef int32_t (*TrvsPathResolver)(const char* text, char* buffer, int32_t size);

/* Has all paths translated by `resolver`, those in configuration files too. With null, as at the
 * start, "\" is taken as "/" and the rest as it is. Gives 0. */
TRVS_EXPORT int32_t TrvsRegisterPathResolver(TrvsPathResolver resolver);

/* ---- Users ---- */

enum {
  TRVS_USER_ACCOUNT = 0,    /* the account of the process's effective user */
  TRVS_USER_ENVIRONMENT = 1 /* an environment variable that the configuration names */
};

/* Fetches the user id. An account without a name gives its number as text.
 *   user    receives the user id
 *   second  receives "": there is no second value. May be null
 *   kind    receives the source, TRVS_USER_... May be null
 * Gives 0; 8 if `user` or `second` is too small; 50 if the source has no user id: the variable is
 * not set, or empty. */
TRVS_EXPORT int32_t TrvsGetUserInfo(char* user, int32_t userSize, char* second, int32_t secondSize,
                                    int16_t* kind);

/* ---- Configuration ---- */

enum {
  TRVS_READ_FIRST = 8,     /* no master file: start from the defaults */
  TRVS_READ_FOLLOWING = 9, /* add to what is there, as far as the master file allows */
  TRVS_READ_MASTER = 10    /* the master file: start from the defaults; may use DISALLOW */
};

/* Reads the configuration file `path`, a path text, and those that it includes. Later directives
 * override earlier ones. Bad directives are reported through callback 19 and left out; they fail
 * nothing. If the promotion model is broken at the end of the file, the one before the call stays.
 *
 * Modes 8 and 10 forget the former configuration first, whatever the status will be, unless it is
 * 10: a file that can't be read leaves the defaults, never the settings of another project. Mode 9
 * adds nothing unless it gives 0.
 *   reserved1, reserved2  0
 * Gives 0; 15 if callback 19 cancelled the load; 107 if the file can't be read. That includes
 * anything but a regular file, and more than 1048576 bytes. */
TRVS_EXPORT int32_t TrvsQueryConfiguration(const char* path, int32_t reserved1, int32_t reserved2,
                                           int32_t readMode);

enum {
  TRVS_ITEM_ARCHIVE_DIRECTORIES = 49,
  TRVS_ITEM_PROMOTION_GROUPS = 55,
  TRVS_ITEM_DATE_WORDS = 78,
  TRVS_ITEM_DATE_FORMAT = 79
};

/* Fetches an item of the current configuration. No answer is longer than 32767 bytes.
 *   49  the archive directories as the configuration file has them, separated by ";"; maybe empty
 *   55  the promotion model as NUL-terminated names, ended by an empty name: pairs of a group and
 *       the group that it promotes to, where the last pair's second name is the top group. A model
 *       of one group is its name alone, a configuration without a model the empty name alone
 *   78  the words of dates, one blank between two: twelve months from January, then AM and PM
 *   79  the format of dates, such as "mm/dd/yy hh:mm:ss"
 * Gives 0; 8 if `size` is too small; 10 for any other item. */
TRVS_EXPORT int32_t TrvsQueryConfigurationItem(int32_t item, char* buffer, int32_t size);

enum {
  TRVS_GROUP_NONE = 1,        /* no such group */
  TRVS_GROUP_DEVELOPMENT = 2, /* no group below it; also the only group of a model */
  TRVS_GROUP_BETWEEN = 3,     /* groups below it and one above */
  TRVS_GROUP_TOP = 4          /* groups below it and none above */
};

/* Tells where `group` stands in the promotion model of the current configuration. Names are case
 * sensitive. *kind receives TRVS_GROUP_...
 * Gives 0, for a group that does not exist too. */
TRVS_EXPORT int32_t TrvsVerifyPromoTreeNodeExist(const char* group, int16_t* kind);

/* ---- Archives ----
 *
 * For all functions from here on:
 *   context   -1; any other value has no meaning yet
 *   archive   "archive(workfile)", two path texts, or the archive's alone. The workfile is then the
 *             file of the archive's own workfile name in the current directory. An archive whose
 * own name ends with ")" needs "()" behind it revision  a number such as 1.2 or 1.2.1.0, the number
 * of a branch such as 1.2.1 for its tip (1 is the trunk), or a version label. Null: the trunk's
 * tip, unless told otherwise user      null for the present user, as TrvsGetUserInfo gives it
 *   reserved  0 or null
 * Null and "" are the same for all texts that may be null, except for descriptions.
 *
 * Names of users, groups and labels have up to 254 bytes, no control characters and no "*", "+" or
 * ","; labels don't read as a number either. Names are case sensitive.
 *
 * Statuses that any of these functions may give, besides 1, 10 and 16:
 *   2   no such archive
 *   5   the archive, or the workfile, can't be opened
 *   6   the archive is being changed by another; callback 3 was asked
 *   9   a path or a name that can't be one; the directory of a new file isn't there
 *   13  the archive has an access list, and the present user is neither on it nor the owner. What
 *       an archive tells about itself is open to everybody
 *   15  callback 1 did not want to go on
 *   22  the workfile is the archive itself
 *   27  the file is no archive, or what was asked for is damaged
 *   50  there is no user id
 *   77  the disk is full, or a file or directory can't be written
 *   103 the event trigger before the operation said no
 *   106 that event trigger could not be run
 * With any status but 0 the archive is as it was before, unless told otherwise. */

/* Fetches the name of the archive of `workfile`, a path text or a name: the workfile's name with
 * the suffix for its extension. If the configuration has archive directories, it stands in the
 * first of them that has such an archive, or in the first of all if none has; else it has no
 * directory.
 * Gives 0; 8 if `size` is too small; 9 if `workfile` ends with a separator or is empty. */
TRVS_EXPORT int32_t TrvsComputeArchiveName(const char* workfile, char* buffer, int32_t size);

/* Creates an archive without revisions. Exclusive locks, keyword expansion and access list are
 * taken from the configuration; locks are checked, and workfiles read-only.
 *   archive      path text of the archive alone
 *   workfile     path text; the archive keeps its name. The file need not be there
 *   description  may be null
 *   owner        null for the present user
 *   time         packed time of creation, 0 for the present; see TrvsPutRevision
 * Gives 0; 3 if there is a file of that name; 22 if archive and workfile are one. */
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
  TRVS_PUT_ASK_UNCHANGED = 0x20,    /* with 0x40: ask callback 10 about an unchanged workfile */
  TRVS_PUT_REFUSE_UNCHANGED = 0x40, /* refuse an unchanged workfile; the default of these three */
  TRVS_PUT_UNCHANGED = 0x80,        /* check in an unchanged workfile */
  TRVS_PUT_ASK_LABEL = 0x4000       /* ask callback 6 if `label` has another target */
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
 * The first revision of an archive is 1.0 or the number given, such as 2.0. A revision whose parent
 * is the tip of its branch continues it; any other starts a branch. The present user's lock of the
 * parent goes. A development group moves from the parent to the new revision.
 *
 * A workfile that changes during the check-in stays where it is, whatever `flags` says. One of a
 * megabyte and more is mapped: if it is cut short meanwhile the process gets SIGBUS. Status 77
 * with the revision in the archive means that the workfile can't be removed or its mode changed.
 *
 * Gives 0; 11 no such label as parent; 12 `label` has another target; 14 another has locked the
 * parent; 18 no such revision; 19 not a number, not a possible one, or several locks and no number;
 * 20 the trunk has no revisions; 30 the present user has not locked the parent, or nothing; 32 no
 * workfile; 37 no such group; 40 the group stands at another revision; 45 no development group, or
 * none given and there are several; 51 the workfile is older; 52 it is unchanged. */
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
  TRVS_GET_KEEP = 0x40,        /* don't; with neither, callback 5 is asked */
  TRVS_GET_LATEST = 0x80       /* dates don't count */
};

/* Checks out a revision to the workfile. It is read-only unless locked, asked to be writable, or if
 * the archive doesn't want that. Keywords are expanded if the archive wants that.
 *   revision    null: the one in `group`, else the trunk's tip
 *   cutoffDate  the newest revision of its branch, up to `revision`, that was checked in by then;
 *               null or "*" for any. In the words and the format of the configuration
 *   newerThan   for 0x4; null or "*" for the time of the workfile that is there
 *   group       promotion group; with a lock the development group that it is for
 *   flags       TRVS_GET_...
 * With a lock, dates don't count. A workfile that is equal already is replaced without a question,
 * and one that came or changed since the question isn't replaced (24).
 *
 * Gives 0; 11 no such label; 17 not a date; 18 no such revision, or none of that time; 20 no
 * revisions; 24 there is a workfile; 41 no revision in `group`; with a lock also the statuses of
 * TrvsLockRevision. */
TRVS_EXPORT int32_t TrvsGetRevision(int32_t context, const char* archive, int32_t reserved1,
                                    const char* revision, const char* cutoffDate,
                                    const char* newerThan, int32_t reserved2, const char* group,
                                    int32_t reserved3, uint32_t flags);

/* Fetches the revisions that a user has locked.
 *   count   the most that are asked for, 1 or more; receives how many there are in the buffer
 *   buffer  receives that many pointers, to texts that follow them in the buffer: numbers such as
 *           "1.2". It must be aligned for pointers
 * Gives 0; 8 if `size` is too small; 30 if the user has locked nothing. */
TRVS_EXPORT int32_t TrvsGetLockInfo(int32_t context, const char* archive, int32_t reserved,
                                    const char* user, int16_t* count, char* buffer, int32_t size);

/* Takes back the locks of a user, who need not be the present one.
 *   revision  null for all locks of that user
 * Gives 0; 11 no such label; 18 no such revision; 30 if there is no such lock. */
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
  TRVS_TREE_HEAD = 0x1000,      /* with 0x0001: the first revision of a branch */
  TRVS_TREE_HAS_BRANCH = 0x8000 /* with 0x0001: a branch starts there */
};

/* Fetches the revision tree of an archive (`fetch` 1) or takes one back (`fetch` 0).
 *   context  -1
 *   archive  as told under "Archives"; null when taking back
 *   tree     fetching: receives a tree that the caller returns here, never by free()
 *            taking back: the tree goes, and *tree becomes null
 * Gives 0; 2 for no such archive; 15 if the user cancelled; 27 for a file that is no archive. *tree
 * changes only with 0. */
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
 *   output     path text of a file for the report; null or "" for callback 4. An existing file is
 *              replaced if callback 5 agrees
 *   flags      TRVS_LOG_...
 * A revision must satisfy all that is given.
 * Gives 0; 11, 18 or 20 for an end of the range that isn't there; 17 not a date; 24 there is such
 * a file. */
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
 * Besides the statuses of archives they give 2 or 32 for a missing file, 11, 18 or 20 for a missing
 * revision, 60 for bad columns, and those that write also 24 for an existing file. */

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
 * Lists are NUL-terminated names, one behind the other, ended by an empty name; 8 if the buffer is
 * too small. */

/* Locks a revision for the present user.
 *   revision  null: the one in `group`, else the trunk's tip
 *   group     the development group that the lock is for; null for the only one. The revision is
 *             put into it. Without a promotion model there is none
 * Gives 0; 11, 18 or 20 for a revision that isn't there; 14 locked already, by the present user, or
 * by another without MULTILOCK; 29 locks are not checked, or the archive allows one lock only; 37
 * no such group; 40 the group stands at another revision; 45 no development group, or none given
 * and there are several; 46 a revision in the group is locked; 47 the lock would lead to a branch,
 * and BRANCHWARN forbids that. */
TRVS_EXPORT int32_t TrvsLockRevision(int32_t context, const char* archive, const char* revision,
                                     const char* group);

enum {
  TRVS_LABEL_FLOATS = 0x1, /* with the tip of the revision's branch */
  TRVS_LABEL_MOVE = 0x10,  /* it may have another target until now */
  TRVS_LABEL_ASK = 0x4000  /* ask callback 6 if it has */
};

/* Gives a revision a version label.
 * Gives 0; 9 not a name for labels; 11, 18 or 20 for a revision that isn't there; 12 the label has
 * another target. */
TRVS_EXPORT int32_t TrvsSetLabel(int32_t context, const char* archive, const char* label,
                                 const char* revision, uint32_t flags);

/* Gives 0; 11 if there is no such label. */
TRVS_EXPORT int32_t TrvsDeleteLabel(int32_t context, const char* archive, const char* label);

/* Fetches a list of pairs: a label, and the number of its revision, or of its branch if it
 * floats. */
TRVS_EXPORT int32_t TrvsListLabels(int32_t context, const char* archive, char* buffer,
                                   int32_t size);

enum { TRVS_PROMOTE_ACROSS = 0x1 /* even if the next group stands on another branch */ };

/* Promotes the revision in `group` to the next higher group, which leaves the revision where it
 * stood before.
 * Gives 0; 34 `group` is the top one, or no revision is in it; 36 there is no higher group; 37 no
 * such group; 49 the next group stands on another branch, and callback 3 did not agree. */
TRVS_EXPORT int32_t TrvsPromoteRevision(int32_t context, const char* archive, const char* group,
                                        uint32_t flags);

/* Sets or fetches the change description of a revision or, with `revision` null, the description of
 * the archive. "" is the trunk's tip.
 * Each gives 0; 11, 18 or 20 for a revision that isn't there; 8 if `size` is too small. */
TRVS_EXPORT int32_t TrvsSetDescription(int32_t context, const char* archive, const char* revision,
                                       const char* text);
TRVS_EXPORT int32_t TrvsGetDescription(int32_t context, const char* archive, const char* revision,
                                       char* buffer, int32_t size);

enum {
  TRVS_ATTRIBUTE_BINARY = 0x1,          /* contents are never text */
  TRVS_ATTRIBUTE_KEYWORDS = 0x2,        /* keywords are expanded in workfiles */
  TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS = 0x4, /* one lock at a time */
  TRVS_ATTRIBUTE_READ_ONLY = 0x8,       /* workfiles are read-only unless locked */
  TRVS_ATTRIBUTE_CHECK_LOCKS = 0x10     /* a check-in needs a lock */
};

/* Sets and clears attributes. Locks that are there stay. Gives 0; 10 for unknown ones. */
TRVS_EXPORT int32_t TrvsSetAttributes(int32_t context, const char* archive, uint32_t set,
                                      uint32_t clear);
TRVS_EXPORT int32_t TrvsGetAttributes(int32_t context, const char* archive, uint32_t* attributes);

/* Adds a user to the access list or takes one off. An empty list is open to everybody.
 * Gives 0; 9 not a name for users; 95 if the user to be taken off is not on it. */
TRVS_EXPORT int32_t TrvsAddAccess(int32_t context, const char* archive, const char* user);
TRVS_EXPORT int32_t TrvsRemoveAccess(int32_t context, const char* archive, const char* user);
TRVS_EXPORT int32_t TrvsListAccess(int32_t context, const char* archive, char* buffer,
                                   int32_t size);

/* Deletes revisions and the labels that they leave without a revision. Contents of the others stay.
 *   range  as for TrvsLog, but never null; "+" behind it takes in all branches that start there,
 *          which without it keep their revisions from going
 * Gives 0; 11, 18 or 20 for a revision that isn't there; 14 one is locked; 19 no range; 40 one is
 * in a promotion group; 78 a branch starts at one. */
TRVS_EXPORT int32_t TrvsDeleteRevisions(int32_t context, const char* archive, const char* range);

/* Fetches the numbers of revisions: the trunk's from the oldest on, then those of each branch.
 *   range  as for TrvsLog
 * Gives 0; 11, 18 or 20 for an end that isn't there. */
TRVS_EXPORT int32_t TrvsListRevisions(int32_t context, const char* archive, const char* range,
                                      char* buffer, int32_t size);

/* Reads every byte of an archive and checks it. The buffer, which may be null, receives the numbers
 * of the revisions that can't be checked out any more, with status 0 and 27; an empty list with 27
 * means that what is damaged stands outside their contents, or that all is.
 * Gives 0 if nothing is damaged, 27 if something is. */
TRVS_EXPORT int32_t TrvsVerifyArchive(int32_t context, const char* archive, char* buffer,
                                      int32_t size);

#ifdef __cplusplus
}
#endif

#endif
