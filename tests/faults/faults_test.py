"""Allocations and reads that fail, one after another, while a file is probed.

faults_test.py alone tries as much as takes some seconds; with --full it tries every allocation and every read, and prints
what came of it. Both are for the built program that the environment variable FAULT_SWEEP names, with the libraries in
LIBRARY_FOLDER.
"""
import collections
import gzip
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import frames

FAULT_SWEEP = os.environ["FAULT_SWEEP"]
LIBRARY_FOLDER = os.environ["LIBRARY_FOLDER"]
SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"
FULL = "--full" in sys.argv
# Failures that are tried for each input, spread evenly over the probe.
MOST = 0 if FULL else 60
SVG = b'<svg xmlns="http://www.w3.org/2000/svg" width="20" height="10" viewBox="0 0 40 20"><rect width="3"/></svg>'
# What is told of a file that cannot be read to where it must be: by the services, by the readers of sequences after it.
READ_FAILURES = ("Input/output error", "became shorter while it was read")
# What is told where memory ran out; a service that cannot make a session has no words for it.
NO_MEMORY = ("out of memory", "asks for too much memory", "an SVG with too many or too large", "there is no SVG decoder",
             "the media file service gives no session", "the image service gives no session",
             "the SVG service gives no session", "the media UUID service gives no session")
# That libraries of others break down where their allocations fail is known; the workers contain it.
MAY_BREAK_DOWN = {"libavformat", "libexpat", "libz", "libcrypto", "unknown"}
# Functions of libavcodec's transforms and of libavformat's Ogg that leave what they have made where the rest cannot be
# made. Of all else also what a library has allocated is given back: where it is not, our code may have kept it from that.
MAY_LEAVE_BEHIND = {"ff_tx_init_subtx", "ogg_read_header"}


class Sweeps(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        folder = pathlib.Path(scratch.name)
        (folder / "drawing.svg").write_bytes(SVG)
        (folder / "packed.svgz").write_bytes(gzip.compress(SVG))
        for number in (1, 2):
            shutil.copy(SAMPLES / "pictures" / "generated.png", folder / f"frame_{number}.png")
        cls.inputs = [
            *(str(SAMPLES / name) for name in ("upright.mp4", "languages.mkv", "programs.ts", "tape.avi", "live.flv",
                                               "song.mp3", "voice.wav", "song.flac", "song.opus", "surround.ac3")),
            *(str(SAMPLES / "pictures" / name) for name in ("upright.jpg", "generated.png", "blinking.gif",
                                                            "blinking.webp", "still.avif", "mirrored.tif")),
            str(folder / "drawing.svg"), str(folder / "packed.svgz"), str(folder / "frame_[1-2].png"), f"uuid:{SAMPLES / 'voice.wav'}"]

    def sweep(self, fault):
        """The runs that did not answer as one without a failure does; the number of runs."""
        done = subprocess.run([FAULT_SWEEP, fault, str(MOST), LIBRARY_FOLDER, *self.inputs], capture_output=True,
                              timeout=3600 if FULL else 280)
        self.assertEqual(done.returncode, 0, done.stderr.decode("utf-8", "replace"))
        lines = [json.loads(line) for line in done.stdout.splitlines() if line.startswith(b"{")]
        self.assertEqual([line for line in lines if "broken" in line], [])
        totals = [line for line in lines if "runs" in line]
        self.assertEqual(len(totals), len(self.inputs))
        for total in totals:
            self.assertGreater(total["runs"], 0, total)
        self.tell(fault, totals, [line for line in lines if "runs" not in line])
        return [line for line in lines if "runs" not in line], sum(total["runs"] for total in totals)

    @staticmethod
    def tell(fault, totals, runs):
        counts = collections.Counter()
        for run in runs:
            if "signal" in run:
                counts[f"broke down in {frames.owner_of(run.get('frames', []))}"] += 1
            elif "error" in run or "ran_out" in run:
                counts["refused"] += 1
            else:
                counts["incomplete" if not run["is_same"] else "complete"] += 1
            if run.get("left_more"):
                counts["left memory behind"] += 1
        tried = sum(total["runs"] for total in totals)
        counts["complete"] += tried - len(runs)
        told = ", ".join(f"{count:,} {what}" for what, count in sorted(counts.items()))
        print(f"{fault}: {tried:,} failures in {sum(total['events'] for total in totals):,} places: {told}",
              file=sys.stderr)

    def where(self, run):
        return f"{run['input']}, failure {run['first']}{' and after' if run['all_after'] else ''}"

    def test_no_allocation_that_fails_breaks_our_code(self):
        self.check_memory("memory")

    def test_nor_does_it_in_a_thread_that_has_not_probed_before(self):
        self.check_memory("memory-in-thread")

    def check_memory(self, fault):
        runs, _ = self.sweep(fault)
        faults = []
        for run in runs:
            if run.get("signal") == 0:
                # As the C library ends a process that has no memory for what it keeps for a thread.
                faults.append(f"{self.where(run)}: left without an answer")
            elif "signal" in run:
                owner = frames.owner_of(run.get("frames", []))
                if owner not in MAY_BREAK_DOWN:
                    faults.append(f"{self.where(run)}: signal {run['signal']} in {frames.shown(run.get('frames', []))}")
            if "signal" in run:
                continue
            if "ran_out" in run:
                # Of memory for the tool's own texts; nothing is thrown through an interface.
                module = next((frame[0] for frame in run["failed_at"] if frames.tells(frame)), "")
                # Of several failures the first one was another's.
                if not run["all_after"] and pathlib.Path(module).name != "fault_sweep":
                    faults.append(f"{self.where(run)}: thrown to the host: {frames.shown(run['failed_at'])}")
            elif "error" in run:
                if not run["error"].startswith(NO_MEMORY):
                    faults.append(f"{self.where(run)}: {run['error']}: {frames.shown(run['failed_at'])}")
            elif not run["is_same"]:
                faults.append(f"{self.where(run)}: another answer: {frames.shown(run['failed_at'])}")
            if run.get("left_more"):
                faults.extend(f"{self.where(run)}: left behind: {frames.shown(place)}" for place in run["left_at"]
                              if not set(map(frames.name_of, place)) & MAY_LEAVE_BEHIND)
        self.assertEqual(faults[:40], [])

    def test_no_read_that_fails_goes_unnoticed(self):
        for fault in ("read-error", "end-of-file"):
            with self.subTest(fault=fault):
                runs, _ = self.sweep(fault)
                self.assertTrue(runs)
                faults = []
                for run in runs:
                    # What failed once may have been read again.
                    if run.get("is_same"):
                        continue
                    if "error" not in run:
                        faults.append(f"{self.where(run)}: {frames.shown(run['failed_at'])}: {run}"[:600])
                    elif fault == "read-error" and not run["error"].startswith(READ_FAILURES):
                        faults.append(f"{self.where(run)}: {run['error']}: {frames.shown(run['failed_at'])}")
                self.assertEqual(faults[:40], [])

    def test_reads_that_are_cut_short_or_interrupted_change_nothing(self):
        for fault in ("short-read", "interrupted-read"):
            with self.subTest(fault=fault):
                runs, tried = self.sweep(fault)
                self.assertGreater(tried, 20)
                self.assertEqual([f"{self.where(run)}: {run.get('error')}" for run in runs if not run.get("is_same")],
                                 [])


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--full"])
