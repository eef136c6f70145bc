#!/usr/bin/env python3
"""Storms of shutdowns of the installed agent, during its start and under load: TERM, TERM and HUP
1 ms apart, the application's wish, its critical exception, a Java Error out of the message server,
each alone, several at different moments, or all at once.

Each agent must end, with the status that was meant: 0, or 255 when a failure (the critical exception
or the Java Error) was among the causes, and 255 alone when nobody asked for the end. And once the end
has begun nobody may send a message, for which the library would start a virtual machine again; only
a Java Error ends the agent without telling the application. The moments follow from the seed. With every Java
installation that is found, or with those that are named.
"""

import argparse
import collections
import concurrent.futures
import random
import signal
import subprocess
import sys
import threading
import time

import product_path
import signals

START = (0.0, 0.7)  # seconds after exec in which most agents still start
LOAD = (0.7, 2.5)
CAUSES = ("term", "term+hup", "application", "critical", "error")
FAILURES = {"critical", "error"}


class Plan:
    """What befalls one agent: causes and their moments, in seconds after its start."""

    def __init__(self, chance, stretch):
        kind = chance.choice(("alone", "several", "at once", "all at once"))
        count = {"alone": 1, "all at once": len(CAUSES)}.get(kind, chance.randint(2, len(CAUSES)))
        causes = chance.sample(CAUSES, count)
        span = [stretch * end for end in chance.choice((START, LOAD, LOAD))]
        common = chance.uniform(*span)
        self.kind = kind
        self.moments = {cause: common if kind.endswith("at once") else chance.uniform(*span)
                        for cause in causes}
        if "term" in causes:
            self.moments.pop("term+hup", None)

    def meant(self):
        failures = FAILURES & set(self.moments)
        if failures == set(self.moments):
            return {255}
        return {0, 255} if failures else {0}

    def from_inside(self, start):
        """For the application: when it does its part."""
        return ",".join(f"{cause}@{int((start + moment) * 1000)}"
                        for cause, moment in self.moments.items() if not cause.startswith("term"))

    def __str__(self):
        return self.kind + ": " + ", ".join(
            f"{cause} at {moment * 1000:.0f} ms" for cause, moment in self.moments.items())


class Clients(threading.Thread):
    """Asks the agent for rows and events as soon as it is ready, until it has ended."""

    def __init__(self, product, agent):
        super().__init__()
        self.product = product
        self.agent = agent
        self.load = None

    def ask(self, agent):
        agent.rows("WELL")
        agent.rows("SLOW")
        agent.try_rows("WELL_SUBNODE", subnode="steady")

    def run(self):
        try:
            self.agent.await_ready()
            self.agent.rows("STORM")
            self.agent.post("/api/v1/situations", {"name": "S", "table": "EVENTS", "where": ""})
        except (AssertionError, OSError, ValueError):
            pass  # it was stopped before
        if self.agent.process.poll() is None and hasattr(self.agent, "url"):
            self.load = self.product.Load(self.agent, 3, self.ask)

    def close(self):
        self.join()
        if self.load is not None:
            self.load.close()


def send_signals(process, plan, start):
    for name in ("term", "term+hup"):
        if name in plan.moments:
            while not signals.catches_term(process):
                time.sleep(0.01)
            time.sleep(max(0, start + plan.moments[name] - time.time()))
            signals.send(process, name == "term+hup")


def run(product, hostile, number, java, options):
    """One agent's life.

    Gives (plan, whether it was loaded, status, duration of its end, how often a virtual machine was
    started again, text).
    """
    plan = Plan(random.Random(f"{options.seed}/{java.name}/{number}"), options.stretch)
    start = time.time()
    agent = hostile.hostile_agent(java_home=java, stops=plan.from_inside(start), wait=False,
                                  environment=signals.STOP_LIMIT, jmx="local: {enabled: false}\n")
    clients = Clients(product, agent)
    try:
        clients.start()
        send_signals(agent.process, plan, start)
        try:
            status = agent.process.wait(signals.STOP_BOUND)
        except subprocess.TimeoutExpired:
            status = "none"
            agent.signal(signal.SIGKILL)
        took = time.time() - start - min(plan.moments.values())
        clients.close()
        is_loaded = clients.load is not None and clients.load.answers > 0
        restarts = max(0, agent.trace().count("Loading JVM") - 1) if agent.has_trace() else 0
        return plan, is_loaded, status, took, restarts, agent.stderr()
    finally:
        if agent.process.poll() is None:
            agent.process.kill()
        clients.close()
        agent.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    product_path.add_options(parser, 100, "storms")
    product_path.add_jars(parser)
    parser.add_argument("--stretch", type=float, default=1.0,
                        help="stretches the moments, for an agent that starts slowly")
    options = parser.parse_args()
    product_path.use(options.root, options.jars)
    import hostile  # found only now, as the next
    import product
    javas = product_path.javas(options.java)

    print(f"seed {options.seed}, {options.count} storms with each of "
          f"{', '.join(java.name for java in javas)}", flush=True)
    failed = 0
    for java in javas:
        begin = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(options.parallel) as pool:
            lives = list(pool.map(lambda number: run(product, hostile, number, java, options),
                                  range(options.count)))
        for number, (plan, _, status, _, restarts, text) in enumerate(lives):
            if status not in plan.meant():
                failed += 1
                print(f"{java.name} no. {number} ({plan}): status {status} instead of "
                      f"{sorted(plan.meant())}: {text[-2000:]}")
            if restarts and "error" not in plan.moments:
                failed += 1
                print(f"{java.name} no. {number} ({plan}): {restarts} messages after the end")
        kinds = collections.Counter(plan.kind for plan, _, _, _, _, _ in lives)
        ends = collections.Counter(status for _, _, status, _, _, _ in lives)
        loaded = sum(is_loaded for _, is_loaded, _, _, _, _ in lives)
        took = sorted(took for _, _, _, took, _, _ in lives)
        late = sum(restarts for _, _, _, _, restarts, _ in lives)
        print(f"{java.name}: {options.count} storms "
              f"({', '.join(f'{kind}: {count}' for kind, count in sorted(kinds.items()))}; "
              f"{loaded} under load, the others during the start), statuses "
              f"{', '.join(f'{status}: {count}' for status, count in ends.most_common())}; "
              f"from the first cause to the end {took[len(took) // 2] * 1000:.0f} ms (median), "
              f"{took[-1] * 1000:.0f} ms (longest); {late} messages after a Java Error; {time.monotonic() - begin:.0f} s in all",
              flush=True)
    print(f"{failed} not as meant")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
