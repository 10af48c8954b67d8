#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace media_server::codec {

/// How two views are packed into one picture, numbered as frame_packing_arrangement_type.
enum class FramePacking {
  kCheckerboard = 0,
  kColumns = 1,
  kRows = 2,
  kSideBySide = 3,
  kTopBottom = 4,
  kFrameSequence = 5,
};

/// What supplemental enhancement information tells about a whole stream.
struct SeiFacts {
  bool mastering_display = false;         ///< a mastering display colour volume (payload 137) is there
  bool alpha_channel = false;             ///< an alpha channel is described (payload 165)
  std::optional<int> preferred_transfer;  ///< H.273 number of the alternative transfer characteristics (payload 147)
  std::optional<FramePacking> frame_packing;  ///< frame packing arrangement (payload 45)
};

/// Adds to `facts` what the messages of one SEI NAL unit tell; `payload` without emulation prevention, as `NalPayload`
/// gives it. The payload numbers are the same in H.264 (annex D) and HEVC (annex D, prefix messages). Messages cut
/// short are left out.
void ReadSei(std::span<const std::uint8_t> payload, SeiFacts& facts);

}  // namespace media_server::codec
