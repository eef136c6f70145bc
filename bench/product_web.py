"""Web pages of the application with 32 clients, beside the bare HTTP library with the same bytes.

Bare server and agent take turns, so that what else the machine does hits both; a round's ratio is
the agent's answers per second over those of the bare server just before it. The processor time that
a server takes for an answer depends less on what else the machine does.
"""

import contextlib
import json
import os
import pathlib
import re
import socket
import statistics
import subprocess
import tempfile

from product import Agent
from product_app import (BenchAgent, build_folder, java_homes, java_version, runs_on,
                         service_address, tell_machine)

CLIENTS = 32
CONSOLE = "/app.css"  # the agent's own HTTP server without its web service


def raw_answer(port, path):
    """The answer to a request as it comes off the wire."""
    with socket.create_connection(("127.0.0.1", port), timeout=60) as connection:
        connection.sendall(
            f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\n\r\n".encode())
        answer = b""
        while True:
            head, end, body = answer.partition(b"\r\n\r\n")
            if end:
                length = re.search(rb"^Content-Length: (\d+)", head, re.MULTILINE)
                if len(body) >= int(length[1]):
                    return answer
            piece = connection.recv(65536)
            if not piece:
                raise SystemExit(f"{path}: the answer ends early: {answer!r}")
            answer += piece


def without_date(answer):
    head, _, body = answer.partition(b"\r\n\r\n")
    lines = head.split(b"\r\n")
    return lines[0], sorted(each for each in lines[1:] if not each.startswith(b"Date: ")), body


@contextlib.contextmanager
def bare_server(folder, answer):
    """The HTTP library that gives this answer; its port."""
    with tempfile.NamedTemporaryFile() as file:
        file.write(answer)
        file.flush()
        server = subprocess.Popen([folder / "bare_server", file.name], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
        try:
            port = int(server.stdout.readline())
            if without_date(raw_answer(port, "/")) != without_date(answer):
                raise SystemExit("the bare server gives another answer than the agent")
            yield server, port
        finally:
            server.stdin.close()
            server.wait(30)
            server.stdout.close()


def processor_seconds(process):
    """User and system time of a process."""
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(") ")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def load(folder, process, port, path, seconds):
    """What the clients tell, with the server's processor time for an answer."""
    before = processor_seconds(process)
    done = subprocess.run(
        [folder / "http_load", str(port), path, str(CLIENTS), str(int(1000 * seconds))],
        stdout=subprocess.PIPE, text=True, check=True)
    result = json.loads(done.stdout)
    result["cpu_us"] = 1e6 * (processor_seconds(process) - before) / result["answers"]
    return result


def compare(options, agent, name, path):
    """Measures a page of the agent beside the bare server."""
    folder = build_folder(options)
    port = agent.connection.port
    load(folder, agent.process, port, path, options.seconds)  # until what is hot has been compiled
    answer = raw_answer(port, path)
    bare, own = [], []
    with bare_server(folder, answer) as (server, bare_port):
        for _ in range(options.runs):
            bare.append(load(folder, server, bare_port, "/", options.seconds))
            own.append(load(folder, agent.process, port, path, options.seconds))
    ratios = sorted(a["per_second"] / b["per_second"] for a, b in zip(own, bare))
    median = lambda runs, key: statistics.median(run[key] for run in runs)
    size = len(answer.partition(b"\r\n\r\n")[2])
    print(f"{name} ({size} bytes): ratio {statistics.median(ratios):.2f}"
          f" ({ratios[0]:.2f} to {ratios[-1]:.2f})")
    for what, runs in (("agent", own), ("bare", bare)):
        print(f"  {what:6} {median(runs, 'per_second'):8.0f}/s, half within"
              f" {median(runs, 'p50_us'):6.0f} us, 99 % within {median(runs, 'p99_us'):6.0f} us,"
              f" {median(runs, 'cpu_us'):5.1f} us of processor time each")


def measure(options):
    tell_machine()
    for home in java_homes():
        print(f"JDK {java_version(home)}, {CLIENTS} clients, {options.runs} rounds of"
              f" {options.seconds} s, medians")
        with contextlib.closing(BenchAgent(options, home)) as agent:
            compare(options, agent, "the console's style sheet", CONSOLE)
            compare(options, agent, "fixed page of an application",
                    service_address(agent) + "fixed")
        with contextlib.closing(Agent(options.root.resolve(),
                                      environment=runs_on(home))) as agent:
            agent.first_rows("self")
            compare(options, agent, "page of targets", service_address(agent))
