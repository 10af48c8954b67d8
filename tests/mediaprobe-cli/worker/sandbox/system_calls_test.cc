#include "worker/sandbox/system_calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>

namespace mediaprobe::sandbox {
namespace {

// What is promised of a process that answers one input.
constexpr std::size_t kMostSystemCalls = 40;

#if !defined(MEDIAPROBE_SANITIZED)
TEST(SystemCallsTest, AreFew) {
  EXPECT_LE(std::size(kAllowed) + std::size(kAllowedWithoutNetwork), kMostSystemCalls);
  EXPECT_LE(std::size(kAllowed) + std::size(kAllowedForNetwork), kMostSystemCalls);
}
#endif

TEST(SystemCallsTest, AreNamedOnceWithAReason) {
  std::set<std::string> names;
  for (const auto& call : kAllowed) {
    EXPECT_TRUE(names.insert(call.name).second) << call.name;
    EXPECT_GE(std::string(call.reason).size(), 5u) << call.name;
  }
  for (const auto& call : kAllowedWithoutNetwork) {
    EXPECT_TRUE(names.insert(call.name).second) << call.name;
    EXPECT_GE(std::string(call.reason).size(), 5u) << call.name;
  }
  for (const auto& call : kAllowedForNetwork) {
    EXPECT_GE(std::string(call.reason).size(), 3u) << call.name;
#if !defined(MEDIAPROBE_SANITIZED)
    EXPECT_TRUE(names.insert(call.name).second) << call.name;
#endif
  }
}

TEST(SystemCallsTest, AreNotDeadlyAndAllowedAtOnce) {
  std::set<std::string> allowed;
  for (const auto& call : kAllowed) allowed.insert(call.name);
  for (const auto& call : kAllowedWithoutNetwork) allowed.insert(call.name);
  for (const char* name : kDeadlyWithoutNetwork) EXPECT_FALSE(allowed.contains(name)) << name;
  for (const auto& call : kAllowedForNetwork) allowed.insert(call.name);
  for (const char* name : kDeadly) EXPECT_FALSE(allowed.contains(name)) << name;
  for (const char* name : kDeadlyServers) EXPECT_FALSE(allowed.contains(name)) << name;
}

}  // namespace
}  // namespace mediaprobe::sandbox
