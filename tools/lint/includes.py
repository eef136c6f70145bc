#!/usr/bin/env python3
"""Holds the includes of the C++ sources against the tables in docs/architecture.md.

  includes.py [tree]

The section "Who includes whom" has two tables. In the first, a folder may include its own headers,
those of the folders (or the single headers) that its row names, and whatever those may include in
turn; folders in one row count as one. In the second, a library's headers are for the folders that
its row names.

Prints each include that is not allowed, and ends with status 1 when there is one.
"""

import pathlib
import re
import sys

DOCUMENT = "docs/architecture.md"
HEADING = "## Who includes whom"
# Where a quoted include is looked for, beside the folder of the file itself.
ROOTS = ["framework/src", "framework/include", "src", "host"]
COMPONENTS = ["framework/include", "framework/src", "src", "host"]
INCLUDE = re.compile(r'\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')


def rows(text):
    """The rows of the section's tables: the names in the first cell, those in the second."""
    section = text.partition(HEADING)[2].partition("\n## ")[0]
    found = []
    for line in section.splitlines():
        cells = line.split("|")
        if len(cells) == 4:
            names = [re.findall(r"`([^`]+)`", cell) for cell in cells[1:3]]
            if names[0]:
                found.append([[name.rstrip("/") for name in cell] for cell in names])
    return found


class Permissions:
    """Who may include what."""

    def __init__(self, table):
        self.libraries = {}  # start of the name of a library's header -> folders
        self.mates = {}  # folder -> the folders of its row
        self.bases = {}  # folder -> what it builds on
        for firsts, seconds in table:
            for first in firsts:
                if first.startswith("<"):
                    self.libraries[first.strip("<>")] = seconds
                else:
                    self.mates[first] = firsts
                    self.bases[first] = seconds
        self.reach = {folder: self._reach(folder, set()) for folder in self.bases}

    def _reach(self, folder, seen):
        if folder not in seen:
            seen.add(folder)
            for base in self.mates.get(folder, []) + self.bases.get(folder, []):
                self._reach(base, seen)
        return seen

    def folder(self, path):
        """The folder of the table that a file belongs to: the nearest above it."""
        for above in pathlib.PurePosixPath(path).parents:
            if str(above) in self.bases:
                return str(above)
        return None

    def whose(self, header):
        """The folders that a library's header is for; None when the document does not say."""
        for start, folders in self.libraries.items():
            if header.startswith(start):
                return folders
        return None


def sources(tree):
    for component in COMPONENTS:
        for path in sorted((tree / component).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path


def resolve(tree, path, name):
    """The file of the tree that a quoted include means, relative to it; None for another's."""
    for folder in [path.parent, *(tree / root for root in ROOTS)]:
        candidate = folder / name
        if candidate.is_file():
            resolved = candidate.resolve()
            if resolved.is_relative_to(tree):
                return resolved.relative_to(tree).as_posix()
    return None


def includes(tree, path):
    """(line number, file of the tree or None, name of a library's header or None)."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        found = INCLUDE.match(line)
        if found:
            quoted, angled = found.groups()
            yield number, quoted and resolve(tree, path, quoted), angled


def complaints(tree, permissions):
    for path in sources(tree):
        name = path.relative_to(tree).as_posix()
        folder = permissions.folder(name)
        if folder is None:
            yield f"{name}:1: its folder is not in the table of {DOCUMENT}: add a row for it"
            continue
        for number, target, library in includes(tree, path):
            where = f"{name}:{number}"
            if library:
                owners = permissions.whose(library)
                if owners is not None and folder not in owners:
                    yield (
                        f"{where}: <{library}> is for {', '.join(owners)} only ({DOCUMENT}): call "
                        f"what they offer"
                    )
            elif target:
                goal = permissions.folder(target)
                if goal not in permissions.reach[folder] and target not in permissions.reach[folder]:
                    yield (
                        f"{where}: {folder} may not include {target} ({DOCUMENT}): move what "
                        f"both need into a folder below, or hand it in from above"
                    )


def circles(permissions):
    for folder, reach in permissions.reach.items():
        for base in permissions.bases[folder]:
            if folder in permissions.reach.get(base, ()):
                yield f"{DOCUMENT}:1: {folder} and {base} build on each other in its table"


def main():
    tree = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    document = tree / DOCUMENT
    table = rows(document.read_text(encoding="utf-8"))
    if not table:
        print(f'{DOCUMENT}:1: has no table under "{HEADING}": write who may include whom there')
        return 1
    permissions = Permissions(table)
    found = [*circles(permissions), *complaints(tree, permissions)]
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
