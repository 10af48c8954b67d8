#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media-server/container/display_matrix.h"
#include "media-server/container/mp4_boxes.h"
#include "media-server/container/mp4_index_cut.h"
#include "media-server/io/byte_source.h"

namespace media_server {

/// Times of a header box. Unix seconds (UTC): the file counts from 1904; a value below 1970 was written as Unix time by
/// mistake and is taken as such, a zero is no time.
struct Mp4HeaderTimes {
  std::optional<std::int64_t> creation_unix_s;
  std::optional<std::int64_t> modification_unix_s;
};

/// A length in units of 1/timescale second; timescale is never 0.
struct Mp4Duration {
  std::uint64_t value = 0;
  std::uint32_t timescale = 1;

  double Seconds() const { return static_cast<double>(value) / timescale; }
};

/// The fractions of a `clap` box as they stand, in pixels; denominators may be 0 in a broken file.
struct Mp4CleanAperture {
  std::uint32_t width_n = 0, width_d = 0;
  std::uint32_t height_n = 0, height_d = 0;
  std::int32_t horizontal_offset_n = 0;
  std::uint32_t horizontal_offset_d = 0;
  std::int32_t vertical_offset_n = 0;
  std::uint32_t vertical_offset_d = 0;
  std::uint64_t box_offset = 0;  ///< of the box in the file
};

/// What the decoding times say (`stts`). The last sample has no successor, so its delta counts only when it is the only
/// one.
struct Mp4DecodingTimes {
  std::uint64_t sample_count = 0;
  std::uint64_t ticks = 0;           ///< of all samples together
  std::uint32_t smallest_delta = 0;  ///< above 0 unless all deltas are 0; in units of the track's timescale
  bool constant = false;             ///< all deltas are equal
  bool complete = true;              ///< false: the table was longer than is read (65536 entries) or cut
};

struct Mp4Track {
  std::uint32_t id = 0;
  std::optional<DisplayTurn> turn;  ///< tkhd
  Mp4HeaderTimes times;             ///< mdhd, else tkhd
  std::uint32_t timescale = 0;      ///< mdhd, in 1/s; 0 when not told
  /// mdhd; where that is 0 or unknown, the samples of `decoding_times`; empty when neither tells it.
  std::optional<Mp4Duration> duration;
  /// Length of the track in the movie where its edits (`elst`) begin late, stand still, change the speed or show
  /// several parts; empty where they choose one part at most, as that part's length is known without them.
  std::optional<std::uint64_t> edited_movie_ticks;
  std::string language;      ///< elng, else the three letters of mdhd; empty when not told
  std::string handler;       ///< "vide", "soun", "text", ...
  std::string sample_entry;  ///< first sample entry, as it stands ("avc1", "encv")
  std::uint32_t width = 0;   ///< of the first picture sample entry, in pixels
  std::uint32_t height = 0;
  std::string auxiliary_type;  ///< of auxiliary pictures, a URN (`auxi`, ISO/IEC 23008-12 7.5.3); empty when not told
  /// The first sample entry is encv, enca, ... (ISO/IEC 14496-12 8.12) or drms, drmi, and `tenc` does not say
  /// otherwise.
  bool is_protected = false;
  std::optional<Mp4CleanAperture> clean_aperture;
  std::optional<std::uint32_t> sample_count;  ///< stsz or stz2
  std::optional<Mp4DecodingTimes> decoding_times;
  bool has_composition_offsets = false;  ///< ctts
  /// Of the first samples, at most 512, in units of the track's timescale.
  std::vector<std::int32_t> first_composition_offsets;
  std::optional<std::uint64_t> last_chunk_offset;  ///< file offset of the last chunk
  /// How libavformat may see the sample tables of a long track; empty where its tables must be left alone.
  std::optional<Mp4IndexCut> index_cut;
  /// False when a sample table declares more entries than its box, or more samples than the file, can hold: such a
  /// track makes libavformat's index grow without bound.
  bool plausible = true;
};

/// Which naming system a metadata key belongs to.
enum class Mp4MetaNamespace {
  kNamedKey,  ///< `keys` table: "com.apple.quicktime.make", "AIGC"
  kItunes,    ///< `ilst` item by four characters: "©nam", "trkn" (as "3/12" or "3")
  kFreeform,  ///< iTunes `----` item: key is its name
  kUserData,  ///< atom directly in udta: "©xyz", "titl", "loci" (as an ISO 6709 text)
  kXmp,       ///< an XMP packet; key is "XMP"
};

struct Mp4MetaEntry {
  Mp4MetaNamespace name_space = Mp4MetaNamespace::kNamedKey;
  std::string key;    ///< UTF-8; four-character keys with their © as U+00A9
  std::string value;  ///< UTF-8; invalid sequences are U+FFFD, cut at a NUL
};

/// What the headers of an ISO base media or QuickTime file tell. Four-character codes are texts of four code points,
/// one a byte.
struct Mp4Movie {
  std::string major_brand;  ///< four characters; empty when there is no `ftyp`
  std::vector<std::string> compatible_brands;
  bool has_moov = false;
  bool has_mdat = false;
  bool has_fragments = false;  ///< mvex or a top-level moof
  /// A top-level box, a chunk or an indexed segment ends beyond the end of the input.
  bool truncated = false;
  /// A budget ran out: what stands here is right but not all.
  bool incomplete = false;
  Mp4HeaderTimes times;
  std::uint32_t timescale = 0;                   ///< mvhd, ticks a second; 0 when not told
  std::optional<Mp4Duration> duration;           ///< mvhd; empty when 0 or unknown
  std::optional<Mp4Duration> fragment_duration;  ///< mehd, else sidx, else the end of the last fragment
  double indexed_bit_rate = 0;                   ///< of the fragments that sidx boxes name, in bits/s; 0 without one
  std::vector<Mp4Track> tracks;
  std::vector<Mp4MetaEntry> metadata;  ///< of the file and the movie, not of tracks, in file order

  /// Seconds of the longest track with edits of the kinds that `Mp4Track::edited_movie_ticks` names, no more than the
  /// movie's header tells; 0 without one.
  double EditedSeconds() const;

  /// Media data without a movie box: the writer was stopped before it wrote the box that comes last. What lies behind
  /// the end of a budget may be that box.
  bool MoovMissing() const { return has_mdat && !has_moov && !has_fragments && !incomplete; }
};

/// Bounds on metadata, which hostile files inflate.
inline constexpr std::size_t kMp4LargestValueBytes = std::size_t{1} << 20;
inline constexpr std::size_t kMp4LargestMetadataBytes = std::size_t{16} << 20;
inline constexpr std::size_t kMp4MostMetadataEntries = 4096;

/// Reads the headers of `source` in one pass. Never fails: what is broken or missing stays empty. Sample tables are not
/// read, save up to 512 KiB of `stts` and the last chunk offset, so that long files cost no more than short ones.
Mp4Movie ReadMp4Movie(IByteSource& source, const Mp4BoxLimits& limits = {});

}  // namespace media_server
