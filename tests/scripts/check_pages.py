#!/usr/bin/env python3
"""Writes the pages of projects and looks at them, and has them served: check_pages.py TREVAULT [MAKE_SAMPLE]

They say what the commands say; all their links lead somewhere; whatever names and messages hold, it
is text; in Chromium, if it is there, nothing covers anything at three widths; and whatever is asked
of the server, it answers with a page or refuses.
"""
import asyncio
import html
import html.parser
import http.client
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import urllib.parse

HERE = pathlib.Path(__file__).resolve().parent
HOSTILE = [b"<script>alert(1)<", b'"onload=x', b"%2e%2e", b"caf\xe9", b"a\xe2\x80\xaec", b"a&lt", b"..."]
# All that could make a page endless: what the page of what is different says instead.
LONG = {"line.txt": ["more bytes", "Not all is shown here; "], "rows.txt": ["more lines", "Not all is shown here; "],
        **dict.fromkeys(["many.txt", "huge.bin", "huge.gif"], ["Too large to be shown here; "])}
VOID = {"meta", "link", "input", "img", "col"}
FAULTS = []


def expect(isTrue, what):
    if not isTrue:
        FAULTS.append(what)


class Reader(html.parser.HTMLParser):
    """What a page has: its links, its texts by class, and elements that don't belong there."""

    def __init__(self, text):
        super().__init__()
        self.links, self.texts, self.classes, self.open, self.faults = [], [], {}, [], []
        self.rows = []  # The texts of each row of a list.
        self.feed(text)
        if self.open:
            self.faults.append("%s are not closed" % self.open)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name.startswith("on") or name == "style":
                self.faults.append("has %s=%r" % (name, value))
            if name in ("href", "src", "action") and not value.startswith("data:"):
                self.links.append(value)
        if tag == "style" or (tag == "script" and "src" not in dict(attributes)):
            self.faults.append("has a %s inside" % tag)
        if tag in ("li", "tr", "summary"):
            self.rows.append([])
        if tag not in VOID:
            self.open.append((tag, dict(attributes).get("class") or ""))

    def handle_startendtag(self, tag, attributes):
        self.handle_starttag(tag, attributes)
        self.handle_endtag(tag)

    def handle_endtag(self, tag):
        if not self.open or self.open.pop()[0] != tag:
            self.faults.append("%s ends where it should not" % tag)

    def handle_data(self, data):
        self.texts.append(data)
        if self.rows and data.strip():
            self.rows[-1].append(data)
        for tag, name in self.open[-1:]:
            self.classes.setdefault(name or tag, []).append(data)


class Person:
    """A user of the program, in the day that was played below `base`."""

    def __init__(self, trevault, base, **more):
        self.trevault, self.home = trevault, base / "home" / "ann"
        self.environment = {**os.environ, "HOME": str(self.home), "TEAM_USER": "ann", "TREVAULT_HINTS": "0",
                            "KSTR_INI": str(self.home / ".config/trevault/KSTR.INI"), **more}

    def run(self, *words, place=None, check=True):
        return subprocess.run([self.trevault, *words], stdout=subprocess.PIPE, check=check,
                              cwd=place or self.home / "station", env=self.environment).stdout

    def write_pages(self, out, *words, place=None):
        """Something in each database can't be read: the pages are there, and the command fails."""
        run = subprocess.run([self.trevault, "pages", "-q", *words, out], cwd=place or self.home / "station",
                             env=self.environment)
        expect(run.returncode == 1, "pages ended with %d" % run.returncode)

    def ask(self, *words):
        return json.loads(self.run("-p", "Pump Station", *words, "--json"))["items"]


def read_pages(top):
    pages = {path.relative_to(top).as_posix(): Reader(path.read_text("utf-8"))
             for path in top.rglob("*.html")}
    for name, page in pages.items():
        for fault in page.faults:
            FAULTS.append("%s: %s" % (name, fault))
        for link in page.links:
            target = top / pathlib.PurePosixPath(name).parent / urllib.parse.unquote(link)
            expect(target.is_file() and top in target.resolve().parents,
                   "%s leads to %s, which is not there" % (name, link))
    return pages


def slug(name):
    """What the address of its page has in common with others of its kind."""
    return name.lower().replace("/", "+") + ("~" if name.lower() != name else ".html")


