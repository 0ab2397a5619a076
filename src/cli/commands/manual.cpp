// cli/commands/manual.cpp: what the pages of the commands say besides their options. The manual is
// made of the pages, by scripts/make_manual.py: lines between blank ones are a paragraph, lines
// that begin with four blanks an example.
#include <algorithm>
#include <utility>

#include "cli/command.h"

namespace cli {
namespace {

constexpr std::pair<std::string_view, std::string_view> kTexts[] = {
    {"init", R"(
A database has two roots: the public one holds what a team shares, the private
one what is yours alone. Both are made where they are not there yet, and stored
in your profile, from which every command takes them; without options they are
in your data directory. Nothing is ever emptied or moved, and a second run says
what is there.

A team gives a directory that all can reach. If the directory above it is
writable for its group, a new public root is, too:

    $ trevault init --public /srv/team/db
    $ trevault project add 'Pump Station' ~/station

A colleague gives the same root, and joins:

    $ trevault init --public /srv/team/db
    $ trevault join 'Pump Station' ~/station
)"},
    {"where", R"(
Shows the user, the work directory, the project and its archives, the
configuration, both roots and the profile, each with the reason why it is that
one: an option, an environment variable, the nearest .trevault, the profile, a
line of the configuration. Makes nothing, and works without a project. -v also
shows how a path is written where that is for other systems, as V:\vault.
)"},
    {"join", R"(
How a second user begins, and how you get a second work directory of a project.
Your first one becomes your work directory in the database; more exist by their
.trevault alone. Files that are there already are never overwritten: equal ones
are taken on, others are told as changed.

    $ trevault join 'Pump Station' ~/station
    $ trevault join 'Pump Station' ~/fixes --follow REL_1_FIX -g fix
)"},
    {"follow", R"(
Without REV, tells what the work directory follows. With one, checks out what it
follows from now on: unchanged files that have no such revision go, changed ones
stay and are told. It is refused as a whole while a file is changed here and
would become another revision. A label that is followed moves along with the
check-ins made here: that is how a line of fixes is kept apart.
)"},
    {"project", "projects of the database"},
    {"project add", R"(
The project is for all who can reach the public root; DIR is your own work
directory. The team's one stays empty unless given, so that nobody works in
yours by mistake.

    $ trevault project add Pump
    $ trevault project add 'Pump Station' ~/station --archives /srv/team/archives
)"},
    {"project list", R"(
One project a line, and where you work at it.
)"},
    {"project show", R"(
Its directories and its configuration, and how many files it has.
)"},
    {"project set", R"(
'--archives' changes where new archives go; those that are there stay.
)"},
    {"project remove", R"(
Takes the project off the list of projects, after a question. Archives, data
files and work directories stay.
)"},
    {"folder", "folders of a project"},
    {"folder add", R"(
A folder is a named part of a project with its own place in the work directory.
Files below that place that are added later belong to it. Most projects need
none: directories work without.
)"},
    {"folder list", R"(
One folder a line, with its place.
)"},
    {"folder remove", R"(
Takes the folder and the records of its files off the project, after a question
that says how many they are. The archives stay.
)"},
    {"add", R"(
Makes an archive for each file, with revision 1.0, and a record in the project:
all of that or nothing. A directory means all files below it, but for those
under control already, symbolic links, .trevault, .git, and what a
.trevaultignore names, which has the rules of git's. The archive is at the
file's own path below the first archive directory, so equal names in two
directories never meet. Files are read-only afterwards, until you lock them.

    $ trevault add .
    $ trevault add -m 'From the supplier' -l SUPPLIED lib
)"},
    {"import", R"(
Takes archives that are there already into the project; in a directory all files
that begin as archives do. A file is called like its archive, at the archive's
place below the directory given. 'trevault checkout' then brings the files.
)"},
    {"remove", R"(
Takes the records off the project, after a question that says what it costs. The
archive stays, and so does the file here. Labels that 'trevault label' has set
remember the file: 'trevault checkout -r LABEL --to DIR' still brings it.
'trevault import' takes the archive back into the project.
)"},
    {"rename", R"(
The record and the file here get the new name; archive and revisions stay. A
file that somebody else has locked is not renamed: he would check in under the
old name.
)"},
    {"list", R"(
One path a line, from the current directory. With '-a' also the revision here,
the one followed, who has locked it, and the folder.
)"},
    {"status", R"(
Without '-a' only what wants attention, and your locks. The words, the first one
that is true:

    broken    the archive is missing, damaged or not readable
    lost      you locked it here, and the lock is gone
    unknown   no revision has this content
    missing   was here, and is no longer in the work directory
    changed   differs from the revision here
    behind    as checked out, but what is followed has another revision
    locked    as checked out, locked by you
    new       not under control, and not ignored
    gone      a colleague took it out of the project
    same      as checked out
)"},
    {"checkout", R"(
Brings files to the revision that is followed, missing and new ones too, or once
to REV. Unchanged files are replaced, equal ones left alone with their time. A
changed one is overwritten after a question only, and its content is kept in
.trevault/kept for 14 days. '--to' makes an exact copy of a revision elsewhere,
writable and without .trevault, as a customer gets it.

    $ trevault checkout
    $ trevault checkout -r REL_1 --to /tmp/rel1
)"},
    {"checkin", R"(
Makes a new revision of each file and gives its lock back; without names, of
what is changed and locked by you. The file stays, read-only. Without '-m' on a
terminal your editor opens; an empty message cancels. The new revision comes
after the one here, never after one that you have not seen: if that is no longer
the tip, a branch starts, or the check-in is refused and says why. Where a label
is followed, it moves along.

    $ trevault ci -m 'Stop when the tank is full'
    $ trevault ci --lock -m 'Spelling' README
)"},
    {"lock", R"(
One person has the lock of a revision, edits, and checks in. The file becomes
writable; an unchanged older one is brought up first, a changed one is kept if
it came from that revision. Of several files it takes those that it can.

    $ trevault lock -m 'New limits, back on Monday' pump.c
)"},
    {"unlock", R"(
The file is read-only again. A changed one is refused: 'trevault revert' drops
the changes, '--keep' leaves them. '--force' takes back the lock of another
user, after a question; a script says '--force --yes'. His next 'trevault
status' tells him.
)"},
    {"locks", R"(
File, revision, user and since when; with '--everywhere' the project first.
)"},
    {"revert", R"(
Each file gets the content of the revision here again, and its lock goes back.
Asks before changes are dropped, and keeps what was there in .trevault/kept for
14 days.
)"},
    {"log", R"(
Of one file its revisions, newest first, branches in their place by time; of
several with a heading each. Without names the history of the project:
check-ins of one author with one message within five minutes are one entry.
)"},
    {"diff", R"(
Without '-r' what is changed here; with REV against that; with a range between
two revisions of each file, or two labels of the project. The output is for
'patch -p0' too. The exit code is 0, whether something differs or not.

    $ trevault diff
    $ trevault diff -r REL_1..REL_2 --stat
)"},
    {"cat", R"(
Writes the bytes of the revision here, or of REV, to the standard output.

    $ trevault cat -r 1.4 pump.c > pump.old
)"},
    {"tree", R"(
Labels are in [ ], groups in < >, then who has locked a revision; 'here' stands
at the one in the work directory.
)"},
    {"label", R"(
Names the revisions here, or those of REV, in each file: a release. All files
are looked at first, and all are labelled or none. Changes that are not checked
in have no label, so they are refused. A label that stands elsewhere wants
'--move'. '-d' deletes it, after a question.

    $ trevault label REL_1
    $ trevault label REL_1_FIX -r REL_1
)"},
    {"labels", R"(
Name, how many files have it, and the newest check-in among them. Of one file
its labels and their revisions.
)"},
    {"promote", R"(
Groups say how far a revision has come, such as development, test and
production; PROMOTE in the configuration links them. Files without a revision in
the group are counted, not told.

    $ trevault promote pump.c
    $ trevault promote -g test
)"},
    {"groups", R"(
Each chain of groups in a line, as the configuration links them.
)"},
    {"config", "the configuration of a project"},
    {"config get", R"(
The value of a directive, and the file and line that it comes from.
)"},
    {"config set", R"(
Writes the project's file: replaces the line that says so far what holds, or
adds one. For PROMOTE, ARCHIVESUFFIX and EVENTTRIGGER that is the line of the
same group, extension or event. The whole configuration is read back before it
takes the place of the old one.

    $ trevault config set PROMOTE 'development = test' 'test = production'
)"},
    {"config list", R"(
Every directive that a file sets, with file and line; with '-a' the others too.
)"},
    {"describe", R"(
Prints the description of each file, or with '-r' the message of a revision;
with '-m' or '-F' replaces it.
)"},
    {"delete", R"(
Takes revisions out of the archives. Lists them first and asks, or wants
'--force --yes'. To take a file out of the project is 'trevault remove'.
)"},
    {"access", R"(
Without options shows the lists. An empty list lets everybody in; the first name
on one shuts all others out but the owner, so that is asked first.
)"},
    {"attributes", R"(
Without options shows them. To clear check-locks is asked first: colleagues can
check in without locks then.
)"},
    {"verify", R"(
Compares every content with its checksum, and tells archives that are missing or
damaged, archives that no project names, and lists that can't be read. Gives 1
if there is one of these.
)"},
    {"pages", R"(
Writes pages to look at with any browser, from the disk or any web server: the
projects, their files with locks, labels and groups, the history of each file
drawn, each revision against the one before it, what is in each label and
against the label before it, who holds what, and the last fortnight by day. They
need nothing from elsewhere. With '-p' only that project. DIR must be new, empty
or hold such pages; of these what is gone by now is removed, and with '-p' what
was of other projects. What can't be read is told there, and makes the command
fail at its end.

    $ trevault pages /srv/www/team
)"},
    {"serve", R"(
Goes on until Ctrl-C. Pages are made of what is there when they are asked for,
and any two revisions or labels can be compared. It listens for this machine
alone; with '--listen' for others, who must ask by the address or by a name that
'--host' gives. Nothing can be changed there, and whoever gets in sees all that
you may read. With '-p' only that project.

    $ trevault serve
    $ trevault serve --listen 0.0.0.0 --host station.example
)"},
    {"export", R"(
Writes the history of the project as a stream for 'git fast-import'. Labels
become tags, the trunk becomes main, each branch a branch.

    $ git init station.git
    $ trevault export | git -C station.git fast-import
)"},
    {"import-rcs", R"(
Brings revisions, branches, symbols, authors, times and messages of RCS files
into new archives of the project, and compares each revision afterwards. A file
that fails leaves nothing.

    $ trevault import-rcs -n ~/old/RCS
)"},
    {"completion", R"(
Completes commands, options, projects, files, labels and groups. An installation
has it in place; else put this in ~/.bashrc or ~/.zshrc:

    $ source <(trevault completion bash)
)"},
    {"help", R"(
Without COMMAND lists the commands. 'trevault COMMAND --help' opens the manual.
)"},
};

}  // namespace

std::string_view manualOf(std::string_view name) {
  const auto* const found = std::find_if(std::begin(kTexts), std::end(kTexts),
                                         [name](const auto& each) { return each.first == name; });
  return found == std::end(kTexts) ? "" : found->second;
}

}  // namespace cli
