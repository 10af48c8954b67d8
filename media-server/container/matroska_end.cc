#include "media-server/container/matroska_end.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/ebml.h"
#include "media-server/container/matroska_elements.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

using matroska::kBlock;
using matroska::kBlockGroup;
using matroska::kCluster;
using matroska::kSegment;
using matroska::kSimpleBlock;

// Element ids of RFC 9559, 5.1.
constexpr std::uint32_t kTimestamp = 0xE7;
constexpr std::uint32_t kBlockDuration = 0x9B;
constexpr std::uint32_t kDiscardPadding = 0x75A2;
// Position, PrevSize, CRC-32, Void: with the above, what a cluster may hold.
constexpr std::array<std::uint32_t, 7> kInCluster = {kTimestamp, kSimpleBlock, kBlockGroup, 0xA7, 0xAB, 0xBF, 0xEC};

constexpr std::string_view kClusterId = "\x1F\x43\xB6\x75"sv;
constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();
constexpr int kMostClusters = 1000;
constexpr int kMostElementsOfCluster = 16'384;
constexpr int kMostElementsOfGroup = 16;

struct Place {
  EbmlElement element;
  std::uint64_t content = 0;
  std::uint64_t end = kNoEnd;  // far away where the size is unknown
};

std::optional<Place> PlaceAt(IByteSource& source, std::uint64_t offset) {
  const auto bytes = ReadBytes(source, offset, kLongestEbmlHead);
  ByteReader reader(bytes);
  const auto element = ReadEbmlElement(reader);
  if (!element) return std::nullopt;
  const std::uint64_t content = offset + reader.Position();
  if (!element->size) return Place{*element, content, kNoEnd};
  if (*element->size > kNoEnd - content) return std::nullopt;
  return Place{*element, content, content + *element->size};
}

std::optional<std::uint64_t> NumberIn(IByteSource& source, const Place& place) {
  const std::uint64_t size = place.end - place.content;
  if (size > 8) return std::nullopt;
  const auto bytes = ReadBytes(source, place.content, static_cast<std::size_t>(size));
  return bytes.size() == size ? std::optional(ByteReader(bytes).BigEndian(bytes.size())) : std::nullopt;
}

double SignedNumberIn(IByteSource& source, const Place& place) {
  const std::uint64_t size = place.end - place.content;
  const auto number = NumberIn(source, place);
  if (!number || size == 0) return 0;
  const auto unused_bits = static_cast<unsigned>(64 - 8 * size);
  return static_cast<double>(static_cast<std::int64_t>(*number << unused_bits) >> unused_bits);
}

/// The end of a cluster's frames, in ticks of the file's clock.
class ClusterReader {
 public:
  ClusterReader(IByteSource& source, const MatroskaScan& scan, std::uint64_t input_size)
      : source_(source), scan_(scan), input_size_(input_size) {}

  /// Empty where no cluster with a frame stands at `offset`, or not all of it can be read.
  std::optional<double> ReadEnd(std::uint64_t offset) {
    const auto cluster = PlaceAt(source_, offset);
    if (!cluster || cluster->element.id != kCluster) return std::nullopt;
    const std::uint64_t end = std::min(cluster->end, input_size_);
    offset = cluster->content;
    for (int i = 0; offset < end; ++i) {
      const auto place = PlaceAt(source_, offset);
      const bool is_cut = !place && input_size_ - offset < kLongestEbmlHead;
      const bool is_over = place && std::ranges::find(kInCluster, place->element.id) == kInCluster.end();
      if (is_cut || is_over) break;
      if (!place || i >= kMostElementsOfCluster) return std::nullopt;
      Note(*place);
      offset = place->end;
    }
    return End();
  }

 private:
  struct TrackTimes {
    std::uint64_t number = 0;
    double last = 0;
    std::optional<double> before_last;
    std::optional<double> last_duration;  // told beside the frame
    double padding = 0;                   // at its end, that is not played
  };

  void Note(const Place& place) {
    if (place.element.id == kTimestamp && !begin_) begin_ = NumberIn(source_, place);
    if (place.element.id == kSimpleBlock) NoteFrame(place, /*duration=*/std::nullopt, /*padding=*/0);
    if (place.element.id == kBlockGroup) NoteGroup(place);
  }

  void NoteGroup(const Place& group) {
    std::optional<Place> block;
    std::optional<double> duration;
    double padding = 0;
    std::uint64_t offset = group.content;
    for (int i = 0; i < kMostElementsOfGroup && offset < group.end; ++i) {
      const auto place = PlaceAt(source_, offset);
      if (!place) break;
      if (place->element.id == kBlock) block = place;
      if (place->element.id == kBlockDuration) duration = NumberIn(source_, *place);
      if (place->element.id == kDiscardPadding) padding = SignedNumberIn(source_, *place) / scan_.tick_ns;
      offset = place->end;
    }
    if (block) NoteFrame(*block, duration, padding);
  }

