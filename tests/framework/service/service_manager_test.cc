#include "service_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/error_text.h"
#include "core/log.h"
#include "fake_service.h"
#include "fakes/failing_allocations.h"
#include "platform/library.h"
#include "service/configuration.h"

namespace {

using service::Configuration;
using service::IConfig;
using service::IService;
using service::ServiceDescriptor;
using service::ServiceManager;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using ServicePtr = std::shared_ptr<IService>;

/// What the functions of one scripted service do and have done. Descriptors hold plain functions, hence the globals.
struct Script {
  std::function<bool(IConfig*)> init = [](IConfig*) { return true; };
  std::function<IService*()> create = [] { return new FakeService; };
  std::function<void()> on_release = [] {};
  std::atomic<int> inits{0};
  std::atomic<int> creations{0};
  std::atomic<int> releases{0};
};
constexpr std::size_t kScripts = 3;
std::array<Script*, kScripts> scripts{};
std::mutex events_mutex;
std::vector<std::string> events;

constexpr const char* kNames[kScripts] = {"fake/zero", "fake/one", "fake/two"};
constexpr const char* kUuids[kScripts] = {"AAAAAAAA-0000-0000-0000-00000000000A",
                                          "BBBBBBBB-0000-0000-0000-00000000000B",
                                          "CCCCCCCC-0000-0000-0000-00000000000C"};

/// On whichever thread the last reference goes.
void NoteRelease(std::size_t index) {
  const std::lock_guard lock(events_mutex);
  events.push_back(std::string("release ") + kNames[index]);
}

template <std::size_t kIndex>
constexpr ServiceDescriptor Describe() {
  return {kNames[kIndex],
          "scripted",
          kUuids[kIndex],
          0,
          [](IConfig* config) {
            ++scripts[kIndex]->inits;
            return scripts[kIndex]->init(config);
          },
          []() -> IService* {
            ++scripts[kIndex]->creations;
            return scripts[kIndex]->create();
          },
          [](IService* service) {
            ++scripts[kIndex]->releases;
            NoteRelease(kIndex);
            scripts[kIndex]->on_release();
            delete service;
          },
          0,
          0};
}
constexpr std::array<ServiceDescriptor, kScripts> kTable{Describe<0>(), Describe<1>(), Describe<2>()};

class ServiceManagerTest : public testing::Test {
 protected:
  ServiceManagerTest() {
    events.clear();
    for (std::size_t index = 0; index < kScripts; ++index) scripts[index] = &script_[index];
    // Failures are logged on purpose here; what they say is read from the error text.
    CoreLogSetLevel(kCoreLogOff);
    CoreSetErrorText(nullptr);
  }

  bool Register(const std::array<ServiceDescriptor, kScripts>& table = kTable) {
    return manager_.RegisterServices(table.data(), kScripts, &configuration_);
  }

