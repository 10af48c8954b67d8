// How much of a file a probe reads, whatever the file's length is and whatever it claims.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/media_prober.h"
#include "tests/media-server/container/mp4_builder.h"
#include "tests/media-server/sample_file.h"

namespace media_server::probe {
namespace {

constexpr std::uint64_t kKilobyte = 1024;
constexpr std::uint64_t kMegabyte = 1024 * kKilobyte;
constexpr std::uint64_t kGigabyte = 1024 * kMegabyte;
constexpr std::uint64_t kLong = 100 * kGigabyte;
constexpr std::uint64_t kMostReads = 2000;

/// A long input of which little is in memory: pieces at their offsets, and behind the first piece that one over and
/// over, or zeros. Counts what is read.
class LongSource final : public IByteSource {
 public:
  enum class Filling { kZeros, kRepeated };

  LongSource(std::vector<std::uint8_t> start, std::uint64_t size, Filling filling)
      : start_(std::move(start)), size_(size), filling_(filling) {}

  /// Puts `bytes` at the end of the input.
  void Append(std::vector<std::uint8_t> bytes) {
    end_ = std::move(bytes);
    size_ += end_.size();
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    ++reads_;
    if (offset >= size_) return 0;
    const auto got = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - offset));
    for (std::size_t i = 0; i < got; ++i) out[i] = At(offset + i);
    bytes_read_ += got;
    return got;
  }
  std::optional<std::uint64_t> Size() const override { return size_; }

  std::uint64_t BytesRead() const { return bytes_read_; }
  std::uint64_t Reads() const { return reads_; }

 private:
  std::uint8_t At(std::uint64_t offset) const {
    const std::uint64_t end_begin = size_ - end_.size();
    if (offset >= end_begin) return end_[static_cast<std::size_t>(offset - end_begin)];
    if (offset < start_.size()) return start_[static_cast<std::size_t>(offset)];
    return filling_ == Filling::kZeros ? 0 : start_[static_cast<std::size_t>(offset % start_.size())];
  }

  std::vector<std::uint8_t> start_;
  std::vector<std::uint8_t> end_;
  std::uint64_t size_;
  Filling filling_;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t reads_ = 0;
};

std::unique_ptr<MediaDescription> Probe(IByteSource& source) {
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  auto media = ProbeMedia(bounded, "", &reason);
  EXPECT_EQ(bounded.TimeIsOver(), false);
  return media;
}

struct LongFile {
  const char* sample;
  LongSource::Filling filling;
  std::uint64_t most_bytes;
};

void PrintTo(const LongFile& file, std::ostream* out) { *out << file.sample; }

class LongFileTest : public testing::TestWithParam<LongFile> {};

TEST_P(LongFileTest, IsReadInPart) {
  const LongFile& file = GetParam();
  LongSource source(ReadSample(file.sample), kLong, file.filling);
  EXPECT_NE(Probe(source), nullptr);
  EXPECT_LE(source.BytesRead(), file.most_bytes);
  EXPECT_LE(source.Reads(), kMostReads);
  RecordProperty("bytes_read", static_cast<int>(source.BytesRead()));
  RecordProperty("reads", static_cast<int>(source.Reads()));
}

