"""Times commands beside each other, and counts what they read."""
import os
import statistics
import subprocess
import sys
import time


def start(command):
    to_nothing = [(os.POSIX_SPAWN_OPEN, output, os.devnull, os.O_WRONLY, 0) for output in (1, 2)]
    return os.posix_spawnp(command[0], [os.fspath(word) for word in command], os.environ, file_actions=to_nothing)


# Of programs that had something to complain about, such as a picture without tags; 253 is exiv2's.
USUAL_STATUSES = (0, 1, 253)


def check(command, status):
    if not os.WIFEXITED(status) or os.WEXITSTATUS(status) not in USUAL_STATUSES:
        sys.exit(f"{' '.join(os.fspath(word) for word in command[:6])}: status {status}")


def seconds_of(command):
    """Wall time of one process; its output is thrown away."""
    started = time.perf_counter()
    _, status = os.waitpid(start(command), 0)
    seconds = time.perf_counter() - started
    check(command, status)
    return seconds


def peak_bytes_of(command):
    """Not from our own wait for the child: a child's peak starts with the memory of who forked it, here Python's."""
    done = subprocess.run(["/usr/bin/time", "-q", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, check=False)
    return int(done.stderr.splitlines()[-1]) * 1024


def reads_of(command):
    """Bytes that a process read, and its read calls, as the kernel counts them; mapped files are not among them."""
    child = start(command)
    os.waitid(os.P_PID, child, os.WEXITED | os.WNOWAIT)
    with open(f"/proc/{child}/io", encoding="ascii") as file:
        counters = dict(line.split(": ") for line in file.read().splitlines())
    _, status = os.waitpid(child, 0)
    check(command, status)
    return int(counters["rchar"]), int(counters["syscr"])


def measure(commands, runs):
    """Median milliseconds and peak megabytes of each command. They take turns, so that what else the machine does falls on
    all, and each turn is two runs of which the second counts: the first finds the processor's caches full of what other
    programs left there."""
    results = [[(seconds_of(command), seconds_of(command))[-1] for command in commands] for _ in range(runs)]
    return [(statistics.median(column) * 1e3, peak_bytes_of(command) / 1e6)
            for column, command in zip(zip(*results), commands)]


def print_table(title, header, rows):
    print(f"\n{title}")
    widths = [max(len(row[column]) for row in [header, *rows]) for column in range(len(header))]
    for row in [header, *rows]:
        print("  ".join(cell.ljust(width) if column == 0 else cell.rjust(width)
                        for column, (cell, width) in enumerate(zip(row, widths))))


def numbers(*values):
    return [f"{value:.2f}" for value in values]
