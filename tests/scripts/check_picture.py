#!/usr/bin/env python3
"""Draws made-up histories and looks at them: check_picture.py PICTURE

Nothing may cover anything else, as far as fonts can be guessed; branches must not share a lane at one
time; and whatever the texts hold, they are text: only elements that a picture is made of are there.
"""
import itertools
import re
import subprocess
import sys
import unicodedata
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"
ELEMENTS = {"svg", "title", "desc", "style", "rect", "g", "path", "circle", "text"}
ATTRIBUTES = {"class", "role", "width", "height", "viewBox", "x", "y", "rx", "cx", "cy", "r", "d"}
SIZES = {"title": 20, "summary": 13, "number": 13, "time": 12, "author": 14, "message": 14, "name": 12}


def text_width(text, kind):
    """As a common wide font has it."""
    def letter(each):
        if unicodedata.combining(each):
            return 0
        if unicodedata.east_asian_width(each) in "WF":
            return 1
        if kind in ("number", "time", "name"):
            return 0.602
        if each in "ijlI.,:;' ":
            return 0.32
        return 0.99 if each in "mWM@" else 0.72 if each.isupper() else 0.58
    return SIZES[kind] * sum(map(letter, text))


def outline(path):
    """The box of a path: all the points that it goes through."""
    x = y = 0
    points = []
    for command, numbers in re.findall(r"([A-Za-z])([^A-Za-z]*)", path):
        values = [float(each) for each in re.findall(r"-?[\d.]+", numbers)]
        if command in "Hh":
            x = values[0] + (x if command == "h" else 0)
        elif command in "Vv":
            y = values[0] + (y if command == "v" else 0)
        elif command != "z":
            isFar = command.islower()
            if command == "a":  # Half a circle, to the right on its way down.
                points.append((x + values[0] * (1 if values[-1] > 0 else -1), y))
            x, y = values[-2] + (x if isFar else 0), values[-1] + (y if isFar else 0)
        points.append((x, y))
    return (min(p[0] for p in points), min(p[1] for p in points),
            max(p[0] for p in points), max(p[1] for p in points))


def within(inner, outer):
    return (inner[0] >= outer[0] and inner[1] >= outer[1] and inner[2] <= outer[2]
            and inner[3] <= outer[3])


def overlap(left, right):
    return (left[0] < right[2] and right[0] < left[2] and left[1] < right[3] and right[1] < left[3])


def box_of_text(element):
    kind = element.get("class")
    width = text_width(element.text or "", kind)
    x = float(element.get("x")) - (width / 2 if kind == "name" else 0)
    y = float(element.get("y"))
    return (x, y - 0.75 * SIZES[kind], x + width, y + 0.2 * SIZES[kind])


def faults(svg, revisions):
    root = ElementTree.fromstring(svg)
    for element in root.iter():
        if element.tag.replace(SVG, "") not in ELEMENTS or not set(element.attrib) <= ATTRIBUTES:
            yield "%s %s doesn't belong there" % (element.tag, element.attrib)
    paper = (0, 0, float(root.get("width")), float(root.get("height")))
    boxes = []
    for mark in root.iter(SVG + "g"):
        if not mark.get("class").startswith("mark"):
            continue
        shape = next(each for each in mark if each.get("class") == "shape")
        name = mark.find(SVG + "text")
        boxes.append((outline(shape.get("d")), name.text))
        if not within(box_of_text(name), boxes[-1][0]):
            yield "%r is larger than its mark" % name.text
    boxes += [(box_of_text(each), each.text) for each in root.iter(SVG + "text")
              if each.get("class") != "name"]
    nodes = [each for each in root.iter(SVG + "circle") if each.get("class").startswith("node")]
    if len(nodes) != revisions:
        yield "%d of %d revisions are there" % (len(nodes), revisions)
    for node in nodes:
        x, y, r = (float(node.get(name)) for name in ("cx", "cy", "r"))
        boxes.append(((x - r, y - r, x + r, y + r), "a node"))
    for box, what in boxes:
        if box[2] - box[0] > 600:
            yield "%r should be cut" % what
        if not within(box, paper):
            yield "%r is out of the picture" % what
    boxes.sort(key=lambda each: each[0][1])
    for place, (box, what) in enumerate(boxes):
        below = itertools.takewhile(lambda each: each[0][1] < box[3], boxes[place + 1:])
        yield from ("%r covers %r" % (what, other) for more, other in below if overlap(box, more))
    lanes = {}
    for line in root.iter(SVG + "path"):
        if line.get("class").startswith("line"):
            path = line.get("d")
            tip = float(re.search(r"V([\d.]+)$", path)[1])
            x, low = re.search(r"M([\d.]+) ([\d.]+)V|([\d.]+) ([\d.]+)V", path)[0].strip("MV").split(" ")
            lanes.setdefault(float(x), []).append((tip, float(low)))
    for x, lines in lanes.items():
        lines.sort()
        if any(first[1] >= second[0] for first, second in zip(lines, lines[1:])):
            yield "two branches are in the lane at %s" % x


def main(program):
    found = 0
    texts = ""
    for seed, revisions in [(1, 1), (2, 3), (3, 40), (4, 300), (5, 300), (6, 1000)]:
        svg = subprocess.run([program, str(seed), str(revisions)], stdout=subprocess.PIPE, check=True)
        for fault in faults(svg.stdout, revisions):
            print("seed %d: %s" % (seed, fault))
            found += 1
        texts += "".join(ElementTree.fromstring(svg.stdout).itertext())
    for hostile in ["<script>alert(1)</script>", "]]>", "&amp;", "\"onload=\"", "\ufffd[2J"]:
        if hostile not in texts:
            print("%s doesn't show as it is" % hostile)
            found += 1
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
