"""SVGs through the real decoder: sizes as a browser has them, words for what is no SVG, no references followed."""
import gzip
import os
import pathlib
import shutil
import socket
import struct
import subprocess
import tempfile
import unittest

import tool

NAMESPACE = 'xmlns="http://www.w3.org/2000/svg"'
CONTENT = '<rect x="5" y="5" width="33" height="22"/>'

# Attributes of the root and what an <img> of the file has as naturalWidth and naturalHeight in Chromium 156 (headless,
# Debian 12).
CHROMIUM_SIZES = (
    ('width="120" height="80"', 120, 80),
    ('width="120px" height="80px"', 120, 80),
    ('width="2in" height="1.5in"', 192, 144),
    ('width="5cm" height="2.5cm"', 189, 94),
    ('width="210mm" height="297mm"', 794, 1123),
    ('width="400Q" height="200Q"', 378, 189),
    ('width="465pt" height="100pt"', 620, 133),
    ('width="10pc" height="21pc"', 160, 336),
    ('width="10em" height="5em"', 160, 80),
    ('width="10rem" height="5rem"', 160, 80),
    ('width="10MM" height="5PX"', 38, 5),
    ('width="10em" height="5em" font-size="20"', 200, 100),
    ('width="1e2" height="1.5e1"', 100, 15),
    ('width=" 120 " height=" 80px "', 120, 80),
    ('width="+120" height="+.5e2"', 120, 50),
    ('', 300, 150),
    ('width="200"', 200, 150),
    ('height="200"', 300, 200),
    ('width="100%" height="100%"', 300, 150),
    ('width="50%" height="50%"', 300, 150),
    ('width="100" height="50%"', 100, 150),
    ('width="120 px" height="80"', 300, 80),
    ('width="abc" height="80"', 300, 80),
    ('viewBox="0 0 640"', 300, 150),
    ('viewBox="0 0 0 10"', 300, 150),
    ('width="200" viewBox="0 0 100 50"', 200, 100),
    ('height="200" viewBox="0 0 100 50"', 400, 200),
    ('width="100" height="100%" viewBox="0 0 200 100"', 100, 50),
    ('width="50%" height="100" viewBox="0 0 200 100"', 200, 100),
    ('width="abc" height="80" viewBox="0 0 10 20"', 40, 80),
    ('width="40" height="30" viewBox="0 0 0 0"', 40, 30),
    ('width="120" height="80" style="width:60px;height:40px"', 120, 80),
    ('style="width:60px;height:40px"', 300, 150),
)

# What rsvg-convert renders at too: whole pixels, or anything that both round up. Without any size, it takes the view
# box, as we do, where a browser goes by the page.
RSVG_SIZES = (
    'width="120" height="80"',
    'width="2in" height="1.5in"',
    'width="210mm" height="297mm"',
    'width="10pc" height="21pc"',
    'width="10MM" height="5PX"',
    'width="10em" height="5em" font-size="20"',
    'viewBox="0 0 640 480"',
    'viewBox="0 0 100 200"',
    'viewBox="0,0,640,480" preserveAspectRatio="none"',
    'width="100%" height="100%" viewBox="0 0 640 480"',
    'width="50%" height="50%" viewBox="0 0 640 480"',
    'width="100%" viewBox="0 0 640 480"',
    'width="auto" height="auto" viewBox="0 0 10 20"',
    'width="200" viewBox="0 0 100 50"',
    'height="200" viewBox="0 0 100 50"',
    'width="100" height="100%" viewBox="0 0 200 100"',
    'width="-5" height="10" viewBox="0 0 10 20"',
)

# What a probe may take beyond one of a small SVG, which takes some 12 MB, whatever the file.
MOST_MEGABYTES = 88


def drawing(attributes, content=CONTENT):
    return f"<svg {NAMESPACE} {attributes}>{content}</svg>"


