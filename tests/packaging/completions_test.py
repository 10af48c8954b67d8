"""The man pages and the shell completions know the options of the commands: these and no others, and the words they take."""
import os
import pathlib
import re
import subprocess
import unittest

from cli_options import TOOL, help_entries, names_of

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "packaging"
NAME = re.compile(r"(?<![\w-])--?\w[\w-]*")


class CommandTests:
    """The tests of one command: `program`, whose files are named after `name`."""
    name: str
    program: str

    @classmethod
    def setUpClass(cls):
        cls.man_page = PACKAGING / f"{cls.name}.1"
        cls.bash = PACKAGING / "completions" / f"{cls.name}.bash"
        cls.zsh = PACKAGING / "completions" / f"_{cls.name}"
        cls.fish = PACKAGING / "completions" / f"{cls.name}.fish"
        cls.function = "_" + cls.name.replace("-", "_")
        cls.entries = help_entries(cls.program)
        cls.names = names_of(cls.entries)

    def complete_in_bash(self, *words):
        """What bash offers for the last of `words`, which follow the command's name."""
        script = (f'set -u; source "$1"; shift; COMP_WORDS=({self.name} "$@"); COMP_CWORD=$#; COMPREPLY=(); {self.function}\n'
                  '((${#COMPREPLY[@]} == 0)) || printf "%s\\n" "${COMPREPLY[@]}"')
        done = subprocess.run(["bash", "-c", script, "bash", str(self.bash), *words], capture_output=True, text=True,
                              timeout=60, cwd=PACKAGING)
        self.assertEqual((done.returncode, done.stderr), (0, ""), words)
        return done.stdout.splitlines()

    def test_the_man_page_has_every_option(self):
        source = re.sub(r"\\f[A-Z]", "", self.man_page.read_text(encoding="utf-8").replace("\\-", "-"))
        options = source.split(".SH OPTIONS")[1].split(".SH ")[0]
        items = [item.split("\n", 1) for item in options.split("\n.TP\n")[1:]]
        self.assertEqual({name for tag, _ in items for name in NAME.findall(tag)}, self.names)
        for names, words in self.entries:
            text = next(text for tag, text in items if names[0] in NAME.findall(tag))
            self.assertEqual([word for word in words if not re.search(rf"\b{word}\b", text)], [], names)

    def test_the_man_page_is_well_formed(self):
        done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", str(self.man_page)], capture_output=True, text=True,
                              timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_bash_reads_its_completion(self):
        done = subprocess.run(["bash", "-n", str(self.bash)], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        script = f'source "$1"; complete -p {self.name}'
        done = subprocess.run(["bash", "-c", script, "bash", str(self.bash)], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stdout, f"complete -F {self.function} {self.name}\n")

    def test_bash_completes_options_and_their_words(self):
        self.assertEqual(set(self.complete_in_bash("-")), self.names)
        self.assertEqual(self.complete_in_bash("a.mp4", "--vers"), ["--version"])
        for names, words in self.entries:
            if words:
                self.assertEqual(self.complete_in_bash(names[-1], ""), words)
                # Readline takes an equals sign for a word of its own.
                self.assertEqual(self.complete_in_bash(names[-1], "="), words)
                self.assertEqual(self.complete_in_bash(names[-1], "=", words[-1][:2]), [words[-1]])

    def test_zsh_has_every_option(self):
        # Of '(-o --output)'{-o,--output}'[words]:file:_files' the names stand between exclusions and words.
        specs = re.findall(r"^  (.*?) ?\\?$", self.zsh.read_text(encoding="utf-8"), re.MULTILINE)
        heads = [re.sub(r"^'\([^)]*\)", "'", spec).split("[")[0] for spec in specs]
        self.assertEqual({name for head in heads for name in NAME.findall(head)}, self.names)
        for names, words in self.entries:
            if words:
                spec = next(spec for spec, head in zip(specs, heads) if names[-1] in NAME.findall(head))
                self.assertEqual(re.search(r":\((.*)\)'$", spec)[1].split(), words)

    def test_fish_has_every_option(self):
        lines = [line for line in self.fish.read_text(encoding="utf-8").splitlines() if line.startswith("complete ")]
        named = [({"-" + name for name in re.findall(r" -s (\S+)", line)} |
                  {"--" + name for name in re.findall(r" -l (\S+)", line)}, line) for line in lines]
        self.assertEqual(set().union(*(names for names, _ in named)), self.names)
        for names, words in self.entries:
            if words:
                line = next(line for known, line in named if names[-1] in known)
                self.assertEqual(re.search(r" -a '([^']*)'", line)[1].split(), words)


class Mediaprobe(CommandTests, unittest.TestCase):
    name = "mediaprobe"
    program = TOOL

    def test_the_help_was_understood(self):
        self.assertIn((("-u", "--uuid"), []), self.entries)
        self.assertIn((("--service",), ["auto", "media", "image", "svg"]), self.entries)

    def test_bash_completes_files(self):
        self.assertEqual(self.complete_in_bash("mediaprobe.1"), ["mediaprobe.1"])
        self.assertEqual(self.complete_in_bash("-o", "mediaprobe."), ["mediaprobe.1"])
        self.assertEqual(self.complete_in_bash("--key", "mediaprobe."), [])


class ModuleCheck(CommandTests, unittest.TestCase):
    name = "module-check"
    program = os.environ["MODULE_CHECK"]

    def test_the_help_was_understood(self):
        self.assertIn((("-v", "--verbose"), []), self.entries)

    def test_bash_completes_files(self):
        self.assertEqual(self.complete_in_bash("module-check."), ["module-check.1"])
        self.assertEqual(self.complete_in_bash("--with", "module-check."), ["module-check.1"])
        self.assertEqual(self.complete_in_bash("--only", "module-check."), [])


if __name__ == "__main__":
    unittest.main()
