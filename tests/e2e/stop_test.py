"""How the agent ends, and what it hands to the daemons that it starts."""

import pathlib
import re
import signal
import time
import unittest

from product import Agent, Load, installed_javas, wait_until, with_test_application

DESCRIPTORS = 4096  # what the agent allows itself

# Allows as many descriptors as it may: a million, if this machine lets us.
MANY_DESCRIPTORS = ["sh", "-c", "ulimit -SHn 1000000 2>/dev/null || ulimit -Sn $(ulimit -Hn); "
                    'exec "$@"', "sh"]


def tracing_the_ends_of_subscriptions(settings):
    """What disarms a trap, which sends a message, is only done while its details are traced."""
    return settings.replace("  # units:\n", "  units:\n    ZELSITTRAP: [detail]\n")


class StopTest(unittest.TestCase):
    def agent(self, **arguments):
        agent = Agent(**arguments)
        self.addCleanup(agent.close)
        return agent

    def test_it_stops_with_status_0_when_idle(self):
        for java_home in installed_javas():
            for number in (signal.SIGTERM, signal.SIGINT):
                with self.subTest(java=str(java_home), signal=number):
                    agent = self.agent(java_home=java_home)
                    agent.signal(number)
                    self.assertEqual(agent.wait(), 0, agent.stderr())
                    self.assertIn("Agent stopped", agent.trace())

    def test_it_stops_with_status_0_under_load(self):
        for java_home in installed_javas():
            for number in (signal.SIGTERM, signal.SIGINT):
                with self.subTest(java=str(java_home), signal=number):
                    agent = self.agent(java_home=java_home)
                    agent.subnode_of(agent.process.pid)
                    load = Load(agent)
                    try:
                        wait_until(lambda: load.answers > 200, "load")
                        agent.signal(number)
                        self.assertEqual(agent.wait(), 0, agent.stderr())
                    finally:
                        load.close()

    def test_it_ignores_a_hang_up(self):
        agent = self.agent()

        agent.signal(signal.SIGHUP)

        wait_until(lambda: "SIGHUP suppressed" in agent.trace(), "the hang-up in the trace")
        self.assertTrue(agent.rows("JVM_RUNTIME", subnode=agent.subnode_of(agent.process.pid)))

    def test_it_stops_with_status_0_when_the_application_asks(self):
        agent = self.agent(edit_options=with_test_application)

        try:
            agent.rows("STOP")
        except OSError:
            pass  # the answer races with the stop

        self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_no_message_is_sent_once_the_end_has_begun(self):
        # A message that came later would make the library start a virtual machine again.
        def ended(agent):
            return "Agent shuts down ..." in agent.trace()

        def twice(agent):
            agent.signal(signal.SIGTERM)
            wait_until(lambda: ended(agent), "the end has begun")
            agent.signal(signal.SIGTERM)

        def application_first(agent):
            try:
                agent.rows("STOP")
            except OSError:
                pass
            wait_until(lambda: ended(agent), "the end has begun")
            agent.signal(signal.SIGTERM)

        def together(agent):
            agent.signal(signal.SIGTERM)
            try:
                agent.rows("STOP")
            except OSError:
                pass

        for java_home in installed_javas():
            for stop in (twice, application_first, together):
                with self.subTest(java=str(java_home), stop=stop.__name__):
                    agent = self.agent(java_home=java_home, edit_options=with_test_application,
                                       edit_settings=tracing_the_ends_of_subscriptions)
                    agent.rows("STORM")
                    agent.post("/api/v1/situations", {"name": "S", "table": "EVENTS"})
                    load = Load(agent, ask=lambda agent: agent.rows("STORM"))
                    try:
                        wait_until(lambda: load.answers > 50, "load")
                        wait_until(lambda: agent.get("/api/v1/tables/EVENTS/events")["last"] > 50,
                                   "events")
                        try:
                            stop(agent)
                        except ProcessLookupError:
                            pass  # it was quicker
                        self.assertEqual(agent.wait(), 0, agent.stderr())
                    finally:
                        load.close()
                    trace = agent.trace()
                    self.assertEqual(trace.count("Loading JVM"), 1, trace[-3000:])
                    self.assertNotIn("internal exception", trace)
                    self.assertNotIn("no reply data", trace)

    def test_it_ends_with_the_status_that_the_application_gives_to_system_exit(self):
        agent = self.agent(edit_options=with_test_application)

        try:
            agent.rows("EXIT")
        except OSError:
            pass

        self.assertEqual(agent.wait(), 7, agent.stderr())
        self.assertIn("JVM exited with code 7", agent.stderr())

    def test_it_does_not_call_a_system_exit_a_success_that_nobody_asked_for(self):
        agent = self.agent(edit_options=with_test_application)

        try:
            agent.rows("EXIT_0")
        except OSError:
            pass

        self.assertEqual(agent.wait(), 255, agent.stderr())
        self.assertIn("though nobody had asked it to, with status 255", agent.stderr())
        self.assertIn("JVM exited with code 0", agent.stderr())

    def test_it_writes_a_thread_dump_on_quit_and_goes_on(self):
        for java_home in installed_javas():
            with self.subTest(java=str(java_home)):
                agent = self.agent(java_home=java_home)
                agent.subnode_of(agent.process.pid)
                for _ in range(3):
                    before = agent.stderr().count("zelagent: end of the thread dump\n")
                    agent.signal(signal.SIGQUIT)
                    wait_until(lambda: agent.stderr().count("zelagent: end of the thread dump\n")
                               > before, "a thread dump")

                text = agent.stderr()
                self.assertRegex(text, r'"Reference Handler" daemon [a-z]+')
                self.assertRegex(text, r"    at java\.lang\.Object\.wait.*\(native code\)")
                self.assertRegex(text, r"    at com\.qrv\.norvel\.\S+\(\w+\.java:\d+\)")
                self.assertTrue(agent.rows("JVM_RUNTIME", subnode="self"))
                agent.signal(signal.SIGTERM)
                self.assertEqual(agent.wait(), 0, agent.stderr())

    def test_it_runs_without_standard_streams(self):
        agent = self.agent(start_with=["sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh"], wait=False)
        log = agent.root / "logs/agent.log"
        wait_until(lambda: log.exists() and "is ready on port" in agent.trace(), "it is ready")

        agent.signal(signal.SIGHUP)
        wait_until(lambda: "SIGHUP suppressed" in agent.trace(), "the hang-up in the trace")
        self.assertNotIn("Signal 90", agent.trace())
        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0)

    def test_it_goes_on_when_its_files_are_as_large_as_they_may_be(self):
        # In blocks of 512 bytes. What it writes then fails, and it says so once.
        agent = self.agent(start_with=["sh", "-c", 'ulimit -f 8; exec "$@"', "sh"],
                           settings="  units: {\"*\": [error, state, flow, detail]}\n")
        wait_until(lambda: "File too large" in agent.stderr(), "the limit is told")
        self.assertTrue(agent.rows("JVM_RUNTIME", subnode="self"))

        agent.signal(signal.SIGTERM)
        self.assertEqual(agent.wait(), 0, agent.stderr())
        self.assertEqual(agent.stderr().count("records are being lost"), 1)

    def test_an_error_in_a_collector_does_not_end_it(self):
        agent = self.agent(edit_options=with_test_application)

        self.assertEqual(agent.rows("FAIL"), [])

        self.assertEqual(agent.rows("SPAWN"), [{"DONE": 1}])

    def test_a_daemon_starts_with_clean_signals(self):
        for java_home in installed_javas():
            with self.subTest(java=str(java_home)):
                agent = self.agent(java_home=java_home, edit_options=with_test_application)
                agent.rows("SPAWN")
                status = agent.home / "var/daemon"
                wait_until(lambda: status.exists() and "nonvoluntary" in status.read_text(),
                           "the daemon's status")
                text = status.read_text()
                for line in ("SigBlk:\t" + "0" * 16, "SigIgn:\t" + "0" * 16, "SigCgt:\t" + "0" * 16):
                    self.assertIn(line, text)

    def test_a_daemon_starts_at_once_where_very_many_descriptors_are_allowed(self):
        for java_home in installed_javas():
            with self.subTest(java=str(java_home)):
                agent = self.agent(java_home=java_home, edit_options=with_test_application,
                                   start_with=MANY_DESCRIPTORS)
                # A daemon's program begins when each possible descriptor has been closed.
                limits = pathlib.Path(f"/proc/{agent.process.pid}/limits").read_text()
                soft, hard = re.search(r"^Max open files +(\d+) +(\d+)", limits,
                                       re.MULTILINE).groups()
                self.assertLessEqual(int(soft), DESCRIPTORS)
                self.assertGreater(int(hard), DESCRIPTORS)

                asked = time.time()
                agent.rows("SPAWN")
                status = agent.home / "var/daemon"
                wait_until(lambda: status.exists() and "nonvoluntary" in status.read_text(),
                           "the daemon's status")
                print(f"of {hard} descriptors {soft} were closed; the daemon's output came "
                      f"{(status.stat().st_mtime - asked) * 1000:.0f} ms after the request")


if __name__ == "__main__":
    unittest.main()
