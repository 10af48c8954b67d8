#include "service-mediainfo/media_info/subpic_stream_info_impl.h"

#include "mediainfo/result.h"

namespace service::mediainfo::media_info::impl {

using platform::SystemString;

std::uint32_t SubPicStreamInfoImpl::Init(media_server::ISubPicStream* stream) {
  if (stream == nullptr) return kInitFailed;
  stream_ = platform::ComPtr<media_server::ISubPicStream>(stream);
  return kSuccess;
}

const char* SubPicStreamInfoImpl::GetSubPicTextA() {
  return codec_name_.Get([this] { return SystemString(stream_->GetCodecName()); });
}

const char* SubPicStreamInfoImpl::GetSubPicTextB() {
  return language_.Get([this] { return SystemString(stream_->GetLanguage()); });
}

}  // namespace service::mediainfo::media_info::impl
