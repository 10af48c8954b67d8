"""Brings our record and ffprobe's report of one file into the same form, and compares them."""
import dataclasses
import json
import re
import subprocess

import tool

# Names of H.273 values as ffprobe prints them.
TRANSFERS = {"bt709": 1, "gamma22": 4, "gamma28": 5, "smpte170m": 6, "linear": 8, "iec61966-2-1": 13, "bt2020-10": 14,
             "smpte2084": 16, "arib-std-b67": 18}
MATRICES = {"gbr": 0, "bt709": 1, "bt470bg": 5, "smpte170m": 6, "bt2020nc": 9, "bt2020c": 10}
FIELD_ORDERS = {"progressive": "progressive", "tt": "top_first", "bb": "bottom_first"}
RANGES = {"tv": "limited", "pc": "full"}
CONTAINERS = {"mkv": "matroska", "opus": "ogg", "ogv": "ogg", "mpegps": "mpeg"}
VIDEO_KEY = "MediaFile_Metedata_Video_"


def same(ours, theirs):
    return ours == theirs


def one_of(ours, theirs):
    return any(abs(ours - count) <= 1 for count in theirs)


def within(absolute, relative=0.0):
    return lambda ours, theirs: abs(ours - theirs) <= max(absolute, relative * abs(theirs))


# What is compared and how close it has to be. Where ffprobe knows nothing there is nothing to compare; where it knows
# something, we have to.
FILE_RULES = {
    "format": lambda ours, theirs: CONTAINERS.get(ours, ours) in theirs.split(","),
    "duration": within(0.05, 0.01),    # for raw streams an estimate; exact ones are checked by the stream
    "bit_rate": within(1000, 0.03),    # follows the duration
    "size": same,
    "programs": same,
    "streams": same,
}
STREAM_RULES = {
    "kind": same,
    "codec": same,
    "profile": same,
    "level": same,
    "language": same,
    "disposition": same,
    "duration": within(0.05),          # a frame or an encoder's delay, where a container stores neither
    "bit_rate": within(1000, 0.03),
    "width": same,
    "height": same,
    "display_width": within(1),        # rounding of the aspect ratio
    "display_height": within(1),
    "frame_rate": within(0.001),       # ours has three decimals
    "frame_count": one_of,             # exact where the container counts: in the cases' own facts
    "rotation": same,
    "field_order": same,
    "chroma": same,
    "bit_depth": same,
    "color_primaries": same,
    "color_range": same,
    "transfer": same,
    "matrix": same,
    "sample_rate": same,
    "channels": same,
    "bits_per_sample": same,
}


@dataclasses.dataclass(frozen=True)
class Better:
    """A value of ours that differs from ffprobe's and is right."""
    ours: object
    reason: str


# By file, then by key as in Case.facts.
KNOWN_BETTER = {
    "default_base.mp4": {"0.frame_count": Better(25, "ffprobe counts the first fragment only")},
    "to_the_end.mp4": {"duration": Better(1, "ffprobe takes an edit without a length for an empty one"),
                       "0.duration": Better(1, "ffprobe takes an edit without a length for an empty one")},
    "brazilian.mp4": {"0.language": Better("pt-BR", "ffprobe passes over the extended language tag")},
    "pal.dv": {"0.bit_rate": Better(28800000, "ffprobe prints the nominal rate, whatever a frame takes")},
    "ntsc.dv": {"0.bit_rate": Better(28771229, "ffprobe prints the nominal rate, whatever a frame takes")},
    "cut.wmv": {"0.frame_count": Better(50, "ffprobe knows no length; ours is that of the whole film")},
    "server.gxf": {"0.frame_rate": Better(25, "ffprobe takes fields for pictures")},
    "hlg_message.ts": {"0.transfer": Better(14, "ffprobe has that of the message here, but not from other containers")},
    "webvtt.mp4": {"programs": Better({1: [0]}, "ffprobe does not know the track"),
                   "streams": Better([0], "ffprobe does not know the track")},
    "two_slow.wmv": {"0.frame_rate": Better(0.2, "ffprobe guesses a rate that the packets do not have"),
                     "1.frame_rate": Better(0.5, "ffprobe guesses a rate that the packets do not have")},
    "uneven.wmv": {"0.frame_rate": Better(2.5, "ffprobe guesses a rate that the packets do not have")},
    "mpeg1.ts": {"0.bit_rate": Better(None, "ffprobe prints the mark of a variable rate as if it were a rate")},
    "mpeg1.mpg": {"0.bit_rate": Better(None, "ffprobe prints the mark of a variable rate as if it were a rate")},
}


def describe_ours(record):
    """The record in the common form."""
    return {
        "format": record["format"],
        "duration": record.get("duration"),
        "bit_rate": record.get("bit_rate"),
        "size": record.get("size"),
        "programs": {program["id"]: sorted(stream["index"] for kind in ("video", "audio", "subpicture")
                                           for stream in program[kind])
                     for program in record["programs"]},
        "streams": sorted(tool.streams_of(record)),
        **{f"{index}.{key}": value
           for index, stream in tool.streams_of(record).items() for key, value in _describe_our_stream(stream).items()},
    }


def _describe_our_stream(stream):
    described = {key: stream.get(key) for key in STREAM_RULES}
    rate = stream.get("frame_rate")
    metadata = stream.get("metadata", {})
    return {
        **described,
        "frame_rate": rate["num"] / rate["den"] if rate else None,
        "transfer": metadata.get(VIDEO_KEY + "Transfer_Characteristics"),
        "matrix": metadata.get(VIDEO_KEY + "Matrix_Coefficients"),
    }


