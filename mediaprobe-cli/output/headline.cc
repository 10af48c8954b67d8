#include "output/headline.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "core/rational.h"
#include "mediainfo/metedata_keys.h"
#include "output/quantity_text.h"
#include "output/terminal_text.h"
#include "probe/code_names.h"
#include "probe/metadata_reader.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

/// "640x480"; empty unless both are known.
std::string SizePair(std::optional<std::uint32_t> width, std::optional<std::uint32_t> height) {
  return width && height ? std::to_string(*width) + "x" + std::to_string(*height) : std::string();
}

/// "JPEG"; formats without a type are known by the code of their pictures.
std::string FormatOf(const Metadata& metadata) {
  const auto type = MetadataInteger(metadata, keys::kImagePicType);
  if (const auto name = type ? PictureTypeName(*type) : std::nullopt) return std::string(*name);
  const auto fourcc = MetadataInteger(metadata, keys::kImageFourCC);
  auto code = fourcc ? FourCcText(static_cast<std::uint32_t>(*fourcc)) : std::nullopt;
  if (!code) return "image";
  if (const auto name = OtherPictureName(*code)) return std::string(*name);
  code->erase(code->find_last_not_of(' ') + 1);
  return "image (" + *code + ")";
}

std::string FrameRate(const Metadata& metadata) {
  const std::int64_t numerator = MetadataInteger(metadata, keys::kImageGifFrameRateNum).value_or(0);
  const std::int64_t denominator = MetadataInteger(metadata, keys::kImageGifFrameRateDen).value_or(0);
  return numerator > 0 && denominator > 0 ? FrameRateText(core::Rational{numerator, denominator}) : std::string();
}

std::string FramesText(std::uint32_t count) { return std::to_string(count) + (count == 1 ? " frame" : " frames"); }

void Append(std::string& line, const std::string& part) {
  if (!part.empty()) line += ", " + part;
}

std::string HeadlineOf(const MediaRecord& media) {
  std::string line = TerminalText(media.format);
  if (media.duration_100ns) Append(line, DurationText(*media.duration_100ns));
  if (media.size_bytes) Append(line, SizeText(*media.size_bytes));
  if (media.bit_rate_bps) Append(line, BitRateText(*media.bit_rate_bps));
  return line;
}

std::string HeadlineOf(const ImageRecord& image) {
  std::string line = FormatOf(image.metadata);
  Append(line, SizePair(image.width, image.height));
  if (image.frame_count) Append(line, FramesText(*image.frame_count));
  if (image.duration_100ns) Append(line, DurationText(*image.duration_100ns));
  // In a sequence it would be the rate of a first frame that is an animation.
  if (!image.frame_count) Append(line, FrameRate(image.metadata));
  return line;
}

std::string HeadlineOf(const SvgRecord& svg) {
  std::string line = "SVG";
  const std::string size = SizePair(svg.width, svg.height);
  const std::string view_size = SizePair(svg.view_width, svg.view_height);
  Append(line, size);
  if (!view_size.empty() && view_size != size) line += " (view box " + view_size + ")";
  return line;
}

}  // namespace

std::string Headline(const Record& record) {
  return std::visit([](const auto& answer) { return HeadlineOf(answer); }, record.answer);
}

}  // namespace mediaprobe
