#include "media-server/codec/sound_configuration.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "media-server/codec/bit_reader.h"

namespace media_server::codec {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Audio object types (ISO/IEC 14496-3, table 1.17).
constexpr std::uint32_t kScalable = 6;
constexpr std::uint32_t kSpectralBandReplication = 5;
constexpr std::uint32_t kParametricStereo = 29;
constexpr std::uint32_t kEscape = 31;

std::uint32_t TakeObjectType(BitReader& reader) {
  const std::uint32_t type = reader.Bits(5);
  return type == kEscape ? 32 + reader.Bits(6) : type;
}

void SkipSampleRate(BitReader& reader) {
  constexpr std::uint32_t kExplicit = 15;
  if (reader.Bits(4) == kExplicit) reader.Skip(24);
}

// program_config_element (4.4.1.1): the channels one by one.
void SkipProgramConfig(BitReader& reader) {
  reader.Skip(4 + 2 + 4);  // tag, object type, sample rate
  std::size_t elements = 0;
  for (int place = 0; place < 3; ++place) elements += std::size_t{5} * reader.Bits(4);  // front, side, back
  elements += std::size_t{4} * reader.Bits(2);                                          // low frequencies
  elements += std::size_t{4} * reader.Bits(3);                                          // associated data
  elements += std::size_t{5} * reader.Bits(4);                                          // coupling
  if (reader.Flag()) reader.Skip(4);                                                    // mono mixdown
  if (reader.Flag()) reader.Skip(4);                                                    // stereo mixdown
  if (reader.Flag()) reader.Skip(3);                                                    // matrix mixdown
  reader.Skip(elements);
  reader.AlignToByte();
  reader.Skip(std::size_t{8} * reader.Bits(8));  // comment
}

// GASpecificConfig of the object types without further fields. False for others.
bool SkipGeneralAudio(BitReader& reader, std::uint32_t object_type, std::uint32_t channel_configuration) {
  if (object_type == 0 || object_type >= kScalable) return false;
  reader.Skip(1);                      // frame length
  if (reader.Flag()) reader.Skip(14);  // delay of a core coder
  const bool has_extension = reader.Flag();
  if (channel_configuration == 0) SkipProgramConfig(reader);
  return !has_extension && reader.Ok();
}

struct Extensions {
  bool spectral_band_replication = false;
  bool parametric_stereo = false;
};

// What stands behind the plain configuration, where decoders that know nothing of it do not look.
Extensions TakeExtensions(BitReader& reader) {
  constexpr std::uint32_t kSpectralBandReplicationFollows = 0x2B7;
  constexpr std::uint32_t kParametricStereoFollows = 0x548;
  Extensions extensions;
  if (reader.BitsLeft() < 16 || reader.Bits(11) != kSpectralBandReplicationFollows) return extensions;
  if (TakeObjectType(reader) != kSpectralBandReplication || !reader.Flag()) return extensions;
  SkipSampleRate(reader);
  extensions.spectral_band_replication = reader.Ok();
  if (reader.BitsLeft() < 12 || reader.Bits(11) != kParametricStereoFollows) return extensions;
  extensions.parametric_stereo = reader.Flag();
  return extensions;
}

// A header's zero is no number.
std::optional<std::uint32_t> Told(std::uint32_t number) { return number != 0 ? std::optional(number) : std::nullopt; }

}  // namespace

SoundConfiguration ReadAacConfiguration(Bytes bytes) {
  BitReader reader(bytes);
  std::uint32_t object_type = TakeObjectType(reader);
  SkipSampleRate(reader);
  const std::uint32_t channel_configuration = reader.Bits(4);
  if (!reader.Ok() || object_type == 0) return {};
  Extensions extensions;
  if (object_type == kSpectralBandReplication || object_type == kParametricStereo) {
    extensions = {true, object_type == kParametricStereo};
  } else if (SkipGeneralAudio(reader, object_type, channel_configuration)) {
    extensions = TakeExtensions(reader);
  }
  if (extensions.spectral_band_replication) object_type = kSpectralBandReplication;
  if (extensions.parametric_stereo) object_type = kParametricStereo;
  SoundConfiguration configuration;
  configuration.profile = static_cast<std::int32_t>(object_type) - 1;
  if (extensions.parametric_stereo && channel_configuration == 1) configuration.channels = 2;
  return configuration;
}

SoundConfiguration ReadAlacConfiguration(Bytes bytes) {
  constexpr std::size_t kSize = 36;
  if (bytes.size() < kSize) return {};
  BitReader reader(bytes);
  reader.Skip(17 * 8);  // box head, samples in a frame, version
  SoundConfiguration configuration;
  configuration.bits_per_sample = Told(reader.Bits(8));
  reader.Skip(3 * 8);
  configuration.channels = Told(reader.Bits(8));
  reader.Skip(10 * 8);
  configuration.sample_rate_hz = Told(reader.Bits(32));
  return configuration;
}

SoundConfiguration ReadFlacConfiguration(Bytes bytes) {
  constexpr std::array<std::uint8_t, 4> kMarker = {'f', 'L', 'a', 'C'};
  constexpr std::size_t kMarkerAndBlockHead = 8;
  constexpr std::size_t kSize = 34;
  if (bytes.size() >= kMarkerAndBlockHead && std::ranges::equal(bytes.first(kMarker.size()), kMarker)) {
    bytes = bytes.subspan(kMarkerAndBlockHead);
  }
  if (bytes.size() < kSize) return {};
  BitReader reader(bytes);
  reader.Skip(80);  // sizes of blocks and frames
  SoundConfiguration configuration;
  configuration.sample_rate_hz = Told(reader.Bits(20));
  configuration.channels = reader.Bits(3) + 1;
  configuration.bits_per_sample = reader.Bits(5) + 1;
  return configuration;
}

SoundConfiguration ReadOpusConfiguration(Bytes bytes) {
  constexpr std::size_t kChannels = 9;
  SoundConfiguration configuration;
  if (bytes.size() > kChannels) configuration.channels = Told(bytes[kChannels]);
  return configuration;
}

}  // namespace media_server::codec
