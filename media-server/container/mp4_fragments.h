#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "media-server/container/mp4_boxes.h"
#include "media-server/container/mp4_movie.h"

namespace media_server {

/// Finds out how long a fragmented file is, at the least cost: by the movie's own word (mehd), by its segment indexes
/// (sidx), by the fragment index at the end (mfra) and the last fragment, or by walking to the last fragment.
class Mp4FragmentTimes {
 public:
  explicit Mp4FragmentTimes(Mp4BoxReader& boxes) : boxes_(boxes) {}

  /// `mvex` of the movie, whose header gave `movie_timescale`.
  void ReadMovieExtends(const Mp4Box& mvex, std::uint32_t movie_timescale);
  void ReadSegmentIndex(const Mp4Box& sidx);
  /// Called for the first `moof` met and for the last one.
  void NoteFragment(const Mp4Box& moof);

  /// Looks for the fragment index at the end of an input of known size; true when it named the last fragment.
  bool FindLastFragmentByIndex(std::uint64_t input_size);

  /// True when the length is known without walking further.
  bool IsKnown() const { return movie_duration_ || index_ticks_ > 0; }

  /// End of the data that the segment indexes name; 0 without one.
  std::uint64_t IndexedEnd() const { return indexed_end_; }

  /// Bits a second of that data; 0 without an index.
  double IndexedBitRate() const;

  /// The length, with the timescales of `tracks` for fragments. Reads the first and last noted fragments if nothing
  /// else tells.
  std::optional<Mp4Duration> Duration(const std::vector<Mp4Track>& tracks);

 private:
  struct TrackDefault {
    std::uint32_t track_id;
    std::uint32_t sample_duration;
  };
  struct TrackSpan {
    std::uint32_t track_id;
    std::uint64_t begin;
    std::uint64_t end;
  };

  std::vector<TrackSpan> ReadFragment(const Mp4Box& moof);
  std::optional<TrackSpan> ReadTrackFragment(const Mp4Box& traf);
  std::uint64_t RunDuration(const Mp4Box& trun, std::uint32_t default_duration);

  Mp4BoxReader& boxes_;
  std::optional<Mp4Duration> movie_duration_;
  std::vector<TrackDefault> defaults_;
  std::uint64_t index_ticks_ = 0;
  std::uint32_t index_timescale_ = 0;
  std::uint64_t indexed_end_ = 0;
  std::uint64_t indexed_bytes_ = 0;
  std::optional<Mp4Box> first_fragment_;
  std::optional<Mp4Box> last_fragment_;
};

}  // namespace media_server
