#include "service_keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>

namespace {

using service::IService;
using service::ReadServiceKeys;
using service::ServiceDescriptor;
using service::ServiceKey;
using service::ServiceKeys;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr char kFirstUuid[] = "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C";
constexpr char kSecondUuid[] = "C37973D9-22DC-4DEE-A187-07AB091E1633";

IService* Create() { return nullptr; }
void Release(IService* /*service*/) {}

constexpr ServiceDescriptor Describe(const char* name, const char* uuid) {
  return {name, "", uuid, 0, nullptr, Create, Release, 0, 0};
}

/// The reason for which a table is refused; empty when it is not.
template <std::size_t kSize>
std::string FaultOf(const std::array<ServiceDescriptor, kSize>& table) {
  std::string fault;
  const bool is_proper = ReadServiceKeys(table, &fault).has_value();
  EXPECT_EQ(is_proper, fault.empty());
  return fault;
}

TEST(ServiceKeyTest, LetterCaseOfAUuidSaysNothing) {
  EXPECT_EQ(ServiceKey("0ce15dae-8176-4622-8da4-a5c5c2e9ac1c"), kFirstUuid);
  EXPECT_EQ(ServiceKey(kFirstUuid), kFirstUuid);
}

TEST(ServiceKeyTest, OtherNamesStayAsTheyAre) {
  EXPECT_EQ(ServiceKey("mediainfo/image"), "mediainfo/image");
  EXPECT_EQ(ServiceKey("MediaInfo/Image"), "MediaInfo/Image");
  EXPECT_EQ(ServiceKey(""), "");
}

TEST(ReadServiceKeysTest, FilesEachServiceUnderItsNameAndUuid) {
  const std::array table{Describe("first", kFirstUuid), Describe("second", "c37973d9-22dc-4dee-a187-07ab091e1633")};
  std::string fault;
  const std::optional<ServiceKeys> keys = ReadServiceKeys(table, &fault);
  ASSERT_TRUE(keys.has_value());
  EXPECT_THAT(*keys,
              UnorderedElementsAre(Pair("first", 0U), Pair(kFirstUuid, 0U), Pair("second", 1U), Pair(kSecondUuid, 1U)));
}

TEST(ReadServiceKeysTest, NameMayBeAUuid) {
  EXPECT_EQ(FaultOf(std::array{Describe(kFirstUuid, kSecondUuid)}), "");
  EXPECT_EQ(FaultOf(std::array{Describe(kFirstUuid, kFirstUuid)}), "");
}

TEST(ReadServiceKeysTest, EmptyTableIsRefused) {
  std::string fault;
  EXPECT_FALSE(ReadServiceKeys({}, &fault).has_value());
  EXPECT_EQ(fault, "the table of services is empty");
}

TEST(ReadServiceKeysTest, IncompleteDescriptorsAreRefused) {
  const ServiceDescriptor complete = Describe("second", kSecondUuid);
  ServiceDescriptor no_create = complete;
  no_create.create = nullptr;
  ServiceDescriptor no_release = complete;
  no_release.release = nullptr;
  const ServiceDescriptor first = Describe("first", kFirstUuid);

  EXPECT_EQ(FaultOf(std::array{first, Describe(nullptr, kSecondUuid)}), "service 1: it has no name");
  EXPECT_EQ(FaultOf(std::array{first, Describe("", kSecondUuid)}), "service 1: it has no name");
  EXPECT_EQ(FaultOf(std::array{first, Describe("second", nullptr)}), "service 1: its UUID is missing or malformed");
  EXPECT_EQ(FaultOf(std::array{first, Describe("second", "1234")}), "service 1: its UUID is missing or malformed");
  EXPECT_EQ(FaultOf(std::array{first, no_create}), "service 1: it has no create function");
  EXPECT_EQ(FaultOf(std::array{first, no_release}), "service 1: it has no release function");
}

TEST(ReadServiceKeysTest, InitFunctionAndDescriptionMayBeMissing) {
  ServiceDescriptor bare = Describe("bare", kFirstUuid);
  bare.description = nullptr;
  EXPECT_EQ(FaultOf(std::array{bare}), "");
}

TEST(ReadServiceKeysTest, TwoServicesUnderOneKeyAreRefused) {
  const ServiceDescriptor first = Describe("first", kFirstUuid);
  EXPECT_EQ(FaultOf(std::array{first, Describe("first", kSecondUuid)}), "two services are called \"first\"");
  EXPECT_EQ(FaultOf(std::array{first, Describe("second", kFirstUuid)}),
            "two services are called \"0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C\"");
  EXPECT_EQ(FaultOf(std::array{first, Describe("second", "0ce15dae-8176-4622-8da4-a5c5c2e9ac1c")}),
            "two services are called \"0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C\"");
  EXPECT_EQ(FaultOf(std::array{first, Describe(kFirstUuid, kSecondUuid)}),
            "two services are called \"0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C\"");
}

}  // namespace
