#include "digest_line.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace mediaprobe {
namespace {

using std::chrono::milliseconds;

/// What `use` writes.
template <typename Use>
std::string Written(Use use) {
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* file = open_memstream(&text, &length);
  use(file);
  std::fclose(file);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
  return {text, length};
}

TEST(DigestLine, TextsTellTheShareOrTheBytes) {
  EXPECT_EQ(DigestText("a.mp4", 0, 1'268'000'000), "a.mp4: digesting, 0 % of 1.27 GB");
  EXPECT_EQ(DigestText("a.mp4", 999, 1'000), "a.mp4: digesting, 99 % of 1 kB");
  EXPECT_EQ(DigestText("a.mp4", 1'000, 1'000), "a.mp4: digesting, 100 % of 1 kB");
  EXPECT_EQ(DigestText("f_[1-9].png", 520'000'000, 0), "f_[1-9].png: digesting, 520 MB");
}

TEST(DigestLine, NamesAreShortAndFitForATerminal) {
  EXPECT_EQ(DigestText("a\x1b[31m", 1, 2), "a\\x1b[31m: digesting, 50 % of 2 B");
  EXPECT_LE(DigestText(std::string(300, 'x'), 1'000'000'000, 1'268'000'000).size(), 79u);
}

TEST(DigestLine, LineIsWrittenOverAndWiped) {
  EXPECT_EQ(Written([](std::FILE* file) {
              DigestLine line("a", file, milliseconds(0));
              line.Show(1, 4);
              line.Show(2, 4);
            }),
            "\r\x1b[Ka: digesting, 25 % of 4 B\r\x1b[Ka: digesting, 50 % of 4 B\r\x1b[K");
}

TEST(DigestLine, NothingIsWrittenForShortDigests) {
  EXPECT_EQ(Written([](std::FILE* file) {
              DigestLine line("a", file, milliseconds(60'000));
              line.Show(1, 4);
            }),
            "");
}

}  // namespace
}  // namespace mediaprobe
