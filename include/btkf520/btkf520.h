/* btkf520.h: the archive toolkit: configuration, users and promotion models.
 *
 * Plain C99. The toolkit keeps one state for the whole process: the current configuration, the
 * registered functions, nothing else. docs/configuration.md describes the configuration language.
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
 * until it returns. It may query items and groups, but load nothing; it sees the configuration that
 * the load which it interrupts adds to.
 *
 * Results, unless told otherwise: 0 to go on, 2 to refuse. */
typedef int32_t (*TrvsCallback)(void);

/* 1: shall a long operation continue? */
typedef int32_t (*TrvsContinueCallback)(void);
/* 3: an obstacle at `path` that may go away, by its code: try again (0) or give up (2)? */
typedef int32_t (*TrvsRetryCallback)(int32_t code, const char* path);
/* 4: output of an operation. `code`, 1 to 15, says what sort of text it is. Results 0, 1 and 2. */
typedef int32_t (*TrvsOutputCallback)(const char* text, int32_t code);
/* 5 and 6: a question with two texts. The client may store an answer in *answer, a string that it
 * owns and that callback 9 gives back to it. */
typedef int32_t (*TrvsConfirmCallback)(const char* first, const char* second, char** answer);
/* 9: the toolkit is done with a string that callback 5 or 6 stored. */
typedef int32_t (*TrvsFreeCallback)(char* answer);
/* 10: a question with a text and a number. */
typedef int32_t (*TrvsAskCallback)(const char* text, int32_t value);
/* 16: news with two texts and a number. The result is ignored. */
typedef int32_t (*TrvsNotifyTwoCallback)(const char* first, const char* second, int32_t value);
/* 17: a moment to let others work. The result is ignored. */
typedef int32_t (*TrvsIdleCallback)(void);
/* 18: news with four texts and a number. The result is ignored. */
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
/* 20: a message by its code. The result is ignored. */
typedef int32_t (*TrvsMessageCallback)(int32_t code);
/* 23: a message as a text. The result is ignored. */
typedef int32_t (*TrvsTextCallback)(const char* text);

/* Registers `callback` for `id`, in place of the one before; null for none. Without one the toolkit
 * goes on as after the result 0. The functions of this header call 19 and no other; the rest are
 * kept for operations on archives.
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

/* ---- Revision tree ---- */

/* One record of an archive's revision tree. A tree is a list: for each revision its record, then its
 * three texts, its lockers, labels and promotion groups, then the branches that start there, each
 * one level deeper and its first record marked as a head. */
typedef struct TrvsRevTree {
  struct TrvsRevTree* next; /* null at the end */
  uint16_t flags;           /* TRVS_TREE_... */
  int16_t level;            /* 1 for the trunk */
  const char* text;         /* never null */
} TrvsRevTree;

enum {
  TRVS_TREE_REVISION = 0x0001,    /* the text is the revision's number */
  TRVS_TREE_LABEL = 0x0002,       /* a version label */
  TRVS_TREE_GROUP = 0x0004,       /* a promotion group */
  TRVS_TREE_CHANGE = 0x0008,      /* the change description of the revision before */
  TRVS_TREE_AUTHOR = 0x0010,      /* its author */
  TRVS_TREE_TIME = 0x0020,        /* its check-in time */
  TRVS_TREE_LOCKER = 0x0040,      /* a user who has locked it */
  TRVS_TREE_HEAD = 0x1000,        /* with 0x0001: the first revision of a branch */
  TRVS_TREE_HAS_BRANCH = 0x8000   /* with 0x0001: a branch starts there */
};

/* Fetches the revision tree of an archive (`fetch` 1) or takes one back (`fetch` 0).
 *   context  -1
 *   archive  "archive(workfile)" or the archive's path text; null when taking back
 *   tree     fetching: receives a tree that the caller returns here, never by free()
 *            taking back: the tree goes, and *tree becomes null
 * Gives 0; 2 for no such archive; 15 if the user cancelled; 27 for a file that is no archive. *tree
 * changes only with 0. */
TRVS_EXPORT int32_t TrvsRevTreeInfo(int32_t context, const char* archive, TrvsRevTree** tree,
                                    int32_t fetch);

#ifdef __cplusplus
}
#endif

#endif
