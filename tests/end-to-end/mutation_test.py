"""Thousands of mutated samples: the tool survives all of them, and scripts/mutate would notice if it did not."""
import hashlib
import pathlib
import subprocess
import sys
import tempfile
import unittest

import tool

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "hostile"))
import containers  # noqa: E402  (lies in the folder named above)
import mutations  # noqa: E402

MUTATE = ROOT / "scripts" / "mutate"
COUNT = 2000
MOST_SECONDS = 280

# Answers like the tool, but for one fault, which stands where FAULT is.
FAULTY_TOOL = """#!{python}
import json, sys
names = sys.stdin.read().split()
jobs = sys.argv[sys.argv.index("-j") + 1]
records = [{{"input": name, "service": "media", "status": "ok"}} for name in names]
failed = []
status = 0
{fault}
for record in records:
    if record is not None:
        print(json.dumps(record) if isinstance(record, dict) else record)
for record in failed:
    print(f"mediaprobe: {{record['input']}}: {{record['error']}}", file=sys.stderr)
sys.exit(1 if failed else status)
"""


def mutate(tool_path, count):
    return subprocess.run([sys.executable, MUTATE, "--tool", tool_path, "--count", str(count)],
                          capture_output=True, text=True, timeout=MOST_SECONDS)


class Tool(unittest.TestCase):
    def test_survives(self):
        done = mutate(tool.MEDIAPROBE, COUNT)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout[-5000:])
        self.assertIn(f"{COUNT} files", done.stdout)
        self.assertIn(" 0 faults", done.stdout)


class Faults(unittest.TestCase):
    def check_found(self, fault, words):
        """A tool with this fault is noticed, in these words."""
        with tempfile.TemporaryDirectory() as folder:
            faulty = pathlib.Path(folder, "faulty")
            faulty.write_text(FAULTY_TOOL.format(python=sys.executable, fault=fault))
            faulty.chmod(0o755)
            done = mutate(faulty, 8)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn(words, done.stdout)

    def test_none(self):
        with tempfile.TemporaryDirectory() as folder:
            sound = pathlib.Path(folder, "sound")
            sound.write_text(FAULTY_TOOL.format(python=sys.executable, fault=""))
            sound.chmod(0o755)
            done = mutate(sound, 8)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_missing_record(self):
        self.check_found("records[-1] = None", ": 0 records")

    def test_second_record(self):
        self.check_found("records.append(records[0])", ": 2 records")

    def test_other_order(self):
        self.check_found("records.reverse()", "records out of order")

    def test_no_json(self):
        self.check_found("records[0] = '{\"input\": '", "no JSON")

    def test_sanitizer_report(self):
        self.check_found("print('==1==ERROR: AddressSanitizer: heap-buffer-overflow', file=sys.stderr)",
                         "on standard error: '==1==ERROR: AddressSanitizer")

    def test_exit_status(self):
        self.check_found("status = 3", "exit status 3")

    def test_untold_error(self):
        self.check_found("records[0].update(status='error', error='damaged'); status = 1", "no line on standard error")

    def test_breakdown(self):
        for words in ("the probe broke down twice: killed by signal 11", "takes longer than 2 s", "out of memory"):
            with self.subTest(words=words):
                self.check_found(f"records[0].update(status='error', error='{words}'); failed = [records[0]]", f": {words}")

    def test_record_that_depends_on_the_jobs(self):
        self.check_found("records[0]['size'] = jobs", "shuffled, -j8: another record")

    def test_record_that_depends_on_the_company(self):
        self.check_found("records[0]['size'] = min(len(names), 2)", "alone: another record")


class Mutated(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.maker = mutations.Mutations()

    def test_every_sample_is_cut_at_every_200th(self):
        for index, (name, data) in enumerate(self.maker.sources):
            lengths = [len(self.maker.make(200 * index + cut)[2]) for cut in range(200)]
            self.assertEqual(lengths, [len(data) * cut // 200 for cut in range(200)], name)
        self.assertEqual(len(self.maker.cuts), 200 * len(self.maker.sources))

    def test_same_number_makes_the_same_file(self):
        again = mutations.Mutations()
        for number in self.maker.numbers(60):
            self.assertEqual(self.maker.make(number), again.make(number))

    def test_most_files_differ_from_all_others(self):
        digests = {hashlib.md5(self.maker.make(number)[2]).digest() for number in self.maker.numbers(400)}
        self.assertGreater(len(digests), 380)

    def test_kinds_come_evenly(self):
        kinds = [self.maker.make(number)[0] for number in self.maker.numbers(400)]
        for kind in ("cut", "flip_bits", "splice", "nest_again", "set_fields"):
            self.assertGreaterEqual(kinds.count(kind), 70, kind)

    def test_boxes_come_out_as_they_went_in(self):
        for name, data in self.maker.sources:
            family = containers.family_of(data)
            if family in (containers.Mp4, containers.Riff):
                self.assertEqual(containers.serialise(family, containers.parse(family, data)), data, name)

    def test_every_sample_has_places_for_sizes(self):
        for name, data in self.maker.sources:
            self.assertGreater(len(containers.places(data)), 10, name)


if __name__ == "__main__":
    unittest.main()
