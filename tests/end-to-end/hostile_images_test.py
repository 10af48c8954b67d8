"""Pictures that claim, repeat or hide too much: an answer or one error in words, no hang, bounded memory and reads."""
import pathlib
import random
import shutil
import struct
import tempfile
import unittest
import zlib

import image_cases
import image_sizes_test
import maker
import picture_bytes as picture
import tool
from carriers import riff_chunk
from mp4_boxes import box

# What one picture may cost beyond a small one of the same format, whose cost is that of starting the tool.
MOST_BYTES = 100 * 10**6
MOST_READ_OF_A_STILL = 256 * 1024
WIDTH, HEIGHT = 37, 23
LONGEST = 65535
MANY = 100_000
MILLION = 1_000_000
CUTS = 10
SEED = 20240714


class Cost:
    """What a run took: bytes of memory at its peak, bytes read."""

    def __init__(self, peak, read):
        self.peak = peak
        self.read = read


def bytes_read():
    """By this process and by those it waited for."""
    counters = dict(line.split(": ") for line in pathlib.Path("/proc/self/io").read_text().splitlines())
    return int(counters["rchar"])


class Folder(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="hostile-images-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def probe(self, name):
        """The record of one file, or of a sequence, and its cost."""
        read_before = bytes_read()
        done, peak = tool.run_with_peak("--ndjson", "--", name, folder=self.folder)
        read = bytes_read() - read_before
        record, = done.records()
        if record["status"] == "ok":
            self.assertEqual((done.status, done.complaints), (0, b""))
        else:
            self.assertEqual((done.status, done.complaint_lines()), (1, [f"mediaprobe: {name}: {record['error']}"]))
        return record, Cost(peak, read)

    def write(self, name, content):
        (self.folder / name).write_bytes(content)
        return name

    def check_cost(self, name, content):
        """The record of a picture that costs no more than it may."""
        _, usual = self.probe(self.write("small.jpg", picture.jpeg(WIDTH, HEIGHT)))
        record, cost = self.probe(self.write(name, content))
        self.assertLess(cost.peak, usual.peak + MOST_BYTES, name)
        return record

    def check_size(self, name, content, **facts):
        """The same for a picture whose size stands in front of what is hostile."""
        record = self.check_cost(name, content)
        wanted = {"status": "ok", "width": WIDTH, "height": HEIGHT, **facts}
        self.assertEqual({key: record.get(key) for key in wanted}, wanted, record)


def all_formats(width, height):
    """The smallest picture of each format that has this size."""
    return {
        "avif": picture.heif(b"avif", b"av01", width, height),
        "bmp": picture.bmp(width, height),
        "dds": picture.dds(width, height),
        "exr": picture.exr(width, height),
        "gif": picture.gif(width, height, picture.gif_frame(0, width, height)),
        "hdr": picture.hdr(width, height),
        "heic": picture.heif(b"heic", b"hvc1", width, height),
        "ico": picture.ico(picture.png(width, height)),
        "j2c": picture.j2c(width, height),
        "jp2": picture.jp2(width, height),
        "jpg": picture.jpeg(width, height),
        "jxl": picture.jxl(width),
        "png": picture.png(width, height),
        "ppm": picture.ppm(width, height),
        "psb": picture.psd(width, height, version=2),
        "psd": picture.psd(width, height),
        "qoi": picture.qoi(width, height),
        "tga": picture.tga(width, height),
        "tif": picture.tiff(picture.tiff_directory(picture.tiff_size(width, height), 0)),
        "webp": picture.webp(picture.webp_canvas(width, height), riff_chunk(b"VP8L", b"\x2f" + bytes(4))),
    }


class Bombs(Folder):
    def test_sizes_that_no_memory_holds(self):
        for suffix, content in all_formats(LONGEST, LONGEST).items():
            with self.subTest(suffix=suffix):
                record = self.check_cost(f"huge.{suffix}", content)
                self.assertEqual((record["status"], record.get("width"), record.get("height")),
                                 ("ok", LONGEST, LONGEST))

    def test_animations_of_many_frames(self):
        tenth = picture.png_frame(0, WIDTH, HEIGHT, 1, 10) + picture.png_chunk(b"fdAT", bytes(4))
        self.check_size("many.gif", picture.gif(WIDTH, HEIGHT, picture.gif_frame(2) * MANY), duration=2000)
        self.check_size("many.png", picture.png(WIDTH, HEIGHT, picture.png_animation(MANY), tenth * MANY),
                        duration=10000)
        self.check_size("many.webp", picture.webp(picture.webp_canvas(WIDTH, HEIGHT, picture.WEBP_ANIMATED),
                                                  riff_chunk(b"ANIM", bytes(6)), picture.webp_frame(100) * MANY),
                        duration=10000)

    def test_animations_that_claim_all_frames_there_can_be(self):
        frame = picture.png_frame(0, WIDTH, HEIGHT, 1, 10)
        self.check_size("claims.png", picture.png(WIDTH, HEIGHT, picture.png_animation(0xFFFFFFFF), frame))
        endless = b"ANMF" + struct.pack("<I", 0xFFFFFFFF) + picture.webp_frame(100)[8:]
        self.check_size("claims.webp", picture.webp(picture.webp_canvas(WIDTH, HEIGHT, picture.WEBP_ANIMATED),
                                                    riff_chunk(b"ANIM", bytes(6)), endless))

    def test_directories_that_lead_back(self):
        size = picture.tiff_size(WIDTH, HEIGHT)
        to_itself = (picture.EXIF_DIRECTORY, picture.LONG, 1, 8)
        self.check_size("next.tif", picture.tiff(picture.tiff_directory(size, 8)))
        self.check_size("exif.tif", picture.tiff(picture.tiff_directory([*size, to_itself], 8)))
        loop = picture.tiff(picture.tiff_directory([to_itself], 8))
        self.check_size("loop.jpg", picture.jpeg(WIDTH, HEIGHT, picture.jpeg_exif(loop)))
        self.check_size("loop.png", picture.png(WIDTH, HEIGHT, picture.png_chunk(b"eXIf", loop)))
        self.check_size("loop.psd", picture.psd(WIDTH, HEIGHT, resources=picture.psd_resource(1058, loop)))
        self.check_size("loop.webp", picture.webp(picture.webp_canvas(WIDTH, HEIGHT, 0x08),
                                                  riff_chunk(b"VP8L", b"\x2f" + bytes(4)), riff_chunk(b"EXIF", loop)))

    def test_chains_of_directories(self):
        first = picture.tiff_size(WIDTH, HEIGHT)
        start = 8 + 6 + 12 * len(first)
        step = 6 + 12
        chain = b"".join(picture.tiff_directory([(0xFE, picture.LONG, 1, 1)], start + step * (index + 1))
                         for index in range(MANY))
        self.check_size("chain.tif", picture.tiff(picture.tiff_directory(first, start), chain))

    def test_directories_of_endless_entries(self):
        size = picture.tiff_size(WIDTH, HEIGHT)
        strips = [(0x111, picture.LONG, 0xFFFFFFFF, 8), (0x117, picture.LONG, 0xFFFFFFFF, 8)]
        self.check_size("strips.tif", picture.tiff(picture.tiff_directory([*size, *strips], 0)))
        entries = [*size, *[(0xC000, picture.LONG, 1, index) for index in range(60000)]]
        self.check_size("entries.tif", picture.tiff(picture.tiff_directory(entries, 0)))

    def test_millions_of_parts(self):
        nothing = picture.png_chunk(b"noNe")
        self.check_size("chunks.png", picture.png(WIDTH, HEIGHT, nothing * MILLION))
        self.check_size("chunks.webp",
                        picture.webp(picture.webp_canvas(WIDTH, HEIGHT), riff_chunk(b"NONE", b"") * MILLION))
        self.check_size("resources.psd", picture.psd(WIDTH, HEIGHT, resources=picture.psd_resource(1, b"") * MILLION))
        # Here the size stands behind them.
        self.check_cost("segments.jpg", picture.jpeg(WIDTH, HEIGHT, picture.jpeg_segment(0xFE, b"") * MILLION))
        self.check_cost("attributes.exr", picture.exr(WIDTH, HEIGHT, picture.exr_attribute(b"a", b"b", b"") * MILLION))
        still = all_formats(WIDTH, HEIGHT)
        for suffix in ("avif", "heic", "jp2"):
            start = struct.unpack(">I", still[suffix][:4])[0]
            self.check_cost(f"boxes.{suffix}", still[suffix][:start] + box(b"free") * MILLION + still[suffix][start:])

    def test_texts_that_inflate_without_end(self):
        zeros = zlib.compressobj(9)
        # As much as fits into a text that is still read.
        packed = b"".join(zeros.compress(bytes(1 << 20)) for _ in range(200)) + zeros.flush()
        for name, chunk in (
                ("xmp", picture.png_chunk(b"iTXt", b"XML:com.adobe.xmp\0\1\0\0\0" + packed)),
                ("exif", picture.png_chunk(b"zTXt", b"Raw profile type exif\0\0" + packed)),
                ("label", picture.png_chunk(b"zTXt", b"AIGC\0\0" + packed)),
                ("profile", picture.png_chunk(b"iCCP", b"profile\0\0" + packed))):
            with self.subTest(name=name):
                self.check_size(f"{name}.png", picture.png(WIDTH, HEIGHT, chunk))
        self.check_cost("bomb.svgz", b"\x1f\x8b\x08" + bytes(6) + b"\xff" + packed[2:-4] + bytes(8))

    def test_items_without_end(self):
        for brand, codec, suffix in ((b"heic", b"hvc1", "heic"), (b"avif", b"av01", "avif")):
            with self.subTest(brand=brand):
                self.check_cost(f"claims.{suffix}",
                                picture.heif(brand, codec, WIDTH, HEIGHT, claimed_items=0xFFFFFFFF))
                self.check_cost(f"many.{suffix}",
                                picture.heif(brand, codec, WIDTH, HEIGHT, item_count=65535, claimed_items=65535))

    def test_icons_of_many_pictures(self):
        entry = picture.ico(picture.png(WIDTH, HEIGHT))[6:22]
        directory = struct.pack("<HHH", 0, 1, LONGEST) + entry[:12] + struct.pack("<I", 6 + 16 * LONGEST)
        self.check_cost("many.ico", directory + entry * (LONGEST - 1) + picture.png(WIDTH, HEIGHT))

    def test_headers_of_text_without_end(self):
        line = b"# " + b"x" * 1000 + b"\n"
        self.check_cost("comments.ppm", b"P6\n" + line * 16000 + b"37 23\n255\n")
        self.check_cost("lines.hdr", b"#?RADIANCE\n" + line * 16000 + b"\n-Y 23 +X 37\n")
        self.check_cost("comments.svg", b"<!--" + b"x" * (1 << 24))

    def test_sequences_of_billions(self):
        self.write("file_1.png", picture.png(WIDTH, HEIGHT))
        _, usual = self.probe("file_1.png")
        answered, first_cost = self.probe("file_[1-2000000000].png")
        self.assertEqual((answered["status"], answered["width"], answered["frame_count"]), ("ok", WIDTH, 2 * 10**9))
        answered, second_cost = self.probe("file_[1-4000000000].png")
        self.assertEqual((answered["frame_count"], answered["duration"]), (4 * 10**9, 160_000_000))
        for cost in (first_cost, second_cost):
            self.assertLess(cost.peak, usual.peak + MOST_BYTES)


class Reads(Folder):
    def test_little_is_read_of_a_large_still(self):
        pixels = bytes(1 << 23)
        small = all_formats(WIDTH, HEIGHT)
        large = {suffix: content + pixels for suffix, content in small.items()}
        large["png"] = picture.png(WIDTH, HEIGHT, picture.png_chunk(b"IDAT", pixels))
        large["webp"] = picture.webp(picture.webp_canvas(WIDTH, HEIGHT), riff_chunk(b"VP8L", b"\x2f" + pixels),
                                     riff_chunk(b"XMP ", b"<x/>"))
        large["tif"] = (b"II*\0" + struct.pack("<I", 8 + len(pixels)) + pixels +
                        picture.tiff_directory(picture.tiff_size(WIDTH, HEIGHT), 0))
        large["psd"] = picture.psd(WIDTH, HEIGHT, resources=picture.psd_resource(1036, pixels)) + pixels
        large["exr"] = picture.exr(WIDTH, HEIGHT, picture.exr_attribute(b"preview", b"preview", pixels)) + pixels
        for suffix in ("avif", "heic"):
            start = struct.unpack(">I", small[suffix][:4])[0]
            large[suffix] = small[suffix][:start] + box(b"mdat", pixels) + small[suffix][start:]
        for suffix in small:
            with self.subTest(suffix=suffix):
                _, usual = self.probe(self.write(f"small.{suffix}", small[suffix]))
                record, cost = self.probe(self.write(f"large.{suffix}", large[suffix]))
                self.assertEqual((record["status"], record.get("width")), ("ok", WIDTH))
                self.assertGreater(usual.read, 0)
                self.assertLess(cost.read, usual.read + MOST_READ_OF_A_STILL)


class Damaged(Folder):
    @classmethod
    def setUpClass(cls):
        made = pathlib.Path(tempfile.mkdtemp(prefix="whole-images-"))
        cls.addClassCleanup(shutil.rmtree, made)
        image_sizes_test.make_inputs(made)
        maker.in_parallel(lambda case: maker.run(case.command, made), image_cases.CASES)
        cls.whole = {case.name: (made / case.name).read_bytes() for case in image_cases.CASES}

    def records_of(self, names):
        """Every file has one record and, with an error, one line. None makes the tool break down."""
        done = tool.probe(*names, folder=self.folder)
        self.assertIn(done.status, (0, 1))
        records = done.records()
        self.assertEqual([record["input"] for record in records], names)
        failed = [record for record in records if record["status"] == "error"]
        self.assertEqual(done.complaint_lines(),
                         [f"mediaprobe: {record['input']}: {record['error']}" for record in failed])
        self.assertEqual([record for record in failed if "broke down" in record["error"]], [])
        return records

    def test_cut_pictures_have_their_size_or_none(self):
        names = []
        for name, data in self.whole.items():
            lengths = {*range(1, 17), *(len(data) * cut // CUTS for cut in range(1, CUTS)), len(data) - 1}
            names += [self.write(f"{length}-{name}", data[:length]) for length in sorted(lengths)]
        sizes = [(record["input"], record["width"], record["height"])
                 for record in self.records_of(names) if record["status"] == "ok"]
        self.assertEqual([size for size in sizes if size[1:] != (image_cases.WIDTH, image_cases.HEIGHT)], [])
        self.assertGreater(len(sizes), len(self.whole))

    def test_changed_bytes(self):
        generator = random.Random(SEED)
        names = []
        for name, data in self.whole.items():
            for turn in range(6):
                changed = bytearray(data)
                for _ in range(1 + 4 * turn):
                    # Most headers stand at the start.
                    at = generator.choice((generator.randrange(min(300, len(data))), generator.randrange(len(data))))
                    changed[at] = generator.randrange(256)
                names.append(self.write(f"{turn}-{name}", changed))
        self.records_of(names)

    def test_random_bytes_behind_a_beginning(self):
        generator = random.Random(SEED)
        self.records_of([self.write(f"{length}-{name}", data[:length] + generator.randbytes(20000))
                         for name, data in self.whole.items() for length in (16, 64, 300)])


if __name__ == "__main__":
    unittest.main()