  void NoteFrame(const Place& block, std::optional<double> duration, double padding) {
    const auto bytes = ReadBytes(source_, block.content, kLongestMatroskaBlockHead);
    ByteReader reader(bytes);
    const std::uint64_t number = TakeMatroskaTrackNumber(reader);
    const double since_begin = static_cast<std::int16_t>(reader.Be16());
    if (!reader.Ok() || !begin_) return;
    const double time = static_cast<double>(*begin_) + since_begin;
    auto track = std::ranges::find(tracks_, number, &TrackTimes::number);
    const bool is_new = track == tracks_.end();
    if (is_new && tracks_.size() >= scan_.tracks.size()) return;
    if (is_new) {
      tracks_.push_back({.number = number, .last = time});
      track = tracks_.end() - 1;
    } else if (time > track->last) {
      track->before_last = std::exchange(track->last, time);
    } else {
      if (!track->before_last || time > *track->before_last) track->before_last = time;
      return;  // it is shown in front of another one
    }
    track->last_duration = duration;
    track->padding = padding;
  }

  /// How long the last frame is: what is told, or else as long as the one in front of it.
  double LengthOfLast(const TrackTimes& times) const {
    if (times.last_duration) return *times.last_duration;
    const auto track = std::ranges::find(scan_.tracks, times.number, &MatroskaTrack::number);
    if (track != scan_.tracks.end() && track->frame_ns > 0) return static_cast<double>(track->frame_ns) / scan_.tick_ns;
    return times.before_last ? times.last - *times.before_last : 0;
  }

  std::optional<double> End() const {
    std::optional<double> end;
    for (const TrackTimes& track : tracks_)
      end = std::max(end.value_or(0), track.last + LengthOfLast(track) - track.padding);
    return end;
  }

  IByteSource& source_;
  const MatroskaScan& scan_;
  std::uint64_t input_size_;
  std::optional<std::uint64_t> begin_;
  std::vector<TrackTimes> tracks_;
};

/// Of clusters that begin in the last bytes of the input, the last one with a frame.
std::optional<double> EndOfTail(IByteSource& source, const MatroskaScan& scan, std::uint64_t size) {
  constexpr std::uint64_t kTails[] = {64 * 1024, 256 * 1024, 512 * 1024, kMostOfMatroskaEnd};
  constexpr int kMostFound = 64;  // the letters of a cluster's id may stand in frames
  std::uint64_t searched = size;  // where what has been looked through begins
  int found = 0;
  for (const std::uint64_t tail : kTails) {
    const std::uint64_t begin = size - std::min(size, tail);
    const auto bytes = ReadBytes(source, begin, static_cast<std::size_t>(searched - begin));
    if (bytes.size() < searched - begin) return std::nullopt;
    std::string_view text = AsText(bytes);
    for (std::size_t at = text.rfind(kClusterId); at != std::string_view::npos; at = text.rfind(kClusterId)) {
      if (const auto end = ClusterReader(source, scan, size).ReadEnd(begin + at)) return end;
      if (++found >= kMostFound) return std::nullopt;
      text = text.substr(0, at);
    }
    if (begin == 0) return std::nullopt;
    searched = std::min(size, begin + kClusterId.size() - 1);
  }
  return std::nullopt;
}

/// Of the last cluster, where all in front of it tell their sizes.
std::optional<double> EndOfWalk(IByteSource& source, const MatroskaScan& scan, std::uint64_t size) {
  std::optional<std::uint64_t> last;
  std::uint64_t offset = 0;
  int clusters = 0;
  while (offset < size) {
    const auto place = PlaceAt(source, offset);
    if (!place) return std::nullopt;
    const bool is_segment = place->element.id == kSegment;
    const bool is_cluster = place->element.id == kCluster;
    if (is_cluster && ++clusters > kMostClusters) return std::nullopt;
    if (!is_segment && !place->element.size) return std::nullopt;
    if (is_cluster) last = offset;
    offset = is_segment ? place->content : place->end;
  }
  return last ? ClusterReader(source, scan, size).ReadEnd(*last) : std::nullopt;
}

}  // namespace

std::optional<double> ReadMatroskaEnd(IByteSource& source, const MatroskaScan& scan) {
  const auto size = source.Size();
  if (!size) return std::nullopt;
  auto end = EndOfTail(source, scan, *size);
  if (!end && !source.IsRemote()) end = EndOfWalk(source, scan, *size);
  return end ? std::optional(*end * scan.tick_ns / 1e9) : std::nullopt;
}

}  // namespace media_server
