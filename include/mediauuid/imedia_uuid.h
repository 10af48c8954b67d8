#pragma once

#include "core/uuid.h"

namespace service::mediauuid {

/// Query interface of a media UUID session: an identifier made of a file's content, the MD5 of all its bytes. Sessions
/// of one service may be used from several threads, one session from one thread at a time.
///
/// `url` (UTF-8) is a path without ":/" in it, a URL with "file:/" (the first six characters are dropped), or a
/// sequence: "files://" and a name with a bracket part.
class IMediaUuid {
 public:
  /// Reads the whole file each time. False, and `*out` as it was, when there is nothing to read.
  virtual bool GetUuid(const char* url, core::Uuid* out) = 0;
  /// 32 hexadecimal digits, computed once for each file of the service. Null when there is nothing to read; for a
  /// sequence an empty text. Valid as long as the service, that of a sequence until the session's next call.
  virtual const char* GetUuidText(const char* url) = 0;

 protected:
  ~IMediaUuid() = default;
};

}  // namespace service::mediauuid
