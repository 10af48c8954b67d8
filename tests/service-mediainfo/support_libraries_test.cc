#include "fakes/module.h"

namespace {

/// What was loaded shows in what sessions can do: open files through the codec component, protect a key.
class SupportLibrariesTest : public fakes::ModuleFixture {
 protected:
  void Init(const std::filesystem::path& app_path) {
    fakes::Config config;
    config.values = {{"SetAppPath", app_path.string()}};
    ASSERT_TRUE(descriptor(0).init(&config));
  }
  /// Number of texts that reach the log library.
  std::size_t ProtectKey() {
    fakes::host().protected_texts.clear();
    service::IService* service = descriptor(0).create();
    service::ISession* session = service->CreateSession();
    dynamic_cast<service::mediainfo::IMediaFileInfo*>(session)->SetEncryptKey("key");
    service->DestroySession(session);
    descriptor(0).release(service);
    return fakes::host().protected_texts.size();
  }
};

TEST_F(SupportLibrariesTest, AreLoadedOnceThoughInitRunsTwice) {
  InstallSupportLibrary(FAKE_COM_SUPPORT, "COMSupport.dll");
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  Init(app().path());
  Init(app().path());
  EXPECT_EQ(fakes::host().loaded_libraries, (std::vector<std::string>{"COMSupport.dll", "QK_log.dll"}));
}

TEST_F(SupportLibrariesTest, StayWhenASecondInitNamesAnotherFolder) {
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  Init(app().path());
  const fakes::TempFolder other;
  std::filesystem::create_directory(other.path() / "userepace");
  std::filesystem::copy_file(FAKE_QK_LOG, other.path() / "userepace" / "QK_log.dll");
  std::filesystem::copy_file(FAKE_COM_SUPPORT, other.path() / "userepace" / "COMSupport.dll");
  Init(other.path());
  // The one that was missing is taken from the new folder.
  EXPECT_EQ(fakes::host().loaded_libraries, (std::vector<std::string>{"QK_log.dll", "COMSupport.dll"}));
  EXPECT_EQ(ProtectKey(), 1u);
}

TEST_F(SupportLibrariesTest, AreFoundWhateverTheFolderIsCalled) {
  const std::filesystem::path text = app().path() / "f\xC3\xBCr \xF0\x9F\x8E\xAC";
  const std::filesystem::path no_text = app().path() / "f\xFCr";
  std::filesystem::create_directories(text / "userepace");
  std::filesystem::create_directories(no_text / "userepace");
  std::filesystem::copy_file(FAKE_COM_SUPPORT, text / "userepace" / "COMSupport.dll");
  std::filesystem::copy_file(FAKE_QK_LOG, no_text / "userepace" / "QK_log.dll");
  Init(text);
  EXPECT_EQ(fakes::host().loaded_libraries, std::vector<std::string>{"COMSupport.dll"});
  Init(no_text);
  EXPECT_EQ(fakes::host().loaded_libraries, (std::vector<std::string>{"COMSupport.dll", "QK_log.dll"}));
}

TEST_F(SupportLibrariesTest, MayBeMissing) {
  Init(app().path());
  EXPECT_TRUE(fakes::host().loaded_libraries.empty());
  EXPECT_EQ(ProtectKey(), 0u);
}

TEST_F(SupportLibrariesTest, MayBeNoLibraries) {
  std::filesystem::create_directory(app().path() / "userepace");
  std::ofstream(app().path() / "userepace" / "QK_log.dll") << "text";
  Init(app().path());
  EXPECT_EQ(ProtectKey(), 0u);
}

TEST_F(SupportLibrariesTest, MayLackTheFunction) {
  InstallSupportLibrary(FAKE_HOLLOW_LIBRARY, "QK_log.dll");
  Init(app().path());
  EXPECT_EQ(fakes::host().loaded_libraries, std::vector<std::string>{"hollow"});
  EXPECT_EQ(ProtectKey(), 0u);
}

TEST_F(SupportLibrariesTest, AreTakenWhenSomebodyLoadedThemAlready) {
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  void* library = dlopen((app().path() / "userepace" / "QK_log.dll").c_str(), RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  Init(app().path());
  EXPECT_EQ(fakes::host().loaded_libraries, std::vector<std::string>{"QK_log.dll"});
  EXPECT_EQ(ProtectKey(), 1u);
  // The module took no reference of its own.
  dlclose(library);
  EXPECT_EQ(dlopen((app().path() / "userepace" / "QK_log.dll").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
