#include "media-server/probe/sample_reader.h"

#include <algorithm>
#include <string_view>

#include "media-server/codec/vp9.h"
#include "media-server/container/transport_pes.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/late_streams.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

// Sound comes before and between the pictures.
constexpr int kMostPackets = 160;

bool IsPicture(const AVStream& stream) { return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !IsCover(stream); }

// Pictures of these are found without libavformat, which has forgotten what it read of a transport stream when it has
// measured that and would parse it anew.
bool IsReadFromTransport(const AVFormatContext& context, const AVStream& stream) {
  const AVCodecID codec = stream.codecpar->codec_id;
  return std::string_view(context.iformat->name) == kTransportStreamDemuxer &&
         (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC);
}

// Whether somebody asks for the first packet: pictures, and sound whose frames nobody has seen.
bool IsWanted(const AVFormatContext& context, const AVStream& stream) {
  return (IsPicture(stream) && !IsReadFromTransport(context, stream)) ||
         (IsMpegAudio(stream) && stream.codecpar->bit_rate == 0);
}

// Frames of VP9 that lean on others do not tell their format.
bool IsToldByKeySamples(const AVStream& stream) { return stream.codecpar->codec_id == AV_CODEC_ID_VP9; }

// A key frame that cannot be read is scrambled, and so are those behind it.
bool MayTellFormat(const AVStream& stream, const AVPacket& packet) {
  if (!IsToldByKeySamples(stream) || (packet.flags & AV_PKT_FLAG_KEY) != 0) return true;
  const auto picture = codec::ReadVp9Frame(BytesOf(packet));
  return picture && picture->bit_depth;
}

}  // namespace

SampleReader::SampleReader(AVFormatContext& context, IByteSource& source)
    : context_(context), has_sample_index_(std::string_view(context.iformat->name) == kMp4Demuxer), source_(source) {}

int SampleReader::SampleCount(AVStream& stream) const {
  return has_sample_index_ ? avformat_index_get_entries_count(&stream) : 0;
}

bool SampleReader::IsKeySample(AVStream& stream, int sample) const {
  const AVIndexEntry* entry = avformat_index_get_entry(&stream, sample);
  return entry != nullptr && (entry->flags & AVINDEX_KEYFRAME) != 0;
}

std::vector<std::uint8_t> SampleReader::ReadStart(AVStream& stream, int sample, std::size_t size) const {
  const AVIndexEntry* entry = has_sample_index_ ? avformat_index_get_entry(&stream, sample) : nullptr;
  if (entry == nullptr || entry->pos < 0 || entry->size <= 0) return {};
  std::vector<std::uint8_t> bytes(std::min(size, static_cast<std::size_t>(entry->size)));
  bytes.resize(source_.ReadAt(static_cast<std::uint64_t>(entry->pos), bytes));
  return bytes;
}

std::vector<std::uint8_t> SampleReader::ReadFirst(AVStream& stream) const {
  if (has_sample_index_) return ReadStart(stream, FirstToTellFormat(stream), kSampleStart);
  if (IsReadFromTransport(context_, stream)) {
    return ReadFirstPes(source_, static_cast<std::uint16_t>(stream.id), kSampleStart);
  }
  if (!first_packets_) first_packets_ = ReadPackets();
  const auto packet = std::ranges::find(*first_packets_, stream.index, &Packet::stream);
  return packet != first_packets_->end() ? packet->start : std::vector<std::uint8_t>();
}

int SampleReader::FirstToTellFormat(AVStream& stream) const {
  if (!IsToldByKeySamples(stream)) return 0;
  const int count = SampleCount(stream);
  int sample = 0;
  while (sample < count && !IsKeySample(stream, sample)) ++sample;
  return sample < count ? sample : 0;
}

std::string_view SampleReader::Demuxer() const { return context_.iformat->name; }

std::vector<SampleReader::Packet> SampleReader::ReadPackets() const {
  std::vector<Packet> packets;
  const auto wanted = static_cast<std::size_t>(
      std::ranges::count_if(Streams(context_), [this](const AVStream* stream) { return IsWanted(context_, *stream); }));
  PacketWalk walk(context_, {.packets = kMostPackets});
  while (packets.size() < wanted) {
    const AVPacket* packet = walk.Next();
    if (packet == nullptr) break;
    const int index = packet->stream_index;
    const AVStream& stream = *context_.streams[index];
    const bool is_first = std::ranges::find(packets, index, &Packet::stream) == packets.end();
    const auto bytes = BytesOf(*packet);
    if (is_first && IsWanted(context_, stream) && !bytes.empty() && MayTellFormat(stream, *packet)) {
      const auto start = bytes.first(std::min(bytes.size(), kSampleStart));
      packets.push_back({index, {start.begin(), start.end()}});
    }
  }
  taken_packets_ = walk.Seen();
  return packets;
}

}  // namespace media_server::probe
