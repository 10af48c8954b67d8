"""Workers that an input has taken over, and kernels that cannot confine them. The module behind the tool is
fake_module.cc, which does the deeds of hostile_deeds.cc; the inputs are named after these."""
import contextlib
import fcntl
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import termios
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "end-to-end"))
import tool

# Runs the tool as on a kernel that lacks something.
WITHOUT_LAYERS = os.environ["WITHOUT_LAYERS"]
# With what stops them: Landlock, seccomp, both, or in any case.
DEEDS = {
    "read": "L", "list": "LS", "create": "LS", "overwrite": "LS", "append": "LS", "cut": "S", "unlink": "LS",
    "rename": "LS", "link": "LS", "symlink": "LS", "mkdir": "LS", "rmdir": "LS", "mkfifo": "LS", "chmod": "S", "touch": "S",
    "socket": "S", "unix_socket": "S", "execve": "LS", "execveat": "LS", "fork": "S", "clone": "S", "ptrace": "LS",
    "peek": "LS", "kill": "S", "tgkill": "S", "queue": "S", "mount": "LS", "memfd": "S", "mprotect": "S", "mmap": "S",
    "environment": "", "owner": "S", "signal": "S", "async": "S", "device": "S", "type": "S", "overhear": "",
}
# The tool's own process is what the deed of a worker is done to.
FATAL = "it asked the system for what no probe needs"
KILLED = {"socket", "unix_socket", "execve", "execveat", "fork", "clone", "ptrace", "peek", "kill", "queue", "mount", "memfd"}


def missing_layers(asked):
    return subprocess.run([WITHOUT_LAYERS, asked], capture_output=True, text=True, check=True).stdout.strip()


