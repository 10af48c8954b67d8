"""Camera, dates, place, orientation, exposure and the label of AI-generated content of pictures, side by side with
exiftool, which writes the tags and reads them back."""
import datetime
import json
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest
import zlib

import maker
import tool

KEY = "Image_Metedata_"
PLAIN = ["-f", "lavfi", "-i", "testsrc2=size=64x48:rate=1:duration=1", "-frames:v", "1", "-update", "1"]
# By file, what makes it out of plain.png.
ENCODERS = {
    "photo.jpg": ["ffmpeg", "-v", "error", "-i", "plain.png", "-update", "1", "photo.jpg"],
    "photo.png": ["ffmpeg", "-v", "error", "-i", "plain.png", "-update", "1", "photo.png"],
    "photo.webp": ["ffmpeg", "-v", "error", "-i", "plain.png", "-c:v", "libwebp", "photo.webp"],
    "photo.tif": ["ffmpeg", "-v", "error", "-i", "plain.png", "-update", "1", "photo.tif"],
    "photo.heic": ["heif-enc", "plain.png", "-o", "photo.heic"],
    "photo.avif": ["ffmpeg", "-v", "error", "-i", "plain.png", "-c:v", "libaom-av1", "-still-picture", "1",
                   "-cpu-used", "8", "photo.avif"],
    "photo.jxl": ["cjxl", "--quiet", "plain.png", "photo.jxl", "-e", "3", "--container=1"],
    "photo.jp2": ["ffmpeg", "-v", "error", "-i", "plain.png", "-c:v", "jpeg2000", "-update", "1", "photo.jp2"],
    "photo.psd": ["convert", "plain.png", "photo.psd"],
    "photo.gif": ["ffmpeg", "-v", "error", "-i", "plain.png", "photo.gif"],
}
# Has no place for Exif.
WITHOUT_EXIF = {"photo.gif"}
# The format itself tells how to turn the picture, and its standard has Exif's word ignored.
TURNED_BY_CONTAINER = {"photo.heic", "photo.avif", "photo.jxl"}

# Orientation by its number in Exif: rotation clockwise behind the flip, and the flip.
ORIENTATIONS = {1: (0, "none"), 2: (0, "horizontal"), 3: (180, "none"), 4: (0, "vertical"), 5: (270, "horizontal"),
                6: (90, "none"), 7: (90, "horizontal"), 8: (270, "none")}
QUADRANTS = [(48.8584, 2.2945), (-33.8568, 151.2153), (40.6892, -74.0445), (-22.9519, -43.2105)]
EXPOSURES = ["1/8000", "1/125", "0.3", "1", "2.5", "30", "10/2187", "1/60"]
OFFSETS = ["+02:00", "-04:30", "Z", "", "+14:00", "-12:00", "", "+05:45"]

# Rules rather than names, so that no time zone database is needed.
BERLIN = {"TZ": "CET-1CEST,M3.5.0,M10.5.0/3"}
CHATHAM = {"TZ": "CHAST-12:45CHADT,M9.5.0/2:45,M4.1.0/3:45"}
LABEL = {"Label": "1", "ContentProducer": "\u751f\u6210 & <co>", "ProduceID": "p-1"}
LABEL_TEXT = json.dumps(LABEL, ensure_ascii=False)


class Made:
    folder = None


def setUpModule():
    Made.folder = pathlib.Path(tempfile.mkdtemp(prefix="image-metadata-"))
    unittest.addModuleCleanup(shutil.rmtree, Made.folder)
    maker.run_ffmpeg(Made.folder / "plain.png", PLAIN, Made.folder)
    maker.in_parallel(lambda command: maker.run(command, Made.folder), list(ENCODERS.values()))


def tag(arguments, paths):
    """Writes the same tags into each file, in one run."""
    subprocess.run(["exiftool", "-quiet", "-m", "-overwrite_original", *arguments, *map(str, paths)], cwd=Made.folder,
                   check=True, stdin=subprocess.DEVNULL, capture_output=True, text=True)


def read_back(paths):
    """What exiftool reads, by path."""
    asked = ["Make", "Model", "ExposureTime", "Orientation", "Composite:GPSLatitude", "Composite:GPSLongitude",
             "DateTimeOriginal", "ModifyDate", "OffsetTimeOriginal", "OffsetTime"]
    done = subprocess.run(["exiftool", "-json", "-n", *(f"-{name}" for name in asked), *map(str, paths)], check=True,
                          capture_output=True, stdin=subprocess.DEVNULL)
    return {report["SourceFile"]: report for report in json.loads(done.stdout)}


