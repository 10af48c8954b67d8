"""The files that the media facts are checked on: how each is made and what has to be said of it."""
import dataclasses
import struct

from maker import pictures, tone
from mp4_boxes import add_to_media, full_box, set_edits, set_matrix


@dataclasses.dataclass(frozen=True)
class Case:
    """`facts` are what the making asked for, so they hold without any peer: keys of the record ("format"), or the index
    of a stream and a key of its entry ("0.codec")."""
    name: str
    arguments: list
    facts: dict
    change: object = None  # bytes of the made file to bytes of the file to probe


def h264(pixels="yuv420p", *options, x264="threads=1", preset="ultrafast"):
    return ["-c:v", "libx264", "-preset", preset, "-crf", "40", "-pix_fmt", pixels, "-x264-params", x264, *options]


def fields(first, order):
    """H.264 in fields; `first` and `order` are x264's and ffmpeg's names of which field comes first."""
    return [*h264(preset="medium", x264=f"threads=1:{first}=1"), "-vf", f"setfield={first}", "-flags:v", "+ilme+ildct",
            "-field_order", order]


def hevc(pixels="yuv420p", x265="", *options):
    parameters = "log-level=none:pools=none:frame-threads=1" + (":" + x265 if x265 else "")
    return ["-c:v", "libx265", "-preset", "ultrafast", "-crf", "40", "-pix_fmt", pixels, "-x265-params", parameters,
            *options]


def groups(rate):
    """MPEG-2 at a constant rate, in groups of 12 pictures."""
    return ["-c:v", "mpeg2video", "-g", "12", "-bf", "2", "-sc_threshold", "1000000000", "-b:v", rate, "-minrate", rate,
            "-maxrate", rate, "-bufsize", "1M"]


def pass_for_samples(data):
    """A WAV file of something else that calls it 16-bit samples of two channels, as a CD has them."""
    return data[:20] + struct.pack("<HHIIHH", 1, 2, 44100, 176400, 4, 16) + data[36:]


def forget_samples(data):
    """A FLAC file that does not tell how many samples it has, as one that was written to a pipe."""
    return data[:21] + bytes([data[21] & 0xF0]) + bytes(4) + data[26:]


def protected_asf(data):
    """An ASF file with an object in front of the others of its header that tells how it is encrypted."""
    texts = b"".join(struct.pack("<I", len(text)) + text for text in (b"key", b"DRM\0", b"id\0", b"url\0"))
    encryption = bytes.fromhex("fbb3112223bdd211b4b700a0c955fc6e") + struct.pack("<Q", 24 + len(texts)) + texts
    size, count = struct.unpack_from("<QI", data, 16)
    return data[:16] + struct.pack("<QI", size + len(encryption), count + 1) + data[28:30] + encryption + data[30:]


MPEG2 = ["-c:v", "mpeg2video", "-q:v", "20"]
MPEG4 = ["-c:v", "mpeg4", "-q:v", "20"]
VP8 = ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8"]
VP9 = ["-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8"]
AV1 = ["-c:v", "libaom-av1", "-cpu-used", "8", "-usage", "realtime"]
DTS = ["-c:a", "dca", "-strict", "experimental"]
TRUEHD = ["-c:a", "truehd", "-sample_fmt", "s32", "-strict", "experimental"]
AAC = ["-c:a", "aac", "-b:a", "64k"]
COVER = ["-map", "0", "-map", "1", "-frames:v", "1", "-disposition:v", "attached_pic"]
BT709 = ["-color_primaries", "bt709", "-color_trc", "bt709", "-colorspace", "bt709"]
SIZE = {"0.width": 64, "0.height": 48}

