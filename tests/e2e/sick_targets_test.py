"""Targets whose values, names and failures are expensive to handle cost their own cells."""

import signal
import unittest

import sick
from fault_targets import FaultTargetTest, status_of
from product import wait_until

ROUNDS = 8


class SickTargetsTest(FaultTargetTest):
    def start(self):
        targets = sick.targets()
        self.addCleanup(sick.close, targets)
        # As long as a busy machine may need; only what never ends is late.
        return targets, self.agent(
            targets, timeout_ms=15000,
            settings="engine:\n  coalesce_age: 0ms\n  report_deadline: 20s\n  stuck_after: 30s\n")

    def test_what_a_sick_target_sends_costs_its_own_cells_and_a_bounded_trace(self):
        targets, agent = self.start()
        before = len(agent.trace())

        for _ in range(ROUNDS):
            for name in targets:
                for table in sick.TABLES:
                    sample, seconds = sick.read(agent, name, table)
                    if name == "well":
                        self.assertEqual(sample["state"], "fresh", sample)
                        self.assertLess(seconds, 10)

        for name, cells in sick.SPOILT.items():
            self.assertEqual(sick.spoilt_cells(agent, name), cells, name)
        for name in targets:
            self.assertEqual(status_of(agent, name)["STATE"], "up", name)
        pools = agent.rows("JVM_BUFFERPOOL", subnode="names")
        self.assertTrue([row for row in pools if row["POOL"] == "direct"], pools)
        # Each look found 300 new names of 5,000 characters, none of which has what it should.
        self.assertLess(len(agent.trace()) - before, 150_000)
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_cells_get_their_values_back_when_the_trouble_is_over(self):
        targets, agent = self.start()
        self.assertEqual(sick.spoilt_cells(agent, "all"), sick.SPOILT["all"])

        targets["all"].command("off")

        wait_until(lambda: not sick.spoilt_cells(agent, "all"), "all cells have values")
        self.assertEqual(sick.spoilt_cells(agent, "nest"), sick.SPOILT["nest"])


if __name__ == "__main__":
    unittest.main()