  std::array<Script, kScripts> script_;
  Configuration configuration_;
  ServiceManager manager_;
};

TEST_F(ServiceManagerTest, StartsWithoutServices) {
  EXPECT_EQ(manager_.GetServiceCount(), 0U);
  EXPECT_EQ(manager_.GetService(0), nullptr);
  EXPECT_EQ(manager_.AcquireService("fake/zero", true, 0), nullptr);
}

TEST_F(ServiceManagerTest, RegistersInTheOrderOfTheTable) {
  ASSERT_TRUE(Register());
  ASSERT_EQ(manager_.GetServiceCount(), 3U);
  EXPECT_EQ(manager_.GetService(0), &kTable[0]);
  EXPECT_EQ(manager_.GetService(2), &kTable[2]);
  EXPECT_EQ(manager_.GetService(3), nullptr);
}

TEST_F(ServiceManagerTest, InitsEachServiceOnceWithTheConfiguration) {
  configuration_.Set("SetAppPath", "/app");
  script_[1].init = [](IConfig* config) { return std::string(config->GetString("SetAppPath", 0)) == "/app"; };
  ASSERT_TRUE(Register());
  for (const Script& script : script_) EXPECT_EQ(script.inits, 1);
  for (const Script& script : script_) EXPECT_EQ(script.creations, 0);
}

TEST_F(ServiceManagerTest, NullConfigurationReachesTheInitFunctions) {
  script_[0].init = [](IConfig* config) { return config == nullptr; };
  EXPECT_TRUE(manager_.RegisterServices(kTable.data(), 1, nullptr));
}

TEST_F(ServiceManagerTest, ServiceWithoutInitFunctionIsRegistered) {
  auto table = kTable;
  table[1].init = nullptr;
  EXPECT_TRUE(Register(table));
  EXPECT_EQ(script_[1].inits, 0);
}

TEST_F(ServiceManagerTest, RegisteringATableTwiceChangesNothing) {
  ASSERT_TRUE(Register());
  EXPECT_TRUE(Register());
  EXPECT_EQ(manager_.GetServiceCount(), 3U);
  EXPECT_EQ(script_[0].inits, 1);
}

TEST_F(ServiceManagerTest, RefusedInitRegistersNothing) {
  script_[1].init = [](IConfig*) { return false; };
  EXPECT_FALSE(Register());
  EXPECT_STREQ(CoreErrorText(), "the init function of \"fake/one\" refused");
  EXPECT_EQ(manager_.GetServiceCount(), 0U);
  EXPECT_EQ(manager_.AcquireService("fake/zero", true, 0), nullptr);
  EXPECT_EQ(script_[2].inits, 0);
  // The refusal is not remembered.
  script_[1].init = [](IConfig*) { return true; };
  EXPECT_TRUE(Register());
}

TEST_F(ServiceManagerTest, RunningOutOfMemoryRegistersNothing) {
  const int failures = fakes::CountFailures([&] { return Register(); },
                                            [&] {
                                              EXPECT_EQ(manager_.GetServiceCount(), 0U);
                                              EXPECT_STREQ(CoreErrorText(), "out of memory");
                                            });
  EXPECT_GT(failures, 0);
  for (const char* name : kNames) EXPECT_NE(manager_.AcquireService(name, true, 0), nullptr);
}

TEST_F(ServiceManagerTest, TakenKeyRegistersNothing) {
  ASSERT_TRUE(manager_.RegisterServices(&kTable[1], 1, &configuration_));
  auto same_name = kTable;
  same_name[1].uuid = "DDDDDDDD-0000-0000-0000-00000000000D";
  EXPECT_FALSE(Register(same_name));
  EXPECT_STREQ(CoreErrorText(), "another service is called \"fake/one\"");
  auto same_uuid = kTable;
  same_uuid[1].name = "fake/other";
  same_uuid[1].uuid = "bbbbbbbb-0000-0000-0000-00000000000b";
  EXPECT_FALSE(Register(same_uuid));
  EXPECT_STREQ(CoreErrorText(), "another service is called \"BBBBBBBB-0000-0000-0000-00000000000B\"");
  EXPECT_EQ(manager_.GetServiceCount(), 1U);
  EXPECT_EQ(script_[0].inits, 0);
}

TEST_F(ServiceManagerTest, ImproperTablesAreRefused) {
  EXPECT_FALSE(manager_.RegisterServices(nullptr, 3, &configuration_));
  EXPECT_FALSE(manager_.RegisterServices(kTable.data(), 0, &configuration_));
  auto table = kTable;
  table[2].name = nullptr;
  EXPECT_FALSE(Register(table));
  EXPECT_STREQ(CoreErrorText(), "service 2: it has no name");
  EXPECT_EQ(script_[0].inits, 0);
}

TEST_F(ServiceManagerTest, FailureIsLoggedWithItsReason) {
  CoreLogSetLevel(kCoreLogError);
  testing::internal::CaptureStderr();
  manager_.LoadModule("/nowhere/module.so", &configuration_);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("[service] [error] cannot register the services of /nowhere/module.so: /nowhere/module.so: "));
}

TEST_F(ServiceManagerTest, ThrowingInitIsARefusal) {
  script_[0].init = [](IConfig*) -> bool { throw std::runtime_error("no licence"); };
  EXPECT_FALSE(Register());
  EXPECT_STREQ(CoreErrorText(), "no licence");
  script_[0].init = [](IConfig*) -> bool { throw 1; };
  EXPECT_FALSE(Register());
  EXPECT_EQ(manager_.GetServiceCount(), 0U);
}

TEST_F(ServiceManagerTest, InitFunctionMayRegisterOtherServices) {
  script_[0].init = [this](IConfig* config) { return manager_.RegisterServices(&kTable[1], 1, config); };
  ASSERT_TRUE(manager_.RegisterServices(&kTable[0], 1, &configuration_));
  EXPECT_EQ(manager_.GetServiceCount(), 2U);
  EXPECT_NE(manager_.AcquireService("fake/one", true, 0), nullptr);
}