def ask_ffprobe(path):
    """ffprobe's report on the file, with the packets counted."""
    done = subprocess.run(
        ["ffprobe", "-v", "error", "-count_packets", "-show_streams", "-show_format", "-show_programs",
         "-print_format", "json", f"file:{path}"], capture_output=True, check=True)
    return json.loads(done.stdout)


def describe_theirs(report):
    """ffprobe's report in the common form; None for what it does not know."""
    media = report["format"]
    kinds = {"video", "audio", "subtitle"}
    streams = [stream for stream in report["streams"] if stream["codec_type"] in kinds]
    programs = {program["program_num"]: sorted(stream["index"] for stream in program["streams"])
                for program in report.get("programs", [])}
    return {
        "format": media["format_name"],
        "duration": _number(media.get("duration")),
        "bit_rate": _number(media.get("bit_rate")),
        "size": _number(media.get("size")),
        "programs": programs or {1: sorted(stream["index"] for stream in streams)},
        "streams": sorted(stream["index"] for stream in streams),
        **{f"{stream['index']}.{key}": value
           for stream in streams
           for key, value in _describe_their_stream({**stream, "file_duration": media.get("duration")}).items()},
    }


def _describe_their_stream(stream):
    kind = "subpicture" if stream["codec_type"] == "subtitle" else stream["codec_type"]
    language = stream.get("tags", {}).get("language", "und")
    described = {
        "kind": kind,
        "codec": stream.get("codec_name"),
        "language": None if language == "und" else language,
        "disposition": [name for name, is_set in stream["disposition"].items() if is_set],
    }
    if kind == "video":
        described |= _describe_their_picture(stream)
    if kind == "audio":
        described |= {"profile": stream.get("profile"), "sample_rate": _number(stream.get("sample_rate")),
                      "channels": stream.get("channels"),
                      "bits_per_sample": _number(stream.get("bits_per_raw_sample")) or stream.get("bits_per_sample")
                      or None}
    if kind != "subpicture":
        described |= {"duration": _number(stream.get("duration")), "bit_rate": _number(stream.get("bit_rate"))}
    return described


def _describe_their_picture(stream):
    is_cover = stream["disposition"]["attached_pic"]
    chroma, depth = _sampling(stream.get("pix_fmt", ""))
    aspect_width, aspect_height = (int(x) for x in stream.get("sample_aspect_ratio", "1:1").split(":"))
    return {
        "width": stream["width"],
        "height": stream["height"],
        "display_width": stream["width"] * aspect_width / aspect_height if aspect_width else None,
        "display_height": stream["height"],
        "frame_rate": None if is_cover else _ratio(stream["avg_frame_rate"]) or _ratio(stream["r_frame_rate"]),
        "frame_count": _counts(stream),
        "rotation": _rotation(stream),
        "field_order": FIELD_ORDERS.get(stream.get("field_order")),
        "chroma": chroma,
        "bit_depth": depth,
        "color_primaries": stream.get("color_primaries"),
        "color_range": RANGES.get(stream.get("color_range")),
        "transfer": TRANSFERS.get(stream.get("color_transfer")),
        "matrix": MATRICES.get(stream.get("color_space")),
    }


def _rotation(stream):
    """Degrees clockwise; None for a mirrored picture, where ffprobe's angle is that of something else."""
    for side_data in stream.get("side_data_list", []):
        if side_data["side_data_type"] == "Display Matrix":
            rows = [[int(x) for x in line.split(":")[1].split()]
                    for line in side_data["displaymatrix"].splitlines() if line]
            is_mirrored = rows[0][0] * rows[1][1] < rows[0][1] * rows[1][0]
            return None if is_mirrored else -side_data["rotation"] % 360
    return 0


def _counts(stream):
    """The numbers of pictures that may be told: what the container counts; else what there really are or, as opening
    the file tells no more, what duration and rate come to."""
    if "nb_frames" in stream:
        return [int(stream["nb_frames"])]
    duration = stream.get("duration", stream["file_duration"])
    rate = _ratio(stream["avg_frame_rate"])
    estimate = [float(duration) * rate] if duration and rate else []
    return [int(stream["nb_read_packets"]), *estimate]


def _number(text):
    if text is None:
        return None
    number = float(text)
    return int(number) if number.is_integer() else number


def _ratio(text):
    numerator, denominator = (int(x) for x in text.split("/"))
    return numerator / denominator if numerator and denominator else None


def _sampling(pixels):
    """Chroma sampling and bits per component of a pixel format, as its name tells them."""
    planar = re.match(r"yuva?j?(4\d\d)p(\d+)?", pixels)
    if planar:
        return ":".join(planar[1]), int(planar[2] or 8)
    if pixels.startswith(("rgb", "bgr", "gbrp", "argb", "bgra")):
        return "RGB", 16 if pixels.startswith(("rgb48", "rgba64")) else 8
    return None, None


def disagreements(name, ours, theirs):
    """A line for each difference between the two that is not known to be for the better."""
    lines = []
    better = KNOWN_BETTER.get(name, {})
    for key, their_value in theirs.items():
        our_value = ours.get(key)
        rule = FILE_RULES.get(key) or STREAM_RULES[key.split(".")[1]]
        if their_value is None or (our_value is not None and rule(our_value, their_value)):
            if key in better:
                lines.append(f"{key}: ffprobe agrees now: take it off the list of better answers")
        elif key not in better:
            lines.append(f"{key}: ours {our_value!r}, ffprobe's {their_value!r}")
        elif our_value != better[key].ours:
            lines.append(f"{key}: ours {our_value!r}, known better {better[key].ours!r} ({better[key].reason})")
    return lines
