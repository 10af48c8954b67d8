#pragma once

#include <memory>
#include <optional>

#include "media_server/imedia_info.h"
#include "mediainfo/istream_info.h"
#include "mediainfo/result.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/media_info/audio_info_impl.h"
#include "service-mediainfo/media_info/video_info_impl.h"
#include "service-mediainfo/metadata/cached_text.h"
#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo::media_info::impl {

/// A picture or sound stream. Forwards to the media server's stream, on which it holds a reference. Before Init
/// succeeded only the operations that do not forward may be called.
class StreamInfoImpl final : public virtual IStreamInfo {
 public:
  /// Builds the details of `stream`; `source` (not null for a picture stream) is the file that it belongs to.
  /// kInitFailed when `stream` is null, of an unknown media type, or has no format record.
  std::uint32_t Init(media_server::IMediaInfo* source, media_server::IStream* stream);

  std::int32_t GetMediaType() override { return stream_->GetMediaType(); }
  std::uint32_t GetStreamValue4() override { return stream_->GetIndex(); }
  std::uint32_t GetFourCC() override { return stream_->GetFourCC(); }
  std::uint32_t GetStreamValue6() override { return stream_->GetBitRate(); }
  const char* GetTextA() override;
  const char* GetTextB() override;
  std::uint64_t GetDuration() override;
  std::int32_t GetStreamValue11() override { return stream_->GetProfile(); }
  IVideoInfo* GetVideoInfo() override { return video_ ? &*video_ : nullptr; }
  std::uint32_t Reserved10() override { return 0; }
  IAudioInfo* GetAudioInfo() override { return audio_ ? &*audio_ : nullptr; }
  std::uint32_t GetStreamValue14() override { return stream_->GetId(); }
  std::uint32_t GetStreamValue15() override { return stream_->GetDisposition(); }
  std::uint32_t FixedValue14() override { return 2; }
  std::uint32_t FixedValue15() override { return 2; }
  std::uint32_t UnsupportedRequest16() override { return kIndexOutOfRange; }
  std::uint32_t UnsupportedRequest17() override { return kIndexOutOfRange; }
  std::shared_ptr<IMetedataInfo> GetMetadataInfo() override { return metadata_; }
  const char* GetTextC() override;

 private:
  std::uint32_t InitSound(media_server::IStream& stream);
  std::uint32_t InitPicture(media_server::IMediaInfo* source, media_server::IStream& stream);

  std::optional<VideoInfoImpl> video_;
  std::optional<AudioInfoImpl> audio_;
  CachedText codec_name_;
  CachedText codec_long_name_;
  CachedText language_;
  platform::ComPtr<media_server::IStream> stream_;
  std::shared_ptr<MetadataInfoMPL> metadata_ = std::make_shared<MetadataInfoMPL>();
};

}  // namespace service::mediainfo::media_info::impl
