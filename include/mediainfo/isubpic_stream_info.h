#pragma once

#include <cstdint>

namespace service::mediainfo {

/// A subpicture (subtitle) stream. Texts are UTF-8, never null, and live as long as the stream.
class ISubPicStreamInfo {
 public:
  virtual ~ISubPicStreamInfo() = default;

  /// Index in the file from 0.
  virtual std::uint32_t GetSubPicValue3() = 0;
  /// The container's own stream id.
  virtual std::uint32_t GetSubPicValue4() = 0;
  /// Disposition bits as libavformat numbers them.
  virtual std::uint32_t GetSubPicValue5() = 0;
  /// Codec short name.
  virtual const char* GetSubPicTextA() = 0;
  /// Language tag; empty when not told.
  virtual const char* GetSubPicTextB() = 0;
};

}  // namespace service::mediainfo
