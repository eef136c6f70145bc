"""An agent beside users who wish it ill, on the same machine."""

import base64
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

from product import Agent, Target, installed_javas, wait_until

NOBODY = 65534
IS_ROOT = os.geteuid() == 0
NEEDS_ROOT = unittest.skipUnless(IS_ROOT, "only root can run processes of another user")

# Stands in for another user's process that seems to be a JVM; hangs whoever opens its file.
FAKE_JVM = """
import fcntl, mmap, os, pathlib, signal, threading, time
signal.signal(signal.SIGQUIT, lambda *_: None)
signal.signal(signal.SIGIO, lambda *_: print("somebody waits", flush=True))
home = pathlib.Path("/tmp/hsperfdata_zel_e2e")
home.mkdir(mode=0o755)
library = open(home / "libjvm.so", "w+b")
library.truncate(4096)
code = mmap.mmap(library.fileno(), 4096)
data = open(home / str(os.getpid()), "w+b")
data.truncate(4096)
counters = mmap.mmap(data.fileno(), 4096)
fcntl.fcntl(data, fcntl.F_SETLEASE, fcntl.F_WRLCK)
for _ in range(3):
    threading.Thread(target=time.sleep, args=(3600,), daemon=True).start()
print("ready", flush=True)
while True:
    time.sleep(1)
"""


class Visitors:
    """Counts who comes to a port of 127.0.0.1."""

    def __init__(self):
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]

    def came(self):
        self.server.setblocking(False)
        try:
            self.server.accept()
        except BlockingIOError:
            return False
        return True

    def close(self):
        self.server.close()


class Impostor:
    """Another user's socket under the name of the one that a JVM opens for tools."""

    SCRIPT = """
import os, socket, sys
server = socket.socket(socket.AF_UNIX)
server.bind(sys.argv[1])
os.chmod(sys.argv[1], 0o600)
server.listen()
print("ready", flush=True)
while True:
    peer, _ = server.accept()
    print("visited", flush=True)
    print("received", len(peer.recv(1000)), flush=True)
"""

    def __init__(self, pid, uid):
        self.path = pathlib.Path(f"/tmp/.java_pid{pid}")
        self.process = subprocess.Popen(
            [*as_user(uid), sys.executable, "-c", self.SCRIPT, self.path],
            stdout=subprocess.PIPE, text=True)
        assert self.process.stdout.readline() == "ready\n"

    def said(self):
        """All that it has said; it ends."""
        self.process.kill()
        return self.process.stdout.read()

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.path.unlink(missing_ok=True)


def as_user(uid):
    return ("setpriv", f"--reuid={uid}", f"--regid={uid}", "--clear-groups", "--")


