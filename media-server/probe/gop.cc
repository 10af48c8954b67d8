#include "media-server/probe/gop.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "media-server/codec/mpeg2.h"
#include "media-server/container/matroska_frames.h"
#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"

namespace media_server::probe {
namespace {

// Pictures looked at where only a key frame's place is to be known: enough for three groups of ten seconds.
constexpr int kMostIndexed = 2048;

// Packets read for picture headers: broadcast groups have 12 to 30 pictures, and analysis has read about as many
// already.
constexpr int kMostPackets = 160;

// Frames of which only the beginnings are read: as many pictures as those packets have.
constexpr std::size_t kMostFrames = 80;

std::vector<std::size_t> PlacesOf(GopPicture kind, std::span<const GopPicture> pictures) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    if (pictures[i] == kind) places.push_back(i);
  }
  return places;
}

// The one distance between neighbours; empty when there are several, or no neighbours.
std::optional<std::size_t> EvenDistance(std::span<const std::size_t> places) {
  if (places.size() < 2) return std::nullopt;
  const std::size_t distance = places[1] - places[0];
  for (std::size_t i = 2; i < places.size(); ++i) {
    if (places[i] - places[i - 1] != distance) return std::nullopt;
  }
  return distance;
}

// One more than the number of pictures between two anchors. Empty when it varies.
std::optional<std::size_t> AnchorDistance(std::span<const GopPicture> pictures) {
  std::vector<std::size_t> anchors;
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    if (pictures[i] != GopPicture::kBetween) anchors.push_back(i);
  }
  return EvenDistance(anchors);
}

// Which samples are anchors: those shown later than every sample before them.
std::vector<GopPicture> PicturesOfTrack(AVStream& stream, const Mp4Track& track, const SampleReader& samples) {
  const bool in_order = !track.has_composition_offsets;
  const std::size_t count = std::min<std::size_t>(
      static_cast<std::size_t>(std::min(samples.SampleCount(stream), kMostIndexed)),
      in_order ? std::numeric_limits<std::size_t>::max() : track.first_composition_offsets.size());
  std::vector<GopPicture> pictures;
  std::int64_t latest = std::numeric_limits<std::int64_t>::min();
  for (std::size_t i = 0; i < count; ++i) {
    std::int64_t shown = static_cast<std::int64_t>(i) * track.decoding_times->smallest_delta;
    if (!in_order) shown += track.first_composition_offsets[i];
    const bool anchor = shown > latest;
    latest = std::max(latest, shown);
    if (samples.IsKeySample(stream, static_cast<int>(i))) {
      pictures.push_back(GopPicture::kIntra);
    } else {
      pictures.push_back(anchor ? GopPicture::kAnchor : GopPicture::kBetween);
    }
  }
  return pictures;
}

std::optional<GopPicture> KindOfPicture(AVCodecParserContext& parser, AVCodecContext& codec, const AVPacket& packet) {
  std::uint8_t* parsed = nullptr;
  int parsed_size = 0;
  parser.pict_type = AV_PICTURE_TYPE_NONE;
  av_parser_parse2(&parser, &codec, &parsed, &parsed_size, packet.data, packet.size, packet.pts, packet.dts,
                   packet.pos);
  switch (parser.pict_type) {
    case AV_PICTURE_TYPE_I:
      return GopPicture::kIntra;
    case AV_PICTURE_TYPE_P:
      return GopPicture::kAnchor;
    case AV_PICTURE_TYPE_B:
      return GopPicture::kBetween;
    default:
      return std::nullopt;
  }
}

// Pictures shown before the intra picture in front of them in coded order.
std::size_t LeadingPictures(std::span<const GopPicture> behind_intra) {
  const auto end = std::ranges::find_if(behind_intra, [](GopPicture kind) { return kind != GopPicture::kBetween; });
  return static_cast<std::size_t>(end - behind_intra.begin());
}

// With those pictures in the first group that only the others have: they lean on a group that is not in the file.
std::vector<GopPicture> WithWholeFirstGroup(std::span<const GopPicture> pictures) {
  std::vector<GopPicture> whole(pictures.begin(), pictures.end());
  const auto groups = PlacesOf(GopPicture::kIntra, pictures);
  if (groups.size() < 2 || LeadingPictures(pictures.subspan(groups[0] + 1)) > 0) return whole;
  const std::size_t missing = LeadingPictures(pictures.subspan(groups[1] + 1));
  whole.insert(whole.begin() + static_cast<std::ptrdiff_t>(groups[0]) + 1, missing, GopPicture::kBetween);
  return whole;
}

}  // namespace

std::optional<std::string> GopText(std::span<const GopPicture> seen) {
  const std::vector<GopPicture> whole = WithWholeFirstGroup(seen);
  const std::span<const GopPicture> pictures = whole;
  std::vector<std::size_t> groups = PlacesOf(GopPicture::kIntra, pictures);
  if (groups.size() > 3) groups.erase(groups.begin());
  const auto group_size = EvenDistance(groups);
  // Only whole groups from the first intra picture on: what stands before it leans on pictures that are not there.
  if (!group_size || groups.size() < 3) return std::nullopt;
  const auto anchor_distance = AnchorDistance(pictures.subspan(groups.front(), groups.back() - groups.front() + 1));
  if (!anchor_distance || *group_size % *anchor_distance != 0) return std::nullopt;
  return "M=" + std::to_string(*anchor_distance) + ", N=" + std::to_string(*group_size);
}

std::optional<std::string> GopOfTrack(AVStream& stream, const Mp4Track& track, const SampleReader& samples) {
  // The times of samples that take different times are not known here.
  if (!track.decoding_times || !track.decoding_times->constant) return std::nullopt;
  return GopText(PicturesOfTrack(stream, track, samples));
}

bool TellsGopInPackets(const AVStream& stream) {
  const AVCodecID codec = stream.codecpar->codec_id;
  return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO;
}

std::optional<std::string> GopOfFrames(IByteSource& source, std::uint64_t track_number) {
  MatroskaFrames frames(source, track_number);
  std::vector<GopPicture> pictures;
  while (pictures.size() < kMostFrames) {
    const auto frame = frames.Next();
    const auto type = codec::ReadMpegPictureType(frame);
    if (!type) break;
    pictures.push_back(*type == 1 ? GopPicture::kIntra : *type == 3 ? GopPicture::kBetween : GopPicture::kAnchor);
  }
  return GopText(pictures);
}

std::optional<std::string> GopOfPackets(AVFormatContext& context, const AVStream& stream) {
  const CodecContextHandle codec(avcodec_alloc_context3(nullptr));
  const ParserHandle parser(av_parser_init(stream.codecpar->codec_id));
  if (!codec || !parser || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0) {
    return std::nullopt;
  }
  parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  std::vector<GopPicture> pictures;
  PacketWalk walk(context, {.packets = kMostPackets});
  while (const AVPacket* packet = walk.Next()) {
    if (packet->stream_index != stream.index) continue;
    if (const auto kind = KindOfPicture(*parser, *codec, *packet)) pictures.push_back(*kind);
  }
  return GopText(pictures);
}

}  // namespace media_server::probe
