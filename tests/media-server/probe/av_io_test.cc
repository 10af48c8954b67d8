#include "media-server/probe/av_io.h"

#include <gtest/gtest.h>

#include <array>
#include <new>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

/// An input for whose bytes there is no memory.
class HungrySource final : public IByteSource {
 public:
  std::size_t ReadAt(std::uint64_t /*offset*/, std::span<std::uint8_t> /*out*/) override { throw std::bad_alloc(); }
  std::optional<std::uint64_t> Size() const override { return 1000; }
};

// libavformat has no way to free anything when an exception passes through it.
TEST(AvIoTest, TellsLibavformatThatThereIsNoMemory) {
  HungrySource hungry;
  BoundedSource source(hungry, ReadBudget{});
  AvIo io(source);
  ASSERT_NE(io.Context(), nullptr);
  std::array<std::uint8_t, 16> bytes;
  EXPECT_EQ(avio_read(io.Context(), bytes.data(), static_cast<int>(bytes.size())), AVERROR(ENOMEM));
}

}  // namespace
}  // namespace media_server::probe
