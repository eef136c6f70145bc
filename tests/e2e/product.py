"""The installed product in the hands of a test: an agent on a home of its own, and target JVMs."""

import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import urllib.error
import urllib.parse
import urllib.request

ROOT = pathlib.Path(os.environ["ZEL_E2E_ROOT"])
DEADLINE = 60  # seconds; generous, for a busy machine


def installed_javas():
    """Folders of the Java installations of this machine, one per version, oldest first."""
    found = {}
    for release in pathlib.Path("/usr/lib/jvm").glob("*/release"):
        home = release.parent.resolve()
        version = re.search(r'^JAVA_VERSION="(\d+)', release.read_text(), re.MULTILINE)
        if version and int(version[1]) >= 17 and (home / "lib/server/libjvm.so").exists():
            found[int(version[1])] = home
    return [found[version] for version in sorted(found)]


def wait_until(condition, what):
    """Returns the condition's first true value."""
    end = time.monotonic() + DEADLINE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"not within {DEADLINE} s: {what}")
        time.sleep(0.05)


def with_test_application(options):
    """The options file with the tests' own application."""
    lines = options.splitlines()
    lines[0] = os.environ["ZEL_E2E_APPLICATION"] + ":" + lines[0]
    return "\n".join(
        "-Dzel.application=e2e.TestApplication" if line.startswith("-Dzel.application=") else line
        for line in lines) + "\n"


class Agent:
    """A running agent. Its home and logs are fresh, the rest is the installation's."""

    def __init__(self, java_home=None, edit_options=None, environment=None, jmx=None,
                 settings="", edit_settings=None, start_with=(), wait=True):
        """Returns when the agent is ready; at once if told not to wait, then without `url`.

        `jmx` takes the place of jmx.yaml; `settings` are added to agent.yaml, after it is edited.
        """
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="zel-e2e."))
        for folder in ("bin", "lib", "share"):
            (self.root / folder).symlink_to(ROOT / folder)
        self.home = self.root / "agents/jmx"
        (self.home / "var").mkdir(parents=True)
        shutil.copytree(ROOT / "share/zel/config/jmx", self.home / "config")
        options = self.home / "config/zjxwb.properties"
        if edit_options:
            options.write_text(edit_options(options.read_text()))
        if jmx is not None:
            (self.home / "config/jmx.yaml").write_text(jmx)
        if edit_settings:
            agent_yaml = self.home / "config/agent.yaml"
            agent_yaml.write_text(edit_settings(agent_yaml.read_text()))
        with open(self.home / "config/agent.yaml", "a") as agent_yaml:
            agent_yaml.write(settings)
        variables = dict(os.environ, **(environment or {}))
        variables.pop("ZEL_LIBJVM", None)
        if java_home:
            variables["JAVA_HOME"] = str(java_home)
        self.errors = open(self.root / "stderr", "w+")
        self.process = subprocess.Popen(
            [*start_with, ROOT / "bin/zelagent", "--home", self.home, "--port", "0"],
            stdout=subprocess.PIPE, stderr=self.errors, text=True, env=variables)
        if wait:
            self.await_ready()

    def await_ready(self):
        line = self.process.stdout.readline()
        ready = re.fullmatch(r"Zel is ready: (http://127\.0\.0\.1:\d+)/\n", line)
        if not ready:
            self.process.wait(DEADLINE)
            raise AssertionError(f"not ready: {line!r} {self.stderr()}")
        self.url = ready[1]

    def stderr(self):
        self.errors.seek(0)
        return self.errors.read()

    def has_trace(self):
        return (self.root / "logs/agent.log").exists()

    def trace(self):
        return (self.root / "logs/agent.log").read_text()

    def get(self, path, **query):
        query = "?" + urllib.parse.urlencode(query) if query else ""
        with urllib.request.urlopen(self.url + path + query, timeout=DEADLINE) as answer:
            return json.load(answer)

    def post(self, path, content):
        """Sends JSON with the agent's token; the answer's."""
        return self._change("POST", path, json.dumps(content).encode())

    def delete(self, path):
        return self._change("DELETE", path, None)

    def _change(self, method, path, content):
        token = (self.home / "var/token").read_text().strip()
        request = urllib.request.Request(
            self.url + path, content,
            {"Content-Type": "application/json", "Authorization": f"Bearer {token}"},
            method=method)
        with urllib.request.urlopen(request, timeout=DEADLINE) as answer:
            return json.load(answer)

    def rows(self, table, **query):
        """Values of the rows, one dictionary each."""
        return [row["values"] for row in self.get(f"/api/v1/tables/{table}/rows", **query)["rows"]]

    def try_rows(self, table, **query):
        """As rows(), none when the subnode is not there now."""
        try:
            return self.rows(table, **query)
        except urllib.error.HTTPError as error:
            if error.code != 404:
                raise
            return []

    def subnode(self, name):
        """What the agent says of a subnode, or None."""
        for each in self.get("/api/v1/subnodes")["subnodes"]:
            if each["name"] == name:
                return each
        return None

    def subnode_of(self, pid):
        """Waits until the JVM of the process is monitored; returns its subnode."""
        def find():
            for row in self.rows("JVM_TARGETS"):
                if row["PID"] == pid and row["STATE"] == "up":
                    if self.subnode(row["NAME"]):
                        return row["NAME"]
            return None
        return wait_until(find, f"process {pid} is a subnode")

    def signal(self, number):
        self.process.send_signal(number)

    def wait(self):
        return self.process.wait(DEADLINE)

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()
        self.errors.close()
        shutil.rmtree(self.root)


class Target:
    """A JVM to be monitored, that tells about itself."""

    def __init__(self, java_home, *options, start_with=(), jar=None):
        self.process = subprocess.Popen(
            [*start_with, java_home / "bin/java", "-Xmx48m", "-XX:+UseSerialGC", *options,
             "-cp", jar or os.environ["ZEL_E2E_TARGET"], "e2e.Target"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.pid = self.process.pid

    def facts(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def close(self):
        self.process.send_signal(signal.SIGCONT)
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class Load:
    """Clients that ask for rows without pause until they are stopped."""

    def __init__(self, agent, clients=8, ask=lambda agent: agent.rows("JVM_MEMPOOL",
                                                                      subnode="self")):
        self.agent = agent
        self.ask = ask
        self.answers = 0
        self.ended = threading.Event()
        self.threads = [threading.Thread(target=self._ask) for _ in range(clients)]
        for thread in self.threads:
            thread.start()

    def _ask(self):
        while not self.ended.is_set():
            try:
                self.ask(self.agent)
                self.answers += 1
            except (OSError, ValueError, KeyError, http.client.HTTPException):  # the agent stops, as it was told to
                if self.agent.process.poll() is not None:
                    return

    def close(self):
        self.ended.set()
        for thread in self.threads:
            thread.join()
