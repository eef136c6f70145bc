"""Events and the token, as a program outside of the agent sees them."""

import json
import stat
import unittest
import urllib.error
import urllib.request

from product import DEADLINE, Agent, wait_until

EVENTS = "/api/v1/tables/JVM_GC_EVENT/events"


class Stream:
    """A client of the live stream."""

    def __init__(self, agent, last_id=None, query=""):
        headers = {"Last-Event-ID": last_id} if last_id else {}
        self.answer = urllib.request.urlopen(
            urllib.request.Request(f"{agent.url}/api/v1/stream{query}", headers=headers),
            timeout=DEADLINE)
        self.last_id = last_id

    def next(self):
        """The kind and the data of the next message with data."""
        kind, data = None, None
        for line in self.answer:
            name, _, value = line.decode().rstrip("\n").partition(": ")
            if name == "id":
                self.last_id = value
            elif name == "event":
                kind = value
            elif name == "data":
                data = json.loads(value)
            elif not name and data is not None:
                return kind, data
        raise AssertionError("the stream has ended")

    def close(self):
        self.answer.close()


class ApiTest(unittest.TestCase):
    def agent(self, **arguments):
        agent = Agent(**arguments)
        self.addCleanup(agent.close)
        wait_until(lambda: agent.subnode("self"), "the agent's own JVM is a subnode")
        wait_until(lambda: agent.get(EVENTS)["subscribed"], "events come in")
        return agent

    def stream(self, agent, last_id=None, query=""):
        stream = Stream(agent, last_id, query)
        self.addCleanup(stream.close)
        return stream

    def collect(self, agent):
        """Has the agent's own JVM collect its garbage."""
        answer = agent.post("/api/v1/actions", {"node": "self", "command": "gc"})
        self.assertEqual((answer["state"], answer["return_code"]), ("completed", 0))

    def test_a_collection_is_told_to_pollers_and_streams(self):
        agent = self.agent()
        stream = self.stream(agent, query="?kind=event&table=JVM_GC_EVENT")
        begin = agent.get(EVENTS)["next"]

        self.collect(agent)
        kind, data = stream.next()

        self.assertEqual((kind, data["table"]), ("event", "JVM_GC_EVENT"))
        self.assertEqual(data["events"][0]["values"]["ORIGINNODE"], "self")
        page = agent.get(EVENTS, since=begin)
        self.assertEqual(page["events"][0], data["events"][0])
        self.assertEqual((page["missed"], page["lost"], page["reset"]), (0, 0, False))
        later = agent.get(EVENTS, since=page["next"])["events"]
        self.assertFalse([event for event in later if event["seq"] <= page["last"]])

    def test_a_stream_goes_on_where_it_was_and_knows_another_run(self):
        agent = self.agent()
        first = self.stream(agent, query="?kind=event&table=JVM_GC_EVENT")
        self.collect(agent)
        first.next()
        first.close()
        self.collect(agent)

        second = self.stream(agent, first.last_id, "?kind=event&table=JVM_GC_EVENT")
        kind, data = second.next()
        self.assertEqual(kind, "event")
        self.assertGreater(data["events"][0]["seq"], 1, "the first one is not told again")

        begin = agent.get(EVENTS)["next"]
        other = self.agent()
        self.collect(other)
        kind, data = self.stream(other, first.last_id, "?kind=event").next()
        self.assertEqual((kind, data), ("missed", {"missed": None, "reset": True}))
        wait_until(lambda: other.get(EVENTS)["events"], "the collection is told")
        page = other.get(EVENTS, since=begin)
        self.assertEqual((page["reset"], page["events"][0]["seq"]), (True, 1))

    def test_nothing_is_changed_without_the_token(self):
        agent = self.agent()
        token = agent.home / "var/token"
        self.assertEqual(stat.S_IMODE(token.stat().st_mode), 0o600)

        for headers in ({}, {"Authorization": "Bearer " + "0" * 64}):
            request = urllib.request.Request(
                agent.url + "/api/v1/actions", b'{"node": "self", "command": "gc"}',
                dict(headers, **{"Content-Type": "application/json"}))
            with self.assertRaises(urllib.error.HTTPError) as refused:
                urllib.request.urlopen(request, timeout=DEADLINE)
            self.assertEqual(refused.exception.code, 401)
            self.assertEqual(json.load(refused.exception)["type"],
                             "urn:zel:problem:unauthorized")
            refused.exception.close()

        self.assertEqual(agent.get("/api/v1/actions")["actions"], [])


if __name__ == "__main__":
    unittest.main()
