/* clang-format off */
/* foldapi.h: walk, query and change a project database.
 *
 * A database is a root that lists projects. A project holds folders and archives, a folder holds
 * archives. Each list lies in a pair of text files: a public one that a team shares and a private
 * one that overlays it for one user. An archive's record only pairs a workfile with an archive
 * file; counts, lockers and the like come from the archive file itself, when they are asked for.
 *
 *     TVHandle* root = Init("/srv/db/pub", "/home/ann/db");
 *     OpenProjectRoot(root);
 *     for (TVHandle* p = GetFirstProject(root); p != NULL; p = GetNextProject(root))
 *       puts(GetProjectName(p));
 *     CloseProjectRoot(root);
 *
 * Threads    One at a time. Only the text buffers and the last message are a thread's own.
 *
 * Handles    Root, projects, folders, archives, branches, revisions and labels are all handles.
 *            Each belongs to the library, and a client frees none. The root handle lives as long as
 *            the library. Any other one belongs to the handle that it was walked or found from, its
 *            parent, and dies when the parent's open count falls to 0, whatever its own count is.
 *            So whoever wants to keep children keeps the parent open. Null, and a handle whose
 *            parent was closed, that was destroyed, or that is of another kind than the function
 *            wants, is answered like a handle that stands for nothing: "", null, 0 or -1, and a
 *            change does nothing.
 *
 * Opening    Each open raises the open count by 1 and each close lowers it. The open that takes it
 *            from 0 reads the data files; what others change later shows after the last close and
 *            the next open, or once a change of one's own had to read them again. The open
 *            functions and the close functions give the new count, or -1 for a handle that stands
 *            for nothing; closing a handle that is not open gives -1 as well. Counts have 16 bits:
 *            nothing may be open more than 32767 times.
 *
 * Walks      A "first" function opens the parent once more, and the "next" function that reaches
 *            the end closes it. So a walk that runs to its end is balanced; whoever leaves one
 *            early calls the parent's close function. There is one cursor for each parent: walks
 *            of the same parent can't be nested. A find leaves it where it is, unless it has to
 *            sort first, after a change of the sort type or an addition: a sort takes it back
 *            to the first child. Changes during a walk: a child that goes away is passed over, and
 *            one that is added comes last.
 *
 * Finds      Names that differ in case alone are different names, but a find ignores the case of
 *            the letters A to Z and gives the first match, or null. Keep the parent open while the
 *            result is in use.
 *
 * Text       Strings in are NUL-terminated, in the bytes of the data files (no encoding is asked
 *            for), and copied before the function returns; null counts as "". Strings out are never
 *            null. Each lies in one of 16 buffers of the calling thread, used in turn: it outlasts
 *            15 more calls that give text, but not the thread: copy what must last longer.
 *
 * Times      GetCreationTime packs a time from the lowest bit on; times that are given to the
 *            archive toolkit (btkf520.h) are packed from the highest bit on.
 *
 * Failure    Null, 0 or -1, as told at each function; FoldapiLastMessage tells why, where there is
 *            a message. No function exits or throws. A function without a result shows success only
 *            by reading the value back: a change that could not be stored does not show. What it
 *            had made is gone from the walk and from the files, but for directories and data files
 *            without records; what it had destroyed is back under a new handle, and values are
 *            those on disk.
 *
 * Waits      Opening the root and every change take the data files that they need from other
 *            processes; the first open of a project that has no private directory yet is a change.
 *            A file that another process is changing is waited for, up to five seconds for each
 *            file. Nothing else waits: other opens read beside whoever changes a file.
 *
 * Paths      Separators are "\" and "/" alike. A drive ("V:") or a share ("\\server\share") is
 *            looked up in section [TRVSPATHS] of the profile. Names on disk match without regard to
 *            case if there is no exact match.
 *
 * Profile    The file that the environment variable KSTR_INI names, else trevault/KSTR.INI in the
 *            user's configuration directory ($XDG_CONFIG_HOME, else ~/.config). With TRVSTRIGGERS=ON
 *            in section [TRVSGUI] event triggers run and journals are written that stand in
 *            configuration files that other users can change or choose (docs/configuration.md);
 *            the profile itself must be the user's alone then.
 *
 * Rights     In a program with rights that its user has not (set-user-id, set-group-id, or with
 *            capabilities from its file) the user's word counts for nothing: no environment variable
 *            is read, by a configuration neither, and none is handed to other programs. The profile
 *            is trevault/KSTR.INI in .config in the home of the effective user's account. Where the
 *            effective user is the one who started the program there is no profile, hence no path
 *            map and no default for Init, and only root's files are trusted to name commands.
 *            Which directories and files the program is sent to is its own matter: such a program
 *            has to check what it is told (docs/security.md).
 *
 * User       The current user is the account of the process's effective user, unless the project's
 *            configuration names an environment variable for it: USERID.
 *
 * Output     Some checks of the library that fail, one at every change among them, print a line
 *            "Assertion Failed: FILE LINE" to standard output and mean nothing to a client. The
 *            environment variable TRVS_ASSERTIONS sends them elsewhere: "stdout", "stderr" or
 *            "none". It is read once, when the first one comes. */