constexpr auto kZeros = LongSource::Filling::kZeros;
constexpr auto kRepeated = LongSource::Filling::kRepeated;
INSTANTIATE_TEST_SUITE_P(
    Samples, LongFileTest,
    testing::Values(LongFile{"upright.mp4", kZeros, 80 * kKilobyte}, LongFile{"hdr.mov", kZeros, 80 * kKilobyte},
                    LongFile{"song.m4a", kZeros, 80 * kKilobyte}, LongFile{"languages.mkv", kZeros, kMegabyte},
                    LongFile{"languages.mkv", kRepeated, kMegabyte}, LongFile{"web.webm", kZeros, kMegabyte},
                    LongFile{"web.webm", kRepeated, kMegabyte}, LongFile{"programs.ts", kZeros, kMegabyte},
                    LongFile{"programs.ts", kRepeated, kMegabyte}, LongFile{"tape.avi", kZeros, 8 * kMegabyte},
                    LongFile{"tape.avi", kRepeated, 8 * kMegabyte}, LongFile{"live.flv", kZeros, 8 * kMegabyte},
                    LongFile{"live.flv", kRepeated, 8 * kMegabyte}, LongFile{"song.mp3", kZeros, 8 * kMegabyte},
                    LongFile{"song.mp3", kRepeated, 8 * kMegabyte}, LongFile{"song.flac", kZeros, 8 * kMegabyte},
                    LongFile{"song.flac", kRepeated, 8 * kMegabyte}, LongFile{"song.opus", kZeros, 8 * kMegabyte},
                    LongFile{"song.opus", kRepeated, 8 * kMegabyte}, LongFile{"voice.wav", kZeros, 8 * kMegabyte},
                    LongFile{"voice.wav", kRepeated, 8 * kMegabyte}, LongFile{"surround.ac3", kZeros, 8 * kMegabyte},
                    LongFile{"surround.ac3", kRepeated, 8 * kMegabyte}));

std::size_t FindBox(const std::vector<std::uint8_t>& file, std::string_view type) {
  return static_cast<std::size_t>(std::ranges::search(file, type).begin() - file.begin()) - 4;
}

/// The sample with `between` bytes of media data in front of its index, which stands at the end.
LongSource WithIndexAtTheEnd(std::uint64_t between, const std::string& in_index) {
  std::vector<std::uint8_t> file = ReadSample("upright.mp4");
  const std::size_t begin = FindBox(file, "moov");
  const std::size_t size = file[begin + 2] * std::size_t{256} + file[begin + 3];
  std::vector<std::uint8_t> index(file.begin() + static_cast<std::ptrdiff_t>(begin),
                                  file.begin() + static_cast<std::ptrdiff_t>(begin + size));
  // What stood there stays as free space, so that the offsets of the samples hold.
  std::ranges::copy(std::string_view("free"), file.begin() + static_cast<std::ptrdiff_t>(begin) + 4);
  const std::string media_data = Be(1, 4) + "mdat" + Be(16 + between, 8);
  file.insert(file.end(), media_data.begin(), media_data.end());
  const std::string new_size = Be(size + in_index.size(), 4);
  std::ranges::copy(new_size, index.begin());
  index.insert(index.end(), in_index.begin(), in_index.end());
  const std::uint64_t total = file.size() + between;
  LongSource source(std::move(file), total, kZeros);
  source.Append(std::move(index));
  return source;
}

/// The sample, with packets that say nothing in place of those of sound.
std::vector<std::uint8_t> WithoutSound(std::vector<std::uint8_t> file, const MediaDescription& media) {
  constexpr std::size_t kPacketSize = 188;
  for (std::size_t at = 0; at < file.size(); at += kPacketSize) {
    const std::uint32_t id = (file[at + 1] & 0x1FU) << 8 | file[at + 2];
    const bool is_sound = std::ranges::any_of(media.streams, [&](const StreamDescription& stream) {
      return stream.kind == StreamKind::kSound && stream.id == id;
    });
    if (!is_sound) continue;
    file[at + 1] = 0x1F;
    file[at + 2] = 0xFF;
  }
  return file;
}

