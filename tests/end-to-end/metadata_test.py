"""Tags, dates, place, protection and the label of AI-generated content, in every container that carries them."""
import datetime
import json
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time
import unittest

import carriers
import maker
import tool
from maker import pictures, tone

KEY = "MediaFile_Metedata_"
TITLE = "Gr\u00fc\u00dfe \u65e5\u672c \U0001f3b5"
TAGS = {"title": TITLE, "artist": "Ren\u00e9e \u041b.", "album": "Al\u00f1o", "track": "3/8", "genre": "Electronic",
        "publisher": "H\u00e4us & Co"}
NAMES = {"title": "Title", "artist": "Artist", "album": "Album", "track": "TrackNumber", "genre": "Genre",
         "publisher": "Publisher", "make": "Maker", "model": "Model"}
CAMERA = {"make": "Example Optics", "model": "EX-1"}
SOUND = tone("44100", seconds="0.3")
AAC = SOUND + ["-c:a", "aac"]
WITHOUT_PUBLISHER = {name: TAGS[name] for name in ("title", "artist", "album", "track", "genre")}

# File, ffmpeg's arguments, the tags that are given and found again. What a format has no place for is left out.
TAGGED = [
    ("tags.mp4", AAC, WITHOUT_PUBLISHER),
    ("keys.mp4", AAC + ["-movflags", "+use_metadata_tags"], {**TAGS, **CAMERA}),
    ("tags.mov", pictures(seconds="0.2") + ["-c:v", "mpeg4"],
     {name: {**TAGS, **CAMERA}[name] for name in ("title", "artist", "album", "genre", "make", "model")}),
    ("tags.m4a", AAC, WITHOUT_PUBLISHER),
    ("tags.mkv", SOUND + ["-c:a", "libvorbis"], TAGS),
    ("tags.webm", SOUND + ["-c:a", "libopus"], TAGS),
    ("v23.mp3", SOUND + ["-id3v2_version", "3"], TAGS),
    ("v24.mp3", SOUND + ["-id3v2_version", "4"], TAGS),
    ("tags.flac", SOUND, TAGS),
    ("tags.ogg", SOUND + ["-c:a", "libvorbis"], TAGS),
    ("tags.opus", SOUND + ["-c:a", "libopus"], TAGS),
    ("tags.wav", SOUND, WITHOUT_PUBLISHER),
    ("tags.wma", SOUND + ["-c:a", "wmav2"], TAGS),
    ("tags.avi", pictures(seconds="0.2") + ["-c:v", "mpeg4"], WITHOUT_PUBLISHER),
    ("tags.aiff", SOUND + ["-write_id3v2", "1"], TAGS),
]

QUADRANTS = [(48.8584, 2.2945), (-33.8568, 151.2153), (40.6892, -74.0445), (-22.9519, -43.2105)]
LABEL = json.dumps({"Label": "1", "ContentProducer": "\u751f\u6210 & <co>", "ProduceID": "p-1", "ReservedCode1": "",
                    "ContentPropagator": "c", "PropagateID": "q-2", "ReservedCode2": "\"quoted\""}, ensure_ascii=False)
OTHER_LABEL = '{"Label":"2"}'
# Rules rather than names, so that no time zone database is needed.
ZONES = {
    "Greenwich": "UTC0",
    "Berlin": "CET-1CEST,M3.5.0,M10.5.0/3",
    "New York": "EST5EDT,M3.2.0,M11.1.0",
    "Kolkata": "IST-5:30",
    "Lord Howe": "LHST-10:30LHDT-11,M10.1.0,M4.1.0",
    "Chatham": "CHAST-12:45CHADT,M9.5.0/2:45,M4.1.0/3:45",
}
SUMMER = 1720988130   # 2024-07-14T20:15:30Z
WINTER = 1704164645   # 2024-01-02T03:04:05Z
SECONDS_FROM_1904 = 2082844800

