#!/usr/bin/env python3
"""Attacks agents with collectors that are stuck, throw, are late or lie, in a random order and
several at once, while events storm, subnodes go in the middle of a sample, and situations on the
events come and go. Each agent is stopped in the middle of it.

Each attack must get the answer that is meant for it, the collectors that are well must answer as
ever, and each agent must end with status 0. With every Java installation that is found, or with
those that are named.
"""

import argparse
import collections
import concurrent.futures
import random
import signal
import sys
import threading
import time
import urllib.error

import product_path

ATTACKERS = 4  # per agent


class Faults:
    """What went wrong, and counts of what was done. An answer that the stop cut off is no fault."""

    def __init__(self):
        self.lock = threading.Lock()
        self.stopping = threading.Event()
        self.texts = []
        self.done = collections.Counter()

    def check(self, what, action):
        """Runs an action that gives a fault or None."""
        try:
            fault = action()
        except Exception as error:  # whatever it is, it is a fault
            fault = f"{what}: {error!r}"
            if isinstance(error, urllib.error.HTTPError):
                fault += f" {error.read()[:300]!r}"
        if self.stopping.is_set():
            return
        with self.lock:
            self.done[what] += 1
            if fault is not None:
                self.texts.append(fault)


def attack(hostile, agent, faults, chance, left):
    """Sends attacks as long as some are left."""
    attacks = [*hostile.COLLECTORS, *hostile.LIES]
    while not faults.stopping.is_set():
        with faults.lock:
            if left[0] == 0:
                return
            left[0] -= 1
        if chance.random() < 0.1:
            faults.check("GONE", lambda: hostile.leave_while_sampled(agent))
        else:
            one = chance.choice(attacks)
            faults.check(one.table, lambda one=one: one.fault_of(one.ask(agent)))


def get_stuck(hostile, agent):
    """Keeps a thread of the agent's for good; the answer comes when it stops."""
    try:
        hostile.STUCK.ask(agent)
    except (OSError, ValueError):
        pass


def read_well(hostile, agent, faults, slowest):
    """A reader of what is well; keeps how long it had to wait."""
    while not faults.stopping.is_set():
        for one in hostile.WELL:
            begin = time.monotonic()
            faults.check(one.table, lambda one=one: one.fault_of(one.ask(agent)))
            if not faults.stopping.is_set():
                slowest[0] = max(slowest[0], time.monotonic() - begin)


def watch_events(hostile, agent, faults, name):
    """A situation on the events that comes and goes."""
    while not faults.stopping.is_set():
        faults.check("situation",
                     lambda: hostile.come_and_go(agent, name, faults.stopping.is_set))


def run(hostile, number, java, options):
    """One agent's life; gives (faults, the longest wait of a good reader, duration of the stop)."""
    chance = random.Random(f"{options.seed}/{java.name}/{number}")
    faults = Faults()
    slowest = [0.0]
    agent = hostile.hostile_agent(java_home=java, jmx="local: {enabled: false}\n")
    left = [options.attacks]
    attackers = [threading.Thread(target=attack, args=(hostile, agent, faults,
                                                       random.Random(chance.random()), left))
                 for _ in range(ATTACKERS)]
    others = [threading.Thread(target=get_stuck, args=(hostile, agent)),
              threading.Thread(target=read_well, args=(hostile, agent, faults, slowest)),
              threading.Thread(target=watch_events, args=(hostile, agent, faults, "S1")),
              threading.Thread(target=watch_events, args=(hostile, agent, faults, "S2"))]
    took = 0.0
    try:
        faults.check("STORM", lambda: None if agent.rows("STORM") else "no storm")
        for thread in (*attackers, *others):
            thread.start()
        for thread in attackers:
            thread.join()
        # More are on their way when it is stopped.
        left[0] = 1000
        more = [threading.Thread(target=attack, args=(hostile, agent, faults,
                                                      random.Random(chance.random()), left))
                for _ in range(ATTACKERS)]
        others += more
        for thread in more:
            thread.start()
        time.sleep(chance.uniform(0, 0.3))
        faults.stopping.set()
        begin = time.monotonic()
        agent.signal(signal.SIGTERM)
        status = agent.wait()
        took = time.monotonic() - begin
        if status != 0:
            faults.texts.append(f"status {status}: {agent.stderr()[-2000:]}")
    finally:
        faults.stopping.set()
        agent.process.kill()
        for thread in (*attackers, *others):
            if thread.ident is not None:
                thread.join()
        agent.close()
    return faults, slowest[0], took


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    product_path.add_options(parser, 10, "agents")
    parser.add_argument("--attacks", type=int, default=200, help="per agent (default: 200)")
    product_path.add_jars(parser)
    options = parser.parse_args()
    product_path.use(options.root, options.jars)
    import hostile  # found only now
    javas = product_path.javas(options.java)

    print(f"seed {options.seed}, {options.count} agents of {options.attacks} attacks with each of "
          f"{', '.join(java.name for java in javas)}", flush=True)
    failed = 0
    for java in javas:
        begin = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(options.parallel) as pool:
            lives = list(pool.map(lambda number: run(hostile, number, java, options),
                                  range(options.count)))
        done = sum((faults.done for faults, _, _ in lives), collections.Counter())
        for number, (faults, _, _) in enumerate(lives):
            failed += len(faults.texts)
            for text in faults.texts[:20]:
                print(f"{java.name} no. {number}: {text}")
        well = done["WELL"] + done["WELL_SUBNODE"]
        situations = done["situation"]
        print(f"{java.name}: {sum(done.values()) - well - situations} attacks of "
              f"{len(done) - 3} kinds, {situations} situations; {well} answers of good collectors, "
              f"the longest took {max(slowest for _, slowest, _ in lives) * 1000:.0f} ms; the "
              f"longest stop {max(took for _, _, took in lives) * 1000:.0f} ms; "
              f"{time.monotonic() - begin:.0f} s in all", flush=True)
    print(f"{failed} faults")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
