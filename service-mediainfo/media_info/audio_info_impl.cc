#include "service-mediainfo/media_info/audio_info_impl.h"

#include "mediainfo/result.h"

namespace service::mediainfo::media_info::impl {

std::uint32_t AudioInfoImpl::Init(const media_server::SoundFormat* record) {
  if (record == nullptr) return kInitFailed;
  format_ = *record;
  return kSuccess;
}

double AudioInfoImpl::GetAudioValue() {
  // Callers truncate the rate; the addend keeps a rate such as 44099.999999999 from losing one.
  return format_.sample_rate_hz + 1e-8;
}

}  // namespace service::mediainfo::media_info::impl