class Folder(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="svg-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def make(self, content, name="drawing.svg"):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def sizes(self, content, name="drawing.svg"):
        record = tool.record_of(self.make(content, name))
        self.assertEqual(record["service"], "svg")
        return tuple(record[key] for key in ("width", "height", "view_width", "view_height"))

    def check_fails(self, content, words, name="drawing.svg"):
        done = tool.probe(self.make(content, name), options=("--service", "svg"))
        self.assertEqual(done.status, 1)
        record, = done.records()
        self.assertEqual((record["service"], record["status"], record["error"]), ("svg", "error", words))


class Sizes(Folder):
    def test_are_a_browsers(self):
        for attributes, width, height in CHROMIUM_SIZES:
            with self.subTest(attributes):
                self.assertEqual(self.sizes(drawing(attributes))[:2], (width, height))

    def test_are_what_rsvg_convert_renders_at(self):
        for attributes in RSVG_SIZES:
            with self.subTest(attributes):
                found = self.sizes(drawing(attributes))
                picture = self.folder / "picture.png"
                subprocess.run(["rsvg-convert", "-o", picture, self.folder / "drawing.svg"], check=True)
                self.assertEqual(found[:2], struct.unpack(">II", picture.read_bytes()[16:24]))

    def test_of_fonts_are_half_an_em_for_ex(self):
        self.assertEqual(self.sizes(drawing('width="10ex" height="5ch"'))[:2], (80, 40))

    def test_are_rounded_and_at_least_one(self):
        self.assertEqual(self.sizes(drawing('width="10.5" height="10.4"'))[:2], (11, 10))
        self.assertEqual(self.sizes(drawing('width="0.2" height="0"'))[:2], (1, 1))

    def test_of_the_view_box(self):
        self.assertEqual(self.sizes(drawing('width="100%" viewBox="-3 -4 640 480"')), (640, 480, 640, 480))
        self.assertEqual(self.sizes(drawing('width="2in" height="1in" viewBox="0 0 64.4 31.5"')), (192, 96, 64, 32))
        self.assertEqual(self.sizes(drawing('width="2in" height="1in"')), (192, 96, 192, 96))

    def test_are_the_outermost_elements(self):
        inner = f'<svg width="10" height="5" viewBox="0 0 1 2">{CONTENT}</svg>'
        self.assertEqual(self.sizes(drawing('width="120" height="80"', inner)), (120, 80, 120, 80))
        self.assertEqual(self.sizes(drawing("", inner)), (300, 150, 300, 150))


class Documents(Folder):
    SIZES = (120, 80, 12, 8)
    DRAWING = drawing('width="120" height="80" viewBox="0 0 12 8"')

    def test_with_all_that_may_precede_the_root(self):
        for start in ("\ufeff", '<?xml version="1.0" encoding="UTF-8" standalone="no"?>\n',
                      "<!-- a comment about <svg> -->\n", '<!DOCTYPE svg PUBLIC "-//W3C//DTD SVG 1.1//EN" '
                      '"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd">\n'):
            with self.subTest(start):
                self.assertEqual(self.sizes(start + self.DRAWING), self.SIZES)

    def test_in_other_encodings(self):
        for encoding in ("utf-16", "windows-1252", "iso-8859-1", "utf8", "windows-1255", "gb18030", "big5", "shift_jis"):
            with self.subTest(encoding):
                text = f'<?xml version="1.0" encoding="{encoding}"?>' + self.DRAWING
                self.assertEqual(self.sizes(text.encode(encoding)), self.SIZES)

    def test_packed(self):
        packed = gzip.compress(self.DRAWING.encode())
        self.assertEqual(self.sizes(packed, "drawing.svgz"), self.SIZES)
        self.assertEqual(self.sizes(packed, "drawing.svg"), self.SIZES)

    def test_under_any_name(self):
        for name in ("drawing.SVG", "drawing.png", "drawing", "a b%20ü.svg"):
            with self.subTest(name):
                self.assertEqual(self.sizes(self.DRAWING, name), self.SIZES)

    def test_one_file_twice(self):
        path = self.make(self.DRAWING)
        done = tool.probe(path, path)
        self.assertEqual([record["status"] for record in done.records()], ["ok", "ok"])

    def test_that_are_none(self):
        self.check_fails("<html/>", "not an SVG document")
        self.check_fails("words", "not an SVG document")
        self.check_fails(drawing("")[:-6] + "\n<g>", "damaged SVG: line 2: it ends too early")
        self.check_fails(gzip.compress(self.DRAWING.encode())[:-9], "damaged SVG: its compressed data is broken")


class HostileDocuments(Folder):
    def probe(self, path):
        """The record of a file, and the peak of memory in MB."""
        done, peak = tool.run_with_peak("--ndjson", "--service", "svg", path)
        record, = done.records()
        return record, peak / 10**6

    def check_cost(self, content, words=None, name="drawing.svg"):
        """Answered, or refused in `words`, in bounded memory. What is not refused where it has to be ends in a hang."""
        _, start_megabytes = self.probe(self.make(drawing(""), "small.svg"))
        record, megabytes = self.probe(self.make(content, name))
        self.assertEqual(record.get("error"), words)
        self.assertLess(megabytes, start_megabytes + MOST_MEGABYTES)

    def test_entities_that_unfold_without_end(self):
        entities = '<!ENTITY a0 "ha">' + "".join(
            f'<!ENTITY a{level} "{f"&a{level - 1};" * 10}">' for level in range(1, 12))
        for use in (drawing("", "<text>&a11;</text>"), drawing('width="&a11;"')):
            self.check_cost(f"<!DOCTYPE svg [{entities}]>{use}", "an SVG whose entities unfold without end")

    def test_entities_each_made_of_the_one_before(self):
        entities = '<!ENTITY e0 "">' + "".join(f'<!ENTITY e{i} "&e{i - 1};">' for i in range(1, 100_000))
        self.check_cost(f"<!DOCTYPE svg [{entities}]>" + drawing("", "&e99999;"), "an SVG with more than 1000 entities")

    def test_deep_nesting(self):
        self.check_cost(drawing("", "<g>" * 100_000 + "</g>" * 100_000),
                        "an SVG with more than 1000 elements one in another")

    def test_many_elements(self):
        self.check_cost(drawing("", "<g/>" * 1_000_000))

    def test_many_attributes(self):
        self.check_cost(drawing("".join(f" a{index}=''" for index in range(1_000_000))),
                        "an SVG with too many or too large parts")

    def test_one_long_attribute(self):
        self.check_cost(drawing("", f'<image href="data:image/png;base64,{"A" * 20_000_000}"/>'))

    def test_large_files(self):
        self.check_cost(drawing("") + " " * (1 << 25), "larger than 32 MB, which is as much as is read of an SVG")

    def test_packed_bomb(self):
        self.check_cost(gzip.compress(drawing("").encode() + b" " * (1 << 28)),
                        "larger than 32 MB when unpacked, which is as much as is read of an SVG", "bomb.svgz")


class References(Folder):
    def test_are_not_followed(self):
        # Opening the pipe would wait for a writer; a connection would wait in the port's queue.
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        with socket.create_server(("127.0.0.1", 0)) as port:
            port.settimeout(0)
            for target in (pipe, f"file://{pipe}", "pipe", "http://127.0.0.1:%d/a" % port.getsockname()[1]):
                content = (
                    f'<?xml-stylesheet href="{target}"?><!DOCTYPE svg SYSTEM "{target}" [<!ENTITY e SYSTEM "{target}">'
                    f'<!ENTITY % p SYSTEM "{target}"> %p;]><svg {NAMESPACE} xmlns:xlink="http://www.w3.org/1999/xlink" '
                    f'xmlns:xi="http://www.w3.org/2001/XInclude" width="120" height="80"><image xlink:href="{target}"/>'
                    f'<style>@import url({target});</style><xi:include href="{target}"/><text>&e;</text></svg>')
                self.assertEqual(self.sizes(content)[:2], (120, 80))
                with self.assertRaises(BlockingIOError):
                    port.accept()


if __name__ == "__main__":
    unittest.main()
