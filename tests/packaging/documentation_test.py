"""The pages tell the truth: their examples give the output that they show, the reference names every option and every
column of the table, and links lead somewhere."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from cli_options import TOOL, help_entries, names_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
REFERENCE = (ROOT / "docs" / "mediaprobe.md").read_text(encoding="utf-8")
PROMPT = "    $ "
KEY = "000102030405060708090a0b0c0d0e0f"
DRAWING = '<svg xmlns="http://www.w3.org/2000/svg" width="120" height="80" viewBox="0 0 24 16"/>\n'


def examples(page):
    """The indented blocks of a page that show commands, each as a list of [command, output]."""
    blocks = re.findall(r"(?:^ {4}.*\n(?:\n+(?= {4}))?)+", page.read_text(encoding="utf-8"), re.MULTILINE)
    for block in blocks:
        if not block.startswith(PROMPT):
            continue
        pairs = [part.split("\n", 1) for part in block[len(PROMPT):].split("\n" + PROMPT)]
        yield [(command, re.sub(r"^ {4}", "", output, flags=re.MULTILINE).strip("\n")) for command, output in
               ([*pair, ""][:2] for pair in pairs)]


def section(title):
    return REFERENCE.split(f"\n## {title}\n")[1].split("\n## ")[0]


def table_rows(text):
    """The rows of the tables in a text, without the headings, as lists of cells."""
    rows = [[cell.strip() for cell in line.strip("|").split(" | ")] for line in text.splitlines() if line.startswith("|")]
    return [row for i, row in enumerate(rows) if not row[0].startswith("---") and
            not (i + 1 < len(rows) and rows[i + 1][0].startswith("---"))]


def quoted(cell):
    return re.findall(r"`([^`]+)`", cell)


def make_folder():
    folder = pathlib.Path(tempfile.mkdtemp(prefix="mediainfo-pages-"))
    shutil.copytree(SAMPLES, folder / "samples")
    (folder / "render").mkdir()
    for number in range(1, 241):
        shutil.copyfile(SAMPLES / "pictures" / "generated.png", folder / "render" / f"frame_{number:04}.png")
    (folder / "drawing.svg").write_text(DRAWING)
    (folder / "cut.mp4").write_bytes((SAMPLES / "upright.mp4").read_bytes()[:300])
    (folder / "key").write_text(KEY + "\n")
    subprocess.run(["ffmpeg", "-v", "error", "-i", SAMPLES / "upright.mp4", "-map", "0:v", "-c", "copy",
                    "-encryption_scheme", "cenc-aes-ctr", "-encryption_key", KEY, "-encryption_kid", KEY,
                    "-fflags", "+bitexact", folder / "protected.mp4"], check=True, timeout=60)
    (folder / "mediaprobe").symlink_to(TOOL)
    return folder


class Documentation(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = make_folder()
        cls.environment = {**os.environ, "PATH": f"{cls.folder}:{os.environ['PATH']}", "TZ": "UTC", "LC_ALL": "C.UTF-8"}

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def output_of(self, command):
        done = subprocess.run(["bash", "-c", command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              stdin=subprocess.DEVNULL, cwd=self.folder, env=self.environment, timeout=120)
        return done.stdout.rstrip("\n")

    def test_examples_give_what_they_show(self):
        shown = 0
        for page in PAGES:
            for block in examples(page):
                for command, output in block:
                    shown += 1
                    with self.subTest(page=page.name, command=command):
                        self.assertEqual(self.output_of(command), output)
        self.assertGreater(shown, 15)

    def test_the_reference_has_every_option(self):
        rows = table_rows(section("Options"))
        told = {text.split()[0] for row in rows for text in quoted(row[0])}
        entries = help_entries()
        self.assertEqual(told, names_of(entries))
        for names, words in entries:
            row = next(row for row in rows if names[-1] in {text.split()[0] for text in quoted(row[0])})
            self.assertEqual([word for word in words if word not in quoted(row[1])], [], names)

    def test_the_reference_has_every_column_of_the_table(self):
        told = [name for row in table_rows(section("The CSV form")) for name in quoted(row[0])]
        header = self.output_of("mediaprobe --csv samples/voice.wav").splitlines()[0]
        self.assertEqual(told, header.split(","))

    def test_links_lead_somewhere(self):
        for page in PAGES:
            for target in re.findall(r"\]\(([^)#\s]+)[^)\s]*\)", page.read_text(encoding="utf-8")):
                if "://" not in target:
                    self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")


if __name__ == "__main__":
    unittest.main()
