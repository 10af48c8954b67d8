#pragma once

#include "media_server/format_records.h"
#include "mediainfo/iaudio_info.h"

namespace service::mediainfo::media_info::impl {

/// Answers from a copy of a sound-format record.
class AudioInfoImpl final : public virtual IAudioInfo {
 public:
  /// Copies `record`. kInitFailed when it is null.
  std::uint32_t Init(const media_server::SoundFormat* record);

  std::uint32_t GetAudioField0() override { return format_.sample_rate; }
  std::uint32_t GetAudioField4() override { return format_.channels; }
  std::uint32_t Reserved3() override { return 0; }
  std::uint32_t GetAudioField12() override { return format_.bit_rate; }
  double GetAudioValue() override;
  std::uint32_t GetAudioFormatCode() override { return format_.flags; }
  std::uint32_t GetAudioField8() override { return format_.bits_per_sample; }
  std::uint32_t GetAudioFormatFlag() override { return (format_.flags & kAudioEncrypted) != 0 ? 1 : 0; }

 private:
  media_server::SoundFormat format_{};
};

}  // namespace service::mediainfo::media_info::impl
