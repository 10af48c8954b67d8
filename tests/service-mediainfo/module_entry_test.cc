#include <array>
#include <cstring>
#include <memory>

#include "fakes/media.h"
#include "fakes/module.h"

namespace {

struct Identity {
  const char* name;
  const char* description;
  const char* uuid;
  bool has_init;
};

constexpr std::array<Identity, 4> kServices{{
    {"0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C", "mediainfo based on velmora multimedia codec",
     "C37973D9-22DC-4DEE-A187-07AB091E1633", true},
    {"mediainfo/image", "mediainfo for image", "70F025AB-9B4F-430B-B3D6-9D02B72A8E62", false},
    {"mediainfo/svg", "mediainfo for svg", "9C5EA962-3518-4359-957B-DBB19DF79112", false},
    {"ZOR MEDIA UUID SERVICE", "media uuid", "7E68ABCF-8A18-4C86-A4BC-F8BAC343C344", false},
}};

using ModuleEntryTest = fakes::ModuleFixture;

TEST_F(ModuleEntryTest, NamesFourServices) {
  for (std::size_t index = 0; index < kServices.size(); ++index) {
    EXPECT_STREQ(descriptor(index).name, kServices[index].name);
    EXPECT_STREQ(descriptor(index).description, kServices[index].description);
    EXPECT_STREQ(descriptor(index).uuid, kServices[index].uuid);
    EXPECT_EQ(descriptor(index).init != nullptr, kServices[index].has_init);
    EXPECT_NE(descriptor(index).create, nullptr);
    EXPECT_EQ(descriptor(index).release, descriptor(0).release);
  }
}

TEST_F(ModuleEntryTest, LaysDescriptorsOutAsNineWords) {
  const auto* bytes = reinterpret_cast<const char*>(&descriptor(0));
  EXPECT_EQ(reinterpret_cast<const char*>(&descriptor(3)) - bytes, 3 * 72);
  for (std::size_t index = 0; index < 4; ++index) {
    std::array<std::uint64_t, 9> words{};
    std::memcpy(words.data(), bytes + 72 * index, 72);
    EXPECT_EQ(words[0], reinterpret_cast<std::uintptr_t>(descriptor(index).name));
    EXPECT_EQ(words[1], reinterpret_cast<std::uintptr_t>(descriptor(index).description));
    EXPECT_EQ(words[2], reinterpret_cast<std::uintptr_t>(descriptor(index).uuid));
    EXPECT_EQ(words[3], 0u);
    EXPECT_EQ(words[4], reinterpret_cast<std::uintptr_t>(descriptor(index).init));
    EXPECT_EQ(words[5], reinterpret_cast<std::uintptr_t>(descriptor(index).create));
    EXPECT_EQ(words[6], reinterpret_cast<std::uintptr_t>(descriptor(index).release));
    EXPECT_EQ(words[7], 0u);
    EXPECT_EQ(words[8], 0u);
  }
}

TEST_F(ModuleEntryTest, GivesTheSameTableAtEveryCall) {
  const service::ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  EXPECT_TRUE(GetModuleInfo(&table, &count));
  EXPECT_EQ(table, &descriptor(0));
  EXPECT_EQ(count, 4u);
}

TEST_F(ModuleEntryTest, WritesNothingWhenAnArgumentIsNull) {
  std::uint32_t count = 77;
  EXPECT_TRUE(GetModuleInfo(nullptr, &count));
  EXPECT_EQ(count, 77u);
  const service::ServiceDescriptor* table = nullptr;
  EXPECT_TRUE(GetModuleInfo(&table, nullptr));
  EXPECT_EQ(table, nullptr);
  EXPECT_TRUE(GetModuleInfo(nullptr, nullptr));
}

TEST_F(ModuleEntryTest, ReleasesNullAsNothing) {
  for (std::size_t index = 0; index < 4; ++index) descriptor(index).release(nullptr);
}

TEST_F(ModuleEntryTest, CreatesTheMediaFileServiceWithAMediaServer) {
  fakes::MediaServer server;
  fakes::host().server = &server;
  service::IService* created = descriptor(0).create();
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(server.references(), 1);
  descriptor(0).release(created);
  EXPECT_EQ(server.references(), 0);
}

TEST_F(ModuleEntryTest, CreatesTheMediaFileServiceThoughThereIsNoMediaServer) {
  fakes::host().server_status = platform::kFail;
  service::IService* created = descriptor(0).create();
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(fakes::host().server_settings.size(), 1u);
  descriptor(0).release(created);
}

TEST_F(ModuleEntryTest, KeepsTheMediaServerWhateverTheStatusSays) {
  fakes::MediaServer server;
  fakes::host().server = &server;
  fakes::host().server_status = platform::kFail;
  service::IService* created = descriptor(0).create();
  EXPECT_EQ(server.references(), 1);
  descriptor(0).release(created);
}

}  // namespace
