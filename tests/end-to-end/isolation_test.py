"""Files that point at other files: nothing of what they point at comes out, in whatever process they are probed."""
import functools
import gzip
import http.server
import os
import pathlib
import shutil
import subprocess
import tempfile
import threading
import unittest

import maker
import mp4_boxes
import tool

ISOLATIONS = ("none", "worker", "strict")
# Every output, with all that the tool can be made to say.
FORMS = (["--text", "--full"], ["--json"], ["--csv"])
LOUD = ["--log-level", "trace", "-j", "2", "--allow-unsandboxed"]

# What must not come out: as a text, and as facts of a file whose duration, sizes and tags nothing else has.
SECRET = "KANARIENVOGEL-7f3a"
CANARY_WIDTH = 368
CANARY_HEIGHT = 208


def text_canary(folder):
    path = folder / "secret.txt"
    path.write_text(f"{SECRET}\n" * 50)
    return path


def media_canary(folder, extension, *arguments):
    """A media file that answers, if it is opened, with the secret as its title and sizes of its own."""
    path = folder / f"secret.{extension}"
    maker.run_ffmpeg(path, [*maker.pictures(f"{CANARY_WIDTH}x{CANARY_HEIGHT}", seconds="3"), *arguments,
                            "-metadata", f"title={SECRET}", "-metadata", f"service_name={SECRET}"], folder)
    return path


