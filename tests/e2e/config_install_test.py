"""Installing over an installation keeps what the operator has changed."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(os.environ["ZEL_E2E_SOURCE"]) / "packaging/install_config.cmake"


class ConfigInstallTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zel-e2e."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.shipped = self.folder / "source"
        self.shipped.mkdir()
        self.current = self.folder / "home/config/agent.yaml"

    def install(self, text):
        (self.shipped / "agent.yaml").write_text(text)
        return subprocess.run(
            [os.environ["ZEL_E2E_CMAKE"], f"-DSOURCE={self.shipped}", f"-DHOME={self.folder}/home",
             f"-DDEFAULTS={self.folder}/share", "-P", SCRIPT],
            check=True, capture_output=True, text=True).stdout

    def test_a_file_as_it_was_installed_is_replaced(self):
        self.install("port: 1\n")
        self.install("port: 2\n")
        self.assertEqual(self.current.read_text(), "port: 2\n")

    def test_a_changed_file_is_kept_and_the_new_default_stands_beside(self):
        self.install("port: 1\n")
        self.current.write_text("port: 99\n")
        for _ in range(2):
            output = self.install("port: 2\n")
            self.assertEqual(self.current.read_text(), "port: 99\n")
            self.assertIn(f"Kept your {self.current}", output)
        self.assertEqual((self.folder / "share/agent.yaml").read_text(), "port: 2\n")


if __name__ == "__main__":
    unittest.main()
