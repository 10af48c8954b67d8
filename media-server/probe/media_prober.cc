#include "media-server/probe/media_prober.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "core/log.h"
#include "media-server/container/format_identity.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/codec_tags.h"
#include "media-server/probe/container_facts.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/picture_describer.h"
#include "media-server/probe/picture_header.h"
#include "media-server/probe/program_describer.h"
#include "media-server/probe/sample_reader.h"
#include "media-server/probe/sound_describer.h"
#include "media-server/probe/tag_reader.h"
#include "media-server/probe/timing.h"
#include "platform/text.h"

namespace media_server::probe {
namespace {

// Analysis limits in turn: the first is enough for nearly every file; at some 300 Mb/s pictures and sound first appear
// later.
constexpr std::int64_t kProbeSizes[] = {500'000, 10'000'000};

std::string_view RefusalOf(ContentKind kind) {
  switch (kind) {
    case ContentKind::kStillImage:
      return "a still image, not a media file";
    case ContentKind::kSvg:
      return "an SVG image, not a media file";
    default:
      return "not a media file";
  }
}

bool IsCover(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

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

bool LacksFacts(const AVFormatContext& context) {
  return std::ranges::any_of(std::span(context.streams, context.nb_streams), [](const AVStream* stream) {
    const AVCodecParameters& codec = *stream->codecpar;
    switch (codec.codec_type) {
      case AVMEDIA_TYPE_VIDEO:
        return !IsCover(*stream) && (codec.width <= 0 || FrameRate(*stream) == 0);
      case AVMEDIA_TYPE_AUDIO:
        return codec.sample_rate <= 0;
      default:
        return false;
    }
  });
}

// Opens the file and reads as far as its streams' facts need. libavformat cannot analyse twice, so more is read by
// opening anew.
std::unique_ptr<Demuxer> OpenAndAnalyse(BoundedSource& source, DemuxerOptions options, bool may_analyse,
                                        std::string* reason) {
  std::unique_ptr<Demuxer> demuxer;
  for (const std::int64_t probe_size : kProbeSizes) {
    options.probe_size = probe_size;
    auto opened = Demuxer::Open(source, options, reason);
    if (!opened) break;
    demuxer = std::move(opened);
    if (!may_analyse || !NeedsAnalysis(demuxer->Context())) break;
    demuxer->Analyse();
    const bool all_read = source.Size().value_or(0) <= static_cast<std::uint64_t>(probe_size);
    if (all_read || !LacksFacts(demuxer->Context())) break;
  }
  return demuxer;
}

// A 128-bit key as hexadecimal text.
bool IsDecryptionKey(const std::string& key) {
  return key.size() == 32 && key.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

std::uint32_t Saturated(std::uint64_t value) {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

StreamDescription DescribeStream(const AVFormatContext& context, const AVStream& stream, StreamKind kind,
                                 const PictureFacts& facts, double file_duration) {
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
  if (kind == StreamKind::kPicture && stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
    DescribePicture(stream, facts, description);
  } else if (kind == StreamKind::kSound) {
    DescribeSound(stream, facts.track.encrypted, description);
  }
  return description;
}

void DescribeStreams(const AVFormatContext& context, IByteSource& source, const ContainerFacts& container,
                     MediaDescription& media) {
  const SampleReader samples(context, source);
  for (AVStream* stream : std::span(context.streams, context.nb_streams)) {
    const auto kind = KindOf(*stream, stream->codecpar->codec_tag);
    if (!kind) continue;
    PictureFacts facts{.header = {}, .track = container.FactsOf(*stream), .file_is_truncated = container.truncated};
    if (kind == StreamKind::kPicture) facts.header = ReadPictureHeader(*stream, samples);
    media.streams.push_back(DescribeStream(context, *stream, *kind, facts, media.duration));
  }
}

std::uint32_t FourCCOf(std::string_view short_name, const ContainerFacts& container) {
  if (container.HasStackedAlpha()) return kStackedAlphaMp4;
  if (short_name == "mpegts") short_name = "ts";  // as its files are named
  if (short_name == "mpegps") short_name = "ps";
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const char letter = i < short_name.size() ? short_name[i] : ' ';
    const char upper = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    code |= std::uint32_t{static_cast<unsigned char>(upper)} << (8 * i);
  }
  return code;
}

void DescribeFormat(const AVFormatContext& context, const std::optional<FormatIdentity>& identity,
                    const ContainerFacts& container, MediaDescription& media) {
  const std::string_view demuxer = context.iformat->name;
  FormatNames names{demuxer.substr(0, demuxer.find(',')), context.iformat->long_name};
  if (const auto known = NamesOfDemuxer(demuxer)) names = *known;
  if (identity && !identity->names.short_name.empty()) names = identity->names;
  media.format_name = names.short_name;
  media.format_long_name = names.long_name;
  media.format_fourcc = FourCCOf(names.short_name, container);
}

}  // namespace

std::unique_ptr<MediaDescription> ProbeMedia(BoundedSource& source, const std::string& decryption_key,
                                             std::string* reason) {
  const auto size = source.Size();
  if (size == 0) {
    *reason = "empty file";
    return nullptr;
  }
  const auto identity = IdentifyFormat(source);
  if (identity && identity->kind != ContentKind::kMedia) {
    *reason = RefusalOf(identity->kind);
    return nullptr;
  }

  const std::string_view named_demuxer = identity ? identity->demuxer : std::string_view();
  const ContainerFacts container = ReadContainerFacts(source, named_demuxer);
  if (container.refusal) {
    *reason = *container.refusal;
    return nullptr;
  }
  const bool encrypted = container.AnyEncrypted();
  if (encrypted && !decryption_key.empty() && !IsDecryptionKey(decryption_key)) {
    *reason = "the decryption key is malformed: 32 hexadecimal digits are wanted";
    CoreLogPrint("media server", kCoreLogError, "%s", reason->c_str());
    return nullptr;
  }
  // The key is for protected files only: libavformat refuses to open others with it. Analysis would hand scrambled
  // samples to decoders, which may invent facts.
  const auto demuxer =
      OpenAndAnalyse(source, {.demuxer = named_demuxer, .decryption_key = encrypted ? decryption_key : ""},
                     /*may_analyse=*/!encrypted, reason);
  if (!demuxer) return nullptr;

  const AVFormatContext& context = demuxer->Context();
  auto media = std::make_unique<MediaDescription>();
  media->file_size = size.value_or(0);
  media->duration = FileDuration(context);
  media->bit_rate = FileBitRate(context, size, media->duration);
  DescribeFormat(context, identity, container, *media);
  media->tags = ReadTags(context, container);
  media->date_text = CombinedDateText(media->tags.created, media->tags.modified);
  DescribeStreams(context, source, container, *media);
  if (media->streams.empty()) {
    *reason = "not a media file";
    return nullptr;
  }
  DescribePrograms(context, *media);
  return media;
}

}  // namespace media_server::probe
