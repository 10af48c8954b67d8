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


def records(*names, options=()):
    """Records of made-up files, which the fake module knows by their names."""
    with tempfile.TemporaryDirectory() as folder:
        for name in names:
            if not name.startswith(b"none") and b"[" not in name:
                pathlib.Path(os.fsdecode(os.path.join(os.fsencode(folder), name))).write_text("x")
        done = subprocess.run([TOOL, "--ndjson", *options, *names], cwd=folder, capture_output=True, timeout=60)
    return [json.loads(line) for line in done.stdout.decode("utf-8").splitlines()]


class RecordSchemaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(pathlib.Path(SCHEMA).read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.validator = jsonschema.Draft202012Validator(schema)
        cls.full, cls.photo, cls.movie, cls.frames, cls.drawing = records(
            b"full.mp4", b"photo.jpg", b"movie.gif", b"frame[01-10].png", b"drawing.svg", b"frame01.png",
            options=["--uuid"])[:5]
        cls.huge, = records(b"huge.wav")

    def assert_refused(self, change, record=None):
        record = copy.deepcopy(record or self.full)
        change(record)
        self.assertFalse(self.validator.is_valid(record))

    def test_records_of_all_kinds_are_valid(self):
        made = records(b"full.mp4", b"plain.wav", b"odd\xff.wav", b"photo.jpg", b"movie.gif", b"drawing.svg", b"none.mp4",
                       b"short.mp4", b"torn.jpg", b"none_[1-2].png")
        self.assertEqual([record["status"] for record in made], ["ok"] * 6 + ["error"] * 4)
        self.assertEqual([record["service"] for record in made],
                         ["media"] * 3 + ["image"] * 2 + ["svg"] + ["media"] * 2 + ["image"] * 2)
        forced, = records(b"full.mp4", options=["--service", "svg"])
        for record in made + [forced, self.full, self.huge, self.photo, self.movie, self.frames, self.drawing]:
            self.validator.validate(record)

    def test_records_together_have_every_key_of_the_schema(self):
        definitions = self.validator.schema["$defs"]

        def keys(properties, *values):
            self.assertEqual(set(properties) - set().union(*values), set())

        common = self.validator.schema["properties"]
        keys(set(common) - {"error", "truncated"}, self.full)
        keys(set(common) - {"error", "truncated"}, self.photo)
        keys({"truncated"}, self.huge)
        keys(definitions["media"]["properties"], self.full)
        keys(definitions["image"]["properties"], self.photo, self.frames)
        keys(definitions["svg"]["properties"], self.drawing)
        program = self.full["programs"][0]
        keys(definitions["program"]["properties"], program)
        for kind in ("video", "audio", "subpicture"):
            keys(definitions[kind]["properties"], program[kind][0])

    def test_keys_stand_in_the_order_of_the_schema(self):
        schema = self.validator.schema
        for record in (self.full, self.huge, self.photo, self.movie, self.frames, self.drawing):
            order = [*schema["properties"], *schema["$defs"][record["service"]]["properties"]]
            self.assertEqual(list(record), [key for key in order if key in record])
        video = self.full["programs"][0]["video"][0]
        self.assertEqual(list(video), list(schema["$defs"]["video"]["properties"]))

    def test_altered_records_of_images_and_svgs_are_refused(self):
        for change in (lambda r: r.pop("metadata"), lambda r: r.update(format="jpeg"), lambda r: r.update(programs=[]),
                       lambda r: r.update(rotation=45), lambda r: r.update(flip="both"), lambda r: r.update(width=0),
                       lambda r: r.update(uuid="0123"), lambda r: r.update(status="error", error="torn"),
                       lambda r: r["metadata"].update(Width=1), lambda r: r.update(frame_count=0)):
            self.assert_refused(change, self.photo)
        for change in (lambda r: r.pop("width"), lambda r: r.update(metadata={}), lambda r: r.update(duration=1),
                       lambda r: r.update(view_width="24"), lambda r: r.update(service="image")):
            self.assert_refused(change, self.drawing)

    def test_altered_records_are_refused(self):
        self.validator.validate(self.full)
        self.assert_refused(lambda r: r.update(truncated=False))
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
