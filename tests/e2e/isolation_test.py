"""One sick target never delays another."""

import signal
import time
import unittest

from product import Agent, Target, installed_javas, wait_until


class IsolationTest(unittest.TestCase):
    def test_a_stopped_target_delays_no_other_and_comes_back(self):
        agent = Agent()
        self.addCleanup(agent.close)
        java = installed_javas()[0]
        sick, well = Target(java), Target(java)
        self.addCleanup(sick.close)
        self.addCleanup(well.close)
        sick_node, well_node = agent.subnode_of(sick.pid), agent.subnode_of(well.pid)
        agent.rows("JVM_THREADS", subnode=sick_node)

        sick.process.send_signal(signal.SIGSTOP)
        slowest = 0
        end = time.monotonic() + 10
        while time.monotonic() < end:
            start = time.monotonic()
            self.assertTrue(agent.rows("JVM_THREADS", subnode=well_node))
            slowest = max(slowest, time.monotonic() - start)
            agent.try_rows("JVM_THREADS", subnode=sick_node)
        self.assertLess(slowest, 1.5)
        wait_until(
            lambda: agent.subnode(sick_node)["state"] == "offline", "the target to be offline")

        sick.process.send_signal(signal.SIGCONT)
        frozen = sick.facts()["uptime"]

        def is_back():
            rows = agent.try_rows("JVM_RUNTIME", subnode=sick_node)
            return rows and rows[0]["UPTIME_MS"] > frozen
        wait_until(is_back, "fresh rows of the target that was stopped")


if __name__ == "__main__":
    unittest.main()
