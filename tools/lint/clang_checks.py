#!/usr/bin/env python3
"""Reads the C++ sources with Clang: its warnings, its thread safety analysis, and clang-tidy.

  clang_checks.py [--all] TREE BUILD

BUILD holds compile_commands.json. Only product sources are read (framework, host, src).

A source that was found clean is not read again until something that it is made of changes: the
source, our headers that it includes, its command, .clang-tidy or clang-tidy itself. What was found
clean is remembered as empty files in $XDG_CACHE_HOME/zel-lint, which trees share, as they share a
compiler cache; --all reads everything again.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

import includes

COMPONENTS = ("framework/", "host/", "src/")
# Words of a command that decide what Clang reads. What GCC alone knows is left out.
KEPT = re.compile(r"-[DI]|-isystem$|-std=|-W(?!error|shadow)")
EXTRA = ["-Wthread-safety", "-Wthread-safety-beta", "-Wno-unknown-warning-option", "-Wno-varargs"]
FINDING = re.compile(r"^(\S+?):(\d+):\d+: (?:warning|error): (.*?)(?: \[([\w.,-]+)\])?$")
REMEDY = {
    "clang-diagnostic-thread-safety": "hold the mutex, or say REQUIRES(mutex) at the declaration",
}
NOLINT = "mend it, or write // NOLINT({check}) with the reason beside it"


class Source:
    def __init__(self, tree, entry):
        self.tree = tree
        self.path = pathlib.Path(entry["file"])
        self.name = self.path.relative_to(tree).as_posix()
        self.command = flags(entry)

    def key(self, setting):
        """Changes with everything that a reading of this source depends on."""
        digest = hashlib.sha256(setting)
        for word in self.command:
            digest.update(word.replace(str(self.tree), ".").encode() + b"\0")
        for path in closure(self.tree, self.path):
            digest.update(path.relative_to(self.tree).as_posix().encode() + b"\0")
            digest.update(hashlib.sha256(path.read_bytes()).digest())
        return digest.hexdigest()


def flags(entry):
    """The part of a command that decides what the source means."""
    words = entry.get("arguments") or shlex.split(entry["command"])
    kept = []
    for before, word in zip(["", *words], words):
        if KEPT.match(word) or before == "-isystem":
            kept.append(word)
    return kept


def closure(tree, path):
    """The file and all headers of ours that it includes, directly or not."""
    seen, waiting = set(), [path]
    while waiting:
        each = waiting.pop()
        if each not in seen:
            seen.add(each)
            for _, target, _ in includes.includes(tree, each):
                if target:
                    waiting.append(tree / target)
    return sorted(seen)


def read(source):
    """What Clang says of a source, as lines for people."""
    command = ["clang-tidy", "--quiet", f"--config-file={source.tree}/.clang-tidy"]
    command += [str(source.path), "--", *source.command, *EXTRA]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    lines = []
    for line in done.stdout.splitlines():
        found = FINDING.match(line)
        if found:
            path, number, text, check = found.groups()
            check = (check or "").split(",")[0]
            remedy = next((REMEDY[start] for start in REMEDY if check.startswith(start)), None)
            remedy = remedy or NOLINT.format(check=check)
            path = os.path.relpath(path, source.tree)
            lines.append(f"{path}:{number}: {text} [{check}]: {remedy}")
    if done.returncode != 0 and not lines:
        lines.append(f"{source.name}:1: clang-tidy could not read it: {done.stderr.strip()[-500:]}")
    return lines


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--all", action="store_true")
    parser.add_argument("tree", type=pathlib.Path)
    parser.add_argument("build", type=pathlib.Path)
    arguments = parser.parse_args()
    tree = arguments.tree.resolve()
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, check=True).stdout
    setting = version + (tree / ".clang-tidy").read_bytes() + " ".join(EXTRA).encode()
    home = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    clean = pathlib.Path(home) / "zel-lint"
    clean.mkdir(parents=True, exist_ok=True)

    sources = {}
    for entry in json.loads((arguments.build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(tree) and path.suffix == ".cpp":
            source = Source(tree, entry)
            if source.name.startswith(COMPONENTS):
                sources[source.name] = source
    waiting = [(source, clean / source.key(setting)) for source in sources.values()]
    if not arguments.all:
        waiting = [(source, stamp) for source, stamp in waiting if not stamp.exists()]
    print(f"{len(waiting)} of {len(sources)} sources to read", file=sys.stderr)
    told = set()  # a finding in a header comes with each source that includes it
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        readings = {pool.submit(read, source): (source, stamp) for source, stamp in waiting}
        for reading in concurrent.futures.as_completed(readings):
            lines = reading.result()
            source, stamp = readings[reading]
            if not lines and stamp.name == source.key(setting):  # else edited meanwhile
                stamp.touch()
            for line in lines:
                if line not in told:
                    told.add(line)
                    print(line, flush=True)
    return 1 if told else 0


if __name__ == "__main__":
    sys.exit(main())
