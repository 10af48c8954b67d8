#pragma once

#include <cstdint>
#include <memory>

#include "mediainfo/imetedata_info.h"
#include "mediainfo/iprogram_info.h"

namespace service::mediainfo {

/// Query interface of a media file session: what is in one media file. Valid as long as its session; one caller at a
/// time.
class IMediaFileInfo {
 public:
  /// Opens the session on a URL (UTF-8): an http or https URL, a file: URL, or a path. The buffer is writable because
  /// the case of a path's extension may be changed in place to find the file. kFailed when it cannot be opened; another
  /// URL may follow. An opened session stays on its file: further calls answer kSuccess without effect.
  virtual std::uint32_t SetURL(char* url) = 0;
  /// Container code, first character in the least significant byte. Like the next answers from the file, only on an
  /// open session.
  virtual std::uint32_t GetFormatFourCC() = 0;
  /// Short and long name of the container, UTF-8, never null; valid as long as the session.
  virtual const char* GetFormatName() = 0;
  virtual const char* GetFormatLongName() = 0;
  /// The session's store, filled anew from the file at each call.
  virtual std::shared_ptr<IMetedataInfo> GetMetadata() = 0;
  /// In units of 100 ns.
  virtual std::uint64_t GetDuration() = 0;
  /// Overall bit rate in bits/s; 0 unknown.
  virtual std::uint64_t GetBitRate() = 0;
  virtual std::uint64_t GetProgramCount() = 0;
  /// Borrowed. kIndexOutOfRange (`*out` untouched) when there is no such program.
  virtual std::uint32_t GetProgram(IProgramInfo** out, std::uint32_t index) = 0;
  /// In bytes; 0 unknown.
  virtual std::uint64_t GetFileSize() = 0;
  /// A new session of the same service on the same URL, with one reference; its ISession goes back to the service's
  /// DestroySession. kNoOutput when `out` is null, memory runs out, or the file cannot be opened any more.
  virtual std::uint32_t Clone(IMediaFileInfo** out) = 0;
  /// Clears the keep flag when `value` is 0; nothing sets it.
  virtual void ClearKeepFlag(std::uint32_t value) = 0;
  /// Type of the stream with this id as the file's own metadata text tells it; `*type_out` is untouched when it does
  /// not. Always kSuccess.
  virtual std::uint32_t GetStreamType(std::uint32_t stream_id, std::int32_t* type_out) = 0;
  /// Seconds since 1970. False, and both untouched, when the file has no dates.
  virtual bool GetDates(std::int64_t* creation, std::int64_t* modification) = 0;
  /// Hex key for protected files; in force for every later SetURL of every session of the service.
  virtual void SetEncryptKey(const char* key) = 0;

 protected:
  ~IMediaFileInfo() = default;
};

}  // namespace service::mediainfo
