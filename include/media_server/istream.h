#pragma once

#include <cstdint>

#include "media_server/format_records.h"
#include "platform/com.h"
#include "platform/system_string.h"

namespace media_server {

/// Orientation codes of IVideoStream: clockwise degrees that show the picture upright, or a mirroring. The four that
/// combine a mirroring with a quarter turn have no code of their own and are told as the quarter turn alone.
inline constexpr std::int32_t kOrientationUpright = 0;
inline constexpr std::int32_t kOrientation90 = 90;
inline constexpr std::int32_t kOrientation180 = 180;
inline constexpr std::int32_t kOrientation270 = 270;
inline constexpr std::int32_t kOrientationFlipHorizontal = -100;
inline constexpr std::int32_t kOrientationFlipVertical = -200;
inline constexpr std::int32_t kOrientationFlipBoth = -300;

/// A picture or sound stream. Records live as long as the stream; texts are the caller's to free, null when not told.
class IStream : public platform::IComObject {
 public:
  virtual std::int32_t GetMediaType() = 0;  ///< 2 picture, 3 sound
  virtual std::uint32_t GetIndex() = 0;     ///< in the file, from 0
  virtual std::uint32_t GetFourCC() = 0;    ///< codec tag, first character in the least significant byte
  virtual std::uint32_t GetBitRate() = 0;   ///< bits/s, 0 unknown
  virtual BSTR GetCodecName() = 0;          ///< short name
  virtual BSTR GetCodecLongName() = 0;
  virtual BSTR GetLanguage() = 0;
  virtual double GetDuration() = 0;                   ///< seconds
  virtual std::int32_t GetProfile() = 0;              ///< codec profile number, -99 unknown
  virtual const SoundFormat* GetAudioFormat() = 0;    ///< null for a picture stream
  virtual const PictureFormat* GetVideoFormat() = 0;  ///< null for a sound stream
  virtual std::uint32_t GetId() = 0;                  ///< the container's own stream id
  virtual std::uint32_t GetDisposition() = 0;         ///< bits as libavformat numbers them

 protected:
  ~IStream() = default;
};

/// Video interface of a picture stream.
class IVideoStream : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{
      0xA9AF814A, 0x6F97, 0x4A81, {0x94, 0x53, 0x40, 0x70, 0xEE, 0xC7, 0x61, 0xBB}};

  virtual const PictureFormat* GetVideoFormat() = 0;
  virtual void Reserved4() = 0;
  virtual void Reserved5() = 0;
  virtual std::int32_t GetRotation() = 0;  ///< a kOrientation... code

 protected:
  ~IVideoStream() = default;
};

/// Reader of a picture stream's extended properties.
class IPropertyReader : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{
      0x79F61287, 0xF585, 0x4026, {0x93, 0x5B, 0xC3, 0x37, 0x4C, 0x0D, 0x5B, 0xC4}};

  /// Writes the property `key` (property_keys.h) to `out`, which points to what the key's type says; a BSTR is the
  /// caller's to free. kOk when found; kFail, and `out` untouched, when the file does not tell it.
  virtual std::int32_t GetProperty(const char16_t* key, void* out) = 0;

 protected:
  ~IPropertyReader() = default;
};

/// A subpicture (subtitle) stream.
class ISubPicStream : public platform::IComObject {
 public:
  virtual std::uint32_t GetIndex() = 0;
  virtual std::uint32_t GetId() = 0;
  virtual std::uint32_t GetDisposition() = 0;
  virtual BSTR GetCodecName() = 0;
  virtual BSTR GetLanguage() = 0;

 protected:
  ~ISubPicStream() = default;
};

/// An ordered list of COM-style objects; IStreamList and its kin below.
template <typename Item>
class IObjectList : public platform::IComObject {
 public:
  virtual std::int32_t GetCount() = 0;
  /// Gives the item with one reference that the caller releases. kInvalidArgument, and null, past the end.
  virtual std::int32_t GetAt(std::uint32_t index, Item** out) = 0;

 protected:
  ~IObjectList() = default;
};

using IStreamList = IObjectList<IStream>;
using ISubPicStreamList = IObjectList<ISubPicStream>;

}  // namespace media_server