def find(pages, end):
    found = [page for name, page in pages.items() if name.startswith("pump_station") and end in name]
    return found[0] if found else Reader("")


def minute(time):
    return time.replace("T", " ")[:16]


def rows_of(revision, *marks):
    return [revision["revision"], minute(revision["time"]), revision["author"], revision["message"], *marks]


def marks_of(revision, locks):
    lockers = ["locked by " + lock["user"] for lock in locks
               if (lock["file"], lock["revision"]) == (revision["file"], revision["revision"])]
    return lockers + revision["groups"] + revision["labels"]


def check_answers(person, pages):
    """Every row of the pages, made of what the commands say."""
    person.run("lock", "-q", "-m", "dry run", "src/valve.c")
    person.write_pages(person.home / "answers")
    pages = read_pages(person.home / "answers")
    locks, labels, labelled = person.ask("locks"), person.ask("labels"), {}
    groups = [each["group"] for each in person.ask("groups")]
    wanted = {"/index.html": [["src/", "1"]], "/labels.html": [["Label", "Files", "Newest revision"]],
              "/locks.html": [["File", "Revision", "User", "Since", "Why"]] + [
                  [lock["file"], lock["revision"], lock["user"], minute(lock["since"]), lock["note"]]
                  for lock in locks]}
    for file in [each["file"] for each in person.ask("list")]:
        told = person.ask("log", file)
        tip = next(each for each in told if each["branch"] == "1")
        standing = {group: each["revision"] for each in told for group in each["groups"]}
        lockers = ["locked by " + lock["user"] for lock in locks if lock["file"] == file]
        wanted["/index.html"].append([file.rpartition("/")[2], *rows_of(tip), *lockers, *[
            group if standing[group] == tip["revision"] else "%s %s" % (group, standing[group])
            for group in groups if group in standing], *tip["labels"]])
        wanted["/files/" + slug(file)] = [
            rows_of(each, *marks_of(each, locks), "%d B" % each["size"],
                    *["against %s" % each["parent"]] * bool(each["parent"])) for each in told]
        for each in told:
            for name in each["labels"]:
                labelled.setdefault(name, []).append([file, *rows_of(each)])
    for label in labels:
        expect(label["files"] == len(labelled[label["label"]]), "%s has other files" % label["label"])
        wanted["/labels/" + slug(label["label"])] = [["File", "Revision", "Time", "Author", "Message"],
                                                    *labelled[label["label"]]]
    for end, rows in wanted.items():
        found = [row for row in find(pages, end).rows if row]
        if end == "/labels.html":
            rows += [[each["label"], str(each["files"]), minute(each["newest"])] for each in labels]
            found = [row[:3] for row in found]
        # The order of what happened in one second is nobody's business.
        expect(sorted(found) == sorted(rows), "%s has %s, not %s" % (end, found, rows))
    entry, happened = [], []
    for row in find(pages, "/days.html").rows:
        entry = entry if len(row) == 2 else row
        happened += [[*entry[1:3], *row]] * (len(row) == 2)
        expect(row[2:3] != ["locked "] or row[1:] == ["ann", "locked ", "src/valve.c", " 1.1", "dry run"],
               "a lock shows as %s" % row)
    told = [[each["author"], each["message"], each["file"], each["revision"]] for each in person.ask("log")]
    expect(sorted(told) == sorted(happened), "the last days are %s, not %s" % (happened, told))
    sides = find(pages, "/revisions/pump.c/1.1..1.1.1.0")
    expect("int dry = 0;" in sides.texts, "what 1.1.1.0 added doesn't show")
    person.run("unlock", "src/valve.c")


def check_again(person, base):
    """Pages of what is gone go, and nothing else, whatever the list of pages says."""
    out, other, strange = base / "again", base / "other.html", "pump_station_kept.html"
    person.write_pages(out)
    kept = out / next(each.relative_to(out) for each in out.rglob("labels/*.html")).parent / "mine.html"
    for path in (kept, out / strange):
        path.write_text("mine")
    shutil.copy(out / "index.html", other)
    with (out / ".trevault-pages").open("a") as list_of_pages:
        list_of_pages.write("../other.html\n%s\n%s\n" % (other, strange))
    (out / "index.html").chmod(0o444)
    person.write_pages(out, "-p", "Unread")
    left = {path.relative_to(out).as_posix() for path in out.rglob("*") if path.is_file()}
    left = {each for each in left if not each.startswith("unread")}
    expect(left == {"index.html", "style.css", "script.js", ".trevault-pages", strange,
                    kept.relative_to(out).as_posix()} and other.is_file(), "again there is %s" % left)


