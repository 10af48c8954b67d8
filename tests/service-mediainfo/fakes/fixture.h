#pragma once

#include <gtest/gtest.h>

#include "fakes/log_capture.h"
#include "fakes/system_strings.h"

namespace fakes {

/// Every test ends with all system strings returned, and with every log line looked at by the test (TakeLog).
class Fixture : public testing::Test {
 protected:
  void SetUp() override { TakeLog(); }
  void TearDown() override {
    EXPECT_EQ(LiveSystemStrings(), 0u) << "system strings were not freed";
    for (const LogLine& line : TakeLog()) ADD_FAILURE() << "unexpected log line: " << line;
  }
};

}  // namespace fakes
