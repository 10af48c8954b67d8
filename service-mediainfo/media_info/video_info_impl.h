#pragma once

#include "media_server/imedia_info.h"
#include "mediainfo/ivideo_info.h"

namespace service::mediainfo::media_info::impl {

/// Answers from a copy of a picture-format record and from the picture's orientation code.
class VideoInfoImpl final : public virtual IVideoInfo {
 public:
  /// Copies `record`, with the heights halved when `source` (not null) stacks an alpha picture under the colour
  /// picture. kInitFailed when `record` is null.
  std::uint32_t Init(media_server::IMediaInfo* source, const media_server::PictureFormat* record,
                     std::int32_t orientation);

  std::uint32_t GetWidth() override { return format_.width; }
  std::uint32_t GetHeight() override { return format_.height; }
  std::uint32_t GetFrameRate(core::Rational* out) override;
  std::uint32_t GetFrameCount() override { return format_.frame_count; }
  std::int32_t GetFormatField20() override { return format_.display_width; }
  std::int32_t GetFormatField24() override { return format_.display_height; }
  std::int32_t GetFormatField32() override { return format_.field_order; }
  std::uint32_t GetFormatCode() override { return format_.flags; }
  std::int32_t GetFormatField40() override { return format_.chroma; }
  std::int32_t GetFormatField44() override { return format_.bit_depth; }
  std::int32_t GetFormatField48() override { return format_.color_primaries; }
  std::int32_t GetFormatField52() override { return format_.color_range; }
  std::uint32_t GetRotation() override;
  std::uint32_t GetFlip() override;
  std::uint32_t GetFormatFlag() override { return (format_.flags & kVideoEncrypted) != 0 ? 1 : 0; }
  std::int32_t GetFormatField56() override { return format_.bit_rate; }
  std::int32_t GetFormatField132() override { return format_.level; }

 private:
  media_server::PictureFormat format_{};
  std::int32_t orientation_ = 0;
};

}  // namespace service::mediainfo::media_info::impl
