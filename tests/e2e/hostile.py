"""Collectors that misbehave, and what the agent has to make of each."""

import os
import re
import typing
import urllib.error

from product import Agent, wait_until

TWO_ROWS = [{"NUMBER": 1, "TEXT": "well"}, {"NUMBER": 2, "TEXT": "well"}]
NO_REPLY = "no reply data"


class Attack(typing.NamedTuple):
    """A table of the hostile application; its sample either fails, or has these rows."""

    table: str
    error: str = ""  # a pattern that the error has to match
    rows: typing.Optional[list] = None
    subnode: typing.Optional[str] = None

    def ask(self, agent):
        query = {"subnode": self.subnode} if self.subnode else {}
        return agent.get(f"/api/v1/tables/{self.table}/rows", limit=5, **query)

    def fault_of(self, answer):
        """What is wrong with an answer, or None."""
        [sample] = answer["samples"]
        rows = [row["values"] for row in answer["rows"]]
        if self.rows is None:
            is_meant = sample["state"] == "failed" and not rows
        else:
            is_meant = sample["state"] == "fresh" and rows == self.rows
        if is_meant and re.search(self.error, sample["error"] or ""):
            return None
        return f"{self.table}: {sample} {rows}"


def numbered(*numbers):
    return [{"NUMBER": number, "TEXT": "well"} for number in numbers]


# Tables that misbehave before the eyes of the toolkit.
COLLECTORS = [
    Attack("LATE", "not done within 200 ms|still running since"),
    Attack("NEVER", "not done within 200 ms|still running since"),
    Attack("STACK", "StackOverflowError"),
    Attack("MEMORY", "OutOfMemoryError"),
    Attack("THROW_OUT_OF_MEMORY", "not really"),
    Attack("THROW_UNSPEAKABLE", "Unspeakable"),
    Attack("THROW_HALF_WAY", "LinkageError: after two rows"),
    Attack("FOREIGN", "was not asked for subnode somebody else", subnode="steady"),
    Attack("MANY", "more rows than engine.row_limit",
           [{"NUMBER": number, "TEXT": ""} for number in range(5)]),
    Attack("SLOW", rows=TWO_ROWS),
]

# Answers that are spoilt behind the toolkit's back.
LIES = [
    Attack("LIE_TOO_SHORT", "invalid row size for LIE_TOO_SHORT - expected 12, got 11"),
    Attack("LIE_TOO_LONG", "invalid row size for LIE_TOO_LONG - expected 12, got 1012"),
    Attack("LIE_NO_BYTES", "invalid row size for LIE_NO_BYTES - expected 12, got 0"),
    Attack("LIE_HUGE", rows=numbered(2)),
    Attack("LIE_ONE_BAD_ROW", rows=TWO_ROWS),
    # Rows say themselves whose they are; the sample says who gave them.
    Attack("LIE_FOREIGN", subnode="steady",
           rows=[dict(row, ORIGINNODE=node) for row, node in zip(TWO_ROWS, ("x" * 32, "steady"))]),
    Attack("LIE_ROWS_ARE_MISSING", "internal exception"),
    Attack("LIE_ROWS_ARE_ONE_ARRAY", "bad_cast"),
    Attack("LIE_ROWS_ARE_A_NUMBER", "bad_cast"),
    Attack("LIE_ROWS_ARE_NUMBERS", "bad_cast"),
    Attack("LIE_A_ROW_IS_NULL", NO_REPLY),
    Attack("LIE_FEWER_ROWS_THAN_COUNTED", NO_REPLY),
    Attack("LIE_CACHE_TIME_IS_NEGATIVE", rows=TWO_ROWS),
    Attack("LIE_CACHE_TIME_IS_TEXT", "bad_cast"),
    Attack("LIE_NULL", NO_REPLY),
    Attack("LIE_BODY_IS_NULL", NO_REPLY),
    Attack("LIE_BODY_IS_MISSING", NO_REPLY),
    Attack("LIE_NO_ANSWER", NO_REPLY),
    Attack("LIE_TWO_ANSWERS", rows=numbered(1)),
    Attack("LIE_MANY_ANSWERS", rows=TWO_ROWS),
    Attack("LIE_ANSWER_TO_NOBODY", NO_REPLY),
    Attack("LIE_OF_UNKNOWN_TYPE", NO_REPLY),
    Attack("LIE_OF_ANOTHER_REQUEST", rows=TWO_ROWS),
    Attack("LIE_EXCEPTION_WITHOUT_TEXT", "internal exception"),
    Attack("LIE_BAD_NEWS", rows=TWO_ROWS),
]

# The native side's own thread never comes back.
STUCK = Attack("LIE_NEVER", "has not answered within|has not returned for")

WELL = [Attack("WELL", rows=TWO_ROWS),
        Attack("WELL_SUBNODE", subnode="steady",
               rows=[dict(row, ORIGINNODE="steady") for row in TWO_ROWS])]

# One sample is never the answer to two requests, so that each request is an attack. A million rows
# may take their time, on a busy machine.
SETTINGS = ("engine:\n  coalesce_age: 0ms\n  report_deadline: 50s\n  stuck_after: 55s\n"
            "  drain_bound: 1s\nevents:\n  subscribe: false\n")


def options_of(stops="", lying=True):
    """Edits the options file: the hostile application, and the server that tells lies."""
    jars = os.environ["ZEL_E2E_JARS"]

    def edit(options):
        lines = options.splitlines()
        path = [f"{jars}/e2e-lying-server.jar"] if lying else []
        lines[0] = ":".join([*path, f"{jars}/e2e-hostile.jar", lines[0]])
        return "\n".join(
            "-Dzel.application=e2e.HostileApplication" if line.startswith("-Dzel.application=")
            else line for line in lines) + f"\n-De2e.stops={stops}\n"
    return edit


def hostile_agent(java_home=None, settings=SETTINGS, stops="", lying=True, **arguments):
    agent = Agent(java_home=java_home, edit_options=options_of(stops, lying), settings=settings,
                  **arguments)
    if arguments.get("wait", True) and not stops:
        wait_until(lambda: agent.subnode("steady") and agent.subnode("leaving"), "two subnodes")
    return agent


def leave_while_sampled(agent):
    """A subnode goes while its sample runs; what is wrong with the answer, or None."""
    try:
        answer = Attack("GONE", subnode="leaving").ask(agent)
    except urllib.error.HTTPError as error:
        return None if error.code == 404 else f"GONE: {error}"  # it has not come back yet
    [sample] = answer["samples"]
    if sample["state"] == "failed" and "has been deregistered" in sample["error"]:
        return None
    # The news of its going came after the sample.
    return None if sample["state"] == "fresh" else f"GONE: {sample}"


def come_and_go(agent, name, is_over=lambda: False):
    """A situation on the events that is armed, ended, and gone."""
    def is_armed():
        try:
            return agent.post("/api/v1/situations",
                              {"name": name, "table": "EVENTS", "where": "NUMBER > 0"})
        except urllib.error.HTTPError as error:
            if error.code != 503:  # that one says that enough are still being ended
                raise
            return is_over()
    wait_until(is_armed, f"{name} is armed")
    agent.delete(f"/api/v1/situations/{name}")
    wait_until(lambda: is_over() or name not in
               [each["name"] for each in agent.get("/api/v1/situations")["situations"]],
               f"{name} has ended")
