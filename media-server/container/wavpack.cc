#include "media-server/container/wavpack.h"

#include <cstddef>
#include <cstdint>

#include "media-server/container/byte_reader.h"

namespace media_server {

std::optional<bool> IsLosslessWavPack(IByteSource& source) {
  constexpr std::size_t kBlockHeader = 32;
  constexpr std::uint32_t kHybrid = 8;
  const auto bytes = ReadBytes(source, 0, kBlockHeader);
  ByteReader reader(bytes);
  const bool is_wavpack = AsText(reader.Take(4)) == "wvpk";
  reader.Skip(20);  // sizes, version, number of samples
  const std::uint32_t flags = reader.Le32();
  if (!reader.Ok() || !is_wavpack) return std::nullopt;
  return (flags & kHybrid) == 0;
}

}  // namespace media_server
