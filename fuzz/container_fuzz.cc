#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/check.h"
#include "fuzz/fuzzed_source.h"
#include "media-server/container/amr.h"
#include "media-server/container/ape_tag.h"
#include "media-server/container/asf_properties.h"
#include "media-server/container/byte_reader.h"
#include "media-server/container/flac_end.h"
#include "media-server/container/format_identity.h"
#include "media-server/container/frame_length.h"
#include "media-server/container/guess.h"
#include "media-server/container/id3v1.h"
#include "media-server/container/id3v2.h"
#include "media-server/container/matroska_end.h"
#include "media-server/container/matroska_frames.h"
#include "media-server/container/matroska_scan.h"
#include "media-server/container/mp4_index_cut.h"
#include "media-server/container/mp4_movie.h"
#include "media-server/container/mpeg_audio_header.h"
#include "media-server/container/ogg_chain.h"
#include "media-server/container/riff_scan.h"
#include "media-server/container/transport_scrambling.h"
#include "media-server/container/truncation.h"
#include "media-server/io/byte_source.h"

// Oracle: every text that a reader hands out is valid UTF-8, counts and sizes stay within the bounds that the headers
// state, and no reader reads more than its budget, whatever the bytes claim.

namespace {

using namespace media_server;
using fuzz::FuzzedSource;

void RequireText(std::string_view text, std::size_t most_bytes) { FUZZ_CHECK(fuzz::IsTextOf(text, most_bytes)); }

constexpr std::size_t kMiB = std::size_t{1} << 20;

void CheckMovie(FuzzedSource& source) {
  const Mp4BoxLimits limits;
  const Mp4Movie movie = ReadMp4Movie(source, limits);
  FUZZ_CHECK(source.TakeBytesRead() <= limits.bytes + kMiB);
  FUZZ_CHECK(movie.metadata.size() <= kMp4MostMetadataEntries);
  RequireText(movie.major_brand, 4);
  for (const Mp4Track& track : movie.tracks) {
    RequireText(track.language, 64);
    RequireText(track.handler, 4);
    RequireText(track.sample_entry, 4);
    FUZZ_CHECK(!track.duration || track.duration->timescale != 0);
  }
  FUZZ_CHECK(!movie.duration || movie.duration->timescale != 0);
  FUZZ_CHECK(!movie.fragment_duration || movie.fragment_duration->timescale != 0);
  std::size_t sum = 0;
  for (const Mp4MetaEntry& entry : movie.metadata) {
    RequireText(entry.key, 4096);
    RequireText(entry.value, kMp4LargestValueBytes);
    sum += entry.key.size() + entry.value.size();
  }
  FUZZ_CHECK(sum <= kMp4LargestMetadataBytes);
}

/// Takes the boxes of the input for the tables of a track.
void CheckIndexCut(FuzzedSource& source) {
  Mp4BoxReader boxes(source, Mp4BoxLimits());
  Mp4SampleTables tables;
  Mp4BoxRange range = boxes.WholeInput();
  while (const auto box = boxes.Next(range)) {
    if (box->Is("stsz")) tables.sizes = box;
    if (box->Is("stco") || box->Is("co64")) tables.chunks = box;
    if (box->Is("stsc")) tables.samples_of_chunks = box;
    if (box->Is("ctts")) tables.time_offsets = box;
  }
  constexpr std::uint32_t kSamplesLeft = 8;
  if (const auto cut = CutMp4Index(boxes, tables, kSamplesLeft)) {
    FUZZ_CHECK(cut->bytes <= cut->bytes_of_all);
    FUZZ_CHECK(cut->counts.front().value >= kSamplesLeft && cut->counts.front().value < 3 * kSamplesLeft);
    for (const auto& [offset, value] : cut->counts) FUZZ_CHECK(value > 0 && value <= cut->counts.front().value);
  }
  source.TakeBytesRead();
}

void CheckMatroska(FuzzedSource& source) {
  const MatroskaScan scan = ScanMatroska(source);
  FUZZ_CHECK(scan.tracks.size() <= 1000);
  for (const MatroskaTrack& track : scan.tracks) {
    for (const std::string& text : {track.language, track.language_tag}) RequireText(text, 3 * 64);
  }
  FUZZ_CHECK(source.TakeBytesRead() <= 9 * kMiB);

  if (const auto end = ReadMatroskaEnd(source, scan)) FUZZ_CHECK(*end >= 0 && *end <= 1e300);
  source.TakeBytesRead();

  MatroskaFrames frames(source, scan.tracks.empty() ? 1 : scan.tracks.front().number);
  for (auto frame = frames.Next(); !frame.empty(); frame = frames.Next()) {
    FUZZ_CHECK(frame.size() <= MatroskaFrames::kFrameStart);
  }
  FUZZ_CHECK(source.TakeBytesRead() <= kMiB);
}

void CheckRiff(FuzzedSource& source) {
  const RiffScan scan = ScanRiff(source);
  if (scan.aigc) RequireText(*scan.aigc, kMiB);
  if (scan.xmp) RequireText(*scan.xmp, kMiB);
  // One of U+FFFD for each bad byte.
  if (scan.broadcast) RequireText(scan.broadcast->origination_date, std::size_t{3} * 10);
  if (scan.endless_data) FUZZ_CHECK(scan.endless_data->size_bytes.value_or(0) <= source.Size().value_or(0));
  if (scan.padded_samples) FUZZ_CHECK(scan.padded_samples->seconds >= 0 && scan.padded_samples->seconds <= 1e19);
  FUZZ_CHECK(source.TakeBytesRead() <= 17 * kMiB);
}

void CheckSmallReaders(FuzzedSource& source) {
  if (const auto properties = ReadAsfFileProperties(source)) {
    // What 64 bits of 100 ns from 1601 can say.
    constexpr std::int64_t kMost = UINT64_MAX / 10'000'000;
    if (properties->creation_unix_s) FUZZ_CHECK(*properties->creation_unix_s <= kMost);
  }
  const auto frame_times = ReadAsfFrameTimes(source);
  FUZZ_CHECK(frame_times.size() <= 64);
  for (const AsfFrameTime& time : frame_times) {
    FUZZ_CHECK(time.FramesPerSecond() >= 1.0 / 60 && time.FramesPerSecond() <= 1000);
  }
  FUZZ_CHECK(source.TakeBytesRead() <= 64 * 1024);
  if (const auto seconds = ReadAmrSeconds(source)) FUZZ_CHECK(*seconds > 0);
  FUZZ_CHECK(source.TakeBytesRead() <= 64 * 1024);
  if (const auto seconds = ReadFlacSeconds(source)) FUZZ_CHECK(*seconds > 0);
  FUZZ_CHECK(source.TakeBytesRead() <= 1025 * 1024);
  FUZZ_CHECK(std::ranges::is_sorted(ReadScrambledPids(source)));
  FUZZ_CHECK(source.TakeBytesRead() <= 64 * 1024);
  if (const auto header = ReadMpegAudioHeader(ReadBytes(source, 0, kMpegAudioHeaderSize))) {
    FUZZ_CHECK(header->layer >= 1 && header->layer <= 3 && (header->channels == 1 || header->channels == 2));
    FUZZ_CHECK(header->sample_rate_hz >= 8000 && header->sample_rate_hz <= 48'000);
    FUZZ_CHECK(header->size_bytes >= kMpegAudioHeaderSize);
  }
  FUZZ_CHECK(source.TakeBytesRead() <= 1024);
  if (const auto length = MeasureFrames(source)) {
    constexpr std::uint64_t kMostBitRate = 7'000'000;  // of 8 KB in 1,024 samples at 96 kHz
    FUZZ_CHECK(length->seconds > 0 && length->bit_rate <= kMostBitRate);
  }
  FUZZ_CHECK(source.TakeBytesRead() <= 512 * 1024);
  const auto chain = ReadOggChain(source);
  FUZZ_CHECK(!chain || chain->seconds.value_or(0) >= 0);
  FUZZ_CHECK(source.TakeBytesRead() <= 3 * kMiB);
}

void CheckTags(FuzzedSource& source) {
  if (const auto tag = ReadId3v1(source)) {
    for (const std::string& text : {tag->title, tag->artist, tag->album}) RequireText(text, 30);
  }
  for (const ApeText& text : ReadApeTag(source)) FUZZ_CHECK((text.key + text.value).find('\0') == std::string::npos);
  FUZZ_CHECK(source.TakeBytesRead() <= kMiB + 1024);
  if (const std::string tag = ResynchronisedId3v2(source); !tag.empty()) {
    FuzzedSource resynchronised({reinterpret_cast<const std::uint8_t*>(tag.data()), tag.size()});
    FUZZ_CHECK(ResynchronisedId3v2(resynchronised).empty());
    FUZZ_CHECK(SkipId3v2(resynchronised) == tag.size());
  }
  FUZZ_CHECK(source.TakeBytesRead() <= 2 * kMiB + 1024);
  LargeId3v2Frames(source);
  FUZZ_CHECK(source.TakeBytesRead() <= 1024);
}

void CheckIdentity(FuzzedSource& source) {
  const auto identity = IdentifyFormat(source);
  FUZZ_CHECK(source.TakeBytesRead() <= 128 * 1024);
  if (!identity) {
    for (const char* demuxer : {"adp", "h263", "srt", "mov,mp4,m4a,3gp,3g2,mj2"}) IsPlausibleGuess(source, demuxer, 50);
    FUZZ_CHECK(source.TakeBytesRead() <= 80 * 1024);
    return;
  }
  FUZZ_CHECK((identity->kind == ContentKind::kMedia) == !identity->demuxer.empty());
  FUZZ_CHECK(!identity->names.short_name.empty() && !identity->names.long_name.empty());
  FUZZ_CHECK(identity->kind != ContentKind::kMedia || NamesOfDemuxer(identity->demuxer).has_value());
  EndsEarly(source, identity->demuxer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedSource source({data, size});
  CheckMovie(source);
  CheckIndexCut(source);
  CheckMatroska(source);
  CheckRiff(source);
  CheckSmallReaders(source);
  CheckTags(source);
  CheckIdentity(source);
  return 0;
}
