#include "media-server/container/format_identity.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/ebml.h"
#include "media-server/container/format_magic.h"
#include "media-server/container/frame_sync.h"
#include "media-server/container/gzip.h"
#include "media-server/container/id3v2.h"
#include "media-server/container/picture_identity.h"
#include "media-server/container/xml_start.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeadSize = 4096;

constexpr FormatIdentity kMatroska = Media("matroska", "mkv", "Matroska");
constexpr FormatIdentity kWebM = Media("matroska", "webm", "WebM");
constexpr FormatIdentity kMov = Media("mov", "mov", "QuickTime movie");
constexpr FormatIdentity kMp4 = Media("mov", "mp4", "MP4 (MPEG-4 Part 14)");
constexpr FormatIdentity kOgg = Media("ogg", "ogg", "Ogg");
constexpr FormatIdentity kMpegPs = Media("mpeg", "mpegps", "MPEG program stream");
constexpr FormatIdentity kMpegVideo = Media("mpegvideo", "mpegvideo", "Raw MPEG-1 or MPEG-2 video");
constexpr FormatIdentity kMpegTs = Media("mpegts", "mpegts", "MPEG transport stream");
constexpr FormatIdentity kMp3 = Media("mp3", "mp3", "MPEG audio layer III");
constexpr FormatIdentity kMp2 = Media("mp3", "mp2", "MPEG audio layer II");
constexpr FormatIdentity kMp1 = Media("mp3", "mp1", "MPEG audio layer I");
constexpr FormatIdentity kAdts = Media("aac", "aac", "Raw AAC with ADTS headers");
constexpr FormatIdentity kLoas = Media("loas", "loas", "Raw AAC with LOAS headers");
constexpr FormatIdentity kAc3 = Media("ac3", "ac3", "Raw AC-3");
constexpr FormatIdentity kEac3 = Media("eac3", "eac3", "Raw E-AC-3");
constexpr FormatIdentity kDts = Media("dts", "dts", "Raw DTS");
constexpr FormatIdentity kSubRip = Media("srt", "srt", "SubRip subtitles");
constexpr FormatIdentity kFlashMovie = Media("swf", "swf", "Flash movie");
constexpr FormatIdentity kHeif = Still("heif", "HEIF");
constexpr FormatIdentity kAvif = Still("avif", "AVIF");
constexpr FormatIdentity kCanonRaw = Still("cr3", "Canon raw image");
constexpr FormatIdentity kSvg = {ContentKind::kSvg, {}, {"svg", "Scalable Vector Graphics"}};
constexpr FormatIdentity kXml = Other("xml", "XML document");

std::optional<FormatIdentity> IdentifyByMagic(Bytes head) {
  for (const Magic& magic : FormatMagics()) {
    if (Holds(head, magic.offset, magic.bytes) && Holds(head, magic.second_offset, magic.second_bytes)) {
      return magic.identity;
    }
  }
  return std::nullopt;
}

/// Major brands of the box formats that are not plain MP4. A brand ends at its last non-blank character here: "3gp"
/// covers "3gp4", "3gp5" and so on, because 3GPP numbers its releases there.
struct Brand {
  std::string_view prefix;
  FormatIdentity identity;
};

constexpr FormatIdentity kM4a = Media("mov", "m4a", "MPEG-4 audio");
constexpr FormatIdentity kM4b = Media("mov", "m4b", "MPEG-4 audio book");
constexpr FormatIdentity kM4v = Media("mov", "m4v", "MPEG-4 video (iTunes)");
constexpr FormatIdentity k3gp = Media("mov", "3gp", "3GPP multimedia file");

