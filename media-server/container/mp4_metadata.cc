#include "media-server/container/mp4_metadata.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view kXmpKey = "XMP";

bool StartsWithByteOrderMark(Bytes bytes) { return AsText(bytes).starts_with("\xFE\xFF"sv); }

/// What a value's well-known type says about its bytes (QuickTime File Format, "Well-known types").
enum class ValueForm { kUtf8, kUtf16, kSigned, kUnsigned, kFloat };

struct ValueType {
  std::uint32_t code;
  ValueForm form;
};
constexpr std::array kValueTypes = {
    ValueType{1, ValueForm::kUtf8},      ValueType{2, ValueForm::kUtf16},     ValueType{4, ValueForm::kUtf8},
    ValueType{5, ValueForm::kUtf16},     ValueType{21, ValueForm::kSigned},   ValueType{22, ValueForm::kUnsigned},
    ValueType{23, ValueForm::kFloat},    ValueType{24, ValueForm::kFloat},    ValueType{65, ValueForm::kSigned},
    ValueType{66, ValueForm::kSigned},   ValueType{67, ValueForm::kSigned},   ValueType{74, ValueForm::kSigned},
    ValueType{75, ValueForm::kUnsigned}, ValueType{76, ValueForm::kUnsigned}, ValueType{77, ValueForm::kUnsigned},
    ValueType{78, ValueForm::kUnsigned},
};

/// A number with a decimal point, whatever the process's locale has in its place.
std::string FixedText(double value, int decimals) {
  std::array<char, 512> text;  // the largest number has 309 digits
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
  return std::string(text.data(), end);
}

std::optional<std::string> NumberText(Bytes bytes, ValueForm form) {
  if (bytes.empty() || bytes.size() > 8) return std::nullopt;
  const std::uint64_t value = ByteReader(bytes).BigEndian(bytes.size());
  if (form == ValueForm::kUnsigned) return std::to_string(value);
  if (form == ValueForm::kSigned) {
    const auto unused_bits = static_cast<int>(64 - 8 * bytes.size());
    return std::to_string(static_cast<std::int64_t>(value << unused_bits) >> unused_bits);
  }
  constexpr int kDecimals = 6;
  if (bytes.size() == 4) return FixedText(double{std::bit_cast<float>(static_cast<std::uint32_t>(value))}, kDecimals);
  if (bytes.size() == 8) return FixedText(std::bit_cast<double>(value), kDecimals);
  return std::nullopt;
}

/// "number/total" of iTunes' trkn and disk items: two bytes unused, number, total.
std::optional<std::string> PairText(Bytes bytes) {
  ByteReader reader(bytes);
  reader.Skip(2);
  const std::uint16_t number = reader.Be16();
  const std::uint16_t total = reader.Remaining() >= 2 ? reader.Be16() : std::uint16_t{0};
  if (!reader.Ok() || number == 0) return std::nullopt;
  std::string text = std::to_string(number);
  if (total != 0) text += "/" + std::to_string(total);
  return text;
}

std::optional<std::string> ValueText(std::string_view item_type, std::uint32_t type_code, Bytes bytes) {
  const bool implicit = type_code == 0;
  if (implicit && (item_type == "trkn" || item_type == "disk")) return PairText(bytes);
  // Writers of named keys leave the type 0 on texts; whatever else has it is binary.
  if (implicit) return IsPlainUtf8(bytes) ? std::optional(TextFromUtf8(bytes)) : std::nullopt;
  const auto row = std::ranges::find(kValueTypes, type_code, &ValueType::code);
  if (row == kValueTypes.end()) return std::nullopt;
  if (row->form == ValueForm::kUtf8) return TextFromUtf8(bytes);
  if (row->form == ValueForm::kUtf16) return TextFromUtf16(bytes, /*big_endian=*/true);
  return NumberText(bytes, row->form);
}

/// Skips a NUL-terminated text of a 3GPP box: UTF-16 when it starts with a byte order mark, UTF-8 otherwise.
void SkipText(ByteReader& reader) {
  const std::uint8_t first = reader.U8();
  if (first == 0) return;
  const std::uint8_t second = reader.U8();
  if (first == 0xFE && second == 0xFF) {
    while (reader.Ok() && reader.Be16() != 0) {
    }
    return;
  }
  if (second == 0) return;
  while (reader.Ok() && reader.U8() != 0) {
  }
}

/// A number of ISO 6709: sign, so many digits at least, a fraction.
std::string SignedText(double value, std::size_t digits, int decimals) {
  std::string text = FixedText(std::abs(value), decimals);
  const std::size_t whole = text.find('.');
  text.insert(0, digits - std::min(whole, digits), '0');
  return (value < 0 ? "-" : "+") + text;
}

