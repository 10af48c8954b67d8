#include "probe/image_prober.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "core/error_text.h"
#include "core/val_any.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"
#include "probe/code_names.h"
#include "probe/failure_reason.h"
#include "probe/metadata_reader.h"
#include "probe/picture_sequence.h"
#include "probe/service_session.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using service::mediainfo::IImageInfo;
using service::mediainfo::kTicksPerSecond;

/// What an image session told after one SetPath.
struct ImageAnswer {
  bool is_read = false;
  Metadata metadata;
};

ImageAnswer Ask(IImageInfo& image, const std::string& url) {
  ImageAnswer answer;
  try {
    answer.is_read = image.SetPath(url.c_str());
  } catch (const core::AnyBadAccess&) {
    // The one exception that may cross the interface: a value of the store has not the type that it must have.
    CoreSetErrorText("the image service tells a size that is no number");
  }
  if (const auto store = image.GetMetadata()) answer.metadata = ReadImageMetadata(*store);
  // Values that did not come across are missing in the store without a word.
  answer.is_read = answer.is_read && *CoreErrorText() == '\0';
  return answer;
}

/// Of a sequence in several ranges the image service takes all numbers together for the first one. So it is asked
/// twice: for the count and the duration, which it tells right, and for the first frame.
ImageAnswer AskForRanges(IImageInfo& image, const InputPath& path) {
  const ImageAnswer sequence = Ask(image, ImageUrl(path));
  CoreSetErrorText(nullptr);
  ImageAnswer answer = Ask(image, ImageUrl({{}, FirstFrame(*path.local_path)}));
  for (const char* key : {keys::kImagePicSequenceDuration, keys::kImagePicSequenceTotalFrames}) {
    if (const MetadataValue* value = FindMetadata(sequence.metadata, key)) answer.metadata.push_back({key, *value});
  }
  return answer;
}

/// That of a sequence from its own key: the service's answer may be that of a first frame which is an animation.
std::uint64_t DurationOf(IImageInfo& image, const Metadata& metadata) {
  const auto seconds = MetadataNumber(metadata, keys::kImagePicSequenceDuration);
  if (!seconds) return image.GetDuration();
  return static_cast<std::uint64_t>(std::llround(*seconds * static_cast<double>(kTicksPerSecond)));
}

std::optional<std::uint32_t> KnownAmount(std::int64_t value) {
  return value > 0 ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

std::optional<std::uint32_t> QuarterTurns(std::optional<std::int64_t> degrees) {
  const bool is_told = degrees && *degrees >= 0 && *degrees < 360 && *degrees % 90 == 0;
  return is_told ? std::optional(static_cast<std::uint32_t>(*degrees)) : std::nullopt;
}

/// The store has it as a signed number of 32 bits, past which counts wrap.
std::optional<std::uint32_t> FrameCount(const Metadata& metadata) {
  const auto count = MetadataInteger(metadata, keys::kImagePicSequenceTotalFrames);
  return count ? std::optional(static_cast<std::uint32_t>(*count)) : std::nullopt;
}

void DescribeImage(IImageInfo& image, Metadata&& metadata_told, Record& record) {
  auto& answer = std::get<ImageRecord>(record.answer);
  answer.width = KnownAmount(image.GetWidth());
  answer.height = KnownAmount(image.GetHeight());
  answer.metadata = std::move(metadata_told);
  const Metadata& metadata = answer.metadata;
  if (const std::uint64_t duration = DurationOf(image, metadata); duration > 0) answer.duration_100ns = duration;
  answer.frame_count = FrameCount(metadata);
  answer.rotation_degrees = QuarterTurns(MetadataInteger(metadata, keys::kImageRotate));
  if (const auto flip = MetadataInteger(metadata, keys::kImageFlip)) {
    answer.flip = FlipName(static_cast<std::uint32_t>(*flip));
  }
  record.created_s = MetadataInteger(metadata, keys::kImageCreateDate);
  record.modified_s = MetadataInteger(metadata, keys::kImageModifyDate);
  record.location = MetadataLocation(metadata);
  record.aigc = MetadataText(metadata, keys::kImageAigcMetaData);
}

}  // namespace

Record ImageProber::Probe(const InputPath& path) const {
  Record record;
  record.answer.emplace<ImageRecord>();
  if (!path.local_path) {
    record.error = "images are read from files, not from a network";
    return record;
  }
  const SessionPtr session = OpenSession(service_);
  auto* image = dynamic_cast<IImageInfo*>(session.get());
  if (image == nullptr) {
    record.error = "the image service gives no session";
    return record;
  }
  CoreSetErrorText(nullptr);
  const bool asks_twice = path.is_sequence && HasSeveralRanges(*path.local_path);
  ImageAnswer told = asks_twice ? AskForRanges(*image, path) : Ask(*image, ImageUrl(path));
  if (!told.is_read) {
    record.error = FailureReason(path, CoreErrorText(), kNotImage);
    return record;
  }
  if (FrameCount(told.metadata) == 0U) {
    record.error = "a sequence without frames";
  } else {
    DescribeImage(*image, std::move(told.metadata), record);
  }
  return record;
}

}  // namespace mediaprobe
