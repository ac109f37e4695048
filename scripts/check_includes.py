#!/usr/bin/python3
"""Checks every include of the sources against the tables of docs/architecture.md.

    scripts/check_includes.py [ROOT]

Prints one line for each fault, `file:line: room X may not include Y`, and exits with 1 if there is
any. Two tables are read, by the first word of their header:

- "room": names of folders ("camera/") or of one class's files ("app/Capture"), the names that they
  may include, and the libraries. "everything" exempts a room. A file belongs to the row with the
  longest matching name, and may always include its own room.
- "library": patterns of the library's headers. Headers of the C++ library and of Qt that match no
  pattern are allowed everywhere.
"""

import fnmatch
import pathlib
import re
import sys

PAGE = "docs/architecture.md"
SUFFIXES = (".h", ".hpp", ".c", ".cpp")
EVERYTHING = "everything"
INCLUDE = re.compile(r"\s*#\s*include(?:_next)?\s*(.*)")
QUOTED = re.compile(r'([<"])([^>"]+)[>"]')
# <vector> and <cstdio>, <QString> and <QtMath>.
EVERYWHERE = re.compile(r"[a-z0-9_]+|Qt?[A-Z][A-Za-z0-9]*|Qt(Core|Gui|Widgets)/.*")


class Fault(Exception):
    """The page has no usable tables."""


class Row:
    """What the files of some rooms may include."""

    def __init__(self, line, rooms, allowed, libraries):
        self.line = line
        self.rooms = rooms
        self.allowed = allowed
        self.libraries = libraries


def contains(room, path):
    """Whether `path` lies in a folder ("camera/") or is a file of a class ("app/Capture")."""
    if room.endswith("/"):
        return path.startswith(room)
    return path == room or path.rpartition(".")[0] == room


def cells_of(line):
    return [cell.strip() for cell in line.strip().strip("|").split("|")]


def table(lines, title):
    """The rows of the table whose first header cell is `title`: line number and cells."""
    rows = []
    inside = False
    for number, line in enumerate(lines, 1):
        if not line.startswith("|"):
            inside = False
        elif cells_of(line)[0] == title:
            inside = True
        elif inside and not set(line) <= set("|-: "):
            rows.append((number, cells_of(line)))
    if not rows:
        raise Fault(f"{PAGE}:1: no table of each {title}")
    return rows


def names_in(cell):
    return re.findall(r"`([^`]+)`", cell)


def words_in(cell):
    return [word.strip() for word in cell.split(",") if word.strip() not in ("", "–")]


def read_page(root):
    """The rows, and the patterns of each library."""
    page = root / PAGE
    if not page.exists():
        raise Fault(f"{PAGE}:1: missing")
    lines = page.read_text().splitlines()
    libraries = {name: names_in(patterns) for _, (name, patterns) in table(lines, "library")}
    rows = []
    for number, (rooms, allowed, used) in table(lines, "room"):
        everything = EVERYTHING in words_in(allowed)
        row = Row(number, names_in(rooms), None if everything else names_in(allowed),
                  words_in(used))
        if not row.rooms:
            raise Fault(f"{PAGE}:{number}: a row without a room")
        for name in row.libraries:
            if name not in libraries and not everything:
                raise Fault(f"{PAGE}:{number}: no headers are named for {name}")
        rows.append(row)
    return rows, libraries


def sources_of(root):
    """The C++ files, by their paths from the root."""
    folders = [folder for folder in root.iterdir()
               if folder.is_dir() and folder.name != "build" and not folder.name.startswith(".")]
    files = [file for file in root.iterdir() if file.is_file()]
    files += [file for folder in folders for file in folder.rglob("*")]
    return sorted(str(file.relative_to(root)) for file in files if file.suffix in SUFFIXES)


def includes_in(root, path):
    """Line number, bracket and header of each include, also of those in window descriptions."""
    text = (root / path).read_text(errors="replace")
    for number, line in enumerate(text.splitlines(), 1):
        if not (include := INCLUDE.match(line)):
            continue
        if not (header := QUOTED.match(include[1])):
            yield number, "", include[1]
            continue
        yield number, header[1], header[2]
        if header[2].startswith("ui_"):
            window = root / "resources" / (header[2][len("ui_"):-len(".h")] + ".ui")
            for widget in re.findall("<header>(.*)</header>", window.read_text()):
                yield number, '"', widget


class Checker:
    def __init__(self, root):
        self.root = root
        self.rows, self.libraries = read_page(root)
        self.sources = sources_of(root)

    def faults(self):
        yield from self.stale_names()
        for path in self.sources:
            yield from self.faults_of(path)

    def stale_names(self):
        for row in self.rows:
            for name in row.rooms + (row.allowed or []):
                if not any(contains(name, path) for path in self.sources):
                    yield f"{PAGE}:{row.line}: {name} names no file"

    def home_of(self, path):
        """The room and the row of a file; None without a row."""
        homes = [(room, row) for row in self.rows for room in row.rooms if contains(room, path)]
        return max(homes, key=lambda home: len(home[0]), default=None)

    def faults_of(self, path):
        home = self.home_of(path)
        if home is None:
            yield f"{path}:1: no row of {PAGE} names its room"
            return
        room, row = home
        if row.allowed is None:
            return
        for number, bracket, header in includes_in(self.root, path):
            if not self.allows(row, room, path, bracket, header):
                yield f"{path}:{number}: room {room} may not include {self.described(header)}"

    def allows(self, row, room, path, bracket, header):
        if library := self.library_of(header):
            return library in row.libraries
        if bracket == "<":
            return EVERYWHERE.fullmatch(header) is not None
        if header in self.sources:
            return any(contains(name, header) for name in [room, *row.allowed])
        # Generated by uic and moc from files that are checked.
        return header.startswith("ui_") or header == f"{pathlib.Path(path).stem}.moc"

    def library_of(self, header):
        for name, patterns in self.libraries.items():
            if any(fnmatch.fnmatchcase(header, pattern) for pattern in patterns):
                return name
        return None

    def described(self, header):
        library = self.library_of(header)
        return f"{header} ({library})" if library else header


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).parents[1]
    try:
        faults = list(Checker(root.resolve()).faults())
    except Fault as fault:
        faults = [fault]
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
