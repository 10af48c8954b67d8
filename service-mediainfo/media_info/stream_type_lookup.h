#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace service::mediainfo::media_info::impl {

/// The type that `text` tells for the stream `stream_id`; empty when it tells none. The text holds "StreamNums:" with
/// the number of streams (up to three digits) and "StreamID_Type:" with pairs "id-type" separated by commas, as in
/// "StreamNums:2 StreamID_Type:1-0,2-1". A missing number counts as 0, a hyphen after the first is skipped, and pairs
/// that the number promises but the list lacks count as 0-0. Of a type the low 32 bits are given.
///
/// Bounds: 899 characters of the list and its first 128 pairs are read; a pair whose id or type has more than 15 digits
/// is ignored.
std::optional<std::int32_t> FindStreamType(std::string_view text, std::uint32_t stream_id);

}  // namespace service::mediainfo::media_info::impl