class Canary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory(prefix="isolation-")
        cls.addClassCleanup(scratch.cleanup)
        cls.root = pathlib.Path(scratch.name)
        # Beside the inputs and among them: of the first the rules of workers keep them, of the second nothing but
        # that no library of ours opens what a file names.
        cls.aside = cls.root / "aside"
        cls.folder = cls.root / "inputs"
        cls.aside.mkdir()
        cls.folder.mkdir()
        (cls.folder / "videos").mkdir()
        cls.media = {extension: media_canary(cls.aside, extension, "-c:v", "mpeg4") for extension in ("mp4", "mkv", "ts")}
        cls.text = text_canary(cls.aside)
        for path in (*cls.media.values(), cls.text):
            shutil.copy(path, cls.folder / "videos" / path.name)

    def setUp(self):
        # The canaries would sing.
        record = tool.record_of(self.media["mp4"])
        self.assertEqual(record["programs"][0]["video"][0]["width"], CANARY_WIDTH)
        self.assertIn(SECRET, str(record))

    def targets(self, path):
        """A canary, as files name others."""
        near = self.folder / "videos" / path.name
        return (str(path), f"file://{path}", f"../aside/{path.name}", f"videos/{path.name}", str(near), f"file:{path}",
                f"file,crypto:{path}", f"concat:{path}|{path}", f"subfile,,start,0,end,0,,:{path}")

    def check_real(self, name, *options):
        """A file that is no reference to anything would prove nothing: the peer, when it is told to, follows this one."""
        done = subprocess.run(["ffprobe", "-v", "error", "-show_streams", *options, name], cwd=self.folder,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)
        self.assertIn(f"width={CANARY_WIDTH}", done.stdout, (name, done.stderr))

    def check_silent(self, contents, real=(), real_options=()):
        """`contents`: file names and bytes. None of them brings anything of a canary out."""
        for name, content in contents.items():
            (self.folder / name).write_bytes(content)
        for name in real:
            self.check_real(name, *real_options)
        names = list(contents)
        for isolation in ISOLATIONS:
            for form in FORMS:
                with self.subTest(isolation=isolation, form=form):
                    done = tool.run(*form, *LOUD, "--isolation", isolation, "--", *names, folder=self.folder)
                    self.assertIn(done.status, (0, 1))
                    for bytes_out in (done.output, done.complaints):
                        # Sizes of the canary, and any part of the secret that is long enough to be no accident.
                        self.assertNotIn(f"{CANARY_WIDTH}x{CANARY_HEIGHT}".encode(), bytes_out)
                        self.assertNotIn(b'"width": %d' % CANARY_WIDTH, bytes_out)
                        self.assertNotIn(b",%d,%d," % (CANARY_WIDTH, CANARY_HEIGHT), bytes_out)
                        for part in (SECRET[i:i + 6].encode() for i in range(len(SECRET) - 5)):
                            self.assertNotIn(part, bytes_out)
        for name in names:
            (self.folder / name).unlink()

    def test_hls_playlists(self):
        contents = {}
        for number, target in enumerate(self.targets(self.media["ts"]) + self.targets(self.text)):
            media = (f"#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-TARGETDURATION:3\n#EXT-X-KEY:METHOD=AES-128,URI=\"{target}\"\n"
                     f"#EXT-X-MAP:URI=\"{target}\"\n#EXTINF:3,\n{target}\n#EXT-X-ENDLIST\n")
            master = f"#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=100000\n{target}\n"
            # As a list, and under names that libraries take for something else.
            for extension in ("m3u8", "m3u", "mp4", "ts", "mkv", "mp3", "avi", "txt"):
                contents[f"hls{number}.{extension}"] = media.encode()
            contents[f"master{number}.m3u8"] = master.encode()
        plain = f"#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\n{self.media['ts']}\n#EXT-X-ENDLIST\n"
        contents["plain.m3u8"] = plain.encode()
        contents["master.m3u8"] = b"#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=100000\nplain.m3u8\n"
        self.check_silent(contents, real=["plain.m3u8", "master.m3u8"])

    def test_concatenation_scripts(self):
        contents = {}
        for number, target in enumerate(self.targets(self.media["mp4"]) + self.targets(self.text)):
            script = f"ffconcat version 1.0\nfile '{target}'\nduration 3\n"
            for extension in ("txt", "ffconcat", "mp4", "mkv", "avi"):
                contents[f"list{number}.{extension}"] = script.encode()
        self.check_silent(contents, real=["list0.ffconcat"], real_options=["-safe", "0"])

    def test_dash_manifests(self):
        contents = {}
        for number, target in enumerate(self.targets(self.media["mp4"]) + self.targets(self.text)):
            manifest = (
                '<?xml version="1.0"?><MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="static" '
                'mediaPresentationDuration="PT3S" profiles="urn:mpeg:dash:profile:isoff-on-demand:2011"><Period>'
                '<AdaptationSet mimeType="video/mp4"><Representation id="1" bandwidth="100000">'
                f"<BaseURL>{target}</BaseURL><SegmentBase><Initialization sourceURL=\"{target}\"/></SegmentBase>"
                "</Representation></AdaptationSet></Period></MPD>")
            for extension in ("mpd", "mp4", "xml"):
                contents[f"dash{number}.{extension}"] = manifest.encode()
        self.check_silent(contents, real=["dash0.mpd"])

    def test_other_lists_of_media(self):
        target = self.media["mp4"]
        self.check_silent({
            "a.pls": f"[playlist]\nFile1={target}\nNumberOfEntries=1\nVersion=2\n".encode(),
            "a.sdp": f"v=0\no=- 0 0 IN IP4 127.0.0.1\nc=IN IP4 127.0.0.1\nm=video 1 RTP/AVP 96\na=control:{target}\n".encode(),
            "a.asx": f'<asx version="3.0"><entry><ref href="{target}"/></entry></asx>'.encode(),
            "a.smil": f'<smil><body><video src="{target}"/></body></smil>'.encode(),
            "a.xspf": f'<playlist version="1"><trackList><track><location>{target}</location></track></trackList></playlist>'
                      .encode(),
            "a.cue": f'FILE "{self.text}" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n'.encode(),
            "a.avs": f'AviSource("{target}")\n'.encode(),
            "a.vpy": f'open("{self.text}").read()\n'.encode(),
            "a.ism": f'<SmoothStreamingMedia><StreamIndex Url="{target}"/></SmoothStreamingMedia>'.encode(),
            "a.url": f"[InternetShortcut]\nURL=file://{target}\n".encode(),
            "a.idx": f"# VobSub index file, v7\nid: en, index: 0\ntimestamp: 00:00:00:000, filepos: 0\n".encode(),
        })

    def references(self, target):
        """MP4 boxes that say that the samples lie in another file."""
        path = os.fsencode(target)
        # QuickTime's alias record: version 2, of a file, with its path by POSIX at its end (type 18).
        posix = b"\x00\x12" + len(path).to_bytes(2, "big") + path + (b"\0" if len(path) % 2 else b"")
        name = os.path.basename(target).encode()[:63]
        alias = b"\0" * 4 + b"\0\0" + b"\x00\x02" + b"\0\0" + bytes([4]) + b"disk".ljust(27, b"\0") + bytes(4) + b"H+" + \
            b"\0\0" + bytes(4) + bytes([len(name)]) + name.ljust(63, b"\0") + bytes(4) + bytes(4) + bytes(4) + bytes(4) + \
            b"\xff\xff\xff\xff" + bytes(4) + bytes(2) + bytes(10) + posix + b"\xff\xff\0\0"
        alias = alias[:4] + (len(alias)).to_bytes(2, "big") + alias[6:]
        return (mp4_boxes.full_box(b"url ", path + b"\0"), mp4_boxes.full_box(b"urn ", b"urn:x\0" + path + b"\0"),
                mp4_boxes.full_box(b"alis", alias), mp4_boxes.full_box(b"rsrc", alias), mp4_boxes.full_box(b"cios", path + b"\0"))

    def with_reference(self, data, reference):
        """An MP4 file whose first track's samples lie elsewhere. Its movie box lies at its end, so no offset changes."""
        path = (b"moov", b"trak", b"mdia", b"minf", b"dinf", b"dref")
        parents = [mp4_boxes.find(data, *path[:depth]) for depth in range(1, len(path))]
        start, _, end = mp4_boxes.find(data, *path)
        changed = mp4_boxes.full_box(b"dref", (1).to_bytes(4, "big"), reference)
        growth = len(changed) - (end - start)
        out = bytearray(data[:start] + changed + data[end:])
        for box, _, stop in parents:
            out[box:box + 4] = (stop - box + growth).to_bytes(4, "big")
        return bytes(out)

    def test_external_data_of_movies(self):
        contents = {}
        source = self.root / "source.mp4"
        maker.run_ffmpeg(source, [*maker.pictures(), "-c:v", "mpeg4"], self.root)
        data = source.read_bytes()
        self.assertGreater(data.index(b"moov"), data.index(b"mdat"))
        for number, target in enumerate(self.targets(self.media["mp4"]) + self.targets(self.text)):
            for kind, reference in enumerate(self.references(target)):
                for extension in ("mp4", "mov"):
                    contents[f"ref{number}-{kind}.{extension}"] = self.with_reference(data, reference)
        self.check_silent(contents)

    def test_references_of_whole_movies(self):
        target = str(self.media["mp4"])
        reference = mp4_boxes.full_box(b"rdrf", b"url ", (len(target) + 1).to_bytes(4, "big"), target.encode() + b"\0")
        movie = mp4_boxes.box(b"moov", mp4_boxes.box(b"rmra", mp4_boxes.box(b"rmda", reference)))
        self.check_silent({"rmra.mov": mp4_boxes.box(b"ftyp", b"qt  ", bytes(4), b"qt  ") + movie, "bare.mov": movie})

    def test_links_and_attachments_of_matroska(self):
        def element(identifier, *payload):
            body = b"".join(payload)
            return bytes.fromhex(identifier) + (len(body) | 1 << 56).to_bytes(8, "big") + body

        contents = {}
        header = element("1A45DFA3", element("4282", b"matroska"), element("4287", b"\x04"), element("4285", b"\x02"))
        video = element("AE", element("D7", b"\x01"), element("73C5", b"\x01"), element("83", b"\x01"),
                        element("86", b"V_MPEG4/ISO/ASP"), element("E0", element("B0", b"\x40"), element("BA", b"\x30")))
        for number, target in enumerate(self.targets(self.media["mkv"]) + self.targets(self.text)):
            path = target.encode()
            info = element("1549A966", element("2AD7B1", (1000000).to_bytes(4, "big")), element("73A4", bytes(range(16))),
                           element("3CB923", bytes(16)), element("3C83AB", path), element("3EB923", bytes(16)),
                           element("3E83BB", path), element("7384", path))
            attachment = element("1941A469", element("61A7", element("466E", path), element("4660", b"text/uri-list"),
                                                     element("465C", path), element("46AE", b"\x05")))
            chapters = element("1043A770", element("45B9", element("B6", element("73C4", b"\x01"), element("91", b"\x00"),
                                                                   element("6E67", bytes(16)))))
            contents[f"link{number}.mkv"] = header + element("18538067", info, element("1654AE6B", video), chapters, attachment)
        # A name that is shown need not be a secret; that of the canary is none.
        self.check_silent(contents)

    def test_svgs(self):
        contents = {}
        for number, target in enumerate(self.targets(self.text) + self.targets(self.media["mp4"]) + ("/etc/passwd",)):
            text = (
                f'<?xml version="1.0"?><?xml-stylesheet href="{target}"?><!DOCTYPE svg SYSTEM "{target}" ['
                f'<!ENTITY e SYSTEM "{target}"><!ENTITY % p SYSTEM "{target}"> %p;'
                f'<!ENTITY % q "<!ENTITY &#37; r SYSTEM \'{target}\'>"> %q; %r;]>'
                '<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" '
                f'xmlns:xi="http://www.w3.org/2001/XInclude" width="120" height="80"><title>&e;</title>'
                f'<style>@import url("{target}"); @font-face {{ font-family: x; src: url("{target}") }}</style>'
                f'<image href="{target}" xlink:href="{target}" width="9" height="9"/><use href="{target}#a"/>'
                f'<use xlink:href="{target}"/><feImage href="{target}"/><foreignObject><iframe src="{target}"/></foreignObject>'
                f'<xi:include href="{target}" parse="text"/><script href="{target}"/><text>&e;</text></svg>').encode()
            width = text.replace(b'width="120"', b'width="&e;"')
            contents[f"ref{number}.svg"] = text
            contents[f"ref{number}.svgz"] = gzip.compress(text)
            contents[f"width{number}.svg"] = width
        self.check_silent(contents)

    def test_metadata_of_pictures(self):
        """An XMP packet with entities, in a JPEG file."""
        jpeg = (tool.SAMPLES / "pictures" / "upright.jpg").read_bytes()
        contents = {}
        for number, target in enumerate(self.targets(self.text)):
            packet = (
                f'<!DOCTYPE x [<!ENTITY e SYSTEM "{target}"><!ENTITY % p SYSTEM "{target}"> %p;]>'
                '<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">'
                '<rdf:Description rdf:about="" xmlns:tiff="http://ns.adobe.com/tiff/1.0/" '
                'xmlns:xi="http://www.w3.org/2001/XInclude">'
                f'<tiff:Make>&e;</tiff:Make><tiff:Model><xi:include href="{target}" parse="text"/></tiff:Model>'
                "</rdf:Description></rdf:RDF></x:xmpmeta>").encode()
            payload = b"http://ns.adobe.com/xap/1.0/\0" + packet
            contents[f"xmp{number}.jpg"] = jpeg[:2] + b"\xff\xe1" + (len(payload) + 2).to_bytes(2, "big") + payload + jpeg[2:]
        self.check_silent(contents)


