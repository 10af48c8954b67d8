"""Runs over many inputs: names from standard input, order, memory, the processes behind the tool, interrupts."""
import fcntl
import json
import os
import pathlib
import random
import select
import selectors
import shutil
import signal
import struct
import subprocess
import termios
import threading
import time
import unittest

import tool

MP3 = tool.SAMPLES / "song.mp3"
MP4 = tool.SAMPLES / "upright.mp4"
STRANGE_NAMES = [b"two\nlines.mp3", b"'quotes\".mp3", b"back\\slash.mp3", b"invalid \xff\xc3(.mp3", b" blanks ", b"tab\t.mp3",
                 b"\xe6\x97\xa5\xe6\x9c\xac.mp3", b"-u", b"--help", b"[x].mp3", b"cr\r.mp3"]


def shown(name):
    """A name as records show it."""
    return name.decode("utf-8", "replace")


class Runs(tool.ScratchTest):
    def read_line(self, stream):
        """The next line of an unbuffered stream, which has to come without more being given."""
        line = b""
        with selectors.DefaultSelector() as selector:
            selector.register(stream, selectors.EVENT_READ)
            while not line.endswith(b"\n"):
                self.assertTrue(selector.select(tool.HANG_SECONDS), line)
                piece = stream.read(1)
                self.assertTrue(piece, line)
                line += piece
        return line


