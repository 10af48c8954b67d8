#pragma once

#include <cstddef>
#include <memory>

#include "media-server/model/media_description.h"
#include "media_server/istream.h"
#include "platform/com_ptr.h"

namespace media_server {

/// The object of one stream of a description, which it keeps alive. `position` is the stream's place in
/// MediaDescription::streams; the stream there must be of the object's kind. Throw std::bad_alloc.
platform::ComPtr<IStream> MakePictureStream(std::shared_ptr<const MediaDescription> media, std::size_t position);
platform::ComPtr<IStream> MakeSoundStream(std::shared_ptr<const MediaDescription> media, std::size_t position);
platform::ComPtr<ISubPicStream> MakeSubPicStream(std::shared_ptr<const MediaDescription> media, std::size_t position);

}  // namespace media_server
