// A host may load and unload the module as often as it likes: nothing that was its own stays behind.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "core/log.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"
#include "service/configuration.h"
#include "service/module_descriptor.h"

namespace {

constexpr int kRounds = 1000;

std::size_t EntriesOf(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t LinesOf(const char* path) {
  std::ifstream file(path);
  return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

/// What a process takes of the system.
struct Footprint {
  std::size_t descriptors = EntriesOf("/proc/self/fd");
  std::size_t threads = EntriesOf("/proc/self/task");
  std::size_t mappings = LinesOf("/proc/self/maps");
  std::size_t resident_kb = ResidentKb();

  static std::size_t ResidentKb() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
  }
};

/// Has a session do what its service is for.
void Work(service::ISession* session) {
  if (auto* file = dynamic_cast<service::mediainfo::IMediaFileInfo*>(session)) {
    std::string url = SAMPLE_FOLDER "/upright.mp4";
    EXPECT_EQ(file->SetURL(url.data()), 0U);
  } else if (auto* image = dynamic_cast<service::mediainfo::IImageInfo*>(session)) {
    EXPECT_TRUE(image->SetPath("file:///" SAMPLE_FOLDER "/pictures/upright.jpg"));
  } else if (auto* svg = dynamic_cast<service::mediainfo::ISvgInfo*>(session)) {
    // There is no decoder: its service is another module's.
    std::string path = SAMPLE_FOLDER "/pictures/upright.jpg";
    EXPECT_FALSE(svg->SetPath(path.data()));
  } else if (auto* media = dynamic_cast<service::mediauuid::IMediaUuid*>(session)) {
    core::Uuid uuid{};
    EXPECT_TRUE(media->GetUuid(SAMPLE_FOLDER "/voice.wav", &uuid));
  } else {
    ADD_FAILURE() << "a session of no known kind";
  }
}

/// Loads the module, has a session of each service work, gives everything back and unloads it.
void UseOnce(service::Configuration& configuration) {
  void* module = dlopen(LIBRARY_FOLDER "/service-mediainfo.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  const auto get_table =
      reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(module, service::kGetServiceModuleInfo));
  ASSERT_NE(get_table, nullptr);
  const service::ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  ASSERT_TRUE(get_table(&table, &count));
  ASSERT_EQ(count, 4U);
  for (std::uint32_t i = 0; i < count; ++i) {
    ASSERT_TRUE(table[i].init == nullptr || table[i].init(&configuration));
    service::IService* service = table[i].create();
    ASSERT_NE(service, nullptr) << table[i].name;
    service::ISession* session = service->CreateSession();
    ASSERT_NE(session, nullptr) << table[i].name;
    Work(session);
    service->DestroySession(session);
    table[i].release(service);
  }
  ASSERT_EQ(dlclose(module), 0);
}

TEST(ModuleReloadTest, AThousandTimesLeaveNothingBehind) {
  CoreLogSetLevel(kCoreLogOff);
  service::Configuration configuration;
  for (const char* key : {service::config_keys::kMediaInfoPath, service::config_keys::kSetAppPath,
                          service::config_keys::kSetAppResPath}) {
    configuration.Set(key, LIBRARY_FOLDER);
  }
  // What the system's own libraries build once and keep.
  for (int i = 0; i < 20; ++i) UseOnce(configuration);
  const Footprint before;
  for (int i = 0; i < kRounds; ++i) {
    UseOnce(configuration);
    if (HasFatalFailure()) return;
  }
  const Footprint after;
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.mappings, before.mappings);
  // 1 KB a round would be 1,000.
  EXPECT_LT(after.resident_kb, before.resident_kb + 500);
  RecordProperty("resident_kb_before", std::to_string(before.resident_kb));
  RecordProperty("resident_kb_after", std::to_string(after.resident_kb));
}

TEST(ModuleReloadTest, UnloadsForGood) {
  service::Configuration configuration;
  UseOnce(configuration);
  EXPECT_EQ(dlopen(LIBRARY_FOLDER "/service-mediainfo.so", RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
