#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/error_text.h"
#include "service/isvg_decode_sink.h"
#include "service/module_descriptor.h"
#include "temp_file.h"

/// The built module and its one service.
class ModuleFixture : public testing::Test {
 protected:
  void SetUp() override {
    void* library = dlopen(MODULE_PATH, RTLD_NOW | RTLD_LOCAL);  // stays loaded
    ASSERT_NE(library, nullptr) << dlerror();
    get_module_info_ =
        reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(library, service::kGetServiceModuleInfo));
    ASSERT_NE(get_module_info_, nullptr);
    get_module_info_(&table_, &count_);
    ASSERT_EQ(count_, 1u);
    service_ = table_->create();
    ASSERT_NE(service_, nullptr);
  }
  void TearDown() override { table_->release(service_); }

  std::shared_ptr<service::ISVGDecodeSink> NewSession() {
    return std::dynamic_pointer_cast<service::ISVGDecodeSink>(service_->CreateSharedSession(0));
  }
  /// A session that has loaded a file of this content.
  std::shared_ptr<service::ISVGDecodeSink> Load(const std::string& content, const std::string& name = "a.svg") {
    auto session = NewSession();
    session->SetSource(folder_.Make(name, content).c_str());
    EXPECT_EQ(session->Load(0, 0), 1u) << CoreErrorText();
    return session;
  }

  service::GetServiceModuleInfoFunction get_module_info_ = nullptr;
  const service::ServiceDescriptor* table_ = nullptr;
  std::uint32_t count_ = 0;
  service::IService* service_ = nullptr;
  TempFolder folder_;
};

inline std::uint32_t RenderTo(service::ISVGDecodeSink& session, const std::string& path, std::uintptr_t width,
                              std::uintptr_t height) {
  return session.Render(reinterpret_cast<std::uintptr_t>(path.c_str()), width, height);
}
