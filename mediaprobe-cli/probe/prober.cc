#include "probe/prober.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "media_server/refusals.h"
#include "mediainfo/service_ids.h"
#include "platform/url_text.h"
#include "probe/image_prober.h"
#include "probe/media_prober.h"
#include "probe/picture_name.h"
#include "probe/svg_prober.h"
#include "probe/uuid_reader.h"

namespace mediaprobe {
namespace {

namespace refusals = media_server::refusals;

template <typename Answer>
Record Unanswered(const char* error) {
  Record record;
  record.answer.emplace<Answer>();
  record.error = error;
  return record;
}

/// 0 for what is no single file.
std::uint64_t SizeOfFile(const InputPath& path) {
  if (!path.local_path || path.is_sequence) return 0;
  std::error_code no_size;
  const std::uintmax_t bytes = std::filesystem::file_size(*path.local_path, no_size);
  return no_size ? 0 : bytes;
}

}  // namespace

Prober::Prober(ServiceSource source, Settings settings) : source_(std::move(source)), settings_(std::move(settings)) {}

service::IService* Prober::Service(const char* name) {
  std::shared_ptr<service::IService>& held = services_[name];
  if (!held) held = source_(name);
  return held.get();
}

void Prober::Prepare() {
  switch (settings_.service) {
    case ServiceChoice::kAuto:
    case ServiceChoice::kMedia:
      return Prepare(service::mediainfo::kMediaFileInfoServiceName);
    case ServiceChoice::kImage:
      return Prepare(service::mediainfo::kImageInfoServiceName);
    case ServiceChoice::kSvg:
      return Prepare(service::mediainfo::kSvgInfoServiceName);
  }
}

void Prober::Prepare(const char* service) { Service(service); }

Record Prober::ProbeMedia(InputPath& path) {
  service::IService* service = Service(service::mediainfo::kMediaFileInfoServiceName);
  if (!service) return Unanswered<MediaRecord>("the media file service cannot be started");
  return MediaProber(*service, settings_.key).Probe(path);
}

Record Prober::ProbeImage(const InputPath& path) {
  service::IService* service = Service(service::mediainfo::kImageInfoServiceName);
  if (!service) return Unanswered<ImageRecord>("the image service cannot be started");
  return ImageProber(*service).Probe(path);
}

Record Prober::ProbeSvg(InputPath& path) {
  service::IService* service = Service(service::mediainfo::kSvgInfoServiceName);
  if (!service) return Unanswered<SvgRecord>("the SVG service cannot be started");
  return SvgProber(*service).Probe(path);
}

Record Prober::ProbeByContent(InputPath& path) {
  if (path.is_sequence) return ProbeImage(path);
  // The media service's refusal would add a sixth to the time of a photograph. No content is taken by both services, so
  // the order changes no answer.
  if (path.local_path && IsNamedLikeAPicture(*path.local_path)) {
    Record record = ProbeImage(path);
    if (!record.error) return record;
  }
  Record record = ProbeMedia(path);
  if (record.error == refusals::kStillImage) return ProbeImage(path);
  if (record.error == refusals::kSvg) return ProbeSvg(path);
  return record;
}

Record Prober::Probe(const std::string& input, const ReportDigest& report) {
  InputPath path = ToInputPath(input);
  Record record;
  switch (settings_.service) {
    case ServiceChoice::kAuto:
      record = ProbeByContent(path);
      break;
    case ServiceChoice::kMedia:
      path.is_sequence = false;
      record = ProbeMedia(path);
      break;
    case ServiceChoice::kImage:
      record = ProbeImage(path);
      break;
    case ServiceChoice::kSvg:
      path.is_sequence = false;
      record = ProbeSvg(path);
      break;
  }
  record.input = platform::MaskUrl(input);
  if (settings_.wants_uuid && !record.error) AddUuid(path, report, record);
  return record;
}

void Prober::AddUuid(const InputPath& path, const ReportDigest& report, Record& record) {
  service::IService* service = Service(service::mediainfo::kMediaUuidServiceName);
  if (!service) {
    record.uuid_error = "the media UUID service cannot be started";
    return;
  }
  std::optional<DigestWatch> watch;
  if (report) watch.emplace(SizeOfFile(path), report);
  UuidReader::Answer answer = UuidReader(*service).Read(path);
  if (answer.error.empty()) {
    record.uuid = std::move(answer.uuid);
  } else {
    record.uuid_error = std::move(answer.error);
  }
}

}  // namespace mediaprobe
