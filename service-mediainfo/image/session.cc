#include "service-mediainfo/image/session.h"

#include <array>
#include <new>
#include <utility>

#include "core/error_text.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"
#include "platform/text.h"
#include "service-mediainfo/core/whole_number.h"
#include "service-mediainfo/image/image_metadata.h"
#include "service-mediainfo/image/image_url.h"

namespace service::mediainfo::image {
namespace {

namespace keys = metedata_keys;

/// Whatever frame rate the caller set: that one is for the caller alone.
constexpr double kSequenceFramesPerSecond = 25.0;

/// The first of these that an image has is its duration.
constexpr std::array<const char*, 4> kDurationKeys{
    keys::kImageWebPDuration,
    keys::kImageGifDuration,
    keys::kImagePicSequenceDuration,
    keys::kImageAvifDuration,
};

/// Replaces what the media server, which saw one frame, told of the sequence.
void TellSequence(std::uint32_t frame_count, imagecore::QkImageInfo& info) {
  info.sequence_total_frames = static_cast<std::int32_t>(frame_count);
  info.sequence_duration_s = frame_count / kSequenceFramesPerSecond;
  info.flags |= imagecore::kHasSequenceTotalFrames | imagecore::kHasSequenceDuration;
}

}  // namespace

bool session::SetPath(const char* url) {
  if (url == nullptr) return false;
  CoreSetErrorText(nullptr);
  probed_ = false;
  try {
    url_ = url;
    Probe();
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  }
  return probed_;
}

void session::Probe() {
  if (media_server_ == nullptr) {
    CoreSetErrorText("no media server");
    return;
  }
  const std::u16string url = platform::PathToUtf16(url_);
  const auto [path, is_sequence] = ParseImageUrl(url);
  is_sequence_ = is_sequence.value_or(is_sequence_);

  auto image_info = std::make_shared<imagecore::QkImageInfo>();
  metadata_ = std::make_shared<MetadataInfoMPL>();
  image_info_ = std::move(image_info);

  const std::u16string queried = is_sequence_ ? FirstFramePath(path) : std::u16string(path);
  const bool was_read = media_server_->QueryImage(queried.c_str(), image_info_.get()) != 0;
  if (is_sequence_) TellSequence(CountFrames(path), *image_info_);
  // What a failed query found is told as well.
  StoreImageInfo(*image_info_, *metadata_);
  if (was_read) {
    probed_ = true;
    TakeSize();
  }
  TakeDuration();
}

void session::TakeSize() {
  core::ValAny value;
  if (metadata_->GetValue(keys::kImageWidth, &value)) width_ = value.AsInt32();
  if (metadata_->GetValue(keys::kImageHeight, &value)) height_ = value.AsInt32();
}

void session::TakeDuration() {
  core::ValAny seconds;
  for (const char* key : kDurationKeys) {
    if (!metadata_->GetValue(key, &seconds)) continue;
    duration_100ns_ = ToWholeNumber(seconds.AsDouble() * static_cast<double>(kTicksPerSecond));
    return;
  }
}

bool session::SetFrameRate(std::uint32_t numerator, std::uint32_t denominator) {
  frame_rate_numerator_ = numerator;
  frame_rate_denominator_ = denominator;
  return true;
}

void session::GetFrameRate(std::uint32_t* numerator_out, std::uint32_t* denominator_out) {
  *numerator_out = frame_rate_numerator_;
  *denominator_out = frame_rate_denominator_;
}

}  // namespace service::mediainfo::image
