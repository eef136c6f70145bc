#!/usr/bin/env python3
"""Lets an agent monitor a target that is well beside many sick ones: their values are sets in sets,
lists in lists, numbers of a million bits; their MBeans have names of 5,000 characters, others at
each look; their attributes fail. Each table of each target is read again and again, and the sick
ones change their minds now and then.

The target that is well must stay fresh, the agent must not become busy, and its trace must stay
small. With every Java installation that is found, or with those that are named.
"""

import argparse
import random
import signal
import sys
import threading
import time

import product_path

MAX_SECONDS = 5  # for a sample of the target that is well
MAX_CPU = 0.8  # of a core, while each table of each target is read once a second
MAX_TRACE = 2000  # bytes a second, after the first 200,000


class Reader(threading.Thread):
    """Reads the tables of one target once a second."""

    def __init__(self, sick, agent, name, ended):
        super().__init__()
        self.sick, self.agent, self.target, self.ended = sick, agent, name, ended
        self.samples = 0
        self.slowest = 0.0
        self.faults = []

    def run(self):
        while not self.ended.wait(1):
            for table in self.sick.TABLES:
                try:
                    sample, seconds = self.sick.read(self.agent, self.target, table)
                except OSError as error:
                    self.faults.append(f"{table} of {self.target}: {error!r}")
                    continue
                self.samples += 1
                self.slowest = max(self.slowest, seconds)
                if sample["state"] != "fresh":
                    self.faults.append(f"{table} of {self.target}: {sample}")


def run(sick, fault_targets, product, java, options, seconds):
    """One agent's life; prints its figures and gives what was wrong."""
    chance = random.Random(f"{options.seed}/{java.name}")
    faults = []
    targets = sick.targets()
    agent = None
    try:
        agent = product.Agent(java_home=java, jmx=fault_targets.jmx_yaml(targets, 3000),
                              settings="engine:\n  coalesce_age: 0ms\n")
        for name in targets:
            fault_targets.wait_until_up(agent, name)
        ended = threading.Event()
        readers = [Reader(sick, agent, name, ended) for name in targets]
        trace, cpu, begin = len(agent.trace()), sick.cpu_seconds(agent.process.pid), time.monotonic()
        for reader in readers:
            reader.start()
        while time.monotonic() < begin + seconds:
            time.sleep(min(5, seconds))
            changing = chance.choice(list(sick.SICK))
            targets[changing].command("off")
            for mode in sick.SICK[changing]:
                targets[changing].command(mode)
        took = time.monotonic() - begin
        cpu = (sick.cpu_seconds(agent.process.pid) - cpu) / took
        trace = len(agent.trace()) - trace
        ended.set()
        for reader in readers:
            reader.join()
        well = readers[0]
        faults += well.faults
        if well.slowest > MAX_SECONDS:
            faults.append(f"a sample of the target that is well took {well.slowest:.1f} s")
        if cpu > MAX_CPU:
            faults.append(f"the agent used {cpu:.2f} cores")
        if trace > 200_000 + MAX_TRACE * took:
            faults.append(f"the trace grew by {trace} bytes in {took:.0f} s")
        print(f"{java.name}: {sum(reader.samples for reader in readers)} samples of {len(targets)} "
              f"targets in {took:.0f} s; {well.samples} of the one that is well, the slowest in "
              f"{well.slowest * 1000:.0f} ms; {cpu:.2f} cores; {trace} bytes of trace", flush=True)
        agent.signal(signal.SIGTERM)
        if agent.wait() != 0:
            faults.append(f"status {agent.process.returncode}: {agent.stderr()[-2000:]}")
    finally:
        if agent:
            agent.close()
        sick.close(targets)
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    product_path.add_options(parser, 120, "seconds")
    options = parser.parse_args()
    product_path.use(options.root)
    import fault_targets  # found only now
    import product
    import sick
    print(f"seed {options.seed}", flush=True)
    faults = []
    for java in product_path.javas(options.java):
        faults += run(sick, fault_targets, product, java, options, options.count)
    for fault in faults[:40]:
        print(fault)
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
