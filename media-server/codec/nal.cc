#include "media-server/codec/nal.h"

#include <algorithm>
#include <cstring>

namespace media_server::codec {
namespace {

constexpr std::size_t kStartCodeSize = 3;

/// Where the first start code begins, the size where there is none. Looks for its last byte, which coded pictures hold
/// once in 256 bytes or so, instead of comparing at every byte of a sample.
std::size_t StartCodeAt(std::span<const std::uint8_t> bytes) {
  for (std::size_t last = kStartCodeSize - 1; last < bytes.size(); ++last) {
    const void* found = std::memchr(&bytes[last], 1, bytes.size() - last);
    if (found == nullptr) break;
    last = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
    if (bytes[last - 1] == 0 && bytes[last - 2] == 0) return last - 2;
  }
  return bytes.size();
}

std::span<const std::uint8_t> AfterStartCode(std::span<const std::uint8_t> bytes) {
  return bytes.subspan(std::min(bytes.size(), StartCodeAt(bytes) + kStartCodeSize));
}

}  // namespace

StartCodeReader::StartCodeReader(std::span<const std::uint8_t> bytes) : left_(AfterStartCode(bytes)) {}

std::span<const std::uint8_t> StartCodeReader::Next() {
  while (!left_.empty()) {
    const std::span<const std::uint8_t> unit = left_.first(StartCodeAt(left_));
    left_ = left_.subspan(std::min(left_.size(), unit.size() + kStartCodeSize));
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

void FitLastNal(std::span<std::uint8_t> sample, int length_size) {
  NalReader nals(sample, length_size);
  for (auto nal = nals.Next(); length_size != kAnnexB && !nal.empty(); nal = nals.Next()) {
    if (nal.data() + nal.size() != sample.data() + sample.size()) continue;
    auto* byte = sample.data() + (nal.data() - sample.data());
    for (std::size_t left = nal.size(), i = 0; i < static_cast<std::size_t>(length_size); ++i, left >>= 8) {
      *--byte = static_cast<std::uint8_t>(left);
    }
  }
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
