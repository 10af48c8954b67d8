#include "media-server/container/mp4_boxes.h"

#include <algorithm>
#include <limits>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

// A walk over the fragments of a two hour file opens a window for each of some ten thousand boxes.
constexpr std::size_t kWindowSize = 1024;
constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();

}  // namespace

Mp4BoxReader::Mp4BoxReader(IByteSource& source, const Mp4BoxLimits& limits) : source_(source), limits_(limits) {}

Mp4BoxRange Mp4BoxReader::WholeInput() const { return {0, source_.Size().value_or(kNoEnd), 0}; }

std::optional<Mp4Box> Mp4BoxReader::Next(Mp4BoxRange& range) {
  constexpr std::size_t kSmallHeader = 8;
  constexpr std::size_t kLargestHeader = 32;  // size, type, 64-bit size, extended type
  if (range.begin >= range.end || range.end - range.begin < kSmallHeader) return std::nullopt;
  if (boxes_seen_ >= limits_.boxes) {
    budget_spent_ = true;
    return std::nullopt;
  }
  ++boxes_seen_;

  std::array<std::uint8_t, kLargestHeader> bytes;
  const std::uint64_t room = range.end - range.begin;
  const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(room, bytes.size()));
  const std::span<const std::uint8_t> read = std::span(bytes).first(Read(range.begin, std::span(bytes).first(wanted)));
  ByteReader header(read);

  Mp4Box box;
  std::uint64_t size = header.Be32();
  std::ranges::copy(header.Take(box.type.size()), box.type.begin());
  if (size == 1) size = header.Be64();
  if (box.Is("uuid")) std::ranges::copy(header.Take(box.uuid.size()), box.uuid.begin());
  if (!header.Ok()) return std::nullopt;

  const bool reaches_to_end = size == 0 && range.depth == 0;
  if (reaches_to_end) size = room;
  if (size < header.Position()) return std::nullopt;
  box.clipped = size > room;
  size = std::min(size, room);
  box.offset = range.begin;
  box.payload_offset = range.begin + header.Position();
  box.payload_size = size - header.Position();
  box.depth = range.depth;
  range.begin += size;
  return box;
}

Mp4BoxRange Mp4BoxReader::Children(const Mp4Box& box, std::uint64_t skip) {
  const std::uint64_t end = box.payload_offset + box.payload_size;
  if (box.depth + 1 >= limits_.depth) {
    budget_spent_ = true;
    return {end, end, box.depth + 1};
  }
  return {box.payload_offset + std::min(skip, box.payload_size), end, box.depth + 1};
}

std::vector<std::uint8_t> Mp4BoxReader::Payload(const Mp4Box& box, std::size_t most, std::uint64_t skip) {
  if (skip >= box.payload_size) return {};
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(most, box.payload_size - skip)));
  bytes.resize(Read(box.payload_offset + skip, bytes));
  return bytes;
}

std::vector<std::uint8_t> Mp4BoxReader::WholePayload(const Mp4Box& box, std::size_t most) {
  if (box.clipped || box.payload_size > most) return {};
  auto payload = Payload(box, most);
  if (payload.size() < box.payload_size) payload.clear();
  return payload;
}

std::size_t Mp4BoxReader::ReadSource(std::uint64_t offset, std::span<std::uint8_t> out) {
  const std::size_t got = std::min(source_.ReadAt(offset, out), out.size());
  bytes_read_ += got;
  const auto end = source_.Size();
  if (got < out.size() && end && offset + got < *end) budget_spent_ = true;  // that of the source
  return got;
}

std::size_t Mp4BoxReader::Read(std::uint64_t offset, std::span<std::uint8_t> out) {
  const bool in_window = offset >= window_offset_ && offset - window_offset_ <= window_.size() &&
                         window_.size() - (offset - window_offset_) >= out.size();
  if (!in_window) {
    if (bytes_read_ + out.size() > limits_.bytes) {
      budget_spent_ = true;
      return 0;
    }
    if (out.size() >= kWindowSize) return ReadSource(offset, out);
    window_.resize(kWindowSize);
    window_.resize(ReadSource(offset, window_));
    window_offset_ = offset;
  }
  const auto at = static_cast<std::size_t>(offset - window_offset_);
  const std::size_t size = std::min(out.size(), window_.size() - at);
  std::copy_n(window_.begin() + static_cast<std::ptrdiff_t>(at), size, out.begin());
  return size;
}

}  // namespace media_server
