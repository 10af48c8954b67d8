#pragma once

#include <cstdint>

namespace service::mediainfo {

/// Bits of IAudioInfo::GetAudioFormatCode.
inline constexpr std::uint32_t kAudioVariableBitRate = 1u << 0;
inline constexpr std::uint32_t kAudioLossless = 1u << 2;
inline constexpr std::uint32_t kAudioEncrypted = 1u << 3;

/// A sound stream's details, named like those of IVideoInfo.
class IAudioInfo {
 public:
  virtual ~IAudioInfo() = default;

  /// Sample rate in Hz.
  virtual std::uint32_t GetAudioField0() = 0;
  /// Number of channels.
  virtual std::uint32_t GetAudioField4() = 0;
  /// Always 0.
  virtual std::uint32_t Reserved3() = 0;
  /// Bit rate in bits/s; 0 unknown.
  virtual std::uint32_t GetAudioField12() = 0;
  /// Sample rate in Hz plus 1e-8.
  virtual double GetAudioValue() = 0;
  /// kAudio... bits.
  virtual std::uint32_t GetAudioFormatCode() = 0;
  /// Bits per sample; 0 where the codec has none.
  virtual std::uint32_t GetAudioField8() = 0;
  /// 1 for an encrypted stream, else 0.
  virtual std::uint32_t GetAudioFormatFlag() = 0;
};

}  // namespace service::mediainfo
