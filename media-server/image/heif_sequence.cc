#include "media-server/image/heif_sequence.h"

#include <algorithm>
#include <numeric>

#include "media-server/container/mp4_movie.h"
#include "media-server/image/alpha_type.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/orientation.h"

namespace media_server::image {
namespace {

constexpr Mp4BoxLimits kLimits = {.boxes = 4096, .bytes = 32 * 1024};

/// A single picture stands still, however long it is shown.
std::optional<Animation> AnimationOf(const Mp4Movie& movie, const Mp4Track& track) {
  if (track.sample_count == 1) return std::nullopt;
  const auto duration = track.duration            ? track.duration
                        : movie.fragment_duration ? movie.fragment_duration
                                                  : movie.duration;
  if (!duration) return std::nullopt;
  Animation animation;
  animation.duration_s = duration->Seconds();
  const auto& times = track.decoding_times;
  if (times && times->constant && times->complete && times->smallest_delta > 0 && track.timescale > 0) {
    const std::uint32_t divisor = std::gcd(track.timescale, times->smallest_delta);
    animation.frame_rate = core::Rational{track.timescale / divisor, times->smallest_delta / divisor};
  }
  return animation;
}

}  // namespace

void ReadHeifSequence(IByteSource& source, PictureHeaders& headers) {
  const Mp4Movie movie = ReadMp4Movie(source, kLimits);
  const auto track = std::ranges::find_if(
      movie.tracks, [](const Mp4Track& each) { return each.handler == "pict" || each.handler == "vide"; });
  if (track == movie.tracks.end()) return;
  headers.animation = AnimationOf(movie, *track);
  headers.metadata.created = movie.times.creation_unix_s;
  headers.metadata.modified = movie.times.modification_unix_s;
  if (headers.size) return;
  headers.size = PictureSize{track->width, track->height};
  headers.orientation = track->turn ? std::optional(OrientationFromTurn(*track->turn)) : std::nullopt;
  if (track->sample_entry.size() == 4) headers.fourcc = FourCC(track->sample_entry);
  const bool has_alpha = std::ranges::any_of(
      movie.tracks, [](const Mp4Track& each) { return each.handler == "auxv" && IsAlphaType(each.auxiliary_type); });
  headers.alpha = has_alpha ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

}  // namespace media_server::image