/// 3GPP TS 26.244 8.5 `loci`: name, role, then longitude, latitude and altitude as 16.16 fixed point.
std::optional<std::string> LocationText(Bytes bytes) {
  ByteReader reader(bytes);
  reader.Skip(6);  // version, flags, language
  SkipText(reader);
  reader.Skip(1);  // role
  const auto next_fixed = [&] { return static_cast<std::int32_t>(reader.Be32()) / 65536.0; };
  const double longitude = next_fixed();
  const double latitude = next_fixed();
  const double altitude = next_fixed();
  if (!reader.Ok()) return std::nullopt;
  return SignedText(latitude, 2, 5) + SignedText(longitude, 3, 5) + SignedText(altitude, 1, 3) + "/";
}

/// Length and language in front of a text of QuickTime.
constexpr std::size_t kInternationalHead = 4;

/// A text directly in udta. Three forms are in use: 3GPP's (zero version and flags, language, text), QuickTime's
/// (length, language, text) and the bare text.
std::string AtomText(Bytes bytes) {
  constexpr std::size_t kFullBoxHead = 6;
  ByteReader reader(bytes);
  if (bytes.size() >= kFullBoxHead && reader.Be32() == 0) {
    const Bytes text = bytes.subspan(kFullBoxHead);
    if (StartsWithByteOrderMark(text)) return TextFromUtf16(text, /*big_endian=*/true);
    return TextFromUtf8OrMacRoman(text);
  }
  if (bytes.size() > kInternationalHead) {
    const std::size_t size = ByteReader(bytes).Be16();
    const Bytes text = bytes.subspan(kInternationalHead);
    if (size > 0 && size <= text.size()) return TextFromUtf8OrMacRoman(text.first(size));
  }
  return TextFromUtf8OrMacRoman(bytes);
}

constexpr std::array kTextAtoms = {"titl"sv, "auth"sv, "perf"sv, "gnre"sv, "dscp"sv, "cprt"sv, "albm"sv,
                                   "kywd"sv, "manu"sv, "modl"sv, "name"sv, "date"sv, "coll"sv};

}  // namespace

Mp4MetadataReader::Mp4MetadataReader(Mp4BoxReader& boxes, std::vector<Mp4MetaEntry>& entries)
    : boxes_(boxes), entries_(entries) {}

void Mp4MetadataReader::ReadMeta(const Mp4Box& meta) {
  // QuickTime's meta is a plain box, ISO's has a version in front of its children.
  const auto start = boxes_.Payload(meta, 8);
  const bool is_plain = start.size() == 8 && AsText(start).substr(4) == "hdlr";
  const std::uint64_t skip = is_plain ? 0 : 4;

  std::vector<std::string> keys;
  Mp4BoxRange range = boxes_.Children(meta, skip);
  while (const auto box = boxes_.Next(range)) {
    if (box->Is("keys")) keys = ReadKeys(*box);
  }
  range = boxes_.Children(meta, skip);
  while (const auto box = boxes_.Next(range)) {
    if (!box->Is("ilst")) continue;
    Mp4BoxRange items = boxes_.Children(*box);
    while (const auto item = boxes_.Next(items)) ReadItem(*item, keys);
  }
}

std::vector<std::string> Mp4MetadataReader::ReadKeys(const Mp4Box& box) {
  constexpr std::uint64_t kVersionAndCount = 8;
  std::vector<std::string> keys;
  Mp4BoxRange range = boxes_.Children(box, kVersionAndCount);
  while (keys.size() < kMp4MostMetadataEntries) {
    const auto key = boxes_.Next(range);  // laid out as a box: size, namespace, name
    if (!key) break;
    constexpr std::size_t kLongestKey = 4096;
    keys.push_back(TextFromUtf8(boxes_.Payload(*key, kLongestKey)));
  }
  return keys;
}

void Mp4MetadataReader::ReadItem(const Mp4Box& item, const std::vector<std::string>& keys) {
  constexpr std::uint64_t kVersion = 4;
  constexpr std::uint64_t kTypeAndLocale = 8;
  Mp4MetaEntry entry;
  const std::uint64_t index = ByteReader(AsBytes(item.Type())).Be32();
  const bool is_named = index >= 1 && index <= keys.size();
  const bool is_number = index < 0x01000000;  // no four characters: an index that no table explains
  if (!is_named && is_number) return;
  entry.name_space = is_named ? Mp4MetaNamespace::kNamedKey : Mp4MetaNamespace::kItunes;
  entry.key = is_named ? keys[static_cast<std::size_t>(index - 1)] : KeyFromFourCharacters(item.Type());
  if (item.Is("----")) {
    entry.name_space = Mp4MetaNamespace::kFreeform;
    entry.key.clear();
  }

  Mp4BoxRange range = boxes_.Children(item);
  while (const auto box = boxes_.Next(range)) {
    if (box->Is("name") && item.Is("----")) entry.key = TextFromUtf8(boxes_.Payload(*box, 4096, kVersion));
    if (!box->Is("data")) continue;
    const auto head = boxes_.Payload(*box, 4);
    const std::uint32_t type_code = ByteReader(head).Be32() & 0xFFFFFF;  // the first byte says whose types these are
    const bool has_bytes = box->payload_size > kTypeAndLocale;
    if (!has_bytes || item.Is("covr")) continue;
    auto text = ValueText(item.Type(), type_code, ReadValue(*box, kTypeAndLocale));
    if (!text) continue;
    entry.value = std::move(*text);
    Add(entry);
  }
}

