"""The tool's options, output forms and exit statuses on real files, as people and scripts use them."""
import csv
import ctypes
import errno
import io
import json
import os
import pathlib
import platform
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import unittest

import picture_bytes
import tool

MP4 = tool.SAMPLES / "upright.mp4"
MP3 = tool.SAMPLES / "song.mp3"
JPEG = min((tool.SAMPLES / "pictures").glob("*.jpg"))
SVG = '<svg xmlns="http://www.w3.org/2000/svg" width="40" height="30" viewBox="0 0 20 15"/>'
FORMS = ("--text", "--json", "--ndjson", "--csv")
STREAM_KINDS = ("video", "audio", "subpicture")
# <sys/prctl.h> and <linux/capability.h>
PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH = 24, 1, 2
# <sys/prctl.h> and <linux/seccomp.h>
PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2


def respect_permissions():
    """What root starts after this may read no more than anybody else."""
    for capability in (CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH):
        ctypes.CDLL(None).prctl(PR_CAPBSET_DROP, capability, 0, 0, 0)


def fail_to_list_folders():
    """What is started after this can open folders, but reading them fails as it does on a broken disk."""
    getdents64 = {"x86_64": 217, "aarch64": 61}[platform.machine()]
    # <linux/filter.h>: load the number of the call, compare it, answer with EIO or let it pass.
    instructions = ((0x20, 0, 0, 0), (0x15, 0, 1, getdents64), (0x06, 0, 0, 0x00050000 | errno.EIO),
                    (0x06, 0, 0, 0x7FFF0000))
    code = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *words) for words in instructions))
    program = ctypes.create_string_buffer(struct.pack("HP", len(instructions), ctypes.addressof(code)))
    libc = ctypes.CDLL(None)
    libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)
    if libc.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, ctypes.byref(program), 0, 0) != 0:
        raise OSError("the kernel has no seccomp filters")


class Folder(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)

    def run_tool(self, *arguments, **others):
        return tool.run(*arguments, folder=self.folder, **others)

    def add(self, *names, source=MP3):
        for name in names:
            path = self.folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, path)

    def assert_refused(self, done, words):
        """Wrong usage: nothing but one line, and status 2."""
        self.assertEqual((done.status, done.output), (2, b""))
        line, = done.complaint_lines()
        self.assertTrue(line.startswith("mediaprobe: "), line)
        self.assertIn(words, line)