/* clang-format on */
#ifndef FOLDAPI_FOLDAPI_H
#define FOLDAPI_FOLDAPI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How functions are called, and what makes them known outside of the library. */
#ifdef _WIN32
#define FOLDAPI_CALL __stdcall
#define FOLDAPI_EXPORT
#else
#define FOLDAPI_CALL
#define FOLDAPI_EXPORT __attribute__((visibility("default")))
#endif

/* The version that this header describes; FoldapiVersion gives that of the loaded library. A client
 * works with each library of the same major version that is not older. */
#define FOLDAPI_VERSION_MAJOR 1
#define FOLDAPI_VERSION_MINOR 1
#define FOLDAPI_VERSION_PATCH 0
#define FOLDAPI_VERSION \
  (FOLDAPI_VERSION_MAJOR * 10000 + FOLDAPI_VERSION_MINOR * 100 + FOLDAPI_VERSION_PATCH)

/* A place in the database or in an archive: see "Handles". Opaque. */
typedef struct TVHandle TVHandle;

/* Session. --------------------------------------------------------------------------------------*/

/* Starts the archive toolkit for a process (`reason` 1) or a thread (2); 0 and 3 do nothing. The
 * library calls it with reason 1 itself when it is loaded; a thread that wants a start of its own
 * calls DllMain(NULL, 2, NULL). Windows calls it for all threads with its own `module`: that does
 * nothing. `reserved` is not looked at.
 * Gives 1, or 0 if the toolkit could not start. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL DllMain(void* module, uint32_t reason, void* reserved);

/* Sets the root's two directories, the public one first (CreateProject takes the private one
 * first), and gives the root handle. They hold trvsproj.pub and trvsproj.prv, the lists of
 * projects; neither is touched before the root is opened. An empty or null text takes its value
 * from the profile: TRVSPROJ and TRVSPRIV in section [TRVSGUI]. Where the profile has none, a
 * default under the user's data directory is taken and written to the profile. Gives null if no
 * root could be made, or for a directory with a line break or with "$(" and a ")" after it, which
 * the data files can't hold; then the root is as it was before. Otherwise all handles and counts of
 * an earlier Init are gone, and the pointer is always the same. Unusable directories do not fail
 * here: their walk is empty. Directories that aren't there are made when the root is opened, so a
 * mistyped one looks like an empty database. One private directory may serve several public ones:
 * its records stay, whichever is open, but projects of one name in two of them share one record. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL Init(const char* publicRoot, const char* privateRoot);

/* Root. -----------------------------------------------------------------------------------------*/

/* The root directories that Init settled on. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetRootPublicDir(TVHandle* root);
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetRootPrivateDir(TVHandle* root);

/* Open reads trvsproj.pub, then trvsproj.prv, and makes the one that is missing. Each is kept from
 * other processes while it is read, so reading takes the right to write them, trvsproj.pub too; one
 * that another process is changing is waited for. A file that can't be read leaves the projects out
 * that it would give, and still counts as opened. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenProjectRoot(TVHandle* root);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseProjectRoot(TVHandle* root);

/* Walk the projects in the order of their names. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstProject(TVHandle* root);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextProject(TVHandle* root);

/* The project of that name. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindProject(TVHandle* root, const char* name);

/* Projects. -------------------------------------------------------------------------------------*/

