#include "media-server/probe/media_prober.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/log.h"
#include "media-server/container/flac_blocks.h"
#include "media-server/container/format_identity.h"
#include "media-server/container/id3v2.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/container_facts.h"
#include "media-server/probe/corrected_times.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/late_streams.h"
#include "media-server/probe/program_describer.h"
#include "media-server/probe/stream_describer.h"
#include "media-server/probe/tag_reader.h"
#include "media-server/probe/timing.h"
#include "media_server/refusals.h"

namespace media_server::probe {
namespace {

// Analysis limits in turn: the first is enough for nearly every file; at some 300 Mb/s pictures and sound first appear
// later.
constexpr std::int64_t kProbeSizes[] = {500'000, 10'000'000};

// Bytes that may be read of a container of which nothing describes the whole file at one place.
struct ByteLimit {
  std::string_view demuxer;
  std::uint64_t bytes;
  bool goes_back;  // to the start, when it has looked at the end, and to the end for what the start did not tell
};
constexpr ByteLimit kByteLimits[] = {{"matroska", std::uint64_t{1} << 20, /*goes_back=*/false},
                                     {kTransportStreamDemuxer, std::uint64_t{1} << 20, /*goes_back=*/true}};

// What is looked at of the end of a transport stream for what its start did not tell. Of the first libavformat has read
// the most by then, for the latest time.
constexpr std::array<std::uint64_t, 3> kEndsOfTransportStream = {250'000, 500'000, 1'000'000};

// libavformat reads covers whole.
constexpr std::uint64_t kMostOfCovers = std::uint64_t{32} << 20;

// libavformat takes the sizes of frames for those that they have in the file.
void ResynchroniseTag(BoundedSource& source) {
  if (std::string tag = ResynchronisedId3v2(source); !tag.empty()) source.Replace(0, std::move(tag));
}

void LimitBytes(std::string_view demuxer, BoundedSource& source) {
  if (const std::uint64_t covers = LargeId3v2Frames(source); covers > 0) {
    source.Limit(ReadBudget().bytes + std::min(covers, kMostOfCovers));
  }
  const auto* limit = std::ranges::find(kByteLimits, demuxer, &ByteLimit::demuxer);
  if (limit != std::end(kByteLimits)) {
    source.Limit(limit->bytes);
    if (limit->goes_back) {
      source.KeepStart(limit->bytes);
      source.KeepEnd(kEndsOfTransportStream.back());
    }
  }
  if (demuxer == "flac") source.Limit(ReadBudget().bytes + FlacMetadataSize(source));
}

// Fragments describe the file as well, but lie all over it: their times are known without them where there is an index.
constexpr std::uint64_t kMostOfFragments = std::uint64_t{8} << 20;

// Of an MP4 file besides the boxes that describe it. A part is kept for the starts of samples, which are read last.
constexpr std::uint64_t kMostBesideMp4Boxes = 64 * 1024;
constexpr std::uint64_t kSampleStarts = 12 * 1024;

std::uint64_t MostBytesOf(const Mp4Movie& movie) {
  return movie.has_fragments ? kMostOfFragments : kMostBesideMp4Boxes;
}

// libavformat counts from the first sample on and each sample once. Edits are rounded to the movie's ticks: what is
// less than one longer is no longer.
void LengthenByEdits(const Mp4Movie& movie, double& duration) {
  if (movie.has_fragments || movie.timescale == 0) return;
  const double edited = movie.EditedSeconds();
  if (edited > duration + 1.0 / movie.timescale) duration = edited;
}

// libavformat gives a file up whose clean aperture is larger than its picture. What it makes of others nobody asks for:
// our reader has read them.
void HideCleanApertures(const Mp4Movie& movie, BoundedSource& source) {
  constexpr std::uint64_t kType = 4;  // behind the size
  for (const Mp4Track& track : movie.tracks) {
    if (track.clean_aperture) source.Replace(track.clean_aperture->box_offset + kType, "free");
  }
}

// libavformat makes an entry for each sample, some 100 ns and 50 bytes; a film of two hours has half a million.
void ShortenIndexes(const Mp4Movie& movie, BoundedSource& source) {
  if (movie.has_fragments) return;
  for (const Mp4Track& track : movie.tracks) {
    if (!track.index_cut) continue;
    for (const auto& [offset, value] : track.index_cut->counts) {
      std::string bytes;
      for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>(value >> shift & 0xFF);
      source.Replace(offset, std::move(bytes));
    }
  }
}

std::string_view RefusalOf(ContentKind kind) {
  switch (kind) {
    case ContentKind::kStillImage:
      return refusals::kStillImage;
    case ContentKind::kSvg:
      return refusals::kSvg;
    default:
      return refusals::kNotMedia;
  }
}

bool LearnFromEnds(BoundedSource& source, AVFormatContext& context) {
  return std::ranges::any_of(kEndsOfTransportStream, [&](std::uint64_t bytes) {
    // As much more as this end has more than the one before, which is held.
    source.Limit(source.BytesRead() + bytes / 2);
    return LearnFromEnd(source, bytes, context);
  });
}

enum class Analysis : std::uint8_t { kNever, kWhereNeeded, kAlways };

// Analysis would hand scrambled samples to decoders, which may invent facts.
Analysis AnalysisOf(const ContainerFacts& container) {
  if (container.AnyEncrypted()) return Analysis::kNever;
  return container.may_be_dts ? Analysis::kAlways : Analysis::kWhereNeeded;
}

// Opens the file and reads as far as its streams' facts need. libavformat cannot analyse twice, so more is read by
// opening anew. What the first limit was too small for is worth the budget of files that nothing describes.
std::unique_ptr<Demuxer> OpenAndAnalyse(BoundedSource& source, DemuxerOptions options, Analysis analysis,
                                        std::string* reason) {
  std::unique_ptr<Demuxer> demuxer;
  for (const std::int64_t probe_size : kProbeSizes) {
    options.probe_size = probe_size;
    auto opened = Demuxer::Open(source, options, reason);
    if (!opened) break;
    demuxer = std::move(opened);
    if (analysis == Analysis::kNever) break;
    if (analysis == Analysis::kWhereNeeded && !NeedsAnalysis(demuxer->Context())) break;
    demuxer->Analyse();
    const bool all_read = source.Size().value_or(0) <= static_cast<std::uint64_t>(probe_size);
    if (all_read || !LacksFacts(demuxer->Context())) break;
    if (options.demuxer == kTransportStreamDemuxer && LearnFromEnds(source, demuxer->Context())) break;
    source.Limit(ReadBudget().bytes);
  }
  return demuxer;
}

// A 128-bit key as hexadecimal text.
bool IsDecryptionKey(const std::string& key) {
  return key.size() == 32 && key.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
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
  ResynchroniseTag(source);
  LimitBytes(named_demuxer, source);
  const ContainerFacts container = ReadContainerFacts(source, named_demuxer);
  if (container.movie) {
    source.Limit(MostBytesOf(*container.movie) - kSampleStarts);
    HideCleanApertures(*container.movie, source);
    ShortenIndexes(*container.movie, source);
  }
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
  // The key is for protected files only: libavformat refuses to open others with it.
  const auto demuxer =
      OpenAndAnalyse(source, {.demuxer = named_demuxer, .decryption_key = encrypted ? decryption_key : ""},
                     AnalysisOf(container), reason);
  if (!demuxer) {
    if (container.truncated.value_or(false)) *reason = "file ends early";
    return nullptr;
  }

  AVFormatContext& context = demuxer->Context();
  CorrectTimes(container, source, context);
  auto media = std::make_unique<MediaDescription>();
  media->file_size = size.value_or(0);
  media->duration = FileDuration(context, size);
  if (container.movie) LengthenByEdits(*container.movie, media->duration);
  media->bit_rate = FileBitRate(context, size, media->duration);
  DescribeFormat(context, identity, container, *media);
  media->tags = ReadTags(context, container);
  media->date_text = CombinedDateText(media->tags.created, media->tags.modified);
  if (container.movie) source.Limit(MostBytesOf(*container.movie));
  DescribeStreams(context, source, container, *media);
  if (media->streams.empty()) {
    *reason = container.truncated.value_or(false) ? "file ends early" : refusals::kNotMedia;
    return nullptr;
  }
  DescribePrograms(context, *media);
  return media;
}

}  // namespace media_server::probe
