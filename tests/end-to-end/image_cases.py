"""The pictures that sizes are checked on: which program makes each and what has to be said of it.

Where Debian has two encoders of a format, two make it. It has but one of QOI, DDS, Radiance and Photoshop documents,
and none of DNG and the cameras' raw formats, whose readers are tested on bytes alone."""
import dataclasses

JPEG, PNG, GIF, WEBP, BMP, TIFF, HEIF, AVIF, JPEG_XL, PSD = range(1, 11)
OPEN_EXR = 12
OTHER = 99
NO_ALPHA, STRAIGHT, PREMULTIPLIED = range(3)

WIDTH, HEIGHT = 37, 23
# Frames of an animation, each shown for a tenth of a second.
FRAMES = ["frame1.png", "frame2.png", "frame3.png"]
ANIMATION_SECONDS = 0.3
ANIMATION_RATE = {"Image_Metedata_GifFrameRate_Num": 10, "Image_Metedata_GifFrameRate_Den": 1}


@dataclasses.dataclass(frozen=True)
class Case:
    """`command` makes the file `name`; `facts` are what it asked for, by keys of the record or of its metadata."""
    format: str
    name: str
    command: list
    facts: dict

    @property
    def encoder(self):
        return self.command[0]


def _still(file_format, picture_type, name, command, alpha=None, **facts):
    known = {"width": WIDTH, "height": HEIGHT, "Image_Metedata_PicType": picture_type, **facts}
    if alpha is not None:
        known["MediaFile_Metedata_ALPHA_MODE"] = alpha
    return Case(file_format, name, command, known)


def _animation(file_format, picture_type, name, command):
    return _still(file_format, picture_type, name, command, duration=ANIMATION_SECONDS, **ANIMATION_RATE)


def _ffmpeg(name, *options, source="rgb.png"):
    return ["ffmpeg", "-v", "error", "-y", "-i", source, "-frames:v", "1", "-update", "1", *options, name]


def _ffmpeg_frames(name, *options):
    return ["ffmpeg", "-v", "error", "-y", "-framerate", "10", "-i", "frame%d.png", *options, name]


def _convert(name, *options, source="rgb.png", kind=""):
    return ["convert", source, *options, kind + name]


def _convert_frames(name):
    return ["convert", "-delay", "10", *FRAMES, name]


