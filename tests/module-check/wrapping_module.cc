// The services of sound modules, passed on. Where the environment variable MODULE_FAULT names a fault, one answer of a
// query interface is another one. WRAPPED_MODULES is the folder of the sound modules.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/rational.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"
#include "planted_fault.h"
#include "platform/export.h"
#include "service/isvg_decode_sink.h"
#include "service/module_descriptor.h"

namespace {

using core::ValAny;
using service::IService;
using service::ISession;
using service::ServiceDescriptor;
using namespace service::mediainfo;

/// A session of ours, which has one of a sound service.
class Wrapping : public ISession {
 public:
  explicit Wrapping(ISession* inner) : inner_(inner) {}
  ISession* inner() const { return inner_; }

 private:
  ISession* inner_;
};

class StoreWrapping final : public IMetedataInfo {
 public:
  explicit StoreWrapping(std::shared_ptr<IMetedataInfo> inner) : inner_(std::move(inner)) {}

  bool GetValue(const char* key, ValAny* out) override {
    if (Has("store-null-key")) [[maybe_unused]]
      const char first = *const_cast<const volatile char*>(key);
    if (Has("store-out-written") && out != nullptr) out->Reset();
    if (Has("store-no-throw")) {
      try {
        return inner_->GetValue(key, out);
      } catch (const core::AnyBadAccess&) {
        return false;
      }
    }
    if (Has("store-date-own-key") && key != nullptr && own_.contains(key)) {
      *out = own_.at(key);
      return true;
    }
    return inner_->GetValue(key, out);
  }
  bool SetValue(const char* key, const ValAny* value) override {
    if (Has("store-first-wins") && key != nullptr && inner_->GetValue(key, &scratch_)) return true;
    if (Has("store-takes-empty-key") && key != nullptr && *key == '\0') return true;
    if (Has("store-date-own-key") && key != nullptr) own_[key] = *value;
    if (Has("store-leak")) [[maybe_unused]]
      void* volatile lost = std::malloc(64);
    return inner_->SetValue(key, value);
  }

 private:
  std::shared_ptr<IMetedataInfo> inner_;
  std::map<std::string, ValAny> own_;
  ValAny scratch_;
};

std::shared_ptr<IMetedataInfo> Wrap(const std::shared_ptr<IMetedataInfo>& store) {
  return store == nullptr ? nullptr : std::make_shared<StoreWrapping>(store);
}

class StreamWrapping final : public IStreamInfo {
 public:
  explicit StreamWrapping(IStreamInfo& inner) : inner_(inner), store_(Wrap(inner.GetMetadataInfo())) {}

  std::int32_t GetMediaType() override { return inner_.GetMediaType() + (Has("stream-kind") ? 1 : 0); }
  std::uint32_t GetStreamValue4() override { return inner_.GetStreamValue4(); }
  std::uint32_t GetFourCC() override { return inner_.GetFourCC(); }
  std::uint32_t GetStreamValue6() override { return inner_.GetStreamValue6(); }
  const char* GetTextA() override { return inner_.GetTextA(); }
  const char* GetTextB() override { return inner_.GetTextB(); }
  std::uint64_t GetDuration() override { return inner_.GetDuration(); }
  std::int32_t GetStreamValue11() override { return inner_.GetStreamValue11(); }
  IVideoInfo* GetVideoInfo() override { return inner_.GetVideoInfo(); }
  std::uint32_t Reserved10() override { return inner_.Reserved10(); }
  IAudioInfo* GetAudioInfo() override { return inner_.GetAudioInfo(); }
  std::uint32_t GetStreamValue14() override { return inner_.GetStreamValue14(); }
  std::uint32_t GetStreamValue15() override { return inner_.GetStreamValue15(); }
  std::uint32_t FixedValue14() override { return inner_.FixedValue14(); }
  std::uint32_t FixedValue15() override { return Has("stream-constant") ? 3 : inner_.FixedValue15(); }
  std::uint32_t UnsupportedRequest16() override { return inner_.UnsupportedRequest16(); }
  std::uint32_t UnsupportedRequest17() override { return inner_.UnsupportedRequest17(); }
  std::shared_ptr<IMetedataInfo> GetMetadataInfo() override {
    return Has("stream-store") ? Wrap(inner_.GetMetadataInfo()) : store_;
  }
  const char* GetTextC() override { return Has("stream-null-text") ? nullptr : inner_.GetTextC(); }

