#include "media_host.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "core/log.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"

namespace bench {
namespace {

using service::mediainfo::IAudioInfo;
using service::mediainfo::IMediaFileInfo;
using service::mediainfo::IProgramInfo;
using service::mediainfo::IStreamInfo;
using service::mediainfo::ISubPicStreamInfo;
using service::mediainfo::IVideoInfo;

void AskStream(IStreamInfo& stream) {
  stream.GetTextA();
  stream.GetTextB();
  stream.GetTextC();
  stream.GetFourCC();
  stream.GetDuration();
  stream.GetMetadataInfo();
  if (IVideoInfo* video = stream.GetVideoInfo()) {
    core::Rational frame_rate;
    video->GetFrameRate(&frame_rate);
    video->GetRotation();
  }
  if (IAudioInfo* audio = stream.GetAudioInfo()) audio->GetAudioValue();
}

void AskProgram(IProgramInfo& program) {
  IStreamInfo* stream = nullptr;
  for (std::uint32_t i = 0; program.GetVideoStream(i, &stream) == service::mediainfo::kSuccess; ++i) AskStream(*stream);
  for (std::uint32_t i = 0; program.GetAudioStream(i, &stream) == service::mediainfo::kSuccess; ++i) AskStream(*stream);
  ISubPicStreamInfo* subpicture = nullptr;
  for (std::uint32_t i = 0; program.GetSubPicStream(i, &subpicture) == service::mediainfo::kSuccess; ++i) {
    subpicture->GetSubPicTextA();
    subpicture->GetSubPicTextB();
  }
}

void AskFile(IMediaFileInfo& file) {
  file.GetFormatName();
  file.GetFormatLongName();
  file.GetDuration();
  file.GetMetadata();
  std::int64_t creation = 0;
  std::int64_t modification = 0;
  file.GetDates(&creation, &modification);
  IProgramInfo* program = nullptr;
  for (std::uint32_t i = 0; file.GetProgram(&program, i) == service::mediainfo::kSuccess; ++i) AskProgram(*program);
}

}  // namespace

MediaHost::MediaHost() : manager_(ZORServiceMrgAcqire(/*reserved=*/0)) {
  CoreLogSetLevel(kCoreLogOff);
  for (const char* key : {service::config_keys::kMediaInfoPath, service::config_keys::kSetAppPath,
                          service::config_keys::kSetAppResPath}) {
    configuration_.Set(key, LIBRARY_FOLDER);
  }
  configuration_.Set(service::config_keys::kMediaProxyPath, "");
  configuration_.Set(service::config_keys::kSetLogPath, "");
  if (!manager_->LoadModule(LIBRARY_FOLDER "/service-mediainfo.so", &configuration_)) {
    throw std::runtime_error("cannot load the module in " LIBRARY_FOLDER);
  }
  service_ = AcquireService(service::mediainfo::kMediaFileInfoServiceName);
}

MediaHost::~MediaHost() {
  service_.reset();
  manager_->ReleaseServices();
}

std::shared_ptr<service::IService> MediaHost::AcquireService(const char* name) {
  auto service = manager_->AcquireService(name, /*create=*/true, /*reserved=*/0);
  if (!service) throw std::runtime_error(std::string("the module gives no service ") + name);
  return service;
}

template <typename Ask>
void MediaHost::WithSession(const std::string& path, Ask ask) {
  service::ISession* session = service_->CreateSession();
  auto* file = dynamic_cast<IMediaFileInfo*>(session);
  std::string url = path;
  const bool is_open = file != nullptr && file->SetURL(url.data()) == service::mediainfo::kSuccess;
  if (is_open) ask(*file);
  service_->DestroySession(session);
  if (!is_open) throw std::runtime_error("cannot open " + path);
}

void MediaHost::OpenAndClose(const std::string& path) {
  WithSession(path, [](IMediaFileInfo& /*file*/) {});
}

void MediaHost::Probe(const std::string& path) { WithSession(path, AskFile); }

std::vector<std::string> SamplePaths() {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_FOLDER)) {
    const std::string extension = entry.path().extension();
    if (!extension.empty() && extension != ".md") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string FileName(const std::string& path) { return std::filesystem::path(path).filename(); }

}  // namespace bench
