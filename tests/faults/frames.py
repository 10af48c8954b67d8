"""Whose code a place in a program belongs to, from its modules' symbol tables."""
import bisect
import functools
import pathlib
import re
import subprocess

OURS = "ours"
# Namespaces of this system's own code. The functions that make things fail are none of it.
_OUR_NAMES = re.compile(r"(core|media_server|mediaprobe|platform|service|svg_decoder|imagecore)::|"
                        r"(Core|Create|Get|Make|Open|Read|Render|ZOR)[A-Z]\w+(\(|$)|main$|__wrap_")
_TOOLING = re.compile(r"faults::|(__wrap_)?(malloc|calloc|realloc|memalign|aligned_alloc|posix_memalign|free)$|"
                      r"(p?read(64)?|__cxa_throw)$")
# Templates and inline functions of the standard library are compiled into whoever uses them.
_STANDARD = re.compile(r"(\w[\w ]* )?(std|__gnu_cxx|nlohmann)::|operator (new|delete)|__gnu|__cxa|decltype")
_RUNTIME = re.compile(r"(libc|libm|libstdc\+\+|libgcc_s|ld-linux[-\w]*|libpthread)\.so|linux-vdso")


@functools.lru_cache(maxsize=None)
def _symbols(module):
    """Addresses and demangled names of a module's functions, in order."""
    found = []
    for table in ((), ("-D",)):
        listed = subprocess.run(["nm", "-C", "--defined-only", *table, module], capture_output=True, text=True)
        for line in listed.stdout.splitlines():
            address, kind, name = line.split(" ", 2)
            if kind in "tTwWiu":
                found.append((int(address, 16), name))
        if found:
            break
    found.sort()
    return [address for address, _ in found], [name for _, name in found]


def name_of(frame):
    """The function that a frame, module and offset, lies in."""
    module, offset = frame
    addresses, names = _symbols(module)
    # The offset is where a call returns to, which may be past the function's end.
    at = bisect.bisect_left(addresses, offset) - 1
    return names[at] if at >= 0 else "?"


def _owner_of_frame(frame):
    """Whose a frame is; None for what says nothing about that."""
    module = pathlib.Path(frame[0]).name
    if _RUNTIME.match(module):
        return None
    name = name_of(frame)
    if _TOOLING.match(name) or _STANDARD.match(name):
        return None
    if _OUR_NAMES.match(name):
        return OURS
    if name.startswith("Brotli"):
        return "libbrotlidec"
    if module.startswith("libMediaServer") and "::" not in name:
        return "libavformat"
    return module.split(".so")[0]


def tells(frame):
    """Whether a frame is of code that is neither the system's nor the test's."""
    return _owner_of_frame(frame) is not None


def owner_of(frames):
    """Whose code a place is in: that of the innermost frame which is neither the system's nor the test's. "unknown" where
    no frame tells."""
    return next(filter(None, map(_owner_of_frame, frames)), "unknown")


def shown(frames, most=6):
    """The names of the innermost frames that tell something."""
    telling = [name_of(frame) for frame in frames if tells(frame)]
    return " < ".join(name.split("(")[0] for name in telling[:most]) or " < ".join(map(name_of, frames[:most]))
