#include "media-server/picture_tags/iptc_tags.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/media-server/zone.h"

namespace media_server::picture_tags {
namespace {

/// A data set of record 2.
std::string DataSet(std::uint8_t number, std::string_view text) {
  return std::string{'\x1C', '\x02', static_cast<char>(number), '\0', static_cast<char>(text.size())} +
         std::string(text);
}

std::optional<std::int64_t> CreatedIn(const std::string& data_sets) {
  image::PictureTags tags;
  ReadIptcTags(std::vector<std::uint8_t>(data_sets.begin(), data_sets.end()), tags);
  return tags.created;
}

TEST(IptcTagsTest, ReadsTheTimeOfCreation) {
  EXPECT_EQ(CreatedIn(DataSet(55, "20120709") + DataSet(60, "140000+0200")), 1341835200);
}

TEST(IptcTagsTest, ReadsTheTimeOfDigitizingWhereThatOfCreationIsMissing) {
  const std::string digitized = DataSet(62, "20120709") + DataSet(63, "140000+0200");
  EXPECT_EQ(CreatedIn(digitized), 1341835200);
  EXPECT_EQ(CreatedIn(DataSet(55, "20100101") + digitized), 1341835200) << "a date alone is no time";
  EXPECT_EQ(CreatedIn(digitized + DataSet(55, "20120709") + DataSet(60, "140001+0200")), 1341835201);
}

TEST(IptcTagsTest, TakesADateAloneForNoTime) {
  EXPECT_EQ(CreatedIn(DataSet(55, "20120709")), std::nullopt);
  EXPECT_EQ(CreatedIn(DataSet(60, "140000+0200")), std::nullopt);
  EXPECT_EQ(CreatedIn(DataSet(55, "00000000") + DataSet(60, "000000+0000")), std::nullopt);
  EXPECT_EQ(CreatedIn("\x1C\x02\x37"), std::nullopt);
}

TEST(IptcTagsTest, KeepsWhatIsKnown) {
  const std::string data_sets = DataSet(55, "20120709") + DataSet(60, "140000+0200");
  image::PictureTags tags;
  tags.created = 7;
  ReadIptcTags(std::vector<std::uint8_t>(data_sets.begin(), data_sets.end()), tags);
  EXPECT_EQ(tags.created, 7);
}

}  // namespace
}  // namespace media_server::picture_tags
