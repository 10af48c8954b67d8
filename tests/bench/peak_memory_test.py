"""What probing one file takes of memory, whatever it is."""
import os
import pathlib
import subprocess
import unittest

SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"
MOST_MEGABYTES = 20


def peak_megabytes(*arguments):
    """The tool's, or that of its largest worker."""
    done = subprocess.run(["/usr/bin/time", "-q", "-f", "%M", os.environ["MEDIAPROBE"], *arguments],
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=True)
    return int(done.stderr.splitlines()[-1]) * 1024 / 1e6


class PeakMemoryTest(unittest.TestCase):
    def test_no_sample_takes_more_than_20_megabytes(self):
        files = [path for folder in (SAMPLES, SAMPLES / "pictures") for path in sorted(folder.iterdir())
                 if path.suffix not in ("", ".md")]
        self.assertGreater(len(files), 15)
        for file in files:
            for isolation in ("none", "worker"):
                with self.subTest(file=file.name, isolation=isolation):
                    self.assertLess(peak_megabytes("--isolation", isolation, file), MOST_MEGABYTES)


if __name__ == "__main__":
    unittest.main()
