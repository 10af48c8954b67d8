#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "media_server/image_info.h"
#include "media_server/imedia_server.h"
#include "mediainfo/iimage_info.h"
#include "service-mediainfo/image/service.h"
#include "service-mediainfo/metadata/metadata_store.h"
#include "service/isession.h"

namespace service::mediainfo::image {

/// Describes one image or sequence after the other. The media server belongs to the service, which outlives its
/// sessions. The class keeps the name that the framework knows it by.
class session final : public ISession, public IImageInfo {  // NOLINT(readability-identifier-naming)
 public:
  /// `media_server` is borrowed; without one no image can be read.
  session(const ImageLibrary& library, media_server::IMediaServer* media_server)
      : library_(library), media_server_(media_server) {}

  /// May throw core::AnyBadAccess, which a store of unexpected values would raise.
  bool SetPath(const char* url) override;
  std::int32_t GetWidth() override { return width_; }
  std::int32_t GetHeight() override { return height_; }
  void SetDuration(std::uint64_t duration_100ns) override { duration_100ns_ = duration_100ns; }
  std::uint64_t GetDuration() override { return duration_100ns_; }
  bool SetFrameRate(std::uint32_t numerator, std::uint32_t denominator) override;
  void GetFrameRate(std::uint32_t* numerator_out, std::uint32_t* denominator_out) override;
  std::int32_t GetWidthSecondEntry() override { return width_; }
  std::int32_t GetHeightSecondEntry() override { return height_; }
  std::uint32_t Reserved10() override { return 0; }
  std::uint32_t Reserved11() override { return 0; }
  std::shared_ptr<IMetedataInfo> GetMetadata() override { return metadata_; }

 private:
  /// Asks the media server for url_ and takes over what it tells. Throws std::bad_alloc.
  void Probe();
  void TakeSize();
  void TakeDuration();

  [[maybe_unused]] ImageLibrary library_;
  std::string url_;
  bool probed_ = false;
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  bool is_sequence_ = false;
  std::uint64_t duration_100ns_ = 0;
  std::uint32_t frame_rate_numerator_ = 25;
  std::uint32_t frame_rate_denominator_ = 1;
  std::shared_ptr<imagecore::QkImageInfo> image_info_;
  std::shared_ptr<MetadataInfoMPL> metadata_;
  media_server::IMediaServer* media_server_;
};

}  // namespace service::mediainfo::image
