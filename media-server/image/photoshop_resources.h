#pragma once

#include <cstdint>
#include <span>

namespace media_server::image {

/// Photoshop's number of the resource that holds IPTC-IIM data sets.
inline constexpr std::uint16_t kIptcResource = 0x0404;

/// The data of the first image resource `id` in a run of image resource blocks (Adobe Photoshop File Formats
/// Specification, Image Resource Blocks), borrowed from it; empty when there is none, or it is cut short.
std::span<const std::uint8_t> FindPhotoshopResource(std::span<const std::uint8_t> blocks, std::uint16_t id);

}  // namespace media_server::image
