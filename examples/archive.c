/* archive.c: the life of one archive. A client of the archive toolkit and of nothing else.
 *
 *     archive DIRECTORY
 *
 * Makes the archive "motor.c_v" and the workfile "motor.c" in an existing directory: checks in
 * three revisions and a branch, locks, labels and promotes, lists locks and contents, then checks
 * out each revision and compares its bytes with what was checked in. Exit codes: 0 done, 1 failed,
 * 2 misused. */
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "btkf520/btkf520.h"

enum { kPathSize = 4096, kTextSize = 32768 };

static struct {
  char configuration[kPathSize];
  char archive[kPathSize];
  char workfile[kPathSize];
  char both[2 * kPathSize + 3]; /* "archive(workfile)" */
} paths;

/* Steps. ----------------------------------------------------------------------------------------*/

/* Prints one line for a step, and ends the program if the step failed. */
static void report(int32_t status, const char* what) {
  printf("%-52s %s\n", what, status == TRVS_DONE ? "done" : "FAILED");
  if (status == TRVS_DONE) return;
  fprintf(stderr, "archive: %s: %s\n", what, TrvsStatusText(status));
  exit(1);
}

static void fail(const char* what) {
  fprintf(stderr, "archive: %s\n", what);
  exit(1);
}

static void writeFile(const char* path, const char* text) {
  FILE* file = fopen(path, "wb");
  if (file == NULL || fputs(text, file) < 0 || fclose(file) != 0) fail(path);
}

static bool isContent(const char* path, const char* text) {
  static char buffer[kTextSize];
  FILE* file = fopen(path, "rb");
  if (file == NULL) return false;
  const size_t size = fread(buffer, 1, sizeof buffer, file);
  fclose(file);
  return size == strlen(text) && memcmp(buffer, text, size) == 0;
}

/* The three places under `directory`. */
static void setPaths(const char* directory) {
  const int written[] = {
      snprintf(paths.configuration, kPathSize, "%s/motor.cfg", directory),
      snprintf(paths.archive, kPathSize, "%s/motor.c_v", directory),
      snprintf(paths.workfile, kPathSize, "%s/motor.c", directory),
  };
  for (int i = 0; i < 3; ++i) {
    if (written[i] < 0 || written[i] >= kPathSize) fail("the path is too long");
  }
  snprintf(paths.both, sizeof paths.both, "%s(%s)", paths.archive, paths.workfile);
}

/* The revisions to be made, each from what the one before left. */
typedef struct {
  const char* number;
  const char* parent; /* locked first; null for the first revision */
  const char* change;
  const char* content;
  uint32_t flags;
} Revision;

static const Revision kRevisions[] = {
    {"1.0", NULL, "First version", "int speed;\n", 0},
    {"1.1", "1.0", "Add the brake", "int speed;\nint brake;\n", 0},
    {"1.2", "1.1", "Windows line ends", "int speed;\r\nint brake;\r\n", 0},
    {"1.1.1.0", "1.1", "Repair the old version", "int speed = 0;\nint brake;", TRVS_PUT_OLDER},
};
enum { kRevisionCount = sizeof kRevisions / sizeof *kRevisions };

static void checkIn(const Revision* revision) {
  char what[80];
  if (revision->parent != NULL) {
    snprintf(what, sizeof what, "lock %s and check it out", revision->parent);
    report(TrvsGetRevision(TRVS_CONTEXT, paths.both, 0, revision->parent, NULL, NULL, 0, NULL, 0,
                           TRVS_GET_LOCK),
           what);
  }
  writeFile(paths.workfile, revision->content);
  snprintf(what, sizeof what, "check in %s: %s", revision->number, revision->change);
  report(TrvsPutRevision(TRVS_CONTEXT, 0, paths.both, 0, NULL, NULL, NULL, revision->change, NULL,
                         NULL, 0, revision->flags),
         what);
}

static void checkOut(const Revision* revision) {
  char what[80];
  snprintf(what, sizeof what, "check out %s and compare", revision->number);
  int32_t status = TrvsGetRevision(TRVS_CONTEXT, paths.both, 0, revision->number, NULL, NULL, 0,
                                   NULL, 0, TRVS_GET_OVERWRITE);
  if (status == TRVS_DONE && !isContent(paths.workfile, revision->content))
    fail("the bytes differ");
  report(status, what);
}

