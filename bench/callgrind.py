"""Counts instructions with callgrind, alike on every machine with the same compiler and C library."""
import dataclasses
import os
import platform
import re
import shutil
import subprocess
import sys

# Valgrind passes on what the processor can, and glibc picks its string functions by that: without all of this it takes
# those that every x86-64 has. The names are those of glibc 2.33 to 2.40; others are ignored.
PLAIN_PROCESSOR = "glibc.cpu.hwcaps=" + ",".join(
    f"-{feature}" for feature in (
        "AVX", "AVX2", "AVX512F", "AVX512VL", "AVX512BW", "AVX_Fast_Unaligned_Load", "BMI1", "BMI2", "ERMS", "FSRM",
        "LZCNT", "MOVBE", "SSSE3", "SSE4_1", "SSE4_2", "RTM", "Prefer_No_VZEROUPPER"))

# All that a counted program sees of the environment: the loader walks through it, and zone and locale open files.
ENVIRONMENT = {"GLIBC_TUNABLES": PLAIN_PROCESSOR, "LC_ALL": "C", "TZ": "UTC0", "NO_COLOR": "1"}


@dataclasses.dataclass
class Profile:
    """Instructions of one run: all of them, and those of each function with what it called; how often it was; and those
    of all calls from one file of code, a program's or a library's, into another, by the names of both."""
    total: int
    inclusive: dict
    calls: dict
    between: dict


def read_profile(path):
    """Reads callgrind's output. A function that calls itself is counted at its outermost call only where callgrind
    separates the recursion, so ask for functions that do not."""
    names = {}
    inclusive = {}
    calls = {}
    files = {}
    between = {}
    total = 0
    callee = None
    caller_file = callee_file = None
    is_call_cost = False
    with open(path, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            if match := re.match(r"(c?)fn=\((\d+)\)(?: (.*))?", line):
                is_callee, number, name = match.groups()
                names.setdefault(number, name)
                if is_callee:
                    callee = names[number]
            elif match := re.match(r"(c?)ob=\((\d+)\)(?: (.*))?", line):
                is_callee, number, name = match.groups()
                files.setdefault(number, name)
                callee_file = files[number]
                if not is_callee:
                    caller_file = callee_file
            elif line.startswith("calls="):
                calls[callee] = calls.get(callee, 0) + int(line[len("calls="):].split()[0])
                is_call_cost = True
            elif line[0] in "0123456789+-*" and (fields := line.split()) and len(fields) == 2:
                if is_call_cost:
                    inclusive[callee] = inclusive.get(callee, 0) + int(fields[1])
                    between[caller_file, callee_file] = between.get((caller_file, callee_file), 0) + int(fields[1])
                    callee_file = caller_file  # also of the next call, unless it says otherwise
                else:
                    total += int(fields[1])
                is_call_cost = False
    return Profile(total, inclusive, calls, between)


def profile(command, folder, options=(), statuses=(0,)):
    """Runs `command` in `folder`, which takes the profile, too. It may end with one of `statuses`."""
    valgrind = shutil.which("valgrind")
    if valgrind is None:
        sys.exit("valgrind is not installed (scripts/setup test)")
    output, log = folder / "callgrind.out", folder / "callgrind.log"
    done = subprocess.run(
        [valgrind, "--tool=callgrind", "--vgdb=no", f"--callgrind-out-file={output}", f"--log-file={log}", *options,
         *command],
        cwd=folder, env=ENVIRONMENT, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        check=False)
    if done.returncode not in statuses:
        sys.exit(f"{' '.join(map(str, command))}: status {done.returncode}\n{log.read_text(errors='replace')}")
    return read_profile(output)


def made_with(program):
    """What the counts depend on besides the code: the versions without those of the packages, since a distribution's
    corrections hardly change them."""
    comment = subprocess.run(["readelf", "-p", ".comment", program], capture_output=True, text=True, check=True).stdout
    compilers = sorted(set(re.findall(r"\]\s+(GCC|clang|Debian clang)\b.*?(\d+\.\d+\.\d+)", comment)))
    return {"machine": platform.machine(),
            "compiler": ", ".join(" ".join(compiler) for compiler in compilers),
            "C library": os.confstr("CS_GNU_LIBC_VERSION")}
