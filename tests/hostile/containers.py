"""Takes files apart into boxes (MP4, RIFF, EBML) and puts them together again, and knows where other formats keep sizes."""
import struct
import sys

# Boxes that hold boxes, and how many bytes stand in front of those.
MP4_MASTERS = {b"moov": 0, b"trak": 0, b"mdia": 0, b"minf": 0, b"dinf": 0, b"stbl": 0, b"edts": 0, b"udta": 0, b"mvex": 0,
               b"moof": 0, b"traf": 0, b"mfra": 0, b"ilst": 0, b"meta": 4, b"stsd": 8, b"dref": 8, b"iprp": 0, b"ipco": 0,
               b"iinf": 6, b"iref": 4, b"avc1": 78, b"hvc1": 78, b"mp4a": 28, b"sinf": 0, b"schi": 0}
EBML_MASTERS = {0x1A45DFA3, 0x18538067, 0x114D9B74, 0x4DBB, 0x1549A966, 0x1654AE6B, 0xAE, 0xE0, 0xE1, 0x6D80, 0x6240, 0x5035,
                0x1F43B675, 0xA0, 0x1C53BB6B, 0xBB, 0xB7, 0x1254C367, 0x7373, 0x63C0, 0x67C8, 0x1043A770, 0x1941A469}
RIFF_MASTERS = {b"RIFF", b"LIST"}
DEEPEST = 40
# Boxes are written level by level, and mutations nest them hundreds of levels deep.
sys.setrecursionlimit(10000)


class Box:
    """A box: what stands before its size is its name, `front` are the bytes before the boxes in it. `children` is None where
    the content is no boxes; all of it is in `front` then."""

    def __init__(self, name, front, children=None):
        self.name = name
        self.front = front
        self.children = children

    def copy(self):
        return Box(self.name, self.front, None if self.children is None else [child.copy() for child in self.children])


class Place:
    """Where a size or a count stands: `width` bytes from `offset`. An EBML size keeps the bits that tell its width."""

    def __init__(self, offset, width, big_endian=True, is_ebml_size=False):
        self.offset = offset
        self.width = width
        self.big_endian = big_endian
        self.is_ebml_size = is_ebml_size


class Mp4:
    @staticmethod
    def heads(data, begin, end):
        while end - begin >= 8:
            size, name = struct.unpack_from(">I4s", data, begin)
            head = 8
            if size == 1 and end - begin >= 16:
                size, head = struct.unpack_from(">Q", data, begin + 8)[0], 16
            if size == 0:
                size = end - begin
            if size < head or size > end - begin:
                return
            size_place = Place(begin + 8, 8) if head == 16 else Place(begin, 4)
            yield name, begin + head, begin + size, size_place
            begin += size

    @staticmethod
    def front_size(name):
        return MP4_MASTERS.get(name)

    @staticmethod
    def join(name, content):
        return struct.pack(">I", len(content) + 8) + name + content


class Riff:
    @staticmethod
    def heads(data, begin, end):
        while end - begin >= 8:
            name, size = struct.unpack_from("<4sI", data, begin)
            if size > end - begin - 8:
                return
            yield name, begin + 8, begin + 8 + size, Place(begin + 4, 4, big_endian=False)
            begin += 8 + size + size % 2

    @staticmethod
    def front_size(name):
        return 4 if name in RIFF_MASTERS else None

    @staticmethod
    def join(name, content):
        return name + struct.pack("<I", len(content)) + content + bytes(len(content) % 2)


