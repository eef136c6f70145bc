"""Programs that the configuration has the agent start beside the JVMs that it finds."""

import os
import pathlib
import signal
import tempfile
import unittest

from product import Agent, Target, installed_javas, wait_until

# Tells who and where it is, and stays.
PROGRAM = """#!/bin/sh
echo "$$ $PWD $GREETING $*"
echo "no trouble" >&2
exec sleep 600
"""


class DaemonsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.program = self.folder / "program"
        self.program.write_text(PROGRAM)
        self.program.chmod(0o755)

    def jmx_yaml(self):
        folder = self.folder
        return f"""
local: {{interval: 1s, include: ["e2e.Target"]}}
daemons:
  - name: watch
    for: target
    command: [{self.program}, "${{pid}}", "name=${{subnode}}"]
    directory: {folder}
    stdout: {folder}/out-${{pid}}
    stderr: {folder}/err-${{pid}}
    environment: {{GREETING: "hello-${{pid}}", LANG: null}}
  - name: absent
    for: agent
    command: [{folder}/absent]
    stderr: {folder}/absent.err
"""

    def test_a_daemon_runs_beside_its_target_and_outlives_the_agent(self):
        target = Target(installed_javas()[0])
        self.addCleanup(target.close)
        agent = Agent(jmx=self.jmx_yaml(), environment={"LANG": "C"})
        self.addCleanup(agent.close)
        name = agent.subnode_of(target.pid)

        words = wait_until(self.file(f"out-{target.pid}"), "the daemon has spoken").split()
        daemon = int(words[0])
        self.addCleanup(os.kill, daemon, signal.SIGKILL)

        self.assertEqual(words[1:], [str(self.folder), f"hello-{target.pid}",
                                     str(target.pid), f"name={name}"])
        self.assertEqual(self.file(f"err-{target.pid}")(), "no trouble\n")
        self.assert_stands_by_itself(daemon, agent)
        wait_until(lambda: "No such file" in self.file("absent.err")(), "the absent one is told of")

        agent.signal(signal.SIGTERM)
        agent.wait()
        os.kill(daemon, 0)

    def assert_stands_by_itself(self, daemon, agent):
        process = pathlib.Path(f"/proc/{daemon}")
        stat = (process / "stat").read_text().rpartition(")")[2].split()
        self.assertNotEqual(int(stat[1]), agent.process.pid, "parent")
        self.assertEqual(int(stat[3]), os.getsid(daemon))
        self.assertNotEqual(os.getsid(daemon), os.getsid(agent.process.pid))
        self.assertEqual(sorted(each.name for each in (process / "fd").iterdir()), ["0", "1", "2"])
        environment = (process / "environ").read_bytes().split(b"\0")
        self.assertFalse([each for each in environment if each.startswith(b"LANG=")])

    def file(self, name):
        """Gives the content of a file when it has one."""
        path = self.folder / name
        return lambda: path.read_text() if path.exists() else ""


if __name__ == "__main__":
    unittest.main()