class HostileWorkers(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        # What a process may read is told by the inputs; the canary lies beside their folder.
        self.folder = self.root / "inputs"
        (self.folder / "scene" / "empty").mkdir(parents=True)
        (self.folder / "scene" / "other").write_text("other")
        (self.folder / "canary").write_text("canary")
        (self.folder / "plain.wav").write_text("x")

    def state(self):
        return {str(path.relative_to(self.root)): (path.read_bytes() if path.is_file() else None, path.stat().st_mode)
                for path in self.root.rglob("*")}

    def test_no_deed_is_done(self):
        missing = missing_layers("-")
        stopped = [deed for deed, by in DEEDS.items()
                   if not by or ("L" in by and "Landlock" not in missing) or ("S" in by and "seccomp" not in missing)]
        for deed in stopped:
            (self.folder / f"hostile_{deed}.mp4").write_text("x")
        for isolation in ("worker", "strict"):
            for jobs in ("1", "4"):
                with self.subTest(isolation=isolation, jobs=jobs):
                    before = self.state()
                    names = [name for deed in stopped for name in (f"hostile_{deed}.mp4", "plain.wav")]
                    done = tool.probe(*names, folder=self.folder, environment={"SOME_SECRET": "x"},
                                      options=["--isolation", isolation, "-j", jobs, "--allow-unsandboxed"])
                    # The tool lives, although "kill" was aimed at it, and nothing has changed.
                    self.assertEqual(done.status, 1)
                    self.assertEqual(self.state(), before)
                    records = done.records()
                    self.assertEqual([record["input"] for record in records], names)
                    errors = {record["input"][8:-4]: record["error"] for record in records if "error" in record}
                    self.assertEqual(set(errors), set(stopped))
                    for deed, error in errors.items():
                        killed = deed in KILLED and "seccomp" not in missing
                        self.assertEqual(error, f"the probe broke down twice: {FATAL}" if killed else "the deed failed", deed)

    def test_the_first_try_changes_nothing(self):
        """One file alone, which the tool probes in its own process."""
        if "Landlock" in missing_layers("-"):
            stopped = []
        else:
            stopped = [deed for deed, by in DEEDS.items() if "L" in by and deed not in ("read", "list", "execve", "execveat")]
        for deed in stopped:
            with self.subTest(deed=deed):
                (self.folder / f"hostile_{deed}.mp4").write_text("x")
                before = self.state()
                done = tool.probe(f"hostile_{deed}.mp4", folder=self.folder)
                self.assertEqual(self.state(), before)
                self.assertEqual(done.records()[0]["error"], "the deed failed")

    def on_terminal(self, name, *options):
        """The record of an input whose prober has a terminal to itself, on which a line has been typed."""
        terminal, end = os.openpty()
        self.addCleanup(os.close, terminal)
        os.write(terminal, b"my password\n")
        process = subprocess.Popen([tool.MEDIAPROBE, "--ndjson", "--no-progress", "--allow-unsandboxed", *options, name],
                                   cwd=self.folder, stdout=subprocess.PIPE, stderr=end, start_new_session=True,
                                   preexec_fn=lambda: fcntl.ioctl(2, termios.TIOCSCTTY, 0))
        os.close(end)
        output, _ = process.communicate(timeout=tool.HANG_SECONDS)
        shown = b""
        with contextlib.suppress(OSError):  # which ends what a terminal shows that nobody has open any more
            while piece := os.read(terminal, 65536):
                shown += piece
        return json.loads(output), shown.decode()

    def test_the_terminal_is_out_of_reach(self):
        """Of files and of URLs, for which other calls are allowed; also where log lines are written to it."""
        deeds = ["overhear"] if "seccomp" in missing_layers("-") else ["overhear", "type", "owner", "signal", "async", "device"]
        for deed in deeds:
            (self.folder / f"hostile_{deed}.mp4").write_text("x")
            for name in (f"hostile_{deed}.mp4", f"http://host.invalid/hostile_{deed}.mp4"):
                for isolation in ("worker", "strict"):
                    for level in ("off", "trace"):
                        with self.subTest(name=name, isolation=isolation, level=level):
                            record, _ = self.on_terminal(name, "--isolation", isolation, "--log-level", level)
                            self.assertEqual(record["error"], "the deed failed")

    def test_the_terminal_is_within_reach_where_nothing_is_confined(self):
        (self.folder / "hostile_overhear.mp4").write_text("x")
        record, _ = self.on_terminal("hostile_overhear.mp4", "--isolation", "none")
        self.assertEqual(record["error"], "the deed is done")

    def test_log_lines_reach_the_terminal(self):
        (self.folder / "locked.mp4").write_text("x")
        line = "no file opens with "
        for options in (["--isolation", "worker"], ["--isolation", "strict"], []):
            with self.subTest(options=options):
                _, shown = self.on_terminal("locked.mp4", "--log-level", "error", *options)
                self.assertIn(line, shown)

    def test_deeds_are_done_where_nothing_is_confined(self):
        for deed in ("read", "create", "socket", "unlink", "environment"):
            with self.subTest(deed=deed):
                (self.folder / f"hostile_{deed}.mp4").write_text("x")
                done = tool.probe(f"hostile_{deed}.mp4", folder=self.folder, environment={"SOME_SECRET": "x"},
                                  options=["--isolation", "none"])
                self.assertEqual(done.records()[0]["error"], "the deed is done")


class MissingLayers(unittest.TestCase):
    def run_without(self, layers, *arguments, inputs=("plain.wav", "plain.mp4")):
        with tempfile.TemporaryDirectory() as folder:
            for name in inputs:
                (pathlib.Path(folder) / name).write_text("x")
            return subprocess.run([WITHOUT_LAYERS, layers, tool.MEDIAPROBE, "--ndjson", *arguments, *inputs],
                                  cwd=folder, capture_output=True, text=True, timeout=tool.HANG_SECONDS)

    def each(self):
        """Layers to take away, and what is missing then, which may be less where the kernel has no filters."""
        for layers in ("-", "Landlock", "seccomp", "Landlock+seccomp"):
            with self.subTest(without=layers):
                yield layers, missing_layers(layers)

    def test_are_told_once(self):
        for layers, missing in self.each():
            done = self.run_without(layers, "-j", "2")
            self.assertEqual((done.returncode, len(done.stdout.splitlines())), (0, 2))
            told = f"mediaprobe: this kernel has no {missing}: processes that probe are less confined\n" if missing else ""
            self.assertEqual(done.stderr, told)

    def test_are_told_of_one_file_alone(self):
        """Which is then probed in a worker as well."""
        for layers, missing in self.each():
            for name in ("plain.wav", "hostile_create.mp4"):
                done = self.run_without(layers, inputs=(name,))
                told = f"mediaprobe: this kernel has no {missing}: processes that probe are less confined\n" if missing else ""
                self.assertTrue(done.stderr.startswith(told), done.stderr)
                self.assertEqual(done.stderr.count("this kernel has no"), 1 if missing else 0)

    def test_end_a_strict_run(self):
        for layers, missing in self.each():
            done = self.run_without(layers, "--isolation", "strict")
            if not missing:
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                continue
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertEqual(done.stderr, f"mediaprobe: --isolation strict needs a kernel with {missing} "
                                          "(--allow-unsandboxed goes on without)\n")

    def test_may_be_done_without(self):
        for layers, missing in self.each():
            done = self.run_without(layers, "--isolation", "strict", "--allow-unsandboxed")
            self.assertEqual((done.returncode, len(done.stdout.splitlines())), (0, 2))
            self.assertEqual(done.stderr.count("\n"), 1 if missing else 0)

    def test_do_not_matter_without_isolation(self):
        for layers, _ in self.each():
            done = self.run_without(layers, "--isolation", "none")
            self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
