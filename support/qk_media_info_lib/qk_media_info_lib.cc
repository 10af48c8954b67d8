#include <exception>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>

#include "core/error_text.h"
#include "media-server/digest/sequence_pattern.h"
#include "media-server/image/image_reader.h"
#include "media-server/io/file_source.h"
#include "media_server/image_library.h"
#include "platform/export.h"

namespace {

using media_server::SequencePattern;
using media_server::image::PictureSize;

struct Sequence {
  std::string first_frame;
  std::uint64_t frame_count;
};

std::optional<PictureSize> ReadSize(const std::string& path, std::string* reason) {
  const auto source = media_server::OpenFileSource(path.c_str(), reason);
  if (!source) return std::nullopt;
  const auto headers = media_server::image::ReadPictureHeaders(*source, reason);
  return headers ? headers->size : std::nullopt;
}

std::optional<Sequence> FindSequence(const std::string& pattern, std::string* reason) {
  std::error_code failure;
  auto frames = SequencePattern::Parse(pattern);
  // A file may have brackets in its name.
  if (!frames || std::filesystem::exists(pattern, failure)) return Sequence{pattern, 1};
  const std::uint64_t frame_count = frames->FrameCount();
  if (frame_count > std::numeric_limits<std::uint32_t>::max()) {
    *reason = "a sequence of too many frames";
    return std::nullopt;
  }
  const auto first_frame = frames->Next();
  if (!first_frame) {
    *reason = "a sequence without frames";
    return std::nullopt;
  }
  return Sequence{*first_frame, frame_count};
}

/// Runs `read`, which tells its reason on failure; no exception leaves the library.
template <typename Read>
bool Answer(Read read) {
  std::string reason;
  try {
    if (read(&reason)) {
      CoreSetErrorText(nullptr);
      return true;
    }
    CoreSetErrorText(reason.c_str());
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
  }
  return false;
}

}  // namespace

extern "C" PLATFORM_EXPORT bool GetImageSize(const char* path, std::int32_t* width, std::int32_t* height) {
  if (!path || !width || !height) return false;
  return Answer([&](std::string* reason) {
    const auto size = ReadSize(path, reason);
    if (!size) return false;
    // The reader takes no picture whose size does not fit.
    *width = static_cast<std::int32_t>(size->width);
    *height = static_cast<std::int32_t>(size->height);
    return true;
  });
}

extern "C" PLATFORM_EXPORT bool GetImageSequenceSize(const char* pattern, std::int32_t* width, std::int32_t* height,
                                                     std::uint32_t* frame_count) {
  if (!pattern || !width || !height || !frame_count) return false;
  return Answer([&](std::string* reason) {
    const auto sequence = FindSequence(pattern, reason);
    if (!sequence) return false;
    const auto size = ReadSize(sequence->first_frame, reason);
    if (!size) return false;
    *width = static_cast<std::int32_t>(size->width);
    *height = static_cast<std::int32_t>(size->height);
    *frame_count = static_cast<std::uint32_t>(sequence->frame_count);
    return true;
  });
}

static_assert(std::is_same_v<decltype(&GetImageSize), media_server::GetImageSizeFunction>);
static_assert(std::is_same_v<decltype(&GetImageSequenceSize), media_server::GetImageSequenceSizeFunction>);
