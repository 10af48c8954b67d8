#pragma once

#include "media-server/io/byte_source.h"

namespace media_server {

/// File name of the network library, which lies beside the media server library, and its one exported function: a
/// source that reads `url`, or null with the reason in words in `*reason` (static text). The caller deletes the source.
/// Waits at most `timeout_seconds` for each answer of the other side.
inline constexpr char kNetworkLibraryName[] = "libMediaServerNetwork.so";
inline constexpr char kOpenNetworkSource[] = "OpenMediaServerNetworkSource";
using OpenNetworkSourceFunction = IByteSource* (*)(const char* url, const char* proxy, int timeout_seconds,
                                                   const char** reason);

}  // namespace media_server
