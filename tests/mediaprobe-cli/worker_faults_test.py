"""Inputs that crash, stop or inflate the probing code, given to the tool as users give it their files. The module behind
it is fake_module.cc, which does what the names say."""
import contextlib
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "end-to-end"))
import tool


def children_of(process):
    """Numbers of the processes that a process has started."""
    try:
        with open(f"/proc/{process}/task/{process}/children", encoding="ascii") as file:
            return [int(child) for child in file.read().split()]
    except FileNotFoundError:
        return []


def is_alive(process):
    try:
        with open(f"/proc/{process}/stat", encoding="ascii") as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError):
        return False


def has_signal(process, field, number):
    """Whether a signal is among those that a field of the process's status names: "SigIgn", those that it ignores;
    "ShdPnd", those that still wait for it."""
    status = pathlib.Path(f"/proc/{process}/status").read_text()
    signals, = (line.split()[1] for line in status.splitlines() if line.startswith(f"{field}:"))
    return bool(int(signals, 16) >> (number - 1) & 1)


FAULTS = {
    "abort.mp4": "the probe broke down twice: killed by signal 6 (Aborted)",
    "hang.mp4": "takes longer than 3 s",
    "hoard.mp4": "no room for a hoard",
    "bloat.mp4": "the probe broke down twice: out of memory",
}


