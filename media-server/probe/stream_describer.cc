#include "media-server/probe/stream_describer.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/codec_tags.h"
#include "media-server/probe/dv_frame.h"
#include "media-server/probe/elementary_stream.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/gop.h"
#include "media-server/probe/mpeg_audio.h"
#include "media-server/probe/packet_rate.h"
#include "media-server/probe/pcm_header.h"
#include "media-server/probe/picture_describer.h"
#include "media-server/probe/picture_header.h"
#include "media-server/probe/sample_reader.h"
#include "media-server/probe/sound_describer.h"
#include "media-server/probe/streams.h"
#include "media-server/probe/timing.h"
#include "platform/text.h"

namespace media_server::probe {
namespace {

std::optional<StreamKind> KindOf(const AVStream& stream, std::uint32_t codec_tag) {
  switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
      return StreamKind::kPicture;
    case AVMEDIA_TYPE_AUDIO:
      return StreamKind::kSound;
    case AVMEDIA_TYPE_SUBTITLE:
      return StreamKind::kSubpicture;
    default:
      // Recordings of input devices and markers ride along as data.
      return codec_tag == kKeyboardStream || codec_tag == kMouseStream || codec_tag == kMarkerStream
                 ? std::optional(StreamKind::kPicture)
                 : std::nullopt;
  }
}

// libavformat knows these sample entries of timed text not (ISO/IEC 14496-30; ISO/IEC 14496-12, 12.6.3).
void NameTextTracks(AVFormatContext& context) {
  struct Row {
    std::uint32_t sample_entry;
    AVCodecID codec;
  };
  constexpr Row kRows[] = {{MKTAG('w', 'v', 't', 't'), AV_CODEC_ID_WEBVTT},
                           {MKTAG('s', 'b', 't', 't'), AV_CODEC_ID_TEXT},
                           {MKTAG('s', 't', 'x', 't'), AV_CODEC_ID_TEXT}};
  if (std::string_view(context.iformat->name) != kMp4Demuxer) return;
  for (AVStream* stream : Streams(context)) {
    AVCodecParameters& codec = *stream->codecpar;
    const auto* row = std::ranges::find(kRows, codec.codec_tag, &Row::sample_entry);
    if (codec.codec_id != AV_CODEC_ID_NONE || row == std::end(kRows)) continue;
    codec.codec_type = AVMEDIA_TYPE_SUBTITLE;
    codec.codec_id = row->codec;
  }
}

StreamDescription DescribeCommonFacts(const AVFormatContext& context, const AVStream& stream, StreamKind kind,
                                      double file_duration) {
  StreamDescription description;
  description.kind = kind;
  description.index = static_cast<std::uint32_t>(stream.index);
  description.id = static_cast<std::uint32_t>(std::max(stream.id, 0));
  description.codec_tag = CodecTag(context, *stream.codecpar);
  description.bit_rate = Saturated(StreamBitRate(stream));
  description.codec_name = avcodec_get_name(stream.codecpar->codec_id);
  const AVCodecDescriptor* codec = avcodec_descriptor_get(stream.codecpar->codec_id);
  description.codec_long_name = codec != nullptr && codec->long_name != nullptr ? codec->long_name : "";
  description.language = platform::ToValidUtf8(StreamTag(stream, "language").value_or(""));
  description.duration = StreamDuration(stream).value_or(file_duration);
  description.disposition = static_cast<std::uint32_t>(stream.disposition);
  return description;
}

/// Where the facts of streams come from.
struct Sources {
  AVFormatContext& context;
  IByteSource& source;
  const ContainerFacts& container;
  const SampleReader samples;
  bool packets_are_read = false;  // reading them for one stream passes those of the others
};

/// A stream that is described, and what its first packet tells.
struct KnownStream {
  AVStream* stream;
  StreamKind kind;
  TrackFacts track;
  std::optional<PictureHeader> header;  // of pictures
};

std::vector<KnownStream> ReadFirstPackets(const Sources& from) {
  // Streams that first appear in packets read here are described by nothing, and their coming moves the others' list.
  const std::vector<AVStream*> streams(Streams(from.context).begin(), Streams(from.context).end());
  std::vector<KnownStream> known;
  for (AVStream* stream : streams) {
    const auto kind = KindOf(*stream, stream->codecpar->codec_tag);
    if (!kind) continue;
    KnownStream next{stream, *kind, from.container.FactsOf(*stream), {}};
    if (!next.track.encrypted) DescribeMpegAudio(from.samples, *stream);
    const bool is_picture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
    if (is_picture) next.header = ReadPictureHeader(*stream, from.samples);
    known.push_back(std::move(next));
  }
  return known;
}

PictureFacts ReadPictureFacts(Sources& from, const KnownStream& known, std::uint64_t file_size) {
  AVStream& stream = *known.stream;
  // Edits that show a part again put it into the index again: there the sample tables count.
  const bool index_counts = !from.container.movie || from.container.movie->has_fragments;
  PictureFacts facts{.header = *known.header,
                     .track = known.track,
                     .file_is_truncated = from.container.truncated,
                     .aspect_is_of_display = from.samples.Demuxer() == "mxf",
                     .sample_count = index_counts ? static_cast<std::uint32_t>(from.samples.SampleCount(stream)) : 0};
  if (IsUnsizedDv(stream) && !from.packets_are_read) {
    facts.header.parameters = ReadNextDvFrame(from.context, stream);
    from.packets_are_read = true;
  }
  if (const Mp4Track* mp4_track = from.container.TrackOf(stream)) {
    facts.gop = GopOfTrack(stream, *mp4_track, from.samples);
  } else if (IsElementaryPictureStream(from.context)) {
    facts.timing = TimeElementaryStream(from.context, from.samples.TakenPackets(),
                                        NumberOf(facts.header.parameters.frame_rate, /*unknown=*/0), file_size);
  } else if (TellsGopInPackets(stream) && from.container.matroska && known.track.id && !from.source.IsRemote()) {
    facts.gop = GopOfFrames(from.source, *known.track.id);  // at a server each frame would cost a request
  } else if (TellsGopInPackets(stream) && !from.packets_are_read) {
    facts.gop = GopOfPackets(from.context, stream);
    from.packets_are_read = true;
  }
  return facts;
}

StreamDescription Describe(Sources& from, const KnownStream& known, MediaDescription& media) {
  std::optional<PictureFacts> picture;
  if (known.header) picture = ReadPictureFacts(from, known, media.file_size);
  StreamDescription description = DescribeCommonFacts(from.context, *known.stream, known.kind, media.duration);
  if (known.track.id) description.id = *known.track.id;
  if (known.track.language) description.language = *known.track.language;
  if (picture && picture->timing) {
    media.duration = description.duration = picture->timing->duration;
    media.bit_rate = FileBitRate(from.context, media.file_size, media.duration);
  }
  if (picture) DescribePicture(*known.stream, *picture, description);
  if (known.kind == StreamKind::kSound) DescribeSound(*known.stream, known.track, description);
  return description;
}

}  // namespace

void DescribeStreams(AVFormatContext& context, IByteSource& source, const ContainerFacts& container,
                     MediaDescription& media) {
  Sources from{context, source, container, SampleReader(context, source)};
  DescribePackedPcm(context);
  NameTextTracks(context);
  const std::vector<KnownStream> known = ReadFirstPackets(from);
  SetRatesOfPackets(context, [&](const AVStream& stream) { return container.FactsOf(stream).frame_rate; });
  for (const KnownStream& stream : known) media.streams.push_back(Describe(from, stream, media));
}

}  // namespace media_server::probe