class WrongUsage(Folder):
    def test_is_one_line_and_status_2(self):
        for arguments, words in (
                ([], "no input"),
                (["--json"], "no input"),
                (["--bogus", "a.mp4"], "there is no option --bogus"),
                (["-uQ", "a.mp4"], "there is no option -Q"),
                (["--json=no", "a.mp4"], "--json takes no value"),
                (["--jobs", "1", "-j", "2", "a.mp4"], "--jobs is given twice"),
                (["--output", "a", "-o", "a", "a.mp4"], "--output is given twice"),
                (["--json", "--csv", "a.mp4"], "choose one of --text, --json, --ndjson and --csv"),
                (["--text", "--ndjson", "a.mp4"], "choose one of"),
                (["--include", "*.mp4", "a.mp4"], "--include and --exclude go with --recursive"),
                (["--exclude", "*.mp4", "a.mp4"], "--include and --exclude go with --recursive"),
                (["-0", "a.mp4"], "-0 goes with --stdin"),
                (["--stdin", "a.mp4"], "choose one of --stdin and inputs by name"),
                (["--key", "00" * 16, "--key-file", "k", "a.mp4"], "choose one of --key and --key-file"),
                (["--key-file", "missing", "a.mp4"], "missing: No such file or directory"),
                (["--progress", "--no-progress", "a.mp4"], "choose one of"),
                (["--formats", "--services"], "choose one of"),
                (["--service", "audio", "a.mp4"], "--service: 'audio' is none of auto, media, image, svg"),
                (["--isolation", "loose", "a.mp4"], "--isolation: 'loose' is none of none, worker, strict"),
                (["--log-level", "loud", "a.mp4"], "--log-level: 'loud' is none of trace, debug, info, "),
                (["--jobs", "0", "a.mp4"], "--jobs: '0' is not a whole number from 1 to 1024"),
                (["--jobs", "many", "a.mp4"], "--jobs: 'many' is not a whole number from 1 to 1024"),
                (["--jobs", "0x10", "a.mp4"], "--jobs: '0x10' is not a whole number"),
                (["--timeout", "0", "a.mp4"], "--timeout: '0' is not a number from 0.001 to 1000000"),
                (["--timeout", "nan", "a.mp4"], "--timeout: 'nan' is not a number from"),
                (["--timeout", "-NaN", "a.mp4"], "--timeout: '-NaN' is not a number from"),
                (["--memory", "1", "a.mp4"], "--memory: '1' is not a whole number from 16 to 1048576"),
                (["--key", "", "a.mp4"], "--key: the key is empty"),
                (["--output"], "--output needs a value"),
                (["--output", "", "a.mp4"], "--output: the name is empty"),
                (["--bogus\n\x1b[31m", "a.mp4"], "--bogus")):
            with self.subTest(arguments=arguments):
                self.assert_refused(self.run_tool(*arguments), words)

    def test_output_file_that_cannot_be_made(self):
        self.add("a.mp3")
        self.assert_refused(self.run_tool("-o", "missing/list", "a.mp3"),
                            "cannot write missing/list: No such file or directory")
        self.assert_refused(self.run_tool("-o", ".", "a.mp3"), "cannot write .: Is a directory")
        self.assert_refused(self.run_tool("-o", "a.mp3/list", "a.mp3"), "cannot write a.mp3/list: Not a directory")

    def test_output_file_on_a_full_disk(self):
        done = self.run_tool("--json", "-o", "/dev/full", MP4)
        self.assert_refused(done, "cannot write /dev/full: No space left on device")
        self.assertTrue(pathlib.Path("/dev/full").is_char_device())

    def test_output_folder_without_permission(self):
        (self.folder / "closed").mkdir(mode=0o555)
        done = subprocess.run([tool.MEDIAPROBE, "-o", "closed/list", MP4], cwd=self.folder, capture_output=True,
                              preexec_fn=respect_permissions, timeout=tool.HANG_SECONDS)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stderr, b"mediaprobe: cannot write closed/list: Permission denied\n")

    def test_log_file_that_cannot_be_written(self):
        (self.folder / "log").mkdir()
        self.assert_refused(self.run_tool("--log-file", "log", MP4), "cannot write the log file log: Is a directory")
        self.assert_refused(self.run_tool("--log-file", "no/log", MP4),
                            "cannot write the log file no/log: No such file or directory")
        self.assertEqual(os.listdir(self.folder), ["log"])

    def test_files_to_write_that_are_inputs(self):
        self.add("a.mp3", "below/b.mp3")
        (self.folder / "link").symlink_to("a.mp3")
        for option in ("-o", "--log-file"):
            for name, *inputs in (("a.mp3", "a.mp3"), ("link", "below/b.mp3", "./a.mp3"), ("a.mp3", "link"),
                                  ("a.mp3", f"file://{self.folder}/a.mp3")):
                with self.subTest(option=option, name=name, inputs=inputs):
                    self.assert_refused(self.run_tool(option, name, *inputs), f"{name}: it is one of the inputs")
        self.assertEqual((self.folder / "a.mp3").read_bytes(), MP3.read_bytes())
        # In another folder it may be walked over, and what is a device loses nothing.
        self.assertEqual(self.run_tool("-r", "-o", "list", "below").status, 0)
        self.assertEqual(self.run_tool("-r", "-o", "list", ".").status, 0)
        self.assertEqual(self.run_tool("-o", "/dev/null", "/dev/null").status, 1)

    def test_a_key_that_no_file_needs_is_in_nobodys_way(self):
        for key in ("nothex", "0" * 33):
            (self.folder / "key").write_text(key)
            for arguments in (("-k", key), ("--key-file", "key")):
                with self.subTest(arguments=arguments):
                    self.assertEqual(self.run_tool(*arguments, MP4).status, 0)


