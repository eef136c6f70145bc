"""Targets that end, are killed or lose their connections, and come back."""

import os
import signal
import unittest

from fault_targets import FaultTarget, FaultTargetTest, status_of, threads_of, wait_until_up
from product import wait_until


class RestartsTest(FaultTargetTest):
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
                rows = agent.try_rows("JVM_RUNTIME", subnode="killed")
                return rows and rows[0]["PID"] != runtime["PID"]
            wait_until(is_another, "rows of another process")
        for _ in range(cuts):
            failures = status_of(agent, "cut")["FAILURES"]
            targets["cut"].command("drop=0")
            wait_until(lambda: agent.try_rows("JVM_THREADS", subnode="cut") is not None and
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
