#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "service/iservice_manager.h"

namespace {

TEST(ServiceLibraryTest, ThereIsOneManager) {
  service::IServiceManager* manager = ZORServiceMrgAcqire(0);
  ASSERT_NE(manager, nullptr);
  EXPECT_EQ(ZORServiceMrgAcqire(7), manager);
  EXPECT_EQ(manager->GetServiceCount(), 0U);
}

TEST(ServiceLibraryTest, EveryThreadGetsTheSameManager) {
  std::vector<service::IServiceManager*> managers(8);
  {
    std::vector<std::jthread> threads;
    threads.reserve(managers.size());
    for (service::IServiceManager*& manager : managers) {
      threads.emplace_back([&manager] { manager = ZORServiceMrgAcqire(0); });
    }
  }
  EXPECT_EQ(std::set(managers.begin(), managers.end()).size(), 1U);
}

}  // namespace
