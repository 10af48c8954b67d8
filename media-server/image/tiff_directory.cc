#include "media-server/image/tiff_directory.h"

#include <algorithm>
#include <limits>

#include "media-server/container/byte_reader.h"

namespace media_server::image {
namespace {

/// Bytes of one value by type number. Types 1 to 12 are TIFF 6.0's, 13 is IFD (technical note 1), 16 to 18 BigTIFF's.
constexpr std::array<std::uint8_t, 19> kTypeSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};

std::size_t TypeSize(std::uint16_t type) {
  const std::size_t size = type < kTypeSizes.size() ? kTypeSizes[type] : 0;
  return size == 0 ? 1 : size;
}

/// BYTE, SHORT, LONG, IFD, LONG8, IFD8. Which of them a tag must have is not asked: writers differ.
bool IsWholeNumber(std::uint16_t type) {
  constexpr std::array<std::uint16_t, 6> kTypes = {1, 3, 4, 13, 16, 18};
  return std::ranges::find(kTypes, type) != kTypes.end();
}

bool IsKnownMagic(std::uint16_t magic) {
  constexpr std::array kMagics = {TiffWalker::kMagicTiff,    TiffWalker::kMagicBigTiff,     TiffWalker::kMagicPanasonic,
                                  TiffWalker::kMagicOlympus, TiffWalker::kMagicOlympusSlim, TiffWalker::kMagicJpegXr};
  return std::ranges::find(kMagics, magic) != kMagics.end();
}

}  // namespace

std::uint64_t NumberIn(std::span<const std::uint8_t> bytes, std::endian order) {
  ByteReader reader(bytes);
  return order == std::endian::big ? reader.BigEndian(bytes.size()) : reader.LittleEndian(bytes.size());
}

std::optional<std::uint64_t> TiffEntry::ByteSize() const {
  const std::uint64_t size = TypeSize(type);
  if (count > std::numeric_limits<std::uint64_t>::max() / size) return std::nullopt;
  return count * size;
}

const TiffEntry* TiffDirectory::Find(std::uint16_t tag) const {
  const auto entry = std::ranges::find(entries, tag, &TiffEntry::tag);
  return entry == entries.end() ? nullptr : &*entry;
}

std::optional<TiffWalker> TiffWalker::Open(IByteSource& source, std::uint64_t base) {
  constexpr std::size_t kHeaderSize = 8;
  TiffWalker walker(source, base);
  const auto header = walker.ReadAt(0, kHeaderSize);
  if (header.size() < kHeaderSize) return std::nullopt;
  const std::string_view mark = AsText(header).substr(0, 2);
  if (mark != "II" && mark != "MM") return std::nullopt;
  walker.order_ = mark == "MM" ? std::endian::big : std::endian::little;
  const std::span bytes(header);
  walker.magic_ = static_cast<std::uint16_t>(NumberIn(bytes.subspan(2, 2), walker.order_));
  if (!IsKnownMagic(walker.magic_)) return std::nullopt;
  if (walker.magic_ == kMagicBigTiff) {
    // Bytes 4 to 7 tell the width of an offset, which has never been another than 8.
    walker.first_ = NumberIn(walker.ReadAt(8, 8), walker.order_);
  } else {
    walker.first_ = NumberIn(bytes.subspan(4, 4), walker.order_);
  }
  return walker;
}

std::vector<std::uint8_t> TiffWalker::ReadAt(std::uint64_t offset, std::size_t size) const {
  if (offset > std::numeric_limits<std::uint64_t>::max() - base_) return {};
  return ReadBytes(*source_, base_ + offset, size);
}

std::optional<TiffDirectory> TiffWalker::Read(std::uint64_t offset) {
  if (offset == 0 || visited_.size() >= kMostDirectories || !visited_.insert(offset).second) return std::nullopt;
  const std::size_t field_size = FieldSize();
  const std::size_t count_size = field_size == 8 ? 8 : 2;
  const std::size_t entry_size = 4 + 2 * field_size;

  const auto count_bytes = ReadAt(offset, count_size);
  if (count_bytes.size() < count_size) return std::nullopt;
  const std::uint64_t count = NumberIn(count_bytes, order_);
  const auto kept = static_cast<std::size_t>(std::min<std::uint64_t>(count, kMostEntries));
  const auto bytes = ReadAt(offset + count_size, kept * entry_size + field_size);

  TiffDirectory directory;
  ByteReader reader(bytes);
  while (directory.entries.size() < kept && reader.Remaining() >= entry_size) {
    TiffEntry entry;
    entry.tag = static_cast<std::uint16_t>(NumberIn(reader.Take(2), order_));
    entry.type = static_cast<std::uint16_t>(NumberIn(reader.Take(2), order_));
    entry.count = NumberIn(reader.Take(field_size), order_);
    std::ranges::copy(reader.Take(field_size), entry.field.begin());
    directory.entries.push_back(entry);
  }
  if (directory.entries.empty()) return std::nullopt;
  const bool is_whole = directory.entries.size() == count && reader.Remaining() == field_size;
  if (is_whole) directory.next = NumberIn(reader.TakeRest(), order_);
  return directory;
}

std::optional<std::uint64_t> TiffWalker::ValuePosition(const TiffEntry& entry) const {
  const std::size_t field_size = FieldSize();
  const auto size = entry.ByteSize();
  if (size && *size <= field_size) return std::nullopt;
  const std::uint64_t offset = NumberIn(std::span(entry.field).first(field_size), order_);
  return offset > std::numeric_limits<std::uint64_t>::max() - base_ ? std::numeric_limits<std::uint64_t>::max()
                                                                    : base_ + offset;
}

std::optional<std::vector<std::uint8_t>> TiffWalker::Value(const TiffEntry& entry, std::size_t most_bytes) const {
  const auto size = entry.ByteSize();
  if (!size || *size > most_bytes) return std::nullopt;
  const auto byte_count = static_cast<std::size_t>(*size);
  const auto position = ValuePosition(entry);
  if (!position) return std::vector(entry.field.begin(), entry.field.begin() + static_cast<std::ptrdiff_t>(byte_count));
  auto bytes = ReadBytes(*source_, *position, byte_count);
  if (bytes.size() < byte_count) return std::nullopt;
  return bytes;
}

std::vector<std::uint64_t> TiffWalker::Numbers(const TiffEntry& entry, std::size_t most) const {
  if (!IsWholeNumber(entry.type)) return {};
  TiffEntry front = entry;
  front.count = std::min<std::uint64_t>(entry.count, most);
  const std::size_t width = TypeSize(entry.type);
  const auto position = ValuePosition(entry);
  const auto bytes = position ? ReadBytes(*source_, *position, static_cast<std::size_t>(front.count) * width)
                              : Value(front, sizeof(entry.field)).value_or(std::vector<std::uint8_t>());
  std::vector<std::uint64_t> numbers;
  ByteReader reader(bytes);
  while (reader.Remaining() >= width) numbers.push_back(NumberIn(reader.Take(width), order_));
  return numbers;
}

std::optional<std::uint64_t> TiffWalker::Number(const TiffDirectory& directory, std::uint16_t tag) const {
  const TiffEntry* entry = directory.Find(tag);
  const auto numbers = entry ? Numbers(*entry, 1) : std::vector<std::uint64_t>();
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

}  // namespace media_server::image
