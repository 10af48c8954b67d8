#include <filesystem>

#include "fakes/module.h"

namespace {

class SettingsTest : public fakes::ModuleFixture {
 protected:
  /// The settings as CreateMediaServer receives them.
  std::vector<std::string> Settings() {
    fakes::host().server_settings.clear();
    service::IService* service = descriptor(0).create();
    descriptor(0).release(service);
    return fakes::host().server_settings.at(0);
  }

  fakes::Config config_;
};

TEST_F(SettingsTest, AreEmptyBeforeInit) { EXPECT_EQ(Settings(), std::vector<std::string>(5)); }

TEST_F(SettingsTest, ReachTheMediaServerInTheirOrder) {
  config_.values = {{"MediaInfoPath", "info"},
                    {"MediaProxyPath", "proxy"},
                    {"SetAppPath", app().path().string()},
                    {"SetAppResPath", "resources"},
                    {"SetLogPath", "log"}};
  EXPECT_TRUE(descriptor(0).init(&config_));
  EXPECT_EQ(Settings(), (std::vector<std::string>{"info", "proxy", app().path().string(), "resources", "log"}));
}

TEST_F(SettingsTest, AreAskedForOnceEach) {
  descriptor(0).init(&config_);
  EXPECT_EQ(config_.asked,
            (std::vector<std::string>{"MediaInfoPath", "MediaProxyPath", "SetAppPath", "SetAppResPath", "SetLogPath"}));
}

TEST_F(SettingsTest, StayAsTheyAreWithoutAConfiguration) {
  config_.values = {{"MediaInfoPath", "info"}};
  descriptor(0).init(&config_);
  EXPECT_TRUE(descriptor(0).init(nullptr));
  EXPECT_EQ(Settings(), (std::vector<std::string>{"info", "", "", "", ""}));
}

TEST_F(SettingsTest, ChangeOnlyWhereASecondInitHasAValue) {
  config_.values = {{"MediaInfoPath", "info"}, {"MediaProxyPath", "proxy"}, {"SetLogPath", "log"}};
  descriptor(0).init(&config_);
  config_.values = {{"MediaProxyPath", "other"}, {"SetLogPath", ""}};
  EXPECT_TRUE(descriptor(0).init(&config_));
  EXPECT_EQ(Settings(), (std::vector<std::string>{"info", "other", "", "", ""}));
}

TEST_F(SettingsTest, KeepTheirOwnCopy) {
  config_.values = {{"SetLogPath", "log"}};
  descriptor(0).init(&config_);
  config_.values["SetLogPath"][0] = 'x';
  EXPECT_EQ(Settings().at(4), "log");
}

TEST_F(SettingsTest, LoadNoSupportLibraryWithoutAnApplicationPath) {
  config_.values = {{"SetAppPath", app().path().string()}};
  descriptor(0).init(&config_);
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  config_.values = {{"MediaInfoPath", app().path().string()}};
  descriptor(0).init(&config_);
  EXPECT_TRUE(fakes::host().loaded_libraries.empty());
}

TEST_F(SettingsTest, LoadTheSupportLibrariesBelowTheApplicationPath) {
  config_.values = {{"SetAppPath", app().path().string()}};
  InstallSupportLibrary(FAKE_COM_SUPPORT, "COMSupport.dll");
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  descriptor(0).init(&config_);
  EXPECT_EQ(fakes::host().loaded_libraries, (std::vector<std::string>{"COMSupport.dll", "QK_log.dll"}));
}

TEST_F(SettingsTest, LoadTheSupportLibrariesBeforeTheRestIsAskedFor) {
  class WatchingConfig : public fakes::Config {
   public:
    const char* GetString(const char* key, std::uintptr_t reserved) override {
      loaded_when_asked.push_back(fakes::host().loaded_libraries.size());
      return Config::GetString(key, reserved);
    }
    std::vector<std::size_t> loaded_when_asked;
  };
  WatchingConfig config;
  config.values = {{"SetAppPath", app().path().string()}};
  InstallSupportLibrary(FAKE_COM_SUPPORT, "COMSupport.dll");
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  descriptor(0).init(&config);
  EXPECT_EQ(config.loaded_when_asked, (std::vector<std::size_t>{0, 0, 0, 2, 2}));
}

// The folder is the path followed by "/userepace". Behind an empty one that is no folder of the current one, which may
// be anybody's.
TEST_F(SettingsTest, LoadNoSupportLibraryBelowTheCurrentFolder) {
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  config_.values = {{"SetAppPath", ""}};
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(app().path());
  descriptor(0).init(&config_);
  std::filesystem::current_path(before);
  EXPECT_TRUE(fakes::host().loaded_libraries.empty());
}

}  // namespace