 private:
  IStreamInfo& inner_;
  std::shared_ptr<IMetedataInfo> store_;
};

class ProgramWrapping final : public IProgramInfo {
 public:
  explicit ProgramWrapping(IProgramInfo& inner) : inner_(inner) {}

  std::uint32_t GetProgramValue4() override { return inner_.GetProgramValue4(); }
  std::uint64_t GetDuration() override { return inner_.GetDuration(); }
  std::uint32_t GetProgramValue6() override { return inner_.GetProgramValue6(); }
  std::uint64_t GetVideoStreamCount() override { return inner_.GetVideoStreamCount(); }
  std::uint64_t GetAudioStreamCount() override { return inner_.GetAudioStreamCount(); }
  std::uint32_t GetVideoStream(std::uint32_t index, IStreamInfo** out) override {
    return Lend(inner_.GetVideoStream(index, out), out);
  }
  std::uint32_t GetAudioStream(std::uint32_t index, IStreamInfo** out) override {
    return Lend(inner_.GetAudioStream(index, out), out);
  }
  std::uint32_t GetProgramValue7() override { return inner_.GetProgramValue7(); }
  std::uint64_t GetSubPicStreamCount() override { return inner_.GetSubPicStreamCount(); }
  std::uint32_t GetSubPicStream(std::uint32_t index, ISubPicStreamInfo** out) override {
    const std::uint32_t result = inner_.GetSubPicStream(index, out);
    if (Has("stream-out-written") && result != kSuccess) *out = nullptr;
    return result;
  }

 private:
  std::uint32_t Lend(std::uint32_t result, IStreamInfo** out) {
    if (result != kSuccess) return result;
    auto& wrapping = streams_[*out];
    if (wrapping == nullptr) wrapping = std::make_unique<StreamWrapping>(**out);
    *out = wrapping.get();
    return result;
  }

  IProgramInfo& inner_;
  std::map<IStreamInfo*, std::unique_ptr<StreamWrapping>> streams_;
};

class MediaWrapping final : public Wrapping, public IMediaFileInfo {
 public:
  explicit MediaWrapping(ISession* inner) : Wrapping(inner), media_(*dynamic_cast<IMediaFileInfo*>(inner)) {}

