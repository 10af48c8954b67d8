#include "media-server/probe/demuxer.h"

#include <algorithm>
#include <mutex>
#include <span>
#include <utility>

#include "media-server/container/guess.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/ffmpeg.h"
#include "media_server/refusals.h"

namespace media_server::probe {
namespace {

// Below this score a guess is a false one: of 20,000 files that are no media, those taken for media scored at most 5,
// and real files that no magic number proves scored at least this.
constexpr int kLeastProbeScore = AVPROBE_SCORE_MAX / 4;

// Guessing on content reads this much; more changed no answer on some 340 real files.
constexpr std::int64_t kFormatProbeSize = 64 * 1024;

// Largest single allocation of libavformat. An index of a two-hour file takes 10 MB in one piece; what asks for more
// than this is a forged count or a padding atom.
constexpr std::size_t kLargestAllocation = std::size_t{256} << 20;

constexpr unsigned kMostStreams = 1000;
constexpr int kMostProbePackets = 100;

// Process-wide settings of libav*; ours alone, since the libraries are linked into this one statically.
void SetUpLibraries() {
  static std::once_flag once;
  std::call_once(once, [] {
    av_log_set_level(AV_LOG_QUIET);
    av_max_alloc(kLargestAllocation);
  });
}

int Interrupted(void* opaque) { return static_cast<const BoundedSource*>(opaque)->TimeIsOver() ? 1 : 0; }

// A file may name others (references, playlists); none of them is opened.
int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

const AVInputFormat* FindDemuxer(std::string_view name) {
  return name.empty() ? nullptr : av_find_input_format(std::string(name).c_str());
}

std::string ReasonOf(int error, const BoundedSource& source) {
  if (source.TimeIsOver()) return "takes too long to read";
  if (source.Spent()) return "more would have to be read than is allowed";
  switch (error) {
    case AVERROR_EOF:
      return "file ends early";
    case AVERROR(ENOMEM):
      return "asks for too much memory";
    case AVERROR_PATCHWELCOME:
      return "uses a feature that cannot be read";
    default:
      return "damaged: the header cannot be read";
  }
}

// Who reads content that no mark proves; null, with the reason, where nothing but chance speaks for anybody.
const AVInputFormat* GuessDemuxer(AVFormatContext& context, BoundedSource& source, std::string* reason) {
  const AVInputFormat* format = nullptr;
  const int score = av_probe_input_buffer2(context.pb, &format, /*url=*/"", &context, /*offset=*/0,
                                           static_cast<unsigned>(kFormatProbeSize));
  const bool is_plausible =
      score >= kLeastProbeScore && format != nullptr && IsPlausibleGuess(source, format->name, score);
  if (is_plausible) return format;
  const bool is_read = score >= 0 || score == AVERROR_INVALIDDATA;
  *reason = is_read ? std::string(refusals::kNotMedia) : ReasonOf(score, source);
  return nullptr;
}

class Dictionary {
 public:
  Dictionary() = default;
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;
  ~Dictionary() { av_dict_free(&entries_); }

  void Set(const char* key, const std::string& value) { av_dict_set(&entries_, key, value.c_str(), 0); }
  AVDictionary** Put() { return &entries_; }

 private:
  AVDictionary* entries_ = nullptr;
};

}  // namespace

std::unique_ptr<Demuxer> Demuxer::Open(BoundedSource& source, const DemuxerOptions& options, std::string* reason) {
  SetUpLibraries();
  std::unique_ptr<Demuxer> demuxer(new Demuxer(source));
  FormatContextHandle context(avformat_alloc_context());
  if (!context || demuxer->io_.Context() == nullptr) {
    *reason = "out of memory";
    return nullptr;
  }
  context->pb = demuxer->io_.Context();
  context->flags |= AVFMT_FLAG_CUSTOM_IO;
  context->interrupt_callback = {&Interrupted, &source};
  context->io_open = &RefuseToOpen;
  context->probesize = options.probe_size;
  context->max_probe_packets = kMostProbePackets;
  context->max_streams = static_cast<int>(kMostStreams);

  const AVInputFormat* format = FindDemuxer(options.demuxer);
  if (format == nullptr && (format = GuessDemuxer(*context, source, reason)) == nullptr) return nullptr;
  Dictionary demuxer_options;
  if (!options.decryption_key.empty()) demuxer_options.Set("decryption_key", options.decryption_key);
  AVFormatContext* opened = context.release();
  const int status = avformat_open_input(&opened, /*url=*/"", format, demuxer_options.Put());
  if (status < 0) {  // the context is freed already
    *reason = status == AVERROR_INVALIDDATA && options.demuxer.empty() ? refusals::kNotMedia : ReasonOf(status, source);
    return nullptr;
  }
  demuxer->context_.reset(opened);
  return demuxer;
}

bool Demuxer::Analyse() {
  // Frames are read for their rate unless all rates are known.
  const std::span streams(context_->streams, context_->nb_streams);
  const bool rates_known = std::ranges::all_of(streams, [](const AVStream* stream) {
    return stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || stream->avg_frame_rate.num > 0;
  });
  if (rates_known && context_->iformat->name == kMp4Demuxer) context_->fps_probe_size = 0;
  return avformat_find_stream_info(context_.get(), nullptr) >= 0;
}

}  // namespace media_server::probe
