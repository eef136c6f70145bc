"""Text of every kind reaches the application whole, and comes back whole."""

import unittest
import urllib.parse
import urllib.request

from product import DEADLINE, Agent, with_test_application

# One to four bytes of UTF-8 each; the last two stand above U+FFFF.
TEXT = "a\u00e9\u20ac\U0001f600\U0010fffd!"


def spelled(text):
    """What the application answers: the text, and its code points."""
    return text + " =" + "".join(f" {ord(character):X}" for character in text)


class TextsTest(unittest.TestCase):
    def setUp(self):
        # The code page of the machine has none of these characters.
        self.agent = Agent(edit_options=with_test_application, environment={"LC_ALL": "C"})
        self.addCleanup(self.agent.close)

    def spell(self, path, content=None):
        """The page's answer to a path below it, or to a content."""
        service = self.agent.get("/api/v1/services")["services"][0]["address"]
        token = (self.agent.home / "var/token").read_text().strip()
        request = urllib.request.Request(
            self.agent.url + service + "spell" + urllib.parse.quote(path), content,
            {"Authorization": f"Bearer {token}", "Content-Type": "text/plain"})
        with urllib.request.urlopen(request, timeout=DEADLINE) as answer:
            return answer.read().decode().split("\n")

    def test_a_command_reaches_the_application_whole_in_either_code_page(self):
        for code_page in ("native", "utf-8"):
            answer = self.agent.post(
                "/api/v1/actions", {"command": "spell " + TEXT, "code_page": code_page})
            self.assertEqual(answer["message"], spelled(TEXT), code_page)
        self.assertNotIn("ERROR", self.agent.trace())

    def test_the_path_of_a_page_reaches_the_application_whole(self):
        self.assertEqual(self.spell("/" + TEXT)[0], spelled("/" + TEXT))

    def test_the_content_for_a_page_reaches_the_application_whole_with_its_zero_bytes(self):
        text = TEXT + "\0" + TEXT

        self.assertEqual(self.spell("", text.encode())[1], spelled(text))


if __name__ == "__main__":
    unittest.main()
