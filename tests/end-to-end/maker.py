"""Makes media files with the ffmpeg program."""
import concurrent.futures
import os
import subprocess


def pictures(size="64x48", rate="25", seconds="1", pixels=None):
    """ffmpeg's arguments for an input of test pictures."""
    source = f"testsrc2=size={size}:rate={rate}:duration={seconds}"
    return ["-f", "lavfi", "-i", source + (f",format={pixels}" if pixels else "")]


def tone(rate="48000", seconds="1", frequency="440"):
    """ffmpeg's arguments for an input of mono sound."""
    return ["-f", "lavfi", "-i", f"sine=frequency={frequency}:sample_rate={rate}:duration={seconds}"]


def quiet_start(seconds):
    """ffmpeg's arguments for an input of noise behind as much silence, `seconds` long in all."""
    return ["-f", "lavfi", "-i", f"aevalsrc='if(lt(t,{seconds / 2}),0,random(0)-0.5)':sample_rate=44100:duration={seconds}"]


def run(command, folder):
    done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}\n{done.stderr}")


def run_ffmpeg(path, arguments, folder):
    run(["ffmpeg", "-hide_banner", "-loglevel", "error", "-y", *arguments, str(path)], folder)


def in_parallel(function, items):
    """Calls `function` for each item, as many at once as there are processors; the results in order."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return list(pool.map(function, items))


SUBTITLES_SRT = """1
00:00:00,100 --> 00:00:00,900
Some words
"""

SUBTITLES_ASS = """[Script Info]
ScriptType: v4.00+

[V4+ Styles]
Format: Name, Fontname, Fontsize, PrimaryColour, Alignment
Style: Default,Sans,16,&H00FFFFFF,2

[Events]
Format: Layer, Start, End, Style, Text
Dialogue: 0,0:00:00.10,0:00:00.90,Default,Some words
"""


def _pgs_segment(seconds, kind, payload):
    stamp = int(seconds * 90000)
    return b"PG" + stamp.to_bytes(4, "big") + bytes(4) + bytes([kind]) + len(payload).to_bytes(2, "big") + payload


def pgs_stream():
    """A presentation graphics stream that shows a 2 by 2 picture from 0.1 s to 0.9 s on a 64 by 48 screen."""
    screen = (64).to_bytes(2, "big") + (48).to_bytes(2, "big") + b"\x10"
    window = b"\x01\x00" + bytes(4) + b"\x00\x02\x00\x02"
    palette = b"\x00\x00" + b"\x01\xeb\x80\x80\xff"
    lines = b"\x01\x01\x00\x00" * 2
    picture = b"\x00\x02\x00\x02" + lines
    shown = screen + b"\x00\x00\x80\x00\x00\x01" + b"\x00\x00\x00\x00" + bytes(4)
    cleared = screen + b"\x00\x01\x00\x00\x00\x00"
    return b"".join((
        _pgs_segment(0.1, 0x16, shown),
        _pgs_segment(0.1, 0x17, window),
        _pgs_segment(0.1, 0x14, palette),
        _pgs_segment(0.1, 0x15, b"\x00\x00\x00\xc0" + len(picture).to_bytes(3, "big") + picture),
        _pgs_segment(0.1, 0x80, b""),
        _pgs_segment(0.9, 0x16, cleared),
        _pgs_segment(0.9, 0x80, b""),
    ))


def write_subtitles(folder):
    """Writes words.srt, words.ass and words.sup."""
    (folder / "words.srt").write_text(SUBTITLES_SRT)
    (folder / "words.ass").write_text(SUBTITLES_ASS)
    (folder / "words.sup").write_bytes(pgs_stream())
