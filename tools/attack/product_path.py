"""Lets the campaigns use the tests' way to run an installed product; import it first."""

import os
import pathlib
import sys


def use(root):
    """Takes the installation below `root`."""
    root = pathlib.Path(root).resolve()
    if not (root / "bin/zelagent").exists():
        sys.exit(f"there is no bin/zelagent below {root}; give --root, an installation's folder")
    os.environ["ZEL_E2E_ROOT"] = str(root)
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/e2e"))
