"""Runs the built tool as a user does."""
import contextlib
import json
import os
import pathlib
import signal
import subprocess
import tempfile
import threading
import unittest

# The command under test; the build sets it.
MEDIAPROBE = os.environ["MEDIAPROBE"]
# Far longer than any answer takes, also under a sanitizer: a test that reaches it has found a hang.
HANG_SECONDS = 60
# Shells start what runs in the background with this signal ignored, which the tool would inherit and respect.
signal.signal(signal.SIGINT, signal.default_int_handler)
SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"


@contextlib.contextmanager
def terminal():
    """A terminal's descriptor, and what has been written there, which is all of it once this has ended."""
    reader, descriptor = os.openpty()
    shown = bytearray()

    def drain():
        with contextlib.suppress(OSError):
            while piece := os.read(reader, 4096):
                shown.extend(piece)

    drainer = threading.Thread(target=drain)
    drainer.start()
    try:
        yield descriptor, shown
    finally:
        os.close(descriptor)
        drainer.join()
        os.close(reader)


def samples():
    """Paths of the sample files, in the order of their names."""
    return sorted(path for path in SAMPLES.iterdir() if path.suffix not in ("", ".md"))


class Run:
    """One finished run: exit status, bytes of both outputs."""

    def __init__(self, status, output, complaints):
        self.status = status
        self.output = output
        self.complaints = complaints

    def records(self):
        """The records of an --ndjson run. Every line has to be one, in valid UTF-8."""
        return [json.loads(line) for line in self.output.decode("utf-8").splitlines()]

    def complaint_lines(self):
        return self.complaints.decode("utf-8").splitlines()


def run(*arguments, folder=None, environment=None, timeout=HANG_SECONDS, standard_input=b""):
    """Runs the tool with `arguments` (texts, or bytes for names that are no UTF-8)."""
    finished = subprocess.run(
        [MEDIAPROBE, *arguments], cwd=folder, env={**os.environ, **(environment or {})}, input=standard_input,
        capture_output=True, timeout=timeout)
    return Run(finished.returncode, finished.stdout, finished.stderr)


def run_with_peak(*arguments, folder=None):
    """Runs the tool; also the bytes of memory that it had at its peak."""
    # A sanitizer's record of freed memory is not the tool's own.
    environment = {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=8"}
    # By GNU time: the peak that waiting for a child tells starts with the memory of who forked it, here Python's.
    done = subprocess.run(["/usr/bin/time", "-q", "-f", "%M", MEDIAPROBE, *arguments], cwd=folder, env=environment,
                          capture_output=True, timeout=HANG_SECONDS)
    *complaints, peak_kilobytes = done.stderr.splitlines(keepends=True)
    return Run(done.returncode, done.stdout, b"".join(complaints)), int(peak_kilobytes) * 1024


def probe(*inputs, folder=None, environment=None, options=()):
    """Runs the tool for records."""
    return run("--ndjson", *options, "--", *inputs, folder=folder, environment=environment)


def record_of(path, environment=None, options=()):
    """The record of one file that can be read."""
    done = probe(path, environment=environment, options=options)
    if done.status != 0:
        raise AssertionError(f"{path}: exit status {done.status}: {done.complaints.decode('utf-8', 'replace')}")
    record, = done.records()
    return record


def streams_of(record):
    """The stream entries of all programs by index, each with its kind under "kind"."""
    return {
        stream["index"]: {"kind": kind, **stream}
        for program in record["programs"]
        for kind in ("video", "audio", "subpicture")
        for stream in program[kind]
    }


class ScratchTest(unittest.TestCase):
    """Tests in a folder of their own, which may start the tool without waiting for it."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)

    def start(self, *arguments, **others):
        """A running tool. It is ended with the test at the latest."""
        process = subprocess.Popen([MEDIAPROBE, *map(str, arguments)], cwd=self.folder, **others)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream:
                self.addCleanup(stream.close)
        return process
