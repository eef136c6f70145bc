"""Events, actions and pages of a monitored JVM, asked for over HTTP."""

import json
import os
import pathlib
import unittest
import urllib.error
import urllib.request

from fault_targets import (FETCHER, TICKS, FaultTargetTest, status_of, threads_of,
                           wait_until_up)
from product import DEADLINE, wait_until

DOCUMENT = pathlib.Path(os.environ["ZEL_E2E_SOURCE"]) / "docs/formats/targets-json.md"
ACTIONS = """actions:
  - name: fault
    mbean: zel.fault:type=Control
    operation: apply
    arguments:
      - name: mode
        choices: [status, nonsense]
"""


class CommandsTest(FaultTargetTest):
    def events(self, agent, **query):
        return agent.get("/api/v1/tables/TICKS/events", limit=100000, **query)

    def read(self, agent):
        for table in ("JVM_RUNTIME", "JVM_OS", "JVM_MEMPOOL"):
            agent.try_rows(table, subnode="cut")
        return True

    def test_dropped_connections_leave_no_thread_and_tell_no_event_twice(self):
        target = self.target("notify=20")
        agent = self.agent({"cut": target}, timeout_ms=3000, more=TICKS)
        wait_until(lambda: self.events(agent)["events"], "events")
        before = threads_of(agent)

        for _ in range(5):
            failures = status_of(agent, "cut")["FAILURES"]
            # The connections that stand end one by one, while new ones may still be made.
            target.command("drop=5000")
            wait_until(lambda: self.read(agent) and status_of(agent, "cut")["FAILURES"] > failures,
                       "a connection is dropped")
            target.command("drop=off")
            wait_until_up(agent, "cut")
        last = self.events(agent)["last"]
        wait_until(lambda: self.events(agent)["last"] >= last + 20, "events again")

        numbers = [event["values"]["SOURCE_SEQ"] for event in self.events(agent)["events"]]
        self.assertEqual(len(numbers), len(set(numbers)), numbers)
        self.assertGreaterEqual(self.events(agent)["lost"], 5)
        wait_until(lambda: threads_of(agent).count(FETCHER) == 1, "one thread that fetches")
        wait_until(lambda: len(threads_of(agent)) <= len(before) + 3, "as many threads as before")

    def test_a_jvm_is_listened_to_only_while_a_situation_watches(self):
        target = self.target("notify=20")
        agent = self.agent({"shop": target}, timeout_ms=3000, more=TICKS,
                           settings="events:\n  subscribe: false\n")
        agent.rows("JVM_RUNTIME", subnode="shop")
        self.assertNotIn(FETCHER, threads_of(agent))

        agent.post("/api/v1/situations", {"name": "tick", "table": "TICKS"})
        wait_until(lambda: agent.get("/api/v1/situations/tick")["matches"] > 0, "a tick")
        self.assertEqual(threads_of(agent).count(FETCHER), 1)

        agent.delete("/api/v1/situations/tick")
        wait_until(lambda: FETCHER not in threads_of(agent), "nobody listens any more")

    def test_actions_run_at_another_jvm_and_are_refused_with_the_reason(self):
        target = self.target()
        agent = self.agent({"shop": target}, timeout_ms=3000, more=ACTIONS)

        def run(command, node="shop"):
            answer = agent.post("/api/v1/actions", {"node": node, "command": command})
            return answer["return_code"], answer["message"]

        code, message = run("gc")
        self.assertEqual(code, 0, message)
        self.assertRegex(message, r"heap used: \d+ MiB before, \d+ MiB after")
        code, message = run("heap-histogram 3")
        self.assertEqual(code, 0, message)
        self.assertIn("#instances", message)
        self.assertEqual(run("fault status"), (0, "well"))
        for command, expected, reason in (
                ("fault", 2, "it takes 1 arguments, not 0"),
                ("fault hang", 2, "expected one of status, nonsense"),
                ("fault nonsense", 1, "UsageException")):
            code, message = run(command)
            self.assertEqual(code, expected, message)
            self.assertIn(reason, message)
        self.assertEqual(run("quit")[0], 127)

        target.command("hang")
        self.check_long_action(agent, run, target)
        target.close()
        wait_until(lambda: status_of(agent, "shop")["STATE"] == "down", "the target is down")
        try:
            code, message = run("gc")
            self.assertIn(code, (3, None), message)  # None: it went before its turn came
        except urllib.error.HTTPError as error:
            self.assertEqual(error.code, 404)  # it has been deregistered

    def check_long_action(self, agent, run, target):
        """A target that is overdue refuses at once; nothing of it is done later."""
        def is_given_up():
            agent.try_rows("JVM_RUNTIME", subnode="shop")
            return status_of(agent, "shop")["STATE"] != "up"
        wait_until(is_given_up, "the target is given up")
        target.command("off")
        wait_until_up(agent, "shop")
        wait_until(lambda: agent.subnode("shop"), "the target is a subnode")
        self.assertEqual(run("fault status"), (0, "well"))

    def test_the_page_shows_the_targets_and_what_their_attributes_cost(self):
        agent = self.agent({"shop": self.target("slow=20")}, timeout_ms=3000)
        [service] = agent.get("/api/v1/services")["services"]

        def page(path):
            with urllib.request.urlopen(agent.url + service["address"] + path,
                                        timeout=DEADLINE) as answer:
                return answer.headers.get_content_type(), answer.read().decode()

        media, text = page("")
        self.assertEqual(media, "text/html")
        self.assertIn('<a href="attributes?target=shop">shop</a>', text)
        targets = agent.get(service["address"] + "targets.json")["targets"]
        self.assertEqual([target["name"] for target in targets], ["self", "shop"])
        document = DOCUMENT.read_text(encoding="utf-8")
        example = json.loads(document.split("```json")[1].split("```")[0])
        self.assertEqual(targets[0].keys(), example["targets"][0].keys())
        self.assertRegex(targets[0]["state_since"], r"^20\d\d-\d\d-\d\dT[\d:]{8}\.\d{3}Z$")
        media, text = page("attributes?target=shop")
        self.assertEqual(media, "text/html")
        self.assertIn("java.lang:type=Memory", text)


if __name__ == "__main__":
    unittest.main()
