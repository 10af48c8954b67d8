#pragma once

#include <cstdint>

#include "core/val_any.h"
#include "media_server/image_info.h"
#include "media_server/imedia_info.h"
#include "platform/com.h"
#include "platform/export.h"

#if defined(MEDIA_SERVER_LIBRARY)
#define MEDIA_SERVER_API PLATFORM_EXPORT
#else
#define MEDIA_SERVER_API PLATFORM_IMPORT
#endif

namespace media_server {

/// Option of IMediaServer::SetOption: kBuffer, narrow text: the hex key that opens protected files.
inline constexpr char kEncryptKeyOption[] = "EncryptKey";

/// Opens media files. One server serves any number of threads at once.
class IMediaServer : public platform::IComObject {
 public:
  /// Options hold for every file opened afterwards. kInvalidArgument for an unknown name or a value of another type;
  /// kOutOfMemory, and the option as it was, when memory runs out.
  virtual std::int32_t SetOption(const char* name, const core::ValAny* value) = 0;
  virtual void Reserved4() = 0;
  /// Opens `path` (UTF-16: a file path or an http(s) URL) and describes it in `*out`, with one reference. Non-zero on
  /// success; zero, null in `*out` and the reason in CoreErrorText on failure.
  virtual std::int32_t GetMediaInfo(const char16_t* path, IMediaInfo** out) = 0;
  /// Fills `info` from the headers of the image file at `path` (UTF-16) and sets the flags of the fields that were
  /// found. Non-zero on success; zero, the record as far as it was found, and the reason in CoreErrorText on failure.
  virtual std::int64_t QueryImage(const char16_t* path, imagecore::QkImageInfo* info) = 0;

 protected:
  ~IMediaServer() = default;
};

/// The class and interface under which the codec component library makes its component (QKCreateInstance).
inline constexpr platform::Guid kCodecComponentClassId{
    0xE71EAD89, 0x1CCD, 0x4C34, {0x97, 0xA8, 0x7D, 0x45, 0xB5, 0xF1, 0x66, 0x13}};

/// The way to the same answers for hosts that have no media server.
class ICodecComponent : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{
      0x5AD2BE35, 0x3038, 0x4C6A, {0x8C, 0x7F, 0x36, 0x98, 0x52, 0x6A, 0x89, 0x8F}};

  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  /// As IMediaServer::GetMediaInfo, with a COM status. What the two numbers mean is not known; callers pass 0 and 12.
  virtual std::int32_t OpenMediaInfo(const char16_t* path, std::uint32_t first, std::uint32_t second,
                                     IMediaInfo** out) = 0;

 protected:
  ~ICodecComponent() = default;
};

/// Type of QKCreateInstance, which COMSupport.dll exports.
using QkCreateInstanceFunction = std::int32_t (*)(const platform::Guid& class_id, void* outer, std::uint32_t context,
                                                  const platform::Guid& interface_id, void** out);
/// Type of SetProtectedPath, which QK_log.dll exports: masks `text` in every log line from now on.
using SetProtectedPathFunction = void (*)(const char16_t* text);

}  // namespace media_server

/// A media server with one reference in `*out`. The texts are UTF-8: a folder for media information, the HTTP proxy,
/// the folders of the application, its resources and its log; empty ones say nothing. Negative, and null, on failure.
extern "C" MEDIA_SERVER_API std::int32_t CreateMediaServer(const char* media_info_path, const char* media_proxy_path,
                                                           const char* app_path, const char* app_res_path,
                                                           const char* log_path, media_server::IMediaServer** out);

/// Digests the whole content of the file at `path` (UTF-8) with MD5 and writes 32 lower-case hexadecimal digits and a
/// terminator into `buffer`, which holds at least 33 bytes. A name that does not exist and has a bracket part
/// ("f_[1-3,7].png") is a sequence: its frames are digested one after another, as one stream. False, and the buffer as
/// it was, when anything could not be read to its end. Safe to call from any thread.
extern "C" MEDIA_SERVER_API bool GetMD5Uuid(const char* path, char* buffer);
