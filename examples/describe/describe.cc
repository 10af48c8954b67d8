// Describes a media file: describe FILE. The folder of the libraries is known from the build; a host that ships its own
// copy would look beside its program.

#include <cstdio>
#include <memory>
#include <string>

#include "mediainfo/imedia_file_info.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"
#include "service/configuration.h"
#include "service/iservice_manager.h"

using namespace service::mediainfo;

namespace {

bool Describe(service::IService& service, char* path) {
  // The session goes back to its service with its last owner.
  const std::shared_ptr<service::ISession> session = service.CreateSharedSession(/*reserved=*/0);
  auto* file = dynamic_cast<IMediaFileInfo*>(session.get());
  if (file == nullptr || file->SetURL(path) != kSuccess) return false;

  std::printf("%s, %.3f s\n", file->GetFormatName(), static_cast<double>(file->GetDuration()) / kTicksPerSecond);
  IProgramInfo* program = nullptr;
  for (std::uint32_t i = 0; file->GetProgram(&program, i) == kSuccess; ++i) {
    IStreamInfo* stream = nullptr;
    for (std::uint32_t k = 0; program->GetVideoStream(k, &stream) == kSuccess; ++k) {
      IVideoInfo* video = stream->GetVideoInfo();
      std::printf("  %s %ux%u\n", stream->GetTextA(), video->GetWidth(), video->GetHeight());
    }
    for (std::uint32_t k = 0; program->GetAudioStream(k, &stream) == kSuccess; ++k) {
      std::printf("  %s %u Hz\n", stream->GetTextA(), stream->GetAudioInfo()->GetAudioField0());
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string folder = MEDIAINFO_LIBRARY_DIR;
  service::Configuration configuration;
  configuration.Set(service::config_keys::kSetAppPath, folder);
  service::IServiceManager* manager = ZORServiceMrgAcqire(/*reserved=*/0);
  if (!manager->LoadModule((folder + "/service-mediainfo.so").c_str(), &configuration)) return 1;
  const bool described =
      Describe(*manager->AcquireService(kMediaFileInfoServiceName, /*create=*/true, /*reserved=*/0), argv[1]);
  manager->ReleaseServices();
  return described ? 0 : 1;
}
