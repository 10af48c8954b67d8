/// A module whose services answer by the name of the file that they are given: what the tool makes of that is tested
/// without any media. Of media files, "full" tells everything, "plain" nothing but its format, "odd" has texts that are
/// not fit to be shown, "locked" opens with one key only. "photo" is an image that tells everything, "frame" the first
/// one of a sequence, "movie" an animation, "torn" an image that is damaged; "drawing" is an SVG. Everything else is
/// none of all that. What is asked to open "abort", "killed", "leave" or "hang" does so, "hoard" and "bloat" take 2 GB
/// and say in words, and by throwing, that they cannot, "babble" writes into every open descriptor, "once" aborts the
/// first time that the tool asks, "nap" takes a tenth of a second, "hostile_" and the name of a deed does that deed and
/// says how it ended, and "huge" has a title of 6 MB. "slow" and "gone" are media whose UUID takes a minute, after a
/// log line has told that it begins, and cannot be had.

#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "core/error_text.h"
#include "core/log.h"
#include "fake_media.h"
#include "fake_services.h"
#include "hostile_deeds.h"
#include "media_server/refusals.h"
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

bool IsFile(const std::string& path) {
  struct stat status;
  return path.starts_with('/') && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string NameIn(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool IsImage(const std::string& name) {
  return name.starts_with("photo") || name.starts_with("frame") || name.starts_with("movie") ||
         name.starts_with("torn");
}

std::shared_ptr<FakeFile> MakeHugeFile() {
  static const std::string title(std::size_t{6} << 20, 'h');
  auto file = MakePlainFile();
  file->store->SetText(keys::kTitle, title.c_str());
  return file;
}

/// Of the tool's processes; they can write nothing else that the next one would see.
std::atomic<int>* const deaths =
    new (mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
        std::atomic<int>(0);

constexpr std::string_view kHostile = "hostile_";

/// The deed that the file is named after, in the file's folder and against the process's parent.
const char* TryDeed(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  std::string wanted = NameIn(path).substr(kHostile.size());
  wanted.resize(wanted.rfind('.'));
  for (const HostileDeed& deed : HostileDeeds()) {
    if (deed.name != wanted) continue;
    return deed.succeeds({folder + "/scene", folder + "/canary", getppid()}) ? "the deed is done" : "the deed failed";
  }
  return "no such deed";
}

/// The process that is asked for one of these names is in trouble.
void GetIntoTrouble(const std::string& path) {
  constexpr std::size_t kHoard = std::size_t{2} << 30;
  const std::string name = NameIn(path);
  if (name.starts_with("abort")) std::abort();
  if (name.starts_with("killed")) raise(SIGKILL);
  if (name.starts_with("leave")) _exit(3);
  if (name.starts_with("nap")) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  if (name.starts_with("hang")) std::this_thread::sleep_for(std::chrono::hours(1));
  if (name.starts_with("hoard") || name.starts_with("bloat")) {
    void* hoard = mmap(nullptr, kHoard, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (hoard == MAP_FAILED && name.starts_with("bloat")) throw std::bad_alloc();
    if (hoard == MAP_FAILED) CoreSetErrorText("no room for a hoard");
  }
  if (name.starts_with("babble")) {
    constexpr char kBabble[] = "this is no message at all";
    for (int descriptor = 3; descriptor < 64; ++descriptor) send(descriptor, kBabble, sizeof kBabble, MSG_DONTWAIT);
  }
  if (name.starts_with("once") && deaths->fetch_add(1) == 0) std::abort();
  if (name.starts_with(kHostile)) CoreSetErrorText(TryDeed(path));
}

std::shared_ptr<FakeFile> Open(const std::string& url, const std::string& key) {
  // As the module does: of a URL with a protocol the first six characters go.
  const std::string path = url.find(":/") == std::string::npos ? url : url.substr(6);
  if (!url.starts_with("http") && !IsFile(path)) return nullptr;

  GetIntoTrouble(path);
  const std::string name = NameIn(path);
  if (name.starts_with("full")) return MakeFullFile();
  if (name.starts_with("huge")) return MakeHugeFile();
  if (name.starts_with("once") || name.starts_with("babble")) return MakePlainFile();
  if (name.starts_with("plain") || name.starts_with("nap")) return MakePlainFile();
  if (name.starts_with("odd")) return MakeOddFile();
  if (name.starts_with("slow") || name.starts_with("gone")) return MakePlainFile();
  if (name.starts_with("locked")) {
    if (key == kKey) return MakePlainFile();
    CoreLogPrint("fake", kCoreLogError, "no file opens with %s", key.c_str());
    CoreSetErrorText("wrong key");
  }
  if (name.starts_with("short")) CoreSetErrorText("file ends early");
  if (IsImage(name)) CoreSetErrorText(media_server::refusals::kStillImage);
  if (name.starts_with("drawing")) CoreSetErrorText(media_server::refusals::kSvg);
  return nullptr;
}

FakeImage OpenSequence(const std::string& pattern) {
  FakeImage image;
  image.is_read = IsFile(pattern.substr(0, pattern.rfind('[')) + "01.png");
  image.width = 640;
  image.height = 480;
  image.duration_100ns = 4'000'000;
  image.store->SetNumber(keys::kImageWidth, 640);
  image.store->SetNumber(keys::kImageHeight, 480);
  image.store->SetNumber(keys::kImagePicType, 2);
  image.store->SetDegrees(keys::kImagePicSequenceDuration, 0.4);
  image.store->SetNumber(keys::kImagePicSequenceTotalFrames, 10);
  return image;
}

FakeImage OpenImage(const std::string& url) {
  constexpr std::string_view kFileScheme = "file://";
  constexpr std::string_view kSequenceScheme = "files://";
  if (url.starts_with(kSequenceScheme)) return OpenSequence(url.substr(kSequenceScheme.size()));
  const std::string path = url.substr(kFileScheme.size());
  const std::string name = NameIn(path);
  FakeImage image;
  if (name.starts_with("photo")) image = MakeFullImage();
  if (name.starts_with("movie")) {
    image.duration_100ns = 12'000'000;
    image.store->SetNumber(keys::kImagePicType, 3);
    image.store->SetNumber(keys::kImageGifFrameRateNum, 10);
    image.store->SetNumber(keys::kImageGifFrameRateDen, 1);
  }
  if (name.starts_with("torn")) CoreSetErrorText("the picture's header is damaged");
  image.is_read = IsFile(path) && IsImage(name) && !name.starts_with("torn");
  return image;
}

std::optional<FakeSvg> OpenSvg(char* url) {
  const std::string path = url;
  if (!IsFile(path) || !NameIn(path).starts_with("drawing")) return std::nullopt;
  return FakeSvg{200, 100, 24, 12};
}

const char* Digest(const std::string& url) {
  const std::string name = NameIn(url);
  if (name.starts_with("slow")) {
    CoreLogPrint("fake", kCoreLogInfo, "the digest begins");
    std::this_thread::sleep_for(std::chrono::minutes(1));
  }
  if (!name.starts_with("gone")) return "0123456789abcdef0123456789abcdef";
  CoreSetErrorText("cannot be read to its end");
  return nullptr;
}

service::IService* CreateMedia() { return new FakeMediaService(Open); }
service::IService* CreateImage() { return new FakeImageService(OpenImage); }
service::IService* CreateSvg() { return new FakeSvgService(OpenSvg); }
service::IService* CreateUuid() { return new FakeUuidService(Digest); }
void Release(service::IService* service) { delete service; }

constexpr service::ServiceDescriptor Descriptor(const char* name, const char* uuid, service::IService* (*create)()) {
  return {.name = name,
          .description = "made-up files",
          .uuid = uuid,
          .reserved3 = 0,
          .init = nullptr,
          .create = create,
          .release = Release,
          .reserved7 = 0,
          .reserved8 = 0};
}

constexpr service::ServiceDescriptor kDescriptors[] = {
    Descriptor(service::mediainfo::kMediaFileInfoServiceName, service::mediainfo::kMediaFileInfoServiceUuid,
               CreateMedia),
    Descriptor(service::mediainfo::kImageInfoServiceName, service::mediainfo::kImageInfoServiceUuid, CreateImage),
    Descriptor(service::mediainfo::kSvgInfoServiceName, service::mediainfo::kSvgInfoServiceUuid, CreateSvg),
    Descriptor(service::mediainfo::kMediaUuidServiceName, service::mediainfo::kMediaUuidServiceUuid, CreateUuid),
};

}  // namespace
}  // namespace mediaprobe::testing

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table, std::uint32_t* count) {
  if (table && count) {
    *table = mediaprobe::testing::kDescriptors;
    *count = static_cast<std::uint32_t>(std::size(mediaprobe::testing::kDescriptors));
  }
  return true;
}
