// Registration, acquisition and release from many threads at once.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "framework/service/fake_service.h"
#include "service/iservice_manager.h"

namespace {

constexpr std::size_t kThreads = 8;
constexpr std::size_t kTables = 20;  // that each thread registers

std::atomic<int> created = 0;
std::atomic<int> released = 0;

service::IService* Create() {
  ++created;
  return new FakeService;
}

void Release(service::IService* service) {
  ++released;
  delete service;
}

/// A descriptor with the texts that it points at. The manager keeps it to the end of the process.
struct Registration {
  std::string name;
  std::string uuid;
  service::ServiceDescriptor descriptor{};
};
std::array<std::deque<Registration>, kThreads> registrations;

std::string NameOf(std::size_t thread, std::size_t table) {
  return "race/" + std::to_string(thread) + "/" + std::to_string(table);
}

const service::ServiceDescriptor& AddRegistration(std::size_t thread, std::size_t table) {
  const std::string digits = std::to_string(1000 + thread * kTables + table);
  Registration& added = registrations[thread].emplace_back();
  added.name = NameOf(thread, table);
  added.uuid = "ABCD" + digits + "-0000-4000-8000-000000000000";
  added.descriptor = {added.name.c_str(), "of a race", added.uuid.c_str(), 0, nullptr, &Create, &Release, 0, 0};
  return added.descriptor;
}

TEST(ServiceManagerRaceTest, KeepsItsBooks) {
  service::IServiceManager& manager = *ZORServiceMrgAcqire(0);
  const std::uint32_t before = manager.GetServiceCount();
  std::atomic<int> refused = 0;
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t table = 0; table < kTables; ++table) {
        if (!manager.RegisterServices(&AddRegistration(thread, table), 1, nullptr)) ++refused;
        if (!manager.AcquireService(NameOf(thread, table).c_str(), true, 0)) ++refused;
        // Another thread's, which may not be there yet.
        const auto other = manager.AcquireService(NameOf((thread + 1) % kThreads, table).c_str(), true, 0);
        if (other && other->FirstStateQuery() != 0) ++refused;
        for (std::uint32_t i = 0; i < manager.GetServiceCount(); ++i) {
          if (manager.GetService(i) == nullptr) ++refused;
        }
        if (table % 5 == thread % 5) manager.ReleaseServices();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(refused, 0);
  EXPECT_EQ(manager.GetServiceCount(), before + kThreads * kTables);

  manager.ReleaseServices();
  EXPECT_GE(created, static_cast<int>(kThreads * kTables));
  EXPECT_EQ(released, created);
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    for (std::size_t table = 0; table < kTables; ++table) {
      EXPECT_EQ(manager.AcquireService(NameOf(thread, table).c_str(), false, 0), nullptr);
    }
  }
}

}  // namespace