TEST_F(ServiceManagerTest, KeyTakenByAnInitFunctionRegistersNothingMore) {
  static constexpr std::array kTwin{Describe<0>()};
  int depth = 0;
  script_[0].init = [&](IConfig* config) { return depth++ > 0 || manager_.RegisterServices(kTwin.data(), 1, config); };
  EXPECT_FALSE(Register());
  EXPECT_STREQ(CoreErrorText(), "another service is called \"AAAAAAAA-0000-0000-0000-00000000000A\"");
  ASSERT_EQ(manager_.GetServiceCount(), 1U);
  EXPECT_EQ(manager_.GetService(0), kTwin.data());
}

TEST_F(ServiceManagerTest, FindsServicesByNameAndByUuidOfEitherCase) {
  ASSERT_TRUE(Register());
  const ServicePtr by_name = manager_.AcquireService("fake/one", true, 0);
  ASSERT_NE(by_name, nullptr);
  EXPECT_EQ(manager_.AcquireService(kUuids[1], true, 0), by_name);
  EXPECT_EQ(manager_.AcquireService("bbbbbbbb-0000-0000-0000-00000000000b", true, 0), by_name);
  EXPECT_NE(manager_.AcquireService("fake/two", true, 0), by_name);
  EXPECT_EQ(script_[1].creations, 1);
}

TEST_F(ServiceManagerTest, UnknownServicesAreNotFound) {
  ASSERT_TRUE(Register());
  for (const char* id : {"", "fake", "FAKE/ONE", "fake/one ", "BBBBBBBB-0000-0000-0000-00000000000C"}) {
    EXPECT_EQ(manager_.AcquireService(id, true, 0), nullptr) << id;
  }
  EXPECT_EQ(manager_.AcquireService(nullptr, true, 0), nullptr);
}

TEST_F(ServiceManagerTest, WithoutCreateOnlyAnExistingServiceIsGiven) {
  ASSERT_TRUE(Register());
  EXPECT_EQ(manager_.AcquireService("fake/one", false, 0), nullptr);
  EXPECT_EQ(script_[1].creations, 0);
  const ServicePtr created = manager_.AcquireService("fake/one", true, 0);
  EXPECT_EQ(manager_.AcquireService("fake/one", false, 0), created);
}

TEST_F(ServiceManagerTest, FailedCreationIsTriedAgain) {
  ASSERT_TRUE(Register());
  script_[0].create = []() -> IService* { return nullptr; };
  EXPECT_EQ(manager_.AcquireService("fake/zero", true, 0), nullptr);
  script_[0].create = []() -> IService* { throw std::bad_alloc(); };
  EXPECT_EQ(manager_.AcquireService("fake/zero", true, 0), nullptr);
  script_[0].create = [] { return new FakeService; };
  EXPECT_NE(manager_.AcquireService("fake/zero", true, 0), nullptr);
  EXPECT_EQ(script_[0].creations, 3);
  manager_.ReleaseServices();
  EXPECT_EQ(script_[0].releases, 1);
}

TEST_F(ServiceManagerTest, ReleasesInReverseOrderOfCreation) {
  ASSERT_TRUE(Register());
  for (const char* name : {"fake/one", "fake/two", "fake/zero", "fake/one"}) manager_.AcquireService(name, true, 0);
  EXPECT_THAT(events, IsEmpty());
  manager_.ReleaseServices();
  EXPECT_THAT(events, ElementsAre("release fake/zero", "release fake/two", "release fake/one"));
  manager_.ReleaseServices();
  EXPECT_EQ(events.size(), 3U);
}

TEST_F(ServiceManagerTest, ServiceThatIsNeededIsReleasedAfterTheOneThatNeedsIt) {
  ASSERT_TRUE(Register());
  script_[0].create = [this] {
    manager_.AcquireService("fake/one", true, 0);
    return new FakeService;
  };
  ASSERT_NE(manager_.AcquireService("fake/zero", true, 0), nullptr);
  manager_.ReleaseServices();
  EXPECT_THAT(events, ElementsAre("release fake/zero", "release fake/one"));
}

TEST_F(ServiceManagerTest, HeldServiceIsReleasedWithItsLastReference) {
  ASSERT_TRUE(Register());
  ServicePtr held = manager_.AcquireService("fake/zero", true, 0);
  ServicePtr copy = held;
  manager_.ReleaseServices();
  held.reset();
  EXPECT_EQ(script_[0].releases, 0);
  EXPECT_EQ(copy->FirstStateQuery(), 0U);
  copy.reset();
  EXPECT_EQ(script_[0].releases, 1);
}