/* Creates a project: its two data directories (under the root directories, named after the project
 * in 8.3 form, as in "MyPrjct.prj"), their trvsfold files, a configuration file, and its records in
 * trvsproj.pub and trvsproj.prv. `privateWorkDir` and `publicWorkDir`, the private one
 * first, are where the workfiles of a user and of the team are; they are not created. A project
 * that exists already stays as it is. A name that is empty or has a "]" in it, or any text with a
 * line break or with "$(" and a ")" after it, creates nothing: the data files can't hold it. Nor is
 * a project made whose directories or records can't be written, the private ones too. To see
 * whether it worked, find the project. */
FOLDAPI_EXPORT void FOLDAPI_CALL CreateProject(TVHandle* root, const char* name,
                                               const char* privateWorkDir,
                                               const char* publicWorkDir);

/* The name in the root's data files. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetProjectName(TVHandle* project);

/* The path of the project's configuration file, from CFG in the root's data files. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetProjectCfgFile(TVHandle* project);

/* The archive directories, separated by ";", as the configuration files put them together: the
 * "Master Project"'s file first, then the project's. Reads both if they changed. "" if there are
 * none or the files can't be read. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetProjectVCSDirs(TVHandle* project);

/* Appends a VCSDIR directive with `directories`, less one "\" at their end, to the project's
 * configuration file; earlier directives stay above it. A list with a line break, or of more than
 * 8184 bytes, is refused, and so is a project that another process has removed. Nor is anything
 * appended to a file that has lines, and not one good directive among them: CFG in the root's data
 * files may name any file. Read the value back to see whether it worked. */
FOLDAPI_EXPORT void FOLDAPI_CALL SetProjectVCSDirs(TVHandle* project, const char* directories);

/* Where the workfiles of the team (public) and of this user (private) are: WKDIR in trvsproj.pub
 * and in trvsproj.prv. A project without a private record answers both with the public one. Setting
 * rewrites the root's data files; what CreateProject refuses is refused. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetProjectPublicDir(TVHandle* project);
FOLDAPI_EXPORT void FOLDAPI_CALL SetProjectPublicDir(TVHandle* project, const char* directory);
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetProjectPrivateDir(TVHandle* project);
FOLDAPI_EXPORT void FOLDAPI_CALL SetProjectPrivateDir(TVHandle* project, const char* directory);

/* Open reads the project's trvsfold.pub, then its trvsfold.prv. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenProject(TVHandle* project);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseProject(TVHandle* project);

/* Takes the project's records out of the root's data files. All its directories, data files and
 * archives stay on disk. The handle stands for nothing afterwards. */
FOLDAPI_EXPORT void FOLDAPI_CALL DestroyProject(TVHandle* project);

/* Folders. --------------------------------------------------------------------------------------*/

/* Walk the folders of a project in the order of their names. No function here makes one: that is
 * done by the graphical program. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstFolder(TVHandle* project);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextFolder(TVHandle* project);

/* The folder of that name. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindFolder(TVHandle* project, const char* name);

/* The name in the project's data files. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetFolderName(TVHandle* folder);

/* Open reads the folder's trvsfold.pub, or trvsfold.prv if only this user has the folder. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenFolder(TVHandle* folder);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseFolder(TVHandle* folder);

/* Takes the folder's records out of the project's data files; its own file and directory stay. The
 * handle stands for nothing afterwards. */
FOLDAPI_EXPORT void FOLDAPI_CALL DestroyFolder(TVHandle* folder);

/* Archives: walks and finds. --------------------------------------------------------------------*/

