#include "media-server/container/mp4_fragments.h"

#include <algorithm>

#include "media-server/container/byte_reader.h"
#include "media-server/container/saturating_add.h"

namespace media_server {

void Mp4FragmentTimes::ReadMovieExtends(const Mp4Box& mvex, std::uint32_t movie_timescale) {
  constexpr std::size_t kMostDefaults = 1024;
  Mp4BoxRange range = boxes_.Children(mvex);
  while (const auto box = boxes_.Next(range)) {
    const auto bytes = boxes_.Payload(*box, 24);
    ByteReader reader(bytes);
    const std::uint8_t version = reader.U8();
    reader.Skip(3);
    if (box->Is("mehd")) {
      const std::uint64_t duration = reader.BigEndian(version == 0 ? 4 : 8);
      if (reader.Ok() && duration != 0 && movie_timescale != 0)
        movie_duration_ = Mp4Duration{duration, movie_timescale};
    } else if (box->Is("trex") && defaults_.size() < kMostDefaults) {
      const std::uint32_t track_id = reader.Be32();
      reader.Skip(4);  // sample description
      const std::uint32_t sample_duration = reader.Be32();
      if (reader.Ok()) defaults_.push_back({track_id, sample_duration});
    }
  }
}

/// ISO/IEC 14496-12 8.16.3. Some files have one index for all, some one in front of every segment: the sum over those
/// that begin behind what the earlier ones cover is right for both, and for an index of indexes too.
void Mp4FragmentTimes::ReadSegmentIndex(const Mp4Box& sidx) {
  constexpr std::size_t kMostBytes = std::size_t{1} << 20;
  if (sidx.offset < indexed_end_) return;
  const auto bytes = boxes_.Payload(sidx, kMostBytes);
  ByteReader reader(bytes);
  const std::uint8_t version = reader.U8();
  reader.Skip(3 + 4);  // flags, reference id
  const std::uint32_t timescale = reader.Be32();
  const std::size_t width = version == 0 ? 4 : 8;
  reader.Skip(width);  // earliest presentation time
  const std::uint64_t first_offset = reader.BigEndian(width);
  reader.Skip(2);
  const std::uint16_t count = reader.Be16();
  if (!reader.Ok() || timescale == 0 || (index_timescale_ != 0 && timescale != index_timescale_)) return;

  std::uint64_t ticks = 0;
  std::uint64_t bytes_of_all = 0;
  for (std::uint16_t i = 0; i < count; ++i) {
    const std::uint32_t size = reader.Be32() & 0x7FFFFFFF;  // the top bit marks an index of indexes
    ticks += reader.Be32();
    reader.Skip(4);
    bytes_of_all += size;
  }
  if (!reader.Ok()) return;
  index_timescale_ = timescale;
  index_ticks_ = SaturatingAdd(index_ticks_, ticks);
  indexed_bytes_ += bytes_of_all;
  indexed_end_ = SaturatingAdd(SaturatingAdd(sidx.payload_offset + sidx.payload_size, first_offset), bytes_of_all);
}

void Mp4FragmentTimes::NoteFragment(const Mp4Box& moof) {
  if (!first_fragment_) first_fragment_ = moof;
  last_fragment_ = moof;
}

bool Mp4FragmentTimes::FindLastFragmentByIndex(std::uint64_t input_size) {
  constexpr std::uint64_t kOffsetBoxSize = 16;  // mfro: it ends the file and gives the size of the mfra around it
  if (input_size < kOffsetBoxSize) return false;
  Mp4BoxRange end{input_size - kOffsetBoxSize, input_size, 0};
  const auto mfro = boxes_.Next(end);
  if (!mfro || !mfro->Is("mfro")) return false;
  const std::uint32_t index_size = ByteReader(boxes_.Payload(*mfro, 4, /*skip=*/4)).Be32();
  if (index_size < kOffsetBoxSize || index_size > input_size) return false;

  Mp4BoxRange at_index{input_size - index_size, input_size, 0};
  const auto mfra = boxes_.Next(at_index);
  if (!mfra || !mfra->Is("mfra")) return false;
  std::uint64_t last_offset = 0;
  Mp4BoxRange range = boxes_.Children(*mfra);
  while (const auto tfra = boxes_.Next(range)) {
    if (!tfra->Is("tfra")) continue;
    const auto head = boxes_.Payload(*tfra, 16);
    ByteReader reader(head);
    const std::size_t width = reader.U8() == 0 ? 4 : 8;
    reader.Skip(3 + 4);  // flags, track id
    const std::uint32_t number_widths = reader.Be32();
    const std::uint32_t count = reader.Be32();
    if (!reader.Ok() || count == 0) continue;
    const std::uint64_t entry_size =
        2 * width + (number_widths & 3) + (number_widths >> 2 & 3) + (number_widths >> 4 & 3) + 3;
    const auto entry = boxes_.Payload(*tfra, 2 * width, 16 + (std::uint64_t{count} - 1) * entry_size);
    ByteReader last(entry);
    last.Skip(width);  // time
    last_offset = std::max(last_offset, last.BigEndian(width));
  }
  Mp4BoxRange at_fragment{last_offset, input_size, 0};
  const auto moof = boxes_.Next(at_fragment);
  if (last_offset == 0 || !moof || !moof->Is("moof")) return false;
  NoteFragment(*moof);
  return true;
}

double Mp4FragmentTimes::IndexedBitRate() const {
  if (index_ticks_ == 0) return 0;
  return 8.0 * static_cast<double>(indexed_bytes_) / Mp4Duration{index_ticks_, index_timescale_}.Seconds();
}

std::optional<Mp4Duration> Mp4FragmentTimes::Duration(const std::vector<Mp4Track>& tracks) {
  if (movie_duration_) return movie_duration_;
  if (index_ticks_ > 0) return Mp4Duration{index_ticks_, index_timescale_};
  if (!first_fragment_) return std::nullopt;

  const std::vector<TrackSpan> first = ReadFragment(*first_fragment_);
  std::optional<Mp4Duration> longest;
  for (const TrackSpan& last : ReadFragment(*last_fragment_)) {
    const auto track = std::ranges::find(tracks, last.track_id, &Mp4Track::id);
    const auto begin = std::ranges::find(first, last.track_id, &TrackSpan::track_id);
    if (track == tracks.end() || track->timescale == 0 || begin == first.end() || last.end <= begin->begin) continue;
    const Mp4Duration length{last.end - begin->begin, track->timescale};
    if (!longest || length.Seconds() > longest->Seconds()) longest = length;
  }
  return longest;
}

std::vector<Mp4FragmentTimes::TrackSpan> Mp4FragmentTimes::ReadFragment(const Mp4Box& moof) {
  std::vector<TrackSpan> spans;
  Mp4BoxRange range = boxes_.Children(moof);
  while (const auto box = boxes_.Next(range)) {
    if (!box->Is("traf")) continue;
    if (const auto span = ReadTrackFragment(*box)) spans.push_back(*span);
  }
  return spans;
}

std::optional<Mp4FragmentTimes::TrackSpan> Mp4FragmentTimes::ReadTrackFragment(const Mp4Box& traf) {
  constexpr std::uint32_t kHasBaseOffset = 0x1;
  constexpr std::uint32_t kHasDescription = 0x2;
  constexpr std::uint32_t kHasDuration = 0x8;
  TrackSpan span{};
  std::uint32_t default_duration = 0;
  std::optional<std::uint64_t> begin;
  std::uint64_t length = 0;
  Mp4BoxRange range = boxes_.Children(traf);
  while (const auto box = boxes_.Next(range)) {
    const auto bytes = boxes_.Payload(*box, 32);
    ByteReader reader(bytes);
    const std::uint8_t version = reader.U8();
    const std::uint32_t flags = reader.Be24();
    if (box->Is("tfhd")) {
      span.track_id = reader.Be32();
      const auto row = std::ranges::find(defaults_, span.track_id, &TrackDefault::track_id);
      if (row != defaults_.end()) default_duration = row->sample_duration;
      if ((flags & kHasBaseOffset) != 0) reader.Skip(8);
      if ((flags & kHasDescription) != 0) reader.Skip(4);
      if ((flags & kHasDuration) != 0) default_duration = reader.Be32();
    } else if (box->Is("tfdt")) {
      begin = reader.BigEndian(version == 0 ? 4 : 8);
    } else if (box->Is("trun")) {
      length = SaturatingAdd(length, RunDuration(*box, default_duration));
    }
  }
  if (!begin) return std::nullopt;
  span.begin = *begin;
  span.end = SaturatingAdd(*begin, length);
  return span;
}

std::uint64_t Mp4FragmentTimes::RunDuration(const Mp4Box& trun, std::uint32_t default_duration) {
  constexpr std::uint32_t kHasDataOffset = 0x1;
  constexpr std::uint32_t kHasFirstFlags = 0x4;
  constexpr std::uint32_t kHasDurations = 0x100;
  constexpr std::size_t kMostBytes = std::size_t{1} << 20;
  const auto bytes = boxes_.Payload(trun, kMostBytes);
  ByteReader reader(bytes);
  const std::uint32_t flags = reader.Be32() & 0xFFFFFF;
  const std::uint32_t count = reader.Be32();
  if ((flags & kHasDurations) == 0) return std::uint64_t{count} * default_duration;
  if ((flags & kHasDataOffset) != 0) reader.Skip(4);
  if ((flags & kHasFirstFlags) != 0) reader.Skip(4);
  std::size_t other_fields = 0;  // size, flags, composition offset
  for (const std::uint32_t field : {0x200U, 0x400U, 0x800U}) other_fields += (flags & field) != 0 ? 4 : 0;
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < count && reader.Ok(); ++i) {
    sum += reader.Be32();
    reader.Skip(other_fields);
  }
  return sum;
}

}  // namespace media_server
