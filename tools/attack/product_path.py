"""Lets the campaigns use the tests' way to run an installed product; import it first."""

import os
import pathlib
import sys


def use(root, jars=None):
    """Takes the installation below `root`; `jars` is the folder of the tests' own applications."""
    root = pathlib.Path(root).resolve()
    if not (root / "bin/zelagent").exists():
        sys.exit(f"there is no bin/zelagent below {root}; give --root, an installation's folder")
    os.environ["ZEL_E2E_ROOT"] = str(root)
    if jars is not None:
        jars = pathlib.Path(jars).resolve()
        if not (jars / "e2e-hostile.jar").exists():
            sys.exit(f"there is no e2e-hostile.jar in {jars}; give --jars, BUILD/tests/e2e")
        os.environ["ZEL_E2E_JARS"] = str(jars)
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/e2e"))


def add_options(parser, count, what):
    """What the campaigns with agents of their own have in common."""
    parser.add_argument("--root", default="out", help="the installation (default: out)")
    parser.add_argument("--count", type=int, default=count,
                        help=f"{what} per Java (default: {count})")
    parser.add_argument("--seed", type=int, default=20240229, help="of the moments")
    parser.add_argument("--parallel", type=int, default=2, help="agents at a time (default: 2)")
    parser.add_argument("--java", action="append", help="folder of a Java installation; again for "
                        "more (default: all below /usr/lib/jvm from 17 on)")


def add_jars(parser):
    """For the campaigns that need the tests' hostile application."""
    parser.add_argument("--jars", default="build/dev/tests/e2e",
                        help="folder of the hostile application (default: build/dev/tests/e2e)")


def javas(named):
    """The Java installations that were named, or all."""
    import product  # found once use() was called
    found = ([pathlib.Path(java).resolve() for java in named] if named
             else product.installed_javas())
    if not found:
        sys.exit("there is no Java installation; give --java")
    return found