/* Walk the archives that a project, or a folder, holds itself. Both pairs take either parent. The
 * order is that of the last SetSortType call, at first that of the qualified workfile names. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstArchive(TVHandle* parent);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextArchive(TVHandle* parent);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstArchiveInFolder(TVHandle* parent);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextArchiveInFolder(TVHandle* parent);

/* Order the archives of an open parent by workfile name, by workfile directory and name, or by
 * archive name. Holds until the parent's last close; does nothing to a parent that is not open. The
 * sorting itself is done by the next walk or find. */
FOLDAPI_EXPORT void FOLDAPI_CALL SetSortTypeWorkName(TVHandle* parent);
FOLDAPI_EXPORT void FOLDAPI_CALL SetSortTypeQualWorkName(TVHandle* parent);
FOLDAPI_EXPORT void FOLDAPI_CALL SetSortTypeArchiveName(TVHandle* parent);

/* Find an archive by one of its names; the qualified ones are a directory and a name. A find
 * bisects if the order is the one of its name. By another name the first finds look at each
 * archive; once that has cost enough an index answers, until an archive comes, goes or is renamed.
 * FindArchiveInFolder is FindArchiveByWorkName. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindArchiveByWorkName(TVHandle* parent, const char* name);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindArchiveByQualWorkName(TVHandle* parent, const char* path);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindArchiveByArchiveName(TVHandle* parent, const char* name);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindArchiveByQualArchiveName(TVHandle* parent,
                                                                   const char* path);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindArchiveInFolder(TVHandle* parent, const char* name);

/* Archives: changes. ----------------------------------------------------------------------------*/

/* Appends a record that pairs the path of a workfile, which may be relative, with the path of an
 * archive to the parent's data file: trvsfold.pub of a project or a public folder, trvsfold.prv of
 * a private folder. Neither path is looked at on disk. A pair that is there already stays as it is.
 * Refused is what a record can't hold: a line break or a "]" anywhere, and a ";" anywhere but in
 * the workfile's name; and a pair of which neither path names a file. A parent that another process
 * has removed takes nothing; where one was created anew the record goes. To see whether it worked,
 * find the archive. */
FOLDAPI_EXPORT void FOLDAPI_CALL AddExistingArchive(TVHandle* parent, const char* workfile,
                                                    const char* archive);

/* The first open has the archive toolkit read the archive's branches. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenArchive(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseArchive(TVHandle* archive);

/* Takes the archive's record out of its parent's data file; the archive file stays. The handle
 * stands for nothing afterwards. */
FOLDAPI_EXPORT void FOLDAPI_CALL DestroyArchive(TVHandle* archive);

/* Archives: names, all from the record in the parent's data file. -------------------------------*/

/* The archive's file name, without and with its directory. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetArchiveName(TVHandle* archive);
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetQualArchiveName(TVHandle* archive);

/* The workfile's name: alone, with the directory of the record, and as a full path, where a
 * relative directory hangs under the private work directories of the folder and the project. A full
 * path that climbs above its root leads nowhere: "". What a public record says may be chosen by
 * anybody who can write the team's data files: before a workfile is made there ask
 * FoldapiIsInOwnPlace. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetWorkfileName(TVHandle* archive);
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetQualWorkfileName(TVHandle* archive);
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetFullQualWorkfileName(TVHandle* archive);

/* Archives: what the archive file says. ---------------------------------------------------------*/
/* These read the archive file's last part if it changed since it was last read, and otherwise
 * answer from memory or from the project's cache file .ack (off if the environment has
 * TRVS_TVAPI_NOCACHE). An archive file that is missing or damaged gives the failure named. */