CASES = [
    _still("JPEG", JPEG, "ffmpeg.jpg", _ffmpeg("ffmpeg.jpg"), NO_ALPHA),
    _still("JPEG", JPEG, "baseline.jpg", _convert("baseline.jpg"), NO_ALPHA),
    _still("JPEG", JPEG, "progressive.jpg", _convert("progressive.jpg", "-interlace", "JPEG")),
    _still("JPEG", JPEG, "grey.jpg", _convert("grey.jpg", "-colorspace", "Gray")),
    _still("JPEG", JPEG, "cmyk.jpg", _convert("cmyk.jpg", "-colorspace", "CMYK")),

    _still("PNG", PNG, "ffmpeg.png", _ffmpeg("ffmpeg.png"), NO_ALPHA),
    _still("PNG", PNG, "ffmpeg_alpha.png", _ffmpeg("ffmpeg_alpha.png", source="rgba.png"), STRAIGHT),
    _still("PNG", PNG, "grey16.png", _ffmpeg("grey16.png", "-pix_fmt", "gray16be"), NO_ALPHA),
    _still("PNG", PNG, "palette.png", _convert("palette.png", kind="png8:")),
    _still("PNG", PNG, "interlaced.png", _convert("interlaced.png", "-interlace", "PNG")),
    _animation("APNG", PNG, "ffmpeg.apng", _ffmpeg_frames("ffmpeg.apng", "-f", "apng", "-plays", "0")),
    _animation("APNG", PNG, "assembled.png", ["apngasm", "assembled.png", *FRAMES, "-i1"]),

    _animation("GIF", GIF, "ffmpeg.gif", _ffmpeg_frames("ffmpeg.gif")),
    _animation("GIF", GIF, "animated.gif", _convert_frames("animated.gif")),
    _still("GIF", GIF, "still.gif", _convert("still.gif")),
    _still("GIF", GIF, "transparent.gif", _convert("transparent.gif", source="rgba.png"), STRAIGHT),

    _still("WebP", WEBP, "ffmpeg.webp", _ffmpeg("ffmpeg.webp", "-c:v", "libwebp"), NO_ALPHA),
    _still("WebP", WEBP, "lossy.webp", ["cwebp", "-quiet", "rgb.png", "-o", "lossy.webp"], NO_ALPHA),
    _still("WebP", WEBP, "lossless.webp", ["cwebp", "-quiet", "-lossless", "rgb.png", "-o", "lossless.webp"], NO_ALPHA),
    _still("WebP", WEBP, "alpha.webp", ["cwebp", "-quiet", "rgba.png", "-o", "alpha.webp"], STRAIGHT),
    _still("WebP", WEBP, "lossless_alpha.webp",
           ["cwebp", "-quiet", "-lossless", "rgba.png", "-o", "lossless_alpha.webp"], STRAIGHT),
    _animation("WebP", WEBP, "animated.webp", ["img2webp", "-d", "100", *FRAMES, "-o", "animated.webp"]),
    _animation("WebP", WEBP, "ffmpeg_animated.webp", _ffmpeg_frames("ffmpeg_animated.webp", "-c:v", "libwebp_anim")),

    _still("AVIF", AVIF, "ffmpeg.avif", _ffmpeg("ffmpeg.avif", "-c:v", "libaom-av1", "-still-picture", "1"), NO_ALPHA),
    _still("AVIF", AVIF, "avifenc.avif", ["avifenc", "-s", "10", "rgb.png", "avifenc.avif"], NO_ALPHA),
    _still("AVIF", AVIF, "alpha.avif", ["avifenc", "-s", "10", "rgba.png", "alpha.avif"], STRAIGHT),
    _still("AVIF", AVIF, "premultiplied.avif", ["avifenc", "-s", "10", "-p", "rgba.png", "premultiplied.avif"],
           PREMULTIPLIED),
    # What is asked for is anticlockwise, what is told clockwise.
    _still("AVIF", AVIF, "turned.avif", ["avifenc", "-s", "10", "--irot", "1", "rgb.png", "turned.avif"], rotation=270),
    _still("AVIF", AVIF, "mirrored.avif", ["avifenc", "-s", "10", "--imir", "1", "rgb.png", "mirrored.avif"],
           rotation=0, flip="horizontal"),
    _animation("AVIF sequence", AVIF, "ffmpeg_sequence.avif",
               _ffmpeg_frames("ffmpeg_sequence.avif", "-c:v", "libaom-av1", "-cpu-used", "8")),
    _animation("AVIF sequence", AVIF, "sequence.avif",
               ["avifenc", "-s", "10", "--fps", "10", *FRAMES, "sequence.avif"]),

    _still("HEIC", HEIF, "encoded.heic", ["heif-enc", "rgb.png", "-o", "encoded.heic"], NO_ALPHA),
    _still("HEIC", HEIF, "thumbnail.heic", ["heif-enc", "-t", "16", "rgb.png", "-o", "thumbnail.heic"], NO_ALPHA),
    _still("HEIC", HEIF, "alpha.heic", ["heif-enc", "rgba.png", "-o", "alpha.heic"], STRAIGHT),
    _still("HEIC", HEIF, "converted.heic", _convert("converted.heic")),

    _still("TIFF", TIFF, "ffmpeg.tif", _ffmpeg("ffmpeg.tif"), NO_ALPHA),
    _still("TIFF", TIFF, "little_endian.tif", _convert("little_endian.tif", "-endian", "LSB"), NO_ALPHA),
    _still("TIFF", TIFF, "big_endian.tif", _convert("big_endian.tif", "-endian", "MSB"), NO_ALPHA),
    _still("TIFF", TIFF, "tiles.tif", _convert("tiles.tif", "-define", "tiff:tile-geometry=16x16")),
    _still("TIFF", TIFF, "big.tif", _convert("big.tif", kind="tiff64:")),
    _still("TIFF", TIFF, "fax.tif", _convert("fax.tif", "-monochrome", "-compress", "group4")),
    _still("TIFF", TIFF, "alpha.tif", _convert("alpha.tif", source="rgba.png"), STRAIGHT),

    _still("BMP", BMP, "ffmpeg.bmp", _ffmpeg("ffmpeg.bmp"), NO_ALPHA),
    _still("BMP", BMP, "os2.bmp", _convert("os2.bmp", kind="bmp2:")),
    _still("BMP", BMP, "version3.bmp", _convert("version3.bmp", kind="bmp3:")),
    _still("BMP", BMP, "version5.bmp", _convert("version5.bmp", source="rgba.png"), STRAIGHT),
    _still("BMP", BMP, "run_lengths.bmp", _convert("run_lengths.bmp", "-type", "Palette", "-compress", "RLE")),

    _still("JPEG XL", JPEG_XL, "ffmpeg.jxl", _ffmpeg("ffmpeg.jxl"), NO_ALPHA),
    _still("JPEG XL", JPEG_XL, "lossy.jxl", ["cjxl", "--quiet", "rgb.png", "lossy.jxl", "-e", "3"], NO_ALPHA),
    _still("JPEG XL", JPEG_XL, "lossless.jxl", ["cjxl", "--quiet", "rgb.png", "lossless.jxl", "-d", "0", "-e", "3"]),
    _still("JPEG XL", JPEG_XL, "container.jxl", ["cjxl", "--quiet", "rgba.png", "container.jxl", "--container=1"],
           STRAIGHT),
    _animation("JPEG XL", JPEG_XL, "animated.jxl",
               ["cjxl", "--quiet", "frames.apng", "animated.jxl", "-d", "0", "-e", "3"]),
    _animation("JPEG XL", JPEG_XL, "animated_container.jxl",
               ["cjxl", "--quiet", "frames.apng", "animated_container.jxl", "-d", "1", "-e", "3", "--container=1"]),

    _still("JPEG 2000", OTHER, "ffmpeg.jp2", _ffmpeg("ffmpeg.jp2", "-c:v", "jpeg2000")),
    _still("JPEG 2000", OTHER, "ffmpeg.j2c",
           _ffmpeg("ffmpeg.j2c", "-c:v", "jpeg2000", "-format", "j2k", "-f", "image2")),
    _still("JPEG 2000", OTHER, "converted.jp2", _convert("converted.jp2")),
    _still("JPEG 2000", OTHER, "converted.j2k", _convert("converted.j2k")),

    _still("OpenEXR", OPEN_EXR, "ffmpeg.exr", _ffmpeg("ffmpeg.exr", "-pix_fmt", "gbrpf32le"), NO_ALPHA),
    _still("OpenEXR", OPEN_EXR, "alpha.exr", _ffmpeg("alpha.exr", "-pix_fmt", "gbrapf32le", source="rgba.png"),
           PREMULTIPLIED),
    _still("OpenEXR", OPEN_EXR, "tiled.exr", ["exrmaketiled", "-t", "16", "16", "input.exr", "tiled.exr"], NO_ALPHA),
    _still("OpenEXR", OPEN_EXR, "levels.exr", ["exrmaketiled", "-m", "input.exr", "levels.exr"]),
    _still("OpenEXR", OPEN_EXR, "parts.exr",
           ["exrmultipart", "-combine", "-i", "input.exr", "input.exr", "-o", "parts.exr"]),

    _still("TGA", OTHER, "ffmpeg.tga", _ffmpeg("ffmpeg.tga"), NO_ALPHA),
    _still("TGA", OTHER, "ffmpeg_verbatim.tga", _ffmpeg("ffmpeg_verbatim.tga", "-rle", "0")),
    _still("TGA", OTHER, "verbatim.tga", _convert("verbatim.tga"), NO_ALPHA),
    _still("TGA", OTHER, "run_lengths.tga", _convert("run_lengths.tga", "-compress", "RLE")),
    _still("TGA", OTHER, "palette.tga", _convert("palette.tga", "-type", "Palette")),
    _still("TGA", OTHER, "grey.tga", _convert("grey.tga", "-colorspace", "Gray")),
    _still("TGA", OTHER, "alpha.tga", _convert("alpha.tga", source="rgba.png"), STRAIGHT),

    _still("PNM", OTHER, "ffmpeg.pbm", _ffmpeg("ffmpeg.pbm", "-pix_fmt", "monow"), NO_ALPHA),
    _still("PNM", OTHER, "ffmpeg.pgm", _ffmpeg("ffmpeg.pgm", "-pix_fmt", "gray16be"), NO_ALPHA),
    _still("PNM", OTHER, "ffmpeg.ppm", _ffmpeg("ffmpeg.ppm"), NO_ALPHA),
    _still("PNM", OTHER, "ffmpeg.pfm", _ffmpeg("ffmpeg.pfm", "-pix_fmt", "gbrpf32le")),
    _still("PNM", OTHER, "plain.pbm", _convert("plain.pbm", "-compress", "none"), NO_ALPHA),
    _still("PNM", OTHER, "plain.pgm", _convert("plain.pgm", "-compress", "none"), NO_ALPHA),
    _still("PNM", OTHER, "plain.ppm", _convert("plain.ppm", "-compress", "none", "-comment", "9 9"), NO_ALPHA),
    _still("PNM", OTHER, "converted.ppm", _convert("converted.ppm")),
    _still("PAM", OTHER, "ffmpeg.pam", _ffmpeg("ffmpeg.pam", source="rgba.png"), STRAIGHT),
    _still("PAM", OTHER, "converted.pam", _convert("converted.pam"), NO_ALPHA),

    _still("ICO", OTHER, "ffmpeg.ico", _ffmpeg("ffmpeg.ico")),
    _still("ICO", OTHER, "converted.ico", _convert("converted.ico", source="rgba.png"), STRAIGHT),
    _still("ICO", OTHER, "palette.ico", _convert("palette.ico", "-type", "Palette"), STRAIGHT),
    _still("ICO", OTHER, "converted.cur", _convert("converted.cur", source="rgba.png")),

    _still("Digital Picture Exchange", OTHER, "ffmpeg.dpx", _ffmpeg("ffmpeg.dpx")),
    _still("Digital Picture Exchange", OTHER, "converted.dpx", _convert("converted.dpx")),
    _still("PCX", OTHER, "ffmpeg.pcx", _ffmpeg("ffmpeg.pcx")),
    _still("PCX", OTHER, "converted.pcx", _convert("converted.pcx")),
    _still("SGI", OTHER, "ffmpeg.sgi", _ffmpeg("ffmpeg.sgi", source="rgba.png"), STRAIGHT),
    _still("SGI", OTHER, "converted.sgi", _convert("converted.sgi"), NO_ALPHA),
    _still("Sun raster", OTHER, "ffmpeg.ras", _ffmpeg("ffmpeg.ras", "-c:v", "sunrast")),
    _still("Sun raster", OTHER, "converted.ras", _convert("converted.ras")),

    _still("PSD", PSD, "converted.psd", _convert("converted.psd"), NO_ALPHA),
    _still("PSD", PSD, "alpha.psd", _convert("alpha.psd", source="rgba.png"), STRAIGHT),
    _still("PSD", PSD, "grey.psd", _convert("grey.psd", "-colorspace", "Gray"), NO_ALPHA),
    _still("PSD", PSD, "large.psb", _convert("large.psb"), NO_ALPHA),
    _still("PSD", PSD, "large_alpha.psb", _convert("large_alpha.psb", source="rgba.png"), STRAIGHT),
    _still("QOI", OTHER, "ffmpeg.qoi", _ffmpeg("ffmpeg.qoi"), NO_ALPHA),
    _still("QOI", OTHER, "alpha.qoi", _ffmpeg("alpha.qoi", source="rgba.png"), STRAIGHT),
    _still("DDS", OTHER, "dxt1.dds", _convert("dxt1.dds", "-define", "dds:compression=dxt1"), NO_ALPHA),
    _still("DDS", OTHER, "dxt5.dds", _convert("dxt5.dds", "-define", "dds:compression=dxt5", source="rgba.png"),
           STRAIGHT),
    _still("DDS", OTHER, "verbatim.dds", _convert("verbatim.dds", "-define", "dds:compression=none", source="rgba.png"),
           STRAIGHT),
    _still("Radiance HDR", OTHER, "converted.hdr", _convert("converted.hdr"), NO_ALPHA),
]

ONE_ENCODER = {"PSD", "QOI", "DDS", "Radiance HDR"}
