#include "media-server/metadata/iso6709.h"

#include <gtest/gtest.h>

#include <string>

namespace media_server {
namespace {

struct Case {
  const char* text;
  double latitude;
  double longitude;
};

class Iso6709Test : public testing::TestWithParam<Case> {};

TEST_P(Iso6709Test, ReadsDegrees) {
  const auto location = ParseIso6709(GetParam().text);
  ASSERT_TRUE(location.has_value());
  EXPECT_NEAR(location->latitude, GetParam().latitude, 1e-6);
  EXPECT_NEAR(location->longitude, GetParam().longitude, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(Forms, Iso6709Test,
                         testing::Values(Case{"+48.8577+002.295/", 48.8577, 2.295},             // north east
                                         Case{"-33.8568+151.2153/", -33.8568, 151.2153},        // south east
                                         Case{"+40.7128-074.0060+010.000/", 40.7128, -74.006},  // north west, height
                                         Case{"-22.9068-043.1729/", -22.9068, -43.1729},        // south west
                                         Case{"+4851.47+00217.70/", 48.857833, 2.295},          // minutes
                                         Case{"+485128.1+0021742.5CRSWGS_84/", 48.857806, 2.295139},  // seconds
                                         Case{"+90-180", 90, -180},                                   // the limits
                                         Case{"+1.5+2.5", 1.5, 2.5},                                  // unpadded
                                         Case{"+00.0000+000.0000/", 0, 0}));

class NoIso6709Test : public testing::TestWithParam<const char*> {};

TEST_P(NoIso6709Test, IsNoPlace) { EXPECT_EQ(ParseIso6709(GetParam()), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(Garbage, NoIso6709Test,
                         testing::Values("", "+", "+-", "48.8577+002.295/", "+48.8577", "+48.8577/", "+91+000",
                                         "+00+181", "+4860.00+00217.70", "+4.8.5+2", "+nan+nan", "+12345678+002",
                                         "+037.5090+127.0243/", "+48515+0021742", "+48.8577+0217.70", "+48.8577+002174",
                                         "+48.8577 +002.295", "+.+."));

TEST(Iso6709LimitsTest, TakesAnyLength) {
  EXPECT_EQ(ParseIso6709("+" + std::string(1 << 20, '9')), std::nullopt);
  EXPECT_EQ(ParseIso6709("+1" + std::string(1 << 20, '.')), std::nullopt);
}

}  // namespace
}  // namespace media_server
