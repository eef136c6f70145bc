"""A headless browser that a test asks for what a page shows now."""

import base64
import fcntl
import html.parser
import json
import os
import signal
import subprocess
import tempfile


class Texts(html.parser.HTMLParser):
    """The texts of a page, one per element."""

    def __init__(self, page):
        super().__init__()
        self.found = []
        self.feed(page)

    def handle_data(self, data):
        if data.strip():
            self.found.append(data.strip())


class Page:
    """A page that stays open. It is asked over the browser's debugging pipe, so that it may be live."""

    def __init__(self, url):
        self.profile = tempfile.TemporaryDirectory(
            prefix="zel-e2e-browser.", ignore_cleanup_errors=True)
        command_end, self.commands = os.pipe()
        self.answers, answer_end = os.pipe()
        # The browser wants these two as its descriptors 3 and 4; out of their way first.
        ends = [fcntl.fcntl(end, fcntl.F_DUPFD, 10) for end in (command_end, answer_end)]

        def place():
            os.dup2(ends[0], 3)
            os.dup2(ends[1], 4)
        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
             "--no-first-run", "--disable-background-networking", "--disable-component-update",
             "--disable-sync", "--disable-dev-shm-usage", f"--user-data-dir={self.profile.name}",
             "--remote-debugging-pipe"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=place, pass_fds=(3, 4), start_new_session=True)
        for end in (command_end, answer_end, *ends):
            os.close(end)
        self.received = b""
        self.count = 0
        self.session = None
        target = self.call("Target.createTarget", url=url)["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def call(self, method, **parameters):
        self.count += 1
        message = {"id": self.count, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self.received:
                more = os.read(self.answers, 65536)
                if not more:
                    raise AssertionError("the browser has ended")
                self.received += more
            text, _, self.received = self.received.partition(b"\0")
            answer = json.loads(text)
            if answer.get("id") == self.count:
                return answer["result"]

    def texts(self):
        """What stands in the document now."""
        answer = self.call("Runtime.evaluate", expression="document.documentElement?.outerHTML ?? ''",
                           returnByValue=True)
        return Texts(answer["result"]["value"]).found

    def screenshot(self, path):
        picture = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(picture))

    def close(self):
        os.killpg(self.process.pid, signal.SIGKILL)  # the browser is many processes
        self.process.wait()
        os.close(self.commands)
        os.close(self.answers)
        self.profile.cleanup()
