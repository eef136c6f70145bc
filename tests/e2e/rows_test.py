"""Rows of real JVMs over REST, against what those JVMs say of themselves."""

import unittest

from product import Agent, Target, installed_javas, wait_until


class RowsTest(unittest.TestCase):
    def target(self, java_home, *options):
        target = Target(java_home, *options)
        self.addCleanup(target.close)
        return target

    def test_rows_of_two_targets_are_what_the_targets_report_of_themselves(self):
        javas = installed_javas()
        self.assertTrue(javas)
        for java_home in javas:
            with self.subTest(java=str(java_home)):
                targets = [self.target(javas[0]), self.target(javas[-1], "-XX:+UseParallelGC",
                                                              "-XX:-UseSerialGC")]
                agent = Agent(java_home)
                try:
                    for target in targets:
                        self.compare(agent, target)
                    agent.process.terminate()
                    self.assertEqual(agent.wait(), 0, agent.stderr())
                finally:
                    agent.close()

    def compare(self, agent, target):
        subnode = agent.subnode_of(target.pid)
        before = target.facts()
        rows = {table: agent.rows(table, subnode=subnode)
                for table in ("JVM_RUNTIME", "JVM_MEMORY", "JVM_MEMPOOL", "JVM_GC", "JVM_THREADS",
                              "JVM_CLASSES", "JVM_BUFFERPOOL", "JVM_OS")}
        after = target.facts()

        for table, values in rows.items():
            self.assertTrue(values, table)
            self.assertEqual({row["ORIGINNODE"] for row in values}, {subnode}, table)

        [runtime] = rows["JVM_RUNTIME"]
        self.assertEqual(runtime["PID"], target.pid)
        self.assertEqual(runtime["VM_NAME"], before["vm_name"])
        self.assertEqual(runtime["VM_VERSION"], before["vm_version"])
        self.assertEqual(runtime["START_TIME_MS"], before["start_time"])
        self.between(before["uptime"], runtime["UPTIME_MS"], after["uptime"])

        [memory] = rows["JVM_MEMORY"]
        self.assertEqual(memory["HEAP_MAX"], before["heap_max"])
        self.between(1, memory["HEAP_USED"], memory["HEAP_COMMITTED"])
        self.assertEqual({row["POOL"] for row in rows["JVM_MEMPOOL"]}, set(before["pools"]))
        self.assertEqual({row["COLLECTOR"] for row in rows["JVM_GC"]}, set(before["collectors"]))
        self.assertEqual({row["POOL"] for row in rows["JVM_BUFFERPOOL"]},
                         set(before["buffer_pools"]))
        [direct] = [row for row in rows["JVM_BUFFERPOOL"] if row["POOL"] == "direct"]
        self.assertGreaterEqual(direct["BUFFERS"], before["buffers"])
        [threads] = rows["JVM_THREADS"]
        self.between(before["started"], threads["STARTED"], after["started"])
        [classes] = rows["JVM_CLASSES"]
        self.between(before["loaded"], classes["TOTAL_LOADED"], after["loaded"])

    def between(self, low, value, high):
        self.assertLessEqual(low, value)
        self.assertLessEqual(value, high)

    def test_the_agents_own_rows_are_those_of_its_process(self):
        agent = Agent()
        self.addCleanup(agent.close)

        [runtime] = agent.rows("JVM_RUNTIME", subnode=agent.subnode_of(agent.process.pid))

        self.assertEqual(runtime["PID"], agent.process.pid)

    def test_a_target_that_ends_is_no_longer_a_subnode(self):
        agent = Agent()
        self.addCleanup(agent.close)
        target = Target(installed_javas()[0])
        subnode = agent.subnode_of(target.pid)

        target.close()

        wait_until(lambda: subnode not in [s["name"] for s in agent.get("/api/v1/subnodes")["subnodes"]
                                           if s["state"] == "online"], "the subnode has gone")


if __name__ == "__main__":
    unittest.main()
