"""What can go wrong around the tool: signals at any moment, no descriptors left, no room for the output, files that change
while they are probed."""
import json
import os
import random
import resource
import shutil
import signal
import subprocess
import threading
import time
import unittest

import tool

MP4 = tool.SAMPLES / "upright.mp4"
MKV = tool.SAMPLES / "languages.mkv"
PNG = tool.SAMPLES / "pictures" / "generated.png"
# Whoever wants more tells so: FAULT_ROUNDS=2000 python3 faults_test.py
ROUNDS = int(os.environ.get("FAULT_ROUNDS", "36"))


def processes_of_session(session):
    """Numbers and states of the processes of a session that are more than a zombie."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="latin-1") as file:
                fields = file.read().rsplit(")", 1)[1].split()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(fields[3]) == session and fields[0] != "Z":
            found.append(int(entry))
    return found


class Faults(tool.ScratchTest):
    def start(self, *arguments, **others):
        return super().start(*arguments, start_new_session=True, **others)

    def check_nobody_is_left(self, process):
        """The tool's session is its own: whoever is in it was started by it."""
        end = time.monotonic() + tool.HANG_SECONDS
        while left := processes_of_session(process.pid):
            self.assertLess(time.monotonic(), end, left)
            time.sleep(0.01)


class Interrupts(Faults):
    NAMES = [str(MP4), str(PNG), str(MKV), "missing.mp4"] * 60

    def interrupt(self, chosen, options, number, longest):
        """Starts a run, sends the signal at some moment, and gives the finished process with its output."""
        process = self.start(*options, *self.NAMES, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        threading.Timer(chosen.uniform(0, longest), lambda: process.send_signal(number)).start()
        output, complaints = process.communicate(timeout=tool.HANG_SECONDS)
        # Before it has begun to listen, and when all is done, it ends as any program.
        if process.returncode != -number:
            self.assertIn(process.returncode, (130, 1))
            self.assertTrue(complaints.endswith(b"\n") or not complaints)
        self.check_nobody_is_left(process)
        return process, output

    def longest(self, options):
        """Somewhat more than what a whole run takes."""
        started = time.monotonic()
        tool.run(*options, *self.NAMES, folder=self.folder)
        return 1.2 * (time.monotonic() - started)

    def test_at_any_moment_end_the_output_well(self):
        chosen = random.Random(3)
        statuses = []
        for isolation in ("worker", "none", "strict"):
            for form in ("--json", "--ndjson"):
                options = (form, "--isolation", isolation, "-j", "3")
                if isolation == "strict" and tool.run(*options, MP4).status == 2:
                    # The kernel has no means for it, which the tool has said.
                    continue
                longest = self.longest(options)
                for _ in range(ROUNDS // 6):
                    with self.subTest(isolation=isolation, form=form):
                        number = chosen.choice((signal.SIGINT, signal.SIGTERM))
                        process, output = self.interrupt(chosen, options, number, longest)
                        statuses.append(process.returncode)
                        if form == "--ndjson":
                            self.assertTrue(output.endswith(b"\n") or not output)
                            records = [json.loads(line) for line in output.splitlines()]
                        else:
                            records = json.loads(output) if output else []
                        names = [record["input"] for record in records]
                        self.assertEqual(names, self.NAMES[:len(names)])
                        # With 130 the signal may have come behind the last record.
                        if process.returncode == -number:
                            self.assertIn(len(names), (0, len(self.NAMES)))
                        elif process.returncode == 1:
                            self.assertEqual(len(names), len(self.NAMES))
        self.assertIn(130, statuses)

    def test_at_any_moment_leave_the_output_file_whole_or_alone(self):
        chosen = random.Random(4)
        options = ("--json", "-o", "list.json")
        longest = self.longest(options)
        for _ in range(ROUNDS // 3):
            (self.folder / "list.json").write_text("before")
            process, _ = self.interrupt(chosen, options, chosen.choice((signal.SIGINT, signal.SIGTERM)), longest)
            text = (self.folder / "list.json").read_text()
            if process.returncode == 130:
                self.assertEqual(text, "before")
            elif process.returncode == 1 or text != "before":
                self.assertEqual(len(json.loads(text)), len(self.NAMES))
            self.assertEqual(os.listdir(self.folder), ["list.json"])

    def test_while_names_are_awaited(self):
        """Nothing else wakes the tool here: a signal that it misses, it misses for good."""
        chosen = random.Random(5)
        for isolation in ("none", "worker"):
            for _ in range(ROUNDS):
                process = self.start("--ndjson", "--stdin", "--isolation", isolation, stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, bufsize=0)
                process.stdin.write(f"{MP4}\n".encode())
                record = process.stdout.read(1)
                time.sleep(chosen.uniform(0, 0.004))
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(tool.HANG_SECONDS), 130)
                record += process.stdout.read()
                self.assertEqual(json.loads(record)["status"], "ok")
                process.stdin.close()
                process.stdout.close()


class Descriptors(Faults):
    # A sanitizer looks at memory by means of a descriptor, and takes all of it for bad when there is none left.
    FEWEST = 20 if "SANITIZED" in os.environ else 4

    def test_too_few_are_told(self):
        """Records or one line, whatever their number is; from some number on it is enough."""
        names = [MP4, PNG, MKV] * 3
        sound = tool.probe(*names).records()
        statuses = []
        for most in range(self.FEWEST, 40):
            for isolation in ("worker", "strict", "none"):
                with self.subTest(most=most, isolation=isolation):
                    done = subprocess.run(
                        [tool.MEDIAPROBE, "--ndjson", "-j", "4", "--isolation", isolation, *map(str, names)],
                        capture_output=True, timeout=tool.HANG_SECONDS,
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (most, most)))
                    statuses.append(done.returncode)
                    if done.returncode == 127:
                        # The system's loader could not even open the libraries.
                        continue
                    records = [json.loads(line) for line in done.stdout.splitlines()]
                    self.assertIn(done.returncode, (0, 1, 2), done.stderr)
                    if done.returncode == 0:
                        self.assertEqual(records, sound)
                        continue
                    self.assertTrue(done.stderr.startswith(b"mediaprobe: "), done.stderr)
                    self.assertNotIn(b"broke down", done.stderr)
                    for record, whole in zip(records, sound):
                        if record["status"] == "ok":
                            self.assertEqual(record, whole)
        self.assertEqual(statuses[-2:], [0, 0])
        if self.FEWEST == 4:
            self.assertNotEqual(statuses[0], 0)


class Room(Faults):
    def test_no_more_of_it_leaves_the_old_file(self):
        """A bound on the size of files stands for a disk that is full: both fail in the middle of a write."""
        (self.folder / "list.json").write_text("before")
        names = [str(MP4)] * 100
        sizes = [0, 1, 100, 5000, 100_000]
        for most in sizes:
            with self.subTest(most=most):
                done = subprocess.run(
                    [tool.MEDIAPROBE, "--json", "-o", "list.json", *names], cwd=self.folder, capture_output=True,
                    timeout=tool.HANG_SECONDS,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most)))
                self.assertEqual(done.stderr, b"mediaprobe: cannot write list.json: File too large\n")
                self.assertEqual(done.returncode, 2)
                self.assertEqual((self.folder / "list.json").read_text(), "before")
                self.assertEqual(os.listdir(self.folder), ["list.json"])


