#pragma once

#include "media_server/istream.h"
#include "mediainfo/isubpic_stream_info.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/metadata/cached_text.h"

namespace service::mediainfo::media_info::impl {

/// Forwards to the media server's subpicture stream, on which it holds a reference. Nothing but Init may be called
/// before Init succeeded.
class SubPicStreamInfoImpl final : public virtual ISubPicStreamInfo {
 public:
  /// kInitFailed when `stream` is null.
  std::uint32_t Init(media_server::ISubPicStream* stream);

  std::uint32_t GetSubPicValue3() override { return stream_->GetIndex(); }
  std::uint32_t GetSubPicValue4() override { return stream_->GetId(); }
  std::uint32_t GetSubPicValue5() override { return stream_->GetDisposition(); }
  const char* GetSubPicTextA() override;
  const char* GetSubPicTextB() override;

 private:
  CachedText codec_name_;
  CachedText language_;
  platform::ComPtr<media_server::ISubPicStream> stream_;
};

}  // namespace service::mediainfo::media_info::impl
