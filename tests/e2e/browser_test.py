"""The page at the agent's address, in a real browser."""

import unittest

from browser import Page
from product import Agent, Target, installed_javas, wait_until


class BrowserTest(unittest.TestCase):
    def setUp(self):
        self.agent = Agent()
        self.addCleanup(self.agent.close)

    def open(self, address):
        page = Page(self.agent.url + address)
        self.addCleanup(page.close)
        return page

    def test_a_chosen_table_shows_live_rows_of_every_jvm(self):
        target = Target(installed_javas()[0])
        self.addCleanup(target.close)
        subnode = self.agent.subnode_of(target.pid)
        [runtime] = wait_until(lambda: self.agent.try_rows("JVM_RUNTIME", subnode=subnode),
                               "its first row")
        page = self.open("/#table=JVM_RUNTIME")

        expected = {"JVM_MEMORY", "JVM_TARGETS", subnode, "self", "START_TIME_MS",
                    runtime["VM_VERSION"]}
        wait_until(lambda: expected <= set(page.texts()), f"{expected} on the page")

    def test_an_event_appears_on_the_open_page(self):
        page = self.open("/")
        wait_until(lambda: "None since this page was opened." in page.texts(), "the page")
        wait_until(lambda: "JVM_GC_EVENT" in page.texts(), "its tables")

        answer = self.agent.post("/api/v1/actions", {"node": "self", "command": "gc"})

        self.assertEqual(answer["return_code"], 0, answer)
        wait_until(lambda: any("System.gc()" in text for text in page.texts()), "the collection")


if __name__ == "__main__":
    unittest.main()
