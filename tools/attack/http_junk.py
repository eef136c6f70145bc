#!/usr/bin/env python3
"""Sends malformed HTTP requests to its own agent, and watches how the agent copes.

All the while, slow clients send a byte a second, and a well-behaved one asks for rows. The agent
must answer that one with 200 and fresh rows each time, never answer junk with its own failure
(500), not grow, and stop with status 0 afterwards. The requests follow from the seed.
"""

import argparse
import collections
import http.client
import json
import signal
import socket
import struct
import sys
import threading
import time
import urllib.parse

import junk_requests
import product_path

MAX_GROWTH_BYTES = 24 << 20  # of resident memory, after a tenth of the requests
ANSWER_BOUND = 20  # seconds for a good request, on a busy machine
JUNK_PATIENCE = 0.25  # seconds for an answer to a request that may be incomplete


class GoodClient(threading.Thread):
    """Asks for health and rows again and again, each time on a new connection."""

    def __init__(self, address):
        super().__init__()
        self.address = address
        self.ended = threading.Event()
        self.asked = 0
        self.longest = 0.0
        self.faults = []

    def ask(self, path):
        start = time.monotonic()
        try:
            connection = http.client.HTTPConnection(*self.address, timeout=ANSWER_BOUND)
            connection.request("GET", path)
            answer = connection.getresponse()
            text = answer.read()
            connection.close()
        except (OSError, http.client.HTTPException) as error:
            self.faults.append(f"{path}: {error!r}")
            return None
        self.asked += 1
        self.longest = max(self.longest, time.monotonic() - start)
        if answer.status != 200:
            self.faults.append(f"{path}: {answer.status} {text[:300]!r}")
            return None
        return text

    def run(self):
        while not self.ended.wait(0.1):
            self.ask("/healthz")
            text = self.ask("/api/v1/tables/JVM_MEMORY/rows?subnode=self")
            if text is not None and not json.loads(text)["rows"]:
                self.faults.append(f"no rows: {text!r}")

    def agent(self):
        text = self.ask("/api/v1/agent")
        return json.loads(text) if text is not None else None

    def close(self):
        self.ended.set()
        self.join()


class SlowClients(threading.Thread):
    """Connections that send one byte each second; a connection that is cut is opened anew."""

    def __init__(self, address, count):
        super().__init__()
        self.address = address
        self.count = count
        self.ended = threading.Event()
        self.cuts = 0

    def run(self):
        text = b"GET /healthz HTTP/1.1\r\nHost: %s:%d\r\n" % (
            self.address[0].encode(), self.address[1]) + b"X-Slow: yes\r\n" * 1000
        clients = [None] * self.count
        while not self.ended.wait(1.0):
            for i, client in enumerate(clients):
                try:
                    if client is None:
                        clients[i] = client = [socket.create_connection(self.address, 5), 0]
                    client[0].send(text[client[1]:client[1] + 1])
                    client[1] += 1
                except OSError:
                    self.cuts += 1
                    if client is not None:
                        client[0].close()
                    clients[i] = None
        for client in clients:
            if client is not None:
                client[0].close()

    def close(self):
        self.ended.set()
        self.join()


def send(address, text, end):
    """Sends junk; gives the status of the first answer, or how the connection ended."""
    with socket.create_connection(address, ANSWER_BOUND) as connection:
        connection.settimeout(JUNK_PATIENCE)
        try:
            connection.sendall(text)
            if end == "reset":
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                return "reset by us"
            if end == "close":
                return "closed by us"
            if end == "half":
                connection.shutdown(socket.SHUT_WR)
            answer = b""
            while len(answer) < 12:
                more = connection.recv(4096)
                if not more:
                    return "closed" if not answer else f"broken answer {answer!r}"
                answer += more
        except TimeoutError:
            return "waits for more"
        except (ConnectionError, BrokenPipeError):
            return "closed"
    if answer.startswith(b"HTTP/1.") and answer[9:12].isdigit():
        return answer[9:12].decode()
    return f"broken answer {answer[:60]!r}"


class Campaign:
    """Sends junk from several threads; sums up what came of it."""

    def __init__(self, address, token, seed, parallel):
        self.address = address
        self.source = junk_requests.JunkRequests(seed, f"{address[0]}:{address[1]}", token)
        self.lock = threading.Lock()
        self.left = 0
        self.outcomes = collections.defaultdict(collections.Counter)
        self.faults = []
        self.parallel = parallel

    def run(self, count):
        self.left = count
        threads = [threading.Thread(target=self._work) for _ in range(self.parallel)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def _work(self):
        while True:
            with self.lock:
                if self.left == 0:
                    return
                self.left -= 1
                kind, text, end = self.source.next()
            try:
                outcome = send(self.address, text, end)
            except OSError as error:
                outcome = f"no connection: {error!r}"
            with self.lock:
                self.outcomes[kind][outcome] += 1
                if outcome == "500" or outcome.startswith(("broken", "no connection")):
                    self.faults.append(f"{kind}: {outcome}: {text[:300]!r}")


def run(product, options):
    """Carries the campaign out; gives what went wrong."""
    agent = product.Agent(jmx="local: {enabled: false}\n")
    parts = urllib.parse.urlsplit(agent.url)
    address = (parts.hostname, parts.port)
    good, slow = GoodClient(address), SlowClients(address, options.slow)
    faults = []
    try:
        agent.subnode_of(agent.process.pid)
        good.start()
        slow.start()
        campaign = Campaign(address, (agent.home / "var/token").read_text().strip(),
                            options.seed, options.parallel)
        begin = time.monotonic()
        warm = max(1, options.count // 10)
        campaign.run(warm)
        before = good.agent()
        campaign.run(options.count - warm)
        took = time.monotonic() - begin
        good.close()
        slow.close()
        after = good.agent()
        if before is None or after is None:
            return good.faults
        resident = before["process"]["resident_bytes"]
        growth = after["process"]["resident_bytes"] - resident

        for kind, outcomes in sorted(campaign.outcomes.items()):
            print(f"  {kind}: " + ", ".join(f"{o} x {n}" for o, n in sorted(outcomes.items())))
        print(f"  {options.count} requests in {took:.0f} s, {slow.cuts} slow connections cut;\n"
              f"  {good.asked} good requests, the longest took {good.longest * 1000:.0f} ms;\n"
              f"  resident memory {resident >> 20} MiB after a tenth of the requests, "
              f"{growth / (1 << 20):+.1f} MiB since;\n  the agent counts {after['http']}")
        faults += campaign.faults + good.faults
        if growth > MAX_GROWTH_BYTES:
            faults.append(f"resident memory has grown by {growth} bytes")
        if good.ask("/readyz") is None:
            faults += good.faults
        agent.signal(signal.SIGTERM)
        status = agent.wait()
        if status != 0:
            faults.append(f"it stopped with status {status}: {agent.stderr()[-2000:]}")
    finally:
        good.ended.set()
        slow.ended.set()
        agent.close()
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", default="out", help="the installation (default: out)")
    parser.add_argument("--count", type=int, default=10_000, help="requests (default: 10000)")
    parser.add_argument("--seed", type=int, default=20240229, help="of the requests")
    parser.add_argument("--parallel", type=int, default=8, help="clients (default: 8)")
    parser.add_argument("--slow", type=int, default=50, help="slow connections (default: 50)")
    options = parser.parse_args()
    product_path.use(options.root)
    import product  # found only now

    print(f"seed {options.seed}, {options.count} requests", flush=True)
    faults = run(product, options)
    for fault in faults[:50]:
        print(f"FAULT {fault}")
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
