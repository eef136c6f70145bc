"""Feeds tools/lint.sh small trees with one thing wrong, and sees each rule refuse it."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

LOCKED = """
#include "agentfw/mutex.h"

class Counter {
 public:
  void bump() {
    %s++count_;
  }

 private:
  fw::Mutex mutex_;
  int count_ GUARDED_BY(mutex_) = 0;
};

void bump() {
  Counter counter;
  counter.bump();
}
"""


class LintTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name).resolve() / "tree"
        self.cache = pathlib.Path(folder.name) / "cache"
        for name in (".clang-format", ".clang-tidy", "docs/architecture.md"):
            self.write(name, (ROOT / name).read_text(encoding="utf-8"))

    def write(self, name, text):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def lint(self, *arguments):
        return subprocess.run(
            [ROOT / "tools/lint.sh", "--tree", self.tree, *arguments],
            env={**os.environ, "XDG_CACHE_HOME": str(self.cache)},
            capture_output=True,
            text=True,
            check=False,
        )

    def passes(self, *arguments):
        done = self.lint(*arguments)
        self.assertEqual((done.stdout, done.returncode), ("", 0), done.stderr)

    def refuses(self, finding, *arguments):
        done = self.lint(*arguments)
        self.assertIn(finding, done.stdout, done.stderr)
        self.assertEqual(done.returncode, 1)

    # format

    def test_refuses_what_clang_format_would_change_and_fixes_it_when_told(self):
        self.write("src/a.cpp", "int  a( ) ;\n")
        self.refuses("src/a.cpp:1: ", "format")
        self.passes("--fix", "format")
        self.passes("format")

    def test_looks_at_no_file_that_was_built(self):
        self.write("build/a.cpp", "int  a( ) ;\n")
        self.passes("format")

    # includes

    def test_refuses_an_include_of_a_folder_above(self):
        self.write("framework/src/engine/engine.h", "")
        self.write("framework/src/basic/a.cpp", '\n#include "engine/engine.h"\n')
        self.refuses(
            "framework/src/basic/a.cpp:2: framework/src/basic may not include "
            "framework/src/engine/engine.h",
            "includes",
        )

    def test_allows_what_a_folder_builds_on_directly_or_not(self):
        self.write("framework/src/basic/a.h", "")
        self.write("framework/src/journal/journal.cpp", '#include "basic/a.h"\n')
        self.passes("includes")

    def test_keeps_library_framework_and_host_apart(self):
        for name, header in (
            ("src/a.cpp", "framework/src/basic/clock.h"),
            ("framework/src/basic/a.cpp", "src/zelthread.h"),
            ("host/a.cpp", "framework/src/basic/clock.h"),
        ):
            with self.subTest(name):
                self.write(header, "")
                up = "../" * name.count("/")
                self.write(name, f'#include "{up}{header}"\n')
                self.refuses(f"{name}:1: ", "includes")
                (self.tree / name).unlink()

    def test_refuses_the_header_of_a_library_outside_its_adapter(self):
        self.write("src/bridge/a.cpp", "#include <jni.h>\n")
        self.refuses("src/bridge/a.cpp:1: <jni.h> is for src/bridge/jni, host", "includes")

    def test_opens_single_headers_to_those_that_name_them_only(self):
        self.write("framework/src/runtime/service.h", "")
        self.write("framework/src/runtime/runtime.h", "")
        self.write("framework/src/http/a.cpp", '#include "runtime/service.h"\n')
        self.passes("includes")
        self.write("framework/src/http/a.cpp", '#include "runtime/runtime.h"\n')
        self.refuses("framework/src/http/a.cpp:1: ", "includes")

    def test_refuses_a_folder_that_the_table_does_not_know(self):
        self.write("framework/src/new/a.cpp", "")
        self.refuses("framework/src/new/a.cpp:1: its folder is not in the table", "includes")

    def test_refuses_a_table_with_a_circle(self):
        self.write(
            "docs/architecture.md",
            "## Who includes whom\n| Folder | Builds on |\n| `src` | `host` |\n| `host` | `src` |\n",
        )
        self.refuses("src and host build on each other", "includes")

    def test_refuses_a_document_without_the_table(self):
        self.write("docs/architecture.md", "# Architecture\n")
        self.refuses("docs/architecture.md:1: has no table", "includes")

    # packages

    def test_refuses_packages_of_java_in_a_circle(self):
        for one, other in (("a", "b"), ("b", "a")):
            self.write(
                f"java/jmx/src/{one}/Use.java",
                f"package agent.{one};\n\nimport agent.{other}.Use;\n\nclass Of{one} {{ Use use; }}\n",
            )
        self.refuses("java/jmx/src/a/Use.java:3", "packages")

    # shell

    def test_refuses_what_shellcheck_finds_in_scripts_by_name_or_first_line(self):
        for name in ("tools/a.sh", "run"):
            with self.subTest(name):
                self.write(name, "#!/bin/sh\n\necho $1\n")
                self.refuses(f"{name}:3: ", "shell")
                (self.tree / name).unlink()

    # clang

    def compile(self, text):
        self.write("framework/src/a.cpp", text)
        path = str(self.tree / "framework/src/a.cpp")
        command = f"c++ -I{ROOT}/framework/include -std=c++20 -Wall -Werror -o a.o -c {path}"
        entry = {"directory": str(self.tree), "command": command, "file": path}
        self.write("build/dev/compile_commands.json", json.dumps([entry]))

    def test_refuses_a_guarded_member_that_is_touched_without_its_mutex(self):
        self.compile(LOCKED % "")
        self.refuses("requires holding mutex 'mutex_' exclusively", "clang")
        self.compile(LOCKED % "const fw::MutexLock lock(mutex_);\n    ")
        self.passes("clang")

    def test_refuses_what_clang_warns_of(self):
        self.compile("void a() { int unused; }\n")
        self.refuses("framework/src/a.cpp:1: unused variable 'unused'", "clang")

    def test_refuses_what_clang_tidy_finds(self):
        self.compile(
            "#include <string>\n\nstd::string::size_type a(std::string text) {\n"
            "  const std::string taken = std::move(text);\n  return text.size() + taken.size();\n}\n"
        )
        self.refuses("framework/src/a.cpp:5: 'text' used after it was moved", "clang")

    def test_reads_a_clean_source_again_only_when_something_it_is_made_of_has_changed(self):
        self.write("framework/src/a.h", "#pragma once\n")
        self.compile('#include "a.h"\n')
        self.assertIn("1 of 1 sources to read", self.lint("clang").stderr)
        self.assertIn("0 of 1 sources to read", self.lint("clang").stderr)
        self.write("framework/src/a.h", "#pragma once\n\ninline void a() { int unused; }\n")
        self.refuses("framework/src/a.h:3: unused variable 'unused'", "clang")
        self.assertIn("1 of 1 sources to read", self.lint("clang").stderr)

    def test_refuses_a_source_that_clang_can_not_read(self):
        self.compile('#include "missing.h"\n')
        self.refuses("framework/src/a.cpp:1: 'missing.h' file not found", "clang")

    # all

    def test_tells_of_every_rule_that_failed(self):
        self.write("src/a.cpp", "int  a( ) ;\n")
        self.write("run", "#!/bin/sh\n\necho $1\n")
        done = self.lint("format", "includes", "shell")
        self.assertEqual(done.returncode, 1)
        self.assertIn("lint: format shell failed", done.stderr)


if __name__ == "__main__":
    unittest.main()
