"""What is no media file, or no longer a whole one: an error in words or an answer, never a crash or a hang."""
import csv
import io
import os
import pathlib
import random
import shutil
import subprocess
import tempfile
import unittest

import maker
import mp4_boxes
import tool

SAMPLE = tool.SAMPLES / "upright.mp4"
# How many lengths each sample is cut to, and how many files of random bytes there are.
CUTS = 40
RANDOM_FILES = 60
SEED = 20240714
# Beyond what the tool itself takes; sanitizers add to it.
MOST_MEMORY_MB = "4096" if b"__asan_init" in pathlib.Path(tool.MEDIAPROBE).read_bytes() else "256"
PROTECTED_BY_ROOT = os.geteuid() == 0


def crc32(data):
    """Of sections of a transport stream."""
    value = 0xFFFFFFFF
    for byte in data:
        value = (value << 8 & 0xFFFFFFFF) ^ CRC_TABLE[value >> 24 ^ byte]
    return value.to_bytes(4, "big")


def crc_of_byte(byte):
    value = byte << 24
    for _ in range(8):
        value = (value << 1 ^ (0x04C11DB7 if value >> 31 else 0)) & 0xFFFFFFFF
    return value


CRC_TABLE = [crc_of_byte(byte) for byte in range(256)]


def section(table, extension, body, number=0, last=0):
    head = bytes([table]) + (0xB000 | len(body) + 9).to_bytes(2, "big") + extension.to_bytes(2, "big")
    whole = head + bytes([0xC1, number, last]) + body
    return whole + crc32(whole)


class TransportStream:
    def __init__(self):
        self.packets = b""
        self.counters = {}

    def add(self, identifier, data):
        rest = b"\0" + data
        start = 0x4000
        while rest:
            counter = self.counters.get(identifier, 0)
            self.counters[identifier] = counter + 1 & 15
            self.packets += b"\x47" + (start | identifier).to_bytes(2, "big") + bytes([0x10 | counter]) + rest[:184].ljust(184, b"\xff")
            rest = rest[184:]
            start = 0

    def add_programs(self, numbers):
        """Tells of programs, in sections of as many as there is room for; each is described under an identifier of its own."""
        parts = [numbers[at:at + 250] for at in range(0, len(numbers), 250)]
        for at, part in enumerate(parts):
            body = b"".join(number.to_bytes(2, "big") + (0xE000 | 0x100 + number % 0xE00).to_bytes(2, "big") for number in part)
            self.add(0, section(0, 1, body, at, len(parts) - 1))

    def add_streams(self, number, count):
        body = b"".join(b"\x03" + (0xF000 + at).to_bytes(2, "big") + b"\xf0\0" for at in range(count))
        self.add(0x100 + number % 0xE00, section(2, number, b"\xff\xff\xf0\0" + body))


