"""Puts texts into media files where no program at hand does: ID3 tags, RIFF chunks, Vorbis comments, MP4 boxes."""
from mp4_boxes import append_to_movie, boxes, box, find, full_box

XMP_UUID = bytes.fromhex("BE7ACFCB97A942E89C71999491E3AFAC")
AIGC_NAMESPACE = "http://www.tc260.org.cn/ns/AIGC/1.0/"


# ---- ID3v2

def _syncsafe(number):
    return bytes(number >> shift & 0x7F for shift in (21, 14, 7, 0))


def id3v2_frame(kind, payload, version=4):
    size = _syncsafe(len(payload)) if version == 4 else len(payload).to_bytes(4, "big")
    return kind + size + bytes(2) + payload


def id3v2_text(kind, text, version=4):
    """A text frame; `text` is UTF-8 bytes (marked as such, which version 3 does not know but readers do)."""
    return id3v2_frame(kind, b"\x03" + text, version)


def id3v2_user_text(description, text, version=4):
    """A TXXX frame, in UTF-16 for version 3."""
    if version == 4:
        return id3v2_frame(b"TXXX", b"\x03" + description.encode() + b"\0" + text.encode(), version)
    mark = b"\xff\xfe"
    return id3v2_frame(b"TXXX", b"\x01" + mark + description.encode("utf-16-le") + bytes(2) + mark
                       + text.encode("utf-16-le"), version)


def id3v2_tag(*frames, version=4):
    body = b"".join(frames)
    return b"ID3" + bytes([version, 0, 0]) + _syncsafe(len(body)) + body


def id3v1_tag(title, artist, album, track, genre):
    """Version 1.1: fixed fields, the track's number at the end of the comment."""
    return (b"TAG" + title.ljust(30, b"\0") + artist.ljust(30, b"\0") + album.ljust(30, b"\0") + bytes(4) + bytes(29)
            + bytes([track, genre]))


# ---- RIFF

def riff_chunk(kind, payload):
    """Padded to an even length, as the format has it."""
    return kind + len(payload).to_bytes(4, "little") + payload + bytes(len(payload) % 2)


def with_riff_chunk(data, chunk, first):
    """The RIFF file with one more chunk, in front of all others or behind them."""
    data = data[:12] + chunk + data[12:] if first else data + chunk
    return data[:4] + (len(data) - 8).to_bytes(4, "little") + data[8:]


# ---- FLAC

def vorbis_comment(*comments):
    """The block's content; each comment is bytes "NAME=value"."""
    vendor = b"carrier"
    parts = [len(vendor).to_bytes(4, "little"), vendor, len(comments).to_bytes(4, "little")]
    for comment in comments:
        parts += [len(comment).to_bytes(4, "little"), comment]
    return b"".join(parts)


def flac_with_comments(data, *comments):
    """The FLAC file with its comment block replaced."""
    comment_type = 4
    at = 4
    blocks = []
    is_last = False
    while not is_last:
        is_last = bool(data[at] & 0x80)
        end = at + 4 + int.from_bytes(data[at + 1:at + 4], "big")
        if data[at] & 0x7F != comment_type:
            blocks.append((data[at] & 0x7F, data[at + 4:end]))
        at = end
    blocks.append((comment_type, vorbis_comment(*comments)))
    parts = [data[:4]]
    for number, (kind, payload) in enumerate(blocks, 1):
        last_bit = 0x80 if number == len(blocks) else 0
        parts += [bytes([kind | last_bit]), len(payload).to_bytes(3, "big"), payload]
    return b"".join(parts) + data[at:]


# ---- MP4

def _handler(kind):
    return full_box(b"hdlr", bytes(4), kind, bytes(12), b"\0")


def _data(text, kind=1):
    """An item's value; kind 1 is UTF-8."""
    return box(b"data", kind.to_bytes(4, "big"), bytes(4), text)


def named_keys(*pairs, is_full=True):
    """The metadata box that maps names to values; QuickTime's own form has no version bytes (`is_full` false)."""
    keys = full_box(b"keys", len(pairs).to_bytes(4, "big"), *(box(b"mdta", name.encode()) for name, _ in pairs))
    items = box(b"ilst", *(box(number.to_bytes(4, "big"), _data(value)) for number, (_, value) in enumerate(pairs, 1)))
    return (full_box if is_full else box)(b"meta", _handler(b"mdta"), keys, items)


def itunes_items(*pairs):
    """The metadata box of iTunes with these items: four letters and a value."""
    return full_box(b"meta", _handler(b"mdir"), box(b"ilst", *(box(kind, _data(value)) for kind, value in pairs)))


def with_user_data(data, *content):
    """The MP4 file with its movie's user data replaced."""
    start, payload, end = find(data, b"moov")
    if end != len(data):
        raise ValueError("the movie box is not the last one")
    kept = b"".join(data[child:stop] for kind, child, _, stop in boxes(data, payload, end) if kind != b"udta")
    return append_to_movie(data[:start] + box(b"moov", kept), box(b"udta", *content))


def user_text(kind, text, language=0x55C4):
    """A text of QuickTime's user data; the language is "und"."""
    return box(kind, len(text).to_bytes(2, "big"), language.to_bytes(2, "big"), text)


def xmp_uuid_box(packet):
    return box(b"uuid", XMP_UUID, packet)


def set_movie_times(data, creation, modification):
    """Puts seconds since 1904 into the movie header (version 0)."""
    _, payload, _ = find(data, b"moov", b"mvhd")
    times = creation.to_bytes(4, "big") + modification.to_bytes(4, "big")
    return data[:payload + 4] + times + data[payload + 12:]


# ---- XMP

def _escape(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")


def _xmp_packet(description):
    return ('<?xpacket begin="\ufeff" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/">'
            '<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">' + description +
            '</rdf:RDF></x:xmpmeta><?xpacket end="w"?>').encode()


def xmp_element(label, prefix="TC260"):
    """A packet with the label as an element; the prefix is the writer's choice."""
    return _xmp_packet(f'<rdf:Description rdf:about="" xmlns:{prefix}="{AIGC_NAMESPACE}">'
                       f'<{prefix}:AIGC>{_escape(label)}</{prefix}:AIGC></rdf:Description>')


def xmp_attribute(label, prefix="TC260"):
    """A packet with the label in the short form of a property."""
    return _xmp_packet(f'<rdf:Description rdf:about="" xmlns:{prefix}="{AIGC_NAMESPACE}" '
                       f'{prefix}:AIGC="{_escape(label)}"/>')
