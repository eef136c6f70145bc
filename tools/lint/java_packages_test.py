"""What java_packages.py makes of small source trees."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM = pathlib.Path(__file__).with_name("java_packages.py")


class JavaPackagesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)

    def source(self, package, name, body):
        path = self.tree / package.replace(".", "/") / (name + ".java")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"package {package};\n{body}\n", encoding="utf-8")

    def check(self, *trees):
        done = subprocess.run([sys.executable, PROGRAM, *(trees or [self.tree])],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stdout + done.stderr

    def test_packages_that_need_each_other_one_way_pass(self):
        self.source("x.a", "A", "import x.b.B;\nimport static x.c.C.of;\nclass A {}")
        self.source("x.b", "B", "import x.c.C;\nclass B {}")
        self.source("x.c", "C", "import java.util.List;\nclass C {}")
        self.assertEqual(self.check(), (0, ""))

    def test_a_circle_is_shown_with_the_imports_that_tie_it(self):
        self.source("x.a", "A", "import x.b.B;\nclass A {}")
        self.source("x.b", "B", "import x.c.*;\nclass B {}")
        self.source("x.c", "C", "import static x.a.A.of;\nclass C {}")
        status, text = self.check()
        self.assertEqual(status, 1)
        self.assertIn("packages in a circle: x.a -> x.b -> x.c -> x.a\n", text)
        self.assertIn("A.java:2: import x.b.B;", text)
        self.assertIn("B.java:2: import x.c.*;", text)
        self.assertIn("C.java:2: import static x.a.A.of;", text)

    def test_a_class_that_is_named_in_full_counts_as_an_import(self):
        self.source("x.a", "A", "class A { x.b.B b; }")
        self.source("x.b", "B", "import x.a.A;\nclass B {}")
        self.assertEqual(self.check()[0], 1)

    def test_comments_and_strings_tie_nothing(self):
        self.source("x.a", "A", "import x.b.B;\nclass A {}")
        self.source("x.b", "B", '/** See {@link x.a.A}. */ class B { // x.a.A\n'
                                'String s = "import x.a.A; \\" x.a.A"; char c = \'"\'; }')
        self.assertEqual(self.check(), (0, ""))

    def test_circles_across_trees_are_found(self):
        self.source("one.a", "A", "class A {}")
        self.source("two.b", "B", "import one.a.A;\nclass B {}")
        self.source("one.a", "C", "import two.b.B;\nclass C {}")
        self.assertEqual(self.check(self.tree / "one", self.tree / "two")[0], 1)

    def test_a_folder_without_sources_is_a_mistake(self):
        self.assertEqual(self.check()[0], 2)
        self.assertEqual(self.check(self.tree / "absent")[0], 2)

    def test_the_packages_of_this_system_form_no_circle(self):
        done = subprocess.run([sys.executable, PROGRAM], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""))


if __name__ == "__main__":
    unittest.main()
