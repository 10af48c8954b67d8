"""Checks the tool's records against the published schema, and that the schema is no empty promise."""
import copy
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema

TOOL, SCHEMA = sys.argv[1:3]


def records(*names):
    """Records of made-up files, which the fake module knows by their names."""
    with tempfile.TemporaryDirectory() as folder:
        for name in names:
            if name != b"none.mp4":
                pathlib.Path(os.fsdecode(os.path.join(os.fsencode(folder), name))).write_text("x")
        done = subprocess.run([TOOL, "--ndjson", *names], cwd=folder, capture_output=True, timeout=60)
    return [json.loads(line) for line in done.stdout.decode("utf-8").splitlines()]


class RecordSchemaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(pathlib.Path(SCHEMA).read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.validator = jsonschema.Draft202012Validator(schema)
        cls.full, = records(b"full.mp4")

    def assert_refused(self, change):
        record = copy.deepcopy(self.full)
        change(record)
        self.assertFalse(self.validator.is_valid(record))

    def test_records_of_all_kinds_are_valid(self):
        made = records(b"full.mp4", b"plain.wav", b"odd\xff.wav", b"none.mp4", b"short.mp4")
        self.assertEqual([record["status"] for record in made], ["ok", "ok", "ok", "error", "error"])
        for record in made:
            self.validator.validate(record)

    def test_full_record_has_every_key_of_the_schema(self):
        def keys(definition, value):
            self.assertEqual(set(definition["properties"]) - set(value), set(), definition["properties"].keys())

        definitions = self.validator.schema["$defs"]
        top = dict(self.validator.schema["properties"])
        del top["error"]
        keys({"properties": top}, self.full)
        program = self.full["programs"][0]
        keys(definitions["program"], program)
        for kind in ("video", "audio", "subpicture"):
            keys(definitions[kind], program[kind][0])

    def test_keys_stand_in_the_order_of_the_schema(self):
        order = [key for key in self.validator.schema["properties"] if key in self.full]
        self.assertEqual(list(self.full), order)
        video = self.full["programs"][0]["video"][0]
        self.assertEqual(list(video), list(self.validator.schema["$defs"]["video"]["properties"]))

    def test_altered_records_are_refused(self):
        self.validator.validate(self.full)
        self.assert_refused(lambda r: r.pop("input"))
        self.assert_refused(lambda r: r.pop("metadata"))
        self.assert_refused(lambda r: r.update(unknown=1))
        self.assert_refused(lambda r: r.update(status="error"))
        self.assert_refused(lambda r: r.update(error="but it is ok"))
        self.assert_refused(lambda r: r.update(size="2788750"))
        self.assert_refused(lambda r: r.update(duration=0))
        self.assert_refused(lambda r: r.update(created="2023-05-17 10:20:30"))
        self.assert_refused(lambda r: r["location"].update(latitude=91))
        self.assert_refused(lambda r: r["metadata"].update(Title="x"))
        self.assert_refused(lambda r: r["metadata"].update(MediaFile_Metedata_Title=""))
        self.assert_refused(lambda r: r["programs"][0]["video"][0].update(rotation=45))
        self.assert_refused(lambda r: r["programs"][0]["video"][0].update(frame_rate=25))
        self.assert_refused(lambda r: r["programs"][0]["audio"][0].pop("flags"))
        self.assert_refused(lambda r: r["programs"][0]["subpicture"][0].update(width=1))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