class StandardInput(Runs):
    def probe(self, text, *options):
        return tool.run("--stdin", "--ndjson", *options, folder=self.folder, standard_input=text)

    def add(self, *names):
        for name in names:
            shutil.copy(MP3, os.fsencode(self.folder) + b"/" + name)

    def test_lines(self):
        self.add(b"a.mp3", b"b c.mp3")
        for text in (b"a.mp3\nb c.mp3\nmissing\n", b"a.mp3\n\nb c.mp3\nmissing"):
            done = self.probe(text)
            self.assertEqual(done.status, 1)
            self.assertEqual([(record["input"], record["status"]) for record in done.records()],
                             [("a.mp3", "ok"), ("b c.mp3", "ok"), ("missing", "error")])

    def test_nothing(self):
        for text in (b"", b"\n", b"\n\n\n"):
            done = self.probe(text)
            self.assertEqual((done.status, done.output, done.complaints), (0, b"", b""))

    def test_strange_names(self):
        self.add(*STRANGE_NAMES)
        done = self.probe(b"\0".join(STRANGE_NAMES), "-0")
        self.assertEqual((done.status, done.complaints), (0, b""))
        self.assertEqual([record["input"] for record in done.records()], list(map(shown, STRANGE_NAMES)))
        lines = [name for name in STRANGE_NAMES if b"\n" not in name]
        self.assertEqual(self.probe(b"\n".join(lines) + b"\n").records(),
                         [record for record in done.records() if "\n" not in record["input"]])

    def test_strange_names_that_are_missing_are_a_line_each(self):
        done = self.probe(b"\0".join(STRANGE_NAMES), "-0")
        self.assertEqual(done.status, 1)
        self.assertEqual([record["error"] for record in done.records()], ["no such file"] * len(STRANGE_NAMES))
        self.assertEqual(len(done.complaint_lines()), len(STRANGE_NAMES))
        self.assertFalse(set(done.complaints) & set(range(32)) - {ord("\n")})

    def test_strange_names_in_a_folder(self):
        self.add(*STRANGE_NAMES)
        done = tool.run("-r", "--ndjson", b".", folder=self.folder)
        self.assertEqual([record["input"] for record in done.records()],
                         [f"./{shown(name)}" for name in sorted(STRANGE_NAMES)])

    def test_folders_are_walked_with_r(self):
        (self.folder / "below").mkdir()
        self.add(b"a.mp3", b"below/b.mp3", b"below/c.dat")
        done = self.probe(b"below\na.mp3\n", "-r", "--include", "*.mp3")
        self.assertEqual((done.status, [record["input"] for record in done.records()]), (0, ["below/b.mp3", "a.mp3"]))
        self.assertEqual(self.probe(b"below\n").records()[0]["error"], "is a folder")

    def test_long_name_is_a_failed_record(self):
        self.add(b"a.mp3")
        for length, reason in ((20_000, b"File name too long"), (200_000, b"the name is too long")):
            done = self.probe(b"n" * length + b"\na.mp3\n")
            self.assertEqual([record["status"] for record in done.records()], ["error", "ok"])
            self.assertEqual(done.records()[0]["input"], "n" * length)
            self.assertRegex(done.complaints, b"^mediaprobe: n{8192}[.]{3}: " + reason + b"\n$")

    def test_line_with_a_nul_is_a_failed_record(self):
        """As where `find -print0` meets a tool without -0."""
        self.add(b"a.mp3", b"b.mp3")
        for isolation in ("none", "worker"):
            for options in ((), ("-r",)):
                with self.subTest(isolation=isolation, options=options):
                    done = self.probe(b"./a.mp3\0./b.mp3\0.\0\n./b.mp3\n", "--isolation", isolation, *options)
                    self.assertEqual(done.status, 1)
                    self.assertEqual([(record["input"], record.get("error")) for record in done.records()],
                                     [("./a.mp3\0", "the name holds a NUL (is -0 missing?)"), ("./b.mp3", None)])
                    self.assertEqual(done.complaints,
                                     b"mediaprobe: ./a.mp3\\x00: the name holds a NUL (is -0 missing?)\n")

    def test_that_cannot_be_read_is_told(self):
        folder = os.open("/", os.O_RDONLY)
        self.addCleanup(os.close, folder)
        done = subprocess.run([tool.MEDIAPROBE, "--stdin", "--json"], stdin=folder, capture_output=True,
                              timeout=tool.HANG_SECONDS)
        self.assertEqual((done.returncode, json.loads(done.stdout)), (1, []))
        self.assertEqual(done.stderr, b"mediaprobe: cannot read standard input: Is a directory\n")

    def test_records_come_while_it_is_open(self):
        for isolation in ("none", "worker"):
            with self.subTest(isolation=isolation):
                process = self.start("--stdin", "--ndjson", "--isolation", isolation, stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, bufsize=0)
                for path in (MP3, MP4):
                    process.stdin.write(os.fsencode(path) + b"\n")
                    self.assertEqual(json.loads(self.read_line(process.stdout))["input"], str(path))
                process.stdin.close()
                self.assertEqual(process.wait(tool.HANG_SECONDS), 0)

    def test_interrupt_while_it_is_open(self):
        for form, end in (("--json", b"]"), ("--ndjson", b"")):
            for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
                with self.subTest(form=form, number=number):
                    process = self.start("--stdin", form, stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)
                    process.stdin.write(os.fsencode(MP3) + b"\n")
                    first = self.read_line(process.stdout)
                    time.sleep(0.3)
                    process.send_signal(number)
                    self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                    output = first + process.stdout.read()
                    records = json.loads(output) if form == "--json" else [json.loads(output)]
                    self.assertEqual([record["input"] for record in records], [str(MP3)])
                    self.assertTrue(output.strip().endswith(end))

    def test_interrupt_while_a_walk_finds_nothing(self):
        (self.folder / "empty").mkdir()
        for isolation in ("none", "worker"):
            with self.subTest(isolation=isolation):
                names = subprocess.Popen(["yes", "empty"], stdout=subprocess.PIPE)
                self.addCleanup(names.wait)
                self.addCleanup(names.kill)
                process = self.start("-r", "--json", "--stdin", "--isolation", isolation, stdin=names.stdout,
                                     stdout=subprocess.PIPE)
                names.stdout.close()
                time.sleep(0.5)
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                self.assertEqual(json.loads(process.stdout.read()), [])

    def test_second_interrupt_ends_a_tool_whose_output_nobody_reads(self):
        for first, second in ((signal.SIGINT, signal.SIGTERM), (signal.SIGTERM, signal.SIGHUP)):
            with self.subTest(first=first, second=second):
                process = self.start("--ndjson", *[MP4] * 1000, stdout=subprocess.PIPE)
                self.assertTrue(self.wait_for(lambda: self.is_full(process.stdout)))
                for number in (first, second):
                    time.sleep(0.3)
                    process.send_signal(number)
                self.assertEqual(process.wait(tool.HANG_SECONDS), -second)

    def test_one_interrupt_ends_a_tool_whose_reader_has_stopped(self):
        for isolation in ("none", "worker", "strict"):
            with self.subTest(isolation=isolation):
                process = self.start("--ndjson", "--isolation", isolation, *[MP4] * 1000, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE)
                self.assertTrue(self.wait_for(lambda: self.is_full(process.stdout)))
                process.send_signal(signal.SIGTERM)
                self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                self.assertEqual(process.stderr.read(), b"")

    @staticmethod
    def is_full(pipe):
        """Whether its writer waits for the reader."""
        unread = struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)))[0]
        return unread >= fcntl.fcntl(pipe, fcntl.F_GETPIPE_SZ) - select.PIPE_BUF

    def test_interrupt_leaves_no_output_file(self):
        for number in (signal.SIGTERM, signal.SIGQUIT):
            with self.subTest(number=number):
                process = self.start("--stdin", "--json", "-o", "list", stdin=subprocess.PIPE)
                process.stdin.write(os.fsencode(MP3) + b"\n")
                process.stdin.flush()
                self.assertTrue(self.wait_for(lambda: os.listdir(self.folder)))
                process.send_signal(number)
                self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                self.assertEqual(os.listdir(self.folder), [])

    def test_interrupt_while_nobody_reads_the_output(self):
        os.mkfifo(self.folder / "fifo")
        process = self.start("-o", "fifo", MP3, stderr=subprocess.PIPE)
        time.sleep(0.5)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
        self.assertEqual(process.stderr.read(), b"")

    def test_output_file_is_whole_where_nobody_reads_the_complaints(self):
        process = self.start("--stdin", "--ndjson", "-o", "list", stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stderr.close()
        process.communicate(b"missing\n" + os.fsencode(MP3) + b"\n", tool.HANG_SECONDS)
        self.assertEqual(process.returncode, 1)
        self.assertEqual(os.listdir(self.folder), ["list"])
        records = [json.loads(line) for line in (self.folder / "list").read_bytes().splitlines()]
        self.assertEqual([record["input"] for record in records], ["missing", str(MP3)])

    def wait_for(self, condition):
        end = time.monotonic() + tool.HANG_SECONDS
        while not condition() and time.monotonic() < end:
            time.sleep(0.01)
        return condition()


class ProgressLine(Runs):
    """What stands on standard error while a run takes long: draws, each on a fresh line, and wipes."""
    FRESH_LINE = b"\r\x1b[K"
    NAMES = 5

    def written_by(self, *arguments, name, pause=0.0, output=subprocess.DEVNULL):
        """Standard error of a run whose inputs come once the line is there."""
        process = self.start("--stdin", "--progress", *arguments, stdin=subprocess.PIPE, stdout=output,
                             stderr=subprocess.PIPE, bufsize=0)
        written = b""
        while self.FRESH_LINE not in written:
            piece = process.stderr.read(1)
            self.assertTrue(piece, written)
            written += piece
        for _ in range(self.NAMES):
            process.stdin.write(os.fsencode(name) + b"\n")
            time.sleep(pause)
        process.stdin.close()
        written += process.stderr.read()
        process.wait(tool.HANG_SECONDS)
        return written

    def test_stays_while_records_go_elsewhere(self):
        for output in ([], ["-o", "list"]):
            with self.subTest(output=output):
                written = self.written_by("--ndjson", *output, name=MP3, pause=0.3)
                first, *lines = written.split(self.FRESH_LINE)
                self.assertEqual(first, b"")
                self.assertGreater(len(lines), self.NAMES)
                # Only the last one is a wipe.
                self.assertEqual([bool(line) for line in lines], [True] * (len(lines) - 1) + [False])

    def test_is_back_behind_each_complaint(self):
        written = self.written_by("--ndjson", name="missing.mp4")
        complaint = b"mediaprobe: missing.mp4: no such file\n"
        self.assertEqual(written.count(self.FRESH_LINE + complaint + self.FRESH_LINE), self.NAMES)
        self.assertTrue(all(part[:1].isdigit() for part in written.split(complaint + self.FRESH_LINE)[1:]), written)

    def on_terminal(self, *arguments):
        """Standard error of a run with its output on a terminal, and that output."""
        with tool.terminal() as (terminal, output):
            written = self.written_by(*arguments, name=MP3, output=terminal)
        return written, bytes(output)

    def test_is_back_behind_each_record_on_a_terminal(self):
        written, output = self.on_terminal("--ndjson")
        self.assertEqual(output.count(b"\r\n"), self.NAMES)
        self.assertGreaterEqual(written.count(self.FRESH_LINE + self.FRESH_LINE), self.NAMES)

    def test_takes_no_line_of_an_array_on_a_terminal(self):
        # The comma behind a record comes with the next one.
        written, output = self.on_terminal("--json")
        self.assertEqual(len(json.loads(output)), self.NAMES)
        self.assertEqual(written.count(self.FRESH_LINE + b"\n"), self.NAMES)


class Pipe(Runs):
    def test_that_does_not_wait_gets_all(self):
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        process = self.start("--ndjson", *[MP4] * 300, stdout=writer, stderr=subprocess.PIPE)
        os.close(writer)
        time.sleep(0.5)
        with open(reader, "rb") as stream:
            records = [json.loads(line) for line in stream]
        self.assertEqual((process.wait(tool.HANG_SECONDS), process.stderr.read()), (0, b""))
        self.assertEqual([record["status"] for record in records], ["ok"] * 300)


class Many(Runs):
    def peak_of(self, count):
        """Most memory, in KiB, that the tool has taken when it has answered `count` names."""
        # A sanitizer keeps what is freed for a while, of which none is the tool's own memory.
        keep_nothing = ":quarantine_size_mb=0:thread_local_quarantine_size_kb=0"
        environment = {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + keep_nothing}
        process = self.start("--stdin", "--ndjson", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, env=environment)

        def feed():
            for i in range(count):
                process.stdin.write(b"/no/such/folder/file_%09d.mp4\n" % i)
            process.stdin.flush()

        feeder = threading.Thread(target=feed)
        feeder.start()
        for i in range(count):
            line = process.stdout.readline()
            self.assertIn(b"file_%09d.mp4" % i, line)
        feeder.join()
        status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
        process.stdin.close()
        self.assertEqual(process.wait(tool.HANG_SECONDS), 1)
        peak, = (int(line.split()[1]) for line in status.splitlines() if line.startswith("VmHWM:"))
        return peak

    def test_names_take_no_memory(self):
        few, many = self.peak_of(2_000), self.peak_of(50_000)
        self.assertLess(many, 100_000)
        # 48,000 names of 35 bytes alone, were they kept, would be 1.6 MB.
        self.assertLess(many - few, 1_000)

    def test_order_is_that_of_the_inputs(self):
        sizes = random.Random(3)
        names = []
        for i in range(200):
            source = sizes.choice(tool.samples())
            names.append(f"{i}{source.suffix}" if i % 7 else f"missing_{i}")
            if i % 7:
                (self.folder / names[-1]).symlink_to(source)
        outputs = set()
        for jobs in ("1", "2", "8"):
            done = tool.probe(*names, folder=self.folder, options=["-j", jobs])
            self.assertEqual([record["input"] for record in done.records()], names)
            outputs.add(done.output)
        self.assertEqual(len(outputs), 1)

    def test_stopped_tool_goes_on(self):
        process = self.start("--stdin", "--ndjson", "--timeout", "3", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             bufsize=0)
        process.send_signal(signal.SIGSTOP)
        process.stdin.write((os.fsencode(MP4) + b"\n") * 100)
        process.stdin.close()
        time.sleep(0.1)
        process.send_signal(signal.SIGCONT)
        self.read_line(process.stdout)
        process.send_signal(signal.SIGSTOP)
        time.sleep(3.5)
        process.send_signal(signal.SIGCONT)
        records = [json.loads(line) for line in process.stdout.read().splitlines()]
        self.assertEqual([record["status"] for record in records], ["ok"] * 99)


if __name__ == "__main__":
    unittest.main()
