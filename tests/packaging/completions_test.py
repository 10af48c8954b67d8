"""The man page and the shell completions know the options of the tool: these and no others, and the words they take."""
import pathlib
import re
import subprocess
import unittest

from cli_options import help_entries, names_of

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "packaging"
MAN_PAGE = PACKAGING / "mediaprobe.1"
BASH = PACKAGING / "completions" / "mediaprobe.bash"
ZSH = PACKAGING / "completions" / "_mediaprobe"
FISH = PACKAGING / "completions" / "mediaprobe.fish"
NAME = re.compile(r"(?<![\w-])--?\w[\w-]*")


def complete_in_bash(*words):
    """What bash offers for the last of `words`, which follow the tool's name."""
    script = ('set -u; source "$1"; shift; COMP_WORDS=(mediaprobe "$@"); COMP_CWORD=$#; COMPREPLY=(); _mediaprobe\n'
              '((${#COMPREPLY[@]} == 0)) || printf "%s\\n" "${COMPREPLY[@]}"')
    done = subprocess.run(["bash", "-c", script, "bash", str(BASH), *words], capture_output=True, text=True, timeout=60,
                          cwd=PACKAGING)
    if done.returncode != 0 or done.stderr:
        raise AssertionError(f"{words}: {done.returncode}\n{done.stderr}")
    return done.stdout.splitlines()


class Completions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.entries = help_entries()
        cls.names = names_of(cls.entries)

    def test_the_help_was_understood(self):
        self.assertIn((("-u", "--uuid"), []), self.entries)
        self.assertIn((("--service",), ["auto", "media", "image", "svg"]), self.entries)

    def test_the_man_page_has_every_option(self):
        source = re.sub(r"\\f[A-Z]", "", MAN_PAGE.read_text(encoding="utf-8").replace("\\-", "-"))
        options = source.split(".SH OPTIONS")[1].split(".SH ")[0]
        items = [item.split("\n", 1) for item in options.split("\n.TP\n")[1:]]
        self.assertEqual({name for tag, _ in items for name in NAME.findall(tag)}, self.names)
        for names, words in self.entries:
            text = next(text for tag, text in items if names[0] in NAME.findall(tag))
            self.assertEqual([word for word in words if not re.search(rf"\b{word}\b", text)], [], names)

    def test_the_man_page_is_well_formed(self):
        done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", str(MAN_PAGE)], capture_output=True, text=True,
                              timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_bash_reads_its_completion(self):
        done = subprocess.run(["bash", "-n", str(BASH)], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        script = 'source "$1"; complete -p mediaprobe'
        done = subprocess.run(["bash", "-c", script, "bash", str(BASH)], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stdout, "complete -F _mediaprobe mediaprobe\n")

    def test_bash_completes_options_and_their_words(self):
        self.assertEqual(set(complete_in_bash("-")), self.names)
        self.assertEqual(complete_in_bash("a.mp4", "--ndj"), ["--ndjson"])
        for names, words in self.entries:
            if words:
                self.assertEqual(complete_in_bash(names[-1], ""), words)
                # Readline takes an equals sign for a word of its own.
                self.assertEqual(complete_in_bash(names[-1], "="), words)
                self.assertEqual(complete_in_bash(names[-1], "=", words[-1][:2]), [words[-1]])

    def test_bash_completes_files(self):
        self.assertEqual(complete_in_bash("mediaprobe.1"), ["mediaprobe.1"])
        self.assertEqual(complete_in_bash("-o", "mediaprobe."), ["mediaprobe.1"])
        self.assertEqual(complete_in_bash("--key", "mediaprobe."), [])

    def test_zsh_has_every_option(self):
        # Of '(-o --output)'{-o,--output}'[words]:file:_files' the names stand between exclusions and words.
        specs = re.findall(r"^  (.*?) ?\\?$", ZSH.read_text(encoding="utf-8"), re.MULTILINE)
        heads = [re.sub(r"^'\([^)]*\)", "'", spec).split("[")[0] for spec in specs]
        self.assertEqual({name for head in heads for name in NAME.findall(head)}, self.names)
        for names, words in self.entries:
            if words:
                spec = next(spec for spec, head in zip(specs, heads) if names[-1] in NAME.findall(head))
                self.assertEqual(re.search(r":\((.*)\)'$", spec)[1].split(), words)

    def test_fish_has_every_option(self):
        lines = [line for line in FISH.read_text(encoding="utf-8").splitlines() if line.startswith("complete ")]
        named = [({"-" + name for name in re.findall(r" -s (\S+)", line)} |
                  {"--" + name for name in re.findall(r" -l (\S+)", line)}, line) for line in lines]
        self.assertEqual(set().union(*(names for names, _ in named)), self.names)
        for names, words in self.entries:
            if words:
                line = next(line for known, line in named if names[-1] in known)
                self.assertEqual(re.search(r" -a '([^']*)'", line)[1].split(), words)


if __name__ == "__main__":
    unittest.main()
