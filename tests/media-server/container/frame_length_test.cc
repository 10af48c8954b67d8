#include "media-server/container/frame_length.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

constexpr double kAdtsSeconds = 1024.0 / 48000;
constexpr double kMpegSeconds = 1152.0 / 48000;

std::string Repeated(const std::string& part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += part;
  return all;
}

/// An AAC frame of `size` bytes with `blocks` blocks, at 48 kHz unless told otherwise.
std::string Adts(std::size_t size, unsigned blocks = 1, unsigned rate_index = 3) {
  const std::uint64_t header = std::uint64_t{0xFFF1} << 40 | std::uint64_t{1} << 38 | std::uint64_t{rate_index} << 34 |
                               std::uint64_t{2} << 30 | std::uint64_t{size} << 13 | std::uint64_t{0x7FF} << 2 |
                               (blocks - 1);
  return Be(header, 7) + Zeros(size - 7);
}

/// An MPEG-1 layer III frame at 48 kHz, of 32, 64 or 128 kbit/s.
std::string Mp3(unsigned kbps) {
  const char bit_rate = kbps == 32 ? '\x14' : kbps == 64 ? '\x54' : '\x94';
  return std::string("\xFF\xFB") + bit_rate + '\x44' + Zeros(kbps * 3 - 4);
}

std::optional<FrameLength> Measure(const std::string& content) {
  MemorySource source(content);
  return MeasureFrames(source);
}

double Seconds(const std::string& content) { return Measure(content).value_or(FrameLength()).seconds; }

TEST(FrameLengthTest, CountsFramesOfAllSizes) {
  const auto length = Measure(Repeated(Adts(16), 1000) + Repeated(Adts(500), 500) + Adts(8191));
  ASSERT_TRUE(length);
  EXPECT_NEAR(length->seconds, 1501 * kAdtsSeconds, 1e-9);
  EXPECT_EQ(length->bit_rate, static_cast<std::uint64_t>((16 * 1000 + 500 * 500 + 8191) * 8 / length->seconds));
  EXPECT_NEAR(Seconds(Repeated(Adts(100, 4), 10)), 40 * kAdtsSeconds, 1e-9) << "several blocks in a frame";
  EXPECT_NEAR(Seconds(Repeated(Mp3(32), 1000) + Repeated(Mp3(128), 500)), 1500 * kMpegSeconds, 1e-9);
}

TEST(FrameLengthTest, CountsWhatIsSlowForASecond) {
  EXPECT_NEAR(Seconds(Repeated(Repeated(Mp3(128), 100) + Repeated(Mp3(32), 200), 30)), 9'000 * kMpegSeconds, 1e-6);
}

TEST(FrameLengthTest, LongerFilesAreMeasuredInPieces) {
  const std::string content =
      Repeated(Adts(16), 30'000) + Repeated(Repeated(Adts(300), 50) + Repeated(Adts(500), 30), 500);
  MemorySource source(content);
  const auto length = MeasureFrames(source);
  ASSERT_TRUE(length);
  EXPECT_NEAR(length->seconds, 70'000 * kAdtsSeconds, 0.02 * 70'000 * kAdtsSeconds);
  EXPECT_NEAR(static_cast<double>(length->bit_rate), static_cast<double>(content.size()) * 8 / length->seconds, 1);
  EXPECT_LT(source.BytesRead(), 4u << 20);
  EXPECT_LT(source.Reads(), 100u);
}

TEST(FrameLengthTest, AsksAServerForAFewPieces) {
  RemoteSource source(Repeated(Adts(16), 8'000) + Repeated(Adts(400), 8'000));
  const auto length = MeasureFrames(source);
  ASSERT_TRUE(length);
  EXPECT_NEAR(length->seconds, 16'000 * kAdtsSeconds, 0.01 * 16'000 * kAdtsSeconds);
  EXPECT_LE(source.Reads(), 1u + 3 + 8);  // the tag, the start, the pieces
  EXPECT_LT(source.BytesRead(), 512u * 1024);
}

TEST(FrameLengthTest, TagsAreNoSound) {
  const std::string tag = "ID3" + Be(4, 1) + Zeros(2) + Be(0x0F68, 4) + Repeated(Adts(50), 40);  // of 2,024 bytes
  EXPECT_NEAR(Seconds(tag + Zeros(24) + Repeated(Adts(50), 100) + "TAG" + Zeros(125)), 100 * kAdtsSeconds, 1e-9);
}

TEST(FrameLengthTest, GoesOnBehindWhatIsNoFrame) {
  const std::string noise = "\xFF" + Repeated("\xFF\xF1 noise ", 100);
  EXPECT_NEAR(Seconds(noise + Repeated(Adts(50), 100) + noise + Repeated(Adts(60), 100)), 200 * kAdtsSeconds, 1e-9);
}

TEST(FrameLengthTest, GoesOnWithAnotherStream) {
  EXPECT_NEAR(Seconds(Repeated(Adts(50), 100) + Repeated(Adts(50, 1, 6), 100)), 300 * kAdtsSeconds, 1e-9);
  EXPECT_NEAR(Seconds(Repeated(Adts(50), 90) + Repeated(Mp3(32), 80)), 90 * kAdtsSeconds + 80 * kMpegSeconds, 1e-9);
}

TEST(FrameLengthTest, OneFrameAloneIsProvenByTheEnd) {
  EXPECT_NEAR(Seconds(Adts(50)), kAdtsSeconds, 1e-9);
  EXPECT_EQ(Seconds(Adts(50) + "noise"), 0);
}

TEST(FrameLengthTest, AFrameThatIsCutDoesNotCount) {
  EXPECT_NEAR(Seconds(Repeated(Adts(50), 10).substr(0, 499)), 9 * kAdtsSeconds, 1e-9);
}

TEST(FrameLengthTest, TellsNothingOfWhatCannotBeRead) {
  class ExhaustedSource final : public MemorySource {
   public:
    ExhaustedSource(const std::string& content, std::uint64_t most) : MemorySource(content), most_(most) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
      return BytesRead() + out.size() <= most_ ? MemorySource::ReadAt(offset, out) : 0;
    }

   private:
    std::uint64_t most_;
  };
  for (const std::uint64_t most : {300'000u, 1'000'000u}) {
    ExhaustedSource source(Repeated(Adts(500), 12'000), most);
    EXPECT_FALSE(MeasureFrames(source)) << most;
  }
}

TEST(FrameLengthTest, NothingToCount) {
  EXPECT_FALSE(Measure(""));
  EXPECT_FALSE(Measure("noise"));
  EXPECT_FALSE(Measure(Zeros(10'000)));
  MemorySource endless(Repeated(Adts(50), 100));
  endless.ForgetSize();
  EXPECT_FALSE(MeasureFrames(endless));
}

TEST(FrameLengthTest, ReadsNothingTwiceWhateverTheBytes) {
  const std::string inputs[] = {std::string(4'000'000, '\xFF'), Repeated("\xFF\xF1\x4C\x80\xFF\xFF\xFC", 500'000),
                                Mp3(64) + Repeated(Mp3(32), 30'000)};
  for (const std::string& content : inputs) {
    MemorySource source(content);
    MeasureFrames(source);
    EXPECT_LT(source.BytesRead(), content.size() + content.size() / 4);
  }
}

}  // namespace
}  // namespace media_server
