/* walk.c: prints a project database as a tree. A client of the C interface and of nothing else.
 *
 *     walk [PUBLIC_ROOT [PRIVATE_ROOT]]
 *
 * Roots that are not given come from the profile KSTR.INI. Exit codes: 0 done, 1 failed, 2 misused.
 * Output is UTF-8; names that aren't are taken for Latin-1, as old databases have them. */
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "foldapi/foldapi.h"

enum { kDescriptionColumns = 60 };

static struct { int projects, folders, archives, unreadable; } totals;

/* Text. -----------------------------------------------------------------------------------------*/

/* The length of the UTF-8 character that `text` begins with, 0 if it begins with none. */
static size_t utf8Length(const unsigned char* text) {
  size_t length = 0;
  if (text[0] < 0x80) return 1;
  if (text[0] >= 0xc2 && text[0] <= 0xdf) length = 2;
  if (text[0] >= 0xe0 && text[0] <= 0xef) length = 3;
  if (text[0] >= 0xf0 && text[0] <= 0xf4) length = 4;
  for (size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xc0) != 0x80) return 0;
  }
  return length;
}

static bool isUtf8(const char* text) {
  const unsigned char* at = (const unsigned char*)text;
  while (*at != 0) {
    const size_t length = utf8Length(at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

/* Prints one character, of UTF-8 or of Latin-1, and gives its length. Control characters become
 * blanks: a name from a file must not be able to steer the terminal. */
static size_t printCharacter(const unsigned char* at, bool utf8) {
  const size_t length = utf8 ? utf8Length(at) : 1;
  const unsigned code = length == 2 ? (at[0] & 0x1fU) << 6 | (at[1] & 0x3fU) : at[0];
  if (length <= 2 && (code < ' ' || (code >= 0x7f && code < 0xa0))) {
    putchar(' ');
  } else if (utf8 || code < 0x80) {
    fwrite(at, 1, length, stdout);
  } else {
    putchar((int)(0xc0 | code >> 6));
    putchar((int)(0x80 | (code & 0x3f)));
  }
  return length;
}

/* Prints up to `columns` characters of a text on one line, and "..." for the rest. */
static void printShort(const char* text, int columns) {
  const bool utf8 = isUtf8(text);
  const unsigned char* at = (const unsigned char*)text;
  for (; *at != 0 && columns > 0; --columns) {
    at += printCharacter(at, utf8);
    if (at[-1] == '\r' && at[0] == '\n') ++at; /* One blank for both. */
  }
  if (*at != 0) fputs("...", stdout);
}

static void printText(const char* text) { printShort(text, INT32_MAX); }

/* The tree. -------------------------------------------------------------------------------------*/

/* A place in the tree. The root has no parent. */
typedef struct Node {
  const struct Node* parent;
  bool isLast;      /* Of its parent's children. */
  bool hasChildren; /* A line goes down to them, past the facts about the node. */
} Node;

/* Prints what stands left of all that is below a node. */
static void printIndent(const Node* node) {
  if (node->parent == NULL) return;
  printIndent(node->parent);
  fputs(node->isLast ? "    " : "│   ", stdout);
}

/* Begins the line of a node. */
static Node beginNode(const Node* parent, bool isLast) {
  const Node node = {parent, isLast, false};
  printIndent(parent);
  fputs(isLast ? "└── " : "├── ", stdout);
  return node;
}

/* Begins a line that tells about a node. */
static void beginFact(const Node* node, const char* label) {
  printIndent(node);
  printf("%s  %-13s ", node->hasChildren ? "│" : " ", label);
}

static void printFact(const Node* node, const char* label, const char* text) {
  if (text[0] == 0) return;
  beginFact(node, label);
  printText(text);
  putchar('\n');
}

/* The children of one handle, which live as long as it stays open. */
typedef struct Children {
  TVHandle** handles;
  size_t count;
} Children;

typedef TVHandle*(FOLDAPI_CALL* Step)(TVHandle* parent);

static void collect(Children* children, TVHandle* parent, Step first, Step next) {
  for (TVHandle* child = first(parent); child != NULL; child = next(parent)) {
    /* The capacity doubles whenever the count is a power of two. */
    if ((children->count & (children->count - 1)) == 0) {
      const size_t capacity = children->count == 0 ? 1 : 2 * children->count;
      TVHandle** grown = realloc(children->handles, capacity * sizeof *grown);
      if (grown == NULL) {
        fputs("walk: out of memory\n", stderr);
        exit(EXIT_FAILURE);
      }
      children->handles = grown;
    }
    children->handles[children->count++] = child;
  }
}

/* Archives. -------------------------------------------------------------------------------------*/

static void printStatus(const Node* node, TVHandle* archive) {
  static const struct {
    int32_t bit;
    const char* words;
  } kBits[] = {
      {FOLDAPI_STATUS_HAS_CHILDREN, "has revisions"},
      {FOLDAPI_STATUS_LOCKED_BY_ME, "locked by you"},
      {FOLDAPI_STATUS_LOCKED_BY_OTHER, "locked by another user"},
      {FOLDAPI_STATUS_LOCKED_EXCLUSIVE, "locked exclusively"},
      {FOLDAPI_STATUS_LOCKED_MULTIPLE, "locked more than once"},
  };
  const int32_t status = GetArchiveStatus(archive);
  beginFact(node, "status");
  fputs((status & FOLDAPI_STATUS_READABLE) ? "readable" : "can't be read", stdout);
  for (size_t i = 0; i < sizeof kBits / sizeof kBits[0]; ++i) {
    if (status & kBits[i].bit) printf(", %s", kBits[i].words);
  }
  printf(" (0x%x)\n", (unsigned)status);
  if (!(status & FOLDAPI_STATUS_READABLE)) ++totals.unreadable;
}

static void printCreationTime(const Node* node, TVHandle* archive) {
  const int32_t packed = GetCreationTime(archive);
  if (packed == -1) return;
  const uint32_t time = (uint32_t)packed;
  beginFact(node, "created");
  printf("%04u-%02u-%02u %02u:%02u:%02u\n", 1980 + (time & 0x7f), time >> 7 & 0xf,
         time >> 11 & 0x1f, time >> 16 & 0x1f, time >> 21 & 0x3f, 2 * (time >> 27));
}

static void printCounts(const Node* node, TVHandle* archive) {
  const int32_t locks = GetNumLocks(archive);
  beginFact(node, "revisions");
  printf("%d\n", (int)GetNumRevisions(archive));
  beginFact(node, "locks");
  printf("%d", (int)locks);
  if (locks > 0) {
    fputs(" (", stdout);
    printText(GetLockerList(archive));
    putchar(')');
  }
  putchar('\n');
}

/* Branches hold revisions, and those hold branches again. */
static void printBranches(const Children* branches, const Node* parent);

/* A revision and its version labels on one line, and the branches that start there below. */
static void printRevision(TVHandle* revision, const Node* parent, bool isLast) {
  Children branches = {NULL, 0};
  const Node node = beginNode(parent, isLast);
  printText(GetRevisionNumber(revision));
  OpenRevision(revision);
  for (TVHandle* label = GetFirstLabel(revision); label != NULL; label = GetNextLabel(revision)) {
    fputs(" [", stdout);
    printText(GetLabelName(label));
    putchar(']');
  }
  putchar('\n');
  collect(&branches, revision, GetFirstBranch, GetNextBranch);
  printBranches(&branches, &node);
  free(branches.handles);
  CloseRevision(revision);
}

static void printBranches(const Children* branches, const Node* parent) {
  for (size_t i = 0; i < branches->count; ++i) {
    TVHandle* branch = branches->handles[i];
    Children revisions = {NULL, 0};
    const Node node = beginNode(parent, i + 1 == branches->count);
    fputs("Branch: ", stdout);
    printText(GetBranchName(branch));
    putchar('\n');
    OpenBranch(branch);
    collect(&revisions, branch, GetFirstRevision, GetNextRevision);
    for (size_t j = 0; j < revisions.count; ++j) {
      printRevision(revisions.handles[j], &node, j + 1 == revisions.count);
    }
    free(revisions.handles);
    CloseBranch(branch);
  }
}

static void printArchiveFacts(TVHandle* archive, const Node* node) {
  printFact(node, "workfile", GetFullQualWorkfileName(archive));
  printFact(node, "archive", GetQualArchiveName(archive));
  printStatus(node, archive);
  if (!(GetArchiveStatus(archive) & FOLDAPI_STATUS_READABLE)) return;
  printCounts(node, archive);
  printCreationTime(node, archive);
  printFact(node, "access list", GetAccessList(archive));
  if (GetArchiveDescription(archive)[0] != 0) {
    beginFact(node, "description");
    printShort(GetArchiveDescription(archive), kDescriptionColumns);
    putchar('\n');
  }
}

static void printArchive(TVHandle* archive, const Node* parent, bool isLast) {
  Children branches = {NULL, 0};
  Node node = beginNode(parent, isLast);
  ++totals.archives;
  printText(GetWorkfileName(archive));
  putchar('\n');
  OpenArchive(archive);
  collect(&branches, archive, GetFirstBranch, GetNextBranch);
  node.hasChildren = branches.count > 0;
  printArchiveFacts(archive, &node);
  printBranches(&branches, &node);
  free(branches.handles);
  CloseArchive(archive);
}

/* Folders and projects. -------------------------------------------------------------------------*/

static void printFolder(TVHandle* folder, const Node* parent, bool isLast) {
  Children archives = {NULL, 0};
  const Node node = beginNode(parent, isLast);
  ++totals.folders;
  fputs("Folder: ", stdout);
  printText(GetFolderName(folder));
  putchar('\n');
  OpenFolder(folder);
  collect(&archives, folder, GetFirstArchiveInFolder, GetNextArchiveInFolder);
  for (size_t i = 0; i < archives.count; ++i) {
    printArchive(archives.handles[i], &node, i + 1 == archives.count);
  }
  free(archives.handles);
  CloseFolder(folder);
}

static void printProject(TVHandle* project, const Node* parent, bool isLast) {
  Children folders = {NULL, 0};
  Children archives = {NULL, 0};
  Node node = beginNode(parent, isLast);
  ++totals.projects;
  fputs("Project: ", stdout);
  printText(GetProjectName(project));
  putchar('\n');
  OpenProject(project);
  collect(&folders, project, GetFirstFolder, GetNextFolder);
  collect(&archives, project, GetFirstArchive, GetNextArchive);
  node.hasChildren = folders.count + archives.count > 0;
  printFact(&node, "configuration", GetProjectCfgFile(project));
  printFact(&node, "archives in", GetProjectVCSDirs(project));
  printFact(&node, "team's work", GetProjectPublicDir(project));
  printFact(&node, "own work", GetProjectPrivateDir(project));
  for (size_t i = 0; i < folders.count; ++i) {
    printFolder(folders.handles[i], &node, i + 1 == folders.count && archives.count == 0);
  }
  for (size_t i = 0; i < archives.count; ++i) {
    printArchive(archives.handles[i], &node, i + 1 == archives.count);
  }
  free(folders.handles);
  free(archives.handles);
  CloseProject(project);
}

static void printRoot(TVHandle* root) {
  Children projects = {NULL, 0};
  Node node = {NULL, true, false};
  puts("Project database");
  collect(&projects, root, GetFirstProject, GetNextProject);
  node.hasChildren = projects.count > 0;
  printFact(&node, "public root", GetRootPublicDir(root));
  printFact(&node, "private root", GetRootPrivateDir(root));
  for (size_t i = 0; i < projects.count; ++i) {
    printProject(projects.handles[i], &node, i + 1 == projects.count);
  }
  free(projects.handles);
}

/* Says why the last call did less than it was asked to, if it did. */
static void tellWhy(void) {
  const char* message = FoldapiLastMessage();
  if (message[0] != 0) fprintf(stderr, "walk: %s\n", message);
}

static int usage(FILE* out, int code) {
  fputs(
      "usage: walk [PUBLIC_ROOT [PRIVATE_ROOT]]\n"
      "Prints every project, folder and archive of a project database. Roots that are not\n"
      "given come from the profile KSTR.INI.\n",
      out);
  return code;
}

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--help") == 0) return usage(stdout, 0);
  if (argc > 3 || (argc > 1 && argv[1][0] == '-')) return usage(stderr, 2);

  TVHandle* root = Init(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : "");
  if (root == NULL || OpenProjectRoot(root) < 0) {
    tellWhy();
    fputs("walk: the project database can't be opened\n", stderr);
    return EXIT_FAILURE;
  }
  tellWhy();
  printRoot(root);
  CloseProjectRoot(root);

  printf("\nprojects %d, folders %d, archives %d, unreadable archives %d\n", totals.projects,
         totals.folders, totals.archives, totals.unreadable);
  if (totals.projects == 0) {
    fputs("walk: no project there, or the lists of projects can't be read\n", stderr);
  }
  if (fflush(stdout) != 0 || ferror(stdout)) {
    fputs("walk: the output can't be written\n", stderr);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
