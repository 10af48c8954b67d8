#include "media-server/container/dsf.h"

#include <cstddef>
#include <cstdint>

#include "media-server/container/byte_reader.h"

namespace media_server {

std::optional<double> ReadDsfSeconds(IByteSource& source) {
  constexpr std::size_t kHeader = 72;  // the "DSD " chunk, and the "fmt " chunk up to the number of samples
  const auto bytes = ReadBytes(source, 0, kHeader);
  ByteReader reader(bytes);
  const bool is_dsf = AsText(reader.Take(4)) == "DSD ";
  reader.Skip(24);  // sizes, place of the tag
  const bool has_format = AsText(reader.Take(4)) == "fmt ";
  reader.Skip(24);  // size, version, format, kind and number of channels
  const std::uint32_t sample_rate = reader.Le32();
  reader.Skip(4);                               // bits per sample
  const std::uint64_t samples = reader.Le64();  // of each channel
  if (!reader.Ok() || !is_dsf || !has_format || sample_rate == 0 || samples == 0) return std::nullopt;
  return static_cast<double>(samples) / sample_rate;
}

}  // namespace media_server