def check_sample(trevault, make_sample, base):
    """A database whose archives only the library can read: the pages list them, and say what the commands do."""
    subprocess.run([sys.executable, make_sample, base / "db"], stdout=subprocess.DEVNULL, check=True)
    person = Person(trevault, base, KSTR_INI=str(base / "db/KSTR.INI"))
    person.home.mkdir(parents=True)
    person.write_pages(base / "out", place=base)
    pages = read_pages(base / "out")
    for project in json.loads((base / "db/expected.json").read_text())["projects"]:
        archives = project["archives"] + [each for folder in project["folders"] for each in folder["archives"]]
        name = project["name"].replace("\xfc", "_").lower().replace(" ", "_") + "~"
        of_project = {path.partition("/")[2]: page for path, page in pages.items() if path.startswith(name)}
        shown = [row[0] for row in of_project["index.html"].rows if row[-1] == "broken"]
        expect(sorted(shown) == sorted(each["workfile"] for each in archives),
               "%s has %s" % (project["name"], shown))
        if archives:
            problems = [page.classes["problem"] for path, page in of_project.items() if path.startswith("files/")]
            told = person.run("-p", project["name"], "log", "--json", place=base, check=False)
            expect(sorted(problems) == sorted([each["why"]] for each in json.loads(told)["errors"]),
                   "the files of %s tell %s" % (project["name"], problems))
            for page in ("labels.html", "locks.html", "days.html"):
                expect("%d files can't be read; what they tell is missing here" % len(archives)
                       in of_project[page].texts, "%s doesn't say what is missing" % page)


def add_hostile(person, work):
    unread = work.with_name("unread")
    unread.mkdir()
    person.run("project", "add", "Unread", str(unread), place=work)
    list_of_unread = person.home.parents[1] / "srv/team/db/Unread.prj/trvsfold.pub"
    list_of_unread.unlink()
    list_of_unread.mkdir()
    person.run("project", "add", "../<b>etc\"", str(work), place=work)
    for name in HOSTILE:
        pathlib.Path(os.fsdecode(os.path.join(os.fsencode(work), name))).write_bytes(b"text " + name)
    # An image of one point.
    (work / "dot.gif").write_bytes(b"GIF89a\x01\0\x01\0\x80\0\0\0\0\0\xff\xff\xff,\0\0\0\0\x01\0\x01\0\0\x02\x02D\x01\0;")
    (work / "data.bin").write_bytes(b"\0\1\2")
    (work / "words.c").write_text("int a;\n" * 20 + "int speed = 1; /* <slow> */\n")
    person.run("add", "-q", "-m", "<img src=x onerror=alert(1)>", ".", place=work)
    person.run("label", "-q", "<script>&\"", place=work)
    person.run("lock", "-q", "-m", "</td><script>", "data.bin", "words.c", place=work)
    (work / "words.c").write_text("int a;\n" * 20 + "int speed = 22; /* <slow> */\n")
    person.run("ci", "-q", "-m", "Faster", "words.c", place=work)
    (work.parent / "message").write_text("long é" * 9_000)
    for change in "ab":
        (work / "line.txt").write_text("é same" * 50_000 + " " + change + " same é" * 50_000)
        (work / "rows.txt").write_text("".join("%s %d\n" % (change, row) for row in range(30_000)))
        (work / "many.txt").write_text(change + "\n" * 200_001)
        (work / "huge.bin").write_bytes(b"\0" * 5_000_000 + change.encode())
        (work / "huge.gif").write_bytes(b"GIF89a" + b"\0" * 3_000_000 + change.encode())
        if change == "a":
            person.run("add", "-q", *LONG, place=work)
            person.run("lock", "-q", *LONG, place=work)
    person.run("ci", "-q", "-F", "../message", *LONG, place=work)


