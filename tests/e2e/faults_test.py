"""Targets that hang, are slow, drop connections, throw or have thousands of beans."""

import signal
import threading
import time
import unittest

from fault_targets import (FETCHER, OF_CONNECTIONS, TICKS, FaultTargetTest, status_of,
                           threads_of)
from product import wait_until

TABLES = ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS", "JVM_CLASSES",
          "JVM_OS", "JVM_BUFFERPOOL")


class Readers:
    """Clients that read tables of targets again and again; they keep each sample's state."""

    def __init__(self, agent, tables):
        self.ended = threading.Event()
        self.samples = {name: [] for name in tables}
        self.failures = []
        self.threads = [threading.Thread(target=self._read, args=(agent, name, table))
                        for name in tables for table in tables[name]]
        for thread in self.threads:
            thread.start()

    def _read(self, agent, name, table):
        while not self.ended.is_set():
            start = time.monotonic()
            try:
                [sample] = agent.get(f"/api/v1/tables/{table}/rows", subnode=name)["samples"]
                self.samples[name].append((sample, time.monotonic() - start))
            except OSError as error:
                # A target that is lost is no subnode; a healthy one has to be there always.
                is_lost = name in ("drop", "hang") and getattr(error, "code", 0) == 404
                if not is_lost:
                    self.failures.append(f"{table} of {name}: {error}")
            self.ended.wait(0.2)

    def close(self):
        self.ended.set()
        for thread in self.threads:
            thread.join()


class FaultsTest(FaultTargetTest):
    def test_sick_targets_never_make_a_healthy_one_late(self):
        targets = {"well": self.target("notify=5"), "hang": self.target("notify=5"),
                   "slow": self.target("slow=50", "notify=5"), "drop": self.target("notify=5"),
                   "beans": self.target("beans=5000", "pools=200"),
                   "throw": self.target("throw")}
        # A call on the one that hangs takes longer than a report waits, so a healthy target that
        # had to wait for it would be late; a busy machine alone makes no report wait so long.
        agent = self.agent(targets, timeout_ms=15000, more=TICKS,
                           settings="engine:\n  report_deadline: 10s\n  stuck_after: 20s\n")
        wait_until(lambda: threads_of(agent).count(FETCHER) == len(targets), "all are heard")
        before = self.of_connections(agent)
        targets["hang"].command("hang")
        # Less than an answer with rows, so that each of them is cut.
        targets["drop"].command("drop=400")

        tables = dict.fromkeys(targets, TABLES[-2:])
        tables["hang"] = tables["well"] = TABLES
        readers = Readers(agent, tables)
        self.addCleanup(readers.close)
        wait_until(lambda: status_of(agent, "hang")["FAILURES"] > 0,
                   "the target that hangs is given up")
        wait_until(lambda: status_of(agent, "drop")["FAILURES"] > 3, "dropped connections")
        wait_until(lambda: len(readers.samples["well"]) > 200, "many samples")
        during = threads_of(agent)
        readers.close()

        self.assertEqual(readers.failures, [])
        states = {sample["state"] for sample, _ in readers.samples["well"]}
        self.assertEqual(states, {"fresh"})
        self.assertLess(max(sample["age_ms"] for sample, _ in readers.samples["well"]), 10_000)
        self.assertLess(max(duration for _, duration in readers.samples["well"]), 10)
        for name in targets:
            self.assertEqual(during.count(f"jmx-{name}"), 1, during)
        self.assertLessEqual(during.count(FETCHER), len(targets), during)

        self.check_spoilt_cells(agent)
        self.assertEqual(
            len([row for row in agent.rows("JVM_BUFFERPOOL", subnode="beans")
                 if row["POOL"].startswith("fault-")]), 200)

        for name in ("hang", "drop"):
            targets[name].command(f"{name}=off")
            wait_until(lambda: agent.try_rows("JVM_RUNTIME", subnode=name),
                       f"rows of {name} again")
        last = agent.get("/api/v1/tables/TICKS/events")["last"]
        wait_until(lambda: {"hang", "drop"} <= self.heard_since(agent, last), "all are heard again")
        wait_until(lambda: threads_of(agent).count(FETCHER) == len(targets), "one thread for each")
        wait_until(lambda: len(self.of_connections(agent)) <= len(before) + 2,
                   f"no more threads than {before}")
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_a_target_whose_fetches_of_notifications_are_cut_is_heard_again_and_again(self):
        target = self.target("notify=20")
        agent = self.agent({"cut": target}, timeout_ms=3000, more=TICKS)
        wait_until(lambda: self.heard_since(agent, 0), "it is heard")

        # Nothing else is asked for, so hardly anything else is cut.
        target.command("drop=2000")
        before = agent.get("/api/v1/tables/TICKS/events")["last"]
        wait_until(lambda: agent.get("/api/v1/tables/TICKS/events")["last"] > before + 100,
                   "many events")

    @staticmethod
    def of_connections(agent):
        return [name for name in threads_of(agent) if name.startswith(OF_CONNECTIONS)]

    @staticmethod
    def heard_since(agent, last):
        events = agent.get("/api/v1/tables/TICKS/events", since=last)["events"]
        return {event["values"]["ORIGINNODE"] for event in events}

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


if __name__ == "__main__":
    unittest.main()
