#include "media-server/image/png_text.h"

#define ZLIB_CONST  // input is not written to
#include <zlib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <new>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/photoshop_resources.h"
#include "media-server/image/segment_names.h"
#include "media-server/metadata/timestamp.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

// A profile of the greatest length in hexadecimal digits.
constexpr std::size_t kMostTextBytes = 2 * kMostMetadataBytes;

constexpr std::string_view kCreationTime = "Creation Time";
constexpr std::string_view kRawProfile = "Raw profile type ";

/// A zlib stream, all of it; empty when it is damaged or comes out longer than kMostTextBytes.
std::optional<std::string> Inflate(Bytes compressed) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> owner(&stream, &inflateEnd);
  std::string text;
  int status = Z_OK;
  stream.next_in = compressed.data();
  stream.avail_in = static_cast<uInt>(compressed.size());
  while (status == Z_OK && text.size() <= kMostTextBytes) {
    std::array<char, 4096> out;
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    status = inflate(&stream, Z_NO_FLUSH);
    text.append(out.data(), out.size() - stream.avail_out);
  }
  if (status == Z_MEM_ERROR) throw std::bad_alloc();
  if (status != Z_STREAM_END || text.size() > kMostTextBytes) return std::nullopt;
  return text;
}

std::optional<std::string> TextOf(Bytes data, bool is_compressed) {
  if (is_compressed) return Inflate(data);
  return std::string(AsText(data));
}

/// Takes the text up to the next zero off the front, and the zero; empty when there is none.
std::optional<std::string_view> TakeTerminated(Bytes& data) {
  const std::string_view text = AsText(data);
  const auto end = text.find('\0');
  if (end == text.npos) return std::nullopt;
  data = data.subspan(end + 1);
  return text.substr(0, end);
}

std::optional<std::uint8_t> HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
  return std::nullopt;
}

/// ImageMagick's profiles: a line with the name, one with the number of bytes, then lines of hexadecimal digits. Empty
/// when they are fewer than told.
std::vector<std::uint8_t> DecodeRawProfile(std::string_view text) {
  const auto skip_blank = [&] { text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \n\r\t"))); };
  skip_blank();
  text.remove_prefix(std::min(text.size(), text.find('\n')));
  skip_blank();
  std::size_t size = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
  if (error != std::errc() || size > text.size() / 2) return {};
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  std::vector<std::uint8_t> bytes;
  bytes.reserve(size);
  unsigned digits = 0;
  unsigned value = 0;
  for (const char c : text) {
    const auto digit = HexDigit(c);
    if (!digit) continue;
    if (bytes.size() == size) break;
    value = (value << 4 | *digit) & 0xFF;
    if (++digits % 2 == 0) bytes.push_back(static_cast<std::uint8_t>(value));
  }
  if (bytes.size() < size) bytes.clear();
  return bytes;
}

void Keep(Bytes payload, std::vector<std::uint8_t>& place) {
  if (place.empty() && payload.size() <= kMostMetadataBytes) place.assign(payload.begin(), payload.end());
}

/// What the bytes are counts, not what the profile is called: both Exif and XMP come under the name of their JPEG
/// segment, "APP1".
void TakeProfile(Bytes profile, EmbeddedMetadata& metadata) {
  constexpr std::uint8_t kIptcTagMarker = 0x1C;
  const std::string_view text = AsText(profile);
  const auto exif = TiffOfExifBlock({profile.begin(), profile.end()}, ExifPrefix::kNone);
  if (!exif.empty()) return Keep(exif, metadata.exif);
  if (text.starts_with(kPhotoshopSegment)) profile = profile.subspan(kPhotoshopSegment.size());
  if (AsText(profile).starts_with("8BIM")) profile = FindPhotoshopResource(profile, kIptcResource);
  if (!profile.empty() && profile[0] == kIptcTagMarker) return Keep(profile, metadata.iptc);
  if (text.starts_with(kXmpSegment)) return metadata.AddXmp(text.substr(kXmpSegment.size()));
  if (text.starts_with('<')) metadata.AddXmp(text);
}

}  // namespace

bool IsPngMetadata(std::string_view keyword) {
  constexpr std::array kProfiles = {"exif"sv, "APP1"sv, "xmp"sv, "iptc"sv, "8bim"sv};
  if (keyword == "XML:com.adobe.xmp" || keyword == "AIGC" || keyword == kCreationTime) return true;
  if (!keyword.starts_with(kRawProfile)) return false;
  return std::ranges::find(kProfiles, keyword.substr(kRawProfile.size())) != kProfiles.end();
}

std::optional<PngText> ReadPngText(std::string_view type, Bytes data) {
  constexpr std::uint8_t kDeflate = 0;
  const auto keyword = TakeTerminated(data);
  if (!keyword) return std::nullopt;
  bool is_compressed = type == "zTXt";
  if (type == "iTXt") {
    if (data.empty()) return std::nullopt;
    is_compressed = data[0] != 0;
    data = data.subspan(1);
  }
  if (type != "tEXt") {
    if (data.empty() || (is_compressed && data[0] != kDeflate)) return std::nullopt;
    data = data.subspan(1);
  }
  if (type == "iTXt" && (!TakeTerminated(data) || !TakeTerminated(data))) return std::nullopt;  // language, translation
  auto text = TextOf(data, is_compressed);
  if (!text) return std::nullopt;
  return PngText{std::string(*keyword), *std::move(text)};
}

void TakePngText(const PngText& text, EmbeddedMetadata& metadata) {
  if (text.keyword.starts_with(kRawProfile)) return TakeProfile(DecodeRawProfile(text.text), metadata);
  if (text.text.size() > kMostMetadataBytes) return;
  if (text.keyword == "XML:com.adobe.xmp") metadata.AddXmp(text.text);
  if (text.keyword == kCreationTime && !metadata.created) metadata.created = ParseLocalTimestamp(text.text);
  if (text.keyword != "AIGC" || !metadata.aigc.empty()) return;
  // ISO 8859-1 by the standard (PNG 11.3.3.2), UTF-8 by most writers.
  metadata.aigc = TextFromUtf8OrWindows1252(AsBytes(text.text));
}

}  // namespace media_server::image