class Forms(Folder):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        drawing = pathlib.Path(cls.scratch.name) / "drawing \"quoted\", with comma.svg"
        drawing.write_text(SVG)
        cls.inputs = [*map(str, tool.samples()), str(JPEG), str(drawing), "missing\nfile.mp4"]
        cls.records = tool.probe(*cls.inputs, options=["--uuid"]).records()

    def test_ndjson_has_one_record_an_input(self):
        self.assertEqual([record["input"] for record in self.records], self.inputs)
        self.assertEqual({record["service"] for record in self.records}, {"media", "image", "svg"})
        self.assertEqual([record["status"] for record in self.records], ["ok"] * (len(self.inputs) - 1) + ["error"])

    def test_json_is_one_array_of_the_same(self):
        done = self.run_tool("--json", "--uuid", *self.inputs)
        self.assertEqual((done.status, json.loads(done.output)), (1, self.records))

    def test_json_of_nothing_is_an_empty_array(self):
        for form, expected in (("--json", []), ("--ndjson", None), ("--text", None)):
            done = self.run_tool(form, "--stdin")
            self.assertEqual(done.status, 0)
            self.assertEqual(json.loads(done.output) if done.output else None, expected)

    def test_csv_tells_the_same(self):
        done = self.run_tool("--csv", "--uuid", *self.inputs)
        self.assertEqual(done.status, 1)
        header, *rows = csv.reader(io.StringIO(done.output.decode("utf-8"), newline=""), strict=True)
        self.assertEqual({len(row) for row in rows}, {len(header)})
        self.assertEqual([dict(zip(header, row)) for row in rows],
                         [row for record in self.records for row in self.expected_rows(record, header)])

    def expected_rows(self, record, header):
        def cell(value):
            if isinstance(value, list):
                return " ".join(value)
            if isinstance(value, dict):
                return f"{value['num']}/{value['den']}"
            return value if isinstance(value, str) else json.dumps(value)

        metadata = record.get("metadata", {})
        common = {**record, **record.get("location", {})}
        for name, keys in (("title", ("MediaFile_Metedata_Title",)), ("artist", ("MediaFile_Metedata_Artist",)),
                           ("maker", ("MediaFile_Metedata_Maker", "Image_Metedata_CameraMaker")),
                           ("model", ("MediaFile_Metedata_Model", "Image_Metedata_CameraModel"))):
            common.update({name: metadata[key] for key in keys if key in metadata})
        streams = [
            {**stream, "program": program["id"], "kind": kind, "stream_duration": stream.get("duration"),
             "stream_bit_rate": stream.get("bit_rate"), "duration": record.get("duration"),
             "bit_rate": record.get("bit_rate")}
            for program in record.get("programs", []) for kind in STREAM_KINDS for stream in program[kind]]
        if not streams and record["service"] != "media":
            streams = [{"kind": record["service"]}]
        for stream in streams or [{}]:
            merged = {**common, **stream}
            yield {name: "" if merged.get(name) is None else cell(merged[name]) for name in header}

    def test_csv_header_is_there_without_inputs(self):
        done = self.run_tool("--csv", "--stdin")
        self.assertEqual(done.output.count(b"\n"), 1)
        self.assertTrue(done.output.startswith(b"input,service,status,error,"))

    def test_text_tells_of_every_input(self):
        done = self.run_tool("--uuid", *self.inputs)
        self.assertEqual(done.status, 1)
        blocks = done.output.decode("utf-8").split("\n\n")
        self.assertEqual(len(blocks), len(self.inputs))
        for record, block in zip(self.records, blocks):
            with self.subTest(name=record["input"]):
                self.assertTrue(block.startswith(record["input"].replace("\n", "\\n") + ": "), block)
                if record["status"] == "error":
                    self.assertTrue(block.strip().endswith("no such file"))
                    continue
                self.assertIn(record["uuid"], block)
                for stream in tool.streams_of(record).values() if "programs" in record else []:
                    if "sample_rate" in stream:
                        self.assertIn(f"{stream['sample_rate'] / 1000:g} kHz", block)
                    if "width" in stream:
                        self.assertIn(f"{stream['width']}x{stream['height']}", block)
                if record["service"] != "media":
                    self.assertIn(f"{record['width']}x{record['height']}", block)

    def test_text_names_the_format_of_an_image_as_the_list_of_formats_does(self):
        pixels = picture_bytes.bmp(8, 8)[14:]
        known = {row[2] for row in (line.split("\t") for line in self.run_tool("--formats").output.decode().splitlines())}
        for name, content, shown in (
                ("a.ico", picture_bytes.ico(pixels), "Windows icon or cursor"),
                ("a.cur", picture_bytes.ico(picture_bytes.png(8, 8)), "Windows icon or cursor"),
                ("a.jp2", picture_bytes.jp2(8, 8), "JPEG 2000"),
                ("a.j2c", picture_bytes.j2c(8, 8), "JPEG 2000 codestream"),
                ("a.dds", picture_bytes.dds(8, 8), "DirectDraw Surface"),
                ("a.qoi", picture_bytes.qoi(8, 8), "Quite OK Image"),
                ("a.tga", picture_bytes.tga(8, 8), "Truevision TGA"),
                ("a.hdr", picture_bytes.hdr(8, 8), "Radiance HDR"),
                ("a.ppm", picture_bytes.ppm(8, 8), "Netpbm")):
            with self.subTest(name=name):
                (self.folder / name).write_bytes(content)
                self.assertTrue(self.run_tool(name).output.decode().startswith(f"{name}: {shown}, "), name)
                self.assertIn(shown.removesuffix(" or cursor"), known)

    def test_full_text_tells_every_key(self):
        record = tool.record_of(MP4)
        done = self.run_tool("--full", MP4)
        self.assertGreater(len(record["metadata"]), 0)
        for key in record["metadata"]:
            self.assertIn(key, done.output.decode())
            self.assertNotIn(key, self.run_tool(MP4).output.decode())

    def test_failures_are_told_on_standard_error_in_every_form(self):
        for form in FORMS:
            with self.subTest(form=form):
                done = self.run_tool(form, "missing.mp4", MP4)
                self.assertEqual(done.status, 1)
                self.assertEqual(done.complaints, b"mediaprobe: missing.mp4: no such file\n")
                self.assertIn(b"upright.mp4", done.output)

    def test_locale_changes_nothing(self):
        self.add("\u00fcml\u00e4ut \u65e5\u672c.mp3")
        for form in FORMS:
            outputs = {self.run_tool(form, "\u00fcml\u00e4ut \u65e5\u672c.mp3", environment={"LC_ALL": locale}).output
                       for locale in ("C", "C.UTF-8", "POSIX", "de_DE.UTF-8", "")}
            self.assertEqual(len(outputs), 1)
            self.assertIn("\u00fcml\u00e4ut \u65e5\u672c.mp3", outputs.pop().decode("utf-8"))


