#include "fake_services.h"

#include "core/val_any.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediauuid/imedia_uuid.h"

namespace mediaprobe::testing {
namespace {

namespace keys = service::mediainfo::metedata_keys;

class FakeImageSession final : public service::ISession, public service::mediainfo::IImageInfo {
 public:
  explicit FakeImageSession(FakeImageService& service) : service_(service) {}

  bool SetPath(const char* url) override {
    image_ = service_.Open(url);
    if (!image_.store) throw core::AnyBadAccess();
    if (image_.duration_100ns != 0) duration_100ns_ = image_.duration_100ns;
    return image_.is_read;
  }
  std::int32_t GetWidth() override { return image_.width; }
  std::int32_t GetHeight() override { return image_.height; }
  void SetDuration(std::uint64_t duration_100ns) override { duration_100ns_ = duration_100ns; }
  std::uint64_t GetDuration() override { return duration_100ns_; }
  bool SetFrameRate(std::uint32_t, std::uint32_t) override { return true; }
  void GetFrameRate(std::uint32_t*, std::uint32_t*) override {}
  std::int32_t GetWidthSecondEntry() override { return image_.width; }
  std::int32_t GetHeightSecondEntry() override { return image_.height; }
  std::uint32_t Reserved10() override { return 0; }
  std::uint32_t Reserved11() override { return 0; }
  std::shared_ptr<service::mediainfo::IMetedataInfo> GetMetadata() override { return image_.store; }

 private:
  FakeImageService& service_;
  FakeImage image_;
  std::uint64_t duration_100ns_ = 0;
};

class FakeSvgSession final : public service::ISession, public service::mediainfo::ISvgInfo {
 public:
  explicit FakeSvgSession(FakeSvgService& service) : service_(service) {}

  bool SetPath(char* url) override {
    svg_ = service_.Open(url);
    return svg_.has_value();
  }
  bool GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    return Tell(svg_->width, svg_->height, width_out, height_out);
  }
  bool GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    return Tell(svg_->view_width, svg_->view_height, width_out, height_out);
  }
  std::uint32_t Render(std::uintptr_t, std::uintptr_t, std::uintptr_t) override { return 1; }
  std::uint32_t GetWidth() override { return 0; }
  std::uint32_t GetHeight() override { return 0; }
  std::uint32_t Reserved7() override { return 0; }
  std::uint32_t Reserved8() override { return 0; }

 private:
  static bool Tell(std::uint32_t width, std::uint32_t height, std::uint32_t* width_out, std::uint32_t* height_out) {
    if (width == 0) return false;
    *width_out = width;
    *height_out = height;
    return true;
  }

  FakeSvgService& service_;
  std::optional<FakeSvg> svg_;
};

class FakeUuidSession final : public service::ISession, public service::mediauuid::IMediaUuid {
 public:
  explicit FakeUuidSession(FakeUuidService& service) : service_(service) {}

  bool GetUuid(const char*, core::Uuid*) override { return false; }
  const char* GetUuidText(const char* url) override { return service_.Digest(url); }

 private:
  FakeUuidService& service_;
};

}  // namespace

service::ISession* FakeService::CreateSession() {
  if (!gives_sessions) return nullptr;
  ++open_sessions;
  return MakeSession();
}

std::uint32_t FakeService::DestroySession(service::ISession* session) {
  --open_sessions;
  delete session;
  return 1;
}

FakeImage FakeImageService::Open(const std::string& url) {
  urls.push_back(url);
  return opener_(url);
}

service::ISession* FakeImageService::MakeSession() { return new FakeImageSession(*this); }
service::ISession* FakeSvgService::MakeSession() { return new FakeSvgSession(*this); }
service::ISession* FakeUuidService::MakeSession() { return new FakeUuidSession(*this); }

FakeImage MakeFullImage() {
  FakeImage image;
  image.width = 4000;
  image.height = 3000;
  FakeStore& store = *image.store;
  store.SetNumber(keys::kImageFlag, 0x4FFFFF);
  store.SetDegrees(keys::kImageGpsLatitude, 33.8568);
  store.SetDegrees(keys::kImageGpsLongitude, 151.2153);
  store.SetText(keys::kImageGpsLatitudeRef, "S");
  store.SetText(keys::kImageGpsLongitudeRef, "E");
  store.SetText(keys::kImageCameraMaker, "Acme");
  store.SetText(keys::kImageCameraModel, "Cam 9");
  store.SetText(keys::kImageDate, "2023:5:17:10:20:30,2024:1:2:3:4:5");
  store.SetDate(keys::kImageCreateDate, 1'684'318'830);
  store.SetDate(keys::kImageModifyDate, 1'704'164'645);
  store.SetDegrees(keys::kImageExposureTime, 0.008);
  store.SetNumber(keys::kImageRotate, 90);
  store.SetNumber(keys::kImageFlip, 1);
  store.SetNumber(keys::kImageWidth, 4000);
  store.SetNumber(keys::kImageHeight, 3000);
  store.SetNumber(keys::kImagePicType, 1);
  const char* label = R"({"Label":"1","ContentProducer":"Studio"})";
  store.SetNumber(keys::kImageAigcMetaSize, 40);
  store.SetText(keys::kImageAigcMetaData, label);
  store.SetNumber(keys::kImageFourCC, 0x6765706A);  // "jpeg"
  store.SetNumber(keys::kAlphaMode, 0);
  return image;
}

}  // namespace mediaprobe::testing
