#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "media-server/io/byte_source.h"

namespace media_server {

/// True for http and https URLs.
bool IsNetworkUrl(std::string_view path);

/// Opens a URL for reading by position. The code that talks to networks lies in a library of its own, which is loaded
/// by the first call: TLS alone would double the start of every process that only reads files. `proxy` is an HTTP proxy
/// ("http://host:port"), empty for none. Null on failure, with the reason in words in `*reason`.
std::unique_ptr<IByteSource> OpenNetworkSource(const std::string& url, const std::string& proxy, std::string* reason);

}  // namespace media_server
