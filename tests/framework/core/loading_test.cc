#include "core/loading.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string told;

TEST(LoadingTest, IsToldToTheWatcherOnly) {
  CoreTellLoading("before anybody watches");
  CoreWatchLoading([](const char* name) { told += name; });
  CoreTellLoading("libMediaServerDigest.so");
  CoreWatchLoading(nullptr);
  CoreTellLoading("after that");
  EXPECT_EQ(told, "libMediaServerDigest.so");
}

}  // namespace
