#include "media-server/probe/container_facts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>

#include "media-server/container/amr.h"
#include "media-server/container/dsf.h"
#include "media-server/container/flac_end.h"
#include "media-server/container/id3v2.h"
#include "media-server/container/transport_scrambling.h"
#include "media-server/container/truncation.h"
#include "media-server/container/wavpack.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

constexpr std::string_view kStackedAlphaBrand = "AMP4";

std::optional<std::int32_t> WholePixels(double numerator, double denominator) {
  const double value = std::round(numerator / denominator);
  if (!(std::abs(value) <= std::numeric_limits<std::int32_t>::max())) return std::nullopt;  // also when a part is 0
  return static_cast<std::int32_t>(value);
}

std::optional<TrackFacts::CleanAperture> InWholePixels(const Mp4CleanAperture& aperture) {
  const auto width = WholePixels(aperture.width_n, aperture.width_d);
  const auto height = WholePixels(aperture.height_n, aperture.height_d);
  const auto x_offset = WholePixels(aperture.horizontal_offset_n, aperture.horizontal_offset_d);
  const auto y_offset = WholePixels(aperture.vertical_offset_n, aperture.vertical_offset_d);
  if (!width || !height || !x_offset || !y_offset) return std::nullopt;
  return TrackFacts::CleanAperture{*width, *height, *x_offset, *y_offset};
}

bool TellsLanguage(std::string_view language) { return !language.empty() && language != "und"; }

TrackFacts FactsOfTrack(const Mp4Track& track) {
  TrackFacts facts;
  // libavformat passes over the extended language tag, which stands in for the packed one (ISO/IEC 14496-12, 8.4.6).
  if (TellsLanguage(track.language)) facts.language = track.language;
  facts.encrypted = track.is_protected;
  if (track.clean_aperture) facts.clean_aperture = InWholePixels(*track.clean_aperture);
  const auto& times = track.decoding_times;
  if (times && times->complete && times->smallest_delta > 0 && track.duration) {
    facts.max_frame_rate = static_cast<double>(track.duration->timescale) / times->smallest_delta;
    facts.constant_frame_rate = times->constant;
  }
  return facts;
}

// libavformat passes over it, and takes a track for English of which nothing else is told. Most writers tell both; the
// other one is what they had before.
std::optional<std::string> LanguageBesideIso639(const MatroskaTrack& track) {
  const bool told_otherwise = TellsLanguage(track.language);
  return TellsLanguage(track.language_tag) && !told_otherwise ? std::optional(track.language_tag) : std::nullopt;
}

// libavformat passes over tracks of other types, such as buttons, and over those whose codec is none of their type.
bool HasStream(const MatroskaTrack& track) {
  struct Row {
    std::uint64_t type;  // RFC 9559, 5.1.4.1.3
    std::string_view first_letters;
  };
  constexpr Row kRows[] = {{1, "V"}, {2, "A"}, {0x11, "SD"}, {0x21, "SD"}};
  const auto* row = std::ranges::find(kRows, track.type, &Row::type);
  return row != std::end(kRows) && !track.codec_id.empty() &&
         row->first_letters.find(track.codec_id.front()) != std::string_view::npos;
}

// libavformat's streams of a Matroska file are its tracks, in their order.
const MatroskaTrack* TrackBehind(const MatroskaScan& scan, const AVStream& stream) {
  int index = 0;
  for (const MatroskaTrack& track : scan.tracks) {
    if (HasStream(track) && index++ == stream.index) return &track;
  }
  return nullptr;
}

TrackFacts FactsOfTrack(const MatroskaScan& scan, const AVStream& stream) {
  TrackFacts facts;
  const MatroskaTrack* track = TrackBehind(scan, stream);
  if (track == nullptr) return facts;
  facts.encrypted = track->encrypted;
  facts.id = static_cast<std::uint32_t>(track->number);
  facts.language = LanguageBesideIso639(*track);
  return facts;
}

// Every object of an FLV file belongs to the one stream of its type, which is all the id that a stream has there (FLV
// specification, E.4.1: 8 sound, 9 pictures, 18 data).
TrackFacts FactsOfFlvStream(const AVStream& stream) {
  TrackFacts facts;
  switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_AUDIO:
      facts.id = 8;
      break;
    case AVMEDIA_TYPE_VIDEO:
      facts.id = 9;
      break;
    default:
      facts.id = 18;
  }
  return facts;
}

TrackFacts FactsOfAsfStream(std::span<const AsfFrameTime> frame_times, bool is_protected, const AVStream& stream) {
  TrackFacts facts;
  facts.encrypted = is_protected;
  const auto told =
      std::ranges::find(frame_times, stream.id, [](const AsfFrameTime& time) { return time.stream_number; });
  if (told != frame_times.end()) facts.frame_rate = told->FramesPerSecond();
  return facts;
}

TrackFacts FactsOfScrambledStream(std::span<const std::uint16_t> pids, const AVStream& stream) {
  TrackFacts facts;
  facts.encrypted = std::ranges::find(pids, stream.id) != pids.end();
  return facts;
}

// libavformat has them as signed numbers. Without one it counts to a thousand million for each run of samples.
bool HasNumber(const Mp4Track& track) { return track.id != 0 && track.id <= std::numeric_limits<std::int32_t>::max(); }