def copies(suffix, names):
    """A copy of each of the pictures, for tags of its own."""
    paths = []
    for name in names:
        path = Made.folder / f"{pathlib.Path(name).stem}-{suffix}{pathlib.Path(name).suffix}"
        shutil.copyfile(Made.folder / name, path)
        paths.append(path)
    return paths


def kind_of(path):
    return f"photo{path.suffix}"


def seconds_of(iso_8601):
    return datetime.datetime.fromisoformat(iso_8601).timestamp()


def seconds_of_clock(text, offset):
    """Seconds since 1970 of an Exif time with an offset."""
    zone = "+00:00" if offset == "Z" else offset
    return datetime.datetime.strptime(text + zone, "%Y:%m:%d %H:%M:%S%z").timestamp()


class SideBySide(unittest.TestCase):
    """Each variant sets all tags at once, to values that differ from the next one's, in every carrier."""

    @classmethod
    def setUpClass(cls):
        cls.variants = {}
        carriers = [name for name in ENCODERS if name not in WITHOUT_EXIF]

        def write(number):
            latitude, longitude = QUADRANTS[number % 4]
            offset = OFFSETS[number - 1]
            arguments = [f"-IFD0:Make=Example Optics {number}", f"-IFD0:Model=EX-{number}",
                         f"-IFD0:Orientation#={number}", f"-ExifIFD:ExposureTime={EXPOSURES[number - 1]}",
                         f"-ExifIFD:DateTimeOriginal=2024:07:1{number} 20:15:30",
                         f"-IFD0:ModifyDate=2024:12:2{number} 01:02:03",
                         f"-GPS:GPSLatitude={abs(latitude)}", f"-GPS:GPSLatitudeRef={'N' if latitude > 0 else 'S'}",
                         f"-GPS:GPSLongitude={abs(longitude)}", f"-GPS:GPSLongitudeRef={'E' if longitude > 0 else 'W'}"]
            if offset:
                arguments += [f"-ExifIFD:OffsetTimeOriginal={offset}", f"-ExifIFD:OffsetTime={offset}"]
            paths = copies(f"variant{number}", carriers)
            tag(arguments, paths)
            return {path: number for path in paths}

        for variant in maker.in_parallel(write, list(ORIENTATIONS)):
            cls.variants.update(variant)
        paths = list(cls.variants)
        cls.theirs = read_back(paths)
        done = tool.probe(*paths, environment=BERLIN)
        cls.ours = {record["input"]: record for record in done.records()}

    def each(self):
        """Path, number of the variant, our record, exiftool's report of each file."""
        for path, number in self.variants.items():
            yield path, number, self.ours[str(path)], self.theirs[str(path)]

    def test_maker_and_model(self):
        for path, number, ours, theirs in self.each():
            with self.subTest(name=path.name):
                metadata = ours["metadata"]
                self.assertEqual((metadata[KEY + "CameraMaker"], metadata[KEY + "CameraModel"]),
                                 (f"Example Optics {number}", f"EX-{number}"))
                self.assertEqual((metadata[KEY + "CameraMaker"], metadata[KEY + "CameraModel"]),
                                 (theirs["Make"], theirs["Model"]))

    def test_exposure(self):
        for path, number, ours, theirs in self.each():
            with self.subTest(name=path.name):
                exposure = ours["metadata"][KEY + "ExposureTime"]
                numerator, _, denominator = EXPOSURES[number - 1].partition("/")
                self.assertAlmostEqual(exposure, float(numerator) / float(denominator or 1), 9)
                self.assertAlmostEqual(exposure, theirs["ExposureTime"], 9)

    def test_places_in_four_quadrants(self):
        for path, number, ours, theirs in self.each():
            with self.subTest(name=path.name):
                latitude, longitude = QUADRANTS[number % 4]
                metadata, location = ours["metadata"], ours["location"]
                self.assertAlmostEqual(location["latitude"], latitude, 6)
                self.assertAlmostEqual(location["longitude"], longitude, 6)
                self.assertAlmostEqual(location["latitude"], theirs["GPSLatitude"], 6)
                self.assertAlmostEqual(location["longitude"], theirs["GPSLongitude"], 6)
                self.assertAlmostEqual(metadata[KEY + "GPSLatitude"], abs(latitude), 6)
                self.assertAlmostEqual(metadata[KEY + "GPSLongitude"], abs(longitude), 6)
                self.assertEqual((metadata[KEY + "GPSLatitudeRef"], metadata[KEY + "GPSLongitudeRef"]),
                                 ("N" if latitude > 0 else "S", "E" if longitude > 0 else "W"))

    def test_eight_orientations(self):
        for path, number, ours, theirs in self.each():
            with self.subTest(name=path.name):
                self.assertEqual(theirs["Orientation"], number)
                expected = ORIENTATIONS[1 if kind_of(path) in TURNED_BY_CONTAINER else number]
                self.assertEqual((ours.get("rotation", 0), ours.get("flip", "none")), expected)

    def test_dates(self):
        for path, number, ours, theirs in self.each():
            with self.subTest(name=path.name):
                for ours_key, their_key, offset_key in (("created", "DateTimeOriginal", "OffsetTimeOriginal"),
                                                        ("modified", "ModifyDate", "OffsetTime")):
                    clock = theirs[their_key]
                    if OFFSETS[number - 1]:
                        self.assertEqual(seconds_of(ours[ours_key]), seconds_of_clock(clock, theirs[offset_key]))
                    else:
                        # The clock of the place where the tool runs.
                        told = datetime.datetime.fromisoformat(ours[ours_key])
                        self.assertEqual(told.strftime("%Y:%m:%d %H:%M:%S"), clock)

    def test_size_stays_that_of_the_stored_picture(self):
        for path, _, ours, _ in self.each():
            with self.subTest(name=path.name):
                self.assertEqual((ours["width"], ours["height"]), (64, 48))


