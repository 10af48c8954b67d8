#include "media-server/format_list.h"

#include <array>
#include <set>
#include <string_view>

#include "media-server/container/format_identity.h"
#include "media-server/image/image_reader.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server {
namespace {

/// Camera raw images that are TIFF files to the first bytes; what is in their directories tells them apart.
constexpr std::array kTiffRawImages = {
    FormatNames{"arw", "Sony raw image"},    FormatNames{"cr2", "Canon raw image"},
    FormatNames{"dcr", "Kodak raw image"},   FormatNames{"dng", "Digital Negative"},
    FormatNames{"erf", "Epson raw image"},   FormatNames{"iiq", "Phase One raw image"},
    FormatNames{"nef", "Nikon raw image"},   FormatNames{"pef", "Pentax raw image"},
    FormatNames{"srw", "Samsung raw image"},
};

std::string Line(std::string_view kind, std::string_view short_name, std::string_view long_name) {
  return std::string(kind).append("\t").append(short_name).append("\t").append(long_name).append("\n");
}

}  // namespace

std::string FormatList() {
  std::set<std::string> lines;
  for (const FormatIdentity& format : KnownFormats()) {
    const auto& [short_name, long_name] = format.names;
    if (format.kind == ContentKind::kMedia) lines.insert(Line("media", short_name, long_name));
    if (format.kind == ContentKind::kSvg) lines.insert(Line("svg", short_name, long_name));
    if (format.kind == ContentKind::kStillImage && image::IsReadable(short_name)) {
      lines.insert(Line("image", short_name, long_name));
    }
  }
  for (const auto& [short_name, long_name] : kTiffRawImages) lines.insert(Line("image", short_name, long_name));
  // Those that libavformat recognises by itself.
  void* state = nullptr;
  while (const AVInputFormat* demuxer = av_demuxer_iterate(&state)) {
    if (NamesOfDemuxer(demuxer->name)) continue;
    const std::string_view names = demuxer->name;
    lines.insert(Line("media", names.substr(0, names.find(',')), demuxer->long_name));
  }
  std::string list;
  for (const std::string& line : lines) list += line;
  return list;
}

}  // namespace media_server
