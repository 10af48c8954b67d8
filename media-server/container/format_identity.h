#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// What kind of content a file holds, as far as its bytes prove it.
enum class ContentKind {
  kMedia,       ///< sound, moving pictures or timed text: `demuxer` names the libavformat demuxer that opens it
  kStillImage,  ///< a still or animated picture format: belongs to the image reader, never to libavformat
  kSvg,         ///< an SVG document
  kOther,       ///< certainly no media: archives, documents, MIDI, ...
};

/// The names of a container format. Both texts are static.
struct FormatNames {
  std::string_view short_name;  ///< as a person says it: "mp4", "mkv", "mpegts"
  std::string_view long_name;
};

/// What the first bytes of a file prove about its format. All texts are static.
struct FormatIdentity {
  ContentKind kind = ContentKind::kOther;
  std::string_view demuxer;  ///< libavformat's demuxer, as `av_find_input_format` takes it; empty unless kind is kMedia
  FormatNames names;
};

/// Recognises the format of `source` from its first 4 KiB and, where ID3v2 tags stand in front (up to 16 in a row),
/// from the 4 KiB behind them; of XML, gzip included, up to 64 KiB are read until the root element is met. Formats
/// whose sync word is short (MPEG audio, ADTS, AC-3, DTS, transport streams) are only named when several frames in a
/// row prove them; TGA, which has none, is only named when nothing else is. Empty when the bytes prove nothing:
/// libavformat may then probe the file.
std::optional<FormatIdentity> IdentifyFormat(IByteSource& source);

/// Names of the format that libavformat's demuxer `demuxer` reads, where it is one of those `IdentifyFormat` knows.
/// `demuxer` may be a list as libavformat prints it ("mov,mp4,m4a,3gp,3g2,mj2"). Empty for others.
std::optional<FormatNames> NamesOfDemuxer(std::string_view demuxer);

/// Every format that IdentifyFormat can name, each pair of names once, in no order that means anything.
std::vector<FormatIdentity> KnownFormats();

}  // namespace media_server
