"""Events of an application on their way to the clients of the live stream.

The application hands events over as fast as the agent takes them. Every event has a number of the
source, and losses are reported: what was handed over must be what a client got and what it was
told is lost. Only a client that is too slow for the agent's journal misses more; its gap in the
agent's own numbers says how many.
"""

import contextlib
import http.client
import re
import socket
import threading
import time

from product_app import BenchAgent, ask, java_homes, java_version, tell_machine

TABLE = "BENCH_EVENTS"
PATH = f"/api/v1/stream?kind=event&table={TABLE}"
EVENT = b'{"seq":'
SEQ = re.compile(rb'\{"seq":(\d+),.*?"EVENTSEQ":(\d+),', re.DOTALL)
UNPACED = 1_000_000_000
HEAD = re.compile(rb'data: \{"table":"' + TABLE.encode() + rb'","lost":(\d+),"events":\[')


class Client:
    """Follows the stream and adds up what comes."""

    def __init__(self, port):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
        self.connection.request("GET", PATH)
        self.socket = self.connection.sock
        self.answer = self.connection.getresponse()
        self.events = 0      # that came
        self.lost = 0        # that the agent says have not reached it
        self.missed = 0      # gaps in the agent's numbers: what it kept no longer
        self.last_seq = 0    # the agent's number of the newest
        self.last_source = 0  # the source's
        self.first_at = self.last_at = None
        self.problem = None
        self.thread = threading.Thread(target=self._follow, daemon=True)
        self.thread.start()

    def _follow(self):
        rest = b""
        try:
            while piece := self.answer.read1(1 << 18):
                *lines, rest = (rest + piece).split(b"\n")
                for line in lines:
                    if line.startswith(b"data: {\"table\":"):
                        self._take(line)
        except (OSError, http.client.HTTPException, ValueError, AttributeError) as error:
            self.problem = self.problem or repr(error)

    def _take(self, line):
        now = time.monotonic()
        lost = int(HEAD.match(line)[1])
        count = line.count(EVENT)
        first = SEQ.match(line, line.index(EVENT))
        last = SEQ.match(line, line.rindex(EVENT))
        seq, source = int(first[1]), int(first[2])
        # Within a message nothing is missing: the ends and the number of events say so.
        if int(last[1]) - seq != count - 1 or int(last[2]) - source != count - 1:
            self.problem = f"a message has a gap: {line[:200]!r}"
        gap = seq - self.last_seq - 1
        absent = source - self.last_source - 1
        if absent != lost and not gap:
            self.problem = f"{absent} events are missing before {source}, {lost} are reported lost"
        self.lost += lost
        self.missed += gap
        self.events += count
        self.last_seq, self.last_source = int(last[1]), int(last[2])
        self.first_at = self.first_at or now
        self.last_at = now

    def close(self):
        with contextlib.suppress(OSError):
            self.socket.shutdown(socket.SHUT_RDWR)
        self.thread.join(10)
        self.connection.close()


def deaf_client(port):
    """A client that asks for the stream and reads nothing of it."""
    connection = socket.socket()
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    connection.connect(("127.0.0.1", port))
    connection.sendall(f"GET {PATH} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\n\r\n".encode())
    return connection


def counts(agent):
    time.sleep(0.6)  # longer than reports share a sample
    [row] = agent.rows("BENCH_COUNTS")
    return row


def wait_until_quiet(agent, clients):
    """Waits until everything that was handed over has gone its way; returns the counts."""
    before = None
    while True:
        row = counts(agent)
        now = (row, [client.events for client in clients])
        if now == before and not row["RUNNING"] and row["HANDED"] == row["SENT"] + row["LOST"]:
            return row
        before = now


def check(agent, clients, row):
    """Whether the numbers of the source, the agent and the clients agree."""
    page = ask(agent, f"/api/v1/tables/{TABLE}/events?limit=1")
    problems = [client.problem for client in clients if client.problem]
    if page["last"] + page["lost"] != row["HANDED"]:
        problems.append(f"{row['HANDED']} handed over, the agent has {page['last']} and lost"
                        f" {page['lost']}")
    for client in clients:
        if client.events + client.missed != page["last"]:
            problems.append(f"the agent has {page['last']}, a client got {client.events} and"
                            f" missed {client.missed}")
        # The loss before events that a client missed is not told to it.
        if client.lost > page["lost"] or (not client.missed and client.lost != page["lost"]):
            problems.append(f"a client was told of {client.lost} lost events, the agent has"
                            f" {page['lost']}")
    if problems:
        raise SystemExit("; ".join(problems))


def round_of(options, home, name, readers=1, deaf=0, rate=None, settings=""):
    """One run of the application; `rate` takes the place of the toolkit's pace."""
    pace = [f"-Dzel.events.rate={rate}"] if rate else []
    with contextlib.closing(BenchAgent(options, home, pace, settings)) as agent:
        clients = [Client(agent.connection.port) for _ in range(readers)]
        sleepers = [deaf_client(agent.connection.port) for _ in range(deaf)]
        agent.post("/api/v1/actions",
                   {"command": f"emit {int(1000 * options.seconds)}"})
        wait_until_quiet(agent, clients)
        for client in clients:
            # One message has no duration.
            client.rate = client.events / max(client.last_at - client.first_at, 0.001)
        # A loss is reported with the event that follows it.
        agent.post("/api/v1/actions", {"command": "emit 0"})
        row = wait_until_quiet(agent, clients)
        check(agent, clients, row)
        for client in clients:
            client.close()
        for sleeper in sleepers:
            sleeper.close()
    for number, client in enumerate(clients, 1):
        print(f"{name if number == 1 else '':36} handed over {row['HANDED']:9}, client {number} got"
              f" {client.events:9} ({client.rate:8.0f}/s),"
              f" reported lost {client.lost:8}, missed {client.missed:8}")


def measure(options):
    tell_machine()
    small_queue = "events: {queue_bytes: 64KiB}\n"
    for home in java_homes():
        print(f"JDK {java_version(home)}, events for {options.seconds} s")
        round_of(options, home, "one client")
        round_of(options, home, "two, and one that reads nothing", 2, 1)
        round_of(options, home, "one client, 200,000 a second", rate=200_000)
        round_of(options, home, "one client, without a pace", rate=UNPACED)
        round_of(options, home, "the three clients, without a pace", 2, 1, UNPACED)
        round_of(options, home, "small queue, without a pace", rate=UNPACED, settings=small_queue)
    print("All numbers agree.")
