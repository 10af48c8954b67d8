#include "media-server/io/bounded_source.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace media_server {
namespace {

// Most files of up to some minutes keep all that describes them here, and all files what tells their kind. It is also
// what libavformat asks for first.
constexpr std::size_t kHeadSize = 16 * 1024;

// libavformat looks through the last 250 kB for the latest time.
constexpr std::uint64_t kEndSize = 256 * 1024;
constexpr std::uint64_t kLeastBudgetWithEnd = 3 * kEndSize;

constexpr std::uint64_t kMostHeld = std::uint64_t{8} << 20;
constexpr std::uint64_t kMostToldOf = std::uint64_t{512} << 20;

}  // namespace

std::size_t BoundedSource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) {
  std::size_t done = 0;
  while (done < out.size()) {
    const std::size_t got = ReadPiece(offset + done, out.subspan(done));
    if (got == 0) break;
    done += got;
  }
  return done;
}

std::size_t BoundedSource::ReadSome(std::uint64_t offset, std::span<std::uint8_t> out) {
  if (const std::uint64_t allowed = AllowedAt(offset); HeldAt(offset).empty() && allowed > 0) {
    out = out.first(static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), allowed)));
  }
  return ReadPiece(offset, out);
}

std::size_t BoundedSource::ReadPiece(std::uint64_t offset, std::span<std::uint8_t> out) {
  const std::size_t got = ReadPieceOfInput(offset, out);
  for (const auto& [start, bytes] : replaced_) {
    const std::uint64_t begin = std::max(start, offset);
    const std::uint64_t end = std::min(start + bytes.size(), offset + got);
    if (begin >= end) continue;
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin - start);
    std::copy_n(first, end - begin, out.begin() + static_cast<std::ptrdiff_t>(begin - offset));
  }
  return got;
}

std::size_t BoundedSource::ReadPieceOfInput(std::uint64_t offset, std::span<std::uint8_t> out) {
  const auto end = source_.Size();
  if (end && offset >= *end) return 0;
  if (held_.empty() && offset == 0 && out.size() < kHeadSize && AllowedAt(0) >= kHeadSize) Hold(0, kHeadSize);
  auto held = HeldAt(offset);
  if (held.empty()) {
    const std::uint64_t size = std::min<std::uint64_t>(out.size(), RoomBeforeNextPiece(offset));
    const std::uint64_t kept = KeptFrom(offset);
    if (kept == 0) return Read(offset, out.first(static_cast<std::size_t>(size)));
    Hold(offset, static_cast<std::size_t>(std::min(size, kept)));
    held = HeldAt(offset);
    if (held.empty()) return 0;
  }
  if (TimeIsOver()) {
    spent_ = true;
    return 0;
  }
  const std::size_t got = std::min(held.size(), out.size());
  std::copy_n(held.begin(), got, out.begin());
  return got;
}

void BoundedSource::WillRead(std::uint64_t offset, std::uint64_t size) {
  const auto end = source_.Size();
  if (end) size = std::min(size, *end - std::min(offset, *end));
  const std::uint64_t at_hand = std::min<std::uint64_t>(HeldAt(offset).size(), size);
  offset += at_hand;
  size -= at_hand;
  if (size == 0 || size > kMostToldOf - told_of_) return;
  told_of_ += size;
  bytes_left_ += size;
  if (end && told_of_ <= kMostHeld) Hold(offset, static_cast<std::size_t>(size));
}

void BoundedSource::Limit(std::uint64_t bytes) {
  const std::uint64_t left = bytes - std::min(bytes, BytesRead());
  end_bytes_left_ = left >= kLeastBudgetWithEnd ? kEndSize : 0;
  bytes_left_ = left - end_bytes_left_;
  if (told_of_ > bytes_read_) bytes_left_ += told_of_ - bytes_read_;
}

std::span<const std::uint8_t> BoundedSource::HeldAt(std::uint64_t offset) const {
  for (const Piece& piece : held_) {
    if (offset >= piece.offset && offset - piece.offset < piece.size) {
      const auto skipped = static_cast<std::size_t>(offset - piece.offset);
      return {piece.bytes.get() + skipped, piece.size - skipped};
    }
  }
  return {};
}

std::uint64_t BoundedSource::RoomBeforeNextPiece(std::uint64_t offset) const {
  std::uint64_t room = std::numeric_limits<std::uint64_t>::max();
  for (const Piece& piece : held_) {
    if (piece.offset > offset) room = std::min(room, piece.offset - offset);
  }
  return room;
}

std::uint64_t BoundedSource::KeptFrom(std::uint64_t offset) const {
  if (offset < kept_start_) return kept_start_ - offset;
  const auto end = source_.Size();
  return end && offset + kept_end_ >= *end ? *end - offset : 0;
}

void BoundedSource::Hold(std::uint64_t offset, std::size_t size) {
  Piece piece{offset, 0, std::make_unique_for_overwrite<std::uint8_t[]>(size)};
  piece.size = Read(offset, {piece.bytes.get(), size});
  if (piece.size > 0) held_.push_back(std::move(piece));
}

std::size_t BoundedSource::Read(std::uint64_t offset, std::span<std::uint8_t> out) {
  if (const auto size = source_.Size()) {
    out = out.first(static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), *size - offset)));
  }
  if (out.size() > AllowedAt(offset) || reads_left_ == 0 || TimeIsOver()) {
    spent_ = true;
    return 0;
  }
  source_.WillReadAtMost(AllowedAt(offset));
  const std::size_t got = source_.ReadAt(offset, out);
  const std::uint64_t of_end = IsAtEnd(offset) ? std::min<std::uint64_t>(got, end_bytes_left_) : 0;
  bytes_read_ += got;
  end_bytes_left_ -= of_end;
  bytes_left_ -= got - of_end;
  --reads_left_;
  return got;
}

std::uint64_t BoundedSource::AllowedAt(std::uint64_t offset) const {
  return IsAtEnd(offset) ? bytes_left_ + end_bytes_left_ : bytes_left_;
}

bool BoundedSource::IsAtEnd(std::uint64_t offset) const {
  const auto size = source_.Size();
  return size && offset + kEndSize >= *size;
}

}  // namespace media_server
