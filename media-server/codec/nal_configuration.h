#pragma once

#include "media-server/codec/picture_parameters.h"
#include "media-server/codec/sei.h"

namespace media_server::codec {

/// What a codec configuration tells: how samples are cut into NAL units, and the pictures.
struct NalConfiguration {
  int nal_length_size = 0;  ///< as `NalReader` takes it: `kAnnexB`, or 1 to 4
  PictureParameters picture;
  SeiFacts sei;
};

}  // namespace media_server::codec
