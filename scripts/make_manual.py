#!/usr/bin/env python3
"""Makes the manual of trevault from its help: make_manual.py TREVAULT SCDOC SOURCES OUT

OUT gets the page of each command, in the forms of scdoc and of man. SOURCES has the pages that
people wrote, in the form of scdoc; a line "@commands@" or "@options@" there stands for the list of
the program.
"""
import os
import pathlib
import re
import subprocess
import sys

QUOTED = re.compile(r"(?<!\w)'([^']+)'(?!\w)")


def escaped(text):
    return re.sub(r"([\\_*|\[\]#])", r"\\\1", text)


def bold(text):
    return "*%s*" % escaped(text)


def prose(text):
    """What is quoted becomes bold."""
    parts = QUOTED.split(" ".join(text.split()))
    return "".join(bold(part) if place % 2 else escaped(part) for place, part in enumerate(parts))


def definitions(rows):
    return ["%s\n\t%s\n" % (name, prose(meaning)) for name, meaning in rows]


def option(name):
    """ "-m, --message TEXT": the words of the option bold, the value underlined."""
    return " ".join(bold(word) if word.startswith("-") else "_%s_" % escaped(word)
                    for word in re.sub(", ", ",", name).split(" ")).replace(",", "*, *")


class Page:
    """The parts of a page of help: paragraphs and tables between blank lines."""

    def __init__(self, text):
        self.usage, self.summary, *blocks = re.split(r"\n\s*\n", text.strip("\n"))
        self.usage = self.usage.removeprefix("usage: ")
        self.text, self.words, self.options, self.globals = [], [], [], []
        for block in blocks:
            title = block.split("\n")[0].lower()
            if title == "options of all commands":
                self.globals = rows(block)
            elif title.startswith("options"):
                self.options = rows(block)
            elif re.match(r"  \S", block):
                self.words = rows(block)
            elif block.startswith("    "):
                self.text.append("```\n%s\n```" % re.sub("(?m)^    ", "", block))
            else:
                self.text.append(prose(block))

    def synopsis(self):
        command = re.match(r"trevault( [a-z-]+)*", self.usage)[0]
        rest = re.sub(r"[A-Z]+", lambda match: "_%s_" % match[0],
                      re.sub(r"([\[\]])", r"\\\1", self.usage[len(command):]))
        return bold(command) + rest

    def body(self):
        return self.text or sys.exit("%s: src/cli/commands/manual.cpp says nothing of it" % self.usage)

    def legend(self):
        return definitions(("_%s_" % word, meaning) for word, meaning in self.words) + \
            definitions((option(name), meaning) for name, meaning in self.options)

    def mentions(self):
        return set(re.findall(r"trevault ([a-z-]+)", " ".join(self.text)))


def rows(block):
    return re.findall(r"(?m)^  (\S.*?)(?:  +(.*))?$", block)


def related(name, pages_of):
    """The pages that this one mentions, and those that mention it."""
    mentioned = {one: set().union(*(page.mentions() for page in pages)) for one, pages in pages_of.items()}
    names = {one for one in pages_of if one in mentioned[name] or name in mentioned[one]} - {name}
    return ", ".join("*%s*(1)" % page for page in ["trevault"] + ["trevault-" + one for one in sorted(names)])


def command_page(name, pages_of):
    """A command's page; of those with a second word one for all."""
    pages = pages_of[name]
    first = pages[0]
    lines = ["trevault-%s(1)" % name, "# NAME", "trevault-%s - %s" % (name, prose(first.summary)), "# SYNOPSIS"]
    members = pages[1:] or pages
    lines += ["++\n".join(page.synopsis() for page in members), "# DESCRIPTION"]
    if members == pages:
        lines += [*first.body(), "# OPTIONS", *first.legend()]
    else:
        for page in members:
            lines += ["## " + re.match(r"trevault( [a-z-]+)*", page.usage)[0], *page.body(), *page.legend()]
        lines.append("# OPTIONS")
    lines += ["All commands take the options of *trevault*(1), too.", "# SEE ALSO", related(name, pages_of)]
    return "\n\n".join(lines) + "\n"


def main(trevault, scdoc, sources, out):
    def page_of(*command):
        return Page(subprocess.run([trevault, "help", *command], check=True, capture_output=True, text=True,
                                   env={**os.environ, "LC_ALL": "C.UTF-8"}).stdout)

    out.mkdir(parents=True, exist_ok=True)
    for old in out.iterdir():
        old.unlink()
    overview = page_of()
    commands = rows(overview.summary)
    firsts = {}
    for name, _ in commands:
        words = name.split(",")[0].split(" ")
        group = firsts.setdefault(words[0], [page_of(words[0])])
        if len(words) > 1:
            group.append(page_of(*words))
    for name in firsts:
        (out / ("trevault-%s.1.scd" % name)).write_text(command_page(name, firsts))
    for name, alias in re.findall(r"(?m)^  ([a-z]+), ([a-z]+) ", overview.summary):
        (out / ("trevault-%s.1" % alias)).write_text(".so man1/trevault-%s.1\n" % name)
    lists = {"@commands@": definitions(("*trevault-%s*(1)" % name, pages[0].summary)
                                       for name, pages in firsts.items()),
             "@options@": definitions((option(name), meaning) for name, meaning in page_of("help").globals)}
    for source in sources.glob("*.scd"):
        lines = [("\n".join(lists.get(line, [line]))) for line in source.read_text().split("\n")]
        (out / source.name).write_text("\n".join(lines))
    for page in out.glob("*.scd"):
        with open(page) as text, open(page.with_suffix(""), "w") as made:
            subprocess.run([scdoc], stdin=text, stdout=made, check=True)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4]))
