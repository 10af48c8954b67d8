#include "service-mediainfo/media_info/program_info_impl.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "core/log.h"
#include "service-mediainfo/media_info/list_access.h"
#include "service-mediainfo/media_info/ticks.h"

namespace service::mediainfo::media_info::impl {
namespace {

using platform::ComPtr;

template <typename Description>
using Descriptions = std::vector<std::shared_ptr<Description>>;

/// Programs rarely have more streams of a kind; a list that grows from one on is copied again and again.
constexpr std::size_t kUsualStreams = 4;

/// Side streams that are kept whatever their format record says.
constexpr std::array<std::uint32_t, 3> kSideStreams{media_server::kKeyboardStream, media_server::kMouseStream,
                                                    media_server::kMarkerStream};

/// What was asked for last, held until the next takes its place or all is done, and then given back, the list first.
template <typename Stream>
struct Held {
  ComPtr<Stream> stream;
  ComPtr<media_server::IObjectList<Stream>> list;
};

/// The descriptions of a list's streams, as `describe` appends them; empty optional when a stream cannot be had or
/// `describe` gives false. A list that cannot be had counts as empty.
template <typename Description, typename Stream, typename Describe>
std::optional<Descriptions<Description>> DescribeAll(
    media_server::IProgram& program,
    std::int32_t (media_server::IProgram::*get_list)(media_server::IObjectList<Stream>**), Held<Stream>& held,
    Describe describe) {
  auto& [stream, list] = held;
  Descriptions<Description> descriptions;
  if (platform::Failed((program.*get_list)(list.Put())) || !list) return descriptions;
  for (std::uint32_t index = 0; std::int64_t{index} < list->GetCount(); ++index) {
    if (platform::Failed(list->GetAt(index, stream.Put())) || !stream) return std::nullopt;
    if (index == 0) descriptions.reserve(kUsualStreams);
    if (!describe(*stream.Get(), descriptions)) return std::nullopt;
  }
  return descriptions;
}

/// Whether a stream of the picture list carries a picture; logs when it does not.
bool IsUsablePicture(media_server::IStream& stream) {
  const std::uint32_t code = stream.GetFourCC();
  const media_server::PictureFormat* record = stream.GetVideoFormat();
  if (std::ranges::find(kSideStreams, code) != kSideStreams.end()) return true;
  const media_server::PictureFormat format = record ? *record : media_server::PictureFormat{};
  if (format.frame_count != 0 && format.width != 0 && format.height != 0) return true;
  // One value short on purpose: readers of the log know the line with its values shifted.
  CoreLogPrint("mediainfo", kCoreLogWarning, "stream index %d is invalid, total frames %d, size(%dx%d)",
               format.frame_count, format.width, format.height);
  return false;
}

bool DescribePicture(media_server::IMediaInfo* source, media_server::IStream& stream,
                     Descriptions<StreamInfoImpl>& descriptions) {
  if (!IsUsablePicture(stream)) return true;
  auto description = std::make_shared<StreamInfoImpl>();
  if (description->Init(source, &stream) != kSuccess) {
    CoreLogPrint("mediainfo", kCoreLogWarning, "Init StreamInfoImpl: %s %d failed!",
                 "service::mediainfo::media_info::impl::ProgramInfoImpl::Init", 127);
    return false;
  }
  descriptions.push_back(std::move(description));
  return true;
}

bool DescribeSound(media_server::IMediaInfo* source, media_server::IStream& stream,
                   Descriptions<StreamInfoImpl>& descriptions) {
  auto description = std::make_shared<StreamInfoImpl>();
  if (description->Init(source, &stream) != kSuccess) return false;
  descriptions.push_back(std::move(description));
  return true;
}

bool DescribeSubPic(media_server::ISubPicStream& stream, Descriptions<SubPicStreamInfoImpl>& descriptions) {
  auto description = std::make_shared<SubPicStreamInfoImpl>();
  if (description->Init(&stream) != kSuccess) return false;
  descriptions.push_back(std::move(description));
  return true;
}

}  // namespace

std::uint32_t ProgramInfoImpl::Init(media_server::IMediaInfo* source, media_server::IProgram* program) {
  if (program == nullptr) return kInitFailed;
  Held<media_server::IStream> held;
  Held<media_server::ISubPicStream> held_subpic;
  auto video_streams = DescribeAll<StreamInfoImpl>(
      *program, &media_server::IProgram::GetVideoStreamList, held,
      [source](media_server::IStream& stream, auto& list) { return DescribePicture(source, stream, list); });
  if (!video_streams) return kInitFailed;
  auto audio_streams = DescribeAll<StreamInfoImpl>(
      *program, &media_server::IProgram::GetAudioStreamList, held,
      [source](media_server::IStream& stream, auto& list) { return DescribeSound(source, stream, list); });
  if (!audio_streams) return kInitFailed;
  auto subpic_streams = DescribeAll<SubPicStreamInfoImpl>(*program, &media_server::IProgram::GetSubPicStreamList,
                                                          held_subpic, DescribeSubPic);
  if (!subpic_streams) return kInitFailed;

  video_streams_ = std::move(*video_streams);
  audio_streams_ = std::move(*audio_streams);
  subpic_streams_ = std::move(*subpic_streams);
  program_ = ComPtr<media_server::IProgram>(program);
  return kSuccess;
}

std::uint64_t ProgramInfoImpl::GetDuration() { return SecondsToTicks(program_->GetDuration()); }

std::uint32_t ProgramInfoImpl::GetVideoStream(std::uint32_t index, IStreamInfo** out) {
  return LendEntry(video_streams_, index, out);
}

std::uint32_t ProgramInfoImpl::GetAudioStream(std::uint32_t index, IStreamInfo** out) {
  return LendEntry(audio_streams_, index, out);
}

std::uint32_t ProgramInfoImpl::GetSubPicStream(std::uint32_t index, ISubPicStreamInfo** out) {
  return LendEntry(subpic_streams_, index, out);
}

}  // namespace service::mediainfo::media_info::impl
