"""Targets that hang, are slow, drop connections, throw, have thousands of beans, or restart."""

import os
import pathlib
import signal
import threading
import time
import unittest

from product import Agent, FaultTarget, wait_until

TABLES = ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS", "JVM_CLASSES",
          "JVM_OS", "JVM_BUFFERPOOL")


def jmx_yaml(targets, timeout_ms):
    """Monitors the targets through their ports, and nothing else."""
    lines = ["local:", "  enabled: false",
             "calls:", f"  timeoutMillis: {timeout_ms}", "  retryMinMillis: 200",
             "  retryMaxMillis: 1000", "  heartbeatSeconds: 1", "remote:"]
    for name, target in targets.items():
        lines += [f"  - name: {name}", "    host: 127.0.0.1", f"    port: {target.port}"]
    return "\n".join(lines) + "\n"


def status_of(agent, name):
    """The target's row, once the agent has got to know it."""
    [row] = wait_until(lambda: [row for row in agent.rows("JVM_TARGETS") if row["NAME"] == name],
                       f"{name} is a target")
    return row


def wait_until_up(agent, name):
    return wait_until(lambda: status_of(agent, name)["STATE"] == "up", f"{name} is up")


def threads_of(agent):
    """Names of the threads of the process, as far as the kernel keeps them: 15 characters."""
    names = []
    for task in pathlib.Path(f"/proc/{agent.process.pid}/task").iterdir():
        try:
            names.append((task / "comm").read_text().strip())
        except FileNotFoundError:
            pass  # it has ended just now
    return names


class Readers:
    """Clients that read every table of a target without pause; they keep each sample's state."""

    def __init__(self, agent, names):
        self.ended = threading.Event()
        self.samples = {name: [] for name in names}
        self.failures = []
        self.threads = [threading.Thread(target=self._read, args=(agent, name, table))
                        for name in names for table in TABLES]
        for thread in self.threads:
            thread.start()

    def _read(self, agent, name, table):
        while not self.ended.is_set():
            start = time.monotonic()
            try:
                [sample] = agent.get(f"/api/v1/tables/{table}/rows", subnode=name)["samples"]
                self.samples[name].append((sample, time.monotonic() - start))
            except OSError as error:
                self.failures.append(f"{table} of {name}: {error}")
            self.ended.wait(0.1)

    def close(self):
        self.ended.set()
        for thread in self.threads:
            thread.join()


