#pragma once

#include <cstdint>

#include "media_server/istream.h"
#include "platform/com.h"
#include "platform/system_string.h"

namespace media_server {

/// A program of an opened file.
class IProgram : public platform::IComObject {
 public:
  virtual void Reserved3() = 0;
  virtual std::uint32_t GetNumber() = 0;       ///< 1 when the container has none
  virtual double GetDuration() = 0;            ///< seconds
  virtual std::uint32_t GetBitRate() = 0;      ///< bits/s, 0 unknown
  virtual std::uint32_t GetStreamCount() = 0;  ///< of all kinds, also those in no list
  /// The lists may be empty; each comes with one reference that the caller releases.
  virtual std::int32_t GetVideoStreamList(IStreamList** out) = 0;
  virtual std::int32_t GetAudioStreamList(IStreamList** out) = 0;
  virtual std::int32_t GetSubPicStreamList(ISubPicStreamList** out) = 0;

 protected:
  ~IProgram() = default;
};

using IProgramCollection = IObjectList<IProgram>;

/// An opened media file: also the source object that stream descriptions ask for the container code. Everything was
/// read when it was made: no operation touches the file, and all may be called from any thread. QueryInterface gives
/// IMetadata.
class IMediaInfo : public platform::IComObject {
 public:
  virtual std::uint32_t GetFormatFourCC() = 0;  ///< container code: "MP4 ", "MKV ", "AMP4", ...
  virtual std::int32_t GetFormatName(BSTR* out) = 0;
  virtual std::int32_t GetFormatLongName(BSTR* out) = 0;
  virtual double GetDuration() = 0;        ///< seconds, 0 unknown
  virtual std::uint64_t GetBitRate() = 0;  ///< bits/s, 0 unknown
  virtual std::int32_t GetPrograms(IProgramCollection** out) = 0;
  virtual std::uint64_t GetFileSize() = 0;  ///< bytes, 0 unknown
  /// Combined date text as IMetadata::GetDate gives it, null when the file has no dates.
  virtual std::int32_t GetDateText(BSTR* out) = 0;

 protected:
  ~IMediaInfo() = default;
};

}  // namespace media_server
