#include "host.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "mediainfo/service_ids.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using service::mediainfo::kMediaFileInfoServiceName;

TEST(Host, LibrariesLieBesideTheProgramUnlessTheEnvironmentSaysOtherwise) {
  unsetenv("MEDIAPROBE_LIBRARY_DIR");
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(LibraryFolder(), program.parent_path().parent_path() / "lib/mediainfo");
  setenv("MEDIAPROBE_LIBRARY_DIR", "", /*overwrite=*/1);
  EXPECT_EQ(LibraryFolder(), program.parent_path().parent_path() / "lib/mediainfo");
  setenv("MEDIAPROBE_LIBRARY_DIR", "/opt/x", /*overwrite=*/1);
  EXPECT_EQ(LibraryFolder(), "/opt/x");
  unsetenv("MEDIAPROBE_LIBRARY_DIR");
}

// A manager keeps the modules that it loaded: the missing one comes first.
TEST(Host, ServicesComeFromTheModuleInTheFolder) {
  {
    const testing::ScratchFolder folder;
    const Host host(folder.path());
    EXPECT_EQ(host.AcquireService(kMediaFileInfoServiceName), nullptr);
    EXPECT_EQ(host.module_path(), folder.path() + "/service-mediainfo.so");
  }
  const Host host(FAKE_MODULE_DIR);
  const auto service = host.AcquireService(kMediaFileInfoServiceName);
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(host.AcquireService(kMediaFileInfoServiceName), service);
  EXPECT_EQ(host.AcquireService("no such service"), nullptr);
}

}  // namespace
}  // namespace mediaprobe