/* The description. "" on failure. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetArchiveDescription(TVHandle* archive);

/* The names of the users who may use the archive, as it keeps them; "" for all, and on failure. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetAccessList(TVHandle* archive);

/* The names of the users who hold locks, one for each lock, separated by ",". Who holds which
 * revision is told by the toolkit's revision tree (btkf520.h). "" on failure. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetLockerList(TVHandle* archive);

/* The time when the archive was created, packed from the lowest bit: 7 bits years since 1980,
 * 4 month, 5 day, 5 hours, 6 minutes, 5 seconds divided by two. -1 on failure; other negative
 * values and 0 are legal times, so test for -1. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL GetCreationTime(TVHandle* archive);

/* The number of locks, and of revisions. 0 on failure. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL GetNumLocks(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL GetNumRevisions(TVHandle* archive);

/* A set of the bits below. 0 on failure, so a set without FOLDAPI_STATUS_READABLE knows nothing. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL GetArchiveStatus(TVHandle* archive);

#define FOLDAPI_STATUS_READABLE 0x1         /* The archive file could be read. */
#define FOLDAPI_STATUS_LOCKED_BY_OTHER 0x4  /* Another user holds a lock. */
#define FOLDAPI_STATUS_LOCKED_EXCLUSIVE 0x8 /* One lock, on an archive that allows no second. */
#define FOLDAPI_STATUS_LOCKED_MULTIPLE 0x10 /* More than one lock. */
#define FOLDAPI_STATUS_HAS_CHILDREN 0x40    /* There is a revision. */
#define FOLDAPI_STATUS_LOCKED_BY_ME 0x1000  /* The current user holds a lock. */

/* Tests of the status: 1 or 0. ArchiveHasChildren tests FOLDAPI_STATUS_HAS_CHILDREN, and all the
 * others FOLDAPI_STATUS_LOCKED_BY_ME: for the finer distinctions use GetArchiveStatus. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL ArchiveHasChildren(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL ArchiveLockedByMe(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL ArchiveLockedByOther(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL ArchiveLockedExclusive(TVHandle* archive);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL ArchiveLockedMultiple(TVHandle* archive);

/* Branches. -------------------------------------------------------------------------------------*/
/* An archive's branches, revisions and labels come from the archive toolkit, which is asked when
 * the archive is opened for the first time. An archive that can't be read has none. */

/* Walk the branches of an archive ("Trunk" alone) or of a revision, in the order of their numbers
 * (those of an archive as they come). */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstBranch(TVHandle* parent);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextBranch(TVHandle* parent);

/* The branch whose name or, failing that, whose ordering number is given: "1.2.1" by its name or as
 * "1", the last part of it. "Trunk" has the number 1. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindBranch(TVHandle* parent, const char* name);

/* "Trunk", or the number that its revisions begin with. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetBranchName(TVHandle* branch);

FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenBranch(TVHandle* branch);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseBranch(TVHandle* branch);

/* Revisions. ------------------------------------------------------------------------------------*/

/* Walk the revisions of a branch in the order of their numbers, the oldest first. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstRevision(TVHandle* branch);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextRevision(TVHandle* branch);

/* The revision of a number: all of it, as "1.10", or, failing that, "10" for the last part of it.
 * On a trunk that goes on from 1.1 to 2.0 the places count instead, from 0 on. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindRevision(TVHandle* branch, const char* number);

/* The whole number, such as "1.10". */
FOLDAPI_EXPORT const char* FOLDAPI_CALL GetRevisionNumber(TVHandle* revision);

FOLDAPI_EXPORT int32_t FOLDAPI_CALL OpenRevision(TVHandle* revision);
FOLDAPI_EXPORT int32_t FOLDAPI_CALL CloseRevision(TVHandle* revision);

/* Version labels. -------------------------------------------------------------------------------*/

/* Walk the version labels of a revision, and find one by name: the one of exactly that name or,
 * failing that, one that differs in case alone. */
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetFirstLabel(TVHandle* revision);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL GetNextLabel(TVHandle* revision);
FOLDAPI_EXPORT TVHandle* FOLDAPI_CALL FindLabel(TVHandle* revision, const char* name);

/* Adds a label to a revision in memory alone: the archive does not get it, and it is gone when the
 * revision is read again. A label that is there already stays as it is. */
FOLDAPI_EXPORT void FOLDAPI_CALL CreateLabel(TVHandle* revision, const char* name);

FOLDAPI_EXPORT const char* FOLDAPI_CALL GetLabelName(TVHandle* label);

/* Does nothing: a label's name is set when it is created. */
FOLDAPI_EXPORT void FOLDAPI_CALL SetLabelName(TVHandle* label, const char* name);