/* Prints a list of records of `count` texts each; an empty first one ends it. */
static void printRecords(const char* text, int count) {
  while (*text != '\0') {
    printf("    -");
    for (int i = 0; i < count; ++i, text += strlen(text) + 1) printf(" %s", text);
    printf("\n");
  }
}

/* Locks, and shows who has locked what, since when and why. */
static void showLocks(void) {
  static char list[kTextSize];
  report(TrvsLockWithNote(TRVS_CONTEXT, paths.archive, "1.1.1", NULL, "mend the brake"),
         "lock the tip of 1.1.1");
  report(TrvsListLocks(TRVS_CONTEXT, paths.archive, list, sizeof list), "list the locks");
  printRecords(list, 4);
  report(TrvsUnLockRevision(TRVS_CONTEXT, paths.archive, NULL, NULL), "unlock");
}

/* Number, length, checksum, time of the workfile, author. */
static void showContents(void) {
  static char list[kTextSize];
  report(TrvsListContents(TRVS_CONTEXT, paths.archive, NULL, list, sizeof list),
         "list the contents");
  printRecords(list, 5);
}

/* Changes that wait for the disk together, which is much quicker for many archives. What each of
 * them gives tells whether it was written; the end, whether all of it will stay. */
static void labelInOneBatch(void) {
  report(TrvsBeginBatch(TRVS_CONTEXT), "begin a batch");
  report(TrvsSetLabel(TRVS_CONTEXT, paths.archive, "REL_1", "1.1", 0), "label 1.1 as REL_1");
  report(TrvsSetLabel(TRVS_CONTEXT, paths.archive, "NEXT", "1.2", TRVS_LABEL_FLOATS),
         "let NEXT float with the trunk");
  report(TrvsEndBatch(TRVS_CONTEXT), "end the batch");
}

/* Prints the tree: a revision a line, what hangs on it after it, branches further in. */
static void showTree(void) {
  TrvsRevTree* tree = NULL;
  report(TrvsRevTreeInfo(TRVS_CONTEXT, paths.archive, &tree, TRVS_TREE_FETCH),
         "fetch the revision tree");
  for (const TrvsRevTree* record = tree; record != NULL; record = record->next) {
    if ((record->flags & TRVS_TREE_REVISION) != 0) {
      printf("%s%*s%s", record == tree ? "" : "\n", 4 * record->level, "", record->text);
    } else if ((record->flags & (TRVS_TREE_LABEL | TRVS_TREE_GROUP)) != 0) {
      printf(" [%s]", record->text);
    } else if ((record->flags & TRVS_TREE_CHANGE) != 0) {
      printf(" %s", record->text);
    }
  }
  printf("\n");
  report(TrvsRevTreeInfo(TRVS_CONTEXT, NULL, &tree, TRVS_TREE_RETURN), "take it back");
}

static int32_t printLine(const char* text, int32_t code) {
  (void)code;
  printf("    %s\n", text);
  return 0;
}

static void showDifferences(void) {
  TrvsRegisterCallback(TRVS_CALLBACK_OUTPUT, (TrvsCallback)(void (*)(void))printLine);
  report(TrvsReportDifferences(TRVS_CONTEXT, paths.archive, "1.0", NULL, "1.1", NULL, 3, 0, 0, NULL,
                               0),
         "compare 1.0 and 1.1");
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: archive DIRECTORY\n");
    return 2;
  }
  setPaths(argv[1]);
  writeFile(paths.configuration, "PROMOTE development = test\nPROMOTE test = production\n");
  report(TrvsInit("archive"), "start");
  report(TrvsQueryConfiguration(paths.configuration, 0, 0, TRVS_READ_FIRST), "read motor.cfg");
  report(TrvsCreateArchive(paths.archive, paths.workfile, "Motor control", NULL, 0, 0),
         "create motor.c_v");

  for (int i = 0; i < 3; ++i) checkIn(&kRevisions[i]);
  report(TrvsPromoteRevision(TRVS_CONTEXT, paths.archive, "development", 0), "promote 1.2 to test");
  checkIn(&kRevisions[3]);
  labelInOneBatch();
  report(TrvsPromoteRevision(TRVS_CONTEXT, paths.archive, "test", 0), "promote 1.2 to production");
  showLocks();
  showContents();
  showTree();
  showDifferences();

  for (int i = 0; i < kRevisionCount; ++i) checkOut(&kRevisions[i]);
  report(TrvsVerifyArchive(TRVS_CONTEXT, paths.archive, NULL, 0), "verify every byte");
  return 0;
}
