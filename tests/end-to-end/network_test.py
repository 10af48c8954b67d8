"""Files behind http: answered as the same file on disk is, and errors without a hang."""
import http.server
import pathlib
import socket
import tempfile
import threading
import unittest

import maker
import mp4_boxes
import tool
from range_handler import RangeHandler


def setUpModule():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), RangeHandler)
    Served.root = f"http://127.0.0.1:{server.server_port}"
    threading.Thread(target=server.serve_forever, daemon=True).start()
    unittest.addModuleCleanup(server.server_close)
    unittest.addModuleCleanup(server.shutdown)


class Served(unittest.TestCase):
    maxDiff = None
    root = None

    def check_same_as_on_disk(self, name, url, shown=None):
        local = tool.record_of(tool.SAMPLES / name)
        remote = tool.record_of(url)
        self.assertEqual(remote["input"], shown or url)
        self.assertEqual({**remote, "input": None}, {**local, "input": None})

    def test_same_record_as_on_disk(self):
        for path in tool.samples():
            with self.subTest(name=path.name):
                self.check_same_as_on_disk(path.name, f"{self.root}/{path.name}")

    def test_query_and_redirection(self):
        self.check_same_as_on_disk("song.flac", f"{self.root}/a/b/song.flac?token=1%2F2",
                                   shown=f"{self.root}/a/b/song.flac?token=***")
        self.check_same_as_on_disk("song.flac", f"{self.root}/moved/song.flac")

    def test_server_without_ranges(self):
        for path in tool.samples():
            with self.subTest(name=path.name):
                self.check_same_as_on_disk(path.name, f"{self.root}/plain/{path.name}")

    def test_end_that_a_server_without_ranges_keeps_back(self):
        # Nothing but the end tells how long a transport stream is, and no movie is read without its index.
        stream = (tool.SAMPLES / "programs.ts").read_bytes()
        movie = (tool.SAMPLES / "upright.mp4").read_bytes()
        head = int.from_bytes(movie[:4], "big")
        padding = (9 << 20).to_bytes(4, "big") + b"free" + bytes((9 << 20) - 8)
        RangeHandler.files["long.ts"] = stream * ((9 << 20) // len(stream) + 1)
        RangeHandler.files["long.mp4"] = movie[:head] + padding + movie[head:]
        record = tool.record_of(f"{self.root}/plain/long.ts")
        self.assertEqual(record["format"], "mpegts")
        self.assertEqual(record["size"], len(RangeHandler.files["long.ts"]))
        self.assertNotIn("duration", record)
        self.assertNotIn("bit_rate", record)
        record, = tool.probe(f"{self.root}/plain/long.mp4").records()
        self.assertEqual(record.get("error"), "lies too far behind for a server that gives files from their start only")
        self.assertEqual(tool.record_of(f"{self.root}/long.mp4")["format"], "mp4")

    def test_proxy_of_the_environment(self):
        # A proxy is asked for the whole URL, whose host it alone can reach.
        url = "http://media.invalid/song.flac"
        record, = tool.probe(url, environment={"http_proxy": self.root}).records()
        self.assertEqual((record["status"], record["size"]), ("ok", (tool.SAMPLES / "song.flac").stat().st_size))

    def test_local_file_sends_no_request(self):
        RangeHandler.requests.clear()
        tool.record_of(tool.SAMPLES / "upright.mp4")
        self.assertEqual(RangeHandler.requests, [])


class Costs(unittest.TestCase):
    def requests_for(self, name, data):
        RangeHandler.files[name] = data
        RangeHandler.requests.clear()
        RangeHandler.ranges.clear()
        record = tool.record_of(f"{Served.root}/made/{name}")
        self.assertEqual(record["size"], len(data))
        return record, len(RangeHandler.requests)

    def test_mp4_with_its_index_at_the_end(self):
        # Every sample is a key sample and of some hundred thousand bytes, so that no request fetches two of them.
        with tempfile.TemporaryDirectory() as folder:
            maker.run_ffmpeg("noise.mp4", [*maker.pictures("640x480", seconds="0.6"), "-vf", "noise=alls=100:allf=t", "-c:v",
                                           "libx264", "-preset", "ultrafast", "-qp", "4", "-g", "1"], folder)
            data = pathlib.Path(folder, "noise.mp4").read_bytes()
        self.assertGreater(len(data), 3_000_000)
        record, requests = self.requests_for("noise.mp4", data)
        self.assertEqual(tool.streams_of(record)[0]["metadata"]["MediaFile_Metedata_Video_FULL_IDR"], 1)
        self.assertLessEqual(requests, 6)

    def test_long_files_are_answered_as_on_disk(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "long.ts")
            maker.run_ffmpeg(path.name, [*maker.pictures("640x480", seconds="2"), *maker.tone(seconds="2"), "-c:v", "mpeg2video",
                                         "-b:v", "9M", "-c:a", "mp2"], folder)
            remote, requests = self.requests_for("long.ts", path.read_bytes())
            local = tool.record_of(path)
        self.assertEqual({**remote, "input": None}, {**local, "input": None})
        self.assertLessEqual(requests, 12)

    def test_a_megabyte_tells_a_transport_stream_and_matroska(self):
        with tempfile.TemporaryDirectory() as folder:
            maker.run_ffmpeg("noise.ts", [*maker.pictures("640x480", seconds="4"), *maker.tone(seconds="4"), "-vf",
                                          "noise=alls=60:allf=t", "-c:v", "mpeg2video", "-b:v", "15M", "-c:a", "mp2"], folder)
            stream = pathlib.Path(folder, "noise.ts").read_bytes()
        matroska = (tool.SAMPLES / "languages.mkv").read_bytes()
        for name, data in (("noise.ts", stream), ("long.mkv", matroska + bytes(60_000_000))):
            with self.subTest(name=name):
                self.assertGreater(len(data), 5_000_000)
                self.requests_for(name, data)
                self.assertLessEqual(sum(RangeHandler.ranges), 1 << 20)

    def test_mp4_with_its_index_at_the_start(self):
        data = (tool.SAMPLES / "song.m4a").read_bytes()
        self.assertEqual(self.requests_for("start.m4a", data + mp4_boxes.box(b"free", bytes(8_000_000)))[1], 1)

    def test_matroska(self):
        data = (tool.SAMPLES / "languages.mkv").read_bytes()
        self.assertLessEqual(self.requests_for("long.mkv", data + bytes(8_000_000))[1], 3)

    def test_sound_whose_start_does_not_show_how_long_it_is(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "quiet.aac"
            maker.run_ffmpeg(path, [*maker.quiet_start(80), "-c:a", "aac", "-b:a", "128k"], folder)
            remote, requests = self.requests_for(path.name, path.read_bytes())
            self.assertAlmostEqual(tool.record_of(path)["duration"], 80, delta=0.06)
        self.assertAlmostEqual(remote["duration"], 80, delta=8)
        self.assertLessEqual(requests, 12)


class Unserved(unittest.TestCase):
    def check_fails(self, url):
        """One line that names the URL, and other inputs answered; the words."""
        done = tool.probe(url, tool.SAMPLES / "song.flac")
        self.assertEqual(done.status, 1)
        failed, answered = done.records()
        self.assertEqual((failed["input"], failed["status"], answered["status"]), (url, "error", "ok"))
        self.assertEqual(done.complaint_lines(), [f"mediaprobe: {url}: {failed['error']}"])
        return failed["error"]

    def test_not_found(self):
        self.assertEqual(self.check_fails(f"{Served.root}/absent.mp4"), "no such file on the server")

    def test_refused(self):
        with socket.socket() as unused:
            unused.bind(("127.0.0.1", 0))
            url = f"http://127.0.0.1:{unused.getsockname()[1]}/x.mp4"
            self.assertEqual(self.check_fails(url), "cannot be reached")

    def test_unknown_host(self):
        self.assertEqual(self.check_fails("http://no-such-host.invalid/x.mp4"), "cannot be reached")

    def test_silent_server(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            self.check_fails(f"http://127.0.0.1:{silent.getsockname()[1]}/x.mp4")
            # It was waited for once.
            silent.accept()[0].close()
            silent.settimeout(0)
            with self.assertRaises(BlockingIOError):
                silent.accept()

    def test_server_that_closes(self):
        with socket.create_server(("127.0.0.1", 0)) as closing:
            threading.Thread(target=lambda: closing.accept()[0].close(), daemon=True).start()
            self.check_fails(f"http://127.0.0.1:{closing.getsockname()[1]}/x.mp4")

    def test_page_instead_of_a_file(self):
        self.assertEqual(self.check_fails(f"{Served.root}/README.md"), "not a media file")


if __name__ == "__main__":
    unittest.main()
