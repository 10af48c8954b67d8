#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "media-server/model/media_description.h"
#include "media-server/objects/give.h"
#include "media_server/istream.h"

namespace media_server {

/// A program's streams of one kind. It is a part of the program's object and counts its references there; a stream's
/// object is made when it is asked for.
template <typename Stream>
class StreamList final : public IObjectList<Stream> {
 public:
  using MakeStream = platform::ComPtr<Stream> (*)(std::shared_ptr<const MediaDescription> media, std::size_t position);

  /// `program_object` has the list as a member, and `program` is within `media`.
  StreamList(platform::IComObject& program_object, const std::shared_ptr<const MediaDescription>& media,
             const ProgramDescription& program, StreamKind kind, MakeStream make)
      : program_object_(program_object), media_(media), program_(program), kind_(kind), make_(make) {}
  StreamList(const StreamList&) = delete;
  StreamList& operator=(const StreamList&) = delete;

  platform::ComStatus QueryInterface(const platform::Guid& id, void** out) override {
    if (out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    if (id != platform::IComObject::kInterfaceId) return platform::kNoInterface;
    *out = this;
    AddRef();
    return platform::kOk;
  }
  std::uint32_t AddRef() override { return program_object_.AddRef(); }
  std::uint32_t Release() override { return program_object_.Release(); }

  std::int32_t GetCount() override {
    return static_cast<std::int32_t>(
        std::ranges::count_if(program_.streams, [this](std::size_t position) { return IsListed(position); }));
  }

  std::int32_t GetAt(std::uint32_t index, Stream** out) override {
    if (out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    for (const std::size_t position : program_.streams) {
      if (!IsListed(position)) continue;
      if (index-- == 0) return Give(out, [&] { return make_(media_, position); });
    }
    return platform::kInvalidArgument;
  }

 private:
  bool IsListed(std::size_t position) const { return media_->streams[position].kind == kind_; }

  platform::IComObject& program_object_;
  const std::shared_ptr<const MediaDescription>& media_;
  const ProgramDescription& program_;
  StreamKind kind_;
  MakeStream make_;
};

}  // namespace media_server
