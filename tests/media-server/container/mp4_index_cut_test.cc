#include "media-server/container/mp4_index_cut.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media-server/container/mp4_movie.h"
#include "tests/media-server/container/mp4_builder.h"

namespace media_server {
namespace {

struct Run {
  std::uint32_t first_chunk;
  std::uint32_t samples_each;
};

/// Tables of a track whose samples have 1, 2, 3 ... bytes and take a tick each.
struct Tables {
  std::uint32_t samples = 20'000;
  std::uint32_t size_of_all = 0;
  std::vector<Run> runs = {{1, 10}};
  std::uint32_t chunks = 2'000;
  std::uint32_t offsets = 0;  // entries of ctts
  std::uint32_t ticks_each = 2;
  std::string more;

  std::string Sizes() const {
    std::string sizes = Be(size_of_all, 4) + Be(samples, 4);
    for (std::uint32_t i = 1; i <= samples && size_of_all == 0; ++i) sizes += Be(i, 4);
    return FullBox("stsz", sizes);
  }
  std::string Runs() const {
    std::string entries = Be(runs.size(), 4);
    for (const Run& run : runs) entries += Be(run.first_chunk, 4) + Be(run.samples_each, 4) + Be(1, 4);
    return FullBox("stsc", entries);
  }
  std::string Chunks() const { return FullBox("stco", Be(chunks, 4) + Zeros(std::size_t{chunks} * 4)); }
  std::string Offsets() const {
    return offsets == 0 ? "" : FullBox("ctts", Be(offsets, 4) + Zeros(std::size_t{offsets} * 8));
  }
  std::string Times() const { return FullBox("stts", Be(1, 4) + Be(samples, 4) + Be(ticks_each, 4)); }
  std::string All() const { return Sizes() + Runs() + Chunks() + Offsets() + Times() + more; }
};

std::string Movie(const std::string& tables, const std::string& edits = "", const char* handler = "soun",
                  const char* entry = "mp4a") {
  const std::string track_header = FullBox("tkhd", Zeros(8) + Be(1, 4) + Zeros(68), 0, 3);
  const std::string media_header = FullBox("mdhd", Zeros(8) + Be(1000, 4) + Be(40'000, 4) + Zeros(4));
  const std::string description = FullBox("stsd", Be(1, 4) + Box(entry, Zeros(28)));
  return Box("moov", Box("trak", track_header + edits +
                                     Box("mdia", media_header + FullBox("hdlr", Zeros(4) + handler + Zeros(13)) +
                                                     Box("minf", Box("stbl", description + tables)))));
}

std::optional<Mp4IndexCut> CutOf(const std::string& movie) {
  MemorySource source(movie);
  return ReadMp4Movie(source).tracks.at(0).index_cut;
}

std::uint64_t SumUpTo(std::uint64_t samples) { return samples * (samples + 1) / 2; }

/// What the cut makes of the count of that box.
std::optional<std::uint32_t> CountOf(const std::string& type, std::size_t count_behind_type, const std::string& movie) {
  const auto cut = CutOf(movie);
  const std::size_t offset = movie.find(type) + count_behind_type;
  for (const auto& [at, value] : cut ? cut->counts : std::vector<Mp4IndexCut::Count>()) {
    if (at == offset) return value;
  }
  return std::nullopt;
}

TEST(Mp4IndexCutTest, LeavesWholeChunks) {
  const std::string movie = Movie(Tables().All());
  EXPECT_EQ(CountOf("stsz", 12, movie), 8'200u);
  EXPECT_EQ(CountOf("stco", 8, movie), 820u);
  EXPECT_EQ(CountOf("stsc", 8, movie), 1u);
  const auto cut = CutOf(movie);
  ASSERT_TRUE(cut);
  EXPECT_EQ(cut->counts.size(), 3u);
  EXPECT_EQ(cut->bytes, SumUpTo(8'200));
  EXPECT_EQ(cut->bytes_of_all, SumUpTo(20'000));
}

TEST(Mp4IndexCutTest, ChunksMayBeOfSeveralLengths) {
  const std::string movie = Movie(Tables{.runs = {{1, 3}, {101, 5}, {1001, 9}, {1901, 1}}}.All());
  EXPECT_EQ(CountOf("stsc", 8, movie), 3u);
  EXPECT_EQ(CountOf("stco", 8, movie), 1000u + 377u);
  EXPECT_EQ(CountOf("stsz", 12, movie), 300u + 4'500u + 3'393u);
}

TEST(Mp4IndexCutTest, TimeOffsetsAreNoMoreThanSamples) {
  EXPECT_EQ(CountOf("ctts", 8, Movie(Tables{.offsets = 9'000}.All())), 8'200u);
  EXPECT_EQ(CountOf("ctts", 8, Movie(Tables{.offsets = 8'000}.All())), std::nullopt);
}

TEST(Mp4IndexCutTest, ShortTracksStayAsTheyAre) {
  EXPECT_TRUE(CutOf(Movie(Tables{.samples = 16'384}.All())));
  EXPECT_FALSE(CutOf(Movie(Tables{.samples = 16'383}.All())));
  EXPECT_FALSE(CutOf(Movie(Tables{.runs = {{1, 20'000}}, .chunks = 1}.All()))) << "one chunk";
  EXPECT_FALSE(CutOf(Movie(Tables{.chunks = 800}.All()))) << "chunks of too few samples";
}

TEST(Mp4IndexCutTest, TablesThatAreNotPlainStayAsTheyAre) {
  EXPECT_FALSE(CutOf(Movie(Tables{.size_of_all = 1}.All())));
  EXPECT_FALSE(CutOf(Movie(Tables{.runs = {{2, 10}}}.All())));
  EXPECT_FALSE(CutOf(Movie(Tables{.runs = {{1, 10}, {1, 10}}}.All())));
  EXPECT_FALSE(CutOf(Movie(Tables{.runs = {{1, 0}, {100, 10}}}.All())));
  const Tables plain;
  for (const std::string& twice : {plain.Sizes(), plain.Runs(), plain.Chunks()}) {
    EXPECT_FALSE(CutOf(Movie(Tables{.more = twice}.All())));
  }
  EXPECT_FALSE(CutOf(Movie(plain.Sizes() + plain.Runs() + plain.Times()))) << "no chunks";
  EXPECT_FALSE(CutOf(Movie(Tables{.samples = 5'000'000, .runs = {{1, 10'000}}}.All()))) << "20 MB";
}

TEST(Mp4IndexCutTest, LeavesEnoughToReadOfWhatFollows) {
  MemorySource source(Movie(Tables().All()));
  const auto has_cut = [&](std::uint64_t bytes) {
    const Mp4Movie movie = ReadMp4Movie(source, {.bytes = bytes});
    EXPECT_FALSE(movie.incomplete) << bytes;
    return movie.tracks.at(0).index_cut.has_value();
  };
  EXPECT_TRUE(has_cut(170'000));
  EXPECT_FALSE(has_cut(150'000));
}

TEST(Mp4IndexCutTest, TimesMustBeThoseOfAllSamples) {
  const Tables tables;
  const std::string others = tables.Sizes() + tables.Runs() + tables.Chunks();
  EXPECT_TRUE(CutOf(Movie(others + tables.Times())));
  EXPECT_FALSE(CutOf(Movie(others)));
  EXPECT_FALSE(CutOf(Movie(others + FullBox("stts", Be(1, 4) + Be(19'999, 4) + Be(2, 4)))));
}

TEST(Mp4IndexCutTest, EditsBeginAmongTheSamplesThatAreLeft) {
  const auto with_edits = [](std::uint64_t count, const std::string& entries) {
    return CutOf(Movie(Tables().All(), Box("edts", FullBox("elst", Be(count, 4) + entries))));
  };
  const auto edit = [](std::uint64_t begin) { return Be(1'000, 4) + Be(begin, 4) + Be(0x10000, 4); };
  EXPECT_TRUE(with_edits(1, edit(8'192)));
  EXPECT_FALSE(with_edits(1, edit(8'193)));
  EXPECT_TRUE(with_edits(2, edit(0xFFFFFFFF) + edit(0))) << "a late start";
  EXPECT_FALSE(with_edits(2, edit(0) + edit(20'000)));
  std::string many;
  for (int i = 0; i < 1025; ++i) many += edit(0);
  EXPECT_FALSE(with_edits(1025, many)) << "more than are read";
}

TEST(Mp4IndexCutTest, EncryptedAndUncompressedTracksStayAsTheyAre) {
  EXPECT_FALSE(CutOf(Movie(Tables().All(), "", "soun", "enca")));
  EXPECT_FALSE(CutOf(Movie(Tables{.ticks_each = 1}.All())));
  EXPECT_TRUE(CutOf(Movie(Tables{.ticks_each = 1}.All(), "", "vide", "avc1")));
}

}  // namespace
}  // namespace media_server
