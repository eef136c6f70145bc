"""Collectors that are stuck, throw, or lie cost their own samples and nothing else."""

import signal
import threading
import unittest

from hostile import (COLLECTORS, LIES, SETTINGS, STUCK, TWO_ROWS, WELL, Attack, come_and_go,
                     hostile_agent, leave_while_sampled)
from product import wait_until


class HostileTest(unittest.TestCase):
    def agent(self, **arguments):
        agent = hostile_agent(**arguments)
        self.addCleanup(agent.close)
        return agent

    def check_well(self, agent):
        for attack in WELL:
            self.assertIsNone(attack.fault_of(attack.ask(agent)))

    def test_each_attack_costs_its_own_sample_and_nothing_else(self):
        agent = self.agent()

        for attack in (*COLLECTORS, *LIES, *COLLECTORS[:2]):
            self.assertIsNone(attack.fault_of(attack.ask(agent)))
            self.check_well(agent)

        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_a_thread_that_never_comes_back_stops_neither_readers_nor_the_end(self):
        agent = self.agent(settings=SETTINGS.replace("50s", "1s"))

        self.assertIsNone(STUCK.fault_of(STUCK.ask(agent)))
        wait_until(lambda: agent.rows("WELL") == TWO_ROWS, "rows of a collector that is well")

        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_a_sink_that_outlives_its_sample_takes_no_more_rows(self):
        agent = self.agent(lying=False)

        # Rows that were there when the collector returned belong to the sample.
        rows = agent.rows("LEAKS")
        self.assertEqual(rows[:2], TWO_ROWS)
        self.assertLessEqual({row["TEXT"] for row in rows[2:-1]}, {"leaked"})
        # The last one may be on its way while it is still being filled.
        self.assertTrue("leaked".startswith(rows[-1]["TEXT"]) or len(rows) == 2, rows[-1])

        self.check_well(agent)
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_a_subnode_may_go_while_it_is_sampled(self):
        agent = self.agent()
        answers = []

        def ask():
            while "failed" not in answers:
                if agent.subnode("leaving")["state"] == "online":
                    answers.append(Attack("GONE", subnode="leaving").ask(agent)
                                   ["samples"][0]["state"])
                self.check_well(agent)
            return True
        wait_until(ask, "a sample that is lost with its subnode")

        wait_until(lambda: agent.subnode("leaving")["state"] == "online", "the subnode is back")
        [row] = [each for each in agent.get("/api/v1/tables")["tables"] if each["name"] == "GONE"]
        self.assertEqual(row["sampling"]["stuck"], 0)
        self.assertIsNone(leave_while_sampled(agent))

    def test_subscriptions_come_and_go_in_a_storm_of_events(self):
        agent = self.agent()
        ended = threading.Event()
        faults = []

        def watch(name):
            try:
                while not ended.is_set():
                    come_and_go(agent, name)
            except (AssertionError, OSError) as error:
                faults.append(error)
        agent.rows("STORM")
        watchers = [threading.Thread(target=watch, args=(f"S{i}",)) for i in range(3)]
        for watcher in watchers:
            watcher.start()
        try:
            wait_until(lambda: agent.rows("STORM")[0]["NUMBER"] > 500, "500 events")
            self.check_well(agent)
        finally:
            ended.set()
            for watcher in watchers:
                watcher.join()
        self.assertEqual(faults, [])

        agent.post("/api/v1/situations", {"name": "LAST", "table": "EVENTS", "where": ""})
        wait_until(lambda: agent.get("/api/v1/situations/LAST")["matches"] > 10,
                   "events still come")
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_it_ends_with_status_1_when_the_application_can_not_be_configured(self):
        for stop in ("critical@configure", "error@configure"):
            with self.subTest(stop=stop):
                agent = self.agent(stops=stop, wait=False)
                self.assertEqual(agent.wait(), 1)
                self.assertIn("no configuration", agent.stderr())

    def test_it_says_why_it_ends_after_a_critical_exception_and_calls_it_no_success(self):
        agent = self.agent(stops="critical@0", wait=False)
        self.assertEqual(agent.wait(), 255, agent.stderr())
        self.assertIn("zelagent: the agent ended though nobody had asked it to, with status 255\n",
                      agent.stderr())
        self.assertIn("FatalApplicationException: critical", agent.stderr())

    def test_it_ends_with_status_255_after_an_error_out_of_the_message_server(self):
        agent = self.agent(stops="error@0", wait=False)
        self.assertEqual(agent.wait(), 255, agent.stderr())
        self.assertIn("FATAL: Agent terminated with the critical Java exception.", agent.trace())


if __name__ == "__main__":
    unittest.main()
