"""The agent with the application that comes with the measurements."""

import json
import os
import pathlib
import platform
import re

from product import Agent

HERE = pathlib.Path(__file__).resolve().parent


def build_folder(options):
    """Where the programs of this folder have been built."""
    folder = (options.build or HERE.parent / "build/dev").resolve() / "bench"
    if not (folder / "bench_agent_application.jar").exists():
        raise SystemExit(f"nothing built in {folder}; name the build folder with --build")
    return folder


def java_homes():
    """JAVA_HOME, or the Java installations of this machine, one per version, oldest first."""
    if "JAVA_HOME" in os.environ:
        return [pathlib.Path(os.environ["JAVA_HOME"])]
    found = {}
    for release in pathlib.Path("/usr/lib/jvm").glob("*/release"):
        version = re.search(r'^JAVA_VERSION="((\d+)[^"]*)"', release.read_text(), re.MULTILINE)
        if version and int(version[2]) >= 17:
            found[int(version[2])] = release.parent.resolve()
    return [found[version] for version in sorted(found)]


def java_version(home):
    return re.search(r'^JAVA_VERSION="([^"]+)"', (home / "release").read_text(), re.MULTILINE)[1]


def tell_machine():
    model = re.search(r"^model name\s*: (.+)$", pathlib.Path("/proc/cpuinfo").read_text(),
                      re.MULTILINE)
    print(f"{model[1] if model else platform.machine()}, {os.cpu_count()} cores,"
          f" Linux {platform.release()}")


def with_application(jar, jvm_options, settings):
    """What makes a configuration run the measured application, with more options and settings."""
    def prepare(config):
        options = config / "zjxwb.properties"
        lines = options.read_text().splitlines()
        lines[0] = f"{jar}:{lines[0]}"
        options.write_text("\n".join(
            ["-Dzel.application=bench.BenchApplication"
             if line.startswith("-Dzel.application=") else line for line in lines]
            + list(jvm_options)) + "\n")
        with open(config / "agent.yaml", "a") as agent_yaml:
            agent_yaml.write(settings)
    return prepare


def runs_on(java_home):
    return {"ZEL_LIBJVM": str(java_home / "lib/server/libjvm.so")}


def ask(agent, path):
    """What an address of the agent returns."""
    status, body = agent.get(path)
    if status != 200:
        raise SystemExit(f"{path} is answered {status}: {body!r}")
    return json.loads(body)


class BenchAgent(Agent):
    """An agent that runs the measured application."""

    def __init__(self, options, java_home, jvm_options=(), settings=""):
        super().__init__(
            options.root.resolve(), environment=runs_on(java_home),
            prepare=with_application(
                build_folder(options) / "bench_agent_application.jar", jvm_options, settings))

    def rows(self, table):
        return [row["values"] for row in ask(self, f"/api/v1/tables/{table}/rows")["rows"]]


def service_address(agent):
    """Where the application's pages begin."""
    [service] = ask(agent, "/api/v1/services")["services"]
    return service["address"]