constexpr std::array kBrands = {
    Brand{"qt  ", kMov},
    Brand{"M4A", kM4a},
    Brand{"M4B", kM4b},
    Brand{"M4P", Media("mov", "m4p", "MPEG-4 audio, protected")},
    Brand{"M4V", kM4v},
    Brand{"3gp", k3gp},
    Brand{"3gs", k3gp},
    Brand{"3gr", k3gp},
    Brand{"3ge", k3gp},
    Brand{"3gg", k3gp},
    Brand{"3g2", Media("mov", "3g2", "3GPP2 multimedia file")},
    Brand{"F4V ", Media("mov", "f4v", "Flash MP4 video")},
    Brand{"F4A ", Media("mov", "f4a", "Flash MP4 audio")},
    Brand{"aax ", Media("mov", "aax", "Audible enhanced audiobook")},
    Brand{"mj2s", kMotionJpeg2000},
    Brand{"mjp2", kMotionJpeg2000},
    Brand{"avif", kAvif},
    Brand{"avis", kAvif},
    Brand{"avio", kAvif},
    Brand{"mif", kHeif},
    Brand{"msf", kHeif},
    Brand{"miaf", kHeif},
    Brand{"hei", kHeif},
    Brand{"hevc", kHeif},
    Brand{"hevx", kHeif},
    Brand{"hevm", kHeif},
    Brand{"hevs", kHeif},
    Brand{"avci", kHeif},
    Brand{"avcs", kHeif},
    Brand{"vvic", kHeif},
    Brand{"vvis", kHeif},
    Brand{"evbi", kHeif},
    Brand{"evbs", kHeif},
    Brand{"evmi", kHeif},
    Brand{"evms", kHeif},
    Brand{"MiHA", kHeif},
    Brand{"MiHB", kHeif},
    Brand{"MiHE", kHeif},
    Brand{"MA1A", kAvif},
    Brand{"MA1B", kAvif},
    Brand{"jpeg", kHeif},
    Brand{"jpgs", kHeif},
    Brand{"j2ki", kHeif},
    Brand{"j2is", kHeif},
    Brand{"crx ", kCanonRaw},
    Brand{"jp2 ", kJpeg2000},
    Brand{"jpx ", kJpeg2000},
    Brand{"jpm ", kJpeg2000},
    Brand{"jph ", kJpeg2000},
    Brand{"jxl ", kJpegXl},
};

const FormatIdentity* FindBrand(std::string_view brand) {
  const auto row =
      std::ranges::find_if(kBrands, [&](const Brand& candidate) { return brand.starts_with(candidate.prefix); });
  return row == kBrands.end() ? nullptr : &row->identity;
}

/// Some encoders write the plain "mif1" or "msf1" of HEIF as the major brand of an AVIF file.
FormatIdentity IdentifyByBrands(Bytes ftyp_payload) {
  ByteReader reader(ftyp_payload);
  const FormatIdentity* const major = FindBrand(AsText(reader.Take(4)));
  if (!major) return kMp4;
  if (major->names.short_name != kHeif.names.short_name) return *major;
  reader.Skip(4);
  while (reader.Remaining() >= 4) {
    const std::string_view compatible = AsText(reader.Take(4));
    if (compatible == "avif" || compatible == "avis") return kAvif;
  }
  return kHeif;
}

constexpr std::array kTopLevelBoxes = {"ftyp"sv, "styp"sv, "moov"sv, "mdat"sv, "moof"sv, "sidx"sv, "free"sv,
                                       "skip"sv, "wide"sv, "pnot"sv, "uuid"sv, "meta"sv, "prft"sv, "PICT"sv};

bool IsTopLevelBox(std::string_view type) { return std::ranges::find(kTopLevelBoxes, type) != kTopLevelBoxes.end(); }

bool IsLargeBox(std::string_view type) { return type == "moov" || type == "mdat" || type == "moof"; }

/// Whether the box at `offset` is the last one: one that ends at the input's end, or beyond it in an input cut short.
bool EndsAtBox(IByteSource& source, std::uint64_t next_offset) {
  const auto size = source.Size();
  return size && next_offset >= *size;
}

