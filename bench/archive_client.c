/* archive_client.c: check-in, check-out and comparison as processes of their own, for
 * archive_history.cpp, line_differences.cpp and wide_files.cpp.
 *
 *     archive_client make ARCHIVE WORKFILE
 *     archive_client ci ARCHIVE WORKFILE
 *     archive_client co ARCHIVE WORKFILE [REVISION]
 *     archive_client diff FILE FILE
 *
 * A client of the archive toolkit and of nothing else, so that what a process costs is the
 * toolkit's. Gives the status, or 255 if misused. */
#include <stdio.h>
#include <string.h>

#include "btkf520/btkf520.h"

enum { kPathSize = 4096 };

static int32_t checkIn(const char* both) {
  return TrvsPutRevision(TRVS_CONTEXT, 0, both, 0, NULL, NULL, NULL, "changed", NULL, NULL, 0,
                         TRVS_PUT_KEEP_LOCK);
}

static int32_t checkOut(const char* both, const char* revision) {
  return TrvsGetRevision(TRVS_CONTEXT, both, 0, revision, NULL, NULL, 0, NULL, 0,
                         TRVS_GET_OVERWRITE | TRVS_GET_WRITABLE);
}

static int32_t printLine(const char* text, int32_t kind) {
  (void)kind;
  fputs(text, stdout);
  putchar('\n');
  return TRVS_GO_ON;
}

static int32_t compare(const char* first, const char* second) {
  TrvsRegisterCallback(TRVS_CALLBACK_OUTPUT, (TrvsCallback)(void (*)(void))printLine);
  return TrvsReportDifferences(TRVS_CONTEXT, first, NULL, second, NULL, NULL, 3, 0, 0, NULL, 0);
}

int main(int argc, char** argv) {
  static char both[2 * kPathSize + 3];
  if (argc < 4 || strlen(argv[2]) >= kPathSize || strlen(argv[3]) >= kPathSize) return 255;
  snprintf(both, sizeof both, "%s(%s)", argv[2], argv[3]);
  if (strcmp(argv[1], "make") == 0) return TrvsCreateArchive(argv[2], argv[3], NULL, NULL, 0, 0);
  if (strcmp(argv[1], "ci") == 0) return checkIn(both);
  if (strcmp(argv[1], "co") == 0) return checkOut(both, argc > 4 ? argv[4] : NULL);
  if (strcmp(argv[1], "diff") == 0) return compare(argv[2], argv[3]);
  return 255;
}
