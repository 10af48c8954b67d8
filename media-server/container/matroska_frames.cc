#include "media-server/container/matroska_frames.h"

#include <algorithm>
#include <array>
#include <limits>

#include "media-server/container/byte_reader.h"
#include "media-server/container/ebml.h"
#include "media-server/container/matroska_elements.h"

namespace media_server {
namespace {

using matroska::kBlock;
using matroska::kBlockGroup;
using matroska::kCluster;
using matroska::kSegment;
using matroska::kSimpleBlock;

// What they hold follows their heads.
constexpr std::array<std::uint32_t, 3> kHoldBlocks = {kSegment, kCluster, kBlockGroup};

// Sound and other tracks lie between the pictures of some seconds.
constexpr int kMostElements = 1024;

constexpr std::uint8_t kLacing = 0x06;

}  // namespace

MatroskaFrames::MatroskaFrames(IByteSource& source, std::uint64_t track_number)
    : source_(source), track_number_(track_number), elements_left_(kMostElements) {}

std::vector<std::uint8_t> MatroskaFrames::Next() {
  for (; elements_left_ > 0; --elements_left_) {
    const auto bytes = ReadBytes(source_, offset_, kLongestEbmlHead + kLongestMatroskaBlockHead);
    ByteReader reader(bytes);
    const auto element = ReadEbmlElement(reader);
    if (!element) return {};
    offset_ += reader.Position();
    if (std::ranges::find(kHoldBlocks, element->id) != kHoldBlocks.end()) continue;
    if (!element->size || *element->size > std::numeric_limits<std::uint64_t>::max() - offset_) return {};
    const std::uint64_t block = offset_;
    offset_ += *element->size;
    const bool is_block = element->id == kSimpleBlock || element->id == kBlock;
    if (!is_block || TakeMatroskaTrackNumber(reader) != track_number_) continue;
    auto frame = FrameOf(block, *element->size);
    elements_left_ = frame.empty() ? 0 : elements_left_ - 1;
    return frame;
  }
  return {};
}

std::vector<std::uint8_t> MatroskaFrames::FrameOf(std::uint64_t block, std::uint64_t block_size) {
  const std::uint64_t most = std::min<std::uint64_t>(block_size, kLongestMatroskaBlockHead + kFrameStart);
  const auto bytes = ReadBytes(source_, block, static_cast<std::size_t>(most));
  ByteReader reader(bytes);
  TakeMatroskaTrackNumber(reader);
  reader.Skip(2);
  const bool is_laced = (reader.U8() & kLacing) != 0;
  if (bytes.size() < most || !reader.Ok() || is_laced) return {};
  const auto frame = reader.Take(std::min(reader.Remaining(), kFrameStart));
  return {frame.begin(), frame.end()};
}

}  // namespace media_server
