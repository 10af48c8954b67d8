#include "svg-decoder/decoder_service.h"

#include <new>

#include "svg-decoder/decoder_session.h"

namespace svg_decoder {
namespace {

constexpr std::uint32_t kSuccess = 0;
constexpr std::uint32_t kFailed = 1;

}  // namespace

service::IService* DecoderService::Create() { return new (std::nothrow) DecoderService; }

service::ISession* DecoderService::CreateSession() { return new (std::nothrow) DecoderSession; }

std::uint32_t DecoderService::DestroySession(service::ISession* session) {
  auto* own = dynamic_cast<DecoderSession*>(session);
  if (!own) return kFailed;
  delete own;
  return kSuccess;
}

std::shared_ptr<service::ISession> DecoderService::CreateSharedSession(std::uintptr_t /*reserved*/) {
  try {
    return std::make_shared<DecoderSession>();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::uint32_t DecoderService::KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uint32_t* result) {
  if (result) *result = 0;
  return kSuccess;
}

std::uint32_t DecoderService::KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/,
                                           std::uintptr_t /*third*/, std::uint32_t* result) {
  if (result) *result = 0;
  return kFailed;
}

std::uint32_t DecoderService::ReleaseSharedSession(std::shared_ptr<service::ISession> session) {
  session.reset();
  return kSuccess;
}

}  // namespace svg_decoder