  std::uint32_t SetURL(char* url) override {
    if (url == nullptr && Has("media-null-url")) *const_cast<volatile char*>(url) = '\0';
    if (url != nullptr && Has("media-descriptor")) open(url, O_RDONLY | O_NONBLOCK);
    if (url != nullptr && Has("media-pipe")) close(open(url, O_RDONLY));
    if (url != nullptr && Has("media-length")) {
      std::array<char, 8192> room;
      if (std::strlen(url) >= room.size()) std::abort();
    }
    if (url != nullptr && Has("media-copy")) {
      std::string copy = url;
      return media_.SetURL(copy.data());
    }
    const std::uint32_t result = media_.SetURL(url);
    if (url != nullptr && Has("media-url-changed")) *url = '#';
    if (result != kSuccess && Has("media-result")) return kBadMediaInfo;
    return result;
  }
  std::uint32_t GetFormatFourCC() override { return media_.GetFormatFourCC(); }
  const char* GetFormatName() override { return Has("media-null-name") ? nullptr : media_.GetFormatName(); }
  const char* GetFormatLongName() override { return media_.GetFormatLongName(); }
  std::shared_ptr<IMetedataInfo> GetMetadata() override {
    const auto inner = media_.GetMetadata();
    if (store_ == nullptr || Has("media-new-store")) store_ = Wrap(inner);
    return store_;
  }
  std::uint64_t GetDuration() override { return media_.GetDuration() - (Has("media-duration") ? 1 : 0); }
  std::uint64_t GetBitRate() override { return media_.GetBitRate(); }
  std::uint64_t GetProgramCount() override { return media_.GetProgramCount(); }
  std::uint32_t GetProgram(IProgramInfo** out, std::uint32_t index) override {
    if (Has("program-out-written") && index >= GetProgramCount()) *out = nullptr;
    if (Has("program-last") && index == 0xFFFF'FFFF) return kSuccess;
    const std::uint32_t result = media_.GetProgram(out, index);
    if (result != kSuccess) return result;
    auto& wrapping = programs_[*out];
    if (wrapping == nullptr || Has("program-new")) {
      kept_.push_back(std::move(wrapping));
      wrapping = std::make_unique<ProgramWrapping>(**out);
    }
    *out = wrapping.get();
    return result;
  }
  std::uint64_t GetFileSize() override { return media_.GetFileSize() + (Has("media-size") ? 1 : 0); }
  std::uint32_t Clone(IMediaFileInfo** out) override {
    if (out == nullptr && Has("clone-null-answer")) return kFailed;
    const std::uint32_t result = media_.Clone(out);
    if (result != kSuccess) return result;
    if (Has("clone-leak")) [[maybe_unused]]
      void* volatile lost = std::malloc(64);
    *out = new MediaWrapping(dynamic_cast<ISession*>(*out));
    return result;
  }
  void ClearKeepFlag(std::uint32_t value) override { media_.ClearKeepFlag(value); }
  std::uint32_t GetStreamType(std::uint32_t stream_id, std::int32_t* type_out) override {
    if (Has("stream-type-written")) *type_out = 0;
    return media_.GetStreamType(stream_id, type_out);
  }
  bool GetDates(std::int64_t* creation, std::int64_t* modification) override {
    if (Has("dates-written")) *creation = 0;
    return media_.GetDates(creation, modification);
  }
  void SetEncryptKey(const char* key) override { media_.SetEncryptKey(key); }

 private:
  IMediaFileInfo& media_;
  std::shared_ptr<IMetedataInfo> store_;
  std::map<IProgramInfo*, std::unique_ptr<ProgramWrapping>> programs_;
  std::vector<std::unique_ptr<ProgramWrapping>> kept_;
};

class ImageWrapping final : public Wrapping, public IImageInfo {
 public:
  explicit ImageWrapping(ISession* inner) : Wrapping(inner), image_(*dynamic_cast<IImageInfo*>(inner)) {}

  bool SetPath(const char* url) override {
    const bool was_read = image_.SetPath(url);
    failed_ = !was_read;
    if (!Has("image-old-store") || store_ == nullptr) store_ = Wrap(image_.GetMetadata());
    return was_read || (Has("image-always-true") && url != nullptr);
  }
  std::int32_t GetWidth() override { return failed_ && Has("image-size-reset") ? 0 : image_.GetWidth(); }
  std::int32_t GetHeight() override { return image_.GetHeight(); }
  void SetDuration(std::uint64_t duration_100ns) override { image_.SetDuration(duration_100ns); }
  std::uint64_t GetDuration() override { return Has("image-no-duration") ? 0 : image_.GetDuration(); }
  bool SetFrameRate(std::uint32_t numerator, std::uint32_t denominator) override {
    if (Has("image-zero-rate") && denominator == 0) return false;
    return image_.SetFrameRate(numerator, denominator);
  }
  void GetFrameRate(std::uint32_t* numerator_out, std::uint32_t* denominator_out) override {
    image_.GetFrameRate(numerator_out, denominator_out);
  }
  std::int32_t GetWidthSecondEntry() override { return image_.GetWidthSecondEntry(); }
  std::int32_t GetHeightSecondEntry() override { return Has("image-second") ? 0 : image_.GetHeightSecondEntry(); }
  std::uint32_t Reserved10() override { return Has("image-reserved") ? 1 : image_.Reserved10(); }
  std::uint32_t Reserved11() override { return image_.Reserved11(); }
  std::shared_ptr<IMetedataInfo> GetMetadata() override { return store_; }

