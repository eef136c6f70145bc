#!/usr/bin/env python3
"""What the installed agent costs, seen from outside: its start, and the latency of an event.

    bench/product.py --root ROOT start [--runs N]     exec to "ready" and to the first rows
    bench/product.py --root ROOT latency [--runs N]   end of a collection to the live stream
    bench/product.py --root ROOT events [--seconds S] from an application to the live stream
    bench/product.py --root ROOT web [--runs N]       an application's page, beside the bare server
    bench/product.py --root ROOT targets [--count N] [--seconds N] [--rounds N] [--tables A,B]
                                                      CPU and memory for many targets

ROOT is an installation; ./run makes one in out/. JAVA_HOME, or the search path, says which Java.
Prints medians and the worst; fails only when something does not work.
"""

import argparse
import http.client
import importlib
import json
import os
import pathlib
import re
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

import targets


class Agent:
    """An agent on a fresh home; its times count from just before exec."""

    def __init__(self, root, jmx="", prepare=None, environment=None, java_options=()):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zel-bench."))
        for name in ("bin", "lib", "share"):
            (self.folder / name).symlink_to(root / name)
        self.home = self.folder / "agents/jmx"
        (self.home / "var").mkdir(parents=True)
        shutil.copytree(root / "share/zel/config/jmx", self.home / "config")
        (self.home / "config/jmx.yaml").write_text("local: {enabled: false}\n" + jmx)
        if prepare:
            prepare(self.home / "config")
        with open(self.home / "config/zjxwb.properties", "a") as options:
            options.writelines(option + "\n" for option in java_options)
        self.began = time.monotonic()
        self.process = subprocess.Popen(
            [root / "bin/zelagent", "--home", self.home, "--port", "0"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            env=dict(os.environ, **(environment or {})))
        line = self.process.stdout.readline()
        self.ready = time.monotonic() - self.began
        ready = re.match(r"Zel is ready: http://127\.0\.0\.1:(\d+)/", line)
        if not ready:
            raise SystemExit(f"the agent is not ready: {line!r}")
        self.connection = http.client.HTTPConnection("127.0.0.1", int(ready[1]), timeout=60)

    def get(self, path):
        self.connection.request("GET", path)
        answer = self.connection.getresponse()
        return answer.status, answer.read()

    def post(self, path, content):
        token = (self.home / "var/token").read_text().strip()
        self.connection.request(
            "POST", path, json.dumps(content),
            {"Authorization": f"Bearer {token}", "Content-Type": "application/json"})
        answer = self.connection.getresponse()
        body = answer.read()
        if answer.status not in (200, 201):
            raise SystemExit(f"{path}: {answer.status} {body!r}")
        return json.loads(body)

    def first_rows(self, subnode):
        """Seconds from exec to the first rows of a subnode."""
        path = f"/api/v1/tables/JVM_MEMORY/rows?subnode={subnode}"
        while time.monotonic() < self.began + 60:
            status, body = self.get(path)
            if status == 200 and json.loads(body)["rows"]:
                return time.monotonic() - self.began
            time.sleep(0.001)
        raise SystemExit(f"no rows of {subnode}")

    def close(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(30)
        shutil.rmtree(self.folder)


def shown(name, seconds):
    millis = sorted(1000 * each for each in seconds)
    print(f"{name:34} median {statistics.median(millis):7.1f} ms, worst {millis[-1]:7.1f} ms"
          f" ({len(millis)} runs)")


def start(root, runs):
    jar = root / "share/zel/java/zel-faulttarget.jar"
    target = subprocess.Popen(["java", "-Xmx32m", "-jar", jar, "--port", "0"],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    try:
        line = target.stdout.readline()
        port = re.search(r"port[ =:]+(\d+)", line)
        if not port:
            raise SystemExit(f"the target says {line!r}")
        remote = f"remote: [{{name: remote, host: 127.0.0.1, port: {port[1]}}}]\n"
        ready, own, far = [], [], []
        for _ in range(runs):
            agent = Agent(root)
            ready.append(agent.ready)
            own.append(agent.first_rows("self"))
            agent.close()
            agent = Agent(root, remote)
            far.append(agent.first_rows("remote"))
            agent.close()
        shown("exec to \"ready\"", ready)
        shown("exec to rows of the own JVM", own)
        shown("exec to rows of a remote target", far)
    finally:
        target.kill()


def latency(root, runs):
    agent = Agent(root)
    try:
        agent.first_rows("self")
        token = (agent.home / "var/token").read_text().strip()
        stream = http.client.HTTPConnection("127.0.0.1", agent.connection.port, timeout=60)
        stream.request("GET", "/api/v1/stream?kind=event")
        lines = stream.getresponse()
        ways = []
        for _ in range(runs):
            agent.connection.request(
                "POST", "/api/v1/actions", json.dumps({"node": "self", "command": "gc"}),
                {"Authorization": f"Bearer {token}", "Content-Type": "application/json"})
            while True:
                line = lines.readline()
                arrived = time.time()
                if line.startswith(b"data:") and b"System.gc()" in line:
                    break
            [event, *_] = json.loads(line[5:])["events"]
            ways.append(arrived - event["values"]["TIME_MS"] / 1000)
            agent.connection.getresponse().read()
        shown("end of a collection to the stream", ways)
    finally:
        agent.close()


def many_targets(root, options):
    idle = targets.IdleTargets(root, options.count)
    try:
        agent = Agent(root, idle.jmx_yaml(), options.java_option)
        try:
            targets.measure(agent, idle, options.tables.split(","), options)
        finally:
            agent.close()
    finally:
        idle.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", required=True, type=pathlib.Path)
    parser.add_argument("what", choices=("start", "latency", "events", "web", "targets"))
    parser.add_argument("--runs", type=int, default=20)
    parser.add_argument("--build", type=pathlib.Path, help="for events and web: the build folder")
    parser.add_argument("--seconds", type=float, help="of one measurement (default: 5, targets 60)")
    parser.add_argument("--count", type=int, default=50, help="targets")
    parser.add_argument("--tables", default=",".join(targets.TABLES))
    parser.add_argument("--warm-up", type=int, default=90, help="seconds, for targets")
    parser.add_argument("--rounds", type=int, default=3, help="measurements of targets")
    parser.add_argument("--java-option", action="append", default=[],
                        help="one more option of the agent's virtual machine")
    options = parser.parse_args()
    if options.seconds is None:
        options.seconds = 60 if options.what == "targets" else 5
    root = options.root.resolve()
    if options.what in ("events", "web"):
        importlib.import_module(f"product_{options.what}").measure(options)
    elif options.what == "targets":
        many_targets(root, options)
    else:
        {"start": start, "latency": latency}[options.what](root, options.runs)
    return 0


if __name__ == "__main__":
    sys.exit(main())
