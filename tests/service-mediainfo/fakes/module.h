#pragma once

#include <dlfcn.h>

#include <map>
#include <string>
#include <vector>

#include "fakes/fixture.h"
#include "fakes/host.h"
#include "fakes/temp_folder.h"
#include "mediainfo/imedia_file_info.h"
#include "service/module_descriptor.h"

namespace fakes {

/// The host's configuration.
class Config : public service::IConfig {
 public:
  void Reserved1() override {}
  void Reserved2() override {}
  void Reserved3() override {}
  const char* GetString(const char* key, std::uintptr_t reserved) override {
    asked.emplace_back(key);
    EXPECT_EQ(reserved, 0u);
    const auto found = values.find(key);
    return found == values.end() ? nullptr : found->second.c_str();
  }

  std::map<std::string, std::string> values;
  std::vector<std::string> asked;
};

/// The built module, loaded afresh for each test, in front of the host's fakes.
class ModuleFixture : public Fixture {
 protected:
  void SetUp() override {
    Fixture::SetUp();
    host() = {};
    const std::string path = ModulePath();
    ASSERT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "the last test's module is still loaded";
    library_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
    get_module_info_ =
        reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(library_, service::kGetServiceModuleInfo));
    ASSERT_NE(get_module_info_, nullptr);
    std::uint32_t count = 0;
    get_module_info_(&table_, &count);
    ASSERT_EQ(count, 4u);
  }
  void TearDown() override {
    if (library_ != nullptr) dlclose(library_);
    Fixture::TearDown();
  }

  /// The module file to load.
  virtual std::string ModulePath() { return MODULE_PATH; }

  const service::ServiceDescriptor& descriptor(std::size_t index) const { return table_[index]; }
  bool GetModuleInfo(const service::ServiceDescriptor** table, std::uint32_t* count) const {
    return get_module_info_(table, count);
  }
  /// Copies the fake library `file` to the support folder of the application path that the test gives the module.
  void InstallSupportLibrary(const char* file, const char* name) const {
    const std::filesystem::path folder = app_.path() / "userepace";
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(file, folder / name);
  }
  const TempFolder& app() const { return app_; }

 private:
  TempFolder app_;
  void* library_ = nullptr;
  service::GetServiceModuleInfoFunction get_module_info_ = nullptr;
  const service::ServiceDescriptor* table_ = nullptr;
};

}  // namespace fakes
