/// A module whose media file service answers by the name of the file that it is given: what the tool makes of that is
/// tested without any media. "full" tells everything, "plain" nothing but its format, "odd" has texts that are not fit
/// to be shown, "locked" opens with one key only; everything else is no media file.

#include <sys/stat.h>

#include <string>

#include "core/error_text.h"
#include "core/log.h"
#include "fake_media.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/service_ids.h"
#include "service/module_descriptor.h"

namespace mediaprobe::testing {
namespace {

namespace keys = service::mediainfo::metedata_keys;

constexpr char kKey[] = "00112233445566778899aabbccddeeff";

std::shared_ptr<FakeFile> MakePlainFile() {
  auto file = std::make_shared<FakeFile>();
  file->format_name = "wav";
  file->format_long_name = "WAV";
  file->fourcc = 0x20564157;
  return file;
}

std::shared_ptr<FakeFile> MakeOddFile() {
  auto file = MakePlainFile();
  file->store->SetText(keys::kTitle, "red \x1b[31m \xff end");
  file->store->SetLabel("by a machine");
  return file;
}

std::shared_ptr<FakeFile> Open(const std::string& url, const std::string& key) {
  // As the module does: of a URL with a protocol the first six characters go.
  const std::string path = url.find(":/") == std::string::npos ? url : url.substr(6);
  struct stat status;
  const bool is_network = url.starts_with("http");
  if (!is_network && (path.front() != '/' || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)))
    return nullptr;

  const std::string name = path.substr(path.rfind('/') + 1);
  if (name.starts_with("full")) return MakeFullFile();
  if (name.starts_with("plain")) return MakePlainFile();
  if (name.starts_with("odd")) return MakeOddFile();
  if (name.starts_with("locked")) {
    if (key == kKey) return MakePlainFile();
    CoreLogPrint("fake", kCoreLogError, "no file opens with %s", key.c_str());
    CoreSetErrorText("wrong key");
  }
  if (name.starts_with("short")) CoreSetErrorText("file ends early");
  return nullptr;
}

service::IService* Create() { return new FakeMediaService(Open); }
void Release(service::IService* service) { delete service; }

constexpr service::ServiceDescriptor kDescriptors[] = {
    {.name = service::mediainfo::kMediaFileInfoServiceName,
     .description = "made-up media files",
     .uuid = service::mediainfo::kMediaFileInfoServiceUuid,
     .reserved3 = 0,
     .init = nullptr,
     .create = Create,
     .release = Release,
     .reserved7 = 0,
     .reserved8 = 0},
};

}  // namespace
}  // namespace mediaprobe::testing

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table, std::uint32_t* count) {
  if (table && count) {
    *table = mediaprobe::testing::kDescriptors;
    *count = 1;
  }
  return true;
}
