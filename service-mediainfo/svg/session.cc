#include "service-mediainfo/svg/session.h"

#include <exception>
#include <new>

#include "core/error_text.h"
#include "mediainfo/result.h"
#include "service-mediainfo/media_info/url_validation.h"
#include "service/iservice_manager.h"

namespace service::mediainfo::svg {
namespace {

/// What the decoder's Load answers for an SVG.
constexpr std::uint32_t kLoaded = 1;

}  // namespace

void session::AcquireDecoder() {
  IServiceManager* manager = ZORServiceMrgAcqire(/*reserved=*/0);
  if (manager == nullptr) return;
  const std::shared_ptr<IService> decoder_service =
      manager->AcquireService(kSvgDecoderServiceName, /*create=*/true, /*reserved=*/0);
  if (!decoder_service) return;
  if (const std::shared_ptr<ISession> decoder_session = decoder_service->CreateSharedSession(/*reserved=*/0)) {
    decoder_ = std::dynamic_pointer_cast<ISVGDecodeSink>(decoder_session);
  }
}

bool session::SetPath(char* url) {
  if (url == nullptr) return false;
  CoreSetErrorText(nullptr);
  try {
    return Load(url);
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
    return false;
  }
}

bool session::Load(char* url) {
  std::string path;
  if (!IsValidPath(url, &path)) return false;
  if (url_ == url) {
    CoreSetErrorText("the same path as before");
    return false;
  }
  if (!decoder_) {
    CoreSetErrorText("there is no SVG decoder");
    return false;
  }

  url_ = url;
  loaded_ = false;
  decoder_->Reset();
  decoder_->SetSource(url_.c_str());
  loaded_ = decoder_->Load(0, 0) == kLoaded;
  return loaded_;
}

bool session::GetSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  if (!decoder_ || width_out == nullptr || height_out == nullptr) return false;
  if (decoder_->GetSize(&width_, &height_) != kSuccess) return false;
  *width_out = width_;
  *height_out = height_;
  return true;
}

bool session::GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  if (!decoder_ || width_out == nullptr || height_out == nullptr) return false;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  if (decoder_->GetViewSize(&width, &height) != kSuccess) return false;
  *width_out = width;
  *height_out = height;
  return true;
}

std::uint32_t session::Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) {
  return decoder_ ? decoder_->Render(path, width, height) : kFailed;
}

}  // namespace service::mediainfo::svg
