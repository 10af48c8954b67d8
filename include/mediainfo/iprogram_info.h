#pragma once

#include <cstdint>

#include "mediainfo/istream_info.h"
#include "mediainfo/isubpic_stream_info.h"

namespace service::mediainfo {

/// A program of a media file: streams that play together. Pointers handed out are borrowed and live as long as the
/// program.
class IProgramInfo {
 public:
  virtual ~IProgramInfo() = default;

  /// Program number; 1 when the container has none.
  virtual std::uint32_t GetProgramValue4() = 0;
  /// In units of 100 ns.
  virtual std::uint64_t GetDuration() = 0;
  /// Bit rate in bits/s; 0 unknown.
  virtual std::uint32_t GetProgramValue6() = 0;
  virtual std::uint64_t GetVideoStreamCount() = 0;
  virtual std::uint64_t GetAudioStreamCount() = 0;
  /// kIndexOutOfRange (`*out` untouched) when there is no such stream.
  virtual std::uint32_t GetVideoStream(std::uint32_t index, IStreamInfo** out) = 0;
  virtual std::uint32_t GetAudioStream(std::uint32_t index, IStreamInfo** out) = 0;
  /// Number of streams that the file has in this program, described here or not.
  virtual std::uint32_t GetProgramValue7() = 0;
  virtual std::uint64_t GetSubPicStreamCount() = 0;
  virtual std::uint32_t GetSubPicStream(std::uint32_t index, ISubPicStreamInfo** out) = 0;
};

}  // namespace service::mediainfo
