"""What the documents show: their blocks of code, and the commands of those run as a reader would."""

import json
import os
import pathlib
import re
import subprocess
import tempfile

from product import DEADLINE, ROOT, installed_javas

SOURCE = pathlib.Path(os.environ["ZEL_E2E_SOURCE"])
ADDRESS = "http://127.0.0.1:8790"

COMMAND = re.compile(
    r"(?:[A-Z]+=|bench/|change\b|curl |cat |cmake |jar |java |javac |jcmd |zelagent |\./run|\./check|\$ )")
YAML = re.compile(r"[a-z_]+:(?: |$)", re.MULTILINE)


class Block:
    """A block of code of a document."""

    def __init__(self, document, line, language, text):
        self.where = f"{document.relative_to(SOURCE)}:{line}"
        self.text = text
        self.kind = language or self._guess()

    def _guess(self):
        if COMMAND.match(self.text):
            return "sh"
        if YAML.match(self.text):
            return "yaml"
        return "text"


def blocks(document):
    """The blocks of a document in their order, fenced and indented ones."""
    found, lines = [], document.read_text().splitlines()
    at = 0
    while at < len(lines):
        begin = at
        if lines[at].startswith("```"):
            language = lines[at][3:]
            at = lines.index("```", at + 1)
            found.append(Block(document, begin + 2, language,
                               "\n".join(lines[begin + 1:at])))
        elif lines[at].startswith("    ") and (at == 0 or not lines[at - 1].strip()):
            while at < len(lines) and (lines[at].startswith("    ") or not lines[at].strip()):
                at += 1
            text = "\n".join(line[4:] for line in lines[begin:at]).rstrip()
            found.append(Block(document, begin + 1, None, text))
            continue
        at += 1
    return found


# What the commands of a document find in their shell. A stream is read up to its first lines;
# whatever is not told with a 2xx status is a failure, with the answer shown.
PRELUDE = r"""
set -eu -o pipefail
trap 'echo "failed with status $?: $BASH_COMMAND" >&2' ERR
curl() {
  local each
  for each in "$@"; do
    if [ "$each" = -N ]; then
      (command curl --silent --show-error --fail "$@" || true) | head -n 2 | tee "$ANSWERS/stream"
      [ -s "$ANSWERS/stream" ]
      return
    fi
  done
  command curl --silent --show-error --fail-with-body "$@" | tee "$ANSWERS/$(date +%s.%N)"
}
"""


class Shell:
    """Runs the blocks of a document one after the other, as a reader would type them."""

    def __init__(self, replacements, path=()):
        """`replacements` are for what a reader replaces as well: addresses, folders, numbers."""
        self.folder = tempfile.TemporaryDirectory(prefix="zel-documents.")
        self.replacements = dict(replacements)
        self.variables = dict(
            os.environ,
            PATH=":".join([str(ROOT / "bin"), str(installed_javas()[0] / "bin"), *path,
                           os.environ["PATH"]]))
        self.earlier = ""  # assignments and functions, which later blocks use

    def replaced(self, text):
        for shown, meant in self.replacements.items():
            text = text.replace(shown, str(meant))
        return text

    def run(self, block):
        """Runs a block; returns what it printed and the answers of its requests."""
        with tempfile.TemporaryDirectory(prefix="zel-answers.") as answers:
            script = self.replaced(block.text)
            done = subprocess.run(
                ["bash", "-c", f"{PRELUDE}\n{self.earlier}\n{script}"], cwd=self.folder.name,
                env=dict(self.variables, ANSWERS=answers), stdin=subprocess.DEVNULL,
                capture_output=True, text=True, timeout=DEADLINE)
            if done.returncode != 0:
                raise AssertionError(
                    f"{block.where}: status {done.returncode}\n{script}\n{done.stdout}{done.stderr}")
            self.earlier += "\n".join(
                line for line in script.splitlines()
                if re.match(r"[A-Z]+=|\w+\(\)", line)) + "\n"
            return done.stdout, [parsed(block, answer)
                                 for answer in sorted(pathlib.Path(answers).iterdir())
                                 if answer.name != "stream"]

    def close(self):
        self.folder.cleanup()


def parsed(block, answer):
    """The JSON of an answer, which must not tell of a failure."""
    content = json.loads(answer.read_text())
    failed = [sample for sample in content.get("samples", []) if sample["state"] == "failed"]
    if failed or content.get("return_code", 0) != 0:
        raise AssertionError(f"{block.where}: {content}")
    return content
