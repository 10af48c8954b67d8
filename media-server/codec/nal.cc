#include "media-server/codec/nal.h"

#include <algorithm>
#include <array>

namespace media_server::codec {
namespace {

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};

/// Where the first start code begins, the size where there is none. Not std::ranges::search: Clang 14, which analyses
/// and fuzzes this code, cannot compile the subrange that GCC 12's library returns.
std::size_t StartCodeAt(std::span<const std::uint8_t> bytes) {
  const auto found = std::search(bytes.begin(), bytes.end(), kStartCode.begin(), kStartCode.end());
  return static_cast<std::size_t>(found - bytes.begin());
}

std::span<const std::uint8_t> AfterStartCode(std::span<const std::uint8_t> bytes) {
  return bytes.subspan(std::min(bytes.size(), StartCodeAt(bytes) + kStartCode.size()));
}

}  // namespace

StartCodeReader::StartCodeReader(std::span<const std::uint8_t> bytes) : left_(AfterStartCode(bytes)) {}

std::span<const std::uint8_t> StartCodeReader::Next() {
  while (!left_.empty()) {
    const std::span<const std::uint8_t> unit = left_.first(StartCodeAt(left_));
    left_ = AfterStartCode(left_);
    if (!unit.empty()) return unit;
  }
  return {};
}

NalReader::NalReader(std::span<const std::uint8_t> bytes, int length_size)
    : length_size_(static_cast<std::size_t>(std::clamp(length_size, 0, 4))),
      start_codes_(length_size_ == kAnnexB ? bytes : std::span<const std::uint8_t>()),
      left_(bytes) {}

std::span<const std::uint8_t> NalReader::Next() {
  return length_size_ == kAnnexB ? NextAnnexB() : NextLengthPrefixed();
}

std::span<const std::uint8_t> NalReader::NextAnnexB() {
  for (auto nal = start_codes_.Next(); !nal.empty(); nal = start_codes_.Next()) {
    while (!nal.empty() && nal.back() == 0) nal = nal.first(nal.size() - 1);
    if (!nal.empty()) return nal;
  }
  return {};
}

std::span<const std::uint8_t> NalReader::NextLengthPrefixed() {
  while (left_.size() > length_size_) {
    std::size_t length = 0;
    for (const std::uint8_t byte : left_.first(length_size_)) length = length << 8 | byte;
    left_ = left_.subspan(length_size_);
    const auto nal = left_.first(std::min(length, left_.size()));
    left_ = left_.subspan(nal.size());
    if (!nal.empty()) return nal;
  }
  left_ = {};
  return {};
}

std::vector<std::uint8_t> NalPayload(std::span<const std::uint8_t> nal, std::size_t header_size, std::size_t max_size) {
  std::vector<std::uint8_t> payload;
  const auto escaped = nal.first(std::min(nal.size(), max_size)).subspan(std::min({nal.size(), max_size, header_size}));
  payload.reserve(escaped.size());
  int zeros = 0;
  for (const std::uint8_t byte : escaped) {
    if (zeros >= 2 && byte == 3) {
      zeros = 0;
      continue;
    }
    zeros = byte == 0 ? zeros + 1 : 0;
    payload.push_back(byte);
  }
  return payload;
}

}  // namespace media_server::codec