def mp3_with_texts(**texts):
    """The sample with these ID3v2.4 frames instead of its own (ID3v2.4 structure, sections 3.1, 4 and 6.2)."""
    def size(number):
        return bytes(number >> shift & 0x7F for shift in (21, 14, 7, 0))

    sample = MP3.read_bytes()
    sound = sample[10 + sum(byte << shift for byte, shift in zip(sample[6:10], (21, 14, 7, 0))):]
    frames = b"".join(name.encode() + size(len(text) + 1) + b"\0\0\x03" + text for name, text in texts.items())
    return b"ID3\4\0\0" + size(len(frames)) + frames + sound


class LongRecords(Folder):
    MOST = 4 << 20

    def test_are_cut_and_say_so(self):
        long = "h\u00e4".encode() * 300_000
        cases = {"many": mp3_with_texts(TIT2=long, TPE1=long, TALB=long, TCON=long, TPUB=long, TPE2=long),
                 # JSON writes each of them in six bytes.
                 "controls": mp3_with_texts(TIT2=b"\1" * 1_000_000)}
        for name, content in cases.items():
            (self.folder / name).write_bytes(content)
            for form in ("--ndjson", "--json"):
                with self.subTest(name=name, form=form):
                    done = self.run_tool(form, name)
                    self.assertLessEqual(len(done.output), self.MOST)
                    record = json.loads(done.output)
                    record = record if form == "--ndjson" else record[0]
                    self.assertIs(record["truncated"], True)
                    # Cut no further than need be, and nowhere inside a character.
                    self.assertGreater(len(done.output), self.MOST // 4)
                    self.assertNotIn("\ufffd", record["metadata"]["MediaFile_Metedata_Title"])
            for form in ("--text", "--csv"):
                done = self.run_tool(form, name)
                self.assertEqual(done.status, 0)
                self.assertLessEqual(len(done.output), self.MOST)

    def test_below_that_are_whole(self):
        (self.folder / "a.mp3").write_bytes(mp3_with_texts(TIT2=b"x" * 900_000))
        record = tool.record_of(self.folder / "a.mp3")
        self.assertNotIn("truncated", record)
        self.assertEqual(len(record["metadata"]["MediaFile_Metedata_Title"]), 900_000)


class OutputFile(Folder):
    def test_holds_the_whole_output_of_each_form(self):
        for form in FORMS:
            with self.subTest(form=form):
                done = self.run_tool(form, "-o", "list", MP4, MP3)
                self.assertEqual((done.status, done.output, done.complaints), (0, b"", b""))
                self.assertEqual((self.folder / "list").read_bytes(), self.run_tool(form, MP4, MP3).output)
                self.assertEqual(os.listdir(self.folder), ["list"])

    def test_failed_inputs_are_in_it(self):
        done = self.run_tool("--json", "--output=list", "missing.mp4")
        self.assertEqual(done.status, 1)
        self.assertEqual(json.loads((self.folder / "list").read_bytes())[0]["error"], "no such file")

    def test_dash_is_a_name(self):
        self.assertEqual(self.run_tool("--json", "-o", "-", MP4).status, 0)
        self.assertEqual(os.listdir(self.folder), ["-"])
        self.add("-")
        self.assertEqual(self.run_tool("-").output.partition(b":")[0], b"-")

    def test_standard_output_can_be_named(self):
        with open(self.folder / "list", "wb") as file:
            done = subprocess.run([tool.MEDIAPROBE, "--json", "-o", "/dev/stdout", MP4], stdout=file,
                                  timeout=tool.HANG_SECONDS)
        self.assertEqual(done.returncode, 0)
        self.assertTrue(pathlib.Path("/dev/stdout").is_symlink())
        self.assertEqual(len(json.loads((self.folder / "list").read_bytes())), 1)


class StandardOutput(Folder):
    def run_shell(self, command):
        return subprocess.run(["sh", "-c", command], cwd=self.folder, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=tool.HANG_SECONDS)

    def test_full_disk_is_told(self):
        for arguments in (str(MP4), "--formats", "--services", "--help", "--version"):
            with self.subTest(arguments=arguments):
                done = self.run_shell(f"'{tool.MEDIAPROBE}' {arguments} > /dev/full")
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stderr, "mediaprobe: cannot write the output: No space left on device\n")

    def test_closed_output_is_told(self):
        for arguments in (f"--json '{MP4}'", "--formats"):
            done = self.run_shell(f"'{tool.MEDIAPROBE}' {arguments} >&-")
            self.assertEqual(done.returncode, 1)
            self.assertEqual(done.stderr, "mediaprobe: cannot write the output: Bad file descriptor\n")

    def test_closed_standard_error_spoils_nothing(self):
        done = self.run_shell(f"'{tool.MEDIAPROBE}' --ndjson missing.mp4 '{MP4}' 2>&-")
        self.assertEqual(done.returncode, 1)
        self.assertEqual([json.loads(line)["status"] for line in done.stdout.splitlines()], ["error", "ok"])

    def test_reader_that_leaves_ends_the_run_quietly(self):
        names = " ".join(f"'{MP4}'" for _ in range(300))
        for form in FORMS:
            for ignore in ("", "trap '' PIPE; "):
                with self.subTest(form=form, ignore=ignore):
                    done = self.run_shell(f"({ignore}'{tool.MEDIAPROBE}' {form} {names}) | head -c 10")
                    self.assertEqual((len(done.stdout), done.stderr), (10, ""))


    def test_reader_that_leaves_is_told_by_the_status(self):
        # What Python ignores itself it hands on, unless it is told to restore the signals.
        for restores, status in ((True, -signal.SIGPIPE), (False, 1)):
            with self.subTest(restores=restores):
                process = subprocess.Popen([tool.MEDIAPROBE, "--ndjson", *[MP4] * 40], stdout=subprocess.PIPE,
                                           restore_signals=restores)
                process.stdout.close()
                self.assertEqual(process.wait(tool.HANG_SECONDS), status)


