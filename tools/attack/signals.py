#!/usr/bin/env python3
"""Stops agents at bad moments: TERM, or TERM and HUP 1 ms apart, under load or during start-up.

Each agent must end with status 0. The moments follow from the seed. With every Java installation
that is found, or with those that are named.
"""

import argparse
import collections
import concurrent.futures
import pathlib
import random
import re
import signal
import subprocess
import sys
import time

import product_path

MAX_START_MOMENT = 1.5  # seconds after exec; a start takes less than that
MAX_LOAD_MOMENT = 0.5  # seconds after the load has begun
# Seconds. A machine that is very busy may take longer for a start, which a stop waits for, than the
# agent's watchdog allows by itself; an agent that hangs is still found.
STOP_LIMIT = {"ZEL_STOP_LIMIT": "120"}
STOP_BOUND = 150


def catches_term(process):
    """Whether TERM is the agent's: before that nothing has begun, and the kernel just ends it."""
    if process.poll() is not None:
        return True
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    caught = int(re.search(r"^SigCgt:\s*([0-9a-f]+)", status, re.MULTILINE)[1], 16)
    return caught >> (signal.SIGTERM - 1) & 1


def send(process, pair):
    """TERM, and HUP 1 ms later if there is to be a pair."""
    process.send_signal(signal.SIGTERM)
    if pair:
        time.sleep(0.001)
        try:
            process.send_signal(signal.SIGHUP)
        except ProcessLookupError:
            pass


def stop(process, pair):
    send(process, pair)
    start = time.monotonic()
    return process.wait(STOP_BOUND), time.monotonic() - start


def stop_under_load(product, java, pair, moment):
    """A ready agent that answers several clients is stopped.

    Gives its status, how long the stop took, and what it wrote to standard error.
    """
    agent = product.Agent(java_home=java, jmx="local: {enabled: false}\n", environment=STOP_LIMIT)
    load = product.Load(agent, clients=4)
    try:
        product.wait_until(lambda: load.answers > 0, "the first rows")
        time.sleep(moment)
        status, duration = stop(agent.process, pair)
        return status, duration, agent.stderr()
    finally:
        load.close()
        agent.close()


def stop_during_start(product, java, pair, moment):
    """An agent is stopped a moment after it was started."""
    agent = product.Agent(java_home=java, jmx="local: {enabled: false}\n", environment=STOP_LIMIT,
                          wait=False)
    try:
        product.wait_until(lambda: catches_term(agent.process), "the agent catches TERM")
        time.sleep(moment)
        status, duration = stop(agent.process, pair)
        return status, duration, agent.stderr()
    finally:
        agent.close()


def run(product, number, java, seed):
    """One agent's life; gives (kind, status, duration of the stop, text)."""
    chance = random.Random(f"{seed}/{java.name}/{number}")
    pair = chance.random() < 0.5
    starting = chance.random() < 0.4
    moment = chance.uniform(0, MAX_START_MOMENT if starting else MAX_LOAD_MOMENT)
    kind = ("start" if starting else "load") + (", TERM+HUP" if pair else ", TERM")
    try:
        status, duration, text = (stop_during_start if starting else stop_under_load)(
            product, java, pair, moment)
    except (AssertionError, subprocess.TimeoutExpired) as error:
        return kind, "none", 0.0, f"{error}"
    return kind, status, duration, f"{moment * 1000:.0f} ms in: {text[-2000:]}"


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    product_path.add_options(parser, 200, "agents")
    options = parser.parse_args()
    product_path.use(options.root)
    import product  # found only now
    javas = product_path.javas(options.java)

    print(f"seed {options.seed}, {options.count} agents with each of "
          f"{', '.join(java.name for java in javas)}", flush=True)
    failed = 0
    for java in javas:
        begin = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(options.parallel) as pool:
            lives = list(pool.map(lambda number: run(product, number, java, options.seed),
                                  range(options.count)))
        kinds = collections.Counter(kind for kind, _, _, _ in lives)
        clean = sum(status == 0 for _, status, _, _ in lives)
        stops = sorted(duration for _, _, duration, _ in lives)
        for number, (kind, status, _, text) in enumerate(lives):
            if status != 0:
                failed += 1
                print(f"{java.name} no. {number} ({kind}): status {status}: {text}")
        print(f"{java.name}: {clean} of {options.count} clean stops "
              f"({', '.join(f'{kind}: {count}' for kind, count in sorted(kinds.items()))}); "
              f"stop took {stops[len(stops) // 2] * 1000:.0f} ms (median), "
              f"{stops[-1] * 1000:.0f} ms (longest); {time.monotonic() - begin:.0f} s in all",
              flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
