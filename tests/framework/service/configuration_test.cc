#include "service/configuration.h"

#include <gtest/gtest.h>

namespace {

using service::Configuration;

TEST(ConfigurationTest, AbsentKeyIsNull) {
  Configuration configuration;
  EXPECT_EQ(configuration.GetString("SetAppPath", 0), nullptr);
  EXPECT_EQ(configuration.GetString(nullptr, 0), nullptr);
}

TEST(ConfigurationTest, GivesWhatWasSet) {
  Configuration configuration;
  configuration.Set(service::config_keys::kSetAppPath, "/opt/app");
  configuration.Set(service::config_keys::kSetLogPath, "");
  EXPECT_STREQ(configuration.GetString("SetAppPath", 0), "/opt/app");
  EXPECT_STREQ(configuration.GetString("SetLogPath", 0), "");
  EXPECT_EQ(configuration.GetString("setapppath", 0), nullptr);
}

TEST(ConfigurationTest, LaterValueReplacesEarlier) {
  Configuration configuration;
  configuration.Set("SetAppPath", "/first");
  configuration.Set("SetAppPath", "/second");
  EXPECT_STREQ(configuration.GetString("SetAppPath", 0), "/second");
}

TEST(ConfigurationTest, ValueStaysInPlaceWhileOthersAreSet) {
  Configuration configuration;
  configuration.Set("first", "value");
  const char* value = configuration.GetString("first", 0);
  for (int index = 0; index < 100; ++index) configuration.Set("key " + std::to_string(index), "other");
  EXPECT_EQ(configuration.GetString("first", 0), value);
  EXPECT_STREQ(value, "value");
}

}  // namespace
