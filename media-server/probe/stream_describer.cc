#include "media-server/probe/stream_describer.h"

#include <optional>
#include <utility>
#include <vector>

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

StreamDescription DescribeCommonFacts(const AVFormatContext& context, const AVStream& stream, StreamKind kind,
                                      double file_duration) {
  StreamDescription description;
  description.kind = kind;
  description.index = static_cast<std::uint32_t>(stream.index);
  description.id = static_cast<std::uint32_t>(stream.id);
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

}  // namespace

void DescribeStreams(AVFormatContext& context, IByteSource& source, const ContainerFacts& container,
                     MediaDescription& media) {
  const SampleReader samples(context, source);
  // Edits that show a part again put it into the index again: there the sample tables count.
  const bool index_counts = !container.movie || container.movie->has_fragments;
  DescribePackedPcm(context);
  bool packets_are_read = false;  // reading them for one stream passes those of the others
  // Streams that first appear in packets read here are described by nothing, and their coming moves the others' list.
  const std::vector<AVStream*> streams(Streams(context).begin(), Streams(context).end());
  for (AVStream* stream : streams) {
    const auto kind = KindOf(*stream, stream->codecpar->codec_tag);
    if (!kind) continue;
    const TrackFacts track = container.FactsOf(*stream);
    if (!track.encrypted) DescribeMpegAudio(samples, *stream);
    StreamDescription description = DescribeCommonFacts(context, *stream, *kind, media.duration);
    if (track.id) description.id = *track.id;
    if (track.language) description.language = *track.language;
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
      PictureFacts facts{.header = ReadPictureHeader(*stream, samples),
                         .track = track,
                         .file_is_truncated = container.truncated,
                         .aspect_is_of_display = samples.Demuxer() == "mxf",
                         .sample_count = index_counts ? static_cast<std::uint32_t>(samples.SampleCount(*stream)) : 0};
      if (IsUnsizedDv(*stream) && !packets_are_read) {
        facts.header.parameters = ReadNextDvFrame(context, *stream);
        description.bit_rate = Saturated(StreamBitRate(*stream));
        packets_are_read = true;
      }
      if (HasRateOfClock(context, *stream)) SetRateOfPackets(context, track.frame_rate, *stream);
      if (const Mp4Track* mp4_track = container.TrackOf(*stream)) {
        facts.gop = GopOfTrack(*stream, *mp4_track, samples);
      } else if (IsElementaryPictureStream(context)) {
        facts.timing =
            TimeElementaryStream(context, samples.TakenPackets(),
                                 NumberOf(facts.header.parameters.frame_rate, /*unknown=*/0), media.file_size);
      } else if (TellsGopInPackets(*stream) && container.matroska && track.id && !source.IsRemote()) {
        facts.gop = GopOfFrames(source, *track.id);  // at a server each frame would cost a request
      } else if (TellsGopInPackets(*stream) && !packets_are_read) {
        facts.gop = GopOfPackets(context, *stream);
        packets_are_read = true;
      }
      if (facts.timing) {
        media.duration = description.duration = facts.timing->duration;
        media.bit_rate = FileBitRate(context, media.file_size, media.duration);
      }
      DescribePicture(*stream, facts, description);
    } else if (*kind == StreamKind::kSound) {
      DescribeSound(*stream, track.encrypted, description);
    }
    media.streams.push_back(std::move(description));
  }
}

}  // namespace media_server::probe
