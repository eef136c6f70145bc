#!/usr/bin/env python3
"""Opens connections to an agent of its own and leaves them, or leaves them open, in all ways that
cost places: after a byte, after a part of a request, silent, with a stream, with an answer that
nobody takes, with content that is refused. It also sends bad requests for their trace.

After each attack a well-behaved client must be answered at once, and at the end the agent must
stop with status 0.
"""

import argparse
import contextlib
import http.client
import signal
import socket
import sys
import time
import urllib.parse

import product_path

ANSWER_BOUND = 3  # seconds for a good request beside an attack, on a busy machine
TRACE_BOUND = 64 << 10  # bytes of trace for all bad requests of a minute, of each kind
CONTENT = 20 << 20  # bytes


class Attacks:
    """Each method is an attack; it returns when its harm would be done, and gives its faults."""

    def __init__(self, address, log, count):
        self.address = address
        self.log = log
        self.count = count
        self.host = b"Host: %s:%d\r\n" % (address[0].encode(), address[1])

    def connect(self):
        return socket.create_connection(self.address, ANSWER_BOUND)

    def ask(self):
        """Asks as a good client does, which tries again; gives the fault, if there is one."""
        end = time.monotonic() + ANSWER_BOUND
        while True:
            try:
                connection = http.client.HTTPConnection(*self.address, timeout=ANSWER_BOUND)
                connection.request("GET", "/healthz")
                status = connection.getresponse().status
                connection.close()
                return [] if status == 200 else [f"answered {status}"]
            except (OSError, http.client.HTTPException) as error:
                if time.monotonic() > end:
                    return [f"no answer within {ANSWER_BOUND} s: {error!r}"]
                time.sleep(0.1)

    def left_open(self, pieces):
        """Holds connections that have sent one of the pieces, and asks beside them."""
        with contextlib.ExitStack() as held:
            for i in range(self.count):
                connection = held.enter_context(self.connect())
                with contextlib.suppress(ConnectionError):
                    connection.sendall(pieces[i % len(pieces)])
            return self.ask()

    def parts(self):
        return (b"G", b"GET /healthz HTTP/1.1\r\n", b"GET /healthz HTTP/1.1\r\n" + self.host,
                b"POST /healthz HTTP/1.1\r\n" + self.host + b"Content-Length: 9\r\n\r\nhel")

    def left_after_a_byte(self):
        for _ in range(self.count):
            with self.connect() as connection:
                connection.sendall(b"G")
        return self.ask()

    def left_in_a_request(self):
        for i in range(self.count):
            with self.connect() as connection:
                connection.sendall(self.parts()[i % 4])
        return self.ask()

    def silent(self):
        return self.left_open((b"",))

    def unfinished(self):
        return self.left_open(self.parts())

    def answers_not_taken(self):
        request = b"GET /api/v1/tables HTTP/1.1\r\n" + self.host + b"\r\n"
        return self.left_open((request * 2000,))

    def streams_left_in_turn(self):
        refused = 0
        request = b"GET /api/v1/stream HTTP/1.1\r\n" + self.host + b"\r\n"
        for _ in range(self.count * 10):
            with self.connect() as connection:
                connection.sendall(request)
                refused += not connection.recv(4096).startswith(b"HTTP/1.1 200")
        return self.ask() + ([f"{refused} streams refused"] if refused else [])

    def content_refused(self):
        faults = []
        for _ in range(10):
            with self.connect() as connection:
                try:
                    connection.sendall(b"POST /api/v1/actions HTTP/1.1\r\n" + self.host +
                                       b"Content-Length: %d\r\n\r\n" % CONTENT + bytes(CONTENT))
                    answer = connection.recv(4096)
                except OSError as error:
                    answer = repr(error).encode()
                if not answer.startswith((b"HTTP/1.1 413", b"HTTP/1.1 401")):
                    faults.append(f"the refusal was lost: {answer[:60]!r}")
        return self.ask() + faults

    def bad_requests(self):
        def traced():
            return sum(file.stat().st_size for file in self.log.parent.glob("agent*log"))

        before = traced()
        for i in range(self.count * 5):
            with self.connect() as connection:
                connection.sendall((b"GET / HTTP/9.%d\r\n\r\n", b"no colon %d\r\n\r\n",
                                    b"POST / HTTP/1.1\r\nContent-Length: -%d\r\n\r\n",
                                    b"GET / HTTP/1.1\r\nno colon %d\r\n\r\n")[i % 4] % (i % 10))
                with contextlib.suppress(OSError):
                    connection.recv(4096)
        grown = traced() - before
        print(f"    {grown / (self.count * 5):.1f} bytes of trace for each bad request")
        return self.ask() + ([f"{grown} bytes of trace"] if grown > TRACE_BOUND else [])


def run(product, options):
    """Carries the attacks out; gives what went wrong."""
    agent = product.Agent(jmx="local: {enabled: false}\n")
    parts = urllib.parse.urlsplit(agent.url)
    faults = []
    try:
        attacks = Attacks((parts.hostname, parts.port), agent.root / "logs/agent.log",
                          options.count)
        for attack in (attacks.left_after_a_byte, attacks.left_in_a_request, attacks.silent,
                       attacks.unfinished, attacks.answers_not_taken, attacks.streams_left_in_turn,
                       attacks.content_refused, attacks.bad_requests):
            begin = time.monotonic()
            found = attack()
            print(f"  {attack.__name__}: {time.monotonic() - begin:.1f} s, {len(found)} faults",
                  flush=True)
            faults += [f"{attack.__name__}: {fault}" for fault in found]
        agent.signal(signal.SIGTERM)
        status = agent.wait()
        if status != 0:
            faults.append(f"it stopped with status {status}: {agent.stderr()[-2000:]}")
    finally:
        agent.close()
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", default="out", help="the installation (default: out)")
    parser.add_argument("--count", type=int, default=1000,
                        help="connections of an attack; ten times as many streams (default: 1000)")
    options = parser.parse_args()
    product_path.use(options.root)
    import product  # found only now

    faults = run(product, options)
    for fault in faults[:50]:
        print(f"FAULT {fault}")
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