class OtherUsersTest(unittest.TestCase):
    def setUp(self):
        self.java = installed_javas()[0]
        # Where other users can read it.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zel-e2e-others."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.folder.chmod(0o755)
        self.jar = self.folder / "target.jar"
        shutil.copyfile(os.environ["ZEL_E2E_TARGET"], self.jar)
        self.jar.chmod(0o644)

    def agent(self, **settings):
        agent = Agent(**settings)
        self.addCleanup(agent.close)
        return agent

    def target(self, *options, **settings):
        target = Target(self.java, *options, jar=self.jar, **settings)
        self.addCleanup(target.close)
        return target

    def lure(self, address, start_with=()):
        """A JVM that publishes the address; returns its pid."""
        process = subprocess.Popen(
            [*start_with, self.java / "bin/java", "-Xmx32m",
             "--add-exports", "java.base/jdk.internal.perf=ALL-UNNAMED",
             "-cp", self.jar, "e2e.Lure", address],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stdin.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.assertEqual(process.stdout.readline(), "published\n")
        return process.pid

    def error_of(self, agent, pid):
        """Waits until the attempt to reach the process has failed; says why."""
        def find():
            for row in agent.rows("JVM_TARGETS"):
                if row["PID"] == pid and row["LAST_ERROR"]:
                    return row["LAST_ERROR"]
            return None
        return wait_until(find, f"process {pid} can't be reached")

    def test_an_address_that_leads_elsewhere_is_not_followed(self):
        visitors = Visitors()
        self.addCleanup(visitors.close)
        # Half of them of another user, where that can be.
        other = as_user(NOBODY) if IS_ROOT else ()
        elsewhere = {
            f"service:jmx:rmi:///jndi/ldap://127.0.0.1:{visitors.port}/x":
                "is not of a management agent",
            f"service:jmx:rmi:///jndi/rmi://127.0.0.1:{visitors.port}/jmxrmi":
                "is not of a management agent",
            self.stub_url(visitors.port): f"port {visitors.port}",
        }
        lures = {}
        for address, complaint in elsewhere.items():
            lures[self.lure(address)] = complaint
            lures[self.lure(address, other)] = complaint
        agent = self.agent()

        for pid, complaint in lures.items():
            self.assertIn(complaint, self.error_of(agent, pid))

        self.assertFalse(visitors.came())

    @staticmethod
    def stub_url(port):
        """As a JVM's own agent publishes it, for an object that nobody has."""
        def class_of(name, version, flags):
            return (b"\x72" + len(name).to_bytes(2, "big") + name
                    + version.to_bytes(8, "big", signed=True) + bytes([flags, 0, 0, 0x78]))
        block = (b"\0\x0bUnicastRef2\0" + b"\0\x0fevil.invalid..." + port.to_bytes(4, "big")
                 + bytes(22) + b"\1")
        stub = (b"\xac\xed\0\5\x73"
                + class_of(b"javax.management.remote.rmi.RMIServerImpl_Stub", 2, 2)
                + class_of(b"java.rmi.server.RemoteStub", -1585587260594494182, 2)
                + class_of(b"java.rmi.server.RemoteObject", -3215090123894869218, 3)
                + b"\x70\x77" + bytes([len(block)]) + block + b"\x78")
        return "service:jmx:rmi://127.0.0.1/stub/" + base64.b64encode(stub).decode()

    @NEEDS_ROOT
    def test_another_users_jvm_is_monitored_all_the_same(self):
        target = self.target(start_with=as_user(NOBODY))
        agent = self.agent()

        subnode = agent.subnode_of(target.pid)

        [runtime] = agent.rows("JVM_RUNTIME", subnode=subnode)
        self.assertEqual(runtime["PID"], target.pid)

    @NEEDS_ROOT
    def test_a_socket_that_another_user_has_put_in_place_of_a_root_jvms_gets_nothing(self):
        target = self.target()
        impostor = Impostor(target.pid, NOBODY)
        self.addCleanup(impostor.close)
        agent = self.agent()

        # The JVM puts its own in its place when it is asked to.
        agent.subnode_of(target.pid)

        self.assertEqual(impostor.said(), "")

    @NEEDS_ROOT
    def test_a_socket_in_place_of_another_users_jvm_gets_nothing_and_is_told_of(self):
        target = self.target(start_with=as_user(NOBODY))
        impostor = Impostor(target.pid, NOBODY - 1)
        self.addCleanup(impostor.close)
        agent = self.agent()

        error = self.error_of(agent, target.pid)

        self.assertIn("is somebody else's", error)
        self.assertEqual(impostor.said(), "")

    def test_odd_things_below_tmp_hide_no_jvm(self):
        fifo = pathlib.Path("/tmp/hsperfdata_zel_e2e_fifo")
        os.mkfifo(fifo)
        self.addCleanup(fifo.unlink)
        folder = pathlib.Path("/tmp/hsperfdata_zel_e2e_odd")
        folder.mkdir()
        self.addCleanup(shutil.rmtree, folder)
        for name in ("99999999999", "-1", "1", "x", "0" * 200):
            (folder / name).write_text("odd")
        os.mkfifo(folder / "2")
        port = free_port()
        configured = self.target(
            f"-Dcom.sun.management.jmxremote.port={port}",
            "-Dcom.sun.management.jmxremote.authenticate=false",
            "-Dcom.sun.management.jmxremote.ssl=false")
        local = self.target()
        agent = self.agent(
            jmx=f"remote:\n  - {{name: configured, host: 127.0.0.1, port: {port}}}\n")

        agent.subnode_of(local.pid)

        wait_until(lambda: agent.try_rows("JVM_RUNTIME", subnode="configured"),
                   "rows of the configured target")
        [runtime] = agent.rows("JVM_RUNTIME", subnode="configured")
        self.assertEqual(runtime["PID"], configured.pid)

    @NEEDS_ROOT
    def test_a_process_that_hangs_whoever_looks_at_it_hides_no_other(self):
        fake = subprocess.Popen(
            [*as_user(NOBODY), sys.executable, "-c", FAKE_JVM], stdout=subprocess.PIPE, text=True)
        self.addCleanup(shutil.rmtree, "/tmp/hsperfdata_zel_e2e")
        self.addCleanup(fake.stdout.close)
        self.addCleanup(fake.wait)
        self.addCleanup(fake.kill)
        self.assertEqual(fake.stdout.readline(), "ready\n")
        agent = self.agent()
        self.assertEqual(fake.stdout.readline(), "somebody waits\n")

        target = self.target()

        agent.subnode_of(target.pid)
        complaint = f"process {fake.pid} of user {NOBODY} is not examined: the look at it takes"
        wait_until(lambda: complaint in agent.trace(), "it is told of")

    def test_a_jvm_in_a_container_is_found_by_the_pid_that_the_machine_knows(self):
        # Pids and /tmp of its own; the network is the machine's.
        container = ["unshare", "--pid", "--fork", "--kill-child", "--mount", "--mount-proc"]
        if not IS_ROOT:
            container[1:1] = ["--user", "--map-root-user"]
        script = 'mount -t tmpfs -o mode=1777 tmpfs /tmp && exec "$@"'
        jar = pathlib.Path("/var/tmp") / f"zel-e2e-{os.getpid()}.jar"  # there, too
        shutil.copyfile(self.jar, jar)
        self.addCleanup(jar.unlink)
        target = Target(self.java, start_with=[*container, "sh", "-c", script, "sh"], jar=jar)
        self.addCleanup(target.close)
        self.assertTrue(target.facts())
        pid = only_child(target.pid)
        agent = self.agent()

        subnode = agent.subnode_of(pid)

        self.assertTrue(subnode.endswith(f":{pid}"), subnode)
        [runtime] = agent.rows("JVM_RUNTIME", subnode=subnode)
        self.assertEqual(runtime["PID"], 1)  # as it knows itself


def only_child(pid):
    [child] = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
    return int(child)


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


if __name__ == "__main__":
    unittest.main()