void Mp4MetadataReader::ReadUserData(const Mp4Box& user_data) {
  Mp4BoxRange range = boxes_.Children(user_data);
  while (const auto box = boxes_.Next(range)) {
    if (box->Is("meta")) {
      ReadMeta(*box);
    } else if (box->Is("XMP_")) {
      ReadXmp(*box);
    } else if (box->type[0] == '\xA9') {
      ReadInternationalTexts(*box);
    } else {
      ReadTextAtom(*box);
    }
  }
}

void Mp4MetadataReader::ReadXmp(const Mp4Box& box) {
  Mp4MetaEntry entry;
  entry.name_space = Mp4MetaNamespace::kXmp;
  entry.key = kXmpKey;
  entry.value = TextFromUtf8(ReadValue(box));
  Add(std::move(entry));
}

void Mp4MetadataReader::ReadTextAtom(const Mp4Box& atom) {
  Mp4MetaEntry entry;
  entry.name_space = Mp4MetaNamespace::kUserData;
  entry.key = KeyFromFourCharacters(atom.Type());
  if (atom.Is("loci")) {
    entry.value = LocationText(ReadValue(atom)).value_or(std::string());
  } else if (atom.Is("yrrc")) {
    const auto bytes = boxes_.Payload(atom, 2, /*skip=*/4);
    if (bytes.size() == 2) entry.value = std::to_string(ByteReader(bytes).Be16());
  } else if (std::ranges::find(kTextAtoms, atom.Type()) != kTextAtoms.end()) {
    entry.value = AtomText(ReadValue(atom));
  }
  Add(std::move(entry));
}

/// QuickTime user data text: any number of (length, language, text). Codes from 0x400 are packed ISO 639 letters and
/// mean UTF-8, lower ones are Macintosh languages with their character sets.
void Mp4MetadataReader::ReadInternationalTexts(const Mp4Box& atom) {
  const auto bytes = ReadValue(atom);
  Mp4MetaEntry entry;
  entry.name_space = Mp4MetaNamespace::kUserData;
  entry.key = KeyFromFourCharacters(atom.Type());
  const bool is_item = bytes.size() >= 8 && AsText(bytes).substr(4, 4) == "data";
  if (is_item) return ReadItem(atom, {});

  constexpr std::uint16_t kFirstPackedLanguage = 0x400;
  constexpr std::uint16_t kUnspecifiedLanguage = 0x7FFF;
  ByteReader reader(bytes);
  bool any = false;
  while (reader.Remaining() > kInternationalHead) {
    std::size_t size = reader.Be16();
    const std::uint16_t language = reader.Be16();
    if (size == 0) continue;
    // By the format's own word the length counts this head as well, which hardly a writer does.
    if (size > reader.Remaining() && size >= kInternationalHead) size -= kInternationalHead;
    if (size > reader.Remaining()) break;
    const Bytes text = reader.Take(size);
    const bool is_utf8 = language >= kFirstPackedLanguage && language != kUnspecifiedLanguage;
    if (StartsWithByteOrderMark(text)) {
      entry.value = TextFromUtf16(text, /*big_endian=*/true);
    } else {
      entry.value = is_utf8 ? TextFromUtf8(text) : TextFromUtf8OrMacRoman(text);
    }
    any = true;
    Add(entry);
  }
  if (any) return;
  entry.value = TextFromUtf8OrMacRoman(bytes);
  Add(std::move(entry));
}

std::vector<std::uint8_t> Mp4MetadataReader::ReadValue(const Mp4Box& box, std::uint64_t skip) {
  const std::uint64_t size = box.payload_size - std::min(skip, box.payload_size);
  if (size > kMp4LargestValueBytes) {
    bound_reached_ = true;
    return {};
  }
  auto bytes = boxes_.Payload(box, kMp4LargestValueBytes, skip);
  const bool is_whole = !box.clipped && bytes.size() == size;
  if (!is_whole) bytes.clear();  // half a text would pass for a whole one
  return bytes;
}

void Mp4MetadataReader::Add(Mp4MetaEntry entry) {
  if (entry.value.empty()) return;
  const std::size_t size = entry.key.size() + entry.value.size();
  if (entries_.size() >= kMp4MostMetadataEntries || size > kMp4LargestMetadataBytes - text_bytes_) {
    bound_reached_ = true;
    return;
  }
  text_bytes_ += size;
  entries_.push_back(std::move(entry));
}

}  // namespace media_server