TEST_F(ServiceManagerTest, ReleasedServiceIsCreatedAnew) {
  ASSERT_TRUE(Register());
  manager_.AcquireService("fake/zero", true, 0);
  manager_.ReleaseServices();
  EXPECT_EQ(manager_.GetServiceCount(), 3U);
  EXPECT_EQ(manager_.AcquireService("fake/zero", false, 0), nullptr);
  EXPECT_NE(manager_.AcquireService("fake/zero", true, 0), nullptr);
  EXPECT_EQ(script_[0].creations, 2);
  EXPECT_EQ(script_[0].inits, 1);
}

TEST_F(ServiceManagerTest, ManagerReleasesWhatIsLeft) {
  {
    ServiceManager manager;
    ASSERT_TRUE(manager.RegisterServices(kTable.data(), kScripts, &configuration_));
    manager.AcquireService("fake/zero", true, 0);
    manager.AcquireService("fake/one", true, 0);
  }
  EXPECT_THAT(events, ElementsAre("release fake/one", "release fake/zero"));
}

TEST_F(ServiceManagerTest, ServiceThatAsksForItselfGetsNothing) {
  ASSERT_TRUE(Register());
  ServicePtr inner;
  script_[0].create = [&] {
    inner = manager_.AcquireService("fake/one", true, 0);
    return new FakeService;
  };
  script_[1].create = [&]() -> IService* {
    EXPECT_EQ(manager_.AcquireService("fake/zero", true, 0), nullptr);
    return new FakeService;
  };
  EXPECT_NE(manager_.AcquireService("fake/zero", true, 0), nullptr);
  EXPECT_NE(inner, nullptr);
  EXPECT_EQ(script_[0].creations, 1);
}

TEST_F(ServiceManagerTest, ReleaseEndsThoughReleaseFunctionsAskForTheirOwnService) {
  ASSERT_TRUE(Register());
  script_[0].on_release = [this] { manager_.AcquireService("fake/zero", true, 0); };
  manager_.AcquireService("fake/zero", true, 0);
  manager_.ReleaseServices();
  EXPECT_EQ(script_[0].releases, 1);
  EXPECT_EQ(script_[0].creations, 2);
  script_[0].on_release = [] {};
}

TEST_F(ServiceManagerTest, ThreadsThatAcquireAtOnceGetOneService) {
  ASSERT_TRUE(Register());
  constexpr std::size_t kThreads = 8;
  script_[0].create = [] {
    // Time for the others to find no service and to queue up behind this one.
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return new FakeService;
  };
  for (int round = 0; round < 20; ++round) {
    std::barrier start(kThreads);
    std::vector<ServicePtr> services(kThreads);
    {
      std::vector<std::jthread> threads;
      for (std::size_t index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
          start.arrive_and_wait();
          services[index] = manager_.AcquireService(index % 2 == 0 ? kNames[0] : kUuids[0], true, 0);
        });
      }
    }
    ASSERT_EQ(std::set(services.begin(), services.end()).size(), 1U);
    ASSERT_NE(services[0], nullptr);
    ASSERT_EQ(script_[0].creations, round + 1);
    services.clear();
    manager_.ReleaseServices();
    ASSERT_EQ(script_[0].releases, round + 1);
  }
}

TEST_F(ServiceManagerTest, ExistingServiceIsGivenWhileAnotherIsBeingCreated) {
  ASSERT_TRUE(Register());
  const ServicePtr existing = manager_.AcquireService("fake/one", true, 0);
  std::promise<void> creating;
  std::promise<void> go_on;
  script_[0].create = [&] {
    creating.set_value();
    go_on.get_future().wait();
    return new FakeService;
  };
  std::jthread creator([&] { EXPECT_NE(manager_.AcquireService("fake/zero", true, 0), nullptr); });
  creating.get_future().wait();
  // Would wait forever if creating held the lock that finding takes.
  EXPECT_EQ(manager_.AcquireService("fake/one", true, 0), existing);
  EXPECT_EQ(manager_.AcquireService("fake/zero", false, 0), nullptr);
  EXPECT_EQ(manager_.GetServiceCount(), 3U);
  go_on.set_value();
}

