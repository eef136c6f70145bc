"""The files that the agent writes for itself, and the homes that it writes them for."""

import json
import os
import pathlib
import shutil
import signal
import stat
import subprocess
import tempfile
import unittest
import urllib.request

from product import DEADLINE, ROOT, Agent, installed_javas


def mode_of(path):
    return stat.S_IMODE(path.stat().st_mode)


class FilesTest(unittest.TestCase):
    def agent(self, **arguments):
        agent = Agent(**arguments)
        self.addCleanup(agent.close)
        return agent

    def zelagent(self, home, *arguments, **environment):
        """Runs zelagent to its end; its status, output and errors."""
        return subprocess.run([ROOT / "bin/zelagent", "--home", home, "--port", "0", *arguments],
                              capture_output=True, text=True, timeout=DEADLINE,
                              env=dict(os.environ, **environment))

    def home(self):
        """An installation's home of its own, where nothing runs."""
        root = pathlib.Path(tempfile.mkdtemp(prefix="zel-e2e."))
        self.addCleanup(shutil.rmtree, root)
        for folder in ("bin", "lib", "share"):
            (root / folder).symlink_to(ROOT / folder)
        (root / "agents/jmx/var").mkdir(parents=True)
        (root / "logs").mkdir()
        shutil.copytree(ROOT / "share/zel/config/jmx", root / "agents/jmx/config")
        return root / "agents/jmx"

    def test_its_files_are_for_its_user_and_logs_for_the_group_too(self):
        agent = self.agent(start_with=["sh", "-c", 'umask 0; exec "$@"', "sh"])

        self.assertEqual(mode_of(agent.home / "var/zelagent.pid"), 0o600)
        self.assertEqual(mode_of(agent.home / "var/token"), 0o600)
        logs = sorted((agent.root / "logs").iterdir())
        self.assertEqual(len(logs), 2, logs)
        for log in logs:
            self.assertEqual(mode_of(log), 0o640, log)

    def test_a_log_that_is_a_named_pipe_or_a_link_is_refused_at_once(self):
        home = self.home()
        log = home.parent.parent / "logs/agent.log"
        other = home.parent.parent / "other"
        other.write_text("kept")
        for make, reason in ((os.mkfifo, "is not a regular file"),
                             (lambda path: os.symlink(other, path), "is a link"),
                             (lambda path: os.link(other, path), "has a second name")):
            with self.subTest(reason=reason):
                make(log)
                ended = self.zelagent(home)
                log.unlink()
                self.assertEqual(ended.returncode, 2, ended.stderr)
                self.assertIn(f"{log}: it {reason}", ended.stderr)
        self.assertEqual(other.read_text(), "kept")

    def test_a_copied_home_has_a_name_and_logs_of_its_own(self):
        first = self.agent()
        copy = first.root / "agents/other"
        subprocess.run(["cp", "-a", first.home, copy], check=True)
        process = subprocess.Popen([ROOT / "bin/zelagent", "--home", copy, "--port", "0"],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait, DEADLINE)
        self.addCleanup(process.kill)
        url = process.stdout.readline().split("ready: ")[1].strip()

        with urllib.request.urlopen(url + "api/v1/agent", timeout=DEADLINE) as answer:
            second = json.load(answer)

        self.assertEqual(first.get("/api/v1/agent")["instance"], "jmx")
        self.assertEqual(second["instance"], "other")
        self.assertNotEqual(second["name"], first.get("/api/v1/agent")["name"])
        names = [log.name for log in (first.root / "logs").iterdir()]
        self.assertIn("agent.log", names)
        self.assertIn("agent-other.log", names)
        self.assertEqual(sum(name.startswith("ZJX.jmx.") for name in names), 1, names)
        self.assertEqual(sum(name.startswith("ZJX.other.") for name in names), 1, names)
        self.assertNotIn(f" {process.pid} ", first.trace())

    def test_old_logs_of_the_jvm_are_pruned(self):
        home = self.home()
        logs = home.parent.parent / "logs"
        for second in range(1, 31):
            (logs / f"ZJX.jmx.{second}.JVM.log").write_text("")
        (logs / "ZJX.other.1.JVM.log").write_text("")
        process = subprocess.Popen([ROOT / "bin/zelagent", "--home", home, "--port", "0"],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait, DEADLINE)
        self.addCleanup(process.kill)
        self.assertIn("ready", process.stdout.readline())

        old = [f"ZJX.jmx.{second}.JVM.log" for second in range(21, 31)]
        left = {log.name for log in logs.glob("*.JVM.log")}
        self.assertLessEqual({*old, "ZJX.other.1.JVM.log"}, left)
        self.assertEqual(len(left), len(old) + 2, left)

    def test_the_rows_of_the_agent_itself_are_there_as_soon_as_it_is_ready(self):
        for java_home in installed_javas():
            for _ in range(3):
                with self.subTest(java=str(java_home)):
                    agent = self.agent(java_home=java_home)
                    self.assertEqual(len(agent.rows("JVM_RUNTIME", subnode="self")), 1)
                    agent.signal(signal.SIGTERM)
                    self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_a_wrong_java_home_is_told_and_another_java_taken(self):
        agent = self.agent(environment={"JAVA_HOME": "/nonexistent"})

        self.assertIn("zelagent: warning: JAVA_HOME: no lib/server/libjvm.so in /nonexistent; using",
                      agent.stderr())

    def test_options_that_the_jvm_does_not_know_are_told(self):
        for java_home in installed_javas():
            with self.subTest(java=str(java_home)):
                agent = self.agent(java_home=java_home, edit_options=lambda text: text.replace(
                    "-Xmx64m", "-Xmz64m").replace("MaxFDLimit", "MaxFdLimit"))

                options = agent.home / "config/zjxwb.properties"
                self.assertIn(f"zelagent: warning: {options}: ", agent.stderr())
                self.assertIn("does not know the option -Xmz64m, and ignores it",
                              agent.stderr())
                self.assertIn("-XX:-MaxFdLimit (Did you mean '(+/-)MaxFDLimit'?)", agent.stderr())

    def test_the_shipped_options_are_known(self):
        for java_home in installed_javas():
            with self.subTest(java=str(java_home)):
                agent = self.agent(java_home=java_home)
                self.assertEqual(agent.stderr(), "")


if __name__ == "__main__":
    unittest.main()