CONTAINERS = [
    Case("mp4.mp4", pictures() + tone() + ["-i", "words.srt", *h264(), *AAC, "-c:s", "mov_text",
                                           "-metadata:s:a", "language=swe", "-metadata:s:s", "language=jpn"],
         {"format": "mp4", "fourcc": "MP4 ", "0.codec": "h264", "0.fourcc": "avc1", "0.frame_count": 25, **SIZE,
          "1.codec": "aac", "1.language": "swe", "2.codec": "mov_text", "2.language": "jpn"}),
    # Subtitles that go on after the picture belong to the film, as its header has it. The second one is analysed.
    Case("webvtt.mp4", ["-i", "words.srt", "-c:s", "mov_text"], {"format": "mp4", "0.codec": "webvtt"},
         lambda data: data.replace(b"tx3g", b"wvtt")),
    Case("late_words.mp4", pictures() + ["-itsoffset", "5", "-i", "words.srt", *h264(), "-c:s", "mov_text"],
         {"duration": 5.9, "0.duration": 1}),
    Case("late_words_mpeg2.mp4", pictures() + ["-itsoffset", "5", "-i", "words.srt", *MPEG2, "-c:s", "mov_text"],
         {"duration": 5.9, "0.duration": 1}),
    # What a film shows is longer than its samples where it begins with nothing, shows a part twice or slowly.
    Case("begins_late.mp4", pictures() + h264(), {"duration": 1.5, "0.duration": 1, "0.frame_count": 25},
         lambda data: set_edits(data, (500, -1, 1), (1000, 0, 1))),
    Case("shown_twice.mp4", pictures() + h264(), {"duration": 2, "0.frame_count": 25},
         lambda data: set_edits(data, (1000, 0, 1), (1000, 0, 1))),
    Case("slow_motion.mp4", pictures() + h264(), {"duration": 2, "0.frame_count": 25},
         lambda data: set_edits(data, (2000, 0, 0.5))),
    # An edit without a length goes to the end.
    Case("to_the_end.mp4", pictures() + h264(), {"duration": 1, "0.duration": 1},
         lambda data: set_edits(data, (0, 0, 1))),
    Case("brazilian.mp4", tone() + [*AAC, "-metadata:s:a", "language=por"], {"0.language": "pt-BR"},
         lambda data: add_to_media(data, full_box(b"elng", b"pt-BR\0"))),
    # Pictures of 8 Mb/s are sent so far ahead that the first sound lies behind what is analysed of the start.
    Case("late_sound.ts", pictures("640x360", seconds="2") + tone(seconds="2") +
         ["-vf", "noise=alls=60:allf=t", "-c:v", "libx264", "-preset", "ultrafast", "-x264-params", "threads=1",
          "-b:v", "8M", "-maxrate", "8M", "-bufsize", "8M", "-c:a", "ac3"],
         {"0.frame_rate": {"num": 25, "den": 1}, "1.codec": "ac3", "1.sample_rate": 48000, "1.channels": 1}),
    Case("faststart.mp4", pictures() + tone() + [*h264(), *AAC, "-movflags", "+faststart"],
         {"format": "mp4", "0.frame_count": 25, "1.sample_rate": 48000}),
    Case("fragmented.mp4", pictures() + tone() + [*h264(), "-g", "5", *AAC, "-movflags", "+frag_keyframe+empty_moov"],
         {"format": "mp4", "0.codec": "h264", "0.frame_count": 25, **SIZE}),
    Case("default_base.mp4", pictures() + [*h264(), "-g", "5", "-movflags", "+frag_keyframe+default_base_moof"],
         {"format": "mp4", "0.frame_count": 25}),
    Case("mov.mov", pictures() + tone() + [*h264(), "-c:a", "pcm_s16be"],
         {"format": "mov", "fourcc": "MOV ", "0.codec": "h264", "1.codec": "pcm_s16be", "1.bits_per_sample": 16}),
    Case("mono.mp4", tone() + ["-c:a", "libmp3lame", "-ac", "1"], {"0.codec": "mp3", "0.channels": 1}),
    Case("groups.ts", pictures("352x288", seconds="4") + groups("4M"), {"0.codec": "mpeg2video"}),
    Case("groups.mkv", pictures("352x288", seconds="2") + groups("20M"), {"0.codec": "mpeg2video"}),
    # More samples than are left of a long index.
    Case("long_index.mp4", pictures(rate="200", seconds="90") + tone(seconds="45") + [
        *h264("yuv420p", "-bf", "2"), "-c:a", "libopus", "-frame_duration", "2.5"],
         {"0.frame_count": 18000, "0.duration": 90, "0.frame_rate": {"num": 200, "den": 1}, "1.codec": "opus"}),
    Case("m4a.m4a", tone("44100") + [*AAC, "-ac", "2"],
         {"format": "m4a", "0.codec": "aac", "0.sample_rate": 44100, "0.channels": 2}),
    Case("alac.m4a", tone("44100") + ["-c:a", "alac", "-sample_fmt", "s16p"],
         {"format": "m4a", "0.codec": "alac", "0.sample_rate": 44100,
          "0.flags": ["variable_bit_rate", "lossless"]}),
    Case("truehd.mp4", tone() + ["-ac", "2", *TRUEHD],
         {"0.codec": "truehd", "0.bits_per_sample": 24, "0.flags": ["variable_bit_rate", "lossless"]}),
    Case("dts.mp4", tone() + ["-ac", "2", *DTS],
         {"0.codec": "dts", "0.profile": "DTS", "0.bits_per_sample": None, "0.flags": []}),
    Case("mkv.mkv", pictures() + tone() + tone("44100", frequency="660") + [
        "-i", "words.srt", "-i", "words.ass", "-map", "0", "-map", "1", "-map", "2", "-map", "3", "-map", "4", *h264(),
        "-c:a:0", "aac", "-c:a:1", "ac3", "-c:s:0", "srt", "-c:s:1", "ass", "-metadata:s:a:0", "language=eng",
        "-metadata:s:a:1", "language=fre", "-disposition:a:1", "default", "-disposition:a:0", "comment",
        "-disposition:s:0", "forced+hearing_impaired", "-disposition:s:1", "0"],
         {"format": "mkv", "fourcc": "MKV ", "0.codec": "h264", "1.codec": "aac", "1.language": "eng", "2.codec": "ac3",
          "2.sample_rate": 44100, "3.codec": "subrip", "4.codec": "ass"}),
    Case("pgs.mkv", pictures() + ["-i", "words.sup", *h264(), "-c:s", "copy", "-metadata:s:s", "language=dut"],
         {"0.codec": "h264", "1.codec": "hdmv_pgs_subtitle", "1.language": "dut"}),
    Case("webvtt.webm", pictures() + ["-i", "words.srt", *VP8, "-c:s", "webvtt"],
         {"format": "webm", "0.codec": "vp8", "1.codec": "webvtt"}),
    Case("vp8.webm", pictures() + tone() + [*VP8, "-c:a", "libvorbis"],
         {"format": "webm", "fourcc": "WEBM", "0.codec": "vp8", "1.codec": "vorbis", **SIZE}),
    # As browsers record: no length, and nothing that is put right afterwards.
    Case("live.webm", pictures() + [*VP8, "-live", "1"], {"duration": 1, "0.duration": 1, "0.frame_count": 25, **SIZE}),
    Case("vp9.webm", pictures() + tone() + [*VP9, "-c:a", "libopus"],
         {"format": "webm", "0.codec": "vp9", "1.codec": "opus", "1.sample_rate": 48000}),
    Case("two_programs.ts", pictures("352x288") + tone() + pictures("176x144") + tone(frequency="660") + [
        "-map", "0", "-map", "1", "-map", "2", "-map", "3", *MPEG2, "-c:a", "mp2", "-metadata:s:a:1", "language=pol",
        "-program", "title=A:program_num=3:st=0:st=1", "-program", "title=B:program_num=8:st=2:st=3"],
         {"format": "mpegts", "fourcc": "TS  ", "0.width": 352, "2.width": 176, "3.language": "pol"}),
    Case("h264.ts", pictures(seconds="2") + tone(seconds="2") + [*h264(), *AAC],
         {"format": "mpegts", "0.codec": "h264", "1.codec": "aac", **SIZE}),
    Case("hevc.ts", pictures("128x96", seconds="2") + [*hevc()], {"format": "mpegts", "0.codec": "hevc",
                                                                   "0.width": 128, "0.height": 96}),
    Case("blu_ray.m2ts", pictures() + tone() + [*h264(), "-c:a", "ac3"],
         {"format": "mpegts", "1.codec": "ac3", **SIZE}),
    Case("disc.vob", pictures("352x288") + tone() + [*MPEG2, "-c:a", "ac3", "-f", "vob"],
         {"format": "mpegps", "0.codec": "mpeg2video", "1.codec": "ac3", "0.width": 352}),
    Case("avi.avi", pictures() + tone("44100") + [*MPEG4, "-c:a", "libmp3lame", "-b:a", "64k"],
         {"format": "avi", "fourcc": "AVI ", "0.codec": "mpeg4", "1.codec": "mp3"}),
    Case("disc_pcm.vob", pictures("352x288") + tone() + [*MPEG2, "-c:a", "pcm_dvd", "-ac", "2", "-f", "vob"],
         {"1.codec": "pcm_dvd", "1.sample_rate": 48000, "1.channels": 2, "1.bits_per_sample": 16, "1.bit_rate": 1536000,
          "1.flags": ["lossless"]}),
    Case("blu_ray_pcm.m2ts", pictures() + tone() + [*h264(), "-c:a", "pcm_bluray", "-ac", "6", "-sample_fmt", "s32"],
         {"1.codec": "pcm_bluray", "1.sample_rate": 48000, "1.channels": 6, "1.bits_per_sample": 24,
          "1.bit_rate": 6912000, "1.flags": ["lossless"]}),
    Case("aes3.ts", pictures() + tone() + [*h264(), "-c:a", "s302m", "-strict", "-2", "-ac", "2"],
         {"1.codec": "s302m", "1.sample_rate": 48000, "1.channels": 2, "1.bits_per_sample": 16, "1.flags": ["lossless"]}),
    Case("server.gxf", pictures("720x576") + tone() + [*MPEG2, "-c:a", "pcm_s16le"],
         {"format": "gxf", "0.frame_rate": {"num": 25, "den": 1}, "0.frame_count": 25}),
    Case("pal.dv", pictures("720x576") + tone() + ["-target", "pal-dv"],
         {"format": "dv", "duration": 1, "0.codec": "dvvideo", "0.width": 720, "0.height": 576,
          "0.frame_rate": {"num": 25, "den": 1}, "0.frame_count": 25, "0.field_order": "bottom_first",
          "0.chroma": "4:2:0", "1.sample_rate": 48000}),
    Case("ntsc.dv", pictures("720x480", "30000/1001") + ["-target", "ntsc-dv", "-an"],
         {"format": "dv", "0.width": 720, "0.height": 480, "0.frame_rate": {"num": 2997, "den": 100},
          "0.frame_count": 30, "0.chroma": "4:1:1"}),
    Case("flv.flv", pictures() + tone("44100") + [*h264(), *AAC],
         {"format": "flv", "fourcc": "FLV ", "0.codec": "h264", "1.codec": "aac", **SIZE}),
    Case("wmv.wmv", pictures() + tone("44100") + ["-c:v", "wmv2", "-c:a", "wmav2", "-b:a", "64k"],
         {"format": "asf", "fourcc": "ASF ", "0.codec": "wmv2", "1.codec": "wmav2", "created": None, **SIZE}),
    # Of a file that is shorter than it says, libavformat tells no length.
    Case("cut.wmv", pictures(seconds="2") + ["-c:v", "wmv2"],
         {"duration": 2, "0.frame_rate": {"num": 25, "den": 1}, "0.frame_count": 50},
         lambda data: data[:len(data) // 2]),
    # Pictures at 0, 0.28 and 0.8 s.
    Case("uneven.wmv", pictures() + ["-vf", "select='eq(n,0)+eq(n,7)+eq(n,20)'", "-vsync", "vfr", "-c:v", "wmv2"],
         {"format": "asf", "0.frame_rate": {"num": 5, "den": 2}, "0.frame_count": 3}),
    Case("protected.wmv", pictures(seconds="2") + tone("44100", "2") + ["-c:v", "wmv2", "-c:a", "wmav2"],
         {"0.flags": ["encrypted"], "1.flags": ["encrypted"], **SIZE}, protected_asf),
    Case("two_slow.wmv", pictures(rate="1/5", seconds="30") + pictures(rate="1/2", seconds="30") + [
        "-map", "0", "-map", "1", "-c:v", "msmpeg4"],
         {"0.frame_rate": {"num": 1, "den": 5}, "0.frame_count": 6,
          "1.frame_rate": {"num": 1, "den": 2}, "1.frame_count": 15}),
    Case("wma.wma", tone("44100") + ["-c:a", "wmav2", "-b:a", "64k"], {"format": "asf", "0.codec": "wmav2"}),
    Case("cover.mp3", tone("44100", "3") + pictures("96x80") + [
        *COVER, "-c:a", "libmp3lame", "-b:a", "64k", "-c:v", "png"],
         {"format": "mp3", "0.codec": "mp3", "1.codec": "png", "1.width": 96, "1.height": 80, "1.frame_count": 1,
          "1.frame_rate": None, "1.disposition": ["attached_pic"]}),
    Case("variable.mp3", tone("44100", "3") + ["-c:a", "libmp3lame", "-q:a", "7"], {"format": "mp3", "0.codec": "mp3"}),
    Case("flac.flac", tone("96000") + ["-c:a", "flac", "-sample_fmt", "s32"],
         {"format": "flac", "fourcc": "FLAC", "0.sample_rate": 96000, "0.bits_per_sample": 24}),
    Case("piped.flac", tone("44100", "3") + ["-c:a", "flac", "-sample_fmt", "s16"],
         {"duration": 3, "0.duration": 3}, change=forget_samples),
    Case("cover.flac", tone() + pictures("96x80") + [*COVER, "-c:a", "flac", "-c:v", "mjpeg", "-pix_fmt", "yuvj420p"],
         {"format": "flac", "1.codec": "mjpeg", "1.width": 96, "1.height": 80, "1.disposition": ["attached_pic"]}),
    Case("vorbis.ogg", tone("44100") + ["-c:a", "libvorbis", "-ac", "2"],
         {"format": "ogg", "0.codec": "vorbis", "0.channels": 2}),
    Case("opus.opus", tone("16000") + ["-c:a", "libopus"],
         {"format": "opus", "0.codec": "opus", "0.sample_rate": 48000}),
    Case("theora.ogv", pictures() + tone() + ["-c:v", "libtheora", "-c:a", "libvorbis"],
         {"format": "ogv", "0.codec": "theora", "0.frame_count": 25, "1.codec": "vorbis", **SIZE}),
    Case("wavpack.wv", tone("44100") + ["-c:a", "wavpack"],
         {"0.codec": "wavpack", "0.bits_per_sample": 16, "0.flags": ["variable_bit_rate", "lossless"]}),
    Case("wav.wav", tone("8000") + ["-c:a", "pcm_s24le", "-ac", "2"],
         {"format": "wav", "fourcc": "WAV ", "0.bits_per_sample": 24, "0.bit_rate": 384000, "0.channels": 2}),
    # libavformat takes the number of samples in the header for wrong.
    Case("mp3.wav", tone("44100", "5") + ["-ac", "2", "-c:a", "libmp3lame", "-b:a", "320k"],
         {"0.codec": "mp3", "0.bit_rate": 320000}),
    Case("dts.wav", tone("44100") + ["-ac", "2", *DTS, "-b:a", "1411200"],
         {"0.codec": "dts", "0.sample_rate": 44100, "0.channels": 2, "0.bits_per_sample": None, "0.flags": []},
         change=pass_for_samples),
    Case("float.wav", tone("8000") + ["-c:a", "pcm_f32le"], {"0.codec": "pcm_f32le", "0.bits_per_sample": 32}),
    Case("aiff.aiff", tone("22050") + ["-c:a", "pcm_s16be"], {"format": "aiff", "0.sample_rate": 22050}),
    Case("caf.caf", tone("22050") + ["-c:a", "pcm_s16be"], {"format": "caf", "0.sample_rate": 22050}),
    Case("aac.aac", tone("44100", "3") + [*AAC, "-ac", "2"], {"format": "aac", "0.codec": "aac", "0.channels": 2}),
    Case("ac3.ac3", tone() + ["-c:a", "ac3", "-b:a", "192k", "-ac", "6"],
         {"format": "ac3", "0.codec": "ac3", "0.channels": 6, "0.bit_rate": 192000}),
    Case("eac3.eac3", tone() + ["-c:a", "eac3", "-b:a", "96k"], {"format": "eac3", "0.codec": "eac3"}),
]

CODECS = [
    Case("baseline.mp4", pictures() + [*h264(), "-profile:v", "baseline"], {"0.bit_depth": 8, "0.chroma": "4:2:0"}),
    Case("b_frames.mp4", pictures() + h264(x264="threads=1:bframes=2:b-adapt=0", preset="medium"),
         {"0.frame_count": 25}),
    Case("interlaced_top.mp4", pictures() + fields("tff", "tt"),
         {"0.flags": ["interlaced"], "0.field_order": "top_first"}),
    Case("interlaced_bottom.mp4", pictures() + fields("bff", "bb"),
         {"0.flags": ["interlaced"], "0.field_order": "bottom_first"}),
    Case("interlaced_bottom.mkv", pictures() + fields("bff", "bb"),
         {"0.flags": ["interlaced"], "0.field_order": "bottom_first"}),
    Case("interlaced_top.ts", pictures() + fields("tff", "tt"),
         {"0.flags": ["interlaced"], "0.field_order": "top_first"}),
    # A first sample that is larger than what may be read of it.
    Case("interlaced_large.mp4", pictures("640x480", seconds="0.2") + [*fields("bff", "bb"), "-crf", "1"],
         {"0.flags": ["interlaced"], "0.field_order": "bottom_first"}),
    Case("high10.mp4", pictures() + h264("yuv420p10le"), {"0.bit_depth": 10, "0.chroma": "4:2:0"}),
    Case("high422.mkv", pictures() + h264("yuv422p10le"), {"0.bit_depth": 10, "0.chroma": "4:2:2"}),
    Case("high444.mp4", pictures() + h264("yuv444p"), {"0.bit_depth": 8, "0.chroma": "4:4:4"}),
    Case("cropped.mp4", pictures("54x38") + h264(), {"0.width": 54, "0.height": 38}),
    Case("hevc8.mp4", pictures("128x96") + [*hevc(), "-tag:v", "hvc1"],
         {"0.codec": "hevc", "0.fourcc": "hvc1", "0.bit_depth": 8, "0.chroma": "4:2:0"}),
    Case("hevc10.mkv", pictures("128x96") + hevc("yuv420p10le"), {"0.bit_depth": 10, "0.chroma": "4:2:0"}),
    Case("hevc422.mp4", pictures("128x96") + hevc("yuv422p10le"), {"0.bit_depth": 10, "0.chroma": "4:2:2"}),
    Case("vp9_10.webm", pictures() + [*VP9, "-pix_fmt", "yuv420p10le", "-profile:v", "2"],
         {"0.bit_depth": 10, "0.chroma": "4:2:0"}),
    Case("vp9_444.mp4", pictures() + [*VP9, "-pix_fmt", "yuv444p"], {"0.codec": "vp9", "0.chroma": "4:4:4"}),
    Case("alpha.webm", pictures(pixels="yuva420p") + [*VP9, "-auto-alt-ref", "0", "-pix_fmt", "yuva420p"],
         {"0.codec": "vp9", "0.flags": ["alpha"]}),
    Case("av1.mp4", pictures(seconds="0.2") + AV1, {"0.codec": "av1", "0.bit_depth": 8, "0.frame_count": 5}),
    Case("av1_10.mkv", pictures(seconds="0.2") + [*AV1, "-pix_fmt", "yuv420p10le"],
         {"0.codec": "av1", "0.bit_depth": 10}),
    Case("mpeg1.ts", pictures() + ["-c:v", "mpeg1video"], {"duration": 1, "0.duration": 1, "0.frame_count": 25}),
    Case("mpeg1.mpg", pictures() + ["-c:v", "mpeg1video"], {"0.codec": "mpeg1video", **SIZE}),
    Case("mpeg2_422.mkv", pictures() + [*MPEG2, "-pix_fmt", "yuv422p"], {"0.codec": "mpeg2video", "0.chroma": "4:2:2"}),
    Case("mpeg2_interlaced.ts", pictures() + [*MPEG2, "-flags:v", "+ilme+ildct", "-top", "1"],
         {"0.flags": ["interlaced"], "0.field_order": "top_first"}),
    Case("mpeg4.mp4", pictures() + MPEG4, {"0.codec": "mpeg4", "0.bit_depth": 8, "0.chroma": "4:2:0"}),
    Case("prores422.mov", pictures() + ["-c:v", "prores_ks", "-profile:v", "standard"],
         {"0.codec": "prores", "0.fourcc": "apcn", "0.bit_depth": 10, "0.chroma": "4:2:2"}),
    Case("prores4444.mov", pictures(pixels="yuva444p10le") + ["-c:v", "prores_ks", "-profile:v", "4444",
                                                              "-pix_fmt", "yuva444p10le"],
         {"0.fourcc": "ap4h", "0.chroma": "4:4:4", "0.flags": ["alpha"]}),
    Case("mjpeg.mov", pictures() + ["-c:v", "mjpeg", "-pix_fmt", "yuvj422p"],
         {"0.codec": "mjpeg", "0.profile": "Baseline", "0.chroma": "4:2:2", "0.color_range": "full"}),
    Case("mjpeg.avi", pictures() + ["-c:v", "mjpeg", "-pix_fmt", "yuvj420p"],
         {"0.codec": "mjpeg", "0.chroma": "4:2:0"}),
    Case("ffv1.mkv", pictures() + ["-c:v", "ffv1", "-pix_fmt", "yuv422p10le"],
         {"0.codec": "ffv1", "0.bit_depth": 10, "0.chroma": "4:2:2"}),
    Case("dnxhr.mov", pictures("256x144") + ["-c:v", "dnxhd", "-profile:v", "dnxhr_sq", "-pix_fmt", "yuv422p"],
         {"0.codec": "dnxhd", "0.profile": "DNXHR SQ", "0.bit_depth": 8, "0.chroma": "4:2:2"}),
    Case("animation.mov", pictures() + ["-c:v", "qtrle", "-pix_fmt", "argb"],
         {"0.codec": "qtrle", "0.flags": ["alpha"]}),
    Case("v210.mov", pictures("96x48", seconds="0.2") + ["-c:v", "v210"], {"0.bit_depth": 10, "0.chroma": "4:2:2"}),
    Case("huffyuv.avi", pictures(seconds="0.2") + ["-c:v", "huffyuv", "-pix_fmt", "yuv422p"],
         {"0.bit_depth": 8, "0.chroma": "4:2:2"}),
    Case("ffvhuff.mkv", pictures(seconds="0.2") + ["-c:v", "ffvhuff", "-pix_fmt", "yuv420p10le"],
         {"0.bit_depth": 10, "0.chroma": "4:2:0"}),
    Case("ut_video.avi", pictures(seconds="0.2") + ["-c:v", "utvideo", "-pix_fmt", "gbrp"],
         {"0.bit_depth": 8, "0.chroma": "RGB"}),
    Case("magicyuv.mkv", pictures(seconds="0.2") + ["-c:v", "magicyuv", "-pix_fmt", "yuv444p"],
         {"0.bit_depth": 8, "0.chroma": "4:4:4"}),
    Case("cinepak.mov", pictures(seconds="0.2") + ["-c:v", "cinepak"], {"0.bit_depth": 8, "0.chroma": "RGB"}),
    Case("pal_dv.mkv", pictures("720x576", seconds="0.2") + ["-c:v", "dvvideo", "-pix_fmt", "yuv420p"],
         {"0.bit_depth": 8, "0.chroma": "4:2:0"}),
    Case("ntsc_dv.avi", pictures("720x480", "30000/1001", "0.2") + ["-c:v", "dvvideo", "-pix_fmt", "yuv411p"],
         {"0.bit_depth": 8, "0.chroma": "4:1:1"}),
    Case("dvcpro50.mov", pictures("720x576", seconds="0.2") + ["-c:v", "dvvideo", "-pix_fmt", "yuv422p"],
         {"0.bit_depth": 8, "0.chroma": "4:2:2"}),
    Case("latm.latm", tone() + [*AAC, "-f", "latm"], {"0.codec": "aac_latm", "0.profile": "LC"}),
]

# It names the lines that are stored, and of H.264 nothing else.
MXF = [
    Case("h264.mxf", pictures("1920x1080", seconds="0.2") + h264(),
         {"0.profile": "Constrained Baseline", "0.bit_depth": 8, "0.chroma": "4:2:0", "0.display_width": 1920}),
    Case("h264_fields.mxf", pictures("1280x720", seconds="0.2") + fields("tff", "tt"),
         {"0.profile": "High", "0.chroma": "4:2:0", "0.field_order": "top_first", "0.display_width": 1280}),
    Case("jpeg2000.mxf", pictures("96x54", seconds="0.2") + ["-c:v", "jpeg2000", "-pix_fmt", "yuv422p"],
         {"0.width": 96, "0.height": 54, "0.display_width": 96, "0.bit_depth": 8, "0.chroma": "4:2:2"}),
]

COLOURS = [
    Case("bt709.mp4", pictures() + [*h264(), *BT709, "-color_range", "tv"],
         {"0.color_primaries": "bt709", "0.color_range": "limited"}),
    Case("full.mp4", pictures() + [*h264(), "-vf", "scale=out_range=full", "-color_range", "pc"],
         {"0.color_range": "full"}),
    Case("smpte170m.mkv", pictures() + [*h264(), "-color_primaries", "smpte170m", "-color_trc", "smpte170m",
                                        "-colorspace", "smpte170m"], {"0.color_primaries": "smpte170m"}),
    Case("pq.mp4", pictures("128x96") + [
        *hevc("yuv420p10le", "colorprim=bt2020:transfer=smpte2084:colormatrix=bt2020nc:range=limited"),
        "-color_primaries", "bt2020", "-color_trc", "smpte2084", "-colorspace", "bt2020nc"],
         {"0.color_primaries": "bt2020", "0.color_range": "limited", "0.flags": ["hdr"]}),
    Case("hlg.mkv", pictures("128x96") + [
        *hevc("yuv420p10le", "colorprim=bt2020:transfer=arib-std-b67:colormatrix=bt2020nc"),
        "-color_primaries", "bt2020", "-color_trc", "arib-std-b67", "-colorspace", "bt2020nc"],
         {"0.color_primaries": "bt2020", "0.flags": ["hdr"]}),
    # The record in front of the samples has the transfer function that old screens understand.
    *[Case(name, pictures("128x96") + hevc("yuv420p10le", "colorprim=bt2020:transfer=bt2020-10:colormatrix=bt2020nc:"
                                           "atc-sei=18"), {"0.color_primaries": "bt2020", "0.flags": ["hdr"]})
      for name in ("hlg_message.ts", "hlg_message.mkv", "hlg_message.mp4")],
    Case("prores_colours.mkv", pictures("96x64", seconds="0.2") + [
        "-c:v", "prores_ks", "-bsf:v",
        "prores_metadata=color_primaries=bt2020:color_trc=arib-std-b67:colorspace=bt2020nc"],
         {"0.color_primaries": "bt2020", "0.flags": ["hdr"]}),
    Case("vp9_colours.webm", pictures() + [*VP9, *BT709, "-color_range", "tv"], {"0.color_primaries": "bt709"}),
    Case("av1_colours.mp4", pictures(seconds="0.2") + [*AV1, *BT709], {"0.color_primaries": "bt709"}),
]

SHAPES_AND_RATES = [
    Case("film.mp4", pictures(rate="24000/1001") + h264(),
         {"0.frame_count": 24, "0.frame_rate": {"num": 2997, "den": 125}}),
    Case("ntsc.mkv", pictures(rate="30000/1001", seconds="2") + h264(), {}),
    Case("sixty.mp4", pictures(rate="60") + h264(), {"0.frame_count": 60}),
    Case("slow.avi", pictures(rate="25/2", seconds="2") + MPEG4, {"0.frame_count": 25}),
    Case("one.mp4", pictures(rate="1", seconds="3") + h264(), {"0.frame_count": 3}),
    Case("single_picture.mp4", pictures() + [*h264(), "-frames:v", "1"], {"0.frame_count": 1}),
    # The second half at half the rate.
    Case("variable.mp4", pictures(seconds="2") + [*h264(), "-vf", "select='lt(n,25)+not(mod(n,2))'", "-vsync", "vfr"],
         {"0.flags": ["variable_frame_rate"]}),
    Case("anamorphic.mp4", pictures("72x48") + [*h264(), "-aspect", "16:9"],
         {"0.width": 72, "0.display_width": 85, "0.display_height": 48}),
    Case("anamorphic.mkv", pictures("72x48") + [*h264(), "-aspect", "4:3"],
         {"0.width": 72, "0.display_width": 64, "0.display_height": 48}),
    Case("late_sound.mp4", pictures(seconds="2") + ["-itsoffset", "0.5", *tone(), *h264(), *AAC],
         {"0.frame_count": 50}),
]


def _turned(name, matrix, rotation, flip):
    return Case(f"turned_{name}.mp4", pictures() + h264(), {"0.rotation": rotation, "0.flip": flip},
                lambda data: set_matrix(data, *matrix))


# The display matrix, and what to do to see the picture upright. An orientation code has no place for a mirror image
# that is turned by a quarter: the turn is told, which puts width and height right.
ORIENTATIONS = [
    _turned("0", (1, 0, 0, 1), 0, "none"),
    _turned("90", (0, 1, -1, 0), 90, "none"),
    _turned("180", (-1, 0, 0, -1), 180, "none"),
    _turned("270", (0, -1, 1, 0), 270, "none"),
    _turned("mirrored", (-1, 0, 0, 1), 0, "horizontal"),
    _turned("upside_down", (1, 0, 0, -1), 0, "vertical"),
    _turned("transposed", (0, 1, 1, 0), 270, "none"),
    _turned("transverse", (0, -1, -1, 0), 90, "none"),
]

ALL = CONTAINERS + CODECS + MXF + COLOURS + SHAPES_AND_RATES + ORIENTATIONS
