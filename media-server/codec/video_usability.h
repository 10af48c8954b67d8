#pragma once

#include <cstdint>
#include <optional>

#include "core/rational.h"
#include "media-server/codec/bit_reader.h"
#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// The tables that the codecs share (ITU-T H.273) and the checks that turn coded numbers into facts.

/// `numerator` / `denominator` in lowest terms; empty when either is 0, which codecs use for "unknown".
std::optional<core::Rational> PositiveRatio(std::uint64_t numerator, std::uint64_t denominator);

/// The sample aspect ratio of an aspect_ratio_idc, 1 to 16; empty for others. MPEG-4 Visual's aspect_ratio_info uses
/// the same first five.
std::optional<core::Rational> SampleAspectRatio(std::uint32_t indicator);

/// The coded numbers that name something; empty members for "unspecified", reserved and unknown numbers.
ColorDescription NamedColor(std::uint32_t primaries, std::uint32_t transfer, std::uint32_t matrix);

/// The member of `PictureParameters::chroma_sampling` for a chroma_format_idc of 0 to 3; RGB for 4:4:4 with matrix 0.
std::optional<int> ChromaSampling(std::uint32_t chroma_format_idc, const ColorDescription& color);

/// Reads what H.264, HEVC and their kin have in common at the front of their video usability information, through the
/// chroma sample location: sets the sample aspect ratio and the colour of `picture` as far as the bits go.
void ReadCommonUsability(BitReader& bits, PictureParameters& picture);

/// Widest and highest picture taken for real; libavcodec refuses about the same.
inline constexpr std::uint32_t kMaxPictureSide = 65535;

/// Sets the sizes where coded width and height are possible; empty cropping results leave the picture uncropped, as
/// decoders do. False when the coded size is not possible. All in pixels; the crops are sums of both sides.
bool SetPictureSize(PictureParameters& picture, std::uint64_t coded_width, std::uint64_t coded_height,
                    std::uint64_t crop_width = 0, std::uint64_t crop_height = 0);

}  // namespace media_server::codec