ENCRYPTION_KEY = "76a6c65c5ea762046bd749a2e632ccbb"
KEY_ID = "a7e61c373e219033c21091fa607bf3b8"
HOSTILE_BYTES = 512 * 10**6   # the contract's limit of one probe


def metadata_arguments(tags):
    return [word for name, value in tags.items() for word in ("-metadata", f"{name}={value}")]


class Made:
    folder = None
    base = {}

    @classmethod
    def file(cls, name, arguments):
        maker.run_ffmpeg(cls.folder / name, arguments, cls.folder)
        return cls.folder / name

    @classmethod
    def write(cls, name, data):
        (cls.folder / name).write_bytes(data)
        return cls.folder / name


def setUpModule():
    Made.folder = pathlib.Path(tempfile.mkdtemp(prefix="metadata-"))
    unittest.addModuleCleanup(shutil.rmtree, Made.folder)
    bare = ["-bitexact", "-map_metadata", "-1"]
    bases = {
        "mp4": AAC + bare,
        "mov": pictures(seconds="0.2") + ["-c:v", "mpeg4", *bare],
        "mp3": SOUND + ["-id3v2_version", "0", *bare],
        "flac": SOUND + bare,
        "wav": SOUND + bare,
        "mkv": SOUND + ["-c:a", "libvorbis", *bare],
    }
    jobs = [(f"base.{suffix}", arguments) for suffix, arguments in bases.items()]
    jobs += [(name, arguments + metadata_arguments(tags)) for name, arguments, tags in TAGGED]
    maker.in_parallel(lambda job: Made.file(*job), jobs)
    Made.base = {suffix: (Made.folder / f"base.{suffix}").read_bytes() for suffix in bases}


def metadata_of(path, **options):
    return tool.record_of(path, **options)["metadata"]


class Tags(unittest.TestCase):
    maxDiff = None

    def test_each_tag_in_each_container(self):
        for name, _, tags in TAGGED:
            with self.subTest(name=name):
                metadata = metadata_of(Made.folder / name)
                expected = {KEY + NAMES[tag]: value for tag, value in tags.items()}
                self.assertEqual({key: metadata.get(key) for key in expected}, expected)

    def test_id3v1(self):
        tag = carriers.id3v1_tag(b"Plain title", b"Plain artist", b"Plain album", track=3, genre=52)
        metadata = metadata_of(Made.write("v1.mp3", Made.base["mp3"] + tag))
        expected = {"Title": "Plain title", "Artist": "Plain artist", "Album": "Plain album", "TrackNumber": "3",
                    "Genre": "Electronic"}
        self.assertEqual({name: metadata.get(KEY + name) for name in expected}, expected)

    def test_an_untagged_file_has_no_metadata(self):
        for suffix in Made.base:
            with self.subTest(suffix=suffix):
                self.assertEqual(metadata_of(Made.folder / f"base.{suffix}"), {})

    def test_title_of_a_track_is_not_the_title_of_the_file(self):
        path = Made.file("two_titles.mkv", ["-i", "base.mkv", "-c", "copy", "-metadata", "title=Film", "-metadata:s:a",
                                            "title=Commentary"])
        self.assertEqual(metadata_of(path)[KEY + "Title"], "Film")

    def test_performer_where_there_is_no_artist(self):
        path = Made.file("performer.flac", ["-i", "base.flac", "-c", "copy", "-metadata", "performer=Somebody"])
        self.assertEqual(metadata_of(path)[KEY + "Actor"], "Somebody")

    def test_quicktime_names_of_maker_and_model(self):
        path = Made.write("phone.mov", carriers.with_user_data(Made.base["mov"], carriers.named_keys(
            ("com.apple.quicktime.make", b"Maker"), ("com.apple.quicktime.model", b"Model"), is_full=False)))
        metadata = metadata_of(path)
        self.assertEqual((metadata[KEY + "Maker"], metadata[KEY + "Model"]), ("Maker", "Model"))


