// IMediaServer::QueryImage of the built media server library on a picture of any format, tags included.
//
// Oracle: a record has no flag that there is not, fields that are told are possible ones, texts end within their fields
// and are valid UTF-8; a picture that cannot be answered has no flag, and a reason. The small library that tells sizes
// alone tells the same ones.

#include <dlfcn.h>

#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "core/error_text.h"
#include "fuzz/check.h"
#include "fuzz/memory_file.h"
#include "media_server/image_library.h"
#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "platform/text.h"

namespace {

using imagecore::QkImageInfo;
using platform::ComPtr;

constexpr std::uint32_t kAllFlags = 0x43FFFFF;
constexpr std::size_t kMostLabelBytes = std::size_t{3} << 20;

media_server::IMediaServer& Server() {
  static const auto server = [] {
    ComPtr<media_server::IMediaServer> made;
    FUZZ_CHECK(CreateMediaServer("", "", "", "", "", made.Put()) == platform::kOk && made);
    return made;
  }();
  return *server.Get();
}

media_server::GetImageSizeFunction SizeFunction() {
  static const auto function = [] {
    void* library = dlopen(IMAGE_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    FUZZ_CHECK(library != nullptr);
    return reinterpret_cast<media_server::GetImageSizeFunction>(dlsym(library, media_server::kGetImageSize));
  }();
  return function;
}

bool Has(const QkImageInfo& info, std::uint32_t flags) { return (info.flags & flags) != 0; }

void CheckText(const char (&text)[imagecore::kImageTextCapacity]) {
  const std::size_t length = strnlen(text, sizeof text);
  FUZZ_CHECK(length < sizeof text && fuzz::IsUtf8({text, length}));
}

void CheckDuration(bool is_told, double seconds) {
  if (is_told) FUZZ_CHECK(std::isfinite(seconds) && seconds >= 0);
}

void CheckNumbers(const QkImageInfo& info) {
  FUZZ_CHECK(Has(info, imagecore::kHasWidth) && Has(info, imagecore::kHasHeight));
  FUZZ_CHECK(info.width >= 1 && info.height >= 1);
  FUZZ_CHECK(info.alpha_mode >= imagecore::kAlphaNone && info.alpha_mode <= imagecore::kAlphaPremultiplied);
  if (Has(info, imagecore::kHasRotation))
    FUZZ_CHECK(info.rotation % 90 == 0 && info.rotation >= 0 && info.rotation < 360);
  if (Has(info, imagecore::kHasFlip))
    FUZZ_CHECK(info.flip >= imagecore::kFlipNone && info.flip <= imagecore::kFlipVertical);
  if (Has(info, imagecore::kHasPictureType)) {
    FUZZ_CHECK((info.picture_type >= 1 && info.picture_type <= imagecore::kPictureSvg) ||
               info.picture_type == imagecore::kPictureOther);
  }
  if (Has(info, imagecore::kHasGifFrameRateNum)) FUZZ_CHECK(info.gif_frame_rate_num > 0 && info.gif_frame_rate_den > 0);
  if (Has(info, imagecore::kHasGpsLatitude)) FUZZ_CHECK(info.gps_latitude >= 0 && info.gps_latitude <= 90);
  if (Has(info, imagecore::kHasGpsLongitude)) FUZZ_CHECK(info.gps_longitude >= 0 && info.gps_longitude <= 180);
  if (Has(info, imagecore::kHasExposureTime))
    FUZZ_CHECK(std::isfinite(info.exposure_time_s) && info.exposure_time_s > 0);
  CheckDuration(Has(info, imagecore::kHasWebPDuration), info.webp_duration_s);
  CheckDuration(Has(info, imagecore::kHasGifDuration), info.gif_duration_s);
  CheckDuration(Has(info, imagecore::kHasAvifDuration), info.avif_duration_s);
}

void CheckTexts(const QkImageInfo& info) {
  CheckText(info.date);
  CheckText(info.camera_maker);
  CheckText(info.camera_model);
  if (Has(info, imagecore::kHasGpsLatitudeRef)) {
    FUZZ_CHECK(std::string_view("NS").find(info.gps_latitude_ref) != std::string_view::npos);
  }
  if (Has(info, imagecore::kHasGpsLongitudeRef)) {
    FUZZ_CHECK(std::string_view("EW").find(info.gps_longitude_ref) != std::string_view::npos);
  }
  FUZZ_CHECK(Has(info, imagecore::kHasAigcData) == Has(info, imagecore::kHasAigcSize));
  FUZZ_CHECK(Has(info, imagecore::kHasAigcData) == (info.aigc_data != nullptr));
  if (info.aigc_data == nullptr) return;
  const std::size_t length = std::strlen(info.aigc_data);
  FUZZ_CHECK(length == static_cast<std::size_t>(info.aigc_size) && length <= kMostLabelBytes);
  FUZZ_CHECK(fuzz::IsUtf8({info.aigc_data, length}));
}

void CheckSize(const std::string& path, const QkImageInfo& info, bool answered) {
  std::int32_t width = -1;
  std::int32_t height = -1;
  const bool told = SizeFunction()(path.c_str(), &width, &height);
  FUZZ_CHECK(told == answered);
  FUZZ_CHECK(width == (told ? info.width : -1) && height == (told ? info.height : -1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::MemoryFile file(data, size);
  const std::u16string path = platform::ToUtf16(file.path());
  QkImageInfo info;
  CoreSetErrorText("set by nobody");
  const std::int64_t result = Server().QueryImage(path.c_str(), &info);
  const std::string reason = CoreErrorText();
  FUZZ_CHECK(result == 0 || result == 1);
  FUZZ_CHECK((result == 1) == reason.empty() && reason != "set by nobody");
  FUZZ_CHECK((info.flags & ~kAllFlags) == 0);
  FUZZ_CHECK((info.flags != 0) == (result == 1));
  if (result == 1) {
    CheckNumbers(info);
    CheckTexts(info);
  }
  CheckSize(file.path(), info, result == 1);
  return 0;
}
