#include "mediainfo/aigc_meta.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace service::mediainfo::metedata_keys {
namespace {

AIGC_META Record(const char* text) {
  AIGC_META record;
  record.text = strdup(text);
  record.length = static_cast<std::uint32_t>(std::strlen(text));
  return record;
}

TEST(AigcMetaTest, StartsEmpty) {
  const AIGC_META record;
  EXPECT_EQ(record.text, nullptr);
  EXPECT_EQ(record.length, 0u);
}

TEST(AigcMetaTest, CopiesItsText) {
  const AIGC_META record = Record("{}");
  const AIGC_META copy = record;
  record.text[0] = 'x';
  EXPECT_STREQ(copy.text, "{}");
  EXPECT_EQ(copy.length, 2u);
}

TEST(AigcMetaTest, CopiesNothingWithoutATextOrALength) {
  AIGC_META no_length = Record("text");
  no_length.length = 0;
  const AIGC_META copy_of_no_length = no_length;
  EXPECT_EQ(copy_of_no_length.text, nullptr);
  EXPECT_EQ(copy_of_no_length.length, 0u);

  AIGC_META no_text;
  no_text.length = 5;
  const AIGC_META copy_of_no_text = no_text;
  EXPECT_EQ(copy_of_no_text.text, nullptr);
  EXPECT_EQ(copy_of_no_text.length, 0u);
}

// The copy is as long as the record says, zeros behind a shorter text.
TEST(AigcMetaTest, CopiesATextShorterThanItsLength) {
  AIGC_META record = Record("ab");
  record.length = 4;
  const AIGC_META copy = record;
  EXPECT_EQ(std::string(copy.text, 5), std::string("ab\0\0\0", 5));
  EXPECT_EQ(copy.length, 4u);
}

TEST(AigcMetaTest, EndsTheCopyOfATextLongerThanItsLength) {
  AIGC_META record = Record("abcdef");
  record.length = 3;
  const AIGC_META copy = record;
  EXPECT_STREQ(copy.text, "abc");
  EXPECT_EQ(copy.length, 3u);
}

TEST(AigcMetaTest, StaysAsItIsWhenAssignedToItself) {
  AIGC_META record = Record("{}");
  record.length = 0;  // a copy would be empty
  const char* text = record.text;
  const AIGC_META& same = record;
  record = same;
  EXPECT_EQ(record.text, text);
  EXPECT_STREQ(record.text, "{}");
}

TEST(AigcMetaTest, IsEmptyAfterClear) {
  AIGC_META record = Record("{}");
  record.Clear();
  EXPECT_EQ(record.text, nullptr);
  EXPECT_EQ(record.length, 0u);
}

}  // namespace
}  // namespace service::mediainfo::metedata_keys