std::optional<FormatIdentity> IdentifyBoxes(IByteSource& source, Bytes head, std::uint64_t offset) {
  ByteReader reader(head);
  std::uint64_t size = reader.Be32();
  const std::string_view type = AsText(reader.Take(4));
  if (!IsTopLevelBox(type)) return std::nullopt;
  if (size == 1) size = reader.Be64();
  const std::uint64_t header_size = reader.Position();
  if (type == "ftyp" || type == "styp") {
    constexpr std::uint64_t kBrandSize = 4;
    if (size < header_size + kBrandSize) return std::nullopt;
    const auto payload_size = std::min<std::uint64_t>(size - header_size, reader.Remaining());
    return IdentifyByBrands(reader.Take(static_cast<std::size_t>(payload_size)));
  }
  // Without a brand it is QuickTime from before ISO/IEC 14496-12; four letters alone prove little, so the next box must
  // fit.
  if (type == "mdat" && size == 0) return kMov;
  if (size < header_size || size > UINT64_MAX - offset) return std::nullopt;
  const auto next = ReadBytes(source, offset + size, 8);
  if (next.size() == 8) return IsTopLevelBox(AsText(next).substr(4)) ? std::optional(kMov) : std::nullopt;
  // Of an input cut short only boxes that are large are believed: "uuid" and "free" are words, too.
  const auto end = source.Size();
  const bool is_whole = end == offset + size;
  return EndsAtBox(source, offset + size) && (is_whole || IsLargeBox(type)) ? std::optional(kMov) : std::nullopt;
}

/// EBML header (RFC 8794 section 11.2.1) with one of the document types that the demuxer takes.
std::optional<FormatIdentity> IdentifyEbml(Bytes head) {
  constexpr std::uint32_t kHeaderId = 0x1A45DFA3;
  constexpr std::uint32_t kDocTypeId = 0x4282;
  ByteReader reader(head);
  const auto header = ReadEbmlElement(reader);
  if (!header || header->id != kHeaderId) return std::nullopt;
  while (const auto element = ReadEbmlElement(reader)) {
    const auto value = reader.Take(static_cast<std::size_t>(element->size.value_or(reader.Remaining() + 1)));
    if (!reader.Ok()) return std::nullopt;
    if (element->id != kDocTypeId) continue;
    std::string_view doc_type = AsText(value);
    doc_type = doc_type.substr(0, doc_type.find('\0'));
    if (doc_type == "webm") return kWebM;
    if (doc_type == "matroska") return kMatroska;
    return std::nullopt;
  }
  return std::nullopt;
}

struct OggCodec {
  std::string_view first_packet;
  FormatIdentity identity;
};
constexpr std::array kOggCodecs = {
    OggCodec{"OpusHead"sv, Media("ogg", "opus", "Ogg Opus")},
    OggCodec{"Speex   "sv, Media("ogg", "spx", "Ogg Speex")},
    OggCodec{"\x80theora"sv, Media("ogg", "ogv", "Ogg video")},
    OggCodec{"\x7f"
             "FLAC"sv,
             Media("ogg", "oga", "Ogg FLAC")},
};

std::optional<FormatIdentity> IdentifyOgg(Bytes head) {
  constexpr std::size_t kSegmentCount = 26;
  if (!Holds(head, 0, "OggS\0"sv)) return std::nullopt;
  if (head.size() <= kSegmentCount) return kOgg;
  const std::size_t packet = kSegmentCount + 1 + head[kSegmentCount];
  const auto row =
      std::ranges::find_if(kOggCodecs, [&](const OggCodec& codec) { return Holds(head, packet, codec.first_packet); });
  return row == kOggCodecs.end() ? kOgg : row->identity;
}

/// Pack header with its marker bits (ISO/IEC 13818-1 2.5.3.4, ISO/IEC 11172-1 2.4.3.2), or a sequence header with its
/// marker bit and a start code that may follow one (ISO/IEC 13818-2 6.2.2.1).
std::optional<FormatIdentity> IdentifyMpeg(Bytes head) {
  if (head.size() < 12 || !Holds(head, 0, "\0\0\1"sv)) return std::nullopt;
  if (head[3] == 0xBA) {
    const bool mpeg1 = (head[4] & 0xF1) == 0x21 && (head[6] & 1) != 0 && (head[8] & 1) != 0;
    const bool mpeg2 = (head[4] & 0xC4) == 0x44 && (head[6] & 4) != 0 && (head[8] & 4) != 0;
    if (mpeg1 || mpeg2) return kMpegPs;
    return std::nullopt;
  }
  const bool has_size = (head[4] | head[5] | head[6]) != 0;
  const bool has_marker = (head[10] & 0x20) != 0;
  if (head[3] != 0xB3 || !has_size || !has_marker) return std::nullopt;
  const std::string_view text = AsText(head);
  for (auto at = text.find("\0\0\1"sv, 4); at != text.npos && at + 3 < text.size();
       at = text.find("\0\0\1"sv, at + 1)) {
    const std::uint8_t code = head[at + 3];
    if (code == 0xB5 || code == 0xB8 || code == 0xB2 || code == 0x00) return kMpegVideo;
  }
  return std::nullopt;
}

