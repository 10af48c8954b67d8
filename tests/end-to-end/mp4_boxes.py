"""Finds and changes boxes of MP4 files."""

CONTAINERS = (b"moov", b"trak", b"mdia", b"minf", b"stbl", b"udta")


def boxes(data, start=0, end=None):
    """(type, start of the box, start of its payload, end) of each box in turn."""
    end = len(data) if end is None else end
    while start + 8 <= end:
        size = int.from_bytes(data[start:start + 4], "big")
        payload = start + 8
        if size == 1:
            size = int.from_bytes(data[payload:payload + 8], "big")
            payload += 8
        stop = end if size == 0 else start + size
        if stop < payload or stop > end:
            raise ValueError(f"box at {start} has no valid size")
        yield bytes(data[start + 4:start + 8]), start, payload, stop
        start = stop


def find(data, *path, start=0, end=None):
    """(start of the box, start of its payload, end) of the first box with this path, such as b"moov", b"mvhd"."""
    for kind, box, payload, stop in boxes(data, start, end):
        if kind != path[0]:
            continue
        return (box, payload, stop) if len(path) == 1 else find(data, *path[1:], start=payload, end=stop)
    raise ValueError(f"no box {path}")


def box(kind, *payload):
    body = b"".join(payload)
    return (len(body) + 8).to_bytes(4, "big") + kind + body


def full_box(kind, *payload):
    """A box of version 0 without flags."""
    return box(kind, bytes(4), *payload)


def append_to_movie(data, *addition):
    """Appends boxes to the movie box, which has to be the last one of the file, so that no sample moves."""
    start, payload, end = find(data, b"moov")
    if end != len(data):
        raise ValueError("the movie box is not the last one")
    return data[:start] + box(b"moov", data[payload:end], *addition)


def set_matrix(data, a, b, c, d):
    """Puts a display matrix without translation into the first track: (a, b) is where the picture's x axis goes, (c, d)
    where its y axis does, with y pointing down."""
    _, payload, _ = find(data, b"moov", b"trak", b"tkhd")
    at = payload + (40 if data[payload] == 0 else 52)
    unity = 0x10000
    rows = (a * unity, b * unity, 0, c * unity, d * unity, 0, 0, 0, 0x40000000)
    matrix = b"".join((value & 0xFFFFFFFF).to_bytes(4, "big") for value in rows)
    return data[:at] + matrix + data[at + len(matrix):]


def add_to_media(data, addition):
    """Puts a box into the media box of the first track. The movie box has to be the last one of the file."""
    movie, _, end = find(data, b"moov")
    track, _, _ = find(data, b"moov", b"trak")
    media, payload, _ = find(data, b"moov", b"trak", b"mdia")
    if end != len(data):
        raise ValueError("the movie box is not the last one")
    data = bytearray(data[:payload] + addition + data[payload:])
    for start in (movie, track, media):
        size = int.from_bytes(data[start:start + 4], "big") + len(addition)
        data[start:start + 4] = size.to_bytes(4, "big")
    return bytes(data)


def set_edits(data, *edits):
    """Gives the first track these edits, each of a duration in ticks of the movie, a start in those of the media (-1 for
    none) and a speed. The movie box has to be the last one of the file."""
    entries = b"".join(ticks.to_bytes(4, "big") + (start & 0xFFFFFFFF).to_bytes(4, "big") +
                       int(speed * 65536).to_bytes(4, "big") for ticks, start, speed in edits)
    movie, _, end = find(data, b"moov")
    track, _, _ = find(data, b"moov", b"trak")
    old, _, old_end = find(data, b"moov", b"trak", b"edts")
    if end != len(data):
        raise ValueError("the movie box is not the last one")
    new = box(b"edts", full_box(b"elst", len(edits).to_bytes(4, "big"), entries))
    data = bytearray(data[:old] + new + data[old_end:])
    for start in (movie, track):
        size = int.from_bytes(data[start:start + 4], "big") + len(new) - (old_end - old)
        data[start:start + 4] = size.to_bytes(4, "big")
    duration = sum(ticks for ticks, _, _ in edits).to_bytes(4, "big")
    _, header, _ = find(data, b"moov", b"mvhd")
    data[header + 16:header + 20] = duration
    _, header, _ = find(data, b"moov", b"trak", b"tkhd")
    data[header + 20:header + 24] = duration
    return bytes(data)
