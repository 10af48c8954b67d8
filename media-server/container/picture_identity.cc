#include "media-server/container/picture_identity.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/container/format_magic.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr FormatIdentity kBmp = Still("bmp", "Windows bitmap");
constexpr FormatIdentity kIcon = Still("ico", "Windows icon");
constexpr FormatIdentity kNetpbm = Still("pnm", "Netpbm");
constexpr FormatIdentity kSgi = Still("sgi", "Silicon Graphics image");
constexpr FormatIdentity kPcx = Still("pcx", "ZSoft PCX");
constexpr FormatIdentity kTarga = Still("tga", "Truevision TGA");

/// "BM" is two letters of any text: the size of the header behind it (offset 14) must be one that exists.
std::optional<FormatIdentity> IdentifyBitmap(Bytes head) {
  if (!Holds(head, 0, "BM"sv) || head.size() < 18) return std::nullopt;
  constexpr std::array kHeaderSizes = {12U, 16U, 40U, 52U, 56U, 64U, 108U, 124U};
  const std::uint32_t header_size = ByteReader(head.subspan(14)).Le32();
  if (std::ranges::find(kHeaderSizes, header_size) == kHeaderSizes.end()) return std::nullopt;
  return kBmp;
}

/// An icon directory (type 1, cursor 2) whose first entry is plausible: reserved byte 0, image behind the directory.
std::optional<FormatIdentity> IdentifyIcon(Bytes head) {
  ByteReader reader(head);
  const std::uint16_t reserved = reader.Le16();
  const std::uint16_t type = reader.Le16();
  const std::uint16_t count = reader.Le16();
  reader.Skip(3);
  const std::uint8_t entry_reserved = reader.U8();
  reader.Skip(8);
  const std::uint32_t image_offset = reader.Le32();
  if (!reader.Ok() || reserved != 0 || (type != 1 && type != 2) || count == 0 || entry_reserved != 0) {
    return std::nullopt;
  }
  if (image_offset < 6U + 16U * count) return std::nullopt;
  return kIcon;
}

/// Netpbm: P1 to P6, PF or Pf, then width and height; P7, then a line of PAM's header. Comments may stand anywhere.
std::optional<FormatIdentity> IdentifyNetpbm(Bytes head) {
  constexpr std::string_view kBlanks = " \t\r\n";
  constexpr std::string_view kDigits = "0123456789";
  constexpr std::array kPamKeywords = {"WIDTH"sv, "HEIGHT"sv, "DEPTH"sv, "MAXVAL"sv, "TUPLTYPE"sv};
  std::string_view text = AsText(head);
  if (text.size() < 3 || text[0] != 'P' || "1234567Ff"sv.find(text[1]) == std::string_view::npos ||
      kBlanks.find(text[2]) == kBlanks.npos) {
    return std::nullopt;
  }
  const bool is_pam = text[1] == '7';
  text.remove_prefix(2);
  for (int words = 0; words < 2;) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (text.starts_with('#')) {
      text.remove_prefix(std::min(text.find('\n'), text.size()));
      continue;
    }
    if (is_pam) {
      const bool is_known = std::ranges::any_of(kPamKeywords, [&](auto keyword) { return text.starts_with(keyword); });
      return is_known ? std::optional(kNetpbm) : std::nullopt;
    }
    const auto digits = std::min(text.find_first_not_of(kDigits), text.size());
    if (digits == 0) return std::nullopt;
    text.remove_prefix(digits);
    ++words;
  }
  return kNetpbm;
}

/// SGI: magic number, storage verbatim or run lengths, 1 or 2 bytes a sample, 1 to 3 dimensions, a width.
std::optional<FormatIdentity> IdentifySgi(Bytes head) {
  constexpr std::uint16_t kMagic = 0x01DA;
  ByteReader reader(head);
  const std::uint16_t magic = reader.Be16();
  const std::uint8_t storage = reader.U8();
  const std::uint8_t sample_size = reader.U8();
  const std::uint16_t dimensions = reader.Be16();
  const std::uint16_t width = reader.Be16();
  if (!reader.Ok() || magic != kMagic || storage > 1 || (sample_size != 1 && sample_size != 2)) return std::nullopt;
  if (dimensions < 1 || dimensions > 3 || width == 0) return std::nullopt;
  return kSgi;
}

/// PCX: manufacturer 10, a version that exists, a window, 1 to 4 planes whose lines hold it. Some programs write
/// encoding 0, verbatim, which the manual does not have.
std::optional<FormatIdentity> IdentifyPcx(Bytes head) {
  constexpr std::array kDepths = {1, 2, 4, 8};
  ByteReader reader(head);
  const std::uint8_t manufacturer = reader.U8();
  const std::uint8_t version = reader.U8();
  const std::uint8_t encoding = reader.U8();
  const std::uint8_t depth = reader.U8();
  const std::uint16_t left = reader.Le16();
  const std::uint16_t top = reader.Le16();
  const std::uint16_t right = reader.Le16();
  const std::uint16_t bottom = reader.Le16();
  reader.Skip(4 + 48);  // resolution, palette
  const std::uint8_t reserved = reader.U8();
  const std::uint8_t planes = reader.U8();
  const std::uint16_t bytes_per_line = reader.Le16();
  if (!reader.Ok() || manufacturer != 10 || version > 5 || version == 1 || encoding > 1 || reserved != 0) {
    return std::nullopt;
  }
  if (std::ranges::find(kDepths, depth) == kDepths.end() || planes < 1 || planes > 4) return std::nullopt;
  if (right < left || bottom < top || bytes_per_line * 8 < (right - left + 1) * depth) return std::nullopt;
  return kPcx;
}