class Folder(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="hostile-input-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def check_fails(self, name, words):
        """The input gets a record with an error and one line that names it; another input is answered all the same."""
        done = tool.probe(name, SAMPLE, folder=self.folder)
        self.assertEqual(done.status, 1)
        failed, answered = done.records()
        self.check_is_error(failed, name, words)
        self.assertEqual(answered["status"], "ok")
        self.assertEqual(done.complaint_lines(), [f"mediaprobe: {name}: {words}"])

    def check_is_error(self, record, name, words):
        self.assertEqual({key: record.get(key) for key in ("input", "service", "status", "error")},
                         {"input": name, "service": "media", "status": "error", "error": words})
        self.assertEqual(record["programs"], [])

    def check_answered(self, name, shown):
        """A copy of the sample under this name is answered like the sample; `shown` is the input in the record."""
        shutil.copy(SAMPLE, os.fsencode(self.folder) + b"/" + os.fsencode(name))
        done = tool.probe(name, folder=self.folder)
        self.assertEqual((done.status, done.complaints), (0, b""))
        record, = done.records()
        self.assertEqual(record.pop("input"), shown)
        expected = tool.record_of(SAMPLE)
        del expected["input"]
        self.assertEqual(record, expected)


class NoMediaFile(Folder):
    def test_missing_file(self):
        self.check_fails("absent.mp4", "no such file")

    def test_file_below_a_file(self):
        (self.folder / "file").write_bytes(b"x")
        self.check_fails("file/below.mp4", "no such file")

    def test_folder(self):
        (self.folder / "folder.mp4").mkdir()
        self.check_fails("folder.mp4", "is a folder")

    def test_empty_file(self):
        (self.folder / "empty.mp4").touch()
        self.check_fails("empty.mp4", "empty file")

    def test_text_file(self):
        (self.folder / "notes.mp4").write_text("Nothing but words, line after line.\n" * 200)
        self.check_fails("notes.mp4", "not a media file")

    def test_playlist_that_names_a_media_file(self):
        (self.folder / "list.m3u8").write_text(
            f"#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n{tool.SAMPLES / 'programs.ts'}\n#EXT-X-ENDLIST\n")
        self.check_fails("list.m3u8", "not a media file")

    def test_concatenation_script_that_names_a_media_file(self):
        (self.folder / "list.txt").write_text(f"ffconcat version 1.0\nfile '{SAMPLE}'\n")
        self.check_fails("list.txt", "not a media file")

    def test_name_with_a_line_break_is_told_in_one_line(self):
        done = tool.probe("no\nsuch.mp4", folder=self.folder)
        self.assertEqual(done.status, 1)
        self.assertEqual(len(done.complaint_lines()), 1)
        record, = done.records()
        self.assertEqual(record["input"], "no\nsuch.mp4")

    def test_fifo_is_not_waited_for(self):
        os.mkfifo(self.folder / "pipe.mp4")
        self.check_fails("pipe.mp4", "not a regular file")

    def test_device_is_not_read(self):
        (self.folder / "zero.mp4").symlink_to("/dev/zero")
        self.check_fails("zero.mp4", "not a regular file")

    def test_link_to_itself(self):
        (self.folder / "loop.mp4").symlink_to("loop.mp4")
        done = tool.probe("loop.mp4", folder=self.folder)
        self.assertEqual(done.status, 1)
        self.assertEqual(len(done.complaint_lines()), 1)

    def test_no_permission(self):
        shutil.copy(SAMPLE, self.folder / "locked.mp4")
        (self.folder / "locked.mp4").chmod(0)
        if not PROTECTED_BY_ROOT:
            self.check_fails("locked.mp4", "no permission")
            return
        # Nothing is locked to root, so someone else asks, who may not even enter the build folder: with a copy.
        self.folder.chmod(0o755)
        built = pathlib.Path(tool.MEDIAPROBE)
        (self.folder / "bin").mkdir()
        copy = shutil.copy(built, self.folder / "bin")
        shutil.copytree(built.parent.parent / "lib", self.folder / "lib")
        done = subprocess.run(
            [copy, "--ndjson", self.folder / "locked.mp4"], user=65534, group=65534, extra_groups=[],
            stdin=subprocess.DEVNULL, capture_output=True, timeout=tool.HANG_SECONDS)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.decode(), f"mediaprobe: {self.folder / 'locked.mp4'}: no permission\n")