std::string_view SkipBlank(std::string_view text) {
  const auto at = text.find_first_not_of(" \t\r\n");
  return at == text.npos ? std::string_view() : text.substr(at);
}

/// SubRip: a number on a line of its own, then "00:00:00,000 --> ".
std::optional<FormatIdentity> IdentifySubRip(Bytes head) {
  std::string_view text = AsText(head.first(std::min<std::size_t>(head.size(), 256)));
  if (text.starts_with("\xef\xbb\xbf"sv)) text.remove_prefix(3);
  text = SkipBlank(text);
  const auto digits_end = text.find_first_not_of("0123456789");
  if (digits_end == 0 || digits_end == text.npos || (text[digits_end] != '\n' && text[digits_end] != '\r')) {
    return std::nullopt;
  }
  const std::string_view line = SkipBlank(text.substr(digits_end));
  const auto arrow = line.find(" --> ");
  if (arrow == line.npos || line.find_first_not_of("0123456789:,. ") != arrow + 1) return std::nullopt;
  return kSubRip;
}

/// Whether a document of XML may begin like this, which tells most other files at once.
bool MayBeXml(Bytes head) {
  constexpr std::array kBeginnings = {"<"sv,        " "sv,        "\t"sv, "\r"sv, "\n"sv, "\xef\xbb\xbf"sv,
                                      "\xff\xfe"sv, "\xfe\xff"sv, "\0<"sv};
  return std::ranges::any_of(kBeginnings, [&](std::string_view beginning) { return Holds(head, 0, beginning); });
}

/// SVG by its root element, whatever stands before it, and other documents that say that they are XML. Gzip is looked
/// into (SVG 2 appendix K: compressed documents end in .svgz).
std::optional<FormatIdentity> IdentifyXml(IByteSource& source, Bytes head, std::uint64_t offset) {
  constexpr std::size_t kMostText = 64 * 1024;
  const bool is_compressed = IsGzip(head);
  if (!is_compressed && !MayBeXml(head)) return std::nullopt;
  const auto read_start = [&](Bytes bytes) {
    return ReadXmlStart(is_compressed ? NarrowXml(InflateGzip(bytes, kMostText)) : NarrowXml(bytes));
  };
  XmlStart start = read_start(head);
  if (!start.is_decided && head.size() == kHeadSize) start = read_start(ReadBytes(source, offset, kMostText));
  if (start.root == "svg" || (!start.is_decided && start.document_type == "svg")) return kSvg;
  if (start.has_declaration && !is_compressed) return kXml;
  return std::nullopt;
}

/// Flash movies: signature, a version that exists, and a length that is not absurd.
std::optional<FormatIdentity> IdentifyFlashMovie(Bytes head) {
  if (!Holds(head, 1, "WS"sv) || head.size() < 8 || (head[0] != 'F' && head[0] != 'C')) return std::nullopt;
  constexpr std::uint8_t kLastVersion = 60;
  const std::uint32_t length = ByteReader(head.subspan(4)).Le32();
  if (head[3] == 0 || head[3] > kLastVersion || length < 21 || length > 0x10000000) return std::nullopt;
  return kFlashMovie;
}

using HeadIdentifier = std::optional<FormatIdentity> (*)(Bytes head);
constexpr std::array<HeadIdentifier, 7> kHeadIdentifiers = {
    IdentifyByMagic, IdentifyEbml, IdentifyOgg, IdentifyMpeg, IdentifyPicture, IdentifySubRip, IdentifyFlashMovie,
};

