/* handles.c: every function of the C interface, with every kind of handle that it can't use.
 *
 *     handles EMPTY_DIRECTORY
 *
 * Compiled as C99 against the public headers alone, so that no C++ slips into them. Exit code 1 and
 * a line for each answer that is wrong. */
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "btkf520/btkf520.h"
#include "foldapi/foldapi.h"

static int failures;

static void fail(const char* format, ...) {
  va_list values;
  va_start(values, format);
  vprintf(format, values);
  va_end(values);
  putchar('\n');
  ++failures;
}

/* The functions, by signature. `on` says which handles a function is made for.
 * --------------------*/

enum {
  kRoot = 1,
  kProject = 2,
  kFolder = 4,
  kArchive = 8,
  kBranch = 16,
  kRevision = 32,
  kLabel = 64,
  kParent = kProject | kFolder,
  kBranched = kArchive | kBranch | kRevision,
  kLined = kBranch | kRevision,
  kItem = kBranch | kRevision | kLabel
};

/* A table of functions of one signature. */
#define TABLE(name, result, ...) \
  static const struct {          \
    const char* function;        \
    int on;                      \
    result (*call)(__VA_ARGS__); \
    int32_t none;                \
  } name[]
#define ROW(on, function) \
  { #function, on, function, 0 }
#define OPENS(on, function) \
  { #function, on, function, -1 }
#define COUNT_OF(rows) (sizeof rows / sizeof rows[0])

TABLE(texts, const char*, TVHandle*) = {
    ROW(kRoot, GetRootPublicDir),
    ROW(kRoot, GetRootPrivateDir),
    ROW(kProject, GetProjectName),
    ROW(kProject, GetProjectCfgFile),
    ROW(kProject, GetProjectVCSDirs),
    ROW(kProject, GetProjectPublicDir),
    ROW(kProject, GetProjectPrivateDir),
    ROW(kParent, GetFolderName),
    ROW(kArchive, GetArchiveName),
    ROW(kArchive, GetQualArchiveName),
    ROW(kArchive, GetWorkfileName),
    ROW(kArchive, GetQualWorkfileName),
    ROW(kArchive, GetFullQualWorkfileName),
    ROW(kArchive, GetArchiveDescription),
    ROW(kArchive, GetAccessList),
    ROW(kArchive, GetLockerList),
    ROW(kItem, GetBranchName),
    ROW(kRevision, GetRevisionNumber),
    ROW(kItem, GetLabelName),
};

TABLE(numbers, int32_t, TVHandle*) = {
    OPENS(kRoot, OpenProjectRoot),        OPENS(kRoot, CloseProjectRoot),
    OPENS(kProject, OpenProject),         OPENS(kProject, CloseProject),
    OPENS(kParent, OpenFolder),           OPENS(kParent, CloseFolder),
    OPENS(kArchive, OpenArchive),         OPENS(kArchive, CloseArchive),
    OPENS(kBranch, OpenBranch),           OPENS(kBranch, CloseBranch),
    OPENS(kRevision, OpenRevision),       OPENS(kRevision, CloseRevision),
    OPENS(kArchive, GetCreationTime),     ROW(kArchive, GetNumLocks),
    ROW(kArchive, GetNumRevisions),       ROW(kArchive, GetArchiveStatus),
    ROW(kArchive, ArchiveHasChildren),    ROW(kArchive, ArchiveLockedByMe),
    ROW(kArchive, ArchiveLockedByOther),  ROW(kArchive, ArchiveLockedExclusive),
    ROW(kArchive, ArchiveLockedMultiple),
};

TABLE(steps, TVHandle*, TVHandle*) = {
    ROW(kRoot, GetFirstProject),           ROW(kRoot, GetNextProject),
    ROW(kParent, GetFirstFolder),          ROW(kParent, GetNextFolder),
    ROW(kParent, GetFirstArchive),         ROW(kParent, GetNextArchive),
    ROW(kParent, GetFirstArchiveInFolder), ROW(kParent, GetNextArchiveInFolder),
    ROW(kBranched, GetFirstBranch),        ROW(kBranched, GetNextBranch),
    ROW(kLined, GetFirstRevision),         ROW(kLined, GetNextRevision),
    ROW(kRevision, GetFirstLabel),         ROW(kRevision, GetNextLabel),
};

TABLE(finds, TVHandle*, TVHandle*, const char*) = {
    ROW(kRoot, FindProject),
    ROW(kParent, FindFolder),
    ROW(kParent, FindArchiveByWorkName),
    ROW(kParent, FindArchiveByQualWorkName),
    ROW(kParent, FindArchiveByArchiveName),
    ROW(kParent, FindArchiveByQualArchiveName),
    ROW(kParent, FindArchiveInFolder),
    ROW(kBranched, FindBranch),
    ROW(kLined, FindRevision),
    ROW(kRevision, FindLabel),
};

TABLE(acts, void, TVHandle*) = {
    ROW(kProject, DestroyProject),         ROW(kParent, DestroyFolder),
    ROW(kArchive, DestroyArchive),         ROW(kParent, SetSortTypeWorkName),
    ROW(kParent, SetSortTypeQualWorkName), ROW(kParent, SetSortTypeArchiveName),
};

TABLE(sets, void, TVHandle*, const char*) = {
    ROW(kProject, SetProjectVCSDirs),    ROW(kProject, SetProjectPublicDir),
    ROW(kProject, SetProjectPrivateDir), ROW(kRevision, CreateLabel),
    ROW(kLabel, SetLabelName),
};

/* Calls all that is not made for a handle of the kind `kind`: each must answer as for no handle,
 * and change nothing. */
static void callAllOthers(const char* why, TVHandle* handle, int kind) {
  static const char* const keys[] = {"P", "", NULL};
  for (size_t i = 0; i < COUNT_OF(texts); ++i) {
    const char* text;
    if (texts[i].on & kind) continue;
    text = texts[i].call(handle);
    if (text == NULL || *text != '\0') fail("%s: %s gives a text", why, texts[i].function);
  }
  for (size_t i = 0; i < COUNT_OF(numbers); ++i) {
    int32_t number;
    if (numbers[i].on & kind) continue;
    number = numbers[i].call(handle);
    if (number != numbers[i].none) fail("%s: %s gives %d", why, numbers[i].function, (int)number);
  }
  for (size_t i = 0; i < COUNT_OF(steps); ++i) {
    if (steps[i].on & kind) continue;
    if (steps[i].call(handle) != NULL) fail("%s: %s gives a handle", why, steps[i].function);
  }
  for (size_t key = 0; key < COUNT_OF(keys); ++key) {
    for (size_t i = 0; i < COUNT_OF(finds); ++i) {
      if (finds[i].on & kind) continue;
      if (finds[i].call(handle, keys[key]) != NULL) fail("%s: %s finds", why, finds[i].function);
    }
    for (size_t i = 0; i < COUNT_OF(sets); ++i) {
      if (!(sets[i].on & kind)) sets[i].call(handle, keys[key]);
    }
    if (!(kind & kRoot)) CreateProject(handle, keys[key], keys[key], keys[key]);
    if (!(kind & kParent)) AddExistingArchive(handle, keys[key], keys[key]);
  }
  for (size_t i = 0; i < COUNT_OF(acts); ++i) {
    if (!(acts[i].on & kind)) acts[i].call(handle);
  }
}

/* A database with one of each.
 * -------------------------------------------------------------------*/

typedef struct {
  char pub[512], prv[512];
  TVHandle *root, *project, *folder, *archive, *branch, *revision, *label;
} Client;

static void writeFile(const char* path, const char* bytes, size_t size) {
  FILE* const file = fopen(path, "wb");
  if (file == NULL || fwrite(bytes, 1, size, file) != size || fclose(file) != 0) {
    fail("can't write %s", path);
  }
}

/* An archive with one revision, which has a label and is locked by the user who runs this. */
static void makeArchive(const char* path, const char* workfile) {
  char both[1300];
  int32_t status = TrvsCreateArchive(path, workfile, NULL, NULL, 0, 0);
  snprintf(both, sizeof both, "%s(%s)", path, workfile);
  writeFile(workfile, "content", 7);
  if (status == 0) {
    status = TrvsPutRevision(-1, 0, both, 0, NULL, "LABEL", NULL, "first", NULL, NULL, 0,
                             TRVS_PUT_KEEP_LOCK);
  }
  if (status != 0) fail("no archive: status %d", (int)status);
}

/* All data files one after the other, to be freed. */
static char* readAll(const Client* client) {
  static const char* const names[] = {"trvsproj.pub", "trvsproj.prv", "P.prj/trvsfold.pub",
                                      "P.prj/trvsfold.prv", "P.prj/P.cfg"};
  const size_t size = 1 << 16;
  char* const all = calloc(size, 1);
  size_t used = 0;
  for (size_t i = 0; i < 2 * COUNT_OF(names); ++i) {
    char path[600];
    FILE* file;
    snprintf(path, sizeof path, "%s/%s", i % 2 == 0 ? client->pub : client->prv, names[i / 2]);
    file = fopen(path, "rb");
    if (file == NULL) continue;
    used += fread(all + used, 1, size - 1 - used, file);
    fclose(file);
  }
  return all;
}

static void start(Client* client) {
  client->root = Init(client->pub, client->prv);
  OpenProjectRoot(client->root);
  client->project = FindProject(client->root, "P");
  OpenProject(client->project);
  client->folder = FindFolder(client->project, "f");
  OpenFolder(client->folder);
  client->archive = FindArchiveByWorkName(client->project, "w");
  OpenArchive(client->archive);
  client->branch = FindBranch(client->archive, "Trunk");
  OpenBranch(client->branch);
  client->revision = FindRevision(client->branch, "1.0");
  OpenRevision(client->revision);
  client->label = FindLabel(client->revision, "LABEL");
}

static void build(Client* client, const char* directory) {
  static const char folder[] = "[FOLDER=f]\r\nDIR=f\r\nWKDIR=f\r\n\r\n";
  char archive[600], workfile[600], file[600];
  snprintf(client->pub, sizeof client->pub, "%s/pub", directory);
  snprintf(client->prv, sizeof client->prv, "%s/prv", directory);
  start(client);
  CreateProject(client->root, "P", "/ann", "/team");
  snprintf(file, sizeof file, "%s/P.prj/trvsfold.pub", client->pub);
  writeFile(file, folder, sizeof folder - 1);
  snprintf(archive, sizeof archive, "%s/P.prj/w_v", client->pub);
  snprintf(workfile, sizeof workfile, "%s/w", directory);
  makeArchive(archive, workfile);
  start(client);
  AddExistingArchive(client->project, "w", archive);
  AddExistingArchive(client->folder, "in folder", archive);
  start(client);
}

/* ------------------------------------------------------------------------------------------------*/

static void checkKinds(Client* client) {
  const struct {
    const char* why;
    TVHandle* handle;
    int kind;
    const char* (*name)(TVHandle*); /* Not empty as long as the handle lives. */
  } kinds[] = {
      {"root", client->root, kRoot, GetRootPublicDir},
      {"project", client->project, kProject | kFolder, GetProjectName},
      {"folder", client->folder, kFolder, GetFolderName},
      {"archive", client->archive, kArchive, GetArchiveName},
      {"branch", client->branch, kBranch, GetBranchName},
      {"revision", client->revision, kRevision, GetRevisionNumber},
      {"label", client->label, kLabel, GetLabelName},
  };
  for (size_t i = 0; i < COUNT_OF(kinds); ++i) {
    callAllOthers(kinds[i].why, kinds[i].handle, kinds[i].kind);
    /* A change of an open count would have closed what stands below. */
    for (size_t j = 0; j < COUNT_OF(kinds); ++j) {
      if (*kinds[j].name(kinds[j].handle) != '\0') continue;
      fail("no %s after the calls for the %s", kinds[j].why, kinds[i].why);
    }
  }
}

static void checkDead(Client* client) {
  static int32_t foreign[64];
  char text[] = "just a text that is no handle";
  const Client before = *client;
  callAllOthers("null", NULL, 0);
  callAllOthers("foreign", (TVHandle*)(void*)foreign, 0);
  callAllOthers("text", (TVHandle*)(void*)text, 0);
  for (int shift = 0; shift < 63; ++shift) {
    callAllOthers("wild", (TVHandle*)((uintptr_t)5 << shift), 0);
  }
  /* Closed: the children die, and what was open stays a parent without a list. */
  while (CloseProject(client->project) > 0) continue;
  callAllOthers("folder of a closed project", before.folder, 0);
  callAllOthers("archive of a closed project", before.archive, 0);
  callAllOthers("branch of a closed project", before.branch, 0);
  callAllOthers("revision of a closed project", before.revision, 0);
  callAllOthers("label of a closed project", before.label, 0);
  if (GetNextArchive(client->project) != NULL) fail("a closed project goes on with a walk");
  start(client);
  callAllOthers("project of the session before", before.project, 0);
}

static void checkDestroyed(Client* client) {
  DestroyArchive(client->archive);
  callAllOthers("destroyed archive", client->archive, 0);
  callAllOthers("revision of a destroyed archive", client->revision, 0);
  DestroyFolder(client->folder);
  callAllOthers("destroyed folder", client->folder, 0);
  DestroyProject(client->project);
  callAllOthers("destroyed project", client->project, 0);
  if (GetFirstProject(client->root) != NULL) fail("the project is still there");
}

int main(int argc, char** argv) {
  static Client client;
  char *before, *after;
  if (argc != 2) return 2;
  build(&client, argv[1]);
  before = readAll(&client);
  if (strstr(before, "[DOCUMENT=") == NULL) fail("no archive was added");
  /* Only a started toolkit knows the user: loading the library has started it. */
  if (GetArchiveStatus(client.archive) != 0x1041)
    fail("status %x", GetArchiveStatus(client.archive));
  checkKinds(&client);
  checkDead(&client);
  after = readAll(&client);
  if (strcmp(before, after) != 0) fail("the files changed from\n%s\nto\n%s", before, after);
  for (uint32_t reason = 0; reason < 4; ++reason) {
    if (DllMain(NULL, reason, NULL) != 1) fail("DllMain fails for reason %u", (unsigned)reason);
  }
  checkDestroyed(&client);
  free(before);
  free(after);
  return failures == 0 ? 0 : 1;
}
