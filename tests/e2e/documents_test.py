"""What README and the documents tell a reader to type, done as they tell it."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

from documents import ADDRESS, SOURCE, Shell, blocks
from fault_targets import FaultTarget
from product import DEADLINE, ROOT, Agent, Target, installed_javas, wait_until

JMX_KEYS = ("actions", "beans", "calls", "daemons", "local", "notifications", "remote")
# Builds and runs everything; what they build is what this test looks at.
WHOLE_TREE = ("./run", "./check")


def sections(block):
    """The top-level sections of a block of YAML: key and text."""
    parts = re.split(r"^(?=\w+:)", block.text, flags=re.MULTILINE)
    return [(part.split(":")[0], part) for part in parts if part.strip()]


def jmx_yaml(document):
    """All that a document adds to jmx.yaml, sections of the same name joined."""
    joined = {}
    for block in blocks(document):
        for key, text in sections(block) if block.kind == "yaml" else ():
            if key in JMX_KEYS:
                joined[key] = (joined[key] + text.split("\n", 1)[1]
                               if key in joined else text).rstrip() + "\n"
    return "".join(joined.values())


class DocumentsTest(unittest.TestCase):
    def agent(self, **settings):
        agent = Agent(**settings)
        self.addCleanup(agent.close)
        return agent

    def shell(self, agent=None, **more):
        places = {}
        if agent:
            places = {ADDRESS: agent.url, "ROOT/agents": agent.root / "agents",
                      "out/agents": agent.root / "agents"}
        shell = Shell({**more, **places, "ROOT/share": ROOT / "share"})
        self.addCleanup(shell.close)
        return shell

    def commands(self, name):
        """The blocks of commands of a document."""
        found = [block for block in blocks(SOURCE / name)
                 if block.kind == "sh" and not block.text.startswith(WHOLE_TREE)]
        self.assertTrue(found, name)
        return found

    def test_every_document_with_commands_is_followed(self):
        followed = pathlib.Path(__file__).read_text()
        for document in [SOURCE / "README.md", *SOURCE.glob("docs/**/*.md")]:
            for block in blocks(document):
                if block.kind == "sh":
                    self.assertIn(f'"{document.relative_to(SOURCE)}"', followed, block.where)
                if block.kind == "text":
                    self.assertNotRegex(block.text, r"(^|[|(;] *)(curl|zelagent) ", block.where)

    def test_readme(self):
        shell = self.shell(self.agent())
        for block in self.commands("README.md"):
            shell.run(block)
        for command in WHOLE_TREE:
            self.assertTrue(os.access(SOURCE / command, os.X_OK), command)

    def test_concepts(self):
        shell = self.shell(self.agent())
        answers = [shell.run(block)[1] for block in self.commands("docs/concepts.md")]

        self.assertIn("targets", answers[-1][-1])

    def test_rest_api(self):
        target = FaultTarget()
        self.addCleanup(target.close)
        agent = self.agent(jmx="remote:\n  - name: tomcat:8005\n    host: 127.0.0.1\n"
                               f"    port: {target.port}\n")
        wait_until(lambda: agent.subnode("tomcat:8005"), "the subnode of the examples")
        shell = self.shell(agent)
        shell.earlier = f"TOKEN=$(cat {agent.home}/var/token)\n"

        for block in self.commands("docs/formats/rest-api.md"):
            shell.run(block)

    def test_examples_of_the_rest_api_name_what_exists(self):
        agent = self.agent()
        tables = {table["name"] for table in agent.get("/api/v1/tables")["tables"]}
        text = (SOURCE / "docs/formats/rest-api.md").read_text()
        named = set(re.findall(r'"table": ?"(\w+)"|[?&]table=(\w+)|/tables/(JVM_\w+)', text))
        self.assertTrue(named)

        for name in {each for group in named for each in group if each}:
            self.assertIn(name, tables)
            columns = {each["name"]: each["type"]
                       for each in agent.get(f"/api/v1/tables/{name}")["columns"]}
            for block in blocks(SOURCE / "docs/formats/rest-api.md"):
                if f'"table": "{name}"' in block.text:
                    for column, kind in re.findall(r'{"name": "(\w+)", "type": "(\w+)"}',
                                                   block.text):
                        self.assertEqual(kind, columns.get(column), f"{block.where}: {column}")
                    for values in re.findall(r'"values": {([^}]*)}', block.text):
                        for column in re.findall(r'"(\w+)":', values):
                            self.assertIn(column, columns, block.where)
                    for column in re.findall(r'"where": "(\w+)', block.text):
                        self.assertIn(column, columns, block.where)

    def test_targets_json(self):
        agent = self.agent()
        [service] = agent.get("/api/v1/services")["services"]
        shell = self.shell(agent, **{"/service/jmx_HOST_JX/": service["address"]})
        for block in self.commands("docs/formats/targets-json.md"):
            shell.run(block)

    def test_add_a_table(self):
        document = "docs/howto/add-a-table.md"
        source = next(block for block in blocks(SOURCE / document) if block.kind == "java")
        options = next(block for block in blocks(SOURCE / document) if "-Dzel." in block.text)
        shell = self.shell()
        folder = pathlib.Path(shell.folder.name)
        (folder / re.search(r"javac .* (\w+\.java)", self.commands(document)[0].text)[1]
         ).write_text(source.text)
        for block in self.commands(document):
            shell.run(block)
        class_path, application = options.text.replace("/opt/disks", str(folder)).splitlines()

        def edit(shipped):
            lines = [line for line in shipped.splitlines()[1:] if "-Dzel.application" not in line]
            return "\n".join([class_path, application, *lines]) + "\n"
        agent = self.agent(edit_options=edit)

        self.assertTrue(agent.rows("DISKS"))

    def test_find_a_problem(self):
        document = "docs/howto/find-a-problem.md"
        [settings] = [block.text for block in blocks(SOURCE / document) if block.kind == "yaml"]
        agent = self.agent()
        config = agent.home / "config/agent.yaml"
        shipped = re.sub(r"^trace:\n(?: .*\n)*", "", config.read_text(), flags=re.MULTILINE)
        config.write_text(shipped + settings + "\n")

        shell = self.shell(agent)
        for block in self.commands(document):
            shell.run(block)

    def test_rehearse_faults(self):
        document = "docs/howto/rehearse-faults.md"
        begin, look, _ = self.commands(document)
        self.assertIn("--port 9010 slow=20", begin.text)
        target = FaultTarget("slow=20")
        self.addCleanup(target.close)
        numbers = {"9010": target.port, "4711": target.pid}
        agent = self.agent(jmx=self.shell(**{"port: 9010": f"port: {target.port}"})
                           .replaced(jmx_yaml(SOURCE / document)))
        shell = self.shell(agent, **numbers)
        name = f"zel-faulttarget:{target.pid}"
        wait_until(lambda: agent.subnode(name), "the target is found")
        wait_until(lambda: agent.subnode("fault"), "the target is reached through its port")
        slow, targets = shell.run(look)[1]

        self.assertTrue(slow["rows"])
        self.assertIn(name, [row["values"]["NAME"] for row in targets["rows"]])

    def test_talk_with_a_fault_target(self):
        *_, talk = self.commands("docs/howto/rehearse-faults.md")
        command, ready, *lines = talk.text.splitlines()
        self.assertRegex(command, r"^\$ java -jar ROOT/\S+zel-faulttarget.jar --port 9010$")
        self.assertRegex(ready, r"^ready port=9010 pid=\d+$")
        target = FaultTarget()
        self.addCleanup(target.close)

        while lines:
            typed, answered, *lines = lines
            target.process.stdin.write(typed + "\n")
            target.process.stdin.flush()
            self.assertEqual(target.process.stdout.readline(), answered + "\n")

    def test_run_actions(self):
        document = "docs/howto/run-actions.md"
        shell = self.shell(self.agent(jmx=jmx_yaml(SOURCE / document)))
        for block in self.commands(document):
            [answer] = shell.run(block)[1]
            self.assertEqual(answer["state"], "completed")

    def test_start_a_daemon(self):
        document = "docs/howto/start-a-daemon.md"
        target = Target(installed_javas()[0])
        self.addCleanup(target.close)
        shell = self.shell(**{"<pid of the program>": target.pid})
        log = pathlib.Path(shell.folder.name) / "recording.log"
        shell.replacements["/tmp/zel-recording.log"] = log
        self.agent(jmx=shell.replaced(jmx_yaml(SOURCE / document)))
        wait_until(lambda: log.exists() and f"{target.pid}:" in log.read_text(), "the daemon ran")

        wait_until(lambda: "name=zel" in subprocess.run(
            ["jcmd", str(target.pid), "JFR.check"], capture_output=True, text=True).stdout,
            "the recording has begun")
        for block in self.commands(document):
            self.assertIn("name=zel", shell.run(block)[0])

    def test_watch_notifications(self):
        document = "docs/howto/watch-notifications.md"
        shell = self.shell(self.agent(jmx=jmx_yaml(SOURCE / document)))
        for block in self.commands(document):
            shell.run(block)

    def test_benchmarks(self):
        """Each begins and ends well, with small numbers; figures are for a quiet machine."""
        build = os.environ["ZEL_E2E_BUILD"]
        shell = self.shell(**{"bench/product.py": f"{sys.executable} -B {SOURCE}/bench/product.py",
                              "bench/soak.sh": f"{SOURCE}/bench/soak.sh",
                              "bench/value.sh": f"{SOURCE}/bench/value.sh"})
        for block in self.commands("docs/benchmarks.md"):
            block.text = re.sub(r"\bbuild/(bench|dev)\b", build, block.text)
            block.text = re.sub(r"--root \w+", f"--root {ROOT}", block.text)
            block.text = re.sub(r"(--(?:exchanges|sends)) \d+", r"\1 1000", block.text)
            block.text = re.sub(r"(--(?:runs|count|seconds)|daemon_start) \d+", r"\1 1", block.text)
            block.text = re.sub(r" targets ", " targets --warm-up 1 ", block.text)
            block.text = re.sub(r"(value.sh \S+)", r"\1 --benchmark_min_time=0.001 "
                                "--benchmark_repetitions=1", block.text)
            with self.subTest(block.where):
                shell.run(block)


if __name__ == "__main__":
    unittest.main()
