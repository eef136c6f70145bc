"""Targets that misbehave as they are told, and an agent that monitors nothing else."""

import pathlib
import re
import subprocess
import unittest

from product import DEADLINE, ROOT, Agent, installed_javas, wait_until


# Names of threads as the kernel keeps them: one fetches the notifications of one connection, ...
FETCHER = "ClientNotifForw"
# ... and all that a connection may have begin like this.
OF_CONNECTIONS = ("jmx-", "RMI ", FETCHER)

# Has the ticks of the mode `notify` as events.
TICKS = """notifications:
  - table: TICKS
    mbean: zel.fault:type=Notifier
    types: [zel.fault.tick]
"""


class FaultTarget:
    """A JVM that misbehaves as it is told, with a JMX port of its own."""

    def __init__(self, *modes, port=0):
        self.process = subprocess.Popen(
            [installed_javas()[0] / "bin/java", "-Xmx64m", "-XX:+UseSerialGC",
             "-XX:TieredStopAtLevel=1", "-jar",
             ROOT / "share/zel/java/zel-faulttarget.jar", "--port", str(port), *modes],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        ready = re.fullmatch(r"ready port=(\d+) pid=(\d+)\n", line)
        if not ready:
            self.close()
            raise AssertionError(f"the fault target is not ready: {line!r}")
        self.port, self.pid = int(ready[1]), int(ready[2])

    def command(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer.startswith("now "):
            raise AssertionError(f"{line}: {answer!r}")

    def close(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(DEADLINE)
        self.process.stdin.close()
        self.process.stdout.close()


def jmx_yaml(targets, timeout_ms, more=""):
    """Monitors the targets through their ports, and nothing else; `more` is added."""
    lines = ["local:", "  enabled: false",
             "calls:", f"  timeout: {timeout_ms}ms", "  retry_min: 200ms",
             "  retry_max: 1s", "  heartbeat: 1s", "remote:"]
    for name, target in targets.items():
        lines += [f"  - name: {name}", "    host: 127.0.0.1", f"    port: {target.port}"]
    return "\n".join(lines) + "\n" + more


def status_of(agent, name):
    """The target's row, once the agent has got to know it."""
    [row] = wait_until(lambda: [row for row in agent.rows("JVM_TARGETS") if row["NAME"] == name],
                       f"{name} is a target")
    return row


def wait_until_up(agent, name):
    def is_up():
        # The target's row tells it a moment before its subnode is there.
        subnode = agent.subnode(name)
        return (status_of(agent, name)["STATE"] == "up"
                and subnode is not None and subnode["state"] == "online")
    return wait_until(is_up, f"{name} is up")


def threads_of(agent):
    """Names of the threads of the process, as far as the kernel keeps them: 15 characters."""
    names = []
    for task in pathlib.Path(f"/proc/{agent.process.pid}/task").iterdir():
        try:
            names.append((task / "comm").read_text().strip())
        except FileNotFoundError:
            pass  # it has ended just now
    return names


class FaultTargetTest(unittest.TestCase):
    """Base of tests with such targets."""

    def target(self, *modes):
        target = FaultTarget(*modes)
        self.addCleanup(target.close)
        return target

    def agent(self, targets, timeout_ms, more="", **arguments):
        agent = Agent(jmx=jmx_yaml(targets, timeout_ms, more), **arguments)
        self.addCleanup(agent.close)
        for name in targets:
            wait_until_up(agent, name)
        return agent
