#include "module_loader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

using service::LoadServiceTable;
using testing::HasSubstr;

std::string FaultOf(const char* path) {
  std::string fault;
  EXPECT_FALSE(LoadServiceTable(path, &fault).has_value());
  return fault;
}

TEST(ModuleLoaderTest, GivesTheTableOfAModule) {
  std::string fault;
  const auto table = LoadServiceTable(MODULE_FOLDER "service_test_good_module.so", &fault);
  ASSERT_TRUE(table.has_value()) << fault;
  ASSERT_EQ(table->size(), 2U);
  EXPECT_STREQ(table->front().name, "good/configured");
  EXPECT_STREQ(table->back().name, "good/plain");
}

TEST(ModuleLoaderTest, SameModuleGivesTheSameTable) {
  std::string fault;
  const auto first = LoadServiceTable(MODULE_FOLDER "service_test_good_module.so", &fault);
  const auto second = LoadServiceTable(MODULE_FOLDER "../modules/service_test_good_module.so", &fault);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->data(), second->data());
}

TEST(ModuleLoaderTest, MissingFileIsNoModule) {
  EXPECT_THAT(FaultOf("/nowhere/module.so"), HasSubstr("/nowhere/module.so"));
  FaultOf("");
  FaultOf(nullptr);
}

TEST(ModuleLoaderTest, TextFileIsNoModule) {
  const std::string path = testing::TempDir() + "service_test_text_module.so";
  std::ofstream(path) << "not a library";
  EXPECT_THAT(FaultOf(path.c_str()), HasSubstr(path));
}

TEST(ModuleLoaderTest, LibraryWithoutTheExportIsNoModule) {
  EXPECT_EQ(FaultOf(MODULE_FOLDER "service_test_no_entry_module.so"), "it exports no GetServiceModuleInfo");
}

TEST(ModuleLoaderTest, LibraryThatTellsNoTableIsNoModule) {
  EXPECT_EQ(FaultOf(MODULE_FOLDER "service_test_no_table_module.so"), "it tells no table of services");
}

TEST(ModuleLoaderTest, MissingSymbolShowsWhenLoadingNotWhenCalling) {
  EXPECT_THAT(FaultOf(MODULE_FOLDER "service_test_needs_symbol_module.so"), HasSubstr("MissingFromEveryLibrary"));
}

}  // namespace