def check_hostile(pages):
    texts = [text for page in pages.values() for text in page.texts]
    for name in HOSTILE + [b"<img src=x onerror=alert(1)>", b"<script>&\"", b"</td><script>"]:
        shown = {b"caf\xe9": '"caf\\351"', b"a\xe2\x80\xaec": '"a\\342\\200\\256c"'}.get(name) or name.decode()
        expect(shown in texts, "%r doesn't show as it is" % name)
    sides = next(page for name, page in pages.items() if name.endswith("/words.c/1.0..1.1.html"))
    expect(sides.classes["mark"] == ["1", "22"], "%s are marked" % sides.classes["mark"])
    expect("16 equal lines" in sides.texts, "equal lines are not folded")
    for name, told in LONG.items():
        page = next(page for path, page in pages.items() if path.endswith(name + "/1.0..1.1.html"))
        for each in told + ["'trevault diff -r 1.0..1.1 %s' tells all" % name, "more bytes"]:
            expect(any(each in text for text in page.texts), "%s doesn't say %s" % (name, each))
        expect(sum(map(len, page.texts)) < 2_000_000, "%s is endless" % name)
        expect(name != "line.txt" or {"a", "b"} <= set(page.classes["mark"]), "line.txt marks %s" % page.classes.get("mark"))
    expect(any(len(each) == 16 and each.isalnum() for each in texts), "data.bin has no checksum")


# Looks for elements that stand on one another or out of the window, and tells the page around it.
PROBE = """<script>addEventListener('load',()=>{const found=[];
const width=document.documentElement.clientWidth;
if(document.documentElement.scrollWidth>width)found.push('wider than the window');
for(const all of document.querySelectorAll('.files li,.log li,.list tr,.events>li,.trail,.tabs,.facts,.cards,.both,.sides tr')){
const boxes=[...all.children].map(e=>[e,e.getBoundingClientRect()]).filter(([e,b])=>b.width&&b.height);
boxes.forEach(([e,a],i)=>{if(a.right>width+1)found.push(e.className+' out of the window');
for(const [o,b] of boxes.slice(i+1))if(a.left<b.right-1&&b.left<a.right-1&&a.top<b.bottom-1&&b.top<a.bottom-1)
found.push(e.textContent+' covers '+o.textContent)})}
parent.postMessage(location.pathname+' at '+width+': '+found.slice(0,3).join('; '),'*')})</script>"""
# A window can't be as narrow as a phone; a frame in one can.
AROUND = """<!DOCTYPE html><meta charset=utf-8><title></title><script>const told=[];
addEventListener('message',event=>{told.push(event.data);document.title=JSON.stringify(told)})</script>"""
WIDTHS = (360, 800, 1400)


def check_looks(chromium, top, pages):
    """One of each kind of page of each project, with the probe in it, in frames of all widths."""
    kinds = {(*name.split("/")[:2], "/line.txt/" in name): name for name in sorted(pages)}
    around = AROUND
    for name in kinds.values():
        copy = (top / name).with_name("probe_" + pathlib.PurePosixPath(name).name)
        copy.write_text((top / name).read_text("utf-8") + PROBE, "utf-8")
        for width in WIDTHS:
            around += '<iframe src="%s" width=%d height=900></iframe>' % (copy.as_uri(), width)
    (top / "around.html").write_text(around, "utf-8")
    run = subprocess.run([chromium, "--headless", "--no-sandbox", "--disable-gpu", "--enable-logging=stderr",
                          "--window-size=1500,900", "--virtual-time-budget=10000", "--dump-dom",
                          (top / "around.html").as_uri()], capture_output=True, text=True, timeout=300)
    told = json.loads(html.unescape(run.stdout.partition("<title>")[2].partition("</title>")[0] or "[]"))
    expect(len(told) == len(kinds) * len(WIDTHS), "%d pages were looked at" % len(told))
    FAULTS.extend(each for each in told if not each.endswith(": "))
    expect("CONSOLE" not in run.stderr, "the console says: " + run.stderr)