TEST(BytesReadTest, SoundThatSetsInLateIsKnownFromTheEnd) {
  const std::vector<std::uint8_t> sample = ReadSample("programs.ts");
  LongSource whole(sample, sample.size(), kZeros);
  const auto expected = Probe(whole);
  ASSERT_NE(expected, nullptr);

  constexpr int kTimes = 1000;
  LongSource source(WithoutSound(sample, *expected), kTimes * sample.size(), kRepeated);
  std::vector<std::uint8_t> end;
  for (int i = 0; i < 3; ++i) end.insert(end.end(), sample.begin(), sample.end());
  source.Append(std::move(end));
  const auto media = Probe(source);
  ASSERT_NE(media, nullptr);
  EXPECT_LE(source.BytesRead(), kMegabyte);
  ASSERT_EQ(media->streams.size(), expected->streams.size());
  for (std::size_t i = 0; i < media->streams.size(); ++i) {
    const SoundFormat& sound = media->streams[i].sound;
    EXPECT_EQ(sound.sample_rate, expected->streams[i].sound.sample_rate) << i;
    EXPECT_EQ(sound.channels, expected->streams[i].sound.channels) << i;
    EXPECT_EQ(media->streams[i].codec_name, expected->streams[i].codec_name) << i;
    EXPECT_EQ(media->streams[i].picture.frame_rate, expected->streams[i].picture.frame_rate) << i;
  }
}

TEST(BytesReadTest, IndexAtTheEndCostsItsSize) {
  const std::uint64_t index_size = 3 * kKilobyte;
  LongSource source = WithIndexAtTheEnd(kLong, "");
  const auto media = Probe(source);
  ASSERT_NE(media, nullptr);
  EXPECT_EQ(media->streams.size(), 2u);
  EXPECT_LE(source.BytesRead(), index_size + 64 * kKilobyte);
  EXPECT_LE(source.Reads(), 12u);
}

TEST(BytesReadTest, LargeIndexIsReadOnce) {
  constexpr std::uint64_t kIndexSize = 6 * kMegabyte;
  LongSource source = WithIndexAtTheEnd(kLong, Box("free", Zeros(kIndexSize)));
  ASSERT_NE(Probe(source), nullptr);
  EXPECT_GE(source.BytesRead(), kIndexSize);
  EXPECT_LE(source.BytesRead(), kIndexSize + 68 * kKilobyte);
}

TEST(BytesReadTest, XmpBehindMediaDataLeavesWhatTheIndexNeeds) {
  constexpr std::string_view kXmpUuid = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC";
  for (const std::uint64_t packet_size : {2 * kKilobyte, 200 * kKilobyte, 2 * kMegabyte}) {
    std::vector<std::uint8_t> file = ReadSample("upright.mp4");
    const std::string box = Box("uuid", std::string(kXmpUuid) + std::string(packet_size, ' '));
    file.insert(file.end(), box.begin(), box.end());
    const std::uint64_t size = file.size();
    LongSource source(std::move(file), size, kZeros);
    EXPECT_NE(Probe(source), nullptr) << packet_size;
    const std::uint64_t packet_read = packet_size > kMegabyte ? 0 : packet_size;
    EXPECT_LE(source.BytesRead(), packet_read + 64 * kKilobyte) << packet_size;
  }
}

TEST(BytesReadTest, SmallMp4CostsTwoReadsAndItsSamples) {
  LongSource source(ReadSample("song.m4a"), ReadSample("song.m4a").size(), kZeros);
  ASSERT_NE(Probe(source), nullptr);
  EXPECT_LE(source.Reads(), 3u);
}

TEST(BytesReadTest, FragmentsWithoutEndAreLeftAlone) {
  // Fragments of 24 bytes each over 100 GB: the index of the file, if one were to believe it.
  const std::vector<std::uint8_t> file = ReadSample("upright.mp4");
  const std::size_t begin = FindBox(file, "moov");
  std::string start(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(begin));
  start += Box("moov", FullBox("mvhd", Zeros(96)) + Box("mvex", FullBox("trex", Zeros(20))));
  start += Box("moof", FullBox("mfhd", Be(1, 4))) + Box("mdat");
  LongSource source({start.begin(), start.end()}, kLong, kRepeated);
  Probe(source);
  EXPECT_LE(source.BytesRead(), 9 * kMegabyte);
  EXPECT_LE(source.Reads(), kMostReads);
}

}  // namespace
}  // namespace media_server::probe
