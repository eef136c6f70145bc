"""Programs that people run: an application server and a coordination service, started by hand."""

import pathlib
import shutil
import socket
import subprocess
import tempfile
import unittest

from product import Agent, installed_javas

TOMCAT = pathlib.Path("/usr/share/tomcat10")
ZOOKEEPER = pathlib.Path("/usr/share/java/zookeeper.jar")

SERVER_XML = """<Server port="-1"><Service name="Catalina">
  <Connector port="0" address="127.0.0.1"/>
  <Engine name="Catalina" defaultHost="localhost"><Host name="localhost" appBase="webapps"/></Engine>
</Service></Server>
"""


class Program:
    """A Java program in a fresh folder."""

    def __init__(self, arrange, class_path, main, *arguments):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zel-e2e-program."))
        options = arrange(self.folder)
        self.log = open(self.folder / "output", "w+")
        self.process = subprocess.Popen(
            [installed_javas()[0] / "bin/java", "-Xmx64m", *options, "-cp", class_path, main,
             *(str(argument).replace("FOLDER", str(self.folder)) for argument in arguments)],
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log, cwd=self.folder)

    def output(self):
        self.log.seek(0)
        return self.log.read()

    def close(self):
        self.process.kill()
        self.process.wait()
        self.log.close()
        shutil.rmtree(self.folder)


def arrange_tomcat(folder):
    for name in ("conf", "logs", "temp", "webapps", "work"):
        (folder / name).mkdir()
    (folder / "conf/server.xml").write_text(SERVER_XML)
    return [f"-Dcatalina.home={TOMCAT}", f"-Dcatalina.base={folder}",
            f"-Djava.io.tmpdir={folder}/temp"]


def arrange_zookeeper(folder):
    with socket.socket() as probe:  # it takes no port 0
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    (folder / "zoo.cfg").write_text(f"dataDir={folder}/data\nclientPort={port}\n"
                                    "clientPortAddress=127.0.0.1\n")
    return ["-Dzookeeper.admin.enableServer=false"]


class ProgramsTest(unittest.TestCase):
    TABLES = ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS", "JVM_CLASSES",
              "JVM_OS", "JVM_BUFFERPOOL")

    def assert_monitored(self, program, title):
        self.addCleanup(program.close)
        agent = Agent()
        self.addCleanup(agent.close)
        try:
            subnode = agent.subnode_of(program.process.pid)
        except AssertionError as error:
            self.fail(f"{error}\n{program.output()}")

        self.assertIn(title, subnode)
        for table in self.TABLES:
            self.assertTrue(agent.rows(table, subnode=subnode), table)
        [runtime] = agent.rows("JVM_RUNTIME", subnode=subnode)
        self.assertEqual(runtime["PID"], program.process.pid)

    def test_tomcat_appears_as_a_subnode_with_rows(self):
        class_path = f"{TOMCAT}/bin/bootstrap.jar:/usr/share/java/tomcat10-juli.jar"
        self.assert_monitored(
            Program(arrange_tomcat, class_path, "org.apache.catalina.startup.Bootstrap", "start"),
            "Bootstrap")

    def test_zookeeper_appears_as_a_subnode_with_rows(self):
        self.assert_monitored(
            Program(arrange_zookeeper, ZOOKEEPER,
                    "org.apache.zookeeper.server.quorum.QuorumPeerMain", "FOLDER/zoo.cfg"),
            "QuorumPeerMain")


if __name__ == "__main__":
    unittest.main()
