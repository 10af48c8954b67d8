"""Servers that lie: about lengths, ranges and places, slowly, without an end, or in no language at all."""
import contextlib
import gzip
import http.server
import os
import pathlib
import re
import select
import socket
import struct
import tempfile
import threading
import unittest

import tool

CONTENT = (tool.SAMPLES / "song.flac").read_bytes()
MP4 = (tool.SAMPLES / "upright.mp4").read_bytes()
# For one input; what it takes beyond that is the starting and ending of processes on a busy machine.
TIMEOUT = 3
CANARY = b"canary-of-a-local-file"


class Liar(http.server.BaseHTTPRequestHandler):
    """Each path is a lie of its own."""
    protocol_version = "HTTP/1.1"
    requests = []
    canary = None

    def do_GET(self):
        Liar.requests.append(self.path)
        name = self.path.split("/")[1].split("?")[0]
        self.close_connection = True
        lie = getattr(self, "send_" + name.partition(".")[0], lambda: self.send_error(404))
        with contextlib.suppress(BrokenPipeError, ConnectionResetError, TimeoutError):
            lie()

    def log_message(self, *_):
        pass

    def start(self, status=200, **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()

    def asked(self):
        """The first byte that is asked for."""
        found = re.match(r"bytes=(\d+)-", self.headers.get("Range", ""))
        return int(found[1]) if found else 0

    def is_left(self):
        """Whether the other side is still there, after a short while."""
        readable, _, _ = select.select([self.connection], [], [], 0.1)
        return bool(readable)

    # Lengths.
    def send_longer(self):
        self.start(Content_Length=str(len(CONTENT) * 100), Accept_Ranges="bytes")
        self.wfile.write(CONTENT)

    def send_cut(self):
        first = self.asked()
        self.start(206, Content_Length=str(len(MP4) - first), Accept_Ranges="bytes",
                   Content_Range=f"bytes {first}-{len(MP4) - 1}/{len(MP4)}")
        self.wfile.write(MP4[first:first + 500])

    def send_shorter(self):
        self.start(Content_Length="100")
        self.wfile.write(CONTENT)

    def send_huge(self):
        self.start(206, Content_Length=str((1 << 63) - 1), Accept_Ranges="bytes",
                   Content_Range=f"bytes {self.asked()}-{(1 << 63) - 2}/{(1 << 63) - 1}")
        self.wfile.write(CONTENT)

    def send_negative(self):
        self.start(Content_Length="-5")
        self.wfile.write(CONTENT)

    def send_words(self):
        self.start(Content_Length="many", Content_Range="bytes x-y/z")
        self.wfile.write(CONTENT)

    # Bodies without an end, of what a reader may take for a file.
    def send_endless(self, start=b""):
        self.start()
        self.wfile.write(start)
        while True:
            self.wfile.write(bytes(65536))

    def send_endless_mp3(self):
        self.send_endless(b"ID3\x04\0\0\x7f\x7f\x7f\x7f")

    def send_endless_mp4(self):
        self.send_endless(MP4[:32] + struct.pack(">I4sQ", 1, b"free", 1 << 62))

    def send_chunks(self):
        self.start(Transfer_Encoding="chunked")
        while True:
            self.wfile.write(b"10\r\n" + bytes(16) + b"\r\n")

    def send_hugechunk(self):
        self.start(Transfer_Encoding="chunked")
        self.wfile.write(b"fffffffffffffffe\r\n" + CONTENT)

    # Slow ones.
    def send_drip(self):
        self.start(Content_Length=str(len(CONTENT)))
        for byte in CONTENT:
            self.wfile.write(bytes([byte]))
            if self.is_left():
                return

    def send_dripheaders(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\n")
        for number in range(10 ** 6):
            self.wfile.write(b"X-%d: y\r\n" % number)
            if self.is_left():
                return

    # Headers.
    def send_garbage(self):
        self.wfile.write(bytes(range(256)) * 20)

    def send_hugeheader(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\nX: ")
        while True:
            self.wfile.write(b"y" * 65536)

    def send_manyheaders(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\n")
        while True:
            self.wfile.write(b"X-Header: value\r\n" * 4096)

    def send_cookies(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\n")
        for number in range(20_000):
            self.wfile.write(b"Set-Cookie: c%d=%s; path=/\r\n" % (number, b"v" * 200))
        self.wfile.write(b"Content-Length: 0\r\n\r\n")

    def send_nothing(self):
        pass

    def send_onceempty(self):
        """An answer without its body, then none."""
        if Liar.requests.count(self.path) > 1:
            self.start(503, Content_Length="0")
            return
        self.start(206, Content_Length=str(len(MP4)), Content_Range=f"bytes 0-{len(MP4) - 1}/{len(MP4)}", Accept_Ranges="bytes")

    def send_reset(self):
        self.start(Content_Length=str(len(CONTENT)))
        self.wfile.write(CONTENT[:300])
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    def send_gzipped(self):
        body = gzip.compress(CONTENT)
        self.start(Content_Encoding="gzip", Content_Length=str(len(body)))
        self.wfile.write(body)

    # Ranges.
    def send_wrongrange(self):
        """Whatever is asked for, the start of the file."""
        self.start(206, Content_Length=str(len(MP4)), Content_Range=f"bytes 0-{len(MP4) - 1}/{len(MP4)}",
                   Accept_Ranges="bytes")
        self.wfile.write(MP4)

    def send_norange(self):
        if self.asked():
            self.start(416, Content_Length="0")
            return
        self.start(206, Content_Length=str(len(MP4)), Content_Range=f"bytes 0-{len(MP4) - 1}/{len(MP4)}",
                   Accept_Ranges="bytes")
        self.wfile.write(MP4[:4000])

    # Other places.
    def move(self, place):
        self.start(302, Location=place, Content_Length="0")

    def send_loop(self):
        self.move("/loop")

    def send_pingpong(self):
        self.move("/pingpong?" + str(len(Liar.requests)))

    def send_file(self):
        self.move(f"file://{Liar.canary}")

    def send_path(self):
        self.move(str(Liar.canary))

    def send_schemes(self):
        """One after another, each of what a media library may know."""
        place = self.path.partition("?")[2]
        self.move(place.replace("CANARY", str(Liar.canary)))

    def send_playlist(self):
        body = b"#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nfile://" + os.fsencode(Liar.canary) + b"\n"
        self.start(Content_Length=str(len(body)), Content_Type="application/vnd.apple.mpegurl")
        self.wfile.write(body)

    def send_concat(self):
        body = b"ffconcat version 1.0\nfile '" + os.fsencode(Liar.canary) + b"'\n"
        self.start(Content_Length=str(len(body)))
        self.wfile.write(body)


def setUpModule():
    scratch = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(scratch.cleanup)
    Liar.canary = pathlib.Path(scratch.name) / "canary.mp4"
    # A file that is read is told apart by its tags.
    Liar.canary.write_bytes(MP4 + struct.pack(">I4s", 8 + len(CANARY), b"free") + CANARY)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Liar)
    server.daemon_threads = True
    Lies.root = f"http://127.0.0.1:{server.server_port}"
    threading.Thread(target=server.serve_forever, daemon=True).start()
    unittest.addModuleCleanup(server.server_close)
    unittest.addModuleCleanup(server.shutdown)


class Lies(unittest.TestCase):
    maxDiff = None
    root = None

    def probe(self, path):
        """The record, which comes as one, with one line on standard error where it failed."""
        url = f"{self.root}/{path}"
        done = tool.probe(url, options=("--timeout", str(TIMEOUT)))
        record, = done.records()
        if record["status"] == "ok":
            self.assertEqual((done.status, done.complaints), (0, b""))
        else:
            line, = done.complaint_lines()
            self.assertEqual((done.status, line), (1, f"mediaprobe: {record['input']}: {record['error']}"))
            self.assertNotIn("broke down", line)
        self.assertNotIn(CANARY, done.output)
        return record

    def check_fails(self, path, error):
        with self.subTest(path=path):
            self.assertEqual(self.probe(path).get("error"), error)

    def check_answers_or_fails(self, path, errors):
        with self.subTest(path=path):
            record = self.probe(path)
            if record["status"] == "error":
                self.assertIn(record["error"], errors)

    def test_lengths(self):
        self.check_fails("cut", "the server breaks off")
        self.check_answers_or_fails("longer", ["the server breaks off"])
        for path in ("shorter", "huge", "negative", "words"):
            self.check_answers_or_fails(path, ["file ends early", "the server breaks off", "not a media file", "empty file",
                                               "damaged: the header cannot be read"])

    def test_bodies_without_an_end(self):
        late = f"takes longer than {TIMEOUT} s"
        for path in ("endless", "endless_mp3", "endless_mp4", "chunks", "hugechunk"):
            self.check_answers_or_fails(path, [late, "not a media file", "takes too long to read", "file ends early",
                                               "the server breaks off", "damaged: the header cannot be read",
                                               "asks for too much memory"])

    def test_slow_ones(self):
        late = f"takes longer than {TIMEOUT} s"
        self.check_fails("drip", late)
        self.check_fails("dripheaders", late)

    def test_headers(self):
        late = f"takes longer than {TIMEOUT} s"
        self.check_answers_or_fails("garbage", ["cannot be reached", "not a media file", "the server breaks off",
                                                "the server's answer is not HTTP"])
        self.check_fails("hugeheader", late)
        self.check_fails("manyheaders", late)
        self.check_answers_or_fails("cookies", [late, "empty file", "not a media file", "cannot be reached"])
        self.check_answers_or_fails("nothing", ["cannot be reached", "not a media file"])

    def test_connections_that_break(self):
        self.check_fails("reset", "the server breaks off")
        self.check_fails("onceempty", "the server breaks off")

    def test_compressed_bodies(self):
        """Nobody asked for one: it is the file as it is, or none."""
        self.check_answers_or_fails("gzipped", ["not a media file", "the server sends it compressed"])

    def test_ranges(self):
        self.check_answers_or_fails("wrongrange", ["the server breaks off", "file ends early",
                                                   "damaged: the header cannot be read"])
        self.check_answers_or_fails("norange", ["the server breaks off", "the server does not give it"])

    def test_redirections_end(self):
        Liar.requests.clear()
        self.check_fails("loop", "cannot be reached")
        self.check_fails("pingpong", "cannot be reached")
        self.assertLess(len(Liar.requests), 100)

    def test_redirections_reach_no_local_file(self):
        self.check_fails("file", "cannot be reached")
        # A path is one on the server.
        with self.subTest(path="path"):
            self.assertEqual(self.probe("path")["status"], "error")
        for place in ("file:CANARY", "FILE://CANARY", "fd:0", "pipe:0", "data:text/plain,x", "concat:CANARY", "cache:CANARY",
                      "crypto:CANARY", "subfile,,start,0,end,0,,:CANARY", "async:CANARY", "unix:CANARY", "ftp://127.0.0.1/x",
                      "httpproxy://127.0.0.1/CANARY", "gopher://127.0.0.1/x", "tcp://127.0.0.1:1"):
            with self.subTest(place=place):
                self.assertEqual(self.probe(f"schemes?{place}")["status"], "error")

    def test_lists_reach_no_local_file(self):
        for path in ("playlist.m3u8", "concat.ffconcat"):
            with self.subTest(path=path):
                self.assertEqual(self.probe(path)["status"], "error")

    def test_other_inputs_do_not_wait(self):
        song = tool.SAMPLES / "song.flac"
        done = tool.probe(f"{self.root}/drip", song, f"{self.root}/manyheaders", song,
                          options=("--timeout", str(TIMEOUT), "-j", "2"))
        self.assertEqual([record["status"] for record in done.records()], ["error", "ok", "error", "ok"])


if __name__ == "__main__":
    unittest.main()