class ChangingFiles(Faults):
    TIMES = 400

    def probe_while(self, change, *options):
        """Probes one file again and again while `change` is called again and again; the records."""
        target = self.folder / "file.mp4"
        shutil.copy(MKV, target)
        finished = threading.Event()
        changes = 0

        def go_on():
            nonlocal changes
            while not finished.is_set():
                change(target)
                changes += 1

        changer = threading.Thread(target=go_on)
        changer.start()
        records = []
        try:
            # On a busy machine one run may be over before the file has changed much.
            while changes < 20:
                done = tool.probe(*[str(target)] * self.TIMES, options=options)
                self.assertEqual(len(done.records()), self.TIMES)
                self.assertNotIn(b"broke down", done.complaints)
                self.assertNotIn(b"takes longer", done.complaints)
                records.extend(done.records())
        finally:
            finished.set()
            changer.join()
        return records

    def test_that_are_cut_and_grow(self):
        content = MKV.read_bytes()
        chosen = random.Random(6)

        def change(path):
            with open(path, "r+b") as file:
                file.truncate(chosen.randrange(len(content)))
                file.seek(0)
                file.write(content)

        for record in self.probe_while(change, "-u"):
            self.assertIn(record["status"], ("ok", "error"))

    def test_that_are_replaced(self):
        """By whole files under the same name: each answer is one file's."""
        answers = {}
        for source in (MP4, MKV, PNG):
            record = tool.record_of(source)
            answers[record.get("format", "image")] = {**record, "input": None}

        def change(path):
            for source in (MP4, PNG, MKV):
                fresh = path.with_name("fresh")
                shutil.copyfile(source, fresh)
                os.replace(fresh, path)

        records = self.probe_while(change)
        for record in records:
            if record["status"] == "ok":
                self.assertEqual({**record, "input": None}, answers[record.get("format", "image")])
        self.assertGreater(sum(record["status"] == "ok" for record in records), len(records) // 2)

    def test_that_come_and_go(self):
        def change(path):
            path.unlink()
            shutil.copy(MP4, path.with_name("fresh"))
            os.replace(path.with_name("fresh"), path)

        for record in self.probe_while(change):
            if record["status"] == "error":
                self.assertIn(record["error"], ("no such file", "became shorter while it was read", "empty file"))


if __name__ == "__main__":
    unittest.main()
