#include "media-server/container/flac_blocks.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

constexpr std::uint64_t kLast = 0x80;
constexpr std::uint64_t kStreamInfo = 0;
constexpr std::uint64_t kComment = 4;
constexpr std::uint64_t kPicture = 6;

std::string Header(std::uint64_t type, std::uint64_t length) { return Be(type, 1) + Be(length, 3); }
std::string Block(std::uint64_t type, std::size_t length) { return Header(type, length) + Zeros(length); }

std::uint64_t SizeOf(const std::string& content) {
  MemorySource source(content);
  return FlacMetadataSize(source);
}

TEST(FlacBlocksTest, EndWithTheLastOne) {
  const std::string blocks = "fLaC" + Block(kStreamInfo, 34) + Block(kComment, 100) + Block(kLast | kPicture, 5000);
  EXPECT_EQ(SizeOf(blocks + Zeros(1000)), 4u + 38 + 104 + 5004);
}

TEST(FlacBlocksTest, EndWithTheFile) {
  EXPECT_EQ(SizeOf("fLaC" + Block(kStreamInfo, 34) + Header(kLast | kPicture, 5000) + Zeros(7)), 4u + 38 + 4 + 7);
  EXPECT_EQ(SizeOf("fLaC" + Block(kStreamInfo, 34)), 42u);
}

TEST(FlacBlocksTest, NoneInOtherFiles) {
  EXPECT_EQ(SizeOf("OggS" + Block(kLast | kStreamInfo, 34)), 0u);
  EXPECT_EQ(SizeOf(""), 0u);
}

TEST(FlacBlocksTest, AreBounded) {
  // Ten of the longest blocks that there are: the file need not hold them to claim them.
  class Endless : public IByteSource {
   public:
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
      const std::string bytes = offset == 0 ? "fLaC" : "\x06\xFF\xFF\xFF";
      std::copy_n(bytes.begin(), out.size(), out.begin());
      return out.size();
    }
    std::optional<std::uint64_t> Size() const override { return std::nullopt; }
  } source;
  EXPECT_EQ(FlacMetadataSize(source), std::uint64_t{64} << 20);
}

}  // namespace
}  // namespace media_server
