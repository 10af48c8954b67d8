#include "media-server/probe/late_streams.h"

#include <algorithm>
#include <string>

#include "media-server/io/tail_source.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

// Streams of two codecs may share an id. Which layer MPEG audio is of only its frames tell.
bool IsSame(const AVStream& one, const AVStream& other) {
  return one.id == other.id &&
         (one.codecpar->codec_id == other.codecpar->codec_id || (IsMpegAudio(one) && IsMpegAudio(other)));
}

const AVStream* FindStream(const AVFormatContext& context, const AVStream& wanted) {
  const auto streams = Streams(context);
  const auto found = std::ranges::find_if(streams, [&](const AVStream* stream) { return IsSame(*stream, wanted); });
  return found == streams.end() ? nullptr : *found;
}

void TakeFacts(const AVStream& from, AVStream& to) {
  if (LacksFacts(from) || avcodec_parameters_copy(to.codecpar, from.codecpar) < 0) return;
  to.avg_frame_rate = from.avg_frame_rate;
  to.r_frame_rate = from.r_frame_rate;
  to.sample_aspect_ratio = from.sample_aspect_ratio;
}

// False when it is not known.
bool TakeEnd(const AVStream& from, AVStream& to, AVFormatContext& context) {
  if (from.start_time == AV_NOPTS_VALUE || from.duration == AV_NOPTS_VALUE) return false;
  const std::int64_t end = av_sat_add64(from.start_time, from.duration);
  // The clock may have begun anew in between.
  if (to.start_time != AV_NOPTS_VALUE && end > to.start_time) to.duration = av_sat_sub64(end, to.start_time);
  if (context.start_time == AV_NOPTS_VALUE) return false;
  const std::int64_t end_of_file = av_rescale_q(end, from.time_base, {1, AV_TIME_BASE});
  context.duration = std::max(context.duration, av_sat_sub64(end_of_file, context.start_time));
  return true;
}

}  // namespace

bool LearnFromEnd(BoundedSource& source, std::uint64_t bytes, AVFormatContext& context) {
  const auto size = source.Size();
  if (!size) return false;
  TailSource end(source, *size - std::min(bytes, *size));
  // What is read of the input counts there.
  BoundedSource bounded(end, ReadBudget());
  std::string reason;
  const auto demuxer = Demuxer::Open(bounded, {.demuxer = kTransportStreamDemuxer}, &reason);
  if (!demuxer || !demuxer->Analyse()) return false;
  bool knows_ends = true;
  for (AVStream* stream : Streams(context)) {
    const AVMediaType type = stream->codecpar->codec_type;
    if (type != AVMEDIA_TYPE_VIDEO && type != AVMEDIA_TYPE_AUDIO) continue;
    const AVStream* at_end = FindStream(demuxer->Context(), *stream);
    if (at_end != nullptr && LacksFacts(*stream)) TakeFacts(*at_end, *stream);
    knows_ends = at_end != nullptr && TakeEnd(*at_end, *stream, context) && knows_ends;
  }
  return knows_ends && !LacksFacts(context);
}

}  // namespace media_server::probe
