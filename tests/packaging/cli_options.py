"""The options of a command, read from its own help: what every page and completion is held against."""
import os
import re
import subprocess

TOOL = os.environ["MEDIAPROBE"]
ENTRY = re.compile(r"^  (-[\w,-]+)(?: [A-Z]+)?(?::\{([\w,]+)\})?", re.MULTILINE)


def help_entries(command=TOOL):
    """For each option its names, such as ("-u", "--uuid"), and the words it takes, where it takes certain words only."""
    text = subprocess.run([command, "--help"], capture_output=True, text=True, check=True, timeout=60).stdout
    return [(tuple(names.split(",")), words.split(",") if words else []) for names, words in ENTRY.findall(text)]


def names_of(entries):
    return {name for names, _ in entries for name in names}
