#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media-server/model/media_description.h"
#include "media_server/image_info.h"

namespace fuzz {

/// What the module's surroundings answer it: a media server, a digest and an SVG decoder that say what the fuzzer's
/// bytes say. CreateMediaServer and GetMD5Uuid of this program stand in front of the media server library's.
struct Script {
  FuzzedDataProvider* bytes = nullptr;

  /// Whether the media server opens files, and fills its record of pictures.
  bool opens = false;
  bool digests = false;
  std::uint32_t decoder_answer = 0;

  /// Paths that the media server, the digest and the decoder were asked for, in order.
  std::vector<std::string> paths;
  /// Objects of the script that are held by the module.
  int live_objects = 0;
};

/// The one that is played.
Script& script();

/// Makes the scripted SVG decoder known to the service manager.
void RegisterScriptedDecoder();

}  // namespace fuzz
