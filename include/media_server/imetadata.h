#pragma once

#include <cstdint>

#include "platform/com.h"
#include "platform/system_string.h"

namespace media_server {

/// Tags of one opened file. The text operations give null in `*out` when the file has no such tag; the caller frees
/// what it gets. Statuses are kOk, kInvalidPointer for a null argument, or kFail for a key that is unknown or not
/// answered.
class IMetadata : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{
      0x80DEF872, 0x887D, 0x4426, {0xB3, 0x1B, 0x77, 0x10, 0x11, 0xCF, 0x34, 0x27}};

  virtual std::int32_t GetArtist(BSTR* out) = 0;
  virtual std::int32_t GetTitle(BSTR* out) = 0;
  virtual std::int32_t GetTrackNumber(BSTR* out) = 0;
  virtual std::int32_t GetAlbum(BSTR* out) = 0;
  /// Combined date text, local time: "Y:M:D:h:m:s,Y:M:D:h:m:s" (creation, modification), or one of them.
  virtual std::int32_t GetDate(BSTR* out) = 0;
  virtual std::int32_t GetGenre(BSTR* out) = 0;
  virtual std::int32_t GetPublisher(BSTR* out) = 0;
  virtual std::int32_t GetInteger(const char16_t* key, std::int32_t* out) = 0;
  virtual std::int32_t GetText(const char16_t* key, BSTR* out) = 0;
  virtual std::int32_t GetMaker(BSTR* out) = 0;
  virtual std::int32_t GetModel(BSTR* out) = 0;
  /// Degrees without sign; 0 when the file tells no place.
  virtual double GetGpsLatitude() = 0;
  virtual double GetGpsLongitude() = 0;

 protected:
  ~IMetadata() = default;
};

}  // namespace media_server
