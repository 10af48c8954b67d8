#include "media-server/container/format_magic.h"

#include <array>

namespace media_server {
namespace {

using namespace std::string_view_literals;

constexpr Magic At0(std::string_view bytes, FormatIdentity identity) { return {0, bytes, 0, {}, identity}; }
constexpr Magic At(std::size_t offset, std::string_view bytes, FormatIdentity identity) {
  return {offset, bytes, 0, {}, identity};
}
constexpr Magic Chunked(std::string_view bytes, std::string_view type_at_8, FormatIdentity identity) {
  return {0, bytes, 8, type_at_8, identity};
}

constexpr FormatIdentity kWav = Media("wav", "wav", "WAVE");
constexpr FormatIdentity kAiff = Media("aiff", "aiff", "Audio Interchange File Format");

constexpr std::string_view kJpeg2000Signature = "\0\0\0\x0cjP  \r\n\x87\n"sv;

constexpr std::array kMagics = {
    Chunked("RIFF"sv, "WAVE"sv, kWav),
    Chunked("RF64"sv, "WAVE"sv, kWav),
    Chunked("BW64"sv, "WAVE"sv, kWav),
    Chunked("RIFF"sv, "AVI "sv, Media("avi", "avi", "Audio Video Interleaved")),
    Chunked("RIFF"sv, "AVIX"sv, Media("avi", "avi", "Audio Video Interleaved")),
    Chunked("RIFF"sv, "QLCM"sv, Media("qcp", "qcp", "QCP (PureVoice)")),
    Chunked("RIFF"sv, "XWMA"sv, Media("xwma", "xwma", "xWMA")),
    Chunked("RIFF"sv, "WEBP"sv, Still("webp", "WebP")),
    Chunked("RIFF"sv, "ACON"sv, Still("ani", "Windows animated cursor")),
    Chunked("RIFF"sv, "RMID"sv, Other("rmi", "RIFF MIDI")),
    Chunked("RIFF"sv, "sfbk"sv, Other("sf2", "SoundFont")),
    At0("riff\x2e\x91\xcf\x11\xa5\xd6\x28\xdb\x04\xc1\x00\x00"sv, Media("w64", "w64", "Wave64")),
    Chunked("FORM"sv, "AIFF"sv, kAiff),
    Chunked("FORM"sv, "AIFC"sv, kAiff),
    Chunked("FORM"sv, "8SVX"sv, Media("iff", "8svx", "Interchange File Format sampled voice")),
    Chunked("FORM"sv, "ILBM"sv, Still("ilbm", "Interleaved bitmap")),
    Chunked("FORM"sv, "PBM "sv, Still("ilbm", "Interleaved bitmap")),
    Magic{0, "FRM8"sv, 12, "DSD "sv, Media("iff", "dff", "DSD Interchange File Format")},
    Magic{0, "DSD \x1c\0\0\0"sv, 28, "fmt "sv, Media("dsf", "dsf", "DSD Stream File")},
    At0("caff\0\1"sv, Media("caf", "caf", "Core Audio Format")),
    At0("fLaC"sv, Media("flac", "flac", "Free Lossless Audio Codec")),
    At0("wvpk"sv, Media("wv", "wv", "WavPack")),
    At0("MAC "sv, Media("ape", "ape", "Monkey's Audio")),
    At0("tBaK"sv, Media("tak", "tak", "Tom's lossless Audio Kompressor")),
    At0("TTA1"sv, Media("tta", "tta", "True Audio")),
    At0("MPCK"sv, Media("mpc8", "mpc", "Musepack SV8")),
    At0("MP+\x07"sv, Media("mpc", "mpc", "Musepack SV7")),
    At0("MP+\x17"sv, Media("mpc", "mpc", "Musepack SV7")),
    At0("#!AMR\n"sv, Media("amr", "amr", "Adaptive Multi-Rate")),
    At0("#!AMR-WB\n"sv, Media("amr", "amr", "Adaptive Multi-Rate Wideband")),
    At0(".snd\0\0\0"sv, Media("au", "au", "Sun audio")),
    At0("Creative Voice File\x1a"sv, Media("voc", "voc", "Creative Voice")),
    At0("DTSHDHDR"sv, Media("dtshd", "dtshd", "Raw DTS-HD")),
    At(4, "\xf8\x72\x6f\xba"sv, Media("truehd", "truehd", "Raw TrueHD")),
    At(4, "\xf8\x72\x6f\xbb"sv, Media("mlp", "mlp", "Raw MLP")),
    At(4, "\x57\x90\x75\x36"sv, Media("aa", "aa", "Audible AA")),
    At0("\x30\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\x00\xaa\x00\x62\xce\x6c"sv,
        Media("asf", "asf", "Advanced Systems Format")),
    At0("FLV\x01"sv, Media("flv", "flv", "Flash Video")),
    At0(".RMF\0"sv, Media("rm", "rm", "RealMedia")),
    At0(".ra\xfd"sv, Media("rm", "ra", "RealAudio")),
    At0("DKIF\0\0"sv, Media("ivf", "ivf", "On2 IVF")),
    At0("\x06\x0e\x2b\x34\x02\x05\x01\x01\x0d\x01\x02\x01\x01\x02"sv, Media("mxf", "mxf", "Material Exchange Format")),
    At(0, "\0\0\0\0\x01\xbc\0\0\0\0\xe1\xe2"sv, Media("gxf", "gxf", "General eXchange Format")),
    At0("nut/multimedia container\0"sv, Media("nut", "nut", "NUT")),
    At0("\xb7\xd8\x00\x20\x37\x49\xda\x11\xa6\x4e\x00\x07\xe9\x5e\xad\x8d"sv,
        Media("wtv", "wtv", "Windows recorded television")),
    At0("NSVf"sv, Media("nsv", "nsv", "Nullsoft Streaming Video")),
    At0("YUV4MPEG2 "sv, Media("yuv4mpegpipe", "y4m", "YUV4MPEG2")),
    At0("\0\nSMJPEG"sv, Media("smjpeg", "smjpeg", "Loki SDL motion JPEG")),
    At0("WEBVTT"sv, Media("webvtt", "webvtt", "WebVTT subtitles")),
    At0("\xef\xbb\xbfWEBVTT"sv, Media("webvtt", "webvtt", "WebVTT subtitles")),
    At0("[Script Info]"sv, Media("ass", "ass", "SubStation Alpha subtitles")),
    At0("\xef\xbb\xbf[Script Info]"sv, Media("ass", "ass", "SubStation Alpha subtitles")),

    At0("\xff\xd8\xff"sv, Still("jpeg", "JPEG")),
    At0("\x89PNG\r\n\x1a\n"sv, Still("png", "Portable Network Graphics")),
    At0("\x8aMNG\r\n\x1a\n"sv, Still("mng", "Multiple-image Network Graphics")),
    At0("\x8bJNG\r\n\x1a\n"sv, Still("jng", "JPEG Network Graphics")),
    At0("GIF87a"sv, Still("gif", "Graphics Interchange Format")),
    At0("GIF89a"sv, Still("gif", "Graphics Interchange Format")),
    At0("II*\0"sv, Still("tiff", "Tagged Image File Format")),
    At0("MM\0*"sv, Still("tiff", "Tagged Image File Format")),
    At0("II+\0"sv, Still("tiff", "BigTIFF")),
    At0("MM\0+"sv, Still("tiff", "BigTIFF")),
    At0("IIU\0"sv, Still("rw2", "Panasonic raw image")),
    At0("IIRO"sv, Still("orf", "Olympus raw image")),
    At0("IIRS"sv, Still("orf", "Olympus raw image")),
    At0("MMOR"sv, Still("orf", "Olympus raw image")),
    At0("\0MRM"sv, Still("mrw", "Minolta raw image")),
    At0("II\x1a\0\0\0HEAPCCDR"sv, Still("crw", "Canon raw image in a camera image file")),
    At0("FUJIFILMCCD-RAW"sv, Still("raf", "Fujifilm raw image")),
    At0("FOVb"sv, Still("x3f", "Sigma raw image")),
    At0("8BPS\0\1"sv, Still("psd", "Photoshop document")),
    At0("8BPS\0\2"sv, Still("psb", "Large Photoshop document")),
    Magic{0, kJpeg2000Signature, 20, "mjp2"sv, kMotionJpeg2000},
    At0(kJpeg2000Signature, kJpeg2000),
    At0("\xff\x4f\xff\x51"sv, Still("j2c", "JPEG 2000 codestream")),
    At0("\0\0\0\x0cJXL \r\n\x87\n"sv, kJpegXl),
    At0("\xff\x0a"sv, kJpegXl),
    At0("II\xbc\x01"sv, Still("jxr", "JPEG XR")),
    At0("qoif"sv, Still("qoi", "Quite OK Image")),
    At0("\x76\x2f\x31\x01"sv, Still("exr", "OpenEXR")),
    At0("#?RADIANCE\r\n"sv, Still("hdr", "Radiance HDR")),
    At0("#?RADIANCE\n"sv, Still("hdr", "Radiance HDR")),
    At0("#?RGBE\n"sv, Still("hdr", "Radiance HDR")),
    At0("gimp xcf "sv, Still("xcf", "GIMP image")),
    At0("DDS \x7c\0\0\0"sv, Still("dds", "DirectDraw Surface")),
    At0("SDPX"sv, Still("dpx", "Digital Picture Exchange")),
    At0("XPDS"sv, Still("dpx", "Digital Picture Exchange")),
    At0("\xabKTX 11\xbb\r\n\x1a\n"sv, Still("ktx", "Khronos texture")),
    At0("\xabKTX 20\xbb\r\n\x1a\n"sv, Still("ktx", "Khronos texture")),
    At0("\x59\xa6\x6a\x95"sv, Still("ras", "Sun raster image")),
    At0("farbfeld"sv, Still("ff", "farbfeld")),
    At0("BPG\xfb"sv, Still("bpg", "Better Portable Graphics")),

    At0("%PDF-"sv, Other("pdf", "Portable Document Format")),
    At0("%!PS-Adobe"sv, Other("ps", "PostScript")),
    At0("{\\rtf"sv, Other("rtf", "Rich Text Format")),
    At0("MThd\0\0\0\6"sv, Other("mid", "Standard MIDI")),
    At0("PK\3\4"sv, Other("zip", "ZIP archive")),
    At0("PK\5\6"sv, Other("zip", "ZIP archive")),
    At0("\x1f\x8b\x08"sv, Other("gz", "gzip")),
    At0("7z\xbc\xaf\x27\x1c"sv, Other("7z", "7-Zip archive")),
    At0("\xfd\x37zXZ\0"sv, Other("xz", "xz")),
    At0("\x28\xb5\x2f\xfd"sv, Other("zst", "Zstandard")),
    At0("Rar!\x1a\x07"sv, Other("rar", "RAR archive")),
    At(257, "ustar"sv, Other("tar", "tar archive")),
    At0("\x7f"
        "ELF"sv,
        Other("elf", "ELF program")),
    At0("SQLite format 3\0"sv, Other("sqlite", "SQLite database")),
    At0("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"sv, Other("ole", "Compound document")),
};

}  // namespace

std::span<const Magic> FormatMagics() { return kMagics; }

}  // namespace media_server
