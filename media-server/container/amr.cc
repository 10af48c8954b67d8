#include "media-server/container/amr.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

constexpr double kSecondsPerFrame = 0.02;
constexpr std::size_t kCountedBytes = 4 << 20;
constexpr std::size_t kCountedRemoteBytes = 128 * 1024;

struct Kind {
  std::string_view magic;
  /// Bytes of a frame with its head, by frame type (3GPP TS 26.101, table 2; TS 26.201, table 2). Types that are none
  /// have the head alone.
  std::array<std::uint8_t, 16> frame_sizes;
};

constexpr Kind kKinds[] = {
    {"#!AMR\n", {13, 14, 16, 18, 20, 21, 27, 32, 6, 1, 1, 1, 1, 1, 1, 1}},
    {"#!AMR-WB\n", {18, 24, 33, 37, 41, 47, 51, 59, 61, 6, 1, 1, 1, 1, 1, 1}},
};

}  // namespace

std::optional<double> ReadAmrSeconds(IByteSource& source) {
  const auto size = source.Size();
  if (!size) return std::nullopt;
  const std::uint64_t counted = std::min<std::uint64_t>(*size, source.IsRemote() ? kCountedRemoteBytes : kCountedBytes);
  const auto bytes = ReadBytes(source, 0, static_cast<std::size_t>(counted));
  const auto* kind =
      std::ranges::find_if(kKinds, [&](const Kind& known) { return AsText(bytes).starts_with(known.magic); });
  if (kind == std::end(kKinds)) return std::nullopt;
  const std::size_t start = kind->magic.size();
  std::size_t end = start;
  std::uint64_t frames = 0;
  while (end < bytes.size()) {
    const std::size_t next = end + kind->frame_sizes[bytes[end] >> 3 & 0x0F];
    if (next > bytes.size()) break;
    end = next;
    ++frames;
  }
  if (frames == 0) return std::nullopt;
  const double seconds = static_cast<double>(frames) * kSecondsPerFrame;
  const bool all_counted = *size <= bytes.size();
  if (all_counted) return seconds;
  return seconds * static_cast<double>(*size - start) / static_cast<double>(end - start);
}

}  // namespace media_server
