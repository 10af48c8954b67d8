#include "media-server/digest/content_digest.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/error_text.h"
#include "media-server/io/file_source.h"
#include "media_server/imedia_server.h"

namespace media_server {
namespace {

// What md5sum prints for these contents.
constexpr char kOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";
constexpr char kOfAbc[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr char kOfAMillionAs[] = "7707d6ae4e027c70eea2a935c2296f21";
constexpr char kOfTenMillionZeros[] = "311175294563b07db7ea80dee2e5b3c6";

class ContentDigestTest : public testing::Test {
 protected:
  ContentDigestTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "content-digest-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~ContentDigestTest() override { std::filesystem::remove_all(folder_); }

  std::string Write(const std::string& name, std::string_view content) {
    const std::string path = Path(name);
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  std::string Digest(const std::string& path) {
    reason_.clear();
    return DigestContent(path, &reason_).value_or("none");
  }

  std::string folder_;
  std::string reason_;
};

TEST_F(ContentDigestTest, IsTheMd5OfTheContent) {
  EXPECT_EQ(Digest(Write("nothing", "")), kOfNothing);
  EXPECT_EQ(Digest(Write("abc", "abc")), kOfAbc);
  EXPECT_EQ(Digest(Write("long", std::string(1'000'000, 'a'))), kOfAMillionAs);
}

TEST_F(ContentDigestTest, ReadsTheHolesOfASparseFileAsZeros) {
  const std::string path = Write("sparse", "");
  std::filesystem::resize_file(path, 10'000'000);
  EXPECT_EQ(Digest(path), kOfTenMillionZeros);
}

TEST_F(ContentDigestTest, DigestsTheFramesOfASequenceAsOneStream) {
  Write("f_09.png", "a");
  Write("f_10.png", "b");
  Write("f_11.png", "c");
  EXPECT_EQ(Digest(Path("f_[09-11].png")), kOfAbc);
}

TEST_F(ContentDigestTest, TakesAFileWithBracketsInItsNameAsAFile) {
  Write("f_1.png", "x");
  EXPECT_EQ(Digest(Write("f_[1].png", "abc")), kOfAbc);
}

TEST_F(ContentDigestTest, RefusesASequenceThatLacksAFrame) {
  Write("f_1.png", "a");
  Write("f_3.png", "c");
  EXPECT_EQ(Digest(Path("f_[1-3].png")), "none");
  EXPECT_EQ(reason_, "no such file: " + Path("f_2.png"));
  EXPECT_EQ(Digest(Path("f_[4000000000-18446744073709551615].png")), "none");
  EXPECT_EQ(Digest(Path("f_[].png")), "none");
  EXPECT_EQ(reason_, "a sequence without frames");
}

TEST_F(ContentDigestTest, RefusesWhatIsNoRegularFile) {
  EXPECT_EQ(Digest(Path("missing")), "none");
  EXPECT_EQ(reason_, "no such file");
  EXPECT_EQ(Digest(folder_), "none");
  EXPECT_EQ(reason_, "is a folder");
  EXPECT_EQ(Digest("/dev/zero"), "none");
  EXPECT_EQ(reason_, "not a regular file");
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Digest(Path("pipe")), "none") << "and it does not wait for a writer";
}

/// Tells a size of ten bytes and has four.
class ShortSource final : public IByteSource {
 public:
  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    return offset < 4 ? std::min<std::size_t>(out.size(), 4 - static_cast<std::size_t>(offset)) : 0;
  }
  std::optional<std::uint64_t> Size() const override { return 10; }
};

class CountingMd5 final : public IMd5 {
 public:
  bool Update(std::span<const std::uint8_t> bytes) override {
    updates += bytes.size();
    return false;
  }
  bool Finish(std::array<std::uint8_t, 16>*) override { return false; }

  std::size_t updates = 0;
};

TEST_F(ContentDigestTest, RefusesContentThatCannotBeReadToItsEnd) {
  ShortSource source;
  CountingMd5 md5;
  EXPECT_FALSE(AddContent(source, md5, &reason_));
  EXPECT_EQ(reason_, "cannot be read to its end");
  EXPECT_EQ(md5.updates, 0u);
}

TEST_F(ContentDigestTest, TellsWhenTheLibraryFails) {
  CountingMd5 md5;
  const auto source = OpenFileSource(Write("abc", "abc").c_str(), &reason_);
  ASSERT_TRUE(source);
  EXPECT_FALSE(AddContent(*source, md5, &reason_));
  EXPECT_EQ(reason_, "the digest cannot be computed");
  EXPECT_EQ(md5.updates, 3u);
}

TEST_F(ContentDigestTest, WorksOnManyThreads) {
  const std::string path = Write("long", std::string(1'000'000, 'a'));
  std::vector<std::thread> threads;
  std::vector<std::string> digests(8);
  for (std::string& digest : digests) {
    threads.emplace_back([&] {
      std::string reason;
      digest = DigestContent(path, &reason).value_or(reason);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& digest : digests) EXPECT_EQ(digest, kOfAMillionAs);
}

TEST_F(ContentDigestTest, CrossesTheLibraryBorderInACallersBuffer) {
  std::string buffer(64, 'x');
  EXPECT_TRUE(GetMD5Uuid(Write("abc", "abc").c_str(), buffer.data()));
  EXPECT_EQ(buffer, kOfAbc + std::string(1, '\0') + std::string(31, 'x'));
  EXPECT_STREQ(CoreErrorText(), "");
  char untouched[64] = "as it was";
  EXPECT_FALSE(GetMD5Uuid(Path("missing").c_str(), untouched));
  EXPECT_STREQ(untouched, "as it was");
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_FALSE(GetMD5Uuid(nullptr, untouched));
  EXPECT_FALSE(GetMD5Uuid(Path("abc").c_str(), nullptr));
}

}  // namespace
}  // namespace media_server