/// The file's last 26 bytes (TGA 2.0, fields 28 to 32).
bool HasTargaFooter(IByteSource& source) {
  constexpr std::size_t kFooterSize = 26;
  const auto size = source.Size();
  if (!size || *size < kFooterSize) return false;
  const auto footer = ReadBytes(source, *size - kFooterSize, kFooterSize);
  return Holds(footer, 8, "TRUEVISION-XFILE.\0"sv);
}

/// The kinds of TGA picture and the depths of each: indices, true colour, grey; in each the same with run lengths 8
/// higher.
struct TargaKind {
  std::uint8_t image_type;
  bool has_color_map;
  std::uint8_t depth;
  std::uint8_t most_attribute_bits;
};
constexpr std::array kTargaKinds = {
    TargaKind{1, true, 8, 0},   TargaKind{1, true, 16, 0},  TargaKind{2, false, 15, 1}, TargaKind{2, false, 16, 1},
    TargaKind{2, false, 24, 0}, TargaKind{2, false, 32, 8}, TargaKind{3, false, 8, 0},  TargaKind{3, false, 16, 8},
};

/// Colour map specification: nothing at all without a map; entries of a depth that exists within 16-bit indices with
/// one.
bool IsPlausibleColorMap(bool is_present, std::uint16_t first, std::uint16_t length, std::uint8_t entry_bits) {
  constexpr std::array<std::uint8_t, 4> kEntryBits = {15, 16, 24, 32};
  if (!is_present) return first == 0 && length == 0 && entry_bits == 0;
  return length > 0 && first + length <= 0x10000 && std::ranges::find(kEntryBits, entry_bits) != kEntryBits.end();
}

/// The 18 bytes of the header (TGA 2.0, fields 1 to 5.6), each of which must hold what its field may; identifier and
/// colour map must lie within the file, with some of the picture.
bool HasTargaHeader(IByteSource& source) {
  constexpr std::size_t kHeaderSize = 18;
  constexpr std::uint8_t kRunLengths = 8;
  const auto head = ReadBytes(source, 0, kHeaderSize);
  ByteReader reader(head);
  const std::uint8_t identifier_size = reader.U8();
  const std::uint8_t color_map_type = reader.U8();
  const std::uint8_t image_type = reader.U8();
  const std::uint16_t first = reader.Le16();
  const std::uint16_t length = reader.Le16();
  const std::uint8_t entry_bits = reader.U8();
  reader.Skip(4);  // origin
  const std::uint16_t width = reader.Le16();
  const std::uint16_t height = reader.Le16();
  const std::uint8_t depth = reader.U8();
  const std::uint8_t descriptor = reader.U8();
  const std::uint64_t picture_offset = reader.Position() + identifier_size + length * ((entry_bits + 7U) / 8U);
  if (!reader.Ok() || width == 0 || height == 0 || color_map_type > 1 || descriptor >> 6 != 0) return false;
  const bool has_color_map = color_map_type == 1;
  const bool is_plain = image_type < kRunLengths;
  const auto kind = std::ranges::find_if(kTargaKinds, [&](const TargaKind& row) {
    return row.image_type == (is_plain ? image_type : image_type - kRunLengths) && row.depth == depth;
  });
  if (kind == kTargaKinds.end() || has_color_map != kind->has_color_map) return false;
  const std::uint8_t attribute_bits = descriptor & 0x0F;
  if (attribute_bits != 0 && attribute_bits != kind->most_attribute_bits) return false;
  const auto size = source.Size();
  return IsPlausibleColorMap(has_color_map, first, length, entry_bits) && size && picture_offset < *size;
}

}  // namespace

std::optional<FormatIdentity> IdentifyPicture(Bytes head) {
  using Identifier = std::optional<FormatIdentity> (*)(Bytes head);
  constexpr std::array<Identifier, 5> kIdentifiers = {IdentifyBitmap, IdentifyIcon, IdentifyNetpbm, IdentifySgi,
                                                      IdentifyPcx};
  for (const Identifier identify : kIdentifiers) {
    if (const auto identity = identify(head)) return identity;
  }
  return std::nullopt;
}

std::optional<FormatIdentity> IdentifyTarga(IByteSource& source) {
  if (HasTargaFooter(source) || HasTargaHeader(source)) return kTarga;
  return std::nullopt;
}

std::span<const FormatIdentity> FormatsWithoutMagic() {
  static constexpr std::array kFormats = {kBmp, kIcon, kNetpbm, kSgi, kPcx, kTarga};
  return kFormats;
}

}  // namespace media_server
