#!/usr/bin/env python3
"""Runs the sessions of transcripts and Markdown pages and compares what comes out:
check_transcript.py TREVAULT (TRANSCRIPT|PAGE.md)...
or shows one as it goes, with what comes out, and leaves the users' homes in DIRECTORY:
check_transcript.py --play DIRECTORY TREVAULT TRANSCRIPT

A line that begins with "$ " is a command of ann's, one with "bob$ " or another name a command of
that user's. An answer stands in the question's own line, after "[y/N] "; "^C" and "^D" are these
keys. What follows up to the next command is the output, of both streams, as a terminal of 80 columns without colours gets it.
Times, the places of the test and the name of its group are masked on both sides: the transcript
shows "2026-11-23 09:12" where a time is, and homes below /home.

What the people at the terminals don't see stands in lines of set-up: "#$ " or "#bob$ " and a
command, whose output counts for nothing and which must succeed; "#set NAME=VALUE" for a variable of
all users. Other lines that begin with "# " say what goes on.

A line "[...]" in the output stands for any lines. A command that ends in "\\" or holds "<<" goes on
in lines that begin with "> ".

In a Markdown page the sessions are the fenced blocks with a line that begins with "$ " or "bob$ ".
They are run from the top of the page down, as one transcript. Set-up stands in HTML comments:

    <!-- #$ mkdir pump -->      a line of set-up, or several
    <!-- file: pump.c -->       ann has the next block as that file in her directory
    <!-- not run: it takes an hour -->    the next block is left out, and that is printed
    <!-- pasted -->             the next block is pasted into a shell, and the one after it comes out
    <!-- new machine -->        what follows begins with empty homes

Programs of a page are compiled as if header files and libraries were installed; FOLDAPI_SOURCE and
FOLDAPI_BUILD lead to the others.

Each user has a home below a directory of the test. The engine knows the account that runs the test;
it stands for ann, unless the project's configuration takes the user from the variable TEAM_USER.
"""
import difflib
import os
import pathlib
import pty
import pwd
import re
import shlex
import subprocess
import sys
import tempfile

COMMAND = re.compile(r"(#?)(\w+)?\$ (.*)")
SETTING = re.compile(r"#set (\w+)=(.*)")
ACCOUNT = pwd.getpwuid(os.geteuid()).pw_name
QUESTION = re.compile(rb"\[y/N[^]\n]*\] $")
FENCE = re.compile(r"( *)(```+)(.*)")
NOTE = re.compile(r" *<!--\s*(file|not run|pasted|new machine)(?:: *(.*?))? *-->")
INCLUDES = pathlib.Path(__file__).resolve().parents[2] / "include"
KEYS = {"^C": "\x03", "^D": "\x04"}
TIME = re.compile(r"\d{4}-\d\d-\d\d[ T]\d\d:\d\d(:\d\d)?")


class Shell:
    """One user's shell, which keeps its directory from command to command."""

    def __init__(self, base, user, trevault):
        self.home = base / "home" / user
        self.home.mkdir(parents=True, exist_ok=True)
        self.directory = str(self.home)
        self.environment = {
            "HOME": str(self.home), "PATH": "%s:/usr/bin:/bin" % trevault.parent, "TERM": "dumb",
            "LC_ALL": "C.UTF-8", "PAGER": "cat", "TEAM_USER": user,
            "CPATH": str(INCLUDES), "LIBRARY_PATH": str(trevault.parent),
            "LD_LIBRARY_PATH": str(trevault.parent),
            "PYTHONPATH": str(trevault.parent / "python"),
            "FOLDAPI_SOURCE": str(INCLUDES.parent), "FOLDAPI_BUILD": str(trevault.parent)}

    def run(self, command, answers):
        """Gives the output and keeps the directory that the command ends in."""
        ours, theirs = pty.openpty()
        script = "cd %s\n%s\ncode=$?; pwd > $HOME/.pwd; exit $code" % (shlex.quote(self.directory), command)
        process = subprocess.Popen(
            ["/bin/sh", "-c", script], stdin=theirs, stdout=theirs, stderr=theirs,
            env=self.environment, start_new_session=True,
            preexec_fn=lambda: __import__("fcntl").ioctl(0, 0x540E, 0))
        os.close(theirs)
        answers = list(answers)
        output = b""
        while True:
            try:
                piece = os.read(ours, 65536)
            except OSError:
                break
            if not piece:
                break
            output += piece
            if QUESTION.search(output):
                answer = answers.pop(0) if answers else "unexpected"
                os.write(ours, KEYS.get(answer, answer + "\n").encode())
                output += b"^D" if answer == "^D" else b""  # Which has no echo.
        self.code = process.wait()
        os.close(ours)
        self.directory = (self.home / ".pwd").read_text().strip()
        return output.decode(errors="replace").replace("\r\n", "\n")


class Session:
    """The shells of a transcript's users."""

    def __init__(self, base, trevault, text):
        self.base, self.trevault, self.settings = base, trevault, SETTING.findall(text)
        self.shells = {}
        (base / "tmp").mkdir()

    def run(self, user, command, expected):
        """Gives the command with the places of the test, what came out and the exit code."""
        if user not in self.shells:
            self.shells[user] = Shell(self.base, user, self.trevault)
            self.shells[user].environment.update(self.settings)
        command = re.sub(r"(?<=[\s'=])/(srv|tmp|home)/", r"%s/\1/" % self.base, command)
        answers = re.findall(r"\[y/N[^]\n]*\] (\S+)$", "\n".join(expected or []), re.MULTILINE)
        return command, self.shells[user].run(command, answers), self.shells[user].code