class Reach(unittest.TestCase):
    """What is not kept from being read."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="isolation-")
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.folder = self.root / "inputs"
        (self.folder / "below").mkdir(parents=True)
        self.sample = tool.SAMPLES / "song.mp3"
        self.outside = pathlib.Path(shutil.copy(self.sample, self.root / "outside.mp3"))
        self.inside = pathlib.Path(shutil.copy(self.sample, self.folder / "below" / "inside.mp3"))

    def check_answered(self, *arguments, count, standard_input=b""):
        for isolation in ISOLATIONS:
            with self.subTest(isolation=isolation):
                done = tool.run("--ndjson", "--allow-unsandboxed", "--isolation", isolation, *arguments, folder=self.folder,
                                standard_input=standard_input)
                records = done.records()
                self.assertEqual((done.status, len(records)), (0, count), done.complaints)
                self.assertEqual({record["title"] for record in records if "title" in record},
                                 {record["title"] for record in (tool.record_of(self.sample),) if "title" in record})
                self.assertEqual({record["status"] for record in records}, {"ok"})

    def test_links_out_of_a_walked_folder(self):
        (self.folder / "link.mp3").symlink_to(self.outside)
        (self.folder / "below" / "upward.mp3").symlink_to("../../outside.mp3")
        self.check_answered("-r", ".", count=3)
        self.check_answered("-r", "-j", "1", "below", "below", count=4)

    def test_links_as_inputs(self):
        (self.folder / "link.mp3").symlink_to("other.mp3")
        (self.folder / "other.mp3").symlink_to(self.outside)
        self.check_answered("link.mp3", "below/inside.mp3", count=2)

    def test_names_on_standard_input(self):
        self.check_answered("--stdin", count=2, standard_input=f"{self.outside}\nbelow/inside.mp3\n".encode())

    def test_files_that_were_replaced_since_the_start(self):
        # The first input is looked at when the second has been put in place of another file.
        os.mkfifo(self.root / "names")
        process = subprocess.Popen(
            [tool.MEDIAPROBE, "--ndjson", "-r", "-j", "1", "."], cwd=self.folder, stdout=subprocess.PIPE, text=True)
        os.replace(self.outside, self.inside)
        output, _ = process.communicate(timeout=tool.HANG_SECONDS)
        self.assertEqual((process.returncode, output.count('"status":"ok"')), (0, 1))

    def test_extension_in_the_other_case(self):
        os.rename(self.inside, self.folder / "below" / "inside.MP3")
        self.check_answered("below/inside.mp3", "below/inside.MP3", count=2)


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class OnDemand(unittest.TestCase):
    """What is loaded for few inputs is there in every process: the records are the same in all of them."""

    def check_same(self, *arguments, folder=None):
        expected = tool.run("--ndjson", "--isolation", "none", *arguments, folder=folder)
        self.assertTrue(expected.output)
        for isolation in ISOLATIONS[1:]:
            for jobs in ("1", "3"):
                with self.subTest(isolation=isolation, jobs=jobs):
                    done = tool.run("--ndjson", "--allow-unsandboxed", "--isolation", isolation, "-j", jobs, *arguments,
                                    folder=folder)
                    self.assertEqual((done.output, done.complaints), (expected.output, expected.complaints))
        return expected

    def test_all_samples_with_digests(self):
        self.check_same("--uuid", "-r", tool.SAMPLES)

    def test_under_other_names(self):
        """Nothing about the inputs is told by their names."""
        with tempfile.TemporaryDirectory() as folder:
            paths = [path for path in sorted(tool.SAMPLES.rglob("*")) if path.is_file()]
            names = [f"{number:02}.bin" for number in range(len(paths))]
            for path, name in zip(paths, names):
                shutil.copy(path, pathlib.Path(folder) / name)
            (pathlib.Path(folder) / "svg.bin").write_text('<svg xmlns="http://www.w3.org/2000/svg" width="3" height="4"/>')
            self.check_same(*names, "svg.bin", folder=folder)
            self.check_same("svg.bin", names[0], folder=folder)

    def test_urls_among_files(self):
        handler = functools.partial(QuietHandler, directory=str(tool.SAMPLES))
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            # By its name, which has to be looked up.
            root = f"http://localhost:{server.server_port}"
            done = self.check_same(f"{root}/song.flac", "song.mp3", f"{root}/upright.mp4", "web.webm", "http://nowhere.invalid/a",
                                   folder=tool.SAMPLES)
            self.assertEqual([record["status"] for record in done.records()], ["ok"] * 4 + ["error"])
            server.shutdown()

    def test_library_folder_by_another_name(self):
        built = pathlib.Path(tool.MEDIAPROBE).parent.parent / "lib" / "mediainfo"
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "link").symlink_to(built)
            picture = tool.SAMPLES / "pictures" / "upright.jpg"
            expected = tool.record_of(picture)
            for name in (str(built) + "/", str(pathlib.Path(folder) / "link"), os.path.relpath(built)):
                with self.subTest(name=name):
                    done = tool.probe(picture, environment={"MEDIAPROBE_LIBRARY_DIR": name},
                                      options=["--isolation", "strict", "--allow-unsandboxed", "-u"])
                    record, = done.records()
                    self.assertEqual(record.pop("uuid", ""), tool.record_of(picture, options=["-u"])["uuid"])
                    self.assertEqual(record, expected)

    def test_encodings_of_svgs(self):
        with tempfile.TemporaryDirectory() as folder:
            names = []
            for encoding in ("windows-1251", "koi8-r", "iso-8859-15", "windows-1258", "ISO-8859-16", "ISO-8859-99"):
                names.append(f"{encoding}.svg")
                (pathlib.Path(folder) / names[-1]).write_bytes(
                    f'<?xml version="1.0" encoding="{encoding}"?><svg xmlns="http://www.w3.org/2000/svg" width="3" height="4">'
                    .encode() + b"<title>\xe4\xf6\xfc</title></svg>")
            self.check_same(*names, folder=folder)

    def test_character_sets_of_broadcasts(self):
        """Names of services may be in any of several sets, told by their first byte."""
        with tempfile.TemporaryDirectory() as folder:
            names = []
            for number, mark in enumerate(("\x01", "\x05", "\x07", "\x0b", "\x13", "\x12", "")):
                names.append(f"{number}.ts")
                maker.run_ffmpeg(pathlib.Path(folder) / names[-1],
                                 [*maker.pictures(), "-c:v", "mpeg2video", "-metadata", f"service_name={mark}name"], folder)
            self.check_same(*names, folder=folder)

    def test_zone_of_dates(self):
        for zone in ("Asia/Tokyo", "America/New_York", ":Europe/Berlin", "UTC", "", "XYZ-3"):
            with self.subTest(zone=zone):
                outputs = {tool.run("--ndjson", "--allow-unsandboxed", "--isolation", isolation, tool.SAMPLES / "upright.mp4",
                                    tool.SAMPLES / "hdr.mov", environment={"TZ": zone}).output for isolation in ISOLATIONS}
                self.assertEqual(len(outputs), 1)


if __name__ == "__main__":
    unittest.main()
