#!/usr/bin/env python3
"""Finds circles among the packages of Java source trees.

  java_packages.py [source-tree...]

A source tree is a folder that holds packages (java/jmx/src); without one, those of the toolkit
and of the application are looked at. Package a needs package b when a source file of a imports
from b, or names a class of b in full. Packages that need each other, directly or by way of
others, can only be understood, tested and moved together.

Prints each circle with the imports that tie it, and ends with status 1 when there is one.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
TREES = ["java/toolkit/src", "java/jmx/src"]

NO_CODE = re.compile(
    r'"""(?:\\.|[^\\])*?"""'  # text block
    r'|"(?:\\.|[^"\\\n])*"'  # string
    r"|'(?:\\.|[^'\\\n])+'"  # character
    r"|/\*.*?\*/|//[^\n]*",  # comments
    re.DOTALL,
)
QUALIFIED = re.compile(r"\b[a-z_][a-z0-9_]*(?:\.[a-z_][a-z0-9_]*)+(?=\s*\.\s*(?:[A-Z]|\*))")
PACKAGE = re.compile(r"\bpackage\s+([\w.]+)\s*;")


class Use:
    """One place where a package names another."""

    def __init__(self, path, line, text):
        self.path, self.line, self.text = path, line, text

    def __str__(self):
        return f"{self.path}:{self.line}: {self.text}"


def without_comments_and_strings(source):
    """The code, with each line where it was."""
    return NO_CODE.sub(lambda found: re.sub(r"[^\n]", " ", found.group()), source)


def read(trees):
    """{package: {package that it needs: [Use]}} of all sources in the trees."""
    sources = []
    for tree in trees:
        for path in sorted(tree.rglob("*.java")):
            code = without_comments_and_strings(path.read_text(encoding="utf-8"))
            declared = PACKAGE.search(code)
            if declared:
                sources.append((path, declared.group(1), code))
    needs = {package: {} for _, package, _ in sources}
    for path, package, code in sources:
        for number, line in enumerate(code.splitlines(), 1):
            if PACKAGE.search(line):
                continue
            for other in QUALIFIED.findall(line):
                if other in needs and other != package:
                    needs[package].setdefault(other, []).append(Use(path, number, line.strip()))
    return needs


def knots(needs):
    """The sets of two or more packages of which each reaches each other one."""
    reach = {package: reached(needs, package) for package in needs}
    found = {frozenset(b for b in reach[a] if a in reach[b]) for a in needs}
    return sorted((sorted(knot) for knot in found if len(knot) > 1))


def reached(needs, start):
    seen, waiting = set(), list(needs[start])
    while waiting:
        package = waiting.pop()
        if package not in seen:
            seen.add(package)
            waiting.extend(needs[package])
    return seen


def shortest_circle(needs, knot):
    """A shortest way through the knot from a package back to itself."""
    best = None
    for start in knot:
        ways = [[start]]
        seen = set()
        while ways and (best is None or len(ways[0]) < len(best)):
            way = ways.pop(0)
            for after in sorted(needs[way[-1]]):
                if after == start:
                    if best is None or len(way) + 1 < len(best):
                        best = way + [start]
                elif after in knot and after not in seen:
                    seen.add(after)
                    ways.append(way + [after])
    return best


def shown(path):
    return path.relative_to(ROOT) if path.is_relative_to(ROOT) else path


def report(needs, knot):
    circle = shortest_circle(needs, knot)
    print("packages in a circle: " + " -> ".join(circle))
    if len(knot) > len(circle) - 1:
        print("  tied together with it: " + ", ".join(knot))
    for package, other in zip(circle, circle[1:]):
        print(f"  {package} needs {other}:")
        for use in needs[package][other]:
            print(f"    {shown(use.path)}:{use.line}: {use.text}")


def main(arguments):
    trees = [pathlib.Path(a).resolve() for a in arguments] or [ROOT / tree for tree in TREES]
    for tree in trees:
        if not tree.is_dir():
            print(f"{tree}: no such folder", file=sys.stderr)
            return 2
    needs = read(trees)
    if not needs:
        print(f"no Java sources in {', '.join(map(str, trees))}", file=sys.stderr)
        return 2
    found = knots(needs)
    for knot in found:
        report(needs, knot)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
