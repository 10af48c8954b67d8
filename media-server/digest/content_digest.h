#pragma once

#include <optional>
#include <string>

#include "media-server/digest/digest_library.h"
#include "media-server/io/byte_source.h"

namespace media_server {

/// MD5 of the whole content of a file, or of the frames of a sequence one after another, as 32 lower-case hexadecimal
/// digits. A file that grows meanwhile is read to the end it had when it was opened. Empty, and the reason in words,
/// when a file is missing, is no regular file or cannot be read to that end. Takes the same memory for a file of any
/// size. Safe to call from any thread.
std::optional<std::string> DigestContent(const std::string& path, std::string* reason);

/// Adds all bytes of `source`. False, and the reason in words, when they cannot be read up to the size it tells: a
/// digest of less would be another file's.
bool AddContent(IByteSource& source, IMd5& md5, std::string* reason);

}  // namespace media_server
