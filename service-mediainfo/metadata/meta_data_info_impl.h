#pragma once

#include "media_server/imetadata.h"
#include "mediainfo/imeta_data_info.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/metadata/cached_text.h"

namespace service::mediainfo::media_info::impl {

/// Reads the media server's metadata object, on which it holds a reference. Nothing but Init may be called before Init
/// succeeded.
class MetaDataInfoImpl final : public IMetaDataInfo {
 public:
  /// kInitFailed when `metadata` is null.
  std::uint32_t Init(media_server::IMetadata* metadata);

  const char* GetArtist() override;
  const char* GetTitle() override;
  const char* GetTrackNumber() override;
  const char* GetAlbum() override;
  const char* GetDate() override;
  const char* GetGenre() override;
  const char* GetPublisher() override;
  const char* GetShow() override { return nullptr; }
  const char* GetReleaseDate() override { return nullptr; }
  const char* GetActor() override;
  const char* GetDirector() override { return nullptr; }
  const char* GetProducer() override { return nullptr; }
  const char* GetScreenwriter() override { return nullptr; }
  const char* GetTagline() override { return nullptr; }
  const char* GetDescription() override { return nullptr; }
  const char* GetComment() override { return nullptr; }
  const char* GetTvnetwork() override { return nullptr; }
  const char* GetMaker() override;
  const char* GetModel() override;
  double GetGpsLatitude() override { return metadata_->GetGpsLatitude(); }
  double GetGpsLongitude() override { return metadata_->GetGpsLongitude(); }
  const char* GetGpsLatitudeRef() override;
  const char* GetGpsLongitudeRef() override;
  // The media server has no record of these five; the answers are those for "not known".
  std::int32_t GetVideoKind() override { return 1; }
  std::int32_t Reserved25() override { return 0; }
  std::int32_t Reserved26() override { return 0; }
  void* GetImageData() override { return nullptr; }
  std::int32_t GetContentRating() override { return 0; }
  std::int32_t GetDefinition() override { return -1; }
  const metedata_keys::AIGC_META* GetAigcMeta() override;
  std::int32_t GetAlphaMode() override;

 private:
  using TextOperation = std::int32_t (media_server::IMetadata::*)(BSTR* out);

  const char* Ask(CachedText& cache, TextOperation operation);
  const char* Ask(CachedText& cache, const char16_t* key);
  platform::SystemString AskKey(const char16_t* key);

  CachedText artist_;
  CachedText title_;
  CachedText track_number_;
  CachedText album_;
  CachedText date_;
  CachedText genre_;
  CachedText publisher_;
  CachedText actor_;
  CachedText maker_;
  CachedText model_;
  CachedText gps_latitude_ref_;
  CachedText gps_longitude_ref_;
  metedata_keys::AIGC_META aigc_meta_;
  platform::ComPtr<media_server::IMetadata> metadata_;
};

}  // namespace service::mediainfo::media_info::impl