/* Beside the database. --------------------------------------------------------------------------*/

/* FOLDAPI_VERSION of the library. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL FoldapiVersion(void);

/* The messages of the calling thread's last call of another function, FoldapiVersion aside: one
 * after the other, with a line end between two, at most 4095 bytes. "" if there was none, as after
 * a find that found nothing. What succeeds may have told something too, such as that a new project
 * had no configuration file yet. The text lies in a buffer of its own, and is good until that
 * thread's next call of another function. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL FoldapiLastMessage(void);

/* A path text as a path of the operating system: see "Paths" above. Nothing needs to be there. ""
 * for a drive or a share that the profile does not name. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL FoldapiNativePath(const char* text);

/* Whether the workfile of `archive` is where this user wants files: 1 or 0, and -1 if `archive` is
 * none. A work directory that is a full path, or uses "..", may come from a public record and lead
 * out of the user's own places, to any file that he may write. Who checks out there asks the user
 * first, as about a workfile that is there already (TRVS_CALLBACK_OVERWRITE in btkf520.h). His own
 * places are what is below the work directory that his private record names, unless that is the
 * public record's, which is copied there when a project is first opened; all that a private folder
 * says; the private root; the current directory, if no full path is said at all; and his home, but
 * for names there that begin with ".". */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL FoldapiIsInOwnPlace(TVHandle* archive);

/* Where this user's workfiles of a folder or a project are: what GetFullQualWorkfileName has before
 * the paths of its records that are relative. "" if nobody says where, or if it climbs above its
 * root. */
FOLDAPI_EXPORT const char* FOLDAPI_CALL FoldapiFolderWorkDir(TVHandle* folder);

/* Does what AddExistingArchive does for `count` pairs of the paths of a workfile and of an archive,
 * by one edit of the parent's data file, which is faster for many. A pair that is refused leaves
 * the others alone; where the file can't be written none is added. To see which are there, find
 * them. Gives how many of the pairs are there, those of before too; -1 if `parent` is none, or if a
 * list is null. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL FoldapiAddArchives(TVHandle* parent,
                                                       const char* const* workfiles,
                                                       const char* const* archives, int32_t count);

/* Has the configuration file of `project` give the directive `name`, in any case, the value
 * `value`, as a line of the file has it (docs/configuration.md). That takes the place of the last
 * line outside of conditionals that settles the same thing, or comes at the end. Of PROMOTE,
 * ARCHIVESUFFIX and EVENTTRIGGER lines with the same left side settle the same thing. The toolkit
 * reads what comes out before the file takes its name: a line that it complains about changes
 * nothing. The library works with it from the next call on. TrvsListConfiguration (btkf520.h) lists
 * what holds.
 * Gives a TrvsStatus, and no message: TRVS_DONE; TRVS_MISUSE for a handle that is none of a
 * project; TRVS_IN_USE; TRVS_CANNOT_READ_CONFIGURATION; TRVS_CANNOT_WRITE; TRVS_INVALID_LINE if the
 * directive can't have this value, or the file can't be meant as a configuration; or another of
 * those of TRVS_CALLBACK_BAD_DIRECTIVE. -1 if memory is short. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL FoldapiSetDirective(TVHandle* project, const char* name,
                                                        const char* value);

/* For a client that works on archives itself, through btkf520.h. The library leaves the client's
 * own state there alone: its configuration, callbacks and path resolver. This function, and no
 * other, changes it: it loads the configuration that the library would use for `project`, and has
 * paths translated as the library does, for as long as the client registers nothing else. Only
 * root's files are trusted master files then (TrvsTrustMaster), as the database names them. The
 * client's callbacks stay: they are told of bad directives, and asked about event triggers and
 * the journal. What changes in the files later is not followed.
 * Gives 1; 0 for a handle that is none of a project, which changes nothing, and for a configuration
 * that can't be read, which leaves the defaults for what was not read. */
FOLDAPI_EXPORT int32_t FOLDAPI_CALL FoldapiUseProject(TVHandle* project);

#ifdef __cplusplus
}
#endif

#endif
