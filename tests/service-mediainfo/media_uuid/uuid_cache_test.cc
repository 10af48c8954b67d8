#include "service-mediainfo/media_uuid/uuid_cache.h"

#include <gtest/gtest.h>

namespace service::mediainfo::media_uuid::impl {
namespace {

TEST(UuidCache, FindsWhatWasPut) {
  UuidCache cache;
  EXPECT_EQ(cache.Find("/a"), nullptr);
  const char* put = cache.Put("/a", "text of a");
  EXPECT_STREQ(put, "text of a");
  EXPECT_EQ(cache.Find("/a"), put);
  EXPECT_EQ(cache.Find("/"), nullptr);
  EXPECT_EQ(cache.Find("/ab"), nullptr);
}

TEST(UuidCache, KeepsTheTextWhenTheSameIsPutAgain) {
  UuidCache cache;
  const char* first = cache.Put("/a", "text");
  EXPECT_EQ(cache.Put("/a", "text"), first);
  EXPECT_EQ(cache.Find("/a"), first);
}

TEST(UuidCache, TakesTheLaterOfTwoTexts) {
  UuidCache cache;
  const char* first = cache.Put("/a", "first");
  const char* second = cache.Put("/a", "second");
  EXPECT_STREQ(cache.Find("/a"), "second");
  EXPECT_EQ(cache.Find("/a"), second);
  // Whoever still reads the first one reads what it was.
  EXPECT_STREQ(first, "first");
  EXPECT_EQ(cache.Put("/a", "first"), first);
}

TEST(UuidCache, CopiesBothTexts) {
  UuidCache cache;
  std::string path = "/a";
  std::string text = "text";
  cache.Put(path, text);
  path.assign("xx");
  text.assign("xxxx");
  EXPECT_STREQ(cache.Find("/a"), "text");
}

TEST(UuidCache, KeepsTextsInPlaceWhileItGrows) {
  UuidCache cache;
  const char* first = cache.Put("/first", "the text of the first file");
  for (int file = 0; file < 1000; ++file) cache.Put("/" + std::to_string(file), std::to_string(file));
  EXPECT_EQ(cache.Find("/first"), first);
  EXPECT_STREQ(first, "the text of the first file");
}

}  // namespace
}  // namespace service::mediainfo::media_uuid::impl
