// toolkit/messages.cpp: the message texts, one table for each family.
//
// The texts speak to the user of the desktop product and name its menus. They stay as they are,
// spelling included: clients compare them.
#include "toolkit/messages.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>

namespace foldapi {
namespace {

struct Text {
  int32_t code;
  const char* text;  // "%" and a letter stands for one argument.
};

constexpr Text kToolkitTexts[] = {
    {1, "Internal error number 1.  Call KESTRIANS Replyline."},
    {2, "Cannot find archive."},
    {3,
     "Archive already exists.  To replace the existing archive, select Overwrite Existing Archive "
     "and retry the operation."},
    {4, "Invalid line in the configuration file."},
    {5,
     "Cannot open file.  Either you do not have network privileges to open the file, or the path "
     "name to the file does not exist."},
    {6, "Cannot access file.  The file is currently in use by another process.  Try again later."},
    {7, "Internal error number 7.  Call KESTRIANS Replyline."},
    {8, "Internal error number 8.  Call KESTRIANS Replyline."},
    {9,
     "Invalid file name.  Either the drive or path name does not exist, or the file name you "
     "specified contains invalid characters."},
    {10, "Internal error number 10.  Call KESTRIANS Replyline."},
    {11, "The specified group or version label does not exist in the archive."},
    {12,
     "Version label already exists.  Specify another version label to add or select OK to move "
     "label to reassign to a different revision."},
    {13,
     "Cannot perform action on archive.  Either you do not have sufficient access privileges or "
     "the archive contains an access list and Trevault cannot find an access control database."},
    {14,
     "Cannot perform action on locked revision.  Either the revision was already locked, or a "
     "locked revision existed where there should have been none."},
    {15, "Action canceled."},
    {16, "Insufficient dynamic memory."},
    {17,
     "Invalid date specification.  Start the online help to view a list of valid date formats."},
    {18, "Revision does not exist."},
    {19, "Missing or invalid revision number specification."},
    {20, "Cannot perform operation because the archive contains no revisions."},
    {21, "Configuration file nesting exceeded the maximum of 20 levels."},
    {22, "Workfile and archive names cannot be the same."},
    {23, "Cannot delete file."},
    {24,
     "Workfile or output file already exists on disk and Trevault does not have permission to "
     "overwrite it.  To replace the existing file, choose Prompt or Always under Overwrite "
     "Workfile, and retry the operation."},
    {25, "Insufficient file handles to open file.  Edit CONFIG.SYS and set FILES=40."},
    {26,
     "No license is available for this operation.  Wait until a license is free or contact your "
     "administrator, then retry the operation."},
    {27, "File is not a Trevault archive."},
    {28, "Internal error number 28.  Call KESTRIANS Replyline."},
    {29,
     "Cannot lock revision.  Either lock checking is disabled, or the archive has the "
     "ExclusiveLock attribute and a revision is already locked."},
    {30,
     "Cannot find locked revision.  Either the archive contains no locked revisions, or Trevault "
     "could not find any revisions locked by the specified user."},
    {31, "No files match the wildcard pattern."},
    {32, "Workfile does not exist."},
    {33, "Internal error number 33.  Call KESTRIANS Replyline."},
    {34,
     "Cannot promote revision.  Either you tried to promote the production group, or there are no "
     "revisions associated with the group from which you tried to promote."},
    {35,
     "Promotion model contains multiple production groups.  Select Project Configure Project / "
     "Promotion and modify the promotion hierarchy so that there is only one top-level promotion "
     "group."},
    {36, "Cannot promote revision.  No higher promotion group is defined."},
    {37, "RDK: Promotion group is not defined."},
    {39, "Internal error number 39.  Call KESTRIANS Replyline."},
    {40,
     "Cannot perform action.  Promotion group in archive prevented the operation.  Either you "
     "tried to delete a revision associated with a promotion group or lock a revision by a "
     "promotion group that is already associated with another revision in the archive."},
    {41, "Archive contains no revisions associated with the specified promotion group."},
    {42,
     "Cannot find NWNETAPI.DLL in the installation directory.  Trevault requires NWNETAPI.DLL "
     "because Windows is configured for Netware.  Rerun the installation program to copy this file "
     "to the installation directory."},
    {43,
     "Cannot find journal file.  Select Project / Configure Project / Journal File.  Either the "
     "Don't Keep a Journal File option is selected or the value in the Keep a Journal File Named "
     "option specifies a file name or path name that does not exist."},
    {44, "Encountered syntax error in journal file.  The journal report may not be complete."},
    {45,
     "Cannot lock or check in revision.  To lock or check in revisions when a promotion model is "
     "in effect, you must assign them to a development group.  Select a development group and "
     "retry the operation."},
    {46,
     "Cannot lock revision.  A revision associated with the selected development group is already "
     "locked in the archive.  Try again later."},
    {47,
     "Cannot lock revision in preparation for a branch.  To lock the revision and begin a branch, "
     "delete the BranchWarn directive from your configuration file and retry the operation."},
    {48,
     "Cannot open access control database.  Check the path name to the database and make sure you "
     "have sufficient network rights to access it."},
    {49,
     "The promotion group to which you are promoting is associated with a revision on another "
     "branch.  To promote the revision, choose Promote Across Branches and retry the operation."},
    {50,
     "Cannot obtain user ID.  Check the requirements of the current user identification source for "
     "identifying users and retry the operation."},
    {51,
     "Cannot check in revision.  The specified workfile is older than its parent in the archive.  "
     "To check in the revision anyway, select Check In and retry the operation."},
    {52,
     "Cannot check in revision.  The specified workfile is identical to its parent in the archive. "
     " To check in the revision anyway, select the Check In option in the If Workfile Unchanged "
     "group, then retry the operation."},
    {53,
     "Cannot perform operation.  You specified an insufficient number of parameters for this "
     "action.  Use the online help to check the entry field requirements for the dialog box and "
     "retry the operation."},
    {55, "File not found.  Check file name and location, and try again."},
    {56,
     "Invalid redirection specification, or error creating temporary file.  Change the TMP or TEMP "
     "environment variable to point to a valid directory."},
    {57,
     "Invalid syntax for INCLUDE directive.  Exit Trevault and open the configuration file.  Edit "
     "the INCLUDE directive."},
    {58, "Internal error number 58.  Call KESTRIANS Replyline."},
    {59, "Internal error number 59.  Call KESTRIANS Replyline."},
    {60,
     "Encountered invalid column masking syntax.  Select Project / Configure Project / Column "
     "Masking.  Correct the column masking syntax, then retry the operation."},
    {61,
     "Semaphore type not compatible with this operating system.  Select Project / Configure "
     "Project / Semaphores and select a compatible semaphore type.  Then retry the operation."},
    {62,
     "Error in conditional construct.  Exit Trevault and open the configuration file.  Correct the "
     "conditional construct."},
    {63,
     "Encountered invalid renumbering syntax.  Select Project / Configure Project / Column "
     "Masking.  Correct the renumbering syntax and retry the operation."},
    {64,
     "Cannot open console for change description line editor.  Select Project / Configure Project "
     "/ Command Line 1 and unselect the Use BIOS Screen Calls option.  Then retry the operation."},
    {65,
     "Cannot create semaphore file.  For file semaphores, make sure that you have create rights in "
     "the archive and workfile directories.  For other semaphore types, call KESTRIANS Replyline."},
    {66,
     "Cannot delete semaphore file.  For file semaphores, make sure that you have delete rights in "
     "the archive and workfile directories.  For other semaphore types, call KESTRIANS Replyline."},
    {67, "Internal error number 67.  Call KESTRIANS Replyline."},
    {68, "Internal error number 68.  Call KESTRIANS Replyline."},
    {69, "Internal error number 69.  Call KESTRIANS Replyline."},
    {70, "Internal error number 70.  Call KESTRIANS Replyline."},
    {71,
     "Workfile and message file name cannot be the same.  Rename one of the files and retry the "
     "operation."},
    {72, "Cannot locate message file."},
    {73, "Cannot open editor temporary file."},
    {74,
     "Invalid editor command.  Select Options / Editor and check the editor path and file names."},
    {75, "Error on exit from editor."},
    {76, "Cannot change to specified directory."},
    {77, "Cannot write to disk.  Check to see if disk is full and clear space if necessary."},
    {78,
     "Cannot delete revisions.  Revision in range has associated branches.  To delete all "
     "revisions and their branches, specify a plus sign (+) after the revision range."},
    {79, "Operation canceled.  User entered Ctrl+C to terminate the operation."},
    {80, "No access control database specified."},
    {81, "The access control database is corrupted."},
    {82, "User ID in access control database has expired"},
    {83, "Cannot find this user ID in the access control database."},
    {84, "Invalid password."},
    {85, "Error opening or closing diagnostics file."},
    {86, "Cannot find group in the access control database."},
    {87, "This user already exists in the access control database."},
    {88, "This privilege already exists in the access control database."},
    {89, "Cannot add information to the access control database because it is read-only."},
    {90, "You cannot run more than one invocation of Trevault at the same time."},
    {91,
     "Cannot find the build script containing event trigger information.  Select Project / "
     "Configure Project / Event Triggers and specify another file.  Then retry the operation."},
    {95, "Cannot find this user in the access list."},
    {102,
     "Cannot perform update actions because the project is locked. Select Project / Unlock Project "
     "to release the lock, then retry the operation."},
    {103, "The action was cancelled by a non-zero return from a user-defined event trigger."},
    {104,
     "An attempt to execute a DOS event trigger failed because the KSTRDOS.386 virtual device "
     "driver (VxD) is not  installed.  To install it, add the following line to your Windows "
     "SYSTEM.INI file in the [386Enh] section, and then restart Windows.\n\n    "
     "device=<TRVS_installation_directory>\\win\\KSTRDOS.386\n"},
    {105,
     "An attempt to execute a DOS event trigger failed because either WEXECDOS.EXE or WEXECDOS.PIF "
     "could not be found in the directory containing the TRVS Trevault executable.  Verify that "
     "these files exist, then retry the operation."},
    {106,
     "The event trigger configured for this action failed to execute.  Select Project / Configure "
     "Project / Event Triggers and verify that the trigger is specified correctly."},
    {107,
     "Cannot read the specified configuration file. Either it does not exist, could not be "
     "located, or you have insufficient rights to read it."},
    {108, "This access group already exists in the access control database."},
    {109,
     "This configuration setting cannot be set for the project because it has been disallowed in "
     "the master project."},
    {110, "Cannot unpack or check in this revision.  Its content is larger than allowed."},
    {112,
     "Cannot check in revision.  It would start a branch, since a newer revision follows its "
     "parent "
     "or the number is one of a new branch."},
    {113, "Cannot check in revision.  A revision with this number already exists in the archive."},
    {114,
     "Bytes at the end of the archive do not count.  Either a change was interrupted, or they are "
     "damaged."},
    {115, "Cannot change archive.  It would hold more than an archive can hold."},
    {116,
     "Cannot change archive.  It has to be written anew, but either its directory cannot be "
     "written "
     "or its group cannot be kept.  A user who can do both has to change it first."},
};

constexpr Text kFolderTexts[] = {
    {1, "Out of memory!"},
    {3, "The license of this installation could not be verified."},
    {14, "Public project root not defined."},
    {15, "Private project root not defined."},
    {17, "No project name was specified for the create/open of project."},
    {18,
     "Internal Error: No archive was specified for the current TRVS action. Call KESTRIANS "
     "Replyline."},
    {19,
     "Internal Error: No work file was specified for the current TRVS action. Call KESTRIANS "
     "Replyline."},
    {20,
     "No archive directories have been defined.\n\nBefore you can check files into archives, you "
     "must use Project / Configure Project / Archive Directories to select one or more archive "
     "directories."},
    {26,
     "The only time a revision or version maybe specified when a promotion group is also "
     "specified, is if the revision is being locked."},
    {27, "A promotion model is in effect. You must select a promotion group."},
};

constexpr Text kFolderFileTexts[] = {
    {4, "An error occured while attempting to read %s."},
    {5,
     "Cannot create directory %s. Check to see that you have sufficient directory rights.  Then "
     "retry the operation."},
    {6,
     "Cannot create file %s. Check to see that you have sufficient directory rights.  Then retry "
     "the operation."},
    {7,
     "Unable to write %s.\n\nCheck to see that you have sufficient directory rights, that you have "
     "write access to the file, and that you are not out of disk space. "},
    {8, "File %s does not exist."},
    {9, "Cannot lock folder file %s. The file is in use by another process. "},
    {10, "Corrupted folder file %s. Missing DIR= field."},
    {11, "Corrupted folder file %s. Missing CONFIG= field."},
    {12,
     "Error reading folder %s. Object was found in the private file but not in the public file."},
    {13, "Corrupted folder file %s."},
    {24,
     "Cannot check out revision. The promotion group \"%s\" exists in the promotion hierarchy for "
     "this project, but it is not a development-level group.\n\n Please specify a "
     "development-level promotion group."},
    {25,
     "The promotion group \"%s\" does not exist in the promotion hierarchy for this project.\n\n "
     "Please specify a valid promotion group.  Note that promotion groups are case sensitive, e.g. "
     "\"Dev\" is not the same as \"dev\"."},
    {28,
     "Unable to access the archive %s. Either the archive does not exist, or is not a TRVS "
     "archive."},
    {29, "Unable to retrieve the archive information for %s."},
};

constexpr Text kIniFileTexts[] = {
    {-1, "Internal error number 1008.  Call KESTRIANS Replyline."},
    {-2,
     "Insufficient memory to read initialization file %s.  Close other open applications and "
     "restart the program."},
    {-3, "Cannot read initialization file\n\n%s."},
    {-4, "Cannot open initialization file\n\n%s."},
    {-5, "Cannot write to initialization file\n\n%s."},
    {-6, "The [section identifier] for %s does not exist in the initialization file KSTR.INI."},
    {-7,
     "Encountered the invalid keyword %s in the initialization file KSTR.INI.  Delete this file "
     "and restart the program."},
    {-8, "Cannot update the keyword %s in the initialization file KSTR.INI."},
    {-9, "Cannot delete the keyword %s from the initialization file KSTR.INI."},
    {-10, "Internal error number 1009.  Call KESTRIANS Replyline."},
    {-11, "Internal error number 1010.  Call KESTRIANS Replyline."},
    {-12,
     "Encountered an invalid initialization file %s.  Delete the file and restart the program."},
    {-13, "Internal error number 1011.  Call KESTRIANS Replyline."},
};

constexpr char kGoneText[] =
    "%s cannot be changed, since another process has removed it from the project database.";
constexpr char kNoLocksText[] =
    "%s cannot be changed, since the file system that it is on has no locks.";
constexpr char kForeignLinkText[] =
    "%s cannot be changed, since it is a link of another user to a file that is not his.";
constexpr char kDateText[] =
    "The date \"%s\" is not valid.\n\n You must specify the date in the format: %s.\n\n If you "
    "wish to enter dates in a different format, you may change the standard date entry format for "
    "the project or the master project in TRVS Trevault - Project / Configure Project / Date/Time "
    "Format.";

constexpr char kTriggerText[] =
    "%s in the configuration was not followed, as others can change or choose the file that it "
    "stands in:\n\n%s\n\nTo allow what the configuration wants, set TRVSTRIGGERS=ON in section "
    "[TRVSGUI] "
    "of your profile %s, "
    "which nobody else may be able to change.";

constexpr char kDirectiveText[] =
    "Error reading a directive on line %i in the configuration file:\n\n%s.\n\nThe line read from "
    "the file was:\n\n%s \n\nDetailed explanation:\n\n%s \n\nOpen this file in a text editor and "
    "correct the error, then close and reopen this project.";

constexpr char kDirectiveWithoutLine[] =
    "Error reading a directive in the configuration file:\n\n%s.\n\nDetailed explanation:\n\n%s "
    "\n\nOpen this file in a text editor and correct the error, then close and reopen this "
    "project.";

// The text for `code`, null for a code that the table doesn't hold.
template <size_t size>
const char* findText(const Text (&table)[size], int32_t code) {
  const Text* found = std::find_if(std::begin(table), std::end(table),
                                   [&](const Text& t) { return t.code == code; });
  return found == std::end(table) ? nullptr : found->text;
}

// `pattern` with its arguments put in, in order. An argument's own "%" means nothing.
VString filled(std::string_view pattern, std::initializer_list<std::string_view> arguments) {
  std::string result;
  for (const std::string_view argument : arguments) {
    const size_t mark = pattern.find('%');
    if (mark == std::string_view::npos) break;
    result.append(pattern.substr(0, mark)).append(argument);
    pattern.remove_prefix(mark + 2);
  }
  result.append(pattern);
  return VString(std::move(result));
}

std::string_view textOrEmpty(const char* text) { return text == nullptr ? "" : text; }

VString unknownCode(const char* pattern, int32_t code) {
  return filled(pattern, {std::to_string(code)});
}

VString unknownFolderCode(int32_t code) {
  return unknownCode("No message available for FldrMessage %d.", code);
}

}  // namespace

VString ToolkitMessage(int32_t code, const char* path) {
  const char* text = findText(kToolkitTexts, code);
  if (text == nullptr) return unknownCode("No message available for RDK Message %d.", code);
  VString message(text);
  if (path != nullptr) message.append("\n\nPath name: ").append(path);
  return message;
}

VString FolderMessage(int32_t code) {
  const char* text = findText(kFolderTexts, code);
  return text == nullptr ? unknownFolderCode(code) : VString(text);
}

VString FolderFileMessage(int32_t code, const char* text) {
  const char* pattern = findText(kFolderFileTexts, code);
  return pattern == nullptr ? unknownFolderCode(code) : filled(pattern, {textOrEmpty(text)});
}

VString GoneMessage(const char* name) { return filled(kGoneText, {textOrEmpty(name)}); }

VString NoLocksMessage(const char* path) { return filled(kNoLocksText, {textOrEmpty(path)}); }
VString ForeignLinkMessage(const char* path) {
  return filled(kForeignLinkText, {textOrEmpty(path)});
}

VString TriggerMessage(const char* event, const char* value, const char* profile) {
  return filled(kTriggerText, {textOrEmpty(event), textOrEmpty(value), textOrEmpty(profile)});
}

VString DateMessage(int32_t code, const char* date, const char* format) {
  if (code != kFolderDate) return unknownFolderCode(code);
  return filled(kDateText, {textOrEmpty(date), textOrEmpty(format)});
}

VString DirectiveMessage(int32_t code, int32_t line, const char* file, const char* lineText,
                         const char* explanation) {
  if (code != kFolderDirective) return VString();
  if (line == 0)
    return filled(kDirectiveWithoutLine, {textOrEmpty(file), textOrEmpty(explanation)});
  return filled(kDirectiveText, {std::to_string(line), textOrEmpty(file), textOrEmpty(lineText),
                                 textOrEmpty(explanation)});
}

VString IniFileMessage(int32_t code, const VString& text) {
  const char* pattern = findText(kIniFileTexts, code);
  if (pattern == nullptr) return VString("No error message available for this error code.");
  return filled(pattern, {text.view()});
}

}  // namespace foldapi