class OtherSources(unittest.TestCase):
    def test_xmp_where_there_is_no_exif(self):
        paths = copies("xmp", list(ENCODERS))
        tag(["-XMP-tiff:Make=Acme & Co", "-XMP-tiff:Model=EX-9", "-XMP-exif:ExposureTime=1/250",
             "-XMP-exif:DateTimeOriginal=2024:07:14 20:15:30+02:00", "-XMP-xmp:ModifyDate=2024:12:21 01:02:03",
             "-XMP-exif:GPSLatitude=-33.8568", "-XMP-exif:GPSLongitude=-70.5", "-XMP-tiff:Orientation#=6"], paths)
        for path in paths:
            with self.subTest(name=path.name):
                record = tool.record_of(path, environment=CHATHAM)
                metadata = record["metadata"]
                self.assertEqual((metadata[KEY + "CameraMaker"], metadata[KEY + "CameraModel"]), ("Acme & Co", "EX-9"))
                self.assertAlmostEqual(metadata[KEY + "ExposureTime"], 0.004, 9)
                self.assertEqual(seconds_of(record["created"]), seconds_of("2024-07-14T20:15:30+02:00"))
                self.assertEqual(record["modified"], "2024-12-21T01:02:03+13:45")
                self.assertAlmostEqual(record["location"]["latitude"], -33.8568, 6)
                self.assertAlmostEqual(record["location"]["longitude"], -70.5, 6)
                turned = 0 if kind_of(path) in TURNED_BY_CONTAINER else 90
                self.assertEqual(record.get("rotation", 0), turned)

    def test_iptc_where_there_is_nothing_else(self):
        paths = copies("iptc", ["photo.jpg", "photo.tif", "photo.psd"])
        tag(["-IPTC:DateCreated=2024:07:14", "-IPTC:TimeCreated=20:15:30+02:00"], paths)
        for path in paths:
            with self.subTest(name=path.name):
                self.assertEqual(seconds_of(tool.record_of(path)["created"]), seconds_of("2024-07-14T20:15:30+02:00"))

    def test_iptc_time_of_digitizing(self):
        path, = copies("digitized", ["photo.jpg"])
        tag(["-IPTC:DigitalCreationDate=2024:07:14", "-IPTC:DigitalCreationTime=20:15:30+02:00"], [path])
        self.assertEqual(seconds_of(tool.record_of(path)["created"]), seconds_of("2024-07-14T20:15:30+02:00"))

    def test_dates_of_a_sequence_are_its_movies(self):
        path = Made.folder / "sequence.avif"
        maker.run(["ffmpeg", "-v", "error", "-loop", "1", "-i", "plain.png", "-frames:v", "2", "-c:v", "libaom-av1",
                   "-cpu-used", "8", "-metadata", "creation_time=2024-07-14T20:15:30Z", path.name], Made.folder)
        record = tool.record_of(path)
        self.assertEqual((seconds_of(record["created"]), seconds_of(record["modified"])),
                         (seconds_of("2024-07-14T20:15:30+00:00"),) * 2)

    def test_creation_time_of_a_png_comes_behind_xmp(self):
        path, = copies("creation", ["photo.png"])
        tag(["-PNG:CreationTime=2018:09:04 10:11:12+02:00"], [path])
        self.assertEqual(seconds_of(tool.record_of(path)["created"]), seconds_of("2018-09-04T10:11:12+02:00"))
        tag(["-XMP-xmp:CreateDate=2020:01:01 00:00:00Z"], [path])
        self.assertEqual(seconds_of(tool.record_of(path)["created"]), seconds_of("2020-01-01T00:00:00+00:00"))

    def test_attributes_of_openexr(self):
        path = Made.folder / "tagged.exr"
        maker.run(["ffmpeg", "-v", "error", "-i", "plain.png", "-pix_fmt", "gbrpf32le", "plain.exr"], Made.folder)
        maker.run(["exrstdattr", "-string", "cameraMake", "Acme", "-string", "cameraModel", "EX-9", "-expTime", "0.004",
                   "-capDate", "2024:07:14 20:15:30", "-utcOffset", "-7200", "-latitude", "-33.8568",
                   "-longitude", "-70.5", "plain.exr", path.name], Made.folder)
        record = tool.record_of(path, environment=CHATHAM)
        metadata = record["metadata"]
        self.assertEqual((metadata[KEY + "CameraMaker"], metadata[KEY + "CameraModel"]), ("Acme", "EX-9"))
        self.assertAlmostEqual(metadata[KEY + "ExposureTime"], 0.004, 9)
        self.assertEqual(seconds_of(record["created"]), seconds_of("2024-07-14T20:15:30+02:00"))
        self.assertAlmostEqual(record["location"]["latitude"], -33.8568, 5)
        self.assertAlmostEqual(record["location"]["longitude"], -70.5, 6)

    def test_dpx_tells_when_it_was_made(self):
        before = int(time.time())
        maker.run(["convert", "plain.png", "made.dpx"], Made.folder)
        created = seconds_of(tool.record_of(Made.folder / "made.dpx")["created"])
        self.assertTrue(before <= created <= time.time(), created)

    def test_exif_comes_before_xmp_and_xmp_before_iptc(self):
        path, = copies("order", ["photo.jpg"])
        tag(["-IFD0:Make=Exif", "-XMP-tiff:Make=XMP", "-XMP-tiff:Model=XMP",
             "-XMP-xmp:CreateDate=2020:01:01 00:00:00Z", "-IPTC:DateCreated=2021:01:01",
             "-IPTC:TimeCreated=00:00:00+00:00"], [path])
        record = tool.record_of(path)
        self.assertEqual(record["metadata"][KEY + "CameraMaker"], "Exif")
        self.assertEqual(record["metadata"][KEY + "CameraModel"], "XMP")
        self.assertEqual(seconds_of(record["created"]), seconds_of("2020-01-01T00:00:00+00:00"))

    def test_time_of_digitizing_where_that_of_taking_is_blank(self):
        path, = copies("digitized", ["photo.jpg"])
        tag(["-ExifIFD:DateTimeOriginal=0000:00:00 00:00:00", "-ExifIFD:CreateDate=2024:07:14 20:15:30"], [path])
        self.assertEqual(tool.record_of(path, environment=BERLIN)["created"], "2024-07-14T20:15:30+02:00")

    def test_tags_of_a_jpeg_outlive_its_packing_as_jpeg_xl(self):
        photo, = copies("packed", ["photo.jpg"])
        packed = photo.with_suffix(".jxl")
        tag(["-IFD0:Make=Example Optics", "-ExifIFD:DateTimeOriginal=2024:07:14 20:15:30",
             f"-XMP-photoshop:City={'Elsewhere, ' * 20}", "-XMP-tiff:Model=EX-1"], [photo])
        maker.run(["cjxl", "--quiet", photo.name, packed.name], Made.folder)
        self.assertEqual(packed.read_bytes().count(b"brob"), 2)
        theirs, ours = (tool.record_of(path, environment=BERLIN) for path in (photo, packed))
        self.assertEqual(ours["created"], "2024-07-14T20:15:30+02:00")
        for key in ("CameraMaker", "CameraModel", "Date"):
            self.assertEqual(ours["metadata"][KEY + key], theirs["metadata"][KEY + key])

    def test_what_the_tags_do_not_tell_is_not_told(self):
        paths = copies("empty", list(ENCODERS))
        tag(["-XMP-dc:Title=No facts here"], paths)
        for path in paths:
            with self.subTest(name=path.name):
                record = tool.record_of(path)
                self.assertNotIn("created", record)
                self.assertNotIn("location", record)
                self.assertNotIn("aigc", record)
                self.assertFalse({KEY + name for name in ("CameraMaker", "CameraModel", "Date", "ExposureTime",
                                                          "GPSLatitude")} & set(record["metadata"]))