class Choices(Folder):
    def test_service(self):
        done = tool.probe(MP4, options=["--service", "image"])
        self.assertEqual((done.status, done.records()[0]["service"]), (1, "image"))
        self.assertEqual(tool.record_of(JPEG, options=["--service", "image"])["service"], "image")
        self.assertEqual(tool.record_of(MP4, options=["--service", "media"])["service"], "media")

    def test_uuid(self):
        self.assertNotIn("uuid", tool.record_of(MP4))
        for option in ("-u", "--uuid"):
            self.assertRegex(tool.record_of(MP4, options=[option])["uuid"], "^[0-9a-f]{32}$")

    def test_timeout(self):
        self.assertEqual(tool.probe(MP4, options=["--timeout", "60"]).status, 0)
        # What is connected to this port waits for an answer.
        with socket.create_server(("127.0.0.1", 0)) as silent:
            done = tool.probe(f"http://127.0.0.1:{silent.getsockname()[1]}/a.mp4", options=["--timeout", "0.5"])
        self.assertEqual((done.status, done.records()[0]["error"]), (1, "takes longer than 0.5 s"))

    def test_isolation_and_jobs_change_no_byte(self):
        inputs = [*tool.samples(), "missing.mp4", JPEG] * 3
        for form in FORMS:
            expected = self.run_tool(form, "--isolation", "none", *inputs)
            for options in (["--isolation", "worker"], ["-j", "1"], ["-j", "8"], ["--jobs", "64"], ["--memory", "4096"]):
                with self.subTest(form=form, options=options):
                    done = self.run_tool(form, *options, *inputs)
                    self.assertEqual((done.status, done.complaints), (1, expected.complaints))
                    self.assertEqual(done.output, expected.output)

    def test_strict_isolation_changes_no_byte(self):
        """Or says that the kernel lacks what it takes."""
        inputs = [*tool.samples(), "missing.mp4", JPEG]
        expected = self.run_tool("--ndjson", "--uuid", *inputs)
        done = self.run_tool("--ndjson", "--uuid", "--isolation", "strict", *inputs)
        if done.status == 2:
            self.assertEqual(done.complaints, b"mediaprobe: --isolation strict needs a kernel with Landlock\n")
        else:
            self.assertEqual((done.status, done.output, done.complaints), (1, expected.output, expected.complaints))

    def test_memory(self):
        """As little as may be asked for is enough for small files, and what it is too little for is a failed record."""
        done = tool.probe(*tool.samples(), options=["--memory", "16"])
        self.assertEqual([record["input"] for record in done.records()], list(map(str, tool.samples())))
        self.assertIn("ok", {record["status"] for record in done.records()})

    def test_log(self):
        self.assertEqual(self.run_tool(MP4).complaints, b"")
        loud = self.run_tool("--log-level", "trace", "missing.mp4", MP4)
        self.assertGreater(len(loud.complaint_lines()), 1)
        filed = self.run_tool("--log-level", "trace", "--log-file", "log", "missing.mp4", MP4)
        self.assertEqual(filed.complaints, b"mediaprobe: missing.mp4: no such file\n")
        self.assertGreater((self.folder / "log").stat().st_size, 0)
        self.assertEqual(filed.output, self.run_tool("missing.mp4", MP4).output)

    def test_progress_is_asked_for_or_silent(self):
        self.assertEqual(self.run_tool("--no-progress", MP4).complaints, b"")
        done = self.run_tool("--ndjson", "--progress", MP4)
        self.assertEqual(done.output, self.run_tool("--ndjson", MP4).output)

    def test_formats(self):
        done = self.run_tool("--formats")
        self.assertEqual((done.status, done.complaints), (0, b""))
        rows = [line.split("\t") for line in done.output.decode().splitlines()]
        self.assertEqual({row[0] for row in rows}, {"media", "image", "svg"})
        self.assertEqual({len(row) for row in rows}, {3})
        self.assertEqual(len({tuple(row) for row in rows}), len(rows))
        # What shares a short name, or the first bytes, with another one is named all the same.
        for row in (["image", "tiff", "Tagged Image File Format"], ["image", "tiff", "BigTIFF"],
                    ["image", "dng", "Digital Negative"], ["image", "nef", "Nikon raw image"],
                    ["media", "mpc", "Musepack SV7"], ["media", "mpc", "Musepack SV8"]):
            self.assertIn(row, rows)
        short_names = {row[1] for row in rows}
        for path in tool.samples():
            self.assertIn(tool.record_of(path)["format"], short_names)

    def test_services(self):
        done = self.run_tool("--services")
        self.assertEqual((done.status, done.complaints), (0, b""))
        uuid = re.compile("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}  ")
        lines = done.output.decode().splitlines()
        self.assertTrue(all(uuid.match(line) for line in lines), lines)
        self.assertGreaterEqual(len(lines), 4)

    def test_help_and_version(self):
        for option in ("-h", "--help"):
            done = self.run_tool(option)
            self.assertEqual((done.status, done.complaints), (0, b""))
            self.assertIn(b"--isolation", done.output)
        self.assertRegex(self.run_tool("--version").output.decode(), r"^mediaprobe \d+\.\d+\.\d+\n$")


