"""Times commands beside each other."""
import os
import statistics
import subprocess
import sys
import time


def seconds_of(command):
    """Wall time of one process; its output is thrown away."""
    to_nothing = [(os.POSIX_SPAWN_OPEN, output, "/dev/null", os.O_WRONLY, 0) for output in (1, 2)]
    started = time.perf_counter()
    child = os.posix_spawnp(command[0], [os.fspath(word) for word in command], os.environ, file_actions=to_nothing)
    _, status = os.waitpid(child, 0)
    seconds = time.perf_counter() - started
    if status != 0:
        sys.exit(f"compare: {command[0]} fails on {command[-1]}")
    return seconds


def peak_bytes_of(command):
    """Not from our own wait for the child: a child's peak starts with the memory of who forked it, here Python's."""
    done = subprocess.run(["/usr/bin/time", "-q", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, check=True)
    return int(done.stderr.splitlines()[-1]) * 1024


def measure(commands, runs):
    """Median milliseconds and peak megabytes of each command; the first run of each is thrown away."""
    results = [[seconds_of(command) for command in commands] for _ in range(runs + 1)][1:]
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
