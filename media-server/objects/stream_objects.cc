#include "media-server/objects/stream_objects.h"

#include <utility>

#include "media-server/objects/com_object.h"
#include "media-server/objects/property_table.h"
#include "media-server/objects/text.h"

namespace media_server {
namespace {

using platform::ComPtr;

/// Answers that a stream of either kind takes straight from its description.
template <typename... Interfaces>
class StreamObject : public ComObject<IStream, Interfaces...> {
 public:
  StreamObject(std::shared_ptr<const MediaDescription> media, std::size_t position)
      : media_(std::move(media)), stream_(media_->streams[position]) {}

  std::uint32_t GetIndex() override { return stream_.index; }
  std::uint32_t GetFourCC() override { return stream_.codec_tag; }
  std::uint32_t GetBitRate() override { return stream_.bit_rate; }
  BSTR GetCodecName() override { return ToSystemString(stream_.codec_name); }
  BSTR GetCodecLongName() override { return ToSystemString(stream_.codec_long_name); }
  BSTR GetLanguage() override { return ToSystemString(stream_.language); }
  double GetDuration() override { return stream_.duration; }
  std::int32_t GetProfile() override { return stream_.profile; }
  std::uint32_t GetId() override { return stream_.id; }
  std::uint32_t GetDisposition() override { return stream_.disposition; }

 protected:
  const StreamDescription& stream() const { return stream_; }

 private:
  std::shared_ptr<const MediaDescription> media_;
  const StreamDescription& stream_;  // within *media_
};

class PictureStream final : public StreamObject<IVideoStream, IPropertyReader> {
 public:
  using StreamObject::StreamObject;

  std::int32_t GetMediaType() override { return 2; }
  const SoundFormat* GetAudioFormat() override { return nullptr; }
  const PictureFormat* GetVideoFormat() override { return &stream().picture; }

  void Reserved4() override {}
  void Reserved5() override {}
  std::int32_t GetRotation() override { return stream().orientation; }

  std::int32_t GetProperty(const char16_t* key, void* out) override {
    if (key == nullptr || out == nullptr) return platform::kInvalidPointer;
    return DeliverProperty(stream().properties, key, out) ? platform::kOk : platform::kFail;
  }
};

class SoundStream final : public StreamObject<> {
 public:
  using StreamObject::StreamObject;

  std::int32_t GetMediaType() override { return 3; }
  const SoundFormat* GetAudioFormat() override { return &stream().sound; }
  const PictureFormat* GetVideoFormat() override { return nullptr; }
};

class SubPicStream final : public ComObject<ISubPicStream> {
 public:
  SubPicStream(std::shared_ptr<const MediaDescription> media, std::size_t position)
      : media_(std::move(media)), stream_(media_->streams[position]) {}

  std::uint32_t GetIndex() override { return stream_.index; }
  std::uint32_t GetId() override { return stream_.id; }
  std::uint32_t GetDisposition() override { return stream_.disposition; }
  BSTR GetCodecName() override { return ToSystemString(stream_.codec_name); }
  BSTR GetLanguage() override { return ToSystemString(stream_.language); }

 private:
  std::shared_ptr<const MediaDescription> media_;
  const StreamDescription& stream_;  // within *media_
};

}  // namespace

ComPtr<IStream> MakePictureStream(std::shared_ptr<const MediaDescription> media, std::size_t position) {
  return ComPtr<IStream>::Attach(new PictureStream(std::move(media), position));
}

ComPtr<IStream> MakeSoundStream(std::shared_ptr<const MediaDescription> media, std::size_t position) {
  return ComPtr<IStream>::Attach(new SoundStream(std::move(media), position));
}

ComPtr<ISubPicStream> MakeSubPicStream(std::shared_ptr<const MediaDescription> media, std::size_t position) {
  return ComPtr<ISubPicStream>::Attach(new SubPicStream(std::move(media), position));
}

}  // namespace media_server
