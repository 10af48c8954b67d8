#pragma once

#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Whether the sound of a WavPack file is kept as it was, as the flags of its first block tell: a hybrid file keeps
/// what it leaves out, if at all, in another one. Empty for other files.
std::optional<bool> IsLosslessWavPack(IByteSource& source);

}  // namespace media_server