class FaultsTest(unittest.TestCase):
    def target(self, *modes):
        target = FaultTarget(*modes)
        self.addCleanup(target.close)
        return target

    def agent(self, targets, timeout_ms, **arguments):
        agent = Agent(jmx=jmx_yaml(targets, timeout_ms), **arguments)
        self.addCleanup(agent.close)
        for name in targets:
            wait_until_up(agent, name)
        return agent

    def test_sick_targets_never_make_a_healthy_one_late(self):
        targets = {"well": self.target(), "hang": self.target(), "slow": self.target("slow=50"),
                   "drop": self.target(), "beans": self.target("beans=5000", "pools=200"),
                   "throw": self.target("throw")}
        # A call on the one that hangs takes longer than a report waits and than a worker may take,
        # so a healthy target that had to wait for it would show as late on any machine.
        agent = self.agent(targets, timeout_ms=15000)
        targets["hang"].command("hang")
        targets["drop"].command("drop=2000")

        readers = Readers(agent, targets)
        self.addCleanup(readers.close)
        wait_until(lambda: status_of(agent, "hang")["STATE"] in ("overdue", "down"),
                   "the target that hangs is given up")
        wait_until(lambda: status_of(agent, "drop")["FAILURES"] > 3, "dropped connections")
        wait_until(lambda: len(readers.samples["well"]) > 300, "many samples")
        during = threads_of(agent)
        readers.close()

        self.assertEqual(readers.failures, [])
        states = {sample["state"] for sample, _ in readers.samples["well"]}
        self.assertEqual(states, {"fresh"})
        self.assertLess(max(sample["age_ms"] for sample, _ in readers.samples["well"]), 5000)
        self.assertLess(max(duration for _, duration in readers.samples["well"]), 5)
        for name in targets:
            self.assertEqual(during.count(f"jmx-{name}"), 1, during)

        self.check_spoilt_cells(agent)
        self.assertEqual(
            len([row for row in agent.rows("JVM_BUFFERPOOL", subnode="beans")
                 if row["POOL"].startswith("fault-")]), 200)

        for name in ("hang", "drop"):
            targets[name].command("off")
            wait_until(lambda: agent.rows("JVM_RUNTIME", subnode=name), f"rows of {name} again")
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def check_spoilt_cells(self, agent):
        for table, spoilt in (("JVM_RUNTIME", "VM_VENDOR"), ("JVM_THREADS", "PEAK"),
                              ("JVM_CLASSES", "UNLOADED"), ("JVM_OS", "ARCHITECTURE")):
            [row] = agent.rows(table, subnode="throw")
            [sound] = agent.rows(table, subnode="well")
            self.assertIn(row.pop(spoilt), (None, ""), table)
            self.assertNotIn(sound.pop(spoilt), (None, ""), table)
            self.assertEqual([name for name in row if row[name] in (None, "")],
                             [name for name in sound if sound[name] in (None, "")], table)
        reports = [line for line in agent.trace().splitlines() if "target throw:" in line]
        self.assertEqual(len(reports), 4, reports)

    def test_a_target_that_ends_is_noticed_without_readers_and_found_again(self):
        target = self.target()
        agent = self.agent({"gone": target}, timeout_ms=3000)

        target.close()
        wait_until(lambda: status_of(agent, "gone")["STATE"] == "down", "gone is down")
        self.assertNotEqual(status_of(agent, "gone")["LAST_ERROR"], "")
        successor = FaultTarget(port=target.port)
        self.addCleanup(successor.close)

        wait_until_up(agent, "gone")
        [runtime] = agent.rows("JVM_RUNTIME", subnode="gone")
        self.assertEqual(runtime["PID"], successor.pid)

    def test_restarts_of_a_target_leave_nothing_behind(self):
        targets = {"killed": self.target("restart=86400"), "cut": self.target()}
        # The process collects its whole heap each second, so that what is left can be read.
        agent = self.agent(
            targets, timeout_ms=3000,
            edit_options=lambda text: text + "-Dsun.rmi.dgc.client.gcInterval=1000\n")

        self.restarts(agent, targets, kills=1, cuts=5)
        before = self.footprint(agent)
        self.restarts(agent, targets, kills=2, cuts=20)

        def is_as_before():
            now = self.footprint(agent)
            self.last = now
            return (now["threads"] <= before["threads"] + 3 and
                    now["descriptors"] <= before["descriptors"] + 3 and
                    now["heap"] <= before["heap"] + (1 << 20))
        self.last = None
        try:
            wait_until(is_as_before, "threads, descriptors and heap as before")
        except AssertionError as error:
            self.fail(f"{error}: {before}, then {self.last}")

    def restarts(self, agent, targets, kills, cuts):
        """Kills one target and closes the connections of the other, so and so many times."""
        for _ in range(kills):
            [runtime] = agent.rows("JVM_RUNTIME", subnode="killed")
            os.kill(runtime["PID"], signal.SIGKILL)

            def is_another():
                rows = agent.rows("JVM_RUNTIME", subnode="killed")
                return rows and rows[0]["PID"] != runtime["PID"]
            wait_until(is_another, "rows of another process")
        for _ in range(cuts):
            failures = status_of(agent, "cut")["FAILURES"]
            targets["cut"].command("drop=0")
            wait_until(lambda: agent.rows("JVM_THREADS", subnode="cut") is not None and
                       status_of(agent, "cut")["FAILURES"] > failures, "the target is cut")
            targets["cut"].command("drop=off")
            wait_until_up(agent, "cut")

    def footprint(self, agent):
        """What the process holds, once its heap has been collected anew."""
        def collections():
            [full] = [row for row in agent.rows("JVM_GC", subnode="self")
                      if row["COLLECTOR"] == "MarkSweepCompact"]
            return full["COLLECTIONS"]
        count = collections()
        wait_until(lambda: collections() >= count + 2, "two collections")
        [tenured] = [row for row in agent.rows("JVM_MEMPOOL", subnode="self")
                     if row["POOL"] == "Tenured Gen"]
        return {"threads": len(threads_of(agent)), "heap": tenured["AFTER_GC_USED"],
                "descriptors": len(os.listdir(f"/proc/{agent.process.pid}/fd"))}


if __name__ == "__main__":
    unittest.main()
