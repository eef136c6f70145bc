"""Many idle JVMs, monitored every second: what that costs the agent's process."""

import json
import os
import pathlib
import re
import subprocess
import time

TABLES = ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS", "JVM_CLASSES",
          "JVM_OS", "JVM_BUFFERPOOL")
STARTED_AT_A_TIME = 5  # fifty at once would starve the machine


class IdleTargets:
    """Small JVMs with a JMX port each, that do nothing."""

    def __init__(self, root, count):
        jar = root / "share/zel/java/zel-faulttarget.jar"
        self.processes = []
        self.ports = []
        try:
            for first in range(0, count, STARTED_AT_A_TIME):
                wave = [self._start(jar) for _ in range(min(STARTED_AT_A_TIME, count - first))]
                for process in wave:
                    line = process.stdout.readline()
                    self.ports.append(int(re.match(r"ready port=(\d+) ", line)[1]))
        except BaseException:
            self.close()
            raise

    def _start(self, jar):
        process = subprocess.Popen(
            ["java", "-Xmx32m", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1", "-jar", jar,
             "--port", "0"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.processes.append(process)
        return process

    def names(self):
        return [f"idle-{number}" for number in range(len(self.ports))]

    def jmx_yaml(self):
        lines = ["remote:"]
        for name, port in zip(self.names(), self.ports):
            lines.append(f"  - {{name: {name}, host: 127.0.0.1, port: {port}}}")
        return "\n".join(lines) + "\n"

    def close(self):
        for process in self.processes:
            process.kill()
        for process in self.processes:
            process.wait()


def cpu_seconds(pid):
    """User and system time of a process, its threads included."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def memory_mib(pid):
    """Resident memory now and at its highest, and the number of threads."""
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    [now, most] = [int(re.search(rf"{key}:\s+(\d+) kB", status)[1]) / 1024
                   for key in ("VmRSS", "VmHWM")]
    return now, most, int(re.search(r"Threads:\s+(\d+)", status)[1])


class Watched:
    """What an agent says of the samples that it takes of some targets."""

    def __init__(self, agent, names, tables):
        self.agent = agent
        self.names = set(names)
        self.tables = tables

    def _json(self, path):
        self.agent.connection.close()  # idle for long, the agent closes it as well
        status, body = self.agent.get(path)
        if status != 200:
            raise SystemExit(f"{path}: {status} {body!r}")
        return json.loads(body)

    def begin(self):
        """Has every table of every target sampled once a second, from when all are there."""
        def present():
            return {each["name"] for each in self._json("/api/v1/subnodes")["subnodes"]
                    if each["state"] == "online"}
        end = time.monotonic() + 120
        while not self.names <= present():
            if time.monotonic() > end:
                raise SystemExit(f"not reached: {sorted(self.names - present())}")
            time.sleep(0.2)
        for table in self.tables:
            # A condition that no row meets: the sample is taken and tested, and nothing comes of it.
            self.agent.post("/api/v1/situations", {
                "name": f"watch-{table}", "table": table, "where": "ORIGINNODE = 'nobody'",
                "subnodes": sorted(self.names), "interval": 1})

    def reads(self):
        """Samples that were read at the targets so far, and those that failed."""
        rows = [row["values"] for row in self._json("/api/v1/tables/JVM_TARGETS/rows")["rows"]]
        mine = [row for row in rows if row["NAME"] in self.names]
        return sum(row["SAMPLES"] for row in mine), sum(row["FAILURES"] for row in mine)

    def sampling(self):
        """Errors and time-outs so far, and the longest sample, of the tables."""
        meters = [each["sampling"] for each in self._json("/api/v1/tables")["tables"]
                  if each["name"] in self.tables]
        return (sum(each["errors"] + each["timeouts"] for each in meters),
                max(each["max_duration_ms"] for each in meters))

    def values(self):
        """Values of one sample of one target, all tables together."""
        name = sorted(self.names)[0]
        rows = [row["values"] for table in self.tables
                for row in self._json(f"/api/v1/tables/{table}/rows?subnode={name}")["rows"]]
        return sum(1 for row in rows for column, value in row.items()
                   if column != "ORIGINNODE" and value is not None)


def measure(agent, idle, tables, options):
    watched = Watched(agent, idle.names(), tables)
    watched.begin()
    pid = agent.process.pid
    time.sleep(options.warm_up)
    print(f"{len(idle.names())} targets, {len(tables)} tables, {watched.values()} values each,"
          f" once a second; process {pid}", flush=True)
    for _ in range(options.rounds):
        began, cpu, (reads, failures), (errors, _) = (
            time.monotonic(), cpu_seconds(pid), watched.reads(), watched.sampling())
        time.sleep(options.seconds)
        took = time.monotonic() - began
        used = (cpu_seconds(pid) - cpu) * 60 / took
        reads, failures = (now - before for now, before in
                           zip(watched.reads(), (reads, failures)))
        now_errors, longest = watched.sampling()
        due = len(idle.names()) * len(tables) * took
        resident, most, threads = memory_mib(pid)
        print(f"{used:5.2f} CPU s/min, {resident:.0f} MiB (at most {most:.0f}), {threads} threads;"
              f" {reads} samples, {due - reads:+.0f} missing, {failures} failed,"
              f" {now_errors - errors} errors; longest ever {longest} ms", flush=True)