ContainerFacts FactsOfMp4(IByteSource& source) {
  ContainerFacts facts;
  facts.movie = ReadMp4Movie(source);
  const Mp4Movie& movie = *facts.movie;
  facts.truncated = movie.truncated;
  if (movie.MoovMissing()) facts.refusal = "file ends early: its index, which is written last, is missing";
  if (!std::ranges::all_of(movie.tracks, &Mp4Track::plausible)) {
    // Tables that the end of the file cuts off claim too much as well.
    facts.refusal = movie.truncated ? "file ends early" : "damaged: claims more samples than it can hold";
  }
  if (movie.has_fragments && !std::ranges::all_of(movie.tracks, &HasNumber)) {
    facts.refusal = movie.truncated ? "file ends early" : "damaged: a track has no number";
  }
  return facts;
}

ContainerFacts FactsOfMatroska(IByteSource& source) {
  ContainerFacts facts;
  facts.matroska = ScanMatroska(source);
  facts.truncated = facts.matroska->truncated;
  return facts;
}

std::string DateOf(const RiffBroadcast& broadcast) {
  return broadcast.origination_date + " " + broadcast.origination_time;
}

ContainerFacts FactsOfRiff(IByteSource& source) {
  RiffScan scan = ScanRiff(source);
  ContainerFacts facts;
  facts.truncated = scan.truncated;
  facts.padded_samples = scan.padded_samples;
  facts.may_be_dts = scan.has_dts_sync;
  facts.aigc = std::move(scan.aigc).value_or("");
  facts.xmp = std::move(scan.xmp).value_or("");
  facts.sound_to_end = scan.endless_data ? scan.endless_data : scan.cut_data;
  if (scan.broadcast) facts.date = DateOf(*scan.broadcast);
  return facts;
}

ContainerFacts FactsOfAsf(IByteSource& source) {
  ContainerFacts facts;
  facts.truncated = EndsEarly(source, "asf");
  if (const auto properties = ReadAsfFileProperties(source)) {
    facts.created = properties->creation_unix_s;
    facts.told_seconds = properties->duration_s;
  }
  facts.frame_times = ReadAsfFrameTimes(source);
  facts.is_protected_asf = IsProtectedAsf(source);
  return facts;
}

// Of the tags at the end of a file ID3v1 has room for thirty letters of a text.
ContainerFacts FactsOfMpegAudio(IByteSource& source) {
  ContainerFacts facts;
  facts.id3v1 = ReadId3v1(source);
  if (SkipId3v2(source) == 0) facts.ape_texts = ReadApeTag(source);
  return facts;
}

// What one reader tells, where that is all.
template <auto kField, auto kRead>
ContainerFacts FactOf(IByteSource& source) {
  ContainerFacts facts;
  facts.*kField = kRead(source);
  return facts;
}

ContainerFacts FactsOfDsf(IByteSource& source) {
  ContainerFacts facts;
  facts.truncated = EndsEarly(source, "dsf");
  facts.sound_seconds = ReadDsfSeconds(source);
  return facts;
}

struct Reader {
  std::string_view demuxer;
  ContainerFacts (*read)(IByteSource& source);
};

constexpr Reader kReaders[] = {
    {"mov", &FactsOfMp4},
    {"matroska", &FactsOfMatroska},
    {"wav", &FactsOfRiff},
    {"avi", &FactsOfRiff},
    {"asf", &FactsOfAsf},
    {"mp3", &FactsOfMpegAudio},
    {"amr", &FactOf<&ContainerFacts::sound_seconds, &ReadAmrSeconds>},
    {"mpegts", &FactOf<&ContainerFacts::scrambled_pids, &ReadScrambledPids>},
    {"ogg", &FactOf<&ContainerFacts::ogg_chain, &ReadOggChain>},
    {"dsf", &FactsOfDsf},
    {"flac", &FactOf<&ContainerFacts::sound_seconds, &ReadFlacSeconds>},
    {"wv", &FactOf<&ContainerFacts::is_lossless, &IsLosslessWavPack>},
};

}  // namespace

bool ContainerFacts::HasStackedAlpha() const {
  return movie && (movie->major_brand == kStackedAlphaBrand ||
                   std::ranges::find(movie->compatible_brands, kStackedAlphaBrand) != movie->compatible_brands.end());
}

// Scrambled packets of a transport stream do not count: with their heads scrambled, too, none of them reaches a
// decoder.
bool ContainerFacts::AnyEncrypted() const {
  return is_protected_asf || (movie && std::ranges::any_of(movie->tracks, &Mp4Track::is_protected)) ||
         (matroska && std::ranges::any_of(matroska->tracks, &MatroskaTrack::encrypted));
}

TrackFacts ContainerFacts::FactsOf(const AVStream& stream) const {
  if (matroska) return FactsOfTrack(*matroska, stream);
  if (is_flv) return FactsOfFlvStream(stream);
  if (!frame_times.empty() || is_protected_asf) return FactsOfAsfStream(frame_times, is_protected_asf, stream);
  if (is_lossless) return {.lossless = is_lossless};
  if (!scrambled_pids.empty()) return FactsOfScrambledStream(scrambled_pids, stream);
  const Mp4Track* track = TrackOf(stream);
  return track != nullptr ? FactsOfTrack(*track) : TrackFacts();
}

const Mp4Track* ContainerFacts::TrackOf(const AVStream& stream) const {
  if (!movie) return nullptr;
  const auto track = std::ranges::find(movie->tracks, static_cast<std::uint32_t>(stream.id), &Mp4Track::id);
  return track != movie->tracks.end() ? &*track : nullptr;
}

ContainerFacts ReadContainerFacts(IByteSource& source, std::string_view demuxer) {
  const auto* reader = std::ranges::find(kReaders, demuxer, &Reader::demuxer);
  if (reader != std::end(kReaders)) return reader->read(source);
  ContainerFacts facts;
  facts.is_flv = demuxer == "flv";
  facts.truncated = EndsEarly(source, demuxer);
  return facts;
}

}  // namespace media_server::probe