 private:
  IImageInfo& image_;
  std::shared_ptr<IMetedataInfo> store_;
  bool failed_ = false;
};

class SvgWrapping final : public Wrapping, public ISvgInfo {
 public:
  explicit SvgWrapping(ISession* inner) : Wrapping(inner), svg_(*dynamic_cast<ISvgInfo*>(inner)) {}

  bool SetPath(char* url) override {
    const bool is_same = url != nullptr && last_ == url;
    if (url != nullptr) last_ = url;
    return svg_.SetPath(url) || (is_same && Has("svg-same-again"));
  }
  bool GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    if (Has("svg-out-written")) *width_out = 0;
    return svg_.GetSize(width_out, height_out);
  }
  bool GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    return Has("svg-view") ? svg_.GetSize(width_out, height_out) : svg_.GetViewSize(width_out, height_out);
  }
  std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) override {
    return Has("svg-render") ? 0 : svg_.Render(path, width, height);
  }
  std::uint32_t GetWidth() override { return svg_.GetWidth(); }
  std::uint32_t GetHeight() override { return Has("svg-height") ? 0 : svg_.GetHeight(); }
  std::uint32_t Reserved7() override { return svg_.Reserved7(); }
  std::uint32_t Reserved8() override { return svg_.Reserved8(); }

 private:
  ISvgInfo& svg_;
  std::string last_ = "none";
};

class SinkWrapping final : public Wrapping, public service::ISVGDecodeSink {
 public:
  explicit SinkWrapping(ISession* inner) : Wrapping(inner), sink_(*dynamic_cast<ISVGDecodeSink*>(inner)) {}

  void Reserved1() override { sink_.Reserved1(); }
  void Reset() override {
    if (!Has("sink-no-reset")) sink_.Reset();
  }
  void Reserved3() override { sink_.Reserved3(); }
  void Reserved4() override { sink_.Reserved4(); }
  void Reserved5() override { sink_.Reserved5(); }
  std::uint32_t Load(std::uintptr_t first, std::uintptr_t second) override {
    if (Has("sink-borrows")) sink_.SetSource(source_);
    const std::uint32_t result = sink_.Load(first, second);
    return Has("sink-always-loads") ? 1 : result;
  }
  void Reserved7() override { Has("sink-reserved") ? sink_.Reset() : sink_.Reserved7(); }
  void SetSource(const char* url) override {
    source_ = url;
    sink_.SetSource(url);
  }
  void Reserved9() override { sink_.Reserved9(); }
  std::uint32_t GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    if (Has("sink-out-written")) *height_out = 0;
    return sink_.GetSize(width_out, height_out);
  }
  void Reserved11() override { sink_.Reserved11(); }
  std::uint32_t GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    return sink_.GetViewSize(width_out, height_out);
  }
  void Reserved13() override { sink_.Reserved13(); }
  void Reserved14() override { sink_.Reserved14(); }
  std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) override {
    return path == 0 && Has("sink-render-nowhere") ? 0 : sink_.Render(path, width, height);
  }

 private:
  ISVGDecodeSink& sink_;
  const char* source_ = nullptr;
};

ISession* WrapSession(ISession* inner) {
  if (inner == nullptr) return nullptr;
  if (Has("no-interface")) return new Wrapping(inner);
  if (dynamic_cast<IMediaFileInfo*>(inner) != nullptr) return new MediaWrapping(inner);
  if (dynamic_cast<IImageInfo*>(inner) != nullptr) return new ImageWrapping(inner);
  if (dynamic_cast<ISvgInfo*>(inner) != nullptr) return new SvgWrapping(inner);
  return new SinkWrapping(inner);
}