class Place(unittest.TestCase):
    def check_location(self, path, latitude, longitude, digits):
        location = tool.record_of(path)["location"]
        self.assertAlmostEqual(location["latitude"], latitude, digits)
        self.assertAlmostEqual(location["longitude"], longitude, digits)
        metadata = metadata_of(path)
        self.assertGreaterEqual(metadata[KEY + "GPSLatitude"], 0)
        self.assertGreaterEqual(metadata[KEY + "GPSLongitude"], 0)
        self.assertEqual(metadata[KEY + "GPSLatitudeRef"], "N" if latitude >= 0 else "S")
        self.assertEqual(metadata[KEY + "GPSLongitudeRef"], "E" if longitude >= 0 else "W")

    def test_four_quadrants(self):
        for latitude, longitude in QUADRANTS:
            text = f"{latitude:+08.4f}{longitude:+09.4f}/"
            mov, mp4 = Made.base["mov"], Made.base["mp4"]
            carried = {
                "xyz.mov": carriers.with_user_data(mov, carriers.user_text(b"\xa9xyz", text.encode())),
                "xyz.mp4": carriers.with_user_data(mp4, carriers.user_text(b"\xa9xyz", text.encode())),
                "key.mov": carriers.with_user_data(mov, carriers.named_keys(
                    ("com.apple.quicktime.location.ISO6709", text.encode()), is_full=False)),
                "key.mp4": carriers.with_user_data(mp4, carriers.named_keys(
                    ("com.apple.quicktime.location.ISO6709", text.encode()))),
            }
            for name, data in carried.items():
                with self.subTest(name=name, place=text):
                    self.check_location(Made.write(name, data), latitude, longitude, 7)
            with self.subTest(name="tag.mkv", place=text):
                path = Made.file("tag.mkv", ["-i", "base.mkv", "-c", "copy", "-metadata", f"LOCATION={text}"])
                self.check_location(path, latitude, longitude, 7)
            with self.subTest(name="loci.mp4", place=text):
                # Kept as 16.16 fixed-point numbers.
                path = Made.file("loci.mp4", ["-i", "base.mp4", "-c", "copy", "-metadata", f"location={text}"])
                self.check_location(path, latitude, longitude, 4)

    def test_forms_of_iso_6709(self):
        for text, latitude, longitude in (
                ("+48.8584+002.2945/", 48.8584, 2.2945),
                ("+48.8584+002.2945+35.5/", 48.8584, 2.2945),
                ("+48.8584+002.2945+35CRSWGS_84/", 48.8584, 2.2945),
                ("-4851.504+00217.67/", -(48 + 51.504 / 60), 2 + 17.67 / 60),
                ("+485130.24-0021740.2/", 48 + 51 / 60 + 30.24 / 3600, -(2 + 17 / 60 + 40.2 / 3600)),
                ("+90+180/", 90, 180),
                ("+00-000/", 0, 0)):
            with self.subTest(text=text):
                path = Made.write("form.mov", carriers.with_user_data(
                    Made.base["mov"], carriers.user_text(b"\xa9xyz", text.encode())))
                location = tool.record_of(path)["location"]
                self.assertAlmostEqual(location["latitude"], latitude, 6)
                self.assertAlmostEqual(location["longitude"], longitude, 6)

    def test_what_is_no_place_gives_none(self):
        for text in ("", "/", "+", "+-+-/", "48.8584,2.2945", "+91.0+000.0/", "+00.0+181.0/", "+1e5+1e5/", "nan",
                     "+nan+inf/", "+48.8584", "+48.8584/", "+" * 60000, "1" * 60000, "\u0664\u0668",
                     "+48.8584+\0002.2945/"):
            with self.subTest(text=text[:30]):
                path = Made.write("garbage.mov", carriers.with_user_data(
                    Made.base["mov"], carriers.user_text(b"\xa9xyz", text.encode())))
                record = tool.record_of(path)
                self.assertNotIn("location", record)
                self.assertNotIn(KEY + "GPSLatitude", record["metadata"])