def packet(property_element="", attribute=""):
    """An XMP packet with the label's namespace."""
    return f"""<?xpacket begin="\ufeff" id="W5M0MpCehiHzreSzNTczkc9d"?>
<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
<rdf:Description rdf:about="" xmlns:TC260="http://www.tc260.org.cn/ns/AIGC/1.0/"{attribute}>{property_element}
</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end="w"?>"""


def escaped(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")


def png_with_chunk(kind, payload):
    """photo.png with a chunk behind its header, which ends at byte 33."""
    png = (Made.folder / "photo.png").read_bytes()
    chunk = kind + payload
    framed = len(payload).to_bytes(4, "big") + chunk + zlib.crc32(chunk).to_bytes(4, "big")
    return png[:33] + framed + png[33:]


class Label(unittest.TestCase):
    def test_xmp_in_each_carrier(self):
        for form, text in (("element", packet(f"<TC260:AIGC>{escaped(LABEL_TEXT)}</TC260:AIGC>")),
                           ("attribute", packet(attribute=f' TC260:AIGC="{escaped(LABEL_TEXT)}"'))):
            (Made.folder / f"{form}.xmp").write_text(text, encoding="utf-8")
            paths = copies(form, list(ENCODERS))
            tag([f"-XMP<={form}.xmp"], paths)
            for path in paths:
                with self.subTest(name=path.name):
                    self.assertEqual(tool.record_of(path)["aigc"], LABEL)

    def test_user_comment(self):
        carriers = [name for name in ENCODERS if name not in WITHOUT_EXIF]
        for form, label in (("bare", LABEL), ("wrapped", {"AIGC": LABEL}), ("plain", {"Label": "2"})):
            # Characters beyond ASCII are written in two bytes each.
            text = json.dumps(label, ensure_ascii=False)
            paths = copies(form, carriers)
            tag([f"-ExifIFD:UserComment={text}"], paths)
            for path in paths:
                with self.subTest(name=path.name):
                    self.assertEqual(tool.record_of(path)["aigc"], label)

    def test_other_comments_are_no_label(self):
        for number, text in enumerate(["A holiday", '{"title": "x"}', '{"AIGC": ', '["AIGC"]']):
            path, = copies(f"comment{number}", ["photo.jpg"])
            tag([f"-ExifIFD:UserComment={text}"], [path])
            with self.subTest(text=text):
                self.assertNotIn("aigc", tool.record_of(path))

    def test_png_text_chunks(self):
        ascii_label = json.dumps(LABEL).encode("ascii")
        chunks = {
            "tEXt": (b"tEXt", b"AIGC\0" + ascii_label),
            "zTXt": (b"zTXt", b"AIGC\0\0" + zlib.compress(ascii_label)),
            "iTXt": (b"iTXt", b"AIGC\0\0\0\0\0" + LABEL_TEXT.encode("utf-8")),
            "compressed iTXt": (b"iTXt", b"AIGC\0\1\0zh\0\0" + zlib.compress(LABEL_TEXT.encode("utf-8"))),
        }
        for name, (kind, payload) in chunks.items():
            path = Made.folder / f"{name}.png"
            path.write_bytes(png_with_chunk(kind, payload))
            with self.subTest(name=name):
                self.assertEqual(tool.record_of(path)["aigc"], LABEL)

    def test_a_chunk_comes_before_xmp_and_xmp_before_a_comment(self):
        path = Made.folder / "labels.png"
        path.write_bytes(png_with_chunk(b"tEXt", b'AIGC\0{"Label":"chunk"}'))
        (Made.folder / "second.xmp").write_text(packet('<TC260:AIGC>{"Label":"XMP"}</TC260:AIGC>'), encoding="utf-8")
        tag(["-XMP<=second.xmp", '-ExifIFD:UserComment={"Label":"comment"}'], [path])
        self.assertEqual(tool.record_of(path)["aigc"], {"Label": "chunk"})
        path, = copies("labels", ["photo.jpg"])
        tag(["-XMP<=second.xmp", '-ExifIFD:UserComment={"Label":"comment"}'], [path])
        self.assertEqual(tool.record_of(path)["aigc"], {"Label": "XMP"})


if __name__ == "__main__":
    unittest.main()
