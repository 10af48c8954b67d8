"""The verdict on instruction counts; the counts themselves are ./check's."""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys
import tempfile
import unittest

BENCH = pathlib.Path(__file__).resolve().parents[2] / "bench"
sys.path.insert(0, str(BENCH))
sys.dont_write_bytecode = True


def load(name):
    loader = importlib.machinery.SourceFileLoader(name, str(BENCH / name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    loader.exec_module(module)
    return module


instructions = load("instructions")
callgrind = load("callgrind.py")

PROFILE = """\
version: 1
events: Ir

ob=(1) /bin/program
fn=(1) below
0 100
cfn=(2) main
calls=1 0
0 900

fn=(2)
0 500
cob=(2) /lib/library.so
cfn=(3) helper
calls=3 0
0 300
cob=(2)
cfn=(3)
calls=1 0
+0 60
cfn=(4) inline_helper
calls=1 0
0 40

ob=(2)
fn=(3)
0 360

ob=(1)
fn=(4)
0 40

totals: 1000
"""


def verdict(kept, counts):
    with contextlib.redirect_stdout(io.StringIO()) as said:
        status = instructions.compare(kept, counts)
    return status, said.getvalue()


class InstructionsTest(unittest.TestCase):
    def test_three_percent_more_is_allowed_and_a_little_more_is_not(self):
        kept = {"probe": {"all": 100_000, "main": 10_000}}
        self.assertEqual(verdict(kept, {"probe": {"all": 103_000, "main": 10_300}})[0], 0)
        self.assertEqual(verdict(kept, {"probe": {"all": 103_001, "main": 10_000}})[0], 1)

    def test_main_cannot_grow_behind_the_loader(self):
        status, said = verdict({"probe": {"all": 100_000, "main": 10_000}}, {"probe": {"all": 100_400, "main": 10_400}})
        self.assertEqual(status, 1)
        self.assertIn("probe (main)", said)

    def test_fewer_are_told_with_the_command_that_keeps_them(self):
        status, said = verdict({"probe": {"all": 100_000, "main": 10_000}}, {"probe": {"all": 90_000, "main": 10_000}})
        self.assertEqual(status, 0)
        self.assertIn("less: probe (all)", said)
        self.assertIn("bench/instructions --update", said)

    def test_other_probes_than_the_kept_ones_are_a_failure(self):
        self.assertEqual(verdict({}, {"probe": {"all": 1, "main": 1}})[0], 1)

    def test_counts_calls_with_what_they_called(self):
        with tempfile.NamedTemporaryFile("w", suffix=".out") as file:
            file.write(PROFILE)
            file.flush()
            profile = callgrind.read_profile(file.name)
        self.assertEqual(profile.total, 1000)
        self.assertEqual(profile.inclusive, {"main": 900, "helper": 360, "inline_helper": 40})
        self.assertEqual(profile.calls, {"main": 1, "helper": 4, "inline_helper": 1})
        self.assertEqual(profile.between, {("/bin/program", "/bin/program"): 940, ("/bin/program", "/lib/library.so"): 360})


if __name__ == "__main__":
    unittest.main()
