#include "output/stream_lines.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "mediainfo/metedata_keys.h"
#include "output/quantity_text.h"
#include "output/terminal_text.h"
#include "probe/metadata_reader.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

// H.273 transfer characteristics.
constexpr std::int64_t kPerceptualQuantizer = 16;
constexpr std::int64_t kHybridLogGamma = 18;

/// `part` after `separator`, or alone where `text` is empty. An empty part adds nothing.
void Join(std::string& text, std::string_view part, std::string_view separator) {
  if (part.empty()) return;
  if (!text.empty()) text += separator;
  text += part;
}

std::string Words(std::string_view name) {
  std::string words(name);
  std::replace(words.begin(), words.end(), '_', ' ');
  return words;
}

std::string SizePair(std::uint32_t width, std::uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

/// A number without a name tells a reader nothing.
std::string ProfileText(const CodedStreamRecord& stream) {
  const auto* name = stream.profile ? std::get_if<std::string>(&*stream.profile) : nullptr;
  return name ? TerminalText(*name) : std::string{};
}

std::string PictureSize(const VideoRecord& video) {
  if (!video.width || !video.height) return {};
  std::string coded = SizePair(*video.width, *video.height);
  if (!video.display_width || !video.display_height) return coded;
  const std::string shown = SizePair(*video.display_width, *video.display_height);
  return shown == coded ? coded : coded + " (shown " + shown + ")";
}

std::string SampleFormat(const VideoRecord& video) {
  std::string text = video.chroma.value_or("");
  if (video.bit_depth) Join(text, std::to_string(*video.bit_depth) + " bit", " ");
  if (const auto* name = video.color_primaries ? std::get_if<std::string>(&*video.color_primaries) : nullptr) {
    Join(text, *name, " ");
  }
  if (video.color_range == "full") Join(text, "full range", " ");
  return text;
}

std::string DynamicRange(const Metadata& metadata) {
  if (MetadataInteger(metadata, keys::kVideoIsDolbyVision).value_or(0) != 0) return "HDR (Dolby Vision)";
  const auto transfer = MetadataInteger(metadata, keys::kVideoTransferCharacteristics);
  if (transfer == kPerceptualQuantizer) return "HDR (PQ)";
  if (transfer == kHybridLogGamma) return "HDR (HLG)";
  return "HDR";
}

std::string VideoFlagText(std::string_view flag, const VideoRecord& video) {
  if (flag == "hdr") return DynamicRange(video.metadata);
  if (flag == "interlaced" && video.field_order) return "interlaced (" + Words(*video.field_order) + ")";
  return Words(flag);
}

void JoinLanguageAndDisposition(std::string& text, const StreamRecord& stream) {
  if (stream.language) Join(text, TerminalText(*stream.language), ", ");
  for (const std::string_view name : stream.disposition) Join(text, Words(name), ", ");
}

/// The name, where there is one: libavcodec calls the codec that it does not know "none".
std::optional<std::string> CodecText(const StreamRecord& stream) {
  if (!stream.codec || *stream.codec == "none") return std::nullopt;
  return TerminalText(*stream.codec);
}

StreamCells CommonCells(std::string_view kind, const StreamRecord& stream) {
  StreamCells cells;
  cells[0] = std::string(kind) + " " + std::to_string(stream.index);
  cells[1] = CodecText(stream).value_or("unknown codec");
  return cells;
}

StreamCells CodedCells(std::string_view kind, const CodedStreamRecord& stream) {
  StreamCells cells = CommonCells(kind, stream);
  if (!CodecText(stream) && stream.fourcc) cells[1] += " " + TerminalText(*stream.fourcc);
  Join(cells[1], ProfileText(stream), " ");
  if (stream.bit_rate_bps) cells[3] = BitRateText(*stream.bit_rate_bps);
  return cells;
}

StreamCells VideoCells(const VideoRecord& video) {
  StreamCells cells = CodedCells("video", video);
  const auto codec = CodecText(video);
  const auto profile = MetadataText(video.metadata, keys::kVideoFormatProfile);
  if (codec && profile) cells[1] = *codec + " " + TerminalText(*profile);
  cells[2] = PictureSize(video);
  if (video.frame_rate) Join(cells[2], FrameRateText(*video.frame_rate), " ");

  std::string& details = cells[4];
  details = SampleFormat(video);
  for (const std::string_view flag : video.flags) Join(details, VideoFlagText(flag, video), ", ");
  if (video.rotation_degrees != 0) Join(details, "rotated " + std::to_string(video.rotation_degrees), ", ");
  if (video.flip != "none") Join(details, "flipped " + std::string(video.flip), ", ");
  JoinLanguageAndDisposition(details, video);
  return cells;
}

StreamCells AudioCells(const AudioRecord& audio) {
  StreamCells cells = CodedCells("audio", audio);
  if (audio.sample_rate_hz) cells[2] = SampleRateText(*audio.sample_rate_hz);
  if (audio.channels) Join(cells[2], ChannelsText(*audio.channels), " ");

  std::string& details = cells[4];
  if (audio.bits_per_sample) details = std::to_string(*audio.bits_per_sample) + " bit";
  for (const std::string_view flag : audio.flags) Join(details, Words(flag), ", ");
  JoinLanguageAndDisposition(details, audio);
  return cells;
}

StreamCells SubpictureCells(const SubpictureRecord& subpicture) {
  StreamCells cells = CommonCells("subtitle", subpicture);
  JoinLanguageAndDisposition(cells[2], subpicture);
  return cells;
}

}  // namespace

std::vector<StreamCells> StreamLines(const ProgramRecord& program) {
  std::multimap<std::uint32_t, StreamCells> by_index;
  for (const VideoRecord& video : program.video) by_index.emplace(video.index, VideoCells(video));
  for (const AudioRecord& audio : program.audio) by_index.emplace(audio.index, AudioCells(audio));
  for (const SubpictureRecord& subpicture : program.subpicture) {
    by_index.emplace(subpicture.index, SubpictureCells(subpicture));
  }
  std::vector<StreamCells> lines;
  for (auto& [index, cells] : by_index) lines.push_back(std::move(cells));
  return lines;
}

}  // namespace mediaprobe
