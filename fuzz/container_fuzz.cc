#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "fuzz/fuzzed_source.h"
#include "media-server/container/format_identity.h"
#include "media-server/container/matroska_scan.h"
#include "media-server/container/mp4_movie.h"
#include "media-server/container/riff_scan.h"
#include "media-server/container/truncation.h"
#include "media-server/io/byte_source.h"

// Oracle: every text that a reader hands out is valid UTF-8, counts and sizes stay within the bounds that the headers
// state, and no reader reads more than its budget, whatever the bytes claim.

namespace {

using namespace media_server;
using fuzz::FuzzedSource;

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireText(std::string_view text, std::size_t most_bytes) {
  Require(utf8::is_valid(text.begin(), text.end()));
  constexpr std::size_t kReplacementGrowth = 3;  // one bad byte becomes the three of U+FFFD
  Require(text.size() <= most_bytes * kReplacementGrowth);
}

constexpr std::size_t kMiB = std::size_t{1} << 20;

void CheckMovie(FuzzedSource& source) {
  const Mp4BoxLimits limits;
  const Mp4Movie movie = ReadMp4Movie(source, limits);
  Require(source.TakeBytesRead() <= limits.bytes + kMiB);
  Require(movie.metadata.size() <= kMp4MostMetadataEntries);
  RequireText(movie.major_brand, 4);
  for (const Mp4Track& track : movie.tracks) {
    RequireText(track.language, 64);
    RequireText(track.handler, 4);
    RequireText(track.sample_entry, 4);
    Require(!track.duration || track.duration->timescale != 0);
  }
  Require(!movie.duration || movie.duration->timescale != 0);
  Require(!movie.fragment_duration || movie.fragment_duration->timescale != 0);
  std::size_t sum = 0;
  for (const Mp4MetaEntry& entry : movie.metadata) {
    RequireText(entry.key, 4096);
    RequireText(entry.mean, 4096);
    RequireText(entry.value, kMp4LargestValueBytes);
    sum += entry.key.size() + entry.mean.size() + entry.value.size();
  }
  Require(sum <= kMp4LargestMetadataBytes);
}

void CheckMatroska(FuzzedSource& source) {
  const MatroskaScan scan = ScanMatroska(source);
  Require(scan.tags.size() <= 4096);
  RequireText(scan.title, kMiB);
  RequireText(scan.doc_type, 4096);
  std::size_t sum = 0;
  for (const MatroskaTag& tag : scan.tags) {
    sum += tag.name.size() + tag.value.size() + tag.language.size();
    RequireText(tag.name, 10 * 1024 + 10);
    RequireText(tag.value, kMiB);
    RequireText(tag.language, 1024);
  }
  Require(sum <= 16 * kMiB);
  Require(source.TakeBytesRead() <= 33 * kMiB);
}

void CheckRiff(FuzzedSource& source) {
  const RiffScan scan = ScanRiff(source);
  Require(scan.texts.size() <= 1024);
  for (const RiffText& text : scan.texts) RequireText(text.value, kMiB);
  if (scan.aigc) RequireText(*scan.aigc, kMiB);
  if (scan.xmp) RequireText(*scan.xmp, kMiB);
  if (scan.broadcast) RequireText(scan.broadcast->description, 256);
  Require(source.TakeBytesRead() <= 17 * kMiB);
}

void CheckIdentity(FuzzedSource& source) {
  const auto identity = IdentifyFormat(source);
  Require(source.TakeBytesRead() <= 128 * 1024);
  if (!identity) return;
  Require((identity->kind == ContentKind::kMedia) == !identity->demuxer.empty());
  Require(!identity->names.short_name.empty() && !identity->names.long_name.empty());
  Require(identity->kind != ContentKind::kMedia || NamesOfDemuxer(identity->demuxer).has_value());
  EndsEarly(source, identity->demuxer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedSource source({data, size});
  CheckMovie(source);
  CheckMatroska(source);
  CheckRiff(source);
  CheckIdentity(source);
  return 0;
}
