#pragma once

#include <cstdint>
#include <memory>

#include "mediainfo/iaudio_info.h"
#include "mediainfo/imetedata_info.h"
#include "mediainfo/ivideo_info.h"

namespace service::mediainfo {

/// Answers of IStreamInfo::GetMediaType.
inline constexpr std::int32_t kPictureStream = 2;
inline constexpr std::int32_t kSoundStream = 3;

/// Profile and level of a codec that tells none.
inline constexpr std::int32_t kUnknownProfile = -99;

/// A picture or sound stream of a program. Pointers handed out are borrowed and live as long as the stream. The text
/// operations fill caches: one caller at a time.
class IStreamInfo {
 public:
  virtual ~IStreamInfo() = default;

  /// kPictureStream or kSoundStream.
  virtual std::int32_t GetMediaType() = 0;
  /// Index in the file from 0.
  virtual std::uint32_t GetStreamValue4() = 0;
  /// Codec tag, first character in the least significant byte.
  virtual std::uint32_t GetFourCC() = 0;
  /// Bit rate in bits/s; 0 unknown.
  virtual std::uint32_t GetStreamValue6() = 0;
  /// Codec short name and long name, UTF-8, never null.
  virtual const char* GetTextA() = 0;
  virtual const char* GetTextB() = 0;
  /// In units of 100 ns.
  virtual std::uint64_t GetDuration() = 0;
  /// Codec profile number; kUnknownProfile when not known.
  virtual std::int32_t GetStreamValue11() = 0;
  /// Null for a stream of the other kind.
  virtual IVideoInfo* GetVideoInfo() = 0;
  /// Always 0.
  virtual std::uint32_t Reserved10() = 0;
  virtual IAudioInfo* GetAudioInfo() = 0;
  /// The container's own stream id (track id, PID).
  virtual std::uint32_t GetStreamValue14() = 0;
  /// Disposition bits as libavformat numbers them.
  virtual std::uint32_t GetStreamValue15() = 0;
  /// Both always 2.
  virtual std::uint32_t FixedValue14() = 0;
  virtual std::uint32_t FixedValue15() = 0;
  /// Not supported: both always kIndexOutOfRange.
  virtual std::uint32_t UnsupportedRequest16() = 0;
  virtual std::uint32_t UnsupportedRequest17() = 0;
  /// The stream's own store, with the "MediaFile_Metedata_Video_" keys of a picture stream.
  virtual std::shared_ptr<IMetedataInfo> GetMetadataInfo() = 0;
  /// Language tag; empty when not told.
  virtual const char* GetTextC() = 0;
};

}  // namespace service::mediainfo