class Ebml:
    @staticmethod
    def number(data, at, keep_mark):
        """The number at `at` and how many bytes it takes; (None, 0) where there is none."""
        if at >= len(data) or data[at] == 0:
            return None, 0
        width = 9 - data[at].bit_length()
        if at + width > len(data):
            return None, 0
        value = int.from_bytes(data[at:at + width], "big")
        return (value if keep_mark else value & (1 << 7 * width) - 1), width

    @staticmethod
    def heads(data, begin, end):
        while begin < end:
            name, name_width = Ebml.number(data, begin, keep_mark=True)
            size, size_width = Ebml.number(data, begin + name_width, keep_mark=False)
            if not name_width or not size_width:
                return
            content = begin + name_width + size_width
            is_unknown = size == (1 << 7 * size_width) - 1
            if is_unknown:
                size = end - content
            if size > end - content:
                return
            yield name, content, content + size, Place(begin + name_width, size_width, is_ebml_size=True)
            begin = content + size

    @staticmethod
    def front_size(name):
        return 0 if name in EBML_MASTERS else None

    @staticmethod
    def join(name, content):
        return name.to_bytes((name.bit_length() + 7) // 8, "big") + (1 << 56 | len(content)).to_bytes(8, "big") + content


def family_of(data):
    """The class that knows the file's boxes, or None."""
    if data[4:8] == b"ftyp":
        return Mp4
    if data[:4] == b"RIFF":
        return Riff
    if data[:4] == b"\x1a\x45\xdf\xa3":
        return Ebml
    return None


def parse(family, data):
    """The file's boxes."""
    def boxes(begin, end, depth):
        return [box(head, depth) for head in family.heads(data, begin, end)]

    def box(head, depth):
        name, begin, end, _ = head
        front = family.front_size(name)
        if front is None or front > end - begin or depth == DEEPEST:
            return Box(name, data[begin:end])
        return Box(name, data[begin:begin + front], boxes(begin + front, end, depth + 1))

    return boxes(0, len(data), 0)


def serialise(family, boxes):
    return b"".join(family.join(box.name, box.front + serialise(family, box.children or [])) for box in boxes)


def descendants(boxes):
    """Every box, with the list that it is in."""
    for box in boxes:
        yield box, boxes
        yield from descendants(box.children or [])


def box_places(family, data):
    """Sizes of boxes, and the first words of boxes without children, which are counts in many."""
    def walk(begin, end, depth):
        for name, content, box_end, size in family.heads(data, begin, end):
            yield size
            front = family.front_size(name)
            if front is not None and front <= box_end - content and depth < DEEPEST:
                yield from walk(content + front, box_end, depth + 1)
            elif family is Ebml:
                if box_end - content in range(1, 9):
                    yield Place(content, box_end - content)
            else:
                for at in range(content, min(box_end, content + 32) - 3, 4):
                    yield Place(at, 4, big_endian=family is Mp4)

    return list(walk(0, len(data), 0))


def png_places(data):
    at = 8
    while at + 12 <= len(data):
        yield Place(at, 4)
        for word in range(at + 8, at + 24, 4):
            yield Place(word, 4)
        at += 12 + int.from_bytes(data[at:at + 4], "big")


def jpeg_places(data):
    at = 2
    while at + 4 <= len(data) and data[at] == 0xFF and data[at + 1] != 0xDA:
        yield Place(at + 2, 2)
        for word in range(at + 4, at + 40, 2):
            yield Place(word, 2)
        at += 2 + int.from_bytes(data[at + 2:at + 4], "big")


def flac_places(data):
    at = 4
    while at + 4 <= len(data):
        yield Place(at + 1, 3)
        for word in range(at + 4, at + 36, 4):
            yield Place(word, 4, big_endian=False)
        if data[at] & 0x80:
            return
        at += 4 + int.from_bytes(data[at + 1:at + 4], "big")


def ogg_places(data):
    at = data.find(b"OggS")
    while at >= 0:
        yield Place(at + 26, 1)
        yield Place(at + 27, 1)
        yield Place(at + 6, 8, big_endian=False)
        at = data.find(b"OggS", at + 27)


def flv_places(data):
    yield Place(5, 4)
    at = 13
    while at + 15 <= len(data):
        size = int.from_bytes(data[at + 1:at + 4], "big")
        yield Place(at + 1, 3)
        yield Place(at + 11, 4)
        yield Place(at + 11 + size, 4)
        at += 15 + size


def transport_places(data):
    for at in range(0, min(len(data), 188 * 40), 188):
        yield Place(at + 4, 1)  # length of the adaptation field
        yield Place(at + 5, 1)
        yield Place(at + 6, 2)  # length of the section, of the PES packet


def any_places(data):
    for at in range(min(len(data), 512) - 3):
        yield Place(at, 1 << at % 3)


PLACES = {b"\x89PNG": png_places, b"\xff\xd8\xff\xe0": jpeg_places, b"\xff\xd8\xff\xe1": jpeg_places, b"fLaC": flac_places,
          b"OggS": ogg_places, b"FLV\x01": flv_places, b"\x47\x40\x11\x10": transport_places}


def places(data):
    """Where the file keeps sizes and counts."""
    family = family_of(data)
    found = box_places(family, data) if family else list(PLACES.get(bytes(data[:4]), any_places)(data))
    return [place for place in found if place.offset + place.width <= len(data)]
