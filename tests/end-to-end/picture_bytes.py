"""Pictures put together by hand, so that their headers can claim what no encoder writes. None holds real pixels."""
import struct
import zlib

from carriers import riff_chunk
from mp4_boxes import box, full_box


# ---- JPEG

def jpeg_segment(marker, payload):
    return bytes([0xFF, marker]) + struct.pack(">H", len(payload) + 2) + payload


def jpeg(width, height, *segments):
    """Segments, then a frame header and an empty scan."""
    frame = struct.pack(">BHHB", 8, height, width, 1) + b"\x01\x11\x00"
    scan = b"\x01\x01\x00\x00\x3f\x00"
    return b"\xff\xd8" + b"".join(segments) + jpeg_segment(0xC0, frame) + jpeg_segment(0xDA, scan) + b"\x00\xff\xd9"


def jpeg_exif(tiff_bytes):
    return jpeg_segment(0xE1, b"Exif\0\0" + tiff_bytes)


# ---- PNG

def png_chunk(kind, payload=b""):
    return struct.pack(">I", len(payload)) + kind + payload + struct.pack(">I", zlib.crc32(kind + payload))


def png(width, height, *chunks):
    header = png_chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    pixels = png_chunk(b"IDAT", zlib.compress(b""))
    return b"\x89PNG\r\n\x1a\n" + header + b"".join(chunks) + pixels + png_chunk(b"IEND")


def png_animation(claimed_frames):
    return png_chunk(b"acTL", struct.pack(">II", claimed_frames, 0))


def png_frame(number, width, height, numerator, denominator):
    return png_chunk(b"fcTL", struct.pack(">IIIIIHHBB", number, width, height, 0, 0, numerator, denominator, 0, 0))


# ---- GIF

def gif(width, height, *blocks):
    return b"GIF89a" + struct.pack("<HHBBB", width, height, 0x80, 0, 0) + bytes(6) + b"".join(blocks) + b";"


def gif_frame(delay_centiseconds, width=1, height=1):
    control = b"\x21\xf9\x04\x00" + struct.pack("<H", delay_centiseconds) + b"\x00\x00"
    descriptor = b"\x2c" + struct.pack("<HHHHB", 0, 0, width, height, 0)
    return control + descriptor + b"\x02\x02\x4c\x01\x00"


# ---- WebP

def webp(*chunks):
    body = b"WEBP" + b"".join(chunks)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def webp_canvas(width, height, flags=0):
    return riff_chunk(b"VP8X", bytes([flags, 0, 0, 0]) + _le24(width - 1) + _le24(height - 1))


def webp_frame(milliseconds, width=1, height=1):
    lossless = riff_chunk(b"VP8L", b"\x2f" + bytes(4))
    return riff_chunk(b"ANMF", bytes(6) + _le24(width - 1) + _le24(height - 1) + _le24(milliseconds) + b"\0" + lossless)


WEBP_ANIMATED = 0x02


def _le24(number):
    return number.to_bytes(3, "little")


# ---- TIFF

SHORT, LONG = 3, 4
IMAGE_WIDTH, IMAGE_HEIGHT, EXIF_DIRECTORY = 0x100, 0x101, 0x8769


def tiff_directory(entries, next_offset):
    """Entries are tag, type, count, value or offset."""
    return (struct.pack("<H", len(entries)) + b"".join(struct.pack("<HHII", *entry) for entry in entries) +
            struct.pack("<I", next_offset))


def tiff(*directories):
    """Directories one behind the other; the first one is at 8."""
    return b"II*\0" + struct.pack("<I", 8) + b"".join(directories)


def tiff_size(width, height):
    return [(IMAGE_WIDTH, LONG, 1, width), (IMAGE_HEIGHT, LONG, 1, height)]


# ---- boxes

def jp2(width, height):
    header = box(b"jp2h", box(b"ihdr", struct.pack(">IIHBBBB", height, width, 3, 7, 7, 0, 0)))
    return (box(b"jP  ", b"\r\n\x87\n") + box(b"ftyp", b"jp2 ", bytes(4), b"jp2 ") + header +
            box(b"jp2c", j2c(width, height)))