class Faults(tool.ScratchTest):
    def probe(self, *names, options=()):
        for name in names:
            (self.folder / name).write_text("x")
        return tool.probe(*names, folder=self.folder, options=options)

    def wait_for(self, condition):
        end = time.monotonic() + tool.HANG_SECONDS
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    def test_each_is_one_failed_record(self):
        reasons = {
            **FAULTS,
            "killed.mp4": "the probe broke down twice: killed by signal 9 (Killed)",
            "leave.mp4": "the probe broke down twice: left with status 3",
            "babble.mp4": "the probe broke down twice: killed by signal 9 (Killed)",
        }
        names = [name for fault in reasons for name in (fault, f"plain_{fault}")]
        for jobs in ("1", "3"):
            with self.subTest(jobs=jobs):
                done = self.probe(*names, options=["--timeout", "3", "-j", jobs])
                self.assertEqual(done.status, 1)
                records = done.records()
                self.assertEqual([record["input"] for record in records], names)
                self.assertEqual({record["input"]: record["error"] for record in records if "error" in record}, reasons)
                self.assertEqual(done.complaint_lines(), [f"mediaprobe: {name}: {why}" for name, why in reasons.items()])

    def test_one_input_alone_is_told_as_among_others(self):
        # The first try, in the tool's own process, comes to nothing; nor does it leave a trace in the output.
        for name, why in FAULTS.items():
            with self.subTest(name=name):
                done = self.probe(name, options=["--timeout", "3"])
                self.assertEqual((done.status, [record["error"] for record in done.records()]), (1, [why]))
                self.assertEqual(done.complaint_lines(), [f"mediaprobe: {name}: {why}"])

    def test_one_input_alone_has_no_more_time_than_among_others(self):
        for options in ([], ["--isolation", "worker"]):
            with self.subTest(options=options):
                record, = self.probe("nap.wav", options=["--timeout", "0.02", *options]).records()
                self.assertEqual(record["error"], "takes longer than 0.02 s")
        self.assertEqual(self.probe("nap.wav", options=["--timeout", "5"]).status, 0)

    def test_one_input_alone_ends_where_the_caller_has_blocked_the_clock(self):
        (self.folder / "hang.mp4").write_text("x")
        process = self.start("--ndjson", "--timeout", "1", "hang.mp4", stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             preexec_fn=lambda: signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGALRM]))
        record = json.loads(process.communicate(timeout=tool.HANG_SECONDS)[0])
        self.assertEqual(record["error"], "takes longer than 1 s")

    def test_what_fails_once_is_answered_the_second_time(self):
        done = self.probe("once.wav")
        self.assertEqual((done.status, [record["status"] for record in done.records()]), (0, ["ok"]))

    def test_ends_are_seen_where_the_caller_looks_at_none(self):
        """As shells and supervisors start programs that ignore what becomes of their own."""
        names = ["plain.wav", "once.wav", "abort.mp4"]
        for name in names:
            (self.folder / name).write_text("x")
        process = self.start("--ndjson", *names, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
        records = [json.loads(line) for line in process.communicate(timeout=tool.HANG_SECONDS)[0].splitlines()]
        self.assertEqual([record.get("error") for record in records], [None, None, FAULTS["abort.mp4"]])

    def test_memory_limit_is_the_users(self):
        self.assertEqual(self.probe("hoard.mp4", options=["--memory", "3000"]).records()[0]["error"], "not a media file")

    def test_without_isolation_a_crash_is_the_tools_own(self):
        done = self.probe("plain.wav", "abort.mp4", options=["--isolation", "none"])
        self.assertEqual(done.status, -signal.SIGABRT)
        self.assertEqual([record["input"] for record in done.records()], ["plain.wav"])

    def test_folder_full_of_killers(self):
        names = [f"abort_{i:03}.mp4" for i in range(200)]
        done = self.probe(*names)
        self.assertEqual([record["input"] for record in done.records()], names)
        self.assertEqual(len(done.complaint_lines()), len(names))

    def test_killed_workers_lose_no_input(self):
        names = [f"plain_{i:03}.wav" for i in range(300)]
        for name in names:
            (self.folder / name).write_text("x")
        chosen = random.Random(7)
        process = self.start("--ndjson", "-j", "4", "--stdin", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL)
        killed = 0

        def feed():
            for name in names:
                process.stdin.write(name.encode() + b"\n")
                process.stdin.flush()
                time.sleep(0.002)
            process.stdin.close()

        feeder = threading.Thread(target=feed)
        output = []
        reader = threading.Thread(target=lambda: output.extend(process.stdout))
        feeder.start()
        reader.start()
        while feeder.is_alive():
            if workers := children_of(process.pid):
                # One that was taken apart since is no loss.
                with contextlib.suppress(ProcessLookupError):
                    os.kill(chosen.choice(workers), signal.SIGKILL)
                    killed += 1
            time.sleep(0.01)
        feeder.join()
        reader.join(tool.HANG_SECONDS)
        process.stdout.close()
        self.assertGreater(killed, 10)
        self.assertEqual([json.loads(line)["input"] for line in output], names)

    def test_workers_end_with_the_tool_that_is_killed(self):
        (self.folder / "hang.mp4").write_text("x")
        process = self.start("hang.mp4", stdout=subprocess.DEVNULL)
        self.wait_for(lambda: children_of(process.pid))
        workers = children_of(process.pid)
        process.kill()
        self.wait_for(lambda: not any(is_alive(worker) for worker in workers))

    def test_interrupts_end_the_output_well(self):
        (self.folder / "plain.wav").write_text("x")
        (self.folder / "hang.mp4").write_text("x")
        for number in (signal.SIGINT, signal.SIGTERM):
            for names in (("plain.wav", "hang.mp4", "plain.wav"), ("hang.mp4",)):
                with self.subTest(number=number, names=names):
                    process = self.start("--json", *names, stdout=subprocess.PIPE, bufsize=0)
                    # The array is begun with its first record.
                    first = process.stdout.read(1) if len(names) > 1 else b""
                    self.wait_for(lambda: children_of(process.pid))
                    process.send_signal(number)
                    output = first + process.communicate(timeout=tool.HANG_SECONDS)[0]
                    self.assertEqual(process.returncode, 130)
                    records = json.loads(output)
                    self.assertEqual([record["input"] for record in records], list(names[:-2]))

    def test_interrupt_leaves_the_output_file_alone(self):
        (self.folder / "hang.mp4").write_text("x")
        (self.folder / "list.json").write_text("before")
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                process = self.start("--json", "-o", "list.json", "hang.mp4")
                self.wait_for(lambda: children_of(process.pid))
                process.send_signal(number)
                self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                self.assertEqual((self.folder / "list.json").read_text(), "before")
                self.assertEqual(sorted(os.listdir(self.folder)), ["hang.mp4", "list.json"])

    def test_interrupt_of_the_whole_group_reaches_the_user_once(self):
        """As a terminal sends it: to the workers too."""
        (self.folder / "hang.mp4").write_text("x")
        for number in (signal.SIGINT, signal.SIGHUP, signal.SIGQUIT):
            with self.subTest(number=number):
                process = self.start("--ndjson", "hang.mp4", stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     start_new_session=True)
                self.wait_for(lambda: children_of(process.pid))
                worker, = children_of(process.pid)
                self.wait_for(lambda: has_signal(worker, "SigIgn", number))
                os.killpg(process.pid, number)
                output, complaints = process.communicate(timeout=tool.HANG_SECONDS)
                self.assertEqual((process.returncode, output, complaints), (130, b"", b""))

    def test_second_interrupt_ends_what_nobody_reads(self):
        (self.folder / "huge.wav").write_text("x")
        process = self.start("--ndjson", "huge.wav", "huge.wav", stdout=subprocess.PIPE, bufsize=0)
        process.stdout.read(1)

        process.send_signal(signal.SIGINT)
        # One signal at a time is kept for a process: the second counts when the first has arrived.
        self.wait_for(lambda: not has_signal(process.pid, "ShdPnd", signal.SIGINT))
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(tool.HANG_SECONDS), -signal.SIGINT)
        process.stdout.close()

    def test_progress_is_wiped_before_anything_else_is_written(self):
        done = self.probe("plain.wav", "hang.mp4", "killed.mp4", options=["--progress", "--timeout", "2.5", "-j", "1"])
        wiped, *complaints = done.complaints.decode().rpartition("\r\x1b[K")[2].splitlines()
        self.assertIn("1 of 3, ", done.complaints.decode())
        self.assertIn("hang.mp4", done.complaints.decode().partition("mediaprobe: ")[0])
        self.assertEqual(wiped, "mediaprobe: hang.mp4: takes longer than 2.5 s")
        self.assertEqual(len(complaints), 1)
        self.assertNotIn(b"\x1b", done.output)

    def test_progress_is_for_terminals(self):
        for option, seen in ((None, True), ("--no-progress", False)):
            for name in ("plain.wav", "hang.mp4"):
                (self.folder / name).write_text("x")
            terminal, end = os.openpty()
            self.addCleanup(os.close, terminal)
            process = self.start("--ndjson", "--timeout", "2.5", *filter(None, [option]), "plain.wav", "hang.mp4",
                                 stdout=subprocess.DEVNULL, stderr=end)
            os.close(end)
            self.assertEqual(process.wait(tool.HANG_SECONDS), 1)
            shown = os.read(terminal, 65536)
            self.assertEqual(b"1 of 2, " in shown, seen)
            # Behind the complaint the line is back for a moment; nothing of it stays.
            end = rb"\r\x1b\[K\d of 2, [^\r]*\r\x1b\[K" if seen else b""
            self.assertRegex(shown, rb"mediaprobe: hang.mp4: takes longer than 2.5 s\r\n" + end + rb"\Z")
        done = self.probe("plain.wav", "hang.mp4", options=["--timeout", "2.5"])
        self.assertEqual(done.complaints, b"mediaprobe: hang.mp4: takes longer than 2.5 s\n")

    def test_long_record_is_cut_and_says_so(self):
        record, = self.probe("huge.wav").records()
        self.assertIs(record["truncated"], True)
        self.assertEqual(record["status"], "ok")
        self.assertTrue(record["metadata"]["MediaFile_Metedata_Title"].startswith("hhh"))
        for form in ("--text", "--json", "--ndjson", "--csv"):
            with self.subTest(form=form):
                output = tool.run(form, "huge.wav", folder=self.folder).output
                self.assertLess(len(output), 4 << 20)
                self.assertGreater(len(output), 100)


if __name__ == "__main__":
    unittest.main()