constexpr FormatIdentity IdentityOf(FrameStream stream) {
  switch (stream) {
    case FrameStream::kMpegLayer1:
      return kMp1;
    case FrameStream::kMpegLayer2:
      return kMp2;
    case FrameStream::kMpegLayer3:
      return kMp3;
    case FrameStream::kAdts:
      return kAdts;
    case FrameStream::kLoas:
      return kLoas;
    case FrameStream::kAc3:
      return kAc3;
    case FrameStream::kEac3:
      return kEac3;
    case FrameStream::kDts:
      return kDts;
    case FrameStream::kMpegTransport:
      return kMpegTs;
  }
  return kMpegTs;
}

/// Some taggers leave their padding outside of the tag: frames may follow a run of zero bytes behind it.
std::uint64_t SkipPadding(IByteSource& source, std::uint64_t offset) {
  constexpr std::uint64_t kMostPadding = 65536;
  const std::uint64_t end = offset + kMostPadding;
  while (offset < end) {
    const auto bytes = ReadBytes(source, offset, kHeadSize);
    const auto at = std::ranges::find_if(bytes, [](std::uint8_t byte) { return byte != 0; });
    offset += static_cast<std::uint64_t>(at - bytes.begin());
    if (at != bytes.end() || bytes.empty()) break;
  }
  return offset;
}

std::optional<FormatIdentity> IdentifyContent(IByteSource& source, std::uint64_t offset) {
  const auto head = ReadBytes(source, offset, kHeadSize);
  if (const auto identity = IdentifyXml(source, head, offset)) return identity;
  for (const HeadIdentifier identify : kHeadIdentifiers) {
    if (const auto identity = identify(head)) return identity;
  }
  if (const auto identity = IdentifyBoxes(source, head, offset)) return identity;
  if (const auto stream = ProveFrameStream(source, offset)) return IdentityOf(*stream);
  return std::nullopt;
}

/// Where several formats share a demuxer, the one that stands for it.
constexpr std::array kDemuxerDefaults = {kMatroska, kMp4,  kOgg, kMpegPs, kMpegVideo, kMpegTs, kMp3,
                                         kAdts,     kLoas, kAc3, kEac3,   kDts,       kSubRip, kFlashMovie};

bool ListHolds(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const auto comma = list.find(',');
    if (list.substr(0, comma) == name) return true;
    list = comma == list.npos ? std::string_view() : list.substr(comma + 1);
  }
  return false;
}

}  // namespace

std::optional<FormatIdentity> IdentifyFormat(IByteSource& source) {
  std::uint64_t offset = SkipId3v2(source);
  auto identity = IdentifyContent(source, offset);
  if (!identity && offset > 0) {
    offset = SkipPadding(source, offset);
    if (const auto stream = ProveFrameStream(source, offset)) identity = IdentityOf(*stream);
  }
  return identity ? identity : IdentifyTarga(source);
}

std::optional<FormatNames> NamesOfDemuxer(std::string_view demuxer) {
  for (const FormatIdentity& identity : kDemuxerDefaults) {
    if (ListHolds(demuxer, identity.demuxer)) return identity.names;
  }
  for (const Magic& magic : FormatMagics()) {
    if (magic.identity.kind == ContentKind::kMedia && ListHolds(demuxer, magic.identity.demuxer)) {
      return magic.identity.names;
    }
  }
  return std::nullopt;
}

std::vector<FormatIdentity> KnownFormats() {
  std::vector<FormatIdentity> formats(kDemuxerDefaults.begin(), kDemuxerDefaults.end());
  formats.insert(formats.end(), {kWebM, kMov, kMp2, kMp1, kSvg});
  formats.insert(formats.end(), FormatsWithoutMagic().begin(), FormatsWithoutMagic().end());
  for (const Brand& brand : kBrands) formats.push_back(brand.identity);
  for (const OggCodec& codec : kOggCodecs) formats.push_back(codec.identity);
  for (const Magic& magic : FormatMagics()) formats.push_back(magic.identity);
  const auto names = [](const FormatIdentity& identity) {
    return std::pair(identity.names.short_name, identity.names.long_name);
  };
  std::ranges::sort(formats, {}, names);
  const auto is_same = [&](const auto& a, const auto& b) { return names(a) == names(b); };
  formats.erase(std::unique(formats.begin(), formats.end(), is_same), formats.end());
  return formats;
}

}  // namespace media_server
