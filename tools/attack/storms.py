#!/usr/bin/env python3
"""Storms of shutdowns: each runs the library under load in its own process and stops it from
several sides at once. Every process must end, and with the status that was meant: 0, or 255 when a
Java Error was among the causes."""

import argparse
import glob
import os
import subprocess
import sys
import time

DEADLINE = 120  # seconds for one storm, on a machine that has other things to do


def java_libraries():
    found = glob.glob('/usr/lib/jvm/*/lib/server/libjvm.so')
    return sorted({os.path.realpath(library) for library in found})


def run_storm(program, seed, environment):
    """The time that the storm took, and what was wrong with it or None."""
    begin = time.monotonic()
    process = subprocess.Popen(
        [program, str(seed)], env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        text=True, errors='replace')
    try:
        out, err = process.communicate(timeout=DEADLINE)
    except subprocess.TimeoutExpired:
        process.kill()
        out, err = process.communicate()
        return DEADLINE, f'did not end within {DEADLINE} s\n{out}{err}'
    meant = {0, 255} if 'error after' in out else {0}
    wrong = None
    if process.returncode not in meant:
        wrong = f'status {process.returncode} instead of {sorted(meant)}\n{out}{err}'
    return time.monotonic() - begin, wrong


def run_all(name, arguments, environment):
    longest = 0.0
    failures = 0
    for seed in range(arguments.seed, arguments.seed + arguments.count):
        took, wrong = run_storm(arguments.program, seed, environment)
        longest = max(longest, took)
        if wrong:
            failures += 1
            print(f'{name}: seed {seed}: {wrong}')
    print(f'{name}: {arguments.count} storms from seed {arguments.seed}, {failures} failed, '
          f'the longest took {longest:.1f} s', flush=True)
    return failures


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--program', required=True, help='shutdown_storm or shutdown_storm_jvm')
    parser.add_argument('--every-jvm', action='store_true',
                        help='once with every Java virtual machine found')
    parser.add_argument('--count', type=int, default=100, help='storms (100)')
    parser.add_argument('--seed', type=int, default=1, help='the first seed (1)')
    arguments = parser.parse_args()

    # The library never joins the thread of its web service, which lives as long as the process.
    os.environ.setdefault('TSAN_OPTIONS', 'report_thread_leaks=0')
    if not arguments.every_jvm:
        return 1 if run_all('storms', arguments, dict(os.environ)) else 0
    libraries = java_libraries()
    if not libraries:
        print('no Java virtual machine was found in /usr/lib/jvm')
        return 1
    failures = sum(run_all(library, arguments, {**os.environ, 'ZEL_TEST_JVM': library})
                   for library in libraries)
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
