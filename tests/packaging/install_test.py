"""An installed copy that was moved: the tool answers with everything it has, its pages lie where they are looked for, and
hosts are built against it, with CMake and with pkg-config."""
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "samples" / "hdr.mov"
PICTURE = ROOT / "samples" / "pictures" / "upright.jpg"
EXAMPLE = ROOT / "examples" / "describe"
DRAWING = '<svg xmlns="http://www.w3.org/2000/svg" width="12" height="8"><rect width="12" height="8" fill="red"/></svg>'
CMAKE = os.environ["CMAKE"]
CXX = os.environ["CXX"]
# LIBRARIES DRAWING PICTURE: renders an SVG at 24 by 16 pixels.
RENDERING_HOST = r"""
#include <cstdint>

#include "mediainfo/isvg_info.h"
#include "mediainfo/service_ids.h"
#include "service/configuration.h"
#include "service/iservice_manager.h"

int main(int, char** argv) {
  const std::string folder = argv[1];
  service::Configuration configuration;
  configuration.Set(service::config_keys::kSetAppPath, folder);
  service::IServiceManager* manager = ZORServiceMrgAcqire(0);
  if (!manager->LoadModule((folder + "/service-mediainfo.so").c_str(), &configuration)) return 3;
  if (!manager->LoadModule((folder + "/svg-decoder.so").c_str(), nullptr)) return 4;
  const auto service = manager->AcquireService(service::mediainfo::kSvgInfoServiceName, true, 0);
  const auto session = service->CreateSharedSession(0);
  auto* svg = dynamic_cast<service::mediainfo::ISvgInfo*>(session.get());
  if (!svg->SetPath(argv[2])) return 5;
  return svg->Render(reinterpret_cast<std::uintptr_t>(argv[3]), 24, 16) == 0 ? 0 : 6;
}
"""
# Nothing of this machine's own settings shall help.
ENVIRONMENT = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}


def run(*command, environment=None):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=240,
                          env={**ENVIRONMENT, **(environment or {})})
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def md5(path):
    return hashlib.md5(path.read_bytes()).hexdigest()


class InstalledCopy(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="mediainfo-install-"))
        first = cls.folder / "first"
        run(CMAKE, "--install", os.environ["BUILD_DIR"], "--prefix", first)
        cls.prefix = cls.folder / "a moved copy"
        first.rename(cls.prefix)
        cls.drawing = cls.folder / "drawing.svg"
        cls.drawing.write_text(DRAWING)
        # Make and the shell split at blanks, so the flags of pkg-config do not survive this prefix: a link stands for it.
        cls.link = cls.folder / "link"
        cls.link.symlink_to(cls.prefix)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def check_example(self, program):
        self.assertEqual(run(program, SAMPLE), "mov, 1.000 s\n  hevc 256x144\n  pcm_s16le 48000 Hz\n")

    def probe(self, *words):
        return json.loads(run(self.prefix / "bin" / "mediaprobe", "--ndjson", *words))

    def build_with_pkg_config(self, source, program, *options):
        path = {"PKG_CONFIG_PATH": str(self.link / "lib" / "pkgconfig")}
        flags = run("pkg-config", "--cflags", "--libs", "service-mediainfo", environment=path).split()
        run(CXX, "-std=c++20", *options, source, "-o", program, *flags)

    def library_folder(self):
        path = {"PKG_CONFIG_PATH": str(self.link / "lib" / "pkgconfig")}
        return run("pkg-config", "--variable=libdir", "service-mediainfo", environment=path).strip()

    def test_the_tool_reads_media(self):
        record = self.probe("--uuid", SAMPLE)
        self.assertEqual((record["status"], record["format"], record["uuid"]), ("ok", "mov", md5(SAMPLE)))

    def test_the_tool_reads_metadata_of_pictures(self):
        record = self.probe("--uuid", PICTURE)
        self.assertEqual((record["width"], record["height"], record["uuid"]), (240, 160, md5(PICTURE)))
        self.assertEqual(record["metadata"]["Image_Metedata_CameraModel"], "EX-1")

    def test_the_tool_reads_svgs(self):
        record = self.probe(self.drawing)
        self.assertEqual((record["service"], record["width"], record["height"]), ("svg", 12, 8))

    def test_a_host_renders_svgs(self):
        source, program, picture = (self.folder / name for name in ("render.cc", "render", "drawing.png"))
        source.write_text(RENDERING_HOST)
        self.build_with_pkg_config(source, program)
        run(program, self.library_folder(), self.drawing, picture)
        record = self.probe(picture)
        self.assertEqual((record["status"], record["width"], record["height"]), ("ok", 24, 16))

    def test_pages_and_completions_lie_where_they_are_looked_for(self):
        share = self.prefix / "share"
        for command in ("mediaprobe", "module-check"):
            for name in (f"man/man1/{command}.1", f"bash-completion/completions/{command}",
                         f"zsh/site-functions/_{command}", f"fish/vendor_completions.d/{command}.fish"):
                self.assertTrue((share / name).is_file(), name)
        self.assertTrue((share / "doc/service-mediainfo/examples/describe/describe.cc").is_file())

    def test_installed_pages_link_to_installed_pages(self):
        pages = sorted((self.prefix / "share" / "doc" / "service-mediainfo").glob("*.md"))
        self.assertGreaterEqual(len(pages), 3)
        for page in pages:
            for target in re.findall(r"\]\(([^)#\s]+)[^)\s]*\)", page.read_text(encoding="utf-8")):
                self.assertTrue("://" in target or (page.parent / target).exists(), f"{page.name}: {target}")

    def test_a_host_is_built_with_cmake(self):
        build = self.folder / "build"
        run(CMAKE, "-S", EXAMPLE, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={CXX}")
        run(CMAKE, "--build", build)
        self.check_example(build / "describe")

    def test_a_host_is_built_with_pkg_config(self):
        program = self.folder / "described"
        self.build_with_pkg_config(EXAMPLE / "describe.cc", program, f'-DMEDIAINFO_LIBRARY_DIR="{self.library_folder()}"')
        self.check_example(program)

    def test_the_program_of_the_page_for_hosts_runs(self):
        page = (ROOT / "docs" / "hosts.md").read_text(encoding="utf-8")
        source, program = self.folder / "page.cc", self.folder / "page"
        source.write_text(re.search(r"```cpp\n(.*?)```", page, re.DOTALL)[1])
        self.build_with_pkg_config(source, program, "-Wall", "-Wextra", "-Werror")
        for file, answer in ((PICTURE, "picture 240x160"), (self.drawing, "SVG 12x8"), (SAMPLE, "not an SVG document")):
            self.assertEqual(run(program, self.library_folder(), file), f"{answer}\n{md5(file)}\n")


if __name__ == "__main__":
    unittest.main()
