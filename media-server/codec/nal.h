#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace media_server::codec {

/// Walks the units between start codes (00 00 01) as MPEG-1, MPEG-2 and MPEG-4 Visual use them. Borrows the bytes.
class StartCodeReader {
 public:
  explicit StartCodeReader(std::span<const std::uint8_t> bytes);

  /// The next unit from the start code's last byte on, never empty before the end; empty when no unit is left. Zero
  /// bytes in front of the next start code are part of it: they may be the unit's own.
  std::span<const std::uint8_t> Next();

 private:
  std::span<const std::uint8_t> left_;
};

/// NAL length size that stands for Annex B: units between start codes (00 00 01) instead of behind their lengths.
inline constexpr int kAnnexB = 0;

/// Walks the NAL units of a sample or of a run of parameter sets. Borrows the bytes.
class NalReader {
 public:
  /// `length_size` is `kAnnexB`, or the bytes of the length before each unit (1 to 4) as avcC and hvcC tell it.
  NalReader(std::span<const std::uint8_t> bytes, int length_size);

  /// The next unit from its header byte on, never empty before the end, without trailing zero bytes in Annex B; empty
  /// when no unit is left. A unit whose length leads past the end is given as far as it is there, so that the first
  /// bytes of a sample are enough to learn what it starts with.
  std::span<const std::uint8_t> Next();

 private:
  std::span<const std::uint8_t> NextAnnexB();
  std::span<const std::uint8_t> NextLengthPrefixed();

  std::size_t length_size_;
  StartCodeReader start_codes_;
  std::span<const std::uint8_t> left_;
};

/// Makes the length of the unit at the end of a sample that was cut short the length that is left of it. Nothing is
/// done to a sample with start codes.
void FitLastNal(std::span<std::uint8_t> sample, int length_size);

/// The raw payload of a NAL unit: `nal` from `header_size` on without emulation prevention bytes (the 03 of 00 00 03).
/// Reads at most `max_size` bytes of the unit; parameter sets and the SEI messages read here are far smaller than 64
/// KiB.
std::vector<std::uint8_t> NalPayload(std::span<const std::uint8_t> nal, std::size_t header_size,
                                     std::size_t max_size = 65536);

}  // namespace media_server::codec
