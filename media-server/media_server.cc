#include "media-server/media_server.h"

#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "core/error_text.h"
#include "media-server/image/image_query.h"
#include "media-server/io/bounded_source.h"
#include "media-server/io/file_source.h"
#include "media-server/io/network_source.h"
#include "media-server/objects/com_object.h"
#include "media-server/objects/media_info_object.h"
#include "media-server/probe/media_prober.h"
#include "media-server/refused_allocations.h"
#include "media_server/refusals.h"
#include "platform/text.h"

namespace media_server {
namespace {

/// What one open misses although the file has it.
class Losses {
 public:
  explicit Losses(const IByteSource& source) : source_(source) {}

  /// What stood where nothing could be read is not known, and libavformat passes in silence over what it has no memory
  /// for: an answer without that would pass for another file's. False, with the reason, where something is missing.
  bool AreNone(std::string* reason) const {
    const char* failure = source_.ReadFailure();
    if (RefusedAllocations() != refused_before_) failure = "out of memory";
    if (failure != nullptr) *reason = failure;
    return failure == nullptr;
  }

 private:
  const IByteSource& source_;
  const std::uint64_t refused_before_ = RefusedAllocations();
};

constexpr char kOutOfReach[] = "lies too far behind for a server that gives files from their start only";

class MediaServer final : public ComObject<IMediaServer> {
 public:
  explicit MediaServer(ServerSettings settings) : settings_(std::move(settings)) {}

  std::int32_t SetOption(const char* name, const core::ValAny* value) override {
    if (name == nullptr || value == nullptr) return platform::kInvalidPointer;
    if (std::string_view(name) != kEncryptKeyOption || value->type() != core::ValType::kBuffer) {
      return platform::kInvalidArgument;
    }
    const char* key = value->AsBuffer();
    try {
      const std::scoped_lock lock(mutex_);
      decryption_key_ = key != nullptr ? key : "";
      return platform::kOk;
    } catch (const std::bad_alloc&) {
      CoreSetErrorText("out of memory");
      return platform::kOutOfMemory;
    }
  }

  void Reserved4() override {}

  std::int32_t GetMediaInfo(const char16_t* path, IMediaInfo** out) override {
    if (out == nullptr) return 0;
    *out = nullptr;
    if (path == nullptr) return 0;
    std::string reason;
    try {
      *out = Open(platform::PathToUtf8(path), &reason).Detach();
    } catch (const std::bad_alloc&) {
      reason = "out of memory";
    }
    CoreSetErrorText(*out != nullptr ? nullptr : reason.c_str());
    return *out != nullptr ? 1 : 0;
  }

  std::int64_t QueryImage(const char16_t* path, imagecore::QkImageInfo* info) override {
    if (path == nullptr || info == nullptr) return 0;
    info->flags = 0;
    bool answered = false;
    std::string reason;
    try {
      const auto source = OpenSource(platform::PathToUtf8(path), &reason);
      if (source) {
        BoundedSource bounded(*source, ReadBudget());
        const Losses losses(*source);
        answered = image::QueryImage(bounded, *info, &reason);
        answered = losses.AreNone(&reason) && answered;
      }
    } catch (const std::bad_alloc&) {
      reason = "out of memory";
    }
    CoreSetErrorText(answered ? nullptr : reason.c_str());
    return answered ? 1 : 0;
  }

 private:
  std::unique_ptr<IByteSource> OpenSource(const std::string& path, std::string* reason) const {
    return IsNetworkUrl(path) ? OpenNetworkSource(path, settings_.proxy, reason) : OpenFileSource(path.c_str(), reason);
  }

  platform::ComPtr<IMediaInfo> Open(const std::string& path, std::string* reason) {
    const auto source = OpenSource(path, reason);
    if (!source) return {};
    BoundedSource bounded(*source, ReadBudget());
    const Losses losses(*source);
    auto media = probe::ProbeMedia(bounded, DecryptionKey(), reason);
    if (!media && source->LeftOutOfReach() && *reason != refusals::kNotMedia) *reason = kOutOfReach;
    if (!losses.AreNone(reason) || !media) return {};
    return MakeMediaInfo(std::move(media));
  }

  std::string DecryptionKey() {
    const std::scoped_lock lock(mutex_);
    return decryption_key_;
  }

  const ServerSettings settings_;
  std::mutex mutex_;  // guards the key: sessions on several threads share one server
  std::string decryption_key_;
};

}  // namespace

platform::ComPtr<IMediaServer> MakeMediaServer(ServerSettings settings) {
  return platform::ComPtr<IMediaServer>::Attach(new MediaServer(std::move(settings)));
}

}  // namespace media_server