def is_session(lines):
    return any(match and not match[1] for match in map(COMMAND.fullmatch, lines))


def pieces(page):
    """Gives the page's notes as (kind, value), its blocks as ("block", lines), and other lines as
    ("text", line)."""
    lines = iter(page.splitlines())
    for line in lines:
        note, fence = NOTE.fullmatch(line), FENCE.fullmatch(line)
        if note:
            yield note[1], note[2]
        elif fence:
            block = []
            for inner in lines:
                if inner.strip() == fence[2]:
                    break
                block.append(inner[len(fence[1]):] if inner.startswith(fence[1]) else inner.lstrip())
            yield "block", block
        else:
            yield "text", line


def written(name, lines):
    return ["#$ cat > '%s' << 'END OF FILE'" % name, *("> " + line for line in lines), "> END OF FILE"]


def transcripts(path):
    """Gives the text of each transcript of a page; that of any other file is one."""
    if path.suffix != ".md":
        return [path.read_text()]
    parts, note, in_comment = [[]], None, False
    for kind, value in pieces(path.read_text()):
        if kind == "new machine":
            parts.append([])
        elif kind != "block" and kind != "text":
            note = kind, value
        elif kind == "text":
            in_comment = in_comment or value.startswith("<!--")
            if in_comment:
                parts[-1] += re.findall(r"^(?:<!--)? *(#.*?) *(?:-->)?$", value)
            in_comment = in_comment and "-->" not in value
        else:
            kind, name = note or ("", "")
            if kind == "not run":
                print("%s: not run: %s: %s" % (path.name, name, value[0]))
            elif kind == "file":
                parts[-1] += written(name, value)
            elif kind == "pasted":
                parts[-1] += written("pasted", value) + ["#$ mv pasted ~/.pasted", "$ . ~/.pasted"]
                note = "printed", ""
                continue
            elif kind == "printed":
                parts[-1] += value
            elif is_session(value):
                parts[-1] += value
            note = None
    return ["\n".join(part) for part in parts]


def parse(text):
    """Gives user, command and expected output, one after the other; no output for a set-up."""
    steps = []
    for line in text.splitlines():
        match = COMMAND.fullmatch(line)
        if match:
            steps.append((match[2] or "ann", match[3], None if match[1] else []))
        elif line.startswith("> ") and steps and not steps[-1][2] and goes_on(steps[-1][1]):
            steps[-1] = steps[-1][0], steps[-1][1] + "\n" + line[2:], steps[-1][2]
        elif steps and steps[-1][2] is not None and not line.startswith("#"):
            steps[-1][2].append(line)
    return steps


def goes_on(command):
    return command.endswith("\\") or "<<" in command


def agrees(output, wanted):
    """Lines "[...]" of what is wanted stand for any lines of the output."""
    return re.fullmatch(re.escape(wanted).replace(re.escape("[...]"), ".*?"), output, re.DOTALL)


def masked(text, base):
    """Columns that a path of the test makes wider than the transcript's are told by one blank."""
    text = re.sub(r"\n {30,}", "  ", text)
    text = re.sub(r"in the group \S+ may", "in the group team may", text)
    lines = [re.sub(r"  +" if re.search("/(home|srv)/", line) else r" {15,}", "  ", line.rstrip())
             for line in text.splitlines()]
    text = TIME.sub("TIME", "\n".join(lines).replace(str(base), ""))
    return re.sub(r"(?<!public )(?<!private )\b%s\b" % re.escape(ACCOUNT), "ann", text).strip()


def check(trevault, name, text):
    """Runs one transcript; False and a report at the first command that says something else."""
    with tempfile.TemporaryDirectory() as directory:
        base = pathlib.Path(directory).resolve()
        session = Session(base, trevault, text)
        for user, command, expected in parse(text):
            command, said, code = session.run(user, command, expected)
            if expected is None:
                if code != 0:
                    print("%s: set-up %s$ %s\n%s" % (name, user, command, said))
                    return False
                continue
            output, wanted = masked(said, base), masked("\n".join(expected), base)
            if not agrees(output, wanted):
                print("%s: %s$ %s" % (name, user, command))
                print("\n".join(difflib.unified_diff(wanted.split("\n"), output.split("\n"),
                                                     "expected", "came out", lineterm="")))
                return False
    return True


def play(directory, trevault, path):
    base = pathlib.Path(directory).resolve()
    base.mkdir(parents=True)
    text = path.read_text()
    session = Session(base, trevault, text)
    for part in re.split(r"(?m)^(?=\S*\$ )", text):
        for user, command, expected in parse(part):
            command, said, _ = session.run(user, command, expected)
            if expected is not None:
                print("%s$ %s\n%s" % (user, command, said), end="", flush=True)
        told = re.findall(r"(?m)^# .*\n", part)
        print("\n" * bool(told) + "".join(told), end="", flush=True)


if __name__ == "__main__":
    if sys.argv[1] == "--play":
        sys.exit(play(sys.argv[2], *(pathlib.Path(name).resolve() for name in sys.argv[3:])))
    program = pathlib.Path(sys.argv[1]).resolve()
    passed = [check(program, path.name, text) for path in map(pathlib.Path, sys.argv[2:])
              for text in transcripts(path)]
    sys.exit(0 if all(passed) and passed else 1)
