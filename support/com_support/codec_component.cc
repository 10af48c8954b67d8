#include "codec_component.h"

#include <new>
#include <utility>

namespace com_support {

using media_server::IMediaInfo;
using media_server::IMediaServer;
using platform::ComPtr;
using platform::ComStatus;

CodecComponent::CodecComponent(ComPtr<IMediaServer> media_server) : media_server_(std::move(media_server)) {}

ComStatus CodecComponent::Create(CodecComponent** out) {
  *out = nullptr;
  ComPtr<IMediaServer> media_server;
  const ComStatus status = CreateMediaServer(/*media_info_path=*/"", /*media_proxy_path=*/"", /*app_path=*/"",
                                             /*app_res_path=*/"", /*log_path=*/"", media_server.Put());
  if (platform::Failed(status)) return status;
  if (!media_server) return platform::kFail;
  *out = new (std::nothrow) CodecComponent(std::move(media_server));
  return *out ? platform::kOk : platform::kOutOfMemory;
}

ComStatus CodecComponent::QueryInterface(const platform::Guid& id, void** out) {
  if (!out) return platform::kInvalidPointer;
  *out = nullptr;
  if (id == ICodecComponent::kInterfaceId) {
    *out = static_cast<ICodecComponent*>(this);
  } else if (id == IComObject::kInterfaceId) {
    *out = static_cast<IComObject*>(this);
  } else {
    return platform::kNoInterface;
  }
  AddRef();
  return platform::kOk;
}

std::uint32_t CodecComponent::AddRef() { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

std::uint32_t CodecComponent::Release() {
  const std::uint32_t left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

std::int32_t CodecComponent::OpenMediaInfo(const char16_t* path, std::uint32_t /*first*/, std::uint32_t /*second*/,
                                           IMediaInfo** out) {
  if (!out) return platform::kInvalidPointer;
  *out = nullptr;
  if (!path) return platform::kInvalidArgument;

  ComPtr<IMediaInfo> media_info;
  if (media_server_->GetMediaInfo(path, media_info.Put()) == 0 || !media_info) return platform::kFail;
  *out = media_info.Detach();
  return platform::kOk;
}

}  // namespace com_support