class Folders(Folder):
    def names_found(self, *options, status=0):
        done = tool.probe(".", folder=self.folder, options=["-r", *options])
        self.assertEqual(done.status, status, done.complaints)
        return [record["input"] for record in done.records()]

    def test_are_refused_without_r(self):
        done = tool.probe(".", folder=self.folder)
        self.assertEqual((done.status, done.records()[0]["error"]), (1, "is a folder"))

    def test_are_walked_in_the_order_of_names(self):
        self.add("b.mp3", "a/z.mp3", "a/b/c.mp3", "c.mp3", "B.mp3", ".hidden/d.mp3", "a.mp3")
        self.add("picture.dat", source=JPEG)
        (self.folder / "drawing.txt").write_text(SVG)
        (self.folder / "notes.mp3").write_text("no sound at all")
        (self.folder / "empty.mp3").touch()
        self.assertEqual(self.names_found(), [
            "./.hidden/d.mp3", "./B.mp3", "./a/b/c.mp3", "./a/z.mp3", "./a.mp3", "./b.mp3", "./c.mp3", "./drawing.txt",
            "./picture.dat"])

    def test_forced_service_takes_its_files(self):
        self.add("a.mp3")
        self.add("b.jpg", source=JPEG)
        (self.folder / "c.svg").write_text(SVG)
        for service, name in (("media", "./a.mp3"), ("image", "./b.jpg"), ("svg", "./c.svg")):
            self.assertEqual(self.names_found("--service", service), [name])

    def test_damaged_media_files_are_told(self):
        (self.folder / "cut.mp4").write_bytes(MP4.read_bytes()[:300])
        self.add("good.mp3")
        self.assertEqual(self.names_found(status=1), ["./cut.mp4", "./good.mp3"])

    def test_patterns(self):
        self.add("a.mp3", "b.mp3", "a.dat", "in/a.mp3", "in/b.mp3", "out/a.mp3")
        self.assertEqual(self.names_found("--include", "*.mp3", "--exclude", "b.*", "--exclude", "out"),
                         ["./a.mp3", "./in/a.mp3"])
        self.assertEqual(self.names_found("--include", "in/*"), ["./in/a.mp3", "./in/b.mp3"])
        self.assertEqual(self.names_found("--include", "[ab].dat"), ["./a.dat"])
        self.assertEqual(self.names_found("--exclude", "*"), [])

    def test_links(self):
        self.add("real.mp3", "below/deep.mp3")
        (self.folder / "link.mp3").symlink_to("real.mp3")
        (self.folder / "below" / "loop").symlink_to("..")
        (self.folder / "dangling.mp3").symlink_to("nowhere")
        (self.folder / "self.mp3").symlink_to("self.mp3")
        os.mkfifo(self.folder / "pipe.mp3")
        self.assertEqual(self.names_found(), ["./below/deep.mp3", "./link.mp3", "./real.mp3"])
        # A link that the user names is followed.
        done = tool.probe("below/loop", folder=self.folder, options=["-r", "--include", "deep*"])
        self.assertEqual([record["input"] for record in done.records()], ["below/loop/below/deep.mp3"])

    def test_folder_without_permission_is_a_failure_among_the_others(self):
        self.add("a.mp3", "closed/b.mp3", "d.mp3")
        (self.folder / "closed").chmod(0)
        self.addCleanup((self.folder / "closed").chmod, 0o755)
        done = subprocess.run([tool.MEDIAPROBE, "-r", "--ndjson", "."], cwd=self.folder, capture_output=True,
                              preexec_fn=respect_permissions, timeout=tool.HANG_SECONDS)
        self.assertEqual(done.returncode, 1)
        records = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([(record["input"], record.get("error")) for record in records],
                         [("./a.mp3", None), ("./closed", "no permission"), ("./d.mp3", None)])

    def test_folder_without_permission_is_told_as_it_was_given(self):
        (self.folder / "closed").mkdir(mode=0)
        for name in ("closed", "closed/", f"{self.folder}/closed"):
            done = subprocess.run([tool.MEDIAPROBE, "-r", "--ndjson", name], cwd=self.folder, capture_output=True,
                                  preexec_fn=respect_permissions, timeout=tool.HANG_SECONDS)
            record = json.loads(done.stdout)
            self.assertEqual((done.returncode, record["input"], record["error"]), (1, name, "no permission"))

    def test_folder_that_fails_while_it_is_read_is_told(self):
        self.add("folder/a.mp3", "b.mp3")
        # A sanitizer that looks for leaks lists folders, too.
        environment = {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}
        for isolation in ("none", "worker", "strict"):
            with self.subTest(isolation=isolation):
                done = subprocess.run(
                    [tool.MEDIAPROBE, "-r", "--ndjson", "--allow-unsandboxed", "--isolation", isolation, "folder",
                     "b.mp3"], cwd=self.folder, env=environment, capture_output=True,
                    preexec_fn=fail_to_list_folders, timeout=tool.HANG_SECONDS)
                self.assertEqual((done.returncode, done.stderr), (1, b"mediaprobe: folder: Input/output error\n"))
                records = [json.loads(line) for line in done.stdout.splitlines()]
                self.assertEqual([(record["input"], record.get("error")) for record in records],
                                 [("folder", "Input/output error"), ("b.mp3", None)])

    def test_files_and_folders_mix(self):
        self.add("one/a.mp3", "b.mp3", "two/c.mp3")
        done = tool.probe("two", "b.mp3", "one/", "missing", folder=self.folder, options=["--recursive"])
        self.assertEqual([record["input"] for record in done.records()], ["two/c.mp3", "b.mp3", "one/a.mp3", "missing"])
        self.assertEqual(done.status, 1)


if __name__ == "__main__":
    unittest.main()