class Server:
    """'trevault serve', and what it answers."""

    def __init__(self, person):
        command = [person.trevault, "serve", "--port", "0", "--host", "Station"]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE,
                                        cwd=person.home, env=person.environment, text=True)
        line = self.process.stdout.readline()
        self.port = int(line.partition("127.0.0.1:")[2].partition("/")[0] or 0)

    def ask(self, path, method="GET", host=None, **headers):
        """The status, the headers and the body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        connection.putrequest(method, path, skip_host=True)
        if host != "":
            connection.putheader("Host", host or "localhost:%d" % self.port)
        for name, value in headers.items():
            connection.putheader(name, value)
        connection.endheaders()
        answer = connection.getresponse()
        return answer.status, answer.headers, answer.read().decode()

    def status(self, *words, **more):
        try:
            return self.ask(*words, **more)[0]
        except (http.client.HTTPException, ConnectionError):
            return 0

    async def ask_once(self, path):
        reader, writer = await asyncio.open_connection("127.0.0.1", self.port)
        writer.write(b"GET %s HTTP/1.1\r\nHost: localhost\r\n\r\n" % path.encode())
        answer = await reader.read()
        writer.close()
        return answer.startswith(b"HTTP/1.1 200 ") and answer.endswith(b"</html>")

    async def ask_often(self, path, count):
        return await asyncio.gather(*(self.ask_once(path) for _ in range(count)), return_exceptions=True)

    def end(self):
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(timeout=30)


def crawl(server):
    """All pages by their paths."""
    pages, left = {}, ["/"]
    while left:
        path = left.pop()
        if path in pages:
            continue
        status, headers, text = server.ask(path)
        expect(status == 200 and "default-src 'none'" in headers["Content-Security-Policy"],
               "%s gives %d" % (path, status))
        pages[path] = Reader(text if headers.get_content_type() == "text/html" else "")
        for fault in pages[path].faults:
            FAULTS.append("%s: %s" % (path, fault))
        left += [urllib.parse.urljoin(path, link) for link in pages[path].links
                 if not link.endswith("/choose")]
    return pages


def is_of_one_state(page):
    """Each turn is of one revision, and the locks are as many as the page says."""
    turns = [(text, row) for row in page.rows for text in row[:-1] if text.startswith("Turn ")]
    told = re.match(r"\d+ files?(?:, (\d+) lock)?", "".join(page.classes.get("summary", [])))
    locks = sum(text.startswith("locked by ") for row in page.rows for text in row)
    return (all("1.%d" % (int(text[5:]) + 2) in row for text, row in turns)
            and (told is None or int(told[1] or 0) == locks))


def check_at_work(server, person, top):
    """Browsers look while files come and go, and one is checked in again and again."""
    answers, isOver = [], threading.Event()

    def look():
        while not isOver.is_set():
            for page in ("/index.html", "/files/src+valve.c.html", "/days.html", "/labels.html"):
                status, _, text = server.ask(top + page)
                reader = Reader(text)
                answers.append(status == 200 and text.endswith("</html>") and "broken" not in text
                               and not reader.faults and is_of_one_state(reader))

    browsers = [threading.Thread(target=look) for _ in range(4)]
    for each in browsers:
        each.start()
    valve = person.home / "station/src/valve.c"
    for count in range(5):
        person.run("lock", "-q", str(valve))
        valve.write_text("int turns = %d;\n" % count)
        person.run("ci", "-q", "-m", "Turn %d" % count, str(valve))
        person.run("label", "-q", "TURN_%d" % count, str(valve))
        guest = "guest%d.c" % count
        (person.home / "station" / guest).write_text("int guest;\n")
        person.run("add", "-q", guest)
        person.run("rename", "-q", guest, "src/" + guest)
        person.run("remove", "-q", "-y", "src/" + guest)
    isOver.set()
    for each in browsers:
        each.join()
    expect(all(answers), "%d of %d pages fail while a team works" % (answers.count(False), len(answers)))
    expect("Turn 4" in server.ask(top + "/files/src+valve.c.html")[2], "the last check-in doesn't show")


def check_server(person, written):
    server = Server(person)
    second = subprocess.run([person.trevault, "serve", "--port", str(server.port)], cwd=person.home,
                            env=person.environment, capture_output=True, text=True, timeout=60)
    expect(second.returncode == 1, "two serve at one port: " + second.stdout)
    pages = crawl(server)
    expect(set(written) - {"index.html"} <= {each[1:] for each in pages}, "not all pages are served")
    station = next(each for each in pages if each.startswith("/pump_station") and each.endswith("index.html"))
    top = station.rpartition("/")[0]
    for what, status in {
            "traversal": server.status("/../../../etc/passwd"),
            "coded traversal": server.status("/%2e%2e/%2e%2e/etc/passwd"),
            "a directory above": server.status(top + "/files/../../../etc/passwd"),
            "an absolute path": server.status("//etc/passwd"),
            "a NUL": server.status("/index.html%00"),
            "no such revision": server.status(top + "/revisions/pump.c/1.0..9.9.html"),
            "a choice of nothing": server.status(top + "/revisions/pump.c/choose?from=..%2f&to=1.0")}.items():
        expect(status == 404, "%s gives %d" % (what, status))
    for what, status, wanted in [
            ("a strange host", server.status("/", host="evil.example"), 421),
            ("a name in other letters", server.status("/", host="sTation:1"), 200),
            ("no host", server.status("/", host=""), 421),
            ("a port that is none", server.status("/", host="localhost:evil"), 421),
            ("an address with its host", server.status("http://LOCALHOST:1/index.html"), 200),
            ("an address with a strange host", server.status("http://evil/"), 421),
            ("POST", server.status("/", method="POST"), 405),
            ("DELETE", server.status("/", method="DELETE"), 405),
            ("HEAD", server.status("/", method="HEAD"), 200),
            ("many ranges", server.status("/", Range="bytes=" + ",".join(["0-"] * 500)), 200)]:
        expect(status == wanted, "%s gives %d" % (what, status))
    for wanted, headers in {417: {"Expect": "100-continue"}, 416: {"Range": "bytes=5-2"}}.items():
        status, headers, text = server.ask("/", **headers)
        expect((status, text) == (wanted, "") and "Content-Security-Policy" in headers,
               "%d instead of %d: %s%s" % (status, wanted, headers, text))
    expect(server.status("/" + "x" * 100_000) in (0, 400, 414), "a long address is taken")
    expect(server.status("/", Cookie="x" * 100_000) in (0, 400, 431), "a long header is taken")
    for path, wanted in {top + "/revisions/pump.c/choose?from=1.0&to=1.2":
                         top + "/revisions/pump.c/1.0..1.2.html", top: top + "/"}.items():
        status, headers, _ = server.ask(path)
        expect(status == 303 and headers["Location"] == wanted, "%s leads to %s" % (path, headers["Location"]))
    person.run("lock", "-m", "seen at once", "README")
    expect("seen at once" in server.ask(top + "/locks.html")[2], "a new lock doesn't show")
    public = person.home.parents[1] / "srv/team/db"
    public.rename(public.with_name("away"))
    gone = [server.status(path) for path in ("/", "/", station)]
    public.with_name("away").rename(public)
    expect(gone == [500] * 3 and server.status(station) == 200, "without a database it gives %s" % gone)
    check_at_work(server, person, top)
    answers = asyncio.run(server.ask_often(station, 1000))
    expect(answers == [True] * 1000, "of 1000 at once %d are answered" % answers.count(True))
    expect(server.ask("/")[0] == 200 and server.end() == 0, "it doesn't end as it should")


def main(trevault, make_sample=None):
    trevault = str(pathlib.Path(trevault).resolve())
    with tempfile.TemporaryDirectory() as directory:
        base = pathlib.Path(directory).resolve()
        if make_sample is not None:
            check_sample(trevault, make_sample, base / "sample")
        subprocess.run([sys.executable, HERE / "check_transcript.py", "--play", base / "day", trevault,
                        HERE.parent / "transcripts/team_day.txt"], stdout=subprocess.DEVNULL, check=True)
        person = Person(trevault, base / "day")
        work = base / "hostile"
        work.mkdir()
        add_hostile(person, work)
        person.write_pages(base / "out")
        pages = read_pages(base / "out")
        check_answers(person, pages)
        check_hostile(pages)
        check_again(person, base)
        chromium = shutil.which("chromium")
        if chromium is None:
            print("no chromium here: nobody has looked at the pages")
        else:
            check_looks(chromium, base / "out", pages)
        resource.setrlimit(resource.RLIMIT_NOFILE, [resource.getrlimit(resource.RLIMIT_NOFILE)[1]] * 2)
        check_server(person, pages)
    print("\n".join(FAULTS))
    return 1 if FAULTS else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
