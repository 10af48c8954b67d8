#include "output/quantity_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace mediaprobe {
namespace {

TEST(QuantityText, DurationsAreRoundedToMilliseconds) {
  EXPECT_EQ(DurationText(0), "0:00:00.000");
  EXPECT_EQ(DurationText(4'999), "0:00:00.000");
  EXPECT_EQ(DurationText(5'000), "0:00:00.001");
  EXPECT_EQ(DurationText(599'999'999), "0:01:00.000");
  EXPECT_EQ(DurationText(37'230'450'000), "1:02:03.045");
  EXPECT_EQ(DurationText(3'600'000'000'000), "100:00:00.000");
  EXPECT_EQ(DurationText(UINT64_MAX), "512409557:36:10.955");
}

TEST(QuantityText, SizesAreHumanAndExact) {
  EXPECT_EQ(SizeText(0), "0 bytes");
  EXPECT_EQ(SizeText(1), "1 byte");
  EXPECT_EQ(SizeText(999), "999 bytes");
  EXPECT_EQ(SizeText(1'000), "1 kB (1,000 bytes)");
  EXPECT_EQ(SizeText(2'788'750), "2.79 MB (2,788,750 bytes)");
  EXPECT_EQ(SizeText(999'999'999), "1 GB (999,999,999 bytes)");
  EXPECT_EQ(SizeText(12'345'678'901), "12.3 GB (12,345,678,901 bytes)");
}

TEST(QuantityText, BitRates) {
  EXPECT_EQ(BitRateText(800), "800 b/s");
  EXPECT_EQ(BitRateText(128'000), "128 kb/s");
  EXPECT_EQ(BitRateText(2'100'000), "2.1 Mb/s");
  EXPECT_EQ(BitRateText(999'600), "1 Mb/s");
}

TEST(QuantityText, Rates) {
  EXPECT_EQ(FrameRateText({25, 1}), "25 fps");
  EXPECT_EQ(FrameRateText({2997, 100}), "29.97 fps");
  EXPECT_EQ(FrameRateText({24000, 1001}), "23.976 fps");
  EXPECT_EQ(SampleRateText(44'100), "44.1 kHz");
  EXPECT_EQ(SampleRateText(11'025), "11.025 kHz");
  EXPECT_EQ(SampleRateText(999), "999 Hz");
}

TEST(QuantityText, ExposuresAreFractionsAsOnCameras) {
  EXPECT_EQ(ExposureText(0.008), "1/125 s");
  EXPECT_EQ(ExposureText(1.0 / 8000), "1/8000 s");
  EXPECT_EQ(ExposureText(0.25), "1/4 s");
  EXPECT_EQ(ExposureText(0.3), "0.3 s");
  EXPECT_EQ(ExposureText(30), "30 s");
  for (const double none : {0.0, -1.0, 1e-300, 1e300, std::nan("")}) EXPECT_EQ(ExposureText(none), "") << none;
}

TEST(QuantityText, ShortSizes) {
  EXPECT_EQ(ShortSizeText(512), "512 B");
  EXPECT_EQ(ShortSizeText(1'268'000'000), "1.27 GB");
}

TEST(QuantityText, Channels) {
  EXPECT_EQ(ChannelsText(1), "mono");
  EXPECT_EQ(ChannelsText(2), "stereo");
  EXPECT_EQ(ChannelsText(6), "6 channels");
}

TEST(QuantityText, DecimalsHaveNoTrailingZeros) {
  EXPECT_EQ(DecimalText(2.50, 2), "2.5");
  EXPECT_EQ(DecimalText(100, 2), "100");
  EXPECT_EQ(DecimalText(100, 0), "100");
  EXPECT_EQ(DecimalText(0.0000001, 6), "0");
  EXPECT_EQ(DecimalText(1e308, 6).size(), 309u);
}

}  // namespace
}  // namespace mediaprobe
