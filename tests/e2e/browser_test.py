"""The page at the agent's address, in a real browser."""

import html.parser
import subprocess
import tempfile
import unittest

from product import Agent, Target, installed_javas


class Texts(html.parser.HTMLParser):
    """The texts of a page, one per element."""

    def __init__(self, page):
        super().__init__()
        self.found = []
        self.feed(page)

    def handle_data(self, data):
        if data.strip():
            self.found.append(data.strip())


class BrowserTest(unittest.TestCase):
    def page(self, url):
        """The document as it stands after its scripts have run for a while of the page's own time."""
        with tempfile.TemporaryDirectory(prefix="zel-e2e-browser.") as profile:
            answer = subprocess.run(
                ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                 "--no-first-run", "--disable-background-networking", "--disable-component-update",
                 "--disable-sync", "--disable-dev-shm-usage", f"--user-data-dir={profile}",
                 "--virtual-time-budget=6000", "--dump-dom", url],
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=120,
                check=True)
        return Texts(answer.stdout).found

    def test_a_chosen_table_shows_live_rows_of_every_jvm(self):
        target = Target(installed_javas()[0])
        self.addCleanup(target.close)
        agent = Agent()
        self.addCleanup(agent.close)
        subnode = agent.subnode_of(target.pid)

        texts = self.page(agent.url + "/#table=JVM_RUNTIME")

        for text in ("JVM_MEMORY", "JVM_TARGETS", subnode, "self", "START_TIME_MS"):
            self.assertIn(text, texts)
        [runtime] = agent.rows("JVM_RUNTIME", subnode=subnode)
        self.assertIn(runtime["VM_VERSION"], texts)


if __name__ == "__main__":
    unittest.main()
