"""The two sides of the bridge agree on the numbers of the message protocol: read from the sources
of both."""

import os
import pathlib
import re
import unittest

ROOT = pathlib.Path(os.environ["ZEL_SOURCE"])
BRIDGE = ROOT / "src/bridge"
JAVA = ROOT / "java/toolkit/src/com/qrv/norvel/monitoring/toolkit/bridge"

# What the native side knows and the Java side neither sends nor reads.
NATIVE_ONLY = {"Init.FLAG", "SubnodeConnection.NAME",
               "NotificationCode.SUBNODE_CONNECTED", "NotificationCode.SUBNODE_DISCONNECTED",
               "Severity.NO_ANSWER"}


def java_name(native):
    """kHostName or HostName -> HOST_NAME"""
    return re.sub(r"(?<=[a-z])(?=[A-Z])", "_", re.sub(r"^k(?=[A-Z])", "", native)).upper()


def native_constants():
    """{"Envelope.TYPE": 0, ...}; a group also has those of the group that it uses."""
    text = (BRIDGE / "zelkeys.h").read_text()
    groups = {}
    for name, body in re.findall(r"^namespace ([\w:]+) \{\n(.*?)^\}", text, re.MULTILINE | re.DOTALL):
        group = groups.setdefault(re.sub(r"^(ZelKey::|Zel)", "", name), {})
        for used in re.findall(r"using namespace (\w+);", body):
            group.update(groups[used])
        for key, value in re.findall(r"constexpr int (\w+) = (\d+);", body):
            group[java_name(key)] = int(value)
    request = (BRIDGE / "zelreq.h").read_text()
    enumerators = re.search(r"enum Type : int \{(.*?)\}", request, re.DOTALL)[1]
    groups["MessageType"] = {java_name(name): int(value) for name, value
                             in re.findall(r"(\w+) = (\d+)", enumerators)}
    exceptions = (BRIDGE / "zelexc.h").read_text()
    groups["Severity"] = {java_name(name): int(value) for name, value
                          in re.findall(r"constexpr int (\w+) = (\d+);", exceptions)}
    return flat(groups)


def java_constants():
    groups = {}
    keys = (JAVA / "Keys.java").read_text()
    for name, body in re.findall(r"^  public static final class (\w+) \{(.*?)^  \}", keys,
                                 re.MULTILINE | re.DOTALL):
        groups[name] = integers(body)
    for name in ("RequestCode", "NotificationCode", "MessageType"):
        groups[name] = integers((JAVA / f"{name}.java").read_text())
    envelope = integers((JAVA / "Envelope.java").read_text())
    groups["Severity"] = {name.removeprefix("SEVERITY_"): value
                          for name, value in envelope.items()}
    return flat(groups)


def integers(java):
    return {name: int(value)
            for name, value in re.findall(r"static final int (\w+) = (\d+);", java)}


def flat(groups):
    return {f"{group}.{name}": value
            for group, names in groups.items() for name, value in names.items()}


class ZelKeysTest(unittest.TestCase):
    maxDiff = None

    def test_both_sides_have_the_same_names_and_numbers(self):
        native = native_constants()
        for name in NATIVE_ONLY:
            del native[name]

        self.assertEqual(native, java_constants())

    def test_no_number_is_overlooked(self):
        numbers = len(re.findall(r"= \d+;", (BRIDGE / "zelkeys.h").read_text()))
        inherited = 6 + 2  # by Situation from Sample, by SituationFilter from SampleFilter
        types_and_severities = 4 + 3

        self.assertEqual(len(native_constants()), numbers + inherited + types_and_severities)

    def test_units_take_the_numbers_from_the_one_header(self):
        literal = re.compile(r"(?:\.get|\.detach|zelPut(?:<[\w:]+>)?\(\*?\w+,) ?\(?\d+\b")
        for unit in (ROOT / "src").rglob("*.cpp"):
            self.assertIsNone(literal.search(unit.read_text()), unit)


if __name__ == "__main__":
    unittest.main()