class Dates(unittest.TestCase):
    def check_dates(self, path, created, modified):
        """The seconds are the file's own, and the record tells them by the local clock, in every zone."""
        for zone, rule in ZONES.items():
            with self.subTest(file=path.name, zone=zone):
                record = tool.record_of(path, environment={"TZ": rule})
                self.assertEqual(record["metadata"][KEY + "CreateDate"], created)
                self.assertEqual(record["metadata"][KEY + "ModifyDate"], modified)
                told = datetime.datetime.fromisoformat(record["created"])
                self.assertEqual(told.timestamp(), created)
                self.assertEqual(told.utcoffset(), self.offset_at(created, rule))
                self.assertEqual(datetime.datetime.fromisoformat(record["modified"]).timestamp(), modified)

    @staticmethod
    def offset_at(seconds, rule):
        before = os.environ.get("TZ")
        try:
            os.environ["TZ"] = rule
            time.tzset()
            return datetime.timedelta(seconds=time.localtime(seconds).tm_gmtoff)
        finally:
            if before is None:
                del os.environ["TZ"]
            else:
                os.environ["TZ"] = before
            time.tzset()

    def test_movie_header(self):
        for name, created, modified in (("summer", SUMMER, SUMMER + 3600), ("winter", WINTER, WINTER + 86400),
                                        ("both", WINTER, SUMMER), ("backwards", SUMMER, WINTER)):
            for suffix in ("mp4", "mov"):
                self.check_dates(Made.write(f"{name}.{suffix}", carriers.set_movie_times(
                    Made.base[suffix], created + SECONDS_FROM_1904, modified + SECONDS_FROM_1904)), created, modified)

    def test_one_date_stands_for_both(self):
        for moment in (SUMMER, WINTER):
            stamp = datetime.datetime.fromtimestamp(moment, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
            path = Made.file(f"{moment}.mkv", ["-i", "base.mkv", "-c", "copy", "-metadata", f"creation_time={stamp}"])
            self.check_dates(path, moment, moment)

    def test_hours_that_the_clock_skips_or_repeats(self):
        # Around Berlin's changes of 2024: 2024-03-31T01:00Z and 2024-10-27T01:00Z.
        for change in (1711846800, 1729990800):
            for distance in (-3601, -3600, -1, 0, 1, 3599, 3600):
                moment = change + distance
                path = Made.write("change.mp4", carriers.set_movie_times(
                    Made.base["mp4"], moment + SECONDS_FROM_1904, moment + SECONDS_FROM_1904))
                with self.subTest(change=change, distance=distance):
                    record = tool.record_of(path, environment={"TZ": ZONES["Berlin"]})
                    self.assertEqual(record["metadata"][KEY + "CreateDate"], moment)

    def test_a_header_without_times_has_no_dates(self):
        record = tool.record_of(Made.write("zero.mp4", carriers.set_movie_times(Made.base["mp4"], 0, 0)))
        self.assertNotIn("created", record)
        self.assertNotIn("modified", record)

    def test_latest_times(self):
        latest = 0xFFFFFFFF
        path = Made.write("latest.mp4", carriers.set_movie_times(Made.base["mp4"], latest, latest))
        self.check_dates(path, latest - SECONDS_FROM_1904, latest - SECONDS_FROM_1904)


class Labels(unittest.TestCase):
    maxDiff = None

    def check_label(self, path, label=LABEL):
        record = tool.record_of(path)
        self.assertEqual(record["metadata"][KEY + "AIGCMeta"], label)
        self.assertEqual(record["aigc"], json.loads(label))

    def labelled_mp4(self, name, suffix, *user_data):
        return Made.write(f"{name}.{suffix}", carriers.with_user_data(Made.base[suffix], *user_data))

    def test_named_key_in_the_movies_user_data(self):
        for suffix in ("mp4", "mov"):
            for is_full in (True, False):
                with self.subTest(suffix=suffix, is_full=is_full):
                    keys = carriers.named_keys(("other", b"value"), ("AIGC", LABEL.encode()), is_full=is_full)
                    self.check_label(self.labelled_mp4("key", suffix, keys))

    def test_named_key_that_ffmpeg_writes(self):
        self.check_label(Made.file("ffmpeg_key.mp4", ["-i", "base.mp4", "-c", "copy", "-movflags", "+use_metadata_tags",
                                                      *metadata_arguments({"AIGC": LABEL})]))

    def test_tags_that_ffmpeg_writes(self):
        for name, source, options in (("v23.mp3", "mp3", ["-id3v2_version", "3"]), ("v24.mp3", "mp3", []),
                                      ("l.flac", "flac", []), ("l.mkv", "mkv", []), ("l.ogg", "mkv", [])):
            with self.subTest(name=name):
                self.check_label(Made.file("label_" + name, ["-i", f"base.{source}", "-c", "copy", *options,
                                                             *metadata_arguments({"AIGC": LABEL})]))
        with self.subTest(name="opus"):
            self.check_label(Made.file("label.opus", SOUND + metadata_arguments({"AIGC": LABEL})))
        with self.subTest(name="webm"):
            self.check_label(Made.file("label.webm", SOUND + ["-c:a", "libopus", *metadata_arguments({"AIGC": LABEL})]))

    def test_id3_user_text(self):
        for version in (3, 4):
            with self.subTest(version=version):
                tag = carriers.id3v2_tag(carriers.id3v2_user_text("AIGC", LABEL, version), version=version)
                self.check_label(Made.write(f"txxx{version}.mp3", tag + Made.base["mp3"]))

    def test_id3_chunk_of_wav(self):
        tag = carriers.id3v2_tag(carriers.id3v2_user_text("AIGC", LABEL))
        self.check_label(Made.write("id3.wav", carriers.with_riff_chunk(
            Made.base["wav"], carriers.riff_chunk(b"id3 ", tag), first=False)))

    def test_riff_chunk(self):
        for first in (True, False):
            for label in (LABEL, OTHER_LABEL):  # of which one has an odd length
                with self.subTest(first=first, length=len(label)):
                    chunk = carriers.riff_chunk(b"AIGC", label.encode())
                    path = Made.write("chunk.wav", carriers.with_riff_chunk(Made.base["wav"], chunk, first))
                    self.check_label(path, label)

    def test_xmp(self):
        for form in (carriers.xmp_element, carriers.xmp_attribute):
            for prefix in ("TC260", "x1"):
                with self.subTest(form=form.__name__, prefix=prefix):
                    packet = form(LABEL, prefix)
                    self.check_label(Made.write("xmp.mp4", Made.base["mp4"] + carriers.xmp_uuid_box(packet)))
                    self.check_label(self.labelled_mp4("xmp", "mov", carriers.box(b"XMP_", packet)))

    def test_same_name_in_another_namespace_is_no_label(self):
        packet = carriers.xmp_element(LABEL).replace(carriers.AIGC_NAMESPACE.encode(), b"http://example.org/ns/1.0/")
        record = tool.record_of(Made.write("other.mp4", Made.base["mp4"] + carriers.xmp_uuid_box(packet)))
        self.assertNotIn("aigc", record)

    def test_the_containers_own_key_wins(self):
        labelled = carriers.with_user_data(Made.base["mp4"], carriers.named_keys(("AIGC", LABEL.encode())))
        packet = carriers.xmp_uuid_box(carriers.xmp_element(OTHER_LABEL))
        self.check_label(Made.write("both.mp4", labelled + packet))
        self.check_label(Made.write("both.mov", carriers.with_user_data(
            Made.base["mov"], carriers.box(b"XMP_", carriers.xmp_element(OTHER_LABEL)),
            carriers.named_keys(("AIGC", LABEL.encode()), is_full=False))))

    def test_wrapped_label_is_handed_on_as_it_stands(self):
        wrapped = '{"AIGC": ' + LABEL + "}"
        self.check_label(self.labelled_mp4("wrapped", "mp4", carriers.named_keys(("AIGC", wrapped.encode()))), wrapped)

    def test_label_that_is_no_json_is_told_as_text(self):
        record = tool.record_of(self.labelled_mp4("words", "mp4", carriers.named_keys(("AIGC", b"{made by a machine"))))
        self.assertEqual(record["aigc"], "{made by a machine")


class Protection(unittest.TestCase):
    """CENC with the key known, wrong or no key at all; the key itself is in no output."""
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        plain = pictures(seconds="1") + tone() + ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
                                                  "-c:a", "aac", "-metadata", "title=Protected"]
        cls.clear = Made.file("clear.mp4", plain)
        cls.protected = Made.file("protected.mp4", ["-i", cls.clear, "-c", "copy", "-encryption_scheme", "cenc-aes-ctr",
                                                    "-encryption_key", ENCRYPTION_KEY, "-encryption_kid", KEY_ID])
        cls.expected = cls.facts(tool.record_of(cls.clear), flag="encrypted")

    @staticmethod
    def facts(record, flag=None):
        """What protection leaves alone: not the size nor what follows from it. `flag` is added to every stream's."""
        for key in ("input", "size", "bit_rate"):
            record.pop(key)
        for program in record["programs"]:
            program.pop("bit_rate")
            for stream in program["video"] + program["audio"]:
                stream.pop("bit_rate", None)
                stream["flags"] = sorted({*stream["flags"], *([flag] if flag else [])})
        return record

    def test_flagged_and_described_without_a_key(self):
        self.assertEqual(self.facts(tool.record_of(self.protected)), self.expected)

    def test_right_key_changes_nothing_else(self):
        for spelling in (ENCRYPTION_KEY, ENCRYPTION_KEY.upper()):
            self.assertEqual(self.facts(tool.record_of(self.protected, options=["--key", spelling])), self.expected)

    def test_key_from_a_file(self):
        path = Made.write("key.txt", ENCRYPTION_KEY.encode() + b"\n")
        self.assertEqual(self.facts(tool.record_of(self.protected, options=["--key-file", path])), self.expected)

    def test_another_key_of_the_right_form(self):
        self.assertEqual(self.facts(tool.record_of(self.protected, options=["--key", "00" * 16])), self.expected)

    def test_malformed_key_fails_without_showing_it(self):
        for key in (ENCRYPTION_KEY[:-1], ENCRYPTION_KEY[:-2], ENCRYPTION_KEY + "00", "g" * 32, "secret-words", "feed",
                    "\u00e4" * 16):
            with self.subTest(key=key):
                done = tool.probe(self.protected, options=["--log-level", "trace", "--key", key])
                self.assertEqual(done.status, 1)
                record, = done.records()
                self.assertIn("key", record["error"])
                self.check_hidden(done, key)

    def check_hidden(self, done, key):
        for written in (done.output, done.complaints):
            self.assertNotIn(key.lower(), written.decode("utf-8").lower())

    def test_the_key_is_in_no_output(self):
        for form in ("--text", "--json", "--ndjson"):
            for path in (self.protected, self.clear, "absent.mp4", __file__):
                with self.subTest(form=form, path=path):
                    done = tool.run(form, "--log-level", "trace", "--key", ENCRYPTION_KEY, path)
                    self.check_hidden(done, ENCRYPTION_KEY)

    def test_an_input_with_the_keys_text_is_masked_in_the_log(self):
        done = tool.run("--ndjson", "--log-level", "trace", "--key", ENCRYPTION_KEY, f"/{ENCRYPTION_KEY}.mp4")
        logged = [line for line in done.complaint_lines() if not line.startswith("mediaprobe:")]
        self.assertNotEqual(logged, [])
        self.assertNotIn(ENCRYPTION_KEY, "\n".join(logged))

    def test_the_key_is_on_no_process_list(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            url = f"http://127.0.0.1:{silent.getsockname()[1]}/x.mp4"
            for arguments in (["--key", ENCRYPTION_KEY], [f"--key={ENCRYPTION_KEY}"], ["-k", ENCRYPTION_KEY]):
                with self.subTest(arguments=arguments[0][:5]):
                    running = subprocess.Popen([tool.MEDIAPROBE, "--ndjson", *arguments, url], stdout=subprocess.PIPE,
                                               stderr=subprocess.PIPE)
                    # Its request says that it has read its arguments.
                    connection, _ = silent.accept()
                    shown = pathlib.Path(f"/proc/{running.pid}/cmdline").read_bytes()
                    connection.close()
                    running.communicate(timeout=tool.HANG_SECONDS)
                    self.assertIn(b"/x.mp4", shown)
                    self.assertNotIn(ENCRYPTION_KEY.encode(), shown)


class HostileTags(unittest.TestCase):
    """No hang, bounded memory, valid UTF-8 out."""

    def bounded_record(self, path):
        """The record of a run whose memory is in bounds."""
        done, peak = tool.run_with_peak("--ndjson", path)
        self.assertEqual((done.status, done.complaints), (0, b""), path.name)
        self.assertLess(peak, HOSTILE_BYTES)
        record, = done.records()
        return record

    def titled(self, name, title):
        """A file of the kind with this title, as bytes."""
        base = Made.base[name]
        if name == "mp3":
            return carriers.id3v2_tag(carriers.id3v2_text(b"TIT2", title)) + base
        if name == "flac":
            return carriers.flac_with_comments(base, b"TITLE=" + title)
        if name == "wav":
            info = b"INFO" + carriers.riff_chunk(b"INAM", title)
            return carriers.with_riff_chunk(base, carriers.riff_chunk(b"LIST", info), first=False)
        return carriers.with_user_data(base, carriers.itunes_items((b"\xa9nam", title)))

    def test_title_of_16_megabytes(self):
        # The length of a FLAC block has 24 bits.
        title = b"long title " * ((1 << 24) // 11 - 8)
        for name in ("mp3", "flac", "wav", "mp4"):
            with self.subTest(name=name):
                record = self.bounded_record(Made.write(f"long.{name}", self.titled(name, title)))
                told = record["metadata"].get(KEY + "Title", "")
                self.assertTrue(title.decode().startswith(told))

    def test_invalid_utf8(self):
        for name in ("mp3", "flac", "mp4", "wav"):
            for title in (b"a\xffz", b"a\xc3", b"\xed\xa0\x80", b"\xf5\x80\x80\x80", b"\xc0\x80",
                          b"\x80\x81\xfe\xff" * 50):
                with self.subTest(name=name, title=title[:8]):
                    self.bounded_record(Made.write(f"invalid.{name}", self.titled(name, title)))

    def test_one_bad_byte_costs_only_itself(self):
        for name in ("flac", "mp4"):
            with self.subTest(name=name):
                record = self.bounded_record(Made.write(f"bad_byte.{name}", self.titled(name, b"be\xfffore")))
                self.assertEqual(record["metadata"][KEY + "Title"], "be\ufffdfore")

    def test_riff_without_a_character_set(self):
        record = self.bounded_record(Made.write("windows.wav", self.titled("wav", "Für “Élise” €".encode("cp1252"))))
        self.assertEqual(record["metadata"][KEY + "Title"], "Für “Élise” €")

    def test_id3v2_that_says_iso_8859_1_and_means_windows_1252(self):
        title = carriers.id3v2_frame(b"TIT2", b"\0" + "Für “Élise” €".encode("cp1252"), 4)
        record = self.bounded_record(Made.write("windows.mp3", carriers.id3v2_tag(title) + Made.base["mp3"]))
        self.assertEqual(record["metadata"][KEY + "Title"], "Für “Élise” €")

    def test_embedded_nul_ends_or_leaves_the_text(self):
        for name in ("mp3", "flac", "mp4", "wav"):
            with self.subTest(name=name):
                record = self.bounded_record(Made.write(f"nul.{name}", self.titled(name, b"before\0after")))
                self.assertTrue(record["metadata"][KEY + "Title"].startswith("before"))

    def test_10000_tags(self):
        comments = [b"TAG%d=value %d" % (number, number) for number in range(10000)] + [b"TITLE=Last"]
        frames = [carriers.id3v2_user_text(f"TAG{number}", f"value {number}") for number in range(10000)]
        keys = [(f"TAG{number}", b"value") for number in range(10000)] + [("title", b"Last")]
        for name, data in (
                ("many.flac", carriers.flac_with_comments(Made.base["flac"], *comments)),
                ("many.mp3", carriers.id3v2_tag(*frames, carriers.id3v2_text(b"TIT2", b"Last")) + Made.base["mp3"]),
                ("many.mp4", carriers.with_user_data(Made.base["mp4"], carriers.named_keys(*keys)))):
            with self.subTest(name=name):
                self.assertEqual(self.bounded_record(Made.write(name, data))["metadata"][KEY + "Title"], "Last")

    def test_same_tag_10000_times(self):
        comments = [b"TITLE=value %d" % number for number in range(10000)]
        record = self.bounded_record(Made.write("same.flac", carriers.flac_with_comments(Made.base["flac"], *comments)))
        self.assertIn("value 0", record["metadata"][KEY + "Title"])

    def test_as_many_tags_as_a_block_holds(self):
        count = ((1 << 24) - 100) // 9
        frame = carriers.id3v2_text(b"TIT2", b"t")
        for name, data in (
                ("full.flac", carriers.flac_with_comments(Made.base["flac"], *[b"%04X=" % (number & 0xFFFF)
                                                                               for number in range(count)])),
                ("full.mp3", carriers.id3v2_tag(frame * 1000000) + Made.base["mp3"])):
            with self.subTest(name=name):
                record = self.bounded_record(Made.write(name, data))
                self.assertEqual(len(record["programs"][0]["audio"]), 1)

    def test_sizes_that_lie(self):
        tag = carriers.id3v2_tag(carriers.id3v2_text(b"TIT2", b"title"))
        comment = carriers.flac_with_comments(Made.base["flac"], b"TITLE=title")
        lying = {
            "frame.mp3": tag[:14] + b"\x7f\x7f\x7f\x7f" + tag[18:] + Made.base["mp3"],
            "tag.mp3": tag[:6] + b"\x7f\x7f\x7f\x7f" + tag[10:] + Made.base["mp3"],
            "count.flac": comment.replace(b"carrier\x01\0\0\0", b"carrier\xff\xff\xff\xff"),
            "item.mp4": carriers.with_user_data(Made.base["mp4"], carriers.named_keys(("AIGC", b"x" * 8))).replace(
                b"\0\0\0\x18data", b"\x7f\xff\xff\xffdata"),
            "keys.mp4": carriers.with_user_data(Made.base["mp4"], carriers.named_keys(("AIGC", b"x" * 8))).replace(
                b"keys\0\0\0\0\0\0\0\x01", b"keys\0\0\0\0\xff\xff\xff\xff"),
        }
        for name, data in lying.items():
            with self.subTest(name=name):
                path = Made.write("lying_" + name, data)
                done = tool.probe(path)
                self.assertIn(done.status, (0, 1))
                self.assertEqual(len(done.records()), 1)

    def test_label_that_nests_without_end(self):
        path = Made.write("nested.mp4", carriers.with_user_data(Made.base["mp4"], carriers.named_keys(
            ("AIGC", b'{"a":' * 100000))))
        self.assertTrue(self.bounded_record(path)["aigc"].startswith('{"a":'))

    def test_xmp_that_expands_or_never_ends(self):
        entities = "".join(f'<!ENTITY e{n} "{f"&e{n - 1};" * 10 if n else "lol"}">' for n in range(10))
        for packet in (f"<!DOCTYPE x [{entities}]><x>&e9;</x>".encode(), b"<x>" * 100000,
                       carriers.xmp_element("{" * 1000000), b"\0" * 1000, b"<"):
            with self.subTest(packet=packet[:20]):
                self.bounded_record(Made.write("hostile.mp4", Made.base["mp4"] + carriers.xmp_uuid_box(packet)))


if __name__ == "__main__":
    unittest.main()
