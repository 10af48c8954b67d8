#include "media-server/container/ogg_chain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

constexpr int kBeginsStream = 2;

/// A page of one packet.
std::string Page(std::uint32_t serial, std::int64_t granule, const std::string& packet, int flags = 0) {
  std::string segments(packet.size() / 255, '\xFF');
  segments += static_cast<char>(packet.size() % 255);
  return std::string("OggS") + '\0' + static_cast<char>(flags) + Le(static_cast<std::uint64_t>(granule), 8) +
         Le(serial, 4) + Le(0, 8) + static_cast<char>(segments.size()) + segments + packet;
}

std::string Vorbis(std::uint32_t rate) { return "\x01vorbis" + Le(0, 4) + '\x02' + Le(rate, 4) + Zeros(14); }
std::string Opus() { return "OpusHead\x01\x02" + Zeros(9); }
std::string Speex() { return "Speex   1.2" + Zeros(17) + Le(1, 4) + Le(80, 4) + Le(16'000, 4) + Zeros(40); }
std::string Flac() {
  return std::string("\x7F") + "FLAC" + Be(0x01000001, 4) + "fLaC" + Be(0x80000022, 4) + Zeros(10) +
         Be(std::uint64_t{44'100} << 44, 8) + Zeros(16);
}

/// A link of one stream: its headers, and `pages` pages that are 100 ticks long each behind `start`.
std::string Link(std::uint32_t serial, const std::string& head, int pages, std::int64_t start = 0,
                 std::size_t page_size = 200) {
  std::string link = Page(serial, 0, head, kBeginsStream) + Page(serial, 0, "comments");
  for (int i = 1; i <= pages; ++i) link += Page(serial, start + i * std::int64_t{100}, Zeros(page_size));
  return link;
}

std::optional<OggChain> Read(const std::string& content) {
  MemorySource source(content);
  return ReadOggChain(source);
}

/// Of a file that is a chain whose length is known.
double Seconds(const std::string& content) {
  const auto chain = Read(content);
  return chain ? chain->seconds.value_or(-1) : -2;
}

TEST(OggChainTest, OneLinkIsNoChain) {
  EXPECT_FALSE(Read(Link(1, Vorbis(1'000), 50)));
  EXPECT_FALSE(Read(Page(1, 0, Vorbis(1'000), kBeginsStream) + Page(2, 0, Opus(), kBeginsStream) + Page(1, 10, "a") +
                    Page(2, 10, "b")));
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("noise"));
  EXPECT_FALSE(Read(Page(1, 10, "a") + Page(2, 10, "b"))) << "nothing begins a stream";
  MemorySource endless(Link(1, Opus(), 5) + Link(2, Opus(), 5));
  endless.ForgetSize();
  EXPECT_FALSE(ReadOggChain(endless));
}

TEST(OggChainTest, LinksHaveTheirOwnClocks) {
  EXPECT_DOUBLE_EQ(Seconds(Link(1, Vorbis(1'000), 50) + Link(2, Vorbis(2'000), 40)), 5 + 2);
  EXPECT_DOUBLE_EQ(Seconds(Link(1, Opus(), 480) + Link(2, Speex(), 160) + Link(3, Flac(), 441)), 1 + 1 + 1);
}

TEST(OggChainTest, FindsTheBordersOfLongLinks) {
  std::string content;
  for (std::uint32_t serial = 1; serial <= 8; ++serial)
    content += Link(serial, Vorbis(100), 100 * static_cast<int>(serial), 0, 4'000);
  MemorySource source(content);
  const auto chain = ReadOggChain(source);
  ASSERT_TRUE(chain);
  EXPECT_DOUBLE_EQ(chain->seconds.value(), 3'600);
  EXPECT_LT(source.BytesRead(), 1u << 20);
}

TEST(OggChainTest, RecordingsBeginInTheMiddle) {
  EXPECT_DOUBLE_EQ(Seconds(Link(1, Vorbis(100), 31, 1'000'000) + Link(2, Vorbis(100), 50)), 30 + 50);
}

TEST(OggChainTest, SoundTellsTheTimeAmongOtherStreams) {
  const auto link = [](std::uint32_t first) {
    return Page(first, 0, "\x80theora", kBeginsStream) + Page(first + 1, 0, Vorbis(1'000), kBeginsStream) +
           Page(first, 77, "picture") + Page(first + 1, 2'000, "sound") + Page(first, -1, "picture") +
           Page(first, 99'999, "picture");
  };
  EXPECT_DOUBLE_EQ(Seconds(link(1) + link(3)), 4);
}

TEST(OggChainTest, UnknownWhereTheSoundEndsFarBeforeTheLink) {
  std::string link = Page(1, 0, "\x80theora", kBeginsStream) + Page(2, 0, Vorbis(1'000), kBeginsStream);
  for (int i = 1; i <= 20; ++i) link += Page(2, i * std::int64_t{100}, "sound");
  EXPECT_DOUBLE_EQ(Seconds(link + Link(3, Vorbis(1'000), 10)), 3);
  for (int i = 1; i <= 100; ++i) link += Page(1, i, Zeros(2'000));
  EXPECT_EQ(Seconds(link + Link(3, Vorbis(1'000), 10)), -1);
}

TEST(OggChainTest, PagesAmongOtherBytesCountAsWell) {
  EXPECT_DOUBLE_EQ(Seconds(Link(1, Vorbis(1'000), 50, 0, 2'000) + Link(2, Vorbis(1'000), 50) + "TAG" + Zeros(125)), 10);
  EXPECT_DOUBLE_EQ(Seconds(Link(1, Vorbis(1'000), 50, 0, 2'000) + Link(2, Vorbis(1'000), 50) +
                           Page(2, 5'100, Zeros(300)).substr(0, 200)),
                   10.1)
      << "the last page is cut";
}

TEST(OggChainTest, UnknownWhereItWouldTakeTooMuch) {
  EXPECT_EQ(Seconds(Link(1, "something", 10) + Link(2, Vorbis(1'000), 10)), -1);
  EXPECT_EQ(Seconds(Link(1, Vorbis(1'000), 10) + Link(2, "something", 10)), -1);
  std::string links;
  for (std::uint32_t serial = 1; serial <= 24; ++serial) links += Link(serial, Vorbis(1'000), 10);
  EXPECT_DOUBLE_EQ(Seconds(links), 24);
  EXPECT_EQ(Seconds(links + Link(25, Vorbis(1'000), 10)), -1);

  RemoteSource remote(Link(1, Vorbis(1'000), 10) + Link(2, Vorbis(1'000), 10));
  const auto chain = ReadOggChain(remote);
  ASSERT_TRUE(chain);
  EXPECT_FALSE(chain->seconds);
}

TEST(OggChainTest, ReadsLittleWhateverTheBytes) {
  std::string marks;
  for (int i = 0; i < 1'000'000; ++i) marks += std::string("OggS") + '\0' + "gap";
  std::string empty_pages = Link(1, Vorbis(1'000), 1);
  for (int i = 0; i < 200'000; ++i) empty_pages += Page(i % 2 == 0 ? 1 : 3, 1, "");
  for (const std::string& content :
       {Link(1, Vorbis(1'000), 1) + marks + Link(2, Opus(), 1), empty_pages + Link(2, Opus(), 1)}) {
    MemorySource source(content);
    ReadOggChain(source);
    EXPECT_LT(source.BytesRead(), 3u << 20);
    EXPECT_LT(source.Reads(), 1'500u);
  }
}

}  // namespace
}  // namespace media_server
