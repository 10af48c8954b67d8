#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>

#include "fuzz/fuzzed_source.h"
#include "fuzz/picture_oracle.h"
#include "media-server/image/image_reader.h"

// Oracle: a picture that is told has a size that the record can hold and payloads within their bound, every refusal has
// a reason, and what is read of a file is bounded by a constant or, where frames must be walked, by the file's size.

namespace {

using namespace media_server;
using namespace media_server::image;

constexpr std::size_t kKiB = 1024;

void CheckAnimation(const Animation& animation) {
  FUZZ_CHECK(animation.duration_s >= 0 && animation.duration_s <= std::numeric_limits<double>::max());
  FUZZ_CHECK(codec::IsReducedRatio(animation.frame_rate));
}

void CheckMetadata(const EmbeddedMetadata& metadata) {
  FUZZ_CHECK(metadata.exif.size() <= kMostMetadataBytes);
  FUZZ_CHECK(metadata.xmp.size() <= kMostMetadataBytes);
  FUZZ_CHECK(metadata.iptc.size() <= kMostMetadataBytes);
  FUZZ_CHECK(metadata.aigc.size() <= kMostMetadataBytes);
  FUZZ_CHECK(metadata.further_xmp.size() <= 3);
  FUZZ_CHECK(metadata.further_xmp.empty() || !metadata.xmp.empty());
  for (const std::string& packet : metadata.further_xmp) {
    FUZZ_CHECK(!packet.empty() && packet.size() <= kMostMetadataBytes);
  }
}

void CheckHeaders(const PictureHeaders& headers) {
  constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
  FUZZ_CHECK(headers.size && headers.size->width >= 1 && headers.size->width <= kMost);
  FUZZ_CHECK(headers.size->height >= 1 && headers.size->height <= kMost);
  FUZZ_CHECK(codec::InRange(headers.bit_depth, 1, 16));
  FUZZ_CHECK(codec::IsChroma(headers.chroma_sampling));
  if (headers.animation) CheckAnimation(*headers.animation);
  CheckMetadata(headers.metadata);
}

std::optional<PictureHeaders> Read(std::span<const std::uint8_t> bytes) {
  fuzz::FuzzedSource source(bytes);
  std::string reason;
  auto headers = ReadPictureHeaders(source, &reason);
  FUZZ_CHECK(headers.has_value() == reason.empty());
  // A reader comes back to the same bytes a few times at most: magic, header, metadata.
  FUZZ_CHECK(source.TakeBytesRead() <= 1024 * kKiB + 2 * bytes.size());
  if (headers) CheckHeaders(*headers);
  return headers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  Read(bytes);
  for (std::size_t shorter = size / 2; shorter < size; shorter += 1 + size / 8) Read(bytes.first(shorter));
  return 0;
}
