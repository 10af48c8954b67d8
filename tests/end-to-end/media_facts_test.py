"""Files of many kinds: the record holds what the file was made to be, and agrees with ffprobe."""
import json
import pathlib
import shutil
import tempfile
import unittest

import cases
import comparison
import maker
import tool


class Made:
    """The files of this run and what was said of them, by name."""
    paths = {}
    ours = {}
    theirs = {}


def make(folder, case):
    path = folder / case.name
    maker.run_ffmpeg(path, case.arguments, folder)
    if case.change:
        path.write_bytes(case.change(path.read_bytes()))
    return path


def examine(path):
    """Our record, or why there is none, and ffprobe's report."""
    try:
        ours = tool.record_of(path)
    except AssertionError as failure:
        ours = failure
    return ours, comparison.describe_theirs(comparison.ask_ffprobe(path))


def setUpModule():
    names = [case.name for case in cases.ALL]
    assert len(set(names)) == len(names), "each file is to be made once"
    folder = pathlib.Path(tempfile.mkdtemp(prefix="media-facts-"))
    unittest.addModuleCleanup(shutil.rmtree, folder)
    maker.write_subtitles(folder)
    made = maker.in_parallel(lambda case: make(folder, case), cases.ALL)
    paths = made + tool.samples()
    for path, (ours, theirs) in zip(paths, maker.in_parallel(examine, paths)):
        Made.paths[path.name] = path
        Made.ours[path.name] = ours
        Made.theirs[path.name] = theirs


class MediaFacts(unittest.TestCase):
    maxDiff = None

    def our_record(self, name):
        record = Made.ours[name]
        if isinstance(record, AssertionError):
            self.fail(str(record))
        return record

    def check_facts(self, case):
        record = self.our_record(case.name)
        streams = tool.streams_of(record)
        said = {}
        for key in case.facts:
            index, _, rest = key.rpartition(".")
            said[key] = streams.get(int(index), {}).get(rest) if index else record.get(key)
        self.assertEqual(said, case.facts)

    def check_agreement(self, name):
        lines = comparison.disagreements(name, comparison.describe_ours(self.our_record(name)), Made.theirs[name])
        self.assertEqual(lines, [])

    def test_one_run_answers_all_inputs_in_their_order(self):
        done = tool.probe(*Made.paths.values())
        self.assertEqual(done.status, 0)
        self.assertEqual(done.complaints, b"")
        records = done.records()
        self.assertEqual([record["input"] for record in records], [str(path) for path in Made.paths.values()])
        self.assertEqual(records, list(Made.ours.values()))

    def test_groups_of_pictures_are_told_of_files_larger_than_what_is_read(self):
        for name in ("groups.ts", "groups.mkv"):
            self.assertGreater(Made.paths[name].stat().st_size, 3 << 19)
            metadata = tool.streams_of(self.our_record(name))[0]["metadata"]
            self.assertEqual(metadata.get("MediaFile_Metedata_Video_Format_Settings_Gop"), "M=3, N=12", name)

    def test_length_that_nothing_tells_and_the_start_does_not_show(self):
        for name, encoder in (("quiet.aac", ["-c:a", "aac", "-b:a", "96k"]),
                              ("quiet.mp3", ["-c:a", "libmp3lame", "-q:a", "4", "-write_xing", "0"])):
            with self.subTest(name=name), tempfile.TemporaryDirectory() as folder:
                path = pathlib.Path(folder, name)
                maker.run_ffmpeg(path, [*maker.quiet_start(20), *encoder], folder)
                record = tool.record_of(path)
                self.assertAlmostEqual(record["duration"], 20, delta=0.06)  # what encoders put in front
                self.assertAlmostEqual(tool.streams_of(record)[0]["duration"], record["duration"], delta=1e-4)
                bit_rate = path.stat().st_size * 8 / record["duration"]
                self.assertAlmostEqual(record["bit_rate"], bit_rate, delta=1)
                self.assertAlmostEqual(tool.streams_of(record)[0]["bit_rate"], bit_rate, delta=100)  # ID3v2 is no sound

    def test_length_of_sound_in_links_one_behind_the_other(self):
        with tempfile.TemporaryDirectory() as folder:
            parts = [pathlib.Path(folder, name) for name in ("first.ogg", "second.ogg")]
            for part, rate, seconds in zip(parts, ("44100", "48000"), ("3", "2")):
                maker.run_ffmpeg(part, [*maker.tone(rate, seconds), "-c:a", "libvorbis"], folder)
            chain = pathlib.Path(folder, "chain.ogg")
            chain.write_bytes(b"".join(part.read_bytes() for part in parts))
            record = tool.record_of(chain)
        self.assertAlmostEqual(record["duration"], 5, delta=0.001)
        self.assertAlmostEqual(tool.streams_of(record)[0]["duration"], 5, delta=0.001)

    def test_rates_of_fragments_that_an_index_names(self):
        form = "size=64x48:rate=25:duration=4"
        still, busy = f"color=black:{form}", f"testsrc2={form},noise=alls=60:allf=t"
        still_then_busy = ["-f", "lavfi", "-i", f"{still}[a];{busy}[b];[a][b]concat"]
        with tempfile.TemporaryDirectory() as folder:
            plain, indexed = (pathlib.Path(folder, name) for name in ("plain.mp4", "indexed.mp4"))
            sound = maker.tone(seconds="8")
            maker.run_ffmpeg(plain, [*still_then_busy, *sound, *cases.h264(), "-g", "25", *cases.AAC], folder)
            maker.run_ffmpeg(indexed, ["-i", str(plain), "-c", "copy", "-movflags",
                                       "+frag_keyframe+empty_moov+default_base_moof+global_sidx"], folder)
            expected, told = (tool.streams_of(tool.record_of(path)) for path in (plain, indexed))
        for index, stream in expected.items():  # the fragments' own heads count as well
            self.assertAlmostEqual(told[index]["bit_rate"], stream["bit_rate"], delta=0.1 * stream["bit_rate"])

    def test_json_is_the_array_of_the_same_records(self):
        some = [Made.paths["mp4.mp4"], Made.paths["programs.ts"]]
        done = tool.run("--json", *some)
        self.assertEqual(json.loads(done.output), [Made.ours[path.name] for path in some])

    def test_text_names_streams_and_size(self):
        done = tool.run(Made.paths["programs.ts"])
        self.assertEqual(done.status, 0)
        text = done.output.decode("utf-8")
        for words in ("programs.ts: mpegts", "program 11", "mpeg2video", "352x288", "program 22", "48 kHz", "deu"):
            self.assertIn(words, text)


def add_tests():
    """A test for each file and question, so that each failure has its name."""
    def test_name(prefix, file_name):
        return f"test_{prefix}_{file_name.replace('.', '_')}"

    for case in cases.ALL:
        setattr(MediaFacts, test_name("facts", case.name), lambda self, case=case: self.check_facts(case))
    for name in [case.name for case in cases.ALL] + [path.name for path in tool.samples()]:
        setattr(MediaFacts, test_name("agreement", name), lambda self, name=name: self.check_agreement(name))


add_tests()

if __name__ == "__main__":
    unittest.main()
