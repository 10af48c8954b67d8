"""The Debian package: what it depends on, and that its tree, unpacked somewhere, is the whole tool."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

PICTURE = pathlib.Path(__file__).resolve().parents[2] / "samples" / "pictures" / "upright.jpg"


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=240)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="mediainfo-debian-"))
        run(os.environ["CPACK"], "--config", pathlib.Path(os.environ["BUILD_DIR"]) / "CPackConfig.cmake", "-B", cls.folder)
        cls.package, = cls.folder.glob("*.deb")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def packages(self, field):
        return set(re.findall(r"(?:^|, )([^ ,]+)", run("dpkg-deb", "--field", self.package, field).strip()))

    def test_it_depends_on_what_its_libraries_link(self):
        depends = self.packages("Depends")
        # Later releases have other versions in the names.
        for start in ("libc6", "libstdc++6", "zlib1g", "libssl", "libexpat1", "libexiv2-", "librsvg2-"):
            self.assertTrue(any(package.startswith(start) for package in depends), f"{start} in {depends}")
        self.assertEqual(self.packages("Recommends"), {"ca-certificates"})

    def test_its_tree_is_the_whole_tool(self):
        run("dpkg-deb", "--extract", self.package, self.folder / "root")
        tree = self.folder / "root" / "usr"
        record = json.loads(run(tree / "bin" / "mediaprobe", "--ndjson", "--uuid", PICTURE))
        self.assertEqual((record["status"], record["uuid"]), ("ok", "27244276b88a7ede9dd70804d7624ba9"))
        self.assertEqual(record["metadata"]["Image_Metedata_CameraModel"], "EX-1")
        for name in ("share/man/man1/mediaprobe.1", "share/bash-completion/completions/mediaprobe",
                     "lib/pkgconfig/service-mediainfo.pc", "lib/mediainfo/libSvgRenderer.so"):
            self.assertTrue((tree / name).is_file(), name)


if __name__ == "__main__":
    unittest.main()
