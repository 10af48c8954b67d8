#include "service-mediainfo/image/image_metadata.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "mediainfo/metedata_keys.h"
#include "service-mediainfo/metadata/c_buffer.h"

namespace service::mediainfo::image {
namespace {

namespace keys = metedata_keys;
using imagecore::QkImageInfo;

void Store(IMetedataInfo& store, const char* key, const core::ValAny& value) {
  if (!store.SetValue(key, &value)) throw std::bad_alloc();
}

void Store(IMetedataInfo& store, const char* key, std::int32_t value) {
  Store(store, key, core::ValAny::FromInt32(value));
}

void Store(IMetedataInfo& store, const char* key, std::uint32_t value) {
  Store(store, key, core::ValAny::FromUInt32(value));
}

void Store(IMetedataInfo& store, const char* key, double value) { Store(store, key, core::ValAny::FromDouble(value)); }

void Store(IMetedataInfo& store, const char* key, CBuffer buffer) {
  if (!StoreBuffer(store, key, std::move(buffer))) throw std::bad_alloc();
}

void Store(IMetedataInfo& store, const char* key, const char (&text)[imagecore::kImageTextCapacity]) {
  const std::string_view content(text, strnlen(text, sizeof(text)));
  Store(store, key, MakeCBuffer(std::as_bytes(std::span(content)), content.size() + 1));
}

template <auto kField>
void StoreField(const QkImageInfo& info, IMetedataInfo& store, const char* key) {
  Store(store, key, info.*kField);
}

/// The one unsigned number that is stored as a signed one.
void StoreFlags(const QkImageInfo& info, IMetedataInfo& store, const char* key) {
  Store(store, key, static_cast<std::int32_t>(info.flags));
}

void StoreAigcData(const QkImageInfo& info, IMetedataInfo& store, const char* key) {
  if (info.aigc_data == nullptr) return;
  const std::string_view content(info.aigc_data);
  // The text is copied to its end, also when the size tells of less.
  const std::size_t size = std::max(content.size(), static_cast<std::size_t>(std::max(info.aigc_size, 0)));
  Store(store, key, MakeCBuffer(std::as_bytes(std::span(content)), size + 1));
}

constexpr std::uint32_t kAnyFlag = ~std::uint32_t{0};

struct Row {
  const char* key;
  std::uint32_t flags;  ///< one of these must be set; 0 for none
  void (*store)(const QkImageInfo& info, IMetedataInfo& store, const char* key);
};

constexpr std::array kRows{
    Row{keys::kImageFlag, 0, StoreFlags},
    Row{keys::kImageGpsLatitude, imagecore::kHasGpsLatitude, StoreField<&QkImageInfo::gps_latitude>},
    Row{keys::kImageGpsLongitude, imagecore::kHasGpsLongitude, StoreField<&QkImageInfo::gps_longitude>},
    Row{keys::kImageGpsLatitudeRef, imagecore::kHasGpsLatitudeRef, StoreField<&QkImageInfo::gps_latitude_ref>},
    Row{keys::kImageGpsLongitudeRef, imagecore::kHasGpsLongitudeRef, StoreField<&QkImageInfo::gps_longitude_ref>},
    Row{keys::kImageCameraMaker, imagecore::kHasCameraMaker, StoreField<&QkImageInfo::camera_maker>},
    Row{keys::kImageCameraModel, imagecore::kHasCameraModel, StoreField<&QkImageInfo::camera_model>},
    Row{keys::kImageDate, imagecore::kHasDate, StoreField<&QkImageInfo::date>},
    Row{keys::kImageExposureTime, imagecore::kHasExposureTime, StoreField<&QkImageInfo::exposure_time_s>},
    Row{keys::kImageRotate, imagecore::kHasRotation, StoreField<&QkImageInfo::rotation>},
    Row{keys::kImageFlip, imagecore::kHasFlip, StoreField<&QkImageInfo::flip>},
    Row{keys::kImageWidth, imagecore::kHasWidth, StoreField<&QkImageInfo::width>},
    Row{keys::kImageHeight, imagecore::kHasHeight, StoreField<&QkImageInfo::height>},
    Row{keys::kImagePicType, imagecore::kHasPictureType, StoreField<&QkImageInfo::picture_type>},
    Row{keys::kImagePicSequenceDuration, imagecore::kHasSequenceDuration,
        StoreField<&QkImageInfo::sequence_duration_s>},
    Row{keys::kImagePicSequenceTotalFrames, imagecore::kHasSequenceTotalFrames,
        StoreField<&QkImageInfo::sequence_total_frames>},
    Row{keys::kImageWebPDuration, imagecore::kHasWebPDuration, StoreField<&QkImageInfo::webp_duration_s>},
    Row{keys::kImageGifDuration, imagecore::kHasGifDuration, StoreField<&QkImageInfo::gif_duration_s>},
    Row{keys::kImageGifFrameRateNum, imagecore::kHasGifFrameRateNum, StoreField<&QkImageInfo::gif_frame_rate_num>},
    Row{keys::kImageGifFrameRateDen, imagecore::kHasGifFrameRateDen, StoreField<&QkImageInfo::gif_frame_rate_den>},
    Row{keys::kImageAigcMetaSize, imagecore::kHasAigcSize, StoreField<&QkImageInfo::aigc_size>},
    Row{keys::kImageAigcMetaData, imagecore::kHasAigcData, StoreAigcData},
    Row{keys::kImageAvifDuration, imagecore::kHasAvifDuration, StoreField<&QkImageInfo::avif_duration_s>},
    Row{keys::kImageFourCC, imagecore::kHasFourCC, StoreField<&QkImageInfo::fourcc>},
    Row{keys::kAlphaMode, kAnyFlag, StoreField<&QkImageInfo::alpha_mode>},
};

}  // namespace

void StoreImageInfo(const QkImageInfo& info, IMetedataInfo& store) {
  for (const Row& row : kRows) {
    if (row.flags == 0 || (info.flags & row.flags) != 0) row.store(info, store, row.key);
  }
}

}  // namespace service::mediainfo::image