class StrangeNames(Folder):
    def test_blanks_and_signs(self):
        for name in ("two  blanks.mp4", "100%.mp4", "%41.mp4", "a:b.mp4", "file;x.mp4", "#?&.mp4", "p%d.mp4",
                     "[1-2].mp4", "'\"\\.mp4", "-.mp4", "--help", "~", "$HOME.mp4", "\u00fcml\u00e4ut.mp4",
                     "\u65e5\u672c.mp4", "\U0001f600.mp4", "e\u0301.mp4", "no_extension", "UPPER.MP4"):
            with self.subTest(name=name):
                self.check_answered(name, name)

    def test_line_break(self):
        self.check_answered("two\nlines.mp4", "two\nlines.mp4")

    def test_control_characters(self):
        self.check_answered("\x1b[31m\x07\t.mp4", "\x1b[31m\x07\t.mp4")

    def test_bytes_that_are_no_utf8(self):
        self.check_answered(b"caf\xe9\xff.mp4", "caf\ufffd\ufffd.mp4")

    def test_folders_that_look_like_a_scheme(self):
        for folder in ("http_clips", "https:", "http:", "file_x"):
            (self.folder / folder).mkdir()
            with self.subTest(folder=folder):
                self.check_answered(f"{folder}/x.mp4", f"{folder}/x.mp4")

    def test_longest_name(self):
        name = "n" * 251 + ".mp4"
        self.check_answered(name, name)

    def test_longer_than_any_name(self):
        done = tool.probe("n" * 4000, folder=self.folder)
        self.assertEqual(done.status, 1)
        self.assertEqual(len(done.complaint_lines()), 1)

    def test_extension_of_another_container(self):
        for name in ("really.mkv", "really.jpg", "really.txt", "really.mp3"):
            with self.subTest(name=name):
                self.check_answered(name, name)

    def test_file_urls(self):
        shutil.copy(SAMPLE, self.folder / "a b.mp4")
        path = self.folder / "a b.mp4"
        escaped = str(path).replace(" ", "%20")
        for url in (f"file:{path}", f"file://{path}", f"file://localhost{path}", f"file://{escaped}"):
            with self.subTest(url=url):
                self.assertEqual(tool.record_of(url)["duration"], 2.002)


