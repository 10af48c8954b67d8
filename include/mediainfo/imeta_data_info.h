#pragma once

#include <cstdint>

#include "mediainfo/aigc_meta.h"

namespace service::mediainfo {

/// Tags of one opened file, one read operation each. Texts are UTF-8; each lives until the same operation asks the file
/// again, which it does while its answer is empty, at the longest as long as the object. One caller at a time.
class IMetaDataInfo {
 public:
  virtual ~IMetaDataInfo() = default;

  virtual const char* GetArtist() = 0;
  virtual const char* GetTitle() = 0;
  virtual const char* GetTrackNumber() = 0;
  virtual const char* GetAlbum() = 0;
  /// Combined date text (see metedata_keys::kDate).
  virtual const char* GetDate() = 0;
  virtual const char* GetGenre() = 0;
  virtual const char* GetPublisher() = 0;
  /// Null, like all texts below that say so: no source tells them.
  virtual const char* GetShow() = 0;
  virtual const char* GetReleaseDate() = 0;  ///< null
  virtual const char* GetActor() = 0;
  virtual const char* GetDirector() = 0;      ///< null
  virtual const char* GetProducer() = 0;      ///< null
  virtual const char* GetScreenwriter() = 0;  ///< null
  virtual const char* GetTagline() = 0;       ///< null
  virtual const char* GetDescription() = 0;   ///< null
  virtual const char* GetComment() = 0;       ///< null
  virtual const char* GetTvnetwork() = 0;     ///< null
  virtual const char* GetMaker() = 0;
  virtual const char* GetModel() = 0;
  /// Degrees without sign; 0 when the file tells no place.
  virtual double GetGpsLatitude() = 0;
  virtual double GetGpsLongitude() = 0;
  virtual const char* GetGpsLatitudeRef() = 0;   ///< "N" or "S"
  virtual const char* GetGpsLongitudeRef() = 0;  ///< "E" or "W"
  virtual std::int32_t GetVideoKind() = 0;       ///< 1 when not known
  virtual std::int32_t Reserved25() = 0;         ///< 0
  virtual std::int32_t Reserved26() = 0;         ///< 0
  /// A buffer from the C allocator that the caller keeps; null when there is none.
  virtual void* GetImageData() = 0;
  virtual std::int32_t GetContentRating() = 0;  ///< 0 when not known
  virtual std::int32_t GetDefinition() = 0;     ///< -1 when not known
  /// The object's own record, filled anew at each call; null when memory runs out.
  virtual const metedata_keys::AIGC_META* GetAigcMeta() = 0;
  virtual std::int32_t GetAlphaMode() = 0;  ///< 0 none, 1 straight, 2 premultiplied
};

}  // namespace service::mediainfo
