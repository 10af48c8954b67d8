#include "svg-decoder/source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/error_text.h"
#include "temp_file.h"

namespace {

constexpr std::size_t kMost = std::size_t{32} << 20;

std::optional<std::string> ReadSource(const std::string& url) {
  const auto source = svg_decoder::FileSource::Open(url);
  return source ? source->ReadAll() : std::nullopt;
}

class SourceTest : public testing::Test {
 protected:
  static void ExpectRefused(const std::string& url, const std::string& reason) {
    CoreSetErrorText(nullptr);
    EXPECT_EQ(ReadSource(url), std::nullopt) << url;
    EXPECT_EQ(CoreErrorText(), reason);
  }

  TempFolder folder_;
};

TEST_F(SourceTest, ReadsAPath) { EXPECT_EQ(ReadSource(folder_.Make("a.svg", "<svg/>")), "<svg/>"); }

TEST_F(SourceTest, SkipsSixCharactersOfAFileUrl) {
  const std::string path = folder_.Make("a.svg", "<svg/>");
  EXPECT_EQ(ReadSource("file:/" + path), "<svg/>");
  EXPECT_EQ(ReadSource("file://" + path), "<svg/>");
  EXPECT_EQ(ReadSource("file:///" + path), "<svg/>");
}

TEST_F(SourceTest, RefusesNetworkUrlsAndOtherProtocols) {
  ExpectRefused("http://localhost/a.svg", "SVGs are read from files only");
  ExpectRefused("https://localhost/a.svg", "SVGs are read from files only");
  ExpectRefused("ftp://localhost/a.svg", "unknown protocol");
}

TEST_F(SourceTest, RefusesWhatIsNoFile) {
  ExpectRefused("", "No such file or directory");
  ExpectRefused((folder_.path() / "absent.svg").string(), "No such file or directory");
  ExpectRefused(folder_.path().string(), "not a regular file");
  ExpectRefused("/dev/null", "not a regular file");
  ExpectRefused(folder_.Make("empty.svg", ""), "empty file");
}

TEST_F(SourceTest, DoesNotWaitForAPipe) {
  const std::string pipe = (folder_.path() / "pipe.svg").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ExpectRefused(pipe, "not a regular file");
}

TEST_F(SourceTest, Reads32MegabytesAndNoMore) {
  const std::string path = folder_.Make("a.svg", "<svg/>");
  std::filesystem::resize_file(path, kMost);
  const auto content = ReadSource(path);
  ASSERT_TRUE(content.has_value());
  EXPECT_EQ(content->size(), kMost);
  std::filesystem::resize_file(path, kMost + 1);
  ExpectRefused(path, "larger than 32 MB, which is as much as is read of an SVG");
  std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
  ExpectRefused(path, "larger than 32 MB, which is as much as is read of an SVG");
}

TEST_F(SourceTest, UnpacksGzipWhateverTheName) {
  EXPECT_EQ(ReadSource(folder_.Make("a.svgz", Gzip("<svg/>"))), "<svg/>");
  EXPECT_EQ(ReadSource(folder_.Make("a.svg", Gzip("<svg/>"))), "<svg/>");
  const std::string long_text(1'000'000, 'x');
  EXPECT_EQ(ReadSource(folder_.Make("long.svgz", Gzip(long_text))), long_text);
}

TEST_F(SourceTest, GivesAsManyBytesAsAreAskedFor) {
  for (const std::string& content : {std::string("<svg/>"), Gzip("<svg/>")}) {
    const auto source = svg_decoder::FileSource::Open(folder_.Make("a.svg", content));
    ASSERT_NE(source, nullptr);
    std::string text(4, ' ');
    EXPECT_EQ(source->Read(text.data(), 4), 4u);
    EXPECT_EQ(text, "<svg");
    EXPECT_EQ(source->Read(text.data(), 4), 2u);
    EXPECT_EQ(text, "/>vg");
    EXPECT_EQ(source->Read(text.data(), 4), 0u);
  }
}

TEST_F(SourceTest, RefusesBrokenGzip) {
  std::string noise;
  for (unsigned int i = 0, state = 1; i < 200'000; ++i)
    noise += static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  const std::string packed = Gzip(noise);
  std::string damaged = packed;
  damaged[damaged.size() - 6] ^= 1;  // in the checksum
  for (const std::string& broken : {packed.substr(0, 2), packed.substr(0, 12), packed.substr(0, 100'000),
                                    packed.substr(0, packed.size() - 1), damaged}) {
    ExpectRefused(folder_.Make("a.svgz", broken), "damaged SVG: its compressed data is broken");
  }
  EXPECT_EQ(ReadSource(folder_.Make("a.svgz", packed)), noise);
}

TEST_F(SourceTest, Unpacks32MegabytesAndNoMore) {
  EXPECT_EQ(ReadSource(folder_.Make("a.svgz", Gzip(std::string(kMost, ' ')))).value_or("").size(), kMost);
  ExpectRefused(folder_.Make("a.svgz", Gzip(std::string(kMost + 1, ' '))),
                "larger than 32 MB when unpacked, which is as much as is read of an SVG");
}

}  // namespace
