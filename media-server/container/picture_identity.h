#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/container/format_identity.h"

namespace media_server {

/// Picture formats whose first bytes prove them only together with a plausible header behind them.
std::optional<FormatIdentity> IdentifyPicture(std::span<const std::uint8_t> head);

/// Truevision TGA, which has no mark at its start: by the footer of version 2 or by a header that holds nothing but
/// what the format allows. To be asked last, when nothing else is known of a file.
std::optional<FormatIdentity> IdentifyTarga(IByteSource& source);

/// The formats that the two above name.
std::span<const FormatIdentity> FormatsWithoutMagic();

}  // namespace media_server
