#include "service-mediainfo/metadata/meta_data_info_impl.h"

#include <cstdlib>
#include <cstring>

#include "core/error_text.h"
#include "media_server/metadata_keys.h"
#include "mediainfo/result.h"
#include "platform/text.h"

namespace service::mediainfo::media_info::impl {

using media_server::IMetadata;
using metedata_keys::AIGC_META;
using platform::SystemString;

namespace server_keys = media_server::metadata_keys;

std::uint32_t MetaDataInfoImpl::Init(IMetadata* metadata) {
  if (metadata == nullptr) return kInitFailed;
  metadata_ = platform::ComPtr<IMetadata>(metadata);
  return kSuccess;
}

const char* MetaDataInfoImpl::GetArtist() { return Ask(artist_, &IMetadata::GetArtist); }
const char* MetaDataInfoImpl::GetTitle() { return Ask(title_, &IMetadata::GetTitle); }
const char* MetaDataInfoImpl::GetTrackNumber() { return Ask(track_number_, &IMetadata::GetTrackNumber); }
const char* MetaDataInfoImpl::GetAlbum() { return Ask(album_, &IMetadata::GetAlbum); }
const char* MetaDataInfoImpl::GetDate() { return Ask(date_, &IMetadata::GetDate); }
const char* MetaDataInfoImpl::GetGenre() { return Ask(genre_, &IMetadata::GetGenre); }
const char* MetaDataInfoImpl::GetPublisher() { return Ask(publisher_, &IMetadata::GetPublisher); }
const char* MetaDataInfoImpl::GetActor() { return Ask(actor_, server_keys::kActor); }
const char* MetaDataInfoImpl::GetMaker() { return Ask(maker_, &IMetadata::GetMaker); }
const char* MetaDataInfoImpl::GetModel() { return Ask(model_, &IMetadata::GetModel); }
const char* MetaDataInfoImpl::GetGpsLatitudeRef() { return Ask(gps_latitude_ref_, server_keys::kGpsLatitudeRef); }
const char* MetaDataInfoImpl::GetGpsLongitudeRef() { return Ask(gps_longitude_ref_, server_keys::kGpsLongitudeRef); }

const AIGC_META* MetaDataInfoImpl::GetAigcMeta() {
  aigc_meta_.Clear();
  const SystemString answer = AskKey(server_keys::kAigc);
  if (!answer) return &aigc_meta_;
  try {
    const std::string text = platform::ToUtf8(answer.View());
    aigc_meta_.text = static_cast<char*>(std::calloc(text.size() + 1, 1));
    if (aigc_meta_.text == nullptr) throw std::bad_alloc();
    std::memcpy(aigc_meta_.text, text.data(), text.size());
    aigc_meta_.length = static_cast<std::uint32_t>(text.size());
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return nullptr;
  }
  return &aigc_meta_;
}

std::int32_t MetaDataInfoImpl::GetAlphaMode() {
  std::int32_t mode = 0;
  metadata_->GetInteger(server_keys::kXmpAlphaMode, &mode);
  return mode;
}

const char* MetaDataInfoImpl::Ask(CachedText& cache, TextOperation operation) {
  return cache.Get([&] {
    SystemString text;
    (metadata_.Get()->*operation)(text.Put());
    return text;
  });
}

const char* MetaDataInfoImpl::Ask(CachedText& cache, const char16_t* key) {
  return cache.Get([&] { return AskKey(key); });
}

SystemString MetaDataInfoImpl::AskKey(const char16_t* key) {
  SystemString text;
  metadata_->GetText(key, text.Put());
  return text;
}

}  // namespace service::mediainfo::media_info::impl
