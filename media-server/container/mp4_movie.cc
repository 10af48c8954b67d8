#include "media-server/container/mp4_movie.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/mp4_fragments.h"
#include "media-server/container/mp4_metadata.h"
#include "media-server/container/mp4_track.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

// A broken file that ends in other data (an ID3v1 tag, say) has no box there, whatever size the letters make.
constexpr std::array kTopLevelBoxes = {"ftyp"sv, "styp"sv, "moov"sv, "mdat"sv, "moof"sv, "sidx"sv, "free"sv, "skip"sv,
                                       "wide"sv, "uuid"sv, "meta"sv, "mfra"sv, "emsg"sv, "prft"sv, "pdin"sv, "udta"sv};

// The last is the name that XMP has in user data.
constexpr std::array kDescribing = {"moov"sv, "meta"sv, "sidx"sv, "moof"sv, "XMP_"sv};

// XMP specification part 3, 1.2.7.1: BE7ACFCB-97A9-42E8-9C71-999491E3AFAC.
constexpr std::array<std::uint8_t, 16> kXmpUuid = {0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                                                   0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};

bool IsXmp(const Mp4Box& box) { return box.Is("uuid") && box.uuid == kXmpUuid; }

// Longer packets are not read.
bool IsReadableXmp(const Mp4Box& box) { return IsXmp(box) && box.payload_size <= kMp4LargestValueBytes; }

class MovieReader {
 public:
  MovieReader(IByteSource& source, const Mp4BoxLimits& limits)
      : source_(source),
        input_size_(source.Size()),
        boxes_(source, limits),
        metadata_(boxes_, movie_.metadata),
        fragments_(boxes_) {}

  Mp4Movie Read() {
    Mp4BoxRange range = boxes_.WholeInput();
    while (const auto box = boxes_.Next(range)) {
      if (!ReadTopLevelBox(*box)) break;
      if (seen_fragment_) range.begin = std::max(range.begin, fragments_.IndexedEnd());
    }
    if (movie_.has_fragments) {
      movie_.fragment_duration = fragments_.Duration(movie_.tracks);
      movie_.indexed_bit_rate = fragments_.IndexedBitRate();
    } else {
      std::ranges::for_each(movie_.tracks, &TimeBySamples);
    }
    movie_.truncated = movie_.truncated || DataEndsEarly();
    movie_.incomplete = boxes_.BudgetSpent() || metadata_.BoundReached();
    return std::move(movie_);
  }

 private:
  /// Returns false when nothing behind the box is worth a read.
  bool ReadTopLevelBox(const Mp4Box& box) {
    const bool is_known = std::ranges::find(kTopLevelBoxes, box.Type()) != kTopLevelBoxes.end();
    if (is_known && box.clipped) movie_.truncated = true;
    TellOf(box);
    if (box.Is("ftyp") && movie_.major_brand.empty()) ReadBrands(box);
    if (box.Is("moov") && !movie_.has_moov) ReadMovie(box);
    if (box.Is("meta")) metadata_.ReadMeta(box);
    if (IsXmp(box)) metadata_.ReadXmp(box);
    if (box.Is("mdat")) movie_.has_mdat = true;
    if (box.Is("sidx")) fragments_.ReadSegmentIndex(box);
    if (box.Is("moof")) return ReadFirstFragments(box);
    return true;
  }

  /// The boxes that describe the file are read here and, whole, by libavformat. Of each kind the first is the one that
  /// counts.
  void TellOf(const Mp4Box& box) {
    const auto kind = std::ranges::find(kDescribing, IsReadableXmp(box) ? "XMP_"sv : box.Type());
    if (kind == kDescribing.end()) return;
    bool& told = told_of_[static_cast<std::size_t>(kind - kDescribing.begin())];
    if (!std::exchange(told, true)) source_.WillRead(box.offset, box.payload_offset + box.payload_size - box.offset);
  }

  bool ReadFirstFragments(const Mp4Box& moof) {
    const bool is_first = !std::exchange(seen_fragment_, true);
    movie_.has_fragments = true;
    fragments_.NoteFragment(moof);
    if (!is_first) return true;
    // An index may be that of the first segment only: the walk goes on behind what it covers.
    if (fragments_.IndexedEnd() > 0) return true;
    if (fragments_.IsKnown()) return false;
    return !input_size_ || !fragments_.FindLastFragmentByIndex(*input_size_);
  }

  void ReadBrands(const Mp4Box& box) {
    constexpr std::size_t kMostBytes = 8 + 4 * 64;
    const auto bytes = boxes_.Payload(box, kMostBytes);
    ByteReader reader(bytes);
    movie_.major_brand = KeyFromFourCharacters(AsText(reader.Take(4)));
    reader.Skip(4);  // minor version
    while (reader.Remaining() >= 4) {
      movie_.compatible_brands.push_back(KeyFromFourCharacters(AsText(reader.Take(4))));
    }
  }

  void ReadMovie(const Mp4Box& moov) {
    movie_.has_moov = true;
    Mp4BoxRange range = boxes_.Children(moov);
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("mvhd")) {
        const auto header = ReadMp4MediaHeader(boxes_, *box);
        if (!header) continue;
        movie_.timescale = header->timescale;
        movie_.times = header->times;
        movie_.duration = header->duration;
      } else if (box->Is("trak")) {
        ReadTrack(*box);
      } else if (box->Is("mvex")) {
        movie_.has_fragments = true;
        fragments_.ReadMovieExtends(*box, movie_.timescale);
      } else if (box->Is("meta")) {
        metadata_.ReadMeta(*box);
      } else if (box->Is("udta")) {
        metadata_.ReadUserData(*box);
      } else if (IsXmp(*box)) {
        metadata_.ReadXmp(*box);
      }
    }
  }

  void ReadTrack(const Mp4Box& box) {
    constexpr std::size_t kMostTracks = 1000;
    if (movie_.tracks.size() >= kMostTracks) return;
    movie_.tracks.push_back(ReadMp4Track(boxes_, box, input_size_));
  }

  /// Writers that could not go back leave the length of a track open. Samples in fragments are not in its table.
  static void TimeBySamples(Mp4Track& track) {
    const auto& times = track.decoding_times;
    if (track.duration || track.timescale == 0 || !times || !times->complete || times->ticks == 0) return;
    track.duration = Mp4Duration{times->ticks, track.timescale};
  }

  bool DataEndsEarly() const {
    if (!input_size_) return false;
    if (fragments_.IndexedEnd() > *input_size_) return true;
    return std::ranges::any_of(movie_.tracks, [&](const Mp4Track& track) {
      return track.last_chunk_offset && *track.last_chunk_offset >= *input_size_;
    });
  }

  IByteSource& source_;
  std::optional<std::uint64_t> input_size_;
  Mp4Movie movie_;
  Mp4BoxReader boxes_;
  Mp4MetadataReader metadata_;
  Mp4FragmentTimes fragments_;
  bool seen_fragment_ = false;
  std::array<bool, kDescribing.size()> told_of_ = {};
};

}  // namespace

double Mp4Movie::EditedSeconds() const {
  std::uint64_t longest = 0;
  for (const Mp4Track& track : tracks) longest = std::max(longest, track.edited_movie_ticks.value_or(0));
  // The header tells the longest track as well: edits that come to more are damaged.
  if (duration) longest = std::min(longest, duration->value);
  return timescale != 0 ? static_cast<double>(longest) / timescale : 0;
}

Mp4Movie ReadMp4Movie(IByteSource& source, const Mp4BoxLimits& limits) { return MovieReader(source, limits).Read(); }

}  // namespace media_server
