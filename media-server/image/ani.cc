#include "media-server/image/ani.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/frame_delays.h"
#include "media-server/image/header_window.h"
#include "media-server/image/icon.h"

namespace media_server::image {
namespace {

constexpr int kMostChunks = 64;
constexpr std::uint64_t kChunkHeaderSize = 8;
constexpr std::uint32_t kTicksPerSecond = 60;

/// What "anih" tells.
struct AnimationHeader {
  std::uint32_t steps = 0;
  std::uint32_t ticks_per_step = 0;
};

AnimationHeader ReadAnimationHeader(HeaderWindow& window, std::uint64_t offset) {
  constexpr std::size_t kSize = 36;
  ByteReader reader(window.View(offset, kSize));
  reader.Skip(8);  // its own size, frames
  AnimationHeader header;
  header.steps = reader.Le32();
  reader.Skip(16);  // width, height, bits, planes: not used where the frames are icons
  header.ticks_per_step = reader.Le32();
  return reader.Ok() ? header : AnimationHeader();
}

std::optional<Animation> EvenAnimation(const AnimationHeader& header) {
  if (header.steps < 2 || header.ticks_per_step == 0) return std::nullopt;
  FrameDelays one_step;
  one_step.Add(header.ticks_per_step, kTicksPerSecond);
  return Animation{static_cast<double>(header.steps) * header.ticks_per_step / kTicksPerSecond, one_step.MeanRate()};
}

/// "rate": ticks for each step.
std::optional<Animation> UnevenAnimation(HeaderWindow& window, std::uint64_t offset, std::uint32_t size) {
  const auto rates = window.Copy(offset, size);
  FrameDelays delays;
  for (ByteReader reader(rates); reader.Remaining() >= 4;) delays.Add(reader.Le32(), kTicksPerSecond);
  return delays.Describe();
}

}  // namespace

bool ReadAnimatedCursor(IByteSource& source, PictureHeaders& headers) {
  HeaderWindow window(source);
  std::uint64_t at = 12;  // behind "RIFF", size, "ACON"
  for (int i = 0; i < kMostChunks; ++i) {
    ByteReader reader(window.View(at, kChunkHeaderSize + 4));
    const std::string_view type = AsText(reader.Take(4));
    const std::uint32_t size = reader.Le32();
    const std::string_view list_type = AsText(reader.Take(4));
    if (!reader.Ok()) return false;
    const std::uint64_t data = at + kChunkHeaderSize;
    if (type == "LIST" && list_type == "fram") {
      at = data + 4;  // into the list: an icon comes first
      continue;
    }
    if (type == "icon") return ReadIconAt(source, data, headers);
    const bool is_rates = type == "rate";  // the text ends with the next view
    if (type == "anih") headers.animation = EvenAnimation(ReadAnimationHeader(window, data));
    if (is_rates) headers.animation = UnevenAnimation(window, data, size);
    at = data + size + size % 2;
  }
  return false;
}

}  // namespace media_server::image
