#pragma once

#include <cstdint>

#include "core/rational.h"

namespace service::mediainfo {

/// Bits of IVideoInfo::GetFormatCode.
inline constexpr std::uint32_t kVideoInterlaced = 1u << 0;
inline constexpr std::uint32_t kVideoVariableFrameRate = 1u << 1;
inline constexpr std::uint32_t kVideoAlpha = 1u << 2;
inline constexpr std::uint32_t kVideoEncrypted = 1u << 3;
inline constexpr std::uint32_t kVideoHighDynamicRange = 1u << 4;

/// A picture stream's details. Names follow the format record that the values come from; what our media server puts
/// there is said beside each.
class IVideoInfo {
 public:
  virtual ~IVideoInfo() = default;

  /// Coded picture in pixels; the height is halved for files that stack an alpha picture under the colour picture.
  virtual std::uint32_t GetWidth() = 0;
  virtual std::uint32_t GetHeight() = 0;
  /// Frames per second, reduced, in steps of 1/1000; 1/1 when not known. Always 0.
  virtual std::uint32_t GetFrameRate(core::Rational* out) = 0;
  virtual std::uint32_t GetFrameCount() = 0;
  /// Display width and height in pixels, after the sample aspect ratio.
  virtual std::int32_t GetFormatField20() = 0;
  virtual std::int32_t GetFormatField24() = 0;
  /// Field order: 0 unknown, 1 progressive, 2 top first, 3 bottom first.
  virtual std::int32_t GetFormatField32() = 0;
  /// kVideo... bits.
  virtual std::uint32_t GetFormatCode() = 0;
  /// Chroma sampling as 400, 420, 422, 444; 1 RGB, 0 unknown.
  virtual std::int32_t GetFormatField40() = 0;
  /// Bits per component; 0 unknown.
  virtual std::int32_t GetFormatField44() = 0;
  /// Colour primaries, H.273 number.
  virtual std::int32_t GetFormatField48() = 0;
  /// Colour range: 0 unknown, 1 limited, 2 full.
  virtual std::int32_t GetFormatField52() = 0;
  /// Clockwise quarter turns, 0 to 3, that show the picture upright.
  virtual std::uint32_t GetRotation() = 0;
  /// 0 none, 1 horizontal, 2 vertical, 3 both; both is told by GetRotation as well, as the half turn that it equals.
  virtual std::uint32_t GetFlip() = 0;
  /// 1 for an encrypted stream, else 0.
  virtual std::uint32_t GetFormatFlag() = 0;
  /// Bit rate in bits/s; 0 unknown.
  virtual std::int32_t GetFormatField56() = 0;
  /// Codec level as the codec numbers it; -99 unknown.
  virtual std::int32_t GetFormatField132() = 0;
};

}  // namespace service::mediainfo
