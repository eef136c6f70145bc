"""Targets whose values, names and failures are expensive to handle, and what they may cost."""

import os
import pathlib
import time

from fault_targets import FaultTarget

TABLES = ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS", "JVM_CLASSES",
          "JVM_OS", "JVM_BUFFERPOOL")

# The modes of each sick target, by its name.
SICK = {"nest": ("nest",), "digits": ("digits",), "names": ("names=300",), "throw": ("throw",),
        "all": ("nest", "digits", "throw", "names=100")}

# The cells that a mode spoils; all others have the values of a target that is well.
SPOILT = {"nest": {("JVM_RUNTIME", "VM_NAME"), ("JVM_OS", "OS_NAME")},
          "digits": {("JVM_OS", "OS_VERSION"), ("JVM_OS", "PROCESS_CPU_NS")},
          "throw": {("JVM_RUNTIME", "VM_VENDOR"), ("JVM_THREADS", "PEAK"),
                    ("JVM_CLASSES", "UNLOADED"), ("JVM_OS", "ARCHITECTURE")}}
SPOILT["all"] = SPOILT["nest"] | SPOILT["digits"] | SPOILT["throw"]


def targets():
    """A target that is well, and the sick ones."""
    made = {}
    try:
        for name, modes in {"well": (), **SICK}.items():
            made[name] = FaultTarget(*modes)
    except BaseException:
        close(made)
        raise
    return made


def close(made):
    for target in made.values():
        target.close()


def read(agent, name, table):
    """The state of a sample, and the seconds that it took."""
    begin = time.monotonic()
    [sample] = agent.get(f"/api/v1/tables/{table}/rows", subnode=name)["samples"]
    return sample, time.monotonic() - begin


def spoilt_cells(agent, name):
    """The cells of a target that have no value where a target that is well has one."""
    found = set()
    for table in ("JVM_RUNTIME", "JVM_THREADS", "JVM_CLASSES", "JVM_OS"):
        [row] = agent.rows(table, subnode=name)
        [sound] = agent.rows(table, subnode="well")
        found |= {(table, column) for column in row
                  if row[column] in (None, "") and sound[column] not in (None, "")}
    return found


def cpu_seconds(pid):
    """What a process has used."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