class ServiceWrapping final : public IService {
 public:
  explicit ServiceWrapping(const ServiceDescriptor& inner) : descriptor_(inner), inner_(inner.create()) {}
  ~ServiceWrapping() override { descriptor_.release(inner_); }
  ServiceWrapping(const ServiceWrapping&) = delete;
  ServiceWrapping& operator=(const ServiceWrapping&) = delete;

  std::uint32_t FirstStateQuery() override { return inner_->FirstStateQuery(); }
  bool SecondStateQuery() override { return inner_->SecondStateQuery(); }
  ISession* CreateSession() override { return WrapSession(inner_->CreateSession()); }
  std::uint32_t DestroySession(ISession* session) override {
    auto* own = dynamic_cast<Wrapping*>(session);
    if (own == nullptr) return inner_->DestroySession(session) ^ (Has("refusal") ? 1U : 0U);
    // A session of another service of this module is one of the other sound service, too.
    const std::uint32_t refused = inner_->DestroySession(nullptr);
    const std::uint32_t result = inner_->DestroySession(own->inner());
    if (result != refused) delete own;
    return result;
  }
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) override {
    if (inner_->CreateSharedSession(reserved) == nullptr) return {};
    return {CreateSession(), [this](ISession* last) { DestroySession(last); }};
  }
  std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) override {
    return inner_->KeyedQuery(first, second, result);
  }
  std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                             std::uint32_t* result) override {
    return inner_->KeyedRequest(first, second, third, result) + (Has("request-answer") ? 1 : 0);
  }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) override {
    return inner_->ReleaseSharedSession(std::move(session));
  }
  bool FinalQuery() override { return inner_->FinalQuery(); }

 private:
  const ServiceDescriptor& descriptor_;
  IService* inner_;
};

/// A sound module, loaded and unloaded with this one.
class SoundModule {
 public:
  explicit SoundModule(const char* name)
      : handle_(dlopen((std::string(std::getenv("WRAPPED_MODULES")) + "/" + name).c_str(), RTLD_NOW)) {
    const auto entry =
        reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(handle_, service::kGetServiceModuleInfo));
    entry(&table_, &count_);
  }
  ~SoundModule() { dlclose(handle_); }
  SoundModule(const SoundModule&) = delete;
  SoundModule& operator=(const SoundModule&) = delete;

  const ServiceDescriptor& Find(const char* name) const {
    for (std::uint32_t i = 0; i < count_; ++i) {
      if (std::strcmp(table_[i].name, name) == 0) return table_[i];
    }
    std::abort();
  }

 private:
  void* handle_;
  const ServiceDescriptor* table_ = nullptr;
  std::uint32_t count_ = 0;
};

const SoundModule kMediaInformation("service-mediainfo.so");
const SoundModule kSvgDecoder("svg-decoder.so");

template <const SoundModule& kModule, const char* kName>
IService* Create() {
  return new ServiceWrapping(kModule.Find(kName));
}

void Release(IService* service) { delete service; }

template <const SoundModule& kModule, const char* kName>
ServiceDescriptor Row() {
  const ServiceDescriptor& inner = kModule.Find(kName);
  return {inner.name, inner.description, inner.uuid, 0, inner.init, Create<kModule, kName>, Release, 0, 0};
}

}  // namespace

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const ServiceDescriptor** table_out, std::uint32_t* count_out) {
  static const std::array<ServiceDescriptor, 4> kTable{
      Row<kMediaInformation, kMediaFileInfoServiceName>(), Row<kMediaInformation, kImageInfoServiceName>(),
      Row<kMediaInformation, kSvgInfoServiceName>(), Row<kSvgDecoder, service::kSvgDecoderServiceName>()};
  if (table_out == nullptr || count_out == nullptr) return true;
  *table_out = kTable.data();
  *count_out = kTable.size();
  return true;
}
