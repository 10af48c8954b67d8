#include "service-mediainfo/media_info/stream_info_impl.h"

#include <optional>
#include <utility>

#include "core/log.h"
#include "service-mediainfo/media_info/stream_properties.h"
#include "service-mediainfo/media_info/ticks.h"

namespace service::mediainfo::media_info::impl {
namespace {

using platform::ComPtr;
using platform::SystemString;

/// The picture's details; empty when the stream does not give what they are made of.
std::optional<VideoInfoImpl> DescribePicture(media_server::IMediaInfo* source,
                                             const ComPtr<media_server::IStream>& stream) {
  const auto video_stream = stream.Query<media_server::IVideoStream>();
  if (!video_stream) return std::nullopt;
  const media_server::PictureFormat* format = video_stream->GetVideoFormat();
  if (format == nullptr) return std::nullopt;
  const std::int32_t rotation = video_stream->GetRotation();
  std::optional<VideoInfoImpl> video(std::in_place);
  if (video->Init(source, format, rotation) != kSuccess) video.reset();
  return video;
}

}  // namespace

std::uint32_t StreamInfoImpl::Init(media_server::IMediaInfo* source, media_server::IStream* stream) {
  if (stream == nullptr) return kInitFailed;
  std::uint32_t result = kInitFailed;
  switch (stream->GetMediaType()) {
    case kSoundStream:
      result = InitSound(*stream);
      break;
    case kPictureStream:
      result = InitPicture(source, *stream);
      break;
    default:
      // The text names the store though the cause is the type, and the tag comes twice: readers of the log know the
      // line as it is.
      CoreLogPrint("service", kCoreLogError, "mediainfo", "ptr_MetedataInfoiMPL_ is null: %s %d failed!",
                   "service::mediainfo::media_info::impl::StreamInfoImpl::Init", 312);
      break;
  }
  if (result == kSuccess) stream_ = ComPtr<media_server::IStream>(stream);
  return result;
}

std::uint32_t StreamInfoImpl::InitSound(media_server::IStream& stream) {
  AudioInfoImpl audio;
  if (audio.Init(stream.GetAudioFormat()) != kSuccess) return kInitFailed;
  audio_ = audio;
  return kSuccess;
}

std::uint32_t StreamInfoImpl::InitPicture(media_server::IMediaInfo* source, media_server::IStream& stream) {
  const ComPtr<media_server::IStream> owner(&stream);
  video_ = DescribePicture(source, owner);
  if (!video_) return kInitFailed;
  if (const auto reader = owner.Query<media_server::IPropertyReader>()) {
    const bool has_stacked_alpha = source->GetFormatFourCC() == media_server::kStackedAlphaMp4;
    ImportStreamProperties(*reader.Get(), has_stacked_alpha, *metadata_);
  }
  return kSuccess;
}

const char* StreamInfoImpl::GetTextA() {
  return codec_name_.Get([this] { return SystemString(stream_->GetCodecName()); });
}

const char* StreamInfoImpl::GetTextB() {
  return codec_long_name_.Get([this] { return SystemString(stream_->GetCodecLongName()); });
}

std::uint64_t StreamInfoImpl::GetDuration() { return SecondsToTicks(stream_->GetDuration()); }

const char* StreamInfoImpl::GetTextC() {
  return language_.Get([this] { return SystemString(stream_->GetLanguage()); });
}

}  // namespace service::mediainfo::media_info::impl