def j2c(width, height):
    size = struct.pack(">HIIIIIIIIH", 0, width, height, 0, 0, width, height, 0, 0, 1) + b"\x07\x01\x01"
    return b"\xff\x4f" + b"\xff\x51" + struct.pack(">H", len(size) + 2) + size


def jxl(width):
    """A bare codestream that is as high as it is wide: the size of 1 + 18 bits, ratio 1 of 7, all else by default."""
    bits = 2 << 1 | (width - 1) << 3 | 1 << 21 | 1 << 24
    return b"\xff\x0a" + bits.to_bytes(8, "little")


def heif(brand, codec, width, height, item_count=1, claimed_items=1):
    """An item of this size; `claimed_items` stands where the number of items does."""
    items = b"".join(box(b"infe", b"\x02\0\0\0", struct.pack(">HH", index + 1, 0), codec, b"\0")
                     for index in range(item_count))
    information = box(b"iinf", b"\x01\0\0\0", struct.pack(">I", claimed_items), items)
    properties = box(b"iprp",
                     box(b"ipco", full_box(b"ispe", struct.pack(">II", width, height))),
                     full_box(b"ipma", struct.pack(">IHBB", 1, 1, 1, 0x81)))
    locations = box(b"iloc", b"\x02\0\0\0\x44\0", struct.pack(">I", claimed_items),
                    *(struct.pack(">IHHHII", index + 1, 0, 0, 1, 0, 0) for index in range(item_count)))
    handler = full_box(b"hdlr", bytes(4), b"pict", bytes(13))
    primary = full_box(b"pitm", struct.pack(">H", 1))
    meta = full_box(b"meta", handler, primary, information, properties, locations)
    return box(b"ftyp", brand, bytes(4), b"mif1", brand) + meta + box(b"mdat", bytes(16))


# ---- headers at fixed places

def bmp(width, height):
    return b"BM" + struct.pack("<I4xI", 54, 54) + struct.pack("<IiiHH24x", 40, width, height, 1, 24)


def ico(picture):
    return struct.pack("<HHH", 0, 1, 1) + struct.pack("<BBBBHHII", 0, 0, 0, 0, 1, 32, len(picture), 22) + picture


def psd(width, height, version=1, resources=b""):
    header = b"8BPS" + struct.pack(">H6xHIIHH", version, 3, height, width, 8, 3)
    return header + struct.pack(">I", 0) + struct.pack(">I", len(resources)) + resources


def psd_resource(number, data):
    return b"8BIM" + struct.pack(">HHI", number, 0, len(data)) + data + bytes(len(data) % 2)


def exr(width, height, *attributes):
    window = struct.pack("<iiii", 0, 0, width - 1, height - 1)
    channels = b"Y\0" + bytes(16) + b"\0"
    return (b"\x76\x2f\x31\x01" + struct.pack("<I", 2) + b"".join(attributes) +
            exr_attribute(b"channels", b"chlist", channels) + exr_attribute(b"dataWindow", b"box2i", window) + b"\0")


def exr_attribute(name, kind, value):
    return name + b"\0" + kind + b"\0" + struct.pack("<I", len(value)) + value


def tga(width, height):
    return struct.pack("<BBBHHBHHHHBB", 0, 0, 10, 0, 0, 0, 0, 0, width, height, 24, 0) + b"\xff\0\0\0"


def qoi(width, height):
    return b"qoif" + struct.pack(">IIBB", width, height, 3, 0)


def dds(width, height):
    return (b"DDS " + struct.pack("<IIII", 124, 0x1007, height, width) + bytes(56) +
            struct.pack("<II", 32, 4) + b"DXT1" + bytes(40))


def hdr(width, height):
    return f"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y {height} +X {width}\n".encode()


def ppm(width, height):
    return f"P6\n{width} {height}\n255\n".encode()
