"""An installed copy that was moved: the tool runs, and hosts are built against it, with CMake and with pkg-config."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "samples" / "hdr.mov"
EXAMPLE = ROOT / "examples" / "describe"
CMAKE = os.environ["CMAKE"]
CXX = os.environ["CXX"]
# Nothing of this machine's own settings shall help.
ENVIRONMENT = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}


def run(*command, environment=None):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=240,
                          env={**ENVIRONMENT, **(environment or {})})
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


class InstalledCopy(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="mediainfo-install-"))
        first = cls.folder / "first"
        run(CMAKE, "--install", os.environ["BUILD_DIR"], "--prefix", first)
        cls.prefix = cls.folder / "a moved copy"
        first.rename(cls.prefix)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def check_example(self, program):
        self.assertEqual(run(program, SAMPLE), "mov, 1.000 s\n  hevc 256x144\n  pcm_s16le 48000 Hz\n")

    def test_the_tool_runs(self):
        record = json.loads(run(self.prefix / "bin" / "mediaprobe", "--ndjson", SAMPLE))
        self.assertEqual((record["status"], record["format"]), ("ok", "mov"))

    def test_a_host_is_built_with_cmake(self):
        build = self.folder / "build"
        run(CMAKE, "-S", EXAMPLE, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={CXX}")
        run(CMAKE, "--build", build)
        self.check_example(build / "describe")

    def test_a_host_is_built_with_pkg_config(self):
        # Make and the shell split at blanks, so the flags do not survive this prefix: a link stands for it.
        prefix = self.folder / "link"
        prefix.symlink_to(self.prefix)
        path = {"PKG_CONFIG_PATH": str(prefix / "lib" / "pkgconfig")}
        flags = run("pkg-config", "--cflags", "--libs", "service-mediainfo", environment=path).split()
        libraries = run("pkg-config", "--variable=libdir", "service-mediainfo", environment=path).strip()
        program = self.folder / "described"
        run(CXX, "-std=c++20", f'-DMEDIAINFO_LIBRARY_DIR="{libraries}"', EXAMPLE / "describe.cc", "-o", program, *flags)
        self.check_example(program)


if __name__ == "__main__":
    unittest.main()