TEST_F(ServiceManagerTest, ServicesThatNeedEachOtherDoNotBlockTwoThreads) {
  ASSERT_TRUE(Register());
  for (int round = 0; round < 50; ++round) {
    script_[0].create = [&] {
      manager_.AcquireService("fake/one", true, 0);
      return new FakeService;
    };
    script_[1].create = [&] {
      manager_.AcquireService("fake/zero", true, 0);
      return new FakeService;
    };
    std::barrier start(2);
    {
      std::vector<std::jthread> threads;
      for (const char* name : {"fake/zero", "fake/one"}) {
        threads.emplace_back([&, name] {
          start.arrive_and_wait();
          EXPECT_NE(manager_.AcquireService(name, true, 0), nullptr);
        });
      }
    }
    manager_.ReleaseServices();
  }
  EXPECT_EQ(script_[0].creations, 50);
  EXPECT_EQ(script_[1].creations, 50);
}

TEST_F(ServiceManagerTest, RegisteringAcquiringAndReleasingMayOverlap) {
  std::vector<std::jthread> threads;
  std::barrier start(4);
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (std::size_t index = 0; index < kScripts; ++index)
      manager_.RegisterServices(&kTable[index], 1, &configuration_);
  });
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (int round = 0; round < 100; ++round) {
      for (const char* name : kNames) manager_.AcquireService(name, true, 0);
    }
  });
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (int round = 0; round < 100; ++round) manager_.ReleaseServices();
  });
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (std::uint32_t index = 0; index < 1000; ++index) {
      const ServiceDescriptor* descriptor = manager_.GetService(index % 3);
      EXPECT_TRUE(descriptor == nullptr || descriptor == &kTable[index % 3]);
    }
  });
  threads.clear();
  manager_.ReleaseServices();
  EXPECT_EQ(manager_.GetServiceCount(), 3U);
  for (const Script& script : script_) EXPECT_EQ(script.creations, script.releases);
}

TEST_F(ServiceManagerTest, LoadsAModuleWithItsConfiguration) {
  configuration_.Set("SetAppPath", "/opt/app");
  ASSERT_TRUE(manager_.LoadModule(MODULE_FOLDER "service_test_good_module.so", &configuration_));
  EXPECT_EQ(manager_.GetServiceCount(), 2U);
  const ServicePtr configured = manager_.AcquireService("good/configured", true, 0);
  ASSERT_NE(configured, nullptr);
  EXPECT_EQ(configured->FirstStateQuery(), 8U);
  EXPECT_NE(manager_.AcquireService("11111111-2222-3333-4444-555555555552", true, 0), nullptr);
}

TEST_F(ServiceManagerTest, LoadingAModuleTwiceChangesNothing) {
  const std::string path = MODULE_FOLDER "service_test_good_module.so";
  ASSERT_TRUE(manager_.LoadModule(path.c_str(), &configuration_));
  const auto init_calls = reinterpret_cast<int (*)()>(GetProcAddress(LoadLibraryA(path.c_str()), "InitCalls"));
  ASSERT_NE(init_calls, nullptr);
  const int calls = init_calls();
  EXPECT_TRUE(manager_.LoadModule(path.c_str(), &configuration_));
  EXPECT_EQ(manager_.GetServiceCount(), 2U);
  EXPECT_EQ(init_calls(), calls);
}

TEST_F(ServiceManagerTest, FilesThatAreNoModulesRegisterNothing) {
  for (const char* name : {"missing", "needs_symbol", "no_entry", "no_table", "refusing"}) {
    CoreSetErrorText(nullptr);
    EXPECT_FALSE(manager_.LoadModule((std::string(MODULE_FOLDER "service_test_") + name + "_module.so").c_str(),
                                     &configuration_))
        << name;
    EXPECT_STRNE(CoreErrorText(), "") << name;
  }
  EXPECT_FALSE(manager_.LoadModule(nullptr, &configuration_));
  EXPECT_FALSE(manager_.LoadModule("", &configuration_));
  EXPECT_EQ(manager_.GetServiceCount(), 0U);
}

TEST_F(ServiceManagerTest, ServiceOutlivesTheManagerThatLoadedItsModule) {
  ServicePtr service;
  {
    ServiceManager manager;
    ASSERT_TRUE(manager.LoadModule(MODULE_FOLDER "service_test_good_module.so", &configuration_));
    service = manager.AcquireService("good/plain", true, 0);
  }
  ASSERT_NE(service, nullptr);
  EXPECT_TRUE(service->SecondStateQuery());
}

}  // namespace
