#include "service-mediainfo/media_info/video_info_impl.h"

#include <array>

#include "mediainfo/result.h"
#include "service-mediainfo/core/normalize.h"
#include "service-mediainfo/media_info/frame_rate.h"

namespace service::mediainfo::media_info::impl {
namespace {

struct Orientation {
  std::int32_t code;
  std::uint32_t quarter_turns;
  std::uint32_t flip;
};

/// Codes that are not listed count as upright. A flip in both directions is told both ways.
constexpr std::array<Orientation, 6> kOrientations{{
    {media_server::kOrientation90, 1, 0},
    {media_server::kOrientation180, 2, 0},
    {media_server::kOrientation270, 3, 0},
    {media_server::kOrientationFlipHorizontal, 0, 1},
    {media_server::kOrientationFlipVertical, 0, 2},
    {media_server::kOrientationFlipBoth, 2, 3},
}};

Orientation FindOrientation(std::int32_t code) {
  for (const Orientation& row : kOrientations) {
    if (row.code == code) return row;
  }
  return {code, 0, 0};
}

/// Halves as a signed number, toward zero.
std::uint32_t HalfOf(std::uint32_t height) { return static_cast<std::uint32_t>(static_cast<std::int32_t>(height) / 2); }

}  // namespace

std::uint32_t VideoInfoImpl::Init(media_server::IMediaInfo* source, const media_server::PictureFormat* record,
                                  std::int32_t orientation) {
  if (record == nullptr) return kInitFailed;
  format_ = *record;
  if (source->GetFormatFourCC() == media_server::kStackedAlphaMp4) {
    format_.height = HalfOf(format_.height);
    format_.display_height /= 2;
  }
  orientation_ = orientation;
  return kSuccess;
}

std::uint32_t VideoInfoImpl::GetFrameRate(core::Rational* out) {
  *out = FrameRateToRational(format_.frame_rate);
  core::Normalize(*out);
  return kSuccess;
}

std::uint32_t VideoInfoImpl::GetRotation() { return FindOrientation(orientation_).quarter_turns; }

std::uint32_t VideoInfoImpl::GetFlip() { return FindOrientation(orientation_).flip; }

}  // namespace service::mediainfo::media_info::impl
