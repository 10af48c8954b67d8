#include "service-mediainfo/media_info/media_file_info_session.h"

#include <exception>
#include <new>
#include <optional>

#include "core/error_text.h"
#include "core/log.h"
#include "mediainfo/result.h"
#include "platform/system_string.h"
#include "platform/text.h"
#include "platform/url_text.h"
#include "service-mediainfo/media_info/list_access.h"
#include "service-mediainfo/media_info/stream_type_lookup.h"
#include "service-mediainfo/media_info/ticks.h"
#include "service-mediainfo/media_info/url_validation.h"
#include "service-mediainfo/metadata/date_text.h"
#include "service-mediainfo/metadata/media_file_import.h"
#include "service-mediainfo/support_libraries.h"

namespace service::mediainfo::media_info::impl {
namespace {

using platform::ComPtr;

constexpr char kSetUrlFunction[] = "service::mediainfo::media_info::impl::MediaFileInfoSession::SetURL";
constexpr char kInitFunction[] = "service::mediainfo::media_info::impl::MediaFileInfoSession::Init";

/// What the codec component is asked with besides the path; the numbers are the component's own.
constexpr std::uint32_t kComponentFirstArgument = 0;
constexpr std::uint32_t kComponentSecondArgument = 12;

using MediaInfoPtr = ComPtr<media_server::IMediaInfo>;

MediaInfoPtr OpenWithServer(media_server::IMediaServer& server, const std::string& path) {
  MediaInfoPtr media_info;
  if (server.GetMediaInfo(platform::PathToUtf16(path).c_str(), media_info.Put()) == 0) {
    CoreLogPrint("media server", kCoreLogError, "GetMediaInfo %s(%s) %dfailed!", kSetUrlFunction,
                 platform::MaskUrl(path).c_str(), 229);
  }
  return media_info;
}

ComPtr<media_server::ICodecComponent> CreateComponent(const std::string& path) {
  const media_server::QkCreateInstanceFunction create_instance = support_libraries().create_instance;
  platform::ComStatus status = platform::kFail;
  void* created = nullptr;
  if (create_instance != nullptr) {
    status = create_instance(media_server::kCodecComponentClassId, nullptr, 0,
                             media_server::ICodecComponent::kInterfaceId, &created);
  }
  // Also what comes with a failure is ours to release.
  auto component = ComPtr<media_server::ICodecComponent>::Attach(static_cast<media_server::ICodecComponent*>(created));
  if (platform::Failed(status) || !component) {
    CoreLogPrint("mediainfo", kCoreLogError, "%s(%s) %d failed!(%p,0x%x)", kSetUrlFunction,
                 platform::MaskUrl(path).c_str(), 236, reinterpret_cast<void*>(create_instance), status);
    return {};
  }
  return component;
}

/// Null, and logged, when the file cannot be opened.
MediaInfoPtr OpenWithComponent(const std::string& path) {
  const ComPtr<media_server::ICodecComponent> component = CreateComponent(path);
  if (!component) return {};
  MediaInfoPtr media_info;
  const platform::ComStatus status = component->OpenMediaInfo(
      platform::PathToUtf16(path).c_str(), kComponentFirstArgument, kComponentSecondArgument, media_info.Put());
  if (platform::Failed(status) || !media_info) {
    CoreLogPrint("mediainfo", kCoreLogError, "%s(%s) %d failed!", kSetUrlFunction, platform::MaskUrl(path).c_str(),
                 243);
    return {};
  }
  return media_info;
}

/// All programs in order; empty when one cannot be had or described. `item` keeps the last one that was asked for.
std::optional<std::vector<std::shared_ptr<ProgramInfoImpl>>> DescribePrograms(
    media_server::IMediaInfo* media_info, media_server::IProgramCollection& collection,
    ComPtr<media_server::IProgram>& item) {
  std::vector<std::shared_ptr<ProgramInfoImpl>> programs;
  for (std::uint32_t index = 0; std::int64_t{index} < collection.GetCount(); ++index) {
    if (platform::Failed(collection.GetAt(index, item.Put())) || !item) return std::nullopt;
    auto program = std::make_shared<ProgramInfoImpl>();
    if (program->Init(media_info, item.Get()) != kSuccess) {
      CoreLogPrint("mediainfo", kCoreLogWarning, "Init ProgramInfoImpl: %s %d failed!", kInitFunction, 301);
      return std::nullopt;
    }
    programs.push_back(std::move(program));
  }
  return programs;
}

std::string AskText(media_server::IMediaInfo& media_info,
                    std::int32_t (media_server::IMediaInfo::*operation)(BSTR* out)) {
  platform::SystemString text;
  (media_info.*operation)(text.Put());
  return platform::ToUtf8(text.View());
}

}  // namespace

std::uint32_t MediaFileInfoSession::SetURL(char* url) {
  if (opened_ == 1) return kSuccess;
  CoreSetErrorText(nullptr);
  if (url == nullptr) {
    CoreLogPrint("MediaFileInfoSession", kCoreLogError, "SetURL Is Empty %s %d failed!", kSetUrlFunction, 218);
    return kFailed;
  }
  try {
    return Open(url);
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return kFailed;
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
    return kFailed;
  }
}

std::uint32_t MediaFileInfoSession::Open(char* url) {
  std::string path;
  if (!IsValidPath(url, &path)) return kFailed;

  MediaInfoPtr media_info;
  if (media_server_ != nullptr) {
    media_info = OpenWithServer(*media_server_, path);
  } else {
    media_info = OpenWithComponent(path);
    if (!media_info) return kFailed;
  }

  std::string opened_url = url;
  if (Init(media_info.Get()) != kSuccess) {
    CoreLogPrint("mediainfo", kCoreLogError, "%s %d failed!", kSetUrlFunction, 250);
    return kFailed;
  }
  opened_ = 1;
  url_ = std::move(opened_url);
  return kSuccess;
}

std::uint32_t MediaFileInfoSession::Init(media_server::IMediaInfo* media_info) {
  if (media_info == nullptr) return kBadMediaInfo;
  // Both are given back when all else is done, the item first.
  ComPtr<media_server::IProgramCollection> collection;
  ComPtr<media_server::IProgram> item;
  if (platform::Failed(media_info->GetPrograms(collection.Put())) || !collection) return kBadMediaInfo;
  auto programs = DescribePrograms(media_info, *collection.Get(), item);
  if (!programs) return kBadMediaInfo;
  std::string format_long_name = AskText(*media_info, &media_server::IMediaInfo::GetFormatLongName);
  std::string format_name = AskText(*media_info, &media_server::IMediaInfo::GetFormatName);
  std::string date_text = AskText(*media_info, &media_server::IMediaInfo::GetDateText);

  programs_ = std::move(*programs);
  format_long_name_ = std::move(format_long_name);
  format_name_ = std::move(format_name);
  date_text_ = std::move(date_text);
  media_info_ = MediaInfoPtr(media_info);
  return kSuccess;
}

void MediaFileInfoSession::EnsureStreamMeta() {
  if (stream_meta_ || !media_info_) return;
  const auto metadata = media_info_.Query<media_server::IMetadata>();
  auto stream_meta = std::make_shared<MetaDataInfoImpl>();
  if (stream_meta->Init(metadata.Get()) == kSuccess) stream_meta_ = std::move(stream_meta);
}

std::shared_ptr<IMetedataInfo> MediaFileInfoSession::GetMetadata() {
  try {
    if (!metadata_) metadata_ = std::make_shared<MetadataInfoMPL>();
    EnsureStreamMeta();
    if (stream_meta_) ImportMediaFileMetadata(*stream_meta_, *metadata_);
  } catch (const std::bad_alloc&) {
    // What was imported so far is handed out; without a store, null.
    CoreSetErrorText("out of memory");
  }
  return metadata_;
}

std::uint64_t MediaFileInfoSession::GetDuration() { return SecondsToTicks(media_info_->GetDuration()); }

std::uint32_t MediaFileInfoSession::GetProgram(IProgramInfo** out, std::uint32_t index) {
  return LendEntry(programs_, index, out);
}

std::uint32_t MediaFileInfoSession::Clone(IMediaFileInfo** out) {
  if (out == nullptr) return kNoOutput;
  std::unique_ptr<MediaFileInfoSession> clone(new (std::nothrow) MediaFileInfoSession(media_server_));
  if (!clone || clone->SetURL(url_.data()) != kSuccess) return kNoOutput;
  clone->AddRef();
  *out = clone.release();
  return kSuccess;
}

void MediaFileInfoSession::ClearKeepFlag(std::uint32_t value) {
  if (value == 0) keep_flag_ = 0;
}

std::uint32_t MediaFileInfoSession::GetStreamType(std::uint32_t stream_id, std::int32_t* type_out) {
  try {
    EnsureStreamMeta();
  } catch (const std::bad_alloc&) {
    return kSuccess;
  }
  if (!stream_meta_) return kSuccess;
  // The media server tells the streams' types in the text that also serves as the actor.
  const std::optional<std::int32_t> type = FindStreamType(stream_meta_->GetActor(), stream_id);
  if (type) *type_out = *type;
  return kSuccess;
}

bool MediaFileInfoSession::GetDates(std::int64_t* creation, std::int64_t* modification) {
  if (date_text_.empty()) return false;
  const FileDates dates = ReadDatesAsTheyCome(date_text_.c_str());
  *creation = dates.creation;
  *modification = dates.modification;
  return true;
}

void MediaFileInfoSession::SetEncryptKey(const char* key) {
  if (media_server_ != nullptr) {
    const core::ValAny value = core::ValAny::FromBuffer(key);
    media_server_->SetOption(media_server::kEncryptKeyOption, &value);
  }
  const media_server::SetProtectedPathFunction set_protected_path = support_libraries().set_protected_path;
  if (set_protected_path == nullptr) return;
  try {
    set_protected_path(platform::ToUtf16(key).c_str());
  } catch (const std::bad_alloc&) {
    // Better no more lines than one that shows the key.
    CoreLogSetLevel(kCoreLogOff);
  }
}

}  // namespace service::mediainfo::media_info::impl
