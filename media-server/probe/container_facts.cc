#include "media-server/probe/container_facts.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

constexpr std::string_view kStackedAlphaBrand = "AMP4";

bool IsProtected(const Mp4Track& track) { return track.encryption && track.encryption->is_protected; }

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

TrackFacts FactsOfTrack(const Mp4Track& track) {
  TrackFacts facts;
  facts.encrypted = IsProtected(track);
  if (track.clean_aperture) facts.clean_aperture = InWholePixels(*track.clean_aperture);
  const auto& times = track.decoding_times;
  if (times && times->complete && times->smallest_delta > 0 && track.duration) {
    facts.max_frame_rate = static_cast<double>(track.duration->timescale) / times->smallest_delta;
    facts.constant_frame_rate = times->constant;
  }
  return facts;
}

ContainerFacts FactsOfMp4(IByteSource& source) {
  ContainerFacts facts;
  facts.movie = ReadMp4Movie(source);
  const Mp4Movie& movie = *facts.movie;
  facts.truncated = movie.truncated;
  if (movie.MoovMissing()) facts.refusal = "file ends early: its index, which is written last, is missing";
  if (!std::ranges::all_of(movie.tracks, &Mp4Track::plausible)) {
    facts.refusal = "damaged: claims more samples than it can hold";
  }
  return facts;
}

struct Reader {
  std::string_view demuxer;
  ContainerFacts (*read)(IByteSource& source);
};

constexpr Reader kReaders[] = {
    {"mov", &FactsOfMp4},
};

}  // namespace

bool ContainerFacts::HasStackedAlpha() const {
  return movie && (movie->major_brand == kStackedAlphaBrand ||
                   std::ranges::find(movie->compatible_brands, kStackedAlphaBrand) != movie->compatible_brands.end());
}

bool ContainerFacts::AnyEncrypted() const { return movie && std::ranges::any_of(movie->tracks, &IsProtected); }

TrackFacts ContainerFacts::FactsOf(const AVStream& stream) const {
  if (!movie) return {};
  const auto track = std::ranges::find(movie->tracks, static_cast<std::uint32_t>(stream.id), &Mp4Track::id);
  return track != movie->tracks.end() ? FactsOfTrack(*track) : TrackFacts();
}

ContainerFacts ReadContainerFacts(IByteSource& source, std::string_view demuxer) {
  const auto* reader = std::ranges::find(kReaders, demuxer, &Reader::demuxer);
  return reader != std::end(kReaders) ? reader->read(source) : ContainerFacts();
}

}  // namespace media_server::probe