class Damaged(Folder):
    def check_each_has_a_record(self, paths):
        """Every file has one record, and one line for each error; not one more."""
        done = tool.probe(*(path.name for path in paths), folder=self.folder)
        self.assertIn(done.status, (0, 1))
        records = done.records()
        self.assertEqual([record["input"] for record in records], [path.name for path in paths])
        failed = [record for record in records if record["status"] == "error"]
        self.assertEqual(done.status, 1 if failed else 0)
        self.assertEqual(done.complaint_lines(),
                         [f"mediaprobe: {record['input']}: {record['error']}" for record in failed])
        return records

    def test_samples_cut_short(self):
        maker.in_parallel(self.check_cuts, tool.samples())

    def check_cuts(self, sample):
        data = sample.read_bytes()
        # Near the start every byte may matter; further on they are spread.
        lengths = sorted({*range(1, 17), *(len(data) * cut // CUTS for cut in range(1, CUTS)), len(data) - 1})
        paths = [self.folder / f"{length}-{sample.name}" for length in lengths]
        for path, length in zip(paths, lengths):
            path.write_bytes(data[:length])
        records = self.check_each_has_a_record(paths)
        for record in records:
            for stream in tool.streams_of(record).values() if record["status"] == "ok" else ():
                self.assertIn("codec", stream, record["input"])

    def check_ends_early(self, sample, length):
        (self.folder / "short").write_bytes((tool.SAMPLES / sample).read_bytes()[:length])
        done = tool.probe("short", folder=self.folder)
        self.assertEqual(done.status, 1)
        record, = done.records()
        self.assertIn("file ends early", record["error"])

    def test_mp4_that_ends_before_its_movie_box(self):
        self.check_ends_early("hdr.mov", (tool.SAMPLES / "hdr.mov").read_bytes().index(b"moov") - 4)

    def test_mp4_that_ends_in_its_movie_box(self):
        self.check_ends_early("upright.mp4", SAMPLE.read_bytes().index(b"moov") + 100)

    def test_flipped_bytes(self):
        generator = random.Random(SEED)
        paths = []
        for sample in tool.samples():
            for turn in range(6):
                data = bytearray(sample.read_bytes())
                for _ in range(1 + turn * 4):
                    # Headers stand at the start, or (MP4) at the end.
                    at = generator.choice((generator.randrange(2000), generator.randrange(len(data))))
                    data[at % len(data)] = generator.randrange(256)
                paths.append(self.folder / f"{turn}-{sample.name}")
                paths[-1].write_bytes(data)
        self.check_each_has_a_record(paths)

    def test_random_bytes(self):
        generator = random.Random(SEED)
        paths = [self.folder / f"{number}.mp4" for number in range(RANDOM_FILES)]
        for number, path in enumerate(paths):
            path.write_bytes(generator.randbytes(1 << number % 18))
        for record in self.check_each_has_a_record(paths):
            self.assertEqual(record["status"], "error", record)

    def test_random_bytes_behind_a_beginning(self):
        generator = random.Random(SEED)
        paths = [self.folder / f"{length}-{sample.name}" for sample in tool.samples() for length in (16, 64, 300)]
        for path in paths:
            length, name = path.name.split("-", 1)
            path.write_bytes((tool.SAMPLES / name).read_bytes()[:int(length)] + generator.randbytes(20000))
        self.check_each_has_a_record(paths)

    def test_zeros(self):
        (self.folder / "zeros.mp4").write_bytes(bytes(1 << 20))
        self.check_fails("zeros.mp4", "not a media file")

    def test_a_failure_leaves_the_next_answer_alone(self):
        (self.folder / "bad.mp4").write_bytes(SAMPLE.read_bytes()[:5000])
        done = tool.probe("bad.mp4", str(SAMPLE), "bad.mp4", str(SAMPLE), folder=self.folder)
        first, second = done.records()[1::2]
        self.assertEqual(first, second)
        self.assertEqual(first, tool.record_of(SAMPLE))


class Endless(Folder):
    """Files that go on and on, mostly in holes: what they cost is bounded, and so is what is told of them."""
    LENGTH = 100 << 30
    # A sanitizer takes as much again several times over.
    SECONDS = 20 if "SANITIZED" in os.environ else 5
    MOST_OUTPUT = 100_000

    def check_bounded(self, name, data, length=None, most_output=MOST_OUTPUT):
        """The record of a file with this beginning, which is there in time."""
        path = self.folder / name
        path.write_bytes(data)
        if length:
            os.truncate(path, length)
        done = tool.probe(name, folder=self.folder, options=("--timeout", str(self.SECONDS), "--memory", MOST_MEMORY_MB))
        record, = done.records()
        self.assertNotIn("takes longer", record.get("error", ""))
        self.assertNotIn("broke down", record.get("error", ""))
        self.assertLess(len(done.output), most_output)
        path.unlink()
        return record

    def check_same_everywhere(self, name):
        """Whatever process answers, each form is the same; all of them together, by their options."""
        outputs = {}
        for form in ("--text", "--json", "--ndjson", "--csv"):
            runs = {tool.run(form, "--isolation", isolation, "--allow-unsandboxed", name, folder=self.folder).output
                    for isolation in ("none", "worker", "strict")}
            outputs[form], = runs
        return outputs

    def with_movie(self, *additions, behind=b""):
        """The sample with its movie box first, boxes added to that, and bytes behind it in place of media data."""
        data = SAMPLE.read_bytes()
        start, payload, end = mp4_boxes.find(data, b"moov")
        return data[:start] + mp4_boxes.box(b"moov", data[payload:end], *additions) + behind

    def test_samples_of_100_gigabytes(self):
        for sample in tool.samples():
            with self.subTest(name=sample.name):
                record = self.check_bounded(sample.name, sample.read_bytes(), self.LENGTH)
                self.assertEqual((record["status"], record["size"]), ("ok", self.LENGTH))

    def test_boxes_of_100_gigabytes(self):
        for kind in (b"moov", b"mdat", b"meta", b"moof"):
            head = SAMPLE.read_bytes()[:32] + (1).to_bytes(4, "big") + kind + (self.LENGTH - 32).to_bytes(8, "big")
            with self.subTest(kind=kind):
                self.assertEqual(self.check_bounded("claim.mp4", head, self.LENGTH)["status"], "error")

    def test_a_million_boxes(self):
        empty = mp4_boxes.box(b"free")
        fragment = mp4_boxes.box(b"moof", mp4_boxes.full_box(b"mfhd", bytes(4))) + mp4_boxes.box(b"mdat")
        for name, data in (("inside", self.with_movie(mp4_boxes.box(b"udta", empty * 1_000_000))),
                           ("in a row", self.with_movie(behind=empty * 1_000_000)),
                           ("fragments", self.with_movie(mp4_boxes.box(b"mvex"), behind=fragment * 300_000))):
            with self.subTest(name=name):
                self.check_bounded("boxes.mp4", data)

    def test_tracks_by_the_thousand(self):
        data = SAMPLE.read_bytes()
        start, _, end = mp4_boxes.find(data, b"moov", b"trak")
        self.check_bounded("tracks.mp4", self.with_movie(data[start:end] * 5000))

    def test_programs_by_the_thousand(self):
        """Each with the same 128 streams."""
        numbers = range(1, 1001)
        stream = TransportStream()
        stream.add_programs(numbers)
        for number in numbers:
            stream.add_streams(number, 128)
        record = self.check_bounded("programs.ts", stream.packets, most_output=1_000_000)
        self.assertEqual(record["status"], "ok")
        self.assertEqual({entry["id"] for entry in record["programs"][0]["audio"]}, set(range(0x1000, 0x1080)))

    def test_programs_without_streams_by_the_thousand(self):
        stream = TransportStream()
        stream.add_programs(range(1, 64_001))
        self.check_bounded("table.ts", stream.packets)

    def test_long_texts_of_many_streams(self):
        """The table has them on each row."""
        maker.run_ffmpeg(self.folder / "many.mp4", [*maker.tone(seconds="0.1"), *["-map", "0:a"] * 60,
                                                    "-metadata", "title=" + "t" * 120_000,
                                                    "-metadata", "artist=" + "a" * 120_000], self.folder)
        outputs = self.check_same_everywhere("many.mp4")
        for form, output in outputs.items():
            self.assertLess(len(output), 5_000_000, form)
        rows = list(csv.DictReader(io.StringIO(outputs["--csv"].decode())))
        self.assertEqual([row["index"] for row in rows], [str(index) for index in range(60)])
        self.assertIn(b'"truncated":true', outputs["--ndjson"])

    def test_deep_nesting(self):
        nest = b""
        for _ in range(20_000):
            nest = (len(nest) + 8).to_bytes(4, "big") + b"udta" + nest if len(nest) < 100_000 else nest
        self.check_bounded("deep.mp4", self.with_movie(nest))

    def test_elements_and_chunks_by_the_million(self):
        matroska = (tool.SAMPLES / "languages.mkv").read_bytes()
        wave = (tool.SAMPLES / "voice.wav").read_bytes()
        self.assertEqual(self.check_bounded("void.mkv", matroska + b"\xec\x80" * 1_000_000)["status"], "ok")
        self.assertEqual(self.check_bounded("chunks.wav", wave + b"abcd\0\0\0\0" * 1_000_000)["status"], "ok")

    def test_tags_by_the_million(self):
        frame = b"TIT2" + (2).to_bytes(4, "big") + b"\0\0\0a"
        tag = frame * 2_000_000
        size = bytes(len(tag) >> shift & 0x7F for shift in (21, 14, 7, 0))
        self.check_bounded("tags.mp3", b"ID3\x04\0\0" + size + tag + (tool.SAMPLES / "song.mp3").read_bytes())


class Usage(Folder):
    def test_no_input(self):
        self.assertEqual(tool.run("--ndjson").status, 2)

    def test_unknown_option(self):
        done = tool.run("--no-such-option", SAMPLE)
        self.assertEqual((done.status, done.output), (2, b""))
        self.assertIn("--no-such-option", done.complaints.decode())

    def test_full_disk_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([tool.MEDIAPROBE, "--ndjson", SAMPLE], stdout=full, stderr=subprocess.PIPE,
                                  timeout=tool.HANG_SECONDS)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"cannot write", done.stderr)


if __name__ == "__main__":
    unittest.main()
